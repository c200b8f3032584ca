// SQL_NUMERIC_STRUCT (128-bit magnitude, least significant byte first, sign 1 positive and 0
// negative, decimal scale) to and from integers, doubles and text.
#ifndef SUPPORT_NUMERIC_H
#define SUPPORT_NUMERIC_H

#include <sql.h>
#include <sqlext.h>

#include <array>
#include <cstdint>

int cass_numeric_from_int64(std::int64_t value, SQL_NUMERIC_STRUCT *out, int precision, int scale);
// 0; -2 out of range, NaN or infinite; 1 when a negative scale would lose digits.
int cass_numeric_from_double(double value, SQL_NUMERIC_STRUCT *out, int precision, int scale);
// Text "[blanks][sign]digits[.digits]"; changed in place. Each digit behind the point raises the
// scale by 1. 0, or -2 with nothing written: beyond 128 bits, or anything but digits behind the
// sign.
int cass_numeric_from_text(char *text, SQL_NUMERIC_STRUCT *out, int precision, int scale);
// 0.
int cass_numeric_to_double(const SQL_NUMERIC_STRUCT *numeric, double *out);

// Room for any numeric as text: 39 digits, 128 zeros, sign, point and terminator.
constexpr int NUMERIC_TEXT_ROOM = 256;

// Exact decimal text, trailing zeros behind the point removed (1500 at scale 2 is "15"). Writes a
// terminator too; `out` has NUMERIC_TEXT_ROOM bytes. Characters written.
int cass_numeric_format(const SQL_NUMERIC_STRUCT *numeric, char *out);

// ---- Digit strings -----------------------------------------------------------------------------
// What goes beyond 64 bits is reckoned in unsigned decimal digit strings, terminated, without a
// sign: no wider integer is needed.

// Room for the digit strings that are reckoned with, the terminator included.
constexpr int DECIMAL_ROOM = 64;
// 2^0 to 2^127 as digits, and the largest value of a numeric, 2^128 - 1.
constexpr int POWERS_OF_TWO = 128;
constexpr int DECIMAL_DIGITS = 39;
extern const std::array<std::array<char, DECIMAL_DIGITS + 1>, POWERS_OF_TWO> cass_pow2_text;
extern const char cass_decimal_largest[DECIMAL_DIGITS + 1];
// 2^0 to 2^127.
extern const std::array<double, POWERS_OF_TWO> cass_pow2_double;

// a += b. Digits without a point, of at most DECIMAL_ROOM - 2 each; `a` has DECIMAL_ROOM bytes. Two
// numbers of up to six digits lose the zeros in front, longer ones keep those of the longer.
void cass_decimal_add(char *a, const char *b);
// a -= b, with a not below b. Digits without a point. The difference has no zeros in front: 0 is
// the empty text.
void cass_decimal_subtract(char *a, const char *b);
// -1, 0 or 1. Each may have a point. The one with fewer digits in front of the point is the
// smaller, so zeros in front count.
int cass_decimal_compare(const char *a, const char *b);

// ---- Kept by name, nothing uses it ---------------------------------------------------------------

// The magnitude is multiplied (scale above 0) or divided (below 0) by 10^|scale|, exactly. 0, or -2
// with nothing written when the product does not fit into 128 bits.
int cass_numeric_from_long(std::int32_t value, SQL_NUMERIC_STRUCT *out, int precision, int scale);
// cass_numeric_format through cass_copy_out: size in bytes, full length in *length, 1 when cut.
int cass_numeric_to_text(const SQL_NUMERIC_STRUCT *numeric, char *buffer, std::int64_t size,
                         std::int32_t *length);

#endif
