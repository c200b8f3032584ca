// From (C type, SQL type, value, length) to the exact bytes of the request or the state of the
// refusal.
#include <gtest/gtest.h>

#include <cmath>
#include <ctime>
#include <limits>
#include <vector>

#include "core/cass_field.h"
#include "tests/unit/parameter_rig.h"

struct encode_case {
    int c_type, sql_type;
    std::string value;     // the application's memory
    std::string expected;  // hexadecimal, or states
    int digits = 0;
    SQLULEN size = 30;
};

static constexpr SQLLEN NO_INDICATOR = std::numeric_limits<SQLLEN>::min();

// Encodes one value that lies in a block of exactly its bytes, as does its indicator.
static std::string encode_one(const encode_case &c, SQLLEN indicator = NO_INDICATOR,
                              SQLLEN buffer_length = 0)
{
    session s;
    const exact_block value(c.value);
    const exact_block length(image(indicator));
    EXPECT_EQ(SQL_SUCCESS,
              SQLBindParameter(s.stmt, 1, SQL_PARAM_INPUT, static_cast<SQLSMALLINT>(c.c_type),
                               static_cast<SQLSMALLINT>(c.sql_type), c.size,
                               static_cast<SQLSMALLINT>(c.digits), value.at, buffer_length,
                               indicator == NO_INDICATOR ? nullptr : length.lengths()));
    return encode(s);
}

static void check_all(const std::vector<encode_case> &cases)
{
    int number = 0;
    for (const encode_case &c : cases) {
        const bool text = c.c_type == SQL_C_CHAR || c.c_type == SQL_C_WCHAR;
        const auto size = static_cast<SQLLEN>(c.value.size());
        EXPECT_EQ(c.expected, text ? encode_one(c, size) : encode_one(c))
            << "case " << number << ": " << c.c_type << " to " << c.sql_type;
        number++;
    }
}

static std::string text_value(const std::string &text)
{
    return hex(be32(static_cast<std::int64_t>(text.size())) + text);
}

// A numeric from a magnitude of up to 64 bits.
static std::string numeric(std::uint64_t magnitude, int scale, int sign = 1)
{
    SQL_NUMERIC_STRUCT value = {};
    value.precision = 38;
    value.scale = static_cast<SQLSCHAR>(scale);
    value.sign = static_cast<SQLCHAR>(sign);
    std::memcpy(value.val, &magnitude, sizeof magnitude);
    return image(value);
}

static std::string number_of(int c_type, std::int64_t value)
{
    switch (c_type) {
    case SQL_C_STINYINT:
    case SQL_C_UTINYINT:
    case SQL_C_TINYINT:
    case SQL_C_BIT:
        return image(static_cast<std::int8_t>(value));
    case SQL_C_SSHORT:
    case SQL_C_USHORT:
    case SQL_C_SHORT:
        return image(static_cast<std::int16_t>(value));
    case SQL_C_SBIGINT:
    case SQL_C_UBIGINT:
        return image(value);
    case SQL_C_DOUBLE:
        return image(static_cast<double>(value));
    case SQL_C_FLOAT:
        return image(static_cast<float>(value));
    case SQL_C_NUMERIC:
        return numeric(static_cast<std::uint64_t>(std::abs(value)), 0, value < 0 ? 0 : 1);
    case SQL_C_CHAR:
        return std::to_string(value);
    case SQL_C_WCHAR:
        return wide(std::to_string(value));
    default:
        return image(static_cast<std::int32_t>(value));
    }
}

static const SQLGUID GUID = {0x01020304, 0x0506, 0x0708, {9, 10, 11, 12, 13, 14, 15, 0xFF}};
static const SQL_DATE_STRUCT DATE = {1970, 1, 2};
static const SQL_TIME_STRUCT TIME = {10, 11, 12};
static const SQL_TIMESTAMP_STRUCT STAMP = {2001, 2, 3, 4, 5, 6, 7};
static constexpr double INF = std::numeric_limits<double>::infinity();

// One value from every source to every target that has a number for it.
TEST(parameter_encode, a_number_arrives_whatever_its_c_type)
{
    for (const int c_type :
         {SQL_C_STINYINT, SQL_C_UTINYINT, SQL_C_TINYINT, SQL_C_SSHORT, SQL_C_USHORT, SQL_C_SHORT,
          SQL_C_SLONG, SQL_C_ULONG, SQL_C_LONG, SQL_C_SBIGINT, SQL_C_UBIGINT, SQL_C_DOUBLE,
          SQL_C_FLOAT, SQL_C_NUMERIC, SQL_C_CHAR, SQL_C_WCHAR}) {
        const std::string value = number_of(c_type, 100);
        check_all({
            {c_type, SQL_TINYINT, value, "0000000164"},
            {c_type, SQL_SMALLINT, value, "000000020064"},
            {c_type, SQL_INTEGER, value, "0000000400000064"},
            {c_type, SQL_BIGINT, value, "000000080000000000000064"},
            {c_type, SQL_BIT, value, "0000000101"},
            {c_type, SQL_DOUBLE, value, "000000084059000000000000"},
            {c_type, SQL_FLOAT, value, "000000084059000000000000"},
            {c_type, SQL_REAL, value, "0000000442c80000"},
            {c_type, SQL_VARCHAR, value, text_value("100")},
            {c_type, SQL_DECIMAL, value, "00000006000000000064"},
        });
    }
    for (const int c_type : {SQL_C_STINYINT, SQL_C_SSHORT, SQL_C_SLONG, SQL_C_SBIGINT, SQL_C_DOUBLE,
                             SQL_C_FLOAT, SQL_C_NUMERIC, SQL_C_CHAR, SQL_C_WCHAR}) {
        const std::string value = number_of(c_type, -2);
        check_all({
            {c_type, SQL_TINYINT, value, "00000001fe"},
            {c_type, SQL_SMALLINT, value, "00000002fffe"},
            {c_type, SQL_INTEGER, value, "00000004fffffffe"},
            {c_type, SQL_BIGINT, value, "00000008fffffffffffffffe"},
            {c_type, SQL_DOUBLE, value, "00000008c000000000000000"},
            {c_type, SQL_VARCHAR, value, text_value("-2")},
            {c_type, SQL_NUMERIC, value, "0000000600000000fffe"},
        });
    }
}

