// The page of a statement's result that is being read: a frame of rows, the row it stands at, and
// the server's word for the next page.
#ifndef CORE_RECORD_CASS_PAGE_H
#define CORE_RECORD_CASS_PAGE_H

#include <cstdint>

#include "support/held.h"

struct cass_packet;

struct cass_page {
    cass_packet *current_packet;      // the frame, one reference of it; null: no result
    std::int32_t current_row_count;   // rows in it
    std::int32_t current_row_offset;  // rows read
    unsigned char *paging_state;      // owned; null: this page is the last
    std::int32_t paging_state_len;
    std::int32_t page_failed;  // 1: the page behind this one did not come
    std::uint32_t session;     // of the connection, that the paging state came in
};

// The page is the last one: nothing is asked for behind it.
inline void cass_page_end(cass_page *page)
{
    free_bytes(&page->paging_state, &page->paging_state_len);
}

// Nothing of the page is read any more, and none follows.
inline void cass_page_abandon(cass_page *page)
{
    page->current_row_offset = page->current_row_count;
    cass_page_end(page);
}

#endif
