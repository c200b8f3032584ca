// SQLSetCursorName: keeps a name.
#include "odbc/SQLSetCursorNameWide.h"

static constexpr entry_point entry = {.name = "SQLSetCursorName", .source = "SQLSetCursorName.c"};

VHCASS_EXPORT SQLRETURN SQL_API SQLSetCursorName(SQLHSTMT statement_handle, SQLCHAR *cursor_name,
                                                 SQLSMALLINT name_length)
{
    return set_cursor_name_entry(statement_handle, entry, ansi_argument(cursor_name, name_length));
}
