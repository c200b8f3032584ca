// Bytes over the open socket of a connection, in clear or through its TLS session. Reads and writes
// block; where a wait is needed all the same (a timed connect may leave its socket non-blocking),
// it is a poll and never a spin.
#include "core/net/cass_conn.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>
#include <ctime>

#include "core/diag/cass_err.h"
#include "core/log/cass_log.h"
#include "core/net/cass_ssl.h"
#include "support/descriptors.h"

static constexpr char log_source[] = "cass_conn.c";

constexpr std::int64_t NO_LIMIT = -1;

const char *cass_os_error_text(int error_number, cass_os_error_room *room)
{
    // The GNU form may give a constant text and leave the room alone.
    return strerror_r(error_number, room->data(), room->size());
}

std::int64_t cass_monotonic_ms()
{
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<std::int64_t>(now.tv_sec) * 1000 + now.tv_nsec / 1000000;
}

std::int64_t cass_earlier(std::int64_t one, std::int64_t other)
{
    return one == 0 || other == 0 ? one + other : std::min(one, other);
}

bool conn_request_is_over(const cass_conn *conn)
{
    return conn->request_ends != 0 && cass_monotonic_ms() >= conn->request_ends;
}

int cass_wait_socket(std::int32_t socket, short events, std::int64_t timeout_ms,
                     std::int32_t wake_fd)
{
    const std::int64_t deadline = timeout_ms < 0 ? 0 : cass_monotonic_ms() + timeout_ms;
    for (;;) {
        int wait = -1;
        if (timeout_ms >= 0) {
            const std::int64_t left = deadline - cass_monotonic_ms();
            wait = static_cast<int>(std::clamp<std::int64_t>(left, 0, INT_MAX));
        }
        pollfd entries[] = {{.fd = socket, .events = events, .revents = 0},
                            {.fd = wake_fd, .events = POLLIN, .revents = 0}};
        const int ready = poll(entries, wake_fd < 0 ? 1 : 2, wait);
        if (ready > 0)
            return entries[0].revents != 0 ? 1 : CONN_WOKEN;
        if (ready == 0 && cass_monotonic_ms() >= deadline)
            return 0;
        if (ready < 0 && errno != EINTR)
            return -1;
    }
}

int cass_close_socket(cass_conn *conn)
{
    // Whoever ends the session from another thread must not meet a number that is somebody else's.
    const cass_lock_guard hold(&conn->session_lock);
    if (conn->socket >= 0)
        close(conn->socket);
    conn->socket = -1;
    return 0;
}

static bool cancelling_waits_for_the_reply(const cass_conn *conn)
{
    return conn->conduct->cancelling_waits_for_the_reply;
}

// It stays as long as the connection's record: a thread that wakes another must never write to a
// descriptor that has become somebody else's.
void conn_make_wakeable(cass_conn *conn)
{
    if (conn->wake_fd < 0 && !cancelling_waits_for_the_reply(conn))
        shared_put(&conn->wake_fd, above_standard(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)));
}

std::int32_t conn_wake_fd(const cass_conn *conn)
{
    return cancelling_waits_for_the_reply(conn) ? -1 : shared_get(&conn->wake_fd);
}

void conn_wake(const cass_conn *conn)
{
    const std::int32_t wake_fd = conn_wake_fd(conn);
    if (wake_fd >= 0)
        eventfd_write(wake_fd, 1);
}

void conn_slept_on(const cass_conn *conn)
{
    eventfd_t times;
    eventfd_read(conn_wake_fd(conn), &times);
}

bool conn_is_called_off(const cass_conn *conn)
{
    conn_slept_on(conn);
    return shared_get(&conn->leaving) != 0 ||
           (conn->mended_for != nullptr && stmt_is_cancelled(conn->mended_for));
}

bool conn_peer_is_there(cass_conn *conn)
{
    const cass_lock_guard hold(&conn->session_lock);
    // Bytes that wait to be read are no sign of its end, but may stand in front of it.
    pollfd entry = {.fd = conn->socket, .events = POLLRDHUP, .revents = 0};
    return conn->socket >= 0 && poll(&entry, 1, 0) >= 0 && entry.revents == 0;
}

