// The driver's log. Every call site goes through the macros, which test the handle's log_mask
// before any argument is evaluated: with logging off a site costs one test.
//
// A source file that logs defines `static constexpr char log_source[] = "SQLConnect.c";`, the
// literal source name in its records.
#ifndef CORE_LOG_CASS_LOG_H
#define CORE_LOG_CASS_LOG_H

#include <cstdarg>

#include "core/record/cass_handles.h"

// Kinds of record, the bits of log_mask.
enum : std::int32_t {
    LOG_ENTRY = 1,
    LOG_EXIT = 2,
    LOG_DETAIL = 4,
    LOG_ERROR = 8,
    LOG_PKTDUMP = 16,
    LOG_MODE_PROCESS = 32,    // one file for each process and thread
    LOG_MODE_MEMORY = 64,     // keep in memory, dump at an error
    LOG_CONTINUATION = 4096,  // a kind only: continuation of the record before
};

// The test of every call site. VHCASS_NO_LOG builds a driver without its call sites, with which the
// benchmarks measure what this test costs.
inline bool cass_log_is_on(const cass_handle *handle)
{
#ifdef VHCASS_NO_LOG
    return handle == nullptr;
#elif defined(__SANITIZE_THREAD__)
    return shared_get(&handle->log_mask) != 0;
#else
    // Plain, although a connect in another thread may change a connection's mask: either value will
    // do, and an atomic read costs a register on the road of every cell.
    return handle->log_mask != 0;
#endif
}

#define CASS_LOG(handle, kind, ...) CASS_LOG_AS(handle, log_source, kind, __VA_ARGS__)

// The same under a source name of the caller's choice, for roads that two calls share.
#define CASS_LOG_AS(handle, source, kind, ...)                                                     \
    do {                                                                                           \
        if (cass_log_is_on(handle)) [[unlikely]]                                                   \
            cass_log((handle), (source), __LINE__, (kind), __VA_ARGS__);                           \
    } while (0)

#define CASS_LOG_PACKET(handle, bytes, count, ...)                                                 \
    do {                                                                                           \
        if (cass_log_is_on(handle)) [[unlikely]]                                                   \
            cass_log_packet((handle), log_source, __LINE__, LOG_PKTDUMP, (bytes), (count),         \
                            __VA_ARGS__);                                                          \
    } while (0)

// Writes one record if the handle's mask has the kind; a continuation goes with DETAIL. `format`
// may be null. Failures of the log are silent and never change a caller's result.
void cass_log(cass_handle *handle, const char *source_file, int line, std::int32_t kind,
              const char *format, ...);
// One record and `length` bytes as a hex dump, if the mask has PKTDUMP.
void cass_log_packet(cass_handle *handle, const char *source_file, int line, std::int32_t kind,
                     const void *bytes, std::int32_t length, const char *format, ...);

// Formats into `target` of `room` bytes; bytes written without the terminator. Conversions: %d %u
// %x %X %c take an int, %l a long long, %p a void *, %r a return code by name, %s bytes, %S a
// cass_string, %q bytes and %Q %T wide text, each followed by its length as an int or SQL_NTS, %A a
// text_argument * as %q or %Q. Long values are cut and end in "...".
int cass_log_format(char *target, int room, const char *format, va_list arguments);

// Whether passwords and keys may stand in the records of this connection.
bool cass_log_shows_secrets(const cass_conn *conn);

// Names the connection's log file: `length` bytes, cut to its room; none at all for standard error.
// Records that other threads write meanwhile go to the old file or to the new one.
void cass_log_set_file(cass_conn *conn, const char *name, std::size_t length);
// The connection's record goes: its log file name stays for a later dump of the memory log.
void cass_log_forget_conn(const cass_conn *conn);

#endif
