// SQLAllocHandle, and the core that SQLAllocEnv, SQLAllocConnect and SQLAllocStmt share with it.
#include "odbc/SQLAllocHandle.h"

#include <optional>

#include "core/diag/cass_text_out.h"
#include "core/handle/cass_handle.h"
#include "odbc/entry_frame.h"

static constexpr char log_source[] = "SQLAllocHandle.c";

static SQLRETURN refuse_input(cass_handle *input, const char *log_format)
{
    CASS_LOG(input, LOG_ERROR, log_format, static_cast<void *>(input), input->handle_tag);
    cass_post_error(input, STATE_HY000, 0, "Invalid input handle passed to SQLAllocHandle");
    return SQL_ERROR;
}

// The new child of `input`, stored through `output`; an output that cannot be had is not written.
static SQLRETURN alloc_child(SQLSMALLINT handle_type, cass_handle *input, SQLHANDLE *output,
                             int level)
{
    SQLHANDLE made = nullptr;
    if (handle_type == SQL_HANDLE_DBC) {
        if (input->handle_tag != CASS_ENVIRONMENT_HANDLE)
            return refuse_input(input, "SQLAllocHandle: input handle %p is not of type "
                                       "CASS_ENVIRONMENT_HANDLE, its %d");
        made = cass_alloc_conn(reinterpret_cast<cass_env *>(input), level);
    } else {
        if (input->handle_tag != CASS_CONNECTION_HANDLE)
            return refuse_input(input, "SQLAllocHandle: input handle %p is not of type "
                                       "CASS_CONNECTION_HANDLE, its %d");
        auto *conn = reinterpret_cast<cass_conn *>(input);
        if (handle_type == SQL_HANDLE_STMT)
            made = cass_alloc_stmt(conn);
        else
            made = cass_alloc_desc(conn);
    }
    if (made == nullptr)
        return SQL_ERROR;
    cass_store(output, made);
    return SQL_SUCCESS;
}

static SQLRETURN alloc_handle(SQLSMALLINT handle_type, cass_handle *input, SQLHANDLE *output,
                              int level)
{
    if (output == nullptr && input != nullptr) {
        CASS_LOG(input, LOG_ERROR, "SQLAllocHandle: output handle NULL");
        cass_post_error(input, STATE_HY009, 0, nullptr);
        return SQL_ERROR;
    }
    switch (handle_type) {
    case SQL_HANDLE_ENV:
        // An environment that found no memory is null beside a success: deliberately, the one who
        // asks tests the handle.
        cass_store<SQLHANDLE>(output, cass_alloc_env());
        return SQL_SUCCESS;
    case SQL_HANDLE_DBC:
    case SQL_HANDLE_STMT:
    case SQL_HANDLE_DESC:
        return input == nullptr ? SQL_ERROR : alloc_child(handle_type, input, output, level);
    default:
        if (input != nullptr)
            CASS_LOG(input, LOG_DETAIL, "SQLAllocHandle: unexpected handle type %d", handle_type);
        return SQL_ERROR;
    }
}

SQLRETURN cass_alloc_handle(SQLSMALLINT handle_type, SQLHANDLE input_handle,
                            SQLHANDLE *output_handle, int level)
{
    auto *input = static_cast<cass_handle *>(input_handle);
    return enter_bare(input, [&] {
        std::optional<cass_lock_guard> guard;
        if (input != nullptr && input->handle_tag == CASS_CONNECTION_HANDLE)
            guard.emplace(&reinterpret_cast<cass_conn *>(input)->api_lock);
        if (input != nullptr) {
            cass_diag_clear(input);
            CASS_LOG(input, LOG_ENTRY, "SQLAllocHandle: input_handle=%p, handle type=%d",
                     input_handle, handle_type);
        }
        const SQLRETURN code = alloc_handle(handle_type, input, output_handle, level);
        if (input != nullptr)
            CASS_LOG(input, LOG_EXIT, "SQLAllocHandle: return value=%d", code);
        return code;
    });
}

VHCASS_EXPORT SQLRETURN SQL_API SQLAllocHandle(SQLSMALLINT handle_type, SQLHANDLE input_handle,
                                               SQLHANDLE *output_handle)
{
    return cass_alloc_handle(handle_type, input_handle, output_handle, 3);
}
