// SQLColumnPrivileges: no rows, since privileges are not reported.
#include "odbc/empty_catalog.h"

static constexpr entry_point entry = {.name = "SQLColumnPrivileges",
                                      .source = "SQLColumnPrivileges.c",
                                      .async_code = SQL_API_SQLCOLUMNPRIVILEGES};

VHCASS_EXPORT SQLRETURN SQL_API SQLColumnPrivileges(SQLHSTMT statement_handle,
                                                    SQLCHAR *catalog_name,
                                                    SQLSMALLINT catalog_length,
                                                    SQLCHAR *schema_name, SQLSMALLINT schema_length,
                                                    SQLCHAR *table_name, SQLSMALLINT table_length,
                                                    SQLCHAR *column_name, SQLSMALLINT column_length)
{
    return empty_catalog_entry(
        statement_handle, entry, column_privileges_set,
        {{ansi_argument(catalog_name, catalog_length), ansi_argument(schema_name, schema_length),
          ansi_argument(table_name, table_length), ansi_argument(column_name, column_length)}});
}
