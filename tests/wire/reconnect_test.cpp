// Connections that are lost with Standard=Yes: what is sent again over another session, what is
// told, and when it is over. The server stays, and ends single connections.
#include <chrono>
#include <thread>

#include "tests/wire/wire_support.h"

static const node_frame farewell = {.opcode = NODE_EVENT, .stream = -1, .ending = CLOSE};

// Until the end of the connection has come.
static void await_end(const wire_ptr &wire)
{
    for (int wait = 0; wait < 500 && is_dead(wire->conn) == SQL_CD_FALSE; wait++)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    EXPECT_EQ(is_dead(wire->conn), SQL_CD_TRUE);
}

// A session that the server ends behind the reply to a statement.
static wire_ptr lost(wire_ptr wire)
{
    expect_query(wire->node, "last", {text_page({"x"}), farewell});
    EXPECT_STMT(SQL_SUCCESS, wire->stmt, exec(wire->stmt, "last"));
    SQLFreeStmt(wire->stmt, SQL_CLOSE);
    await_end(wire);
    return wire;
}

static void expect_use(scripted_node *node, const std::string &keyspace, const node_frame &reply)
{
    const bytes text = wire_long_string("USE \"" + keyspace + "\";");
    node_expect(node, {NODE_QUERY, text + be16(CONSISTENCY_ONE) + be8(0), {reply}});
}

static std::string code_and_state(SQLRETURN code, SQLHSTMT stmt)
{
    return code_and_record(code, stmt).substr(0, code == SQL_SUCCESS ? 11 : 16);
}

TEST(reconnect, requests_are_sent_once_or_again_when_they_only_read)
{
    const struct {
        const char *sql;
        bool idle;  // lost before the request, and not by it
        std::string outcome;
    } cases[] = {
        {"SELECT a FROM t", true, "SQL_SUCCESS"},
        {"INSERT INTO t", true, "SQL_SUCCESS"},
        {"SELECT a FROM t", false, "SQL_SUCCESS"},
        {"INSERT INTO t", false, "SQL_ERROR: 08S01"},
        {"BEGIN BATCH INSERT", false, "SQL_ERROR: 08S01"},
    };
    for (const bool by_tls : {false, true})
        for (const auto &c : cases) {
            SCOPED_TRACE(c.sql);
            wire_ptr wire = by_tls ? wire_by_tls("Standard=Yes;PageSize=100") : wire_of(true);
            if (c.idle)
                wire = lost(std::move(wire));
            else
                expect_query(wire->node, c.sql, {no_answer()});
            expect_logon(wire->node, {.lz4 = true});
            if (c.outcome == "SQL_SUCCESS")
                expect_query(wire->node, c.sql, {text_page({"x"})});
            EXPECT_EQ(code_and_state(exec(wire->stmt, c.sql), wire->stmt), c.outcome);
            EXPECT_EQ(is_dead(wire->conn), SQL_CD_FALSE);
            SQLFreeStmt(wire->stmt, SQL_CLOSE);
            run_query(wire, "INSERT more", void_frame());
        }
}

// One attempt, which fails at once, or when the keyspace that was in use has gone.
TEST(reconnect, a_failed_attempt_is_the_last)
{
    for (const bool idle : {true, false}) {
        const wire_ptr wire = idle ? lost(wire_of(true)) : wire_of(true);
        if (!idle)
            expect_query(wire->node, "SELECT 1 FROM t", {no_answer()});
        node_expect(wire->node, {NODE_OPTIONS, "", {error_frame(0x1001, "hot")}});
        EXPECT_STMT(SQL_ERROR, wire->stmt, exec(wire->stmt, "SELECT 1 FROM t"));
        EXPECT_EQ(stmt_records(wire->stmt),
                  record_list{link_failure + "the connection is lost, and there is no other: " +
                              node_address(wire->node) + ": hot"});
        EXPECT_EQ(is_dead(wire->conn), SQL_CD_TRUE);
        EXPECT_EQ(code_and_state(exec(wire->stmt, "q"), wire->stmt), "SQL_ERROR: 08003");
    }
    const wire_ptr off = lost(wire_of(true, "Reconnect=No"));
    EXPECT_EQ(code_and_state(exec(off->stmt, "q"), off->stmt), "SQL_ERROR: 08S01");
    for (const bool kept : {true, false}) {
        const wire_ptr wire = wire_of(true);
        expect_query(wire->node, "USE \"Second\"", {set_keyspace_frame("Second"), farewell});
        EXPECT_STMT(SQL_SUCCESS, wire->stmt, exec(wire->stmt, "USE \"Second\""));
        await_end(wire);
        expect_logon(wire->node);
        expect_use(wire->node, "Second",
                   kept ? set_keyspace_frame("Second")
                        : error_frame(0x2200, "Keyspace 'Second' does not exist"));
        if (kept)
            expect_query(wire->node, "INSERT", {void_frame()});
        EXPECT_EQ(code_and_state(exec(wire->stmt, "INSERT"), wire->stmt),
                  kept ? "SQL_SUCCESS" : "SQL_ERROR: 08S01");
        EXPECT_EQ(is_dead(wire->conn), kept ? SQL_CD_FALSE : SQL_CD_TRUE);
    }
}

static void expect_execute(const wire_ptr &wire, const bytes &id, std::vector<node_frame> replies,
                           const bytes &state = {})
{
    node_expect(wire->node,
                {NODE_EXECUTE, wire_short_bytes(id) + page_tail(state), std::move(replies)});
}

