// Requests byte for byte, pages, and several statements on one connection.
#include "tests/wire/wire_support.h"

static const node_columns one_text = {{"a", type_of(NODE_VARCHAR)}};

static std::vector<node_row> text_rows(const std::vector<bytes> &texts)
{
    std::vector<node_row> rows;
    for (const bytes &text : texts)
        rows.push_back({text});
    return rows;
}

static node_frame text_page(const std::vector<bytes> &texts, const bytes &paging_state = {})
{
    return rows_frame(one_text, text_rows(texts), {.paging_state = paging_state});
}

// ---- Single requests ---------------------------------------------------------------------------

TEST(requests, direct_execution_is_one_query_frame)
{
    const std::string cases[] = {
        "select a from t",
        "select '\xC3\xA9\xE2\x82\xAC'",  // UTF-8 goes through byte by byte
        "insert into t (a) values ('" + pattern(70000) + "')",
        "x",
    };
    for (const bool lz4 : {false, true}) {
        const wire_ptr wire = wire_logged_on({.lz4 = lz4});
        for (const std::string &sql : cases) {
            expect_query(wire->node.get(), sql, {void_frame()});
            EXPECT_STMT(SQL_SUCCESS, wire->stmt, exec(wire->stmt, sql));
        }
    }
}

// Texts leave the driver with one byte for each code unit, the low one.
TEST(requests, wide_text_is_narrowed_to_its_low_bytes)
{
    const wire_ptr wire = wire_logged_on();
    SQLWCHAR sql[] = {'\'', 0x00E9, 0x0160, 0x20AC, 0xFEFF, '\'', 'z', 0};
    expect_query(wire->node.get(), "'\xE9\x60\xAC'z", {void_frame()});
    EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLExecDirectW(wire->stmt, sql, SQL_NTS));
    expect_prepare(wire->node.get(), "'\xE9\x60\xAC'", {prepared_frame("id", {}, {})});
    EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLPrepareW(wire->stmt, sql, 6));
}

TEST(requests, consistency_setting_stands_in_every_statement)
{
    const struct {
        const char *setting;
        int code;
    } cases[] = {{"QUORUM", 4}, {"local_one", 10}, {"ALL", 5}, {"nonsense", 0}, {"7", 7}};
    for (const auto &c : cases) {
        SCOPED_TRACE(c.setting);
        const wire_ptr wire = wire_logged_on({}, std::string("Consistency=") + c.setting);
        node_expect(wire->node.get(), {.opcode = NODE_QUERY,
                                       .body = query_body("q", c.code),
                                       .replies = {text_page({"1"}, "p")}});
        node_expect(wire->node.get(), {.opcode = NODE_QUERY,
                                       .body = wire_long_string("q") + next_page_tail("p", c.code),
                                       .replies = {text_page({"2"})}});
        expect_prepare(wire->node.get(), "q", {prepared_frame("id", {}, {})});
        node_expect(wire->node.get(), {.opcode = NODE_EXECUTE,
                                       .body = execute_body("id", c.code),
                                       .replies = {void_frame()}});
        EXPECT_STMT(SQL_SUCCESS, wire->stmt, exec(wire->stmt, "q"));
        EXPECT_EQ(fetch_all(wire->stmt), (std::vector<std::string>{"1", "2"}));
        EXPECT_STMT(SQL_SUCCESS, wire->stmt, prepare(wire->stmt, "q"));
        EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLExecute(wire->stmt));
    }
}

TEST(requests, prepared_id_serves_until_the_next_text)
{
    const bytes id = from_hex("00 ff 10 80") + pattern(12);
    const wire_ptr wire = wire_logged_on({.lz4 = true});
    expect_prepare(wire->node.get(), "select a from ks.t", {prepared_frame(id, {}, one_text)});
    for (int i = 0; i < 3; i++)
        expect_execute(wire->node.get(), id, {text_page({"x"})});
    EXPECT_STMT(SQL_SUCCESS, wire->stmt, prepare(wire->stmt, "  select a from ks.t; "));
    EXPECT_EQ(column_count(wire->stmt), 1);
    for (int i = 0; i < 3; i++) {
        EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLExecute(wire->stmt));
        EXPECT_EQ(fetch_all(wire->stmt), std::vector<std::string>{"x"});
        EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLFreeStmt(wire->stmt, SQL_CLOSE));
    }
    // A direct execution forgets the prepared one without a word to the server.
    expect_query(wire->node.get(), "other", {void_frame()});
    EXPECT_STMT(SQL_SUCCESS, wire->stmt, exec(wire->stmt, "other"));
    EXPECT_STMT(SQL_ERROR, wire->stmt, SQLExecute(wire->stmt));
    EXPECT_EQ(stmt_records(wire->stmt), record_list{"HY000 General error: no prepared statement"});
}

