#include "core/statement/cass_column_reuse.h"

#include <functional>
#include <string_view>

#include "core/cell/cass_data_limit.h"
#include "core/log/cass_log.h"
#include "core/net/cass_conn_shared.h"

column_shape column_shape_of(const cass_stmt *stmt, bool global, std::int32_t count)
{
    const cass_conn *conn = stmt_conn(stmt);
    return {.conduct = conn->conduct,
            .count = count,
            .global = global,
            .odbc_version = conn_env(conn)->odbc_version,
            .string_len = shared_get(&conn->settings.string_len),
            .binary_len = shared_get(&conn->settings.binary_len),
            .long_text = shared_get(&conn->settings.long_text),
            .plain_types = shared_get(&conn->settings.plain_types),
            .limited = cass_values_are_limited(stmt)};
}

static std::int32_t kept_spec_length(const cass_stmt *stmt)
{
    return stmt->meta_length - static_cast<std::int32_t>(sizeof(column_shape));
}

bool pass_description(const cass_stmt *stmt, cass_packet *packet, const column_shape &shape)
{
    const std::int32_t spec = kept_spec_length(stmt);
    if (stmt->meta_bytes == nullptr || spec > pkt_remaining(packet))
        return false;
    column_shape kept;
    std::memcpy(&kept, stmt->meta_bytes, sizeof kept);
    if (kept.count != shape.count || kept.global != shape.global ||
        std::memcmp(stmt->meta_bytes + sizeof kept, packet->body + packet->read_pos,
                    static_cast<std::size_t>(spec)) != 0)
        return false;
    packet->read_pos += spec;
    return true;
}

// Whether the records hold what the next bytes of the body would make of them.
static bool is_described(const cass_stmt *stmt, const cass_packet *packet,
                         const column_shape &shape)
{
    const cass_desc *ird = stmt->implicit_ird;
    const std::int32_t spec = kept_spec_length(stmt);
    if (stmt->meta_bytes == nullptr || cass_log_is_on(&stmt->head) || stmt->ird != ird ||
        !ird->found_valid || ird->found_count != shape.count || ird->field_count != shape.count ||
        spec > pkt_remaining(packet))
        return false;
    if (std::memcmp(stmt->meta_bytes, &shape, sizeof shape) != 0 ||
        std::memcmp(stmt->meta_bytes + sizeof shape, packet->body + packet->read_pos,
                    static_cast<std::size_t>(spec)) != 0)
        return false;
    for (std::int32_t i = 0; i < shape.count; i++) {
        if (!ird->fields[i].from_spec)
            return false;
    }
    return true;
}

bool reuse_description(const cass_stmt *stmt, cass_packet *packet, const column_shape &shape)
{
    if (!is_described(stmt, packet, shape))
        return false;
    const cass_desc *ird = stmt->implicit_ird;
    for (std::int32_t i = 0; i < ird->field_count; i++) {
        cass_data_storage *cell = &ird->fields[i].data_storage;
        cass_data_storage fresh = {};
        fresh.capacity = cell->capacity;
        fresh.buffer = cell->buffer;
        *cell = fresh;
    }
    packet->read_pos += kept_spec_length(stmt);
    return true;
}

void keep_description(cass_stmt *stmt, const cass_packet *packet, std::int32_t start,
                      const column_shape &shape)
{
    const auto spec = static_cast<std::size_t>(packet->read_pos - start);
    const std::size_t needed = sizeof shape + spec;
    const bool usable = !packet->ran_short && needed <= INT32_MAX;
    void *grown = !usable ? nullptr : std::realloc(stmt->meta_bytes, needed);
    if (grown == nullptr) {
        std::free(stmt->meta_bytes);
        stmt->meta_bytes = nullptr;
        stmt->meta_length = 0;
        return;
    }
    stmt->meta_bytes = static_cast<unsigned char *>(grown);
    stmt->meta_length = static_cast<std::int32_t>(needed);
    std::memcpy(stmt->meta_bytes, &shape, sizeof shape);
    std::memcpy(stmt->meta_bytes + sizeof shape, packet->body + start, spec);
}

std::uint64_t description_digest(const cass_stmt *stmt)
{
    if (stmt->meta_bytes == nullptr)
        return 0;
    const auto *bytes = reinterpret_cast<const char *>(stmt->meta_bytes);
    return std::hash<std::string_view>()({bytes, static_cast<std::size_t>(stmt->meta_length)});
}
