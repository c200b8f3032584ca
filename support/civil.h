// Days as dates of the Gregorian calendar throughout, as ISO 8601 counts them: there is a year 0,
// and years before it are negative.
#ifndef SUPPORT_CIVIL_H
#define SUPPORT_CIVIL_H

#include <cstdint>

// The first day of year 1 and the last one of year 9999, in days since 1 January 1970.
constexpr std::int64_t FIRST_COMMON_DAY = -719162;
constexpr std::int64_t LAST_COMMON_DAY = 2932896;

struct civil_date {
    std::int64_t year;
    unsigned month, day;
};

// Any day within some 10^16 years.
civil_date civil_from_days(std::int64_t days);
// "YYYY-MM-DD", with as many digits of the year as it takes, four at the least, and a '-' in front
// of a negative one. At most 32 characters, no terminator; their number.
int text_from_civil(char *out, const civil_date &date);

#endif
