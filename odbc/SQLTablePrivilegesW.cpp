// SQLTablePrivilegesW: no rows, since privileges are not reported, with wide arguments.
#include "odbc/empty_catalog.h"

static constexpr entry_point entry = {.name = "SQLTablePrivilegesW",
                                      .source = "SQLTablePrivilegesW.c",
                                      .async_code = SQL_API_SQLTABLEPRIVILEGES};

VHCASS_EXPORT SQLRETURN SQL_API SQLTablePrivilegesW(SQLHSTMT statement_handle,
                                                    SQLWCHAR *catalog_name,
                                                    SQLSMALLINT catalog_length,
                                                    SQLWCHAR *schema_name,
                                                    SQLSMALLINT schema_length, SQLWCHAR *table_name,
                                                    SQLSMALLINT table_length)
{
    return empty_catalog_entry(
        statement_handle, entry, table_privileges_set,
        {{wide_argument(catalog_name, catalog_length), wide_argument(schema_name, schema_length),
          wide_argument(table_name, table_length)}});
}
