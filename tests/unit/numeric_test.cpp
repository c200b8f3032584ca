// Numerics, the calendar, and numbers to text, each against an independent way of getting there.
#include <gtest/gtest.h>

#include <bit>
#include <chrono>
#include <cmath>
#include <cstring>
#include <random>
#include <string>

#include "support/bigendian.h"
#include "support/bigint.h"
#include "support/jdn_l.h"
#include "support/numeric.h"
#include "support/numtext.h"

static std::string text_of(const SQL_NUMERIC_STRUCT &numeric)
{
    char text[NUMERIC_TEXT_ROOM];
    const int length = cass_numeric_format(&numeric, text);
    EXPECT_EQ(static_cast<int>(std::strlen(text)), length);
    return text;
}

TEST(numeric, doubles_are_scaled_exactly_or_refused)
{
    // clang-format off
    static const struct { double value; int scale, code; const char *digits; } doubles[] = {
        {1.1, 2, 0, "110"}, {2.5, 0, 0, "2"}, {-3.5, 0, 0, "-4"}, {1500, -2, 0, "15"},
        {1550, -2, 1, ""}, {NAN, -1, -2, ""}, {1e300, 100, -2, ""}, {0x1p128, 0, -2, ""},
        {0x1p127, 0, 0, "170141183460469231731687303715884105728"},
    };
    // clang-format on
    SQL_NUMERIC_STRUCT numeric = {};
    for (const auto &row : doubles) {
        EXPECT_EQ(cass_numeric_from_double(row.value, &numeric, 38, row.scale), row.code);
        numeric.scale = 0;
        EXPECT_EQ(row.code == 0 ? text_of(numeric) : "", row.digits) << row.value;
    }
    // 2^106 + 2^53 + 1 back: one conversion would round up, the sum from the lowest bit meets two
    // ties and rounds down.
    numeric = {.precision = 38, .scale = 0, .sign = 1, .val = {1, 0, 0, 0, 0, 0, 0x20}};
    numeric.val[13] = 0x04;
    double value = 0;
    cass_numeric_to_double(&numeric, &value);
    EXPECT_EQ(value, 0x1p106);
}

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

static void expect_as_printf(double value)
{
    for (int digits = 1; digits <= 17; digits++) {
        char expected[64], text[33] = "################################";
        std::snprintf(expected, sizeof expected, "%.*G", digits, value);
        text[text_from_double(text, value, digits)] = 0;
        ASSERT_STREQ(text, expected) << digits << " digits";
    }
}

TEST(numtext, doubles_equal_printf)
{
    std::mt19937_64 random(42);
    for (const double value : {-0.0, 0x1p-1074, 0x1p-1022, -HUGE_VAL, double{NAN}})
        expect_as_printf(value);
    for (int i = 0; i < 5000; i++) {
        expect_as_printf(std::bit_cast<double>(random()));
        // Numbers of everyday size, where the choice between the two styles is made.
        expect_as_printf(static_cast<double>(random() >> random() % 64) /
                         std::pow(10, static_cast<double>(random() % 12)));
        expect_as_printf(-9.9999995 * std::pow(10, i % 28 - 8));
    }
}

TEST(bigint, both_ways_are_exact_and_short)
{
    const auto expect = [](const std::string &bytes, const std::string &digits) {
        const auto *head = reinterpret_cast<const unsigned char *>(bytes.data());
        EXPECT_EQ(held_text(bigint_to_digits(head, bytes.size())).get(), digits);
        const bool negative = digits[0] == '-';
        std::size_t length;
        const held_bytes back(bigint_from_digits(digits.data() + negative, digits.size() - negative,
                                                 negative, &length));
        EXPECT_EQ(std::string(reinterpret_cast<char *>(back.get()), length), bytes) << digits;
    };
    for (int value = -32768; value < 32768; value++) {
        std::string bytes = {static_cast<char>(value >> 8), static_cast<char>(value)};
        if (value >= -128 && value < 128)
            bytes.erase(0, 1);
        expect(bytes, std::to_string(value));
    }
    const std::string most(BIGINT_MOST_BYTES, 0x55);
    const auto *head = reinterpret_cast<const unsigned char *>(most.data());
    expect(most, held_text(bigint_to_digits(head, most.size())).get());
}
