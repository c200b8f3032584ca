// SQLProcedures: no rows, since Cassandra has no stored procedures.
#include "odbc/empty_catalog.h"

static constexpr entry_point entry = {
    .name = "SQLProcedures", .source = "SQLProcedures.c", .async_code = SQL_API_SQLPROCEDURES};

VHCASS_EXPORT SQLRETURN SQL_API SQLProcedures(SQLHSTMT statement_handle, SQLCHAR *catalog_name,
                                              SQLSMALLINT catalog_length, SQLCHAR *schema_name,
                                              SQLSMALLINT schema_length, SQLCHAR *proc_name,
                                              SQLSMALLINT proc_length)
{
    return empty_catalog_entry(
        statement_handle, entry, procedures_set,
        {{ansi_argument(catalog_name, catalog_length), ansi_argument(schema_name, schema_length),
          ansi_argument(proc_name, proc_length)}});
}
