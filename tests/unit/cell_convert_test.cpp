// From a column's stored cell to the C types that are no text: values, boundaries, diagnostics;
// which conversions there are, and when a column counts as delivered.
#include <cmath>
#include <tuple>

#include "tests/unit/cell_rig.h"
#include "tests/app_value.h"

// ---- Values -------------------------------------------------------------------------------------

// A cell by the C++ type of its value.
struct source {
    int type;
    std::string bytes;

    source(int option_id, const std::string &cell) : type(option_id), bytes(cell) {}
    source(const char *text) : source(CQL_VARCHAR, text) {}
    source(int value) : source(CQL_INT, be(value, 4)) {}
    source(long value) : source(CQL_BIGINT, be(value, 8)) {}
    source(float value) : source(CQL_FLOAT, be(value)) {}
    source(double value) : source(CQL_DOUBLE, be(value)) {}
};

static source scaled(int scale, const char *unscaled)
{
    return {CQL_DECIMAL, decimal(scale, unscaled)};
}

static source moment(std::int64_t ms)
{
    return {CQL_TIMESTAMP, be(ms, 8)};
}

constexpr double TWO_63 = 9223372036854775808.0;
static const char *const none = "", *const range = "22003@1", *const cut = "01S07@1",
                         *const bad = "22018@1";

