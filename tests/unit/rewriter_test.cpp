// The pass over an application's text: what the server gets, and what is noted on the statement.
#include "core/cass_sql.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

using owned_string = std::unique_ptr<cass_string, void (*)(cass_string *)>;

static std::string printable(const std::u16string &text)
{
    std::string result;
    for (const char16_t unit : text) {
        if (unit < 0x80)
            result += static_cast<char>(unit);
        else
            result += "<" + std::to_string(unit) + ">";
    }
    return result;
}

static std::u16string units_of(const cass_string *string)
{
    const std::int32_t length = cass_string_length(string);
    return length == 0 ? std::u16string() : std::u16string(string->text, string->text + length);
}

// Scans on a bare statement, whose strings are released again.
static std::u16string process(cass_stmt *stmt, const std::u16string &text)
{
    std::u16string input = text;
    const auto units = static_cast<std::int64_t>(input.size());
    const owned_string wrapped(cass_string_wrap(reinterpret_cast<SQLWCHAR *>(input.data()), units),
                               cass_string_free);
    const owned_string output(cass_process_sql(stmt, wrapped.get()), cass_string_free);
    EXPECT_NE(output, nullptr);
    EXPECT_EQ(input, text) << "the input was changed";
    return units_of(output.get());
}

struct text_case {
    const char16_t *text;
    const char16_t *output;  // null: unchanged
    int markers;
};

TEST(rewriter, output_and_marker_count)
{
    static constexpr text_case cases[] = {
        // Trim.
        {u"  select * from t ;  ", u"select * from t ", 0},
        {u"\t\r\n\v\fa;;;\n", u"a", 0},
        {u"a;b; ;", u"a;b; ", 0},
        {u" \t ", u"", 0},
        {u"", u"", 0},
        {u" ;;; ", u"", 0},
        // Markers, quotes, brackets, comments.
        {u"insert into t (a,b) values (?,?)", nullptr, 2},
        {u"select '?' from t where a=?", nullptr, 1},
        {u"select 'it''s ?' from t", nullptr, 0},
        {u"select '''' , ?", nullptr, 1},
        {u"select \"a?b\" from t", nullptr, 0},
        {u"select \"a\"\"?\", ?", nullptr, 1},
        {u"select '\"', ?, \"'\", ?", nullptr, 2},
        {u"select a[?] from t where b=?", nullptr, 1},
        {u"a['] ? [\"] ?", nullptr, 2},
        {u"'[' ? 'x]' ?", nullptr, 2},
        {u"select 'open ?", nullptr, 0},
        {u"a = ? -- why?", nullptr, 1},
        {u"-- ' ?\na = ?", nullptr, 1},
        {u"-- ' ?\ra = ?", nullptr, 1},
        {u"'--' ? - ? -", nullptr, 2},
        {u"/* ? ' */ ?", nullptr, 1},
        // Byte-order marks go everywhere but in comments.
        {u"\xFEFFselect '\xFEFF', \xFFFE?", u"select '', ?", 1},
        {u"'a'\xFEFF'?' -- \xFEFF", u"'a''?' -- \xFEFF", 0},
        {u"\xFEFF", u"", 0},
        {u"caf\xE9 = '\x20AC'", nullptr, 0},
        // Escape sequences.
        {u"{fn NOW()}", u"    NOW() ", 0},
        {u"select { fn f(?) } x", u"select      f(?)   x", 1},
        {u"{d '2020-01-31'}", u"   '2020-01-31' ", 0},
        {u"{t '10:11:12'}", u"   '10:11:12' ", 0},
        {u"{d 'a'} {t 'b'}", u"   'a'     'b' ", 0},
        {u"{dt 'x'}", u"    'x' ", 0},
        {u"{ts '2001-02-03'}", u"  s '2001-02-03' ", 0},
        {u"{ d 'x'}", u"    'x' ", 0},
        {u"{  d 'x'}", u"      x' ", 0},
        {u"{d}", u"   ", 0},
        {u"{  d}", u"     ", 0},
        {u"{FN NOW()}", nullptr, 0},
        {u"{D 'x'}", nullptr, 0},
        {u"{?=call p(?)}", nullptr, 2},
        {u"{oj a} {escape '\\'} {} {  } {", nullptr, 0},
        {u"'{fn x}'", nullptr, 0},
        {u"}", nullptr, 0},
        // A brace alone works from the text's start, a nested one from the outermost brace.
        {u"xfn a}", u"    a ", 0},
        {u"{fn a({d 'x'})}", u"    a({d 'x' )}", 0},
        {u"{d '}'}", u"   ' '}", 0},
    };
    for (const text_case &c : cases) {
        cass_stmt stmt = {};
        const std::u16string expected = c.output == nullptr ? c.text : c.output;
        EXPECT_EQ(printable(process(&stmt, c.text)), printable(expected)) << printable(c.text);
        EXPECT_EQ(stmt.found_param_count, c.markers) << printable(c.text);
        cass_string_free(stmt.exec_name);
    }
}

