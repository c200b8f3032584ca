// Rows are found once, when their page comes: a row of the wire has no length of its own.
#include "core/local/cass_cursor.h"

#include <algorithm>

#include "core/cell/cass_data_take.h"
#include "core/diag/cass_err.h"
#include "core/log/cass_log.h"
#include "core/net/cass_conn_shared.h"

static constexpr char log_source[] = "cass_cursor.c";

constexpr std::int32_t FIRST_PAGES = 8;  // room for so many in the beginning

static int no_memory(cass_stmt *stmt)
{
    return cass_post_no_memory(&stmt->head, log_source, "cass_keep_page");
}

// ---- The rows of a page ------------------------------------------------------------------------

// Passes over the cells of a row. False when they leave the body.
static bool pass_row(cass_packet *packet, std::int32_t columns)
{
    for (std::int32_t column = 0; column < columns; ++column) {
        if (pkt_remaining(packet) < CELL_PREFIX)
            return false;
        const std::int32_t length = pkt_get_int(packet);
        if (length > pkt_remaining(packet))
            return false;
        packet->read_pos += std::max(length, 0);
    }
    return true;
}

// Finds the rows of the page from the packet's read position on. One that leaves the body is the
// last: reading it says what is wrong. The count is only believed as far as there are bytes for it.
// False when memory ran out.
static bool find_rows(cass_kept_page *page, std::int32_t announced, std::int32_t columns,
                      bool *whole)
{
    cass_packet *packet = page->packet;
    const std::int32_t most = pkt_remaining(packet) / (CELL_PREFIX * std::max(columns, 1)) + 1;
    const std::int32_t room = std::min(announced, most);
    page->offsets = static_cast<std::int32_t *>(
        std::malloc(static_cast<std::size_t>(room) * sizeof(std::int32_t)));
    if (page->offsets == nullptr)
        return false;
    for (page->rows = 0; page->rows < room && *whole; ++page->rows) {
        page->offsets[page->rows] = packet->read_pos;
        *whole = pass_row(packet, columns);
    }
    return true;
}

// Gives back what the frame has in reserve.
static void trim_frame(cass_packet *packet)
{
    const std::size_t needed = FRAME_HEADER_SIZE + static_cast<std::size_t>(packet->length);
    if (packet->capacity - needed <= needed / 8)
        return;
    auto *frame = static_cast<unsigned char *>(std::realloc(packet->frame, needed));
    if (frame == nullptr)
        return;
    packet->frame = frame;
    packet->body = frame + FRAME_HEADER_SIZE;
    packet->capacity = needed;
}

static void free_page(const cass_kept_page *page)
{
    cass_packet_unref(page->packet);
    std::free(page->offsets);
}

// ---- The pages of a result ---------------------------------------------------------------------

static bool reserve_page(cass_cursor *cursor)
{
    if (cursor->page_count < cursor->page_capacity)
        return true;
    const std::int32_t wanted = std::max(FIRST_PAGES, cursor->page_capacity * 2);
    void *grown =
        std::realloc(cursor->pages, static_cast<std::size_t>(wanted) * sizeof(cass_kept_page));
    if (grown == nullptr)
        return false;
    cursor->pages = static_cast<cass_kept_page *>(grown);
    cursor->page_capacity = wanted;
    return true;
}

static bool goes_beyond_limit(cass_stmt *stmt, std::size_t bytes)
{
    const std::int32_t set = shared_get(&stmt_conn(stmt)->settings.cursor_memory);
    const std::int32_t limit = set > 0 ? set : DEFAULT_CURSOR_MEMORY;
    if (bytes <= static_cast<std::size_t>(limit) << 20)
        return false;
    CASS_LOG(&stmt->head, LOG_ERROR, "cass_keep_page: rows take more than %d MiB", limit);
    cass_post_error(&stmt->head, STATE_HY000, 0,
                    "the rows of the scrolling cursor take more than the %d MiB that CursorMemory "
                    "allows",
                    limit);
    return true;
}

static int append_page(cass_stmt *stmt, cass_kept_page *page, std::int32_t announced)
{
    cass_cursor *cursor = stmt->cursor;
    bool whole = true;
    if (!reserve_page(cursor) ||
        !find_rows(page, announced, cass_stmt_column_count(stmt->ird), &whole))
        return no_memory(stmt);
    trim_frame(page->packet);
    const std::size_t bytes = cursor->bytes + sizeof(cass_packet) + page->packet->capacity +
                              sizeof(cass_kept_page) +
                              static_cast<std::size_t>(page->rows) * sizeof(std::int32_t);
    if (goes_beyond_limit(stmt, bytes))
        return -1;
    page->first = cursor->row_count + 1;
    cursor->pages[cursor->page_count++] = *page;
    cursor->row_count += page->rows;
    cursor->bytes = bytes;
    cursor->broken = !whole;
    return 0;
}

int cass_keep_page(cass_stmt *stmt)
{
    cass_kept_page page = {};
    page.packet = stmt->page.current_packet;
    const std::int32_t announced = stmt->page.current_row_count;
    shared_put(&stmt->page.current_packet, static_cast<cass_packet *>(nullptr));
    stmt->page.current_row_count = 0;
    stmt->page.current_row_offset = 0;
    const int code = announced > 0 ? append_page(stmt, &page, announced) : 0;
    if (code != 0 || announced <= 0)
        free_page(&page);
    return code;
}

const cass_kept_page *cass_find_page(const cass_cursor *cursor, std::int64_t row)
{
    const cass_kept_page *begin = cursor->pages;
    return std::upper_bound(begin, begin + cursor->page_count, row,
                            [](std::int64_t wanted, const cass_kept_page &page) {
                                return wanted < page.first;
                            }) -
           1;
}

// ---- The cursor --------------------------------------------------------------------------------

int cass_make_cursor(cass_stmt *stmt)
{
    auto *cursor = static_cast<cass_cursor *>(std::calloc(1, sizeof(cass_cursor)));
    if (cursor == nullptr)
        return no_memory(stmt);
    if (stmt->internal_rs != nullptr) {
        cursor->row_count = cass_index_internal_rs(stmt->internal_rs);
        if (cursor->row_count < 0) {
            std::free(cursor);
            return no_memory(stmt);
        }
        cursor->local = stmt->internal_rs;
        stmt->internal_rs = nullptr;
        stmt->cursor = cursor;
        return 0;
    }
    stmt->cursor = cursor;
    cursor->paging_state = stmt->page.paging_state;
    cursor->paging_state_len = stmt->page.paging_state_len;
    stmt->page.paging_state = nullptr;
    stmt->page.paging_state_len = 0;
    if (cass_keep_page(stmt) == 0)
        return 0;
    cass_free_cursor(stmt);
    return -1;
}

void cass_free_cursor(cass_stmt *stmt)
{
    cass_cursor *cursor = stmt->cursor;
    if (cursor == nullptr)
        return;
    stmt->cursor = nullptr;
    stmt->data_waiting = 0;
    for (std::int32_t page = 0; page < cursor->page_count; ++page)
        free_page(&cursor->pages[page]);
    std::free(cursor->pages);
    std::free(cursor->paging_state);
    cass_free_internal_rs(stmt, cursor->local);
    std::free(cursor);
}
