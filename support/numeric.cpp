// SQL_NUMERIC_STRUCT to and from integers, doubles and text, all in 128-bit integers.
#include "support/numeric.h"

#include <cmath>
#include <cstring>

#include "support/ascii.h"
#include "support/numtext.h"
#include "support/strfunc.h"

__extension__ typedef unsigned __int128 magnitude_t;

static constexpr int OUT_OF_RANGE = -2;
static constexpr int DIGITS_LOST = 1;
static constexpr magnitude_t LARGEST = ~static_cast<magnitude_t>(0);

static magnitude_t load_magnitude(const SQL_NUMERIC_STRUCT *numeric)
{
    magnitude_t value = 0;
    for (int i = SQL_MAX_NUMERIC_LEN - 1; i >= 0; i--)
        value = value << 8 | numeric->val[i];
    return value;
}

static void store_numeric(SQL_NUMERIC_STRUCT *out, magnitude_t value, bool negative, int precision,
                          std::int64_t scale)
{
    SQL_NUMERIC_STRUCT numeric = {};
    numeric.precision = static_cast<SQLCHAR>(precision);
    numeric.scale = static_cast<SQLSCHAR>(scale);
    numeric.sign = negative ? 0 : 1;
    for (SQLCHAR &byte : numeric.val) {
        byte = static_cast<SQLCHAR>(value);
        value >>= 8;
    }
    std::memcpy(out, &numeric, sizeof numeric);
}

// ---- From numbers ------------------------------------------------------------------------------

int cass_numeric_from_int64(std::int64_t value, SQL_NUMERIC_STRUCT *out, int precision, int scale)
{
    const bool negative = value < 0;
    const auto bits = static_cast<std::uint64_t>(value);
    magnitude_t magnitude = negative ? 0 - bits : bits;

    // A zero needs no power of ten, however large the scale.
    for (int i = 0; i < scale && magnitude != 0; i++) {
        if (magnitude > LARGEST / 10)
            return OUT_OF_RANGE;
        magnitude *= 10;
    }
    for (int i = 0; i > scale && magnitude != 0; i--)
        magnitude /= 10;
    store_numeric(out, magnitude, negative, precision, scale);
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
    if (!(rounded < std::ldexp(1.0, 128)))
        return OUT_OF_RANGE;
    store_numeric(out, static_cast<magnitude_t>(rounded), std::signbit(value), precision, scale);
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

    magnitude_t magnitude = 0;
    for (; *text != 0; text++) {
        if (!ascii_is_digit(static_cast<unsigned char>(*text)))
            return OUT_OF_RANGE;
        const auto digit = static_cast<unsigned>(*text - '0');
        if (magnitude > (LARGEST - digit) / 10)
            return OUT_OF_RANGE;
        magnitude = magnitude * 10 + digit;
    }
    store_numeric(out, magnitude, negative, precision, scale + decimals);
    return 0;
}

// ---- To numbers and text -----------------------------------------------------------------------

int cass_numeric_to_double(const SQL_NUMERIC_STRUCT *numeric, double *out)
{
    const magnitude_t magnitude = load_magnitude(numeric);
    double sum = 0;
    if (magnitude >> 53 == 0) {
        sum = static_cast<double>(static_cast<std::uint64_t>(magnitude));
    } else {
        // Bit by bit from the lowest, rounded at each step: above 53 bits the last place can differ
        // from that of a single conversion, and it has to stay as it is.
        for (int i = 0; i < 128; i++) {
            if ((magnitude >> i & 1) != 0)
                sum += std::ldexp(1.0, i);
        }
    }
    if (numeric->sign == 0)
        sum = -sum;
    if (numeric->scale != 0)
        sum *= std::pow(10.0, -numeric->scale);
    *out = sum;
    return 0;
}

// Decimal digits without leading zeros, "0" for zero; at most 39.
static int put_magnitude(char *out, magnitude_t value)
{
    static constexpr std::uint64_t ten_18 = 1'000'000'000'000'000'000;
    if (value < ten_18)
        return text_from_uint64(out, static_cast<std::uint64_t>(value));

    const int head = put_magnitude(out, value / ten_18);
    const auto tail = static_cast<std::uint64_t>(value % ten_18);
    text_padded(out + head, static_cast<std::uint32_t>(tail / 1'000'000'000), 9);
    text_padded(out + head + 9, static_cast<std::uint32_t>(tail % 1'000'000'000), 9);
    return head + 18;
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
    char digits[40];
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
