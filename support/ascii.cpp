// Number parsing and comparison as in the C locale. The C library's own functions follow the locale
// that the application has set, so they are used nowhere in the driver.
#include "support/ascii.h"

#include <clocale>
#include <cstdlib>
#include <limits>

#include <locale.h>

int ascii_casecmp(const char *left, const char *right)
{
    for (;; left++, right++) {
        const int a = ascii_to_lower(static_cast<unsigned char>(*left));
        const int b = ascii_to_lower(static_cast<unsigned char>(*right));
        if (a != b || a == 0)
            return a - b;
    }
}

// Value of a digit or letter, 36 for anything else.
static unsigned digit_value(char character)
{
    const unsigned char byte = ascii_to_lower(static_cast<unsigned char>(character));
    if (ascii_is_digit(byte))
        return byte - '0';
    return byte >= 'a' && byte <= 'z' ? byte - 'a' + 10u : 36u;
}

// Base of a number whose sign has been passed; moves behind a "0x".
static unsigned base_by_prefix(const char **text)
{
    const char *at = *text;
    if (at[0] != '0')
        return 10;
    if ((at[1] == 'x' || at[1] == 'X') && digit_value(at[2]) < 16) {
        *text = at + 2;
        return 16;
    }
    return 8;
}

// strtol cut to 32 bits: the value saturates at the bounds of 64 bits and the low half is taken.
static std::int32_t parse_int(const char *text, bool any_base)
{
    while (ascii_is_space(static_cast<unsigned char>(*text)))
        text++;
    const bool negative = *text == '-';
    if (negative || *text == '+')
        text++;
    const unsigned base = any_base ? base_by_prefix(&text) : 10;
    const std::uint64_t limit =
        static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max()) + (negative ? 1 : 0);

    std::uint64_t value = 0;
    for (unsigned digit = digit_value(*text); digit < base; digit = digit_value(*++text))
        value = value > (limit - digit) / base ? limit : value * base + digit;
    return static_cast<std::int32_t>(negative ? 0 - value : value);
}

std::int32_t ascii_to_int(const char *text)
{
    return parse_int(text, false);
}

std::int32_t ascii_to_int_any_base(const char *text)
{
    return parse_int(text, true);
}

// The C library hands out its one built-in "C" locale here; nothing is allocated.
static locale_t c_locale()
{
    return newlocale(LC_ALL_MASK, "C", nullptr);
}

double ascii_to_double(const char *text)
{
    return strtod_l(text, nullptr, c_locale());
}

float ascii_to_float(const char *text)
{
    return strtof_l(text, nullptr, c_locale());
}
