// SQLGetStmtOption: the ODBC 2 form of SQLGetStmtAttr.
#include "core/diag/cass_text_out.h"
#include "odbc/SQLGetStmtAttrWide.h"

static constexpr char log_source[] = "SQLGetStmtOption.c";
static constexpr entry_point entry = {
    .name = "SQLGetStmtOption", .source = log_source, .exit_format = EXIT_BY_NAME};

static SQLRETURN get_stmt_option(cass_stmt *stmt, SQLUSMALLINT option, void *value)
{
    const SQLULEN row = stmt_row_number(stmt);
    if (option == SQL_GET_BOOKMARK && row > 0 && stmt->attrs.use_bookmarks != SQL_UB_OFF) {
        cass_store(value, row);
        return SQL_SUCCESS;
    }
    if (option == SQL_GET_BOOKMARK) {
        CASS_LOG(&stmt->head, LOG_ERROR, "SQLGetStmtOption: no bookmarks");
        cass_post_error(&stmt->head, STATE_HY011, 0, nullptr);
        return SQL_ERROR;
    }
    const stmt_attr attr = find_stmt_option(option);
    if (attr.get == ATTR_UNREADABLE) {
        CASS_LOG(&stmt->head, LOG_ERROR, "SQLGetStmtOption: unexpected option %d",
                 static_cast<int>(option));
        cass_post_error(&stmt->head, STATE_S1092, 0, nullptr);
        return SQL_ERROR;
    }
    cass_store(value, stmt_attr_value(stmt, attr));
    return SQL_SUCCESS;
}

VHCASS_EXPORT SQLRETURN SQL_API SQLGetStmtOption(SQLHSTMT statement_handle, SQLUSMALLINT option,
                                                 SQLPOINTER value)
{
    return enter_stmt(
        statement_handle, entry,
        [&](cass_stmt *stmt) {
            CASS_LOG(&stmt->head, LOG_ENTRY,
                     "SQLGetStmtOption: statement_handle=%p, option=%d, value=%p",
                     static_cast<void *>(stmt), static_cast<int>(option), value);
        },
        [&](cass_stmt *stmt) { return get_stmt_option(stmt, option, value); });
}
