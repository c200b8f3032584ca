// Cells as whole and floating numbers. The nine integer targets differ in their ranges, source by
// source, and in the words of their log records; one table says how, one function reads it.
#include <cmath>

#include "core/cell/cass_data_internal.h"
#include "support/ascii.h"
#include "support/numeric.h"

// ---- The table ---------------------------------------------------------------------------------

struct integer_range {
    std::int64_t low;
    std::int64_t high;
};

// Both bounds belong to the range.
struct floating_range {
    double low;
    double high;
};

constexpr integer_range UNTESTED = {INT64_MIN, INT64_MAX};  // the low bytes pass through
constexpr integer_range S16 = {INT16_MIN, INT16_MAX};
constexpr integer_range U16 = {0, UINT16_MAX};
constexpr integer_range S32 = {INT32_MIN, INT32_MAX};
constexpr integer_range U32 = {0, UINT32_MAX};
constexpr integer_range S8 = {INT8_MIN, INT8_MAX};
constexpr integer_range U8 = {0, UINT8_MAX};
constexpr integer_range BIT = {0, 1};

constexpr double TWO_31 = 2147483648.0;
constexpr double TWO_32 = 4294967296.0;
constexpr double TWO_63 = 9223372036854775808.0;
constexpr double TWO_64 = 18446744073709551616.0;

// What sets one integer target apart. Which sources are tested, and how sharply, differs from
// member to member on purpose: -1 passes into an unsigned 32-bit target as 4294967295 but not into
// a 16-bit one.
struct integer_rules {
    std::size_t size;      // bytes of the target
    bool parse_overflow;   // text beyond 64 bits is out of range; otherwise it saturates
    double beyond;         // first floating value above the target's largest, ...
    std::int64_t largest;  // ... which saturates to this where a floating range admits it
    integer_range text;    // ranges by source
    integer_range numeric;
    integer_range integer;
    integer_range bigint;
    floating_range real;
    floating_range dbl;
    const char *parsed_words;    // log words for text and numeric sources
    const char *integer_words;   // for integer and bigint sources
    const char *floating_words;  // for float and double sources
};

// clang-format off
//                                             size  over-   first      saturates    text      numeric   integer   bigint    float              double
//                                                   flow    beyond     to
static constexpr integer_rules sbigint_rules = {8, true,  TWO_63,    INT64_MAX,  UNTESTED, UNTESTED, UNTESTED, UNTESTED, {-TWO_63, TWO_63},   {-TWO_63, TWO_63},
    "Value out of range for a signed bigint",
    "Value out of range for a signed bigint",
    "Value out of range for a signed bigint"};
static constexpr integer_rules ubigint_rules = {8, true,  TWO_64,    -1,         UNTESTED, UNTESTED, UNTESTED, UNTESTED, {0, TWO_64},         {0, TWO_64},
    "Value out of range for a signed bigint",
    "Value out of range for a unsigned bigint",
    "Value out of range for a unsigned bigint"};
static constexpr integer_rules slong_rules =   {4, false, TWO_31,    INT32_MAX,  UNTESTED, UNTESTED, UNTESTED, S32,      {-TWO_31, TWO_31},   {-TWO_31, 2147483647.0},
    "Value out of range for a signed long",
    "Value out of range for a signed long",
    "Value out of range for a signed long"};
static constexpr integer_rules ulong_rules =   {4, false, TWO_32,    UINT32_MAX, UNTESTED, UNTESTED, UNTESTED, U32,      {0, TWO_32},         {0, 4294967295.0},
    "Value out of range for a unsigned long",
    "Value out of range for a unsigned long",
    "Value out of range for a unsigned long"};
static constexpr integer_rules sshort_rules =  {2, false, 32768.0,   INT16_MAX,  S16,      UNTESTED, S16,      S16,      {-32768.0, 32767.0}, {-32768.0, 32767.0},
    "Value out of range for a cass_int16",
    "Value out of range for a cass_int16",
    "Value out of range for a cass_int16"};
static constexpr integer_rules ushort_rules =  {2, false, 65536.0,   UINT16_MAX, U16,      UNTESTED, U16,      U16,      {0, 65535.0},        {0, 65535.0},
    "Value out of range for a cass_uint16",
    "Value out of range for a cass_uint16",
    "Value out of range for a cass_uint16"};
