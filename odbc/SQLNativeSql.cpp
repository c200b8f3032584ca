// SQLNativeSql: the text as the server gets it, which is the text itself.
#include "odbc/SQLNativeSqlWide.h"

static constexpr char log_source[] = "SQLNativeSql.c";
static constexpr entry_point entry = {.name = "SQLNativeSql", .source = log_source};

VHCASS_EXPORT SQLRETURN SQL_API SQLNativeSql(SQLHDBC connection_handle, SQLCHAR *in_statement_text,
                                             SQLINTEGER text_length1, SQLCHAR *out_statement_text,
                                             SQLINTEGER buffer_length, SQLINTEGER *text_length2)
{
    return enter_conn(
        connection_handle, entry,
        [=](cass_conn *conn) {
            CASS_LOG(
                &conn->head, LOG_ENTRY,
                "SQLNativeSql: connection_handle=%p, in_statement_text=%q, out_statement_text=%p, "
                "buffer_length=%d, text_length2=%p",
                static_cast<void *>(conn), in_statement_text, text_length1,
                static_cast<void *>(out_statement_text), buffer_length,
                static_cast<void *>(text_length2));
        },
        [=](cass_conn *conn) {
            return cass_native_sql(conn, entry,
                                   cass_string_from_ansi(in_statement_text, text_length1),
                                   {.bytes = out_statement_text,
                                    .units = nullptr,
                                    .size = buffer_length,
                                    .length = text_length2});
        });
}
