// Between two calls the rows stand in the cursor alone: a statement whose page and local rows are
// null has none for the forward road, which then looks here.
#include "core/statement/cass_scroll.h"

#include <algorithm>
#include <cstring>

#include "core/diag/cass_err.h"
#include "core/handle/cass_cursor_kind.h"
#include "core/log/cass_log.h"
#include "core/statement/cass_fetch.h"
#include "core/statement/cass_pkt_exchange.h"

static constexpr char log_source[] = "cass_scroll.c";

int cass_open_cursor(cass_stmt *stmt)
{
    if (!cass_cursors_scroll(stmt_conn(stmt)) || stmt->attrs.cursor_type == SQL_CURSOR_FORWARD_ONLY)
        return 0;
    const int code = cass_make_cursor(stmt);
    stmt->data_waiting = 0;
    return code;
}

std::int64_t cass_cursor_row(const cass_cursor *cursor)
{
    return cursor->place == CURSOR_ON_ROWSET ? cursor->start : 0;
}

// ---- Rows in view of the forward road ----------------------------------------------------------

bool cass_show_row(cass_stmt *stmt)
{
    const cass_cursor *cursor = stmt->cursor;
    const std::int64_t row = cursor->start + static_cast<std::int64_t>(stmt->rowset_position);
    if (row > cursor->row_count)
        return false;
    const cass_kept_page *kept = cass_find_page(cursor, row);
    const auto place = static_cast<std::int32_t>(row - kept->first);
    kept->packet->read_pos = kept->offsets[place];
    shared_put(&stmt->page.current_packet, kept->packet);
    stmt->page.current_row_count = kept->rows;
    stmt->page.current_row_offset = place;
    return true;
}

static void show_start(cass_stmt *stmt)
{
    stmt->rowset_position = 0;
    stmt->internal_rs = stmt->cursor->local;
    if (stmt->internal_rs != nullptr)
        cass_seek_internal_row(stmt->internal_rs, stmt->cursor->start);
    else
        cass_show_row(stmt);
}

static void hide_rows(cass_stmt *stmt)
{
    stmt->internal_rs = nullptr;
    shared_put(&stmt->page.current_packet, static_cast<cass_packet *>(nullptr));
    stmt->page.current_row_count = 0;
    stmt->page.current_row_offset = 0;
}

bool cass_return_to_start(cass_stmt *stmt)
{
    show_start(stmt);
    bool page_failed = false;
    const SQLRETURN code = stmt->internal_rs != nullptr
                               ? cass_fetch_internal_row(stmt, SQL_FETCH_NEXT, 0)
                               : fetch_data_row(stmt, &page_failed);
    return code == SQL_SUCCESS;
}

// ---- Pages -------------------------------------------------------------------------------------

// The cursor's paging state goes to the statement as a copy: it is asked by once more when the page
// does not come, or cannot be kept.
static bool lend_paging_state(cass_stmt *stmt)
{
    const cass_cursor *cursor = stmt->cursor;
    const auto length = static_cast<std::size_t>(cursor->paging_state_len);
    stmt->page.paging_state = static_cast<unsigned char *>(std::malloc(length));
    if (stmt->page.paging_state == nullptr) {
        cass_post_no_memory(&stmt->head, log_source, "cass_scroll");
        return false;
    }
    std::memcpy(stmt->page.paging_state, cursor->paging_state, length);
    stmt->page.paging_state_len = cursor->paging_state_len;
    return true;
}

// Asks for the page behind the last one that is kept. A reply without rows ends the result.
static bool take_next_page(cass_stmt *stmt)
{
    cass_cursor *cursor = stmt->cursor;
    stmt->rows_taken = static_cast<SQLULEN>(cursor->row_count);
    if (!lend_paging_state(stmt))
        return false;
    const bool came = cass_fetch_next_page(stmt) >= 0;
    if (!came) {  // or came with other columns
        cass_packet_unref(stmt->page.current_packet);
        hide_rows(stmt);
    }
    const bool rows = stmt->page.current_packet != nullptr;
    if (!came || (rows && cass_keep_page(stmt) != 0)) {
        cass_page_end(&stmt->page);
        return false;
    }
    free_bytes(&cursor->paging_state, &cursor->paging_state_len);
    if (!rows)
        cass_page_end(&stmt->page);
    std::swap(cursor->paging_state, stmt->page.paging_state);
    std::swap(cursor->paging_state_len, stmt->page.paging_state_len);
    return true;
}

// Has the rows up to this one, or all there are. False when a page did not come.
static bool reach(cass_stmt *stmt, std::int64_t row)
{
    const cass_cursor *cursor = stmt->cursor;
    while (cursor->row_count < row && cursor->paging_state_len > 0 && !cursor->broken) {
        if (!take_next_page(stmt))
            return false;
    }
    return true;
}

// ---- Where a fetch leads -----------------------------------------------------------------------

struct cursor_target {
    cass_cursor_place place;
    std::int64_t start;  // of the rowset, where it is on one
    bool clipped;        // it would have begun in front of the first row
};

constexpr std::int64_t ALL_ROWS = INT64_MAX;

static std::int64_t plus(std::int64_t row, std::int64_t offset)
{
    std::int64_t sum;
    return __builtin_add_overflow(row, offset, &sum) ? ALL_ROWS : sum;
}

// A start in front of the first row: of a step back that is no longer than the rowset it is row 1.
static cursor_target in_front(std::int64_t offset, std::int64_t size)
{
    if (offset < -size)
        return {CURSOR_BEFORE_START, 0, false};
    return {CURSOR_ON_ROWSET, 1, true};
}

