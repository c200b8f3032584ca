// Session start as it stands on the wire: OPTIONS, STARTUP, the password authenticator, USE, and
// what an application is told when any of it goes wrong.
#include "tests/wire/wire_support.h"

static const std::string stock_class = "org.apache.cassandra.auth.PasswordAuthenticator";

static node_step options_step(node_frame reply)
{
    return {.opcode = NODE_OPTIONS, .body = "", .replies = {std::move(reply)}};
}

static node_step startup_step(node_frame reply, bool lz4 = false)
{
    return {.opcode = NODE_STARTUP, .body = startup_body(lz4), .replies = {std::move(reply)}};
}

static node_step auth_step(node_frame reply, const bytes &user = "u", const bytes &password = "p")
{
    return {.opcode = NODE_AUTH_RESPONSE,
            .body = auth_body(user, password),
            .replies = {std::move(reply)}};
}

static node_frame authenticate_body(const bytes &body)
{
    return {.opcode = NODE_AUTHENTICATE, .body = body};
}

TEST(logon, startup_asks_for_lz4_exactly_when_it_is_offered)
{
    const struct {
        const char *what;
        std::vector<std::pair<bytes, std::vector<bytes>>> supported;
        bool lz4;
    } cases[] = {
        {"nothing supported", {}, false},
        {"no compression key", {{"CQL_VERSION", {"3.4.7"}}}, false},
        {"among others", {{"CQL_VERSION", {"3.4.7"}}, {"COMPRESSION", {"snappy", "lz4"}}}, true},
        {"snappy alone", {{"COMPRESSION", {"snappy"}}}, false},
        {"no values", {{"COMPRESSION", {}}}, false},
        {"key in lower case", {{"compression", {"lz4"}}}, true},
        {"a value under another key", {{"PROTOCOL_VERSIONS", {"lz4"}}}, false},
        {"a longer value", {{"COMPRESSION", {"lz4x"}}}, false},
    };
    const wire_ptr wire = wire_open();
    for (const auto &c : cases) {
        SCOPED_TRACE(c.what);
        node_expect(wire->node.get(), options_step(supported_frame(c.supported)));
        node_expect(wire->node.get(), startup_step(ready_frame(), c.lz4));
        EXPECT_CONN(SQL_SUCCESS, wire->conn, wire_connect(wire.get()));
        SQLDisconnect(wire->conn);
    }
}

TEST(logon, password_is_sent_as_one_plain_token)
{
    const struct {
        const char *settings;
        const char *user, *password;
    } cases[] = {
        {"UID=cassandra;PWD=secret", "cassandra", "secret"},
        {"", "guestuser", "guestuser"},
        {"UID=alone", "alone", ""},
        {"PWD=alone", "", "alone"},
        {"UID=;PWD=", "", ""},
        {"UID=u;PWD={a;b=c}", "u", "{a;b=c}"},
        {"UID=J\xF6rg;PWD=\xA3", "J\xC3\xB6rg", "\xC2\xA3"},
    };
    for (const bool lz4 : {false, true}) {
        const wire_ptr wire = wire_open();
        for (const auto &c : cases) {
            SCOPED_TRACE(c.settings);
            node_expect(wire->node.get(), options_step(stock_supported(lz4)));
            node_expect(wire->node.get(), startup_step(authenticate_frame(), lz4));
            node_expect(wire->node.get(), auth_step(auth_success_frame(), c.user, c.password));
            EXPECT_CONN(SQL_SUCCESS, wire->conn, wire_connect(wire.get(), c.settings));
            SQLDisconnect(wire->conn);
        }
    }
}

TEST(logon, any_frame_but_error_ends_the_password_exchange)
{
    const wire_ptr wire = wire_open();
    for (const int opcode : {NODE_AUTH_SUCCESS, NODE_AUTH_CHALLENGE, NODE_READY}) {
        node_expect(wire->node.get(), options_step(stock_supported(false)));
        node_expect(wire->node.get(), startup_step(authenticate_frame()));
        node_expect(wire->node.get(), auth_step({.opcode = opcode, .body = wire_bytes("more")}));
        EXPECT_CONN(SQL_SUCCESS, wire->conn, wire_connect(wire.get(), "UID=u;PWD=p"));
        SQLDisconnect(wire->conn);
    }
}

