// SQLPrimaryKeys: the partition key columns of tables.
#include "odbc/SQLPrimaryKeysWide.h"

static constexpr entry_point entry = {
    .name = "SQLPrimaryKeys", .source = "SQLPrimaryKeys.c", .async_code = SQL_API_SQLPRIMARYKEYS};

VHCASS_EXPORT SQLRETURN SQL_API SQLPrimaryKeys(SQLHSTMT statement_handle, SQLCHAR *catalog_name,
                                               SQLSMALLINT catalog_length, SQLCHAR *schema_name,
                                               SQLSMALLINT schema_length, SQLCHAR *table_name,
                                               SQLSMALLINT table_length)
{
    return primary_keys_entry(statement_handle, entry,
                              {ansi_argument(catalog_name, catalog_length),
                               ansi_argument(schema_name, schema_length),
                               ansi_argument(table_name, table_length)});
}
