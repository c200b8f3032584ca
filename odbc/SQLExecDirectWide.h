// SQLExecDirect in both forms.
#ifndef ODBC_SQLEXECDIRECTWIDE_H
#define ODBC_SQLEXECDIRECTWIDE_H

#include "odbc/entry_frame.h"

// Closes the statement's earlier execution and runs the text. HY001 when there is none.
SQLRETURN exec_direct_entry(SQLHSTMT handle, const entry_point &entry, const text_argument &text);

#endif
