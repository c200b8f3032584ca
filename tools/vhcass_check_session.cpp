// What a server speaks, the session that the driver makes of it, and a query.
#include <sql.h>
#include <sqlext.h>

#include <cstdlib>
#include <new>
#include <utility>

#include "core/handle/cass_handle.h"
#include "core/session/cass_logon.h"
#include "core/statement/cass_pkt_exchange.h"
#include "core/wire/cass_pkt.h"
#include "core/wire/cql_errors.h"
#include "tools/vhcass_check.h"

// ---- What the server speaks ---------------------------------------------------------------------

// The reply to a request whose body is a string map of one pair, or empty. Null with the step
// failed.
static held_packet ask(vhcass_check *check, cass_stmt *stmt, check_step *step, std::uint8_t opcode,
                       const char *key, const char *value)
{
    cass_conn *conn = check->conn;
    const held_packet request(cass_new_packet(stmt, PROTOCOL_VERSION, 0, 0, opcode, &conn->head));
    if (request != nullptr && key != nullptr) {
        const held_string key_text(cass_string_from_cstr(key));
        const held_string value_text(cass_string_from_cstr(value));
        pkt_put_short(request.get(), 1);
        pkt_put_string(request.get(), key_text.get());
        pkt_put_string(request.get(), value_text.get());
    }
    cass_exchange_failure failure = EXCHANGE_NO_MEMORY_TO_SEND;
    held_packet reply(request == nullptr ? nullptr : cass_exchange(conn, request.get(), &failure));
    std::int32_t code = 0;
    if (reply == nullptr) {
        step->text =
            failure == EXCHANGE_TIMED_OUT ? "the server keeps silent" : "the server gives no reply";
        check_take_records(conn, step);
        check_fail_here(check, step, ADVICE_NO_REPLY);
    } else if (pkt_opcode(reply.get()) == OPCODE_ERROR) {
        const held_string message(cass_server_error(stmt, reply.get(), &code));
        step->text = "the server refuses: " + check_text(message.get());
        check_fail_here(check, step, ADVICE_PROTOCOL);
        reply.reset();
    }
    return reply;
}

// SUPPORTED: a string multimap (native protocol v4, section 4.2.4).
static void add_supported(check_step *step, cass_packet *reply)
{
    const std::int32_t keys = pkt_get_count(reply);
    for (std::int32_t i = 0; i < keys && pkt_has_more(reply); i++) {
        std::string line = check_text(held_string(pkt_get_string(reply)).get()) + ":";
        const std::int32_t values = pkt_get_count(reply);
        for (std::int32_t j = 0; j < values && pkt_has_more(reply); j++)
            line += " " + check_text(held_string(pkt_get_string(reply)).get());
        step->details.push_back(line);
    }
}

void check_protocol(vhcass_check *check)
{
    check_step step = {.name = "protocol"};
    check->conn->compression = COMPRESSION_NONE;
    check->conn->attempt_ends = check_ends(check);
    const held_stmt stmt(cass_alloc_throwaway_stmt(check->conn));
    if (stmt == nullptr)
        throw std::bad_alloc();
    held_packet reply = ask(check, stmt.get(), &step, OPCODE_OPTIONS, nullptr, nullptr);
    if (reply != nullptr) {
        add_supported(&step, reply.get());
        reply = ask(check, stmt.get(), &step, OPCODE_STARTUP, "CQL_VERSION", "3.0.0");
    }
    if (reply != nullptr) {
        step.text = "version 4; the server asks for no password";
        if (pkt_opcode(reply.get()) == OPCODE_AUTHENTICATE) {
            check->authenticator = check_text(held_string(pkt_get_string(reply.get())).get());
            step.text = "version 4; the server asks for user and password";
            step.details.push_back("authenticator: " + check->authenticator);
        }
    }
    check_add(&check->report, step);
}

// ---- The driver's session -----------------------------------------------------------------------

static std::string session_text(const cass_conn *conn)
{
    return "it stands: CQL " + std::string(conn->cql_version) +
           (conn->compression == COMPRESSION_LZ4 ? ", lz4" : ", not compressed") +
           (conn->settings.ssl_active != 0 ? ", encrypted" : ", in clear");
}

static void add_refusal(vhcass_check *check, check_step step)
{
    const std::string state = check_take_records(check->conn, &step);
    // Without Standard all that the server refuses while a session starts has one state.
    const std::string code = "error code " + std::to_string(CQL_BAD_CREDENTIALS);
    const bool is_login =
        state == "28000" || (state == "HY000" && step.details[0].find(code) != std::string::npos);
    if (is_login) {
        step.name = "authentication";
        step.text = "the login is refused";
        check_fail(&step, CHECK_FAILED, ADVICE_CREDENTIALS);
    } else if (state == "3F000" || state == "42000") {
        step.name = "keyspace";
        step.text = "'" + check_text(check->conn->settings.keyspace) + "' cannot be used";
        check_fail(&step, CHECK_FAILED, ADVICE_KEYSPACE);
    } else {
        step.text = "the driver gets none";
        check_fail(&step, CHECK_FAILED, ADVICE_SESSION);
    }
    check_add(&check->report, step);
}

static void add_authentication(vhcass_check *check)
{
    const cass_settings &settings = check->conn->settings;
    check_step step = {.name = "authentication"};
    if (check->authenticator.empty() && settings.astra == 0)
        step.text = "none is asked for";
    else
        step.text = "as '" +
                    (settings.user == nullptr ? FALLBACK_CREDENTIAL : check_text(settings.user)) +
                    "'";
    check_add(&check->report, step);
}

