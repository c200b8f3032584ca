// The parts of the entry frame that need not stand inline.
#include "odbc/entry_frame.h"

#include <cxxabi.h>

#include <new>

// Added to a function number where a wide form is meant.
constexpr std::int32_t ASYNC_WIDE = 4096;

// A catalog function also tells its own code, and keeps silent about an operation of its own.
static SQLRETURN refuse_catalog_async(cass_handle *handle, const entry_point &entry,
                                      std::int32_t state)
{
    if (state == entry.async_code || state == entry.async_code + ASYNC_WIDE)
        return SQL_ERROR;
    if (cass_log_is_on(handle))
        cass_log(handle, entry.source, entry.line, LOG_ERROR, "%s: invalid async operation %d (%d)",
                 entry.name, state, entry.async_code);
    cass_post_error(handle, STATE_HY010, 0, nullptr);
    return SQL_ERROR;
}

SQLRETURN entry_refuse_async(cass_handle *handle, const entry_point &entry, std::int32_t state)
{
    if (entry.async_code != 0)
        return refuse_catalog_async(handle, entry, state);
    if (cass_log_is_on(handle)) {
        const char *format = handle->handle_tag == CASS_CONNECTION_HANDLE
                                 ? "%s: invalid async count %d"
                                 : "%s: invalid async operation %d";
        cass_log(handle, entry.source, entry.line, LOG_ERROR, format, entry.name, state);
    }
    cass_post_error(handle, STATE_HY010, 0, nullptr);
    return SQL_ERROR;
}

static void log_caught(cass_handle *handle, const char *what)
{
    if (handle != nullptr)
        CASS_LOG_AS(handle, "entry_frame.c", LOG_ERROR, "entry_caught: %s", what);
}

// The end of a thread is an exception without an object, at which its handler's reference points.
__attribute__((no_sanitize("null"))) SQLRETURN entry_caught(cass_handle *handle)
{
    try {
        throw;
    } catch (const abi::__forced_unwind &) {
        throw;
    } catch (const std::bad_alloc &) {
        log_caught(handle, "failed to allocate memory");
        cass_post_error(handle, STATE_HY001, 0, nullptr);
    } catch (...) {
        log_caught(handle, "unexpected exception");
        cass_post_error(handle, STATE_HY000, 0, nullptr);
    }
    return SQL_ERROR;
}

void entry_log_exit(cass_handle *handle, const entry_point &entry, SQLRETURN code)
{
    cass_log(handle, entry.source, entry.line, LOG_EXIT, entry.exit_format, entry.name,
             static_cast<int>(code));
}
