// SQLPrimaryKeysW: the partition key columns of tables, with wide arguments.
#include "odbc/SQLPrimaryKeysWide.h"

static constexpr char log_source[] = "SQLPrimaryKeysW.c";
static constexpr entry_point entry = {
    .name = "SQLPrimaryKeysW", .source = log_source, .async_code = SQL_API_SQLPRIMARYKEYS};

VHCASS_EXPORT SQLRETURN SQL_API SQLPrimaryKeysW(SQLHSTMT statement_handle, SQLWCHAR *catalog_name,
                                                SQLSMALLINT catalog_length, SQLWCHAR *schema_name,
                                                SQLSMALLINT schema_length, SQLWCHAR *table_name,
                                                SQLSMALLINT table_length)
{
    return enter_stmt(
        statement_handle, entry,
        [=](cass_stmt *stmt) {
            CASS_LOG(&stmt->head, LOG_ENTRY,
                     "SQLPrimaryKeysW: statement_handle=%p, catalog_name=%Q, schema_name=%Q, "
                     "table_name=%Q",
                     static_cast<void *>(stmt), catalog_name, catalog_length, schema_name,
                     schema_length, table_name, table_length);
        },
        [=](cass_stmt *stmt) {
            return cass_primary_keys(stmt, wide_argument(catalog_name, catalog_length),
                                     wide_argument(schema_name, schema_length),
                                     wide_argument(table_name, table_length));
        });
}
