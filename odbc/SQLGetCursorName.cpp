// SQLGetCursorName: the cursor name as bytes.
#include "odbc/SQLGetCursorNameWide.h"

static constexpr entry_point entry = {.name = "SQLGetCursorName", .source = "SQLGetCursorName.c"};

VHCASS_EXPORT SQLRETURN SQL_API SQLGetCursorName(SQLHSTMT statement_handle, SQLCHAR *cursor_name,
                                                 SQLSMALLINT buffer_length,
                                                 SQLSMALLINT *name_length)
{
    return get_cursor_name_entry(statement_handle, entry,
                                 {cursor_name, buffer_length, name_length, TEXT_ANSI});
}
