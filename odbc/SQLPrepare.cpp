// SQLPrepare: prepares a text of bytes.
#include "odbc/SQLPrepareWide.h"

static constexpr char log_source[] = "SQLPrepare.c";
static constexpr entry_point entry = {.name = "SQLPrepare", .source = log_source};

VHCASS_EXPORT SQLRETURN SQL_API SQLPrepare(SQLHSTMT statement_handle, SQLCHAR *statement_text,
                                           SQLINTEGER text_length)
{
    return enter_stmt(
        statement_handle, entry,
        [=](cass_stmt *stmt) {
            CASS_LOG(&stmt->head, LOG_ENTRY, "SQLPrepare: statement_handle=%p, statement_text=%q",
                     static_cast<void *>(stmt), statement_text, text_length);
        },
        [=](cass_stmt *stmt) {
            return cass_prepare_text(stmt, entry,
                                     cass_string_from_ansi(statement_text, text_length));
        });
}
