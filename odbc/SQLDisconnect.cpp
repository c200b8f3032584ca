// SQLDisconnect: ends the session by closing the socket. Statements and descriptors stay allocated.
#include "core/handle/cass_handle.h"
#include "odbc/entry_frame.h"

static constexpr char log_source[] = "SQLDisconnect.c";
static constexpr entry_point entry = {
    .name = "SQLDisconnect", .source = log_source, .exit_format = EXIT_BY_NAME};

static SQLRETURN disconnect(cass_conn *conn)
{
    if (conn->in_transaction) {
        CASS_LOG(&conn->head, LOG_ERROR, "SQLDisconnect: in a transaction");
        cass_post_error(&conn->head, STATE_25000, 0, nullptr);
        return SQL_ERROR;
    }
    cass_reset_conn(conn);
    return SQL_SUCCESS;
}

VHCASS_EXPORT SQLRETURN SQL_API SQLDisconnect(SQLHDBC connection_handle)
{
    return enter_conn(
        connection_handle, entry,
        [](cass_conn *conn) {
            CASS_LOG(&conn->head, LOG_ENTRY, "SQLDisconnect: connection_handle=%p",
                     static_cast<void *>(conn));
        },
        disconnect);
}
