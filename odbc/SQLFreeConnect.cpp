// SQLFreeConnect: releases a connection, the ODBC 2 form of SQLFreeHandle.
#include "odbc/SQLFreeHandle.h"
#include "odbc/entry_frame.h"

VHCASS_EXPORT SQLRETURN SQL_API SQLFreeConnect(SQLHDBC connection_handle)
{
    return cass_free_handle(SQL_HANDLE_DBC, connection_handle);
}
