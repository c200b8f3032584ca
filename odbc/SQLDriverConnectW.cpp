// SQLDriverConnectW: a session by a connection string, texts as UTF-16.
#include "odbc/SQLDriverConnectWide.h"

static constexpr entry_point entry = {
    .name = "SQLDriverConnect", .source = "SQLDriverConnectW.c", .exit_format = EXIT_BY_NAME};

VHCASS_EXPORT SQLRETURN SQL_API SQLDriverConnectW(SQLHDBC connection_handle, SQLHWND window_handle,
                                                  SQLWCHAR *in_string, SQLSMALLINT in_length,
                                                  SQLWCHAR *out_string, SQLSMALLINT out_size,
                                                  SQLSMALLINT *out_length,
                                                  SQLUSMALLINT driver_completion)
{
    return driver_connect_entry(connection_handle, entry, window_handle,
                                wide_argument(in_string, in_length), driver_completion,
                                {out_string, out_size, out_length, TEXT_WIDE_UNITS});
}
