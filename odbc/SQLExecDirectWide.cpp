// The body of SQLExecDirect behind the conversion of its text.
#include "odbc/SQLExecDirectWide.h"

#include "core/statement/cass_stmt.h"

SQLRETURN cass_exec_direct_text(cass_stmt *stmt, const entry_point &entry, cass_string *text)
{
    cass_close_stmt(stmt, 1);
    if (text == nullptr) {
        ENTRY_LOG(&stmt->head, entry, LOG_ERROR, "%s: failed creating string", entry.name);
        cass_post_error(&stmt->head, STATE_HY001, 0, nullptr);
        return SQL_ERROR;
    }
    return cass_check_cursor_change(stmt, cass_exec_direct(stmt, text, OP_EXEC_DIRECT));
}
