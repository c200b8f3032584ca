// SQLFetch: the next rowset.
#include "core/statement/cass_fetch.h"
#include "odbc/entry_frame.h"

static constexpr char log_source[] = "SQLFetch.c";
static constexpr entry_point entry = {.name = "SQLFetch", .source = log_source};

VHCASS_EXPORT SQLRETURN SQL_API SQLFetch(SQLHSTMT statement_handle)
{
    return enter_stmt(
        statement_handle, entry,
        [](cass_stmt *stmt) {
            CASS_LOG(&stmt->head, LOG_ENTRY, "SQLFetch: statement_handle=%p",
                     static_cast<void *>(stmt));
        },
        [](cass_stmt *stmt) { return cass_fetch(stmt, SQL_FETCH_NEXT, 0); });
}
