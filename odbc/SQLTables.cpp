// SQLTables: the tables and views of the cluster.
#include "odbc/SQLTablesWide.h"

static constexpr char log_source[] = "SQLTables.c";
static constexpr entry_point entry = {
    .name = "SQLTables", .source = log_source, .async_code = SQL_API_SQLTABLES};

VHCASS_EXPORT SQLRETURN SQL_API SQLTables(SQLHSTMT statement_handle, SQLCHAR *catalog_name,
                                          SQLSMALLINT catalog_length, SQLCHAR *schema_name,
                                          SQLSMALLINT schema_length, SQLCHAR *table_name,
                                          SQLSMALLINT table_length, SQLCHAR *table_type,
                                          SQLSMALLINT table_type_length)
{
    return enter_stmt(
        statement_handle, entry,
        [=](cass_stmt *stmt) {
            CASS_LOG(&stmt->head, LOG_ENTRY,
                     "SQLTables: statement_handle=%p, catalog_name=%q, schema_name=%q, "
                     "table_name=%q, table_type=%q",
                     static_cast<void *>(stmt), catalog_name, catalog_length, schema_name,
                     schema_length, table_name, table_length, table_type, table_type_length);
        },
        [=](cass_stmt *stmt) {
            return cass_tables(stmt, ansi_argument(catalog_name, catalog_length),
                               ansi_argument(schema_name, schema_length),
                               ansi_argument(table_name, table_length),
                               ansi_argument(table_type, table_type_length));
        });
}
