// Frames: their blocks, and the writers and readers of their bodies. Every size that a body
// announces is a claim to be checked: readers never leave the body.
#include "core/wire/cass_pkt.h"

#include <algorithm>
#include <climits>

#include "core/diag/cass_err.h"
#include "core/log/cass_log.h"
#include "core/wire/cass_pkt_internal.h"

static constexpr char log_source[] = "cass_pkt.c";

constexpr std::size_t REQUEST_CAPACITY = 256;
constexpr std::size_t SPARE_LIMIT = 16 * 1024 * 1024;  // blocks above this are never kept
constexpr std::size_t SPARE_FLOOR = 64 * 1024;         // blocks up to this are always kept
constexpr std::int32_t SHORT_LENGTH_LIMIT = 65535;

// ---- Blocks ------------------------------------------------------------------------------------

bool cass_block_outgrown(std::size_t capacity, std::size_t need)
{
    return capacity > SPARE_FLOOR && (capacity > SPARE_LIMIT || capacity / 4 > need);
}

static void free_packet(cass_packet *packet)
{
    if (packet == nullptr)
        return;
    std::free(packet->frame);
    std::free(packet);
}

cass_packet *cass_packet_swap_spare(cass_conn *conn, cass_packet *packet)
{
    return __atomic_exchange_n(&conn->spare_packet, packet, __ATOMIC_ACQ_REL);
}

void cass_packet_ref(cass_packet *packet)
{
    packet->refs++;
}

void cass_packet_unref(cass_packet *packet)
{
    if (packet == nullptr)
        return;
    packet->refs--;
    if (packet->refs < 0)
        std::abort();
    if (packet->refs > 0)
        return;
    if (packet->reply && packet->capacity <= SPARE_LIMIT)
        packet = cass_packet_swap_spare(packet->conn, packet);
    free_packet(packet);
}

void cass_packet_drop_spare(cass_conn *conn)
{
    free_packet(cass_packet_swap_spare(conn, nullptr));
    std::free(conn->compressed);
    conn->compressed = nullptr;
    conn->compressed_capacity = 0;
    conn->recent_need = 0;
}

static cass_packet *make_packet(cass_stmt *stmt, std::uint8_t version, std::uint8_t flags,
                                std::int16_t stream, std::uint8_t opcode)
{
    auto *packet = static_cast<cass_packet *>(std::calloc(1, sizeof(cass_packet)));
    if (packet != nullptr)
        packet->frame = static_cast<unsigned char *>(std::malloc(REQUEST_CAPACITY));
    if (packet == nullptr || packet->frame == nullptr) {
        free_packet(packet);
        return nullptr;
    }
    packet->conn = stmt_conn(stmt);
    packet->owner = stmt;
    packet->version = version;
    packet->flags = flags;
    packet->stream = stream;
    packet->opcode = opcode;
    packet->capacity = REQUEST_CAPACITY;
    packet->body = packet->frame + FRAME_HEADER_SIZE;
    packet->refs = 1;
    packet->frame[0] = version;
    packet->frame[1] = flags;
    store_be16(packet->frame + 2, static_cast<std::uint16_t>(stream));
    packet->frame[4] = opcode;
    return packet;
}

cass_packet *cass_new_packet(cass_stmt *stmt, std::uint8_t version, std::uint8_t flags,
                             std::int16_t stream, std::uint8_t opcode, cass_handle *failure_handle)
{
    cass_packet *packet = make_packet(stmt, version, flags, stream, opcode);
    if (packet == nullptr)
        cass_post_no_memory(failure_handle != nullptr ? failure_handle : &stmt->head, log_source,
                            "cass_new_packet");
    return packet;
}

cass_packet *cass_packet_from_body(cass_stmt *stmt, std::uint8_t opcode, const unsigned char *body,
                                   std::int32_t length)
{
    held_packet packet(make_packet(stmt, PROTOCOL_VERSION, 0, 0, opcode));
    if (packet == nullptr || pkt_put_bytes(packet.get(), body, length) < 0)
        return nullptr;
    return packet.release();
}

