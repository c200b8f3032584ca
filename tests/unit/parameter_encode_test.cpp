// From (C type, SQL type, value, length) to the exact bytes of the request or the state of the
// refusal. Which pairs of types convert at all is compared with the pages of docs/.
#include <cmath>
#include <ctime>

#include "tests/unit/parameter_rig.h"

using std::string_literals::operator""s;

static void check(SQLSMALLINT sql_type, const std::vector<sample> &samples, SQLSMALLINT digits = 0,
                  SQLULEN size = 38)
{
    session s(false);
    check(s, sql_type, samples, digits, size);
}

// clang-format off
TEST(parameter_encode, numbers_end_at_the_bounds_of_their_target)
{
    check(SQL_TINYINT, {{200, overflow}, {-128, "80"}, {-129, overflow}});
    check(SQL_SMALLINT, {{32768, overflow}, {SQLCHAR(255), "00ff"}});
    check(SQL_BIT, {{{SQL_C_BIT, "\2"}, "01"}, {256, "01"}, {0.9, "00"}});
    check(SQL_INTEGER, {{SQLUSMALLINT(65535), "0000ffff"}, {0x80000000u, overflow},
        {"", unreadable}, {INT32_MIN - 1l, overflow}, {2147483648.0, overflow}, {-1.9, "ffffffff"},
        {std::nan(""), overflow}, {2147483647.9, "7fffffff"}, {-2147483648.5, "80000000"},
        {-2147483649.0, overflow}, {" \t+7.9", "00000007"}, {numeric(12399, 2), "0000007b"},
        {"12abc", "0000000c"}, {"2147483648", overflow},
        {(std::u16string(126, u' ') + u"12"), "00000001"}});
    check(SQL_BIGINT, {{~0ul, "ffffffffffffffff"}, {0x1p63, overflow},
        {-0x1p63, "8000000000000000"}, {numeric(~0ul, 0), overflow}, {numeric(1, -127), overflow},
        {"-9223372036854775808", "8000000000000000"}, {"9223372036854775808", overflow},
        {"-", unreadable}, {std::string(126, '0') + "12", "0000000000000001"}});
    check(SQL_DOUBLE, {{~0ul, "43f0000000000000"}, {numeric(12345, 2, 0), "c05edccccccccccd"},
        {"1.5e1x", "402e000000000000"}, {"no", "0000000000000000"}});
    // 2^106 + 2^53 + 1: the sum from the lowest bit meets two ties and rounds down.
    SQL_NUMERIC_STRUCT ties = numeric((UINT64_C(1) << 53) + 1, 0);
    ties.val[13] = 4;
    check(SQL_DOUBLE, {{ties, "4690000000000000"},
        {numeric((UINT64_C(3) << 62) + 1025, 0), "43e8000000000000"}});
    check(SQL_FLOAT, {{-2, "c000000000000000"}});
    // The last is a hair above the middle of two floats, a hair that a double does not hold.
    check(SQL_REAL, {{HUGE_VAL, "7f800000"}, {u"-0.5", "bf000000"}, {9007199791611905l, "5a000001"},
        {9007199791611905ul, "5a000001"}, {"9007199791611905", "5a000001"}});
}

TEST(parameter_encode, decimals)
{
    check(SQL_DECIMAL, {{numeric(0, 0, 0), "0000000000"}, {numeric(1, -3), "fffffffd0001"},
        {numeric(255, 0), "0000000000ff"}, {numeric(0, 0, 1, 39), overflow},
        {numeric(0, 39), overflow}, {INT32_MIN, "00000000ff7fffff00"}, {std::nan(""), overflow},
        {1e39, overflow}, {2.5, "000000000002"}, {3.5, "000000000004"}, {0x1p128, overflow},
        {"1.50", "00000001000f"}, {"1.00", "000000000001"}, {".000", "0000000000"},
        {"  -7. ", "00000000fff9"}, {"", unreadable}, {"-", unreadable}, {".", unreadable},
        {"1e5", unreadable}, {"1.2.3", unreadable}, {"+0012.50", "00000001007d"},
        {"15.", "00000000000f"}, {"-0", "0000000000"},
        {"340282366920938463463374607431768211455", "0000000000" + std::string(32, 'f')},
        {"340282366920938463463374607431768211456", overflow},
        {"0." + std::string(38, '0') + "1", overflow}});
    check(SQL_DECIMAL, {{1234, "fffffffe000c"}}, -2);
    check(SQL_DECIMAL, {{~0ul, "000000010009fffffffffffffff6"}}, 1);
    check(SQL_DECIMAL, {{5, "000000020001f4"}, {1.25, "00000002007d"}}, 2);
    check(SQL_DECIMAL, {{"1.2399", "000000030004d7"}, {"1", "000000030003e8"}}, 3);
    check(SQL_DECIMAL, {{~0ul, overflow}, {std::string(200, '1'), overflow}}, 38);
    // Too many digits are asked for only of what is a number.
    for (const auto &[scale, size] : {std::pair{39, 38}, {0, 39}})
        check(SQL_DECIMAL, {{"1", overflow}, {0, overflow}, {1.0, overflow},
            {numeric(1, 0), overflow}, {binary(image(numeric(1, 0))), overflow},
            {"x", unreadable}}, static_cast<SQLSMALLINT>(scale), static_cast<SQLULEN>(size));
}

