// SQLSetCursorName: keeps a name; nothing is checked, since no statement refers to cursors.
#include "odbc/entry_frame.h"

static constexpr char log_source[] = "SQLSetCursorName.c";
static constexpr entry_point entry = {.name = "SQLSetCursorName", .source = log_source};

VHCASS_EXPORT SQLRETURN SQL_API SQLSetCursorName(SQLHSTMT statement_handle, SQLCHAR *cursor_name,
                                                 SQLSMALLINT name_length)
{
    return enter_stmt(
        statement_handle, entry,
        [=](cass_stmt *stmt) {
            CASS_LOG(&stmt->head, LOG_ENTRY,
                     "SQLSetCursorName: statement_handle=%p, cursor_name=%q",
                     static_cast<void *>(stmt), cursor_name, name_length);
        },
        [=](cass_stmt *stmt) -> SQLRETURN {
            cass_string_free(stmt->cursor_name);
            stmt->cursor_name = cass_string_from_ansi(cursor_name, name_length);
            if (stmt->cursor_name != nullptr)
                return SQL_SUCCESS;
            CASS_LOG(&stmt->head, LOG_DETAIL, "SQLSetCursorName: failed creating string");
            return SQL_ERROR;
        });
}
