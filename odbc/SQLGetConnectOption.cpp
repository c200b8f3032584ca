// SQLGetConnectOption: the ODBC 2 form of reading a connection attribute. It answers fewer of them
// than SQLGetConnectAttr.
#include "odbc/SQLGetConnectAttrWide.h"
#include "odbc/cass_conn_attrs.h"

static constexpr char log_source[] = "SQLGetConnectOption.c";
static constexpr entry_point entry = {
    .name = "SQLGetConnectOption", .source = log_source, .exit_format = EXIT_BY_NAME};

// ODBC 2 has no buffer length here, but promises room for this many bytes. The only text, the
// catalog's name, always fits.
constexpr SQLINTEGER TEXT_OPTION_ROOM = SQL_MAX_OPTION_STRING_LENGTH;

static SQLRETURN get_option(cass_conn *conn, SQLUSMALLINT option, SQLPOINTER value)
{
    if (find_conn_attr(option).option)
        return read_connect_attr(conn, entry.name, option,
                                 {value, TEXT_OPTION_ROOM, nullptr, TEXT_ANSI});
    CASS_LOG(&conn->head, LOG_ERROR, "SQLGetConnectOption: unexpected option %d", option);
    cass_post_error(&conn->head, STATE_S1092, 0, nullptr);
    return SQL_ERROR;
}

VHCASS_EXPORT SQLRETURN SQL_API SQLGetConnectOption(SQLHDBC connection_handle, SQLUSMALLINT option,
                                                    SQLPOINTER value)
{
    return enter_conn(
        connection_handle, entry,
        [&](cass_conn *conn) {
            CASS_LOG(&conn->head, LOG_ENTRY,
                     "SQLGetConnectOption: connection_handle=%p, option=%d, value=%p",
                     connection_handle, option, value);
        },
        [&](cass_conn *conn) { return get_option(conn, option, value); });
}
