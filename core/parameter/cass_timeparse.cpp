// Date and time texts of parameters. One pass over the text: the number parser narrows down what
// the text can be by the separators that it meets; a text that opens with a month name has a parser
// of its own. Both report what they found by a category.
#include "core/parameter/cass_timeparse.h"

#include <cstring>
#include <initializer_list>

#include "core/diag/cass_err.h"
#include "core/log/cass_log.h"
#include "support/ascii.h"

static constexpr char log_source[] = "cass_timeparse.c";

static constexpr char END_OF_STRING[] = "unexpected end of string";
static constexpr char INTRODUCER[] = "invalid ODBC date/time introducer";
static constexpr char CHARACTER[] = "invalid character in date/time string";

// The work of one call.
struct time_reader {
    cass_stmt *stmt;
    std::int32_t parameter_number;
    const char *at;  // next character, never past the terminator
    std::int32_t may_be_date, may_be_time, may_be_timestamp;
    bool year_first;  // the first number is a year by its form
    std::int32_t first, second, third;
    cass_time_parts *parts;
};

// How the number parser goes on.
enum next_step { REFUSED, GO_ON, ASSIGN };

// ---- Characters --------------------------------------------------------------------------------

static bool at_digit(const time_reader *reader)
{
    return ascii_is_digit(static_cast<unsigned char>(*reader->at));
}

static bool at_letter(const time_reader *reader)
{
    const unsigned char lower = ascii_to_lower(static_cast<unsigned char>(*reader->at));
    return lower >= 'a' && lower <= 'z';
}

static bool at_end(const time_reader *reader)
{
    return *reader->at == '\0';
}

// A text may end in the quote of an ODBC escape.
static bool at_end_or_quote(const time_reader *reader)
{
    return at_end(reader) || *reader->at == '\'';
}

static void skip_space(time_reader *reader)
{
    while (ascii_is_space(static_cast<unsigned char>(*reader->at)))
        reader->at++;
}

// Value of the digits before `end`, at most the first 15, cut to 32 bits; 0 for none.
static std::int32_t cass_digits_to_int(const char *start, const char *end)
{
    std::int64_t value = 0;
    for (int digits = 0; start < end && digits < 15; digits++)
        value = value * 10 + (*start++ - '0');
    return static_cast<std::int32_t>(value);
}

// Nanoseconds of the digits behind a decimal point: ".5" is 500000000. Digits past the ninth drop
// out.
static std::int32_t cass_digits_to_fraction(const char *start, const char *end)
{
    std::int32_t value = 0;
    for (int digits = 0; digits < 9; digits++)
        value = value * 10 + (start < end ? *start++ - '0' : 0);
    return value;
}

// An empty run of digits is 0.
static std::int32_t read_number(time_reader *reader)
{
    const char *start = reader->at;
    while (at_digit(reader))
        reader->at++;
    return cass_digits_to_int(start, reader->at);
}

static void read_fraction(time_reader *reader)
{
    const char *start = reader->at;
    while (at_digit(reader))
        reader->at++;
    reader->parts->fraction = cass_digits_to_fraction(start, reader->at);
}

// Sums wrap: no text may make them undefined.
static std::int32_t plus(std::int32_t value, std::int32_t more)
{
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(value) +
                                     static_cast<std::uint32_t>(more));
}

static int refuse(const time_reader *reader, const char *text)
{
    CASS_LOG(&reader->stmt->head, LOG_ERROR, "%s", text);
    cass_post_error_column(&reader->stmt->head, STATE_22003, 0, reader->parameter_number, "%s",
                           text);
    return 1;
}

static next_step refuse_step(const time_reader *reader, const char *text)
{
    refuse(reader, text);
    return REFUSED;
}

// Offset behind a timestamp: sign, hours, ":" and minutes. The minutes keep their sign: "-02:30" is
// -2 and 30.
static int read_zone(time_reader *reader)
{
    cass_time_parts *parts = reader->parts;
    const bool negative = *reader->at == '-';
    if (negative || *reader->at == '+')
        reader->at++;
    const std::int32_t hours = read_number(reader);
    if (at_end(reader))
        return refuse(reader, END_OF_STRING);
    if (*reader->at != ':')
        return refuse(reader, CHARACTER);
    reader->at++;
    const auto minus_hours = static_cast<std::int32_t>(0u - static_cast<std::uint32_t>(hours));
    parts->tz_hour = negative ? minus_hours : hours;
    parts->tz_minute = read_number(reader);
    parts->category = TIME_TEXT_ZONED;
    return 0;
}

