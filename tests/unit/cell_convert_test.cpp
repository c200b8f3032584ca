// From a column's stored cell to the C types that are no text: values, boundaries, diagnostics, and
// when a column counts as delivered. Which conversions there are is compared with the pages of
// docs/.
#include <cmath>
#include <tuple>

#include "tests/unit/cell_rig.h"

constexpr double TWO_63 = 9223372036854775808.0;

using date = SQL_DATE_STRUCT;
using time_parts = SQL_TIME_STRUCT;
using parts = SQL_TIMESTAMP_STRUCT;

TEST(cell_convert, each_source_at_the_bounds_of_each_target)
{
    // clang-format off
    const source day(CQL_DATE, be(EPOCH + 11016, 4)), uuid(CQL_UUID, "abcdefghijklmnop");
    // Names of a C type, its size, and what becomes of cells.
    const struct { std::vector<int> types; std::size_t size;
                   std::vector<std::tuple<source, app_value, const char *>> cases; } targets[] = {
        // 2^63 itself saturates. A number too large to hold is out of range, whatever its low half.
        {{SQL_C_SBIGINT}, 8, {{INT64_MIN, INT64_MIN, none}, {NAN, 0, range},
         {"9223372036854775808", 0, range}, {"-9223372036854775808", INT64_MIN, none},
         {scaled(0, "008000000000000000"), 0, range}, {-TWO_63, INT64_MIN, none},
         {TWO_63, INT64_MAX, none}, {3.5f, 3l, cut}, {std::nextafter(TWO_63, 1e30), 0, range},
         {scaled(2, "FF00000000000000000000000000000000"), 0, range}}},
        // Text is parsed as signed.
        {{SQL_C_UBIGINT}, 8, {{-1L, -1l, none}, {"-1", -1l, none}, {-1.0, 0, range},
         {2 * TWO_63, -1l, none}, {"9223372036854775808", 0, range},
         {"9223372036854775807", INT64_MAX, none}}},
        // What is not tested passes with its low bytes, and any scale counts as a fraction. Blanks
        // behind a number in text decide how much of it is taken, of 127 bytes.
        {{SQL_C_SLONG, SQL_C_LONG}, 4, {{-7, -7, none}, {2147483647L, 2147483647, none},
         {1e300, 0, range}, {2147483648L, 0, range}, {-2147483649L, 0, range},
         {"4294967301", 5, none}, {scaled(0, "0100000005"), 5, none}, {2147483647.5, 0, range},
         {2147483648.0f, 2147483647, none}, {-12.75, -12, cut}, {-2147483648.0, INT32_MIN, none},
         {"12.0", 12, cut}, {"12.", 12, none}, {scaled(-2, "05"), 500, cut}, {"123  ", 12, none},
         {"", 0, bad}, {"-", 0, bad}, {"1e3", 0, bad}, {"1 2", 0, bad},
         {{CQL_VARCHAR, std::string(200, '0') + "x"}, 0, none}}},
        {{SQL_C_ULONG}, 4, {{-1, -1, none}, {4294967296L, 0, range}, {-1L, 0, range},
         {4294967296.0f, -1, none}}},
        {{SQL_C_SSHORT, SQL_C_SHORT}, 2, {{-32768, -32768, none}, {"32768", 0, range},
         {scaled(0, "018000"), -32768, none}, {32767.5, 0, range}}},
        {{SQL_C_USHORT}, 2, {{65535, 65535, none}, {-1, 0, range}, {scaled(0, "010002"), 2, none},
         {"65536.5", 0, "22003@1 01S07@1"}}},
        {{SQL_C_STINYINT, SQL_C_TINYINT}, 1, {{"300", 300 - 256, none},
         {scaled(0, "0080"), 0, range}, {-128, -128, none}, {128, 0, range}}},
        {{SQL_C_UTINYINT}, 1, {{"255", 255, none}, {"-1", 0, range}, {256L, 0, range}}},
        {{SQL_C_BIT}, 1, {{{CQL_BOOLEAN, be(2, 1)}, 0, range}, {"1", 1, none},
         {scaled(0, "02"), 0, range}, {0.5, 0, cut}}},
        {{SQL_C_DOUBLE}, 8, {{" -0.1", -0.1, none}, {".", 0.0, none},
         {scaled(2, "0096"), 1.5, none}, {INT64_MAX, TWO_63, none},
         {scaled(0, "FF0000000000000000"), -0x1p64, none}, {0.1f, double{0.1f}, none}}},
        {{SQL_C_FLOAT}, 4, {{"1.25", 1.25f, none}, {"1e3", 0, bad},
         {scaled(-3, "FF"), -1000.0f, none}, {1e-300, 0.0f, none}, {1e300, INFINITY, none}}},
        // A large double is printed with an exponent, which the struct cannot take.
        {{SQL_C_NUMERIC}, 19, {{scaled(2, "0096"), numeric(150, 2, 1, 37), none},
         {scaled(2, "96"), numeric(106, 2, 0), none}, {-5, numeric(5, 0, 0, 12), none},
         {scaled(-3, "05"), numeric(5, -3), none}, {NAN, 0, range},
         {"12.50", numeric(1250, 2, 1, 4), none}, {"1e3", 0, bad}, {1e20, 0, range},
         {"340282366920938463463374607431768211456", 0, range}}},
        {{SQL_C_DATE, SQL_C_TYPE_DATE}, 6, { {day, date{2000, 2, 29}, none},
         {moment(LEAP_DAY), date{2000, 2, 29}, none},
         {moment(LEAP_DAY + 1), date{2000, 2, 29}, cut},
         {moment(LEAP_DAY + 3600000), date{2000, 2, 29}, cut}}},
        {{SQL_C_TIME, SQL_C_TYPE_TIME}, 6, { {moment(LEAP_DAY + 1001), time_parts{0, 0, 1}, cut},
         {"7:08:09.5", time_parts{7, 8, 9}, none}, {"noon", time_parts{}, none},
         {{CQL_TIME, be(CLOCK, 8)}, time_parts{12, 34, 56}, none},
         {{CQL_TIME, be(INT64_C(86400000000000), 8)}, time_parts{}, none}}},
        // Parts of a time before 1970 are negative and stay on the day of the quotient.
        {{SQL_C_TIMESTAMP, SQL_C_TYPE_TIMESTAMP}, 16, { {day, parts{2000, 2, 29, 0, 0, 0, 0}, none},
         {moment(LEAP_DAY + 86399007), parts{2000, 2, 29, 23, 59, 59, 7000000}, none},
         {moment(-86400000 - 3723000), parts{1969, 12, 31, 65535, 65534, 65533, 0}, none},
         {{CQL_TIME, be(CLOCK + 1, 8)}, parts{0, 0, 0, 12, 34, 56, 1}, none}}},
        {{SQL_C_GUID}, 16, {{uuid,
         machine_order("dcba") + machine_order("fe") + machine_order("hg") + "ijklmnop", none}}},
        // Binary of a fixed type is its structure.
        {{SQL_C_BINARY}, 4, {{-7, -7, none}, {0.1f, 0.1f, none}}},
        {{SQL_C_BINARY}, 6, {{day, date{2000, 2, 29}, none}}}, {{SQL_C_BINARY}, 16, {{uuid,
         machine_order("dcba") + machine_order("fe") + machine_order("hg") + "ijklmnop", none},
         {moment(LEAP_DAY + 7), parts{2000, 2, 29, 0, 0, 0, 7000000}, none}}},
        {{SQL_C_BINARY}, 19, {{scaled(2, "0096"), numeric(150, 2, 1, 37), none}}},
        {{SQL_C_INTERVAL_DAY}, 8, {{1, 0, other}, {"1", 0, other}}},
    };
    // clang-format on
    for (const auto &[types, size, cases] : targets)
        for (const int type : types)
            for (const auto &[from, value, states] : cases) {
                SCOPED_TRACE(testing::PrintToString(from.bytes) + " to " + std::to_string(type));
                const rig_ptr rig = cell_rig_of(from);
                expect_value(rig, type, size, value, states);
                EXPECT_EQ(SQL_NO_DATA, read_cell(rig, type, size).code);
            }
}

