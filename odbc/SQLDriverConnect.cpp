// SQLDriverConnect: a session by a connection string.
#include "odbc/SQLDriverConnectWide.h"

static constexpr entry_point entry = {
    .name = "SQLDriverConnect", .source = "SQLDriverConnect.c", .exit_format = EXIT_BY_NAME};

VHCASS_EXPORT SQLRETURN SQL_API SQLDriverConnect(SQLHDBC connection_handle, SQLHWND window_handle,
                                                 SQLCHAR *in_string, SQLSMALLINT in_length,
                                                 SQLCHAR *out_string, SQLSMALLINT out_size,
                                                 SQLSMALLINT *out_length,
                                                 SQLUSMALLINT driver_completion)
{
    return driver_connect_entry(connection_handle, entry, window_handle,
                                ansi_argument(in_string, in_length), driver_completion,
                                {out_string, out_size, out_length, TEXT_ANSI});
}
