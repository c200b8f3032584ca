// What every exported function does first and last, once: the null and tag tests, the handle's
// lock, clearing diagnostics, the ENTRY record, the async test, the EXIT record, and the barrier
// that no C++ exception passes. A function body holds only what is its own.
//
// A thread that is cancelled (pthread_cancel) finishes its call first. A connection's calls hold
// the cancellation off here; those of a statement do so where they exchange frames, and fetching
// within a page or binding has no place where a cancelled thread could end.
//
// An exported function never calls another one: the loader may bind that name to the Driver
// Manager, whose handles are not ours. The forms of one call share an entry whose name no loader
// takes for an exported one, `columns_entry`, and only put their arguments into its form.
#ifndef ODBC_ENTRY_FRAME_H
#define ODBC_ENTRY_FRAME_H

#include "core/diag/cass_err.h"
#include "core/log/cass_log.h"
#include "core/record/cass_handles.h"

#define VHCASS_EXPORT extern "C" __attribute__((visibility("default")))

struct entry_point {
    const char *name;    // "SQLFetch": heads its log records
    const char *source;  // "SQLFetch.c": their literal source name
    const char *exit_format = "%s: return value=%d";
    std::int32_t async_code = 0;  // catalog functions: the ODBC function number
    int line = __builtin_LINE();  // where it is defined, for records that shared code writes
};

// A record of the call, from code that several calls share: under the entry's own file and line.
#define ENTRY_LOG(handle, entry, kind, ...)                                                        \
    do {                                                                                           \
        if (cass_log_is_on(handle)) [[unlikely]]                                                   \
            cass_log((handle), (entry).source, (entry).line, (kind), __VA_ARGS__);                 \
    } while (0)

// EXIT records of the calls that print the code by name.
constexpr char EXIT_BY_NAME[] = "%s: return value=%r";

// Posts HY010 with its log record and gives SQL_ERROR.
SQLRETURN entry_refuse_async(cass_handle *handle, const entry_point &entry, std::int32_t state);
// Inside a catch block: posts HY001 or HY000 for the exception in flight and gives SQL_ERROR. The
// end of the thread itself goes on, as it may not be stopped.
SQLRETURN entry_caught(cass_handle *handle);
void entry_log_exit(cass_handle *handle, const entry_point &entry, SQLRETURN code);

// The frame itself. `async_state` not 0 refuses the call; log_entry writes the ENTRY record.
template <typename Log, typename Body>
inline SQLRETURN enter_handle(cass_handle *handle, cass_lock *api_lock, const entry_point &entry,
                              std::int32_t async_state, Log log_entry, Body body)
{
    const cass_lock_guard guard(api_lock);
    SQLRETURN code;
    try {
        cass_diag_clear(handle);
        if (cass_log_is_on(handle)) [[unlikely]]
            log_entry();
        code = async_state != 0 ? entry_refuse_async(handle, entry, async_state)
                                : static_cast<SQLRETURN>(body());
    } catch (...) {
        code = entry_caught(handle);
    }
    if (cass_log_is_on(handle)) [[unlikely]]
        entry_log_exit(handle, entry, code);
    return code;
}

// Runs `body(stmt)` as an entry point of a statement. SQL_INVALID_HANDLE for a null handle.
template <typename Log, typename Body>
inline SQLRETURN enter_stmt(SQLHSTMT handle, const entry_point &entry, Log log_entry, Body body)
{
    auto *stmt = static_cast<cass_stmt *>(handle);
    if (stmt == nullptr)
        return SQL_INVALID_HANDLE;
    return enter_handle(
        &stmt->head, &stmt->api_lock, entry, stmt->async_op, [&] { log_entry(stmt); },
        [&] { return body(stmt); });
}

// The same for a connection, whose tag is tested.
template <typename Log, typename Body>
inline SQLRETURN enter_conn(SQLHDBC handle, const entry_point &entry, Log log_entry, Body body)
{
    auto *conn = static_cast<cass_conn *>(handle);
    if (conn == nullptr || conn->head.handle_tag != CASS_CONNECTION_HANDLE)
        return SQL_INVALID_HANDLE;
    const cass_cancel_guard whole;
    const std::int32_t async_count = shared_get(&conn->async_count);
    const std::int32_t async_state = async_count >= 1 ? async_count : 0;
    return enter_handle(
        &conn->head, &conn->api_lock, entry, async_state, [&] { log_entry(conn); },
        [&] { return body(conn); });
}

// The same for a descriptor, which has no async state.
template <typename Log, typename Body>
inline SQLRETURN enter_desc(SQLHDESC handle, const entry_point &entry, Log log_entry, Body body)
{
    auto *desc = static_cast<cass_desc *>(handle);
    if (desc == nullptr)
        return SQL_INVALID_HANDLE;
    return enter_handle(
        &desc->head, &desc->api_lock, entry, 0, [&] { log_entry(desc); },
        [&] { return body(desc); });
}

// Runs `body` of a call that takes no lock and clears nothing, behind the exception barrier alone.
template <typename Body>
inline SQLRETURN enter_bare(cass_handle *handle, Body body)
{
    try {
        return static_cast<SQLRETURN>(body());
    } catch (...) {
        return entry_caught(handle);
    }
}

// The same with the records of the call, for a handle of any kind whose tag is not tested.
// SQL_INVALID_HANDLE for a null handle.
template <typename Log, typename Body>
inline SQLRETURN enter_any(SQLHANDLE handle, const entry_point &entry, Log log_entry, Body body)
{
    auto *head = static_cast<cass_handle *>(handle);
    if (head == nullptr)
        return SQL_INVALID_HANDLE;
    return enter_bare(head, [&] {
        if (cass_log_is_on(head)) [[unlikely]]
            log_entry(head);
        const auto code = static_cast<SQLRETURN>(body(head));
        if (cass_log_is_on(head)) [[unlikely]]
            entry_log_exit(head, entry, code);
        return code;
    });
}

#endif
