// Date and time texts: what each shape gives, and the exact text of each refusal.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "core/cass_timeparse.h"
#include "tests/unit/session_fixture.h"

// "category date time zone", or "!" and the refusal. The text lies in a block of exactly its size.
static std::string parse(session &s, const std::string &text)
{
    char *exact = static_cast<char *>(std::malloc(text.size() + 1));
    std::memcpy(exact, text.c_str(), text.size() + 1);
    cass_time_parts parts = {};
    cass_diag_clear(&s.stmt->head);
    const int code = cass_parse_timestamp(s.stmt, exact, &parts, 7);
    std::free(exact);
    if (code != 0) {
        EXPECT_EQ(1, code);
        const cass_diag_record *record = s.stmt->head.diag_records;
        if (record == nullptr)
            return "refused without a record";
        EXPECT_EQ(7, record->column_number);
        std::string message = records(&s.stmt->head);
        const std::string prefix = "22003|Numeric value out of range: ";
        if (message.starts_with(prefix))
            message = "!" + message.substr(prefix.size());
        message.pop_back();
        return message;
    }
    EXPECT_EQ(nullptr, s.stmt->head.diag_records);
    char line[160];
    const int length = std::snprintf(line, sizeof line, "%d %d-%d-%d %d:%d:%d.%d", parts.category,
                                     parts.year, parts.month, parts.day, parts.hour, parts.minute,
                                     parts.second, parts.fraction);
    if (parts.category == TIME_TEXT_ZONED)
        std::snprintf(line + length, 40, " %d:%d", parts.tz_hour, parts.tz_minute);
    return line;
}

struct time_case {
    const char *text;
    const char *result;
};

static void check_all(const time_case *cases, std::size_t count)
{
    session s;
    for (std::size_t i = 0; i < count; i++)
        EXPECT_EQ(parse(s, cases[i].text), cases[i].result) << ">" << cases[i].text << "<";
}

#define END_OF "!unexpected end of string"
#define INTRO  "!invalid ODBC date/time introducer"
#define CHARS  "!invalid character in date/time string"

