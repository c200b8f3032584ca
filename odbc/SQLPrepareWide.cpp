// The body of SQLPrepare behind the conversion of its text: the PREPARE frame goes out at once.
#include "odbc/SQLPrepareWide.h"

#include "core/statement/cass_pkt_exchange.h"
#include "core/statement/cass_sql.h"
#include "core/statement/cass_stmt.h"

static SQLRETURN prepare(cass_stmt *stmt, const entry_point &entry, cass_string *text)
{
    cass_close_stmt(stmt, 1);
    stmt->ird = stmt->implicit_ird;
    if (text == nullptr) {
        ENTRY_LOG(&stmt->head, entry, LOG_ERROR, "%s: failed to create string", entry.name);
        cass_post_error(&stmt->head, STATE_HY001, 0, nullptr);
        return SQL_ERROR;
    }
    cass_string *processed = cass_process_sql(stmt, text);
    cass_string_free(text);
    if (processed == nullptr) {
        ENTRY_LOG(&stmt->head, entry, LOG_ERROR, "%s: failed to process string", entry.name);
        cass_post_error(&stmt->head, STATE_HY000, 0, "failed processing SQL");
        return SQL_ERROR;
    }
    cass_string_free(stmt->sql_text);
    stmt->sql_text = processed;
    stmt->executed = 0;
    shared_put(&stmt->prepared, 0);
    stmt->params_rebound = 0;
    stmt->data_waiting = 0;
    // On failure the text stays: describing the statement tries again.
    const int code = prepare_stmt(stmt, stmt->sql_text);
    if (!SQL_SUCCEEDED(code))
        ENTRY_LOG(&stmt->head, entry, LOG_DETAIL, "%s: failed preparing statement", entry.name);
    return static_cast<SQLRETURN>(code);
}

SQLRETURN prepare_entry(SQLHSTMT handle, const entry_point &entry, const text_argument &text)
{
    return enter_stmt(
        handle, entry,
        [&](cass_stmt *stmt) {
            ENTRY_LOG(&stmt->head, entry, LOG_ENTRY, "%s: statement_handle=%p, statement_text=%A",
                      entry.name, static_cast<void *>(stmt), &text);
        },
        [&](cass_stmt *stmt) { return prepare(stmt, entry, cass_string_from_argument(text)); });
}
