// SQLSpecialColumns: the columns that identify a row.
#include "odbc/SQLSpecialColumnsWide.h"

static constexpr char log_source[] = "SQLSpecialColumns.c";
static constexpr entry_point entry = {
    .name = "SQLSpecialColumns", .source = log_source, .async_code = SQL_API_SQLSPECIALCOLUMNS};

VHCASS_EXPORT SQLRETURN SQL_API SQLSpecialColumns(SQLHSTMT statement_handle,
                                                  SQLUSMALLINT identifier_type,
                                                  SQLCHAR *catalog_name, SQLSMALLINT catalog_length,
                                                  SQLCHAR *schema_name, SQLSMALLINT schema_length,
                                                  SQLCHAR *table_name, SQLSMALLINT table_length,
                                                  SQLUSMALLINT scope, SQLUSMALLINT nullable)
{
    return enter_stmt(
        statement_handle, entry,
        [=](cass_stmt *stmt) {
            CASS_LOG(&stmt->head, LOG_ENTRY,
                     "SQLSpecialColumns: statement_handle=%p, identifier_type=%d, catalog_name=%q, "
                     "schema_name=%q, table_name=%q, scope=%d, nullable=%d",
                     static_cast<void *>(stmt), identifier_type, catalog_name, catalog_length,
                     schema_name, schema_length, table_name, table_length, scope, nullable);
        },
        [=](cass_stmt *stmt) {
            return cass_special_columns(stmt, identifier_type,
                                        ansi_argument(schema_name, schema_length),
                                        ansi_argument(table_name, table_length));
        });
}
