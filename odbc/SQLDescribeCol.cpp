// SQLDescribeCol: a result column described, its name as bytes.
#include "odbc/SQLDescribeColWide.h"

static constexpr entry_point entry = {
    .name = "SQLDescribeCol", .source = "SQLDescribeCol.c", .exit_format = EXIT_BY_NAME};

VHCASS_EXPORT SQLRETURN SQL_API SQLDescribeCol(SQLHSTMT statement_handle,
                                               SQLUSMALLINT column_number, SQLCHAR *column_name,
                                               SQLSMALLINT buffer_length, SQLSMALLINT *name_length,
                                               SQLSMALLINT *data_type, SQLULEN *column_size,
                                               SQLSMALLINT *decimal_digits, SQLSMALLINT *nullable)
{
    return describe_col_entry(statement_handle, entry, TEXT_ANSI, column_number,
                              {column_name, buffer_length, name_length, data_type, column_size,
                               decimal_digits, nullable});
}
