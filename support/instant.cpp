#include "support/instant.h"

#include <algorithm>

#include "support/ascii.h"
#include "support/numtext.h"

// ---- Calendar ----------------------------------------------------------------------------------

static int month_days(std::int64_t year, std::int64_t month)
{
    static constexpr int days[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    const bool leap = year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
    return month == 2 && leap ? 29 : days[month - 1];
}

bool instant_set_date(instant *value, std::int64_t year, std::int64_t month, std::int64_t day)
{
    if (month < 1 || month > 12 || day < 1 || day > month_days(year, month))
        return false;
    // Days of whole years and months of years that begin in March.
    const std::int64_t of_march = month > 2 ? year : year - 1;
    const std::int64_t cycle = (of_march >= 0 ? of_march : of_march - 399) / 400;
    const std::int64_t in_cycle = of_march - cycle * 400;
    const std::int64_t in_year = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
    value->has_date = true;
    value->day =
        cycle * 146'097 + in_cycle * 365 + in_cycle / 4 - in_cycle / 100 + in_year - 719'468;
    return true;
}

bool instant_set_time(instant *value, std::int64_t hour, std::int64_t minute, std::int64_t second,
                      std::int64_t nanosecond)
{
    value->has_time = true;
    value->second = (hour * 60 + minute) * 60 + second;
    value->nanosecond = nanosecond;
    return hour < 24 && minute < 60 && second < 60 && nanosecond < INSTANT_NANOSECONDS;
}

// ---- Texts -------------------------------------------------------------------------------------

static bool take(std::string_view *text, char mark)
{
    if (!text->starts_with(mark))
        return false;
    text->remove_prefix(1);
    return true;
}

static void pass_blanks(std::string_view *text)
{
    while (!text->empty() && ascii_is_space(static_cast<unsigned char>(text->front())))
        text->remove_prefix(1);
}

static std::size_t digit_count(std::string_view text)
{
    const auto end = std::find_if(text.begin(), text.end(), [](char unit) {
        return !ascii_is_digit(static_cast<unsigned char>(unit));
    });
    return static_cast<std::size_t>(end - text.begin());
}

// The number of `least` to `most` digits that comes next, -1 without one. At most nine digits.
static std::int64_t take_number(std::string_view *text, std::size_t least, std::size_t most)
{
    const std::size_t count = digit_count(*text);
    if (count < least || count > most)
        return -1;
    std::int64_t number = 0;
    for (const char digit : text->substr(0, count))
        number = number * 10 + (digit - '0');
    text->remove_prefix(count);
    return number;
}

// "[sign]YYYY-MM-DD".
static bool take_date(std::string_view *text, instant *value)
{
    const bool negative = take(text, '-');
    if (!negative)
        take(text, '+');
    const std::int64_t year = take_number(text, 4, 9);
    if (year < 0 || !take(text, '-'))
        return false;
    const std::int64_t month = take_number(text, 1, 2);
    if (month < 0 || !take(text, '-'))
        return false;
    const std::int64_t day = take_number(text, 1, 2);
    return day >= 0 && instant_set_date(value, negative ? -year : year, month, day);
}

// The digits behind the point as nanoseconds; finer ones are cut.
static bool take_fraction(std::string_view *text, std::int64_t *nanosecond)
{
    const std::size_t count = digit_count(*text);
    std::string_view kept = text->substr(0, std::min<std::size_t>(count, 9));
    const std::size_t missing = 9 - kept.size();
    *nanosecond = take_number(&kept, 1, 9) * powers_of_ten[missing];
    text->remove_prefix(count);
    return count > 0;
}

// "HH:MM[:SS[.fraction]]".
static bool take_time(std::string_view *text, instant *value)
{
    std::int64_t second = 0, nanosecond = 0;
    const std::int64_t hour = take_number(text, 1, 2);
    if (hour < 0 || !take(text, ':'))
        return false;
    const std::int64_t minute = take_number(text, 2, 2);
    if (minute < 0)
        return false;
    if (take(text, ':')) {
        second = take_number(text, 2, 2);
        if (second < 0 || (take(text, '.') && !take_fraction(text, &nanosecond)))
            return false;
    }
    return instant_set_time(value, hour, minute, second, nanosecond);
}

// "Z", "UTC", "GMT", "+HH", "+HHMM" or "+HH:MM": the time goes back by it.
static bool take_zone(std::string_view *text, instant *value)
{
    for (const std::string_view name : {"Z", "z", "UTC", "GMT"}) {
        if (*text == name) {
            *text = {};
            return true;
        }
    }
    const bool negative = take(text, '-');
    if (!negative && !take(text, '+'))
        return false;
    std::string_view hours = text->substr(0, 2);
    text->remove_prefix(hours.size());
    const std::int64_t hour = take_number(&hours, 2, 2);
    const bool more = take(text, ':') || !text->empty();
    const std::int64_t minute = more ? take_number(text, 2, 2) : 0;
    const std::int64_t seconds = (hour * 60 + minute) * 60;
    value->second += negative ? seconds : -seconds;
    return hour >= 0 && hour <= 18 && minute >= 0 && minute < 60;
}

// Takes "{d '...'}", "{t '...'}" or "{ts '...'}" away from what it encloses.
static bool open_escape(std::string_view *text)
{
    if (!take(text, '{'))
        return true;
    pass_blanks(text);
    if (!take(text, 'd') && take(text, 't'))
        take(text, 's');
    pass_blanks(text);
    if (!take(text, '\'') || !text->ends_with('}'))
        return false;
    text->remove_suffix(1);
    while (text->ends_with(' '))
        text->remove_suffix(1);
    if (!text->ends_with('\''))
        return false;
    text->remove_suffix(1);
    return true;
}

bool instant_from_text(std::string_view text, instant *value)
{
    if (!open_escape(&text))
        return false;
    const std::size_t digits = digit_count(text);
    if (digits < text.size() && text[digits] == ':')
        return take_time(&text, value) && text.empty();
    if (!take_date(&text, value))
        return false;
    if (text.empty())
        return true;
    if (!take(&text, 'T') && !take(&text, 't') && !take(&text, ' '))
        return false;
    pass_blanks(&text);
    if (!take_time(&text, value))
        return false;
    pass_blanks(&text);
    return text.empty() || (take_zone(&text, value) && text.empty());
}

void instant_normalise(instant *value)
{
    while (value->second < 0) {
        value->second += INSTANT_DAY_SECONDS;
        value->day--;
    }
    while (value->second >= INSTANT_DAY_SECONDS) {
        value->second -= INSTANT_DAY_SECONDS;
        value->day++;
    }
}
