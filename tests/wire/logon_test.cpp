// Session start as it stands on the wire: OPTIONS, STARTUP, the password authenticator, USE, and
// what an application is told when any of it goes wrong.
#include "tests/wire/wire_support.h"

// One attempt, after which the handle is ready for the next one. The replies are those to OPTIONS,
// STARTUP and AUTH_RESPONSE, as many as come.
static void attempt(const wire_ptr &wire, SQLRETURN wanted, const std::string &settings,
                    const std::vector<node_frame> &replies, bool lz4 = false,
                    const bytes &user = "u", const bytes &password = "p")
{
    const bytes zero(1, '\0');  // SASL PLAIN (RFC 4616)
    const std::pair<int, bytes> requests[] = {
        {NODE_OPTIONS, ""},
        {NODE_STARTUP, startup_body(lz4)},
        {NODE_AUTH_RESPONSE, wire_long_string(zero + user + zero + password)}};
    for (std::size_t i = 0; i < replies.size(); i++)
        node_expect(wire->node, {requests[i].first, requests[i].second, {replies[i]}});
    EXPECT_CONN(wanted, wire->conn, wire_connect(wire, settings));
    if (wanted != SQL_ERROR) {
        EXPECT_CONN(SQL_SUCCESS, wire->conn, SQLDisconnect(wire->conn));
    }
}

TEST(logon, startup_asks_for_lz4_exactly_when_it_is_offered)
{
    const struct {
        std::vector<std::pair<bytes, std::vector<bytes>>> supported;
        bool lz4;
    } cases[] = {
        {{}, false},
        {{{"CQL_VERSION", {"3.4.7"}}, {"COMPRESSION", {"snappy", "lz4"}}}, true},
        {{{"compression", {"lz4"}}}, true},
        {{{"PROTOCOL_VERSIONS", {"lz4"}}, {"COMPRESSION", {"snappy", "lz4x"}}}, false},
    };
    const wire_ptr wire = wire_open();
    for (const auto &[supported, lz4] : cases)
        attempt(wire, SQL_SUCCESS, "", {supported_frame(supported), ready_frame()}, lz4);
}

// Whatever answers the token, if only it is no ERROR, ends the exchange.
TEST(logon, password_is_sent_as_one_plain_token)
{
    const struct {
        const char *settings, *user, *password;
        node_frame answer;
    } cases[] = {
        {"UID=cassandra;PWD=secret", "cassandra", "secret", auth_success_frame()},
        {"", "guestuser", "guestuser", auth_success_frame()},
        {"UID=alone", "alone", "", ready_frame()},
        {"PWD=alone", "", "alone", {.opcode = NODE_AUTH_CHALLENGE, .body = wire_bytes("more")}},
        {"UID=u;PWD={a;b=c}", "u", "{a;b=c}", auth_success_frame()},
        {"UID=J\xF6rg;PWD=\xA3", "J\xC3\xB6rg", "\xC2\xA3", auth_success_frame()},
        {"Standard=Yes;UID=J\xC3\xB6rg;PWD=p", "J\xC3\xB6rg", "p", auth_success_frame()},
    };
    const wire_ptr wire = wire_open();
    for (bool lz4 = false; const auto &c : cases) {
        SCOPED_TRACE(c.settings);
        attempt(wire, SQL_SUCCESS, c.settings,
                {stock_supported(lz4), authenticate_frame(), c.answer}, lz4, c.user, c.password);
        lz4 = !lz4;
    }
}