TEST(timeparse, numbers_are_told_by_their_separators)
{
    static constexpr time_case cases[] = {
        {"2001-01-02", "2 2001-1-2 0:0:0.0"},
        {" \t\n\v\f\r2001-01-02", "2 2001-1-2 0:0:0.0"},
        {"'2001-01-02'", "2 2001-1-2 0:0:0.0"},
        {"2001/01/02", "2 2001-1-2 0:0:0.0"},
        {"2001/01-02", "2 2001-1-2 0:0:0.0"},
        {"2001-01-02 ", "2 2001-1-2 0:0:0.0"},
        {"2001-13-45", "2 2001-13-45 0:0:0.0"},
        {"25-12-2001", "2 25-12-2001 0:0:0.0"},
        {"2001--", "2 2001-0-0 0:0:0.0"},
        {"2001--2", "2 2001-0-2 0:0:0.0"},
        {"2001-01-", "2 2001-1-0 0:0:0.0"},
        {"99999999999-1-1", "2 1215752191-1-1 0:0:0.0"},
        {"12345678901234567890-1-1", "2 -2045911175-1-1 0:0:0.0"},
        {"10:11", "3 0-0-0 10:11:0.0"},
        {"10:11:12", "3 0-0-0 10:11:12.0"},
        {"10:11:12.5", "3 0-0-0 10:11:12.500000000"},
        {"10:11:12 .5", "3 0-0-0 10:11:12.500000000"},
        {"10:11:12.1234567899", "3 0-0-0 10:11:12.123456789"},
        {"2001-01-02 10:11:12.5", "1 2001-1-2 10:11:12.500000000"},
        {"2001-01-02   10:11:12'", "1 2001-1-2 10:11:12.0"},
        {"2001-01-02 10::", "1 2001-1-2 10:0:0.0"},
        {"25-12-2001 10:00:00", "1 2001-12-25 10:0:0.0"},
        {"01-02-03 10:00:00", "1 1-2-3 10:0:0.0"},
        {"20010102", "2 2001-1-2 0:0:0.0"},
        {"20010102T10", "2 2001-1-2 0:0:0.0"},
        {"00120145", "2 12-1-45 0:0:0.0"},
        {"20010102 10:11:12", "1 2001-1-2 10:11:12.0"},
        {"20010102 10:11:12.25", "1 2001-1-2 10:11:12.250000000"},
        {"20010102 10:11:12.25 +01:00", "4 2001-1-2 10:11:12.250000000 1:0"},
        {"00120145 10:11:12", "1 12-1-45 10:11:12.0"},
        {"2001-01-02 10:11:12 +02:30", "4 2001-1-2 10:11:12.0 2:30"},
        {"2001-01-02 10:11:12 -02:30", "4 2001-1-2 10:11:12.0 -2:30"},
        {"2001-01-02 10:11:12.5  02:30'", "4 2001-1-2 10:11:12.500000000 2:30"},
        {"2001-01-02 10:11:12 AM", "1 2001-1-2 10:11:12.0"},
        {"2001-01-02 10:11:12 PM", "1 2001-1-2 10:11:12.0"},
        {"2001-01-02 10:11:12 '", "1 2001-1-2 10:11:12.0"},
        {"", END_OF},
        {"   ", END_OF},
        {"2001", END_OF},
        {"2001010", END_OF},
        {"2001-", END_OF},
        {"2001-01", END_OF},
        {"10:", END_OF},
        {"2001-01-02 10", END_OF},
        {"2001-01-02 10:11", END_OF},
        {"2001-01-02 10:11:12 +02", END_OF},
        {"'", CHARS},
        {"+2001-01-02", CHARS},
        {"2001.01.02", CHARS},
        {"2001010 10:11:12", CHARS},
        {"20010102 ", CHARS},
        {"20010102  10:11:12", CHARS},
        {"20010102 10:11", CHARS},
        {"20010102 10:11:12 ", CHARS},
        {"20010102 10:11:12.5x", CHARS},
        {"10/11:12", CHARS},
        {"10:11-12", CHARS},
        {"10:11'", CHARS},
        {"2001-01:02", CHARS},
        {"2001-01-02.5", CHARS},
        {"2001-01-02 .5", CHARS},
        {"2001-01-02\t10:11:12", CHARS},
        {"2001-01-02 x", CHARS},
        {"2001-01-02 10-11-12", CHARS},
        {"2001-01-02 10:11:12x", CHARS},
        {"2001-01-02 10:11:12.5x", CHARS},
        {"10:11:12 5", CHARS},
        {"10:11:12.5x", CHARS},
        {"2001-01-02 10:11:12 A", CHARS},
        {"2001-01-02 10:11:12 P", CHARS},
        {"2001-01-02 10:11:12 pm", CHARS},
        {"2001-01-02 10:11:12 +02-30", CHARS},
    };
    check_all(cases, std::size(cases));
}

TEST(timeparse, an_introducer_leaves_one_meaning)
{
    static constexpr time_case cases[] = {
        {"{d '2001-01-02'}", "2 2001-1-2 0:0:0.0"},
        {"{ d'2001-01-02'}", "2 2001-1-2 0:0:0.0"},
        {"{t '10:11:12'}", "3 0-0-0 10:11:12.0"},
        {"{t '10:11:12.5'}", "3 0-0-0 10:11:12.500000000"},
        {"{ts '2001-01-02 10:11:12'}", "1 2001-1-2 10:11:12.0"},
        {"{ts '2001-01-02 10:11:12.5'}", "1 2001-1-2 10:11:12.500000000"},
        {"{ts '2001-01-02'}", "1 2001-1-2 0:0:0.0"},
        {"{ts '25-12-2001'}", "1 2001-12-25 0:0:0.0"},
        {"{d 'feb 5 2001'}", "2 2001-2-5 0:0:0.0"},
        {"{t 'feb 5 2001 1:02:03.5'}", "1 2001-2-5 1:2:3.500000000"},
        {"{", END_OF},
        {"{ ", END_OF},
        {"{d", END_OF},
        {"{t ", END_OF},
        {"{ts", END_OF},
        {"{d '", CHARS},
        {"{x '2001-01-02'}", INTRO},
        {"{D '2001-01-02'}", INTRO},
        {"{d '10:11:12'}", CHARS},
        {"{d '2001/01/02'}", CHARS},
        {"{ts '2001/01/02 10:11:12'}", CHARS},
        {"{d '2001-01-02 10:11:12'}", CHARS},
        {"{d '20010102'}", CHARS},
        {"{d '20010102", END_OF},
        {"{t '2001-01-02'}", CHARS},
        {"{t '10:11'}", CHARS},
        {"{ts '10:11:12'}", CHARS},
    };
    check_all(cases, std::size(cases));
}

