// SQLNativeSql in both forms.
#ifndef ODBC_SQLNATIVESQLWIDE_H
#define ODBC_SQLNATIVESQLWIDE_H

#include "odbc/entry_frame.h"
#include "odbc/text_form.h"

// Where the text goes.
struct native_sql_target {
    void *buffer;        // SQLCHAR or SQLWCHAR, may be null
    SQLINTEGER size;     // of buffer, in its own characters
    SQLINTEGER *length;  // receives the full length in code units, may be null
    text_form form;      // TEXT_ANSI or TEXT_WIDE_UNITS
};

// Gives the text back as it stands: the dialect on the wire is CQL, and nothing is translated.
// 01004 when it was cut, HY001 when there is none.
SQLRETURN native_sql_entry(SQLHDBC handle, const entry_point &entry, const text_argument &text,
                           const native_sql_target &target);

#endif
