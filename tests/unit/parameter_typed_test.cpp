// From (C type, value) to the bytes of a column's type, or the state of the refusal.
#include <cmath>

#include "core/wire/cql_type.h"
#include "tests/unit/parameter_rig.h"

static void check(std::int32_t type, const std::vector<sample> &samples)
{
    session s(false);
    marker_of(s).cql_type = type;
    check(s, SQL_VARCHAR, samples);
}

static const SQL_DATE_STRUCT no_date = {2023, 2, 29};
static const SQL_TIME_STRUCT no_time = {24, 0, 0};
static constexpr char cut[] = "22001@1", no_instant[] = "22007@1";

static std::string zeros(int count)
{
    return std::string(static_cast<std::size_t>(count), '0');
}

// clang-format off
TEST(parameter_typed, numbers_into_each_number_type)
{
    check(CQL_TINYINT, {{-128, "80"}, {128, overflow}, {" -1.28e2 ", "80"}, {127.9, "7f"},
        {true, "01"}, {"1.5", cut}, {"1.500e3", overflow}, {"150e-1", "0f"},
        {u"7\u0661", unreadable}, {"", unreadable}, {".", unreadable},
        {numeric(12999, 2), overflow}, {numeric(12799, 2, 0), "81"}, {binary("\x81"), "81"},
        {binary("ab"), overflow}, {std::string("5\0", 2), "05"},
        {std::u16string(u"5\0", 2), "05"}});
    check(CQL_SMALLINT, {{32768, overflow}, {"1e3", "03e8"}, {SQLCHAR(255), "00ff"}});
    check(CQL_INT, {{2147483648.0, overflow}, {-0x1p31, "80000000"}, {HUGE_VAL, overflow},
        {"1e99999999999999999999", overflow}, {"1e-99999999999999999999", cut},
        {"0e999999999999", "00000000"}, {zeros(500) + "7", "00000007"}});
    check(CQL_BIGINT, {{~0ul, overflow}, {"-9223372036854775808", "8000000000000000"},
        {"9223372036854775808", overflow}, {"18446744073709551616", overflow}});
    check(CQL_COUNTER, {{u" +5", "0000000000000005"}});
    check(CQL_BOOLEAN, {{"TRUE", "01"}, {"no", "00"}, {" f ", "00"}, {"1", "01"}, {"0.0", "00"},
        {2, overflow}, {-1, overflow}, {"maybe", unreadable}, {"", unreadable}, {1.9, "01"}});
    check(CQL_VARINT, {{"170141183460469231731687303715884105728", "00" "80" + zeros(30)},
        {-128, "80"}, {~0ul, "00ffffffffffffffff"}, {"1e3", "03e8"}, {"1.5", cut}, {2.9, "02"},
        {0, "00"}, {"1e200000", overflow}, {"1e99999999999", overflow}, {numeric(5, -2), "01f4"},
        {binary("\7"), "07"}});
    check(CQL_DECIMAL, {{"-2.56", "00000002ff00"}, {"1.50", "000000020096"},
        {"1e999999999", "c465360101"}, {"1e-2147483647", "7fffffff01"}, {"1e-2147483649", overflow},
        {0.1f, "0000000101"}, {1e39, "ffffffd901"}, {numeric(150, 2, 0), "00000002ff6a"},
        {numeric(1, -128), "ffffff8001"}, {INT64_MIN, "000000008000000000000000"},
        {std::string(157'827, '1'), overflow}, {std::nan(""), overflow}, {"NaN", unreadable},
        {"1.2.3", unreadable}});
    check(CQL_DOUBLE, {{"1e-2", "3f847ae147ae147b"}, {"+1.5", "3ff8000000000000"},
        {"1e400", overflow}, {"-1e-400", "8000000000000000"}, {"-Infinity", "fff0000000000000"},
        {"+-1", unreadable}, {numeric(12345, 2, 0), "c05edccccccccccd"},
        {~0ul, "43f0000000000000"}});
    check(CQL_FLOAT, {{9007199791611905l, "5a000001"}, {"9007199791611905", "5a000001"},
        {1e39, overflow}, {HUGE_VAL, "7f800000"}, {0.1, "3dcccccd"}});
}

TEST(parameter_typed, texts_bytes_uuids_and_addresses)
{
    const std::string uuid = "0000000100020003090a0b0c0d0e0fff",
                      text = "00000001-0002-0003-090a-0b0c0d0e0fFF";
    check(CQL_VARCHAR, {{"  a ", to_hex("  a ")}, {std::string("a\0\0", 3), "6100"},
        {u"\u017C\xD83D\xDE00", "c5bcf09f9880"}, {u"\xD83D", unreadable},
        {u"\xDE00\xDE00", unreadable}, {0.1, to_hex("0.1")}, {0.1f, to_hex("0.1")},
        {100000.0, to_hex("100000")}, {1e22, to_hex("1e+22")}, {numeric(150, 1, 0), to_hex("-15")},
        {true, "31"}, {date, to_hex("1970-01-02")}, {binary("a\x80"), "6180"}, {"", ""},
        // A buffer of no size told, and one of a size, both without an indicator.
        {pattern(5000) + '\0', to_hex(pattern(5000)), no_indicator},
        {std::u16string(u"B\0", 2), "42", no_indicator}, {"ab", "6162", no_indicator, 2}});
    check(CQL_BLOB, {{"0x0aFf", "0aff"}, {"", ""}, {"abc", unreadable}, {"0g", unreadable},
        {binary("0g"), "3067"}, {SQLSCHAR(7), "07"}});
    check(CQL_UUID, {{guid, uuid}, {text, uuid}, {" {" + text + "} ", uuid},
        {text + "0", unreadable}, {"{" + text, unreadable},
        {binary(std::string(16, 'a')), to_hex(std::string(16, 'a'))}, {binary("a"), overflow}});
    check(CQL_INET, {{" 127.0.0.1", "7f000001"}, {u"::1", zeros(31) + "1"}, {"1.2.3", unreadable},
        {std::string(99, '1'), unreadable}});
}

TEST(parameter_typed, dates_and_times)
{
    check(CQL_DATE, {{date, "80000001"}, {before, "7fffffff"}, {" 1970-01-02 ", "80000001"},
        {"{d '1970-01-02'}", "80000001"}, {"1969-12-31T00:00:00Z", "7fffffff"},
        {"1970-01-01T00:00+01:00", cut}, {"1970-01-01 10:00", cut}, {"0000-03-01", "7ff50594"},
        {"-5877641-06-23", "00000000"}, {"5881580-07-11", "ffffffff"}, {"5881580-07-12", overflow},
        {"-5877641-06-22", overflow}, {"2023-02-29", unreadable}, {"2000-02-29", "80002b08"},
        {"10:11:12", unreadable}, {no_date, no_instant}});
    check(CQL_TIME, {{time_of, "0000215a5d888000"}, {before, "00004e94914effff"},
        {"10:11:12", "0000215a5d888000"}, {u"00:00", zeros(16)},
        {"{t '00:00:00.0000000019'}", "0000000000000001"},
        {"1970-01-02 00:00:00.5", "000000001dcd6500"}, {"24:00:00", unreadable},
        {"1970-01-02", unreadable}, {"00:00:00.", unreadable}, {no_time, no_instant}});
    check(CQL_TIMESTAMP, {{"-292275055-05-16 16:47:04.192", "8" + zeros(15)},
        {"-292275055-05-16 16:47:04.191", overflow},
        {"292278994-08-17 07:12:55.807", "7fffffffffffffff"}, {before, "ffffffffffffffff"}, {date, "0000000005265c00"},
        {"{ts '1970-01-01 00:00:01.5'}", "00000000000005dc"},
        {"1970-01-01T02:00:01.0019+02:00", "00000000000003e9"},
        {"1970-01-01 00:00:01Z", "00000000000003e8"}, {"1970-01-02", "0000000005265c00"},
        {"1969-12-31 23:30 -0030", zeros(16)}, {"1970-01-01 00:00:00+19", unreadable},
        {"1970-01-01 00:00:00+1", unreadable}, {"{ts '1970-01-01 00:00:00", unreadable},
        {"999999999-01-01", overflow}, {"10:11:12", unreadable},
        {binary("12345678"), "3132333435363738"}});
}
// clang-format on
