// From the text of the server setting to an open socket: the list of servers, one server over IPv4
// or IPv6, and the connect with or without a time-out.
#include <arpa/inet.h>
#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string_view>

#include "core/diag/cass_err.h"
#include "core/log/cass_log.h"
#include "core/net/cass_conn.h"
#include "support/ascii.h"
#include "support/descriptors.h"

static constexpr char log_source[] = "cass_conn.c";

constexpr int OPEN_FAILED = -3;
constexpr std::int64_t NO_LIMIT = -1;

// For the log.
static const char *opener(const cass_conn *conn)
{
    return conn->settings.ipv6 ? "cass_open_ipv6" : "cass_open_ipv4";
}

// ---- Connecting --------------------------------------------------------------------------------

static int os_error(cass_conn *conn, int error)
{
    cass_os_error_room room;
    const char *text = cass_os_error_text(error, &room);
    CASS_LOG(&conn->head, LOG_ERROR, "%s: OS Error: '%s'", opener(conn), text);
    cass_post_error(&conn->head, STATE_08001, error, "OS Error: '%s'", text);
    cass_close_socket(conn);
    return OPEN_FAILED;
}

static void set_blocking(cass_conn *conn, bool blocking)
{
    const int flags = fcntl(conn->socket, F_GETFL);
    const int wanted = blocking ? flags & ~O_NONBLOCK : flags | O_NONBLOCK;
    if (flags == -1 || fcntl(conn->socket, F_SETFL, wanted) == -1)
        CASS_LOG(&conn->head, LOG_DETAIL, "setting blocking mode %d - FAILED!!!", blocking ? 1 : 0);
}

// Waits for a connect in progress. 0 when connected, the error number of the failure, or ETIMEDOUT
// with *timed_out set when the wait itself ran out.
static int await_connect(cass_conn *conn, std::int64_t timeout_ms, bool *timed_out)
{
    const std::int32_t wake_fd = conn_wake_fd(conn);
    int ready;
    do
        ready = cass_wait_socket(conn->socket, POLLOUT, timeout_ms, wake_fd);
    while (ready == CONN_WOKEN && !conn_is_called_off(conn));
    if (ready < 0)
        return ready == CONN_WOKEN ? ECANCELED : errno;
    if (ready == 0) {
        *timed_out = true;
        return ETIMEDOUT;
    }
    int error = 0;
    socklen_t size = sizeof error;
    if (getsockopt(conn->socket, SOL_SOCKET, SO_ERROR, &error, &size) == -1)
        return errno;
    return error;
}

static int connect_blocking(cass_conn *conn, const sockaddr *address, socklen_t size)
{
    if (connect(conn->socket, address, size) == 0)
        return 0;
    int error = errno;
    bool timed_out = false;
    // An interrupted connect goes on in the background; calling it again would be an error.
    if (error == EINTR)
        error = await_connect(conn, -1, &timed_out);
    return error == 0 ? 0 : os_error(conn, error);
}

// `late`: what is told when the time runs out.
static int connect_timed(cass_conn *conn, const sockaddr *address, socklen_t size,
                         std::int64_t timeout_ms, cass_state_row late)
{
    set_blocking(conn, false);
    // A connect that succeeds at once leaves the socket non-blocking: reads and writes wait by
    // poll.
    if (connect(conn->socket, address, size) == 0)
        return 0;
    if (errno != EINPROGRESS && errno != EINTR)
        return os_error(conn, errno);

    bool timed_out = false;
    const int error = await_connect(conn, timeout_ms, &timed_out);
    if (timed_out) {
        CASS_LOG(&conn->head, LOG_ERROR, "Timeout on connecting");
        cass_post_error(&conn->head, late, 0, nullptr);
        cass_close_socket(conn);
        return OPEN_FAILED;
    }
    if (error != 0)
        return os_error(conn, error);
    set_blocking(conn, true);
    return 0;
}

static int connect_socket(cass_conn *conn, const sockaddr *address, socklen_t size)
{
    if (conn->ms_timeout > 0) {
        CASS_LOG(&conn->head, LOG_DETAIL, "Setting timeout to %u msec", conn->ms_timeout);
        return connect_timed(conn, address, size, conn->ms_timeout, STATE_HYT01);
    }
    if (conn->login_timeout > 0) {
        CASS_LOG(&conn->head, LOG_DETAIL, "Setting timeout to %d sec",
                 static_cast<int>(conn->login_timeout));
        return connect_timed(conn, address, size, std::int64_t{conn->login_timeout} * 1000,
                             STATE_HYT01);
    }
    return connect_blocking(conn, address, size);
}

