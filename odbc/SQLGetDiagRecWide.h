// SQLGetDiagRec in both forms.
#ifndef ODBC_SQLGETDIAGRECWIDE_H
#define ODBC_SQLGETDIAGRECWIDE_H

#include "odbc/entry_frame.h"
#include "odbc/text_form.h"

// Where a record goes; any of the pointers may be null.
struct diag_rec_target {
    void *sqlstate;  // six characters of the form
    SQLINTEGER *native;
    void *message_text;
    SQLSMALLINT size;     // of message_text, in its own characters
    SQLSMALLINT *length;  // in the same: bytes of UTF-8 or code units
};

// Record `rec_number` (from 1) of any handle; SQL_NO_DATA without one. A cut message is
// SQL_SUCCESS_WITH_INFO and posts nothing. form: TEXT_ANSI or TEXT_WIDE_UNITS.
SQLRETURN get_diag_rec_entry(SQLSMALLINT handle_type, SQLHANDLE handle, const entry_point &entry,
                             text_form form, SQLSMALLINT rec_number, const diag_rec_target &target);

#endif