cass_string *decode_error_packet(cass_stmt *stmt, cass_packet *packet, std::int32_t *code)
{
    *code = 0;
    if (packet->opcode != OPCODE_ERROR) {
        CASS_LOG(&stmt->head, LOG_ERROR, "Invalid opcode passed to decode_error_packet, %x",
                 packet->opcode);
        cass_post_error(&stmt->head, cass_malformed_state(stmt), 0,
                        "Invalid opcode passed to decode_error_packet, %x", packet->opcode);
        return nullptr;
    }
    *code = pkt_get_int(packet);
    cass_string *message = pkt_get_string(packet);
    if (message == nullptr)
        cass_post_no_memory(&stmt->head, log_source, "decode_error_packet");
    return message;
}
// ---- Writers -----------------------------------------------------------------------------------

// Appends `count` bytes to the body and gives their place, or null with the frame marked.
static unsigned char *append(cass_packet *packet, std::int32_t count)
{
    if (packet->failed)
        return nullptr;
    if (count > BODY_LIMIT - packet->write_pos) {
        packet->failed = PACKET_TOO_LONG;
        return nullptr;
    }
    const std::size_t needed = static_cast<std::size_t>(FRAME_HEADER_SIZE) +
                               static_cast<std::size_t>(packet->write_pos) +
                               static_cast<std::size_t>(count);
    if (needed > packet->capacity) {
        const std::size_t wanted = std::max(needed, packet->capacity * 2);
        auto *grown = static_cast<unsigned char *>(std::realloc(packet->frame, wanted));
        if (grown == nullptr) {
            packet->failed = PACKET_NO_MEMORY;
            return nullptr;
        }
        packet->frame = grown;
        packet->capacity = wanted;
        packet->body = grown + FRAME_HEADER_SIZE;
    }
    unsigned char *place = packet->body + packet->write_pos;
    packet->write_pos += count;
    packet->length = packet->write_pos;
    return place;
}

std::int32_t pkt_put_bytes(cass_packet *packet, const void *bytes, std::int32_t count)
{
    if (count < 1)
        return packet->failed ? -1 : 0;
    unsigned char *place = append(packet, count);
    if (place == nullptr)
        return -1;
    std::memcpy(place, bytes, static_cast<std::size_t>(count));
    return count;
}

std::int32_t pkt_put_byte(cass_packet *packet, std::uint8_t value)
{
    return pkt_put_bytes(packet, &value, 1);
}

std::int32_t pkt_put_short(cass_packet *packet, std::int16_t value)
{
    unsigned char *place = append(packet, 2);
    if (place == nullptr)
        return -1;
    store_be16(place, static_cast<std::uint16_t>(value));
    return 2;
}

std::int32_t pkt_put_int(cass_packet *packet, std::int32_t value)
{
    unsigned char *place = append(packet, 4);
    if (place == nullptr)
        return -1;
    store_be32(place, static_cast<std::uint32_t>(value));
    return 4;
}

void pkt_set_int(cass_packet *packet, std::int32_t position, std::int32_t value)
{
    if (!packet->failed)
        store_be32(packet->body + position, static_cast<std::uint32_t>(value));
}

void pkt_replace_int(cass_packet *packet, std::int32_t position, const void *bytes,
                     std::int32_t count)
{
    constexpr std::int32_t int_size = 4;
    const std::int32_t end = packet->write_pos;
    if (packet->failed || (count > int_size && append(packet, count - int_size) == nullptr))
        return;
    unsigned char *place = packet->body + position;
    std::memmove(place + count, place + int_size,
                 static_cast<std::size_t>(end - position - int_size));
    std::memcpy(place, bytes, static_cast<std::size_t>(count));
    packet->write_pos = end + count - int_size;
    packet->length = packet->write_pos;
}

std::int32_t pkt_put_long(cass_packet *packet, std::int64_t value)
{
    unsigned char *place = append(packet, 8);
    if (place == nullptr)
        return -1;
    store_be64(place, static_cast<std::uint64_t>(value));
    return 8;
}

// A length that its two bytes cannot hold would garble everything behind it.
static bool fits_short(cass_packet *packet, std::int32_t length)
{
    if (length <= SHORT_LENGTH_LIMIT)
        return true;
    packet->failed = PACKET_TOO_LONG;
    return false;
}

static bool text_goes_out_by_low_bytes(const cass_conn *conn)
{
    return conn->conduct->text_goes_out_by_low_bytes;
}

