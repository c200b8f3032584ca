// SQLFreeEnv: releases an environment, the ODBC 2 form of SQLFreeHandle.
#include "odbc/SQLFreeHandle.h"
#include "odbc/entry_frame.h"

VHCASS_EXPORT SQLRETURN SQL_API SQLFreeEnv(SQLHENV environment_handle)
{
    return cass_free_handle(SQL_HANDLE_ENV, environment_handle);
}
