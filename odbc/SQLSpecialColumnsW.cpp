// SQLSpecialColumnsW: the columns that identify a row, with wide arguments.
#include "odbc/SQLSpecialColumnsWide.h"

static constexpr entry_point entry = {.name = "SQLSpecialColumnsW",
                                      .source = "SQLSpecialColumnsW.c",
                                      .async_code = SQL_API_SQLSPECIALCOLUMNS};

VHCASS_EXPORT SQLRETURN SQL_API SQLSpecialColumnsW(
    SQLHSTMT statement_handle, SQLUSMALLINT identifier_type, SQLWCHAR *catalog_name,
    SQLSMALLINT catalog_length, SQLWCHAR *schema_name, SQLSMALLINT schema_length,
    SQLWCHAR *table_name, SQLSMALLINT table_length, SQLUSMALLINT scope, SQLUSMALLINT nullable)
{
    return special_columns_entry(statement_handle, entry,
                                 {identifier_type, wide_argument(catalog_name, catalog_length),
                                  wide_argument(schema_name, schema_length),
                                  wide_argument(table_name, table_length), scope, nullable});
}
