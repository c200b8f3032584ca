// Connection strings: what was read comes back from the output string, and a value that is quoted
// is read as it was.
#include "core/session/cass_settings.h"

#include <codecvt>
#include <locale>

#include "core/session/cass_connection_string.h"
#include "core/session/cass_settings_table.h"
#include "fuzz/fuzz.h"
#include "tests/unit/handles.h"

// But for the driver, which the output string names in any case.
static std::u16string all_settings(const cass_conn *conn)
{
    std::u16string line;
    for (const setting &row : settings_table) {
        if (row.text != nullptr && row.text != &cass_settings::driver &&
            conn->settings.*row.text != nullptr)
            line += units_of(conn->settings.*row.text);
        if (row.number != nullptr)
            line += static_cast<char16_t>(conn->settings.*row.number);
        line += u'\n';
    }
    return line;
}

static void read_value_back(const std::u16string &value, bool in_any_case)
{
    const owned_string quoted = own(cass_quote_value(string_of(value).get(), in_any_case));
    const owned_string whole = string_of(u"k=" + units_of(quoted.get()) + u";k2=v");
    std::int32_t position = 0;
    connection_pair pair;
    ASSERT_TRUE(cass_next_pair(whole.get(), &position, &pair));
    ASSERT_EQ(pair.fault, PAIR_IS_GOOD);
    EXPECT_EQ(units_of(own(cass_pair_value(whole.get(), pair)).get()), value);
}

// Halves of surrogate pairs have no place in UTF-8.
static bool is_whole(const std::u16string &text)
{
    std::wstring_convert<std::codecvt_utf8_utf16<char16_t>, char16_t> convert("");
    convert.to_bytes(text);
    return convert.converted() == text.size();
}

// LogFile would be opened, wherever it says.
static bool names_a_log(const std::u16string &text)
{
    std::string low;
    for (const char16_t unit : text)
        low += static_cast<char>(unit < 0x80 ? std::tolower(unit) : '?');
    return low.find("log") != std::string::npos;
}

void fuzz_one(fuzz_input in)
{
    const std::uint64_t options = fuzz_number(&in);
    const std::u16string text = fuzz_wide_rest(&in);
    if (names_a_log(text) || !is_whole(text))
        return;
    if ((options & 1) != 0)
        return read_value_back(text, (options & 2) != 0);

    session first(false), second(false);
    if (cass_parse_connect_string(first.conn, string_of(text).get()) != 0) {
        EXPECT_NE(states_of(first.conn), "");
        return;
    }
    const owned_string out = own(cass_build_out_string(first.conn));
    if (first.conn->conduct == &default_conduct)
        return;
    EXPECT_EQ(cass_parse_connect_string(second.conn, out.get()), 0) << records(&second.conn->head);
    EXPECT_EQ(all_settings(first.conn), all_settings(second.conn));
    EXPECT_EQ(units_of(own(cass_build_out_string(second.conn)).get()), units_of(out.get()));
}
