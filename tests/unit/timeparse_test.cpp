// Date and time texts: what each shape gives, and the exact text of each refusal. Any bytes are a
// fuzz target's.
#include <vector>

#include "core/parameter/cass_timeparse.h"
#include "tests/unit/handles.h"

// "category date clock zone" without parts that are nothing, or the refusal.
static std::string parse(session &s, const std::string &text)
{
    const std::vector<char> exact(text.c_str(), text.c_str() + text.size() + 1);
    cass_time_parts p = {};
    cass_diag_clear(&s.stmt->head);
    if (cass_parse_timestamp(s.stmt, exact.data(), &p, 7) != 0)
        return states_of(s.stmt) + message_of(s.stmt).substr(message_of(s.stmt).rfind(':') + 1);
    char day[64], clock[64] = "", zone[64] = "";
    std::snprintf(day, sizeof day, "%d %d-%d-%d", p.category, p.year, p.month, p.day);
    if (p.hour != 0 || p.minute != 0 || p.second != 0 || p.fraction != 0)
        std::snprintf(clock, sizeof clock, " %d:%d:%d.%d", p.hour, p.minute, p.second, p.fraction);
    if (p.category == TIME_TEXT_ZONED || p.tz_hour != 0 || p.tz_minute != 0)
        std::snprintf(zone, sizeof zone, " %d:%d", p.tz_hour, p.tz_minute);
    return std::string(day) + clock + zone;
}

#define END_OF    "22003@7 unexpected end of string"
#define INTRO     "22003@7 invalid ODBC date/time introducer"
#define CHARS     "22003@7 invalid character in date/time string"
#define CHARS_(n) CHARS " (" #n ")"

TEST(timeparse, every_shape_and_every_refusal)
{
    // clang-format off
    static constexpr std::pair<const char *, const char *> cases[] = {
        // Numbers are told by their separators.
        {" \t\n\v\f\r2001-01-02", "2 2001-1-2"}, {"'2001-01-02'", "2 2001-1-2"}, {"", END_OF},
        {"2001/01-02 ", "2 2001-1-2"}, {"2001--", "2 2001-0-0"}, {"25-12-2001", "2 25-12-2001"},
        {"25-12-2001 10:00:00", "1 2001-12-25 10:0:0.0"},
        {"12345678901234567890-1-1", "2 -2045911175-1-1"}, {"10:11", "3 0-0-0 10:11:0.0"},
        {"10:11:12 .5", "3 0-0-0 10:11:12.500000000"}, {"20010102", "2 2001-1-2"},
        {"10:11:12.1234567899", "3 0-0-0 10:11:12.123456789"},
        {"2001-01-02   10:11:12'", "1 2001-1-2 10:11:12.0"}, {"2001", END_OF}, {"10:", END_OF},
        {"20010102 10:11:12.25 +01:00", "4 2001-1-2 10:11:12.250000000 1:0"}, {"2001-01", END_OF},
        {"2001-01-02 10:11:12 -02:30", "4 2001-1-2 10:11:12.0 -2:30"}, {"'", CHARS},
        {"2001-01-02 10", END_OF}, {"2001-01-02 10:11:12 +02", END_OF}, {"20010102 ", CHARS},
        {"10/11:12", CHARS}, {"2001-01-02 .5", CHARS}, {"2001-01-02.5", CHARS},
        {"2001-01-02\t10:11:12", CHARS}, {"2001-01-02 10:11:12.5x", CHARS},
        {"2001-01-02 10:11:12 +02-30", CHARS},
        // An introducer leaves one meaning.
        {"{ d'2001-01-02'}", "2 2001-1-2"}, {"{t '10:11:12'}", "3 0-0-0 10:11:12.0"},
        {"{ts '2001-01-02 10:11:12.5'}", "1 2001-1-2 10:11:12.500000000"}, {"{ ", END_OF},
        {"{ts '25-12-2001'}", "1 2001-12-25"}, {"{d '", CHARS}, {"{x '2001-01-02'}", INTRO},
        {"{D '2001-01-02'}", INTRO}, {"{d '10:11:12'}", CHARS}, {"{t '2001-01-02'}", CHARS},
        {"{ts '10:11:12'}", CHARS},
        // Month names have a form of their own.
        {"jan 2 2001'", "2 2001-1-2"}, {"February 2 2001'", "2 2001-2-2"}, {"jan", END_OF},
        {"january 2 2001'", CHARS}, {"september2 2001 ", "2 2001-9-2"},
        {"jan 2 2001 10:11", "1 2001-1-2 10:11:0.0"}, {"jan x", CHARS_(1)}, {"jan 2", CHARS_(2)},
        {"jan 2 2001 12:11:12PM", "1 2001-1-2 24:11:12.0"}, {"jan 2, 2001", CHARS_(3)},
        {"jan 2 2001", CHARS_(4)},
        {"Feb 5 2001 10:15:30.25PM +02:00", "4 2001-2-5 22:15:30.250000000 2:0"},
        {"jan 2 2001 10", CHARS_(5)}, {"jan 2 2001 10-11", CHARS_(6)},
        {"jan 2 2001 10:11:12 ", CHARS_(8)}, {"jan 2 2001 10:11A", CHARS_(10)},
        {"jan 2 2001 10:11:12.5 PM", CHARS},
    };
    // clang-format on
    session s;
    for (const auto &[text, result] : cases)
        EXPECT_EQ(parse(s, text), result) << ">" << text << "<";
}
