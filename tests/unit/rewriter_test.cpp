// The pass over an application's text: what the server gets, and how many markers are in it.
#include "core/statement/cass_sql.h"

#include "core/net/cass_conn.h"
#include "tests/unit/handles.h"

// Scans on the statement and checks that the input stays.
static std::u16string process(cass_stmt *stmt, const std::u16string &text)
{
    const owned_string input = string_of(text), output = own(cass_process_sql(stmt, input.get()));
    EXPECT_EQ(units_of(input.get()), text);
    return units_of(output.get());
}

// A null output is the text itself.
struct rewrite {
    const char16_t *text, *output;
    int markers;
};

static constexpr rewrite by_default[] = {
    // clang-format off
    // Trim.
    {u"  select * from t ;  ", u"select * from t ", 0}, {u"\t\r\n\v\fa;;;\n", u"a", 0},
    {u"", u"", 0}, {u" ;;; ", u"", 0},
    // Markers, quotes, brackets, comments.
    {u"insert into t (a,b) values (?,?)", nullptr, 2}, {u"select '?' from t where a=?", nullptr, 1},
    {u"select '''' , ?", nullptr, 1}, {u"select \"a\"\"?\", ?", nullptr, 1},
    {u"select a[?] from t where b=?", nullptr, 1}, {u"'\"', ?, \"'\", ?", nullptr, 2},
    {u"select 'open ?", nullptr, 0}, {u"'[' ? 'x]' ?", nullptr, 2}, {u"a = ? -- why?", nullptr, 1},
    {u"-- ' ?\ra = ?", nullptr, 1}, {u"/* ? ' */ ?", nullptr, 1},
    // Byte-order marks go everywhere but in comments.
    {u"\xFEFFselect '\xFEFF', \xFFFE?", u"select '', ?", 1}, {u"\xFEFF", u"", 0},
    {u"caf\xE9 = '\x20AC'", nullptr, 0},
    // Escape sequences; of "ts" only the first letter goes.
    {u"{fn NOW()}", u"    NOW() ", 0}, {u"select { fn f(?) } x", u"select      f(?)   x", 1},
    {u"{d 'a'} {t 'b'}", u"   'a'     'b' ", 0}, {u"{ts '2001-02-03'}", u"  s '2001-02-03' ", 0},
    {u"{  d 'x'}", u"      x' ", 0}, {u"{d}", u"   ", 0},
    {u"{FN NOW()}", nullptr, 0}, {u"{?=call p(?)}", nullptr, 2},
    {u"{oj a} {escape '\\'} {} {  } {", nullptr, 0}, {u"'{fn x}'", nullptr, 0}, {u"}", nullptr, 0},
    // A brace alone works from the text's start, a nested one from the outermost brace.
    {u"xfn a}", u"    a ", 0}, {u"{fn a({d 'x'})}", u"    a({d 'x' )}", 0},
    {u"{fn {fn a}}", u"    {fn a }", 0}, {u"a -- {fn x} ? ' \n b", nullptr, 0},
    // clang-format on
};

// Read as CQL.
static constexpr rewrite as_cql[] = {
    // clang-format off
    {u"\xFEFF \xFEFF a ; ;\n", u"a", 0}, {u" \t ", u"", 0}, {u"", u"", 0}, {u" ;;; ", u"", 0},
    {u"a;b; \x0000", u"a;b", 0}, {u"? /* ? ' */ ?", nullptr, 2},
    {u"'it''s ?' ? \"a\"\"?\" $$ ? ' $ $$ ?", nullptr, 2},

    {u"'\xFEFF;'; ", u"'\xFEFF;'", 0},
    {u"a -- b;", u"a -- b;\n", 0}, {u"a // b \n", u"a // b \n", 0}, {u"--", u"--\n", 0},

    // Literals.
    {u"{d '2001-02-03'}", u"'2001-02-03'", 0}, {u"{ D  '2001-02-03' }", u"'2001-02-03'", 0},
    {u"{t'10:11:12'}", u"'10:11:12'", 0}, {u"{guid '6F9619FF'}", u"6F9619FF", 0},
    {u"{guid '0 or ?'}", u"'0 or ?'", 0},
    {u"{ts'2001-02-03 4:5:6'}", u"'2001-02-03 4:5:6+0000'", 0},
    {u"{TS '2001-02-03 4:5:6.789'};", u"'2001-02-03 4:5:6.789+0000'", 0},
    {u"{ts '2001-02-03T04:05:06Z'}", u"'2001-02-03T04:05:06Z'", 0},

    {u"{ts'2001-02-03'}{ts'2001-02-03'}", u"'2001-02-03+0000''2001-02-03+0000'", 0},
    // Words, with escapes and literals of CQL inside.
    {u"select {fn now()}, {FN f({fn g(?)}, {'a': {1}}, '}')} x",
     u"select  now(),  f( g(?), {'a': {1}}, '}') x", 1},
    {u"{oj a}{call b}{escape '!'}", u" a b '!'", 0},
    // None of them.
    {u"{d: 'x', fn : 1, ts:2}", nullptr, 0},
    {u"{'d ': 'x'}", nullptr, 0}, {u"{date '2001-02-03'}", nullptr, 0},
    {u"{d 'a' 'b'} {ts ?} {d '}", nullptr, 1}, {u"} {fn a", u"}  a", 0}, {u"{", nullptr, 0},
    {u"{ts '", nullptr, 0}, {u"'{fn x}' {{}}", nullptr, 0},
    // clang-format on
};

