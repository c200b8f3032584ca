#include "core/session/cass_reconnect.h"

#include "core/diag/cass_err.h"
#include "core/log/cass_log.h"
#include "core/net/cass_conn.h"
#include "core/session/cass_logon.h"
#include "core/session/cass_walk.h"
#include "core/wire/cass_prepared.h"

static constexpr char log_source[] = "cass_logon.c";

// A change of the keyspace that another thread has not read yet, or that was lost for want of
// memory, leaves it open what a statement would mean.
static bool keyspace_is_known(cass_conn *conn)
{
    cass_lock_enter(&conn->session_lock);
    const bool known = conn->keyspace_known_at == conn->keyspace_changes;
    cass_lock_leave(&conn->session_lock);
    if (!known)
        cass_post_error(&conn->head, STATE_08001, 0, "the keyspace in use is not known");
    return known;
}

static bool make_whole(cass_conn *conn, cass_stmt *stmt)
{
    if (shared_get(&conn->leaving) != 0)
        return false;
    CASS_LOG(&stmt->head, LOG_ERROR, "the connection is lost: another session is started");
    cass_diag_clear(&conn->head);
    cass_leave_socket(conn);
    conn->make_whole = nullptr;  // the requests of the session's start are its own
    conn->mended_for = stmt_called(stmt);
    cass_limit_logon(conn);
    conn->logon_ends = cass_earlier(conn->logon_ends, conn->request_ends);
    const bool whole = keyspace_is_known(conn) && cass_open_session(conn) == 0;
    const bool called_off = !whole && (conn_is_called_off(conn) || conn_request_is_over(conn));
    conn->mended_for = nullptr;
    if (whole) {
        cass_session_begins(conn);
        return true;
    }
    cass_leave_socket(conn);
    shared_put(&conn->socket_dead, 1);
    if (called_off)
        conn->make_whole = make_whole;
    return false;
}

static bool a_lost_connection_stays_lost(const cass_conn *conn)
{
    return conn->conduct->a_lost_connection_stays_lost;
}

void cass_session_begins(cass_conn *conn)
{
    const cass_lock_guard hold(&conn->session_lock);
    shared_put(&conn->session, conn->session + 1);
    cass_prepared_forget_all(conn);
    const bool stays = a_lost_connection_stays_lost(conn) || conn->settings.reconnect == 0;
    conn->make_whole = stays ? nullptr : make_whole;
}
