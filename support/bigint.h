// Integers of any size, as `varint` and `decimal` have them on the wire (two's complement,
// big-endian: native protocol v4, section 6), to and from decimal digits.
#ifndef SUPPORT_BIGINT_H
#define SUPPORT_BIGINT_H

#include <cstddef>

#include "support/held.h"

// What is converted: the work grows with the square of the size. 65,536 bytes are 157,826 digits.
constexpr std::size_t BIGINT_MOST_BYTES = 65'536;
constexpr std::size_t BIGINT_MOST_DIGITS = 157'826;

// The digits of an integer of at most BIGINT_MOST_BYTES, terminated, with a '-' in front of a
// negative one and no zeros in front. 0 bytes are 0. The caller frees the text with free(). Null
// when memory ran out.
char *bigint_to_digits(const unsigned char *bytes, std::size_t count);

// The fewest bytes of two's complement, *length of them (at least 1), for `count` (at most
// BIGINT_MOST_DIGITS) characters '0' to '9'. The caller frees the bytes with free(). Null when
// memory ran out.
unsigned char *bigint_from_digits(const char *digits, std::size_t count, bool negative,
                                  std::size_t *length);

#endif
