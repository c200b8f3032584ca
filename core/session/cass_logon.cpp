// Session start, between known settings and runnable statements: open a socket, TLS, OPTIONS and
// SUPPORTED, STARTUP, the password authenticator when the server asks for one, USE. Diagnostics go
// to the connection; the frames belong to throw-away statements.
#include "core/session/cass_logon.h"

#include <algorithm>
#include <string_view>

#include "core/diag/cass_err.h"
#include "core/handle/cass_handle.h"
#include "core/log/cass_log.h"
#include "core/net/cass_conn.h"
#include "core/net/cass_conn_shared.h"
#include "core/net/cass_ssl.h"
#include "core/session/cass_astra.h"
#include "core/session/cass_bundle.h"
#include "core/session/cass_reconnect.h"
#include "core/session/cass_settings.h"
#include "core/session/cass_walk.h"
#include "core/statement/cass_pkt_exchange.h"
#include "core/wire/cass_pkt.h"
#include "core/wire/cql_errors.h"

static constexpr char log_source[] = "cass_logon.c";

// The dialect that is asked for. What the server reports is kept for the application to see.
constexpr char CQL_VERSION[] = "3.0.0";

// The authenticator's class name with the low byte of its length (0x2F, 47) in front, as it stands
// in an AUTHENTICATE body behind the length's high byte. One comparison tests both.
constexpr char PASSWORD_AUTHENTICATOR[] = "/org.apache.cassandra.auth.PasswordAuthenticator";
constexpr std::int32_t AUTHENTICATOR_SIZE = 48;
static_assert(sizeof PASSWORD_AUTHENTICATOR == AUTHENTICATOR_SIZE + 1);
static_assert(PASSWORD_AUTHENTICATOR[0] == AUTHENTICATOR_SIZE - 1);

// A statement for the requests of a session's start. Of a connection that is made whole they belong
// to the statement that waits for it. Null after posting.
static cass_stmt *new_carrier(cass_conn *conn, const char *who)
{
    cass_stmt *stmt = cass_alloc_throwaway_stmt(conn);
    if (stmt != nullptr)
        stmt->served = conn->mended_for;
    else
        cass_post_no_memory(&conn->head, log_source, who);
    return stmt;
}

// ---- Replies of the handshake ------------------------------------------------------------------

static bool logon_errors_are_general(const cass_conn *conn)
{
    return conn->conduct->logon_errors_are_general;
}

static bool timed_out(cass_exchange_failure failure)
{
    return failure == EXCHANGE_TIMED_OUT || failure == EXCHANGE_CONNECTION_TIMED_OUT;
}

// HY000, or what a failure of the session's start is.
static cass_state_row logon_state(const cass_conn *conn, cass_state_row row)
{
    return logon_errors_are_general(conn) ? STATE_HY000 : row;
}

static int no_reply(cass_conn *conn, cass_exchange_failure failure, const char *who)
{
    switch (failure) {
    case EXCHANGE_NO_MEMORY_TO_SEND:
    case EXCHANGE_NO_MEMORY_TO_READ:
        return cass_post_no_memory(&conn->head, log_source, who);
    case EXCHANGE_NOT_SENT:
        CASS_LOG(&conn->head, LOG_ERROR, "cass_establish_connection: failed to send a packet");
        cass_post_error(&conn->head, logon_state(conn, STATE_08001), 0, "failed to send a packet");
        return -1;
    default:
        CASS_LOG(&conn->head, LOG_ERROR, "%s: failed to return a packet", who);
        cass_post_error(&conn->head,
                        logon_state(conn, timed_out(failure) ? STATE_HYT00 : STATE_08001), 0,
                        "failed to return a packet");
        return -1;
    }
}

static int server_error(cass_conn *conn, cass_stmt *stmt, cass_packet *reply, const char *who)
{
    std::int32_t code = 0;
    const held_string message(cass_server_error(stmt, reply, &code));
    if (message == nullptr)
        return cass_post_no_memory(&conn->head, log_source, who);
    CASS_LOG(&conn->head, LOG_ERROR, "%s: error code %d, '%S'", who, code, message.get());
    const cass_state_row row =
        logon_state(conn, code == CQL_BAD_CREDENTIALS ? STATE_28000 : STATE_08004);
    if (row == STATE_HY000)
        cass_post_error(&conn->head, row, 0, "error code %d, '%S'", code, message.get());
    else
        cass_post_error(&conn->head, row, code, "%S", message.get());
    return -1;
}

