// The scripted server's thread: it waits on the listening socket, on the connections and on a wake
// descriptor together, takes one whole request from whichever connection has one, and answers it
// by the next step. The test's thread touches the record under its lock only.
#include "tests/node/node.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <mutex>
#include <thread>

using node_clock = std::chrono::steady_clock;

static constexpr int HEADER_SIZE = 9;
static constexpr int REQUEST_VERSION = 4;
static constexpr int FLAG_COMPRESSED = 0x01;
static constexpr std::size_t LARGEST_REQUEST = 256u << 20;

struct node_connection {
    int socket;
    bool lz4;  // in force
};

struct scripted_node {
    node_options options;
    int listener;
    int wake;  // readable once the server is to stop
    int port;
    node_clock::time_point deadline;
    std::atomic<bool> stopping;
    std::vector<node_connection> connections;  // the thread's own
    std::thread thread;

    std::mutex lock;  // over what follows
    std::deque<node_step> script;
    int steps_done;
    node_responder responder;
    std::vector<node_request> requests;
    std::string complaints;
};

// ---- Texts -------------------------------------------------------------------------------------

static std::string opcode_text(int opcode)
{
    static constexpr const char *names[] = {
        "ERROR",     "STARTUP", "READY",          "AUTHENTICATE",  "?",           "OPTIONS",
        "SUPPORTED", "QUERY",   "RESULT",         "PREPARE",       "EXECUTE",     "REGISTER",
        "EVENT",     "BATCH",   "AUTH_CHALLENGE", "AUTH_RESPONSE", "AUTH_SUCCESS"};
    if (opcode == -1)
        return "any opcode";
    const bool known = opcode >= 0 && opcode < static_cast<int>(std::size(names));
    return (known ? names[opcode] : "?") + (" (" + std::to_string(opcode)) + ")";
}

static std::string request_text(const node_request &request)
{
    return opcode_text(request.opcode) + ", body of " + std::to_string(request.body.size()) +
           " bytes:\n" + hex_dump(request.body);
}

static std::string step_text(const node_step &step)
{
    std::string text = opcode_text(step.opcode);
    if (!step.body)
        return text + ", any body\n";
    return text + ", body of " + std::to_string(step.body->size()) + " bytes:\n" +
           hex_dump(*step.body);
}

static void complain(scripted_node *node, const std::string &text)
{
    const std::lock_guard hold(node->lock);
    node->complaints += "step " + std::to_string(node->steps_done + 1) + ": " + text +
                        (text.ends_with('\n') ? "" : "\n");
}

// ---- Bytes in and out ----------------------------------------------------------------------

static int milliseconds_left(const scripted_node *node)
{
    const auto left = node->deadline - node_clock::now();
    const auto count = std::chrono::duration_cast<std::chrono::milliseconds>(left).count();
    return count < 0 ? 0 : static_cast<int>(count);
}

// Exactly `count` bytes. False when the peer has gone, the deadline passed or the server stops.
static bool receive(scripted_node *node, int socket, char *buffer, std::size_t count)
{
    for (std::size_t have = 0; have < count;) {
        pollfd waits[] = {{socket, POLLIN, 0}, {node->wake, POLLIN, 0}};
        const int ready = poll(waits, std::size(waits), milliseconds_left(node));
        if (ready <= 0 && !(ready < 0 && errno == EINTR))
            return false;
        if (node->stopping)
            return false;
        if (waits[0].revents == 0)
            continue;
        const ssize_t got = recv(socket, buffer + have, count - have, 0);
        if (got <= 0)
            return false;
        have += static_cast<std::size_t>(got);
    }
    return true;
}

// A peer that has gone is no complaint: tests let the driver hang up in mid-reply.
static void transmit(int socket, std::string_view data, bool slowly)
{
    while (!data.empty()) {
        const std::size_t piece = slowly ? 1 : data.size();
        const ssize_t sent = send(socket, data.data(), piece, MSG_NOSIGNAL);
        if (sent <= 0)
            return;
        data.remove_prefix(static_cast<std::size_t>(sent));
        // Time for the reader to take the byte alone; nothing depends on whether it does.
        if (slowly)
            usleep(50);
    }
}

static void hang_up(int socket, bool reset)
{
    if (reset) {
        const linger at_once = {.l_onoff = 1, .l_linger = 0};
        setsockopt(socket, SOL_SOCKET, SO_LINGER, &at_once, sizeof at_once);
    }
    close(socket);
}

