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

// The stream stands inside a frame, whose rest would be taken for the next one.
static void leave_stream(cass_conn *conn)
{
    shared_put(&conn->socket_dead, 1);
    conn->late.header_read = 0;
    shutdown(conn->socket, SHUT_RDWR);
}

static std::int32_t send_frame(const cass_packet *packet, const unsigned char *frame,
                               std::int32_t size)
{
    const std::int32_t sent = packet->opcode == OPCODE_AUTH_RESPONSE
                                  ? conn_write_secret(packet->conn, frame, size, FRAME_HEADER_SIZE)
                                  : conn_write(packet->conn, frame, size);
    if (sent == CONN_TIMED_OUT)
        leave_stream(packet->conn);
    return sent;
}

static std::int32_t send_compressed(cass_packet *packet)
{
    cass_conn *conn = packet->conn;
    const int bound = LZ4_compressBound(packet->length);
    if (bound < 1) {
        packet->failed = PACKET_TOO_LONG;
        return -1;
    }
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
    const std::int32_t sent = send_frame(packet, frame, LZ4_START + size);
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
    packet->stream = stmt_conn(stmt)->late.stream;
    store_be16(packet->frame + 2, static_cast<std::uint16_t>(packet->stream));
    if (packet->length > 0 && mode == COMPRESSION_SNAPPY)
        return -1;
    if (packet->length > 0 && mode == COMPRESSION_LZ4)
        return send_compressed(packet);
    store_be32(packet->frame + 5, static_cast<std::uint32_t>(packet->length));
    return send_frame(packet, packet->frame, packet->length + FRAME_HEADER_SIZE);
}

// ---- Time-outs ---------------------------------------------------------------------------------

static bool time_out_attributes_are_kept_only(const cass_conn *conn)
{
    return conn->conduct->time_out_attributes_are_kept_only;
}

// Milliseconds of an attribute's seconds, at most what a wait can take.
static std::int32_t milliseconds_of(SQLULEN seconds)
{
    return static_cast<std::int32_t>(std::min<SQLULEN>(seconds, INT32_MAX / 1000) * 1000);
}

// ReadTimeout counts where the statement has no time-out of its own, and the connection's beside
// either.
void cass_limit_request(cass_stmt *stmt)
{
    cass_conn *conn = stmt_conn(stmt);
    std::int32_t limit = shared_get(&conn->settings.read_timeout);
    conn->request_limit = EXCHANGE_TIMED_OUT;
    if (!time_out_attributes_are_kept_only(conn)) {
        if (stmt_called(stmt)->attrs.query_timeout > 0)
            limit = milliseconds_of(stmt_called(stmt)->attrs.query_timeout);
        const std::int32_t all = milliseconds_of(shared_get(&conn->attr_connection_timeout));
        if (all > 0 && (limit == 0 || all < limit)) {
            limit = all;
            conn->request_limit = EXCHANGE_CONNECTION_TIMED_OUT;
        }
    }
    conn->request_ends = limit > 0 ? cass_monotonic_ms() + limit : 0;
}

// ---- Receiving ---------------------------------------------------------------------------------

// A reply on its way: whose log and diagnostics it uses, and why it does not come.
struct frame_reader {
    cass_stmt *stmt;
    cass_exchange_failure failure;
    std::int32_t body_left;  // bytes of the frame's body that were not read
    std::int16_t stream;     // of the frame whose body is being read
    bool in_body;
};

static bool any_frame_is_the_reply(const cass_conn *conn)
{
    return conn->conduct->any_frame_is_the_reply;
}

// Why a receive gave nothing; EXCHANGE_WHOLE when it was woken for another statement's sake.
static cass_exchange_failure failure_of(const frame_reader *reader, std::int32_t result)
{
    const cass_conn *conn = stmt_conn(reader->stmt);
    if (result == CONN_TIMED_OUT)
        return conn_request_is_over(conn) ? static_cast<cass_exchange_failure>(conn->request_limit)
                                          : EXCHANGE_TIMED_OUT;
    if (result != CONN_WOKEN)
        return EXCHANGE_BROKEN;
    conn_slept_on(conn);
    return stmt_is_cancelled(reader->stmt) ? EXCHANGE_CANCELLED : EXCHANGE_WHOLE;
}

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
        const std::int32_t result = conn_read(conn, target, count, &got, 0);
        if (result < 1) {
            const cass_exchange_failure failure = failure_of(reader, result);
            if (failure != EXCHANGE_WHOLE)
                return fail(reader, failure);
            continue;
        }
        target += got;
        count -= got;
        if (reader->in_body)
            reader->body_left -= got;
        else
            conn->late.header_read += got;
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