// Of a refused keyspace the driver without Standard says so by its code alone.
static bool add_keyspace(vhcass_check *check, bool is_refused)
{
    const cass_string *keyspace = check->conn->settings.keyspace;
    check_step step = {.name = "keyspace"};
    step.text = keyspace == nullptr ? "none is set"
                                    : "'" + check_text(keyspace) +
                                          (is_refused ? "' cannot be used" : "' is in use");
    if (is_refused)
        check_fail(&step, CHECK_FAILED, ADVICE_KEYSPACE);
    check_add(&check->report, step);
    return !is_refused;
}

// ---- A query ------------------------------------------------------------------------------------

static constexpr char query[] = "SELECT release_version, cql_version, cluster_name, data_center, "
                                "rack, toUnixTimestamp(now()) FROM system.local";
enum query_column : SQLUSMALLINT {
    COLUMN_RELEASE,
    COLUMN_CQL,
    COLUMN_CLUSTER,
    COLUMN_CENTER,
    COLUMN_RACK,
    COLUMN_CLOCK,
    COLUMNS
};

constexpr std::int64_t CLOCK_TOLERANCE = 1000;  // milliseconds

// The one row of it. False when there is none.
static bool fetch_row(SQLHSTMT stmt, std::string *row)
{
    if (!SQL_SUCCEEDED(SQLFetch(stmt)))
        return false;
    for (SQLUSMALLINT column = 0; column < COLUMNS; column++) {
        char text[256] = "";
        SQLGetData(stmt, static_cast<SQLUSMALLINT>(column + 1), SQL_C_CHAR, text, sizeof text,
                   nullptr);
        row[column] = text;
    }
    return true;
}

static void add_statement_records(SQLHSTMT stmt, check_step *step)
{
    SQLCHAR state[6] = "";
    SQLCHAR text[1024] = "";
    for (SQLSMALLINT number = 1; SQL_SUCCEEDED(SQLGetDiagRec(SQL_HANDLE_STMT, stmt, number, state,
                                                             nullptr, text, sizeof text, nullptr));
         number++)
        step->details.push_back(std::string(reinterpret_cast<char *>(state)) + " " +
                                reinterpret_cast<char *>(text));
}

static std::int64_t local_clock()
{
    using namespace std::chrono;
    return duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
}

// The server read its clock between the two readings of this machine's.
static void check_clocks(vhcass_check *check, const std::string &server, std::int64_t before,
                         std::int64_t after)
{
    check_step step = {.name = "clock"};
    const std::int64_t error = (after - before + 1) / 2;
    const std::int64_t ahead = std::strtoll(server.c_str(), nullptr, 10) - (before + after) / 2;
    step.text = "the server's is " + std::to_string(std::abs(ahead)) + " ms " +
                (ahead < 0 ? "behind" : "ahead") + ", give or take " + std::to_string(error) +
                " ms";
    if (std::abs(ahead) > error + CLOCK_TOLERANCE)
        check_fail(&step, CHECK_WARNING, ADVICE_CLOCK);
    check_add(&check->report, step);
}

static void check_query(vhcass_check *check, SQLHSTMT stmt)
{
    check_step step = {.name = "query"};
    std::string row[COLUMNS];
    const std::int64_t before = local_clock();
    std::string text = query;
    const SQLRETURN code = SQLExecDirect(stmt, reinterpret_cast<SQLCHAR *>(text.data()), SQL_NTS);
    const std::int64_t after = local_clock();
    const bool good = SQL_SUCCEEDED(code) && fetch_row(stmt, row);
    if (good) {
        step.text = "Cassandra " + row[COLUMN_RELEASE] + ", CQL " + row[COLUMN_CQL] +
                    ", cluster '" + row[COLUMN_CLUSTER] + "', data centre " + row[COLUMN_CENTER] +
                    ", rack " + row[COLUMN_RACK];
    } else {
        step.text = "the server does not tell of itself";
        add_statement_records(stmt, &step);
        check_fail(&step, CHECK_FAILED, ADVICE_QUERY);
    }
    check_add(&check->report, step);
    if (good)
        check_clocks(check, row[COLUMN_CLOCK], before, after);
}

void check_session(vhcass_check *check)
{
    cass_conn *conn = check->conn;
    check_step step = {.name = "session"};
    conn->login_timeout = static_cast<std::uint32_t>(check->timeout);
    // Without Standard nothing else ends the wait for a server that keeps silent.
    conn->attempt_ends = check_ends(check);
    const SQLRETURN code = cass_connect(conn, 0);
    conn->attempt_ends = 0;
    if (!SQL_SUCCEEDED(code))
        return add_refusal(check, std::move(step));
    step.text = session_text(conn);
    check_add(&check->report, step);
    add_authentication(check);
    if (!add_keyspace(check, code == SQL_SUCCESS_WITH_INFO))
        return;
    if (conn->settings.read_timeout == 0)
        conn->settings.read_timeout = check->timeout * 1000;
    SQLHSTMT stmt = nullptr;
    if (!SQL_SUCCEEDED(SQLAllocHandle(SQL_HANDLE_STMT, conn, &stmt)))
        throw std::bad_alloc();
    check_query(check, stmt);
    SQLFreeHandle(SQL_HANDLE_STMT, stmt);
}
