// Calendar arithmetic by the usual integer formulas. All divisions truncate towards zero, and years
// before Christ are shifted by one on the way in and out, as there is no year 0.
#include "support/jdn_l.h"

// England went over to the Gregorian calendar on 14 September 1752, the day after 2 September.
static constexpr std::int64_t CHANGEOVER_DATE = 17520903;
static constexpr std::int64_t CHANGEOVER_JDN = 2361222;

std::int64_t cass_date_to_jdn(std::int64_t year, std::int64_t month, std::int64_t day, int calendar)
{
    const bool julian =
        calendar > 0 || (calendar < 0 && (year * 100 + month) * 100 + day < CHANGEOVER_DATE);
    const std::int64_t y = year < 0 ? year + 1 : year;

    if (julian)
        return 367 * y - 7 * (y + 5001 + (month - 9) / 7) / 4 + 275 * month / 9 + day + 1729777;

    const std::int64_t a = (month - 14) / 12;
    return (y + 4800 + a) * 1461 / 4 + (month - 2 - 12 * a) * 367 / 12 -
           3 * ((y + 4900 + a) / 100) / 4 + day - 32075;
}

void cass_jdn_to_date(std::int64_t jdn, std::int64_t *year, std::int64_t *month, std::int64_t *day,
                      int calendar)
{
    const bool julian = calendar > 0 || (calendar < 0 && jdn < CHANGEOVER_JDN);
    const std::int64_t cycle = julian ? 146100 : 146097;  // days of 400 years

    std::int64_t x = jdn + (julian ? 68607 : 68569);
    const std::int64_t n = 4 * x / cycle;
    x -= (cycle * n + 3) / 4;
    const std::int64_t i = 4000 * (x + 1) / 1461001;
    x += 31 - 1461 * i / 4;
    const std::int64_t j = 80 * x / 2447;
    const std::int64_t k = j / 11;

    *day = x - 2447 * j / 80;
    *month = j + 2 - 12 * k;
    *year = 100 * (n - 49) + i + k;
    if (*year <= 0)
        *year -= 1;
}