TEST(parameter_encode, integers_end_at_the_bounds_of_their_target)
{
    check_all({
        {SQL_C_SLONG, SQL_TINYINT, image(200), "22003@1"},
        {SQL_C_SLONG, SQL_TINYINT, image(-128), "0000000180"},
        {SQL_C_SLONG, SQL_TINYINT, image(-129), "22003@1"},
        {SQL_C_SLONG, SQL_SMALLINT, image(-32768), "000000028000"},
        {SQL_C_SLONG, SQL_SMALLINT, image(32768), "22003@1"},
        {SQL_C_ULONG, SQL_INTEGER, image(0x80000000u), "22003@1"},
        {SQL_C_ULONG, SQL_BIGINT, image(0x80000000u), "000000080000000080000000"},
        {SQL_C_USHORT, SQL_INTEGER, image(std::uint16_t{0xFFFF}), "000000040000ffff"},
        {SQL_C_SBIGINT, SQL_INTEGER, image(std::int64_t{INT32_MIN}), "0000000480000000"},
        {SQL_C_SBIGINT, SQL_INTEGER, image(std::int64_t{INT32_MIN} - 1), "22003@1"},
        {SQL_C_SBIGINT, SQL_TINYINT, image(std::int64_t{1} << 40), "22003@1"},
        {SQL_C_UBIGINT, SQL_BIGINT, image(~std::uint64_t{0}), "00000008ffffffffffffffff"},
        {SQL_C_BIT, SQL_BIT, std::string("\2"), "0000000101"},
        {SQL_C_BIT, SQL_VARCHAR, std::string("\2"), text_value("1")},
        {SQL_C_DOUBLE, SQL_BIT, image(0.9), "0000000100"},
        {SQL_C_DOUBLE, SQL_INTEGER, image(-1.9), "00000004ffffffff"},
        {SQL_C_DOUBLE, SQL_INTEGER, image(2147483647.9), "000000047fffffff"},
        {SQL_C_DOUBLE, SQL_INTEGER, image(2147483648.0), "22003@1"},
        {SQL_C_DOUBLE, SQL_INTEGER, image(-2147483648.5), "0000000480000000"},
        {SQL_C_DOUBLE, SQL_INTEGER, image(std::nan("")), "22003@1"},
        {SQL_C_DOUBLE, SQL_BIGINT, image(INF), "22003@1"},
        {SQL_C_DOUBLE, SQL_BIGINT, image(0x1p63), "22003@1"},
        {SQL_C_DOUBLE, SQL_BIGINT, image(-0x1p63), "000000088000000000000000"},
        {SQL_C_NUMERIC, SQL_INTEGER, numeric(12399, 2), "000000040000007b"},
        {SQL_C_NUMERIC, SQL_INTEGER, numeric(5, 1, 0), "0000000400000000"},
        {SQL_C_NUMERIC, SQL_BIGINT, numeric(~std::uint64_t{0}, 0), "22003@1"},
        {SQL_C_NUMERIC, SQL_BIGINT, numeric(1, -127), "22003@1"},
        {SQL_C_CHAR, SQL_INTEGER, "12abc", "000000040000000c"},
        {SQL_C_CHAR, SQL_INTEGER, " \t+7.9", "0000000400000007"},
        {SQL_C_CHAR, SQL_INTEGER, "abc", "22018@1"},
        {SQL_C_CHAR, SQL_INTEGER, "", "22018@1"},
        {SQL_C_CHAR, SQL_BIGINT, "-", "22018@1"},
        {SQL_C_CHAR, SQL_INTEGER, "2147483648", "22003@1"},
        {SQL_C_CHAR, SQL_BIGINT, "-9223372036854775808", "000000088000000000000000"},
        {SQL_C_CHAR, SQL_BIGINT, "9223372036854775808", "22003@1"},
        {SQL_C_CHAR, SQL_BIGINT, std::string(126, '0') + "12", "000000080000000000000001"},
        {SQL_C_WCHAR, SQL_INTEGER, wide(std::string(126, ' ') + "12"), "0000000400000001"},
        {SQL_C_GUID, SQL_INTEGER, image(GUID), "22018@1"},
        {SQL_C_TYPE_DATE, SQL_BIGINT, image(DATE), "22018@1"},
        {SQL_C_TYPE_TIME, SQL_BIT, image(TIME), "22018@1"},
        {SQL_C_TIMESTAMP, SQL_INTEGER, image(STAMP), "22018@1"},
    });
}

