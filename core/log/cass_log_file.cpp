// Opening and closing the log's stream, and the layout of a hex dump's row. A log that cannot be
// written costs its records and nothing else: no signal, no wait, no error.
#include "core/log/cass_log_file.h"

#include <fcntl.h>
#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <ctime>
#include <initializer_list>

#include "core/log/cass_log.h"
#include "support/ascii.h"
#include "support/descriptors.h"
#include "support/numtext.h"

// What a write can raise: a pipe without a reader, a file at the process's size limit.
static constexpr std::initializer_list<int> write_signals = {SIGPIPE, SIGXFSZ};

static void block_signals(cass_log_stream *stream)
{
    sigset_t blocked;
    sigemptyset(&blocked);
    for (const int signal_number : write_signals)
        sigaddset(&blocked, signal_number);
    pthread_sigmask(SIG_BLOCK, &blocked, &stream->mask_before);
    sigpending(&stream->pending_before);
}

// Takes away what the writing raised, leaves what was pending before, and restores the mask.
static void restore_signals(const cass_log_stream *stream)
{
    sigset_t pending;
    sigpending(&pending);
    for (const int signal_number : write_signals) {
        if (sigismember(&pending, signal_number) != 1 ||
            sigismember(&stream->pending_before, signal_number) == 1)
            continue;
        sigset_t taken;
        sigemptyset(&taken);
        sigaddset(&taken, signal_number);
        constexpr timespec no_wait = {};
        sigtimedwait(&taken, nullptr, &no_wait);
    }
    pthread_sigmask(SIG_SETMASK, &stream->mask_before, nullptr);
}

// Appends to the file, which is made if need be. A file system that refuses append mode is written
// at the end that it has now. A pipe that nobody empties loses records instead of blocking.
static FILE *open_for_append(const char *name)
{
    constexpr int common = O_RDWR | O_CLOEXEC | O_NOCTTY | O_NONBLOCK;
    int descriptor = open(name, common | O_CREAT | O_APPEND,
                          S_IRUSR | S_IWUSR | S_IRGRP | S_IWGRP | S_IROTH | S_IWOTH);
    if (descriptor < 0 && errno == EINVAL) {
        descriptor = open(name, common);
        if (descriptor >= 0)
            lseek(descriptor, 0, SEEK_END);
    }
    descriptor = above_standard(descriptor);
    if (descriptor < 0)
        return nullptr;
    FILE *file = fdopen(descriptor, "rb+");
    if (file == nullptr)
        close(descriptor);
    return file;
}

std::uint32_t cass_log_thread_id()
{
    return static_cast<std::uint32_t>(gettid());
}

bool cass_log_stream_open(cass_log_stream *stream, const char *log_file, std::int32_t mask)
{
    if (log_file[0] == '\0') {
        *stream = {.file = stderr, .owned = false, .mask_before = {}, .pending_before = {}};
        block_signals(stream);
        return true;
    }
    char name[sizeof(cass_settings::log_file) + 32];
    if ((mask & LOG_MODE_PROCESS) != 0)
        std::snprintf(name, sizeof name, "%s.%08X.%08X", log_file, static_cast<unsigned>(getpid()),
                      cass_log_thread_id());
    else
        std::snprintf(name, sizeof name, "%s", log_file);
    *stream = {
        .file = open_for_append(name), .owned = true, .mask_before = {}, .pending_before = {}};
    if (stream->file == nullptr)
        return false;
    block_signals(stream);
    return true;
}

// Standard error belongs to the process and stays open, after a dump too.
void cass_log_stream_close(cass_log_stream *stream)
{
    if (stream->owned)
        std::fclose(stream->file);
    else
        std::fflush(stream->file);
    restore_signals(stream);
}

void cass_log_hex_row(char *row, const unsigned char *bytes, int count)
{
    constexpr int text_column = 3 * HEX_ROW_BYTES + 2;
    std::memset(row, ' ', text_column);
    for (int i = 0; i < count; i++) {
        text_hex(row + 3 * i, bytes[i], HEX_UPPER);
        row[text_column + i] = ascii_is_print(bytes[i]) ? static_cast<char>(bytes[i]) : '.';
    }
    row[text_column + count] = '\0';
}
