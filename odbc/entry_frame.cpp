// The parts of the entry frame that need not stand inline.
#include "odbc/entry_frame.h"

#include <new>

SQLRETURN entry_refuse_async(cass_handle *handle, const entry_point &entry, std::int32_t state)
{
    if (cass_log_is_on(handle)) {
        const char *format = handle->handle_tag == CASS_CONNECTION_HANDLE
                                 ? "%s: invalid async count %d"
                                 : "%s: invalid async operation %d";
        cass_log(handle, entry.source, __LINE__, LOG_ERROR, format, entry.name, state);
    }
    cass_post_error(handle, STATE_HY010, 0, nullptr);
    return SQL_ERROR;
}

SQLRETURN entry_caught(cass_handle *handle)
{
    try {
        throw;
    } catch (const std::bad_alloc &) {
        cass_post_error(handle, STATE_HY001, 0, nullptr);
    } catch (...) {
        cass_post_error(handle, STATE_HY000, 0, nullptr);
    }
    return SQL_ERROR;
}

void entry_log_exit(cass_handle *handle, const entry_point &entry, SQLRETURN code)
{
    cass_log(handle, entry.source, __LINE__, LOG_EXIT, entry.exit_format, entry.name,
             static_cast<int>(code));
}