TEST(parameter_encode, floating_targets)
{
    check_all({
        {SQL_C_UBIGINT, SQL_DOUBLE, image(~std::uint64_t{0}), "0000000843f0000000000000"},
        {SQL_C_NUMERIC, SQL_DOUBLE, numeric(12345, 2, 0), "00000008c05edccccccccccd"},
        {SQL_C_CHAR, SQL_DOUBLE, "1.5e1x", "00000008402e000000000000"},
        {SQL_C_CHAR, SQL_DOUBLE, "no number", "000000080000000000000000"},
        {SQL_C_WCHAR, SQL_REAL, wide("-0.5"), "00000004bf000000"},
        {SQL_C_DOUBLE, SQL_REAL, image(INF), "000000047f800000"},
        {SQL_C_FLOAT, SQL_DOUBLE, image(0.5f), "000000083fe0000000000000"},
        {SQL_C_GUID, SQL_DOUBLE, image(GUID), "07006@1"},
        {SQL_C_DATE, SQL_REAL, image(DATE), "07006@1"},
    });
}

TEST(parameter_encode, fixed_values_as_text)
{
    const auto text = text_value;
    SQL_TIMESTAMP_STRUCT whole = STAMP;
    whole.fraction = 0;
    const SQL_TIMESTAMP_STRUCT wild = {-5, 123, 4, 500, 6, 7, 4000000000u};
    const SQL_DATE_STRUCT far = {12345, 1, 2};
    check_all({
        {SQL_C_UTINYINT, SQL_VARCHAR, "\xFF", text("255")},
        {SQL_C_STINYINT, SQL_CHAR, "\xFF", text("-1")},
        {SQL_C_SBIGINT, SQL_WVARCHAR, image(INT64_MIN), text("-9223372036854775808")},
        {SQL_C_UBIGINT, SQL_LONGVARCHAR, image(UINT64_MAX), text("18446744073709551615")},
        {SQL_C_DOUBLE, SQL_VARCHAR, image(1234567.0), text("1.23457E+06")},
        {SQL_C_FLOAT, SQL_VARCHAR, image(0.1f), text("0.1")},
        {SQL_C_DOUBLE, SQL_VARCHAR, image(-INF), text("-INF")},
        {SQL_C_NUMERIC, SQL_VARCHAR, numeric(1500, 2), text("15")},
        {SQL_C_NUMERIC, SQL_VARCHAR, numeric(5, 127, 0), text("-0." + std::string(126, '0') + "5")},
        {SQL_C_NUMERIC, SQL_VARCHAR, numeric(~std::uint64_t{0}, -128),
         text("18446744073709551615" + std::string(128, '0'))},
        {SQL_C_GUID, SQL_VARCHAR, image(GUID), text("01020304-0506-0708-090A-0B0C0D0E0FFF")},
        {SQL_C_DATE, SQL_VARCHAR, image(DATE), text("1970-01-02")},
        {SQL_C_TYPE_DATE, SQL_VARCHAR, image(far), text("12345-01-02")},
        {SQL_C_TYPE_TIME, SQL_VARCHAR, image(TIME), text("10:11:12")},
        {SQL_C_TIMESTAMP, SQL_VARCHAR, image(whole), text("2001-02-03 04:05:06")},
        {SQL_C_TYPE_TIMESTAMP, SQL_VARCHAR, image(STAMP), text("2001-02-03 04:05:06.000000007")},
        {SQL_C_TYPE_TIMESTAMP, SQL_VARCHAR, image(wild), text("-005-123-04 500:06:07.4000000000")},
    });
}

