// Statement attributes: the table of where each one lives, for the getters, the setters and the
// ODBC 2 options; and SQLGetStmtAttr in both forms.
#ifndef ODBC_SQLGETSTMTATTRWIDE_H
#define ODBC_SQLGETSTMTATTRWIDE_H

#include "odbc/entry_frame.h"

// The record that holds an attribute.
enum attr_holder {
    HOLDER_STMT,
    HOLDER_ARD,  // the current descriptors
    HOLDER_APD,
    HOLDER_IRD,
    HOLDER_IPD,
    HOLDER_NONE,  // reads 0
};

// What setting an attribute does.
enum attr_rule {
    ATTR_STORE,
    ATTR_STORE_COUNT,  // 0 is 1; a change on a prepared statement marks it rebound
    ATTR_SENSITIVITY,  // these four keep each other in step
    ATTR_SCROLLABLE,
    ATTR_CURSOR_TYPE,
    ATTR_CONCURRENCY,
    ATTR_IGNORE,
    ATTR_INSTALL_ARD,
    ATTR_INSTALL_APD,
    ATTR_REFUSE,     // HY017
    ATTR_READ_ONLY,  // unknown to the setters
};

struct stmt_attr_row {
    SQLINTEGER id;
    attr_holder holder;
    std::size_t offset;  // in the holder
    std::size_t width;   // 8, or 4 for the bind types; towards the application it is always 8
    attr_rule rule;
};

// Null for an unknown attribute; SQL_GET_BOOKMARK is one.
const stmt_attr_row *find_stmt_attr(SQLINTEGER attribute);
// The row behind an ODBC 2 option of 0 to 12, or null.
const stmt_attr_row *find_stmt_option(SQLUSMALLINT option);
// Where the attribute is stored; not for HOLDER_NONE.
unsigned char *stmt_attr_member(cass_stmt *stmt, const stmt_attr_row *row);
SQLULEN stmt_attr_value(cass_stmt *stmt, const stmt_attr_row *row);

SQLRETURN get_stmt_attr_entry(SQLHSTMT handle, const entry_point &entry, SQLINTEGER attribute,
                              void *value, SQLINTEGER buffer_length, SQLINTEGER *string_length);

#endif
