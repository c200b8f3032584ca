// Requests that end before their replies come, and connections that break, with Standard=Yes.
#include <chrono>
#include <thread>

#include "tests/wire/wire_support.h"

static node_frame of_stream(node_frame frame, int stream)
{
    frame.stream = stream;
    return frame;
}

static std::string sole_state(SQLHSTMT stmt)
{
    const record_list records = stmt_records(stmt);
    return records.size() == 1 ? records[0].substr(0, 5) : std::to_string(records.size());
}

// Runs a query whose reply is `frames`, as long as they do not answer it: the state that it ends
// with.
static std::string run_unanswered(const wire_ptr &wire, std::vector<node_frame> frames)
{
    expect_query(wire->node, "unanswered", std::move(frames));
    EXPECT_EQ(exec(wire->stmt, "unanswered"), SQL_ERROR);
    return sole_state(wire->stmt);
}

static void expect_answered(const wire_ptr &wire, std::vector<node_frame> frames)
{
    frames.push_back(text_page({"mine"}));
    expect_query(wire->node, "q", std::move(frames));
    EXPECT_STMT(SQL_SUCCESS, wire->stmt, exec(wire->stmt, "q"));
    EXPECT_EQ(fetch_all(wire->stmt), row_list{"mine"});
    SQLFreeStmt(wire->stmt, SQL_CLOSE);
}

// Nothing, a part of the header or a part of the body has come when the time is up; the rest comes
// in front of the next reply, in clear and compressed.
TEST(late, replies_are_dropped)
{
    for (const bool lz4 : {false, true}) {
        const wire_ptr wire =
            wire_logged_on({.lz4 = lz4}, "Standard=Yes;PageSize=100;ReadTimeout=300;Reconnect=No");
        int stream = 0;
        for (const std::size_t came : {0, 1, 8, 9, 30}) {
            SCOPED_TRACE(came);
            node_frame reply = of_stream(text_page({"late"}), stream);
            reply.cut = came;
            EXPECT_EQ(run_unanswered(wire, {reply}), "HYT00");
            node_expect_stream(wire->node, ++stream);
            reply.cut.reset();
            reply.skip = came;
            expect_answered(wire, {reply});
        }
        // Two that come in another order, and one that nobody waits for.
        EXPECT_EQ(run_unanswered(wire, {}), "HYT00");
        node_expect_stream(wire->node, stream + 1);
        EXPECT_EQ(run_unanswered(wire, {}), "HYT00");
        node_expect_stream(wire->node, stream + 2);
        expect_answered(wire, {of_stream(text_page({"late"}), stream + 1),
                               of_stream(error_frame(0x1200, "late"), stream)});
        EXPECT_EQ(run_unanswered(wire, {of_stream(void_frame(), stream)}), "08S01");
        EXPECT_STMT(SQL_ERROR, wire->stmt, exec(wire->stmt, "q"));
        EXPECT_EQ(sole_state(wire->stmt), "08003");
    }
}

TEST(late, time_outs_of_the_attributes)
{
    const wire_ptr wire = wire_logged_on({}, "Standard=Yes;PageSize=100");
    SQLSetStmtAttr(wire->stmt, SQL_ATTR_QUERY_TIMEOUT, reinterpret_cast<SQLPOINTER>(1), 0);
    EXPECT_EQ(run_unanswered(wire, {}), "HYT00");
    node_expect_stream(wire->node, 1);
    SQLSetConnectAttr(wire->conn, SQL_ATTR_CONNECTION_TIMEOUT, reinterpret_cast<SQLPOINTER>(1), 0);
    SQLSetStmtAttr(wire->stmt, SQL_ATTR_QUERY_TIMEOUT, reinterpret_cast<SQLPOINTER>(9), 0);
    EXPECT_EQ(run_unanswered(wire, {}), "HYT01");
    node_expect_stream(wire->node, 2);
    expect_answered(wire, {});
}

// Ends what another thread waits for: a direct execution, the rest of an array, a next page.
TEST(late, cancelled_requests)
{
    const wire_ptr wire = wire_logged_on({}, "Standard=Yes;PageSize=100");
    const auto cancel_in = [&wire](int milliseconds) {
        return std::jthread([&wire, milliseconds] {
            std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
            EXPECT_EQ(SQLCancel(wire->stmt), SQL_SUCCESS);
        });
    };
    EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLCancel(wire->stmt));
    {
        const std::jthread other = cancel_in(100);
        EXPECT_EQ(run_unanswered(wire, {}), "HY008");
    }
    node_expect_stream(wire->node, 1);
    expect_answered(wire, {});

    SQLSetStmtAttr(wire->stmt, SQL_ATTR_PARAMSET_SIZE, reinterpret_cast<SQLPOINTER>(3), 0);
    SQLINTEGER values[] = {1, 2, 3};
    SQLBindParameter(wire->stmt, 1, SQL_PARAM_INPUT, SQL_C_SLONG, SQL_INTEGER, 0, 0, values, 0,
                     nullptr);
    expect_prepare(wire->node, "i ?", {prepared_frame("ID", {{"a", type_of(NODE_INT)}}, {})});
    node_expect(wire->node, {NODE_EXECUTE,
                             wire_short_bytes("ID") + be16(CONSISTENCY_ONE) + be8(5) + be16(1) +
                                 wire_bytes(be32(1)) + be32(100),
                             {}});
    {
        const std::jthread other = cancel_in(100);
        EXPECT_EQ(exec(wire->stmt, "i ?"), SQL_ERROR);
    }
    for (const std::string &record : stmt_records(wire->stmt))
        EXPECT_TRUE(record.starts_with("HY008")) << record;
    SQLSetStmtAttr(wire->stmt, SQL_ATTR_PARAMSET_SIZE, reinterpret_cast<SQLPOINTER>(1), 0);
    node_expect_stream(wire->node, 2);

    expect_query(wire->node, "pages", {text_page({"1"}, "state")});
    EXPECT_STMT(SQL_SUCCESS, wire->stmt, exec(wire->stmt, "pages"));
    EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLFetch(wire->stmt));
    expect_next_query(wire->node, "pages", "state", {});
    {
        const std::jthread other = cancel_in(100);
        EXPECT_EQ(SQLFetch(wire->stmt), SQL_ERROR);
    }
    EXPECT_EQ(sole_state(wire->stmt), "HY008");
    node_expect_stream(wire->node, 3);
    SQLFreeStmt(wire->stmt, SQL_CLOSE);
    expect_answered(wire, {});
}

