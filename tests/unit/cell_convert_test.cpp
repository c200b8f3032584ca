// From a column's stored cell to the C types that are no text: values, boundaries, diagnostics;
// which conversions there are, and when a column counts as delivered.
#include "cell_rig.h"

#include <cmath>

// ---- Whole numbers ------------------------------------------------------------------------------

struct number_source {
    int type;
    std::string bytes;
    const char *what;
};

static number_source text(const char *value)
{
    return {CQL_VARCHAR, value, value};
}

static number_source whole(std::int64_t value)
{
    return {CQL_BIGINT, be(value, 8), "bigint"};
}

static number_source whole32(std::int32_t value)
{
    return {CQL_INT, be(value, 4), "int"};
}

static number_source dbl(double value)
{
    return {CQL_DOUBLE, be_double(value), "double"};
}

static number_source real(float value)
{
    return {CQL_FLOAT, be_float(value), "float"};
}

static number_source scaled(int scale, const char *unscaled)
{
    return {CQL_DECIMAL, decimal(scale, unscaled), "decimal"};
}

struct number_case {
    number_source source;
    int target;
    SQLRETURN code;
    std::int64_t value;   // as the low bytes of the target
    const char *states;
};

static int size_of(int target)
{
    switch (target) {
    case SQL_C_SBIGINT:
    case SQL_C_UBIGINT:
    case SQL_C_DOUBLE:
        return 8;
    case SQL_C_SSHORT:
    case SQL_C_SHORT:
    case SQL_C_USHORT:
        return 2;
    case SQL_C_STINYINT:
    case SQL_C_TINYINT:
    case SQL_C_UTINYINT:
    case SQL_C_BIT:
        return 1;
    default:
        return 4;
    }
}

constexpr double TWO_31 = 2147483648.0;
constexpr double TWO_63 = 9223372036854775808.0;

