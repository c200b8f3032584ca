// The pass over an application's text: what the server gets, and what is noted on the statement.
#include "core/cass_sql.h"

#include "tests/unit/stmt_fixture.h"

// Scans on the statement and checks that the input stays.
static std::u16string process(cass_stmt *stmt, const std::u16string &text)
{
    const owned_string input = string_of(text);
    const owned_string output = own(cass_process_sql(stmt, input.get()));
    EXPECT_EQ(units_of(input.get()), text);
    return units_of(output.get());
}

using rewriter = stmt_fixture;

TEST_F(rewriter, output_and_marker_count)
{
    // clang-format off
    // A null output is the text itself.
    static constexpr struct { const char16_t *text, *output; int markers; } cases[] = {
        // Trim.
        {u"  select * from t ;  ", u"select * from t ", 0}, {u"\t\r\n\v\fa;;;\n", u"a", 0},
        {u"a;b; ;", u"a;b; ", 0}, {u" \t ", u"", 0}, {u"", u"", 0}, {u" ;;; ", u"", 0},
        // Markers, quotes, brackets, comments.
        {u"insert into t (a,b) values (?,?)", nullptr, 2},
        {u"select '?' from t where a=?", nullptr, 1}, {u"select 'it''s ?' from t", nullptr, 0},
        {u"select '''' , ?", nullptr, 1}, {u"select \"a?b\" from t", nullptr, 0},
        {u"select \"a\"\"?\", ?", nullptr, 1}, {u"select '\"', ?, \"'\", ?", nullptr, 2},
        {u"select a[?] from t where b=?", nullptr, 1}, {u"a['] ? [\"] ?", nullptr, 2},
        {u"'[' ? 'x]' ?", nullptr, 2}, {u"select 'open ?", nullptr, 0},
        {u"a = ? -- why?", nullptr, 1}, {u"-- ' ?\na = ?", nullptr, 1},
        {u"-- ' ?\ra = ?", nullptr, 1}, {u"'--' ? - ? -", nullptr, 2}, {u"/* ? ' */ ?", nullptr, 1},
        // Byte-order marks go everywhere but in comments.
        {u"\xFEFFselect '\xFEFF', \xFFFE?", u"select '', ?", 1}, {u"\xFEFF", u"", 0},
        {u"'a'\xFEFF'?' -- \xFEFF", u"'a''?' -- \xFEFF", 0}, {u"caf\xE9 = '\x20AC'", nullptr, 0},
        // Escape sequences; of "ts" only the first letter goes.
        {u"{fn NOW()}", u"    NOW() ", 0}, {u"select { fn f(?) } x", u"select      f(?)   x", 1},
        {u"{d '2020-01-31'}", u"   '2020-01-31' ", 0}, {u"{d 'a'} {t 'b'}", u"   'a'     'b' ", 0},
        {u"{dt 'x'}", u"    'x' ", 0}, {u"{ts '2001-02-03'}", u"  s '2001-02-03' ", 0},
        {u"{ d 'x'}", u"    'x' ", 0}, {u"{  d 'x'}", u"      x' ", 0}, {u"{d}", u"   ", 0},
        {u"{  d}", u"     ", 0}, {u"{FN NOW()}", nullptr, 0}, {u"{D 'x'}", nullptr, 0},
        {u"{?=call p(?)}", nullptr, 2}, {u"{oj a} {escape '\\'} {} {  } {", nullptr, 0},
        {u"'{fn x}'", nullptr, 0}, {u"}", nullptr, 0},
        // A brace alone works from the text's start, a nested one from the outermost brace.
        {u"xfn a}", u"    a ", 0}, {u"{fn a({d 'x'})}", u"    a({d 'x' )}", 0},
        {u"{d '}'}", u"   ' '}", 0}, {u"{fn {fn a}}", u"    {fn a }", 0},
        {u"a -- {fn x} ? ' \n b", nullptr, 0},
    };
    // clang-format on
    for (const auto &c : cases) {
        EXPECT_EQ(process(stmt, c.text), c.output == nullptr ? c.text : c.output);
        EXPECT_EQ(stmt->found_param_count, c.markers) << testing::PrintToString(c.text);
    }
    // A first word that is too long is cut.
    EXPECT_EQ(process(stmt, std::u16string(1000, u's')), std::u16string(1000, u's'));
}

