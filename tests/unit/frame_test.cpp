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

TEST(frame, replies_that_never_come)
{
    session s(true);
    s.conn->conduct = &standard_conduct;
    s.conn->settings.read_timeout = 1;
    cass_late_replies *late = &s.conn->late;
    for (int i = 0; i < MOST_LATE_REPLIES; i++) {
        EXPECT_EQ(late->count, i);
        EXPECT_EQ(s.conn->socket_dead, 0);
        cass_exchange_failure failure;
        cass_limit_request(s.stmt);
        EXPECT_EQ(cass_read_packet(s.stmt, &failure), nullptr);
        EXPECT_EQ(failure, EXCHANGE_TIMED_OUT);
    }
    late->stream = INT16_MAX;  // the numbers begin again, and pass over those still out
    late->streams[7] = 20'000;
    late->count--;
    cass_exchange_failure failure;
    EXPECT_EQ(cass_read_packet(s.stmt, &failure), nullptr);
    EXPECT_EQ(late->stream, 7);
    EXPECT_EQ(s.conn->socket_dead, 0);
    EXPECT_EQ(cass_read_packet(s.stmt, &failure), nullptr);
    EXPECT_EQ(s.conn->socket_dead, 1);
}
