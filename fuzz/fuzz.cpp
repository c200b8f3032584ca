#include "fuzz/fuzz.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    // Uncaught, which aborts: libFuzzer keeps the input.
    GTEST_FLAG_SET(throw_on_failure, true);
    // No data source is read, and no log of the machine's is written.
    setenv("ODBCSYSINI", "/nonexistent", 1);
    setenv("ODBCINI", "/nonexistent/odbc.ini", 1);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t count)
{
    fuzz_one({bytes, count});
    return 0;
}

std::uint64_t fuzz_number(fuzz_input *in, std::size_t bytes)
{
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < bytes && in->left > 0; i++, in->left--)
        value |= static_cast<std::uint64_t>(*in->at++) << 8 * i;
    return value;
}

std::string fuzz_bytes(fuzz_input *in, std::size_t count)
{
    count = std::min(count, in->left);
    std::string bytes(reinterpret_cast<const char *>(in->at), count);
    in->at += count;
    in->left -= count;
    return bytes;
}

std::string fuzz_piece(fuzz_input *in)
{
    return fuzz_bytes(in, fuzz_number(in));
}

std::string fuzz_rest(fuzz_input *in)
{
    return fuzz_bytes(in, in->left);
}

std::u16string fuzz_wide_rest(fuzz_input *in)
{
    std::u16string text;
    while (in->left > 0) {
        const std::uint64_t first = fuzz_number(in);
        text += static_cast<char16_t>(first < 0xC0 ? first : first << 8 | fuzz_number(in));
    }
    return text;
}

// The end of a mapping of FUZZ_ROOM bytes, behind which a page cannot be touched.
static char *mapping_end()
{
    const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    void *start =
        mmap(nullptr, FUZZ_ROOM + page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    char *end = static_cast<char *>(start) + FUZZ_ROOM;
    if (start == MAP_FAILED || mprotect(end, page, PROT_NONE) != 0)
        std::abort();
    return end;
}

char *fuzz_memory(std::size_t bytes, int place)
{
    static const std::array<char *, 3> ends = {mapping_end(), mapping_end(), mapping_end()};
    char *block = ends.at(static_cast<std::size_t>(place)) - bytes;
    std::memset(block, FUZZ_FILL, bytes);
    return block;
}

char *fuzz_memory_of(const std::string &bytes, int place)
{
    char *block = fuzz_memory(bytes.size(), place);
    std::memcpy(block, bytes.data(), bytes.size());
    return block;
}
