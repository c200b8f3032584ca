// SQLColumns: the columns of tables.
#include "odbc/SQLColumnsWide.h"

static constexpr entry_point entry = {
    .name = "SQLColumns", .source = "SQLColumns.c", .async_code = SQL_API_SQLCOLUMNS};

VHCASS_EXPORT SQLRETURN SQL_API SQLColumns(SQLHSTMT statement_handle, SQLCHAR *catalog_name,
                                           SQLSMALLINT catalog_length, SQLCHAR *schema_name,
                                           SQLSMALLINT schema_length, SQLCHAR *table_name,
                                           SQLSMALLINT table_length, SQLCHAR *column_name,
                                           SQLSMALLINT column_length)
{
    return columns_entry(
        statement_handle, entry,
        {ansi_argument(catalog_name, catalog_length), ansi_argument(schema_name, schema_length),
         ansi_argument(table_name, table_length), ansi_argument(column_name, column_length)});
}
