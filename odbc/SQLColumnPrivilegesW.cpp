// SQLColumnPrivilegesW: no rows, since privileges are not reported, with wide arguments.
#include "odbc/empty_catalog.h"

static constexpr entry_point entry = {.name = "SQLColumnPrivilegesW",
                                      .source = "SQLColumnPrivilegesW.c",
                                      .async_code = SQL_API_SQLCOLUMNPRIVILEGES};

VHCASS_EXPORT SQLRETURN SQL_API
SQLColumnPrivilegesW(SQLHSTMT statement_handle, SQLWCHAR *catalog_name, SQLSMALLINT catalog_length,
                     SQLWCHAR *schema_name, SQLSMALLINT schema_length, SQLWCHAR *table_name,
                     SQLSMALLINT table_length, SQLWCHAR *column_name, SQLSMALLINT column_length)
{
    return empty_catalog_entry(
        statement_handle, entry, column_privileges_set,
        {{wide_argument(catalog_name, catalog_length), wide_argument(schema_name, schema_length),
          wide_argument(table_name, table_length), wide_argument(column_name, column_length)}});
}