// The keywords found, each with its offset: one unit before the word.
static std::string keywords_of(const cass_stmt *stmt)
{
    const std::pair<const char *, std::int32_t> offsets[] = {
        {"where", stmt->where_offset},  {"from", stmt->from_offset},
        {"into", stmt->into_offset},    {"set", stmt->set_offset},
        {"group", stmt->group_offset},  {"order", stmt->order_offset},
        {"values", stmt->values_offset}};
    std::string found;
    for (const auto &[word, offset] : offsets)
        found += offset == -1 ? "" : word + std::to_string(offset) + " ";
    return found;
}

TEST_F(rewriter, keyword_offsets)
{
    // clang-format off
    static constexpr struct { const char16_t *text; const char *keywords; } cases[] = {
        {u"  select * from t ;  ", "from8 "}, {u"select a from t from u", "from8 "},
        {u"insert into t (a,b) values (?,?);", "into6 values19 "},
        {u"UPDATE T SET a=1 WHERE", "where16 set8 "}, {u"select (a)from;x", "from9 "},
        {u"select a from t group by x order by y", "from8 group15 order26 "},
        {u"select * from (select a from t)", "from8 "}, {u"selectfrom x", ""},
        {u"select 1 from t where(a=1)", "where15 from8 "}, {u"select a from/*c*/t", ""},
        {u"select ' from ' , \" from \", [ from ] x", ""}, {u"select a fr\"\"om t", ""},
        {u"select a ffrom t", ""}, {u"select a) from t", ""},
        {u"select a \x166rom t", ""},        // "f" in its low byte
        {u"select a fr-om t", "from9 "},  // a hyphen neither feeds nor resets a word
        // Index 0 is no word start, index 1 always is one.
        {u"from t", ""}, {u"xfrom t", "from0 "}, {u"\xFEFF" "a from t", "from1 "},
    };
    // clang-format on
    for (const auto &c : cases) {
        process(stmt, c.text);
        EXPECT_EQ(keywords_of(stmt), c.keywords) << testing::PrintToString(c.text);
    }
}

// Each text on the statement of those before: nothing may be left of them.
TEST_F(rewriter, verb_and_name)
{
    // clang-format off
    static constexpr struct { const char16_t *sql; int verb, params; const char *name; } cases[] = {
        {u"SELECT '?' from t where a=?", VERB_SELECT, 1, "(null)"},
        {u"select a from t where a=?", VERB_SELECT, 0, "(null)"},
        {u"\xFEFFsel", VERB_SELECT, 0, "(null)"}, {u"sel\x100", VERB_SELECT, 0, "(null)"},
        {u"Show ?", VERB_SHOW, 0, "(null)"}, {u"drop table t", VERB_D, 0, "(null)"},
        {u"update t", VERB_UP, 0, "(null)"}, {u"{exec p}", VERB_EXEC, 0, "p}"},
        {u"insert", VERB_I, 0, "(null)"}, {u"{call p}", VERB_UNKNOWN, 0, "(null)"},
        {u"-- c\nselect 1", VERB_UNKNOWN, 0, "(null)"}, {u"x y", VERB_EXEC, 0, "(null)"},
        {u"EXECUTE  my_proc(1) x", VERB_EXEC, 0, "my_proc(1)"}, {u"exec p", VERB_EXEC, 0, "p"},
        {u"exec", VERB_EXEC, 0, "(null)"}, {u"use k", VERB_UNKNOWN, 0, "(null)"},
    };
    // clang-format on
    for (const auto &c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.sql));
        process(stmt, c.sql);
        EXPECT_EQ(stmt->verb_code, c.verb);
        EXPECT_EQ(stmt->select_has_params, c.params);
        EXPECT_EQ(text_of(stmt->exec_name), c.name);
    }
}
