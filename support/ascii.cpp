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

std::string_view ascii_trimmed(std::string_view text)
{
    while (!text.empty() && ascii_is_space(static_cast<unsigned char>(text.front())))
        text.remove_prefix(1);
    while (!text.empty() && ascii_is_space(static_cast<unsigned char>(text.back())))
        text.remove_suffix(1);
    return text;
}

unsigned ascii_digit_value(char character)
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
    if ((at[1] == 'x' || at[1] == 'X') && ascii_digit_value(at[2]) < 16) {
        *text = at + 2;
        return 16;
    }
    return 8;
}

static ascii_number parse_int64(const char *text, bool any_base, std::int64_t *number)
{
    while (ascii_is_space(static_cast<unsigned char>(*text)))
        text++;
    const bool negative = *text == '-';
    if (negative || *text == '+')
        text++;
    const unsigned base = any_base ? base_by_prefix(&text) : 10;
    const std::uint64_t limit =
        static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max()) + (negative ? 1 : 0);

    ascii_number result = ASCII_NO_DIGITS;
    std::uint64_t value = 0;
    for (unsigned digit = ascii_digit_value(*text); digit < base;
         digit = ascii_digit_value(*++text)) {
        const bool fits = value <= (limit - digit) / base;  // never again after an overflow
        value = fits ? value * base + digit : limit;
        result = fits ? ASCII_NUMBER : ASCII_OVERFLOW;
    }
    *number = static_cast<std::int64_t>(negative ? 0 - value : value);
    return result;
}

ascii_number ascii_to_int64(const char *text, std::int64_t *value)
{
    return parse_int64(text, false, value);
}

// As strtol cut to 32 bits: the value saturates at the bounds of 64 bits and the low half is taken.
std::int32_t ascii_to_int(const char *text)
{
    std::int64_t value;
    parse_int64(text, false, &value);
    return static_cast<std::int32_t>(value);
}

std::int32_t ascii_to_int_any_base(const char *text)
{
    std::int64_t value;
    parse_int64(text, true, &value);
    return static_cast<std::int32_t>(value);
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