static constexpr integer_rules stiny_rules =   {1, false, 128.0,     INT8_MAX,   UNTESTED, S8,       S8,       S8,       {-128.0, 127.0},     {-128.0, 127.0},
    "Value out of range for a signed tinyint (%d)",
    "Value out of range for a signed tinyint (%d)",
    "Value out of range for a signed tinying (%d)"};
static constexpr integer_rules utiny_rules =   {1, false, 256.0,     UINT8_MAX,  U8,       U8,       U8,       U8,       {0, 255.0},          {0, 255.0},
    "Value out of range for a unsigned tinyint (%d)",
    "Value out of range for a signed tinyint (%d)",
    "Value out of range for a unsigned tinying"};
static constexpr integer_rules bit_rules =     {1, false, 2.0,       1,          BIT,      BIT,      BIT,      BIT,      {0, 1.0},            {0, 1.0},
    "Value out of range for a bit",
    "Value out of range for a bit",
    "Value out of range for a bit"};
// clang-format on

// ---- Numbers in text ---------------------------------------------------------------------------

// "123" and one blank is 1 then: applications that trim their texts for it know.
static bool blanks_cut_number(const cass_conn *conn)
{
    return conn->conduct->blanks_cut_number;
}

bool cell_scan_number(const cell_request &request, cell_number *number)
{
    const cass_data_storage &cell = request.field->data_storage;
    const int length = cell.alloc_length < 127 ? cell.alloc_length : 127;  // no more is looked at
    const unsigned char *text = cell.value.bytes;
    int at = 0;
    while (at < length && ascii_is_space(text[at]))
        at++;
    if (at < length && (text[at] == '-' || text[at] == '+'))
        at++;

    const int first_digit = at;
    while (at < length && ascii_is_digit(text[at]))
        at++;
    int digits = at - first_digit;
    const bool point = at < length && text[at] == '.';
    int decimals = 0;
    if (point) {
        const int behind = ++at;
        while (at < length && ascii_is_digit(text[at]))
            at++;
        decimals = at - behind;
        digits += decimals;
        if (digits == 0)
            digits = 2;  // a lone point passes, as a number of two digits
    }
    const int number_end = at;
    while (at < length && ascii_is_space(text[at]))
        at++;
    if (digits == 0 || at < length)
        return false;

    const int blanks = at - number_end;
    const int taken =
        blanks > 0 && blanks_cut_number(stmt_conn(request.stmt)) ? blanks : number_end;
    std::memcpy(number->text, text, static_cast<std::size_t>(taken));
    number->text[taken] = 0;
    number->digits = digits;
    number->fraction = decimals > 0;
    return true;
}

// ---- Whole numbers -----------------------------------------------------------------------------

// The low bytes of the value and their count.
static inline void store_integer(const cell_request &request, std::size_t size, std::int64_t value)
{
    const auto bits = static_cast<std::uint64_t>(value);
    const auto low4 = static_cast<std::uint32_t>(bits);
    const auto low2 = static_cast<std::uint16_t>(bits);
    const auto low1 = static_cast<std::uint8_t>(bits);
    if (size == 8)
        cell_store_value(request, &bits, 8);
    else if (size == 4)
        cell_store_value(request, &low4, 4);
    else if (size == 2)
        cell_store_value(request, &low2, 2);
    else
        cell_store_value(request, &low1, 1);
}

static inline bool outside(const integer_range &range, std::int64_t value)
{
    return value < range.low || value > range.high;
}

static SQLRETURN integer_from_parsed(const cell_request &request, const integer_rules &rules,
                                     const char *text, const integer_range &range, bool fraction)
{
    const SQLRETURN code = fraction ? cell_fraction_lost(request) : SQL_SUCCESS;
    std::int64_t value = 0;
    const bool overflow = ascii_to_int64(text, &value) == ASCII_OVERFLOW;
    if ((overflow && rules.parse_overflow) || outside(range, value))
        return cell_out_of_range(request, rules.parsed_words, static_cast<int>(value));
    store_integer(request, rules.size, value);
    return code;
}

