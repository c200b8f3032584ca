// SQLSetConnectOption: the ODBC 2 form of setting a connection attribute, with the states of that
// version.
#include "odbc/SQLSetConnectAttrWide.h"

static constexpr char log_source[] = "SQLSetConnectOption.c";
static constexpr entry_point entry = {
    .name = "SQLSetConnectOption", .source = log_source, .exit_format = EXIT_BY_NAME};
static constexpr set_attr_form form = {.name = "SQLSetConnectOption",
                                       .form = TEXT_ANSI,
                                       .unknown = STATE_S1092,
                                       .bad_value = STATE_S1009,
                                       .no_memory = STATE_S1001};

VHCASS_EXPORT SQLRETURN SQL_API SQLSetConnectOption(SQLHDBC connection_handle, SQLUSMALLINT option,
                                                    SQLULEN value)
{
    return enter_conn(
        connection_handle, entry,
        [&](cass_conn *conn) {
            CASS_LOG(&conn->head, LOG_ENTRY,
                     "SQLSetConnectOption: connection_handle=%p, option=%d, value=%l",
                     connection_handle, option, static_cast<long long>(value));
        },
        [&](cass_conn *conn) {
            return store_connect_attr(conn, form, option, reinterpret_cast<SQLPOINTER>(value),
                                      SQL_NTS);
        });
}