TEST(cell_convert, whole_numbers_at_the_bounds_of_each_source_and_target)
{
    constexpr SQLRETURN OK = SQL_SUCCESS, INFO = SQL_SUCCESS_WITH_INFO, ERR = SQL_ERROR;
    const char *const none = "";
    const char *const range = "22003@1", *const cut = "01S07@1", *const bad = "22018@1";
    const number_case cases[] = {
        // 64 bits.
        {whole(INT64_MIN), SQL_C_SBIGINT, OK, INT64_MIN, none},
        {text("-9223372036854775808"), SQL_C_SBIGINT, OK, INT64_MIN, none},
        {text("9223372036854775807"), SQL_C_SBIGINT, OK, INT64_MAX, none},
        {text("9223372036854775808"), SQL_C_SBIGINT, ERR, 0, range},
        {scaled(0, "008000000000000000"), SQL_C_SBIGINT, ERR, 0, range},
        {dbl(-TWO_63), SQL_C_SBIGINT, OK, INT64_MIN, none},
        {dbl(TWO_63), SQL_C_SBIGINT, OK, INT64_MAX, none},  // admitted, and saturates
        {real(static_cast<float>(TWO_63)), SQL_C_SBIGINT, OK, INT64_MAX, none},
        {dbl(std::nextafter(TWO_63, 1e30)), SQL_C_SBIGINT, ERR, 0, range},
        {dbl(NAN), SQL_C_SBIGINT, ERR, 0, range},
        {real(-INFINITY), SQL_C_SBIGINT, ERR, 0, range},
        {whole(-1), SQL_C_UBIGINT, OK, -1, none},
        {whole32(-1), SQL_C_UBIGINT, OK, -1, none},
        {text("-1"), SQL_C_UBIGINT, OK, -1, none},
        {text("9223372036854775808"), SQL_C_UBIGINT, ERR, 0, range},  // parsed as signed
        {dbl(TWO_63), SQL_C_UBIGINT, OK, INT64_MIN, none},
        {dbl(2 * TWO_63), SQL_C_UBIGINT, OK, -1, none},
        {dbl(-1), SQL_C_UBIGINT, ERR, 0, range},

        // 32 bits: what is not tested passes with its low bytes.
        {whole32(-7), SQL_C_LONG, OK, -7, none},
        {whole(2147483647), SQL_C_SLONG, OK, 2147483647, none},
        {whole(2147483648), SQL_C_SLONG, ERR, 0, range},
        {whole(-2147483649), SQL_C_LONG, ERR, 0, range},
        {text("4294967301"), SQL_C_SLONG, OK, 5, none},
        {text("99999999999999999999"), SQL_C_SLONG, OK, -1, none},
        {scaled(0, "0100000005"), SQL_C_SLONG, OK, 5, none},
        {real(static_cast<float>(TWO_31)), SQL_C_SLONG, OK, 2147483647, none},
        {dbl(2147483647.0), SQL_C_SLONG, OK, 2147483647, none},
        {dbl(2147483647.5), SQL_C_SLONG, ERR, 0, range},
        {dbl(-2147483648.0), SQL_C_SLONG, OK, INT32_MIN, none},
        {dbl(1e300), SQL_C_SLONG, ERR, 0, range},
        {whole32(-1), SQL_C_ULONG, OK, 4294967295, none},
        {whole(4294967295), SQL_C_ULONG, OK, 4294967295, none},
        {whole(4294967296), SQL_C_ULONG, ERR, 0, range},
        {whole(-1), SQL_C_ULONG, ERR, 0, range},
        {real(4294967296.0f), SQL_C_ULONG, OK, 4294967295, none},
        {dbl(4294967296.0), SQL_C_ULONG, ERR, 0, range},

        // 16 bits.
        {whole32(-32768), SQL_C_SSHORT, OK, -32768, none},
        {whole32(32768), SQL_C_SHORT, ERR, 0, range},
        {whole(-32769), SQL_C_SSHORT, ERR, 0, range},
        {text("32768"), SQL_C_SSHORT, ERR, 0, range},
        {scaled(0, "018000"), SQL_C_SSHORT, OK, -32768, none},
        {dbl(32767.5), SQL_C_SSHORT, ERR, 0, range},
        {dbl(-32768), SQL_C_SSHORT, OK, -32768, none},
        {whole32(65535), SQL_C_USHORT, OK, 65535, none},
        {whole32(-1), SQL_C_USHORT, ERR, 0, range},
        {text("65536"), SQL_C_USHORT, ERR, 0, range},
        {scaled(0, "010002"), SQL_C_USHORT, OK, 2, none},

        // 8 bits.
        {text("300"), SQL_C_STINYINT, OK, 300 - 256, none},
        {scaled(0, "0080"), SQL_C_STINYINT, ERR, 0, range},
        {whole32(-128), SQL_C_TINYINT, OK, -128, none},
        {whole32(128), SQL_C_TINYINT, ERR, 0, range},
        {dbl(127.0), SQL_C_STINYINT, OK, 127, none},
        {text("255"), SQL_C_UTINYINT, OK, 255, none},
        {text("-1"), SQL_C_UTINYINT, ERR, 0, range},
        {scaled(0, "0100"), SQL_C_UTINYINT, ERR, 0, range},
        {whole(256), SQL_C_UTINYINT, ERR, 0, range},
        {{CQL_BOOLEAN, be(1, 1), "boolean"}, SQL_C_BIT, OK, 1, none},
        {{CQL_BOOLEAN, be(2, 1), "boolean"}, SQL_C_BIT, ERR, 0, range},
        {text("1"), SQL_C_BIT, OK, 1, none},
        {scaled(0, "02"), SQL_C_BIT, ERR, 0, range},
        {dbl(1.5), SQL_C_BIT, ERR, 0, range},
        {dbl(0.5), SQL_C_BIT, INFO, 0, cut},

        // Fractions.
        {dbl(-12.75), SQL_C_SLONG, INFO, -12, cut},
        {real(3.5f), SQL_C_SBIGINT, INFO, 3, cut},
        {text("12.5"), SQL_C_LONG, INFO, 12, cut},
        {text("12."), SQL_C_LONG, OK, 12, none},
        {text("12.0"), SQL_C_LONG, INFO, 12, cut},
        {scaled(2, "00C8"), SQL_C_LONG, INFO, 2, cut},   // any scale counts
        {scaled(-2, "05"), SQL_C_LONG, INFO, 500, cut},
        {text("70000.5"), SQL_C_USHORT, ERR, 0, "22003@1 01S07@1"},

        // What is a number in text.
        {text(" \t+7"), SQL_C_LONG, OK, 7, none},
        {text("123 "), SQL_C_LONG, OK, 1, none},  // blanks behind decide how much is taken
        {text("123  "), SQL_C_LONG, OK, 12, none},
        {text("12     "), SQL_C_LONG, OK, 12, none},
        {text("."), SQL_C_LONG, OK, 0, none},
        {text("-.5"), SQL_C_LONG, INFO, 0, cut},
        {text(""), SQL_C_LONG, ERR, 0, bad},
        {text("   "), SQL_C_LONG, ERR, 0, bad},
        {text("-"), SQL_C_LONG, ERR, 0, bad},
        {text("1e3"), SQL_C_LONG, ERR, 0, bad},
        {text("1 2"), SQL_C_LONG, ERR, 0, bad},
        {text("1.2.3"), SQL_C_LONG, ERR, 0, bad},
        {text("0x10"), SQL_C_LONG, ERR, 0, bad},
        {{CQL_VARCHAR, std::string(200, '0') + "x", "127 bytes"}, SQL_C_LONG, OK, 0, none},
    };
    for (const number_case &c : cases) {
        SCOPED_TRACE(std::string(c.source.what) + " to " + std::to_string(c.target) +
                     ", expected " + std::to_string(c.value) + " " + c.states);
        const rig_ptr rig = cell_rig_of(c.source.type, c.source.bytes);
        const auto size = static_cast<std::size_t>(size_of(c.target));
        const read_result result = read_cell(rig, c.target, size);
        EXPECT_EQ(c.code, result.code);
        EXPECT_EQ(c.states, rig_states(rig));
        if (c.code == SQL_ERROR) {
            EXPECT_EQ(untouched(size), result.written);
            EXPECT_EQ(UNTOUCHED, result.length);
        } else {
            EXPECT_EQ(std::string(reinterpret_cast<const char *>(&c.value), size), result.written);
            EXPECT_EQ(static_cast<SQLLEN>(size), result.length);
        }
        EXPECT_EQ(SQL_NO_DATA, read_cell(rig, c.target, size).code);
    }
}

