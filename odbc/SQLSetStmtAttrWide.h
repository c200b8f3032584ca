// Statement attributes set, by SQLSetStmtAttr in both forms and by the ODBC 2 options.
#ifndef ODBC_SQLSETSTMTATTRWIDE_H
#define ODBC_SQLSETSTMTATTRWIDE_H

#include "odbc/SQLGetStmtAttrWide.h"

// Applies a row's rule but those of descriptors. True when a count took another value.
bool stmt_attr_apply(cass_stmt *stmt, const stmt_attr &attr, SQLULEN value);

SQLRETURN set_stmt_attr_entry(SQLHSTMT handle, const entry_point &entry, SQLINTEGER attribute,
                              void *value, SQLINTEGER string_length);

#endif
