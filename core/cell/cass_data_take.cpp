// Cells that cannot be taken, and the buffer that a column keeps.
#include "core/cell/cass_data_take.h"

#include <cstdlib>

#include "core/diag/cass_err.h"
#include "core/log/cass_log.h"

static constexpr char log_source[] = "cass_data.c";

int cass_storage_reserve(cass_data_storage *storage, std::int32_t length)
{
    storage->alloc_length = 0;
    storage->value.bytes = nullptr;
    if (length <= 0)
        return 0;
    if (static_cast<std::uint32_t>(length) > storage->capacity) {
        // A quarter in reserve, so that slowly growing cells do not ask for a block each.
        const std::uint32_t room =
            static_cast<std::uint32_t>(length) + static_cast<std::uint32_t>(length) / 4 + 16;
        auto *buffer = static_cast<unsigned char *>(std::malloc(room));
        if (buffer == nullptr)
            return -1;
        std::free(storage->buffer);
        storage->buffer = buffer;
        storage->capacity = room;
    }
    storage->alloc_length = length;
    storage->value.bytes = storage->buffer;
    return 0;
}

// Nothing behind a broken cell can be trusted: the page and the pages after it are given up, so
// that the next fetch ends.
[[gnu::cold, gnu::noinline]] static SQLRETURN give_up_rows(cass_stmt *stmt)
{
    cass_page_abandon(&stmt->page);
    return SQL_ERROR;
}

SQLRETURN cell_broken(cass_stmt *stmt)
{
    CASS_LOG(&stmt->head, LOG_ERROR, "fetch_data_row: unexpected end of packet");
    cass_post_error(&stmt->head, cass_malformed_state(stmt), 0, "unexpected end of packet");
    return give_up_rows(stmt);
}

SQLRETURN cell_no_memory(cass_stmt *stmt)
{
    cass_post_no_memory(&stmt->head, log_source, "fetch_data_row");
    return give_up_rows(stmt);
}

SQLRETURN cass_take_cell_length(cass_stmt *stmt, cass_packet *packet)
{
    if (pkt_remaining(packet) < CELL_PREFIX)
        return cell_broken(stmt);
    packet->read_pos += CELL_PREFIX;
    return SQL_SUCCESS;
}

SQLRETURN take_null(cass_stmt *stmt, cass_packet *packet, cass_data_storage *cell,
                    std::int32_t data_type)
{
    if (pkt_remaining(packet) < CELL_PREFIX)
        return cell_broken(stmt);
    const auto length = static_cast<std::int32_t>(load_be32(packet->body + packet->read_pos));
    if (length > 0)
        return cell_broken(stmt);
    packet->read_pos += CELL_PREFIX;
    begin_cell(cell, data_type);
    cell->isnull = 1;
    return SQL_SUCCESS;
}

SQLRETURN take_null_variable(cass_stmt *stmt, cass_packet *packet, cass_data_storage *cell,
                             std::int32_t data_type)
{
    cell->alloc_length = 0;
    cell->value.bytes = nullptr;
    return take_null(stmt, packet, cell, data_type);
}
