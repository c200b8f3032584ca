// Requests that end before their replies come, with Standard=Yes.
#include <chrono>
#include <thread>

#include "tests/wire/parameter_support.h"

static node_frame of_stream(node_frame frame, int stream)
{
    frame.stream = stream;
    return frame;
}

// Runs a query whose reply is `frames`, as long as they do not answer it: the state that it ends
// with.
static std::string run_unanswered(const wire_ptr &wire, std::vector<node_frame> frames)
{
    expect_query(wire->node, "unanswered", std::move(frames));
    EXPECT_EQ(exec(wire->stmt, "unanswered"), SQL_ERROR);
    return states_of(wire->stmt);
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
// in front of the next reply, in clear, compressed and encrypted.
TEST(late, replies_are_dropped)
{
    const std::string settings = "Standard=Yes;PageSize=100;ReadTimeout=200;Reconnect=No";
    for (const std::string kind : {"plain", "lz4", "tls"}) {
        const wire_ptr wire = kind == "tls" ? wire_by_tls(settings)
                                            : wire_logged_on({.lz4 = kind == "lz4"}, settings);
        int stream = 0;
        for (const std::size_t came : {0, 8, 9, 300}) {
            SCOPED_TRACE(kind + std::to_string(came));
            node_frame reply = of_stream(text_page({pattern(40'000)}), stream);
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
        EXPECT_EQ(states_of(wire->stmt), "08003");
    }
}

TEST(late, time_outs_of_the_attributes)
{
    const wire_ptr wire = wire_of(true);
    set_attribute(wire->stmt, SQL_ATTR_QUERY_TIMEOUT, 1);
    EXPECT_EQ(run_unanswered(wire, {}), "HYT00");
    node_expect_stream(wire->node, 1);
    SQLSetConnectAttr(wire->conn, SQL_ATTR_CONNECTION_TIMEOUT, odbc_number(1), 0);
    set_attribute(wire->stmt, SQL_ATTR_QUERY_TIMEOUT, 9);
    EXPECT_EQ(run_unanswered(wire, {}), "HYT01");
    node_expect_stream(wire->node, 2);
    expect_answered(wire, {});
}

// Ends what another thread waits for: a direct execution, the rest of an array, a next page.
TEST(late, cancelled_requests)
{
    for (const bool by_tls : {false, true}) {
        const wire_ptr wire = by_tls ? wire_by_tls("Standard=Yes;PageSize=100") : wire_of(true);
        int stream = 0;
        const auto cancelled = [&](const std::function<SQLRETURN()> &call) {
            const std::jthread other([&wire] {
                std::this_thread::sleep_for(std::chrono::milliseconds(100));
                EXPECT_EQ(SQLCancel(wire->stmt), SQL_SUCCESS);
            });
            EXPECT_EQ(call(), SQL_ERROR);
            EXPECT_TRUE(states_of(wire->stmt).starts_with("HY008")) << states_of(wire->stmt);
            node_expect_stream(wire->node, ++stream);
        };
        EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLCancel(wire->stmt));
        expect_query(wire->node, "unanswered", {});
        cancelled([&] { return exec(wire->stmt, "unanswered"); });
        expect_answered(wire, {});

        const auto sets = bind_sets(wire->stmt, "123");
        prepare_now(wire, INSERT_TWO);
        node_expect(wire->node, {NODE_EXECUTE,
                                 wire_short_bytes("ID") + be16(CONSISTENCY_ONE) + be8(5) +
                                     sets->values[0] + be32(100),
                                 {}});
        cancelled([&] { return SQLExecute(wire->stmt); });
        EXPECT_EQ(sets->status, std::vector<SQLUSMALLINT>(3, SQL_PARAM_ERROR));
        SQLFreeStmt(wire->stmt, SQL_RESET_PARAMS);

        run_query(wire, "pages", text_page({"1"}, "state"));
        EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLFetch(wire->stmt));
        expect_next_query(wire->node, "pages", "state", {});
        cancelled([&] { return SQLFetch(wire->stmt); });
        SQLFreeStmt(wire->stmt, SQL_CLOSE);
        expect_answered(wire, {});
    }
}
