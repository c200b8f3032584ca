// SQLGetDiagField in both forms.
#ifndef ODBC_SQLGETDIAGFIELDWIDE_H
#define ODBC_SQLGETDIAGFIELDWIDE_H

#include "odbc/entry_frame.h"
#include "odbc/text_form.h"

// Where a field goes; both pointers may be null.
struct diag_field_target {
    void *info;
    SQLSMALLINT size;     // of info in bytes, in both forms
    SQLSMALLINT *length;  // of a text in units (ANSI) or bytes (wide)
    text_form form;       // TEXT_ANSI or TEXT_WIDE_BYTES
};

// One field of the list's header or of record `rec_number`. SQL_NO_DATA without the record, and for
// a text with a null `info`; SQL_ERROR, with nothing posted, for a field that is not answered.
SQLRETURN get_diag_field_entry(SQLSMALLINT handle_type, SQLHANDLE handle, const entry_point &entry,
                               SQLSMALLINT rec_number, SQLSMALLINT identifier,
                               const diag_field_target &target);

#endif