// Each failure closes the session and leaves the handle ready for the next attempt.
TEST(logon, failures_are_told_and_leave_the_handle_usable)
{
    const record_list gone = {"HY000 General error: failed to return a packet",
                              "08S01 Communication link failure: read failed (peer shutdown)"};
    const record_list short_body = {"HY000 General error: short SASL packet"};
    const record_list other_class = {"HY000 General error: unexpected SASL authenticator"};
    const node_step options = options_step(stock_supported(false));
    const node_step startup = startup_step(authenticate_frame());
    const struct {
        const char *what;
        std::vector<node_step> steps;
        record_list records;
    } cases[] = {
        {"error to OPTIONS",
         {options_step(error_frame(10, "Invalid or unsupported protocol version"))},
         {"HY000 General error: error code 10, 'Invalid or unsupported protocol version'"}},
        {"error with warnings to OPTIONS",
         {options_step(with_warnings(error_frame(0x1001, "overloaded"), {"hot", "very hot"}))},
         {"HY000 General error: error code 4097, 'overloaded'"}},
        {"READY to OPTIONS",
         {options_step(ready_frame())},
         {"HY000 General error: unexpected packet type 2\n"}},
        {"closed after OPTIONS", {options_step(no_answer())}, gone},
        {"error to STARTUP",
         {options, startup_step(error_frame(0, "no"))},
         {"HY000 General error: error code 0, 'no'"}},
        {"RESULT to STARTUP",
         {options, startup_step(void_frame())},
         {"HY000 General error: unexpected packet type 8\n"}},
        {"closed after STARTUP", {options, startup_step(no_answer())}, gone},
        {"wrong password",
         {options, startup, auth_step(error_frame(0x100, "are incorrect"))},
         {"HY000 General error: error code 256, 'are incorrect'"}},
        {"closed after the password", {options, startup, auth_step(no_answer())}, gone},
        {"empty AUTHENTICATE", {options, startup_step(authenticate_body(""))}, short_body},
        {"one byte", {options, startup_step(authenticate_body(be8(0)))}, short_body},
        {"long class name",
         {options, startup_step(authenticate_body(wire_string(pattern(300))))},
         {"HY000 General error: unexpected SASL packet prefix"}},
        {"other class of the same length",
         {options, startup_step(authenticate_frame(pattern(47)))},
         other_class},
        {"package left out",
         {options, startup_step(authenticate_frame("PasswordAuthenticator"))},
         other_class},
        {"class name cut short",
         {options, startup_step(authenticate_body(be16(47) + stock_class.substr(0, 46)))},
         other_class},
        {"another case of letters",
         {options,
          startup_step(authenticate_frame("org.apache.cassandra.auth.passwordAuthenticator"))},
         other_class},
    };
    const wire_ptr wire = wire_open();
    for (const auto &c : cases) {
        SCOPED_TRACE(c.what);
        for (const node_step &step : c.steps)
            node_expect(wire->node.get(), step);
        EXPECT_CONN(SQL_ERROR, wire->conn, wire_connect(wire.get(), "UID=u;PWD=p"));
        EXPECT_EQ(conn_records(wire->conn), c.records);
    }
    expect_logon(wire->node.get());
    EXPECT_CONN(SQL_SUCCESS, wire->conn, wire_connect(wire.get()));
}

TEST(logon, keyspace_is_selected_in_double_quotes)
{
    for (const bool lz4 : {false, true}) {
        const wire_ptr wire = wire_logged_on({.lz4 = lz4, .keyspace = "MixedCase"});
        expect_query(wire->node.get(), "select 1", {void_frame()});
        EXPECT_STMT(SQL_SUCCESS, wire->stmt, exec(wire->stmt, "select 1"));
    }
}

