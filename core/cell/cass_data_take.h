// Taking a cell from a page, for the decoders: a signed 32-bit length and that many bytes. What is
// taken never leaves the frame.
#ifndef CORE_CELL_CASS_DATA_TAKE_H
#define CORE_CELL_CASS_DATA_TAKE_H

#include "core/cell/cass_data.h"

constexpr std::int32_t CELL_PREFIX = 4;  // bytes of a cell's length

// ---- Cells that cannot be taken: posted, SQL_ERROR, and the rows are given up --------------------

[[gnu::cold, gnu::noinline]] SQLRETURN cell_broken(cass_stmt *stmt);
[[gnu::cold, gnu::noinline]] SQLRETURN cell_no_memory(cass_stmt *stmt);

// ---- Taking ------------------------------------------------------------------------------------

// A cell of a new row: not null, nothing of it delivered.
inline void begin_cell(cass_data_storage *cell, std::int32_t data_type)
{
    cell->data_type = data_type;
    cell->isnull = 0;
    cell->alloc_length = 0;
    cell->offset = 0;
    cell->finished = 0;
    cell->wide_left = 0;
}

// The bytes of a cell that is exactly `width` long, consumed; null for every other cell.
inline const unsigned char *take_fixed(cass_packet *packet, std::int32_t width)
{
    const unsigned char *cell = packet->body + packet->read_pos;
    if (pkt_remaining(packet) < CELL_PREFIX + width ||
        load_be32(cell) != static_cast<std::uint32_t>(width)) [[unlikely]]
        return nullptr;
    packet->read_pos += CELL_PREFIX + width;
    return cell + CELL_PREFIX;
}

// A cell that take_fixed refused. A length of 0 is how some clients write "empty" into a type that
// has no empty value: it is delivered as SQL NULL.
[[gnu::noinline]] SQLRETURN take_null(cass_stmt *stmt, cass_packet *packet, cass_data_storage *cell,
                                      std::int32_t data_type);

// The bytes of a cell of any length of at least `least`, consumed; null for every other cell.
inline const unsigned char *take_variable(cass_packet *packet, std::int32_t least,
                                          std::int32_t *length)
{
    const std::int32_t remaining = pkt_remaining(packet);
    if (remaining < CELL_PREFIX) [[unlikely]]
        return nullptr;
    const unsigned char *cell = packet->body + packet->read_pos;
    *length = static_cast<std::int32_t>(load_be32(cell));
    if (*length < least || *length > remaining - CELL_PREFIX) [[unlikely]]
        return nullptr;
    packet->read_pos += CELL_PREFIX + *length;
    return cell + CELL_PREFIX;
}

// A cell that take_variable refused when its least length was 0: NULL, or broken.
[[gnu::noinline]] SQLRETURN take_null_variable(cass_stmt *stmt, cass_packet *packet,
                                               cass_data_storage *cell, std::int32_t data_type);

// A cell of any bytes, copied into the column's buffer.
inline SQLRETURN decode_bytes(cass_stmt *stmt, cass_packet *packet, cass_field *field,
                              std::int32_t data_type)
{
    cass_data_storage *cell = &field->data_storage;
    std::int32_t length = 0;
    const unsigned char *bytes = take_variable(packet, 0, &length);
    if (bytes == nullptr) [[unlikely]]
        return take_null_variable(stmt, packet, cell, data_type);

    begin_cell(cell, data_type);
    if (length == 0 || static_cast<std::uint32_t>(length) > cell->capacity) [[unlikely]] {
        if (cass_storage_reserve(cell, length) != 0)
            return cell_no_memory(stmt);
        if (length == 0)
            return SQL_SUCCESS;
    }
    cell->alloc_length = length;
    cell->value.bytes = cell->buffer;
    std::memcpy(cell->buffer, bytes, static_cast<std::size_t>(length));
    return SQL_SUCCESS;
}

#endif
