// SQLSetStmtOption: the ODBC 2 form of SQLSetStmtAttr, for the attributes that ODBC 2 had.
#include "odbc/SQLSetStmtAttrWide.h"

static constexpr char log_source[] = "SQLSetStmtOption.c";
static constexpr entry_point entry = {
    .name = "SQLSetStmtOption", .source = log_source, .exit_format = EXIT_BY_NAME};

static bool options_mark_nothing_rebound(const cass_conn *conn)
{
    return conn->conduct->options_mark_nothing_rebound;
}

static SQLRETURN set_stmt_option(cass_stmt *stmt, SQLUSMALLINT option, SQLULEN value)
{
    if (option == SQL_GET_BOOKMARK)
        return SQL_SUCCESS;
    const stmt_attr attr = find_stmt_option(option);
    if (attr.set == ATTR_UNKNOWN) {
        CASS_LOG(&stmt->head, LOG_ERROR, "SQLSetStmtOption: unexpected Option %d",
                 static_cast<int>(option));
        cass_post_error(&stmt->head, STATE_S1092, 0, nullptr);
        return SQL_ERROR;
    }
    bool rebinds;
    const SQLRETURN code = stmt_attr_apply(stmt, entry, attr, value, &rebinds);
    if (rebinds && !options_mark_nothing_rebound(stmt_conn(stmt)))
        stmt->params_rebound = 1;
    return code;
}

VHCASS_EXPORT SQLRETURN SQL_API SQLSetStmtOption(SQLHSTMT statement_handle, SQLUSMALLINT option,
                                                 SQLULEN value)
{
    return enter_stmt(
        statement_handle, entry,
        [&](cass_stmt *stmt) {
            CASS_LOG(&stmt->head, LOG_ENTRY,
                     "SQLSetStmtOption: statement_handle=%p, option=%d, value=%d",
                     static_cast<void *>(stmt), static_cast<int>(option), static_cast<int>(value));
        },
        [&](cass_stmt *stmt) { return set_stmt_option(stmt, option, value); });
}
