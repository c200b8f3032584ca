// SQLGetInfo: what the driver says of itself, ANSI form.
#include "odbc/SQLGetInfoWide.h"
#include "odbc/entry_frame.h"

static constexpr char log_source[] = "SQLGetInfo.c";
static constexpr entry_point entry = {.name = "SQLGetInfo", .source = log_source};

VHCASS_EXPORT SQLRETURN SQL_API SQLGetInfo(SQLHDBC connection_handle, SQLUSMALLINT info_type,
                                           SQLPOINTER info_value, SQLSMALLINT buffer_length,
                                           SQLSMALLINT *string_length)
{
    return enter_conn(
        connection_handle, entry,
        [&](cass_conn *conn) {
            CASS_LOG(&conn->head, LOG_ENTRY,
                     "SQLGetInfo: connection_handle=%p, info_type=%d, info_value=%p, "
                     "buffer_length=%d, string_length=%p",
                     static_cast<void *>(conn), static_cast<int>(info_type), info_value,
                     static_cast<int>(buffer_length), static_cast<void *>(string_length));
        },
        [&](cass_conn *conn) {
            return cass_get_info(conn, entry.name, false, info_type, info_value, buffer_length,
                                 string_length);
        });
}
