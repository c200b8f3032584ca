// What statements make of their requests and replies: prepared statements, executions, next pages,
// and the diagnostics of what failed.
#include "core/statement/cass_pkt_exchange.h"

#include <algorithm>

#include "core/diag/cass_err.h"
#include "core/handle/cass_handle.h"
#include "core/log/cass_log.h"
#include "core/statement/cass_cancel.h"
#include "core/statement/cass_column_reuse.h"
#include "core/statement/cass_pkt_result.h"
#include "core/statement/cass_scroll.h"
#include "core/statement/cass_stmt.h"
#include "core/wire/cass_prepared.h"
#include "core/wire/cql_errors.h"

static constexpr char log_source[] = "cass_pkt.c";

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

// With the reason that was posted on the connection.
static void post_lost(cass_stmt *stmt, const char *who)
{
    CASS_LOG(&stmt->head, LOG_ERROR, "%s: the connection is lost", who);
    const cass_lock_guard hold(&cass_diag_lock);
    const cass_diag_record *record = cass_diag_get(&stmt_conn(stmt)->head, 1);
    const held_string reason(
        record == nullptr ? nullptr : cass_string_sub(record->text, cass_diag_detail(record), -1));
    if (reason == nullptr)
        cass_post_error(&stmt->head, STATE_08S01, 0, "the connection is lost");
    else
        cass_post_error(&stmt->head, STATE_08S01, 0,
                        "the connection is lost, and there is no other: %S", reason.get());
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
    case EXCHANGE_LOST:
        post_lost(stmt, who);
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
        stmt->failed_for_now = 1;
        CASS_LOG(&stmt->head, LOG_ERROR, "%s: timeout reading packet", who);
        cass_post_error(&stmt->head, failure == EXCHANGE_TIMED_OUT ? STATE_HYT00 : STATE_HYT01, 0,
                        nullptr);
        break;
    default:
        CASS_LOG(&stmt->head, LOG_ERROR, "%s: failed to return packet", who);
        cass_post_error(&stmt->head, STATE_08S01, 0, "failed to return packet");
    }
}

static bool server_errors_are_link_failures(const cass_conn *conn)
{
    return conn->conduct->server_errors_are_link_failures;
}

// Native protocol v4, section 9: errors of this range are of the cluster's state, not of the
// request. Another time, it may be served.
static bool is_of_the_moment(std::int32_t code)
{
    return code >= 0x1000 && code <= 0x1FFF;
}

static void post_server_error(cass_stmt *stmt, cass_packet *reply, const char *who)
{
    std::int32_t code = 0;
    const held_string message(cass_server_error(stmt, reply, &code));
    if (message == nullptr)
        return;
    CASS_LOG(&stmt->head, LOG_ERROR, "%s: error code %d '%S'", who, code, message.get());
    stmt->failed_for_now = is_of_the_moment(code);
    if (server_errors_are_link_failures(stmt_conn(stmt))) {
        cass_post_error(&stmt->head, STATE_08S01, 0, "error code %d '%S'", code, message.get());
        return;
    }
    const held_text text(cass_string_to_ascii(message.get()));
    if (text == nullptr)
        cass_post_no_memory(&stmt->head, log_source, who);
    else
        cass_post_error(&stmt->head, cass_server_state(code, text.get()), code, "%S",
                        message.get());
}

static bool a_forgotten_statement_is_an_error(const cass_conn *conn)
{
    return conn->conduct->a_forgotten_statement_is_an_error;
}

// The frame says that the server knows the prepared statement no more. Its read position stays.
static bool says_forgotten(cass_stmt *stmt, cass_packet *reply)
{
    if (pkt_opcode(reply) != OPCODE_ERROR)
        return false;
    const std::int32_t start = reply->read_pos;
    std::int32_t code = 0;
    const held_string message(cass_server_error(stmt, reply, &code));
    reply->read_pos = start;
    return message != nullptr && code == CQL_UNPREPARED;
}

