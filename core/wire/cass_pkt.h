// Frames of the Cassandra native protocol, version 4: the record, its primitive writers and
// readers, and its transfer. Numbers are big-endian. Nothing here knows what a request means.
#ifndef CORE_WIRE_CASS_PKT_H
#define CORE_WIRE_CASS_PKT_H

#include <cstdlib>
#include <cstring>

#include "core/record/cass_handles.h"
#include "support/bigendian.h"

enum : std::uint8_t {
    OPCODE_ERROR = 0,
    OPCODE_STARTUP = 1,
    OPCODE_READY = 2,
    OPCODE_AUTHENTICATE = 3,
    OPCODE_OPTIONS = 5,
    OPCODE_SUPPORTED = 6,
    OPCODE_QUERY = 7,
    OPCODE_RESULT = 8,
    OPCODE_PREPARE = 9,
    OPCODE_EXECUTE = 10,
    OPCODE_AUTH_CHALLENGE = 14,
    OPCODE_AUTH_RESPONSE = 15,
    OPCODE_AUTH_SUCCESS = 16,
};

enum : std::uint8_t {
    FRAME_COMPRESSED = 0x01,
    FRAME_WARNING = 0x08,
};

// How the bodies of a session are compressed.
enum : std::int32_t {
    COMPRESSION_NONE = 0,
    COMPRESSION_SNAPPY = 1,  // has no encoder here; never chosen
    COMPRESSION_LZ4 = 2,
};

constexpr std::uint8_t PROTOCOL_VERSION = 4;

// Why a frame cannot be sent.
enum : std::int32_t {
    PACKET_TOO_LONG = 1,  // the frame, or a text in it, would outgrow its length field
    PACKET_NO_MEMORY = 2,
};

struct cass_packet {
    cass_conn *conn;
    cass_stmt *owner;  // whose log and diagnostics its transfer uses
    std::uint8_t version;
    std::uint8_t flags;
    std::int16_t stream;
    std::uint8_t opcode;
    std::int32_t length;   // bytes of body, uncompressed
    unsigned char *frame;  // owned: 9 header bytes and the body
    unsigned char *body;   // frame + 9
    std::int32_t write_pos;
    std::int32_t read_pos;  // never past length
    std::int32_t refs;
    std::size_t capacity;           // bytes allocated at frame
    std::int32_t ran_short;         // a reader found fewer bytes than it was to read
    std::int32_t failed;            // not 0: a writer could not append; the frame must not be sent
    std::int32_t reply;             // read from the server: its block serves a later reply
    std::int32_t unknown_types;     // columns in it whose type nobody knows
    std::int32_t kept_types;        // types in the trees that its columns keep
    std::int32_t keyspace_changes;  // of the connection when it came
    std::uint32_t session;          // of the connection, that it came in
};

// Why a request has no reply.
enum cass_exchange_failure : std::int32_t {
    EXCHANGE_WHOLE = 0,
    EXCHANGE_NOT_SENT,
    EXCHANGE_NO_MEMORY_TO_SEND,  // nothing posted yet
    EXCHANGE_TOO_LONG,           // the request outgrew its frame; nothing posted yet
    EXCHANGE_DEAD,               // the connection broke earlier; nothing posted yet
    EXCHANGE_LOST,               // it broke and could not be made whole; nothing posted yet
    EXCHANGE_FORGOTTEN,          // the statement was prepared in an earlier session; the same
    EXCHANGE_CANCELLED,          // nothing posted yet, as with the next two
    EXCHANGE_TIMED_OUT,
    EXCHANGE_CONNECTION_TIMED_OUT,  // by SQL_ATTR_CONNECTION_TIMEOUT
    EXCHANGE_BROKEN,                // the stream ended or is out of step, or the frame is a lie
    EXCHANGE_NO_MEMORY_TO_READ,     // HY001 posted
};

