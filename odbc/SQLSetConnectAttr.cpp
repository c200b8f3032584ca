// SQLSetConnectAttr: sets a connection attribute.
#include "odbc/SQLSetConnectAttrWide.h"
#include "odbc/entry_frame.h"

static constexpr char log_source[] = "SQLSetConnectAttr.c";
static constexpr entry_point entry = {
    .name = "SQLSetConnectAttr", .source = log_source, .exit_format = EXIT_BY_NAME};
static constexpr set_attr_form form = {.name = "SQLSetConnectAttr",
                                       .wide = false,
                                       .unknown = STATE_HY092,
                                       .bad_value = STATE_HY024,
                                       .no_memory = STATE_HY001};

VHCASS_EXPORT SQLRETURN SQL_API SQLSetConnectAttr(SQLHDBC connection_handle, SQLINTEGER attribute,
                                                  SQLPOINTER value, SQLINTEGER string_length)
{
    return enter_conn(
        connection_handle, entry,
        [&](cass_conn *conn) {
            CASS_LOG(&conn->head, LOG_ENTRY,
                     "SQLSetConnectAttr: connection_handle=%p, attribute=%d, value=%p, "
                     "string_length=%d",
                     connection_handle, attribute, value, string_length);
        },
        [&](cass_conn *conn) {
            return cass_set_conn_attr(conn, &form, attribute, value, string_length);
        });
}