// Whether the statement is to be prepared again, after `again` times: by the server's word once,
// and as often as MOST_AGAIN since its session has gone.
static bool is_forgotten(cass_stmt *stmt, cass_packet *reply, cass_exchange_failure failure,
                         int again)
{
    if (reply == nullptr)
        return failure == EXCHANGE_FORGOTTEN && again < MOST_AGAIN;
    return again == 0 && !a_forgotten_statement_is_an_error(stmt_conn(stmt)) &&
           says_forgotten(stmt, reply);
}

// The frame that answers the request; null with the failure posted, or *forgotten.
static cass_packet *request_reply(cass_stmt *stmt, cass_packet *request, const char *who, int again,
                                  bool *forgotten)
{
    cass_exchange_failure failure = EXCHANGE_WHOLE;
    held_packet reply(
        cass_cancellable(stmt, [&] { return cass_exchange(stmt_conn(stmt), request, &failure); }));
    *forgotten = is_forgotten(stmt, reply.get(), failure, again);
    if (*forgotten)
        return nullptr;
    if (reply == nullptr)
        post_no_reply(stmt, failure, who);
    return reply.release();
}

// Whether the reply is a RESULT, its position then behind the warnings, which go to *warning. The
// failure is posted.
static bool is_result(cass_stmt *stmt, cass_packet *reply, const char *who, held_string *warning)
{
    if (pkt_opcode(reply) == OPCODE_ERROR) {
        post_server_error(stmt, reply, who);
        return false;
    }
    if (pkt_opcode(reply) != OPCODE_RESULT) {
        const int opcode = pkt_opcode(reply);
        CASS_LOG(&stmt->head, LOG_ERROR, "%s: unexpected packet type %d", who, opcode);
        cass_post_error(&stmt->head, cass_malformed_state(stmt), 0, "unexpected packet type %d",
                        opcode);
        return false;
    }
    if (!pkt_has_warning(reply))
        return true;
    warning->reset(decode_warnings(stmt, reply));
    if (*warning == nullptr)
        return false;
    CASS_LOG(&stmt->head, LOG_DETAIL, "%s: warning '%S'", who, warning->get());
    return true;
}

static void post_warning(cass_stmt *stmt, const cass_string *warning)
{
    if (warning != nullptr)
        cass_post_error(&stmt->head, STATE_01000, 0, "%S", warning);
}

std::int32_t cass_take_result(cass_stmt *stmt, cass_packet *packet)
{
    std::int32_t rows = 0;
    const std::int32_t kind = decode_result_packet(stmt, packet, &rows);
    if (kind == KIND_ROWS)
        cass_set_current_packet(stmt, packet, rows);
    return kind;
}

// Sends a request whose RESULT goes to the statement, and gives its kind. 0, 1 or -1, or
// STATEMENT_FORGOTTEN.
static int send_request(cass_stmt *stmt, cass_packet *packet, int again, std::int32_t *kind)
{
    CASS_LOG(&stmt->head, LOG_DETAIL, "send_and_execute:");
    bool forgotten;
    const held_packet reply(request_reply(stmt, packet, "send_and_execute", again, &forgotten));
    if (reply == nullptr)
        return forgotten ? STATEMENT_FORGOTTEN : -1;
    held_string warning;
    if (!is_result(stmt, reply.get(), "send_and_execute", &warning))
        return -1;
    post_warning(stmt, warning.get());
    // A kind that is not known is a result without rows; only a malformed one fails.
    *kind = cass_take_result(stmt, reply.get());
    if (*kind == RESULT_MALFORMED)
        return -1;
    stmt->more_results = 0;
    stmt->executed = 1;
    return warning != nullptr ? 1 : 0;
}

static bool a_reply_without_rows_leaves_columns(const cass_conn *conn)
{
    return conn->conduct->a_reply_without_rows_leaves_columns;
}

// Behind a reply that has no rows to read, or should have none.
static void end_result(cass_stmt *stmt)
{
    if (a_reply_without_rows_leaves_columns(stmt_conn(stmt)))
        return;
    cass_page_abandon(&stmt->page);
    cass_close_result(stmt);
}

