// Whole numbers to and from bytes, highest first, at any address.
#ifndef SUPPORT_BIGENDIAN_H
#define SUPPORT_BIGENDIAN_H

#include <cstdint>
#include <cstring>

inline std::uint16_t load_be16(const void *bytes)
{
    std::uint16_t value;
    std::memcpy(&value, bytes, sizeof value);
    return __builtin_bswap16(value);
}

inline std::uint32_t load_be32(const void *bytes)
{
    std::uint32_t value;
    std::memcpy(&value, bytes, sizeof value);
    return __builtin_bswap32(value);
}

inline std::uint64_t load_be64(const void *bytes)
{
    std::uint64_t value;
    std::memcpy(&value, bytes, sizeof value);
    return __builtin_bswap64(value);
}

inline void store_be16(void *bytes, std::uint16_t value)
{
    value = __builtin_bswap16(value);
    std::memcpy(bytes, &value, sizeof value);
}

inline void store_be32(void *bytes, std::uint32_t value)
{
    value = __builtin_bswap32(value);
    std::memcpy(bytes, &value, sizeof value);
}

inline void store_be64(void *bytes, std::uint64_t value)
{
    value = __builtin_bswap64(value);
    std::memcpy(bytes, &value, sizeof value);
}

#endif
