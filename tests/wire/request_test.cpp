// Requests byte for byte, and results in pages.
#include "tests/wire/wire_support.h"

// Cut by the length argument and rewritten; a wide text with one byte for each code unit, the low
// one.
TEST(requests, text_is_sent_as_it_was_rewritten)
{
    SQLWCHAR wide[] = {' ', '\'', 0x00E9, 0x0160, 0x20AC, 0xFEFF, '\'', 'z', ';', 0};
    const std::pair<SQLINTEGER, const char *> lengths[] = {
        {13, "select    1 "}, {SQL_NTS, "select    1  from t"}, {0, ""}, {-7, ""}};
    for (const bool lz4 : {false, true}) {
        const wire_ptr wire = wire_logged_on({.lz4 = lz4});
        run_query(wire, "insert '\xC3\xA9\xE2\x82\xAC" + pattern(70000) + "'", void_frame());
        expect_query(wire->node, "'\xE9\x60\xAC'z", {void_frame()});
        EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLExecDirectW(wire->stmt, wide, SQL_NTS));
        expect_prepare(wire->node, "'\xE9\x60\xAC'", {prepared_frame("id", {}, {})});
        EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLPrepareW(wire->stmt, wide, 7));
        for (const auto &[length, sent] : lengths) {
            expect_query(wire->node, sent, {void_frame()});
            EXPECT_STMT(SQL_SUCCESS, wire->stmt,
                        SQLExecDirect(wire->stmt, odbc_text("\tselect {d 1} from t;"), length));
        }
    }
}

TEST(requests, failed_preparation_is_tried_again_when_columns_are_asked_for)
{
    const wire_ptr wire = wire_logged_on();
    const std::tuple<node_frame, SQLRETURN, std::string> replies[] = {
        {error_frame(0x2200, "no"), SQL_ERROR, link_failure + "error code 8704 'no'"},
        {void_frame(), SQL_ERROR,
         link_failure + "unexpected packet kind KIND_VOID, expected KIND_PREPARED"},
        {with_warnings(prepared_frame("id", {}, one_text), {"slow"}), SQL_SUCCESS_WITH_INFO,
         "01000 slow"}};
    SQLSMALLINT count = -1;
    for (const auto &[reply, code, record] : replies) {
        expect_prepare(wire->node, "q", {reply});
        EXPECT_STMT(code, wire->stmt,
                    count < 0 ? prepare(wire->stmt, "q") : SQLNumResultCols(wire->stmt, &count));
        EXPECT_EQ(stmt_records(wire->stmt), record_list{record});
        count = count < 0 ? 0 : count;
    }
    EXPECT_EQ(count, 1);
}

// Empty pages may stand anywhere, later ones may leave out the columns; each page's state asks for
// the next one, and only a missing state ends the result. Every request has the consistency, and
// that of a prepared statement its id.
TEST(pages, each_state_asks_for_the_next_page)
{
    const std::pair<std::vector<bytes>, bytes> pages[] = {
        {{}, from_hex("00 01")}, {{"1", "2"}, pattern(300)}, {{}, "p"}, {{"3"}, "4"}, {{}, ""}};
    const bytes id = from_hex("00 ff 10 80") + pattern(12);
    for (const bool prepared : {false, true}) {
        const int consistency = prepared ? 10 : 1;
        const wire_ptr wire =
            wire_logged_on({.lz4 = prepared}, prepared ? "Consistency=local_one" : "");
        const bytes head = prepared ? wire_short_bytes(id) : wire_long_string("q");
        const bytes first = head + page_tail({}, consistency);
        if (prepared) {
            expect_prepare(wire->node, "q", {prepared_frame(id, {}, one_text)});
            EXPECT_STMT(SQL_SUCCESS, wire->stmt, prepare(wire->stmt, "q;"));
        }
        bytes body = first;
        for (const auto &[texts, next] : pages) {
            node_expect(wire->node, {prepared ? NODE_EXECUTE : NODE_QUERY,
                                     body,
                                     {text_page(texts, next, prepared && body != first)}});
            body = head + page_tail(next, consistency);
        }
        EXPECT_STMT(SQL_SUCCESS, wire->stmt,
                    prepared ? SQLExecute(wire->stmt) : exec(wire->stmt, "q;"));
        EXPECT_EQ(fetch_all(wire->stmt), (row_list{"1", "2", "3"}));
        EXPECT_STMT(SQL_NO_DATA, wire->stmt, SQLFetch(wire->stmt));
        // Closed after a row of several pages: no further one is asked for.
        node_expect(wire->node,
                    {NODE_QUERY, query_body("q", consistency), {text_page({"1"}, "p")}});
        EXPECT_STMT(SQL_SUCCESS, wire->stmt, exec(wire->stmt, "q"));
        EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLFetch(wire->stmt));
        EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLCloseCursor(wire->stmt));
        EXPECT_STMT(SQL_NO_DATA, wire->stmt, SQLFetch(wire->stmt));
        // A direct execution forgets the prepared one without a word to the server.
        EXPECT_STMT(SQL_ERROR, wire->stmt, SQLExecute(wire->stmt));
        EXPECT_EQ(stmt_records(wire->stmt), record_list{general_error + "no prepared statement"});
    }
}

// What comes in place of a next page, the code of the fetch that asked for it, and the record that
// stands behind it. A failed exchange leaves an emptied row and its record, and the fetch after it
// finds the end, so that a dead connection gives no endless rows.
TEST(pages, broken_continuation_ends_the_result)
{
    const std::pair<node_frame, bytes> cases[] = {
        {cut_off(text_page({"3"}), 40, RESET), link_failure + "failed to return packet"},
        {error_frame(1, "late"), link_failure + "error code 1 'late'"},
        {ready_frame(), link_failure + "unexpected packet type 2"},
        {void_frame(), ""}};
    for (const auto &[reply, record] : cases) {
        const wire_ptr wire = wire_logged_on();
        run_query(wire, "q", text_page({"1"}, "p"));
        expect_next_query(wire->node, "q", "p", {reply});
        EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLFetch(wire->stmt));
        EXPECT_STMT(record.empty() ? SQL_NO_DATA : SQL_SUCCESS, wire->stmt, SQLFetch(wire->stmt));
        EXPECT_EQ(stmt_records(wire->stmt), record.empty() ? record_list() : record_list{record});
        EXPECT_STMT(SQL_NO_DATA, wire->stmt, SQLFetch(wire->stmt));
    }
}