TEST(cell_convert, floating_numbers)
{
    struct floating_case {
        number_source source;
        double value;
        const char *states;
    };
    const floating_case cases[] = {
        {text("1.25"), 1.25, ""},      {text(" -0.1"), -0.1, ""},      {text("1e3"), 0, "22018@1"},
        {text("."), 0, ""},            {text(""), 0, "22018@1"},       {scaled(2, "0096"), 1.5, ""},
        {scaled(-3, "FF"), -1000, ""}, {whole32(-7), -7, ""},          {real(0.1f), 0.1f, ""},
        {whole(INT64_MAX), TWO_63, ""}, {dbl(1e-300), 1e-300, ""},     {dbl(1e300), 1e300, ""},
    };
    for (const floating_case &c : cases) {
        SCOPED_TRACE(std::string(c.source.what) + " " + std::to_string(c.value));
        for (const int target : {SQL_C_DOUBLE, SQL_C_FLOAT}) {
            const rig_ptr rig = cell_rig_of(c.source.type, c.source.bytes);
            const auto size = static_cast<std::size_t>(size_of(target));
            const read_result result = read_cell(rig, target, size);
            EXPECT_EQ(c.states, rig_states(rig));
            const auto narrow = static_cast<float>(c.value);
            const void *expected = target == SQL_C_DOUBLE ? static_cast<const void *>(&c.value)
                                                          : static_cast<const void *>(&narrow);
            if (result.code == SQL_SUCCESS) {
                EXPECT_EQ(0, std::memcmp(expected, result.written.data(), size));
            } else {
                EXPECT_EQ(untouched(size), result.written);
            }
        }
    }
}