// The largest that an integer holds is what floating values saturate to.
static SQLRETURN integer_exactly(const cell_request &request, const integer_rules &rules)
{
    const auto most = static_cast<std::uint64_t>(rules.largest);
    const std::uint64_t least = rules.real.low < 0 ? most + 1 : 0;
    std::int64_t value;
    bool fraction;
    if (cell_exact_integer(request, most, least, &value, &fraction) != SQL_SUCCESS)
        return SQL_ERROR;
    store_integer(request, rules.size, value);
    return fraction ? cell_fraction_lost(request) : SQL_SUCCESS;
}

static SQLRETURN integer_from_text(const cell_request &request, const integer_rules &rules)
{
    if (cell_is_converted_exactly(request))
        return integer_exactly(request, rules);
    cell_number number;
    if (!cell_scan_number(request, &number))
        return cell_not_numeric(request);
    return integer_from_parsed(request, rules, number.text, rules.text, number.fraction);
}

static SQLRETURN integer_from_numeric(const cell_request &request, const integer_rules &rules)
{
    if (cell_is_converted_exactly(request))
        return integer_exactly(request, rules);
    const SQL_NUMERIC_STRUCT &numeric = request.field->data_storage.value.numeric;
    char text[NUMERIC_TEXT_ROOM];
    cass_numeric_format(&numeric, text);
    // Any scale counts as a fraction, 2.00 too.
    return integer_from_parsed(request, rules, text, rules.numeric, numeric.scale != 0);
}

[[gnu::cold, gnu::noinline]] static SQLRETURN
floating_exactly(const cell_request &request, const integer_rules &rules, double value)
{
    const double whole = std::trunc(value);
    const double least = rules.real.low < 0 ? -rules.beyond : 0;
    if (!(whole >= least && whole < rules.beyond))  // NaN as well
        return cell_out_of_range(request, rules.floating_words, 0);
    const auto bits = whole < TWO_63 ? static_cast<std::int64_t>(whole)
                                     : static_cast<std::int64_t>(static_cast<std::uint64_t>(whole));
    store_integer(request, rules.size, bits);
    return whole == value ? SQL_SUCCESS : cell_fraction_lost(request);
}

static SQLRETURN integer_from_floating(const cell_request &request, const integer_rules &rules,
                                       double value, const floating_range &range)
{
    const bool within = value >= range.low && value <= range.high;  // NaN is not
    if (!(within && value < rules.beyond)) [[unlikely]] {
        if (cell_is_converted_exactly(request))
            return floating_exactly(request, rules, value);
    }
    if (!within) {
        const double logged = value > INT32_MAX ? INT32_MAX : value > INT32_MIN ? value : INT32_MIN;
        return cell_out_of_range(request, rules.floating_words,
                                 std::isnan(value) ? 0 : static_cast<int>(logged));
    }
    std::int64_t whole = rules.largest;
    if (value < rules.beyond)
        whole = value < TWO_63 ? static_cast<std::int64_t>(value)
                               : static_cast<std::int64_t>(static_cast<std::uint64_t>(value));
    store_integer(request, rules.size, whole);
    return std::trunc(value) == value ? SQL_SUCCESS : cell_fraction_lost(request);
}

[[gnu::always_inline]] static inline SQLRETURN integer_from_integer(const cell_request &request,
                                                                    const integer_rules &rules,
                                                                    std::int64_t value,
                                                                    const integer_range &range)
{
    if (outside(range, value)) [[unlikely]]
        return cell_out_of_range(request, rules.integer_words, static_cast<int>(value));
    // Untested by default: the bits of a negative number pass into an unsigned one.
    if (rules.real.low == 0 && value < 0) [[unlikely]] {
        if (cell_is_converted_exactly(request))
            return cell_out_of_range(request, rules.integer_words, static_cast<int>(value));
    }
    store_integer(request, rules.size, value);
    return SQL_SUCCESS;
}