// 0, or the error number.
static int make_socket(cass_conn *conn, int family)
{
    const int made = above_standard(socket(family, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (made < 0) {
        const int error = errno;
        CASS_LOG(&conn->head, LOG_ERROR, "%s: Failed to create socket, errno=%d", opener(conn),
                 error);
        return error;
    }
    const cass_lock_guard hold(&conn->session_lock);
    conn->socket = made;
    shared_put(&conn->socket_dead, 0);
    conn->late = {};
    return 0;
}

static int no_socket(cass_conn *conn, int error)
{
    cass_post_error(&conn->head, STATE_08001, error, "Failed to create socket");
    return OPEN_FAILED;
}

static void set_socket_options(cass_conn *conn)
{
    const int on = 1;
    if (conn->settings.rcvbuffer > 0 &&
        setsockopt(conn->socket, SOL_SOCKET, SO_RCVBUF, &conn->settings.rcvbuffer,
                   sizeof conn->settings.rcvbuffer) == -1)
        CASS_LOG(&conn->head, LOG_DETAIL, "setting SO_RCVBUF - FAILED!!!");
    if (conn->settings.keepalive != 0 &&
        setsockopt(conn->socket, SOL_SOCKET, SO_KEEPALIVE, &on, sizeof on) == -1)
        CASS_LOG(&conn->head, LOG_DETAIL, "setting SO_KEEPALIVE - FAILED!!!");
}

int cass_open_address(cass_conn *conn, const sockaddr *address, socklen_t size)
{
    if (const int error = make_socket(conn, address->sa_family); error != 0)
        return os_error(conn, error);
    set_socket_options(conn);
    const std::int64_t left =
        conn->attempt_ends == 0
            ? NO_LIMIT
            : std::max<std::int64_t>(conn->attempt_ends - cass_monotonic_ms(), 0);
    return connect_timed(conn, address, size, left, STATE_HYT00);
}

// ---- One server --------------------------------------------------------------------------------

// Cuts the host at the separator and settles the port. An explicit port setting wins over a port in
// the server text. 0, or OPEN_FAILED with the failure posted.
static int settle_port(cass_conn *conn, char *host, char *separator, std::int32_t *port)
{
    if (separator == nullptr) {
        if (*port == 0)
            *port = DEFAULT_PORT;
        return 0;
    }
    CASS_LOG(&conn->head, LOG_DETAIL, "found port");
    *separator = '\0';
    const char *text = separator + 1;
    CASS_LOG(&conn->head, LOG_DETAIL, "server: '%s' port '%s'", host, text);
    if (*port != 0)
        return 0;
    *port = ascii_to_int(text);
    CASS_LOG(&conn->head, LOG_DETAIL, "port %d", *port);
    if (*port == 0) {
        CASS_LOG(&conn->head, LOG_ERROR, "%s: Failed to extract numeric port from '%s'",
                 opener(conn), text);
        cass_post_error(&conn->head, STATE_08001, 0, "Failed to extract numeric port from '%s'",
                        text);
        return OPEN_FAILED;
    }
    return 0;
}

// First address of the host. 0, the resolver's error (h_errno), or EAI_MEMORY.
static int resolve_ipv4(const char *host, in_addr *address)
{
    constexpr std::size_t first_room = 1024;
    constexpr std::size_t last_room = 256 * 1024;

    // A numeric address needs no resolver.
    if (inet_pton(AF_INET, host, address) == 1)
        return 0;
    for (std::size_t room = first_room; room <= last_room; room *= 4) {
        const held_text buffer(static_cast<char *>(std::malloc(room)));
        if (buffer == nullptr)
            return EAI_MEMORY;
        hostent storage;
        hostent *found = nullptr;
        int failure = 0;
        const int code = gethostbyname_r(host, &storage, buffer.get(), room, &found, &failure);
        if (code == ERANGE)
            continue;
        if (code == ENOMEM)
            return EAI_MEMORY;
        if (code != 0 || found == nullptr)
            return failure != 0 ? failure : HOST_NOT_FOUND;
        if (found->h_addrtype != AF_INET || found->h_addr_list[0] == nullptr)
            return NO_DATA;
        std::memcpy(address, found->h_addr_list[0], sizeof *address);
        return 0;
    }
    return NO_RECOVERY;
}

// One entry: host, host:port or host*port (IPv4), host or host*port (IPv6). 0, or -3 with 08001 or
// HYT00/HYT01 posted.
static int cass_open_ipv4(cass_conn *conn, const cass_string *server, std::int32_t port)
{
    CASS_LOG(&conn->head, LOG_DETAIL, "Open connection to '%S', %d", server, port);
    const held_text host(cass_string_to_utf8(server));
    if (host == nullptr)
        return cass_post_no_memory(&conn->head, log_source, opener(conn), OPEN_FAILED);
    char *separator = std::strchr(host.get(), ':');
    if (separator == nullptr)
        separator = std::strchr(host.get(), '*');
    if (const int code = settle_port(conn, host.get(), separator, &port); code != 0)
        return code;

    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    const int failure = resolve_ipv4(host.get(), &address.sin_addr);
    if (failure == EAI_MEMORY)
        return cass_post_no_memory(&conn->head, log_source, opener(conn), OPEN_FAILED);
    if (failure != 0) {
        CASS_LOG(&conn->head, LOG_ERROR, "Failed to find host address '%s'", host.get());
        cass_post_error(&conn->head, STATE_08001, failure, "Failed to find host address '%S'",
                        server);
        return OPEN_FAILED;
    }
    if (const int error = make_socket(conn, AF_INET); error != 0)
        return no_socket(conn, error);
    set_socket_options(conn);
    return connect_socket(conn, reinterpret_cast<const sockaddr *>(&address), sizeof address);
}

static void log_address(cass_conn *conn, int family, int type, int protocol)
{
    CASS_LOG(&conn->head, LOG_DETAIL, "Addrinfo member %d,%d,%d", family, type, protocol);
    if (family == AF_INET6 && type == SOCK_STREAM)
        CASS_LOG(&conn->head, LOG_DETAIL, "Found addr match");
}

// First IPv6 stream address of the host. 0, or OPEN_FAILED with the failure posted.
static int resolve_ipv6(cass_conn *conn, const char *host, sockaddr_in6 *address)
{
    if (inet_pton(AF_INET6, host, &address->sin6_addr) == 1) {
        CASS_LOG(&conn->head, LOG_DETAIL, "getaddrinfo returns %d", 0);
        log_address(conn, AF_INET6, SOCK_STREAM, IPPROTO_TCP);
        address->sin6_family = AF_INET6;
        return 0;
    }
    addrinfo hints = {};
    hints.ai_family = AF_INET6;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo *list = nullptr;
    const int code = getaddrinfo(host, nullptr, &hints, &list);
    CASS_LOG(&conn->head, LOG_DETAIL, "getaddrinfo returns %d", code);
    if (code == EAI_MEMORY)
        return cass_post_no_memory(&conn->head, log_source, opener(conn), OPEN_FAILED);
    if (code == EAI_FAMILY) {
        CASS_LOG(&conn->head, LOG_ERROR, "cass_open_ipv6: AF_INET6 family not supported");
        cass_post_error(&conn->head, STATE_08001, code, "AF_INET6 family not supported");
        return OPEN_FAILED;
    }
    if (code != 0) {
        CASS_LOG(&conn->head, LOG_ERROR, "cass_open_ipv6: Failed to find host address '%s'", host);
        cass_post_error(&conn->head, STATE_08001, code, "Failed to find host address '%s'", host);
        return OPEN_FAILED;
    }
    bool found = false;
    for (const addrinfo *member = list; member != nullptr && !found; member = member->ai_next) {
        log_address(conn, member->ai_family, member->ai_socktype, member->ai_protocol);
        found = member->ai_family == AF_INET6 && member->ai_socktype == SOCK_STREAM &&
                member->ai_addrlen >= sizeof *address;
        if (found)
            std::memcpy(address, member->ai_addr, sizeof *address);
    }
    freeaddrinfo(list);
    if (!found) {
        CASS_LOG(&conn->head, LOG_ERROR,
                 "cass_open_ipv6: Failed to find host address '%s' of required type", host);
        cass_post_error(&conn->head, STATE_08001, 0,
                        "Failed to find host address '%s' of required type", host);
        return OPEN_FAILED;
    }
    return 0;
}

static int cass_open_ipv6(cass_conn *conn, const cass_string *server, std::int32_t port)
{
    CASS_LOG(&conn->head, LOG_DETAIL, "Open IPv6 connection to '%S', %d", server, port);
    const held_text host(cass_string_to_utf8(server));
    if (host == nullptr)
        return cass_post_no_memory(&conn->head, log_source, opener(conn), OPEN_FAILED);
    // A colon belongs to the address here.
    char *separator = std::strchr(host.get(), '*');
    if (const int code = settle_port(conn, host.get(), separator, &port); code != 0)
        return code;
    conn->settings.port = port;

    sockaddr_in6 address = {};
    if (const int code = resolve_ipv6(conn, host.get(), &address); code != 0)
        return code;
    address.sin6_port = htons(static_cast<std::uint16_t>(port));
    if (const int error = make_socket(conn, AF_INET6); error != 0)
        return no_socket(conn, error);
    // The receive buffer and keep-alive settings belong to IPv4 alone, on purpose.
    return connect_socket(conn, reinterpret_cast<const sockaddr *>(&address), sizeof address);
}

// ---- The list ----------------------------------------------------------------------------------

static void free_entries(cass_string **entries, std::int32_t count)
{
    for (std::int32_t i = 0; entries != nullptr && i < count; i++)
        cass_string_free(entries[i]);
    std::free(entries);
}

// Cuts the list at its commas. An array of `count` entries, or null when memory ran out.
static cass_string **cut_entries(cass_conn *conn, char *list, std::int32_t count)
{
    auto **entries = static_cast<cass_string **>(
        std::calloc(static_cast<std::size_t>(count), sizeof(cass_string *)));
    if (entries == nullptr)
        return nullptr;
    char *rest = list;
    for (std::int32_t i = 0; i < count; i++) {
        char *comma = std::strchr(rest, ',');
        if (comma != nullptr)
            *comma = '\0';
        entries[i] = cass_string_from_cstr(rest);
        if (entries[i] == nullptr) {
            free_entries(entries, count);
            return nullptr;
        }
        CASS_LOG(&conn->head, LOG_DETAIL, "Server (%d) = '%S'", i, entries[i]);
        if (comma != nullptr)
            rest = comma + 1;
    }
    return entries;
}

static std::int32_t first_server(cass_conn *conn, std::int32_t count)
{
    if (!conn->random_start)
        return 0;
    std::srand(static_cast<unsigned>(std::time(nullptr)));
    const std::int32_t start = std::rand() % count;
    CASS_LOG(&conn->head, LOG_DETAIL, "starting with server %d", start);
    return start;
}

// Tries the servers in turn. 0 with the index of the one that answered, or the last one's failure.
static int open_first(cass_conn *conn, cass_string *const *entries, std::int32_t count,
                      std::int32_t port, std::int32_t *answered)
{
    const std::int32_t start = first_server(conn, count);
    int code = OPEN_FAILED;
    for (std::int32_t i = 0; i < count; i++) {
        *answered = (start + i) % count;
        const cass_string *entry = entries[*answered];
        code = conn->settings.ipv6 ? cass_open_ipv6(conn, entry, port)
                                   : cass_open_ipv4(conn, entry, port);
        if (code == 0)
            break;
        // Of a list of failing servers only the last one's diagnostics survive.
        if (i + 1 < count)
            cass_diag_clear(&conn->head);
    }
    return code;
}

int cass_open_servers(cass_conn *conn, const cass_string *servers, std::int32_t port)
{
    const held_text list(cass_string_to_utf8(servers));
    if (list == nullptr)
        return cass_post_no_memory(&conn->head, log_source, opener(conn), OPEN_FAILED);
    CASS_LOG(&conn->head, LOG_DETAIL, "opening connection to '%s' %d", list.get(), port);
    const std::string_view text(list.get());
    const auto count = static_cast<std::int32_t>(std::count(text.begin(), text.end(), ',') + 1);
    CASS_LOG(&conn->head, LOG_DETAIL, "found %d servers", count);
    cass_string **entries = cut_entries(conn, list.get(), count);
    if (entries == nullptr) {
        CASS_LOG(&conn->head, LOG_ERROR, "failed to allocate server array");
        cass_post_error(&conn->head, STATE_HY000, 0, nullptr);
        return OPEN_FAILED;
    }
    std::int32_t answered = 0;
    const int code = open_first(conn, entries, count, port, &answered);
    if (code == 0) {
        // `servers` may be this very setting; it is not read any more.
        cass_string_free(conn->settings.server);
        conn->settings.server = entries[answered];
        entries[answered] = nullptr;
    }
    free_entries(entries, count);
    return code;
}
