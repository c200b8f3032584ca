// SQL_NUMERIC_STRUCT to and from integers, doubles and text. Magnitudes of up to 64 bits, as nearly
// all are, are plain integers; larger ones go through digit strings.
#include "support/numeric.h"

#include <cmath>
#include <cstdio>
#include <cstring>

#include "support/ascii.h"
#include "support/numtext.h"
#include "support/strfunc.h"

static constexpr int OUT_OF_RANGE = -2;
static constexpr int DIGITS_LOST = 1;

// A magnitude of 128 bits.
struct magnitude {
    std::uint64_t low;
    std::uint64_t high;
};

constexpr int LOW_BITS = 64;
constexpr std::size_t LOW_DIGITS = 19;  // any number of so many digits fits into 64 bits

static bool bit_is_set(const magnitude &value, int bit)
{
    return (bit < LOW_BITS ? value.low >> bit : value.high >> (bit - LOW_BITS)) & 1;
}

static magnitude load_magnitude(const SQL_NUMERIC_STRUCT *numeric)
{
    magnitude value = {};
    for (int i = 7; i >= 0; i--) {
        value.low = value.low << 8 | numeric->val[i];
        value.high = value.high << 8 | numeric->val[i + 8];
    }
    return value;
}

static void store_numeric(SQL_NUMERIC_STRUCT *out, const magnitude &value, bool negative,
                          int precision, std::int64_t scale)
{
    SQL_NUMERIC_STRUCT numeric = {};
    numeric.precision = static_cast<SQLCHAR>(precision);
    numeric.scale = static_cast<SQLSCHAR>(scale);
    numeric.sign = negative ? 0 : 1;
    for (int i = 0; i < 8; i++) {
        numeric.val[i] = static_cast<SQLCHAR>(value.low >> 8 * i);
        numeric.val[i + 8] = static_cast<SQLCHAR>(value.high >> 8 * i);
    }
    std::memcpy(out, &numeric, sizeof numeric);
}

// Value of a digit string without zeros in front, which may be empty. False when it needs more than
// 128 bits.
static bool magnitude_from_digits(const char *digits, magnitude *value)
{
    *value = {};
    std::size_t count = std::strlen(digits);
    char rest[DECIMAL_ROOM];
    if (count > LOW_DIGITS) {
        if (cass_decimal_compare(digits, cass_decimal_largest) > 0)
            return false;
        std::memcpy(rest, digits, count + 1);
        for (int bit = POWERS_OF_TWO - 1; bit >= LOW_BITS; bit--) {
            const char *power = cass_pow2_text[static_cast<std::size_t>(bit)].data();
            if (cass_decimal_compare(rest, power) < 0)
                continue;
            cass_decimal_subtract(rest, power);
            value->high |= std::uint64_t{1} << (bit - LOW_BITS);
        }
        digits = rest;  // now below 2^64
    }
    for (; *digits != '\0'; digits++)
        value->low = value->low * 10 + static_cast<std::uint64_t>(*digits - '0');
    return true;
}

// ---- From numbers ------------------------------------------------------------------------------

// The magnitude times 10^scale, for a scale above 0. False when it needs more than 128 bits.
static bool raise_magnitude(std::uint64_t value, int scale, magnitude *raised)
{
    char digits[DECIMAL_ROOM];
    int count = text_from_uint64(digits, value);
    if (scale > DECIMAL_DIGITS - count)
        return false;
    while (scale-- > 0)
        digits[count++] = '0';
    digits[count] = '\0';
    return magnitude_from_digits(digits, raised);
}

int cass_numeric_from_int64(std::int64_t value, SQL_NUMERIC_STRUCT *out, int precision, int scale)
{
    const bool negative = value < 0;
    const auto bits = static_cast<std::uint64_t>(value);
    magnitude result = {.low = negative ? 0 - bits : bits, .high = 0};

    // A zero needs no power of ten, however large the scale.
    if (scale > 0 && result.low != 0 && !raise_magnitude(result.low, scale, &result))
        return OUT_OF_RANGE;
    for (int i = 0; i > scale && result.low != 0; i--)
        result.low /= 10;
    store_numeric(out, result, negative, precision, scale);
    return 0;
}

int cass_numeric_from_long(std::int32_t value, SQL_NUMERIC_STRUCT *out, int precision, int scale)
{
    return cass_numeric_from_int64(value, out, precision, scale);
}

