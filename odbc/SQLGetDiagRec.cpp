// SQLGetDiagRec: a diagnostic record.
#include "odbc/SQLGetDiagRecWide.h"

static constexpr entry_point entry = {
    .name = "SQLGetDiagRec", .source = "SQLGetDiagRec.c", .exit_format = EXIT_BY_NAME};

VHCASS_EXPORT SQLRETURN SQL_API SQLGetDiagRec(SQLSMALLINT handle_type, SQLHANDLE handle,
                                              SQLSMALLINT rec_number, SQLCHAR *sqlstate,
                                              SQLINTEGER *native, SQLCHAR *message_text,
                                              SQLSMALLINT buffer_length,
                                              SQLSMALLINT *text_length_ptr)
{
    return get_diag_rec_entry(handle_type, handle, entry, TEXT_ANSI, rec_number,
                              {sqlstate, native, message_text, buffer_length, text_length_ptr});
}