TEST(parameter_encode, fixed_values_as_text)
{
    const SQL_TIMESTAMP_STRUCT whole = {2001, 2, 3, 4, 5, 6, 0},
                               wild = {-5, 123, 4, 500, 6, 7, 4000000000u};
    const std::pair<app_value, std::string> cases[] = {
        {{SQL_C_TINYINT, "\xFE"}, "-2"}, {{SQL_C_SHORT, image(SQLSMALLINT(-2))}, "-2"},
        {{SQL_C_LONG, image(-2)}, "-2"}, {SQLCHAR(255), "255"}, {{SQL_C_BIT, "\2"}, "1"},
        {INT64_MIN, "-9223372036854775808"}, {~0ul, "18446744073709551615"},
        {1234567.0, "1.23457E+06"}, {-HUGE_VAL, "-INF"}, {0.1f, "0.1"},
        {numeric(~0ul, -128), "18446744073709551615" + std::string(128, '0')},
        {guid, "00000001-0002-0003-090A-0B0C0D0E0FFF"}, {time_of, "10:11:12"},
        {SQL_DATE_STRUCT{12345, 1, 2}, "12345-01-02"}, {whole, "2001-02-03 04:05:06"},
        {stamp, "2001-02-03 04:05:06.000000007"}, {wild, "-005-123-04 500:06:07.4000000000"}};
    for (const auto &[from, text] : cases)
        check(SQL_WVARCHAR, {{from, to_hex(text)}});
}

TEST(parameter_encode, dates_guids_and_bytes)
{
    check(SQL_TYPE_DATE, {{before, "7fffffff"}, {u"1970-01-02", "80000001"}, {u"", overflow}});
    check(SQL_DATE, {{{SQL_C_DATE, image(date)}, "80000001"}});
    check(SQL_TYPE_TIME, {{before, "00004e94914effff"}, {date, "0000000000000000"},
        {"00:00:00.000000001", "0000000000000001"}, {"soon", overflow}});
    check(SQL_TIME, {{{SQL_C_TIME, image(time_of)}, "0000215a5d888000"}});
    check(SQL_TYPE_TIMESTAMP, {{date, "0000000005265c00"},
        {"{ts '1970-01-01 00:00:01.5'}", "00000000000005dc"},
        {"1970-01-01 00:00:01 +02:00", "00000000000003e8"}});
    check(SQL_TIMESTAMP, {{{SQL_C_TIMESTAMP, image(before)}, "ffffffffffffffff"}});
    // A time without a date takes the local one.
    const std::time_t now = std::time(nullptr);
    std::tm local = {};
    const std::string today = be32(0x80000000 + timegm(localtime_r(&now, &local)) / 86400);
    check(SQL_TYPE_DATE, {{time_of, to_hex(today)}, {"10:11:12", to_hex(today)}});

    const std::string sent = "0000000100020003090a0b0c0d0e0fff";
    const std::string text = "00000001-0002-0003-090a-0b0c0d0e0fFF";
    check(SQL_GUID, {{guid, sent}, {std::u16string(text.begin(), text.end()), sent},
        {"{" + text + "}", sent}, {text.substr(0, 35), unreadable}, {text.substr(1), unreadable},
        {"0000000g" + text.substr(8), unreadable}, {"", unreadable}});
    const std::string long_hex = to_hex(pattern(300));
    check(SQL_BINARY, {{SQLSCHAR(127), "7f00000000000000"},
        {SQLSMALLINT(127), to_hex(image(SQLSMALLINT(127)))}, {1.0, to_hex(image(1.0))},
        {guid, to_hex(image(guid))}, {stamp, to_hex(image(stamp))}, {date, restricted},
        {numeric(1, 0), restricted}});
    check(SQL_VARBINARY, {{"0x0aFf", "0aff"}, {"abc", "ab"}, {"zZ1-", "0010"}, {"0x", ""}, {"", ""},
        {"0X" + long_hex, long_hex}, {u"0XCAFE", "cafe"}, {u"\u0141B\u0130xC", "0b00"},
        {u"\u0130x1", "00"}, {std::u16string(long_hex.begin(), long_hex.end()), long_hex}});
}

