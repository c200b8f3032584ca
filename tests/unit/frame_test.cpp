// Frames: exact bytes out, hostile bytes in.
#include <gtest/gtest.h>
#include <lz4.h>

#include <thread>
#include <vector>

#include "tests/unit/session_fixture.h"

static std::string body_of(const cass_packet *packet)
{
    return {reinterpret_cast<const char *>(packet->body),
            static_cast<std::size_t>(packet->length)};
}

static std::string pattern(std::size_t size)
{
    std::string all(size, '\0');
    for (std::size_t i = 0; i < size; i++)
        all[i] = static_cast<char>("0123456789abcdefghijklmnopqrstuvwxyz"[(i * 7 + i / 1000) % 36]);
    return all;
}

static std::string lz4_body(const std::string &plain)
{
    std::string packed(static_cast<std::size_t>(LZ4_compressBound(static_cast<int>(plain.size()))),
                       '\0');
    const int size = LZ4_compress_default(plain.data(), packed.data(),
                                          static_cast<int>(plain.size()),
                                          static_cast<int>(packed.size()));
    packed.resize(static_cast<std::size_t>(size));
    return be32(static_cast<std::int64_t>(plain.size())) + packed;
}

TEST(frame, writers_lay_out_the_body)
{
    session s;
    const held_packet packet(packet_of(s.stmt, OPCODE_QUERY, ""));
    const SQLWCHAR units[] = {'a', 0x00E9, 0x20AC};  // the last one keeps its low byte only
    const cass_string text = {const_cast<SQLWCHAR *>(units), 3, 1};
    EXPECT_EQ(pkt_put_byte(packet.get(), 0xFE), 1);
    EXPECT_EQ(pkt_put_short(packet.get(), -2), 2);
    EXPECT_EQ(pkt_put_int(packet.get(), 0x01020304), 4);
    EXPECT_EQ(pkt_put_long(packet.get(), 0x0102030405060708), 8);
    EXPECT_EQ(pkt_put_string(packet.get(), &text), 0);
    EXPECT_EQ(pkt_put_long_string(packet.get(), &text), 0);
    EXPECT_EQ(pkt_put_long_string(packet.get(), nullptr), 0);
    EXPECT_EQ(pkt_put_short_bytes(packet.get(), "xy", 2), 0);
    EXPECT_EQ(pkt_put_long_bytes(packet.get(), "xyz", 3), 0);
    EXPECT_EQ(pkt_put_long_bytes(packet.get(), nullptr, -1), 0);
    EXPECT_EQ(pkt_put_bytes(packet.get(), "!", 1), 1);
    EXPECT_EQ(body_of(packet.get()),
              std::string("\xFE\xFF\xFE\1\2\3\4\1\2\3\4\5\6\7\10", 15) + str("a\xE9\xAC") +
                  long_str("a\xE9\xAC") + be32(0) + str("xy") + long_str("xyz") + be32(-1) + "!");
    EXPECT_EQ(packet->length, packet->write_pos);
}