TEST(requests, failed_preparation_is_tried_again_when_columns_are_asked_for)
{
    const wire_ptr wire = wire_logged_on();
    const node_frame refusal = error_frame(0x2200, "unconfigured table");
    const record_list refused = {
        "08S01 Communication link failure: error code 8704 'unconfigured table'"};
    expect_prepare(wire->node.get(), "select 1", {refusal});
    expect_prepare(wire->node.get(), "select 1", {refusal});
    expect_prepare(wire->node.get(), "select 1", {prepared_frame("id", {}, one_text)});
    EXPECT_STMT(SQL_ERROR, wire->stmt, prepare(wire->stmt, "select 1"));
    EXPECT_EQ(stmt_records(wire->stmt), refused);
    SQLSMALLINT count = -1;
    EXPECT_STMT(SQL_ERROR, wire->stmt, SQLNumResultCols(wire->stmt, &count));
    EXPECT_EQ(stmt_records(wire->stmt), refused);
    EXPECT_EQ(column_count(wire->stmt), 1);
}

// ---- Pages -------------------------------------------------------------------------------------

// Empty pages may stand anywhere; each page's state asks for the next one, and only a missing state
// ends the result.
TEST(pages, each_state_asks_for_the_next_page)
{
    const std::vector<std::pair<std::vector<bytes>, bytes>> pages = {
        {{}, from_hex("00 01")},
        {{"1", "2"}, pattern(300)},
        {{}, "empty in the middle"},
        {{}, "and another one"},
        {{"3"}, "4"},
        {{}, ""},
    };
    for (const bool lz4 : {false, true}) {
        const wire_ptr wire = wire_logged_on({.lz4 = lz4});
        bytes state;
        for (const auto &[texts, next] : pages) {
            if (state.empty())
                expect_query(wire->node.get(), "q", {text_page(texts, next)});
            else
                expect_next_query(wire->node.get(), "q", state, {text_page(texts, next)});
            state = next;
        }
        EXPECT_STMT(SQL_SUCCESS, wire->stmt, exec(wire->stmt, "q;"));
        EXPECT_EQ(fetch_all(wire->stmt), (std::vector<std::string>{"1", "2", "3"}));
        EXPECT_STMT(SQL_NO_DATA, wire->stmt, SQLFetch(wire->stmt));
    }
}

TEST(pages, prepared_statement_repeats_its_id)
{
    const wire_ptr wire = wire_logged_on();
    expect_prepare(wire->node.get(), "q", {prepared_frame("ID", {}, one_text)});
    expect_execute(wire->node.get(), "ID", {text_page({"1"}, "p1")});
    expect_next_execute(wire->node.get(), "ID", "p1", {text_page({"2"}, "p2")});
    expect_next_execute(wire->node.get(), "ID", "p2", {text_page({"3"})});
    // Closed after the first row: no further page, and the next execution starts anew.
    expect_execute(wire->node.get(), "ID", {text_page({"1"}, "p1")});
    expect_execute(wire->node.get(), "ID", {text_page({"only"})});

    EXPECT_STMT(SQL_SUCCESS, wire->stmt, prepare(wire->stmt, "q"));
    EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLExecute(wire->stmt));
    EXPECT_EQ(fetch_all(wire->stmt), (std::vector<std::string>{"1", "2", "3"}));
    EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLExecute(wire->stmt));
    EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLFetch(wire->stmt));
    EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLCloseCursor(wire->stmt));
    EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLExecute(wire->stmt));
    EXPECT_EQ(fetch_all(wire->stmt), std::vector<std::string>{"only"});
}

TEST(pages, later_page_without_metadata_keeps_the_columns)
{
    const wire_ptr wire = wire_logged_on();
    expect_query(wire->node.get(), "q", {text_page({"1"}, "p")});
    expect_next_query(wire->node.get(), "q", "p",
                      {rows_frame(one_text, text_rows({"2"}), {.no_metadata = true})});
    EXPECT_STMT(SQL_SUCCESS, wire->stmt, exec(wire->stmt, "q"));
    EXPECT_EQ(fetch_all(wire->stmt), (std::vector<std::string>{"1", "2"}));
}

