// A session that has each kind of frame in it, and the same with one reply damaged: cut off at each
// byte, given a byte at a time, each byte changed, or behind a frame that nobody asked for. Each
// call gives what it gives in the whole session, or an error with a record.
#include <algorithm>

#include "tests/app_value.h"
#include "tests/wire/wire_support.h"

// By default, with Standard=Yes, and with that and compression.
enum variant { DEFAULT, STANDARD, LZ4 };

struct damage {
    std::size_t reply;  // its number
    node_change change = {0, 0};
    std::optional<std::size_t> cut = {};
    bool slow = false, behind_event = false;
};
constexpr std::size_t NO_REPLY = 1000;

static const node_columns mixed = {{"i", type_of(NODE_INT)},
                                   {"t", type_of(NODE_VARCHAR)},
                                   {"m", type_map(type_of(NODE_INT), type_of(NODE_VARCHAR))},
                                   {"d", type_of(NODE_DECIMAL)}};

static node_frame answer(const node_request &request, bool lz4, int *challenges)
{
    const auto has = [&](const char *word) { return request.body.find(word) != bytes::npos; };
    const bytes map = be32(1) + wire_bytes(be32(1)) + wire_bytes("x");
    switch (request.opcode) {
    case NODE_STARTUP:
        return authenticate_frame();
    case NODE_AUTH_RESPONSE:
        if ((*challenges)++ == 0)
            return {.opcode = NODE_AUTH_CHALLENGE, .body = wire_bytes("PLAIN-START")};
        return auth_success_frame();
    case NODE_PREPARE:
        return prepared_frame("id", {{"k", type_of(NODE_INT)}}, mixed);
    case NODE_QUERY:
    case NODE_EXECUTE:
        if (has("system_schema") || has("system_virtual"))
            return text_rows({{"ks", "t"}, {"ks", "u"}});
        if (has("create"))
            return {.opcode = NODE_RESULT,
                    .body = be32(5) + wire_string("CREATED") + wire_string("TABLE") +
                            wire_string("ks") + wire_string("t")};
        if (has("insert"))
            return with_warnings(void_frame(), {"slow"});
        if (has("use "))
            return set_keyspace_frame("ks");
        if (has("refused"))
            return error_frame(0x2400, "exists", wire_string("ks") + wire_string("t"));
        return rows_frame(mixed,
                          {{be32(1), "text one", map, be32(2) + from_hex("0096")},
                           {std::nullopt, "", std::nullopt, be32(0) + "\1"}},
                          {.paging_state = has("page2") ? "" : "page2"});
    default:
        return stock_answer(request, lz4);
    }
}

// The server's side, which may go on for a moment when the session is over.
struct served {
    std::size_t replies = 0;
    int challenges = 0;
    std::vector<std::size_t> lengths;
};

static std::vector<node_frame> damaged_answer(served *so_far, const node_request &request, bool lz4,
                                              const damage &harm)
{
    constexpr std::size_t header_size = 9;
    node_frame reply = answer(request, lz4, &so_far->challenges);
    so_far->lengths.push_back(frame_on_wire(reply, lz4, 0).size());
    reply.slowly = harm.slow;
    if (so_far->replies++ != harm.reply)
        return {reply};
    reply.cut = harm.cut;
    if (harm.change.mask != 0)
        reply.changed = harm.change;
    // Whoever waits for the rest of a length, or for the reply of another stream, is let go.
    if (harm.cut || (harm.change.mask != 0 && harm.change.at < header_size))
        reply.ending = so_far->replies % 2 == 0 ? CLOSE : RESET;
    if (!harm.behind_event)
        return {reply};
    const bytes event = wire_string("STATUS_CHANGE") + wire_string("UP") + wire_bytes("address");
    return {{.opcode = NODE_EVENT, .body = event, .stream = 0xFFFF}, reply};
}

