#include "core/net/cass_address.h"

#include <netinet/in.h>
#include <pthread.h>
#include <sched.h>
#include <sys/socket.h>

#include <cstdlib>
#include <cstring>
#include <ctime>

#include "core/net/cass_conn.h"
#include "support/ascii.h"

// ---- An entry ----------------------------------------------------------------------------------

static char *trim(char *text)
{
    while (ascii_is_space(static_cast<unsigned char>(*text)))
        text++;
    char *end = text + std::strlen(text);
    while (end > text && ascii_is_space(static_cast<unsigned char>(end[-1])))
        end--;
    *end = '\0';
    return text;
}

static bool read_port(char *text, std::int32_t *port)
{
    constexpr std::int32_t highest = 65535;
    text = trim(text);
    *port = 0;
    for (const char *digit = text; *digit != '\0' && *port <= highest; digit++) {
        if (!ascii_is_digit(static_cast<unsigned char>(*digit)))
            return false;
        *port = *port * 10 + (*digit - '0');
    }
    return *port >= 1 && *port <= highest;
}

// Where the port begins, or null. Of several colons none is a separator: they are the address's.
static char *find_separator(char *text)
{
    if (char *star = std::strchr(text, '*'))
        return star;
    char *colon = std::strchr(text, ':');
    return colon != nullptr && std::strchr(colon + 1, ':') == nullptr ? colon : nullptr;
}

bool cass_read_server(char *entry, cass_server *server)
{
    entry = trim(entry);
    *server = {.host = entry, .port = 0};
    char *bracket = *entry == '[' ? std::strchr(entry, ']') : nullptr;
    if (bracket != nullptr) {
        server->host = entry + 1;
        *bracket = '\0';
        entry = bracket + 1;
    }
    char *separator = find_separator(entry);
    if (separator == nullptr)
        return bracket == nullptr || *trim(entry) == '\0';
    *separator = '\0';
    if (bracket == nullptr)
        server->host = trim(entry);
    return read_port(separator + 1, &server->port);
}

void cass_set_port(sockaddr *address, std::int32_t port)
{
    const in_port_t value = htons(static_cast<in_port_t>(port));
    if (address->sa_family == AF_INET)
        reinterpret_cast<sockaddr_in *>(address)->sin_port = value;
    else
        reinterpret_cast<sockaddr_in6 *>(address)->sin6_port = value;
}

// ---- Looking a name up -------------------------------------------------------------------------

static addrinfo hints_of(int family, int flags)
{
    addrinfo hints = {};
    hints.ai_family = family;
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = flags;
    return hints;
}

static int look_up(const char *host, const addrinfo &hints, held_addresses *list)
{
    addrinfo *found = nullptr;
    const int code = getaddrinfo(host, nullptr, &hints, &found);
    list->reset(found);
    return code;
}

// One lookup that the C library's thread works on: it must stay where it is until that has ended.
struct lookup {
    gaicb request;
    addrinfo hints;
    lookup *next;  // behind it stands the host
};

// Those that were given up and had not ended. The next lookup frees the ones that have.
static pthread_mutex_t given_up_lock = PTHREAD_MUTEX_INITIALIZER;
static lookup *given_up;

static void free_lookup(lookup *one)
{
    if (one->request.ar_result != nullptr)
        freeaddrinfo(one->request.ar_result);
    std::free(one);
}

static void free_ended_lookups()
{
    pthread_mutex_lock(&given_up_lock);
    for (lookup **link = &given_up; *link != nullptr;) {
        lookup *one = *link;
        if (gai_cancel(&one->request) == EAI_NOTCANCELED) {
            link = &one->next;
        } else {
            *link = one->next;
            free_lookup(one);
        }
    }
    pthread_mutex_unlock(&given_up_lock);
}

static void give_up(lookup *one)
{
    pthread_mutex_lock(&given_up_lock);
    one->next = given_up;
    given_up = one;
    pthread_mutex_unlock(&given_up_lock);
}

static lookup *new_lookup(const char *host, const addrinfo &hints)
{
    const std::size_t size = std::strlen(host) + 1;
    auto *one = static_cast<lookup *>(std::calloc(1, sizeof(lookup) + size));
    if (one == nullptr)
        return nullptr;
    one->hints = hints;
    one->request.ar_name = static_cast<char *>(std::memcpy(one + 1, host, size));
    one->request.ar_request = &one->hints;
    return one;
}

// Until the lookup has ended or the time is up.
static void await_lookup(const gaicb *request, std::int64_t ends)
{
    for (;;) {
        const std::int64_t left = ends - cass_monotonic_ms();
        if (left <= 0 || gai_error(const_cast<gaicb *>(request)) != EAI_INPROGRESS)
            return;
        const timespec wait = {.tv_sec = left / 1000, .tv_nsec = left % 1000 * 1'000'000};
        gai_suspend(&request, 1, &wait);
    }
}

static int look_up_until(const char *host, const addrinfo &hints, std::int64_t ends,
                         held_addresses *list)
{
    free_ended_lookups();
    lookup *one = new_lookup(host, hints);
    if (one == nullptr)
        return EAI_MEMORY;
    gaicb *request = &one->request;
    if (const int code = getaddrinfo_a(GAI_NOWAIT, &request, 1, nullptr); code != 0) {
        free_lookup(one);
        return code;
    }
    await_lookup(request, ends);
    while (gai_cancel(request) == EAI_NOTCANCELED) {
        if (gai_error(request) == EAI_INPROGRESS) {
            give_up(one);
            return RESOLVE_TIMED_OUT;
        }
        // The thread has told its result, and lets go of the request in a moment.
        sched_yield();
    }
    const int code = gai_error(request);
    if (code == 0) {
        list->reset(request->ar_result);
        request->ar_result = nullptr;
    }
    free_lookup(one);
    return code == EAI_CANCELED ? RESOLVE_TIMED_OUT : code;
}

int cass_resolve(const char *host, int family, std::int64_t ends, held_addresses *list)
{
    if (*host == '\0')
        return EAI_NONAME;
    const int code = look_up(host, hints_of(family, AI_NUMERICHOST), list);
    if (code == 0 || code == EAI_MEMORY)
        return code;
    const addrinfo hints = hints_of(family, 0);
    return ends == 0 ? look_up(host, hints, list) : look_up_until(host, hints, ends, list);
}