static int unexpected_reply(cass_conn *conn, const cass_packet *reply)
{
    const int opcode = pkt_opcode(reply);
    CASS_LOG(&conn->head, LOG_ERROR, "cass_establish_connection: unexpected packet type %d\n",
             opcode);
    cass_post_error(&conn->head, STATE_HY000, 0, "unexpected packet type %d\n", opcode);
    return -1;
}

// Written only when it changes: other threads may read it while a connection is made whole.
static void keep_cql_version(cass_conn *conn, const cass_string *value)
{
    const std::int32_t room = static_cast<std::int32_t>(sizeof conn->cql_version) - 1;
    const std::int32_t length = std::min(cass_string_length(value), room);
    char version[sizeof conn->cql_version] = "";
    for (std::int32_t i = 0; i < length; i++)
        version[i] = static_cast<char>(value->text[i]);
    if (std::memcmp(conn->cql_version, version, static_cast<std::size_t>(length) + 1) != 0)
        std::memcpy(conn->cql_version, version, sizeof version);
}

// SUPPORTED: a string multimap (native protocol v4, section 4.2.4). False when memory ran out.
static bool decode_supported(cass_conn *conn, cass_packet *packet)
{
    const std::int32_t keys = pkt_get_count(packet);
    CASS_LOG(&conn->head, LOG_DETAIL, "SUPPORTED: option list size %d", keys);
    for (std::int32_t i = 0; i < keys && pkt_remaining(packet) > 0; i++) {
        const held_string key(pkt_get_string(packet));
        if (key == nullptr)
            return false;
        const std::int32_t values = pkt_get_count(packet);
        CASS_LOG(&conn->head, LOG_DETAIL, "SUPPORTED: option '%S', %d values", key.get(), values);
        for (std::int32_t j = 0; j < values && pkt_remaining(packet) > 0; j++) {
            const held_string value(pkt_get_string(packet));
            if (value == nullptr)
                return false;
            CASS_LOG(&conn->head, LOG_DETAIL, "%S[ %d ]: '%S'", key.get(), j, value.get());
            if (cass_string_compare_cstr(key.get(), "COMPRESSION") == 0 &&
                cass_string_compare_cstr(value.get(), "lz4") == 0)
                conn->lz4_offered = 1;
            else if (cass_string_compare_cstr(key.get(), "CQL_VERSION") == 0)
                keep_cql_version(conn, value.get());
        }
    }
    return true;
}

// ---- Authentication ----------------------------------------------------------------------------

// [bytes] holding the SASL PLAIN token: NUL, user, NUL, password (RFC 4616 without an authorisation
// identity). False after posting.
static bool put_plain_token(cass_conn *conn, cass_packet *packet, const char *user,
                            const char *password)
{
    const std::size_t user_size = std::strlen(user);
    const std::size_t password_size = std::strlen(password);
    const std::size_t size = user_size + password_size + 2;
    if (size <= INT32_MAX / 2) {
        pkt_put_int(packet, static_cast<std::int32_t>(size));
        pkt_put_byte(packet, 0);
        pkt_put_bytes(packet, user, static_cast<std::int32_t>(user_size));
        pkt_put_byte(packet, 0);
        pkt_put_bytes(packet, password, static_cast<std::int32_t>(password_size));
        if (!packet->failed)
            return true;
    }
    CASS_LOG(&conn->head, LOG_ERROR, "cass_send_auth: SASL failed to allocate buffer");
    cass_post_error(&conn->head, STATE_HY000, 0, "SASL failed to allocate buffer");
    return false;
}

static bool one_authenticator_is_answered(const cass_conn *conn)
{
    return conn->conduct->one_authenticator_is_answered;
}

static int refuse_authenticator(cass_conn *conn, cass_state_row row, const char *text)
{
    CASS_LOG(&conn->head, LOG_ERROR, "authenticate: %s", text);
    cass_post_error(&conn->head, row, 0, "%s", text);
    return -1;
}

// The server's answer to the token. Null with a diagnostic.
static cass_packet *send_token(cass_conn *conn, cass_stmt *stmt, const char *user,
                               const char *password)
{
    const held_packet request(
        cass_new_packet(stmt, PROTOCOL_VERSION, 0, 0, OPCODE_AUTH_RESPONSE, &conn->head));
    if (request == nullptr)
        return nullptr;
    if (!put_plain_token(conn, request.get(), user != nullptr ? user : "",
                         password != nullptr ? password : ""))
        return nullptr;
    cass_exchange_failure failure;
    held_packet reply(cass_exchange(conn, request.get(), &failure));
    if (reply == nullptr) {
        no_reply(conn, failure, "authenticate");
        return nullptr;
    }
    if (pkt_opcode(reply.get()) == OPCODE_ERROR) {
        server_error(conn, stmt, reply.get(), "authenticate");
        return nullptr;
    }
    return reply.release();
}

