// SQLNumParams: the number of parameter markers that the scan of the text found.
#include "core/diag/cass_text_out.h"
#include "odbc/entry_frame.h"

static constexpr char log_source[] = "SQLNumParams.c";
static constexpr entry_point entry = {.name = "SQLNumParams", .source = log_source};

VHCASS_EXPORT SQLRETURN SQL_API SQLNumParams(SQLHSTMT statement_handle, SQLSMALLINT *param_count)
{
    return enter_stmt(
        statement_handle, entry,
        [=](cass_stmt *stmt) {
            CASS_LOG(&stmt->head, LOG_ENTRY, "SQLNumParams: statement_handle=%p, param_count=%p",
                     static_cast<void *>(stmt), static_cast<void *>(param_count));
        },
        [=](cass_stmt *stmt) {
            cass_store(param_count, static_cast<SQLSMALLINT>(stmt->found_param_count));
            return SQL_SUCCESS;
        });
}
