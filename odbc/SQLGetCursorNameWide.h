// What SQLGetCursorName and SQLGetCursorNameW share.
#ifndef ODBC_SQLGETCURSORNAMEWIDE_H
#define ODBC_SQLGETCURSORNAMEWIDE_H

#include "odbc/entry_frame.h"

// Where the name goes: bytes (UTF-8) or code units, `size` counted in the same.
struct cursor_name_target {
    SQLCHAR *bytes;
    SQLWCHAR *units;
    SQLSMALLINT size;
    SQLSMALLINT *length;  // receives the full length in code units
};

// The statement's cursor name; one is made from the statement's number when none was set. 01004
// when it was cut, as it always is by a size below 1. Without a buffer the length goes out and the
// result is SQL_ERROR without a record, which applications that only ask for the length have
// learned to ignore.
SQLRETURN cass_get_cursor_name(cass_stmt *stmt, const entry_point &entry,
                               const cursor_name_target &target);

#endif
