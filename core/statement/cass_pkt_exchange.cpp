// The request and reply cycle. One request is in flight on a connection at a time: a frame goes
// out, the next frame that comes is its reply, and the connection's exchange lock is held in
// between, so that two threads cannot read each other's replies. A failed exchange leaves the
// session as it is; on a socket that broke, or was shut because a reply could not be read to its
// end, the next request fails in its turn.
#include "core/statement/cass_pkt_exchange.h"

#include "core/diag/cass_err.h"
#include "core/handle/cass_handle.h"
#include "core/log/cass_log.h"
#include "core/statement/cass_cancel.h"
#include "core/statement/cass_pkt_result.h"
#include "core/statement/cass_stmt.h"

static constexpr char log_source[] = "cass_pkt.c";

static bool broken_connections_are_tried(const cass_conn *conn)
{
    return conn->conduct->broken_connections_are_tried;
}

static cass_exchange_failure why_not_sent(cass_conn *conn, const cass_packet *request)
{
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

cass_packet *cass_exchange(cass_conn *conn, cass_packet *request, cass_exchange_failure *failure)
{
    const cass_cancel_guard whole;
    const cass_lock_guard hold(&conn->exchange_lock);
    if (conn->socket_dead && !broken_connections_are_tried(conn))
        *failure = EXCHANGE_DEAD;
    else if (stmt_is_cancelled(request->owner))
        *failure = EXCHANGE_CANCELLED;
    else if (cass_send_packet(request->owner, request) >= 0)
        return cass_read_packet(request->owner, failure);
    else
        *failure = why_not_sent(conn, request);
    return nullptr;
}

cass_string *cass_server_error(cass_stmt *stmt, cass_packet *packet, std::int32_t *code)
{
    // The warnings of a failed request stand in front of its code and are of no interest beside it.
    if (pkt_has_warning(packet)) {
        const held_string warnings(decode_warnings(stmt, packet));
        if (warnings == nullptr)
            return nullptr;
    }
    return decode_error_packet(stmt, packet, code);
}

static void post_no_reply(cass_stmt *stmt, cass_exchange_failure failure, const char *who)
{
    switch (failure) {
    case EXCHANGE_NO_MEMORY_TO_SEND:
        cass_post_no_memory(&stmt->head, log_source, who);
        break;
    case EXCHANGE_DEAD:
        CASS_LOG(&stmt->head, LOG_ERROR, "%s: the connection is broken", who);
        cass_post_error(&stmt->head, STATE_08003, 0, "the connection is broken");
        break;
    case EXCHANGE_TOO_LONG:
    case EXCHANGE_NOT_SENT:
        CASS_LOG(&stmt->head, LOG_ERROR, "%s: failed to send packet", who);
        cass_post_error(&stmt->head,
                        failure == EXCHANGE_TOO_LONG ? cass_malformed_state(stmt) : STATE_08S01, 0,
                        "failed to send packet");
        break;
    case EXCHANGE_CANCELLED:
        CASS_LOG(&stmt->head, LOG_ERROR, "%s: cancelled", who);
        cass_post_error(&stmt->head, STATE_HY008, 0, nullptr);
        break;
    case EXCHANGE_TIMED_OUT:
    case EXCHANGE_CONNECTION_TIMED_OUT:
        CASS_LOG(&stmt->head, LOG_ERROR, "%s: timeout reading packet", who);
        cass_post_error(&stmt->head, failure == EXCHANGE_TIMED_OUT ? STATE_HYT00 : STATE_HYT01, 0,
                        nullptr);
        break;
    default:
        CASS_LOG(&stmt->head, LOG_ERROR, "%s: failed to return packet", who);
        cass_post_error(&stmt->head, STATE_08S01, 0, "failed to return packet");
    }
}

// The state of a server's error (native protocol v4, section 9), by its code and, where one code
// serves many, by words of its text: the first row that fits.
struct server_state {
    std::int32_t code;
    const char *words;  // null: any text
    cass_state_row state;
    bool missing;  // only of a text that says that something does not exist
};

static constexpr server_state server_states[] = {
    {0x0100, nullptr, STATE_28000, false},               // bad credentials
    {0x1100, nullptr, STATE_HYT00, false},               // write time-out
    {0x1200, nullptr, STATE_HYT00, false},               // read time-out
    {0x2000, nullptr, STATE_42000, false},               // syntax
    {0x2100, nullptr, STATE_42000, false},               // unauthorised
    {0x2200, "unconfigured table", STATE_42S02, false},  // invalid, as the rows that follow
    {0x2200, "Undefined column name", STATE_42S22, false},
    {0x2200, "Unknown identifier", STATE_42S22, false},
    {0x2200, "No keyspace has been specified", STATE_3F000, false},
    {0x2200, "eyspace", STATE_3F000, true},
    {0x2200, "able", STATE_42S02, true},
    {0x2200, "nvalid ", STATE_22000, false},
    {0x2200, nullptr, STATE_42000, false},
    {0x2300, nullptr, STATE_42000, false},  // configuration
    {0x2400, nullptr, STATE_42S01, false},  // already exists
};

static bool says_missing(const char *text)
{
    return std::strstr(text, "does not exist") != nullptr ||
           std::strstr(text, "doesn't exist") != nullptr;
}

static cass_state_row state_of(std::int32_t code, const char *text)
{
    for (const server_state &row : server_states) {
        if (row.code == code && (row.words == nullptr || std::strstr(text, row.words) != nullptr) &&
            (!row.missing || says_missing(text)))
            return row.state;
    }
    return STATE_HY000;
}

static bool server_errors_are_link_failures(const cass_conn *conn)
{
    return conn->conduct->server_errors_are_link_failures;
}

static void post_server_error(cass_stmt *stmt, cass_packet *reply, const char *who)
{
    std::int32_t code = 0;
    const held_string message(cass_server_error(stmt, reply, &code));
    if (message == nullptr)
        return;
    CASS_LOG(&stmt->head, LOG_ERROR, "%s: error code %d '%S'", who, code, message.get());
    if (server_errors_are_link_failures(stmt_conn(stmt))) {
        cass_post_error(&stmt->head, STATE_08S01, 0, "error code %d '%S'", code, message.get());
        return;
    }
    const held_text text(cass_string_to_ascii(message.get()));
    if (text == nullptr)
        cass_post_no_memory(&stmt->head, log_source, who);
    else
        cass_post_error(&stmt->head, state_of(code, text.get()), code, "%S", message.get());
}

// The RESULT that answers the request, its position behind the warnings. *warned: a warning was
// posted. Null with the failure posted.
static cass_packet *request_result(cass_stmt *stmt, cass_packet *request, const char *who,
                                   bool *warned)
{
    cass_exchange_failure failure;
    *warned = false;
    held_packet reply(
        cass_cancellable(stmt, [&] { return cass_exchange(stmt_conn(stmt), request, &failure); }));
    if (reply == nullptr) {
        post_no_reply(stmt, failure, who);
        return nullptr;
    }
    if (pkt_opcode(reply.get()) == OPCODE_ERROR) {
        post_server_error(stmt, reply.get(), who);
        return nullptr;
    }
    if (pkt_opcode(reply.get()) != OPCODE_RESULT) {
        const int opcode = pkt_opcode(reply.get());
        CASS_LOG(&stmt->head, LOG_ERROR, "%s: unexpected packet type %d", who, opcode);
        cass_post_error(&stmt->head, cass_malformed_state(stmt), 0, "unexpected packet type %d",
                        opcode);
        return nullptr;
    }
    if (pkt_has_warning(reply.get())) {
        const held_string warning(decode_warnings(stmt, reply.get()));
        if (warning == nullptr)
            return nullptr;
        CASS_LOG(&stmt->head, LOG_DETAIL, "%s: warning '%S'", who, warning.get());
        cass_post_error(&stmt->head, STATE_01000, 0, "%S", warning.get());
        *warned = true;
    }
    return reply.release();
}

std::int32_t cass_take_result(cass_stmt *stmt, cass_packet *packet)
{
    std::int32_t rows = 0;
    const std::int32_t kind = decode_result_packet(stmt, packet, &rows);
    if (kind == KIND_ROWS)
        cass_set_current_packet(stmt, packet, rows);
    return kind;
}

int send_and_execute(cass_stmt *stmt, cass_packet *packet)
{
    CASS_LOG(&stmt->head, LOG_DETAIL, "send_and_execute:");
    bool warned;
    const held_packet reply(request_result(stmt, packet, "send_and_execute", &warned));
    if (reply == nullptr)
        return -1;
    // A kind that is not known is a result without rows; only a malformed one fails.
    if (cass_take_result(stmt, reply.get()) == RESULT_MALFORMED)
        return -1;
    stmt->more_results = 0;
    stmt->executed = 1;
    return warned ? 1 : 0;
}

int prepare_stmt(cass_stmt *stmt, const cass_string *text)
{
    CASS_LOG(&stmt->head, LOG_DETAIL, "prepare_stmt: '%S'", text);
    if (text == nullptr) {
        CASS_LOG(&stmt->head, LOG_DETAIL, "prepare_stmt: no work to do");
        return 0;
    }
    held_packet request(cass_new_packet(stmt, PROTOCOL_VERSION, 0, 0, OPCODE_PREPARE, nullptr));
    if (request == nullptr)
        return -1;
    pkt_put_long_string(request.get(), text);
    bool warned;
    const held_packet reply(request_result(stmt, request.get(), "prepare_stmt", &warned));
    if (reply == nullptr)
        return -1;
    const std::int32_t kind = cass_take_result(stmt, reply.get());
    if (kind == RESULT_MALFORMED)
        return -1;
    if (kind != KIND_PREPARED) {
        const char *name = result_kind_name(kind);
        CASS_LOG(&stmt->head, LOG_ERROR,
                 "prepare_stmt: unexpected packet kind %s, expected KIND_PREPARED", name);
        cass_post_error(&stmt->head, cass_malformed_state(stmt), 0,
                        "unexpected packet kind %s, expected KIND_PREPARED", name);
        return -1;
    }
    shared_put(&stmt->prepared, 1);
    return warned ? 1 : 0;
}

// Runs a statement of the driver's own; rows and diagnostics are dropped. As set_current_keyspace.
static int execute_query(cass_conn *conn, const cass_string *sql)
{
    CASS_LOG(&conn->head, LOG_DETAIL, "execute_query: conn=%p", static_cast<void *>(conn));
    CASS_LOG(&conn->head, LOG_DETAIL, "sql: '%S'", sql);
    const held_stmt stmt(cass_alloc_throwaway_stmt(conn));
    if (stmt == nullptr)
        return cass_post_no_memory(&conn->head, log_source, "execute_query", QUERY_NO_MEMORY);
    const held_packet request(
        cass_new_packet(stmt.get(), PROTOCOL_VERSION, 0, 0, OPCODE_QUERY, &conn->head));
    if (request == nullptr)
        return QUERY_NO_MEMORY;
    pkt_put_long_string(request.get(), sql);
    pkt_put_short(request.get(),
                  static_cast<std::int16_t>(shared_get(&conn->settings.consistency)));
    pkt_put_byte(request.get(), 0);
    const int code = send_and_execute(stmt.get(), request.get());
    return code < 0 && stmt->no_memory
               ? cass_post_no_memory(&conn->head, log_source, "execute_query", QUERY_NO_MEMORY)
               : code;
}

int cass_fetch_next_page(cass_stmt *stmt)
{
    stmt->no_memory = 0;
    const held_packet request(create_fetch_next(stmt));
    return request == nullptr ? -1 : send_and_execute(stmt, request.get());
}

int set_current_keyspace(cass_conn *conn, const cass_string *keyspace)
{
    CASS_LOG(&conn->head, LOG_DETAIL, "set_currrent_keyspace: hand=%p", static_cast<void *>(conn));
    CASS_LOG(&conn->head, LOG_DETAIL, "keyspace: '%S'", keyspace);
    const held_string sql(cass_string_format("USE \"%S\";", keyspace));
    if (sql == nullptr)
        return cass_post_no_memory(&conn->head, log_source, "set_current_keyspace",
                                   QUERY_NO_MEMORY);
    return execute_query(conn, sql.get());
}

int next_result_set(cass_stmt *stmt)
{
    CASS_LOG(&stmt->head, LOG_DETAIL, "next_result_set:");
    return -1;
}

int send_reset(cass_stmt *stmt)
{
    CASS_LOG(&stmt->head, LOG_DETAIL, "send_reset:");
    return -1;
}

int cass_commit(cass_conn *conn)
{
    CASS_LOG(&conn->head, LOG_DETAIL, "cass_commit");
    return 0;
}

int cass_rollback(cass_conn *conn)
{
    CASS_LOG(&conn->head, LOG_DETAIL, "cass_rollback");
    return 0;
}

int set_autocommit(cass_conn *conn, std::int32_t value, int force)
{
    CASS_LOG(&conn->head, LOG_DETAIL, "set_autocommit %d", value);
    if (value == conn->autocommit && !force)
        return 0;
    CASS_LOG(&conn->head, LOG_DETAIL, "autocommit set to %d", conn->autocommit);
    conn->autocommit = value;
    return 0;
}

int cass_set_transaction_isolation(cass_conn *conn, std::int32_t level)
{
    CASS_LOG(&conn->head, LOG_DETAIL, "cass_set_transaction_isolation %d", level);
    return 0;
}
