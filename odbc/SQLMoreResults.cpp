// SQLMoreResults: a statement has one result.
#include "core/statement/cass_pkt_exchange.h"
#include "odbc/entry_frame.h"

static constexpr char log_source[] = "SQLMoreResults.c";
static constexpr entry_point entry = {.name = "SQLMoreResults", .source = log_source};

VHCASS_EXPORT SQLRETURN SQL_API SQLMoreResults(SQLHSTMT statement_handle)
{
    return enter_stmt(
        statement_handle, entry,
        [](cass_stmt *stmt) {
            CASS_LOG(&stmt->head, LOG_ENTRY, "SQLMoreResults: statement_handle=%p, more_results=%d",
                     static_cast<void *>(stmt), stmt->more_results);
        },
        [](cass_stmt *stmt) { return stmt->more_results ? next_result_set(stmt) : SQL_NO_DATA; });
}
