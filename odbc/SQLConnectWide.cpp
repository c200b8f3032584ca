// SQLConnect in both forms: from three texts to a session.
#include "odbc/SQLConnectWide.h"

#include "core/handle/cass_handle.h"
#include "core/session/cass_logon.h"
#include "core/session/cass_secrets.h"
#include "core/session/cass_settings.h"

static constexpr char log_source[] = "SQLConnectWide.c";

SQLRETURN cass_connect_by_name(cass_conn *conn, const text_argument &server_name,
                               const text_argument &user_name, const text_argument &authentication)
{
    held_string server;
    held_string user;
    held_string password;
    const bool lost = !cass_string_take_argument(server_name, &server) ||
                      !cass_string_take_argument(user_name, &user) ||
                      !cass_string_take_argument(authentication, &password);
    // This data source may have no bundle, or one without a key: another's must not be shown.
    cass_forget_bundle(conn);
    if (lost)
        return cass_post_no_memory(&conn->head, log_source, "SQLConnect");
    if (cass_read_dsn_settings(conn, server.get(), user.get(), password.get()) != 0)
        return SQL_ERROR;
    if (conn->settings.server == nullptr && conn->settings.bundle_path == nullptr) {
        cass_post_error(&conn->head, STATE_HY000, 0,
                        "server name and connect bundle not specified");
        return SQL_ERROR;
    }
    return cass_connect(conn, 0);
}

SQLRETURN connect_entry(SQLHDBC handle, const entry_point &entry, const text_argument &server_name,
                        const text_argument &user_name, const text_argument &authentication)
{
    return enter_conn(
        handle, entry,
        [&](cass_conn *conn) {
            const text_argument password = cass_shown_password(conn, server_name, authentication);
            // Recorded as a detail, unlike the other entries.
            ENTRY_LOG(&conn->head, entry, LOG_DETAIL,
                      "%s: input_handle=%p, server_name = %A, user_name = %A, "
                      "authentication = %A",
                      entry.name, static_cast<void *>(conn), &server_name, &user_name, &password);
        },
        [&](cass_conn *conn) {
            return cass_connect_by_name(conn, server_name, user_name, authentication);
        });
}
