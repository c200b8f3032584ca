// The body of SQLGetTypeInfo and SQLGetTypeInfoW.
#ifndef ODBC_SQLGETTYPEINFOWIDE_H
#define ODBC_SQLGETTYPEINFOWIDE_H

#include "core/catalog/cass_clist.h"
#include "odbc/entry_frame.h"

// Makes the result current on the statement. A data type that no row is for gives no rows.
SQLRETURN cass_get_type_info(cass_stmt *stmt, SQLSMALLINT data_type);

#endif
