// The release core behind SQLFreeHandle and the ODBC 2 forms.
#ifndef ODBC_SQLFREEHANDLE_H
#define ODBC_SQLFREEHANDLE_H

#include "core/record/cass_handles.h"

// Releases a handle that carries the tag of `handle_type`, with all that it owns.
// SQL_INVALID_HANDLE for a null handle or another tag; SQL_ERROR with HY017 for an implicit
// descriptor.
SQLRETURN cass_free_handle(SQLSMALLINT handle_type, SQLHANDLE handle);

#endif
