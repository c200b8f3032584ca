// SQLSetCursorNameW: keeps a name given as wide text.
#include "odbc/SQLSetCursorNameWide.h"

static constexpr entry_point entry = {.name = "SQLSetCursorNameW", .source = "SQLSetCursorNameW.c"};

VHCASS_EXPORT SQLRETURN SQL_API SQLSetCursorNameW(SQLHSTMT statement_handle, SQLWCHAR *cursor_name,
                                                  SQLSMALLINT name_length)
{
    return set_cursor_name_entry(statement_handle, entry, wide_argument(cursor_name, name_length));
}
