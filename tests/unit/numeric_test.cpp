// The calendar and numbers as text, against an independent way of getting there.
#include <gtest/gtest.h>

#include <bit>
#include <chrono>
#include <cmath>
#include <random>
#include <vector>

#include "support/jdn_l.h"
#include "support/numtext.h"

TEST(calendar, every_day_of_seventy_centuries)
{
    for (int jdn = 4000; jdn < 2800000; jdn++) {
        const std::chrono::year_month_day date(
            std::chrono::sys_days(std::chrono::days(jdn - 2440588)));
        const int year = static_cast<int>(date.year()) - (date.year() <= std::chrono::year(0));
        std::int64_t y, m, d;
        cass_jdn_to_date(jdn, &y, &m, &d, 0);
        ASSERT_TRUE(y == year && m == unsigned(date.month()) && d == unsigned(date.day())) << jdn;
        ASSERT_EQ(cass_date_to_jdn(y, m, d, 0), jdn);
    }
}

TEST(numtext, doubles_equal_printf)
{
    std::mt19937_64 random(42);
    std::vector<double> values = {-0.0, 0x1p-1074, 0x1p-1022, -HUGE_VAL, double{NAN}};
    for (int i = 0; i < 5000; i++) {
        values.push_back(std::bit_cast<double>(random()));
        // Numbers of everyday size, where the choice between the two styles is made.
        values.push_back(static_cast<double>(random() >> random() % 64) /
                         std::pow(10, static_cast<double>(random() % 12)));
        values.push_back(-9.9999995 * std::pow(10, i % 28 - 8));
    }
    for (const double value : values)
        for (int digits = 1; digits <= 17; digits++) {
            char expected[64], text[33] = "################################";
            std::snprintf(expected, sizeof expected, "%.*G", digits, value);
            text[text_from_double(text, value, digits)] = 0;
            ASSERT_STREQ(text, expected) << digits << " digits";
        }
}
