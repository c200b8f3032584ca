// Request frames of a statement (native protocol v4, sections 4.1.4 and 4.1.6): text or prepared
// id, consistency, flags, values, page size, paging state.
#include <cstdlib>

#include "core/diag/cass_err.h"
#include "core/log/cass_log.h"
#include "core/parameter/cass_param.h"
#include "core/statement/cass_sql.h"
#include "core/statement/cass_stmt.h"

static constexpr char log_source[] = "cass_stmt.c";

constexpr std::int32_t PAGE_SIZE = 100;         // rows of a page
constexpr std::int32_t LARGE_PAGE_SIZE = 5000;  // where pages are large

enum : std::uint8_t {
    QUERY_VALUES = 0x01,
    QUERY_PAGE_SIZE = 0x04,
    QUERY_PAGING_STATE = 0x08,
};

static held_packet new_request(cass_stmt *stmt, std::uint8_t opcode)
{
    return held_packet(cass_new_packet(stmt, PROTOCOL_VERSION, 0, 0, opcode, nullptr));
}

static void put_consistency(cass_stmt *stmt, cass_packet *packet)
{
    pkt_put_short(packet,
                  static_cast<std::int16_t>(shared_get(&stmt_conn(stmt)->settings.consistency)));
}

// A statement that writes never has a next page.
static bool can_page(const cass_stmt *stmt)
{
    return stmt->verb_code != VERB_I && stmt->verb_code != VERB_UP && stmt->verb_code != VERB_D;
}

// The encoded values since `position` are kept, so that next pages repeat them without reading the
// application's buffers again.
static bool keep_values(cass_stmt *stmt, const cass_packet *packet, std::int32_t position)
{
    free_bytes(&stmt->param_buffer, &stmt->param_buffer_len);
    if (can_page(stmt))
        stmt->param_buffer = pkt_copy_from(packet, position, &stmt->param_buffer_len);
    if (stmt->param_buffer_len < 0) {
        stmt->param_buffer_len = 0;
        CASS_LOG(&stmt->head, LOG_ERROR, "cass_append_params: failed to keep the values");
        cass_post_error(&stmt->head, STATE_HY001, 0, nullptr);
        return false;
    }
    // Of values that are not needed again too: it tells how long they were.
    CASS_LOG(&stmt->head, LOG_DETAIL, "Parameter Buffer saved %d bytes",
             pkt_position(packet) - position);
    return true;
}

static bool pages_are_small(const cass_conn *conn)
{
    return conn->conduct->pages_are_small;
}

static std::int32_t usual_page_size(const cass_conn *conn)
{
    const std::int32_t set = shared_get(&conn->settings.page_size);
    if (set > 0)
        return set;
    return pages_are_small(conn) ? PAGE_SIZE : LARGE_PAGE_SIZE;
}

// Never more rows than are wanted.
static std::int32_t page_size(const cass_stmt *stmt)
{
    const std::int32_t usual = usual_page_size(stmt_conn(stmt));
    const SQLULEN left = stmt->row_limit - stmt->rows_taken;
    return stmt->row_limit > 0 && left < static_cast<SQLULEN>(usual)
               ? static_cast<std::int32_t>(left)
               : usual;
}

// Flags, values and page size of a first page. The client-side marker count decides whether there
// are values. False when they could not be encoded; the failure is posted.
static bool put_first_page(cass_stmt *stmt, cass_packet *packet)
{
    CASS_LOG(&stmt->head, LOG_DETAIL, "found_param_count=%d", stmt->found_param_count);
    if (stmt->found_param_count == 0) {
        pkt_put_byte(packet, QUERY_PAGE_SIZE);
    } else {
        pkt_put_byte(packet, QUERY_VALUES | QUERY_PAGE_SIZE);
        const std::int32_t position = pkt_position(packet);
        if (cass_append_params(stmt, packet) != 0 || !keep_values(stmt, packet, position))
            return false;
    }
    stmt->row_limit = cass_row_limit(stmt);
    stmt->rows_taken = 0;
    pkt_put_int(packet, page_size(stmt));
    return true;
}

cass_packet *create_exec_string(cass_stmt *stmt, const cass_string *text)
{
    CASS_LOG(&stmt->head, LOG_DETAIL, "create_exec_string: stmt=%p, sqllen=%d, sql='%S'",
             static_cast<void *>(stmt), cass_string_length(text), text);
    held_packet packet = new_request(stmt, OPCODE_QUERY);
    if (packet == nullptr)
        return nullptr;
    pkt_put_long_string(packet.get(), text);
    put_consistency(stmt, packet.get());
    return put_first_page(stmt, packet.get()) ? packet.release() : nullptr;
}

cass_packet *create_execute(cass_stmt *stmt)
{
    CASS_LOG(&stmt->head, LOG_DETAIL, "create_execute: stmt=%p", static_cast<void *>(stmt));
    free_bytes(&stmt->param_buffer, &stmt->param_buffer_len);
    held_packet packet = new_request(stmt, OPCODE_EXECUTE);
    if (packet == nullptr)
        return nullptr;
    pkt_put_short_bytes(packet.get(), stmt->prepared_id, stmt->prepared_id_len);
    put_consistency(stmt, packet.get());
    return put_first_page(stmt, packet.get()) ? packet.release() : nullptr;
}

cass_packet *create_fetch_next(cass_stmt *stmt)
{
    CASS_LOG(&stmt->head, LOG_DETAIL, "create_fetch_next: stmt=%p", static_cast<void *>(stmt));
    held_packet packet = new_request(stmt, stmt->prepared ? OPCODE_EXECUTE : OPCODE_QUERY);
    if (packet == nullptr)
        return nullptr;
    if (stmt->prepared)
        pkt_put_short_bytes(packet.get(), stmt->prepared_id, stmt->prepared_id_len);
    else
        pkt_put_long_string(packet.get(), stmt->query_text);
    put_consistency(stmt, packet.get());
    const bool values = stmt->param_buffer_len >= 1;
    pkt_put_byte(packet.get(), static_cast<std::uint8_t>((values ? QUERY_VALUES : 0) |
                                                         QUERY_PAGE_SIZE | QUERY_PAGING_STATE));
    if (values) {
        CASS_LOG(&stmt->head, LOG_DETAIL, "Parameter Buffer append %d bytes",
                 stmt->param_buffer_len);
        pkt_put_bytes(packet.get(), stmt->param_buffer, stmt->param_buffer_len);
    }
    pkt_put_int(packet.get(), page_size(stmt));
    pkt_put_long_bytes(packet.get(), stmt->page.paging_state, stmt->page.paging_state_len);
    return packet.release();
}
