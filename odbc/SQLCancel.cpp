// SQLCancel: the protocol has no cancel, so that nothing stops at the server.
#include "core/statement/cass_cancel.h"
#include "core/statement/cass_pkt_exchange.h"
#include "core/statement/cass_stmt.h"
#include "odbc/entry_frame.h"

static constexpr char log_source[] = "SQLCancel.c";

static bool cancelling_a_prepared_statement_fails(const cass_conn *conn)
{
    return conn->conduct->cancelling_a_prepared_statement_fails;
}

VHCASS_EXPORT SQLRETURN SQL_API SQLCancel(SQLHSTMT statement_handle)
{
    auto *stmt = static_cast<cass_stmt *>(statement_handle);
    if (stmt == nullptr)
        return SQL_INVALID_HANDLE;
    // Called while another thread is inside the statement: its records are left alone then.
    if (cass_lock_try_enter(&stmt->api_lock)) {
        cass_diag_clear(&stmt->head);
        cass_end_pause(stmt);
        cass_lock_leave(&stmt->api_lock);
    }
    CASS_LOG(&stmt->head, LOG_ENTRY, "SQLCancel: statement_handle=%p", statement_handle);
    CASS_LOG(&stmt->head, LOG_DETAIL, "current_packet=%p, async_op=%d",
             static_cast<void *>(shared_get(&stmt->page.current_packet)), stmt->async_op);
    cass_cancel(stmt);
    SQLRETURN code = SQL_SUCCESS;
    if (shared_get(&stmt->prepared) && cancelling_a_prepared_statement_fails(stmt_conn(stmt)))
        code = static_cast<SQLRETURN>(send_reset(stmt));
    CASS_LOG(&stmt->head, LOG_EXIT, "SQLCancel: return value=%d", static_cast<int>(code));
    return code;
}
