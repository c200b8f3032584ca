// SQLExecDirect: runs a text of bytes.
#include "odbc/SQLExecDirectWide.h"

static constexpr char log_source[] = "SQLExecDirect.c";
static constexpr entry_point entry = {.name = "SQLExecDirect", .source = log_source};

VHCASS_EXPORT SQLRETURN SQL_API SQLExecDirect(SQLHSTMT statement_handle, SQLCHAR *statement_text,
                                              SQLINTEGER text_length)
{
    return enter_stmt(
        statement_handle, entry,
        [=](cass_stmt *stmt) {
            CASS_LOG(&stmt->head, LOG_ENTRY,
                     "SQLExecDirect: statement_handle=%p, statement_text=%q",
                     static_cast<void *>(stmt), statement_text, text_length);
        },
        [=](cass_stmt *stmt) {
            return cass_exec_direct_text(stmt, entry,
                                         cass_string_from_ansi(statement_text, text_length));
        });
}
