// A server's bytes on the connection's socket: frames come out as they went in, compressed or not,
// and a stream of any bytes ends with a broken connection.
#include "fuzz/fuzz.h"
#include "fuzz/marker.h"
#include "tests/node/frames.h"

// The next frame, or null.
static cass_packet *read_frame(const session &s)
{
    cass_exchange_failure failure;
    return cass_read_packet(s.stmt, &failure);
}

static std::string frame_of(const held_packet &packet)
{
    const auto *bytes = reinterpret_cast<const char *>(packet->frame);
    return {bytes, bytes + FRAME_HEADER_SIZE + packet->length};
}

static void send_both_ways(const session &s, node_frame frame)
{
    frame.flags &= ~FRAME_COMPRESSED;
    const std::string sent = frame_on_wire(frame, false, 0);
    frame.compression = COMPRESS_ALWAYS;
    std::string restored = frame_on_wire(frame, true, 0).substr(0, FRAME_HEADER_SIZE) + frame.body;
    for (const std::string &wire : {sent, frame_on_wire(frame, true, 0)})
        say(s, wire);
    for (const std::string &wanted : {sent, restored}) {
        const held_packet packet(read_frame(s));
        ASSERT_NE(packet, nullptr);
        EXPECT_EQ(frame_of(packet), wanted);
    }
}

// Each frame stands in the stream behind the one before it, a restored one with its header.
static void read_to_the_end(const session &s, const std::string &stream)
{
    say(s, stream);
    shutdown(s.peer, SHUT_WR);
    std::size_t at = 0;
    for (std::size_t reads = 0; s.conn->socket_dead == 0; reads++) {
        ASSERT_LE(reads, stream.size() / FRAME_HEADER_SIZE);
        const held_packet packet(read_frame(s));
        if (packet == nullptr)
            continue;
        std::string frame = frame_of(packet);
        if ((packet->flags & FRAME_COMPRESSED) != 0) {
            EXPECT_LE(frame.size(), 255 * (stream.size() - at));
            frame.resize(FRAME_HEADER_SIZE);
        }
        at = stream.find(frame, at);
        ASSERT_NE(at, stream.npos);
        at += frame.size();
        std::int32_t code;
        const held_string message(cass_server_error(s.stmt, packet.get(), &code));
        EXPECT_LE(message == nullptr ? 0 : message->length, packet->length);
    }
}

void fuzz_one(fuzz_input in)
{
    session s;
    const std::uint64_t options = fuzz_number(&in);
    follow(s, (options & 1) != 0);
    s.conn->compression = (options & 2) != 0 ? COMPRESSION_LZ4 : COMPRESSION_NONE;
    if ((options & 4) != 0) {
        s.conn->compression = COMPRESSION_LZ4;
        node_frame frame = {.opcode = static_cast<int>(fuzz_number(&in)),
                            .flags = static_cast<int>(fuzz_number(&in))};
        frame.body = fuzz_rest(&in);
        return send_both_ways(s, frame);
    }
    // What requests that were given up have left.
    cass_late_replies *late = &s.conn->late;
    for (late->count = 0; late->count < static_cast<int>(options >> 3 & 3); late->count++)
        late->streams[late->count] = static_cast<std::int16_t>(late->count + 1);
    late->body_left = options >> 5;
    read_to_the_end(s, fuzz_rest(&in));
}
