// Character tests and number parsing as in the C locale, whatever locale the application has set.
#ifndef SUPPORT_ASCII_H
#define SUPPORT_ASCII_H

#include <cstdint>
#include <string_view>

// Space, tab, line feed, vertical tab, form feed, carriage return.
inline bool ascii_is_space(unsigned unit)
{
    return unit == ' ' || (unit >= '\t' && unit <= '\r');
}

inline bool ascii_is_digit(unsigned unit)
{
    return unit >= '0' && unit <= '9';
}

inline bool ascii_is_print(unsigned unit)
{
    return unit >= 0x20 && unit < 0x7F;
}

inline unsigned char ascii_to_lower(unsigned char byte)
{
    return byte >= 'A' && byte <= 'Z' ? static_cast<unsigned char>(byte + 32) : byte;
}

inline unsigned char ascii_to_upper(unsigned char byte)
{
    return byte >= 'a' && byte <= 'z' ? static_cast<unsigned char>(byte - 32) : byte;
}

// Value of a digit or a letter in whatever base has it, 36 for anything else.
unsigned ascii_digit_value(char character);

// A text without the white space at both its ends.
std::string_view ascii_trimmed(std::string_view text);

// Compare without regard to ASCII case; below 0, 0 or above 0.
int ascii_casecmp(const char *left, const char *right);

enum ascii_number { ASCII_NUMBER, ASCII_NO_DIGITS, ASCII_OVERFLOW };
// Leading whole number of a text, behind white space and with a sign or without; what follows it
// does not matter. *value is 0 without digits, and the nearest of 64 bits on overflow.
ascii_number ascii_to_int64(const char *text, std::int64_t *value);
// Leading number of a text, 0 without one, cut to 32 bits: base 10, or base 0 (0x and 0 prefixes).
// Never undefined on overflow.
std::int32_t ascii_to_int(const char *text);
std::int32_t ascii_to_int_any_base(const char *text);

// Decimal floating point number at the start of a text, "." as the point; 0 without one.
double ascii_to_double(const char *text);
// The same, rounded once: a float by way of a double may be off by its last place.
float ascii_to_float(const char *text);

#endif