// One request, restored. False when the connection is at its end.
static bool read_request(scripted_node *node, node_connection *connection, node_request *request)
{
    unsigned char header[HEADER_SIZE];
    // A request begins with its first byte; an end before it is an orderly one.
    if (!receive(node, connection->socket, reinterpret_cast<char *>(header), 1))
        return false;
    if (!receive(node, connection->socket, reinterpret_cast<char *>(header) + 1, HEADER_SIZE - 1)) {
        complain(node, "the connection ended within a request's header");
        return false;
    }
    const std::size_t length =
        static_cast<std::size_t>(header[5]) << 24 | header[6] << 16 | header[7] << 8 | header[8];
    if (length > LARGEST_REQUEST) {
        complain(node, "a request announces " + std::to_string(length) + " bytes");
        return false;
    }
    bytes body(length, '\0');
    if (!receive(node, connection->socket, body.data(), length)) {
        complain(node, "the connection ended within a request's body");
        return false;
    }
    *request = {.version = header[0],
                .flags = header[1],
                .stream = static_cast<std::int16_t>(header[2] << 8 | header[3]),
                .opcode = header[4],
                .compressed = (header[1] & FLAG_COMPRESSED) != 0,
                .body = body};
    if (!request->compressed)
        return true;
    const std::optional<bytes> restored = lz4_restore(body);
    if (!restored)
        complain(node, "a compressed body is not lz4:\n" + hex_dump(body));
    request->body = restored.value_or("");
    return restored.has_value();
}

// ---- The script --------------------------------------------------------------------------------

static void check_header(scripted_node *node, const node_connection &connection,
                         const node_request &request)
{
    const int flags = connection.lz4 && !request.body.empty() ? FLAG_COMPRESSED : 0;
    if (request.version == REQUEST_VERSION && request.stream == 0 && request.flags == flags)
        return;
    char text[160];
    std::snprintf(text, sizeof text,
                  "%s has version %d, flags %d, stream %d; expected version %d, flags %d, stream 0",
                  opcode_text(request.opcode).c_str(), request.version, request.flags,
                  request.stream, REQUEST_VERSION, flags);
    complain(node, text);
}

// The frames that answer a request, by the next step or what stands for one.
static std::vector<node_frame> answers_to(scripted_node *node, const node_request &request)
{
    std::unique_lock hold(node->lock);
    node->requests.push_back(request);
    if (node->script.empty() && node->responder)
        return node->responder(request);
    if (node->script.empty()) {
        hold.unlock();
        complain(node, "expected nothing more, came " + request_text(request));
        return {error_frame(0, "the script is at its end")};
    }
    const node_step step = node->script.front();
    node->script.pop_front();
    hold.unlock();

    if ((step.opcode != -1 && step.opcode != request.opcode) ||
        (step.body && *step.body != request.body)) {
        complain(node, "expected " + step_text(step) + "came " + request_text(request));
        return {error_frame(0, "not the request that the script expects")};
    }
    const std::string complaint = step.check ? step.check(request) : std::string();
    if (!complaint.empty())
        complain(node, complaint + "\ncame " + request_text(request));
    hold.lock();
    node->steps_done++;
    return step.replies;
}

// Takes one request and answers it. False when the connection was ended.
static bool serve(scripted_node *node, node_connection *connection)
{
    node_request request;
    if (!read_request(node, connection, &request)) {
        close(connection->socket);
        return false;
    }
    if (node->options.check_headers)
        check_header(node, *connection, request);
    if (request.opcode == NODE_STARTUP)
        connection->lz4 =
            request.body.find(wire_string("COMPRESSION") + wire_string("lz4")) != bytes::npos;
    for (const node_frame &reply : answers_to(node, request)) {
        transmit(connection->socket, frame_on_wire(reply, connection->lz4, request.stream),
                 reply.slowly);
        if (reply.ending != KEEP_OPEN) {
            hang_up(connection->socket, reply.ending == RESET);
            return false;
        }
    }
    return true;
}

static void take_connection(scripted_node *node)
{
    const int socket = accept4(node->listener, nullptr, nullptr, SOCK_CLOEXEC);
    if (socket < 0)
        return;
    const int on = 1;
    const timeval patience = {.tv_sec = node->options.deadline_ms / 1000 + 1, .tv_usec = 0};
    setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    setsockopt(socket, SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof patience);
    node->connections.push_back({.socket = socket, .lz4 = false});
}

static void run(scripted_node *node)
{
    while (!node->stopping) {
        std::vector<pollfd> waits = {{node->wake, POLLIN, 0}, {node->listener, POLLIN, 0}};
        for (const node_connection &connection : node->connections)
            waits.push_back({connection.socket, POLLIN, 0});
        const int ready = poll(waits.data(), waits.size(), milliseconds_left(node));
        if (node->stopping)
            break;
        if (ready == 0) {
            complain(node, "the test's deadline has passed");
            break;
        }
        // Connections behind the ones that were polled keep their places: they are only added.
        for (std::size_t i = waits.size(); i-- > 2;)
            if (waits[i].revents != 0 && !serve(node, &node->connections[i - 2]))
                node->connections.erase(node->connections.begin() +
                                        static_cast<std::ptrdiff_t>(i - 2));
        if (waits[1].revents != 0)
            take_connection(node);
    }
    for (const node_connection &connection : node->connections)
        hang_up(connection.socket, true);
    node->connections.clear();
    close(node->listener);
}

// ---- For tests ---------------------------------------------------------------------------------

[[noreturn]] static void give_up(const char *what)
{
    std::perror(what);
    std::abort();
}

