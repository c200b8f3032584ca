// The road out and the road in of frames. Every size that a header announces is a claim to be
// checked: a block grows no further than the bytes that really arrive.
#include <lz4.h>
#include <sys/socket.h>

#include <algorithm>

#include "core/diag/cass_err.h"
#include "core/log/cass_log.h"
#include "core/net/cass_conn.h"
#include "core/wire/cass_pkt_internal.h"

static constexpr char log_source[] = "cass_pkt.c";

constexpr std::size_t LEAST_CAPACITY = 512;
constexpr std::int32_t FIRST_STEP = 16 * 1024 * 1024;  // most that is allocated on a header's word

// A compressed body: the header, the uncompressed size as [int], and the LZ4 block.
constexpr std::int32_t LZ4_PREFIX_SIZE = 4;
constexpr std::int32_t LZ4_START = FRAME_HEADER_SIZE + LZ4_PREFIX_SIZE;
// An LZ4 block of n bytes restores to fewer than 255 x n bytes.
constexpr std::int64_t LZ4_BEST_RATIO = 255;
constexpr std::int64_t LZ4_SLACK = 64;

// ---- Blocks ------------------------------------------------------------------------------------

// Makes room for `needed` bytes, of which the first `kept` survive. Leaves an eighth to spare, so
// that pages of slightly different sizes settle in one block. False when memory ran out.
static bool reserve_block(unsigned char **block, std::size_t *capacity, std::size_t needed,
                          std::size_t kept)
{
    if (needed <= *capacity)
        return true;
    const std::size_t wanted = std::max(needed + needed / 8, LEAST_CAPACITY);
    void *grown;
    if (kept == 0) {
        std::free(*block);
        *block = nullptr;
        *capacity = 0;
        grown = std::malloc(wanted);
    } else {
        grown = std::realloc(*block, wanted);
    }
    if (grown == nullptr)
        return false;
    *block = static_cast<unsigned char *>(grown);
    *capacity = wanted;
    return true;
}

// Remembers what frames need, forgetting an old peak slowly, and gives a kept block back that has
// become much larger than that.
static void note_need(cass_conn *conn, std::size_t needed)
{
    conn->recent_need = std::max(needed, conn->recent_need - conn->recent_need / 16);
}

static void trim_block(const cass_conn *conn, unsigned char **block, std::size_t *capacity)
{
    if (!cass_block_outgrown(*capacity, conn->recent_need))
        return;
    std::free(*block);
    *block = nullptr;
    *capacity = 0;
}

// ---- Sending -----------------------------------------------------------------------------------

static std::int32_t send_compressed(cass_packet *packet)
{
    cass_conn *conn = packet->conn;
    const int bound = LZ4_compressBound(packet->length);
    if (bound < 1)
        return -1;
    const std::size_t needed = static_cast<std::size_t>(bound) + LZ4_START;
    if (!reserve_block(&conn->compressed, &conn->compressed_capacity, needed, 0)) {
        packet->failed = PACKET_NO_MEMORY;
        return -1;
    }
    note_need(conn, needed);
    unsigned char *frame = conn->compressed;
    std::memcpy(frame, packet->frame, FRAME_HEADER_SIZE);
    frame[1] |= FRAME_COMPRESSED;
    const int size =
        LZ4_compress_default(reinterpret_cast<const char *>(packet->body),
                             reinterpret_cast<char *>(frame + LZ4_START), packet->length, bound);
    if (size < 1)
        return -1;
    store_be32(frame + 5, static_cast<std::uint32_t>(size + LZ4_PREFIX_SIZE));
    store_be32(frame + FRAME_HEADER_SIZE, static_cast<std::uint32_t>(packet->length));
    const std::int32_t sent = conn_write(conn, frame, LZ4_START + size);
    trim_block(conn, &conn->compressed, &conn->compressed_capacity);
    return sent < 1 ? sent : packet->length + FRAME_HEADER_SIZE;
}

