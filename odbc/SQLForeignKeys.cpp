// SQLForeignKeys: no rows, since Cassandra has no foreign keys.
#include "odbc/empty_catalog.h"

static constexpr char log_source[] = "SQLForeignKeys.c";
static constexpr entry_point entry = {
    .name = "SQLForeignKeys", .source = log_source, .async_code = SQL_API_SQLFOREIGNKEYS};

VHCASS_EXPORT SQLRETURN SQL_API
SQLForeignKeys(SQLHSTMT statement_handle, SQLCHAR *pk_catalog_name, SQLSMALLINT pk_catalog_length,
               SQLCHAR *pk_schema_name, SQLSMALLINT pk_schema_length, SQLCHAR *pk_table_name,
               SQLSMALLINT pk_table_length, SQLCHAR *fk_catalog_name, SQLSMALLINT fk_catalog_length,
               SQLCHAR *fk_schema_name, SQLSMALLINT fk_schema_length, SQLCHAR *fk_table_name,
               SQLSMALLINT fk_table_length)
{
    return enter_stmt(
        statement_handle, entry,
        [=](cass_stmt *stmt) {
            CASS_LOG(&stmt->head, LOG_ENTRY,
                     "SQLForeignKeys: statement_handle=%p, pk_catalog_name=%q, pk_schema_name=%q, "
                     "pk_table_name=%q, fk_catalog_name=%q, fk_schema_name=%q, fk_table_name=%q",
                     static_cast<void *>(stmt), pk_catalog_name, pk_catalog_length, pk_schema_name,
                     pk_schema_length, pk_table_name, pk_table_length, fk_catalog_name,
                     fk_catalog_length, fk_schema_name, fk_schema_length, fk_table_name,
                     fk_table_length);
        },
        [=](cass_stmt *stmt) { return cass_empty_catalog(stmt, foreign_keys_set); });
}