using rewriter = stmt_fixture;

TEST_F(rewriter, output_and_marker_count)
{
    const auto expect = [&](const rewrite &row) {
        EXPECT_EQ(process(stmt, row.text), row.output == nullptr ? row.text : row.output);
        EXPECT_EQ(stmt->found_param_count, row.markers) << testing::PrintToString(row.text);
    };
    for (const rewrite &row : by_default)
        expect(row);
    conn->conduct = &standard_conduct;
    for (const rewrite &row : as_cql)
        expect(row);
    process(stmt, u"/* a */ -- b\n Insert into");
    EXPECT_EQ(stmt->verb_code, VERB_I);
    process(stmt, u"selecT");
    EXPECT_EQ(stmt->verb_code, VERB_SELECT);
}

TEST_F(rewriter, selects_without_a_table)
{
    static constexpr std::pair<const char16_t *, const char16_t *> cases[] = {
        {u"Select 1;", u"SELECT (int)1 AS \"1\" FROM system.local"},
        {u"select -2147483648 as x", u"SELECT (bigint)-2147483648 AS x FROM system.local"},
        {u"select 9223372036854775808",
         u"SELECT (varint)9223372036854775808 AS \"9223372036854775808\" FROM system.local"},
        {u"select 1.5 \"A b\"", u"SELECT (double)1.5 AS \"A b\" FROM system.local"},
        {u"select 'it''s \"q\"'",
         u"SELECT (text)'it''s \"q\"' AS \"'it''s \"\"q\"\"'\" FROM system.local"},
        {u"select TRUE t", u"SELECT (boolean)TRUE AS t FROM system.local"}};
    for (const auto &[text, output] : cases) {
        conn->conduct = &default_conduct;
        EXPECT_NE(process(stmt, text), output);
        conn->conduct = &standard_conduct;
        EXPECT_EQ(process(stmt, text), output);
    }
    for (const char16_t *text :
         {u"select 1 from t", u"select a", u"select 1, 2", u"select 1x", u"select 1 as",
          u"select 'a", u"select", u"select 1.", u"select -", u"select 1 2", u"select 1 a b",
          u"selects 1", u"select '\x17C'", u"select 1 as \"x"})
        EXPECT_EQ(process(stmt, text), text);
}

TEST_F(rewriter, filtering_is_allowed)
{
    // What stands behind the place where it is added, or nothing when the text stays.
    static constexpr std::pair<const char16_t *, const char16_t *> texts[] = {
        {u"select a from t where b=1", u""},
        {u"SELECT a FROM t\nWHERE b='allow filtering' LIMIT 2", u""},
        {u"/* select */ Select * from t where \"allow\"=1", u" -- allow filtering\n/**/"},
        {u"select a from t where allow=1", u""},
        {u"select a from t where b=$$ ;$$", u""},
        {u"select \"where\", 'where', wherever from t -- where\n/**/", nullptr},
        {u"select a from t where b=1 allow  /* x */ Filtering", nullptr},
        {u"update t set a=1 where b=2", nullptr},
        {u"(select a from t where b=1)", nullptr}};
    for (const bool standard : {false, true})
        for (const bool allowed : {false, true})
            for (const auto &[text, tail] : texts) {
                conn->conduct = standard ? &standard_conduct : &default_conduct;
                conn->settings.allow_filtering = allowed;
                const std::u16string behind = tail == nullptr ? u"" : tail,
                                     added = allowed && tail != nullptr ? u" ALLOW FILTERING" : u"";
                EXPECT_EQ(process(stmt, text + behind), text + added + behind) << standard;
            }
}

TEST_F(rewriter, braces_by_the_thousand_take_one_pass)
{
    const std::size_t count = 99'999;
    std::u16string text = u"{" + std::u16string(count, u' ') + std::u16string(count, u'}');
    const std::int64_t begun = cass_monotonic_ms();
    EXPECT_TRUE(process(stmt, text) == text);
    for (std::size_t i = count + 1; i < text.size(); i += 3)
        text.replace(i, 3, u"fn}");
    EXPECT_TRUE(process(stmt, text) == std::u16string(text.size(), u' '));
    EXPECT_LT(cass_monotonic_ms() - begun, 10'000);
}
