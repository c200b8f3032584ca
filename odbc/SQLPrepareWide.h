// SQLPrepare in both forms.
#ifndef ODBC_SQLPREPAREWIDE_H
#define ODBC_SQLPREPAREWIDE_H

#include "odbc/entry_frame.h"

// Closes the statement's earlier execution and prepares the text. HY001 when there is none.
SQLRETURN prepare_entry(SQLHSTMT handle, const entry_point &entry, const text_argument &text);

#endif
