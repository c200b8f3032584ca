#include "core/session/cass_walk.h"

#include <netinet/in.h>
#include <sys/random.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <span>

#include "core/diag/cass_err.h"
#include "core/log/cass_log.h"
#include "core/net/cass_address.h"
#include "core/net/cass_conn.h"
#include "core/net/cass_conn_shared.h"
#include "core/net/cass_ssl.h"

static constexpr char log_source[] = "cass_logon.c";

constexpr std::size_t TOLD_ROOM = 960;    // of all failures: what a record's text can hold
constexpr std::size_t REASON_ROOM = 200;  // of one
constexpr std::size_t PLACE_ROOM = 400;

// What a walk has met so far.
struct server_walk {
    cass_conn *conn;
    cass_session_start start;
    std::int32_t port;      // of the settings; 0: none
    std::int32_t left;      // attempts to come; a host that is not looked up yet has one
    std::int32_t failed;    // attempts
    cass_state_row state;   // of all that failed, 08001 when they differ
    std::int32_t native;    // of the first
    char told[TOLD_ROOM];   // where and why each of them did
    std::size_t told_size;  // without its terminator
};

enum walk_step { WALK_ARRIVED, WALK_ON, WALK_OVER };

// ---- Failures ----------------------------------------------------------------------------------

// States that no other server would change. The others say that this one cannot be used.
static constexpr const char *final_states[] = {"28000", "3F000", "42000", "HY001"};
// A keyspace that was in use exists, but a server that has just come may not know it yet.
static constexpr const char *final_states_later[] = {"28000", "HY001"};

static bool is_state(const cass_diag_record *record, const char *state)
{
    return cass_string_compare_cstr(record->state, state) == 0;
}

static bool is_final(const cass_conn *conn, const cass_diag_record *record)
{
    using state_list = std::span<const char *const>;
    const state_list list =
        conn->mended_for == nullptr ? state_list(final_states) : state_list(final_states_later);
    return std::any_of(list.begin(), list.end(),
                       [record](const char *state) { return is_state(record, state); });
}

// Of an attempt, by its records.
static cass_state_row state_of(const cass_diag_record *record)
{
    for (; record != nullptr; record = record->next) {
        if (is_state(record, "HYT00"))
            return STATE_HYT00;
        if (is_state(record, "08004"))
            return STATE_08004;
    }
    return STATE_08001;
}

// As much of a piece as there is room for, up to `most` bytes.
static void tell(server_walk *walk, const char *piece, std::size_t most = TOLD_ROOM)
{
    const std::size_t room = TOLD_ROOM - 1 - walk->told_size;
    const std::size_t size = std::min({std::strlen(piece), most, room});
    std::memcpy(walk->told + walk->told_size, piece, size);
    walk->told_size += size;
    walk->told[walk->told_size] = '\0';
}

// "; place: reason, reason". Without memory it tells of fewer reasons.
static void tell_failure(server_walk *walk, const char *place, const cass_diag_record *record)
{
    tell(walk, walk->told_size > 0 ? "; " : "");
    tell(walk, place);
    for (const char *separator = ": "; record != nullptr; record = record->next) {
        const held_string reason(cass_string_sub(record->text, cass_diag_detail(record), -1));
        const held_text text(cass_string_to_utf8(reason.get()));
        if (text == nullptr)
            continue;
        tell(walk, separator);
        tell(walk, text.get(), REASON_ROOM);
        separator = ", ";
    }
}

// Takes what the attempt at a place has posted, or leaves what ends the walk.
static walk_step take_failure(server_walk *walk, const char *place)
{
    cass_handle *head = &walk->conn->head;
    const cass_lock_guard hold(&cass_diag_lock);
    const cass_diag_record *first = cass_diag_get(head, 1);
    for (const cass_diag_record *record = first; record != nullptr; record = record->next) {
        if (is_final(walk->conn, record))
            return WALK_OVER;
    }
    const cass_state_row state = state_of(first);
    if (walk->failed++ == 0) {
        walk->state = state;
        walk->native = first != nullptr ? first->native : 0;
    } else if (walk->state != state) {
        walk->state = STATE_08001;
    }
    tell_failure(walk, place, first);
    cass_diag_clear(head);
    return WALK_ON;
}

static bool time_is_up(const cass_conn *conn)
{
    return conn->logon_ends != 0 && cass_monotonic_ms() >= conn->logon_ends;
}

static void post_failures(const server_walk *walk)
{
    cass_conn *conn = walk->conn;
    const cass_state_row state = time_is_up(conn) ? STATE_HYT00 : walk->state;
    CASS_LOG(&conn->head, LOG_ERROR, "no server can be used: %s", walk->told);
    cass_post_error(&conn->head, state, walk->failed == 1 ? walk->native : 0, "%s", walk->told);
}

// ---- One server --------------------------------------------------------------------------------

void cass_leave_socket(cass_conn *conn)
{
    cass_ssl_stop(conn);
    cass_close_socket(conn);
}

// The next attempt has an equal share of what is left for the whole call.
static void share_time(server_walk *walk)
{
    cass_conn *conn = walk->conn;
    const std::int64_t now = cass_monotonic_ms();
    const std::int64_t left = std::max<std::int64_t>(conn->logon_ends - now, 0);
    conn->attempt_ends = conn->logon_ends == 0 ? 0 : now + left / std::max(walk->left, 1);
    walk->left--;
}

