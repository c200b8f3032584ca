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
    const node_step token = {
        NODE_AUTH_RESPONSE, wire_long_string(zero + user + zero + password), {}};
    node_step steps[] = {
        {NODE_OPTIONS, "", {}}, {NODE_STARTUP, startup_body(lz4), {}}, token, token};
    for (std::size_t i = 0; i < replies.size(); i++) {
        steps[i].replies = {replies[i]};
        node_expect(wire->node, steps[i]);
    }
    EXPECT_CONN(wanted, wire->conn, wire_connect(wire, settings));
    if (wanted != SQL_ERROR) {
        EXPECT_CONN(SQL_SUCCESS, wire->conn, SQLDisconnect(wire->conn));
    }
}

// Whatever answers the token, if only it is no ERROR, ends the exchange.
TEST(logon, password_is_sent_as_one_plain_token)
{
    const node_frame good = auth_success_frame();
    const node_frame more = {.opcode = NODE_AUTH_CHALLENGE, .body = wire_bytes("more")};
    const std::tuple<const char *, const char *, const char *, node_frame> cases[] = {
        {"", "guestuser", "guestuser", good},
        {"UID=alone", "alone", "", ready_frame()},
        {"PWD=alone", "", "alone", more},
        {"UID=u;PWD={a;b=c}", "u", "{a;b=c}", good},
        {"UID=J\xF6rg;PWD=\xA3", "J\xC3\xB6rg", "\xC2\xA3", good},
        {"Standard=Yes;UID=J\xC3\xB6rg;PWD=p", "J\xC3\xB6rg", "p", good},
    };
    const wire_ptr wire = wire_open();
    // Whether lz4 is offered, in any case.
    for (const auto &[key, name, offered] :
         {std::tuple("COMPRESSION", "lz4x", false), {"compression", "LZ4", true}})
        attempt(wire, SQL_SUCCESS, "", {supported_frame({{key, {name}}}), ready_frame()}, offered);
    for (bool lz4 = false; const auto &[settings, user, password, answer] : cases) {
        SCOPED_TRACE(settings);
        attempt(wire, SQL_SUCCESS, settings, {stock_supported(lz4), authenticate_frame(), answer},
                lz4, user, password);
        lz4 = !lz4;
    }
}

// Each failure closes the session and leaves the handle ready for the next attempt. Standard=Yes
// tells them apart, and answers any class of authenticator.
TEST(logon, failures_are_told_and_leave_the_handle_usable)
{
    const wire_ptr wire = wire_open();
    const std::string general = general_error, server = node_address(wire->node) + ": ";
    const std::string rejected = "08004 Server rejected the connection: " + server;
    const record_list gone = {general + "failed to return a packet",
                              link_failure + "read failed (peer shutdown)"};
    const node_frame options = stock_supported(false), startup = authenticate_frame();
    const node_frame other = authenticate_frame("com.example.Other");
    const node_frame hot = with_warnings(error_frame(0x1001, "hot"), {"hot", "very hot"});
    const node_frame no = error_frame(0x100, "no");
    const auto authenticate = [](const bytes &body) {
        return node_frame{.opcode = NODE_AUTHENTICATE, .body = body};
    };
    const auto challenge = [](const char *text) {
        return node_frame{.opcode = NODE_AUTH_CHALLENGE, .body = wire_bytes(text)};
    };
    const std::string plain = "UID=u;PWD=p", standard = "Standard=Yes;UID=u;PWD=p";
    const std::tuple<std::string, std::vector<node_frame>, record_list> cases[] = {
        {plain, {hot}, {general + "error code 4097, 'hot'"}},
        {plain, {ready_frame()}, {general + "unexpected packet type 2\n"}},
        {plain, {cut_off(options, 30)}, gone},
        {plain, {options, no}, {general + "error code 256, 'no'"}},
        {plain, {options, startup, no}, {general + "error code 256, 'no'"}},
        {plain, {options, startup, cut_off(auth_success_frame(), 8)}, gone},
        {plain, {options, authenticate(be8(0))}, {general + "short SASL packet"}},
        {standard, {options, startup, no}, {"28000 Invalid authorization: no"}},
        {standard, {hot}, {rejected + "hot"}},
        {standard,
         {options, other, challenge("MD5")},
         {rejected + "the server asks for more than a user and a password"}},
        {standard, {options, other, auth_success_frame()}, {}},
        // One that asks for the mechanism's start before it takes the token.
        {standard, {options, other, challenge("PLAIN-START"), auth_success_frame()}, {}},
    };
    for (const auto &[settings, replies, records] : cases) {
        attempt(wire, records.empty() ? SQL_SUCCESS : SQL_ERROR, settings, replies);
        EXPECT_EQ(conn_records(wire->conn), records);
    }
    attempt(wire, SQL_ERROR, "Standard=Yes;PWD=p", {options, other});
    EXPECT_EQ(conn_records(wire->conn).at(0).substr(0, 5), "28000");
    attempt(wire, SQL_SUCCESS, "", {options, ready_frame()});
}

// A refused keyspace is reported as a connection with information, without a record and without a
// session behind it. Standard=Yes says so.
TEST(logon, keyspace_is_selected_in_double_quotes)
{
    const std::string what = "Keyspace 'MixedCase' does not exist";
    const std::tuple<node_frame, std::string, SQLRETURN, record_list> cases[] = {
        {set_keyspace_frame("MixedCase"), "", SQL_SUCCESS, {}},
        {error_frame(0x2200, what), "", SQL_SUCCESS_WITH_INFO, {}},
        {error_frame(0x2200, what),
         "Standard=Yes;",
         SQL_ERROR,
         {"3F000 Invalid schema name: " + what}}};
    for (const auto &[reply, more, code, records] : cases) {
        const wire_ptr wire = wire_open();
        expect_logon(wire->node);
        const bytes use = wire_long_string("USE \"MixedCase\";");
        node_expect(wire->node, {NODE_QUERY, use + be16(CONSISTENCY_ONE) + be8(0), {reply}});
        EXPECT_CONN(code, wire->conn, wire_connect(wire, more + "KEYSPACE=MixedCase"));
        EXPECT_EQ(conn_records(wire->conn), records);
        if (code == SQL_ERROR)
            continue;
        wire->stmt = wire_new_stmt(wire);
        if (code == SQL_SUCCESS)
            expect_query(wire->node, "q", {void_frame()});
        EXPECT_EQ(exec(wire->stmt, "q"), code == SQL_SUCCESS ? SQL_SUCCESS : SQL_ERROR);
        EXPECT_EQ(states_of(wire->stmt), code == SQL_SUCCESS ? "" : "08S01");
    }
}
