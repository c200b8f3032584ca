// Numbers to text. Cells are formatted by the million, so integers go two digits at a time through
// a table, and doubles through the standard library's locale-free conversion.
#include "support/numtext.h"

#include <charconv>
#include <cmath>
#include <cstring>

#include "support/ascii.h"

static constexpr char digit_pairs[] =
    "00010203040506070809101112131415161718192021222324252627282930313233343536373839"
    "40414243444546474849505152535455565758596061626364656667686970717273747576777879"
    "8081828384858687888990919293949596979899";

static int digit_count(std::uint64_t value)
{
    int count = 1;
    for (;;) {
        if (value < 10)
            return count;
        if (value < 100)
            return count + 1;
        if (value < 1000)
            return count + 2;
        if (value < 10000)
            return count + 3;
        value /= 10000;
        count += 4;
    }
}

// Digits of `value` so that the last stands before `end`.
static void put_digits_before(char *end, std::uint64_t value)
{
    while (value >= 100) {
        end -= 2;
        std::memcpy(end, digit_pairs + 2 * (value % 100), 2);
        value /= 100;
    }
    if (value >= 10)
        std::memcpy(end - 2, digit_pairs + 2 * value, 2);
    else
        end[-1] = static_cast<char>('0' + value);
}

int text_from_uint64(char *out, std::uint64_t value)
{
    const int count = digit_count(value);
    put_digits_before(out + count, value);
    return count;
}

int text_from_int64(char *out, std::int64_t value)
{
    if (value >= 0)
        return text_from_uint64(out, static_cast<std::uint64_t>(value));
    *out = '-';
    return 1 + text_from_uint64(out + 1, 0 - static_cast<std::uint64_t>(value));
}

int text_from_double(char *out, double value, int significant_digits)
{
    // Sign, 17 digits, point and exponent ("-1.2345678901234567E-308"), or the zeros of a small
    // number ("-0.00012345678901234567"), are 24 characters at most.
    const std::to_chars_result result =
        std::to_chars(out, out + 32, value, std::chars_format::general, significant_digits);
    for (char *at = out; at != result.ptr; at++)
        *at = static_cast<char>(ascii_to_upper(static_cast<unsigned char>(*at)));
    return static_cast<int>(result.ptr - out);
}

template <typename Real>
static int shortest(char *out, Real value)
{
    if (!std::isfinite(value)) {
        const char *name = std::isnan(value) ? "NaN" : value < 0 ? "-Infinity" : "Infinity";
        std::memcpy(out, name, std::strlen(name));
        return static_cast<int>(std::strlen(name));
    }
    char *end = std::to_chars(out, out + 32, value, std::chars_format::scientific).ptr;
    char *mark = static_cast<char *>(std::memchr(out, 'e', static_cast<std::size_t>(end - out)));
    int exponent = 0;
    std::from_chars(mark + 2, end, exponent);
    if (mark[1] == '-' ? exponent <= 4 : exponent < 16)
        end = std::to_chars(out, out + 32, value, std::chars_format::fixed).ptr;
    else
        *mark = 'E';
    return static_cast<int>(end - out);
}

int text_shortest(char *out, double value)
{
    return shortest(out, value);
}

int text_shortest(char *out, float value)
{
    return shortest(out, value);
}

void text_padded(char *out, std::uint32_t value, int width)
{
    for (; width >= 2; width -= 2) {
        std::memcpy(out + width - 2, digit_pairs + 2 * (value % 100), 2);
        value /= 100;
    }
    if (width == 1)
        *out = static_cast<char>('0' + value % 10);
}
