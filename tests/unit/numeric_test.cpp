// Numerics, the calendar, and numbers to text, each against an independent way of getting there.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <string>

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

struct text_case {
    const char *text;
    int scale;
    int code;
    int scale_out;
    const char *format;  // the value as text again
};

static constexpr char LARGEST[] = "340282366920938463463374607431768211455";

TEST(numeric, text_to_numeric_and_back)
{
    static constexpr text_case cases[] = {
        {"0", 0, 0, 0, "0"},
        {"", 0, 0, 0, "0"},
        {"-0", 2, 0, 2, "-0"},
        {"  -1", 0, 0, 0, "-1"},
        {"+0012.50", 0, 0, 2, "12.5"},
        {"1.50", 0, 0, 2, "1.5"},
        {"15.", 1, 0, 1, "1.5"},
        {"1500", 2, 0, 2, "15"},
        {"1230", 3, 0, 3, "1.23"},
        {"5", 3, 0, 3, "0.005"},
        {"123", 3, 0, 3, "0.123"},
        {"0", 2, 0, 2, "0"},
        {"5", -3, 0, -3, "5000"},
        {"1", 127, 0, 127, nullptr},
        {LARGEST, 0, 0, 0, LARGEST},
        {"-000340282366920938463463374607431768211455", 0, 0, 0,
         "-340282366920938463463374607431768211455"},
        {"340282366920938463463374607431768211456", 0, -2, 0, nullptr},
        {"1000000000000000000000000000000000000000", 0, -2, 0, nullptr},
        {"1e5", 0, -2, 0, nullptr},
        {"1 ", 0, -2, 0, nullptr},
        {"--1", 0, -2, 0, nullptr},
        {"1.2.3", 0, -2, 0, nullptr},
    };
    for (const text_case &c : cases) {
        std::string text = c.text;
        SQL_NUMERIC_STRUCT numeric;
        std::memset(&numeric, 0x5A, sizeof numeric);
        const SQL_NUMERIC_STRUCT before = numeric;
        ASSERT_EQ(cass_numeric_from_text(text.data(), &numeric, 38, c.scale), c.code) << c.text;
        if (c.code != 0) {
            EXPECT_EQ(std::memcmp(&numeric, &before, sizeof numeric), 0) << c.text;
            continue;
        }
        EXPECT_EQ(numeric.precision, 38);
        EXPECT_EQ(numeric.scale, c.scale_out) << c.text;
        if (c.format != nullptr) {
            EXPECT_EQ(text_of(numeric), c.format) << c.text;
        }
    }
}

TEST(numeric, the_longest_text_fits_its_room)
{
    SQL_NUMERIC_STRUCT numeric = {.precision = 38, .scale = -128, .sign = 0, .val = {}};
    std::memset(numeric.val, 0xFF, sizeof numeric.val);
    EXPECT_EQ(text_of(numeric), std::string("-") + LARGEST + std::string(128, '0'));
    numeric.scale = 127;
    EXPECT_EQ(text_of(numeric), "-0." + std::string(127 - 39, '0') + LARGEST);

    char buffer[5] = "####";
    std::int32_t length = 0;
    EXPECT_EQ(cass_numeric_to_text(&numeric, buffer, 4, &length), 1);
    EXPECT_STREQ(buffer, "-0.");
    EXPECT_EQ(length, 130);
}

TEST(numeric, integers_are_scaled_exactly)
{
    struct row {
        std::int64_t value;
        int scale;
        int code;
        const char *digits;  // of the magnitude
    };
    static constexpr row rows[] = {
        {0, 100, 0, "0"},
        {123, 0, 0, "123"},
        {-123, 2, 0, "-12300"},
        {1999, -2, 0, "19"},
        {-1999, -40, 0, "-0"},
        {std::numeric_limits<std::int64_t>::min(), 0, 0, "-9223372036854775808"},
        {std::numeric_limits<std::int64_t>::max(), 19, 0, "92233720368547758070000000000000000000"},
        {3, 38, 0, "300000000000000000000000000000000000000"},
        {4, 38, -2, nullptr},
        {1, 39, -2, nullptr},
    };
    for (const row &r : rows) {
        SQL_NUMERIC_STRUCT numeric;
        ASSERT_EQ(cass_numeric_from_int64(r.value, &numeric, 20, r.scale), r.code) << r.value;
        if (r.code != 0)
            continue;
        EXPECT_EQ(numeric.scale, r.scale);
        EXPECT_EQ(numeric.precision, 20);
        numeric.scale = 0;
        EXPECT_EQ(text_of(numeric), r.digits) << r.value;
    }
    SQL_NUMERIC_STRUCT numeric;
    ASSERT_EQ(cass_numeric_from_long(std::numeric_limits<std::int32_t>::min(), &numeric, 10, 0), 0);
    EXPECT_EQ(text_of(numeric), "-2147483648");
}

