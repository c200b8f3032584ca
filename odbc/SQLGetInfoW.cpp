// SQLGetInfoW: what the driver says of itself, wide form.
#include "odbc/SQLGetInfoWide.h"
#include "odbc/entry_frame.h"

static constexpr char log_source[] = "SQLGetInfoW.c";
static constexpr entry_point entry = {.name = "SQLGetInfoW", .source = log_source};

VHCASS_EXPORT SQLRETURN SQL_API SQLGetInfoW(SQLHDBC connection_handle, SQLUSMALLINT info_type,
                                            SQLPOINTER info_value, SQLSMALLINT buffer_length,
                                            SQLSMALLINT *string_length)
{
    return enter_conn(
        connection_handle, entry,
        [&](cass_conn *conn) {
            CASS_LOG(&conn->head, LOG_ENTRY,
                     "SQLGetInfoW: connection_handle=%p, info_type=%d, info_value=%p, "
                     "buffer_length=%d, string_length=%p",
                     static_cast<void *>(conn), static_cast<int>(info_type), info_value,
                     static_cast<int>(buffer_length), static_cast<void *>(string_length));
        },
        [&](cass_conn *conn) {
            return cass_get_info(conn, entry.name, true, info_type, info_value, buffer_length,
                                 string_length);
        });
}
