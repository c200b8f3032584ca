// Requests byte for byte, and results in pages.
#include "tests/rewriter_cases.h"
#include "tests/wire/wire_support.h"

static const node_columns one_text = {{"a", type_of(NODE_VARCHAR)}};

static node_frame text_page(const std::vector<bytes> &texts, const bytes &paging_state = {},
                            bool no_metadata = false)
{
    std::vector<node_row> rows;
    for (const bytes &text : texts)
        rows.push_back({text});
    return rows_frame(one_text, rows, {.no_metadata = no_metadata, .paging_state = paging_state});
}

// Trimmed, simple escapes blanked, cut by the length argument; a wide text with one byte for each
// code unit, the low one.
TEST(requests, text_is_sent_as_it_was_rewritten)
{
    const bytes large = "insert into t (a) values ('" + pattern(70000) + "')";
    SQLWCHAR wide[] = {' ', '\'', 0x00E9, 0x0160, 0x20AC, 0xFEFF, '\'', 'z', ';', 0};
    SQLCHAR plain[] = "select 1 from t";
    for (const bool lz4 : {false, true}) {
        const wire_ptr wire = wire_logged_on({.lz4 = lz4});
        run_query(wire, large, void_frame());
        run_query(wire, "select '\xC3\xA9\xE2\x82\xAC'", void_frame());
        expect_query(wire->node.get(), "a     NOW() ;b '{fn ?}'", {void_frame()});
        EXPECT_STMT(SQL_SUCCESS, wire->stmt, exec(wire->stmt, "\t a {fn NOW()};b '{fn ?}';;\n"));
        expect_query(wire->node.get(), "'\xE9\x60\xAC'z", {void_frame()});
        EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLExecDirectW(wire->stmt, wide, SQL_NTS));
        expect_prepare(wire->node.get(), "'\xE9\x60\xAC'", {prepared_frame("id", {}, {})});
        EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLPrepareW(wire->stmt, wide, 7));
        const std::pair<SQLINTEGER, const char *> lengths[] = {
            {8, "select 1"}, {SQL_NTS, "select 1 from t"}, {0, ""}, {-7, ""}};
        for (const auto &[length, sent] : lengths) {
            expect_query(wire->node.get(), sent, {void_frame()});
            EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLExecDirect(wire->stmt, plain, length));
        }
    }
}

TEST(requests, every_text_reaches_the_server_as_it_was_rewritten)
{
    const wire_ptr wire = wire_logged_on();
    for (const rewriter_case &c : rewriter_cases) {
        bytes sent;  // the low byte of each unit
        for (const char16_t *unit = c.output == nullptr ? c.text : c.output; *unit != 0; unit++)
            sent += static_cast<char>(*unit);
        std::vector<SQLWCHAR> text(1, 0);
        text.insert(text.begin(), c.text, c.text + std::char_traits<char16_t>::length(c.text));
        expect_prepare(wire->node.get(), sent, {prepared_frame("id", {}, {})});
        EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLPrepareW(wire->stmt, text.data(), SQL_NTS))
            << testing::PrintToString(c.text);
    }
}

TEST(requests, failed_preparation_is_tried_again_when_columns_are_asked_for)
{
    const wire_ptr wire = wire_logged_on();
    const record_list refused = {link_failure + "error code 8704 'no table'"};
    for (int i = 0; i < 2; i++)
        expect_prepare(wire->node.get(), "q", {error_frame(0x2200, "no table")});
    expect_prepare(wire->node.get(), "q", {prepared_frame("id", {}, one_text)});
    EXPECT_STMT(SQL_ERROR, wire->stmt, prepare(wire->stmt, "q"));
    EXPECT_EQ(stmt_records(wire->stmt), refused);
    SQLSMALLINT count = -1;
    EXPECT_STMT(SQL_ERROR, wire->stmt, SQLNumResultCols(wire->stmt, &count));
    EXPECT_EQ(stmt_records(wire->stmt), refused);
    EXPECT_EQ(column_count(wire->stmt), 1);
}

