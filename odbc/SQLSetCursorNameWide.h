// SQLSetCursorName in both forms.
#ifndef ODBC_SQLSETCURSORNAMEWIDE_H
#define ODBC_SQLSETCURSORNAMEWIDE_H

#include "odbc/entry_frame.h"

// Keeps the name, unchecked: no statement refers to cursors. Without one, or when memory ran out,
// SQL_ERROR without a record, and the statement has no name.
SQLRETURN set_cursor_name_entry(SQLHSTMT handle, const entry_point &entry,
                                const text_argument &name);

#endif
