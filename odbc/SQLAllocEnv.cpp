// SQLAllocEnv: an environment, the ODBC 2 form of SQLAllocHandle.
#include "odbc/SQLAllocHandle.h"
#include "odbc/entry_frame.h"

VHCASS_EXPORT SQLRETURN SQL_API SQLAllocEnv(SQLHENV *environment_handle)
{
    return cass_alloc_handle(SQL_HANDLE_ENV, nullptr, environment_handle, 2);
}