static bool at_zone(const time_reader *reader)
{
    return *reader->at == '+' || *reader->at == '-' || at_digit(reader);
}

// ---- Numbers -----------------------------------------------------------------------------------

// "{d", "{ts" or "{t" leaves one meaning only. 0, or 1 when refused.
static int read_introducer(time_reader *reader)
{
    reader->at++;
    skip_space(reader);
    if (at_end(reader))
        return refuse(reader, END_OF_STRING);
    const bool date = reader->at[0] == 'd';
    const bool time = reader->at[0] == 't';
    if (!date && !time)
        return refuse(reader, INTRODUCER);
    const bool timestamp = time && reader->at[1] == 's';
    reader->at += timestamp ? 2 : 1;
    reader->may_be_date = date;
    reader->may_be_time = time && !timestamp;
    reader->may_be_timestamp = timestamp;
    return 0;
}

// Keeps the meanings that a separator allows. False when it allows none.
static bool accept_date_separator(time_reader *reader)
{
    if (!reader->may_be_date && !reader->may_be_timestamp)
        return false;
    reader->may_be_time = 0;
    return true;
}

static bool accept_time_separator(time_reader *reader)
{
    if (!reader->may_be_time)
        return false;
    reader->may_be_date = reader->may_be_timestamp = 0;
    return true;
}

// A first slash is admitted where a time is, not where a date is: an introducer of a date or a
// timestamp wants hyphens. Only the first separator is held to this.
static bool accept_first_slash(time_reader *reader)
{
    if (!reader->may_be_time)
        return false;
    reader->may_be_time = 0;
    return true;
}

// Digits of a fraction, up to the end, a blank or a quote.
static next_step read_last_fraction(time_reader *reader)
{
    reader->at++;
    read_fraction(reader);
    if (!at_end_or_quote(reader) && *reader->at != ' ')
        return refuse_step(reader, CHARACTER);
    return ASSIGN;
}

// The clock behind "YYYYMMDD ": "HH:MM:SS" and perhaps a fraction.
static next_step read_compact_clock(time_reader *reader)
{
    cass_time_parts *parts = reader->parts;
    for (std::int32_t *field : {&parts->hour, &parts->minute}) {
        reader->at++;
        if (!at_digit(reader))
            return refuse_step(reader, CHARACTER);
        *field = read_number(reader);
        if (*reader->at != ':')
            return refuse_step(reader, CHARACTER);
    }
    reader->at++;
    parts->second = read_number(reader);
    reader->may_be_date = reader->may_be_time = 0;
    if (at_end(reader))
        return ASSIGN;
    return *reader->at == '.' ? read_last_fraction(reader) : refuse_step(reader, CHARACTER);
}

// Eight digits from `start`: YYYYMMDD. What follows is looked at only behind a blank.
static next_step read_compact(time_reader *reader, const char *start)
{
    reader->first = cass_digits_to_int(start, start + 4);
    reader->second = cass_digits_to_int(start + 4, start + 6);
    reader->third = cass_digits_to_int(start + 6, start + 8);
    reader->year_first = true;
    if (*reader->at == ' ')
        return read_compact_clock(reader);
    reader->may_be_time = reader->may_be_timestamp = 0;
    return ASSIGN;
}

static next_step read_first(time_reader *reader)
{
    const char *start = reader->at;
    reader->first = read_number(reader);
    const bool free_form = reader->may_be_date && reader->may_be_time && reader->may_be_timestamp;
    const bool compact = free_form && reader->at - start == 8;
    bool accepted = false;
    switch (*reader->at) {
    case '-':
        accepted = accept_date_separator(reader);
        break;
    case '/':
        accepted = accept_first_slash(reader);
        break;
    case ':':
        accepted = accept_time_separator(reader);
        break;
    default:
        if (compact)
            return read_compact(reader, start);
        return refuse_step(reader, at_end(reader) ? END_OF_STRING : CHARACTER);
    }
    if (!accepted)
        return refuse_step(reader, CHARACTER);
    reader->at++;
    CASS_LOG(&reader->stmt->head, LOG_DETAIL, "initial catogory %d,%d,%d (%d) >%s<",
             reader->may_be_date, reader->may_be_time, reader->may_be_timestamp, reader->first,
             reader->at);
    return at_end(reader) ? refuse_step(reader, END_OF_STRING) : GO_ON;
}

