// Owning pointers to records of C: what a local holds is released on every way out of its scope.
#ifndef SUPPORT_HELD_H
#define SUPPORT_HELD_H

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <type_traits>

// Owns one T; `release` takes it back and is never given null.
template <typename T, auto release>
using held = std::unique_ptr<T, std::integral_constant<decltype(release), release>>;

// Releases a block of bytes whose owner stays, and forgets it.
inline void free_bytes(unsigned char **bytes, std::int32_t *length)
{
    std::free(*bytes);
    *bytes = nullptr;
    *length = 0;
}

// Heap blocks: a text that ends at its NUL, and bytes.
using held_text = held<char, &std::free>;
using held_bytes = held<unsigned char, &std::free>;

#endif
