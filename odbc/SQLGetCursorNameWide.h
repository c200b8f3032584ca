// SQLGetCursorName in both forms.
#ifndef ODBC_SQLGETCURSORNAMEWIDE_H
#define ODBC_SQLGETCURSORNAMEWIDE_H

#include "odbc/entry_frame.h"
#include "odbc/text_form.h"

// Where the name goes.
struct cursor_name_target {
    void *buffer;         // SQLCHAR or SQLWCHAR, may be null
    SQLSMALLINT size;     // of buffer, in its own characters
    SQLSMALLINT *length;  // receives the full length in code units, may be null
    text_form form;       // TEXT_ANSI or TEXT_WIDE_UNITS
};

// The statement's cursor name; one is made from the statement's number when none was set. 01004
// when it was cut, as it always is by a size below 1. Without a buffer the length goes out and the
// result is SQL_ERROR without a record.
SQLRETURN get_cursor_name_entry(SQLHSTMT handle, const entry_point &entry,
                                const cursor_name_target &target);

#endif
