// Plain values as text.
#include <algorithm>
#include <bit>
#include <charconv>
#include <cstring>

#include "core/cell/cass_literal.h"
#include "support/bigint.h"
#include "support/civil.h"
#include "support/numtext.h"
#include "support/structtext.h"

static std::string_view text_of(const char *text, int length)
{
    return {text, static_cast<std::size_t>(length)};
}

static void put_number(growing_text *out, std::int64_t value)
{
    char text[20];
    text_add(out, text_of(text, text_from_int64(text, value)));
}

// ---- Text and bytes ----------------------------------------------------------------------------

void cass_put_hexadecimal(growing_text *out, const unsigned char *bytes, std::int32_t length)
{
    text_add(out, "0x");
    for (std::int32_t i = 0; i < length && out->state == TEXT_GOOD; i++) {
        char digits[2];
        text_hex(digits, bytes[i], HEX_LOWER);
        text_add(out, text_of(digits, 2));
    }
}

// Between quotes, those inside doubled.
static void put_quoted(growing_text *out, std::string_view text)
{
    text_add_char(out, '\'');
    while (!text.empty() && out->state == TEXT_GOOD) {
        const std::size_t quote = text.find('\'');
        const std::size_t taken = quote == std::string_view::npos ? text.size() : quote + 1;
        text_add(out, text.substr(0, taken));
        if (quote != std::string_view::npos)
            text_add_char(out, '\'');
        text.remove_prefix(taken);
    }
    text_add_char(out, '\'');
}

static void put_text(growing_text *out, std::string_view text, bool inside)
{
    if (inside)
        put_quoted(out, text);
    else
        text_add(out, text);
}

static void put_uuid(growing_text *out, const unsigned char *bytes)
{
    for (int i = 0; i < 16; i++) {
        char digits[2];
        text_hex(digits, bytes[i], HEX_LOWER);
        if (i == 4 || i == 6 || i == 8 || i == 10)
            text_add_char(out, '-');
        text_add(out, text_of(digits, 2));
    }
}

int cass_format_inet(char *out, const unsigned char *bytes, std::int32_t length)
{
    char *end = out;
    for (int i = 0; i < 4 && length == 4; i++) {
        if (i > 0)
            *end++ = '.';
        end += text_from_uint64(end, bytes[i]);
    }
    for (int i = 0; i < 8 && length == 16; i++) {
        if (i > 0)
            *end++ = ':';
        end = std::to_chars(end, end + 4, load_be16(bytes + 2 * i), 16).ptr;
    }
    return static_cast<int>(end - out);
}

// ---- Decimals ----------------------------------------------------------------------------------

static void put_zeros(growing_text *out, std::int64_t count)
{
    for (; count > 0 && out->state == TEXT_GOOD; count--)
        text_add_char(out, '0');
}

static void put_plain_decimal(growing_text *out, std::string_view digits, std::int64_t scale)
{
    const auto count = static_cast<std::int64_t>(digits.size());
    if (scale <= 0) {
        text_add(out, digits);
        return put_zeros(out, digits == "0" ? 0 : -scale);
    }
    const std::int64_t whole = std::max<std::int64_t>(count - scale, 0);
    text_add(out, whole == 0 ? "0" : digits.substr(0, static_cast<std::size_t>(whole)));
    text_add_char(out, '.');
    put_zeros(out, scale - count);
    text_add(out, digits.substr(static_cast<std::size_t>(whole)));
}

// One digit in front of the point, and the exponent with its sign.
static void put_scientific_decimal(growing_text *out, std::string_view digits, std::int64_t scale)
{
    const std::int64_t exponent = static_cast<std::int64_t>(digits.size()) - 1 - scale;
    text_add(out, digits.substr(0, 1));
    if (digits.size() > 1)
        text_add_char(out, '.');
    text_add(out, digits.substr(1));
    text_add(out, exponent < 0 ? "E" : "E+");
    put_number(out, exponent);
}