// Both are tested: the mark outlives the session, until the connection is reset.
static bool through_tls(const cass_conn *conn)
{
    return conn->ssl != nullptr && conn->settings.ssl_active == 1;
}

// A request has run into its time-out or was cancelled, and the peer's system has not even
// confirmed its bytes, which were sent again and again. A server that is only slow has confirmed
// them.
static bool peer_is_silent(const cass_conn *conn)
{
    constexpr int most_attempts = 2;
    tcp_info info = {};
    socklen_t size = sizeof info;
    return conn->late.count > 0 &&
           getsockopt(conn->socket, IPPROTO_TCP, TCP_INFO, &info, &size) == 0 &&
           info.tcpi_backoff >= most_attempts;
}

bool conn_is_lost(cass_conn *conn)
{
    if (shared_get(&conn->socket_dead) != 0 || !conn_peer_is_there(conn) || peer_is_silent(conn))
        return true;
    return through_tls(conn) && !cass_ssl_peer_is_there(conn);
}

static bool would_block(int error)
{
    return error == EAGAIN || error == EWOULDBLOCK;
}

static std::int32_t post_send_error(cass_conn *conn, int error)
{
    CASS_LOG(&conn->head, LOG_ERROR, "conn_write: send failed, errno=%d", error);
    cass_post_error(&conn->head, STATE_08S01, error, "send failed");
    return -1;
}

// The shorter of timeout_ms (below 1: none) and what the start of a session and the request have
// left: 0 when that is up, NO_LIMIT where nothing ends.
static std::int64_t time_left(const cass_conn *conn, std::int32_t timeout_ms)
{
    const std::int64_t ends = cass_earlier(conn->attempt_ends, conn->request_ends);
    if (ends == 0) [[likely]]
        return timeout_ms >= 1 ? timeout_ms : NO_LIMIT;
    const std::int64_t left = std::max<std::int64_t>(ends - cass_monotonic_ms(), 0);
    return std::min<std::int64_t>(left, timeout_ms >= 1 ? timeout_ms : INT_MAX);
}

// The log dumps the first `shown` bytes.
static std::int32_t write_tls(cass_conn *conn, const void *buffer, std::int32_t count,
                              std::int32_t shown)
{
    const auto *bytes = static_cast<const char *>(buffer);
    std::int32_t done = 0;
    while (done < count) {
        const int sent = cass_ssl_write(conn, bytes + done, count - done, time_left(conn, 0));
        if (sent == CONN_TIMED_OUT)
            return sent;
        if (sent < 1)
            return post_send_error(conn, errno);
        done += sent;
    }
    CASS_LOG_PACKET(&conn->head, buffer, shown, "Sent %d (SSL) bytes", done);
    return done;
}

static std::int32_t write_all(cass_conn *conn, const void *buffer, std::int32_t count,
                              std::int32_t shown)
{
    if (through_tls(conn)) [[unlikely]]
        return write_tls(conn, buffer, count, shown);
    const auto *bytes = static_cast<const char *>(buffer);
    std::int32_t done = 0;
    // MSG_NOSIGNAL: a peer that is gone must not end the application with SIGPIPE.
    const int flags = MSG_NOSIGNAL | (time_left(conn, 0) == NO_LIMIT ? 0 : MSG_DONTWAIT);
    while (done < count) {
        const ssize_t sent =
            send(conn->socket, bytes + done, static_cast<std::size_t>(count - done), flags);
        if (sent >= 0) {
            done += static_cast<std::int32_t>(sent);
            continue;
        }
        if (errno == EINTR)
            continue;
        int ready = -1;
        if (would_block(errno))
            ready = cass_wait_socket(conn->socket, POLLOUT, time_left(conn, 0));
        if (ready == 0)
            return CONN_TIMED_OUT;
        if (ready < 0)
            return post_send_error(conn, errno);
    }
    CASS_LOG_PACKET(&conn->head, buffer, shown, "Sent %d bytes", done);
    return done;
}

std::int32_t conn_write(cass_conn *conn, const void *buffer, std::int32_t count)
{
    return write_all(conn, buffer, count, count);
}

