// The body of SQLNativeSql behind the conversion of its text.
#include "odbc/SQLNativeSqlWide.h"

#include "core/diag/cass_text_out.h"

SQLRETURN cass_native_sql(cass_conn *conn, const entry_point &entry, cass_string *text,
                          const native_sql_target &target)
{
    if (text == nullptr) {
        ENTRY_LOG(&conn->head, entry, LOG_ERROR, "%s: failed to create string", entry.name);
        cass_post_error(&conn->head, STATE_HY001, 0, nullptr);
        return SQL_ERROR;
    }
    const bool cut = cass_ansi_text_out(text, target.bytes, target.size) ||
                     cass_wide_text_out(text, target.units, target.size);
    cass_store(target.length, static_cast<SQLINTEGER>(cass_string_length(text)));
    cass_string_free(text);
    if (!cut)
        return SQL_SUCCESS;
    ENTRY_LOG(&conn->head, entry, LOG_ERROR, "%s: text truncated", entry.name);
    cass_post_error(&conn->head, STATE_01004, 0, nullptr);
    return SQL_SUCCESS_WITH_INFO;
}
