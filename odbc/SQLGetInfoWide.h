// What SQLGetInfo and SQLGetInfoW share.
#ifndef ODBC_SQLGETINFOWIDE_H
#define ODBC_SQLGETINFOWIDE_H

#include "core/record/cass_handles.h"

// Answers an info type into application memory, which may be null; buffer_length is in bytes in
// both forms, the length of a text in units (ANSI, delivered as UTF-8) or in bytes (wide). A cut
// text posts 01004, an unknown type HYC00. `function` heads the log record.
SQLRETURN cass_get_info(cass_conn *conn, const char *function, bool wide, SQLUSMALLINT info_type,
                        void *info_value, SQLSMALLINT buffer_length, SQLSMALLINT *string_length);

#endif
