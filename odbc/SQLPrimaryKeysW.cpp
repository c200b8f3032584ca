// SQLPrimaryKeysW: the partition key columns of tables, with wide arguments.
#include "odbc/SQLPrimaryKeysWide.h"

static constexpr entry_point entry = {
    .name = "SQLPrimaryKeysW", .source = "SQLPrimaryKeysW.c", .async_code = SQL_API_SQLPRIMARYKEYS};

VHCASS_EXPORT SQLRETURN SQL_API SQLPrimaryKeysW(SQLHSTMT statement_handle, SQLWCHAR *catalog_name,
                                                SQLSMALLINT catalog_length, SQLWCHAR *schema_name,
                                                SQLSMALLINT schema_length, SQLWCHAR *table_name,
                                                SQLSMALLINT table_length)
{
    return primary_keys_entry(statement_handle, entry,
                              {wide_argument(catalog_name, catalog_length),
                               wide_argument(schema_name, schema_length),
                               wide_argument(table_name, table_length)});
}
