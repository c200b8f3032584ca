// SQLPrepare: prepares a text of bytes.
#include "odbc/SQLPrepareWide.h"

static constexpr entry_point entry = {.name = "SQLPrepare", .source = "SQLPrepare.c"};

VHCASS_EXPORT SQLRETURN SQL_API SQLPrepare(SQLHSTMT statement_handle, SQLCHAR *statement_text,
                                           SQLINTEGER text_length)
{
    return prepare_entry(statement_handle, entry, ansi_argument(statement_text, text_length));
}