TEST(cell_convert, each_source_at_the_bounds_of_each_target)
{
    // clang-format off
    using date = SQL_DATE_STRUCT; using time = SQL_TIME_STRUCT; using stamp = SQL_TIMESTAMP_STRUCT;
    const source day(CQL_DATE, be(EPOCH + 11016, 4)), blob(CQL_BLOB, "1"),
        uuid(CQL_UUID, "abcdefghijklmnop");
    const std::vector<source> no_numbers = {day, blob, uuid, moment(0)};
    // Names of a C type, its size, what cannot become one, and what becomes of the rest.
    const struct { std::vector<int> types; std::size_t size; std::vector<source> refused;
                   std::vector<std::tuple<source, app_value, const char *>> cases; } targets[] = {
        // 2^63 itself saturates.
        {{SQL_C_SBIGINT}, 8, no_numbers, {{INT64_MIN, INT64_MIN, none}, {NAN, 0, range},
         {"9223372036854775808", 0, range}, {"-9223372036854775808", INT64_MIN, none},
         {scaled(0, "008000000000000000"), 0, range}, {-TWO_63, INT64_MIN, none},
         {TWO_63, INT64_MAX, none}, {9223372036854775808.0f, INT64_MAX, none}, {3.5f, 3l, cut},
         {std::nextafter(TWO_63, 1e30), 0, range}}},
        // Text is parsed as signed.
        {{SQL_C_UBIGINT}, 8, no_numbers, {{-1L, -1l, none}, {"-1", -1l, none}, {-1.0, 0, range},
         {2 * TWO_63, -1l, none}, {"9223372036854775808", 0, range},
         {"9223372036854775807", INT64_MAX, none}}},
        // What is not tested passes with its low bytes, and any scale counts as a fraction. Blanks
        // behind a number in text decide how much of it is taken, of 127 bytes.
        {{SQL_C_SLONG, SQL_C_LONG}, 4, no_numbers, {{-7, -7, none}, {2147483647L, 2147483647, none},
         {1e300, 0, range}, {2147483648L, 0, range}, {-2147483649L, 0, range},
         {"4294967301", 5, none}, {scaled(0, "0100000005"), 5, none}, {2147483647.5, 0, range},
         {2147483648.0f, 2147483647, none}, {-12.75, -12, cut}, {-2147483648.0, INT32_MIN, none},
         {"12.0", 12, cut}, {"12.", 12, none}, {scaled(-2, "05"), 500, cut}, {"123 ", 1, none},
         {"123  ", 12, none}, {" \t+7", 7, none}, {"", 0, bad}, {".", 0, none}, {"-.5", 0, cut},
         {"-", 0, bad}, {"1e3", 0, bad}, {"1 2", 0, bad}, {"12     ", 12, none}, {"   ", 0, bad},
         {{CQL_VARCHAR, std::string(200, '0') + "x"}, 0, none}}},
        {{SQL_C_ULONG}, 4, no_numbers, {{-1, -1, none}, {4294967296L, 0, range}, {-1L, 0, range},
         {4294967296.0f, -1, none}, {4294967296.0, 0, range}}},
        {{SQL_C_SSHORT, SQL_C_SHORT}, 2, no_numbers, {{-32768, -32768, none}, {"32768", 0, range},
         {scaled(0, "018000"), -32768, none}, {32767.5, 0, range}, {-32768.0, -32768, none}}},
        {{SQL_C_USHORT}, 2, no_numbers, {{65535, 65535, none}, {-1, 0, range},
         {scaled(0, "010002"), 2, none}, {"65536.5", 0, "22003@1 01S07@1"}}},
        {{SQL_C_STINYINT, SQL_C_TINYINT}, 1, no_numbers, {{"300", 300 - 256, none},
         {scaled(0, "0080"), 0, range}, {-128, -128, none}, {128, 0, range}}},
        {{SQL_C_UTINYINT}, 1, no_numbers, {{"255", 255, none}, {"-1", 0, range}, {256L, 0, range}}},
        {{SQL_C_BIT}, 1, no_numbers, {{{CQL_BOOLEAN, be(2, 1)}, 0, range}, {"1", 1, none},
         {scaled(0, "02"), 0, range}, {0.5, 0, cut}, {1.5f, 0, range}}},
        {{SQL_C_DOUBLE}, 8, no_numbers, {{" -0.1", -0.1, none}, {"1e3", 0, bad}, {"", 0, bad},
         {".", 0.0, none}, {scaled(2, "0096"), 1.5, none}, {INT64_MAX, TWO_63, none},
         {scaled(0, "FF0000000000000000"), -0x1p64, none}, {0.1f, double{0.1f}, none}}},
        {{SQL_C_FLOAT}, 4, no_numbers, {{"1.25", 1.25f, none}, {"1e3", 0, bad},
         {scaled(-3, "FF"), -1000.0f, none}, {1e-300, 0.0f, none}, {1e300, INFINITY, none}}},
        // A large double is printed with an exponent, which the struct cannot take.
        {{SQL_C_NUMERIC}, 19, no_numbers, {{scaled(2, "0096"), numeric(150, 2, 1, 37), none},
         {scaled(2, "96"), numeric(106, 2, 0), none}, {-5, numeric(5, 0, 0, 12), none},
         {scaled(-3, "05"), numeric(5, -3), none}, {-0.5f, numeric(5, 1, 0, 19), none},
         {NAN, 0, range}, {"12.50", numeric(1250, 2, 1, 4), none}, {"1e3", 0, bad},
         {1e20, 0, range}, {"340282366920938463463374607431768211456", 0, range}}},
        {{SQL_C_DATE, SQL_C_TYPE_DATE}, 6, {"2000-02-29", 1, blob, uuid}, {
         {day, date{2000, 2, 29}, none}, {moment(LEAP_DAY), date{2000, 2, 29}, none},
         {moment(LEAP_DAY + 1), date{2000, 2, 29}, cut},
         {moment(LEAP_DAY + 1000), date{2000, 2, 29}, cut},
         {moment(LEAP_DAY + 3600000), date{2000, 2, 29}, cut}}},
        {{SQL_C_TIME, SQL_C_TYPE_TIME}, 6, {day, 1, blob, uuid}, {
         {moment(LEAP_DAY + 1001), time{0, 0, 1}, cut}, {"7:08:09.5", time{7, 8, 9}, none},
         {{CQL_TIME, be(CLOCK, 8)}, time{12, 34, 56}, none}, {"noon", time{}, none},
         {{CQL_TIME, be(INT64_C(86400000000000), 8)}, time{}, none}}},
        // Parts of a time before 1970 are negative and stay on the day of the quotient.
        {{SQL_C_TIMESTAMP, SQL_C_TYPE_TIMESTAMP}, 16, {"2000-02-29", 1, blob, uuid}, {
         {day, stamp{2000, 2, 29, 0, 0, 0, 0}, none},
         {moment(LEAP_DAY + 86399007), stamp{2000, 2, 29, 23, 59, 59, 7000000}, none},
         {moment(-86400000 - 3723000), stamp{1969, 12, 31, 65535, 65534, 65533, 0}, none},
         {{CQL_TIME, be(CLOCK + 1, 8)}, stamp{0, 0, 0, 12, 34, 56, 1}, none}}},
        {{SQL_C_GUID}, 16, {"01234567-89ab-cdef-0123-456789abcdef", 1, blob, moment(0)}, {
         {uuid, machine_order("dcba") + machine_order("fe") + machine_order("hg") + "ijklmnop", none}}},
        {{SQL_C_INTERVAL_DAY}, 8, {1, "1", uuid}, {}},
    };
    // clang-format on
    for (const auto &[types, size, refused, cases] : targets)
        for (const int type : types) {
            for (const auto &[from, value, states] : cases) {
                SCOPED_TRACE(testing::PrintToString(from.bytes) + " to " + std::to_string(type));
                const rig_ptr rig = cell_rig_of(from.type, from.bytes);
                const read_result result = read_cell(rig, type, size);
                const bool stored = code_of(states) != SQL_ERROR;
                EXPECT_EQ(code_of(states), result.code);
                EXPECT_EQ(states, rig->states());
                const std::size_t low = LOWEST_BYTE_FIRST ? 0 : value.memory.size() - size;
                EXPECT_EQ(stored ? value.memory.substr(low, size) : untouched(size),
                          result.written);
                EXPECT_EQ(stored ? static_cast<SQLLEN>(size) : UNTOUCHED, result.length);
                EXPECT_EQ(SQL_NO_DATA, read_cell(rig, type, size).code);
            }
            for (const source &from : refused) {
                const rig_ptr rig = cell_rig_of(from.type, from.bytes);
                EXPECT_EQ(untouched(size), read_cell(rig, type, size).written);
                EXPECT_EQ("07006@1", rig->states()) << from.type << " to " << type;
            }
        }
}

