// Frames that lie about their size or compression.
#include <lz4.h>

#include "core/statement/cass_pkt_exchange.h"
#include "tests/unit/handles.h"

TEST(frame, that_lies_about_its_size_or_compression_is_refused)
{
    char packed[1100];
    const int size = LZ4_compress_default(pattern(1000).data(), packed, 1000, sizeof packed);
    const std::string block(packed, packed + size);
    const std::pair<std::int32_t, std::string> cases[] = {
        // Two that are not read to their end; an enormous size costs only what arrives.
        {COMPRESSION_NONE, std::string("\x84\0\0\0\x08", 5) + be32(-1)},
        {COMPRESSION_LZ4, std::string("\x84\1\0\0\x08", 5) + be32(INT32_MAX - 16) + "abc"},
        {COMPRESSION_NONE, reply(OPCODE_RESULT, be32(1000) + block, 1)},  // never asked for
        {COMPRESSION_LZ4, reply(OPCODE_RESULT, "abc", 1)},                // no room for a size
        {COMPRESSION_LZ4, reply(OPCODE_RESULT, be32(999) + block, 1)},
        {COMPRESSION_LZ4, reply(OPCODE_RESULT, be32(8 << 20) + "abc", 1)},  // no such ratio
        {COMPRESSION_LZ4, reply(OPCODE_RESULT, be32(-5) + pattern(150'000), 1)},
    };
    for (const auto &row : cases) {
        session s;
        s.conn->compression = row.first;
        say(s, row.second);
        shutdown(s.peer, SHUT_WR);
        EXPECT_EQ(read_reply(s.stmt), nullptr) << to_hex(row.second).substr(0, 40);
        const bool to_its_end = &row - cases >= 2;
        if (to_its_end) {
            EXPECT_LT(s.conn->spare_packet->capacity, 65536u);
        }
        EXPECT_LE(s.conn->compressed_capacity, to_its_end ? 65536u : 20u << 20);
        // No request follows a frame that was not read.
        char byte;
        EXPECT_EQ(recv(s.peer, &byte, 1, MSG_DONTWAIT) == 0, !to_its_end);
    }
}
