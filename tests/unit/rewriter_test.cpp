// The pass over an application's text: what the server gets, and what is noted on the statement.
#include "core/cass_sql.h"

#include "tests/rewriter_cases.h"
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
    for (const rewriter_case &c : rewriter_cases) {
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
