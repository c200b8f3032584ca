// SQLGetDiagFieldW: a field of the diagnostics, wide form.
#include "odbc/SQLGetDiagFieldWide.h"

static constexpr entry_point entry = {
    .name = "SQLGetDiagFieldW", .source = "SQLGetDiagFieldW.c", .exit_format = EXIT_BY_NAME};

VHCASS_EXPORT SQLRETURN SQL_API SQLGetDiagFieldW(
    SQLSMALLINT handle_type, SQLHANDLE handle, SQLSMALLINT rec_number, SQLSMALLINT diag_identifier,
    SQLPOINTER diag_info_ptr, SQLSMALLINT buffer_length, SQLSMALLINT *string_length_ptr)
{
    return get_diag_field_entry(handle_type, handle, entry, rec_number, diag_identifier,
                                {diag_info_ptr, buffer_length, string_length_ptr, TEXT_WIDE_BYTES});
}