// A page that does not come for now is asked for by the next fetch; one that is refused ends the
// result.
TEST(late, pages_are_asked_for_again)
{
    const struct {
        const char *state;
        std::vector<node_frame> replies;
        std::string outcome;
    } cases[] = {{"1", {error_frame(0x1200, "late")}, "HYT00"},
                 {"1", {error_frame(0x1001, "hot")}, "HY000"},
                 {"1", {text_page({"2"}, "2")}, "2"},
                 {"2", {}, "HYT00"},
                 {"2", {error_frame(0x000A, "no such state")}, "HY000"}};
    const wire_ptr wire = wire_logged_on({}, "Standard=Yes;PageSize=100;ReadTimeout=300");
    expect_query(wire->node, "pages", {text_page({"1"}, "1")});
    EXPECT_STMT(SQL_SUCCESS, wire->stmt, exec(wire->stmt, "pages"));
    EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLFetch(wire->stmt));
    for (const auto &c : cases) {
        expect_next_query(wire->node, "pages", c.state, c.replies);
        const SQLRETURN code = SQLFetch(wire->stmt);
        EXPECT_EQ(code == SQL_SUCCESS ? row_text(wire->stmt) : sole_state(wire->stmt), c.outcome);
        if (c.replies.empty())
            node_expect_stream(wire->node, 1);
    }
    EXPECT_EQ(SQLFetch(wire->stmt), SQL_NO_DATA);
}

static SQLUINTEGER is_dead(SQLHDBC conn)
{
    SQLUINTEGER dead = 99;
    EXPECT_CONN(SQL_SUCCESS, conn,
                SQLGetConnectAttr(conn, SQL_ATTR_CONNECTION_DEAD, &dead, 0, nullptr));
    return dead;
}

// By default only SQLDisconnect ends a connection.
TEST(late, broken_connections_say_so)
{
    for (const bool standard : {false, true}) {
        const wire_ptr wire = wire_logged_on({}, standard ? "Standard=Yes" : "");
        EXPECT_EQ(is_dead(wire->conn), SQL_CD_FALSE);
        node_answer_rest(wire->node, [](const node_request &) { return std::vector{no_answer()}; });
        EXPECT_STMT(SQL_ERROR, wire->stmt, exec(wire->stmt, "q"));
        EXPECT_EQ(sole_state(wire->stmt), "08S01");
        EXPECT_EQ(is_dead(wire->conn), standard ? SQL_CD_TRUE : SQL_CD_FALSE);
        EXPECT_STMT(SQL_ERROR, wire->stmt, exec(wire->stmt, "q"));
        EXPECT_EQ(sole_state(wire->stmt), standard ? "08003" : "08S01");
        // It can be made anew.
        SQLFreeHandle(SQL_HANDLE_STMT, wire->stmt);
        EXPECT_CONN(SQL_SUCCESS, wire->conn, SQLDisconnect(wire->conn));
        expect_logon(wire->node);
        EXPECT_CONN(SQL_SUCCESS, wire->conn, wire_connect(wire, "Standard=Yes;PageSize=100"));
        wire->stmt = wire_new_stmt(wire);
        expect_answered(wire, {});
        EXPECT_EQ(is_dead(wire->conn), SQL_CD_FALSE);
    }
    // A server that has gone while nothing was asked, with bytes in front of its end.
    const wire_ptr wire = wire_logged_on({}, "Standard=Yes;PageSize=100");
    node_frame last = text_page({"mine"});
    node_frame event = {.opcode = NODE_EVENT, .ending = CLOSE};
    expect_query(wire->node, "q", {last, event});
    EXPECT_STMT(SQL_SUCCESS, wire->stmt, exec(wire->stmt, "q"));
    for (int wait = 0; wait < 200 && is_dead(wire->conn) == SQL_CD_FALSE; wait++)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    EXPECT_EQ(is_dead(wire->conn), SQL_CD_TRUE);
}
