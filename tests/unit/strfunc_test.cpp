// The driver's text and its edges: what null and empty mean, encodings good and malformed, and
// copies that must not leave the buffer.
#include "support/strfunc.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include "core/cass_text_out.h"
#include "support/ascii.h"

using owned_string = std::unique_ptr<cass_string, void (*)(cass_string *)>;
using owned_bytes = std::unique_ptr<char, void (*)(void *)>;

static owned_string own(cass_string *string)
{
    return {string, cass_string_free};
}

static owned_string from(const char16_t *text)
{
    return own(cass_string_from_wide(reinterpret_cast<const SQLWCHAR *>(text), SQL_NTS));
}

// "null" for a null string.
static std::u16string units_of(const cass_string *string)
{
    if (string == nullptr)
        return u"null";
    const std::int32_t length = cass_string_length(string);
    return length == 0 ? std::u16string() : std::u16string(string->text, string->text + length);
}

TEST(strfunc, null_and_empty_arguments)
{
    static constexpr SQLWCHAR none[] = {0};
    const auto *empty = reinterpret_cast<const SQLCHAR *>("");
    EXPECT_EQ(units_of(own(cass_string_alloc(0)).get()), u"");
    EXPECT_EQ(own(cass_string_alloc(0))->text, nullptr);
    EXPECT_EQ(cass_string_from_ansi(nullptr, SQL_NTS), nullptr);
    EXPECT_EQ(cass_string_from_wide(nullptr, 3), nullptr);
    EXPECT_EQ(cass_string_from_utf8(nullptr, 3, 1), nullptr);
    EXPECT_EQ(cass_string_wrap(nullptr, 3), nullptr);
    EXPECT_EQ(cass_string_copy(nullptr), nullptr);
    EXPECT_EQ(cass_string_to_ascii(nullptr), nullptr);
    EXPECT_EQ(cass_string_to_utf8(nullptr), nullptr);
    EXPECT_EQ(cass_string_length(nullptr), 0);
    EXPECT_EQ(units_of(own(cass_string_from_ansi(empty, SQL_NTS)).get()), u"");
    EXPECT_EQ(units_of(own(cass_string_from_ansi(empty, -7)).get()), u"");
    EXPECT_EQ(units_of(own(cass_string_from_wide(none, SQL_NTS)).get()), u"");
    EXPECT_EQ(units_of(own(cass_string_from_cstr(nullptr)).get()), u"");
    EXPECT_EQ(units_of(own(cass_string_from_bytes(nullptr, 9)).get()), u"");
    // More than the length field can hold.
    EXPECT_EQ(cass_string_alloc(std::int64_t{1} << 31), nullptr);
    EXPECT_EQ(cass_string_wrap(const_cast<SQLWCHAR *>(none), std::int64_t{1} << 31), nullptr);
}

TEST(strfunc, ansi_is_widened_and_narrowed_by_bytes)
{
    const auto text = own(cass_string_from_bytes("a\x80\xFF", 3));
    EXPECT_EQ(units_of(text.get()), u"a\x80\xFF");
    const auto wide = from(u"a\x20AC\x141");
    const owned_bytes bytes(cass_string_to_ascii(wide.get()), std::free);
    EXPECT_STREQ(bytes.get(), "a\xAC\x41");
}

TEST(strfunc, utf8_with_the_masks_of_the_driver)
{
    struct row {
        const char *bytes;
        int count;
        const char16_t *units;
    };
    static const row rows[] = {
        {"aZ", 2, u"aZ"},
        {"\xC3\xA9", 2, u"\xE9"},
        {"\xE2\x82\xAC!", 4, u"\x20AC!"},
        {"\xF0\x9F\x98\x80x", 5, u"\xF600x"},  // the high bits are lost, no surrogate pair
        {"\xED\xA0\x80", 3, u"\xD800"},
        {"\x9F\x61", 2, nullptr},    // unit 0, then "a"
        {"\xC3\x61", 2, u"\xE1"},    // not a continuation byte: masked all the same
        {"\xE2\x82", 2, u"\x2080"},  // what the end cuts off counts as 0
        {"\xF0\x9F", 2, u"\xF000"},
        {"\xE2\x82\xAC", 2, u"\x2080"},  // the count ends the text, not the bytes behind it
        {"\xC3\xA9t", SQL_NTS, u"\xE9t"},
        {"abc", 0, u""},
        {"abc", -5, u""},
    };
    for (const row &r : rows) {
        const auto text = own(cass_string_from_utf8(r.bytes, r.count, 1));
        const std::u16string expected = r.units == nullptr ? std::u16string(u"\0a", 2) : r.units;
        EXPECT_EQ(units_of(text.get()), expected) << r.bytes;
    }
    const auto text = from(u"\x7F\x80\x7FF\x800\x20AC\xFFFF\xD83D\xDE00");
    const owned_bytes bytes(cass_string_to_utf8(text.get()), std::free);
    EXPECT_STREQ(bytes.get(), "\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xE2\x82\xAC\xEF\xBF\xBF"
                              "\xED\xA0\xBD\xED\xB8\x80");
    SQLWCHAR unit;
    EXPECT_EQ(cass_utf8_get(reinterpret_cast<const unsigned char *>("\xE2"), 1, &unit), 1);
}

