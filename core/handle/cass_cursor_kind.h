// Which cursor a statement has: forward-only, or static where rows scroll; both only read.
#ifndef CORE_HANDLE_CASS_CURSOR_KIND_H
#define CORE_HANDLE_CASS_CURSOR_KIND_H

#include "core/record/cass_handles.h"

// Whether statements have the cursor that their attributes ask for, or the one nearest to it.
bool cass_cursors_scroll(const cass_conn *conn);
// Sets one of SQL_ATTR_CURSOR_TYPE, _CONCURRENCY, _CURSOR_SCROLLABLE and _CURSOR_SENSITIVITY where
// cursors scroll, and the other three in step with it (ODBC 3.8, SQLSetStmtAttr). False when what
// was asked for was replaced by what there is.
bool cass_ask_for_cursor(cass_stmt_attrs *attrs, SQLINTEGER attribute, SQLULEN value);
// What there is, for the record of 01S02 that tells of it.
const char *cass_cursor_words(const cass_stmt_attrs *attrs);
// Replaces what a connection's attributes, set before it followed its conduct, have left.
void cass_settle_cursor(const cass_conn *conn, cass_stmt_attrs *attrs);

#endif
