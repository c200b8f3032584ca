// SQLConnectW: a session by the name of a data source, texts as UTF-16.
#include "odbc/SQLConnectWide.h"

static constexpr entry_point entry = {
    .name = "SQLConnect", .source = "SQLConnectW.c", .exit_format = EXIT_BY_NAME};

VHCASS_EXPORT SQLRETURN SQL_API SQLConnectW(SQLHDBC connection_handle, SQLWCHAR *server_name,
                                            SQLSMALLINT name_length1, SQLWCHAR *user_name,
                                            SQLSMALLINT name_length2, SQLWCHAR *authentication,
                                            SQLSMALLINT name_length3)
{
    return connect_entry(connection_handle, entry, wide_argument(server_name, name_length1),
                         wide_argument(user_name, name_length2),
                         wide_argument(authentication, name_length3));
}