TEST(strfunc, split_outside_braces)
{
    struct row {
        const char16_t *text, *left, *right;
    };
    static constexpr row rows[] = {
        {u"a;b;c", u"a", u"b;c"},
        {u"{a;b};c", u"{a;b}", u"c"},
        {u"{{a};b};c;d", u"{{a};b}", u"c;d"},
        {u"abc", u"abc", u""},
        {u"abc;", u"abc", u""},
        {u";", u"", u""},
        {u"}a;b", u"}a;b", u""},
        {u"", u"", u""},
        {u"a\x3B3B;b", u"a\x3B3B", u"b"},
    };
    for (const row &r : rows) {
        cass_string *left, *right;
        ASSERT_EQ(cass_string_split(from(r.text).get(), ';', &left, &right), 1);
        EXPECT_EQ(units_of(own(left).get()), r.left);
        EXPECT_EQ(units_of(own(right).get()), r.right);
    }
    std::int32_t position;
    EXPECT_EQ(cass_string_find_char(4, from(u"abc").get(), ';', &position), 0);
    EXPECT_EQ(cass_string_find_char(3, from(u"abc").get(), ';', &position), 1);
    EXPECT_EQ(position, 3);
}

TEST(strfunc, compare_by_folded_low_bytes)
{
    struct row {
        const char16_t *left;
        const char *right;
        int order;
    };
    static constexpr row rows[] = {
        {u"ABC", "abc", 0},   {u"ab", "abc", -1}, {u"abcd", "abc", 1}, {u"", "", 0},
        {u"a\x100", "a", 1},  {u"b", "A", 1},     {u"\x161", "A", 0},  {u"\xE9", "a", -1},
        {u"\xE9", "\xC9", 1},  // letters beyond ASCII are not folded
    };
    for (const row &r : rows) {
        const auto left = from(r.left);
        const auto right = own(cass_string_from_cstr(r.right));
        EXPECT_EQ(cass_string_compare_cstr(left.get(), r.right), r.order) << r.right;
        EXPECT_EQ(cass_string_compare(left.get(), right.get()), r.order) << r.right;
        EXPECT_EQ(cass_string_compare(right.get(), left.get()), -r.order) << r.right;
    }
}

TEST(strfunc, parts_and_sums)
{
    struct row {
        int start, count;
        const char16_t *part;
    };
    static constexpr row rows[] = {
        {0, -1, u"abcdef"}, {2, 2, u"cd"}, {4, 9, u"ef"},         {6, 1, u""},
        {99, -1, u""},      {1, 0, u""},   {5, 0x7FFFFFFF, u"f"},
    };
    const auto text = from(u"abcdef");
    for (const row &r : rows)
        EXPECT_EQ(units_of(own(cass_string_sub(text.get(), r.start, r.count)).get()), r.part);

    EXPECT_EQ(cass_string_append(text.get(), from(u"gh").get()), text.get());
    EXPECT_EQ(cass_string_append(text.get(), text.get()), text.get());
    EXPECT_EQ(cass_string_append(text.get(), nullptr), text.get());
    EXPECT_EQ(units_of(text.get()), u"abcdefghabcdefgh");

    SQLWCHAR foreign[] = {'x', 'y', 0};
    const auto borrowed = own(cass_string_wrap(foreign, SQL_NTS));
    cass_string_append(borrowed.get(), text.get());
    EXPECT_EQ(units_of(borrowed.get()), u"xyabcdefghabcdefgh");
    EXPECT_EQ(foreign[0], 'x');
}

TEST(strfunc, format)
{
    const auto name = from(u"t\x20AC");
    static constexpr SQLWCHAR quoted[] = {'i', 't', '\'', 's', 0};
    const auto text = own(cass_string_format(
        "%S|%F|%S|%Z|%Z|%Z|%Z|%s|%d|%l", name.get(), cass_string_from_cstr("own"), nullptr, quoted,
        SQL_NTS, quoted, 3, quoted, 0, nullptr, SQL_NTS, "b\xE9", -2147483647 - 1, 42));
    EXPECT_EQ(units_of(text.get()),
              u"t\x20AC|own|(nul)|'it''s'|'it'''|''|null|b\xFFE9|-2147483648|42");
    EXPECT_EQ(units_of(own(cass_string_format("")).get()), u"");

    const std::string piece(1023, 'p');  // the seams of the growing buffer
    const char *p = piece.c_str();
    const auto grown = own(cass_string_format("%s%s%s", p, p, p));
    EXPECT_EQ(units_of(grown.get()), std::u16string(3 * 1023, u'p'));
}