std::int32_t conn_write_secret(cass_conn *conn, const void *buffer, std::int32_t count,
                               std::int32_t secret)
{
    return write_all(conn, buffer, count, cass_log_shows_secrets(conn) ? count : secret);
}

static std::int32_t post_read_error(cass_conn *conn, int error)
{
    cass_os_error_room room;
    const char *text = cass_os_error_text(error, &room);
    CASS_LOG(&conn->head, LOG_ERROR, "conn_read_raw: read failed %d %s", error, text);
    cass_post_error(&conn->head, STATE_08S01, error, "read failed %d %s", error, text);
    return -1;
}

// Bytes that one receive gave, CONN_TIMED_OUT, or -1 with the failure posted.
static std::int32_t receive_once(cass_conn *conn, void *buffer, std::int32_t count,
                                 std::int64_t timeout_ms)
{
    const bool timed = timeout_ms != NO_LIMIT;
    const std::int32_t wake_fd = conn_wake_fd(conn);
    bool must_wait = timed || wake_fd >= 0;
    if (timed)
        CASS_LOG(&conn->head, LOG_DETAIL, "Setting timeout to %u msec",
                 static_cast<std::uint32_t>(timeout_ms));
    for (;;) {
        if (must_wait) {
            const int ready = cass_wait_socket(conn->socket, POLLIN, timeout_ms, wake_fd);
            if (ready == CONN_WOKEN)
                return ready;
            if (ready == 0) {
                CASS_LOG(&conn->head, LOG_DETAIL, "Timeout");
                return CONN_TIMED_OUT;
            }
            if (ready < 0)
                return post_read_error(conn, errno);
        }
        const ssize_t got = recv(conn->socket, buffer, static_cast<std::size_t>(count), 0);
        if (got > 0)
            return static_cast<std::int32_t>(got);
        if (got == 0) {
            CASS_LOG(&conn->head, LOG_ERROR, "conn_read_raw: read failed (peer shutdown)");
            cass_post_error(&conn->head, STATE_08S01, 0, "read failed (peer shutdown)");
            return -1;
        }
        const int error = errno;
        if (error == EINTR) {
            CASS_LOG(&conn->head, LOG_DETAIL, "Recieved EINTR");
        } else if (would_block(error)) {
            CASS_LOG(&conn->head, LOG_DETAIL, "Recieved EAGAIN");
            must_wait = true;
        } else {
            return post_read_error(conn, error);
        }
    }
}

// 0 at the end of the stream.
static std::int32_t read_tls(cass_conn *conn, void *buffer, std::int32_t count,
                             std::int32_t *read_count, std::int64_t timeout_ms, int dump)
{
    const int got = cass_ssl_read(conn, buffer, count, timeout_ms);
    if (got == CONN_TIMED_OUT || got == CONN_WOKEN)
        return got;
    if (got < 0) {
        CASS_LOG(&conn->head, LOG_ERROR, "conn_read_raw: read failed");
        cass_post_error(&conn->head, STATE_08S01, 0, "read failed");
        return -1;
    }
    *read_count = got;
    if (dump)
        CASS_LOG_PACKET(&conn->head, buffer, got, "Read %d (SSL) bytes, requested %d", got, count);
    return got;
}

std::int32_t conn_read_raw(cass_conn *conn, void *buffer, std::int32_t count,
                           std::int32_t *read_count, std::int32_t timeout_ms, int dump)
{
    *read_count = 0;
    if (count < 1)
        return 0;
    const std::int64_t left = time_left(conn, timeout_ms);
    if (left == 0)
        return CONN_TIMED_OUT;
    if (through_tls(conn)) [[unlikely]]
        return read_tls(conn, buffer, count, read_count, left, dump);
    const std::int32_t got = receive_once(conn, buffer, count, left);
    if (got < 0)
        return got;
    *read_count = got;
    if (dump)
        CASS_LOG_PACKET(&conn->head, buffer, got, "Read %d bytes, requested %d", got, count);
    return got;
}

std::int32_t conn_read(cass_conn *conn, void *buffer, std::int32_t count, std::int32_t *read_count,
                       std::int32_t timeout_ms)
{
    return conn_read_raw(conn, buffer, count, read_count, timeout_ms, 1);
}
