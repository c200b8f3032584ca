// SQLDriverConnectW: a session by a connection string, texts as UTF-16.
#include "odbc/SQLDriverConnectWide.h"
#include "odbc/entry_frame.h"

static constexpr char log_source[] = "SQLDriverConnectW.c";
static constexpr entry_point entry = {
    .name = "SQLDriverConnect", .source = log_source, .exit_format = EXIT_BY_NAME};

VHCASS_EXPORT SQLRETURN SQL_API SQLDriverConnectW(SQLHDBC connection_handle, SQLHWND window_handle,
                                                  SQLWCHAR *in_string, SQLSMALLINT in_length,
                                                  SQLWCHAR *out_string, SQLSMALLINT out_size,
                                                  SQLSMALLINT *out_length,
                                                  SQLUSMALLINT driver_completion)
{
    return enter_conn(
        connection_handle, entry,
        [&](cass_conn *conn) {
            CASS_LOG(&conn->head, LOG_ENTRY,
                     "SQLDriverConnect: connection_handle=%p, window_handle=%p, "
                     "in_connection_string=%Q, out_connection_string=%p, buffer_length=%d, "
                     "string_length2_ptr=%p, driver_completion=%d",
                     static_cast<void *>(conn), static_cast<void *>(window_handle), in_string,
                     static_cast<int>(in_length), static_cast<void *>(out_string),
                     static_cast<int>(out_size), static_cast<void *>(out_length),
                     static_cast<int>(driver_completion));
        },
        [&](cass_conn *conn) {
            return SQLDriverConnectWide(
                conn, {in_string, cass_string_from_wide(in_string, in_length)}, window_handle,
                driver_completion, {out_string, out_size, out_length, true});
        });
}
