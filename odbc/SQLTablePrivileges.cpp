// SQLTablePrivileges: no rows, since privileges are not reported.
#include "odbc/empty_catalog.h"

static constexpr entry_point entry = {.name = "SQLTablePrivileges",
                                      .source = "SQLTablePrivileges.c",
                                      .async_code = SQL_API_SQLTABLEPRIVILEGES};

VHCASS_EXPORT SQLRETURN SQL_API SQLTablePrivileges(SQLHSTMT statement_handle, SQLCHAR *catalog_name,
                                                   SQLSMALLINT catalog_length, SQLCHAR *schema_name,
                                                   SQLSMALLINT schema_length, SQLCHAR *table_name,
                                                   SQLSMALLINT table_length)
{
    return empty_catalog_entry(
        statement_handle, entry, table_privileges_set,
        {{ansi_argument(catalog_name, catalog_length), ansi_argument(schema_name, schema_length),
          ansi_argument(table_name, table_length)}});
}
