// SQLGetTypeInfoW: the types of Cassandra, wide form.
#include "odbc/SQLGetTypeInfoWide.h"

static constexpr entry_point entry = {.name = "SQLGetTypeInfoW", .source = "SQLGetTypeInfoW.c"};

VHCASS_EXPORT SQLRETURN SQL_API SQLGetTypeInfoW(SQLHSTMT statement_handle, SQLSMALLINT data_type)
{
    return get_type_info_entry(statement_handle, entry, data_type);
}
