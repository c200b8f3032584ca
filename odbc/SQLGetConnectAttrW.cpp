// SQLGetConnectAttrW: reads a connection attribute, wide form.
#include "odbc/SQLGetConnectAttrWide.h"

static constexpr entry_point entry = {
    .name = "SQLGetConnectAttrW", .source = "SQLGetConnectAttrW.c", .exit_format = EXIT_BY_NAME};

VHCASS_EXPORT SQLRETURN SQL_API SQLGetConnectAttrW(SQLHDBC connection_handle, SQLINTEGER attribute,
                                                   SQLPOINTER value, SQLINTEGER buffer_length,
                                                   SQLINTEGER *string_length)
{
    return get_connect_attr_entry(connection_handle, entry, attribute,
                                  {value, buffer_length, string_length, TEXT_WIDE_BYTES});
}