TEST(timeparse, month_names_have_a_form_of_their_own)
{
    static constexpr time_case cases[] = {
        {"jan 2 2001'", "2 2001-1-2 0:0:0.0"},
        {"JAN 2 2001'", "2 2001-1-2 0:0:0.0"},
        {"February 2 2001'", "2 2001-2-2 0:0:0.0"},
        {"september2 2001 ", "2 2001-9-2 0:0:0.0"},
        {"dec 31 2001, and more", "2 2001-12-31 0:0:0.0"},
        {"jan 2 01 ", "2 2001-1-2 0:0:0.0"},
        {"jan 2 99 ", "2 2099-1-2 0:0:0.0"},
        {"jan 2 100 ", "2 100-1-2 0:0:0.0"},
        {"jan 2 2001 10:11", "1 2001-1-2 10:11:0.0"},
        {"jan 2 2001 10:11AM", "1 2001-1-2 10:11:0.0"},
        {"jan 2 2001 10:11P", "1 2001-1-2 22:11:0.0"},
        {"jan 2 2001 10:11:12", "1 2001-1-2 10:11:12.0"},
        {"jan 2 2001 10:11:12PM", "1 2001-1-2 22:11:12.0"},
        {"jan 2 2001 12:11:12PM", "1 2001-1-2 24:11:12.0"},
        {"jan 2 2001 10:11:12AM +01:00", "4 2001-1-2 10:11:12.0 1:0"},
        {"jan 2 2001 10:11:12.5'", "1 2001-1-2 10:11:12.500000000"},
        {"jan 2 2001 10:11:12:5 ", "1 2001-1-2 10:11:12.500000000"},
        {"Feb 5 2001 10:15:30.25PM +02:00", "4 2001-2-5 22:15:30.250000000 2:0"},
        {"Feb 5 2001 10:15:30.25 -02:30", "4 2001-2-5 10:15:30.250000000 -2:30"},
        {"jan", END_OF},
        {"january 2 2001'", CHARS},
        {"januarys 2 2001'", CHARS},
        {"septemberseptemberseptember 2 2001'", CHARS},
        {"jan x", CHARS " (1)"},
        {"jan ", CHARS " (1)"},
        {"jan 2", CHARS " (2)"},
        {"jan 2, 2001", CHARS " (3)"},
        {"jan 2 ", CHARS " (3)"},
        {"jan 2 2001", CHARS " (4)"},
        {"jan 2 2001 10", CHARS " (5)"},
        {"jan 2 2001 10-11", CHARS " (6)"},
        {"jan 2 2001 10:11 ", CHARS " (7)"},
        {"jan 2 2001 10:11:12 ", CHARS " (8)"},
        {"jan 2 2001 10:11:12.5x", CHARS " (9)"},
        {"jan 2 2001 10:11A", CHARS " (10)"},
        {"jan 2 2001 10:11:12.5P", CHARS " (10)"},
        {"jan 2 2001 10:11:12.5 PM", CHARS},
        {"jan 2 2001 10:11:12.5 +02", END_OF},
        {"jan 2 2001 10:11:12.5 +02.00", CHARS},
    };
    check_all(cases, std::size(cases));
}

// Whatever the bytes, the parser stays inside them (the sanitizers watch) and answers.
TEST(timeparse, every_beginning_of_a_text_is_survived)
{
    session s;
    for (const std::string whole :
         {"{ts '2001-01-02 10:11:12.123456789 +02:30'}", "2001-01-02 10:11:12 PM",
          "Feb 5 2001 10:15:30.25PM +02:00", "20010102 10:11:12.5 -01:00",
          "feb 2147483647 2147483647 2147483647:1:1.5PM",
          "1-1-1 999999999999999999999:99999999999:2147483647 -2147483648:1"})
        for (std::size_t length = 0; length <= whole.size(); length++)
            for (const char *tail : {"", " ", "'", "A", "P", "\xFF"})
                EXPECT_FALSE(parse(s, whole.substr(0, length) + tail).empty());
}
