// SQLExecDirect: runs a text of bytes.
#include "odbc/SQLExecDirectWide.h"

static constexpr entry_point entry = {.name = "SQLExecDirect", .source = "SQLExecDirect.c"};

VHCASS_EXPORT SQLRETURN SQL_API SQLExecDirect(SQLHSTMT statement_handle, SQLCHAR *statement_text,
                                              SQLINTEGER text_length)
{
    return exec_direct_entry(statement_handle, entry, ansi_argument(statement_text, text_length));
}
