// SQLConnect: a session by the name of a data source.
#include "odbc/SQLConnectWide.h"

static constexpr entry_point entry = {
    .name = "SQLConnect", .source = "SQLConnect.c", .exit_format = EXIT_BY_NAME};

VHCASS_EXPORT SQLRETURN SQL_API SQLConnect(SQLHDBC connection_handle, SQLCHAR *server_name,
                                           SQLSMALLINT name_length1, SQLCHAR *user_name,
                                           SQLSMALLINT name_length2, SQLCHAR *authentication,
                                           SQLSMALLINT name_length3)
{
    return connect_entry(connection_handle, entry, ansi_argument(server_name, name_length1),
                         ansi_argument(user_name, name_length2),
                         ansi_argument(authentication, name_length3));
}
