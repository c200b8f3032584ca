// Cursors that scroll (SQL_CURSOR_STATIC): where a fetch leads among the rows of the result, and
// the pages that it needs for that. Rows are decoded by the road of a forward-only cursor, which is
// shown the kept page that holds them.
#ifndef CORE_STATEMENT_CASS_SCROLL_H
#define CORE_STATEMENT_CASS_SCROLL_H

#include "core/local/cass_cursor.h"

// Gives the statement's new result a cursor when its attributes ask for one that scrolls. 0, or -1
// with the failure posted (cass_make_cursor).
int cass_open_cursor(cass_stmt *stmt);
// Fetches the rowset that `mode` (SQL_FETCH_...) and `offset` mean (ODBC 3.8, SQLFetchScroll), and
// as many pages as that asks for. A page that does not come leaves the cursor where it is. A
// bookmark is the number of its row, an SQLULEN.
SQLRETURN cass_scroll(cass_stmt *stmt, SQLSMALLINT mode, SQLLEN offset);
// The row that SQLGetData reads, from 1; 0: the cursor is not on one.
std::int64_t cass_cursor_row(const cass_cursor *cursor);

// ---- For the road that fills the rowset ----------------------------------------------------------

// Makes the kept page that holds the rowset's row in work the statement's, with that row as the
// next to be decoded. False when there is no such row.
bool cass_show_row(cass_stmt *stmt);
// Decodes the first row of the rowset once more. False when that failed.
bool cass_return_to_start(cass_stmt *stmt);

#endif