TEST(parameter_encode, decimals)
{
    const std::string largest = "340282366920938463463374607431768211455";
    SQL_NUMERIC_STRUCT deep = {};
    deep.precision = 39;
    SQL_NUMERIC_STRUCT scaled = {};
    scaled.scale = 39;
    check_all({
        {SQL_C_NUMERIC, SQL_DECIMAL, numeric(0, 0), "000000050000000000"},
        {SQL_C_NUMERIC, SQL_DECIMAL, numeric(0, 0, 0), "000000050000000000"},
        {SQL_C_NUMERIC, SQL_DECIMAL, numeric(1, 2), "00000006000000020001"},
        {SQL_C_NUMERIC, SQL_DECIMAL, numeric(1, -3), "00000006fffffffd0001"},
        {SQL_C_NUMERIC, SQL_DECIMAL, numeric(255, 0), "000000060000000000ff"},
        {SQL_C_NUMERIC, SQL_DECIMAL, numeric(1, 0, 0), "0000000600000000ffff"},
        // The carry of a negative value stays behind.
        {SQL_C_NUMERIC, SQL_DECIMAL, numeric(256, 0, 0), "0000000700000000fffe00"},
        {SQL_C_NUMERIC, SQL_DECIMAL, image(deep), "22003@1"},
        {SQL_C_NUMERIC, SQL_DECIMAL, image(scaled), "22003@1"},
        {SQL_C_SLONG, SQL_DECIMAL, image(5),
         "0000000700000002"
         "0001f4",
         2},
        {SQL_C_SLONG, SQL_DECIMAL, image(1234), "00000006fffffffe000c", -2},
        {SQL_C_SLONG, SQL_DECIMAL, image(INT32_MIN), "0000000900000000ff7fffff00"},
        {SQL_C_SBIGINT, SQL_DECIMAL, image(INT64_MAX), "22003@1", 38},
        {SQL_C_UBIGINT, SQL_DECIMAL, image(UINT64_MAX), "0000000e000000010009fffffffffffffff6", 1},
        {SQL_C_UBIGINT, SQL_DECIMAL, image(UINT64_MAX), "0000000dffffffff001999999999999999", -1},
        {SQL_C_UBIGINT, SQL_DECIMAL, image(UINT64_MAX), "22003@1", 30},
        {SQL_C_BIT, SQL_DECIMAL, "\1", "00000006000000000001"},
        {SQL_C_DOUBLE, SQL_DECIMAL, image(1.25), "0000000600000002007d", 2},
        {SQL_C_DOUBLE, SQL_DECIMAL, image(std::nan("")), "22003@1"},
        {SQL_C_DOUBLE, SQL_DECIMAL, image(15.0), "22003@1", -1},
        {SQL_C_DOUBLE, SQL_DECIMAL, image(1e39), "22003@1"},
        {SQL_C_CHAR, SQL_DECIMAL, "1.50", "0000000600000001000f"},
        {SQL_C_CHAR, SQL_DECIMAL, "1.00", "00000006000000000001"},
        {SQL_C_CHAR, SQL_DECIMAL, ".000", "000000050000000000"},
        {SQL_C_CHAR, SQL_DECIMAL, "  -7. ", "0000000600000000fff9"},
        {SQL_C_CHAR, SQL_DECIMAL, "1.5", "00000007000000030005dc", 3},
        {SQL_C_CHAR, SQL_DECIMAL, "1",
         "0000000700000003"
         "0003e8",
         3},
        {SQL_C_CHAR, SQL_DECIMAL, "1.239", "0000000600000002007b", 2},
        {SQL_C_WCHAR, SQL_DECIMAL, wide("+12"), "0000000600000000000c"},
        {SQL_C_CHAR, SQL_DECIMAL, largest,
         "0000001500000000"
         "00ffffffffffffffffffffffffffffffff"},
        {SQL_C_CHAR, SQL_DECIMAL, "340282366920938463463374607431768211456", "22003@1"},
        {SQL_C_CHAR, SQL_DECIMAL, std::string(200, '1'), "22003@1", 38},
        {SQL_C_CHAR, SQL_DECIMAL, "0." + std::string(38, '0') + "1", "22003@1"},
        {SQL_C_CHAR, SQL_DECIMAL, "", "22018@1"},
        {SQL_C_CHAR, SQL_DECIMAL, "-", "22018@1"},
        {SQL_C_CHAR, SQL_DECIMAL, ".", "22018@1"},
        {SQL_C_CHAR, SQL_DECIMAL, "1e5", "22018@1"},
        {SQL_C_CHAR, SQL_DECIMAL, "1.2.3", "22018@1"},
        {SQL_C_CHAR, SQL_DECIMAL, "1 2", "22018@1"},
        {SQL_C_CHAR, SQL_DECIMAL, "1", "22003@1", 39},
        {SQL_C_CHAR, SQL_DECIMAL, "1", "22003@1", 0, 39},
        {SQL_C_DATE, SQL_DECIMAL, image(DATE), "07006@1"},
        {SQL_C_GUID, SQL_NUMERIC, image(GUID), "07006@1"},
    });
}