// ---- Construction and transfer -----------------------------------------------------------------

// New frame with an empty body. Null with HY001 posted on `failure_handle`, or on the statement if
// that is null.
cass_packet *cass_new_packet(cass_stmt *stmt, std::uint8_t version, std::uint8_t flags,
                             std::int16_t stream, std::uint8_t opcode, cass_handle *failure_handle);
// A reply with a copy of this body, as if it had been read. Null when memory ran out, with nothing
// posted.
cass_packet *cass_packet_from_body(cass_stmt *stmt, std::uint8_t opcode, const unsigned char *body,
                                   std::int32_t length);
// From now on the request of a statement, sent and answered to the last byte, has the time that the
// statement's time-out leaves it, or ReadTimeout, and the connection's time-out beside either: sets
// request_ends and request_limit of the connection. Whoever calls it takes request_ends back.
void cass_limit_request(cass_stmt *stmt);
// Sends the frame, compressed when lz4 is in force and the body is not empty. Bytes of the
// uncompressed frame, or a negative value (write failed and posted by conn_write, frame marked
// `failed`, compression failed). CONN_TIMED_OUT when the time was up; the socket is shut down then.
std::int32_t cass_send_packet(cass_stmt *stmt, cass_packet *packet);
// Reads the reply, restored to its uncompressed form. Null with *failure telling why: a failed read
// is posted on the connection by conn_read, exhaustion as HY001 on the statement. A read that ends
// before the frame's last byte leaves the stream out of step: the socket is shut down, and the next
// request fails at once. Where the conduct any_frame_is_the_reply says so, a request that was
// cancelled or timed out leaves the connection in use, and its reply is dropped when it comes.
cass_packet *cass_read_packet(cass_stmt *stmt, cass_exchange_failure *failure);
void cass_packet_ref(cass_packet *packet);
// Drops one reference; at zero the block goes back to the connection's spare slot or the heap. Null
// is accepted. A count below zero ends the process.
void cass_packet_unref(cass_packet *packet);
// Releases the spare packet and the compression block of a connection that goes.
void cass_packet_drop_spare(cass_conn *conn);
// Whether a block that is kept for reuse is much larger than `need`, the bytes wanted of late.
bool cass_block_outgrown(std::size_t capacity, std::size_t need);

// Locals that must not leak on an early exit.
using held_packet = held<cass_packet, &cass_packet_unref>;

// Error code and message of an ERROR frame; the caller owns the text. Null for another opcode
// (08S01 posted on the statement) or on exhaustion (HY001).
cass_string *decode_error_packet(cass_stmt *stmt, cass_packet *packet, std::int32_t *code);

// ---- Writers: append to the body ---------------------------------------------------------------
// -1 when memory ran out or a text does not fit its length field; the frame is then marked failed
// and takes nothing more.

std::int32_t pkt_put_bytes(cass_packet *packet, const void *bytes, std::int32_t count);  // count
std::int32_t pkt_put_byte(cass_packet *packet, std::uint8_t value);                      // 1
std::int32_t pkt_put_short(cass_packet *packet, std::int16_t value);                     // 2
std::int32_t pkt_put_int(cass_packet *packet, std::int32_t value);                       // 4
// [string] and [long string], a text as the conduct text_goes_out_by_low_bytes says; null is empty.
// 0.
std::int32_t pkt_put_string(cass_packet *packet, const cass_string *text);
std::int32_t pkt_put_long_string(cass_packet *packet, const cass_string *text);
// [short bytes] and [bytes]. 0.
std::int32_t pkt_put_short_bytes(cass_packet *packet, const void *bytes, std::int32_t count);
std::int32_t pkt_put_long_bytes(cass_packet *packet, const void *bytes, std::int32_t count);

