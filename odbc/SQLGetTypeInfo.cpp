// SQLGetTypeInfo: the types of Cassandra.
#include "odbc/SQLGetTypeInfoWide.h"

static constexpr entry_point entry = {.name = "SQLGetTypeInfo", .source = "SQLGetTypeInfo.c"};

VHCASS_EXPORT SQLRETURN SQL_API SQLGetTypeInfo(SQLHSTMT statement_handle, SQLSMALLINT data_type)
{
    return get_type_info_entry(statement_handle, entry, data_type);
}
