// SQLForeignKeysW: no rows, since Cassandra has no foreign keys, with wide arguments.
#include "odbc/empty_catalog.h"

static constexpr char log_source[] = "SQLForeignKeysW.c";
static constexpr entry_point entry = {
    .name = "SQLForeignKeysW", .source = log_source, .async_code = SQL_API_SQLFOREIGNKEYS};

VHCASS_EXPORT SQLRETURN SQL_API
SQLForeignKeysW(SQLHSTMT statement_handle, SQLWCHAR *pk_catalog_name, SQLSMALLINT pk_catalog_length,
                SQLWCHAR *pk_schema_name, SQLSMALLINT pk_schema_length, SQLWCHAR *pk_table_name,
                SQLSMALLINT pk_table_length, SQLWCHAR *fk_catalog_name,
                SQLSMALLINT fk_catalog_length, SQLWCHAR *fk_schema_name,
                SQLSMALLINT fk_schema_length, SQLWCHAR *fk_table_name, SQLSMALLINT fk_table_length)
{
    return enter_stmt(
        statement_handle, entry,
        [=](cass_stmt *stmt) {
            CASS_LOG(&stmt->head, LOG_ENTRY,
                     "SQLForeignKeysW: statement_handle=%p, pk_catalog_name=%Q, pk_schema_name=%Q, "
                     "pk_table_name=%Q, fk_catalog_name=%Q, fk_schema_name=%Q, fk_table_name=%Q",
                     static_cast<void *>(stmt), pk_catalog_name, pk_catalog_length, pk_schema_name,
                     pk_schema_length, pk_table_name, pk_table_length, fk_catalog_name,
                     fk_catalog_length, fk_schema_name, fk_schema_length, fk_table_name,
                     fk_table_length);
        },
        [=](cass_stmt *stmt) { return cass_empty_catalog(stmt, foreign_keys_set); });
}