TEST(numeric, doubles_are_rounded_and_bounded)
{
    struct row {
        double value;
        int scale;
        int code;
        const char *digits;
    };
    static const row rows[] = {
        {1.1, 2, 0, "110"},
        {2.5, 0, 0, "2"},
        {-3.5, 0, 0, "-4"},
        {-0.25, 0, 0, "-0"},
        {1500, -2, 0, "15"},
        {1550, -2, 1, nullptr},
        {std::ldexp(1.0, 127), 0, 0, "170141183460469231731687303715884105728"},
        {std::ldexp(1.0, 128), 0, -2, nullptr},
        {1e300, 100, -2, nullptr},
        {std::numeric_limits<double>::infinity(), 0, -2, nullptr},
        {std::numeric_limits<double>::quiet_NaN(), -1, -2, nullptr},
    };
    for (const row &r : rows) {
        SQL_NUMERIC_STRUCT numeric;
        ASSERT_EQ(cass_numeric_from_double(r.value, &numeric, 38, r.scale), r.code) << r.value;
        if (r.code != 0)
            continue;
        numeric.scale = 0;
        EXPECT_EQ(text_of(numeric), r.digits) << r.value;
    }
}

TEST(numeric, to_double_sums_from_the_lowest_bit)
{
    SQL_NUMERIC_STRUCT numeric = {.precision = 38, .scale = 2, .sign = 0, .val = {0xD2, 0x04}};
    double value = 0;
    EXPECT_EQ(cass_numeric_to_double(&numeric, &value), 0);
    EXPECT_EQ(value, -1234 * 0.01);
    numeric.scale = -3;
    cass_numeric_to_double(&numeric, &value);
    EXPECT_EQ(value, -1234000.0);

    // 2^106 + 2^53 + 1: one conversion would round up, the sum meets two ties and rounds down.
    numeric = {.precision = 38, .scale = 0, .sign = 1, .val = {1, 0, 0, 0, 0, 0, 0x20}};
    numeric.val[13] = 0x04;
    cass_numeric_to_double(&numeric, &value);
    EXPECT_EQ(value, std::ldexp(1.0, 106));
    std::memset(numeric.val, 0xFF, sizeof numeric.val);
    cass_numeric_to_double(&numeric, &value);
    EXPECT_EQ(value, std::ldexp(1.0, 128));
}

// ---- Calendar --------------------------------------------------------------------------------

