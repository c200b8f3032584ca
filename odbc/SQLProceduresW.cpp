// SQLProceduresW: no rows, since Cassandra has no stored procedures, with wide arguments.
#include "odbc/empty_catalog.h"

static constexpr char log_source[] = "SQLProceduresW.c";
static constexpr entry_point entry = {
    .name = "SQLProceduresW", .source = log_source, .async_code = SQL_API_SQLPROCEDURES};

VHCASS_EXPORT SQLRETURN SQL_API SQLProceduresW(SQLHSTMT statement_handle, SQLWCHAR *catalog_name,
                                               SQLSMALLINT catalog_length, SQLWCHAR *schema_name,
                                               SQLSMALLINT schema_length, SQLWCHAR *proc_name,
                                               SQLSMALLINT proc_length)
{
    return enter_stmt(
        statement_handle, entry,
        [=](cass_stmt *stmt) {
            CASS_LOG(&stmt->head, LOG_ENTRY,
                     "SQLProceduresW: statement_handle=%p, catalog_name=%Q, schema_name=%Q, "
                     "proc_name=%Q",
                     static_cast<void *>(stmt), catalog_name, catalog_length, schema_name,
                     schema_length, proc_name, proc_length);
        },
        [=](cass_stmt *stmt) { return cass_empty_catalog(stmt, procedures_set); });
}
