// What the rewriter makes of an application's text: unit tests look at its output, wire tests at the
// text that reaches the server.
#ifndef TESTS_REWRITER_CASES_H
#define TESTS_REWRITER_CASES_H

// A null output is the text itself.
struct rewriter_case {
    const char16_t *text, *output;
    int markers;
};

// clang-format off
inline constexpr rewriter_case rewriter_cases[] = {
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

#endif