static int days_in_month(std::int64_t year, int month, bool julian)
{
    static constexpr int days[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    const std::int64_t y = year < 0 ? year + 1 : year;
    const bool leap = y % 4 == 0 && (julian || y % 100 != 0 || y % 400 == 0);
    return days[month - 1] + (month == 2 && leap ? 1 : 0);
}

TEST(calendar, a_walk_from_day_to_day)
{
    for (const int calendar : {0, 1}) {
        std::int64_t expected = cass_date_to_jdn(-4700, 1, 1, calendar);
        for (std::int64_t year = -4700; year < 3000; year += year == -1 ? 2 : 1) {
            for (int month = 1; month <= 12; month++) {
                const int days = days_in_month(year, month, calendar > 0);
                for (int day = 1; day <= days; day++, expected++) {
                    std::int64_t y, m, d;
                    cass_jdn_to_date(expected, &y, &m, &d, calendar);
                    ASSERT_EQ(cass_date_to_jdn(year, month, day, calendar), expected)
                        << year << '-' << month << '-' << day << " calendar " << calendar;
                    ASSERT_TRUE(y == year && m == month && d == day)
                        << expected << " gave " << y << '-' << m << '-' << d;
                }
            }
        }
    }
}

TEST(calendar, known_days_and_the_changeover)
{
    struct row {
        std::int64_t year, month, day;
        int calendar;
        std::int64_t jdn;
    };
    static constexpr row rows[] = {
        {1970, 1, 1, 0, 2440588},   {1970, 1, 1, -1, 2440588}, {-4713, 1, 1, 1, 0},
        {1582, 10, 15, 0, 2299161}, {1752, 9, 2, -1, 2361221}, {1752, 9, 14, -1, 2361222},
    };
    for (const row &r : rows) {
        EXPECT_EQ(cass_date_to_jdn(r.year, r.month, r.day, r.calendar), r.jdn) << r.year;
        std::int64_t y, m, d;
        cass_jdn_to_date(r.jdn, &y, &m, &d, r.calendar);
        EXPECT_TRUE(y == r.year && m == r.month && d == r.day) << y << '-' << m << '-' << d;
    }
}

// ---- Numbers to text -------------------------------------------------------------------------

TEST(numtext, doubles_equal_printf)
{
    std::mt19937_64 random(42);
    const auto compare = [](double value, int digits) {
        char expected[64];
        char text[33];
        std::memset(text, '#', sizeof text);
        std::snprintf(expected, sizeof expected, "%.*G", digits, value);
        text[text_from_double(text, value, digits)] = 0;
        ASSERT_STREQ(text, expected) << digits << " digits";
    };
    static constexpr std::uint64_t edges[] = {
        0,
        1,
        0x000F'FFFF'FFFF'FFFF,
        0x0010'0000'0000'0000,
        0x7FEF'FFFF'FFFF'FFFF,
        0x7FF0'0000'0000'0000,
        0x7FF8'0000'0000'0000,
        0x7FF0'0000'0000'0001,
    };
    const auto from_bits = [](std::uint64_t bits) {
        double value;
        std::memcpy(&value, &bits, sizeof value);
        return value;
    };
    for (int digits = 1; digits <= 17; digits++) {
        for (const std::uint64_t bits : edges) {
            compare(from_bits(bits), digits);
            compare(from_bits(bits | std::uint64_t{1} << 63), digits);
        }
        for (int i = 0; i < 5000; i++) {
            compare(from_bits(random()), digits);
            // Numbers of everyday size, where the choice between the two styles is made.
            compare(static_cast<double>(static_cast<std::int64_t>(random()) >> random() % 64) /
                        std::pow(10, static_cast<double>(random() % 12)),
                    digits);
        }
        for (int exponent = -8; exponent <= 20; exponent++) {
            const double power = std::pow(10, exponent);
            for (const double value : {power, std::nextafter(power, 0), 9.9999995 * power})
                compare(value, digits);
        }
    }
}

TEST(numtext, integers_equal_printf)
{
    const auto compare = [](std::uint64_t bits) {
        char text[21];
        text[text_from_uint64(text, bits)] = 0;
        ASSERT_EQ(text, std::to_string(bits));
        const auto value = static_cast<std::int64_t>(bits);
        text[text_from_int64(text, value)] = 0;
        ASSERT_EQ(text, std::to_string(value));
    };
    std::uint64_t power = 1;
    for (int digits = 0; digits < 20; digits++, power *= 10) {
        for (const std::uint64_t bits : {power - 1, power, power + 1, 0 - power})
            compare(bits);
    }
    compare(std::uint64_t{1} << 63);
    std::mt19937_64 random(7);
    for (int i = 0; i < 20000; i++)
        compare(random() >> random() % 64);
}

TEST(numtext, padded_and_hexadecimal)
{
    std::uint32_t value = 123456789;
    for (int width = 9; width >= 1; width--, value /= 10) {
        for (const std::uint32_t number : {value, 7u, 0u}) {
            char text[12];
            char expected[12];
            std::memset(text, '#', sizeof text);
            text_padded(text, number, width);
            EXPECT_EQ(text[width], '#');
            text[width] = 0;
            std::snprintf(expected, sizeof expected, "%0*u", width, number);
            EXPECT_STREQ(text, expected);
        }
    }
    for (int byte = 0; byte < 256; byte++) {
        char text[3] = {};
        char expected[3];
        text_hex(text, static_cast<unsigned char>(byte), HEX_LOWER);
        std::snprintf(expected, sizeof expected, "%02x", byte);
        EXPECT_STREQ(text, expected);
        text_hex(text, static_cast<unsigned char>(byte), HEX_UPPER);
        std::snprintf(expected, sizeof expected, "%02X", byte);
        EXPECT_STREQ(text, expected);
    }
}
