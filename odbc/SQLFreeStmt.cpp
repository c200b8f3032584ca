// SQLFreeStmt: closes a cursor, drops a statement, or takes bindings back. It takes no lock.
#include "core/describe/cass_field.h"
#include "core/handle/cass_handle.h"
#include "core/statement/cass_stmt.h"
#include "odbc/entry_frame.h"

static constexpr char log_source[] = "SQLFreeStmt.c";

static SQLRETURN free_stmt(cass_stmt *stmt, SQLUSMALLINT option)
{
    switch (option) {
    case SQL_CLOSE:
        cass_close_stmt(stmt, 0);
        cass_close_result(stmt);
        return SQL_SUCCESS;
    case SQL_UNBIND:
        cass_desc_clear_fields(stmt->ard);
        return SQL_SUCCESS;
    case SQL_RESET_PARAMS:
        cass_desc_clear_fields(stmt->apd);
        return SQL_SUCCESS;
    default:
        CASS_LOG(&stmt->head, LOG_ERROR, "SQLFreeStmt: unexpected option=%d", option);
        cass_post_error(&stmt->head, STATE_HY000, 0, "unexpected option %d supplied to SQLFreeStmt",
                        option);
        return SQL_ERROR;
    }
}

VHCASS_EXPORT SQLRETURN SQL_API SQLFreeStmt(SQLHSTMT statement_handle, SQLUSMALLINT option)
{
    auto *stmt = static_cast<cass_stmt *>(statement_handle);
    if (stmt == nullptr)
        return SQL_INVALID_HANDLE;
    cass_diag_clear(&stmt->head);
    CASS_LOG(&stmt->head, LOG_ENTRY, "SQLFreeStmt: statement_handle=%p, option=%d",
             statement_handle, option);
    cass_handle *logger = &stmt->head;
    SQLRETURN code = SQL_SUCCESS;
    if (option == SQL_DROP) {
        logger = stmt->head.parent;
        cass_close_stmt(stmt, 1);
        cass_free_stmt(stmt, 0);
    } else {
        code = free_stmt(stmt, option);
    }
    CASS_LOG(logger, LOG_EXIT, "SQLFreeStmt: return value=%d", code);
    return code;
}
