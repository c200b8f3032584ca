// SQLCloseCursor: closes the result and keeps a prepared statement. No error without a cursor.
#include "core/statement/cass_stmt.h"
#include "odbc/entry_frame.h"

static constexpr char log_source[] = "SQLCloseCursor.c";
static constexpr entry_point entry = {.name = "SQLCloseCursor", .source = log_source};

VHCASS_EXPORT SQLRETURN SQL_API SQLCloseCursor(SQLHSTMT statement_handle)
{
    return enter_stmt(
        statement_handle, entry,
        [](cass_stmt *stmt) {
            CASS_LOG(&stmt->head, LOG_ENTRY, "SQLCloseCursor: statement_handle=%p",
                     static_cast<void *>(stmt));
        },
        [](cass_stmt *stmt) {
            cass_close_stmt(stmt, 0);
            cass_close_result(stmt);
            return SQL_SUCCESS;
        });
}
