// SQLColumnsW: the columns of tables, with wide arguments.
#include "odbc/SQLColumnsWide.h"

static constexpr entry_point entry = {
    .name = "SQLColumnsW", .source = "SQLColumnsW.c", .async_code = SQL_API_SQLCOLUMNS};

VHCASS_EXPORT SQLRETURN SQL_API SQLColumnsW(SQLHSTMT statement_handle, SQLWCHAR *catalog_name,
                                            SQLSMALLINT catalog_length, SQLWCHAR *schema_name,
                                            SQLSMALLINT schema_length, SQLWCHAR *table_name,
                                            SQLSMALLINT table_length, SQLWCHAR *column_name,
                                            SQLSMALLINT column_length)
{
    return columns_entry(
        statement_handle, entry,
        {wide_argument(catalog_name, catalog_length), wide_argument(schema_name, schema_length),
         wide_argument(table_name, table_length), wide_argument(column_name, column_length)});
}