TEST(parameter_encode, dates_and_times)
{
    const SQL_TIMESTAMP_STRUCT epoch = {1970, 1, 1, 0, 0, 0, 0};
    const SQL_TIMESTAMP_STRUCT before = {1969, 12, 31, 23, 59, 59, 999999999};
    const SQL_TIMESTAMP_STRUCT wild = {-32768, 65535, 65535, 65535, 65535, 65535, 4294967295u};
    check_all({
        {SQL_C_TYPE_TIMESTAMP, SQL_TYPE_TIMESTAMP, image(epoch), "000000080000000000000000"},
        {SQL_C_TIMESTAMP, SQL_TIMESTAMP, image(before), "00000008ffffffffffffffff"},
        {SQL_C_TYPE_TIMESTAMP, SQL_TYPE_DATE, image(before), "000000047fffffff"},
        {SQL_C_TYPE_TIMESTAMP, SQL_TYPE_TIME, image(before), "0000000800004e94914effff"},
        {SQL_C_DATE, SQL_DATE, image(SQL_DATE_STRUCT{1970, 1, 1}), "0000000480000000"},
        {SQL_C_TYPE_DATE, SQL_TYPE_DATE, image(DATE), "0000000480000001"},
        {SQL_C_TYPE_DATE, SQL_TYPE_TIMESTAMP, image(DATE), "000000080000000005265c00"},
        {SQL_C_TYPE_DATE, SQL_TYPE_TIME, image(DATE), "000000080000000000000000"},
        {SQL_C_TYPE_TIME, SQL_TYPE_TIME, image(TIME), "000000080000215a5d888000"},
        {SQL_C_CHAR, SQL_TYPE_TIMESTAMP, "{ts '1970-01-01 00:00:01.5'}",
         "0000000800000000000005dc"},
        {SQL_C_CHAR, SQL_TYPE_TIMESTAMP, "1970-01-01 00:00:01 +02:00", "0000000800000000000003e8"},
        {SQL_C_WCHAR, SQL_TYPE_DATE, wide("1970-01-02"), "0000000480000001"},
        {SQL_C_CHAR, SQL_TIME, "00:00:00.000000001", "000000080000000000000001"},
        {SQL_C_CHAR, SQL_TYPE_DATE, "soon", "22003@1"},
        {SQL_C_CHAR, SQL_TYPE_DATE, "", "22003@1"},
        {SQL_C_SLONG, SQL_TYPE_DATE, image(1), "07006@1"},
        {SQL_C_DOUBLE, SQL_TYPE_TIME, image(1.0), "07006@1"},
        {SQL_C_NUMERIC, SQL_TYPE_TIMESTAMP, numeric(1, 0), "07006@1"},
        {SQL_C_GUID, SQL_TYPE_TIMESTAMP, image(GUID), "07006@1"},
    });
    for (const int target : {SQL_TYPE_DATE, SQL_TYPE_TIME, SQL_TYPE_TIMESTAMP})
        EXPECT_NE("", encode_one({SQL_C_TIMESTAMP, target, image(wild), ""}));
}

// A time without a date is of today.
TEST(parameter_encode, a_time_takes_the_local_date)
{
    for (const encode_case &c : {encode_case{SQL_C_TYPE_TIME, SQL_TYPE_DATE, image(TIME), ""},
                                 encode_case{SQL_C_CHAR, SQL_TYPE_DATE, "10:11:12", ""}}) {
        const auto today = [] {
            const std::time_t now = std::time(nullptr);
            std::tm local = {};
            localtime_r(&now, &local);
            const std::int64_t day = timegm(&local) / 86400;
            return "00000004" + hex(be32(0x80000000 + day));
        };
        const std::string earliest = today();
        const std::string got = encode_one(c, c.c_type == SQL_C_CHAR ? 8 : NO_INDICATOR);
        EXPECT_TRUE(got == earliest || got == today()) << got;
    }
}

TEST(parameter_encode, guids)
{
    const std::string expected = "000000100102030405060708090a0b0c0d0e0fff";
    const std::string text = "01020304-0506-0708-090a-0b0c0d0e0fFF";
    check_all({
        {SQL_C_GUID, SQL_GUID, image(GUID), expected},
        {SQL_C_CHAR, SQL_GUID, text, expected},
        {SQL_C_CHAR, SQL_GUID, "{" + text + "}", expected},
        {SQL_C_WCHAR, SQL_GUID, wide(text), expected},
        {SQL_C_CHAR, SQL_GUID, text.substr(0, 35), "22018@1"},
        {SQL_C_CHAR, SQL_GUID, "0102030405060708090a0b0c0d0e0fff0000", "22018@1"},
        {SQL_C_CHAR, SQL_GUID, "0102030g" + text.substr(8), "22018@1"},
        {SQL_C_CHAR, SQL_GUID, "1020304" + text.substr(8), "22018@1"},
        {SQL_C_CHAR, SQL_GUID, "", "22018@1"},
        {SQL_C_SLONG, SQL_GUID, image(1), "07006@1"},
        {SQL_C_DATE, SQL_GUID, image(DATE), "07006@1"},
    });
}

TEST(parameter_encode, bytes)
{
    std::string long_hex = "0X";
    std::string long_bytes;
    for (int i = 0; i < 300; i++) {
        long_hex += hex(std::string(1, static_cast<char>(i)));
        long_bytes += static_cast<char>(i);
    }
    check_all({
        {SQL_C_STINYINT, SQL_BINARY, "\x7F", "000000087f00000000000000"},
        {SQL_C_BIT, SQL_VARBINARY, "\1", "000000080100000000000000"},
        {SQL_C_SSHORT, SQL_BINARY, "ab", "000000026162"},
        {SQL_C_SLONG, SQL_BINARY, "abcd", "0000000461626364"},
        {SQL_C_FLOAT, SQL_BINARY, "abcd", "0000000461626364"},
        {SQL_C_SBIGINT, SQL_LONGVARBINARY, "abcdefgh", "000000086162636465666768"},
        {SQL_C_DOUBLE, SQL_BINARY, "abcdefgh", "000000086162636465666768"},
        {SQL_C_GUID, SQL_BINARY, image(GUID), "00000010" + hex(image(GUID))},
        {SQL_C_TIMESTAMP, SQL_BINARY, image(STAMP), "00000010" + hex(image(STAMP))},
        {SQL_C_DATE, SQL_BINARY, image(DATE), "07006@1"},
        {SQL_C_TYPE_TIME, SQL_BINARY, image(TIME), "07006@1"},
        {SQL_C_NUMERIC, SQL_BINARY, numeric(1, 0), "07006@1"},
        {SQL_C_CHAR, SQL_BINARY, "0x0aFf", "000000020aff"},
        {SQL_C_CHAR, SQL_BINARY, "abc", "00000001ab"},
        {SQL_C_CHAR, SQL_BINARY, "zZ1-", "000000020010"},
        {SQL_C_CHAR, SQL_BINARY, "0x", "00000000"},
        {SQL_C_CHAR, SQL_BINARY, "", "00000000"},
        {SQL_C_WCHAR, SQL_BINARY, wide("0XCAFE"), "00000002cafe"},
        {SQL_C_CHAR, SQL_VARBINARY, long_hex, "0000012c" + hex(long_bytes)},
        {SQL_C_WCHAR, SQL_VARBINARY, wide(long_hex), "0000012c" + hex(long_bytes)},
    });
}