TEST(cell_convert, a_number_too_large_to_hold_is_out_of_range_for_every_target)
{
    for (const char *unscaled : {"0100000000000000000000000000000000",
                                 "FF00000000000000000000000000000000",  // its low half is zero
                                 "7FFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFF"})
        for (const int target : {SQL_C_CHAR, SQL_C_WCHAR, SQL_C_BINARY, SQL_C_NUMERIC,
                                 SQL_C_SBIGINT, SQL_C_BIT, SQL_C_DOUBLE, SQL_C_DEFAULT}) {
            const rig_ptr rig = cell_rig_of(CQL_DECIMAL, decimal(2, unscaled));
            EXPECT_EQ(untouched(64), read_cell(rig, target, 64).written) << unscaled << target;
            EXPECT_EQ("22003@1", rig->states()) << unscaled << target;
            EXPECT_EQ(SQL_NO_DATA, read_cell(rig, target, 64).code);
        }
}

// ---- NULL, probes, and when a column is delivered -----------------------------------------------

TEST(cell_convert, null_goes_through_the_indicator_or_is_reported)
{
    const rig_ptr rig = rig_open({CQL_INT, CQL_VARCHAR});
    rig_page(rig, null_cell + null_cell);
    ASSERT_EQ(SQL_SUCCESS, rig_row(rig));
    SQLLEN value = 9, indicator = 7, octets = 7;
    const auto get = [&](SQLUSMALLINT column, SQLLEN *null_ptr, SQLLEN *length_ptr) {
        rig->cell().finished = 0;
        return cass_get_data(rig->stmt, column, SQL_C_LONG, &value, 4, null_ptr, length_ptr,
                             rig->stmt->ird->fields, nullptr);
    };
    EXPECT_EQ(SQL_SUCCESS, get(1, &indicator, &octets));
    EXPECT_TRUE(indicator == SQL_NULL_DATA && octets == 0);
    EXPECT_EQ(SQL_SUCCESS, get(1, &octets, &octets));
    EXPECT_TRUE(octets == SQL_NULL_DATA && value == 9);  // one place for both
    // A text column stays open after the warning, the others are closed by it.
    for (const SQLUSMALLINT column : {2, 2, 1})
        EXPECT_EQ(SQL_SUCCESS_WITH_INFO, get(column, nullptr, nullptr));
    EXPECT_EQ("22002@2 22002@2 22002@1", rig->states());
    EXPECT_EQ(SQL_NO_DATA, read_cell(rig, SQL_C_LONG, 4).code);
}

TEST(cell_convert, a_probe_for_the_length_leaves_text_open_and_closes_the_rest)
{
    // clang-format off
    const std::tuple<source, int, SQLLEN, bool> cases[] = {
        {"h\xC3\xA9llo", SQL_C_CHAR, 6, true},     {"h\xC3\xA9llo", SQL_C_WCHAR, 10, true},
        {"h\xC3\xA9llo", SQL_C_BINARY, 6, true},   {"", SQL_C_CHAR, 0, false},
        {{CQL_BLOB, "blob"}, SQL_C_CHAR, 4, true}, {{CQL_BLOB, "blob"}, SQL_C_WCHAR, 16, true},
        {123, SQL_C_LONG, 4, false},               {moment(0), SQL_C_WCHAR, 38, false}};
    // clang-format on
    for (const auto &[from, target, length, stays_open] : cases) {
        SCOPED_TRACE(std::to_string(from.type) + " to " + std::to_string(target));
        const rig_ptr rig = cell_rig_of(from.type, from.bytes);
        SQLLEN told = -5;
        EXPECT_EQ(SQL_SUCCESS,
                  SQLGetData(rig->stmt, 1, static_cast<SQLSMALLINT>(target), nullptr, 0, &told));
        EXPECT_EQ(length, told);
        EXPECT_EQ("", rig->states());
        EXPECT_EQ(stays_open ? SQL_SUCCESS : SQL_NO_DATA, read_cell(rig, target, 64).code);
    }
}