static bool put_decimal(growing_text *out, const unsigned char *bytes, std::int32_t length,
                        std::int64_t scale)
{
    if (static_cast<std::size_t>(length) > BIGINT_MOST_BYTES) {
        out->state = TEXT_TOO_LONG;
        return true;
    }
    const held_text made(bigint_to_digits(bytes, static_cast<std::size_t>(length)));
    if (made == nullptr) {
        out->state = TEXT_NO_MEMORY;
        return true;
    }
    std::string_view digits = made.get();
    if (digits[0] == '-') {
        text_add_char(out, '-');
        digits.remove_prefix(1);
    }
    const auto count = static_cast<std::int64_t>(digits.size());
    const std::int64_t all = scale > 0 ? std::max(count, scale + 1) : count - scale;
    if (all <= PLAIN_DECIMAL_DIGITS || scale == 0)
        put_plain_decimal(out, digits, scale);
    else
        put_scientific_decimal(out, digits, scale);
    return true;
}

// ---- Dates and times ---------------------------------------------------------------------------

constexpr std::int64_t DAY_NANOSECONDS = 86'400'000'000'000;

static bool is_common_day(std::int64_t day)
{
    return day >= FIRST_COMMON_DAY && day <= LAST_COMMON_DAY;
}

static void put_date(growing_text *out, const unsigned char *bytes, bool inside)
{
    const std::int64_t day = cql_date_days(bytes);
    char text[32];
    if (inside && !is_common_day(day))
        return put_number(out, load_be32(bytes));
    put_text(out, text_of(text, text_from_civil(text, civil_from_days(day))), inside);
}