static next_step read_second(time_reader *reader)
{
    const char *start = reader->at;
    reader->second = read_number(reader);
    if (at_end(reader)) {
        if (reader->at == start || !reader->may_be_time)
            return refuse_step(reader, END_OF_STRING);
        reader->may_be_timestamp = 0;
        CASS_LOG(&reader->stmt->head, LOG_DETAIL, "HH:MM Time format");
        return ASSIGN;
    }
    bool accepted = false;
    if (*reader->at == '-' || *reader->at == '/')
        accepted = accept_date_separator(reader);
    else if (*reader->at == ':')
        accepted = accept_time_separator(reader);
    if (!accepted)
        return refuse_step(reader, CHARACTER);
    reader->at++;
    CASS_LOG(&reader->stmt->head, LOG_DETAIL, "secondary catogory %d,%d,%d (%d,%d)",
             reader->may_be_date, reader->may_be_time, reader->may_be_timestamp, reader->first,
             reader->second);
    return GO_ON;
}

// "HH:MM:SS" behind a date and blanks.
static next_step read_clock(time_reader *reader)
{
    cass_time_parts *parts = reader->parts;
    reader->may_be_date = reader->may_be_time = 0;
    for (std::int32_t *field : {&parts->hour, &parts->minute}) {
        *field = read_number(reader);
        if (at_end(reader))
            return refuse_step(reader, END_OF_STRING);
        if (*reader->at != ':')
            return refuse_step(reader, CHARACTER);
        reader->at++;
    }
    parts->second = read_number(reader);
    if (at_end_or_quote(reader) || *reader->at == ' ')
        return ASSIGN;
    return *reader->at == '.' ? read_last_fraction(reader) : refuse_step(reader, CHARACTER);
}

static next_step read_third(time_reader *reader)
{
    reader->third = read_number(reader);
    if (at_end_or_quote(reader)) {
        reader->may_be_timestamp = 0;
        return ASSIGN;
    }
    if (*reader->at == '.' && reader->may_be_time)
        return read_last_fraction(reader);
    if (*reader->at != ' ')
        return refuse_step(reader, CHARACTER);

    skip_space(reader);
    if (at_end(reader)) {
        reader->may_be_timestamp = 0;
        return ASSIGN;
    }
    if (*reader->at == '.' && accept_time_separator(reader))
        return read_last_fraction(reader);
    if (at_digit(reader) && reader->may_be_timestamp)
        return read_clock(reader);
    return refuse_step(reader, CHARACTER);
}

static void assign_numbers(time_reader *reader)
{
    cass_time_parts *parts = reader->parts;
    if (!reader->may_be_date && reader->may_be_time) {
        parts->category = TIME_TEXT_TIME;
        parts->hour = reader->first;
        parts->minute = reader->second;
        parts->second = reader->third;
        return;
    }
    parts->category = reader->may_be_date ? TIME_TEXT_DATE : TIME_TEXT_TIMESTAMP;
    // A timestamp may be written day first, which a year of 32 or more tells. A date alone is never
    // turned round: "25-12-2001" is the year 25.
    const bool day_first = !reader->may_be_date && !reader->year_first && reader->third >= 32 &&
                           reader->first <= 31 && reader->second <= 31;
    parts->year = day_first ? reader->third : reader->first;
    parts->month = reader->second;
    parts->day = day_first ? reader->first : reader->third;
}

// What may follow a timestamp behind a blank. *logged_hour takes the hour as the log shows it: PM
// is accepted but does not change the value, as it never has here.
static int read_tail(time_reader *reader, std::int32_t *logged_hour)
{
    skip_space(reader);
    if (at_end_or_quote(reader))
        return 0;
    if (at_zone(reader))
        return read_zone(reader);
    const bool pm = reader->at[0] == 'P';
    if ((!pm && reader->at[0] != 'A') || reader->at[1] != 'M')
        return refuse(reader, CHARACTER);
    if (pm && *logged_hour < 13)
        *logged_hour += 12;
    return 0;
}

// ---- Month names -------------------------------------------------------------------------------