TEST(cell_convert, numeric_structs)
{
    struct numeric_case {
        number_source source;
        SQLRETURN code;
        const char *states;
        int precision, scale, sign;
        unsigned value;
    };
    const numeric_case cases[] = {
        {scaled(2, "0096"), SQL_SUCCESS, "", 37, 2, 1, 150},
        {whole32(-5), SQL_SUCCESS, "", 12, 0, 0, 5},
        {whole(5), SQL_SUCCESS, "", 19, 0, 1, 5},
        {dbl(1.5), SQL_SUCCESS, "", 19, 1, 1, 15},
        {real(-0.5f), SQL_SUCCESS, "", 19, 1, 0, 5},
        {dbl(1e20), SQL_ERROR, "22003@1", 0, 0, 0, 0},  // printed with an exponent
        {dbl(NAN), SQL_ERROR, "22003@1", 0, 0, 0, 0},
        {text("12.50"), SQL_SUCCESS, "", 4, 2, 1, 1250},
        {text("."), SQL_SUCCESS, "", 2, 0, 1, 0},
        {text("1e3"), SQL_ERROR, "22018@1", 0, 0, 0, 0},
        {text("340282366920938463463374607431768211456"), SQL_ERROR, "22003@1", 0, 0, 0, 0},
    };
    for (const numeric_case &c : cases) {
        SCOPED_TRACE(c.source.what);
        const rig_ptr rig = cell_rig_of(c.source.type, c.source.bytes);
        const read_result result = read_cell(rig, SQL_C_NUMERIC, sizeof(SQL_NUMERIC_STRUCT));
        EXPECT_EQ(c.code, result.code);
        EXPECT_EQ(c.states, rig_states(rig));
        if (c.code != SQL_SUCCESS)
            continue;
        EXPECT_EQ(19, result.length);
        SQL_NUMERIC_STRUCT numeric;
        std::memcpy(&numeric, result.written.data(), sizeof numeric);
        EXPECT_EQ(c.precision, numeric.precision);
        EXPECT_EQ(c.scale, numeric.scale);
        EXPECT_EQ(c.sign, numeric.sign);
        EXPECT_EQ(c.value, numeric.val[0] + 256u * numeric.val[1]);
    }
}

// ---- Dates, times, uuids ------------------------------------------------------------------------

static std::string fields_of(const std::string &bytes)
{
    std::string fields;
    for (std::size_t i = 0; i + 2 <= bytes.size() && i < 12; i += 2) {
        SQLSMALLINT field;
        std::memcpy(&field, bytes.data() + i, 2);
        fields += (i == 0 ? "" : " ") + std::to_string(field);
    }
    if (bytes.size() == 16) {
        SQLUINTEGER fraction;
        std::memcpy(&fraction, bytes.data() + 12, 4);
        fields += " " + std::to_string(fraction);
    }
    return fields;
}

TEST(cell_convert, dates_and_times)
{
    struct instant_case {
        int type;
        std::string bytes;
        int target;
        SQLRETURN code;
        const char *fields;
        const char *states;
    };
    const std::string day = be((INT64_C(1) << 31) + 11016, 4);
    const instant_case cases[] = {
        {CQL_DATE, day, SQL_C_DATE, SQL_SUCCESS, "2000 2 29", ""},
        {CQL_DATE, day, SQL_C_TYPE_TIMESTAMP, SQL_SUCCESS, "2000 2 29 0 0 0 0", ""},
        {CQL_DATE, day, SQL_C_TYPE_TIME, SQL_ERROR, nullptr, "07006@1"},
        {CQL_TIMESTAMP, be(LEAP_DAY, 8), SQL_C_TYPE_DATE, SQL_SUCCESS, "2000 2 29", ""},
        {CQL_TIMESTAMP, be(LEAP_DAY + 1, 8), SQL_C_DATE, SQL_SUCCESS_WITH_INFO, "2000 2 29",
         "01S07@1"},
        {CQL_TIMESTAMP, be(LEAP_DAY + 3600000, 8), SQL_C_DATE, SQL_SUCCESS_WITH_INFO, "2000 2 29",
         "01S07@1"},
        {CQL_TIMESTAMP, be(LEAP_DAY + 1000, 8), SQL_C_TIME, SQL_SUCCESS, "0 0 1", ""},
        {CQL_TIMESTAMP, be(LEAP_DAY + 1001, 8), SQL_C_TYPE_TIME, SQL_SUCCESS_WITH_INFO, "0 0 1",
         "01S07@1"},
        {CQL_TIMESTAMP, be(LEAP_DAY + 7, 8), SQL_C_TIMESTAMP, SQL_SUCCESS,
         "2000 2 29 0 0 0 7000000", ""},
        {CQL_TIME, be(CLOCK, 8), SQL_C_TIME, SQL_SUCCESS, "12 34 56", ""},
        {CQL_TIME, be(CLOCK + 1, 8), SQL_C_TIMESTAMP, SQL_SUCCESS, "0 0 0 12 34 56 1", ""},
        {CQL_VARCHAR, "7:08:09.5", SQL_C_TIME, SQL_SUCCESS, "7 8 9", ""},
        {CQL_VARCHAR, "23:59", SQL_C_TIME, SQL_SUCCESS, "23 59 0", ""},
        {CQL_VARCHAR, "noon", SQL_C_TIME, SQL_SUCCESS, "0 0 0", ""},
        {CQL_VARCHAR, "12;30", SQL_C_TIME, SQL_SUCCESS, "12 0 0", ""},
        {CQL_VARCHAR, "2000-02-29", SQL_C_DATE, SQL_ERROR, nullptr, "07006@1"},
        {CQL_VARCHAR, "2000-02-29", SQL_C_TIMESTAMP, SQL_ERROR, nullptr, "07006@1"},
    };
    for (const instant_case &c : cases) {
        SCOPED_TRACE("type " + std::to_string(c.type) + " to " + std::to_string(c.target));
        const rig_ptr rig = cell_rig_of(c.type, c.bytes);
        const bool timestamp = c.target == SQL_C_TIMESTAMP || c.target == SQL_C_TYPE_TIMESTAMP;
        const std::size_t size = timestamp ? 16 : 6;
        const read_result result = read_cell(rig, c.target, size);
        EXPECT_EQ(c.code, result.code);
        EXPECT_EQ(c.states, rig_states(rig));
        if (c.fields != nullptr) {
            EXPECT_EQ(c.fields, fields_of(result.written));
        } else {
            EXPECT_EQ(untouched(size), result.written);
        }
    }

    const rig_ptr rig = cell_rig_of(CQL_VARCHAR, "");
    EXPECT_EQ(SQL_NULL_DATA, read_cell(rig, SQL_C_TIME, 6).length);
}

