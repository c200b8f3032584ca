// SQLGetDiagRecW: a diagnostic record, wide form.
#include "odbc/SQLGetDiagRecWide.h"

static constexpr entry_point entry = {
    .name = "SQLGetDiagRecW", .source = "SQLGetDiagRecW.c", .exit_format = EXIT_BY_NAME};

VHCASS_EXPORT SQLRETURN SQL_API SQLGetDiagRecW(SQLSMALLINT handle_type, SQLHANDLE handle,
                                               SQLSMALLINT rec_number, SQLWCHAR *sqlstate,
                                               SQLINTEGER *native, SQLWCHAR *message_text,
                                               SQLSMALLINT buffer_length,
                                               SQLSMALLINT *text_length_ptr)
{
    return get_diag_rec_entry(handle_type, handle, entry, TEXT_WIDE_UNITS, rec_number,
                              {sqlstate, native, message_text, buffer_length, text_length_ptr});
}
