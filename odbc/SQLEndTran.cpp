// SQLEndTran: the server has no transactions, so that a commit or rollback only succeeds. Only a
// connection can be given.
#include "core/statement/cass_pkt_exchange.h"
#include "odbc/entry_frame.h"

static constexpr char log_source[] = "SQLEndTran.c";
static constexpr entry_point entry = {
    .name = "SQLEndTran", .source = log_source, .exit_format = EXIT_BY_NAME};

static bool a_rollback_is_a_commit(const cass_conn *conn)
{
    return conn->conduct->a_rollback_is_a_commit;
}

static SQLRETURN roll_back(cass_conn *conn)
{
    const auto code = static_cast<SQLRETURN>(cass_rollback(conn));
    if (code != SQL_SUCCESS || a_rollback_is_a_commit(conn))
        return code;
    cass_post_error(&conn->head, STATE_01000, 0,
                    "the server has no transactions: what was written stays");
    return SQL_SUCCESS_WITH_INFO;
}

static SQLRETURN end_transaction(cass_conn *conn, SQLSMALLINT completion_type)
{
    const cass_lock_guard guard(&conn->api_lock);
    // Tested before the earlier diagnostics are cleared.
    if (conn->async_count >= 1)
        return entry_refuse_async(&conn->head, entry, conn->async_count);
    cass_diag_clear(&conn->head);
    if (conn->autocommit == SQL_AUTOCOMMIT_ON) {
        CASS_LOG(&conn->head, LOG_DETAIL, "Autocommit on, no work to do");
        return SQL_SUCCESS;
    }
    if (completion_type == SQL_COMMIT)
        return static_cast<SQLRETURN>(cass_commit(conn));
    if (completion_type == SQL_ROLLBACK)
        return roll_back(conn);
    CASS_LOG(&conn->head, LOG_ERROR, "completion type not SQL_COMMIT/SQL_ROLLBACK");
    cass_post_error(&conn->head, STATE_HY000, 0, nullptr);
    return SQL_ERROR;
}

static SQLRETURN end_tran(cass_handle *handle, SQLSMALLINT handle_type, SQLSMALLINT completion_type)
{
    if (handle_type == SQL_HANDLE_DBC)
        return end_transaction(reinterpret_cast<cass_conn *>(handle), completion_type);
    // All connections of an environment at once is the Driver Manager's work; nothing is posted.
    CASS_LOG(handle, LOG_ERROR, "connection type not SQL_HANDLE_DBC");
    return SQL_ERROR;
}

VHCASS_EXPORT SQLRETURN SQL_API SQLEndTran(SQLSMALLINT handle_type, SQLHANDLE handle,
                                           SQLSMALLINT completion_type)
{
    auto *head = static_cast<cass_handle *>(handle);
    if (head == nullptr ||
        (handle_type == SQL_HANDLE_DBC && head->handle_tag != CASS_CONNECTION_HANDLE))
        return SQL_INVALID_HANDLE;
    return enter_bare(head, [&] {
        CASS_LOG(head, LOG_ENTRY, "SQLEndTran: handle_type=%d, handle=%p, completion_type=%d",
                 handle_type, handle, completion_type);
        const SQLRETURN code = end_tran(head, handle_type, completion_type);
        if (cass_log_is_on(head))
            entry_log_exit(head, entry, code);
        return code;
    });
}