// Each statement of the connection notices, and so does what the connection keeps of texts.
TEST(reconnect, statements_are_prepared_anew)
{
    const wire_ptr wire = wire_of(true);
    const SQLHSTMT other = wire_new_stmt(wire);
    expect_prepare(wire->node, "INSERT a", {prepared_frame("A1", {}, {})});
    EXPECT_STMT(SQL_SUCCESS, wire->stmt, prepare(wire->stmt, "INSERT a"));
    expect_prepare(wire->node, "SELECT b", {prepared_frame("B1", {}, one_text)});
    EXPECT_STMT(SQL_SUCCESS, other, prepare(other, "SELECT b"));
    expect_execute(wire, "A1", {void_frame(), farewell});
    EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLExecute(wire->stmt));
    await_end(wire);

    expect_logon(wire->node);
    expect_prepare(wire->node, "INSERT a", {prepared_frame("A2", {}, {})});
    expect_execute(wire, "A2", {void_frame()});
    EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLExecute(wire->stmt));
    expect_prepare(wire->node, "SELECT b", {prepared_frame("B2", {}, one_text)});
    expect_execute(wire, "B2", {no_answer()});  // and is lost under way
    expect_logon(wire->node);
    expect_prepare(wire->node, "SELECT b", {prepared_frame("B3", {}, one_text)});
    expect_execute(wire, "B3", {text_page({"x"})});
    EXPECT_EQ(code_and_state(SQLExecute(other), other), "SQL_SUCCESS");
    EXPECT_EQ(fetch_all(other), row_list{"x"});
    SQLFreeHandle(SQL_HANDLE_STMT, other);
}

// A result goes on by its paging state, or ends: by the word of the other server, or since that has
// other columns. A page that does not come for now is asked for by the next fetch. Kept rows go on
// as those of one page do.
TEST(reconnect, results_go_on_between_pages_or_end)
{
    const std::pair<node_frame, row_list> cases[] = {
        {text_page({"2"}), {"1", "2"}},
        {error_frame(0x000A, "Invalid value for the paging state"), {"1", "SQL_ERROR: 08S01"}},
        {rows_frame({{"b", type_of(NODE_INT)}}, {{be32(7)}}), {"1", "SQL_ERROR: 08S01"}},
        {error_frame(0x1000, "a replica is down"), {"1", "SQL_ERROR: HY000", "2"}},
    };
    for (const std::string kind : {"direct", "prepared", "scrolled"})
        for (const auto &[page, wanted] : cases) {
            const wire_ptr wire = wire_of(true);
            const bool prepared = kind == "prepared";
            if (kind == "scrolled")
                set_attribute(wire->stmt, SQL_ATTR_CURSOR_TYPE, SQL_CURSOR_STATIC);
            const auto expect_page = [&](const bytes &id, const bytes &state,
                                         const std::vector<node_frame> &frames) {
                const bytes head = prepared ? wire_short_bytes(id) : wire_long_string("SELECT a");
                node_expect(wire->node, {prepared ? NODE_EXECUTE : NODE_QUERY,
                                         head + page_tail(state), frames});
            };
            const auto expect_prepared = [&](const bytes &id) {
                if (prepared)
                    expect_prepare(wire->node, "SELECT a", {prepared_frame(id, {}, one_text)});
            };
            expect_prepared("A1");
            if (prepared) {
                EXPECT_STMT(SQL_SUCCESS, wire->stmt, prepare(wire->stmt, "SELECT a"));
            }
            expect_page("A1", "", {text_page({"1"}, "state"), farewell});
            EXPECT_STMT(SQL_SUCCESS, wire->stmt,
                        prepared ? SQLExecute(wire->stmt) : exec(wire->stmt, "SELECT a"));
            await_end(wire);
            expect_logon(wire->node);
            expect_prepared("A2");
            expect_page("A2", "state", {page});
            if (wanted.size() > 2)
                expect_page("A2", "state", {text_page({"2"})});
            row_list rows;
            while (rows.size() < wanted.size()) {
                const SQLRETURN code = SQLFetch(wire->stmt);
                rows.push_back(code == SQL_SUCCESS ? row_text(wire->stmt)
                                                   : code_and_state(code, wire->stmt));
            }
            EXPECT_EQ(rows, wanted);
        }
}

// SQLCancel of another thread is heard while a session is started, and the time-out of the request
// counts; the next request starts the session.
TEST(reconnect, is_called_off_by_a_cancellation_or_a_time_out)
{
    for (const bool cancelled : {true, false}) {
        const wire_ptr wire = lost(wire_of(true, cancelled ? "" : "ReadTimeout=300"));
        node_expect(wire->node, {NODE_OPTIONS, "", {}});
        {
            const std::jthread other([&wire, cancelled] {
                std::this_thread::sleep_for(std::chrono::milliseconds(200));
                if (cancelled)
                    SQLCancel(wire->stmt);
            });
            EXPECT_EQ(code_and_state(exec(wire->stmt, "INSERT"), wire->stmt),
                      cancelled ? "SQL_ERROR: HY008" : "SQL_ERROR: HYT00");
        }
        EXPECT_EQ(is_dead(wire->conn), SQL_CD_TRUE);
        expect_logon(wire->node);
        run_query(wire, "INSERT", void_frame());
    }
}
