// SQLGetConnectAttrW: reads a connection attribute, wide form.
#include "odbc/SQLGetConnectAttrWide.h"
#include "odbc/entry_frame.h"

static constexpr char log_source[] = "SQLGetConnectAttrW.c";
static constexpr entry_point entry = {
    .name = "SQLGetConnectAttrW", .source = log_source, .exit_format = EXIT_BY_NAME};

VHCASS_EXPORT SQLRETURN SQL_API SQLGetConnectAttrW(SQLHDBC connection_handle, SQLINTEGER attribute,
                                                   SQLPOINTER value, SQLINTEGER buffer_length,
                                                   SQLINTEGER *string_length)
{
    return enter_conn(
        connection_handle, entry,
        [&](cass_conn *conn) {
            CASS_LOG(&conn->head, LOG_ENTRY,
                     "SQLGetConnectAttrW: connection_handle=%p, attribute=%d, value=%p, "
                     "buffer_length=%d, string_length=%p",
                     connection_handle, attribute, value, buffer_length,
                     static_cast<void *>(string_length));
        },
        [&](cass_conn *conn) {
            return cass_get_conn_attr(conn, entry.name, attribute, value, buffer_length,
                                      string_length, true);
        });
}