// What the length elements say, with buffers that end where they must not be left.
TEST(parameter_encode, lengths_decide_how_far_a_buffer_is_read)
{
    struct {
        int c_type, sql_type;
        std::string value;
        SQLLEN indicator, buffer_length;
        std::string expected;
    } const cases[] = {
        {SQL_C_CHAR, SQL_VARCHAR, "abc", 3, 0, text_value("abc")},
        {SQL_C_CHAR, SQL_VARCHAR, "", 0, 0, "00000000"},
        {SQL_C_CHAR, SQL_VARCHAR, std::string("abc\0", 4), SQL_NTS, 0, text_value("abc")},
        {SQL_C_CHAR, SQL_VARCHAR, std::string("a\0c", 3), 3, 0, "00000003610063"},
        {SQL_C_CHAR, SQL_VARCHAR, "\xE9", 1, 0, "00000001e9"},
        {SQL_C_CHAR, SQL_VARCHAR, "abcd", NO_INDICATOR, 4, text_value("abcd")},
        {SQL_C_CHAR, SQL_VARCHAR, std::string("ab\0d", 4), NO_INDICATOR, 4, text_value("ab")},
        {SQL_C_CHAR, SQL_VARCHAR, "", NO_INDICATOR, 0, "00000000"},
        {SQL_C_CHAR, SQL_VARCHAR, "", SQL_NULL_DATA, 0, ""},
        {SQL_C_CHAR, SQL_VARCHAR, "", -5, 0, "HY090@1"},
        {SQL_C_CHAR, SQL_VARCHAR, "", -99, 0, "HY090@1"},
        {SQL_C_CHAR, SQL_VARCHAR, "", SQLLEN{1} << 31, 0, "HY090@1"},
        {SQL_C_CHAR, SQL_INTEGER, "", SQLLEN{1} << 40, 0, "HY090@1"},
        {SQL_C_CHAR, SQL_INTEGER, "12", 2, 0, "000000040000000c"},
        {SQL_C_CHAR, SQL_INTEGER, "12", NO_INDICATOR, 2, "000000040000000c"},
        {SQL_C_CHAR, SQL_INTEGER, std::string("12\0", 3), SQL_NTS, 0, "000000040000000c"},
        {SQL_C_WCHAR, SQL_WVARCHAR, wide("\xE9"), 2, 0, "00000002c3a9"},
        {SQL_C_WCHAR, SQL_WVARCHAR, image(SQLWCHAR{0x20AC}), 2, 0, "00000003e282ac"},
        {SQL_C_WCHAR, SQL_WVARCHAR, image(SQLWCHAR{0xD83D}), 2, 0, "00000003eda0bd"},
        {SQL_C_WCHAR, SQL_WVARCHAR, wide("ab") + "c", 5, 0, text_value("ab")},
        {SQL_C_WCHAR, SQL_WVARCHAR, wide(std::string("ab\0", 3)), SQL_NTS, 0, text_value("ab")},
        {SQL_C_WCHAR, SQL_WVARCHAR, wide(std::string("ab\0de", 5)), SQL_NTS, 10, text_value("ab")},
        {SQL_C_WCHAR, SQL_WVARCHAR, wide("ab") + "c", NO_INDICATOR, 5, text_value("ab")},
        {SQL_C_WCHAR, SQL_VARCHAR, "", NO_INDICATOR, 1, "00000000"},
        {SQL_C_WCHAR, SQL_INTEGER, wide("12"), NO_INDICATOR, 4, "000000040000000c"},
        {SQL_C_WCHAR, SQL_WVARCHAR, "", -4, 0, "HY090@1"},
        {SQL_C_BINARY, SQL_VARBINARY, std::string("a\0b", 3), 3, 0, "00000003610062"},
        {SQL_C_BINARY, SQL_VARBINARY, "ab", NO_INDICATOR, 2, "07006@1"},
        {SQL_C_BINARY, SQL_VARBINARY, "ab", -7, 2, "HY090@1"},
        {SQL_C_BINARY, SQL_VARCHAR, "ab", 2, 0, text_value("ab")},
        {SQL_C_BINARY, SQL_VARCHAR, "ab", NO_INDICATOR, 2, "07006@1"},
        {SQL_C_BINARY, SQL_INTEGER, image(-2), 4, 0, "00000004fffffffe"},
        {SQL_C_BINARY, SQL_INTEGER, image(-2), 3, 0, "22003@1"},
        {SQL_C_BINARY, SQL_TINYINT, image(-2), 4, 0, "00000001fe"},
        {SQL_C_BINARY, SQL_INTEGER, image(-2), NO_INDICATOR, 4, "07006@1"},
        {SQL_C_BINARY, SQL_BIGINT, image(-2), 4, 0, "22003@1"},
        {SQL_C_BINARY, SQL_DOUBLE, image(1.0), 8, 0, "000000083ff0000000000000"},
        {SQL_C_BINARY, SQL_DOUBLE, image(1.0f), 4, 0, "22003@1"},
        {SQL_C_BINARY, SQL_REAL, image(1.0f), 4, 0, "000000043f800000"},
        {SQL_C_BINARY, SQL_DECIMAL, numeric(7, 0), 19, 0, "00000006000000000007"},
        {SQL_C_BINARY, SQL_DECIMAL, "7", 1, 0, "22003@1"},
        {SQL_C_BINARY, SQL_GUID, image(GUID), 16, 0, "000000100102030405060708090a0b0c0d0e0fff"},
        {SQL_C_BINARY, SQL_GUID, image(GUID), 15, 0, "22003@1"},
        {SQL_C_BINARY, SQL_TYPE_TIME, image(STAMP), 16, 0, "0000000800000d6001e7f407"},
        {SQL_C_BINARY, SQL_TYPE_TIME, image(TIME), 6, 0, "22003@1"},
        {SQL_C_SLONG, SQL_INTEGER, image(1), 99, 99, "0000000400000001"},
        {SQL_C_SLONG, SQL_INTEGER, "", SQL_NULL_DATA, 0, ""},
    };
    int number = 0;
    for (const auto &c : cases) {
        EXPECT_EQ(c.expected,
                  encode_one({c.c_type, c.sql_type, c.value, ""}, c.indicator, c.buffer_length))
            << "case " << number;
        number++;
    }
}