TEST(cell_convert, buffer_lengths_of_zero_and_below)
{
    const rig_ptr zero = cell_rig_of(CQL_DOUBLE, be(2.5));
    EXPECT_EQ(SQL_SUCCESS, read_cell(zero, SQL_C_LONG, 4, 0).code);  // hides the warning
    EXPECT_EQ("01S07@1", zero->states());
    for (const int target : {SQL_C_CHAR, SQL_C_WCHAR, SQL_C_BINARY})
        for (const int type : {CQL_VARCHAR, CQL_BLOB, CQL_INT}) {
            const read_result result = read_cell(cell_rig_of(type, "text"), target, 8, -1);
            EXPECT_EQ(SQL_SUCCESS, result.code);
            EXPECT_EQ(untouched(8), result.written);
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
        const rig_ptr rig = cell_rig_of(CQL_BIGINT, be(123456789, 8));
        rig->env->odbc_version = version;
        rig->field(1)->consise_type = consise_type;
        EXPECT_EQ(length, read_cell(rig, SQL_C_DEFAULT, 64).length) << consise_type;
        EXPECT_EQ(length == UNTOUCHED ? "07006@1" : "", rig->states());
    }
}

TEST(cell_convert, the_type_of_the_binding_reads_the_column_in_front)
{
    const rig_ptr rig = rig_open({CQL_INT, CQL_INT});
    rig_page(rig, cell_of(be(11, 4)) + cell_of(be(22, 4)));
    ASSERT_EQ(SQL_SUCCESS, rig_row(rig));
    EXPECT_EQ(SQL_NO_DATA, read_cell(rig, SQL_ARD_TYPE, 8, 8, 2).code);  // nothing is bound
    ASSERT_EQ(0, cass_desc_resize(rig->stmt->ard, 2));
    rig->stmt->ard->fields[0].consise_type = rig->stmt->ard->fields[1].consise_type = SQL_C_CHAR;
    EXPECT_STREQ("11", read_cell(rig, SQL_ARD_TYPE, 8, 8, 2).written.c_str());
    EXPECT_EQ(SQL_NO_DATA, read_cell(rig, SQL_C_LONG, 4, 4, 1).code);  // read by the call above
    EXPECT_EQ(SQL_NO_DATA, read_cell(rig, SQL_C_LONG, 4, 4, 2).code);  // and so is the one named
    rig->cell(1).finished = 0;
    EXPECT_EQ(SQL_ERROR, read_cell(rig, SQL_ARD_TYPE, 8, 8, 1).code);  // the bookmark record
    EXPECT_EQ("07006@0", rig->states());
    EXPECT_EQ(1, rig->cell(1).finished);
    EXPECT_EQ(SQL_ERROR, read_cell(rig, SQL_ARD_TYPE, 8, 8, 0).code);
    EXPECT_EQ("07006@0", rig->states());
    ASSERT_EQ(0, cass_desc_resize(rig->stmt->ard, 1));
    EXPECT_EQ(SQL_NO_DATA, read_cell(rig, SQL_ARD_TYPE, 8, 8, 2).code);  // bound up to column 1
}

TEST(cell_convert, get_data_tests_the_page_the_column_and_the_bookmark)
{
    const rig_ptr rig = rig_open({CQL_INT});
    const auto states = [&](SQLUSMALLINT column, SQLSMALLINT type) {
        std::int32_t value = 0;
        const SQLRETURN code = SQLGetData(rig->stmt, column, type, &value, sizeof value, nullptr);
        EXPECT_EQ(code_of(rig->states()), code);
        return rig->states();
    };
    EXPECT_EQ("07006@1", states(1, SQL_C_LONG));  // a page, but no row yet
    rig_page(rig, cell_of(be(5, 4)));
    ASSERT_EQ(SQL_SUCCESS, rig_row(rig));
    // Columns that binding added behind a result are not the result's.
    ASSERT_EQ(0, cass_desc_resize(rig->stmt->ird, 4));
    EXPECT_EQ("", states(1, SQL_C_LONG));
    EXPECT_EQ("07009", states(3, SQL_C_LONG));
    EXPECT_EQ("07009", states(0, SQL_C_BOOKMARK));
    rig->stmt->attrs.use_bookmarks = 1;
    EXPECT_EQ("HY003", states(0, SQL_C_CHAR));
    EXPECT_EQ("07006@0", states(0, SQL_C_BOOKMARK));
    rig->stmt->page.current_packet = nullptr;
    EXPECT_EQ("HY010", states(1, SQL_C_LONG));
}
