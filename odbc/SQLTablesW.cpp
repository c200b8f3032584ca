// SQLTablesW: the tables and views of the cluster, with wide arguments.
#include "odbc/SQLTablesWide.h"

static constexpr char log_source[] = "SQLTablesW.c";
static constexpr entry_point entry = {
    .name = "SQLTablesW", .source = log_source, .async_code = SQL_API_SQLTABLES};

VHCASS_EXPORT SQLRETURN SQL_API SQLTablesW(SQLHSTMT statement_handle, SQLWCHAR *catalog_name,
                                           SQLSMALLINT catalog_length, SQLWCHAR *schema_name,
                                           SQLSMALLINT schema_length, SQLWCHAR *table_name,
                                           SQLSMALLINT table_length, SQLWCHAR *table_type,
                                           SQLSMALLINT table_type_length)
{
    return enter_stmt(
        statement_handle, entry,
        [=](cass_stmt *stmt) {
            CASS_LOG(&stmt->head, LOG_ENTRY,
                     "SQLTablesW: statement_handle=%p, catalog_name=%Q, schema_name=%Q, "
                     "table_name=%Q, table_type=%Q",
                     static_cast<void *>(stmt), catalog_name, catalog_length, schema_name,
                     schema_length, table_name, table_length, table_type, table_type_length);
        },
        [=](cass_stmt *stmt) {
            return cass_tables(stmt, wide_argument(catalog_name, catalog_length),
                               wide_argument(schema_name, schema_length),
                               wide_argument(table_name, table_length),
                               wide_argument(table_type, table_type_length));
        });
}
