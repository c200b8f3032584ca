// What SQLExecDirect and SQLExecDirectW share.
#ifndef ODBC_SQLEXECDIRECTWIDE_H
#define ODBC_SQLEXECDIRECTWIDE_H

#include "odbc/entry_frame.h"

// Closes the statement's earlier execution and runs a text that it consumes; a null text posts
// HY001.
SQLRETURN cass_exec_direct_text(cass_stmt *stmt, const entry_point &entry, cass_string *text);

#endif
