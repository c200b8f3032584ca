// SQLSetConnectAttr: sets a connection attribute.
#include "odbc/SQLSetConnectAttrWide.h"

static constexpr entry_point entry = {
    .name = "SQLSetConnectAttr", .source = "SQLSetConnectAttr.c", .exit_format = EXIT_BY_NAME};

VHCASS_EXPORT SQLRETURN SQL_API SQLSetConnectAttr(SQLHDBC connection_handle, SQLINTEGER attribute,
                                                  SQLPOINTER value, SQLINTEGER string_length)
{
    return set_connect_attr_entry(connection_handle, entry, TEXT_ANSI, attribute, value,
                                  string_length);
}
