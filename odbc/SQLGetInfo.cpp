// SQLGetInfo: what the driver says of itself, ANSI form.
#include "odbc/SQLGetInfoWide.h"

static constexpr entry_point entry = {.name = "SQLGetInfo", .source = "SQLGetInfo.c"};

VHCASS_EXPORT SQLRETURN SQL_API SQLGetInfo(SQLHDBC connection_handle, SQLUSMALLINT info_type,
                                           SQLPOINTER info_value, SQLSMALLINT buffer_length,
                                           SQLSMALLINT *string_length)
{
    return get_info_entry(connection_handle, entry, info_type,
                          {info_value, buffer_length, string_length, TEXT_ANSI});
}