// Empty pages may stand anywhere, later ones may leave out the columns; each page's state asks for
// the next one, and only a missing state ends the result. Every request has the consistency.
TEST(pages, each_state_asks_for_the_next_page)
{
    const std::pair<std::vector<bytes>, bytes> pages[] = {
        {{}, from_hex("00 01")},
        {{"1", "2"}, pattern(300)},
        {{}, "p"},
        {{}, "q"},
        {{"3"}, "4"},
        {{}, ""},
    };
    for (const int consistency : {1, 10}) {
        const bool lz4 = consistency == 10;
        const wire_ptr wire = wire_logged_on({lz4}, lz4 ? "Consistency=local_one" : "");
        bytes body = query_body("q", consistency);
        for (const auto &[texts, next] : pages) {
            const bool no_metadata = lz4 && next != pages[0].second;
            node_expect(wire->node.get(),
                        {NODE_QUERY, body, {text_page(texts, next, no_metadata)}});
            body = wire_long_string("q") + next_page_tail(next, consistency);
        }
        EXPECT_STMT(SQL_SUCCESS, wire->stmt, exec(wire->stmt, "q;"));
        EXPECT_EQ(fetch_all(wire->stmt), (std::vector<std::string>{"1", "2", "3"}));
        EXPECT_STMT(SQL_NO_DATA, wire->stmt, SQLFetch(wire->stmt));
    }
}

TEST(pages, prepared_statement_repeats_its_id)
{
    const bytes id = from_hex("00 ff 10 80") + pattern(12);
    const bytes next = wire_short_bytes(id) + next_page_tail("p", 10);
    const wire_ptr wire = wire_logged_on({.lz4 = true}, "Consistency=local_one");
    scripted_node *const node = wire->node.get();
    expect_prepare(node, "q", {prepared_frame(id, {}, one_text)});
    node_expect(node, {NODE_EXECUTE, execute_body(id, 10), {text_page({"1"}, "p")}});
    node_expect(node, {NODE_EXECUTE, next, {text_page({"2"})}});
    // Closed after the first row: no further page, and the next execution starts anew.
    node_expect(node, {NODE_EXECUTE, execute_body(id, 10), {text_page({"1"}, "p")}});
    node_expect(node, {NODE_EXECUTE, execute_body(id, 10), {text_page({"only"})}});

    EXPECT_STMT(SQL_SUCCESS, wire->stmt, prepare(wire->stmt, "q"));
    EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLExecute(wire->stmt));
    EXPECT_EQ(fetch_all(wire->stmt), (std::vector<std::string>{"1", "2"}));
    EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLExecute(wire->stmt));
    EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLFetch(wire->stmt));
    EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLCloseCursor(wire->stmt));
    EXPECT_STMT(SQL_NO_DATA, wire->stmt, SQLFetch(wire->stmt));
    EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLExecute(wire->stmt));
    EXPECT_EQ(fetch_all(wire->stmt), std::vector<std::string>{"only"});
    // A direct execution forgets the prepared one without a word to the server.
    node_expect(node, {NODE_QUERY, query_body("other", 10), {void_frame()}});
    EXPECT_STMT(SQL_SUCCESS, wire->stmt, exec(wire->stmt, "other"));
    EXPECT_STMT(SQL_ERROR, wire->stmt, SQLExecute(wire->stmt));
    EXPECT_EQ(stmt_records(wire->stmt), record_list{general_error + "no prepared statement"});
}

// What comes in place of a next page, the code of the fetch that asked for it, and the record that
// stands behind it. A failed exchange leaves an emptied row and its record, and the fetch after it
// finds the end, so that a dead connection gives no endless rows.
TEST(pages, broken_continuation_ends_the_result)
{
    const struct {
        node_frame reply;
        SQLRETURN code;
        record_list records;
    } cases[] = {
        {no_answer(), SQL_SUCCESS, {link_failure + "failed to return packet"}},
        {cut_off(text_page({"3"}), 40, RESET),
         SQL_SUCCESS,
         {link_failure + "failed to return packet"}},
        {error_frame(1, "late"), SQL_SUCCESS, {link_failure + "error code 1 'late'"}},
        {ready_frame(), SQL_SUCCESS, {link_failure + "unexpected packet type 2"}},
        {void_frame(), SQL_NO_DATA, {}},
    };
    for (const auto &c : cases) {
        const wire_ptr wire = wire_logged_on();
        run_query(wire, "q", text_page({"1"}, "p"));
        expect_next_query(wire->node.get(), "q", "p", {c.reply});
        EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLFetch(wire->stmt));
        EXPECT_STMT(c.code, wire->stmt, SQLFetch(wire->stmt));
        EXPECT_EQ(stmt_records(wire->stmt), c.records);
        EXPECT_STMT(SQL_NO_DATA, wire->stmt, SQLFetch(wire->stmt));
    }
}
