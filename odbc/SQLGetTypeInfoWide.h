// SQLGetTypeInfo in both forms.
#ifndef ODBC_SQLGETTYPEINFOWIDE_H
#define ODBC_SQLGETTYPEINFOWIDE_H

#include "core/catalog/cass_clist.h"
#include "odbc/entry_frame.h"

// Makes the result current on the statement. A data type that no row is for gives no rows. The lock
// taken is that of the connection, not the statement's.
SQLRETURN get_type_info_entry(SQLHSTMT handle, const entry_point &entry, SQLSMALLINT data_type);

#endif
