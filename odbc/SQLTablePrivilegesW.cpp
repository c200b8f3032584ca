// SQLTablePrivilegesW: no rows, since privileges are not reported, with wide arguments.
#include "odbc/empty_catalog.h"

static constexpr char log_source[] = "SQLTablePrivilegesW.c";
static constexpr entry_point entry = {
    .name = "SQLTablePrivilegesW", .source = log_source, .async_code = SQL_API_SQLTABLEPRIVILEGES};

VHCASS_EXPORT SQLRETURN SQL_API SQLTablePrivilegesW(SQLHSTMT statement_handle,
                                                    SQLWCHAR *catalog_name,
                                                    SQLSMALLINT catalog_length,
                                                    SQLWCHAR *schema_name,
                                                    SQLSMALLINT schema_length, SQLWCHAR *table_name,
                                                    SQLSMALLINT table_length)
{
    return enter_stmt(
        statement_handle, entry,
        [=](cass_stmt *stmt) {
            CASS_LOG(&stmt->head, LOG_ENTRY,
                     "SQLTablePrivilegesW: statement_handle=%p, catalog_name=%Q, schema_name=%Q, "
                     "table_name=%Q",
                     static_cast<void *>(stmt), catalog_name, catalog_length, schema_name,
                     schema_length, table_name, table_length);
        },
        [=](cass_stmt *stmt) { return cass_empty_catalog(stmt, table_privileges_set); });
}