std::int32_t cass_send_packet(cass_stmt *stmt, cass_packet *packet)
{
    // STARTUP announces the compression and goes in front of it.
    const std::int32_t mode =
        packet->opcode == OPCODE_STARTUP ? COMPRESSION_NONE : stmt_conn(stmt)->compression;
    if (packet->failed)
        return -1;
    if (packet->length > 0 && mode == COMPRESSION_SNAPPY)
        return -1;
    if (packet->length > 0 && mode == COMPRESSION_LZ4)
        return send_compressed(packet);
    store_be32(packet->frame + 5, static_cast<std::uint32_t>(packet->length));
    return conn_write(packet->conn, packet->frame, packet->length + FRAME_HEADER_SIZE);
}

// ---- Receiving ---------------------------------------------------------------------------------

// A reply on its way: whose log and diagnostics it uses, and why it does not come.
struct frame_reader {
    cass_stmt *stmt;
    cass_exchange_failure failure;
};

static bool fail(frame_reader *reader, cass_exchange_failure failure)
{
    if (failure == EXCHANGE_NO_MEMORY_TO_READ)
        cass_post_no_memory(&reader->stmt->head, log_source, "cass_read_packet");
    reader->failure = failure;
    return false;
}

// A result of 0, the end of a TLS stream, counts as a failed read: the loop would never end.
static bool read_exactly(frame_reader *reader, unsigned char *target, std::int32_t count)
{
    cass_conn *conn = stmt_conn(reader->stmt);
    while (count > 0) {
        std::int32_t got = 0;
        const std::int32_t result =
            conn_read(conn, target, count, &got, shared_get(&conn->settings.read_timeout));
        if (result < 1)
            return fail(reader, result == CONN_TIMED_OUT ? EXCHANGE_TIMED_OUT : EXCHANGE_BROKEN);
        target += got;
        count -= got;
    }
    return true;
}

// Reads `length` bytes into the block behind its first `offset` bytes, which are left free. A long
// body is read in steps, each as long as all before it, so that a lying header costs no more memory
// than the bytes that arrive.
static bool read_into_block(frame_reader *reader, unsigned char **block, std::size_t *capacity,
                            std::size_t offset, std::int32_t length)
{
    std::int32_t done = 0;
    std::int32_t step = std::min(length, FIRST_STEP);
    do {
        const std::size_t held = offset + static_cast<std::size_t>(done);
        if (!reserve_block(block, capacity, held + static_cast<std::size_t>(step),
                           done == 0 ? 0 : held))
            return fail(reader, EXCHANGE_NO_MEMORY_TO_READ);
        if (!read_exactly(reader, *block + held, step))
            return false;
        done += step;
        step = std::min(length - done, done);
    } while (done < length);
    return true;
}

static bool read_plain(frame_reader *reader, cass_packet *packet)
{
    note_need(packet->conn, static_cast<std::size_t>(packet->length) + FRAME_HEADER_SIZE);
    trim_block(packet->conn, &packet->frame, &packet->capacity);
    return read_into_block(reader, &packet->frame, &packet->capacity, FRAME_HEADER_SIZE,
                           packet->length);
}

static bool read_compressed(frame_reader *reader, const cass_packet *packet)
{
    cass_conn *conn = packet->conn;
    trim_block(conn, &conn->compressed, &conn->compressed_capacity);
    return read_into_block(reader, &conn->compressed, &conn->compressed_capacity, 0,
                           packet->length);
}

// Restores the body that read_compressed has read behind the frame's header. False for one that
// lies about its size, or that nobody asked for.
static bool restore_body(frame_reader *reader, cass_packet *packet)
{
    cass_conn *conn = packet->conn;
    if (conn->compression != COMPRESSION_LZ4 || packet->length < LZ4_PREFIX_SIZE)
        return fail(reader, EXCHANGE_BROKEN);
    const auto size = static_cast<std::int32_t>(load_be32(conn->compressed));
    const std::int32_t packed = packet->length - LZ4_PREFIX_SIZE;
    if (size < 0 || size > packed * LZ4_BEST_RATIO + LZ4_SLACK)
        return fail(reader, EXCHANGE_BROKEN);

    const std::size_t needed = static_cast<std::size_t>(size) + FRAME_HEADER_SIZE;
    note_need(conn, std::max(needed, static_cast<std::size_t>(packet->length)));
    trim_block(conn, &packet->frame, &packet->capacity);
    if (!reserve_block(&packet->frame, &packet->capacity, needed, 0))
        return fail(reader, EXCHANGE_NO_MEMORY_TO_READ);
    packet->length = LZ4_decompress_safe(
        reinterpret_cast<const char *>(conn->compressed + LZ4_PREFIX_SIZE),
        reinterpret_cast<char *>(packet->frame + FRAME_HEADER_SIZE), packed, size);
    return packet->length >= 0 || fail(reader, EXCHANGE_BROKEN);
}

