// What an argument of a catalog function selects.
#include <gtest/gtest.h>

#include "core/catalog/cass_catalog_match.h"

TEST(catalog_match, names_patterns_and_identifiers)
{
    static const struct {
        catalog_reading reading;
        const char *text;
        catalog_match_kind kind;
        std::vector<const char *> selected, others;
    } cases[] = {
        // clang-format off
        {READ_AS_NAME, "a%_\\_", MATCH_NAME, {"a%_\\_"}, {"a%__", "aXX"}},
        {READ_AS_NAME, "Ab ", MATCH_NAME, {"Ab "}, {"ab ", "Ab"}},
        {READ_AS_PATTERN, "", MATCH_NAME, {""}, {"a"}},
        {READ_AS_PATTERN, "%", MATCH_PATTERN, {"", "a", "\xC3\xA4"}, {}},
        {READ_AS_PATTERN, "a_c", MATCH_PATTERN, {"abc", "a\xC3\xA4" "c", "a\xF0\x9F\x98\x80" "c", "a_c"}, {"ac", "abbc", "Abc"}},
        {READ_AS_PATTERN, "%a%b%", MATCH_PATTERN, {"ab", "xaabb", "a\xC3\xA4" "b"}, {"ba", "a", ""}},
        {READ_AS_PATTERN, "%ab", MATCH_PATTERN, {"ab", "aab", "abab"}, {"aba", "b"}},
        {READ_AS_PATTERN, "a%%_", MATCH_PATTERN, {"ab", "abc"}, {"a", "ba"}},
        {READ_AS_PATTERN, "a\\_b", MATCH_NAME, {"a_b"}, {"axb", "a\\_b"}},
        {READ_AS_PATTERN, "\\%\\\\%", MATCH_PATTERN, {"%\\", "%\\x"}, {"x\\", "\\%\\"}},
        {READ_AS_PATTERN, "a\\b\\", MATCH_NAME, {"a\\b\\"}, {"ab"}},
        {READ_AS_PATTERN, "\"a\"", MATCH_NAME, {"\"a\""}, {"a"}},
        {READ_AS_IDENTIFIER, " Ab_%  ", MATCH_NAME, {" ab_%"}, {"ab_%", " Ab_%"}},
        {READ_AS_IDENTIFIER, " \"A\"\" b \"  ", MATCH_NAME, {"A\" b "}, {"a\" b "}},
        {READ_AS_IDENTIFIER, "\"", MATCH_NAME, {"\""}, {""}},
        {READ_AS_IDENTIFIER, "\"\"", MATCH_NAME, {""}, {"\""}},
        {READ_AS_IDENTIFIER, "\xC3\x84", MATCH_NAME, {"\xC3\x84"}, {"\xC3\xA4"}},
        // clang-format on
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.text);
        const catalog_match match = catalog_match_of(c.text, c.reading);
        EXPECT_EQ(match.kind, c.kind);
        for (const char *name : c.selected)
            EXPECT_TRUE(catalog_matches(match, name)) << name;
        for (const char *name : c.others)
            EXPECT_FALSE(catalog_matches(match, name)) << name;
    }
    EXPECT_TRUE(catalog_matches({}, "anything"));
    // Time in proportion to both lengths.
    const std::string pattern = std::string(2000, '%') + "a%a%a%b", name(20000, 'a');
    EXPECT_FALSE(catalog_matches(catalog_match_of(pattern, READ_AS_PATTERN), name));
}
