// SQLProcedures: no rows, since Cassandra has no stored procedures.
#include "odbc/empty_catalog.h"

static constexpr char log_source[] = "SQLProcedures.c";
static constexpr entry_point entry = {
    .name = "SQLProcedures", .source = log_source, .async_code = SQL_API_SQLPROCEDURES};

VHCASS_EXPORT SQLRETURN SQL_API SQLProcedures(SQLHSTMT statement_handle, SQLCHAR *catalog_name,
                                              SQLSMALLINT catalog_length, SQLCHAR *schema_name,
                                              SQLSMALLINT schema_length, SQLCHAR *proc_name,
                                              SQLSMALLINT proc_length)
{
    return enter_stmt(
        statement_handle, entry,
        [=](cass_stmt *stmt) {
            CASS_LOG(
                &stmt->head, LOG_ENTRY,
                "SQLProcedures: statement_handle=%p, catalog_name=%q, schema_name=%q, proc_name=%q",
                static_cast<void *>(stmt), catalog_name, catalog_length, schema_name, schema_length,
                proc_name, proc_length);
        },
        [=](cass_stmt *stmt) { return cass_empty_catalog(stmt, procedures_set); });
}
