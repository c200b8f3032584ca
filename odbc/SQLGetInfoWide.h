// SQLGetInfo in both forms.
#ifndef ODBC_SQLGETINFOWIDE_H
#define ODBC_SQLGETINFOWIDE_H

#include "odbc/entry_frame.h"
#include "odbc/text_form.h"

// Where the answer goes; both pointers may be null.
struct info_target {
    void *value;
    SQLSMALLINT size;     // of value in bytes, in both forms
    SQLSMALLINT *length;  // of a text in units (ANSI, delivered as UTF-8) or in bytes (wide)
    text_form form;       // TEXT_ANSI or TEXT_WIDE_BYTES
};

// Answers an info type. A cut text posts 01004, an unknown type HYC00.
SQLRETURN get_info_entry(SQLHDBC handle, const entry_point &entry, SQLUSMALLINT info_type,
                         const info_target &target);

#endif
