// Statement attributes read, by SQLGetStmtAttr in both forms and by the ODBC 2 options.
#ifndef ODBC_SQLGETSTMTATTRWIDE_H
#define ODBC_SQLGETSTMTATTRWIDE_H

#include "odbc/cass_stmt_attrs.h"
#include "odbc/entry_frame.h"

// Where the attribute is stored; not for HOLDER_NONE.
unsigned char *stmt_attr_member(cass_stmt *stmt, const stmt_attr &attr);
// Its value, of a row that can be read.
SQLULEN stmt_attr_value(cass_stmt *stmt, const stmt_attr &attr);

// The number of the row that the statement's cursor is on; 0 where none is known.
SQLULEN stmt_row_number(const cass_stmt *stmt);

SQLRETURN get_stmt_attr_entry(SQLHSTMT handle, const entry_point &entry, SQLINTEGER attribute,
                              void *value, SQLINTEGER buffer_length, SQLINTEGER *string_length);

#endif
