// SQLFreeHandle, and the core that SQLFreeEnv and SQLFreeConnect share with it. No lock is taken:
// the handle goes, and the application may not use it any more.
#include "odbc/SQLFreeHandle.h"

#include "core/handle/cass_handle.h"
#include "core/statement/cass_stmt.h"
#include "odbc/entry_frame.h"

static constexpr char log_source[] = "SQLFreeHandle.c";

static SQLRETURN log_result(cass_handle *handle, SQLRETURN code)
{
    CASS_LOG(handle, LOG_EXIT, "SQLFreeHandle: return value=%d", code);
    return code;
}

static SQLRETURN invalid_handle(cass_handle *handle)
{
    CASS_LOG(handle, LOG_DETAIL, "SQLFreeHandle: invalid handle");
    return log_result(handle, SQL_INVALID_HANDLE);
}

static SQLRETURN free_descriptor(cass_desc *desc)
{
    if (desc->implicit > 0) {
        CASS_LOG(&desc->head, LOG_ERROR, "SQLFreeHandle: implicit descriptor");
        cass_post_error(&desc->head, STATE_HY017, 0, nullptr);
        return log_result(&desc->head, SQL_ERROR);
    }
    cass_conn *conn = desc_conn(desc);
    cass_free_desc(desc, 0);
    return log_result(&conn->head, SQL_SUCCESS);
}

static SQLRETURN free_handle(SQLSMALLINT handle_type, cass_handle *handle)
{
    cass_diag_clear(handle);
    CASS_LOG(handle, LOG_ENTRY, "SQLFreeHandle: input_handle=%p, handle type=%d",
             static_cast<void *>(handle), handle_type);
    switch (handle_type) {
    case SQL_HANDLE_ENV:
        if (handle->handle_tag != CASS_ENVIRONMENT_HANDLE)
            return invalid_handle(handle);
        cass_free_env(reinterpret_cast<cass_env *>(handle));
        return SQL_SUCCESS;
    case SQL_HANDLE_DBC: {
        if (handle->handle_tag != CASS_CONNECTION_HANDLE)
            return invalid_handle(handle);
        cass_handle *env = handle->parent;
        cass_free_conn(reinterpret_cast<cass_conn *>(handle), 0);
        return log_result(env, SQL_SUCCESS);
    }
    case SQL_HANDLE_STMT: {
        if (handle->handle_tag != CASS_STATEMENT_HANDLE)
            return invalid_handle(handle);
        cass_handle *conn = handle->parent;
        auto *stmt = reinterpret_cast<cass_stmt *>(handle);
        cass_close_stmt(stmt, 1);
        cass_free_stmt(stmt, 0);
        return log_result(conn, SQL_SUCCESS);
    }
    case SQL_HANDLE_DESC:
        if (handle->handle_tag != CASS_DESCRIPTOR_HANDLE)
            return invalid_handle(handle);
        return free_descriptor(reinterpret_cast<cass_desc *>(handle));
    default:
        CASS_LOG(handle, LOG_DETAIL, "SQLFreeHandle: unexpeceted handle type %d", handle_type);
        return log_result(handle, SQL_ERROR);
    }
}

SQLRETURN cass_free_handle(SQLSMALLINT handle_type, SQLHANDLE handle)
{
    if (handle == nullptr)
        return SQL_INVALID_HANDLE;
    return free_handle(handle_type, static_cast<cass_handle *>(handle));
}

VHCASS_EXPORT SQLRETURN SQL_API SQLFreeHandle(SQLSMALLINT handle_type, SQLHANDLE handle)
{
    return cass_free_handle(handle_type, handle);
}