// ---- Which conversions there are ----------------------------------------------------------------

TEST(cell_convert, conversions_that_do_not_exist_are_refused)
{
    // A letter for each target: c char, w wchar, b binary, # numeric, i any integer, f floating,
    // d date, t time, s timestamp, g guid.
    struct allowed {
        int type;
        std::string bytes;
        const char *targets;
    };
    const allowed sources[] = {
        {CQL_VARCHAR, "12", "cwb#ift"},  {CQL_DECIMAL, decimal(0, "05"), "cwb#if"},
        {CQL_INT, be(1, 4), "cwb#if"},   {CQL_BIGINT, be(1, 8), "cwb#if"},
        {CQL_FLOAT, be(0, 4), "cwb#if"}, {CQL_DOUBLE, be(0, 8), "cwb#if"},
        {CQL_DATE, be(0, 4), "cwbds"},   {CQL_TIMESTAMP, be(0, 8), "cwbdts"},
        {CQL_BLOB, "12", "cwb"},         {CQL_UUID, be(0, 16), "cwbg"},
    };
    struct target {
        int type;
        char letter;
    };
    const target targets[] = {
        {SQL_C_CHAR, 'c'},      {SQL_C_WCHAR, 'w'},     {SQL_C_BINARY, 'b'},
        {SQL_C_NUMERIC, '#'},   {SQL_C_SBIGINT, 'i'},   {SQL_C_UBIGINT, 'i'},
        {SQL_C_LONG, 'i'},      {SQL_C_SLONG, 'i'},     {SQL_C_ULONG, 'i'},
        {SQL_C_SHORT, 'i'},     {SQL_C_SSHORT, 'i'},    {SQL_C_USHORT, 'i'},
        {SQL_C_STINYINT, 'i'},  {SQL_C_UTINYINT, 'i'},  {SQL_C_TINYINT, 'i'},
        {SQL_C_BIT, 'i'},       {SQL_C_DOUBLE, 'f'},    {SQL_C_FLOAT, 'f'},
        {SQL_C_DATE, 'd'},      {SQL_C_TYPE_DATE, 'd'}, {SQL_C_TIME, 't'},
        {SQL_C_TYPE_TIME, 't'}, {SQL_C_TIMESTAMP, 's'}, {SQL_C_TYPE_TIMESTAMP, 's'},
        {SQL_C_GUID, 'g'},      {12345, 'x'},           {SQL_C_INTERVAL_DAY, 'x'},
    };
    for (const allowed &source : sources) {
        for (const target &to : targets) {
            SCOPED_TRACE("type " + std::to_string(source.type) + " to " + std::to_string(to.type));
            const rig_ptr rig = cell_rig_of(source.type, source.bytes);
            const read_result result = read_cell(rig, to.type, 64);
            const bool refused = rig_states(rig) == "07006@1";
            EXPECT_EQ(std::strchr(source.targets, to.letter) == nullptr, refused);
            if (refused) {
                EXPECT_EQ(SQL_ERROR, result.code);
                EXPECT_EQ(untouched(64), result.written);
            }
        }
    }
}