// Each failure closes the session and leaves the handle ready for the next attempt.
TEST(logon, failures_are_told_and_leave_the_handle_usable)
{
    const record_list gone = {general_error + "failed to return a packet",
                              link_failure + "read failed (peer shutdown)"};
    const std::string stock = "org.apache.cassandra.auth.PasswordAuthenticator";
    const node_frame options = stock_supported(false);
    const node_frame startup = authenticate_frame();
    const auto authenticate = [](const bytes &body) {
        return node_frame{.opcode = NODE_AUTHENTICATE, .body = body};
    };
    const std::pair<std::vector<node_frame>, record_list> cases[] = {
        {{with_warnings(error_frame(0x1001, "overloaded"), {"hot", "very hot"})},
         {general_error + "error code 4097, 'overloaded'"}},
        {{ready_frame()}, {general_error + "unexpected packet type 2\n"}},
        {{cut_off(options, 30)}, gone},
        {{options, error_frame(0, "no")}, {general_error + "error code 0, 'no'"}},
        {{options, void_frame()}, {general_error + "unexpected packet type 8\n"}},
        {{options, no_answer()}, gone},
        {{options, startup, error_frame(0x100, "no")}, {general_error + "error code 256, 'no'"}},
        {{options, startup, cut_off(auth_success_frame(), 8)}, gone},
        {{options, authenticate(be8(0))}, {general_error + "short SASL packet"}},
        {{options, authenticate(wire_string(pattern(300)))},
         {general_error + "unexpected SASL packet prefix"}},
        {{options, authenticate(wire_string(pattern(47)))},
         {general_error + "unexpected SASL authenticator"}},
        {{options, authenticate(be16(47) + stock.substr(0, 46))},
         {general_error + "unexpected SASL authenticator"}},
    };
    const wire_ptr wire = wire_open();
    for (const auto &[replies, records] : cases) {
        attempt(wire, SQL_ERROR, "UID=u;PWD=p", replies);
        EXPECT_EQ(conn_records(wire->conn), records);
    }
    // Standard=Yes tells them apart, and answers any class of authenticator.
    const std::string server = node_address(wire->node) + ": ";
    const node_frame other = authenticate_frame("com.example.Other");
    const std::pair<std::vector<node_frame>, std::string> told[] = {
        {{options, startup, error_frame(0x100, "no")}, "28000 Invalid authorization: no"},
        {{error_frame(0x1001, "hot")}, "08004 Server rejected the connection: " + server + "hot"},
        {{cut_off(options, 30)},
         "08001 Client unable to establish connection: " + server +
             "read failed (peer shutdown), failed to return a packet"},
        {{options, other, {.opcode = NODE_AUTH_CHALLENGE, .body = wire_bytes("MD5")}},
         "08004 Server rejected the connection: " + server +
             "the server asks for more than a user and a password"},
    };
    for (const auto &[replies, record] : told) {
        attempt(wire, SQL_ERROR, "Standard=Yes;UID=u;PWD=p", replies);
        EXPECT_EQ(conn_records(wire->conn), record_list{record});
    }
    attempt(wire, SQL_ERROR, "Standard=Yes;PWD=p", {options, other});
    EXPECT_EQ(conn_records(wire->conn).at(0).substr(0, 5), "28000");
    attempt(wire, SQL_SUCCESS, "Standard=Yes;UID=u;PWD=p", {options, other, auth_success_frame()});
    // One that asks for the mechanism's start before it takes the token.
    const bytes token = wire_long_string(bytes("\0u\0p", 4));
    const node_frame challenge = {.opcode = NODE_AUTH_CHALLENGE, .body = wire_bytes("PLAIN-START")};
    for (const node_step &step : {node_step{NODE_OPTIONS, "", {options}},
                                  {NODE_STARTUP, startup_body(false), {other}},
                                  {NODE_AUTH_RESPONSE, token, {challenge}},
                                  {NODE_AUTH_RESPONSE, token, {auth_success_frame()}}})
        node_expect(wire->node, step);
    attempt(wire, SQL_SUCCESS, "Standard=Yes;UID=u;PWD=p", {});
    expect_logon(wire->node);
    attempt(wire, SQL_SUCCESS, "", {});
}

// A refused keyspace is reported as a connection with information, without a record and without a
// session behind it.
TEST(logon, keyspace_is_selected_in_double_quotes)
{
    for (const bool refused : {false, true}) {
        const wire_ptr wire = wire_open();
        expect_logon(wire->node, {.lz4 = !refused});
        node_expect(wire->node,
                    {NODE_QUERY,
                     wire_long_string("USE \"MixedCase\";") + be16(CONSISTENCY_ONE) + be8(0),
                     {refused ? error_frame(0x2200, "Keyspace does not exist")
                              : set_keyspace_frame("MixedCase")}});
        EXPECT_CONN(refused ? SQL_SUCCESS_WITH_INFO : SQL_SUCCESS, wire->conn,
                    wire_connect(wire, "KEYSPACE=MixedCase"));
        EXPECT_EQ(conn_records(wire->conn), record_list());
        wire->stmt = wire_new_stmt(wire);
        if (!refused)
            expect_query(wire->node, "q", {void_frame()});
        EXPECT_STMT(refused ? SQL_ERROR : SQL_SUCCESS, wire->stmt, exec(wire->stmt, "q"));
        EXPECT_EQ(stmt_records(wire->stmt),
                  refused ? record_list{link_failure + "failed to send packet"} : record_list());
    }
    // Standard=Yes says so.
    const wire_ptr wire = wire_open();
    expect_logon(wire->node);
    node_expect(wire->node, {NODE_QUERY,
                             wire_long_string("USE \"nope\";") + be16(CONSISTENCY_ONE) + be8(0),
                             {error_frame(0x2200, "Keyspace 'nope' does not exist")}});
    EXPECT_CONN(SQL_ERROR, wire->conn, wire_connect(wire, "Standard=Yes;KEYSPACE=nope"));
    EXPECT_EQ(conn_records(wire->conn),
              record_list{"3F000 Invalid schema name: Keyspace 'nope' does not exist"});
}

// Bodies that end early although the frame is whole, and counts that promise more than there is.
TEST(logon, short_bodies_do_no_harm)
{
    std::vector<bytes> bodies = {be16(0x7FFF), be16(0xFFFF), be16(1) + be16(0xFFFF),
                                 be16(1) + wire_string("COMPRESSION") + be16(0x7FFF),
                                 be16(1) + wire_string("CQL_VERSION") + be16(0x8000)};
    const bytes supported = stock_supported(true).body;
    for (std::size_t length = 0; length < supported.size(); length++)
        bodies.push_back(supported.substr(0, length));
    const wire_ptr wire = wire_open();
    for (const bytes &body : bodies) {
        SCOPED_TRACE(to_hex(body));
        attempt(wire, SQL_SUCCESS, "", {{.opcode = NODE_SUPPORTED, .body = body}, ready_frame()},
                body.find(wire_string("lz4")) != bytes::npos);
    }
}
