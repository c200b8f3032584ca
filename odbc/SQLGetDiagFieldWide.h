// What SQLGetDiagField and SQLGetDiagFieldW share.
#ifndef ODBC_SQLGETDIAGFIELDWIDE_H
#define ODBC_SQLGETDIAGFIELDWIDE_H

#include "core/record/cass_handles.h"

// One field of the list's header or of record `rec_number`. buffer_length is in bytes in both
// forms; a text's length is reported in units (ANSI) or bytes (wide). SQL_NO_DATA without the
// record, and for a text with a null `info`; SQL_ERROR, with nothing posted, for a field that is
// not answered.
SQLRETURN cass_get_diag_field(cass_handle *handle, SQLSMALLINT rec_number, SQLSMALLINT identifier,
                              void *info, SQLSMALLINT buffer_length, SQLSMALLINT *string_length,
                              bool wide);

#endif
