// SQLProceduresW: no rows, since Cassandra has no stored procedures, with wide arguments.
#include "odbc/empty_catalog.h"

static constexpr entry_point entry = {
    .name = "SQLProceduresW", .source = "SQLProceduresW.c", .async_code = SQL_API_SQLPROCEDURES};

VHCASS_EXPORT SQLRETURN SQL_API SQLProceduresW(SQLHSTMT statement_handle, SQLWCHAR *catalog_name,
                                               SQLSMALLINT catalog_length, SQLWCHAR *schema_name,
                                               SQLSMALLINT schema_length, SQLWCHAR *proc_name,
                                               SQLSMALLINT proc_length)
{
    return empty_catalog_entry(
        statement_handle, entry, procedures_set,
        {{wide_argument(catalog_name, catalog_length), wide_argument(schema_name, schema_length),
          wide_argument(proc_name, proc_length)}});
}
