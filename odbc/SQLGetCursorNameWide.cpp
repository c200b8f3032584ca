// The body of SQLGetCursorName.
#include "odbc/SQLGetCursorNameWide.h"

#include <cstdio>

#include "core/diag/cass_text_out.h"

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

SQLRETURN cass_get_cursor_name(cass_stmt *stmt, const entry_point &entry,
                               const cursor_name_target &target)
{
    if (stmt->cursor_name == nullptr && !name_cursor(stmt, entry))
        return SQL_ERROR;
    cass_store(target.length, cass_small_length(cass_string_length(stmt->cursor_name)));
    if (target.bytes == nullptr && target.units == nullptr)
        return SQL_ERROR;
    // Without room for the terminator even an empty name counts as cut.
    const bool cut = target.size < 1 ||
                     cass_ansi_text_out(stmt->cursor_name, target.bytes, target.size) ||
                     cass_wide_text_out(stmt->cursor_name, target.units, target.size);
    if (!cut)
        return SQL_SUCCESS;
    ENTRY_LOG(&stmt->head, entry, LOG_ERROR, "%s: name truncated", entry.name);
    cass_post_error(&stmt->head, STATE_01004, 0, nullptr);
    return SQL_SUCCESS_WITH_INFO;
}
