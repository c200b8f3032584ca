// SQLStatisticsW: the secondary indexes of a table, with wide arguments.
#include "odbc/SQLStatisticsWide.h"

static constexpr char log_source[] = "SQLStatisticsW.c";
static constexpr entry_point entry = {
    .name = "SQLStatisticsW", .source = log_source, .async_code = SQL_API_SQLSTATISTICS};

VHCASS_EXPORT SQLRETURN SQL_API SQLStatisticsW(SQLHSTMT statement_handle, SQLWCHAR *catalog_name,
                                               SQLSMALLINT catalog_length, SQLWCHAR *schema_name,
                                               SQLSMALLINT schema_length, SQLWCHAR *table_name,
                                               SQLSMALLINT table_length, SQLUSMALLINT unique,
                                               SQLUSMALLINT reserved)
{
    return enter_stmt(
        statement_handle, entry,
        [=](cass_stmt *stmt) {
            CASS_LOG(&stmt->head, LOG_ENTRY,
                     "SQLStatisticsW: statement_handle=%p, catalog_name=%Q, schema_name=%Q, "
                     "table_name=%Q, unique=%d, reserved=%d",
                     static_cast<void *>(stmt), catalog_name, catalog_length, schema_name,
                     schema_length, table_name, table_length, unique, reserved);
        },
        [=](cass_stmt *stmt) {
            return cass_statistics(stmt, wide_argument(schema_name, schema_length),
                                   wide_argument(table_name, table_length));
        });
}
