// SQLGetCursorNameW: the cursor name as wide text.
#include "odbc/SQLGetCursorNameWide.h"

static constexpr entry_point entry = {.name = "SQLGetCursorNameW", .source = "SQLGetCursorNameW.c"};

VHCASS_EXPORT SQLRETURN SQL_API SQLGetCursorNameW(SQLHSTMT statement_handle, SQLWCHAR *cursor_name,
                                                  SQLSMALLINT buffer_length,
                                                  SQLSMALLINT *name_length)
{
    return get_cursor_name_entry(statement_handle, entry,
                                 {cursor_name, buffer_length, name_length, TEXT_WIDE_UNITS});
}
