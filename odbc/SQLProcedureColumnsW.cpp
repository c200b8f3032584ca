// SQLProcedureColumnsW: no rows, since Cassandra has no stored procedures, with wide arguments.
#include "odbc/empty_catalog.h"

static constexpr char log_source[] = "SQLProcedureColumnsW.c";
static constexpr entry_point entry = {.name = "SQLProcedureColumnsW",
                                      .source = log_source,
                                      .async_code = SQL_API_SQLPROCEDURECOLUMNS};

VHCASS_EXPORT SQLRETURN SQL_API
SQLProcedureColumnsW(SQLHSTMT statement_handle, SQLWCHAR *catalog_name, SQLSMALLINT catalog_length,
                     SQLWCHAR *schema_name, SQLSMALLINT schema_length, SQLWCHAR *proc_name,
                     SQLSMALLINT proc_length, SQLWCHAR *column_name, SQLSMALLINT column_length)
{
    return enter_stmt(
        statement_handle, entry,
        [=](cass_stmt *stmt) {
            CASS_LOG(&stmt->head, LOG_ENTRY,
                     "SQLProcedureColumnsW: statement_handle=%p, catalog_name=%Q, schema_name=%Q, "
                     "proc_name=%Q, column_name=%Q",
                     static_cast<void *>(stmt), catalog_name, catalog_length, schema_name,
                     schema_length, proc_name, proc_length, column_name, column_length);
        },
        [=](cass_stmt *stmt) { return cass_empty_catalog(stmt, procedure_columns_set); });
}