node_ptr node_start(const node_options &options)
{
    node_ptr node(new scripted_node{}, node_free);
    node->options = options;
    node->deadline = node_clock::now() + std::chrono::milliseconds(options.deadline_ms);
    node->wake = eventfd(0, EFD_CLOEXEC);
    const int family = options.ipv6 ? AF_INET6 : AF_INET;
    node->listener = socket(family, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (node->wake < 0 || node->listener < 0)
        give_up("scripted server: socket");

    sockaddr_storage address = {};
    socklen_t length = options.ipv6 ? sizeof(sockaddr_in6) : sizeof(sockaddr_in);
    address.ss_family = static_cast<sa_family_t>(family);
    if (options.ipv6)
        reinterpret_cast<sockaddr_in6 *>(&address)->sin6_addr = in6addr_loopback;
    else
        reinterpret_cast<sockaddr_in *>(&address)->sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    sockaddr *const any = reinterpret_cast<sockaddr *>(&address);
    if (bind(node->listener, any, length) != 0 || listen(node->listener, 16) != 0 ||
        getsockname(node->listener, any, &length) != 0)
        give_up("scripted server: listen");
    // Both families keep the port in the same place.
    node->port = ntohs(reinterpret_cast<sockaddr_in *>(&address)->sin_port);
    node->thread = std::thread(run, node.get());
    return node;
}

int node_port(const scripted_node *node)
{
    return node->port;
}

std::string node_address(const scripted_node *node)
{
    return (node->options.ipv6 ? "::1*" : "127.0.0.1:") + std::to_string(node->port);
}

void node_expect(scripted_node *node, node_step step)
{
    const std::lock_guard hold(node->lock);
    node->script.push_back(std::move(step));
}

void node_answer_rest(scripted_node *node, node_responder responder)
{
    const std::lock_guard hold(node->lock);
    node->responder = std::move(responder);
}

std::vector<node_request> node_requests(scripted_node *node)
{
    const std::lock_guard hold(node->lock);
    return node->requests;
}

std::string node_finish(scripted_node *node)
{
    if (node->thread.joinable()) {
        const std::uint64_t one = 1;
        node->stopping = true;
        if (write(node->wake, &one, sizeof one) != sizeof one)
            give_up("scripted server: wake");
        node->thread.join();
        close(node->wake);
    }
    const std::lock_guard hold(node->lock);
    std::string text = node->complaints;
    for (const node_step &step : node->script)
        text += "never came: " + step_text(step);
    return text;
}

void node_free(scripted_node *node)
{
    if (node == nullptr)
        return;
    node_finish(node);
    delete node;
}

// ---- Steps of every day -------------------------------------------------------------------------

node_frame stock_supported(bool lz4)
{
    std::vector<std::pair<bytes, std::vector<bytes>>> options = {
        {"PROTOCOL_VERSIONS", {"3/v3", "4/v4", "5/v5"}}};
    if (lz4)
        options.push_back({"COMPRESSION", {"snappy", "lz4"}});
    options.push_back({"CQL_VERSION", {"3.4.7"}});
    return supported_frame(options);
}

void expect_logon(scripted_node *node, const node_logon &logon)
{
    const bool password = !logon.user.empty();
    node_expect(node,
                {.opcode = NODE_OPTIONS, .body = "", .replies = {stock_supported(logon.lz4)}});
    node_expect(node, {.opcode = NODE_STARTUP,
                       .body = startup_body(logon.lz4),
                       .replies = {password ? authenticate_frame() : ready_frame()}});
    if (password)
        node_expect(node, {.opcode = NODE_AUTH_RESPONSE,
                           .body = auth_body(logon.user, logon.password),
                           .replies = {auth_success_frame()}});
    if (!logon.keyspace.empty())
        node_expect(node, {.opcode = NODE_QUERY,
                           .body = use_body(logon.keyspace),
                           .replies = {set_keyspace_frame(logon.keyspace)}});
}

void expect_query(scripted_node *node, std::string_view sql, std::vector<node_frame> replies)
{
    node_expect(node,
                {.opcode = NODE_QUERY, .body = query_body(sql), .replies = std::move(replies)});
}

void expect_next_query(scripted_node *node, std::string_view sql, std::string_view paging_state,
                       std::vector<node_frame> replies)
{
    node_expect(node, {.opcode = NODE_QUERY,
                       .body = wire_long_string(sql) + next_page_tail(paging_state),
                       .replies = std::move(replies)});
}

void expect_prepare(scripted_node *node, std::string_view sql, std::vector<node_frame> replies)
{
    node_expect(
        node,
        {.opcode = NODE_PREPARE, .body = wire_long_string(sql), .replies = std::move(replies)});
}

void expect_execute(scripted_node *node, std::string_view id, std::vector<node_frame> replies)
{
    node_expect(node,
                {.opcode = NODE_EXECUTE, .body = execute_body(id), .replies = std::move(replies)});
}

void expect_next_execute(scripted_node *node, std::string_view id, std::string_view paging_state,
                         std::vector<node_frame> replies)
{
    node_expect(node, {.opcode = NODE_EXECUTE,
                       .body = wire_short_bytes(id) + next_page_tail(paging_state),
                       .replies = std::move(replies)});
}
