// What SQLGetDiagRec and SQLGetDiagRecW share.
#ifndef ODBC_SQLGETDIAGRECWIDE_H
#define ODBC_SQLGETDIAGRECWIDE_H

#include "core/record/cass_handles.h"

// Record `rec_number` (from 1) of any handle; SQL_NO_DATA without one. Any output may be null.
// Wide: `sqlstate` and `message_text` are code units and lengths count units; otherwise bytes of
// UTF-8. A cut message is SQL_SUCCESS_WITH_INFO and posts nothing.
SQLRETURN cass_get_diag_rec(cass_handle *handle, SQLSMALLINT rec_number, void *sqlstate,
                            SQLINTEGER *native, void *message_text, SQLSMALLINT buffer_length,
                            SQLSMALLINT *text_length, bool wide);

#endif