// Inlined into each member, so that the usual sources test against constants.
[[gnu::always_inline]] static inline SQLRETURN get_integer(const cell_request &request,
                                                           const integer_rules &rules)
{
    const cass_data_storage &cell = request.field->data_storage;
    switch (cell.data_type) {
    case SQL_INTEGER:
        return integer_from_integer(request, rules, cell.value.integer, rules.integer);
    case SQL_BIGINT:
        return integer_from_integer(request, rules, cell.value.bigint, rules.bigint);
    case SQL_CHAR:
        return integer_from_text(request, rules);
    case SQL_NUMERIC:
        return integer_from_numeric(request, rules);
    case SQL_FLOAT:
        return integer_from_floating(request, rules, static_cast<double>(cell.value.real),
                                     rules.real);
    case SQL_DOUBLE:
        return integer_from_floating(request, rules, cell.value.dbl, rules.dbl);
    case CELL_WIRE:
        return integer_exactly(request, rules);
    default:
        return cell_not_convertible(request);
    }
}

SQLRETURN get_sbigint(const cell_request &request)
{
    return get_integer(request, sbigint_rules);
}

SQLRETURN get_ubigint(const cell_request &request)
{
    return get_integer(request, ubigint_rules);
}

SQLRETURN get_slong(const cell_request &request)
{
    return get_integer(request, slong_rules);
}

SQLRETURN get_ulong(const cell_request &request)
{
    return get_integer(request, ulong_rules);
}

SQLRETURN get_sshort(const cell_request &request)
{
    return get_integer(request, sshort_rules);
}

SQLRETURN get_ushort(const cell_request &request)
{
    return get_integer(request, ushort_rules);
}

SQLRETURN get_stiny(const cell_request &request)
{
    return get_integer(request, stiny_rules);
}

SQLRETURN get_utiny(const cell_request &request)
{
    return get_integer(request, utiny_rules);
}

SQLRETURN get_bit(const cell_request &request)
{
    return get_integer(request, bit_rules);
}

// ---- Floating numbers --------------------------------------------------------------------------

// The value of a cell, or the code of a failure.
static SQLRETURN floating_value(const cell_request &request, double *value)
{
    const cass_data_storage &cell = request.field->data_storage;
    switch (cell.data_type) {
    case SQL_DOUBLE:
        *value = cell.value.dbl;
        return SQL_SUCCESS;
    case SQL_FLOAT:
        *value = static_cast<double>(cell.value.real);
        return SQL_SUCCESS;
    case SQL_INTEGER:
        *value = cell.value.integer;
        return SQL_SUCCESS;
    case SQL_BIGINT:
        *value = static_cast<double>(cell.value.bigint);
        return SQL_SUCCESS;
    case SQL_NUMERIC: {
        if (cell_is_converted_exactly(request))
            return cell_exact_double(request, value);
        char text[NUMERIC_TEXT_ROOM];
        cass_numeric_format(&cell.value.numeric, text);
        *value = ascii_to_double(text);
        return SQL_SUCCESS;
    }
    case SQL_CHAR: {
        if (cell_is_converted_exactly(request))
            return cell_exact_double(request, value);
        cell_number number;
        if (!cell_scan_number(request, &number))
            return cell_not_numeric(request);
        *value = ascii_to_double(number.text);
        return SQL_SUCCESS;
    }
    case CELL_WIRE:
        return cell_exact_double(request, value);
    default:
        return cell_not_convertible(request);
    }
}

[[gnu::noinline]] static SQLRETURN double_of_other(const cell_request &request)
{
    double value = 0;
    const SQLRETURN code = floating_value(request, &value);
    if (code == SQL_SUCCESS) [[likely]]
        cell_store_value(request, &value, sizeof value);
    return code;
}

SQLRETURN get_double(const cell_request &request)
{
    const cass_data_storage &cell = request.field->data_storage;
    if (cell.data_type != SQL_DOUBLE)
        return double_of_other(request);
    cell_store_value(request, &cell.value.dbl, sizeof cell.value.dbl);
    return SQL_SUCCESS;
}

SQLRETURN get_float(const cell_request &request)
{
    double value = 0;
    const SQLRETURN code = floating_value(request, &value);
    const float narrowed = static_cast<float>(value);
    if (code != SQL_SUCCESS) [[unlikely]]
        return code;
    // Out of range: by default an infinity.
    if (std::isinf(narrowed) && !std::isinf(value) && cell_is_converted_exactly(request))
        return cell_out_of_range(request, nullptr, 0);
    cell_store_value(request, &narrowed, sizeof narrowed);
    return SQL_SUCCESS;
}
