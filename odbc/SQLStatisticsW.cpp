// SQLStatisticsW: the secondary indexes of a table, with wide arguments.
#include "odbc/SQLStatisticsWide.h"

static constexpr entry_point entry = {
    .name = "SQLStatisticsW", .source = "SQLStatisticsW.c", .async_code = SQL_API_SQLSTATISTICS};

VHCASS_EXPORT SQLRETURN SQL_API SQLStatisticsW(SQLHSTMT statement_handle, SQLWCHAR *catalog_name,
                                               SQLSMALLINT catalog_length, SQLWCHAR *schema_name,
                                               SQLSMALLINT schema_length, SQLWCHAR *table_name,
                                               SQLSMALLINT table_length, SQLUSMALLINT unique,
                                               SQLUSMALLINT reserved)
{
    return statistics_entry(statement_handle, entry,
                            {wide_argument(catalog_name, catalog_length),
                             wide_argument(schema_name, schema_length),
                             wide_argument(table_name, table_length), unique, reserved});
}
