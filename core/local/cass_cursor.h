// The rows of a result over which a cursor scrolls, and its place among them. A server's rows stay
// in the frames that they came in, a local result is the list that it was; any row is reached
// without a walk from the head. Rows count from 1, as ODBC counts them.
#ifndef CORE_LOCAL_CASS_CURSOR_H
#define CORE_LOCAL_CASS_CURSOR_H

#include "core/local/cass_internalrs.h"
#include "core/wire/cass_pkt.h"

struct cass_kept_page {
    cass_packet *packet;  // one reference
    std::int64_t first;   // the result's number of its first row
    std::int32_t rows;
    std::int32_t *offsets;  // owned: where in the body each of them begins
};

enum cass_cursor_place : std::int32_t {
    CURSOR_BEFORE_START = 0,
    CURSOR_ON_ROWSET,
    CURSOR_AFTER_END,
};

struct cass_cursor {
    cass_internal_rs *local;  // owned; null: the rows are a server's
    cass_kept_page *pages;    // owned, in their order; none is without rows
    std::int32_t page_count;
    std::int32_t page_capacity;
    std::int64_t row_count;       // rows kept
    std::size_t bytes;            // that the pages take, with their offsets
    unsigned char *paging_state;  // owned: of the page behind the last; null: there is none
    std::int32_t paging_state_len;
    std::int32_t broken;  // the last row leaves its page: what may follow it is not asked for

    cass_cursor_place place;
    std::int64_t start;        // first row of the rowset, where there is one
    std::int64_t rowset_size;  // that it was fetched with
};

// Moves the statement's page and paging state, or its local result, to a cursor of its own. 0, or
// -1 with HY001 posted and the result where it was.
int cass_make_cursor(cass_stmt *stmt);
// Moves the statement's page behind the rows kept. 0, or -1 with HY001, or with HY000 when the rows
// would take more than the connection's CursorMemory; the page is dropped then.
int cass_keep_page(cass_stmt *stmt);
// The page that holds a row which is kept.
const cass_kept_page *cass_find_page(const cass_cursor *cursor, std::int64_t row);
// Gives the rows back. A statement without a cursor is accepted.
void cass_free_cursor(cass_stmt *stmt);

#endif
