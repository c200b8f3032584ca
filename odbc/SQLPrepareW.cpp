// SQLPrepareW: prepares a wide text.
#include "odbc/SQLPrepareWide.h"

static constexpr char log_source[] = "SQLPrepareW.c";
static constexpr entry_point entry = {.name = "SQLPrepareW", .source = log_source};

VHCASS_EXPORT SQLRETURN SQL_API SQLPrepareW(SQLHSTMT statement_handle, SQLWCHAR *statement_text,
                                            SQLINTEGER text_length)
{
    return enter_stmt(
        statement_handle, entry,
        [=](cass_stmt *stmt) {
            CASS_LOG(&stmt->head, LOG_ENTRY, "SQLPrepareW: statement_handle=%p, statement_text=%Q",
                     static_cast<void *>(stmt), statement_text, text_length);
        },
        [=](cass_stmt *stmt) {
            return cass_prepare_text(stmt, entry,
                                     cass_string_from_wide(statement_text, text_length));
        });
}
