#include "core/statement/cass_cancel.h"

#include "core/net/cass_conn.h"

static bool swap_state(cass_stmt *stmt, cass_call_state from, cass_call_state to)
{
    return __atomic_compare_exchange_n(&stmt_called(stmt)->call_state, &from, to, false,
                                       __ATOMIC_ACQ_REL, __ATOMIC_RELAXED);
}

bool cass_call_begin(cass_stmt *stmt)
{
    return swap_state(stmt, CALL_NONE, CALL_RUNNING);
}

void cass_call_end(cass_stmt *stmt)
{
    shared_put(&stmt_called(stmt)->call_state, CALL_NONE);
}

void cass_cancel(cass_stmt *stmt)
{
    const cass_conn *conn = stmt_conn(stmt);
    if (conn_wake_fd(conn) >= 0 && swap_state(stmt, CALL_RUNNING, CALL_CANCELLED))
        conn_wake(conn);
}
