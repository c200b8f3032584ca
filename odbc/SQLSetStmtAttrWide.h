// Statement attributes set, by SQLSetStmtAttr in both forms and by the ODBC 2 options.
#ifndef ODBC_SQLSETSTMTATTRWIDE_H
#define ODBC_SQLSETSTMTATTRWIDE_H

#include "odbc/SQLGetStmtAttrWide.h"

// Sets an attribute that is no descriptor; refusals and a cursor that is another one than was asked
// for are posted. *rebinds tells whether a prepared statement has another rowset or set size now.
SQLRETURN stmt_attr_apply(cass_stmt *stmt, const entry_point &entry, const stmt_attr &attr,
                          SQLULEN value, bool *rebinds);

SQLRETURN set_stmt_attr_entry(SQLHSTMT handle, const entry_point &entry, SQLINTEGER attribute,
                              void *value, SQLINTEGER string_length);

#endif