static bool find_absolute(cass_stmt *stmt, std::int64_t offset, std::int64_t size,
                          cursor_target *target)
{
    *target = {offset == 0 ? CURSOR_BEFORE_START : CURSOR_ON_ROWSET, offset, false};
    if (offset >= 0)
        return true;
    if (!reach(stmt, ALL_ROWS))
        return false;
    const std::int64_t row = stmt->cursor->row_count + 1 + offset;
    if (row >= 1)
        target->start = row;
    else
        *target = in_front(offset, size);
    return true;
}

static bool find_relative(cass_stmt *stmt, std::int64_t offset, std::int64_t size,
                          cursor_target *target)
{
    const cass_cursor *cursor = stmt->cursor;
    if ((cursor->place == CURSOR_BEFORE_START && offset > 0) ||
        (cursor->place == CURSOR_AFTER_END && offset < 0))
        return find_absolute(stmt, offset, size, target);
    *target = {cursor->place, plus(cursor->start, offset), false};
    if (cursor->place == CURSOR_ON_ROWSET && target->start < 1)
        *target = cursor->start == 1 ? cursor_target{CURSOR_BEFORE_START, 0, false}
                                     : in_front(offset, size);
    return true;
}

static bool find_last(cass_stmt *stmt, std::int64_t size, cursor_target *target)
{
    const bool found = find_absolute(stmt, -size, size, target);
    target->clipped = false;
    return found;
}

static bool find_next(cass_stmt *stmt, std::int64_t size, cursor_target *target)
{
    if (stmt->cursor->place == CURSOR_BEFORE_START)
        return find_absolute(stmt, 1, size, target);
    return find_relative(stmt, stmt->cursor->rowset_size, size, target);
}

static bool refuse(cass_stmt *stmt, cass_state_row state)
{
    CASS_LOG(&stmt->head, LOG_ERROR, "cass_scroll: fetch type or bookmark out of range");
    cass_post_error(&stmt->head, state, 0, nullptr);
    return false;
}

static bool find_bookmark(cass_stmt *stmt, std::int64_t offset, cursor_target *target)
{
    if (stmt->attrs.use_bookmarks == SQL_UB_OFF)
        return refuse(stmt, STATE_HY106);
    std::int64_t row = 0;
    if (stmt->fetch_bookmark_ptr != nullptr)
        std::memcpy(&row, stmt->fetch_bookmark_ptr, sizeof row);
    if (row >= 1 && !reach(stmt, row))
        return false;
    if (row < 1 || row > stmt->cursor->row_count)
        return refuse(stmt, STATE_HY111);
    *target = {CURSOR_ON_ROWSET, plus(row, offset), false};
    if (target->start < 1)
        target->place = CURSOR_BEFORE_START;
    return true;
}

// `size` rows are wanted. False with the failure posted.
static bool find_target(cass_stmt *stmt, SQLSMALLINT mode, std::int64_t offset, std::int64_t size,
                        cursor_target *target)
{
    switch (mode) {
    case SQL_FETCH_NEXT:
        return find_next(stmt, size, target);
    case SQL_FETCH_PRIOR:
        return find_relative(stmt, -size, size, target);
    case SQL_FETCH_FIRST:
        return find_absolute(stmt, 1, size, target);
    case SQL_FETCH_LAST:
        return find_last(stmt, size, target);
    case SQL_FETCH_ABSOLUTE:
        return find_absolute(stmt, offset, size, target);
    case SQL_FETCH_RELATIVE:
        return find_relative(stmt, offset, size, target);
    case SQL_FETCH_BOOKMARK:
        return find_bookmark(stmt, offset, target);
    default:
        return refuse(stmt, STATE_HY106);
    }
}

// ---- Fetching ----------------------------------------------------------------------------------

static SQLRETURN worse(SQLRETURN code, SQLRETURN other)
{
    return code == SQL_SUCCESS || other == SQL_ERROR ? other : code;
}

// Fills the rowset at the cursor's place, which may be outside the rows.
static SQLRETURN fill_rowset(cass_stmt *stmt, std::int64_t size)
{
    const cass_cursor *cursor = stmt->cursor;
    show_start(stmt);
    SQLRETURN code = fetch_rowset(stmt);
    hide_rows(stmt);
    stmt->data_waiting = cursor->place == CURSOR_ON_ROWSET;
    if (cursor->place == CURSOR_ON_ROWSET && SQL_SUCCEEDED(code)) {
        const std::int64_t rows = std::min(size, cursor->row_count - cursor->start + 1);
        code = worse(code, transfer_bookmarks(stmt, cursor->start, static_cast<SQLULEN>(rows)));
        set_bookmark(stmt, cursor->start);
    }
    return code;
}

SQLRETURN cass_scroll(cass_stmt *stmt, SQLSMALLINT mode, SQLLEN offset)
{
    cass_cursor *cursor = stmt->cursor;
    const auto size = static_cast<std::int64_t>(std::min<SQLULEN>(stmt->ard->array_size, ALL_ROWS));
    cursor_target target = {};
    if (!find_target(stmt, mode, offset, size, &target))
        return SQL_ERROR;
    if (target.place == CURSOR_ON_ROWSET) {
        if (!reach(stmt, plus(target.start, size - 1)))
            return SQL_ERROR;
        if (target.start > cursor->row_count)
            target.place = CURSOR_AFTER_END;
    }
    const bool on_rowset = target.place == CURSOR_ON_ROWSET;
    cursor->place = target.place;
    cursor->start = on_rowset ? target.start : cursor->row_count + 1;
    cursor->rowset_size = size;
    const SQLRETURN code = fill_rowset(stmt, size);
    if (!on_rowset || !target.clipped || !SQL_SUCCEEDED(code))
        return code;
    cass_post_error(&stmt->head, STATE_01S06, 0, nullptr);
    return SQL_SUCCESS_WITH_INFO;
}
