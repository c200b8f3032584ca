// SQLTablePrivileges: no rows, since privileges are not reported.
#include "odbc/empty_catalog.h"

static constexpr char log_source[] = "SQLTablePrivileges.c";
static constexpr entry_point entry = {
    .name = "SQLTablePrivileges", .source = log_source, .async_code = SQL_API_SQLTABLEPRIVILEGES};

VHCASS_EXPORT SQLRETURN SQL_API SQLTablePrivileges(SQLHSTMT statement_handle, SQLCHAR *catalog_name,
                                                   SQLSMALLINT catalog_length, SQLCHAR *schema_name,
                                                   SQLSMALLINT schema_length, SQLCHAR *table_name,
                                                   SQLSMALLINT table_length)
{
    return enter_stmt(
        statement_handle, entry,
        [=](cass_stmt *stmt) {
            CASS_LOG(&stmt->head, LOG_ENTRY,
                     "SQLTablePrivileges: statement_handle=%p, catalog_name=%q, schema_name=%q, "
                     "table_name=%q",
                     static_cast<void *>(stmt), catalog_name, catalog_length, schema_name,
                     schema_length, table_name, table_length);
        },
        [=](cass_stmt *stmt) { return cass_empty_catalog(stmt, table_privileges_set); });
}