// The milliseconds always inside, otherwise where there are any.
static void put_timestamp(growing_text *out, const unsigned char *bytes, bool inside)
{
    std::uint32_t rest;
    const std::int64_t day = cql_timestamp_days(bytes, &rest);
    if (inside && !is_common_day(day))
        return put_number(out, static_cast<std::int64_t>(load_be64(bytes)));
    char text[48];
    char *end = text + text_from_civil(text, civil_from_days(day));
    *end++ = inside ? 'T' : ' ';
    end += text_from_time(end, rest / 3'600'000, rest / 60'000 % 60, rest / 1000 % 60);
    if (inside || rest % 1000 != 0) {
        *end++ = '.';
        text_padded(end, rest % 1000, 3);
        end += 3;
    }
    if (inside)
        *end++ = 'Z';
    put_text(out, text_of(text, static_cast<int>(end - text)), inside);
}

static void put_time(growing_text *out, std::int64_t nanoseconds, bool inside)
{
    if (nanoseconds < 0 || nanoseconds >= DAY_NANOSECONDS)
        return put_number(out, nanoseconds);
    const auto seconds = static_cast<std::uint32_t>(nanoseconds / 1'000'000'000);
    char text[24];
    int length = text_from_time(text, seconds / 3600, seconds / 60 % 60, seconds % 60);
    if (const auto fraction = static_cast<std::uint32_t>(nanoseconds % 1'000'000'000)) {
        text[length++] = '.';
        text_padded(text + length, fraction, 9);
        length += 9;
    }
    put_text(out, text_of(text, length), inside);
}

// ---- Durations ---------------------------------------------------------------------------------

bool cass_take_vint(const unsigned char **bytes, std::int32_t *left, std::uint64_t *value)
{
    if (*left < 1)
        return false;
    const unsigned first = **bytes;
    const int more =
        std::countl_one(static_cast<unsigned char>(first));  // leading ones: bytes behind the first
    if (more >= *left)
        return false;
    *value = more < 8 ? first & (0xFFu >> more) : 0;
    for (int i = 1; i <= more; i++)
        *value = *value << 8 | (*bytes)[i];
    *bytes += more + 1;
    *left -= more + 1;
    return true;
}

struct duration_unit {
    std::uint64_t nanoseconds;
    std::string_view name;
};

static constexpr duration_unit duration_units[] = {
    {3'600'000'000'000, "h"}, {60'000'000'000, "m"}, {1'000'000'000, "s"},
    {1'000'000, "ms"},        {1'000, "us"},         {1, "ns"},
};

static void put_part(growing_text *out, std::uint64_t count, std::string_view unit)
{
    if (count == 0)
        return;
    char text[20];
    text_add(out, text_of(text, text_from_uint64(text, count)));
    text_add(out, unit);
}

// Months, days and nanoseconds, which have one sign.
static bool put_duration(growing_text *out, const unsigned char *bytes, std::int32_t length)
{
    std::uint64_t parts[3];
    bool negative = false;
    for (std::uint64_t &part : parts) {
        std::uint64_t folded;  // the sign is the lowest bit
        if (!cass_take_vint(&bytes, &length, &folded))
            return false;
        const bool below = (folded & 1) != 0;
        part = (folded >> 1) + (below ? 1 : 0);
        negative |= below;
    }
    if (negative)
        text_add_char(out, '-');
    if ((parts[0] | parts[1] | parts[2]) == 0)
        text_add(out, "0s");
    put_part(out, parts[0], "mo");
    put_part(out, parts[1], "d");
    for (const duration_unit &unit : duration_units) {
        put_part(out, parts[2] / unit.nanoseconds, unit.name);
        parts[2] %= unit.nanoseconds;
    }
    return length == 0;
}

// ---- Any plain value ---------------------------------------------------------------------------

static std::int64_t whole_number(const unsigned char *bytes, std::int32_t length)
{
    std::int64_t value = static_cast<signed char>(bytes[0]);
    for (std::int32_t i = 1; i < length; i++)
        value = static_cast<std::int64_t>(static_cast<std::uint64_t>(value) << 8 | bytes[i]);
    return value;
}

template <typename Real, typename Bits>
static void put_real(growing_text *out, Bits bits)
{
    Real value;
    std::memcpy(&value, &bits, sizeof value);
    char text[32];
    text_add(out, text_of(text, text_shortest(text, value)));
}

struct value_size {
    std::int32_t option_id;
    std::int32_t size;
};

// Of the types whose values have one size.
static constexpr value_size value_sizes[] = {
    {CQL_BIGINT, 8}, {CQL_BOOLEAN, 1},   {CQL_COUNTER, 8},   {CQL_DOUBLE, 8},   {CQL_FLOAT, 4},
    {CQL_INT, 4},    {CQL_DATE, 4},      {CQL_TIME, 8},      {CQL_SMALLINT, 2}, {CQL_TINYINT, 1},
    {CQL_UUID, 16},  {CQL_TIMEUUID, 16}, {CQL_TIMESTAMP, 8},
};

static bool has_its_size(std::int32_t option_id, std::int32_t length)
{
    for (const value_size &row : value_sizes) {
        if (row.option_id == option_id)
            return row.size == length;
    }
    return true;
}

bool cass_put_plain_value(growing_text *out, std::int32_t option_id, const unsigned char *bytes,
                          std::int32_t length, bool inside)
{
    if (!has_its_size(option_id, length))
        return false;
    char text[40];
    switch (option_id) {
    case CQL_ASCII:
    case CQL_VARCHAR:
        put_text(out, {reinterpret_cast<const char *>(bytes), static_cast<std::size_t>(length)},
                 inside);
        return true;
    case CQL_BLOB:
        cass_put_hexadecimal(out, bytes, length);
        return true;
    case CQL_BIGINT:
    case CQL_COUNTER:
    case CQL_INT:
    case CQL_SMALLINT:
    case CQL_TINYINT:
        put_number(out, whole_number(bytes, length));
        return true;
    case CQL_BOOLEAN:
        text_add(out, bytes[0] != 0 ? "true" : "false");
        return true;
    case CQL_DOUBLE:
        put_real<double>(out, load_be64(bytes));
        return true;
    case CQL_FLOAT:
        put_real<float>(out, load_be32(bytes));
        return true;
    case CQL_DECIMAL:
        return length >= 4 &&
               put_decimal(out, bytes + 4, length - 4, static_cast<std::int32_t>(load_be32(bytes)));
    case CQL_VARINT:
        return put_decimal(out, bytes, length, 0);
    case CQL_DATE:
        put_date(out, bytes, inside);
        return true;
    case CQL_TIME:
        put_time(out, whole_number(bytes, 8), inside);
        return true;
    case CQL_TIMESTAMP:
        put_timestamp(out, bytes, inside);
        return true;
    case CQL_UUID:
    case CQL_TIMEUUID:
        put_uuid(out, bytes);
        return true;
    case CQL_INET: {
        const int characters = cass_format_inet(text, bytes, length);
        put_text(out, text_of(text, characters), inside);
        return characters > 0;
    }
    case CQL_DURATION:
        return put_duration(out, bytes, length);
    default:
        return false;
    }
}
