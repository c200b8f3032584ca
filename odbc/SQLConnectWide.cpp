// The road of SQLConnect from its three texts to a session.
#include "odbc/SQLConnectWide.h"

#include "core/diag/cass_err.h"
#include "core/handle/cass_handle.h"
#include "core/log/cass_log.h"
#include "core/session/cass_logon.h"
#include "core/session/cass_settings.h"

static constexpr char log_source[] = "SQLConnectWide.c";

SQLRETURN SQLConnectWide(cass_conn *conn, const connect_argument &server_name,
                         const connect_argument &user_name, const connect_argument &authentication)
{
    const bool lost = connect_argument_lost(server_name) || connect_argument_lost(user_name) ||
                      connect_argument_lost(authentication);
    // This data source may have no bundle, or one without a key: another's must not be shown.
    cass_forget_bundle(conn);
    int read = -1;
    if (lost) {
        CASS_LOG(&conn->head, LOG_ERROR, "SQLConnect: failed to allocate memory");
        cass_post_error(&conn->head, STATE_HY001, 0, nullptr);
    } else {
        read = cass_read_dsn_settings(conn, server_name.text, user_name.text, authentication.text);
    }
    cass_string_free(server_name.text);
    cass_string_free(user_name.text);
    cass_string_free(authentication.text);
    if (read != 0)
        return SQL_ERROR;

    if (conn->settings.server == nullptr && conn->settings.bundle_path == nullptr) {
        cass_post_error(&conn->head, STATE_HY000, 0,
                        "server name and connect bundle not specified");
        return SQL_ERROR;
    }
    return cass_connect(conn, 0);
}
