// Frames that lie about their size, and those that do not come.
#include <lz4.h>

#include "core/statement/cass_pkt_exchange.h"
#include "tests/unit/handles.h"

TEST(frame, that_lies_about_its_size_is_refused)
{
    char packed[1100];
    const int size = LZ4_compress_default(pattern(1000).data(), packed, 1000, sizeof packed);
    const std::string block(packed, packed + size);
    const std::string cases[] = {
        reply(OPCODE_RESULT, "abc", 1),  // no room for a size
        reply(OPCODE_RESULT, be32(999) + block, 1),
        reply(OPCODE_RESULT, be32(8 << 20) + "abc", 1),  // no such ratio
        reply(OPCODE_RESULT, be32(-5) + pattern(150'000), 1),
    };
    for (const std::string &said : cases) {
        session s;
        cass_exchange_failure failure;
        s.conn->compression = COMPRESSION_LZ4;
        say(s, said);
        EXPECT_EQ(cass_read_packet(s.stmt, &failure), nullptr) << to_hex(said).substr(0, 40);
        EXPECT_LT(s.conn->spare_packet->capacity, 65536u);
        EXPECT_LE(s.conn->compressed_capacity, 65536u);
    }
}

TEST(frame, replies_that_never_come)
{
    session s(true);
    s.conn->conduct = &standard_conduct;
    s.conn->settings.read_timeout = 1;
    cass_late_replies *late = &s.conn->late;
    cass_exchange_failure failure;
    for (int i = 0; i < MOST_LATE_REPLIES; i++) {
        EXPECT_EQ(late->count, i);
        EXPECT_EQ(s.conn->socket_dead, 0);
        cass_limit_request(s.stmt);
        EXPECT_EQ(cass_read_packet(s.stmt, &failure), nullptr);
        EXPECT_EQ(failure, EXCHANGE_TIMED_OUT);
    }
    late->stream = INT16_MAX;  // the numbers begin again, and pass over those still out
    late->streams[7] = 20'000;
    late->count--;
    for (const int dead : {0, 1}) {
        EXPECT_EQ(cass_read_packet(s.stmt, &failure), nullptr);
        EXPECT_EQ(late->stream, 7);
        EXPECT_EQ(s.conn->socket_dead, dead);
    }
}
