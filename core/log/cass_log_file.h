// The stream behind the log: a file that is opened for each record, or standard error.
#ifndef CORE_LOG_CASS_LOG_FILE_H
#define CORE_LOG_CASS_LOG_FILE_H

#include <csignal>
#include <cstdint>
#include <cstdio>

// Sixteen bytes a row: three characters a byte, two blanks, the characters, a terminator.
constexpr int HEX_ROW_BYTES = 16;
constexpr int HEX_ROW_ROOM = 3 * HEX_ROW_BYTES + 2 + HEX_ROW_BYTES + 1;
constexpr char HEX_ROW_MARGIN[] = "          ";

struct cass_log_stream {
    FILE *file;
    bool owned;  // false: standard error, which is only flushed
    sigset_t mask_before;
    sigset_t pending_before;
};

// Opens the stream for writing at the end of `log_file` (standard error when it is empty; with
// LOG_MODE_PROCESS in the mask, process and thread id are added to the name). Between open and
// close a broken pipe or a file size limit raises no signal. False when the file cannot be opened.
bool cass_log_stream_open(cass_log_stream *stream, const char *log_file, std::int32_t mask);
void cass_log_stream_close(cass_log_stream *stream);

// One row of 1 to 16 bytes, without a line end: "41 42 " ... "  AB". A short row is padded.
void cass_log_hex_row(char *row, const unsigned char *bytes, int count);

std::uint32_t cass_log_thread_id();

#endif
