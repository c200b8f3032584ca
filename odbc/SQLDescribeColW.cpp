// SQLDescribeColW: a result column described, its name as wide text measured in characters.
#include "odbc/SQLDescribeColWide.h"

static constexpr entry_point entry = {
    .name = "SQLDescribeColW", .source = "SQLDescribeColW.c", .exit_format = EXIT_BY_NAME};

VHCASS_EXPORT SQLRETURN SQL_API SQLDescribeColW(SQLHSTMT statement_handle,
                                                SQLUSMALLINT column_number, SQLWCHAR *column_name,
                                                SQLSMALLINT buffer_length, SQLSMALLINT *name_length,
                                                SQLSMALLINT *data_type, SQLULEN *column_size,
                                                SQLSMALLINT *decimal_digits, SQLSMALLINT *nullable)
{
    return describe_col_entry(statement_handle, entry, TEXT_WIDE_UNITS, column_number,
                              {column_name, buffer_length, name_length, data_type, column_size,
                               decimal_digits, nullable});
}
