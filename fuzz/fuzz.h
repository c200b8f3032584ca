// What the fuzz targets share: an input that is taken apart piece by piece, and application memory
// behind which nothing can be touched. A target is one function over one input; what it promises
// beside not failing it says with EXPECT, whose failure ends the run like a crash.
#ifndef FUZZ_FUZZ_H
#define FUZZ_FUZZ_H

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <string>

struct fuzz_input {
    const std::uint8_t *at;
    std::size_t left;
};

// The target. Inputs have up to some thousand bytes, and may have none.
void fuzz_one(fuzz_input in);

// The next bytes as a number, lowest first; those behind the end count as 0.
std::uint64_t fuzz_number(fuzz_input *in, std::size_t bytes = 1);
// As many of the next bytes as are left.
std::string fuzz_bytes(fuzz_input *in, std::size_t count);
// Bytes behind their count, which is one byte.
std::string fuzz_piece(fuzz_input *in);
std::string fuzz_rest(fuzz_input *in);
// The same as UTF-16: bytes below 0xC0 are units, the others are the high half of one.
std::u16string fuzz_wide_rest(fuzz_input *in);

template <typename Row, std::size_t count>
const Row &fuzz_choice(fuzz_input *in, const Row (&rows)[count])
{
    return rows[fuzz_number(in) % count];
}

// The largest block of fuzz_memory in bytes.
constexpr std::size_t FUZZ_ROOM = 1 << 17;

// A block of so many bytes whose last one is the last of its page: an access behind it ends the
// run, whoever makes it. `place` is one of three; a block is good until the next in its place.
// Filled with FUZZ_FILL.
constexpr char FUZZ_FILL = '\xA5';
char *fuzz_memory(std::size_t bytes, int place = 0);
// The bytes in such memory.
char *fuzz_memory_of(const std::string &bytes, int place = 0);

#endif