// The challenge of authenticators that speak of the mechanism first and want the token behind it.
static bool asks_for_token(const cass_packet *reply)
{
    static constexpr std::string_view plain_start("\0\0\0\x0BPLAIN-START", 15);
    const auto *body = reinterpret_cast<const char *>(reply->body) + reply->read_pos;
    return std::string_view(body, static_cast<std::size_t>(pkt_remaining(reply))) == plain_start;
}

// Sends the SASL PLAIN token and reads the server's verdict. Texts are UTF-8; both null: the
// fallback pair. 0, or -1 with a diagnostic.
static int cass_send_auth(cass_conn *conn, const char *user, const char *password)
{
    CASS_LOG(&conn->head, LOG_DETAIL, "Sending Auth");
    if (user == nullptr && password == nullptr)
        user = password = FALLBACK_CREDENTIAL;
    const held_stmt stmt(new_carrier(conn, "cass_send_auth"));
    if (stmt == nullptr)
        return -1;
    held_packet reply(send_token(conn, stmt.get(), user, password));
    if (reply == nullptr)
        return -1;
    // One round of SASL: whatever else comes, AUTH_SUCCESS as a rule, ends it.
    if (one_authenticator_is_answered(conn))
        return 0;
    if (pkt_opcode(reply.get()) == OPCODE_AUTH_CHALLENGE && asks_for_token(reply.get())) {
        reply.reset(send_token(conn, stmt.get(), user, password));
        if (reply == nullptr)
            return -1;
    }
    switch (pkt_opcode(reply.get())) {
    case OPCODE_AUTH_SUCCESS:
        return 0;
    case OPCODE_AUTH_CHALLENGE:
        return refuse_authenticator(conn, STATE_08004,
                                    "the server asks for more than a user and a password");
    default:
        return unexpected_reply(conn, reply.get());
    }
}

static bool credentials_are_of_latin_1(const cass_conn *conn)
{
    return conn->conduct->credentials_are_of_latin_1;
}

// UTF-8. Null for null, and when memory ran out.
static char *credential_bytes(const cass_conn *conn, const cass_string *text)
{
    std::int32_t count;
    return credentials_are_of_latin_1(conn) ? cass_string_to_utf8(text)
                                            : cass_string_to_bytes(text, &count);
}

static bool a_login_is_invented(const cass_conn *conn)
{
    return conn->conduct->a_login_is_invented;
}

// Encodes the credentials that are set and hands them to whoever sends them.
static int send_credentials(cass_conn *conn, int (*send)(cass_conn *, const char *, const char *))
{
    if (cass_string_length(conn->settings.user) == 0 && !a_login_is_invented(conn))
        return refuse_authenticator(conn, STATE_28000,
                                    "the server asks for a user and a password: set UID and PWD, "
                                    "in a data source User and Password");
    const held_text user(credential_bytes(conn, conn->settings.user));
    const held_text password(credential_bytes(conn, conn->settings.password));
    if ((conn->settings.user != nullptr && user == nullptr) ||
        (conn->settings.password != nullptr && password == nullptr))
        return cass_post_no_memory(&conn->head, log_source, "send_credentials");
    return send(conn, user.get(), password.get());
}

// Answers an AUTHENTICATE body. 0, or -1 with a diagnostic.
static int authenticate(cass_conn *conn, const unsigned char *body, std::int32_t length)
{
    CASS_LOG(&conn->head, LOG_DETAIL, "authenticate: len=%d, pkt=%p", length,
             static_cast<const void *>(body));
    if (length > 0)
        CASS_LOG_PACKET(&conn->head, body, length, "AUTHENTICATE Payload");
    if (length < 2)
        return refuse_authenticator(conn, STATE_HY000, "short SASL packet");
    if (one_authenticator_is_answered(conn)) {
        if (body[0] != 0)
            return refuse_authenticator(conn, STATE_HY000, "unexpected SASL packet prefix");
        if (length <= AUTHENTICATOR_SIZE ||
            std::memcmp(body + 1, PASSWORD_AUTHENTICATOR, AUTHENTICATOR_SIZE) != 0)
            return refuse_authenticator(conn, STATE_HY000, "unexpected SASL authenticator");
    }
    return send_credentials(conn, cass_send_auth);
}

