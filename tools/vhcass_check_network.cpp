// From the list of servers to sockets: names, addresses, and what answers there.
#include <netinet/in.h>

#include <cerrno>
#include <cstring>

#include "core/net/cass_address.h"
#include "core/net/cass_conn.h"
#include "core/net/cass_conn_shared.h"
#include "core/net/cass_ssl.h"
#include "tools/vhcass_check.h"

static std::string number_of(const addrinfo *address)
{
    char text[INET6_ADDRSTRLEN] = "";
    getnameinfo(address->ai_addr, address->ai_addrlen, text, sizeof text, nullptr, 0,
                NI_NUMERICHOST);
    return text;
}

// ---- An address ---------------------------------------------------------------------------------

static bool open_socket(vhcass_check *check, const addrinfo *address)
{
    check->conn->attempt_ends = check_ends(check);
    return cass_open_address(check->conn, address->ai_addr, address->ai_addrlen) == 0;
}

static void leave_socket(cass_conn *conn)
{
    cass_ssl_stop(conn);
    cass_close_socket(conn);
    conn->attempt_ends = 0;
}

static bool check_tcp(vhcass_check *check, const addrinfo *address, const std::string &place)
{
    check_step step = {.name = "TCP"};
    const bool is_open = open_socket(check, address);
    step.text = place + (is_open ? " answers" : " gives no connection");
    if (!is_open) {
        const std::string state = check_take_records(check->conn, &step);
        const bool refused = !step.details.empty() &&
                             step.details[0].find(strerror(ECONNREFUSED)) != std::string::npos;
        check_fail_here(check, &step,
                        refused            ? ADVICE_REFUSED
                        : state == "HYT00" ? ADVICE_SILENT
                                           : ADVICE_UNREACHABLE);
    }
    check_add(&check->report, step);
    return is_open;
}

// The handshake that was looked at has ended with its socket; another one is the driver's own.
static bool start_tls(vhcass_check *check, const addrinfo *address)
{
    leave_socket(check->conn);
    check_step step = {.name = "TLS session"};
    if (open_socket(check, address) && cass_ssl_start(check->conn) == 0)
        return true;
    step.text = "the driver's own handshake fails";
    check_take_records(check->conn, &step);
    check_fail_here(check, &step, ADVICE_TLS);
    check_add(&check->report, step);
    return false;
}

// The service that knows a hosted database's nodes speaks HTTP over TLS, and nothing else.
static void check_address(vhcass_check *check, const cass_server &server, const addrinfo *address)
{
    cass_conn *conn = check->conn;
    const bool is_hosted = conn->settings.astra != 0;
    const std::string place = number_of(address) + " port " + std::to_string(server.port);
    bool good = check_tcp(check, address, place);
    if (good && (is_hosted || conn->settings.encrypt != 0)) {
        good = check_tls(check, server.host);
        good = good && !is_hosted && start_tls(check, address);
    }
    if (good)
        check_protocol(check);
    leave_socket(conn);
}

// ---- A server -----------------------------------------------------------------------------------

// Without Standard the driver looks for IPv4, or for IPv6 where that is asked for.
static int family_of(const vhcass_check *check)
{
    if (check->conn->settings.ipv6 != 0)
        return AF_INET6;
    return check->is_standard ? AF_UNSPEC : AF_INET;
}

static bool check_name(vhcass_check *check, const cass_server &server, held_addresses *list)
{
    check_step step = {.name = "name"};
    const int code = cass_resolve(server.host, family_of(check), check_ends(check), list);
    step.text = std::string(server.host) + (code == 0 ? " is" : " has no address: ");
    for (const addrinfo *one = list->get(); one != nullptr; one = one->ai_next) {
        const std::string number = number_of(one);
        step.text += " " + (number == server.host ? "an address" : number);
    }
    if (code != 0) {
        step.text += code == RESOLVE_TIMED_OUT ? "it was not found in time" : gai_strerror(code);
        check_fail_here(check, &step, ADVICE_NAME);
    }
    check_add(&check->report, step);
    return code == 0;
}

static void check_server(vhcass_check *check, std::string entry, std::int32_t port)
{
    cass_server server;
    if (!cass_read_server(entry.data(), &server)) {
        check_step step = {.name = "name", .text = "a port is no number from 1 to 65535"};
        check_fail_here(check, &step, ADVICE_SETTINGS);
        return check_add(&check->report, step);
    }
    if (port != 0)
        server.port = port;
    else if (server.port == 0)
        server.port = DEFAULT_PORT;
    held_addresses list;
    if (!check_name(check, server, &list))
        return;
    // Which the certificate is looked at for.
    cass_set_conn_text(check->conn, &check->conn->host, cass_string_from_cstr(server.host));
    check->one_place = check->one_place && (!check->is_standard || list->ai_next == nullptr);
    for (const addrinfo *one = list.get(); one != nullptr; one = one->ai_next) {
        cass_set_port(one->ai_addr, server.port);
        check_address(check, server, one);
        if (!check->is_standard)
            break;  // the driver tries the first address alone
    }
}

void check_servers(vhcass_check *check)
{
    const cass_settings &settings = check->conn->settings;
    const std::string list = check_text(settings.server) + ",";
    check->one_place = list.find(',') + 1 == list.size();
    for (std::size_t start = 0; start < list.size();) {
        const std::size_t end = list.find(',', start);
        check_server(check, list.substr(start, end - start),
                     settings.astra != 0 ? settings.metadata_port : settings.port);
        start = end + 1;
    }
}
