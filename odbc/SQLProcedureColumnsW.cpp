// SQLProcedureColumnsW: no rows, since Cassandra has no stored procedures, with wide arguments.
#include "odbc/empty_catalog.h"

static constexpr entry_point entry = {.name = "SQLProcedureColumnsW",
                                      .source = "SQLProcedureColumnsW.c",
                                      .async_code = SQL_API_SQLPROCEDURECOLUMNS};

VHCASS_EXPORT SQLRETURN SQL_API
SQLProcedureColumnsW(SQLHSTMT statement_handle, SQLWCHAR *catalog_name, SQLSMALLINT catalog_length,
                     SQLWCHAR *schema_name, SQLSMALLINT schema_length, SQLWCHAR *proc_name,
                     SQLSMALLINT proc_length, SQLWCHAR *column_name, SQLSMALLINT column_length)
{
    return empty_catalog_entry(
        statement_handle, entry, procedure_columns_set,
        {{wide_argument(catalog_name, catalog_length), wide_argument(schema_name, schema_length),
          wide_argument(proc_name, proc_length), wide_argument(column_name, column_length)}});
}