// ---- NULL, probes, and when a column is delivered -----------------------------------------------

TEST(cell_convert, null_goes_through_the_indicator_or_is_reported)
{
    const rig_ptr rig = rig_open({CQL_INT, CQL_VARCHAR});
    rig_page(rig.get(), null_cell() + null_cell());
    ASSERT_EQ(SQL_SUCCESS, rig_row(rig));
    cass_field *fields = rig->stmt->ird->fields;
    std::int32_t value = 9;
    SQLLEN indicator = 7, octets = 7;
    const auto get = [&](int column, int type, void *indicator_ptr) {
        return cass_get_data(rig->stmt, static_cast<SQLUSMALLINT>(column), type, &value, 4,
                             indicator_ptr, &octets, fields, nullptr);
    };
    EXPECT_EQ(SQL_SUCCESS, get(1, SQL_C_LONG, &indicator));
    EXPECT_EQ(SQL_NULL_DATA, indicator);
    EXPECT_EQ(0, octets);
    EXPECT_EQ(9, value);

    // A text column stays open after the warning, the others are closed by it.
    EXPECT_EQ(SQL_SUCCESS_WITH_INFO, get(2, SQL_C_CHAR, nullptr));
    EXPECT_EQ(SQL_SUCCESS_WITH_INFO, get(2, SQL_C_CHAR, nullptr));
    EXPECT_EQ("22002@2 22002@2", rig_states(rig));
    rig_cell(rig, 1).finished = 0;
    EXPECT_EQ(SQL_SUCCESS_WITH_INFO, get(1, SQL_C_LONG, nullptr));
    EXPECT_EQ(SQL_NO_DATA, get(1, SQL_C_LONG, nullptr));
}

TEST(cell_convert, one_place_for_both_lengths_is_the_indicator)
{
    const rig_ptr rig = rig_open({CQL_INT});
    rig_page(rig.get(), null_cell());
    ASSERT_EQ(SQL_SUCCESS, rig_row(rig));
    SQLLEN both = 7;
    EXPECT_EQ(SQL_SUCCESS, cass_get_data(rig->stmt, 1, SQL_C_LONG, nullptr, 0, &both, &both,
                                         rig->stmt->ird->fields, nullptr));
    EXPECT_EQ(SQL_NULL_DATA, both);
}

TEST(cell_convert, a_probe_for_the_length_leaves_text_open_and_closes_the_rest)
{
    const struct {
        int type;
        std::string bytes;
        int target;
        SQLLEN length;
        bool stays_open;
    } cases[] = {
        {CQL_VARCHAR, "h\xC3\xA9llo", SQL_C_CHAR, 6, true},
        {CQL_VARCHAR, "h\xC3\xA9llo", SQL_C_WCHAR, 10, true},
        {CQL_VARCHAR, "h\xC3\xA9llo", SQL_C_BINARY, 6, true},
        {CQL_VARCHAR, "h\xC3\xA9llo", SQL_C_DEFAULT, 6, true},
        {CQL_BLOB, "blob", SQL_C_CHAR, 4, true},
        {CQL_BLOB, "blob", SQL_C_WCHAR, 16, true},
        {CQL_VARCHAR, "", SQL_C_CHAR, 0, false},
        {CQL_INT, be(123, 4), SQL_C_CHAR, 3, false},
        {CQL_INT, be(123, 4), SQL_C_LONG, 4, false},
        {CQL_TIMESTAMP, be(0, 8), SQL_C_WCHAR, 38, false},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(std::to_string(c.type) + " to " + std::to_string(c.target));
        const rig_ptr rig = cell_rig_of(c.type, c.bytes);
        SQLLEN length = -5;
        EXPECT_EQ(SQL_SUCCESS, cass_get_data(rig->stmt, 1, c.target, nullptr, 0, &length, nullptr,
                                             rig->stmt->ird->fields, nullptr));
        EXPECT_EQ(c.length, length);
        EXPECT_EQ("", rig_states(rig));
        EXPECT_EQ(c.stays_open ? SQL_SUCCESS : SQL_NO_DATA, read_cell(rig, c.target, 64).code);
    }
}