TEST(parameter_encode, long_wide_text_crosses_the_blocks)
{
    std::string units;
    std::string expected;
    for (int i = 0; i < 5000; i++) {
        const auto unit = static_cast<SQLWCHAR>(i * 37 % 0xFFFF);
        unsigned char utf8[3];
        const int bytes = cass_utf8_put(unit, utf8);
        units += image(unit);
        expected.append(reinterpret_cast<char *>(utf8), static_cast<std::size_t>(bytes));
    }
    EXPECT_EQ(hex(be32(static_cast<std::int64_t>(expected.size())) + expected),
              encode_one({SQL_C_WCHAR, SQL_WVARCHAR, units, ""}, 10000));
}

// ---- Records ------------------------------------------------------------------------------------

static void bind_long(session &s, int number, void *value, SQLLEN *indicator)
{
    ASSERT_EQ(SQL_SUCCESS,
              SQLBindParameter(s.stmt, static_cast<SQLUSMALLINT>(number), SQL_PARAM_INPUT,
                               SQL_C_SLONG, SQL_INTEGER, 10, 0, value, 0, indicator));
}

TEST(parameter_encode, a_null_indicator_writes_nothing_and_the_count_stays)
{
    session s;
    int values[3] = {1, 2, 3};
    SQLLEN null = SQL_NULL_DATA;
    bind_long(s, 1, &values[0], nullptr);
    bind_long(s, 2, &values[1], &null);
    bind_long(s, 3, &values[2], nullptr);
    EXPECT_EQ("0000000400000001"
              "0000000400000003",
              encode(s, 3));
}

TEST(parameter_encode, a_failure_names_its_parameter)
{
    session s;
    int value = 1;
    SQLLEN length = 4;
    bind_long(s, 1, &value, nullptr);
    bind_long(s, 2, nullptr, &length);
    EXPECT_EQ("HY009@2", encode(s, 2));
    EXPECT_EQ("07002@3", (bind_long(s, 2, &value, nullptr), encode(s, 3)));
    s.stmt->apd->fields[1].target_type = SQL_INTERVAL_YEAR;
    EXPECT_EQ("07006@2", encode(s, 2));
    s.stmt->apd->fields[1].target_type = SQL_INTEGER;
    s.stmt->apd->fields[1].consise_type = SQL_C_INTERVAL_YEAR;
    EXPECT_EQ("07006@2", encode(s, 2));
    for (const int target : {SQL_BIGINT, SQL_DOUBLE, SQL_VARCHAR, SQL_VARBINARY, SQL_GUID,
                             SQL_DECIMAL, SQL_TYPE_DATE}) {
        s.stmt->apd->fields[1].target_type = target;
        EXPECT_EQ("07006@2", encode(s, 2)) << target;
    }
}

TEST(parameter_encode, a_record_without_sql_type_goes_by_its_c_type)
{
    session s;
    std::int64_t value = 5;
    ASSERT_EQ(SQL_SUCCESS, SQLBindParameter(s.stmt, 1, SQL_PARAM_INPUT, SQL_C_SBIGINT, SQL_BIGINT,
                                            1, 0, &value, 0, nullptr));
    s.stmt->apd->fields[0].target_type = SQL_C_DEFAULT;
    EXPECT_EQ("000000080000000000000005", encode(s));
    s.env->odbc_version = SQL_OV_ODBC2;
    EXPECT_EQ("0000000135", encode(s));
}

