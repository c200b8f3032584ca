// SQLGetInfoW: what the driver says of itself, wide form.
#include "odbc/SQLGetInfoWide.h"

static constexpr entry_point entry = {.name = "SQLGetInfoW", .source = "SQLGetInfoW.c"};

VHCASS_EXPORT SQLRETURN SQL_API SQLGetInfoW(SQLHDBC connection_handle, SQLUSMALLINT info_type,
                                            SQLPOINTER info_value, SQLSMALLINT buffer_length,
                                            SQLSMALLINT *string_length)
{
    return get_info_entry(connection_handle, entry, info_type,
                          {info_value, buffer_length, string_length, TEXT_WIDE_BYTES});
}
