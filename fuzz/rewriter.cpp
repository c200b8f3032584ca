// An application's text on its way to the server, in both conducts.
#include "core/statement/cass_sql.h"
#include "fuzz/fuzz.h"
#include "tests/unit/handles.h"

static bool stands_at(const std::u16string &text, std::size_t at, std::u16string_view word)
{
    return text.compare(at, word.size(), word) == 0;
}

// The parameter markers of a text as CQL has them.
static int markers_of(const std::u16string &text)
{
    static constexpr std::u16string_view enclosed[][2] = {{u"'", u"'"},   {u"\"", u"\""},
                                                          {u"$$", u"$$"}, {u"/*", u"*/"},
                                                          {u"--", u"\n"}, {u"//", u"\n"}};
    int markers = 0;
    for (std::size_t at = 0; at < text.size(); at++) {
        markers += text[at] == u'?';
        for (const auto &[opening, closing] : enclosed) {
            if (!stands_at(text, at, opening))
                continue;
            std::size_t end = at + opening.size();
            while (end < text.size() && !stands_at(text, end, closing) &&
                   !(closing == u"\n" && text[end] == u'\r'))
                end++;
            if (end >= text.size())
                return markers;
            at = end + closing.size() - 1;
            break;
        }
    }
    return markers;
}

void fuzz_one(fuzz_input in)
{
    session s(false);
    const std::uint64_t options = fuzz_number(&in);
    const bool standard = (options & 1) != 0;
    s.conn->conduct = standard ? &standard_conduct : &default_conduct;
    s.conn->settings.allow_filtering = (options & 2) != 0;
    const std::u16string text = fuzz_wide_rest(&in);
    const owned_string input = string_of(text);
    const owned_string output = own(cass_process_sql(s.stmt, input.get()));
    ASSERT_NE(output, nullptr);
    EXPECT_EQ(units_of(input.get()), text);
    const std::u16string sent = units_of(output.get());
    // A probe names its literal again, where quotes are doubled.
    EXPECT_LE(sent.size(), 3 * text.size() + 200);
    if (!standard)
        return;
    EXPECT_EQ(s.stmt->found_param_count, markers_of(sent)) << testing::PrintToString(sent);
}
