// SQLExecute: runs the prepared statement.
#include "core/statement/cass_stmt.h"
#include "odbc/entry_frame.h"

static constexpr char log_source[] = "SQLExecute.c";
static constexpr entry_point entry = {.name = "SQLExecute", .source = log_source};

VHCASS_EXPORT SQLRETURN SQL_API SQLExecute(SQLHSTMT statement_handle)
{
    return enter_stmt(
        statement_handle, entry,
        [](cass_stmt *stmt) {
            CASS_LOG(&stmt->head, LOG_ENTRY, "SQLExecute: statement_handle=%p",
                     static_cast<void *>(stmt));
        },
        cass_execute);
}
