// SQLGetCursorName in both forms.
#include "odbc/SQLGetCursorNameWide.h"

#include <cstdio>

static bool name_cursor(cass_stmt *stmt, const entry_point &entry)
{
    char name[24];
    std::snprintf(name, sizeof name, "SQL_CUR%08X", static_cast<unsigned>(stmt->stmt_number));
    stmt->cursor_name = cass_string_from_cstr(name);
    if (stmt->cursor_name != nullptr)
        return true;
    ENTRY_LOG(&stmt->head, entry, LOG_ERROR, "%s: failed creating a string", entry.name);
    cass_post_error(&stmt->head, STATE_HY001, 0, nullptr);
    return false;
}

static bool a_cursor_name_needs_a_buffer(const cass_conn *conn)
{
    return conn->conduct->a_cursor_name_needs_a_buffer;
}

static SQLRETURN get_cursor_name(cass_stmt *stmt, const entry_point &entry,
                                 const cursor_name_target &target)
{
    if (stmt->cursor_name == nullptr && !name_cursor(stmt, entry))
        return SQL_ERROR;
    cass_store(target.length, cass_small_length(cass_string_length(stmt->cursor_name)));
    if (target.buffer == nullptr)
        return a_cursor_name_needs_a_buffer(stmt_conn(stmt)) ? SQL_ERROR : SQL_SUCCESS;
    // Without room for the terminator even an empty name counts as cut.
    const bool cut = target.size < 1 ||
                     text_form_out(stmt->cursor_name, target.form, target.buffer, target.size);
    if (!cut)
        return SQL_SUCCESS;
    ENTRY_LOG(&stmt->head, entry, LOG_ERROR, "%s: name truncated", entry.name);
    cass_post_error(&stmt->head, STATE_01004, 0, nullptr);
    return SQL_SUCCESS_WITH_INFO;
}

SQLRETURN get_cursor_name_entry(SQLHSTMT handle, const entry_point &entry,
                                const cursor_name_target &target)
{
    return enter_stmt(
        handle, entry,
        [&](cass_stmt *stmt) {
            ENTRY_LOG(&stmt->head, entry, LOG_ENTRY,
                      "%s: statement_handle=%p, cursor_name=%p, buffer_length=%d, name_length=%p",
                      entry.name, static_cast<void *>(stmt), target.buffer, target.size,
                      static_cast<void *>(target.length));
        },
        [&](cass_stmt *stmt) { return get_cursor_name(stmt, entry, target); });
}
