// Writing log records: the gate by the handle's mask, the header, and the road to a file or to the
// memory log. A record is composed in a fixed buffer; nothing here fails visibly, and errno comes
// out as it went in.
#include "core/log/cass_log.h"

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "core/log/cass_log_file.h"
#include "core/log/cass_log_ring.h"

constexpr int RECORD_ROOM = 2048;

// What a call site gives, but for the format and its arguments.
struct log_call {
    cass_handle *handle;
    const char *source_file;
    int line;
    std::int32_t kind;
    bool packet;
    const unsigned char *bytes;  // of a packet
    std::int32_t length;
};

static const char *kind_text(std::int32_t kind)
{
    switch (kind) {
    case LOG_ENTRY:
        return "ENTRY:\t";
    case LOG_EXIT:
        return "EXIT:\t";
    case LOG_DETAIL:
        return "DETAIL:\t";
    case LOG_ERROR:
        return "ERROR:\t";
    case LOG_PKTDUMP:
        return "PKTDUMP:\t";
    case LOG_CONTINUATION:
        return "+\t";
    default:
        return "UNKNOWN MODE";
    }
}

static const char *handle_text(const cass_handle *handle)
{
    switch (handle->handle_tag) {
    case CASS_ENVIRONMENT_HANDLE:
        return "(ENV)";
    case CASS_CONNECTION_HANDLE:
        return "(CONN)";
    case CASS_STATEMENT_HANDLE:
        return "(STMT)";
    case CASS_DESCRIPTOR_HANDLE:
        return "(DESC)";
    default:
        return "";
    }
}

static bool in_memory(const log_call *call)
{
    return (shared_get(&call->handle->log_mask) & LOG_MODE_MEMORY) != 0;
}

// Only the memory log has a real fraction of a second; a file's is always zero.
static int compose_header(char *buffer, const log_call *call)
{
    const char *kind = kind_text(call->kind);
    const unsigned thread = cass_log_thread_id();
    if (call->kind == LOG_CONTINUATION)
        return call->packet ? std::snprintf(buffer, RECORD_ROOM, "\t\t%s ", kind)
                            : std::snprintf(buffer, RECORD_ROOM, "\t\t[TID=%X]%s ", thread, kind);
    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    char fraction[16];
    if (in_memory(call))
        std::snprintf(fraction, sizeof fraction, "%03d", static_cast<int>(now.tv_nsec / 1000000));
    else
        std::snprintf(fraction, sizeof fraction, "%06ld", 0L);
    return std::snprintf(buffer, RECORD_ROOM,
                         "VHSQLODBC:[TID=%X][TIME=%ld.%s][%s:%d][%p%s]\n\t\t%s ", thread,
                         static_cast<long>(now.tv_sec), fraction, call->source_file, call->line,
                         static_cast<void *>(call->handle), handle_text(call->handle), kind);
}

static void compose_record(char *buffer, const log_call *call, const char *format,
                           va_list arguments)
{
    const int header = std::min(compose_header(buffer, call), RECORD_ROOM - 1);
    if (format != nullptr)
        cass_log_format(buffer + header, RECORD_ROOM - header, format, arguments);
}

static int hex_row_count(std::int64_t left)
{
    return static_cast<int>(std::min<std::int64_t>(left, HEX_ROW_BYTES));
}

// A full row is followed by the next row's margin, also when there is no next row.
static void write_hex_dump(FILE *file, const unsigned char *bytes, std::int32_t length)
{
    char row[HEX_ROW_ROOM];
    std::fprintf(file, "\n%s", HEX_ROW_MARGIN);
    for (std::int64_t done = 0; done < length; done += HEX_ROW_BYTES) {
        const int count = hex_row_count(length - done);
        cass_log_hex_row(row, bytes + done, count);
        std::fprintf(file, "%s\n%s", row, count == HEX_ROW_BYTES ? HEX_ROW_MARGIN : "");
    }
    std::fputc('\n', file);
}

