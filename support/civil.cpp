#include "support/civil.h"

#include "support/numtext.h"

constexpr std::int64_t ERA_DAYS = 146097;   // 400 years
constexpr std::int64_t ERA_START = 719468;  // days from 1 March of year 0 to 1970

// Years are counted from March, so that a leap day is the last day of its year.
civil_date civil_from_days(std::int64_t days)
{
    const std::int64_t shifted = days + ERA_START;
    const std::int64_t era = (shifted >= 0 ? shifted : shifted - (ERA_DAYS - 1)) / ERA_DAYS;
    const std::int64_t day_of_era = shifted - era * ERA_DAYS;
    const std::int64_t year_of_era =
        (day_of_era - day_of_era / 1460 + day_of_era / 36524 - day_of_era / 146096) / 365;
    const std::int64_t day_of_year =
        day_of_era - (365 * year_of_era + year_of_era / 4 - year_of_era / 100);
    const std::int64_t month = (5 * day_of_year + 2) / 153;  // 0: March
    return {
        .year = year_of_era + era * 400 + (month >= 10 ? 1 : 0),
        .month = static_cast<unsigned>(month < 10 ? month + 3 : month - 9),
        .day = static_cast<unsigned>(day_of_year - (153 * month + 2) / 5 + 1),
    };
}

int text_from_civil(char *out, const civil_date &date)
{
    char *end = out;
    const bool negative = date.year < 0;
    if (negative)
        *end++ = '-';
    const auto year = static_cast<std::uint64_t>(negative ? -date.year : date.year);
    for (std::uint64_t least = 1000; year < least && least > 1; least /= 10)
        *end++ = '0';
    end += text_from_uint64(end, year);
    *end++ = '-';
    text_padded(end, date.month, 2);
    end[2] = '-';
    text_padded(end + 3, date.day, 2);
    return static_cast<int>(end + 5 - out);
}
