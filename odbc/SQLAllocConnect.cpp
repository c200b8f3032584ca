// SQLAllocConnect: a connection, the ODBC 2 form of SQLAllocHandle.
#include "odbc/SQLAllocHandle.h"
#include "odbc/entry_frame.h"

VHCASS_EXPORT SQLRETURN SQL_API SQLAllocConnect(SQLHENV environment_handle,
                                                SQLHDBC *connection_handle)
{
    return cass_alloc_handle(SQL_HANDLE_DBC, environment_handle, connection_handle, 2);
}
