// One request at a time is in flight on a connection: a frame goes out, the next frame that comes
// is its reply, and the connection's exchange lock is held in between, so that two threads cannot
// read each other's replies. A failed exchange leaves the session as it is; on a socket that broke,
// or was shut because a reply could not be read to its end, the next request fails in its turn, or
// another session is made for it.
#include "core/net/cass_conn.h"
#include "core/statement/cass_pkt_exchange.h"
#include "core/statement/cass_pkt_result.h"
#include "core/statement/cass_sql.h"

static bool broken_connections_are_tried(const cass_conn *conn)
{
    return conn->conduct->broken_connections_are_tried;
}

// sent: what cass_send_packet gave.
static cass_exchange_failure why_not_sent(cass_conn *conn, const cass_packet *request,
                                          std::int32_t sent)
{
    if (sent == CONN_TIMED_OUT)
        return static_cast<cass_exchange_failure>(conn->request_limit);
    switch (request->failed) {
    case PACKET_NO_MEMORY:
        return EXCHANGE_NO_MEMORY_TO_SEND;
    case PACKET_TOO_LONG:
        return EXCHANGE_TOO_LONG;
    default:
        shared_put(&conn->socket_dead, 1);
        return EXCHANGE_NOT_SENT;
    }
}

static cass_packet *read_packet(cass_conn *conn, cass_stmt *stmt, cass_exchange_failure *failure)
{
    cass_packet *reply = cass_read_packet(stmt, failure);
    if (reply == nullptr)
        return nullptr;
    if (result_kind(reply, true) == KIND_SET_KEYSPACE)
        conn->keyspace_changes++;
    reply->keyspace_changes = conn->keyspace_changes;
    reply->session = conn->session;
    return reply;
}

// One attempt, over the connection as it is.
static cass_packet *exchange_once(cass_conn *conn, cass_packet *request,
                                  cass_exchange_failure *failure)
{
    std::int32_t sent = 0;
    if (conn->socket_dead && !broken_connections_are_tried(conn))
        *failure = EXCHANGE_DEAD;
    else if (stmt_is_cancelled(request->owner))
        *failure = EXCHANGE_CANCELLED;
    else if ((sent = cass_send_packet(request->owner, request)) >= 0)
        return read_packet(conn, request->owner, failure);
    else
        *failure = why_not_sent(conn, request, sent);
    return nullptr;
}

// ---- A lost connection -------------------------------------------------------------------------

// False with the failure why there is no other session.
[[gnu::cold, gnu::noinline]] static bool make_whole(cass_conn *conn, const cass_packet *request,
                                                    cass_exchange_failure *failure)
{
    if (conn->make_whole(conn, request->owner))
        return true;
    if (stmt_is_cancelled(request->owner))
        *failure = EXCHANGE_CANCELLED;
    else if (conn_request_is_over(conn))
        *failure = static_cast<cass_exchange_failure>(conn->request_limit);
    else
        *failure = EXCHANGE_LOST;
    return false;
}

// It may be sent again although the server may have run it.
static bool only_reads(const cass_packet *request)
{
    return request->opcode == OPCODE_PREPARE || request->owner->verb_code == VERB_SELECT;
}

// The ids of prepared statements end with their session: a server may not know them, or know
// another statement by them.
static bool id_has_gone(const cass_conn *conn, const cass_packet *request)
{
    return request->opcode == OPCODE_EXECUTE && request->owner->prepared_session != conn->session;
}

// Behind a request that found the connection lost on its way. One that the server cannot have had
// whole is sent again, and so is one that only reads.
[[gnu::cold, gnu::noinline]] static cass_packet *
exchange_again(cass_conn *conn, cass_packet *request, cass_exchange_failure *failure)
{
    const bool again = *failure == EXCHANGE_NOT_SENT || only_reads(request);
    if (!make_whole(conn, request, failure))
        return nullptr;
    *failure = again ? EXCHANGE_FORGOTTEN : EXCHANGE_BROKEN;
    return again && !id_has_gone(conn, request) ? exchange_once(conn, request, failure) : nullptr;
}

// Over a connection that is made whole when it is lost: before the request, so that a write is sent
// once, or behind it.
static cass_packet *exchange_mending(cass_conn *conn, cass_packet *request,
                                     cass_exchange_failure *failure)
{
    if (conn_is_lost(conn) && !make_whole(conn, request, failure))
        return nullptr;
    if (id_has_gone(conn, request)) {
        *failure = EXCHANGE_FORGOTTEN;
        return nullptr;
    }
    cass_packet *reply = exchange_once(conn, request, failure);
    const bool lost =
        reply == nullptr && (*failure == EXCHANGE_NOT_SENT || *failure == EXCHANGE_BROKEN);
    return lost ? exchange_again(conn, request, failure) : reply;
}

cass_packet *cass_exchange(cass_conn *conn, cass_packet *request, cass_exchange_failure *failure)
{
    const cass_cancel_guard whole;
    const cass_lock_guard hold(&conn->exchange_lock);
    // The requests of a session that starts within another request have the time of that one.
    const bool outermost = conn->mended_for == nullptr;
    if (outermost)
        cass_limit_request(request->owner);
    cass_packet *reply = conn->make_whole != nullptr ? exchange_mending(conn, request, failure)
                                                     : exchange_once(conn, request, failure);
    if (outermost)
        conn->request_ends = 0;
    return reply;
}