TEST(cell_convert, a_buffer_length_of_zero_hides_the_warning_of_a_fixed_target)
{
    const rig_ptr rig = cell_rig_of(CQL_DOUBLE, be_double(2.5));
    EXPECT_EQ(SQL_SUCCESS, read_cell(rig, SQL_C_LONG, 4, 0).code);
    EXPECT_EQ("01S07@1", rig_states(rig));
}

TEST(cell_convert, negative_buffer_lengths_write_nothing)
{
    for (const int target : {SQL_C_CHAR, SQL_C_WCHAR, SQL_C_BINARY}) {
        for (const int type : {CQL_VARCHAR, CQL_BLOB, CQL_INT}) {
            const rig_ptr rig = cell_rig_of(type, "text");
            const read_result result = read_cell(rig, target, 8, -1);
            EXPECT_EQ(SQL_SUCCESS, result.code);
            EXPECT_EQ(untouched(8), result.written);
        }
    }
}

TEST(cell_convert, a_number_too_large_to_hold_is_out_of_range_for_every_target)
{
    for (const int target : {SQL_C_CHAR, SQL_C_WCHAR, SQL_C_BINARY, SQL_C_NUMERIC, SQL_C_SBIGINT,
                             SQL_C_BIT, SQL_C_DOUBLE, SQL_C_FLOAT, SQL_C_DEFAULT}) {
        const rig_ptr rig = cell_rig_of(CQL_VARINT, std::string(17, '\x01'));
        const read_result result = read_cell(rig, target, 64);
        EXPECT_EQ(SQL_ERROR, result.code) << target;
        EXPECT_EQ("22003@1", rig_states(rig)) << target;
        EXPECT_EQ(untouched(64), result.written);
        EXPECT_EQ(SQL_NO_DATA, read_cell(rig, target, 64).code);
    }
}

// ---- Indirect types -----------------------------------------------------------------------------

TEST(cell_convert, the_default_type_follows_the_column)
{
    const struct {
        int consise_type;
        int odbc_version;
        SQLLEN length;  // tells the target by its size; the cell is the bigint 12345678
    } cases[] = {
        {SQL_INTEGER, 3, 4}, {SQL_DOUBLE, 3, 8},   {SQL_FLOAT, 3, 8},    {SQL_REAL, 3, 4},
        {SQL_BIGINT, 3, 8},  {SQL_BIGINT, 2, 8},   {SQL_VARCHAR, 3, 8},  {SQL_GUID, 3, 8},
        {SQL_DECIMAL, 3, 8}, {SQL_WVARCHAR, 3, 16}, {SQL_VARBINARY, 3, 8},
    };
    for (const auto &c : cases) {
        const rig_ptr rig = cell_rig_of(CQL_BIGINT, be(12345678, 8));
        rig->env->odbc_version = c.odbc_version;
        rig_field(rig, 1)->consise_type = c.consise_type;
        EXPECT_EQ(c.length, read_cell(rig, SQL_C_DEFAULT, 64).length) << c.consise_type;
    }

    const rig_ptr odbc2 = cell_rig_of(CQL_BIGINT, be(7, 8));
    odbc2->env->odbc_version = 2;
    EXPECT_STREQ("7", read_cell(odbc2, SQL_C_DEFAULT, 8).written.c_str());
    const rig_ptr tinyint = cell_rig_of(CQL_TINYINT, be(-1, 1));
    EXPECT_EQ("\xFF", read_cell(tinyint, SQL_C_DEFAULT, 1).written);
    const rig_ptr loop = cell_rig_of(CQL_INT, be(1, 4));
    rig_field(loop, 1)->consise_type = SQL_C_DEFAULT;
    EXPECT_EQ(SQL_ERROR, read_cell(loop, SQL_C_DEFAULT, 8).code);
    EXPECT_EQ("07006@1", rig_states(loop));
}

