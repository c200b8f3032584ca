// SQLAllocStmt: a statement, the ODBC 2 form of SQLAllocHandle.
#include "odbc/SQLAllocHandle.h"
#include "odbc/entry_frame.h"

VHCASS_EXPORT SQLRETURN SQL_API SQLAllocStmt(SQLHDBC connection_handle, SQLHSTMT *statement_handle)
{
    return cass_alloc_handle(SQL_HANDLE_STMT, connection_handle, statement_handle, 2);
}