// The second list is asked when the first fails. Words are compared in lower case, so the capital
// of "January" shuts that one word out: it is refused, as ever, while "jan" is taken.
static constexpr const char *short_months[12] = {"jan", "feb", "mar", "apr", "may", "jun",
                                                 "jul", "aug", "sep", "oct", "nov", "dec"};
static constexpr const char *long_months[12] = {"January",   "february", "march",    "april",
                                                "may",       "june",     "july",     "august",
                                                "september", "october",  "november", "december"};

static constexpr char CHARACTER_1[] = "invalid character in date/time string (1)";
static constexpr char CHARACTER_2[] = "invalid character in date/time string (2)";
static constexpr char CHARACTER_3[] = "invalid character in date/time string (3)";
static constexpr char CHARACTER_4[] = "invalid character in date/time string (4)";
static constexpr char CHARACTER_5[] = "invalid character in date/time string (5)";
static constexpr char CHARACTER_6[] = "invalid character in date/time string (6)";
static constexpr char CHARACTER_7[] = "invalid character in date/time string (7)";
static constexpr char CHARACTER_8[] = "invalid character in date/time string (8)";
static constexpr char CHARACTER_9[] = "invalid character in date/time string (9)";
static constexpr char CHARACTER_10[] = "invalid character in date/time string (10)";

// 1 to 12, or 0.
static std::int32_t month_of(const char *word)
{
    for (const auto &list : {short_months, long_months})
        for (std::int32_t month = 0; month < 12; month++)
            if (std::strcmp(word, list[month]) == 0)
                return month + 1;
    return 0;
}

// Month word, day and year. The text must not end with the year: a quote or a blank closes it.
static int read_named_date(time_reader *reader)
{
    char word[20];
    int letters = 0;
    for (; at_letter(reader); reader->at++) {
        if (letters == 19)
            letters = 18;  // later letters overwrite the last place
        const auto letter = static_cast<unsigned char>(*reader->at);
        word[letters++] = static_cast<char>(ascii_to_lower(letter));
    }
    word[letters] = '\0';
    if (at_end(reader))
        return refuse(reader, END_OF_STRING);
    cass_time_parts *parts = reader->parts;
    parts->month = month_of(word);
    if (parts->month == 0)
        return refuse(reader, CHARACTER);

    skip_space(reader);
    if (!at_digit(reader))
        return refuse(reader, CHARACTER_1);
    parts->day = read_number(reader);
    if (at_end(reader))
        return refuse(reader, CHARACTER_2);
    skip_space(reader);
    if (!at_digit(reader))
        return refuse(reader, CHARACTER_3);
    parts->year = read_number(reader);
    if (parts->year < 100)
        parts->year += 2000;
    return at_end(reader) ? refuse(reader, CHARACTER_4) : 0;
}

// P adds 12 without an upper test: 12 PM is hour 24.
static void add_noon(time_reader *reader)
{
    reader->parts->hour = plus(reader->parts->hour, 12);
}

// "AM" or "PM" behind the seconds or their fraction.
static int read_half(time_reader *reader)
{
    if (*reader->at == 'P')
        add_noon(reader);
    if (reader->at[1] != 'M')
        return refuse(reader, CHARACTER_10);
    reader->at += 2;
    return 0;
}

// What follows the digits of the seconds, or an "A" directly behind the minutes.
static int read_named_seconds_end(time_reader *reader)
{
    switch (*reader->at) {
    case '\0':
        return 0;
    case 'A':
        return read_half(reader);
    case 'P':  // the M behind it is not asked for here
        add_noon(reader);
        reader->at++;
        return 0;
    case '.':
    case ':':
        reader->at++;
        read_fraction(reader);
        if (*reader->at == 'A' || *reader->at == 'P')
            return read_half(reader);
        if (at_end_or_quote(reader) || *reader->at == ' ')
            return 0;
        return refuse(reader, CHARACTER_9);
    default:
        return refuse(reader, CHARACTER_8);
    }
}

static int read_named_clock(time_reader *reader)
{
    cass_time_parts *parts = reader->parts;
    parts->hour = read_number(reader);
    if (at_end(reader))
        return refuse(reader, CHARACTER_5);
    if (*reader->at != ':')
        return refuse(reader, CHARACTER_6);
    reader->at++;
    parts->minute = read_number(reader);
    switch (*reader->at) {
    case '\0':
        return 0;
    case ':':
        reader->at++;
        parts->second = read_number(reader);
        return read_named_seconds_end(reader);
    case 'A':
        return read_named_seconds_end(reader);
    case 'P':
        add_noon(reader);
        reader->at++;
        return 0;
    default:
        return refuse(reader, CHARACTER_7);
    }
}

