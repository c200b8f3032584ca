// Reading an HTTP reply from a connection: lines byte by byte, so that nothing behind the reply is
// taken, then the body. Lines are not kept, and every announced length is bounded before memory is
// taken for it.
#include "core/net/cass_http.h"

#include <charconv>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "core/diag/cass_err.h"
#include "core/log/cass_log.h"
#include "core/net/cass_conn.h"
#include "support/ascii.h"

static constexpr char log_source[] = "cass_logon.c";

constexpr std::int32_t LINE_ROOM = 4096;
constexpr std::int32_t BODY_LIMIT = 16 << 20;

void cass_free_response(http_response *response)
{
    if (response == nullptr)
        return;
    for (char *text : {response->spare_header, response->body, response->reason,
                       response->spare_trailer, response->location})
        std::free(text);
    std::free(response);
}

// Reads one line without its end into `buffer` of `size` bytes, NUL-terminated; a longer line ends
// early and goes on with the next call. Bytes stored, also in *length where that is given; or the
// negative result of the read, -1 at the end of the stream.
static std::int32_t cass_read_line(cass_conn *conn, char *buffer, std::int32_t size,
                                   std::int32_t *length)
{
    std::int32_t used = 0;
    std::int32_t got = 1;
    while (size - used >= 2) {
        char byte = 0;
        std::int32_t count = 0;
        got = conn_read_raw(conn, &byte, 1, &count, 0, 0);
        if (got < 1 || byte == '\n')
            break;
        if (byte != '\r')
            buffer[used++] = byte;
    }
    buffer[used] = '\0';
    if (length != nullptr)
        *length = used;
    if (got < 0)
        return got;
    // The end of the stream ends a line that was begun; where none was, there is none to come.
    return got == 0 && used == 0 ? -1 : used;
}

// ---- Status line and headers -------------------------------------------------------------------

// A length at the start of a text, 0 without one. False when it is negative or above the limit.
static bool parse_length(const char *text, int base, std::int32_t *length)
{
    while (ascii_is_space(static_cast<unsigned char>(*text)))
        text++;
    std::int64_t value = 0;
    const auto [end, error] = std::from_chars(text, text + std::strlen(text), value, base);
    *length = 0;
    if (error == std::errc::result_out_of_range || value < 0 || value > BODY_LIMIT)
        return false;
    *length = static_cast<std::int32_t>(value);
    return true;
}

static const char *behind_blank(const char *text)
{
    const char *blank = std::strchr(text, ' ');
    return blank == nullptr ? nullptr : blank + 1;
}

// False when memory ran out.
static bool keep_copy(cass_conn *conn, char **slot, const char *text)
{
    std::free(*slot);
    *slot = text == nullptr ? nullptr : strdup(text);
    return *slot != nullptr || text == nullptr ||
           cass_post_no_memory(&conn->head, log_source, "cass_read_response", false);
}

static bool take_status(http_response *response, const char *line)
{
    const char *status = behind_blank(line);
    response->status = status == nullptr ? 0 : ascii_to_int(status);
    return keep_copy(response->conn, &response->reason,
                     status == nullptr ? nullptr : behind_blank(status));
}

// The line is this header, with at least one byte behind the colon.
static bool is_header(const char *line, std::string_view name)
{
    for (const char letter : name) {
        if (ascii_to_lower(static_cast<unsigned char>(*line++)) !=
            ascii_to_lower(static_cast<unsigned char>(letter)))
            return false;
    }
    return *line != '\0';
}

// Sorts a line of more than one character. False when it announces an impossible length, or when
// memory ran out.
static bool take_header(http_response *response, const char *line)
{
    const char *value = behind_blank(line);
    if (std::strncmp(line, "HTTP", 4) == 0 && line[4] != '\0') {
        return take_status(response, line);
    } else if (value == nullptr) {
        return true;
    } else if (is_header(line, "Content-Length:")) {
        return parse_length(value, 10, &response->content_length);
    } else if (is_header(line, "Transfer-Encoding:")) {
        value += std::strspn(value, " ");
        if (std::strncmp(value, "chunked", 7) == 0)
            response->chunked = 1;
    } else if (is_header(line, "Location:")) {
        return keep_copy(response->conn, &response->location, value);
    }
    return true;
}

// Lines up to a blank one, which counts once a line with text has come, or to a failed read. False
// when one cannot be taken.
static bool read_headers(http_response *response)
{
    char line[LINE_ROOM];
    bool begun = false;
    for (;;) {
        const std::int32_t length = cass_read_line(response->conn, line, sizeof line, nullptr);
        if (length < 0 || (length == 0 && begun))
            return true;
        begun = begun || length > 0;
        if (length < 2)
            continue;
        CASS_LOG(&response->conn->head, LOG_DETAIL, "%s", line);
        if (!take_header(response, line))
            return false;
    }
}

// ---- Body --------------------------------------------------------------------------------------

// Adds `size` bytes of the stream to the body, fewer if it breaks off; content_length counts what
// came. False when memory ran out.
static bool read_body(http_response *response, std::int32_t size)
{
    const std::int32_t start = response->content_length;
    const std::int32_t end = start + size;
    auto *grown =
        static_cast<char *>(std::realloc(response->body, static_cast<std::size_t>(end) + 1));
    if (grown == nullptr)
        return cass_post_no_memory(&response->conn->head, log_source, "cass_read_response", false);
    response->body = grown;
    std::int32_t used = start;
    while (used < end) {
        std::int32_t count = 0;
        if (conn_read(response->conn, grown + used, end - used, &count, 0) < 1)
            break;
        used += count;
    }
    grown[used] = '\0';
    response->content_length = used;
    return true;
}

static bool read_whole_body(http_response *response)
{
    const std::int32_t size = response->content_length;
    response->content_length = 0;
    if (!read_body(response, size))
        return false;
    CASS_LOG_PACKET(&response->conn->head, response->body, response->content_length,
                    "Respose Body");
    return true;
}

static bool read_chunks(http_response *response)
{
    cass_conn *conn = response->conn;
    char line[LINE_ROOM];
    while (cass_read_line(conn, line, sizeof line, nullptr) > 0) {
        std::int32_t size = 0;
        if (!parse_length(line, 16, &size) || size > BODY_LIMIT - response->content_length)
            return false;
        CASS_LOG(&conn->head, LOG_DETAIL, "CHUNK: %s", line);
        if (size < 1)
            break;
        const std::int32_t start = response->content_length;
        if (!read_body(response, size))
            return false;
        const std::int32_t got = response->content_length - start;
        CASS_LOG_PACKET(&conn->head, response->body + start, got, "Respose Body Chunk (%d)", size);
        // The line end behind the chunk.
        if (got < size || cass_read_line(conn, line, sizeof line, nullptr) < 0)
            break;
    }
    CASS_LOG(&conn->head, LOG_DETAIL, "Total Data: %d", response->content_length);
    return true;
}

http_response *cass_read_response(cass_conn *conn)
{
    CASS_LOG(&conn->head, LOG_DETAIL, "Reading Response");
    held_response response(static_cast<http_response *>(std::calloc(1, sizeof(http_response))));
    if (response == nullptr) {
        cass_post_no_memory(&conn->head, log_source, "cass_read_response");
        return nullptr;
    }
    response->conn = conn;
    if (!read_headers(response.get()))
        return nullptr;
    bool whole = true;
    if (response->content_length > 0)
        whole = read_whole_body(response.get());
    else if (response->chunked)
        whole = read_chunks(response.get());
    return whole ? response.release() : nullptr;
}