TEST(rewriter, a_statement_is_scanned_anew_each_time)
{
    cass_stmt stmt = {};
    process(&stmt, u"exec p ? ?");
    EXPECT_EQ(stmt.found_param_count, 2);
    EXPECT_EQ(units_of(stmt.exec_name), u"p");
    process(&stmt, u"select '?' from t");
    EXPECT_EQ(stmt.select_has_params, 1);
    process(&stmt, u"select 1");
    EXPECT_EQ(stmt.found_param_count, 0);
    EXPECT_EQ(stmt.exec_name, nullptr);
    EXPECT_EQ(stmt.from_offset, -1);
    EXPECT_EQ(stmt.select_has_params, 0);
}

// Offsets lie one unit before the word; words that a case leaves out are expected at -1.
struct keyword_case {
    const char16_t *text;
    int where = -1, from = -1, into = -1, set = -1, group = -1, order = -1, values = -1;
};

TEST(rewriter, keyword_offsets)
{
    static constexpr keyword_case cases[] = {
        {.text = u"  select * from t ;  ", .from = 8},
        {.text = u"insert into t (a,b) values (?,?);", .into = 6, .values = 19},
        {.text = u"UPDATE T SET a=1 WHERE", .where = 16, .set = 8},
        {.text = u"select a from t group by x order by y", .from = 8, .group = 15, .order = 26},
        {.text = u"select a from t from u", .from = 8},
        {.text = u"select * from (select a from t)", .from = 8},
        {.text = u"select 1 from t where(a=1)", .where = 15, .from = 8},
        {.text = u"select (a)from;x", .from = 9},
        {.text = u"selectfrom x"},
        {.text = u"select a from/*c*/t"},
        {.text = u"select ' from ' , \" from \", [ from ] x"},
        {.text = u"select a fr\"\"om t"},
        {.text = u"select a ffrom t"},
        {.text = u"select a \x166rom t"},  // "f" in its low byte
        {.text = u"select a) from t"},
        // A hyphen neither feeds nor resets a word.
        {.text = u"select a fr-om t", .from = 9},
        // Index 0 is no word start, index 1 always is one.
        {.text = u"from t"},
        {.text = u"xfrom t", .from = 0},
        {.text = u"\xFEFF"
                 u"a from t",
         .from = 1},
    };
    for (const keyword_case &c : cases) {
        cass_stmt stmt = {};
        process(&stmt, c.text);
        EXPECT_EQ(stmt.where_offset, c.where) << printable(c.text);
        EXPECT_EQ(stmt.from_offset, c.from) << printable(c.text);
        EXPECT_EQ(stmt.into_offset, c.into) << printable(c.text);
        EXPECT_EQ(stmt.set_offset, c.set) << printable(c.text);
        EXPECT_EQ(stmt.group_offset, c.group) << printable(c.text);
        EXPECT_EQ(stmt.order_offset, c.order) << printable(c.text);
        EXPECT_EQ(stmt.values_offset, c.values) << printable(c.text);
    }
}

struct verb_case {
    const char16_t *text;
    int verb;
    int select_has_params;
    const char16_t *exec_name;  // empty: none
};

TEST(rewriter, verb_and_name)
{
    static constexpr verb_case cases[] = {
        {u"SELECT '?' from t where a=?", VERB_SELECT, 1, u""},
        {u"select a from t where a=?", VERB_SELECT, 0, u""},
        {u"\xFEFFsel", VERB_SELECT, 0, u""},
        {u"sel\x100", VERB_SELECT, 0, u""},
        {u"Show ?", VERB_SHOW, 0, u""},
        {u"drop table t", VERB_D, 0, u""},
        {u"update t", VERB_UP, 0, u""},
        {u"insert", VERB_I, 0, u""},
        {u"{call p}", VERB_UNKNOWN, 0, u""},
        {u"{exec p}", VERB_EXEC, 0, u"p}"},
        {u"-- c\nselect 1", VERB_UNKNOWN, 0, u""},
        {u"x y", VERB_EXEC, 0, u""},
        {u"EXECUTE  my_proc(1) x", VERB_EXEC, 0, u"my_proc(1)"},
        {u"exec p", VERB_EXEC, 0, u"p"},
        {u"exec", VERB_EXEC, 0, u""},
        {u"use k", VERB_UNKNOWN, 0, u""},
    };
    for (const verb_case &c : cases) {
        cass_stmt stmt = {};
        process(&stmt, c.text);
        EXPECT_EQ(stmt.verb_code, c.verb) << printable(c.text);
        EXPECT_EQ(stmt.select_has_params, c.select_has_params) << printable(c.text);
        EXPECT_EQ(printable(units_of(stmt.exec_name)), printable(c.exec_name)) << printable(c.text);
        cass_string_free(stmt.exec_name);
    }
}

TEST(rewriter, a_long_first_word_is_cut)
{
    cass_stmt stmt = {};
    const std::u16string text(1000, u's');
    EXPECT_EQ(process(&stmt, text), text);
    EXPECT_EQ(stmt.verb_code, VERB_UNKNOWN);
}
