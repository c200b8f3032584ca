// Numbers to text without printf, in the C locale. Each function writes no terminator and gives the
// number of characters written; the room that it needs at most stands with it.
#ifndef SUPPORT_NUMTEXT_H
#define SUPPORT_NUMTEXT_H

#include <cstdint>

// "%lld": at most 20 characters.
int text_from_int64(char *out, std::int64_t value);
// "%llu": at most 20 characters.
int text_from_uint64(char *out, std::uint64_t value);
// "%.*G" with 1 to 17 significant digits, infinities and NaN included ("INF", "-NAN"): at most 32.
int text_from_double(char *out, double value, int significant_digits);
// The shortest digits that read back as the same number, without an exponent from 0.0001 on and
// below 10^16 ("0.1", "1.5E+20"); "NaN", "Infinity", "-Infinity". At most 32.
int text_shortest(char *out, double value);
int text_shortest(char *out, float value);
// "%0*d" for 0 <= value < 10^width, width 1 to 9: exactly width characters.
void text_padded(char *out, std::uint32_t value, int width);
// 10^0 to 10^9.
inline constexpr std::uint32_t powers_of_ten[] = {1,      10,      100,      1000,      10000,
                                                  100000, 1000000, 10000000, 100000000, 1000000000};
// Two hexadecimal digits of a byte, lower or upper case by the row of sixteen digits.
inline constexpr char HEX_LOWER[] = "0123456789abcdef";
inline constexpr char HEX_UPPER[] = "0123456789ABCDEF";

inline void text_hex(char *out, unsigned char byte, const char *digits)
{
    out[0] = digits[byte >> 4];
    out[1] = digits[byte & 15];
}

#endif
