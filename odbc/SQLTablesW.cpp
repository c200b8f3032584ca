// SQLTablesW: the tables and views of the cluster, with wide arguments.
#include "odbc/SQLTablesWide.h"

static constexpr entry_point entry = {
    .name = "SQLTablesW", .source = "SQLTablesW.c", .async_code = SQL_API_SQLTABLES};

VHCASS_EXPORT SQLRETURN SQL_API SQLTablesW(SQLHSTMT statement_handle, SQLWCHAR *catalog_name,
                                           SQLSMALLINT catalog_length, SQLWCHAR *schema_name,
                                           SQLSMALLINT schema_length, SQLWCHAR *table_name,
                                           SQLSMALLINT table_length, SQLWCHAR *table_type,
                                           SQLSMALLINT table_type_length)
{
    return tables_entry(
        statement_handle, entry,
        {wide_argument(catalog_name, catalog_length), wide_argument(schema_name, schema_length),
         wide_argument(table_name, table_length), wide_argument(table_type, table_type_length)});
}
