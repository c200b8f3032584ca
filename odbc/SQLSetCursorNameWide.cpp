// SQLSetCursorName in both forms.
#include "odbc/SQLSetCursorNameWide.h"

static bool a_lost_cursor_name_is_silent(const cass_conn *conn)
{
    return conn->conduct->a_lost_cursor_name_is_silent;
}

static SQLRETURN set_cursor_name(cass_stmt *stmt, const entry_point &entry,
                                 const text_argument &name)
{
    cass_string *kept = cass_string_from_argument(name);
    cass_string_free(stmt->cursor_name);
    stmt->cursor_name = kept;
    if (stmt->cursor_name != nullptr)
        return SQL_SUCCESS;
    ENTRY_LOG(&stmt->head, entry, LOG_DETAIL, "%s: failed creating string", entry.name);
    if (!a_lost_cursor_name_is_silent(stmt_conn(stmt)))
        cass_post_error(&stmt->head, name.text == nullptr ? STATE_HY009 : STATE_HY001, 0, nullptr);
    return SQL_ERROR;
}

SQLRETURN set_cursor_name_entry(SQLHSTMT handle, const entry_point &entry,
                                const text_argument &name)
{
    return enter_stmt(
        handle, entry,
        [&](cass_stmt *stmt) {
            ENTRY_LOG(&stmt->head, entry, LOG_ENTRY, "%s: statement_handle=%p, cursor_name=%A",
                      entry.name, static_cast<void *>(stmt), &name);
        },
        [&](cass_stmt *stmt) { return set_cursor_name(stmt, entry, name); });
}
