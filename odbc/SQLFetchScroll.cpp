// SQLFetchScroll: the next rowset; other orientations are refused.
#include "core/statement/cass_fetch.h"
#include "odbc/entry_frame.h"

static constexpr char log_source[] = "SQLFetchScroll.c";
static constexpr entry_point entry = {.name = "SQLFetchScroll", .source = log_source};

VHCASS_EXPORT SQLRETURN SQL_API SQLFetchScroll(SQLHSTMT statement_handle, SQLSMALLINT orientation,
                                               SQLLEN offset)
{
    return enter_stmt(
        statement_handle, entry,
        [=](cass_stmt *stmt) {
            CASS_LOG(&stmt->head, LOG_ENTRY,
                     "SQLFetchScroll: statement_handle=%p, fetch_orientation=%d, fetch_offset=%d",
                     static_cast<void *>(stmt), orientation, static_cast<int>(offset));
        },
        [=](cass_stmt *stmt) { return cass_fetch(stmt, orientation, offset); });
}
