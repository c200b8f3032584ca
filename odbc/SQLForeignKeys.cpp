// SQLForeignKeys: no rows, since Cassandra has no foreign keys.
#include "odbc/empty_catalog.h"

static constexpr entry_point entry = {
    .name = "SQLForeignKeys", .source = "SQLForeignKeys.c", .async_code = SQL_API_SQLFOREIGNKEYS};

VHCASS_EXPORT SQLRETURN SQL_API
SQLForeignKeys(SQLHSTMT statement_handle, SQLCHAR *pk_catalog_name, SQLSMALLINT pk_catalog_length,
               SQLCHAR *pk_schema_name, SQLSMALLINT pk_schema_length, SQLCHAR *pk_table_name,
               SQLSMALLINT pk_table_length, SQLCHAR *fk_catalog_name, SQLSMALLINT fk_catalog_length,
               SQLCHAR *fk_schema_name, SQLSMALLINT fk_schema_length, SQLCHAR *fk_table_name,
               SQLSMALLINT fk_table_length)
{
    return empty_catalog_entry(statement_handle, entry, foreign_keys_set,
                               {{ansi_argument(pk_catalog_name, pk_catalog_length),
                                 ansi_argument(pk_schema_name, pk_schema_length),
                                 ansi_argument(pk_table_name, pk_table_length),
                                 ansi_argument(fk_catalog_name, fk_catalog_length),
                                 ansi_argument(fk_schema_name, fk_schema_length),
                                 ansi_argument(fk_table_name, fk_table_length)}});
}
