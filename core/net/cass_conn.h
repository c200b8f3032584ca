// Transport: the TCP socket of a connection, from a list of servers to bytes read and written.
#ifndef CORE_NET_CASS_CONN_H
#define CORE_NET_CASS_CONN_H

#include <sys/socket.h>

#include <array>

#include "core/record/cass_handles.h"

// Opens the first server of a comma-separated list that answers. port 0: the server text's port or
// 9042. 0 with `socket` open and `server` replaced by a copy of that entry; otherwise the last
// attempt's negative result with its diagnostics posted on the connection (those of earlier servers
// are dropped). None is open before, and the caller holds exchange_lock.
int cass_open_servers(cass_conn *conn, const cass_string *servers, std::int32_t port);
// Opens one address, within attempt_ends. 0 with `socket` open; -3 with 08001 or HYT00 posted. None
// is open before, and the caller holds exchange_lock.
int cass_open_address(cass_conn *conn, const sockaddr *address, socklen_t size);
// Closes `socket` if there is one. 0.
int cass_close_socket(cass_conn *conn);

// Writes all `count` bytes. count, or -1 with 08S01 posted, or CONN_TIMED_OUT without a record when
// request_ends came first. SIGPIPE never reaches the application.
std::int32_t conn_write(cass_conn *conn, const void *buffer, std::int32_t count);
// The same of bytes that hold a secret from `secret` on, which only a log that shows secrets dumps.
std::int32_t conn_write_secret(cass_conn *conn, const void *buffer, std::int32_t count,
                               std::int32_t secret);
// Result of a read or write that ran into its time-out.
constexpr std::int32_t CONN_TIMED_OUT = -2;
// Result of a read that was woken by conn_wake before anything came.
constexpr std::int32_t CONN_WOKEN = -3;

// Reads at most `count` bytes with one receive; the same number in *read_count. -1 with 08S01
// posted (a closed peer too), -2 on time-out and -3 when woken, both without a record, 0 only from
// TLS at the end of its stream. timeout_ms below 1: waits without limit. No read waits beyond
// attempt_ends or request_ends, however its bytes come.
std::int32_t conn_read(cass_conn *conn, void *buffer, std::int32_t count, std::int32_t *read_count,
                       std::int32_t timeout_ms);
// The same, with the log dump of the bytes read on or off.
std::int32_t conn_read_raw(cass_conn *conn, void *buffer, std::int32_t count,
                           std::int32_t *read_count, std::int32_t timeout_ms, int dump);

// Waits until the socket is ready for `events` (POLLIN, POLLOUT), through interruptions by signals.
// 1 when ready or broken, 0 on time-out, -1 with errno set. timeout_ms below 0: without limit.
// wake_fd: a second descriptor whose readiness ends the wait, which then gives CONN_WOKEN; -1:
// none.
int cass_wait_socket(std::int32_t socket, short events, std::int64_t timeout_ms,
                     std::int32_t wake_fd = -1);

// Milliseconds of a clock that never goes back.
std::int64_t cass_monotonic_ms();
// The earlier of two times of that clock, where 0 is none.
std::int64_t cass_earlier(std::int64_t one, std::int64_t other);
// Whether the time of the request in work is up.
bool conn_request_is_over(const cass_conn *conn);

// Makes the connection's wake_fd where the conduct lets reads be woken. Without one (no descriptor
// is left) they cannot.
void conn_make_wakeable(cass_conn *conn);
// Whose readiness wakes a read; -1: nothing does.
std::int32_t conn_wake_fd(const cass_conn *conn);
// Wakes the thread that waits in a read of this connection, or that will wait next.
void conn_wake(const cass_conn *conn);
// Takes back what conn_wake has set.
void conn_slept_on(const cass_conn *conn);
// Whether the session that is being made in place of a lost one is wanted no more: SQLCancel, or
// the end of the connection, from another thread. Takes back what has woken this one.
bool conn_is_called_off(const cass_conn *conn);
// Whether the peer is still there, as far as the system knows; nothing is sent or read.
bool conn_peer_is_there(cass_conn *conn);
// Whether nothing can be sent any more: the connection broke, the peer has ended it, by TLS too, or
// its system takes no bytes of a request that was given up.
// Nothing is sent, and no byte of a reply is lost. The caller holds exchange_lock.
bool conn_is_lost(cass_conn *conn);

// The system's text for an error number, constant or in the caller's room.
using cass_os_error_room = std::array<char, 1024>;
const char *cass_os_error_text(int error_number, cass_os_error_room *room);

#endif