// What comes in place of a next page, the code of the fetch that asked for it, and the record that
// stands behind it. A failed exchange leaves an emptied row and its record, and the fetch after it
// finds the end, so that a dead connection gives no endless rows.
TEST(pages, broken_continuation_ends_the_result)
{
    const record_list no_packet = {"08S01 Communication link failure: failed to return packet"};
    const struct {
        const char *what;
        node_frame reply;
        SQLRETURN code;
        record_list records;
    } cases[] = {
        {"server gone", no_answer(), SQL_SUCCESS, no_packet},
        {"connection reset", no_answer(RESET), SQL_SUCCESS, no_packet},
        {"page cut in its rows", cut_off(text_page({"3", "4"}), 40), SQL_SUCCESS, no_packet},
        {"error",
         error_frame(0x1200, "read time-out", be16(1) + be32(0) + be32(1) + be8(0)),
         SQL_SUCCESS,
         {"08S01 Communication link failure: error code 4608 'read time-out'"}},
        {"no result at all",
         ready_frame(),
         SQL_SUCCESS,
         {"08S01 Communication link failure: unexpected packet type 2"}},
        {"result without rows", void_frame(), SQL_NO_DATA, {}},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.what);
        const wire_ptr wire = wire_logged_on();
        expect_query(wire->node.get(), "q", {text_page({"1", "2"}, "p")});
        expect_next_query(wire->node.get(), "q", "p", {c.reply});
        EXPECT_STMT(SQL_SUCCESS, wire->stmt, exec(wire->stmt, "q"));
        for (const char *text : {"1", "2"}) {
            EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLFetch(wire->stmt));
            EXPECT_EQ(cell_text(wire->stmt, 1), text);
        }
        EXPECT_STMT(c.code, wire->stmt, SQLFetch(wire->stmt));
        EXPECT_EQ(stmt_records(wire->stmt), c.records);
        EXPECT_STMT(SQL_NO_DATA, wire->stmt, SQLFetch(wire->stmt));
    }
}

TEST(pages, statements_of_one_connection_take_turns)
{
    constexpr int statements = 3, pages = 4;
    const wire_ptr wire = wire_logged_on({.lz4 = true});
    std::vector<SQLHSTMT> stmts;
    for (int s = 0; s < statements; s++)
        stmts.push_back(wire_new_stmt(wire.get()));
    for (int page = 0; page < pages; page++) {
        for (int s = 0; s < statements; s++) {
            const bytes sql = "q" + std::to_string(s);
            const bytes cell = sql + " page " + std::to_string(page);
            const bytes before = sql + "." + std::to_string(page);
            const bytes next = page + 1 < pages ? sql + "." + std::to_string(page + 1) : "";
            if (page == 0)
                expect_query(wire->node.get(), sql, {text_page({cell}, next)});
            else
                expect_next_query(wire->node.get(), sql, before, {text_page({cell}, next)});
        }
    }
    for (int s = 0; s < statements; s++)
        EXPECT_STMT(SQL_SUCCESS, stmts[s], exec(stmts[s], "q" + std::to_string(s)));
    for (int page = 0; page < pages; page++) {
        for (int s = 0; s < statements; s++) {
            EXPECT_STMT(SQL_SUCCESS, stmts[s], SQLFetch(stmts[s]));
            EXPECT_EQ(cell_text(stmts[s], 1),
                      "q" + std::to_string(s) + " page " + std::to_string(page));
        }
    }
    for (SQLHSTMT stmt : stmts) {
        EXPECT_STMT(SQL_NO_DATA, stmt, SQLFetch(stmt));
        SQLFreeHandle(SQL_HANDLE_STMT, stmt);
    }
}

// Frames larger than any socket buffer, and frames that trickle in.
TEST(pages, frame_is_put_together_from_any_pieces)
{
    const bytes large = pattern(3 << 20);
    for (const bool lz4 : {false, true}) {
        const wire_ptr wire = wire_logged_on({.lz4 = lz4});
        expect_query(wire->node.get(), "large", {text_page({large, "behind"})});
        node_frame trickle = text_page({"one", "two", ""});
        trickle.slowly = true;
        expect_query(wire->node.get(), "slow", {trickle});

        EXPECT_STMT(SQL_SUCCESS, wire->stmt, exec(wire->stmt, "large"));
        EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLFetch(wire->stmt));
        std::string buffer(large.size() + 1, 'x');
        SQLLEN length = 0;
        EXPECT_STMT(SQL_SUCCESS, wire->stmt,
                    SQLGetData(wire->stmt, 1, SQL_C_CHAR, buffer.data(),
                               static_cast<SQLLEN>(buffer.size()), &length));
        EXPECT_EQ(length, static_cast<SQLLEN>(large.size()));
        EXPECT_TRUE(buffer == large + '\0');
        EXPECT_EQ(fetch_all(wire->stmt), std::vector<std::string>{"behind"});
        EXPECT_STMT(SQL_SUCCESS, wire->stmt, exec(wire->stmt, "slow"));
        EXPECT_EQ(fetch_all(wire->stmt), (std::vector<std::string>{"one", "two", ""}));
    }
}
