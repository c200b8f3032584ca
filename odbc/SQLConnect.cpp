// SQLConnect: a session by the name of a data source.
#include "odbc/SQLConnectWide.h"
#include "odbc/entry_frame.h"

static constexpr char log_source[] = "SQLConnect.c";
static constexpr entry_point entry = {
    .name = "SQLConnect", .source = log_source, .exit_format = EXIT_BY_NAME};

VHCASS_EXPORT SQLRETURN SQL_API SQLConnect(SQLHDBC connection_handle, SQLCHAR *server_name,
                                           SQLSMALLINT name_length1, SQLCHAR *user_name,
                                           SQLSMALLINT name_length2, SQLCHAR *authentication,
                                           SQLSMALLINT name_length3)
{
    return enter_conn(
        connection_handle, entry,
        [&](cass_conn *conn) {
            // Recorded as a detail, unlike the other entries.
            CASS_LOG(&conn->head, LOG_DETAIL,
                     "SQLConnect: input_handle=%p, server_name = %q, user_name = %q, "
                     "authentication = %q",
                     static_cast<void *>(conn), server_name, static_cast<int>(name_length1),
                     user_name, static_cast<int>(name_length2), authentication,
                     static_cast<int>(name_length3));
        },
        [&](cass_conn *conn) {
            return SQLConnectWide(
                conn, {server_name, cass_string_from_ansi(server_name, name_length1)},
                {user_name, cass_string_from_ansi(user_name, name_length2)},
                {authentication, cass_string_from_ansi(authentication, name_length3)});
        });
}
