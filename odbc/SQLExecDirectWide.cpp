// The body of SQLExecDirect behind the conversion of its text.
#include "odbc/SQLExecDirectWide.h"

#include "core/statement/cass_stmt.h"

static SQLRETURN exec_direct(cass_stmt *stmt, const entry_point &entry, cass_string *text)
{
    cass_close_stmt(stmt, 1);
    if (text == nullptr) {
        ENTRY_LOG(&stmt->head, entry, LOG_ERROR, "%s: failed creating string", entry.name);
        cass_post_error(&stmt->head, STATE_HY001, 0, nullptr);
        return SQL_ERROR;
    }
    return cass_check_cursor_change(stmt, cass_exec_direct(stmt, text, OP_EXEC_DIRECT));
}

SQLRETURN exec_direct_entry(SQLHSTMT handle, const entry_point &entry, const text_argument &text)
{
    return enter_stmt(
        handle, entry,
        [&](cass_stmt *stmt) {
            ENTRY_LOG(&stmt->head, entry, LOG_ENTRY, "%s: statement_handle=%p, statement_text=%A",
                      entry.name, static_cast<void *>(stmt), &text);
        },
        [&](cass_stmt *stmt) { return exec_direct(stmt, entry, cass_string_from_argument(text)); });
}
