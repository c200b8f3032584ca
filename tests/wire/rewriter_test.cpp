// What of an application's text reaches the server: trimmed, simple escapes blanked, all else unit
// for unit. Nothing but the trim changes the length.
#include "tests/wire/wire_support.h"

TEST(rewriter, text_on_the_wire)
{
    const struct {
        const char *given;
        const char *sent;
    } cases[] = {
        // Trim: blanks in front and behind, then semicolons, and not the blanks before those.
        {"  select * from t ;  ", "select * from t "},
        {"\t\r\n\v\f select 1\n", "select 1"},
        {"select 1;;;", "select 1"},
        {"select 1; ;", "select 1; "},
        {"   \t\n", ""},
        {";;", ""},
        {"", ""},
        // Left as they are.
        {"insert into t (a,b) values (?,?);", "insert into t (a,b) values (?,?)"},
        {"select '?' from t where a=?", "select '?' from t where a=?"},
        {"select 'it''s ?' from t", "select 'it''s ?' from t"},
        {"select \"a?b\" from t", "select \"a?b\" from t"},
        {"select a[?] from t", "select a[?] from t"},
        {"select 1 -- {fn x} ? ' \n from t", "select 1 -- {fn x} ? ' \n from t"},
        {"select 1 /* ? */ from t", "select 1 /* ? */ from t"},
        {"insert into t json '{\"a\": {\"d\": 1}}'", "insert into t json '{\"a\": {\"d\": 1}}'"},
        {"select { from t", "select { from t"},
        {"select ') } (", "select ') } ("},
        {"{FN NOW()}", "{FN NOW()}"},
        {"{D '2020-01-31'}", "{D '2020-01-31'}"},
        {"{call p(1)}", "{call p(1)}"},
        {"{?=call p}", "{?=call p}"},
        {"{oj a left outer join b}", "{oj a left outer join b}"},
        {"{escape '\\'}", "{escape '\\'}"},
        {"{}", "{}"},
        {"{ }", "{ }"},
        // Blanked.
        {"{fn NOW()}", "    NOW() "},
        {"{ fn NOW()}", "     NOW() "},
        {"select {d '2020-01-31'} from t", "select    '2020-01-31'  from t"},
        {"{t '10:11:12'}", "   '10:11:12' "},
        {"{dt x}", "    x "},
        // Of "ts" only the first letter goes, as the server's refusal shows users.
        {"{ts '2020-01-31 10:11:12'}", "  s '2020-01-31 10:11:12' "},
        // Two blanks in front of the letter cost the literal its opening quote.
        {"{  d '2020-01-31'}", "      2020-01-31' "},
        // Of nested escapes the inner end closes the outer start.
        {"{fn {fn a}}", "    {fn a }"},
    };
    const wire_ptr wire = wire_logged_on();
    for (const auto &c : cases) {
        SCOPED_TRACE(c.given);
        expect_prepare(wire->node.get(), c.sent, {prepared_frame("id", {}, {})});
        EXPECT_STMT(SQL_SUCCESS, wire->stmt, prepare(wire->stmt, c.given));
    }
}

TEST(rewriter, direct_execution_and_wide_text_take_the_same_road)
{
    const wire_ptr wire = wire_logged_on();
    expect_query(wire->node.get(), "select   '2020-01-31' ", {void_frame()});
    EXPECT_STMT(SQL_SUCCESS, wire->stmt, exec(wire->stmt, " select {d'2020-01-31'};"));

    SQLWCHAR sql[] = {0xFEFF, 'a', ' ', '\'', 0xFFFE, 'b', '\'', 0xFEFF, ';', 0};
    expect_query(wire->node.get(), "a 'b'", {void_frame()});
    EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLExecDirectW(wire->stmt, sql, SQL_NTS));
}

// The length argument, not a terminator, ends the text.
TEST(rewriter, given_length_ends_the_text)
{
    const wire_ptr wire = wire_logged_on();
    SQLCHAR sql[] = "select 1 from t";
    const struct {
        SQLINTEGER length;
        const char *sent;
    } cases[] = {{8, "select 1"}, {SQL_NTS, "select 1 from t"}, {0, ""}, {-7, ""}};
    for (const auto &c : cases) {
        SCOPED_TRACE(c.length);
        expect_query(wire->node.get(), c.sent, {void_frame()});
        EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLExecDirect(wire->stmt, sql, c.length));
    }
}
