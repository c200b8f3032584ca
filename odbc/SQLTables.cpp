// SQLTables: the tables and views of the cluster.
#include "odbc/SQLTablesWide.h"

static constexpr entry_point entry = {
    .name = "SQLTables", .source = "SQLTables.c", .async_code = SQL_API_SQLTABLES};

VHCASS_EXPORT SQLRETURN SQL_API SQLTables(SQLHSTMT statement_handle, SQLCHAR *catalog_name,
                                          SQLSMALLINT catalog_length, SQLCHAR *schema_name,
                                          SQLSMALLINT schema_length, SQLCHAR *table_name,
                                          SQLSMALLINT table_length, SQLCHAR *table_type,
                                          SQLSMALLINT table_type_length)
{
    return tables_entry(
        statement_handle, entry,
        {ansi_argument(catalog_name, catalog_length), ansi_argument(schema_name, schema_length),
         ansi_argument(table_name, table_length), ansi_argument(table_type, table_type_length)});
}
