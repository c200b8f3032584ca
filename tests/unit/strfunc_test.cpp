// The driver's text and its edges: encodings good and malformed, parts and sums.
#include "tests/unit/handles.h"

TEST(strfunc, utf8_with_the_masks_of_the_driver)
{
    // clang-format off
    static const struct { const char *bytes; int count; std::u16string units; } rows[] = {
        {"\xF0\x9F\x98\x80x", 5, u"\xF600x"},  // the high bits are lost, no surrogate pair
        {"\x9F\x61", 2, {u"\0a", 2}}, {"abc", -5, u""}, {"\xC3\xA9t", SQL_NTS, u"\xE9t"},
        {"\xC3\x61", 2, u"\xE1"},  // not a continuation byte: masked all the same
        {"\xE2\x82\xAC", 2, u"\x2080"}, {"\xF0\x9F", 2, u"\xF000"},  // what is cut off is 0
    };
    // clang-format on
    for (const auto &r : rows)
        EXPECT_EQ(units_of(own(cass_string_from_utf8(r.bytes, r.count, 1)).get()), r.units)
            << r.bytes;
    const owned_string text = string_of(u"\x7F\x80\x7FF\x800\x20AC\xFFFF\xD83D\xDE00");
    const std::string bmp = "\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xE2\x82\xAC\xEF\xBF\xBF";
    EXPECT_EQ(held_text(cass_string_to_utf8(text.get())).get(), bmp + "\xED\xA0\xBD\xED\xB8\x80");
    EXPECT_STREQ(held_text(cass_string_to_ascii(text.get())).get(), "\x7F\x80\xFF");
    // What the text means: pairs are joined, and bytes stay bytes, in parts and joined texts too.
    std::int32_t count;
    const auto meant = [&](const owned_string &of) {
        return std::string(held_text(cass_string_to_bytes(of.get(), &count)).get());
    };
    EXPECT_EQ(meant(text), bmp + "\xF0\x9F\x98\x80");
    const owned_string joined = own(cass_string_from_cstr(""));
    cass_string_append(joined.get(),
                       own(cass_string_sub(string_of(u"a\xE9\xD83D").get(), 1, 2)).get());
    EXPECT_EQ(meant(joined), "\xC3\xA9\xED\xA0\xBD");
    EXPECT_EQ(meant(own(cass_string_copy(own(cass_string_from_cstr("\xC3\xA9")).get()))),
              "\xC3\xA9");
}