// ---- The handshake -----------------------------------------------------------------------------

// OPTIONS, and what SUPPORTED tells. 0, or -1 with the failure posted.
static int ask_options(cass_conn *conn, cass_stmt *stmt)
{
    const held_packet request(
        cass_new_packet(stmt, PROTOCOL_VERSION, 0, 0, OPCODE_OPTIONS, &conn->head));
    if (request == nullptr)
        return -1;
    cass_exchange_failure failure;
    const held_packet reply(cass_exchange(conn, request.get(), &failure));
    if (reply == nullptr)
        return no_reply(conn, failure, "cass_establish_connection");
    switch (pkt_opcode(reply.get())) {
    case OPCODE_ERROR:
        return server_error(conn, stmt, reply.get(), "cass_establish_connection");
    case OPCODE_SUPPORTED:
        return decode_supported(conn, reply.get())
                   ? 0
                   : cass_post_no_memory(&conn->head, log_source, "cass_establish_connection");
    default:
        return unexpected_reply(conn, reply.get());
    }
}

static bool put_cstr(cass_packet *packet, const char *text)
{
    const held_string string(cass_string_from_cstr(text));
    return string != nullptr && pkt_put_string(packet, string.get()) == 0;
}

static const char *compression_name(std::int32_t mode)
{
    return mode == COMPRESSION_SNAPPY ? "snappy" : "lz4";
}

// The STARTUP body, a string map. A server that offers lz4 gets lz4: no setting refuses it.
static bool put_startup_options(cass_packet *packet, std::int32_t mode)
{
    bool whole = pkt_put_short(packet, mode == COMPRESSION_NONE ? 1 : 2) > 0 &&
                 put_cstr(packet, "CQL_VERSION") && put_cstr(packet, CQL_VERSION);
    if (mode != COMPRESSION_NONE)
        whole =
            whole && put_cstr(packet, "COMPRESSION") && put_cstr(packet, compression_name(mode));
    return whole;
}

// The best that both sides know.
static std::int32_t choose_compression(const cass_conn *conn)
{
    if (conn->snappy_offered)
        return COMPRESSION_SNAPPY;
    return conn->lz4_offered ? COMPRESSION_LZ4 : COMPRESSION_NONE;
}

// STARTUP and what the server makes of it, authentication included.
static int start_session(cass_conn *conn, cass_stmt *stmt)
{
    const std::int32_t mode = choose_compression(conn);
    const held_packet request(
        cass_new_packet(stmt, PROTOCOL_VERSION, 0, 0, OPCODE_STARTUP, &conn->head));
    if (request == nullptr)
        return -1;
    if (!put_startup_options(request.get(), mode))
        return cass_post_no_memory(&conn->head, log_source, "cass_establish_connection");
    conn->compression = mode;  // from the reply on
    cass_exchange_failure failure;
    const held_packet reply(cass_exchange(conn, request.get(), &failure));
    if (reply == nullptr)
        return no_reply(conn, failure, "cass_establish_connection");
    switch (pkt_opcode(reply.get())) {
    case OPCODE_ERROR:
        return server_error(conn, stmt, reply.get(), "cass_establish_connection");
    case OPCODE_READY:
        CASS_LOG(&conn->head, LOG_DETAIL, "cass_establish_connection: server ready");
        return 0;
    case OPCODE_AUTHENTICATE:
        CASS_LOG(&conn->head, LOG_DETAIL, "cass_establish_connection: authentication requested");
        return authenticate(conn, reply->body + reply->read_pos, pkt_remaining(reply.get()));
    default:
        return unexpected_reply(conn, reply.get());
    }
}

// USE of the configured keyspace, or of the one that was in use; 0 without one.
static int cass_use_keyspace(cass_conn *conn)
{
    if (conn->mended_for == nullptr)
        return conn->settings.keyspace == nullptr
                   ? 0
                   : set_current_keyspace(conn, conn->settings.keyspace);
    cass_string *copy;
    if (!cass_copy_conn_text(conn, &conn->current_keyspace, &copy))
        return cass_post_no_memory(&conn->head, log_source, "cass_use_keyspace", QUERY_POSTED);
    const held_string in_use(copy);
    return cass_string_length(copy) == 0 ? 0 : set_current_keyspace(conn, copy);
}