// A text behind its length, which `put_length` writes: 0, or -1.
static std::int32_t put_text(cass_packet *packet, const cass_string *text,
                             std::int32_t (*put_length)(cass_packet *, std::int32_t))
{
    if (!text_goes_out_by_low_bytes(packet->conn)) {
        std::int32_t count;
        const held_text bytes(cass_string_to_bytes(text, &count));
        if (text != nullptr && bytes == nullptr)
            packet->failed = PACKET_NO_MEMORY;
        if (put_length(packet, count) < 0)
            return -1;
        return pkt_put_bytes(packet, bytes.get(), count) < 0 ? -1 : 0;
    }
    const std::int32_t length = cass_string_length(text);
    unsigned char *place = put_length(packet, length) < 0 ? nullptr : append(packet, length);
    if (place == nullptr)
        return -1;
    for (std::int32_t i = 0; i < length; i++)
        place[i] = static_cast<unsigned char>(text->text[i]);
    return 0;
}

static std::int32_t put_short_length(cass_packet *packet, std::int32_t length)
{
    return fits_short(packet, length) ? pkt_put_short(packet, static_cast<std::int16_t>(length))
                                      : -1;
}

std::int32_t pkt_put_string(cass_packet *packet, const cass_string *text)
{
    return put_text(packet, text, put_short_length);
}

std::int32_t pkt_put_long_string(cass_packet *packet, const cass_string *text)
{
    return put_text(packet, text, pkt_put_int);
}

std::int32_t pkt_put_short_bytes(cass_packet *packet, const void *bytes, std::int32_t count)
{
    if (put_short_length(packet, count) < 0)
        return -1;
    return pkt_put_bytes(packet, bytes, count) < 0 ? -1 : 0;
}

std::int32_t pkt_put_long_bytes(cass_packet *packet, const void *bytes, std::int32_t count)
{
    if (pkt_put_int(packet, count) < 0)
        return -1;
    return pkt_put_bytes(packet, bytes, count) < 0 ? -1 : 0;
}

unsigned char *pkt_copy_from(const cass_packet *packet, std::int32_t position, std::int32_t *length)
{
    *length = 0;
    if (position < 0 || position >= packet->write_pos)
        return nullptr;
    const auto count = static_cast<std::size_t>(packet->write_pos - position);
    auto *copy = static_cast<unsigned char *>(std::malloc(count));
    if (copy == nullptr) {
        *length = -1;
        return nullptr;
    }
    std::memcpy(copy, packet->body + position, count);
    *length = static_cast<std::int32_t>(count);
    return copy;
}

// ---- Readers -----------------------------------------------------------------------------------

int pkt_get_raw(cass_packet *packet, void *buffer, std::int32_t count)
{
    if (count < 0 || count > pkt_remaining(packet))
        return -1;
    if (count > 0)
        std::memcpy(buffer, packet->body + packet->read_pos, static_cast<std::size_t>(count));
    packet->read_pos += count;
    return 0;
}

cass_string *pkt_get_string(cass_packet *packet)
{
    const std::int32_t length = static_cast<std::uint16_t>(pkt_get_short(packet));
    if (length > pkt_remaining(packet)) {
        pkt_ran_short(packet);
        return cass_string_from_bytes("", 0);
    }
    cass_string *text = cass_string_from_bytes(packet->body + packet->read_pos, length);
    packet->read_pos += length;
    return text;
}

// A block of the announced length, if the body has it. Without memory for it the bytes are passed
// over and *length stays, so that nothing takes them for what follows.
static unsigned char *take_bytes(cass_packet *packet, std::int32_t *length)
{
    if (*length < 1)
        return nullptr;
    const std::int32_t count = *length;
    *length = 0;
    if (count > pkt_remaining(packet)) {
        pkt_ran_short(packet);
        return nullptr;
    }
    auto *bytes = static_cast<unsigned char *>(std::malloc(static_cast<std::size_t>(count)));
    if (bytes != nullptr)
        std::memcpy(bytes, packet->body + packet->read_pos, static_cast<std::size_t>(count));
    packet->read_pos += count;
    *length = count;
    return bytes;
}

unsigned char *pkt_get_long_bytes(cass_packet *packet, std::int32_t *length)
{
    *length = pkt_get_int(packet);
    return take_bytes(packet, length);
}

unsigned char *pkt_get_short_bytes(cass_packet *packet, std::int32_t *length)
{
    *length = pkt_get_short(packet);
    return take_bytes(packet, length);
}
