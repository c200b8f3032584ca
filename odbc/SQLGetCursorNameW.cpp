// SQLGetCursorNameW: the cursor name as wide text.
#include "odbc/SQLGetCursorNameWide.h"

static constexpr char log_source[] = "SQLGetCursorNameW.c";
static constexpr entry_point entry = {.name = "SQLGetCursorNameW", .source = log_source};

VHCASS_EXPORT SQLRETURN SQL_API SQLGetCursorNameW(SQLHSTMT statement_handle, SQLWCHAR *cursor_name,
                                                  SQLSMALLINT buffer_length,
                                                  SQLSMALLINT *name_length)
{
    return enter_stmt(
        statement_handle, entry,
        [=](cass_stmt *stmt) {
            CASS_LOG(&stmt->head, LOG_ENTRY,
                     "SQLGetCursorNameW: statement_handle=%p, cursor_name=%p, buffer_length=%d, "
                     "name_length=%p",
                     static_cast<void *>(stmt), static_cast<void *>(cursor_name), buffer_length,
                     static_cast<void *>(name_length));
        },
        [=](cass_stmt *stmt) {
            return cass_get_cursor_name(stmt, entry,
                                        {.bytes = nullptr,
                                         .units = cursor_name,
                                         .size = buffer_length,
                                         .length = name_length});
        });
}
