// SQLSetConnectAttrW: sets a connection attribute, wide form.
#include "odbc/SQLSetConnectAttrWide.h"

static constexpr entry_point entry = {
    .name = "SQLSetConnectAttrW", .source = "SQLSetConnectAttrW.c", .exit_format = EXIT_BY_NAME};

VHCASS_EXPORT SQLRETURN SQL_API SQLSetConnectAttrW(SQLHDBC connection_handle, SQLINTEGER attribute,
                                                   SQLPOINTER value, SQLINTEGER string_length)
{
    return set_connect_attr_entry(connection_handle, entry, TEXT_WIDE_BYTES, attribute, value,
                                  string_length);
}
