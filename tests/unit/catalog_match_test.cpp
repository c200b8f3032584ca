// What an argument of a catalog function selects. Patterns of any form are a fuzz target's.
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
        {READ_AS_PATTERN, "", MATCH_NAME, {""}, {"a"}}, {READ_AS_PATTERN, "a_%", MATCH_PATTERN,
         {"a\xC3\xA4", "a\xF0\x9F\x98\x80" "c"}, {"a", "Ab"}},
        {READ_AS_PATTERN, "a\\_b", MATCH_NAME, {"a_b"}, {"axb", "a\\_b"}},
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