// The handshake on the open socket, then USE. 0, 1 (USE failed) or a negative value.
static int cass_establish_connection(cass_conn *conn)
{
    // What an earlier attempt negotiated does not hold for this server.
    conn->lz4_offered = 0;
    conn->compression = COMPRESSION_NONE;
    conn_make_wakeable(conn);
    // "Optional" is as compulsory as "yes".
    if (conn->settings.encrypt != 0 && cass_ssl_start(conn) != 0)
        return -1;
    held_stmt stmt(new_carrier(conn, "cass_establish_connection"));
    if (stmt == nullptr)
        return -1;
    if (ask_options(conn, stmt.get()) != 0 || start_session(conn, stmt.get()) != 0)
        return -1;
    stmt.reset();
    // The record of a refused keyspace goes with the statement that carried the request. The caller
    // ends the session and reports success with information, without a record: Driver Managers take
    // such a connection as made, and its next request fails.
    const int used = cass_use_keyspace(conn);
    if (used == QUERY_POSTED)
        return -1;
    return used == 0 || used == 1 ? 0 : 1;
}

// ---- From settings to a session ----------------------------------------------------------------

static int no_server(cass_conn *conn)
{
    CASS_LOG(&conn->head, LOG_ERROR, "cass_single_connect: server not specified");
    cass_post_error(&conn->head, STATE_HY000, 0, "server not specified");
    return -1;
}

static bool only_sockets_are_walked(const cass_conn *conn)
{
    return conn->conduct->only_sockets_are_walked;
}

static int start_metadata(cass_conn *conn)
{
    const int code = cass_ssl_start(conn);
    return code != 0 ? code : send_credentials(conn, astra_comms);
}

// Asks the metadata service in a session of its own, always over TLS. 0, or a negative value.
static int ask_metadata_service(cass_conn *conn)
{
    if (conn->settings.server == nullptr)
        return no_server(conn);
    // TLS would ask for a node that an earlier attempt was told of.
    cass_free_contact_points(conn);
    int code;
    if (!only_sockets_are_walked(conn))
        code = cass_walk_servers(conn, conn->settings.metadata_port, start_metadata, 1);
    else if (cass_open_servers(conn, conn->settings.server, conn->settings.metadata_port) != 0)
        code = -1;
    else
        code = start_metadata(conn);
    cass_leave_socket(conn);
    return code;
}

// Over the first server that opens, or over the first that starts a session.
static int open_server(cass_conn *conn)
{
    if (conn->settings.astra && ask_metadata_service(conn) != 0)
        return -1;
    if (conn->settings.server == nullptr)
        return no_server(conn);
    if (!only_sockets_are_walked(conn))
        return cass_walk_servers(conn, conn->settings.port, cass_establish_connection, 0);
    if (cass_open_servers(conn, conn->settings.server, conn->settings.port) != 0)
        return -1;
    return cass_establish_connection(conn);
}

static bool a_login_is_timed_to_the_socket(const cass_conn *conn)
{
    return conn->conduct->a_login_is_timed_to_the_socket;
}

// The attribute wins over the setting.
void cass_limit_logon(cass_conn *conn)
{
    const std::int64_t seconds = conn->login_timeout;
    if (a_login_is_timed_to_the_socket(conn)) {
        if (seconds == 0 && conn->settings.logon_timeout != 0)
            conn->ms_timeout = conn->settings.logon_timeout;
        return;
    }
    const std::int64_t limit = seconds > 0 ? seconds * 1000 : conn->settings.logon_timeout;
    conn->logon_ends = limit > 0 ? cass_monotonic_ms() + limit : 0;
}

int cass_open_session(cass_conn *conn)
{
    const int code = open_server(conn);
    conn->logon_ends = 0;
    return code;
}

SQLRETURN cass_connect(cass_conn *conn, [[maybe_unused]] int flag)
{
    cass_choose_conduct(conn);
    cass_limit_logon(conn);
    if (conn->settings.bundle_path != nullptr && cass_read_bundle(conn) != 0)
        return SQL_ERROR;
    // A caller without a Driver Manager may have a session already.
    cass_logout(conn);
    // Another thread's request waits until the session stands: it would go out in clear before.
    const cass_lock_guard hold(&conn->exchange_lock);
    cass_set_conn_text(conn, &conn->host, nullptr);
    conn->connecting = 1;
    const int code = cass_open_session(conn);
    if (code != 0) {
        cass_logout(conn);
        return static_cast<SQLRETURN>(code);
    }
    conn->connecting = 0;
    conn->connected = 1;
    cass_session_begins(conn);
    return SQL_SUCCESS;
}
