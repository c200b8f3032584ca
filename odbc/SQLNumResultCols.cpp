// SQLNumResultCols: the number of columns; a statement that waits for its preparation gets it now.
#include "core/describe/cass_field.h"
#include "core/diag/cass_text_out.h"
#include "core/statement/cass_stmt.h"
#include "odbc/entry_frame.h"

static constexpr char log_source[] = "SQLNumResultCols.c";
static constexpr entry_point entry = {.name = "SQLNumResultCols", .source = log_source};

VHCASS_EXPORT SQLRETURN SQL_API SQLNumResultCols(SQLHSTMT statement_handle,
                                                 SQLSMALLINT *column_count)
{
    return enter_stmt(
        statement_handle, entry,
        [=](cass_stmt *stmt) {
            CASS_LOG(&stmt->head, LOG_ENTRY,
                     "SQLNumResultCols: statement_handle=%p, column_count=%p",
                     static_cast<void *>(stmt), static_cast<void *>(column_count));
        },
        [=](cass_stmt *stmt) -> SQLRETURN {
            const int prepared = cass_prepare_if_needed(stmt);
            if (prepared < 0) {
                CASS_LOG(&stmt->head, LOG_DETAIL, "SQLNumResultCols: failed preparing statement");
                return SQL_ERROR;
            }
            cass_store(column_count, static_cast<SQLSMALLINT>(cass_stmt_column_count(stmt->ird)));
            return static_cast<SQLRETURN>(prepared);
        });
}
