// The road of SQLConnect from its three texts to a session.
#include "odbc/SQLConnectWide.h"

#include "core/cass_err.h"
#include "core/cass_logon.h"
#include "core/cass_settings.h"

SQLRETURN SQLConnectWide(cass_conn *conn, cass_string *server_name, cass_string *user_name,
                         cass_string *authentication)
{
    const int read = cass_read_dsn_settings(conn, server_name, user_name, authentication);
    cass_string_free(server_name);
    cass_string_free(user_name);
    cass_string_free(authentication);
    if (read != 0)
        return SQL_ERROR;

    if (conn->server == nullptr && conn->bundle_path == nullptr) {
        cass_post_error(&conn->head, STATE_HY000, 0,
                        "server name and connect bundle not specified");
        return SQL_ERROR;
    }
    return cass_connect(conn, 0);
}
