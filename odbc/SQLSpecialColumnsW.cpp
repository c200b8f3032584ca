// SQLSpecialColumnsW: the columns that identify a row, with wide arguments.
#include "odbc/SQLSpecialColumnsWide.h"

static constexpr char log_source[] = "SQLSpecialColumnsW.c";
static constexpr entry_point entry = {
    .name = "SQLSpecialColumnsW", .source = log_source, .async_code = SQL_API_SQLSPECIALCOLUMNS};

VHCASS_EXPORT SQLRETURN SQL_API SQLSpecialColumnsW(
    SQLHSTMT statement_handle, SQLUSMALLINT identifier_type, SQLWCHAR *catalog_name,
    SQLSMALLINT catalog_length, SQLWCHAR *schema_name, SQLSMALLINT schema_length,
    SQLWCHAR *table_name, SQLSMALLINT table_length, SQLUSMALLINT scope, SQLUSMALLINT nullable)
{
    return enter_stmt(
        statement_handle, entry,
        [=](cass_stmt *stmt) {
            CASS_LOG(&stmt->head, LOG_ENTRY,
                     "SQLSpecialColumnsW: statement_handle=%p, identifier_type=%d, "
                     "catalog_name=%Q, schema_name=%Q, table_name=%Q, scope=%d, nullable=%d",
                     static_cast<void *>(stmt), identifier_type, catalog_name, catalog_length,
                     schema_name, schema_length, table_name, table_length, scope, nullable);
        },
        [=](cass_stmt *stmt) {
            return cass_special_columns(stmt, identifier_type,
                                        wide_argument(schema_name, schema_length),
                                        wide_argument(table_name, table_length));
        });
}
