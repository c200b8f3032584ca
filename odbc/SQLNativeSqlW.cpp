// SQLNativeSqlW: the text as the server gets it, which is the text itself.
#include "odbc/SQLNativeSqlWide.h"

static constexpr entry_point entry = {.name = "SQLNativeSqlW", .source = "SQLNativeSqlW.c"};

VHCASS_EXPORT SQLRETURN SQL_API SQLNativeSqlW(SQLHDBC connection_handle,
                                              SQLWCHAR *in_statement_text, SQLINTEGER text_length1,
                                              SQLWCHAR *out_statement_text,
                                              SQLINTEGER buffer_length, SQLINTEGER *text_length2)
{
    return native_sql_entry(connection_handle, entry,
                            wide_argument(in_statement_text, text_length1),
                            {out_statement_text, buffer_length, text_length2, TEXT_WIDE_UNITS});
}