TEST(strfunc, text_out_of_the_driver)
{
    struct row {
        const char16_t *text;
        int size;
        bool cut;
        const char *bytes;  // with terminator; null: nothing written
    };
    static constexpr row rows[] = {
        {u"abc", 4, false, "abc"},
        {u"abc", 3, true, "ab"},
        {u"abc", 1, true, ""},
        {u"abc", 0, true, nullptr},
        {u"abc", -1, true, nullptr},
        {u"", 1, false, ""},
        {u"", 0, false, nullptr},
        {u"\xE9\xE9", 5, false, "\xC3\xA9\xC3\xA9"},
        {u"\xE9\xE9", 4, true, "\xC3\xA9\xC3"},
        {u"\xE9\xE9", 3, true, "\xC3\xA9"},
    };
    for (const row &r : rows) {
        const auto text = from(r.text);
        std::string buffer(16, '#');
        std::string expected = buffer;
        if (r.bytes != nullptr)
            expected.replace(0, std::strlen(r.bytes) + 1, r.bytes, std::strlen(r.bytes) + 1);
        EXPECT_EQ(cass_ansi_text_out(text.get(), buffer.data(), r.size), r.cut) << r.size;
        EXPECT_EQ(buffer, expected) << r.size;
        EXPECT_FALSE(cass_ansi_text_out(text.get(), nullptr, r.size));
    }
    SQLWCHAR wide[4] = {9, 9, 9, 9};
    EXPECT_TRUE(cass_wide_text_out(from(u"abc").get(), wide, 3));
    EXPECT_TRUE(wide[0] == 'a' && wide[1] == 'b' && wide[2] == 0 && wide[3] == 9);
    EXPECT_FALSE(cass_wide_text_out(from(u"abc").get(), wide, 4));
    EXPECT_TRUE(wide[2] == 'c' && wide[3] == 0);
    EXPECT_FALSE(cass_wide_text_out(nullptr, wide, 4));
    EXPECT_EQ(wide[0], 0);
}

TEST(strfunc, copy_out)
{
    struct row {
        const char *text;
        int size, code;
        const char *bytes;
    };
    static constexpr row rows[] = {
        {"abc", 4, 0, "abc"},   {"abc", 3, 1, "ab"}, {"abc", 1, 1, ""},
        {"abc", 0, 0, nullptr}, {nullptr, 1, 0, ""}, {"abc", -1, 1, nullptr},
    };
    for (const row &r : rows) {
        std::string buffer(8, '#');
        std::string expected = buffer;
        if (r.bytes != nullptr)
            expected.replace(0, std::strlen(r.bytes) + 1, r.bytes, std::strlen(r.bytes) + 1);
        std::int32_t length = -1;
        EXPECT_EQ(cass_copy_out(buffer.data(), r.size, &length, r.text), r.code) << r.size;
        EXPECT_EQ(buffer, expected) << r.size;
        EXPECT_EQ(length, r.text == nullptr ? 0 : 3);
    }
    EXPECT_EQ(cass_copy_out(nullptr, 2, nullptr, "abc"), 0);
}

TEST(strfunc, measuring_stops_at_the_limits)
{
    // No terminator in reach: only the limits keep the reader inside.
    const char bytes[4] = {'a', 'b', 'c', 'd'};
    EXPECT_EQ(cass_ansi_length_limited(bytes, 4, 2), 4);
    EXPECT_EQ(cass_ansi_length_limited(bytes, 2, 4), 4);
    EXPECT_EQ(cass_ansi_length_limited(bytes, 0, 3), 3);
    EXPECT_EQ(cass_ansi_length_limited(bytes, 3, 0), 3);
    EXPECT_EQ(cass_ansi_length_limited(bytes, 0, 0), 0);
    EXPECT_EQ(cass_ansi_length_limited("ab", 9, 9), 2);
    const SQLWCHAR units[4] = {'a', 'b', 'c', 'd'};
    EXPECT_EQ(cass_wide_length_limited(units, 9, 7), 3);
    EXPECT_EQ(cass_wide_length_limited(units, 2, 9), 2);
    EXPECT_EQ(cass_wide_length_limited(units, 0, 9), 0);
    EXPECT_EQ(cass_wide_length_limited(nullptr, 9, 9), 0);
}

TEST(ascii, numbers_as_in_the_c_locale)
{
    for (const char *text :
         {"", "0", "42x", " \t\n+7", "-2147483648", "4294967296", "2147483648", "- 5",
          "9223372036854775807", "9223372036854775808", "-9223372036854775809",
          "99999999999999999999999", "0x1F", "0X1fg", "0x", "-0x10", "017", "08", "x1"}) {
        const auto decimal = static_cast<std::int32_t>(std::strtol(text, nullptr, 10));
        const auto any_base = static_cast<std::int32_t>(std::strtol(text, nullptr, 0));
        EXPECT_EQ(ascii_to_int(text), decimal) << text;
        EXPECT_EQ(ascii_to_int_any_base(text), any_base) << text;
    }
    EXPECT_EQ(ascii_to_double(" -1.25e2x"), -125.0);
    EXPECT_EQ(ascii_to_double("x"), 0.0);
    EXPECT_EQ(ascii_casecmp("SeRver", "server"), 0);
    EXPECT_LT(ascii_casecmp("ab", "ABC"), 0);
    EXPECT_GT(ascii_casecmp("\xE9", "z"), 0);
}
