// Fetching: from the pages of a result to rows in the IRD and the application's bound buffers.
#ifndef CORE_STATEMENT_CASS_FETCH_H
#define CORE_STATEMENT_CASS_FETCH_H

#include "core/wire/cass_pkt.h"

// Fetches a rowset: of a cursor that scrolls the one that mode and offset mean (cass_scroll.h),
// else the next one. There only SQL_FETCH_NEXT is served; an offset of 2 or more is refused.
SQLRETURN cass_fetch(cass_stmt *stmt, SQLSMALLINT mode, SQLLEN offset);
// Fills the rowset with the rows that follow, as many as there are, and tells the application of
// them by its counter and its status array.
SQLRETURN fetch_rowset(cass_stmt *stmt);
// One row of the current page or of the next, decoded into the IRD. SQL_SUCCESS, SQL_NO_DATA, or
// SQL_ERROR with a diagnostic: a cell that cannot be decoded, no memory for the next page or, with
// *page_failed set, a next page that did not come.
SQLRETURN fetch_data_row(cass_stmt *stmt, bool *page_failed);
// Reads the remaining rows off.
void cass_flush_rows(cass_stmt *stmt);

// Moves the current row's cells to the bound columns. SQL_SUCCESS, SQL_SUCCESS_WITH_INFO when any
// cell was cut, SQL_ERROR at the first cell that failed.
SQLRETURN transfer_bound_columns(cass_stmt *stmt, int row);
// Moves the bookmarks of a rowset's rows, which count on from `first`, to where column 0 is bound.
SQLRETURN transfer_bookmarks(cass_stmt *stmt, std::int64_t first, SQLULEN rows);
// Makes a row's number its bookmark, as column 0 of the current row.
void set_bookmark(cass_stmt *stmt, std::int64_t row);

#endif