TEST(frame, a_body_grows_and_parts_of_it_are_copied_out)
{
    session s;
    const std::string bytes = pattern(100'003);
    const held_packet packet(packet_of(s.stmt, OPCODE_QUERY, ""));
    for (std::size_t i = 0; i < bytes.size(); i += 7)
        pkt_put_bytes(packet.get(), bytes.data() + i,
                      static_cast<std::int32_t>(std::min<std::size_t>(7, bytes.size() - i)));
    EXPECT_EQ(body_of(packet.get()), bytes);

    std::int32_t length = -7;
    unsigned char *copy = pkt_copy_from(packet.get(), 100'000, &length);
    EXPECT_EQ(length, 3);
    EXPECT_EQ(std::memcmp(copy, bytes.data() + 100'000, 3), 0);
    std::free(copy);
    EXPECT_EQ(pkt_copy_from(packet.get(), 100'003, &length), nullptr);
    EXPECT_EQ(length, 0);
}

TEST(frame, a_text_too_long_for_its_length_field_is_never_sent)
{
    session s;
    const std::string bytes(65536, 'x');
    const held_string text(cass_string_from_bytes(bytes.data(), 65536));
    for (const bool as_text : {true, false}) {
        const held_packet packet(packet_of(s.stmt, OPCODE_QUERY, "front"));
        const std::int32_t code = as_text ? pkt_put_string(packet.get(), text.get())
                                          : pkt_put_short_bytes(packet.get(), bytes.data(), 65536);
        EXPECT_EQ(code, -1);
        EXPECT_EQ(pkt_put_int(packet.get(), 1), -1);
        EXPECT_EQ(cass_send_packet(s.stmt, packet.get()), -1);
    }
    EXPECT_EQ(heard(s), "");
}

TEST(frame, readers_never_leave_the_body)
{
    session s;
    std::int32_t length = 0;
    char raw[4] = {};

    // One byte is too few for any number, and stays unread.
    const held_packet one(packet_of(s.stmt, OPCODE_RESULT, "\xFB"));
    EXPECT_EQ(pkt_get_short(one.get()), 0);
    EXPECT_EQ(pkt_get_int(one.get()), 0);
    EXPECT_EQ(pkt_get_long(one.get()), 0);
    EXPECT_EQ(pkt_get_raw(one.get(), raw, 2), -1);
    EXPECT_EQ(pkt_get_raw(one.get(), raw, -1), -1);
    EXPECT_EQ(pkt_get_long_bytes(one.get(), &length), nullptr);
    EXPECT_EQ(length, 0);
    EXPECT_EQ(pkt_remaining(one.get()), 1);
    EXPECT_EQ(pkt_get_byte(one.get()), -5);
    EXPECT_EQ(pkt_get_byte(one.get()), 0);

    // A length past the body takes the length and no bytes.
    struct {
        std::string body;
        std::int32_t want;
    } cases[] = {
        {be32(-1), -1},          {be32(0), 0},          {be32(5) + "abcd", 0},
        {be32(INT32_MAX) + "a", 0}, {be32(INT32_MIN), INT32_MIN},
    };
    for (const auto &c : cases) {
        const held_packet packet(packet_of(s.stmt, OPCODE_RESULT, c.body));
        EXPECT_EQ(pkt_get_long_bytes(packet.get(), &length), nullptr);
        EXPECT_EQ(length, c.want);
        EXPECT_EQ(packet->read_pos, 4);
    }
    const held_packet text(packet_of(s.stmt, OPCODE_RESULT, be16(0xFFFF) + str("ok") + str("")));
    for (const char *want : {"", "ok", "", ""}) {
        const held_string got(pkt_get_string(text.get()));
        EXPECT_EQ(narrow(got.get()), want);
    }
    const held_packet id(packet_of(s.stmt, OPCODE_RESULT, be16(-2) + str("id")));
    EXPECT_EQ(pkt_get_short_bytes(id.get(), &length), nullptr);
    EXPECT_EQ(length, -2);
    unsigned char *bytes = pkt_get_short_bytes(id.get(), &length);
    EXPECT_EQ(std::string(reinterpret_cast<char *>(bytes), 2), "id");
    std::free(bytes);
}

TEST(frame, is_sent_in_one_piece_and_compressed_when_lz4_is_in_force)
{
    session s;
    const std::string plain = std::string("SELECT ") + std::string(1000, 'x');
    const held_packet packet(packet_of(s.stmt, OPCODE_QUERY, plain));
    packet->frame[0] = 4;
    EXPECT_EQ(cass_send_packet(s.stmt, packet.get()), 9 + 1007);
    EXPECT_EQ(heard(s), std::string("\4\0\0\0\7", 5) + be32(1007) + plain);

    s.conn->compression = COMPRESSION_LZ4;
    EXPECT_EQ(cass_send_packet(s.stmt, packet.get()), 9 + 1007);
    const std::string sent = heard(s);
    ASSERT_GT(sent.size(), 13u);
    EXPECT_EQ(sent.substr(0, 9),
              std::string("\4\1\0\0\7", 5) + be32(static_cast<int>(sent.size()) - 9));
    EXPECT_EQ(sent.substr(9, 4), be32(1007));
    std::string restored(1007, '\0');
    EXPECT_EQ(LZ4_decompress_safe(sent.data() + 13, restored.data(),
                                  static_cast<int>(sent.size()) - 13, 1007),
              1007);
    EXPECT_EQ(restored, plain);

    const held_packet empty(packet_of(s.stmt, OPCODE_OPTIONS, ""));
    empty->frame[0] = 4;
    EXPECT_EQ(cass_send_packet(s.stmt, empty.get()), 9);
    EXPECT_EQ(heard(s), std::string("\4\0\0\0\5\0\0\0\0", 9));

    s.conn->compression = COMPRESSION_SNAPPY;
    EXPECT_EQ(cass_send_packet(s.stmt, packet.get()), -1);
    EXPECT_EQ(heard(s), "");
}

TEST(frame, is_read_whatever_its_version_and_stream)
{
    session s;
    s.conn->compression = COMPRESSION_LZ4;
    const std::string plain = pattern(5000);
    say(s, std::string("\x7F\0\x12\x34\x02\0\0\0\0", 9));  // an empty body is never compressed
    std::string packed = reply(OPCODE_RESULT, lz4_body(plain), 1);
    packed[2] = '\x80';
    say(s, packed);
    const held_packet ready(cass_read_packet(s.stmt));
    ASSERT_NE(ready, nullptr);
    EXPECT_EQ(ready->opcode, OPCODE_READY);
    EXPECT_EQ(ready->version, 0x7F);
    EXPECT_EQ(ready->stream, 0x1234);
    EXPECT_EQ(ready->length, 0);
    const held_packet result(cass_read_packet(s.stmt));
    ASSERT_NE(result, nullptr);
    EXPECT_EQ(result->stream, -32768);
    EXPECT_EQ(body_of(result.get()), plain);
}

TEST(frame, that_lies_about_its_size_or_compression_is_refused)
{
    const std::string packed = lz4_body(pattern(1000));
    const struct {
        const char *name;
        std::int32_t mode;
        std::string bytes;
    } cases[] = {
        {"negative length", COMPRESSION_NONE, std::string("\x84\0\0\0\x08", 5) + be32(-1)},
        {"compressed unasked", COMPRESSION_NONE, reply(OPCODE_RESULT, packed, 1)},
        {"no room for the size", COMPRESSION_LZ4, reply(OPCODE_RESULT, "abc", 1)},
        {"negative size", COMPRESSION_LZ4, reply(OPCODE_RESULT, be32(-5) + packed.substr(4), 1)},
        {"impossible ratio", COMPRESSION_LZ4, reply(OPCODE_RESULT, be32(255 * 3 + 65) + "abc", 1)},
        {"size too small", COMPRESSION_LZ4, reply(OPCODE_RESULT, be32(999) + packed.substr(4), 1)},
        {"rubbish", COMPRESSION_LZ4, reply(OPCODE_RESULT, be32(64) + "\xFF\xFF\xFF\xFF", 1)},
        {"nothing packed", COMPRESSION_LZ4, reply(OPCODE_RESULT, be32(10), 1)},
    };
    for (const auto &c : cases) {
        session s;
        s.conn->compression = c.mode;
        say(s, c.bytes);
        EXPECT_EQ(cass_read_packet(s.stmt), nullptr) << c.name;
        EXPECT_EQ(records(&s.conn->head) + records(&s.stmt->head), "") << c.name;
    }
}

TEST(frame, cut_at_any_byte_ends_in_a_failed_read)
{
    const std::string whole = reply(OPCODE_RESULT, pattern(20));
    for (std::size_t cut = 0; cut < whole.size(); cut++) {
        session s;
        say(s, whole.substr(0, cut));
        hang_up(s);
        EXPECT_EQ(cass_read_packet(s.stmt), nullptr) << cut;
        EXPECT_EQ(records(&s.conn->head),
                  "08S01|Communication link failure: read failed (peer shutdown)\n")
            << cut;
    }
}

TEST(frame, of_an_enormous_announced_size_costs_only_what_arrives)
{
    session s;
    s.conn->compression = COMPRESSION_LZ4;
    say(s, std::string("\x84\1\0\0\x08", 5) + be32(INT32_MAX - 16) + "abc");
    hang_up(s);
    EXPECT_EQ(cass_read_packet(s.stmt), nullptr);
    EXPECT_LT(s.conn->compressed_capacity, 20u * 1024 * 1024);
}

TEST(frame, of_many_megabytes_is_read_whole)
{
    session s;
    const std::string body = pattern(40 * 1024 * 1024 + 17);
    const std::string bytes = reply(OPCODE_RESULT, body);
    std::thread peer([&] { say(s, bytes); });
    const held_packet packet(cass_read_packet(s.stmt));
    peer.join();
    ASSERT_NE(packet, nullptr);
    EXPECT_TRUE(body_of(packet.get()) == body);
}

TEST(frame, block_of_a_finished_reply_serves_the_next_one_until_it_is_much_too_large)
{
    session s;
    const auto read_body = [&s](std::size_t size) {
        const std::string body = pattern(size);
        std::thread peer([&] { say(s, reply(OPCODE_RESULT, body)); });
        cass_packet *packet = cass_read_packet(s.stmt);
        peer.join();
        EXPECT_EQ(body_of(packet), body);
        return packet;
    };
    cass_packet *first = read_body(1'000'000);
    cass_packet_unref(first);
    cass_packet *second = read_body(990'000);
    EXPECT_EQ(second, first);  // the same record in the same block
    cass_packet *third = read_body(10);
    EXPECT_NE(third, second);
    cass_packet_ref(second);
    cass_packet_unref(second);
    cass_packet_unref(second);
    cass_packet_unref(third);

    for (int i = 0; i < 200; i++)
        cass_packet_unref(read_body(i % 2 == 0 ? 100 : 2000));
    cass_packet_unref(read_body(500'000));
    ASSERT_NE(s.conn->spare_packet, nullptr);
    EXPECT_GE(s.conn->spare_packet->capacity, 500'000u);
    for (int i = 0; i < 200; i++)
        cass_packet_unref(read_body(100));
    EXPECT_LE(s.conn->spare_packet->capacity, 65536u);
}

TEST(frame, error_gives_its_code_and_text_and_leaves_the_rest)
{
    session s;
    std::int32_t code = 0;
    const held_packet packet(
        packet_of(s.stmt, OPCODE_ERROR, be32(0x1200) + str("Operation timed out") + "extra"));
    const held_string text(decode_error_packet(s.stmt, packet.get(), &code));
    EXPECT_EQ(code, 0x1200);
    EXPECT_EQ(narrow(text.get()), "Operation timed out");
    const held_packet ready(packet_of(s.stmt, OPCODE_READY, ""));
    EXPECT_EQ(decode_error_packet(s.stmt, ready.get(), &code), nullptr);
    EXPECT_EQ(records(&s.stmt->head), "08S01|Communication link failure: Invalid opcode passed to "
                                      "decode_error_packet, 2\n");
}
