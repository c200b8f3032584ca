// SQLRowCount: the server reports no affected rows, so the count is -1 for every statement.
#include "core/diag/cass_text_out.h"
#include "odbc/entry_frame.h"

static constexpr char log_source[] = "SQLRowCount.c";
static constexpr entry_point entry = {.name = "SQLRowCount", .source = log_source};

VHCASS_EXPORT SQLRETURN SQL_API SQLRowCount(SQLHSTMT statement_handle, SQLLEN *row_count)
{
    return enter_stmt(
        statement_handle, entry,
        [=](cass_stmt *stmt) {
            CASS_LOG(&stmt->head, LOG_ENTRY, "SQLRowCount: statement_handle=%p, row_count=%p",
                     static_cast<void *>(stmt), static_cast<void *>(row_count));
        },
        [=](cass_stmt *stmt) {
            cass_store(row_count,
                       static_cast<SQLLEN>(stmt->row_count_valid ? stmt->row_count : -1));
            return SQL_SUCCESS;
        });
}
