// SQLStatistics: the secondary indexes of a table.
#include "odbc/SQLStatisticsWide.h"

static constexpr char log_source[] = "SQLStatistics.c";
static constexpr entry_point entry = {
    .name = "SQLStatistics", .source = log_source, .async_code = SQL_API_SQLSTATISTICS};

VHCASS_EXPORT SQLRETURN SQL_API SQLStatistics(SQLHSTMT statement_handle, SQLCHAR *catalog_name,
                                              SQLSMALLINT catalog_length, SQLCHAR *schema_name,
                                              SQLSMALLINT schema_length, SQLCHAR *table_name,
                                              SQLSMALLINT table_length, SQLUSMALLINT unique,
                                              SQLUSMALLINT reserved)
{
    return enter_stmt(
        statement_handle, entry,
        [=](cass_stmt *stmt) {
            CASS_LOG(&stmt->head, LOG_ENTRY,
                     "SQLStatistics: statement_handle=%p, catalog_name=%q, schema_name=%q, "
                     "table_name=%q, unique=%d, reserved=%d",
                     static_cast<void *>(stmt), catalog_name, catalog_length, schema_name,
                     schema_length, table_name, table_length, unique, reserved);
        },
        [=](cass_stmt *stmt) {
            return cass_statistics(stmt, ansi_argument(schema_name, schema_length),
                                   ansi_argument(table_name, table_length));
        });
}
