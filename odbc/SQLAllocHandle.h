// The allocation core behind SQLAllocHandle and the ODBC 2 forms.
#ifndef ODBC_SQLALLOCHANDLE_H
#define ODBC_SQLALLOCHANDLE_H

#include "core/record/cass_handles.h"

// Makes a handle of `handle_type` under the input handle. level: the ODBC level of a new
// connection. SQL_ERROR with HY009 or HY000 on the input handle, or without a record when memory
// ran out.
SQLRETURN cass_alloc_handle(SQLSMALLINT handle_type, SQLHANDLE input_handle,
                            SQLHANDLE *output_handle, int level);

#endif
