// SQLForeignKeysW: no rows, since Cassandra has no foreign keys, with wide arguments.
#include "odbc/empty_catalog.h"

static constexpr entry_point entry = {
    .name = "SQLForeignKeysW", .source = "SQLForeignKeysW.c", .async_code = SQL_API_SQLFOREIGNKEYS};

VHCASS_EXPORT SQLRETURN SQL_API
SQLForeignKeysW(SQLHSTMT statement_handle, SQLWCHAR *pk_catalog_name, SQLSMALLINT pk_catalog_length,
                SQLWCHAR *pk_schema_name, SQLSMALLINT pk_schema_length, SQLWCHAR *pk_table_name,
                SQLSMALLINT pk_table_length, SQLWCHAR *fk_catalog_name,
                SQLSMALLINT fk_catalog_length, SQLWCHAR *fk_schema_name,
                SQLSMALLINT fk_schema_length, SQLWCHAR *fk_table_name, SQLSMALLINT fk_table_length)
{
    return empty_catalog_entry(statement_handle, entry, foreign_keys_set,
                               {{wide_argument(pk_catalog_name, pk_catalog_length),
                                 wide_argument(pk_schema_name, pk_schema_length),
                                 wide_argument(pk_table_name, pk_table_length),
                                 wide_argument(fk_catalog_name, fk_catalog_length),
                                 wide_argument(fk_schema_name, fk_schema_length),
                                 wide_argument(fk_table_name, fk_table_length)}});
}
