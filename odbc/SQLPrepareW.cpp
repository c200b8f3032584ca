// SQLPrepareW: prepares a wide text.
#include "odbc/SQLPrepareWide.h"

static constexpr entry_point entry = {.name = "SQLPrepareW", .source = "SQLPrepareW.c"};

VHCASS_EXPORT SQLRETURN SQL_API SQLPrepareW(SQLHSTMT statement_handle, SQLWCHAR *statement_text,
                                            SQLINTEGER text_length)
{
    return prepare_entry(statement_handle, entry, wide_argument(statement_text, text_length));
}
