// Calendar dates to and from Julian Day Numbers. There is no year 0: years below 1 are years before
// Christ. Divisions truncate towards zero.
#ifndef SUPPORT_JDN_L_H
#define SUPPORT_JDN_L_H

#include <cstdint>

// 1 January 1970, Gregorian.
constexpr std::int64_t EPOCH_JDN = 2440588;

// Calendar flag: 0 Gregorian throughout, above 0 Julian, below 0 the English changeover (Julian
// before 3 September 1752).
std::int64_t cass_date_to_jdn(std::int64_t year, std::int64_t month, std::int64_t day,
                              int calendar);
void cass_jdn_to_date(std::int64_t jdn, std::int64_t *year, std::int64_t *month, std::int64_t *day,
                      int calendar);

#endif