TEST(cell_convert, the_type_of_the_binding_reads_the_column_in_front)
{
    const rig_ptr rig = rig_open({CQL_INT, CQL_INT});
    rig_page(rig.get(), cell_of(be(11, 4)) + cell_of(be(22, 4)));
    ASSERT_EQ(SQL_SUCCESS, rig_row(rig));
    EXPECT_EQ(SQL_NO_DATA, read_cell(rig, SQL_ARD_TYPE, 8, 8, 2).code);  // nothing is bound

    ASSERT_EQ(0, cass_desc_resize(rig->stmt->ard, 2));
    rig->stmt->ard->fields[0].consise_type = SQL_C_CHAR;
    rig->stmt->ard->fields[1].consise_type = SQL_C_CHAR;
    EXPECT_STREQ("11", read_cell(rig, SQL_ARD_TYPE, 8, 8, 2).written.c_str());
    EXPECT_EQ(SQL_NO_DATA, read_cell(rig, SQL_C_LONG, 4, 4, 1).code);  // read by the call above
    EXPECT_STREQ("22", read_cell(rig, SQL_C_CHAR, 8, 8, 2).written.c_str());

    EXPECT_EQ(SQL_ERROR, read_cell(rig, SQL_ARD_TYPE, 8, 8, 0).code);
    EXPECT_EQ("07006@0", rig_states(rig));
    ASSERT_EQ(SQL_SUCCESS, [&] { rig->packet.read_pos = 0; return rig_row(rig); }());
    EXPECT_EQ(SQL_ERROR, read_cell(rig, SQL_ARD_TYPE, 8, 8, 1).code);  // the bookmark record
    EXPECT_EQ("07006@0", rig_states(rig));
    ASSERT_EQ(0, cass_desc_resize(rig->stmt->ard, 1));
    EXPECT_EQ(SQL_NO_DATA, read_cell(rig, SQL_ARD_TYPE, 8, 8, 2).code);  // bound up to column 1
}

// ---- SQLGetData ---------------------------------------------------------------------------------

TEST(cell_convert, get_data_tests_the_page_the_column_and_the_bookmark)
{
    const rig_ptr rig = rig_open({CQL_INT});
    SQLLEN length;
    std::int32_t value = 0;
    const auto get = [&](SQLUSMALLINT column, SQLSMALLINT type) {
        return SQLGetData(rig->stmt, column, type, &value, sizeof value, &length);
    };
    EXPECT_EQ(SQL_ERROR, get(1, SQL_C_LONG));  // a page, but no row yet
    EXPECT_EQ("07006@1", rig_states(rig));

    rig_page(rig.get(), cell_of(be(5, 4)));
    ASSERT_EQ(SQL_SUCCESS, rig_row(rig));
    EXPECT_EQ(SQL_SUCCESS, get(1, SQL_C_LONG));
    EXPECT_EQ(5, value);
    EXPECT_EQ(SQL_ERROR, get(2, SQL_C_LONG));
    EXPECT_EQ("07009", rig_states(rig));
    EXPECT_EQ(SQL_ERROR, get(0, SQL_C_BOOKMARK));
    EXPECT_EQ("07009", rig_states(rig));

    rig->stmt->attrs.use_bookmarks = 1;
    EXPECT_EQ(SQL_ERROR, get(0, SQL_C_CHAR));
    EXPECT_EQ("HY003", rig_states(rig));
    EXPECT_EQ(SQL_ERROR, get(0, SQL_C_BOOKMARK));
    EXPECT_EQ("07006@0", rig_states(rig));

    // Columns that binding added in front of a result are not the result's.
    ASSERT_EQ(0, cass_desc_resize(rig->stmt->ird, 4));
    EXPECT_EQ(SQL_ERROR, get(3, SQL_C_LONG));
    EXPECT_EQ("07009", rig_states(rig));

    rig->stmt->current_packet = nullptr;
    EXPECT_EQ(SQL_ERROR, get(1, SQL_C_LONG));
    EXPECT_EQ("HY010", rig_states(rig));
}