// What the length elements say, with buffers that end where they must not be left.
TEST(parameter_encode, lengths_decide_how_far_a_buffer_is_read)
{
    const std::string odd = app_value(u"ab").memory + "c";
    check(SQL_VARCHAR, {{"", "", 0}, {"abc\0"s, "616263", SQL_NTS}, {"a\0c"s, "610063", 3},
        {"\xE9", "e9"}, {"abcd", "61626364", no_indicator, 4}, {"ab\0d"s, "6162", no_indicator, 4},
        {"", "", no_indicator}, {"", "none", SQL_NULL_DATA}, {"", bad_length, -5},
        {"", bad_length, -99}, {"", bad_length, 1l << 31}, {u"", "", no_indicator, 1},
        {binary("ab"), "6162", 2}, {binary("ab"), restricted, no_indicator, 2}});
    std::string euros = "6162";  // of three bytes each, across the blocks of the translation
    for (int i = 0; i < 5000; i++)
        euros += "e282ac";
    check(SQL_WVARCHAR, {{u"\x7F\x80\u07FF\u0800\xFFFF", "7fc280dfbfe0a080efbfbf"},
        {u"\u00E9", "c3a9"}, {u"\u20AC", "e282ac"}, {u"\xD83D", "eda0bd"},
        {{SQL_C_WCHAR, odd}, "6162", 5}, {u"ab\0"s, "6162", SQL_NTS}, {u"", bad_length, -4},
        {{SQL_C_WCHAR, odd}, "6162", no_indicator, 5},
        {u"ab" + std::u16string(5000, u'\u20AC'), euros}});
    check(SQL_INTEGER, {{"12", "0000000c", no_indicator, 2}, {"12\0"s, "0000000c", SQL_NTS},
        {"", bad_length, 1l << 40}, {u"12", "0000000c", no_indicator, 4}, {1, "00000001", 99, 99},
        {{SQL_C_SLONG, ""}, "none", SQL_NULL_DATA},
        {binary("\1\2\3\4"), to_hex(machine_order("\4\3\2\1")), 4}, {binary("\1\2\3"), overflow, 3},
        {binary("\1\2\3\4"), restricted, no_indicator, 4}});
    check(SQL_VARBINARY, {{binary("a\0b"s), "610062", 3}, {binary("ab"), bad_length, -7, 2},
        {binary("ab"), restricted, no_indicator, 2}});
    check(SQL_DOUBLE, {{binary(image(1.0)), "3ff0000000000000", 8}});
    check(SQL_REAL, {{binary(image(1.0f)), "3f800000", 4}});
    check(SQL_DECIMAL, {{binary(image(numeric(7, 0))), "000000000007", 19}});
    check(SQL_GUID, {{binary(image(guid)), "0000000100020003090a0b0c0d0e0fff", 16},
        {binary(image(guid)), overflow, 15}, {binary(std::string(17, 'a')), overflow, 17}});
    check(SQL_TYPE_TIME, {{binary(image(stamp)), "00000d6001e7f407", 16},
        {binary(image(time_of)), overflow, 6}});
}
// clang-format on

// ---- Records ------------------------------------------------------------------------------------

// Rows of a number, a length and a text of five bytes, 17 bytes a row, behind a header that the
// offset skips for data and lengths alike.
TEST(parameter_encode, arrays_by_rows)
{
    session s;
    const exact_block header_size(image(7l)),
        rows("header!" + image(7) + image(2l) + "abcde" + image(8) + image(5l) + "fghij");
    s.stmt->apd->bind_type = 17;
    s.stmt->apd->bind_offset_ptr = header_size.at;
    bind(s.stmt, 1, SQL_C_SLONG, SQL_INTEGER, rows.at);
    bind(s.stmt, 2, SQL_C_CHAR, SQL_VARCHAR, rows.at + 12, lengths_at(rows.at + 4), 5);
    EXPECT_EQ(on_wire("00000007") + on_wire("6162"), encode(s, 2));
    s.stmt->param_row = 1;
    EXPECT_EQ(on_wire("00000008") + on_wire("666768696a"), encode(s, 2));
}

TEST(parameter_encode, a_separate_length_stands_before_the_indicator)
{
    session s;
    const exact_block text("abcdef");
    SQLLEN ind, length;
    const std::tuple<SQLLEN, SQLLEN, const char *> cases[] = {
        {2, 3, "616263"}, {2, SQL_NULL_DATA, "null"}, {SQL_NULL_DATA, 3, "none"}};
    bind(s.stmt, 1, SQL_C_CHAR, SQL_VARCHAR, text.at, &ind, 6);
    s.stmt->apd->fields[0].octet_length_ptr = &length;
    for (const auto &[ind_value, length_value, sent] : cases) {
        ind = ind_value;
        length = length_value;
        EXPECT_EQ(on_wire(sent), encode(s));
    }
}
