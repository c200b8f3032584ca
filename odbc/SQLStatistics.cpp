// SQLStatistics: the secondary indexes of a table.
#include "odbc/SQLStatisticsWide.h"

static constexpr entry_point entry = {
    .name = "SQLStatistics", .source = "SQLStatistics.c", .async_code = SQL_API_SQLSTATISTICS};

VHCASS_EXPORT SQLRETURN SQL_API SQLStatistics(SQLHSTMT statement_handle, SQLCHAR *catalog_name,
                                              SQLSMALLINT catalog_length, SQLCHAR *schema_name,
                                              SQLSMALLINT schema_length, SQLCHAR *table_name,
                                              SQLSMALLINT table_length, SQLUSMALLINT unique,
                                              SQLUSMALLINT reserved)
{
    return statistics_entry(statement_handle, entry,
                            {ansi_argument(catalog_name, catalog_length),
                             ansi_argument(schema_name, schema_length),
                             ansi_argument(table_name, table_length), unique, reserved});
}