TEST(parameter_encode, what_the_record_leaves_open_comes_from_the_server)
{
    session s;
    char text[] = "1.5";
    ASSERT_EQ(SQL_SUCCESS, SQLBindParameter(s.stmt, 1, SQL_PARAM_INPUT, SQL_C_CHAR, SQL_DECIMAL, 10,
                                            0, text, 0, nullptr));
    s.stmt->ipd->fields[0].scale = 3;
    s.stmt->ipd->fields[0].octet_length = 2;
    EXPECT_EQ("0000000700000003"
              "0003e8",
              encode(s));
    s.stmt->apd->fields[0].octet_length = 3;
    EXPECT_EQ("00000007000000030005dc", encode(s));
    s.stmt->apd->fields[0].scale = 1;
    EXPECT_EQ("0000000600000001000f", encode(s));
    cass_desc_clear_fields(s.stmt->ipd);
    EXPECT_EQ("0000000600000001000f", encode(s));
}

TEST(parameter_encode, a_separate_length_stands_before_the_indicator)
{
    session s;
    const exact_block text("abcdef");
    SQLLEN indicator = 2;
    SQLLEN length = 3;
    ASSERT_EQ(SQL_SUCCESS, SQLBindParameter(s.stmt, 1, SQL_PARAM_INPUT, SQL_C_CHAR, SQL_VARCHAR, 10,
                                            0, text.at, 6, &indicator));
    cass_field &field = s.stmt->apd->fields[0];
    EXPECT_EQ(text_value("ab"), encode(s));
    field.octet_length_ptr = &length;
    EXPECT_EQ(text_value("abc"), encode(s));
    length = SQL_NULL_DATA;
    EXPECT_EQ("ffffffff", encode(s));
    length = 3;
    indicator = SQL_NULL_DATA;
    EXPECT_EQ("", encode(s));
    field.indicator_ptr = nullptr;
    EXPECT_EQ(text_value("abc"), encode(s));
    field.octet_length_ptr = nullptr;
    EXPECT_EQ(text_value("abcdef"), encode(s));
}

// ---- Arrays -------------------------------------------------------------------------------------

static std::string encode_row(session &s, int row, int markers)
{
    s.stmt->param_row = row;
    return encode(s, markers);
}

TEST(parameter_encode, column_wise_arrays)
{
    session s;
    const exact_block numbers(image(1) + image(2) + image(3));
    const exact_block texts("abcdefghi");
    const exact_block lengths(image(SQLLEN{1}) + image(SQLLEN{3}) + image(SQLLEN{2}));
    bind_long(s, 1, numbers.at, nullptr);
    ASSERT_EQ(SQL_SUCCESS, SQLBindParameter(s.stmt, 2, SQL_PARAM_INPUT, SQL_C_CHAR, SQL_VARCHAR, 10,
                                            0, texts.at, 3, lengths.lengths()));
    EXPECT_EQ("0000000400000001" + text_value("a"), encode_row(s, 0, 2));
    EXPECT_EQ("0000000400000002" + text_value("def"), encode_row(s, 1, 2));
    EXPECT_EQ("0000000400000003" + text_value("gh"), encode_row(s, 2, 2));

    // The offset moves data and lengths alike.
    const exact_block offset(image(SQLLEN{-1}));
    s.stmt->apd->bind_offset_ptr = offset.at;
    s.stmt->apd->fields[0].data_ptr = numbers.at + 1;
    s.stmt->apd->fields[1].data_ptr = texts.at + 1;
    s.stmt->apd->fields[1].indicator_ptr = lengths.at + 1;
    s.stmt->apd->fields[1].octet_length_ptr = lengths.at + 1;
    EXPECT_EQ("0000000400000002" + text_value("def"), encode_row(s, 1, 2));
}

TEST(parameter_encode, row_wise_arrays_at_odd_strides)
{
    // A number, a length and a text of five bytes: 17 bytes a row, two rows, and the offset leads
    // to rows behind a header.
    session s;
    const std::string header = "header!";
    const exact_block rows(header + image(7) + image(SQLLEN{2}) + "abcde" + image(8) +
                           image(SQLLEN{5}) + "fghij");
    const exact_block offset(image(static_cast<SQLLEN>(header.size())));
    s.stmt->apd->bind_type = 17;
    s.stmt->apd->bind_offset_ptr = offset.at;
    bind_long(s, 1, rows.at, nullptr);
    ASSERT_EQ(SQL_SUCCESS,
              SQLBindParameter(s.stmt, 2, SQL_PARAM_INPUT, SQL_C_CHAR, SQL_VARCHAR, 10, 0,
                               rows.at + 12, 5,
                               static_cast<SQLLEN *>(static_cast<void *>(rows.at + 4))));
    EXPECT_EQ("0000000400000007" + text_value("ab"), encode_row(s, 0, 2));
    EXPECT_EQ("0000000400000008" + text_value("fghij"), encode_row(s, 1, 2));
}