static int read_named_tail(time_reader *reader)
{
    skip_space(reader);
    if (at_zone(reader))
        return read_zone(reader);
    return at_end_or_quote(reader) ? 0 : refuse(reader, CHARACTER);
}

// Month name, day, year, and optionally a time and a zone: "Feb 5 2001 10:15:30.25PM +02:00".
static int cass_parse_timestamp_a(cass_stmt *stmt, const char *text, cass_time_parts *parts,
                                  std::int32_t parameter_number)
{
    CASS_LOG(&stmt->head, LOG_DETAIL, "timestamp a format>%s<", text);
    *parts = {};
    time_reader reader = {.stmt = stmt,
                          .parameter_number = parameter_number,
                          .at = text,
                          .may_be_date = 0,
                          .may_be_time = 0,
                          .may_be_timestamp = 0,
                          .year_first = false,
                          .first = 0,
                          .second = 0,
                          .third = 0,
                          .parts = parts};
    if (read_named_date(&reader) != 0)
        return 1;
    skip_space(&reader);
    parts->category = TIME_TEXT_DATE;
    if (at_digit(&reader)) {
        if (read_named_clock(&reader) != 0)
            return 1;
        parts->category = TIME_TEXT_TIMESTAMP;
        if (*reader.at == ' ' && read_named_tail(&reader) != 0)
            return 1;
    }
    CASS_LOG(&stmt->head, LOG_DETAIL,
             "timestamp format (a) type = %d,%d,%d values %d,%d,%d,%d,%d,%d,%d,%d,%d",
             parts->category == TIME_TEXT_DATE, 0, parts->category != TIME_TEXT_DATE, parts->year,
             parts->month, parts->day, parts->hour, parts->minute, parts->second, parts->fraction,
             parts->tz_hour, parts->tz_minute);
    return 0;
}

// ---- Any text ----------------------------------------------------------------------------------

static next_step read_numbers(time_reader *reader)
{
    next_step step = read_first(reader);
    if (step == GO_ON)
        step = read_second(reader);
    if (step == GO_ON)
        step = read_third(reader);
    return step;
}

int cass_parse_timestamp(cass_stmt *stmt, const char *text, cass_time_parts *parts,
                         std::int32_t parameter_number)
{
    CASS_LOG(&stmt->head, LOG_DETAIL, "timestamp format>%s<", text);
    time_reader reader = {.stmt = stmt,
                          .parameter_number = parameter_number,
                          .at = text,
                          .may_be_date = 1,
                          .may_be_time = 1,
                          .may_be_timestamp = 1,
                          .year_first = false,
                          .first = 0,
                          .second = 0,
                          .third = 0,
                          .parts = parts};
    skip_space(&reader);
    if (at_end(&reader))
        return refuse(&reader, END_OF_STRING);
    *parts = {};
    if (*reader.at == '{' && read_introducer(&reader) != 0)
        return 1;
    skip_space(&reader);
    if (at_end(&reader))
        return refuse(&reader, END_OF_STRING);
    if (*reader.at == '\'')
        reader.at++;
    if (at_letter(&reader))
        return cass_parse_timestamp_a(stmt, reader.at, parts, parameter_number);
    if (!at_digit(&reader))
        return refuse(&reader, CHARACTER);

    if (read_numbers(&reader) == REFUSED)
        return 1;
    assign_numbers(&reader);
    std::int32_t logged_hour = parts->hour;
    if (parts->category == TIME_TEXT_TIMESTAMP && *reader.at == ' ' &&
        read_tail(&reader, &logged_hour) != 0)
        return 1;
    CASS_LOG(&stmt->head, LOG_DETAIL,
             "timestamp format type = %d,%d,%d values %d,%d,%d,%d,%d,%d,%d,%d,%d",
             reader.may_be_date, reader.may_be_time, reader.may_be_timestamp, parts->year,
             parts->month, parts->day, logged_hour, parts->minute, parts->second, parts->fraction,
             parts->tz_hour, parts->tz_minute);
    return 0;
}
