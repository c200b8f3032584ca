// SQLNativeSql in both forms.
#include "odbc/SQLNativeSqlWide.h"

#include "core/statement/cass_sql.h"
#include "core/statement/cass_sql_filter.h"

static bool native_sql_repeats_the_text(const cass_conn *conn)
{
    return conn->conduct->native_sql_repeats_the_text;
}

static SQLRETURN native_sql(cass_conn *conn, const entry_point &entry, const text_argument &given,
                            const native_sql_target &target)
{
    held_string text(cass_string_from_argument(given));
    if (text == nullptr) {
        ENTRY_LOG(&conn->head, entry, LOG_ERROR, "%s: failed to create string", entry.name);
        cass_post_error(&conn->head, STATE_HY001, 0, nullptr);
        return SQL_ERROR;
    }
    if (!native_sql_repeats_the_text(conn)) {
        cass_sql_facts facts;
        text.reset(cass_text_for_server(conn, text.get(), &facts));
    }
    if (text == nullptr || !cass_allow_filtering(conn, &text)) {
        cass_post_error(&conn->head, STATE_HY001, 0, nullptr);
        return SQL_ERROR;
    }
    const bool cut = text_form_out(text.get(), target.form, target.buffer, target.size);
    cass_store(target.length, static_cast<SQLINTEGER>(cass_string_length(text.get())));
    if (!cut)
        return SQL_SUCCESS;
    ENTRY_LOG(&conn->head, entry, LOG_ERROR, "%s: text truncated", entry.name);
    cass_post_error(&conn->head, STATE_01004, 0, nullptr);
    return SQL_SUCCESS_WITH_INFO;
}

SQLRETURN native_sql_entry(SQLHDBC handle, const entry_point &entry, const text_argument &text,
                           const native_sql_target &target)
{
    return enter_conn(
        handle, entry,
        [&](cass_conn *conn) {
            ENTRY_LOG(&conn->head, entry, LOG_ENTRY,
                      "%s: connection_handle=%p, in_statement_text=%A, out_statement_text=%p, "
                      "buffer_length=%d, text_length2=%p",
                      entry.name, static_cast<void *>(conn), &text, target.buffer, target.size,
                      static_cast<void *>(target.length));
        },
        [&](cass_conn *conn) { return native_sql(conn, entry, text, target); });
}
