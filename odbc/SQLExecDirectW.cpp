// SQLExecDirectW: runs a wide text.
#include "odbc/SQLExecDirectWide.h"

static constexpr entry_point entry = {.name = "SQLExecDirectW", .source = "SQLExecDirectW.c"};

VHCASS_EXPORT SQLRETURN SQL_API SQLExecDirectW(SQLHSTMT statement_handle, SQLWCHAR *statement_text,
                                               SQLINTEGER text_length)
{
    return exec_direct_entry(statement_handle, entry, wide_argument(statement_text, text_length));
}