// A frame as it stands on the wire, its header into the connection's and its body into the packet
// or, when compressed, into the connection's block. Null when that ended before the frame's last
// byte; a header is read on from where an earlier request was left in it.
static cass_packet *read_frame(frame_reader *reader)
{
    cass_late_replies *late = &stmt_conn(reader->stmt)->late;
    if (!read_exactly(reader, late->header + late->header_read,
                      FRAME_HEADER_SIZE - late->header_read))
        return nullptr;
    late->header_read = 0;
    held_packet packet(new_reply(reader->stmt, late->header));
    if (packet == nullptr) {
        fail(reader, EXCHANGE_NO_MEMORY_TO_READ);
        return nullptr;
    }
    if (packet->length < 0 || packet->length > BODY_LIMIT) {
        fail(reader, EXCHANGE_BROKEN);
        return nullptr;
    }
    reader->in_body = true;
    reader->body_left = packet->length;
    reader->stream = packet->stream;
    const bool whole = is_compressed(packet.get()) ? read_compressed(reader, packet.get())
                                                   : read_plain(reader, packet.get());
    if (!whole)
        return nullptr;
    reader->in_body = false;
    return packet.release();
}

// ---- Late replies ------------------------------------------------------------------------------

static std::int16_t *find_late(cass_late_replies *late, std::int16_t stream)
{
    std::int16_t *end = late->streams + late->count;
    std::int16_t *found = std::find(late->streams, end, stream);
    return found == end ? nullptr : found;
}

// The reply of an earlier request has come. False for one that nobody waits for.
static bool take_late(cass_late_replies *late, std::int16_t stream)
{
    std::int16_t *found = find_late(late, stream);
    if (found == nullptr)
        return false;
    *found = late->streams[--late->count];
    return true;
}

// Gives the request up whose reply did not come: the next one has another stream number. False when
// the connection is as good as broken, after too many of them.
static bool give_request_up(cass_late_replies *late, const frame_reader &reader)
{
    if (reader.in_body)
        late->body_left = reader.body_left;
    if (!reader.in_body || reader.stream != late->stream) {
        if (late->count == MOST_LATE_REPLIES)
            return false;
        late->streams[late->count++] = late->stream;
    }
    do
        late->stream = static_cast<std::int16_t>((late->stream + 1) & INT16_MAX);
    while (find_late(late, late->stream) != nullptr);
    return true;
}

// Drops what is to come of the frame that an earlier request was left in.
static bool drop_body(frame_reader *reader, cass_late_replies *late)
{
    unsigned char dropped[4096];
    reader->in_body = true;
    reader->body_left = late->body_left;
    while (reader->body_left > 0) {
        const auto step = std::min(reader->body_left, std::int32_t{sizeof dropped});
        if (!read_exactly(reader, dropped, step))
            return false;
    }
    reader->in_body = false;
    late->body_left = 0;
    return true;
}

// The frame that answers the request. By default the next one: its version and stream are not
// looked at, as one request is in flight at a time. Null with the failure in the reader.
static cass_packet *read_reply(frame_reader *reader)
{
    cass_conn *conn = stmt_conn(reader->stmt);
    if (any_frame_is_the_reply(conn))
        return read_frame(reader);
    cass_late_replies *late = &conn->late;
    if (late->body_left > 0 && !drop_body(reader, late))
        return nullptr;
    for (;;) {
        held_packet packet(read_frame(reader));
        if (packet == nullptr || packet->stream == late->stream)
            return packet.release();
        if (!take_late(late, packet->stream)) {
            fail(reader, EXCHANGE_BROKEN);
            return nullptr;
        }
        CASS_LOG(&reader->stmt->head, LOG_DETAIL, "late reply of stream %d dropped",
                 packet->stream);
    }
}

// A request that was cancelled or timed out leaves the stream in step, where replies are told by
// their stream numbers.
static bool leaves_in_step(cass_conn *conn, const frame_reader &reader)
{
    const bool given_up = reader.failure == EXCHANGE_CANCELLED ||
                          reader.failure == EXCHANGE_TIMED_OUT ||
                          reader.failure == EXCHANGE_CONNECTION_TIMED_OUT;
    return given_up && !any_frame_is_the_reply(conn) && give_request_up(&conn->late, reader);
}

cass_packet *cass_read_packet(cass_stmt *stmt, cass_exchange_failure *failure)
{
    frame_reader reader = {
        .stmt = stmt, .failure = EXCHANGE_WHOLE, .body_left = 0, .stream = 0, .in_body = false};
    cass_conn *conn = stmt_conn(stmt);
    held_packet packet(read_reply(&reader));
    if (packet == nullptr && !leaves_in_step(conn, reader))
        leave_stream(conn);
    const bool good =
        packet != nullptr && (!is_compressed(packet.get()) || restore_body(&reader, packet.get()));
    trim_block(conn, &conn->compressed, &conn->compressed_capacity);
    *failure = reader.failure;
    if (!good) {
        if (reader.failure == EXCHANGE_BROKEN && !any_frame_is_the_reply(conn))
            leave_stream(conn);
        return nullptr;
    }
    packet->body = packet->frame + FRAME_HEADER_SIZE;
    std::memcpy(packet->frame, conn->late.header, FRAME_HEADER_SIZE);
    CASS_LOG_PACKET(&stmt->head, packet->frame, packet->length + FRAME_HEADER_SIZE,
                    "Packet recieved length=%d, version=%x, flags=%x, stream=%d, opcode=%x, "
                    "compression=%d",
                    packet->length, packet->version, packet->flags, packet->stream, packet->opcode,
                    packet->conn->compression);
    return packet.release();
}
