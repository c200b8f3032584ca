// SQLSpecialColumns: the columns that identify a row.
#include "odbc/SQLSpecialColumnsWide.h"

static constexpr entry_point entry = {.name = "SQLSpecialColumns",
                                      .source = "SQLSpecialColumns.c",
                                      .async_code = SQL_API_SQLSPECIALCOLUMNS};

VHCASS_EXPORT SQLRETURN SQL_API SQLSpecialColumns(SQLHSTMT statement_handle,
                                                  SQLUSMALLINT identifier_type,
                                                  SQLCHAR *catalog_name, SQLSMALLINT catalog_length,
                                                  SQLCHAR *schema_name, SQLSMALLINT schema_length,
                                                  SQLCHAR *table_name, SQLSMALLINT table_length,
                                                  SQLUSMALLINT scope, SQLUSMALLINT nullable)
{
    return special_columns_entry(statement_handle, entry,
                                 {identifier_type, ansi_argument(catalog_name, catalog_length),
                                  ansi_argument(schema_name, schema_length),
                                  ansi_argument(table_name, table_length), scope, nullable});
}