// ---- By value -----------------------------------------------------------------------------------

static std::string narrow(const rig_ptr &rig)
{
    const read_result result = read_cell(rig, SQL_C_CHAR, 12'100);
    return result.code == SQL_SUCCESS
               ? result.written.substr(0, static_cast<std::size_t>(result.length))
               : rig->states();
}

static const std::string GOOGOL =  // 10^100
    "1249AD2594C37CEB0B2784C4CE0BF38ACE408E211A7CAAB24308A82E8F10000000000000000000000000";

TEST(exact_cells, text_of_large_values_and_of_the_last_small_ones)
{
    const std::string zeros(10'000, '0');
    // clang-format off
    const std::pair<source, std::string> cases[] = {
        {{CQL_VARINT, from_hex(GOOGOL)}, "1" + zeros.substr(0, 100)},
        {{CQL_VARINT, from_hex("FF00000000000000000000000000000001")},
         "-340282366920938463463374607431768211455"},
        {scaled(100, GOOGOL), "1." + zeros.substr(0, 100)}, {scaled(10'000, "FF85"), "-1.23E-9998"},
        {scaled(0x1FF, "05"), "0." + zeros.substr(0, 510) + "5"}, {{CQL_BOOLEAN, be(0x80, 1)}, "1"},
        {scaled(-9'999, "01"), "1" + zeros.substr(0, 9'999)}, {scaled(-10'000, "01"), "1E+10000"},
        {scaled(INT32_MIN, "01"), "1E+2147483648"},
        {{CQL_VARINT, std::string(65'537, '\1')}, range},
        {{CQL_DATE, be(EPOCH - 719'162, 4)}, "0001-01-01"},
        {{CQL_DATE, be(EPOCH - 719'529, 4)}, "-0001-12-31"},
        {{CQL_DATE, be(0, 4)}, "-5877641-06-23"}, {{CQL_DATE, be(-1, 4)}, "5881580-07-11"},
        {moment(253'402'300'799'999), "9999-12-31 23:59:59.999"},
        {moment(253'402'300'800'001), "10000-01-01 00:00:00.001"},
        {moment(INT64_MIN), "-292275055-05-16 16:47:04.192"},
    };
    // clang-format on
    for (const auto &[from, text] : cases)
        EXPECT_EQ(narrow(cell_rig_of(from, &standard_conduct)), text);
}

TEST(exact_cells, each_target_holds_what_it_can)
{
    const char *const era = "22008@1";
    const source day(CQL_DATE, be(EPOCH + 2'932'897, 4)), first_day(CQL_DATE, be(0, 4)),
        early(CQL_TIMESTAMP, be(-62'167'219'200'001, 8)), varint(CQL_VARINT, from_hex(GOOGOL));
    // clang-format off
    const std::tuple<source, app_value, const char *> cases[] = {
        {" +1.5e3 ", 1500, none}, {"12 ", 12, none}, {"2147483648", 0, range},
        {"-2147483648.5", INT32_MIN, cut}, {"1e-400", 0, cut}, {"0e999999999999", 0, none},
        {"1e999999999999", 0, range}, {"18446744073709551615", UINT64_MAX, none}, {"-1", 0u, range},
        {"18446744073709551616", UINT64_MAX, range}, {"-9223372036854775808", INT64_MIN, none},
        {"1.5", true, cut}, {1.5, true, cut}, {2.0f, true, range}, {TWO_63, INT64_MAX, range},
        {-TWO_63, INT64_MIN, none}, {2 * TWO_63, ~0ul, range}, {NAN, 0, range}, {-0.5, 0u, cut},
        {2147483647.5, INT32_MAX, cut}, {2147483648.0f, 0, range}, {scaled(2, "00C8"), 2, none}, {scaled(2, "00C9"), 2, cut},
        {scaled(0, "0100000005"), 0, range}, {scaled(100, GOOGOL), 1, none},
        {scaled(101, GOOGOL), 0, cut}, {varint, 0, range}, {varint, 1e100, none},
        {scaled(-400, "01"), 0.0, range}, {scaled(400, "01"), 0.0, none},

        {first_day, date{}, era}, {day, parts{10'000, 1, 1, 0, 0, 0, 0}, none},
        {early, parts{-1, 12, 31, 23, 59, 59, 999'000'000}, none}, {early, date{-1, 12, 31}, cut},
        {early, time_parts{23, 59, 59}, cut},
        // The precision and scale described, 38 and 15 of a decimal; of others what they have.
        {scaled(2, "0096"), numeric(1'500'000'000'000'000, 15, 1, 38), none},
        {scaled(16, "0F"), numeric(1, 15, 1, 38), cut}, {varint, numeric(0, 0), range},

        {"1e3", numeric(1000, 0, 1, 38), none}, {"-0", numeric(0, 0, 1, 38), none},
        // Texts of dates, times and guids.
        {" 2024-02-29 ", date{2024, 2, 29}, none}, {"2024-02-30", date{}, bad},
        {"2024-02-29T23:30:00-01:00", parts{2024, 3, 1, 0, 30, 0, 0}, none},
        {"-0001-12-31 00:00:00.5", parts{-1, 12, 31, 0, 0, 0, 500'000'000}, none},
        {"2024-02-29 00:00:01", date{2024, 2, 29}, cut}, {"32768-01-01", parts{}, era},
        {"01:02:03", time_parts{1, 2, 3}, none}, {"01:02:03", parts{}, bad},

        {"2024-02-29 01:02:03.5", time_parts{1, 2, 3}, cut},
        {"01020304-0506-0708-090a-0B0C0D0E0F10",
         SQLGUID{0x01020304, 0x0506, 0x0708, {9, 10, 11, 12, 13, 14, 15, 16}}, none},
        {"01020304-0506-0708-090a-0B0C0D0E0F1g", SQLGUID{}, bad}, {"", SQLGUID{}, bad},
    };
    // clang-format on
    for (const auto &[from, value, states] : cases) {
        SCOPED_TRACE(testing::PrintToString(from.bytes) + " to " + std::to_string(value.c_type));
        expect_value(cell_rig_of(from, &standard_conduct), value.c_type, value.memory.size(), value,
                     states);
    }
    // A numeric comes as its descriptor says: precision and scale.
    const std::tuple<int, int, const char *, app_value> numerics[] = {
        {5, 3, cut, numeric(1250, 3, 1, 5)},
        {4, 4, range, numeric(0, 0)},
        {38, -1, cut, numeric(0, -1, 1, 38)},
    };
    for (const auto &[precision, scale, states, value] : numerics) {
        const rig_ptr rig = cell_rig_of(1.2501, &standard_conduct);
        cass_desc_resize(rig->stmt->ard, 1);
        cass_field &field = rig->stmt->ard->fields[0];
        field.consise_type = SQL_C_NUMERIC;
        field.precision = precision;
        field.scale = scale;
        expect_value(rig, SQL_C_NUMERIC, sizeof(SQL_NUMERIC_STRUCT), value, states);
    }
}

// ---- Cells of no length of their type -----------------------------------------------------------

TEST(cell_convert, a_length_that_lies_gives_up_the_rows)
{
    // clang-format off
    const std::pair<int, std::vector<int>> types[] = {
        {CQL_VARCHAR, {65, INT32_MAX}}, {CQL_DECIMAL, {3}}, {CQL_TINYINT, {2}}, {CQL_BOOLEAN, {2}},
        {CQL_INT, {3, 5, 65}}, {CQL_SMALLINT, {1, 3}}, {CQL_BIGINT, {7, 9}}, {CQL_COUNTER, {7, 9}},
        {CQL_FLOAT, {3, 5}}, {CQL_DOUBLE, {7, 9}}, {CQL_DATE, {3, 5}}, {CQL_TIME, {7, 9}},
        {CQL_UUID, {15, 17}}, {CQL_TIMEUUID, {15, 17}}, {CQL_TIMESTAMP, {7, 9}}};
    // clang-format on
    for (const auto &[type, lengths] : types)
        for (const int length : lengths) {
            const rig_ptr rig = rig_open({type});
            rig_page(rig, be(length, 4) + std::string(64, '\x11'));
            rig->stmt->page.current_row_count = 100;
            EXPECT_EQ("08S01", outcome(rig_row(rig), rig->stmt)) << length << " of " << type;
            EXPECT_EQ(100, rig->stmt->page.current_row_offset);
        }
    for (const auto &[type, is_null] : {std::pair(CQL_BLOB, 0), {CQL_VARINT, 1}, {CQL_INT, 1}})
        EXPECT_EQ(cell_rig_of({type, ""})->field(1)->data_storage.isnull, is_null) << type;
    const rig_ptr rig = rig_open({CQL_INET});
    rig_page(rig, cell_of("12345"));
    EXPECT_EQ("08S01", outcome(rig_row(rig), rig->stmt));
}

// ---- NULL, probes, and when a column is delivered -----------------------------------------------

TEST(cell_convert, a_probe_for_the_length_leaves_text_open_and_closes_the_rest)
{
    const source blob(CQL_BLOB, "blob");
    // clang-format off
    const std::tuple<source, int, SQLLEN, bool> cases[] = {
        {"h\xC3\xA9llo", SQL_C_CHAR, 6, true}, {"h\xC3\xA9llo", SQL_C_WCHAR, 10, true},
        {"", SQL_C_CHAR, 0, false}, {blob, SQL_C_BINARY, 4, true}, {blob, SQL_C_CHAR, 4, true},
        {blob, SQL_C_WCHAR, 16, true}, {123, SQL_C_LONG, 4, false},
        {moment(0), SQL_C_WCHAR, 38, false}};
    // clang-format on
    for (const auto &[from, target, length, stays_open] : cases) {
        const rig_ptr rig = cell_rig_of(from);
        SQLLEN told = -5;
        EXPECT_EQ(SQLGetData(rig->stmt, 1, SQLSMALLINT(target), nullptr, 0, &told), SQL_SUCCESS);
        EXPECT_EQ(length, told) << from.type << " to " << target;
        EXPECT_EQ(stays_open ? SQL_SUCCESS : SQL_NO_DATA, read_cell(rig, target, 64).code);
    }
}

// ---- Indirect types and SQLGetData --------------------------------------------------------------

TEST(cell_convert, the_default_type_follows_the_column)
{
    // Type of the column, version, and the length, which tells the target: the value has 9 digits.
    const std::tuple<int, int, SQLLEN> cases[] = {
        {SQL_INTEGER, 3, 4},   {SQL_REAL, 3, 4},      {SQL_BIGINT, 3, 8},
        {SQL_BIGINT, 2, 9},    {SQL_GUID, 3, 9},      {SQL_DECIMAL, 3, 9},
        {SQL_WVARCHAR, 3, 18}, {SQL_VARBINARY, 3, 8}, {SQL_C_DEFAULT, 3, UNTOUCHED}};
    for (const auto &[consise_type, version, length] : cases) {
        const rig_ptr rig = cell_rig_of(123456789L);
        rig->env->odbc_version = version;
        rig->field(1)->consise_type = consise_type;
        EXPECT_EQ(length, read_cell(rig, SQL_C_DEFAULT, 64).length) << consise_type;
        EXPECT_EQ(length == UNTOUCHED ? "07006@1" : "", rig->states());
    }
}

TEST(cell_convert, get_data_tests_the_page_the_column_and_the_bookmark)
{
    const rig_ptr rig = rig_open({CQL_INT});
    const auto states = [&](SQLUSMALLINT column, SQLSMALLINT type) {
        return outcome(SQLGetData(rig->stmt, column, type, nullptr, 0, nullptr), rig->stmt);
    };
    EXPECT_EQ("07006@1", states(1, SQL_C_LONG));  // a page, but no row yet
    rig_page(rig, cell_of(be(5, 4)));
    ASSERT_EQ(SQL_SUCCESS, rig_row(rig));
    // Columns that binding added behind a result are not the result's.
    ASSERT_EQ(0, cass_desc_resize(rig->stmt->ird, 4));
    EXPECT_EQ("", states(1, SQL_C_LONG));
    EXPECT_EQ("0700907009", states(3, SQL_C_LONG) + states(0, SQL_C_BOOKMARK));
    rig->stmt->attrs.use_bookmarks = 1;
    EXPECT_EQ("HY00307006@0", states(0, SQL_C_CHAR) + states(0, SQL_C_BOOKMARK));
    rig->stmt->page.current_packet = nullptr;
    EXPECT_EQ("HY010", states(1, SQL_C_LONG));
}
