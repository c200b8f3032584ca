// SQLColumns: the columns of tables.
#include "odbc/SQLColumnsWide.h"

static constexpr char log_source[] = "SQLColumns.c";
static constexpr entry_point entry = {
    .name = "SQLColumns", .source = log_source, .async_code = SQL_API_SQLCOLUMNS};

VHCASS_EXPORT SQLRETURN SQL_API SQLColumns(SQLHSTMT statement_handle, SQLCHAR *catalog_name,
                                           SQLSMALLINT catalog_length, SQLCHAR *schema_name,
                                           SQLSMALLINT schema_length, SQLCHAR *table_name,
                                           SQLSMALLINT table_length, SQLCHAR *column_name,
                                           SQLSMALLINT column_length)
{
    return enter_stmt(
        statement_handle, entry,
        [=](cass_stmt *stmt) {
            CASS_LOG(&stmt->head, LOG_ENTRY,
                     "SQLColumns: statement_handle=%p, catalog_name=%q, schema_name=%q, "
                     "table_name=%q, column_name=%q",
                     static_cast<void *>(stmt), catalog_name, catalog_length, schema_name,
                     schema_length, table_name, table_length, column_name, column_length);
        },
        [=](cass_stmt *stmt) {
            return cass_columns(stmt, ansi_argument(catalog_name, catalog_length),
                                ansi_argument(schema_name, schema_length),
                                ansi_argument(table_name, table_length),
                                ansi_argument(column_name, column_length));
        });
}
