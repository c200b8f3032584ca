// SQLProcedureColumns: no rows, since Cassandra has no stored procedures.
#include "odbc/empty_catalog.h"

static constexpr entry_point entry = {.name = "SQLProcedureColumns",
                                      .source = "SQLProcedureColumns.c",
                                      .async_code = SQL_API_SQLPROCEDURECOLUMNS};

VHCASS_EXPORT SQLRETURN SQL_API SQLProcedureColumns(SQLHSTMT statement_handle,
                                                    SQLCHAR *catalog_name,
                                                    SQLSMALLINT catalog_length,
                                                    SQLCHAR *schema_name, SQLSMALLINT schema_length,
                                                    SQLCHAR *proc_name, SQLSMALLINT proc_length,
                                                    SQLCHAR *column_name, SQLSMALLINT column_length)
{
    return empty_catalog_entry(
        statement_handle, entry, procedure_columns_set,
        {{ansi_argument(catalog_name, catalog_length), ansi_argument(schema_name, schema_length),
          ansi_argument(proc_name, proc_length), ansi_argument(column_name, column_length)}});
}
