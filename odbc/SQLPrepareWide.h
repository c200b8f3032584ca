// What SQLPrepare and SQLPrepareW share.
#ifndef ODBC_SQLPREPAREWIDE_H
#define ODBC_SQLPREPAREWIDE_H

#include "odbc/entry_frame.h"

// Closes the statement's earlier execution and prepares a text that it consumes; a null text posts
// HY001.
SQLRETURN cass_prepare_text(cass_stmt *stmt, const entry_point &entry, cass_string *text);

#endif