// A refused keyspace is reported as a connection with information, without a record and without a
// session behind it.
TEST(logon, refused_keyspace_leaves_no_session)
{
    const wire_ptr wire = wire_open();
    expect_logon(wire->node.get());
    node_expect(wire->node.get(), {.opcode = NODE_QUERY,
                                   .body = use_body("nowhere"),
                                   .replies = {error_frame(0x2200, "Keyspace does not exist")}});
    EXPECT_CONN(SQL_SUCCESS_WITH_INFO, wire->conn, wire_connect(wire.get(), "KEYSPACE=nowhere"));
    EXPECT_EQ(conn_records(wire->conn), record_list());

    wire->stmt = wire_new_stmt(wire.get());
    EXPECT_STMT(SQL_ERROR, wire->stmt, exec(wire->stmt, "select 1"));
    EXPECT_EQ(stmt_records(wire->stmt),
              record_list{"08S01 Communication link failure: failed to send packet"});
}

// Steps before a reply, that reply cut at each of its bytes, and the connection ended there.
TEST(logon, each_reply_may_break_off_anywhere)
{
    const struct {
        const char *what;
        std::vector<node_step> before;
        node_step last;
        bool lz4;
    } cases[] = {
        {"SUPPORTED", {}, options_step(stock_supported(true)), false},
        {"READY", {options_step(stock_supported(false))}, startup_step(ready_frame()), false},
        {"AUTHENTICATE",
         {options_step(stock_supported(true))},
         startup_step(authenticate_frame(), true),
         true},
        {"AUTH_SUCCESS",
         {options_step(stock_supported(false)), startup_step(authenticate_frame())},
         auth_step(auth_success_frame()),
         false},
    };
    const wire_ptr wire = wire_open();
    for (const auto &c : cases) {
        const node_frame whole = c.last.replies.front();
        const std::size_t length = frame_on_wire(whole, c.lz4, 0).size();
        for (std::size_t cut = 0; cut < length; cut++) {
            SCOPED_TRACE(std::string(c.what) + " cut at " + std::to_string(cut));
            for (const node_step &step : c.before)
                node_expect(wire->node.get(), step);
            node_step last = c.last;
            last.replies = {cut_off(whole, cut, cut % 2 == 0 ? CLOSE : RESET)};
            node_expect(wire->node.get(), last);
            EXPECT_CONN(SQL_ERROR, wire->conn, wire_connect(wire.get(), "UID=u;PWD=p"));
            const record_list records = conn_records(wire->conn);
            ASSERT_EQ(records.size(), 2u);
            EXPECT_EQ(records[0], "HY000 General error: failed to return a packet");
            EXPECT_TRUE(records[1].starts_with("08S01 Communication link failure: read failed "));
        }
    }
}

// Bodies that end early although the frame is whole, and counts that promise more than there is.
TEST(logon, short_bodies_do_no_harm)
{
    const wire_ptr wire = wire_open();
    node_answer_rest(wire->node.get(),
                     [](const node_request &) { return std::vector<node_frame>{ready_frame()}; });
    const bytes supported = stock_supported(true).body;
    for (std::size_t length = 0; length < supported.size(); length++) {
        SCOPED_TRACE(length);
        node_expect(wire->node.get(),
                    options_step({.opcode = NODE_SUPPORTED, .body = supported.substr(0, length)}));
        node_expect(wire->node.get(), {.opcode = NODE_STARTUP, .replies = {ready_frame()}});
        EXPECT_CONN(SQL_SUCCESS, wire->conn, wire_connect(wire.get()));
        SQLDisconnect(wire->conn);
    }
    const bytes counts[] = {be16(0x7FFF), be16(0xFFFF), be16(1) + be16(0xFFFF),
                            be16(1) + wire_string("COMPRESSION") + be16(0x7FFF),
                            be16(1) + wire_string("CQL_VERSION") + be16(0x8000)};
    for (const bytes &body : counts) {
        SCOPED_TRACE(to_hex(body));
        node_expect(wire->node.get(), options_step({.opcode = NODE_SUPPORTED, .body = body}));
        node_expect(wire->node.get(), startup_step(ready_frame()));
        EXPECT_CONN(SQL_SUCCESS, wire->conn, wire_connect(wire.get()));
        SQLDisconnect(wire->conn);
    }
}
