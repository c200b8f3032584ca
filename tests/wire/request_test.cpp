// Requests byte for byte, and results in pages.
#include "tests/wire/wire_support.h"

// Cut by the length argument and rewritten, a wide text with the low byte of each code unit, and
// with the consistency of the settings.
TEST(requests, text_is_sent_as_it_was_rewritten)
{
    SQLWCHAR wide[] = {' ', '\'', 0x00E9, 0x0160, 0x20AC, 0xFEFF, '\'', 'z', ';', 0};
    const std::pair<SQLINTEGER, const char *> lengths[] = {
        {13, "select    1 "}, {SQL_NTS, "select    1  from t"}, {0, ""}, {-7, ""}};
    const wire_ptr wire = wire_logged_on({}, "Consistency=local_one");
    expect_prepare(wire->node, "'\xE9\x60\xAC'", {prepared_frame("id", {}, {})});
    EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLPrepareW(wire->stmt, wide, 7));
    for (const auto &[length, sent] : lengths) {
        node_expect(wire->node, {NODE_QUERY, query_body(sent, 10), {void_frame()}});
        EXPECT_STMT(SQL_SUCCESS, wire->stmt,
                    SQLExecDirect(wire->stmt, odbc_text("\tselect {d 1} from t;"), length));
    }
}

TEST(requests, failed_preparation_is_tried_again_when_columns_are_asked_for)
{
    const wire_ptr wire = wire_logged_on();
    const std::tuple<node_frame, SQLRETURN, std::string> replies[] = {
        {error_frame(0x2200, "no"), SQL_ERROR, link_failure + "error code 8704 'no'"},
        {void_frame(), SQL_ERROR,
         link_failure + "unexpected packet kind KIND_VOID, expected KIND_PREPARED"},
        {with_warnings(prepared_frame("id", {}, one_text), {"slow", "100%s %n"}),
         SQL_SUCCESS_WITH_INFO, "01000 slow100%s %n"}};
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
