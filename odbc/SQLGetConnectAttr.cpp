// SQLGetConnectAttr: reads a connection attribute.
#include "odbc/SQLGetConnectAttrWide.h"

static constexpr entry_point entry = {
    .name = "SQLGetConnectAttr", .source = "SQLGetConnectAttr.c", .exit_format = EXIT_BY_NAME};

VHCASS_EXPORT SQLRETURN SQL_API SQLGetConnectAttr(SQLHDBC connection_handle, SQLINTEGER attribute,
                                                  SQLPOINTER value, SQLINTEGER buffer_length,
                                                  SQLINTEGER *string_length)
{
    return get_connect_attr_entry(connection_handle, entry, attribute,
                                  {value, buffer_length, string_length, TEXT_ANSI});
}
