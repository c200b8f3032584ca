// Bytes of a TLS session that stands: the socket BIO under it, reading and writing.
#include <openssl/err.h>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>

#include "core/net/cass_conn.h"
#include "core/net/cass_ssl.h"
#include "core/net/cass_ssl_internal.h"

constexpr std::int64_t NO_LIMIT = -1;

// A read of the session may write too, an alert: no call of OpenSSL may reach a write to a socket
// that could raise SIGPIPE.
static int write_quietly(BIO *bio, const char *bytes, int count)
{
    const auto *info = static_cast<const ssl_info *>(BIO_get_app_data(bio));
    int socket = -1;
    BIO_get_fd(bio, &socket);
    const int flags = MSG_NOSIGNAL | (info->waits_outside ? MSG_DONTWAIT : 0);
    const auto sent = static_cast<int>(send(socket, bytes, static_cast<std::size_t>(count), flags));
    BIO_clear_retry_flags(bio);
    if (sent <= 0 && BIO_sock_should_retry(sent))
        BIO_set_retry_write(bio);
    return sent;
}

// A read that can be ended never waits here: the session may need several receives for one record.
static int receive(BIO *bio, char *bytes, int count)
{
    const auto *info = static_cast<const ssl_info *>(BIO_get_app_data(bio));
    int socket = -1;
    BIO_get_fd(bio, &socket);
    if (info->waits_outside && cass_wait_socket(socket, POLLIN, 0) == 0) {
        BIO_clear_retry_flags(bio);
        BIO_set_retry_read(bio);
        return -1;
    }
    return BIO_meth_get_read(BIO_s_socket())(bio, bytes, count);
}

BIO_METHOD *cass_ssl_socket_method()
{
    const BIO_METHOD *plain = BIO_s_socket();
    BIO_METHOD *method = BIO_meth_new(BIO_TYPE_SOCKET, "socket without SIGPIPE");
    if (method == nullptr)
        return nullptr;
    BIO_meth_set_write(method, write_quietly);
    BIO_meth_set_read(method, receive);
    BIO_meth_set_ctrl(method, BIO_meth_get_ctrl(plain));
    BIO_meth_set_create(method, BIO_meth_get_create(plain));
    BIO_meth_set_destroy(method, BIO_meth_get_destroy(plain));
    return method;
}

// Repeats the call while the session waits for the socket. What the last call gave, with errno as
// the header says, CONN_TIMED_OUT or CONN_WOKEN.
template <typename Call>
static int transfer(const cass_conn *conn, std::int64_t timeout_ms, std::int32_t wake_fd, Call call)
{
    SSL *ssl = conn->ssl->ssl;
    const std::int64_t ends = timeout_ms < 0 ? NO_LIMIT : cass_monotonic_ms() + timeout_ms;
    for (;;) {
        ERR_clear_error();
        errno = 0;
        const int result = call(ssl);
        const int error = errno;
        if (result > 0)
            return result;
        const int status = SSL_get_error(ssl, result);
        if (status == SSL_ERROR_WANT_READ || status == SSL_ERROR_WANT_WRITE) {
            const short events = status == SSL_ERROR_WANT_READ ? POLLIN : POLLOUT;
            const std::int64_t left =
                ends == NO_LIMIT ? NO_LIMIT : std::max<std::int64_t>(ends - cass_monotonic_ms(), 0);
            const int ready = cass_wait_socket(conn->socket, events, left, wake_fd);
            if (ready == 1)
                continue;
            if (ready == 0 || ready == CONN_WOKEN)
                return ready == 0 ? CONN_TIMED_OUT : CONN_WOKEN;
        }
        ERR_clear_error();
        errno = status == SSL_ERROR_SYSCALL ? error : 0;
        return result;
    }
}

int cass_ssl_read(cass_conn *conn, void *buffer, int count, std::int64_t timeout_ms)
{
    const std::int32_t wake_fd = conn_wake_fd(conn);
    conn->ssl->waits_outside = timeout_ms >= 0 || wake_fd >= 0;
    return transfer(conn, timeout_ms, wake_fd,
                    [&](SSL *ssl) { return SSL_read(ssl, buffer, count); });
}

int cass_ssl_write(cass_conn *conn, const void *buffer, int count, std::int64_t timeout_ms)
{
    conn->ssl->waits_outside = timeout_ms >= 0;
    return transfer(conn, timeout_ms, -1, [&](SSL *ssl) { return SSL_write(ssl, buffer, count); });
}

bool cass_ssl_peer_is_there(cass_conn *conn)
{
    SSL *ssl = conn->ssl->ssl;
    conn->ssl->waits_outside = true;
    char byte;
    ERR_clear_error();
    const int result = SSL_peek(ssl, &byte, 1);
    const bool there = result > 0 || SSL_get_error(ssl, result) == SSL_ERROR_WANT_READ;
    ERR_clear_error();
    return there;
}
