// Integers of variable length, as the server has them in durations and vectors: the bits that are
// set in front of the first byte count the bytes behind it.
#ifndef CORE_PARAMETER_CASS_PARAM_VINT_H
#define CORE_PARAMETER_CASS_PARAM_VINT_H

#include <bit>
#include <cstdint>

#include "support/bigendian.h"

constexpr int VINT_ROOM = 9;

// Bytes written, 1 to VINT_ROOM.
inline int vint_from_uint64(unsigned char *out, std::uint64_t value)
{
    const int bits = std::bit_width(value);
    const int size = bits > 56 ? VINT_ROOM : bits == 0 ? 1 : (bits + 6) / 7;
    unsigned char bytes[VINT_ROOM] = {};
    store_be64(bytes + 1, value);
    for (int i = 0; i < size; i++)
        out[i] = bytes[VINT_ROOM - size + i];
    out[0] = static_cast<unsigned char>(out[0] | 0xFF00 >> (size - 1));
    return size;
}

// Zigzag: the sign in the lowest bit.
inline int vint_from_int64(unsigned char *out, std::int64_t value)
{
    return vint_from_uint64(out, static_cast<std::uint64_t>(value) << 1 ^
                                     static_cast<std::uint64_t>(value >> 63));
}

#endif