// The same for an execution: what the statement had before is over.
static int send_execution(cass_stmt *stmt, cass_packet *packet, int again)
{
    cass_free_cursor(stmt);
    std::int32_t kind = 0;
    const int code = send_request(stmt, packet, again, &kind);
    if (code >= 0 && kind == KIND_ROWS && cass_open_cursor(stmt) != 0)
        return -1;
    if (code >= 0 && kind != KIND_ROWS)
        end_result(stmt);
    return code;
}

int send_and_execute(cass_stmt *stmt, cass_packet *packet)
{
    return send_execution(stmt, packet, MOST_AGAIN);
}

int send_prepared(cass_stmt *stmt, cass_packet *packet, int again)
{
    return send_execution(stmt, packet, again);
}

static bool each_prepare_goes_out(const cass_conn *conn)
{
    return conn->conduct->each_prepare_goes_out;
}

static bool a_warning_comes_with_its_prepare(const cass_conn *conn)
{
    return conn->conduct->a_warning_comes_with_its_prepare;
}

// The RESULT of the text's PREPARE, its position behind the warnings. Null with the failure posted.
static cass_packet *request_prepared(cass_stmt *stmt, const cass_string *text, held_string *warning)
{
    cass_conn *conn = stmt_conn(stmt);
    const bool kept = !each_prepare_goes_out(conn);
    if (cass_packet *known = kept ? cass_prepared_find(stmt, text) : nullptr) {
        CASS_LOG(&stmt->head, LOG_DETAIL, "prepare_stmt: prepared before");
        return known;
    }
    const held_packet request(
        cass_new_packet(stmt, PROTOCOL_VERSION, 0, 0, OPCODE_PREPARE, nullptr));
    if (request == nullptr)
        return nullptr;
    pkt_put_long_string(request.get(), text);
    bool forgotten;
    held_packet reply(request_reply(stmt, request.get(), "prepare_stmt", MOST_AGAIN, &forgotten));
    if (reply == nullptr || !is_result(stmt, reply.get(), "prepare_stmt", warning))
        return nullptr;
    if (kept && result_kind(reply.get(), false) == KIND_PREPARED)
        cass_prepared_keep(conn, text, reply.get());
    return reply.release();
}

int prepare_stmt(cass_stmt *stmt, const cass_string *text)
{
    CASS_LOG(&stmt->head, LOG_DETAIL, "prepare_stmt: '%S'", text);
    if (text == nullptr) {
        CASS_LOG(&stmt->head, LOG_DETAIL, "prepare_stmt: no work to do");
        return 0;
    }
    held_string warning;
    const held_packet reply(request_prepared(stmt, text, &warning));
    if (reply == nullptr)
        return -1;
    if (!a_warning_comes_with_its_prepare(stmt_conn(stmt))) {
        cass_string_free(stmt->prepare_warning);
        stmt->prepare_warning = warning.release();
    }
    post_warning(stmt, warning.get());
    const std::int32_t kind = cass_take_result(stmt, reply.get());
    if (kind == RESULT_MALFORMED)
        return -1;
    if (kind != KIND_PREPARED) {
        end_result(stmt);
        const char *name = result_kind_name(kind);
        CASS_LOG(&stmt->head, LOG_ERROR,
                 "prepare_stmt: unexpected packet kind %s, expected KIND_PREPARED", name);
        cass_post_error(&stmt->head, cass_malformed_state(stmt), 0,
                        "unexpected packet kind %s, expected KIND_PREPARED", name);
        return -1;
    }
    shared_put(&stmt->prepared, 1);
    return warning != nullptr ? 1 : 0;
}

int prepare_again(cass_stmt *stmt)
{
    CASS_LOG(&stmt->head, LOG_DETAIL, "prepare_again: the server has forgotten the statement");
    cass_prepared_forget(stmt_conn(stmt), stmt->sql_text);
    // The paging state is of the result in work, which goes on.
    const cass_page page = stmt->page;
    stmt->page.paging_state = nullptr;
    const int code = prepare_stmt(stmt, stmt->sql_text);
    cass_page_end(&stmt->page);
    stmt->page.paging_state = page.paging_state;
    stmt->page.paging_state_len = page.paging_state_len;
    return code;
}