// A record for the reply, in the connection's spare block if there is one. Null when memory ran
// out.
static cass_packet *new_reply(cass_stmt *stmt, const unsigned char *header)
{
    cass_packet *packet = cass_packet_swap_spare(stmt_conn(stmt), nullptr);
    if (packet == nullptr)
        packet = static_cast<cass_packet *>(std::calloc(1, sizeof(cass_packet)));
    if (packet == nullptr)
        return nullptr;
    packet->conn = stmt_conn(stmt);
    packet->owner = stmt;
    packet->version = header[0];
    packet->flags = header[1];
    packet->stream = static_cast<std::int16_t>(load_be16(header + 2));
    packet->opcode = header[4];
    packet->length = static_cast<std::int32_t>(load_be32(header + 5));
    packet->write_pos = 0;
    packet->read_pos = 0;
    packet->refs = 1;
    packet->ran_short = 0;
    packet->failed = 0;
    packet->reply = 1;
    packet->unknown_types = 0;
    packet->kept_types = 0;
    return packet;
}

static bool is_compressed(const cass_packet *packet)
{
    return packet->length > 0 && (packet->flags & FRAME_COMPRESSED) != 0;
}

// A frame as it stands on the wire, its header into `header` and its body into the packet or, when
// compressed, into the connection's block. Null when that ended before the frame's last byte.
static cass_packet *read_frame(frame_reader *reader, unsigned char *header)
{
    if (!read_exactly(reader, header, FRAME_HEADER_SIZE))
        return nullptr;
    held_packet packet(new_reply(reader->stmt, header));
    if (packet == nullptr) {
        fail(reader, EXCHANGE_NO_MEMORY_TO_READ);
        return nullptr;
    }
    if (packet->length < 0 || packet->length > BODY_LIMIT) {
        fail(reader, EXCHANGE_BROKEN);
        return nullptr;
    }
    const bool whole = is_compressed(packet.get()) ? read_compressed(reader, packet.get())
                                                   : read_plain(reader, packet.get());
    return whole ? packet.release() : nullptr;
}

// The stream stands inside a frame, whose rest would be taken for the next reply.
static void leave_stream(const cass_conn *conn)
{
    shutdown(conn->socket, SHUT_RDWR);
}

// Version and stream of a reply are kept but not checked: one request is in flight at a time, and
// whatever comes back is its reply.
cass_packet *cass_read_packet(cass_stmt *stmt, cass_exchange_failure *failure)
{
    unsigned char header[FRAME_HEADER_SIZE];
    frame_reader reader = {.stmt = stmt, .failure = EXCHANGE_WHOLE};
    cass_conn *conn = stmt_conn(stmt);
    held_packet packet(read_frame(&reader, header));
    if (packet == nullptr)
        leave_stream(conn);
    const bool good =
        packet != nullptr && (!is_compressed(packet.get()) || restore_body(&reader, packet.get()));
    trim_block(conn, &conn->compressed, &conn->compressed_capacity);
    *failure = reader.failure;
    if (!good)
        return nullptr;
    packet->body = packet->frame + FRAME_HEADER_SIZE;
    std::memcpy(packet->frame, header, FRAME_HEADER_SIZE);
    CASS_LOG_PACKET(&stmt->head, packet->frame, packet->length + FRAME_HEADER_SIZE,
                    "Packet recieved length=%d, version=%x, flags=%x, stream=%d, opcode=%x, "
                    "compression=%d",
                    packet->length, packet->version, packet->flags, packet->stream, packet->opcode,
                    packet->conn->compression);
    return packet.release();
}