static walk_step try_address(server_walk *walk, const addrinfo *address, const char *place)
{
    cass_conn *conn = walk->conn;
    const std::int32_t names = std::max(conn->contact_count, 1);
    walk_step step = WALK_ON;
    for (std::int32_t name = 0; name < names && step == WALK_ON; name++) {
        if (time_is_up(conn) || conn_is_called_off(conn))
            return WALK_OVER;
        share_time(walk);
        conn->contact_used = name;
        CASS_LOG(&conn->head, LOG_DETAIL, "trying %s", place);
        if (cass_open_address(conn, address->ai_addr, address->ai_addrlen) == 0 &&
            walk->start(conn) == 0)
            return WALK_ARRIVED;
        cass_leave_socket(conn);
        step = take_failure(walk, place);
    }
    return step;
}

// "host:port", with the address behind it where the host is a name.
static void name_place(char *place, const cass_server &server, const addrinfo *address)
{
    char number[INET6_ADDRSTRLEN] = "";
    if (address != nullptr)
        getnameinfo(address->ai_addr, address->ai_addrlen, number, sizeof number, nullptr, 0,
                    NI_NUMERICHOST);
    const bool is_name = *number != '\0' && std::strcmp(number, server.host) != 0;
    std::snprintf(place, PLACE_ROOM, is_name ? "%.255s:%d (%s)" : "%.255s:%d", server.host,
                  server.port, number);
}

// No address of the server is known.
static walk_step refuse_server(server_walk *walk, const cass_server &server, cass_state_row state,
                               const char *reason)
{
    char place[PLACE_ROOM];
    name_place(place, server, nullptr);
    walk->left--;
    cass_post_error(&walk->conn->head, state, 0, state == STATE_HY001 ? nullptr : "%s", reason);
    return take_failure(walk, place);
}

static walk_step resolve(server_walk *walk, const cass_server &server, held_addresses *list)
{
    cass_conn *conn = walk->conn;
    const std::int32_t left = walk->left;
    share_time(walk);
    walk->left = left;  // a name and its addresses have one share
    const int code = cass_resolve(server.host, conn->settings.ipv6 ? AF_INET6 : AF_UNSPEC,
                                  conn->attempt_ends, list);
    if (code == 0)
        return WALK_ARRIVED;
    if (code == RESOLVE_TIMED_OUT)
        return refuse_server(walk, server, STATE_HYT00, "its name was not found in time");
    return refuse_server(walk, server, code == EAI_MEMORY ? STATE_HY001 : STATE_08001,
                         gai_strerror(code));
}

static bool keep_host(cass_conn *conn, const char *host)
{
    cass_set_conn_text(conn, &conn->host, cass_string_from_cstr(host));
    if (conn->host != nullptr)
        return true;
    cass_post_no_memory(&conn->head, log_source, "cass_connect");
    return false;
}

static walk_step try_server(server_walk *walk, char *entry)
{
    cass_conn *conn = walk->conn;
    cass_server server;
    if (!cass_read_server(entry, &server))
        return refuse_server(walk, server, STATE_08001, "its port is no number from 1 to 65535");
    if (walk->port != 0)
        server.port = walk->port;
    else if (server.port == 0)
        server.port = DEFAULT_PORT;
    held_addresses list;
    walk_step step = resolve(walk, server, &list);
    if (step != WALK_ARRIVED)
        return step;
    if (!keep_host(conn, server.host))
        return WALK_OVER;
    const std::int32_t names = std::max(conn->contact_count, 1);
    for (const addrinfo *one = list.get(); one != nullptr; one = one->ai_next)
        walk->left += one == list.get() ? names - 1 : names;
    step = WALK_ON;
    for (const addrinfo *one = list.get(); one != nullptr && step == WALK_ON; one = one->ai_next) {
        char place[PLACE_ROOM];
        name_place(place, server, one);
        cass_set_port(one->ai_addr, server.port);
        step = try_address(walk, one, place);
    }
    return step;
}

// ---- The list ----------------------------------------------------------------------------------

// Ends each entry at its comma. Their number.
static std::int32_t cut_list(char *list)
{
    std::int32_t count = 1;
    for (char *comma = std::strchr(list, ','); comma != nullptr;
         comma = std::strchr(comma + 1, ',')) {
        *comma = '\0';
        count++;
    }
    return count;
}

static char *entry_of(char *list, std::int32_t index)
{
    while (index-- > 0)
        list += std::strlen(list) + 1;
    return list;
}

// Where pools of many clients begin in different places. Without randomness they begin at the
// first.
static std::int32_t first_entry(const cass_conn *conn, std::int32_t count)
{
    std::uint32_t random = 0;
    if (conn->settings.load_balance == 0 || getrandom(&random, sizeof random, 0) < 0)
        return 0;
    return static_cast<std::int32_t>(random % static_cast<std::uint32_t>(count));
}

int cass_walk_servers(cass_conn *conn, std::int32_t port, cass_session_start start,
                      std::int32_t later)
{
    const held_text list(cass_string_to_utf8(conn->settings.server));
    if (list == nullptr)
        return cass_post_no_memory(&conn->head, log_source, "cass_connect");
    server_walk walk = {};
    const std::int32_t count = cut_list(list.get());
    walk.conn = conn;
    walk.start = start;
    walk.port = port;
    walk.left = count + later;
    walk.state = STATE_08001;
    const std::int32_t first = first_entry(conn, count);
    walk_step step = WALK_ON;
    for (std::int32_t i = 0; i < count && step == WALK_ON; i++) {
        const held_text entry(strdup(entry_of(list.get(), (first + i) % count)));
        if (entry != nullptr) {
            step = try_server(&walk, entry.get());
        } else {
            cass_post_no_memory(&conn->head, log_source, "cass_connect");
            step = WALK_OVER;
        }
    }
    conn->attempt_ends = 0;
    if (step == WALK_ARRIVED)
        return 0;
    if (cass_diag_count(&conn->head) == 0)
        post_failures(&walk);
    return -1;
}
