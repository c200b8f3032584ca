// Whole numbers to and from bytes at any address: highest first, as they travel, or lowest first,
// as ODBC's numerics have them; and the low bytes of a number in memory.
#ifndef SUPPORT_BIGENDIAN_H
#define SUPPORT_BIGENDIAN_H

#include <bit>
#include <cstdint>
#include <cstring>

constexpr bool LOWEST_BYTE_FIRST = std::endian::native == std::endian::little;

inline std::uint16_t load_be16(const void *bytes)
{
    std::uint16_t value;
    std::memcpy(&value, bytes, sizeof value);
    return LOWEST_BYTE_FIRST ? __builtin_bswap16(value) : value;
}

inline std::uint32_t load_be32(const void *bytes)
{
    std::uint32_t value;
    std::memcpy(&value, bytes, sizeof value);
    return LOWEST_BYTE_FIRST ? __builtin_bswap32(value) : value;
}

inline std::uint64_t load_be64(const void *bytes)
{
    std::uint64_t value;
    std::memcpy(&value, bytes, sizeof value);
    return LOWEST_BYTE_FIRST ? __builtin_bswap64(value) : value;
}

inline void store_be16(void *bytes, std::uint16_t value)
{
    value = LOWEST_BYTE_FIRST ? __builtin_bswap16(value) : value;
    std::memcpy(bytes, &value, sizeof value);
}

inline void store_be32(void *bytes, std::uint32_t value)
{
    value = LOWEST_BYTE_FIRST ? __builtin_bswap32(value) : value;
    std::memcpy(bytes, &value, sizeof value);
}

inline void store_be64(void *bytes, std::uint64_t value)
{
    value = LOWEST_BYTE_FIRST ? __builtin_bswap64(value) : value;
    std::memcpy(bytes, &value, sizeof value);
}

inline std::uint64_t load_le64(const void *bytes)
{
    std::uint64_t value;
    std::memcpy(&value, bytes, sizeof value);
    return LOWEST_BYTE_FIRST ? value : __builtin_bswap64(value);
}

inline void store_le64(void *bytes, std::uint64_t value)
{
    value = LOWEST_BYTE_FIRST ? value : __builtin_bswap64(value);
    std::memcpy(bytes, &value, sizeof value);
}

// Where the low `size` bytes of a number lie, 8 at most: a number of that size, in the machine's
// order.
inline void *low_bytes(std::uint64_t *value, std::size_t size)
{
    return reinterpret_cast<char *>(value) + (LOWEST_BYTE_FIRST ? 0 : sizeof *value - size);
}

#endif