// What each call of the session gives.
static row_list run(const wire_ptr &wire, variant given, const damage &harm,
                    std::vector<std::size_t> *lengths = nullptr)
{
    const auto so_far = std::make_shared<served>();
    so_far->challenges = given == DEFAULT ? 1 : 0;  // by default there may be none
    node_answer_rest(wire->node, [so_far, harm, given](const node_request &request) {
        return damaged_answer(so_far.get(), request, given == LZ4, harm);
    });
    row_list calls;
    SQLHSTMT stmt = nullptr;
    const auto tell = [&](SQLRETURN code) {
        const record_list records = stmt != nullptr ? stmt_records(stmt) : conn_records(wire->conn);
        calls.push_back(code_name(code) + " " + testing::PrintToString(records));
    };
    const auto tell_rows = [&](SQLRETURN code) {
        tell(code);
        // Of thousands of columns the first ones.
        for (int row = 0; SQL_SUCCEEDED(code) && row < 9; row++) {
            tell(code = SQLFetch(stmt));
            for (int i = 1; SQL_SUCCEEDED(code) && i <= std::min(column_count(stmt), 50); i++)
                calls.push_back(cell_text(stmt, i));
        }
        SQLFreeStmt(stmt, SQL_CLOSE);
    };
    tell(wire_connect(wire, std::string(given == DEFAULT ? "" : "Standard=Yes;Reconnect=No;") +
                                "UID=user;PWD=password"));
    if (!calls[0].starts_with("SQL_ERROR")) {
        stmt = wire_new_stmt(wire);
        for (const char *sql : {"use \"ks\"", "create", "insert", "refused"})
            tell(exec(stmt, sql));
        tell_rows(exec(stmt, "select paged"));
        SQLINTEGER key = 7;
        tell(bind(stmt, 1, SQL_C_SLONG, SQL_INTEGER, &key));
        tell(prepare(stmt, "select page2 where k = ?"));
        tell_rows(SQLExecute(stmt));
        tell_rows(SQLTables(stmt, nullptr, 0, odbc_text("ks"), 2, nullptr, 0, nullptr, 0));
        SQLFreeHandle(SQL_HANDLE_STMT, stmt);
    }
    SQLDisconnect(wire->conn);
    if (lengths != nullptr)
        *lengths = so_far->lengths;
    return calls;
}

// With a record of the class of connections. By default a catalog function may have it and succeed.
static bool has_failed(const std::string &call)
{
    return call.find("\"08") != std::string::npos || call.starts_with("<SQL_ERROR: 08");
}

using damaged = testing::TestWithParam<variant>;

TEST_P(damaged, reply_of_a_session)
{
    const wire_ptr wire = wire_open();
    node_expect_stream(wire->node, ANY_STREAM);
    std::vector<std::size_t> lengths;
    const row_list whole = run(wire, GetParam(), {NO_REPLY}, &lengths);
    ASSERT_GT(lengths.size(), 11u) << testing::PrintToString(whole);
    EXPECT_EQ(run(wire, GetParam(), {.reply = NO_REPLY, .slow = true}), whole);

    for (std::size_t reply = 0; reply < lengths.size(); reply++) {
        for (std::size_t at = 0; at < lengths[reply]; at++) {
            SCOPED_TRACE(std::to_string(reply) + ", byte " + std::to_string(at));
            const row_list cut = run(wire, GetParam(), {.reply = reply, .cut = at});
            const auto end = static_cast<std::ptrdiff_t>(std::min(cut.size(), whole.size()));
            const auto differs = std::mismatch(cut.begin(), cut.begin() + end, whole.begin()).first;
            ASSERT_NE(differs, cut.end());
            EXPECT_TRUE(has_failed(*differs)) << *differs;
            for (const int mask : {0x01, 0xFF})
                for (const std::string &call :
                     run(wire, GetParam(), {.reply = reply, .change = {at, mask}}))
                    EXPECT_NE(call, "SQL_ERROR {}");
        }
        // By default the session is then a reply behind.
        if (GetParam() == DEFAULT)
            continue;
        for (const std::string &call :
             run(wire, GetParam(), {.reply = reply, .behind_event = true}))
            EXPECT_TRUE(call.find("SQL_ERROR") < 2 || std::ranges::find(whole, call) != whole.end())
                << call;
    }
    EXPECT_EQ(run(wire, GetParam(), {NO_REPLY}), whole);
}

INSTANTIATE_TEST_SUITE_P(, damaged, testing::Values(DEFAULT, STANDARD, LZ4));
