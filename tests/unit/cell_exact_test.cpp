// Cells of a connection that converts by value: decimals of any size, dates of any year, and the
// bounds of each number.
#include <cmath>
#include <tuple>

#include "tests/app_value.h"
#include "tests/unit/cell_rig.h"

// A row of this one cell, and one of a null behind it.
static rig_ptr exact_rig_of(int type, const std::string &bytes)
{
    rig_ptr rig = rig_open({type}, &standard_conduct);
    rig_page(rig, cell_of(bytes) + null_cell);
    EXPECT_EQ(SQL_SUCCESS, rig_row(rig));
    return rig;
}

static std::string narrow(const rig_ptr &rig)
{
    const read_result result = read_cell(rig, SQL_C_CHAR, 12'100);
    return result.code == SQL_SUCCESS
               ? result.written.substr(0, static_cast<std::size_t>(result.length))
               : rig->states();
}

static std::string digits(int count)
{
    std::string text = "1";
    text.resize(static_cast<std::size_t>(count), '0');
    return text;
}

static const std::string GOOGOL =  // 10^100
    "1249AD2594C37CEB0B2784C4CE0BF38ACE408E211A7CAAB24308A82E8F10000000000000000000000000";

TEST(exact_cells, text_of_large_values_and_of_the_last_small_ones)
{
    const std::tuple<int, std::string, std::string> cases[] = {
        {CQL_VARINT, from_hex(GOOGOL), digits(101)},
        {CQL_VARINT, from_hex("0100000000000000000000000000000000"),
         "340282366920938463463374607431768211456"},
        {CQL_VARINT, from_hex("FF00000000000000000000000000000001"),
         "-340282366920938463463374607431768211455"},
        {CQL_DECIMAL, decimal(100, GOOGOL), "1." + digits(101).substr(1)},
        {CQL_DECIMAL, decimal(0x1FF, "05"), "0." + std::string(510, '0') + "5"},
        {CQL_DECIMAL, decimal(-127, "05"), "5" + std::string(127, '0')},
        {CQL_DECIMAL, decimal(-9'999, "01"), digits(10'000)},
        {CQL_DECIMAL, decimal(-10'000, "01"), "1E+10000"},
        {CQL_DECIMAL, decimal(-3, "00"), "0"},
        {CQL_BOOLEAN, be(0x80, 1), "1"},
        {CQL_DECIMAL, decimal(10'000, "FF85"), "-1.23E-9998"},
        {CQL_DECIMAL, decimal(INT32_MIN, "01"), "1E+2147483648"},
        {CQL_VARINT, std::string(65'537, '\1'), "22003@1"},
        {CQL_DATE, be(EPOCH - 719'162, 4), "0001-01-01"},
        {CQL_DATE, be(EPOCH - 719'163, 4), "0000-12-31"},
        {CQL_DATE, be(EPOCH - 719'529, 4), "-0001-12-31"},
        {CQL_DATE, be(EPOCH + 2'932'897, 4), "10000-01-01"},
        {CQL_DATE, be(0, 4), "-5877641-06-23"},
        {CQL_DATE, be(-1, 4), "5881580-07-11"},
        {CQL_TIMESTAMP, be(253'402'300'799'999, 8), "9999-12-31 23:59:59.999"},
        {CQL_TIMESTAMP, be(253'402'300'800'001, 8), "10000-01-01 00:00:00.001"},
        {CQL_TIMESTAMP, be(INT64_MIN, 8), "-292275055-05-16 16:47:04.192"},
    };
    for (const auto &[type, bytes, text] : cases)
        EXPECT_EQ(narrow(exact_rig_of(type, bytes)), text);
}

static const char *const none = "", *const range = "22003@1", *const cut = "01S07@1",
                         *const bad = "22018@1", *const other = "07006@1", *const era = "22008@1";

TEST(exact_cells, each_target_holds_what_it_can)
{
    const auto text = [](const char *characters) {
        return std::pair(CQL_VARCHAR, std::string(characters));
    };
    const auto dec = [](int scale, const std::string &hex) {
        return std::pair(CQL_DECIMAL, decimal(scale, hex));
    };
    const auto real = [](double value) { return std::pair(CQL_DOUBLE, be(value)); };
    const std::pair minus(CQL_INT, be(-1, 4)), day(CQL_DATE, be(EPOCH + 2'932'897, 4)),
        first_day(CQL_DATE, be(0, 4)), early(CQL_TIMESTAMP, be(-62'167'219'200'001, 8)),
        varint(CQL_VARINT, from_hex(GOOGOL));
    using date = SQL_DATE_STRUCT;
    using time = SQL_TIME_STRUCT;
    using stamp = SQL_TIMESTAMP_STRUCT;
    // clang-format off
    const std::tuple<std::pair<int, std::string>, app_value, const char *> cases[] = {
        {text(" +1.5e3 "), 1500, none}, {text("12 "), 12, none}, {text("2147483648"), 0, range},
        {text("-2147483648.5"), INT32_MIN, cut}, {text("1e-400"), 0, cut}, {text("1e"), 0, bad},
        {text("."), 0, bad}, {text(""), 0, bad}, {text("1 2"), 0, bad}, {text("+-1"), 0, bad},
        {text("0e999999999999"), 0, none}, {text("1e999999999999"), 0, range},
        {text("18446744073709551615"), UINT64_MAX, none}, {text("-1"), 0u, range},
        {text("18446744073709551616"), UINT64_MAX, range}, {minus, 0u, range}, {minus, -1l, none},
        {text("-9223372036854775808"), INT64_MIN, none}, {text("1.5"), true, cut},
        {dec(2, "00C8"), 2, none}, {dec(2, "00C9"), 2, cut}, {dec(0, "0100000005"), 0, range},
        {dec(100, GOOGOL), 1, none}, {dec(101, GOOGOL), 0, cut}, {varint, 0, range},
        {varint, 1e100, none}, {dec(-400, "01"), 0.0, range}, {dec(400, "01"), 0.0, none},
        {text("1e39"), 0.0f, range}, {text(" 2.5E-1"), 0.25, none}, {text("nan"), 0.0, bad},
        {day, date{10'000, 1, 1}, none}, {first_day, date{}, era},
        {day, stamp{10'000, 1, 1, 0, 0, 0, 0}, none},
        {early, stamp{-1, 12, 31, 23, 59, 59, 999'000'000}, none},
        {early, date{-1, 12, 31}, cut}, {early, time{23, 59, 59}, cut}, {day, time{}, other},
        {day, 0, other}, {varint, date{}, other},
        // The precision and scale described, 38 and 15 of a decimal; of others what they have.
        {dec(2, "0096"), numeric(1'500'000'000'000'000, 15, 1, 38), none},
        {dec(16, "0F"), numeric(1, 15, 1, 38), cut}, {varint, numeric(0, 0), range},
        {real(-0.25), numeric(25, 2, 0, 38), none}, {real(1e300), numeric(0, 0), range},
        {real(double{NAN}), numeric(0, 0), range}, {text("1e3"), numeric(1000, 0, 1, 38), none},
        {text("-0"), numeric(0, 0, 1, 38), none},
        // Texts of dates, times and guids.
        {text(" 2024-02-29 "), date{2024, 2, 29}, none}, {text("2024-02-30"), date{}, bad},
        {text("2024-02-29T23:30:00-01:00"), stamp{2024, 3, 1, 0, 30, 0, 0}, none},
        {text("-0001-12-31 00:00:00.5"), stamp{-1, 12, 31, 0, 0, 0, 500'000'000}, none},
        {text("2024-02-29 00:00:01"), date{2024, 2, 29}, cut}, {text("32768-01-01"), stamp{}, era},
        {text("01:02:03"), time{1, 2, 3}, none}, {text("01:02:03"), stamp{}, bad},
        {text("x"), time{}, bad}, {text(""), time{}, bad}, {text("2024-02-29"), time{}, bad},
        {text("2024-02-29 01:02:03.5"), time{1, 2, 3}, cut},
        {text("01020304-0506-0708-090a-0B0C0D0E0F10"),
         SQLGUID{0x01020304, 0x0506, 0x0708, {9, 10, 11, 12, 13, 14, 15, 16}}, none},
        {text("01020304-0506-0708-090a-0B0C0D0E0F1g"), SQLGUID{}, bad}, {text(""), SQLGUID{}, bad},
    };
    // clang-format on
    for (const auto &[from, value, states] : cases) {
        SCOPED_TRACE(testing::PrintToString(from.second) + " to " + std::to_string(value.c_type));
        const rig_ptr rig = exact_rig_of(from.first, from.second);
        const read_result result = read_cell(rig, value.c_type, value.memory.size());
        EXPECT_EQ(states, rig->states());
        EXPECT_EQ(code_of(states), result.code);
        EXPECT_EQ(code_of(states) == SQL_ERROR ? untouched(value.memory.size()) : value.memory,
                  result.written);
    }
}

TEST(exact_cells, a_numeric_comes_as_its_descriptor_says)
{
    const std::tuple<int, int, const char *, app_value> cases[] = {
        {5, 2, cut, numeric(125, 2, 1, 5)},
        {5, 3, cut, numeric(1250, 3, 1, 5)},
        {4, 4, range, numeric(0, 0)},
        {38, -1, cut, numeric(0, -1, 1, 38)},
    };
    for (const auto &[precision, scale, states, value] : cases) {
        const rig_ptr rig = exact_rig_of(CQL_DOUBLE, be(1.2501));
        cass_desc *ard = rig->stmt->ard;
        cass_desc_resize(ard, 1);
        ard->fields[0].consise_type = SQL_C_NUMERIC;
        ard->fields[0].precision = precision;
        ard->fields[0].scale = scale;
        const read_result result = read_cell(rig, SQL_C_NUMERIC, sizeof(SQL_NUMERIC_STRUCT));
        EXPECT_STREQ(states, rig->states().c_str());
        if (result.code != SQL_ERROR) {
            EXPECT_EQ(value.memory, result.written);
        }
    }
}

// Behind the last row a cell tells nothing of the memory that it lay in.
TEST(exact_cells, null_behind_a_large_value_leaves_zero)
{
    for (const auto &[type, target] :
         {std::pair(CQL_VARINT, SQL_C_BINARY), {CQL_DATE, SQL_C_TYPE_DATE}}) {
        const rig_ptr rig = exact_rig_of(type, type == CQL_DATE ? be(0, 4) : from_hex(GOOGOL));
        narrow(rig);
        EXPECT_EQ(SQL_SUCCESS, rig_row(rig));
        EXPECT_EQ(SQL_NULL_DATA, read_cell(rig, target, 20).length);
        rig->cell().isnull = 0;
        rig->cell().finished = 0;
        const std::string left = read_cell(rig, target, 20).written;
        EXPECT_EQ(left.find_first_not_of(std::string("\0\1\x26\xA5", 4)), std::string::npos);
    }
}