int cass_numeric_from_double(double value, SQL_NUMERIC_STRUCT *out, int precision, int scale)
{
    if (!std::isfinite(value))
        return OUT_OF_RANGE;
    if (scale >= 0) {
        value *= std::pow(10.0, scale);
    } else {
        value /= std::pow(10.0, -static_cast<double>(scale));
        double whole;
        if (std::modf(value, &whole) != 0)
            return DIGITS_LOST;
    }

    const double rounded = std::fabs(std::rint(value));
    magnitude result = {};
    if (rounded < 0x1p64) {
        result.low = static_cast<std::uint64_t>(rounded);
    } else {
        if (!(rounded < 0x1p128))
            return OUT_OF_RANGE;
        char digits[DECIMAL_ROOM];
        std::snprintf(digits, sizeof digits, "%.0f", rounded);
        magnitude_from_digits(digits, &result);
    }
    store_numeric(out, result, std::signbit(value), precision, scale);
    return 0;
}

// ---- From text ---------------------------------------------------------------------------------

// Takes the point out of the text and gives the number of characters behind it.
static std::int64_t remove_point(char *text)
{
    char *point = std::strchr(text, '.');
    if (point == nullptr)
        return 0;
    const std::size_t behind = std::strlen(point + 1);
    std::memmove(point, point + 1, behind + 1);
    return static_cast<std::int64_t>(behind);
}

int cass_numeric_from_text(char *text, SQL_NUMERIC_STRUCT *out, int precision, int scale)
{
    const std::int64_t decimals = remove_point(text);
    while (*text == ' ')
        text++;
    const bool negative = *text == '-';
    if (negative || *text == '+')
        text++;
    while (*text == '0')
        text++;

    for (const char *digit = text; *digit != '\0'; digit++) {
        if (!ascii_is_digit(static_cast<unsigned char>(*digit)))
            return OUT_OF_RANGE;
    }
    magnitude result;
    if (!magnitude_from_digits(text, &result))
        return OUT_OF_RANGE;
    store_numeric(out, result, negative, precision, scale + decimals);
    return 0;
}

// ---- To numbers and text -----------------------------------------------------------------------

int cass_numeric_to_double(const SQL_NUMERIC_STRUCT *numeric, double *out)
{
    const magnitude value = load_magnitude(numeric);
    double sum = 0;
    if (value.high == 0 && value.low >> 53 == 0) {
        sum = static_cast<double>(value.low);
    } else {
        // Bit by bit from the lowest, rounded at each step: above 53 bits the last place can differ
        // from that of a single conversion. Deliberate.
        for (int bit = 0; bit < POWERS_OF_TWO; bit++) {
            if (bit_is_set(value, bit))
                sum += cass_pow2_double[static_cast<std::size_t>(bit)];
        }
    }
    if (numeric->sign == 0)
        sum = -sum;
    if (numeric->scale != 0)
        sum *= std::pow(10.0, -numeric->scale);
    *out = sum;
    return 0;
}

// Decimal digits without zeros in front, "0" for zero. Their count.
static int put_magnitude(char (&digits)[DECIMAL_ROOM], const magnitude &value)
{
    const int count = text_from_uint64(digits, value.low);
    if (value.high == 0)
        return count;
    digits[count] = '\0';
    for (int bit = LOW_BITS; bit < POWERS_OF_TWO; bit++) {
        if (bit_is_set(value, bit))
            cass_decimal_add(digits, cass_pow2_text[static_cast<std::size_t>(bit)].data());
    }
    return static_cast<int>(std::strlen(digits));
}

// End of the text without the zeros behind the point, and without a point left at the end.
static char *trim_fraction(char *end)
{
    while (end[-1] == '0')
        end--;
    return end[-1] == '.' ? end - 1 : end;
}

int cass_numeric_format(const SQL_NUMERIC_STRUCT *numeric, char *out)
{
    char digits[DECIMAL_ROOM];
    const int count = put_magnitude(digits, load_magnitude(numeric));
    const int scale = numeric->scale;

    char *end = out;
    if (numeric->sign == 0)
        *end++ = '-';  // zero too: "-0"

    const int whole = scale <= 0 ? count : count > scale ? count - scale : 0;
    if (whole == 0)
        *end++ = '0';
    std::memcpy(end, digits, static_cast<std::size_t>(whole));
    end += whole;
    if (scale > 0) {
        *end++ = '.';
        for (int i = count; i < scale; i++)
            *end++ = '0';
        std::memcpy(end, digits + whole, static_cast<std::size_t>(count - whole));
        end = trim_fraction(end + count - whole);
    }
    for (int i = scale; i < 0; i++)
        *end++ = '0';
    *end = 0;
    return static_cast<int>(end - out);
}

int cass_numeric_to_text(const SQL_NUMERIC_STRUCT *numeric, char *buffer, std::int64_t size,
                         std::int32_t *length)
{
    char text[NUMERIC_TEXT_ROOM];
    cass_numeric_format(numeric, text);
    return cass_copy_out(buffer, size, length, text);
}