// A record and its dump leave for a file in one write, so that processes that share the file do not
// cut into each other's dumps. A dump of a frame beyond a megabyte goes piecewise.
static std::size_t write_room(const log_call *call)
{
    constexpr std::size_t most = std::size_t{8} << 20;
    constexpr std::size_t row = HEX_ROW_ROOM + sizeof HEX_ROW_MARGIN;
    const auto rows = static_cast<std::size_t>(std::max(call->length, 0)) / HEX_ROW_BYTES + 2;
    return std::min(RECORD_ROOM + rows * row, most);
}

static void write_to_stream(const log_call *call, const cass_conn *conn, const char *record)
{
    cass_log_stream stream;
    if (!cass_log_stream_open(&stream, conn->settings.log_file,
                              shared_get(&call->handle->log_mask)))
        return;
    held_text room;
    if (stream.owned && call->packet) {
        room.reset(static_cast<char *>(std::malloc(write_room(call))));
        if (room != nullptr)
            std::setvbuf(stream.file, room.get(), _IOFBF, write_room(call));
    }
    std::fprintf(stream.file, "%s\n", record);
    if (call->packet && call->length > 0)
        write_hex_dump(stream.file, call->bytes, call->length);
    cass_log_stream_close(&stream);
}

static void add_to_ring(const log_call *call, const cass_conn *conn, const char *record)
{
    cass_log_ring_add(conn, record);
    if (!call->packet) {
        if (call->kind == LOG_ERROR)
            cass_log_flush();
        return;
    }
    char row[sizeof HEX_ROW_MARGIN + HEX_ROW_ROOM];
    constexpr int margin = sizeof HEX_ROW_MARGIN - 1;
    std::memcpy(row, HEX_ROW_MARGIN, margin);
    cass_log_ring_add(conn, "");
    for (std::int64_t done = 0; done < call->length; done += HEX_ROW_BYTES) {
        cass_log_hex_row(row + margin, call->bytes + done, hex_row_count(call->length - done));
        cass_log_ring_add(conn, row);
    }
    cass_log_ring_add(conn, "");
}

// One record from any handle that has an environment and a connection; others are lost.
static void write_record(const log_call *call, const char *format, va_list arguments)
{
    cass_env *env = cass_handle_env(call->handle);
    const cass_conn *conn = cass_handle_conn(call->handle);
    if (env == nullptr || conn == nullptr)
        return;
    const int saved_errno = errno;
    char record[RECORD_ROOM];
    const cass_cancel_guard whole;
    const cass_lock_guard hold(&env->log_lock);
    compose_record(record, call, format, arguments);
    if (in_memory(call))
        add_to_ring(call, conn, record);
    else
        write_to_stream(call, conn, record);
    errno = saved_errno;
}

static bool secrets_are_logged(const cass_conn *conn)
{
    return conn->conduct->secrets_are_logged;
}

bool cass_log_shows_secrets(const cass_conn *conn)
{
    return secrets_are_logged(conn);
}

void cass_log_set_file(cass_conn *conn, const char *name, std::size_t length)
{
    const cass_lock_guard hold(&conn_env(conn)->log_lock);
    length = std::min(length, sizeof conn->settings.log_file - 1);
    std::memcpy(conn->settings.log_file, name, length);
    conn->settings.log_file[length] = '\0';
}

void cass_log(cass_handle *handle, const char *source_file, int line, std::int32_t kind,
              const char *format, ...)
{
    const std::int32_t needed = kind == LOG_CONTINUATION ? LOG_DETAIL : kind;
    if ((shared_get(&handle->log_mask) & needed) == 0)
        return;
    const log_call call = {handle, source_file, line, kind, false, nullptr, 0};
    va_list arguments;
    va_start(arguments, format);
    write_record(&call, format, arguments);
    va_end(arguments);
}

void cass_log_packet(cass_handle *handle, const char *source_file, int line, std::int32_t kind,
                     const void *bytes, std::int32_t length, const char *format, ...)
{
    if ((shared_get(&handle->log_mask) & LOG_PKTDUMP) == 0)
        return;
    const log_call call = {
        handle, source_file, line, kind, true, static_cast<const unsigned char *>(bytes), length};
    va_list arguments;
    va_start(arguments, format);
    write_record(&call, format, arguments);
    va_end(arguments);
}