SQLRETURN post_prepare_warning(cass_stmt *stmt, SQLRETURN code)
{
    if (stmt->prepare_warning == nullptr || !SQL_SUCCEEDED(code))
        return code;
    post_warning(stmt, stmt->prepare_warning);
    free_string(&stmt->prepare_warning);
    return SQL_SUCCESS_WITH_INFO;
}

static bool a_refused_keyspace_is_information(const cass_conn *conn)
{
    return conn->conduct->a_refused_keyspace_is_information;
}

// Runs a statement of the driver's own; rows and diagnostics are dropped. As set_current_keyspace.
static int execute_query(cass_conn *conn, const cass_string *sql)
{
    CASS_LOG(&conn->head, LOG_DETAIL, "execute_query: conn=%p", static_cast<void *>(conn));
    CASS_LOG(&conn->head, LOG_DETAIL, "sql: '%S'", sql);
    const held_stmt stmt(cass_alloc_throwaway_stmt(conn));
    if (stmt == nullptr)
        return cass_post_no_memory(&conn->head, log_source, "execute_query", QUERY_POSTED);
    stmt->served = conn->mended_for;
    const held_packet request(
        cass_new_packet(stmt.get(), PROTOCOL_VERSION, 0, 0, OPCODE_QUERY, &conn->head));
    if (request == nullptr)
        return QUERY_POSTED;
    pkt_put_long_string(request.get(), sql);
    pkt_put_short(request.get(),
                  static_cast<std::int16_t>(shared_get(&conn->settings.consistency)));
    pkt_put_byte(request.get(), 0);
    const int code = send_and_execute(stmt.get(), request.get());
    if (code < 0 && stmt->no_memory)
        return cass_post_no_memory(&conn->head, log_source, "execute_query", QUERY_POSTED);
    if (code >= 0 || a_refused_keyspace_is_information(conn))
        return code;
    cass_diag_copy_all(&conn->head, &stmt->head);
    return QUERY_POSTED;
}

static int request_next_page(cass_stmt *stmt)
{
    int code = STATEMENT_FORGOTTEN;
    for (int again = 0; code == STATEMENT_FORGOTTEN; again++) {
        if (again > 0 && prepare_again(stmt) < 0)
            return -1;
        const held_packet request(create_fetch_next(stmt));
        std::int32_t kind = 0;
        code = request == nullptr
                   ? -1
                   : send_request(stmt, request.get(), stmt->prepared ? again : MOST_AGAIN, &kind);
    }
    return code;
}

// A result that another server did not go on with, or with other columns, ends.
[[gnu::cold, gnu::noinline]] static int end_moved_result(cass_stmt *stmt)
{
    CASS_LOG(&stmt->head, LOG_ERROR, "cass_fetch_next_page: the result ended with its session");
    cass_diag_clear(&stmt->head);
    cass_post_error(&stmt->head, STATE_08S01, 0, "the result ended with the connection");
    cass_page_abandon(&stmt->page);
    return -1;
}

int cass_fetch_next_page(cass_stmt *stmt)
{
    stmt->no_memory = 0;
    stmt->failed_for_now = 0;
    const std::uint32_t session = stmt->page.session;
    const std::uint64_t columns = description_digest(stmt);
    const int code = request_next_page(stmt);
    const bool stays = shared_get(&stmt_conn(stmt)->session) == session || stmt->no_memory != 0;
    const bool same = columns != 0 && description_digest(stmt) == columns;
    const bool goes_on = same && (code >= 0 || stmt->failed_for_now);
    return stays || goes_on ? code : end_moved_result(stmt);
}

int set_current_keyspace(cass_conn *conn, const cass_string *keyspace)
{
    CASS_LOG(&conn->head, LOG_DETAIL, "set_currrent_keyspace: hand=%p", static_cast<void *>(conn));
    CASS_LOG(&conn->head, LOG_DETAIL, "keyspace: '%S'", keyspace);
    const held_string sql(cass_string_format("USE \"%S\";", keyspace));
    if (sql == nullptr)
        return cass_post_no_memory(&conn->head, log_source, "set_current_keyspace", QUERY_POSTED);
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