// Four bytes that were written at `position` become the number, and `count` other bytes stand in
// place of such four, with what is behind them moved. Nothing in a frame that takes no more.
void pkt_set_int(cass_packet *packet, std::int32_t position, std::int32_t value);
void pkt_replace_int(cass_packet *packet, std::int32_t position, const void *bytes,
                     std::int32_t count);

inline std::int32_t pkt_position(const cass_packet *packet)
{
    return packet->write_pos;
}
// New heap copy of the body from `position` to the write position; null with length 0 for an empty
// range, with -1 on exhaustion.
unsigned char *pkt_copy_from(const cass_packet *packet, std::int32_t position,
                             std::int32_t *length);

// ---- Plain memory ------------------------------------------------------------------------------

// ---- Readers: too few bytes give 0 and move nothing; nothing here posts ------------------------

inline std::int32_t pkt_remaining(const cass_packet *packet)
{
    return packet->length - packet->read_pos;
}

// Notes that the body ended before what it announced. 0, what a reader gives then.
inline std::int8_t pkt_ran_short(cass_packet *packet)
{
    packet->ran_short = 1;
    return 0;
}

inline std::int8_t pkt_get_byte(cass_packet *packet)
{
    if (pkt_remaining(packet) < 1)
        return pkt_ran_short(packet);
    return static_cast<std::int8_t>(packet->body[packet->read_pos++]);
}

inline std::int16_t pkt_get_short(cass_packet *packet)
{
    if (pkt_remaining(packet) < 2)
        return pkt_ran_short(packet);
    const std::uint16_t value = load_be16(packet->body + packet->read_pos);
    packet->read_pos += 2;
    return static_cast<std::int16_t>(value);
}

inline std::int32_t pkt_get_int(cass_packet *packet)
{
    if (pkt_remaining(packet) < 4)
        return pkt_ran_short(packet);
    const std::uint32_t value = load_be32(packet->body + packet->read_pos);
    packet->read_pos += 4;
    return static_cast<std::int32_t>(value);
}

inline std::int64_t pkt_get_long(cass_packet *packet)
{
    if (pkt_remaining(packet) < 8)
        return pkt_ran_short(packet);
    const std::uint64_t value = load_be64(packet->body + packet->read_pos);
    packet->read_pos += 8;
    return static_cast<std::int64_t>(value);
}

// A count of 16 bits; one below zero is 0.
inline std::int32_t pkt_get_count(cass_packet *packet)
{
    const std::int16_t count = pkt_get_short(packet);
    return count < 0 ? 0 : count;
}

// Whether another counted member is due: everything that is counted begins with two bytes at least.
inline bool pkt_has_more(cass_packet *packet)
{
    return pkt_remaining(packet) >= 2 || pkt_ran_short(packet) != 0;
}

// `count` bytes into a buffer. 0, or -1 with nothing moved (also for a negative count).
int pkt_get_raw(cass_packet *packet, void *buffer, std::int32_t count);
// [string], its length unsigned: a new text, a byte to a unit; empty when missing or when the
// length runs past the body (the length is consumed, the bytes are not). Null only on exhaustion.
cass_string *pkt_get_string(cass_packet *packet);
// [bytes] and [short bytes] (signed length): a new heap block and its length. A length of 0 or
// below, none at all: null and that length. A length past the body: null and 0, the length
// consumed. Null and a length above 0: memory ran out, and the bytes are passed over.
unsigned char *pkt_get_long_bytes(cass_packet *packet, std::int32_t *length);
unsigned char *pkt_get_short_bytes(cass_packet *packet, std::int32_t *length);

inline std::uint8_t pkt_opcode(const cass_packet *packet)
{
    return packet->opcode;
}

inline bool pkt_has_warning(const cass_packet *packet)
{
    return (packet->flags & FRAME_WARNING) != 0;
}

// ---- Kept by name, nothing uses it ---------------------------------------------------------------

// Appends 8 bytes to the body; as the other writers.
std::int32_t pkt_put_long(cass_packet *packet, std::int64_t value);

#endif
