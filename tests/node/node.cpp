// The scripted server's thread: it waits on the listening socket and on the connections together,
// takes one whole request from whichever connection has one, and answers it
// by the next step. The test's thread touches the record under its lock only.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <mutex>
#include <thread>

#include "tests/node/node_tls.h"

static constexpr int HEADER_SIZE = 9;
static constexpr int FLAG_COMPRESSED = 0x01;
static constexpr int DEADLINE_SECONDS = 20;

struct node_connection {
    int socket;
    bool lz4;         // in force
    tls_session tls;  // null: plain
};

struct scripted_node {
    int listener;
    int port;
    std::atomic<bool> stopping;
    std::atomic<int> stream;                   // of requests
    std::vector<node_connection> connections;  // the thread's own
    std::thread thread;

    std::mutex lock;  // over what follows
    std::deque<node_step> script;
    node_responder responder;
    std::optional<node_tls> tls;
    std::vector<bytes> tls_names;
    bytes http_request;
    std::string complaints;
};

// ---- Texts -------------------------------------------------------------------------------------

static std::string request_text(int opcode, const bytes &body)
{
    std::string text = "opcode " + std::to_string(opcode) + ", body of " +
                       std::to_string(body.size()) + " bytes: ";
    for (const char c : body)
        text += c >= 0x20 && c < 0x7F ? bytes{c} : "\\" + to_hex({&c, 1});
    return text;
}

static void complain(scripted_node *node, const std::string &text)
{
    const std::lock_guard hold(node->lock);
    node->complaints += text + "\n";
}

// ---- Bytes in and out ----------------------------------------------------------------------

// Exactly `count` bytes. False when the peer has gone or has said nothing for too long.
static bool receive(const node_connection &from, void *buffer, std::size_t count)
{
    for (char *at = static_cast<char *>(buffer); count > 0;) {
        const int size = static_cast<int>(count);
        const ssize_t got = from.tls != nullptr ? SSL_read(from.tls.get(), at, size)
                                                : recv(from.socket, at, count, 0);
        if (got <= 0)
            return false;
        at += got;
        count -= static_cast<std::size_t>(got);
    }
    return true;
}

// A peer that has gone is no complaint: tests let the driver hang up in mid-reply.
static void transmit(const node_connection &to, std::string_view data, bool slowly)
{
    while (!data.empty()) {
        const std::size_t piece = slowly ? 1 : data.size();
        const ssize_t sent = to.tls != nullptr
                                 ? SSL_write(to.tls.get(), data.data(), static_cast<int>(piece))
                                 : send(to.socket, data.data(), piece, MSG_NOSIGNAL);
        if (sent <= 0)
            return;
        data.remove_prefix(static_cast<std::size_t>(sent));
        // Time for the reader to take the byte alone; nothing depends on whether it does.
        if (slowly)
            usleep(50);
    }
}

// TLS ends with its own farewell, unless the connection is reset.
static void hang_up(const node_connection &connection, bool reset)
{
    if (connection.tls != nullptr && !reset)
        SSL_shutdown(connection.tls.get());
    const linger at_once = {.l_onoff = reset, .l_linger = 0};
    setsockopt(connection.socket, SOL_SOCKET, SO_LINGER, &at_once, sizeof at_once);
    close(connection.socket);
}

static void answer_http(scripted_node *node, const node_connection &from)
{
    bytes request = "G";
    for (char byte; !request.ends_with("\n\n") && receive(from, &byte, 1);)
        request += byte;
    const std::lock_guard hold(node->lock);
    node->http_request = request;
    transmit(from, node->tls->http, false);
}

// One request, restored. False when the connection is at its end.
static bool read_request(scripted_node *node, const node_connection &from, node_request *request)
{
    unsigned char header[HEADER_SIZE] = {};
    // A request begins with its first byte; an end before it is an orderly one.
    if (!receive(from, header, 1))
        return false;
    if (header[0] == 'G' && from.tls != nullptr) {
        answer_http(node, from);
        return false;
    }
    bool whole = receive(from, header + 1, HEADER_SIZE - 1);
    const std::size_t length =
        static_cast<std::size_t>(header[5]) << 24 | header[6] << 16 | header[7] << 8 | header[8];
    bytes body(whole ? length : 0, '\0');
    whole = whole && receive(from, body.data(), body.size());
    const bool compressed = whole && (header[1] & FLAG_COMPRESSED) != 0;
    const std::optional<bytes> restored = compressed ? lz4_restore(body) : body;
    if (!whole || !restored)
        complain(node, whole ? "a compressed body is not lz4:\n" + to_hex(body)
                             : "the connection ended within a request");
    *request = {.version = header[0],
                .flags = header[1],
                .stream = static_cast<std::int16_t>(header[2] << 8 | header[3]),
                .opcode = header[4],
                .body = restored.value_or("")};
    return whole && restored;
}

// ---- The script --------------------------------------------------------------------------------

static void check_header(scripted_node *node, bool lz4, const node_request &request)
{
    const int flags = lz4 && !request.body.empty() ? FLAG_COMPRESSED : 0;
    if (request.version == 4 && (request.stream == node->stream || node->stream == ANY_STREAM) &&
        request.flags == flags)
        return;
    complain(node, "opcode " + std::to_string(request.opcode) + " has version, flags, stream " +
                       std::to_string(request.version) + ", " + std::to_string(request.flags) +
                       ", " + std::to_string(request.stream) + "; expected 4, " +
                       std::to_string(flags) + ", " + std::to_string(node->stream));
}

// The frames that answer a request, by the next step or what stands for one.
static std::vector<node_frame> answers_to(scripted_node *node, const node_request &request)
{
    std::unique_lock hold(node->lock);
    if (node->script.empty()) {
        if (node->responder)
            return node->responder(request);
        hold.unlock();
        complain(node, "expected nothing more, came " + request_text(request.opcode, request.body));
        return {error_frame(0, "the script is at its end")};
    }
    const node_step step = node->script.front();
    node->script.pop_front();
    if (step.opcode == request.opcode && step.body == request.body)
        return step.replies;
    hold.unlock();
    complain(node, "expected " + request_text(step.opcode, step.body) + "\ncame " +
                       request_text(request.opcode, request.body));
    return {error_frame(0, "not the request that the script expects")};
}

// Takes one request and answers it. False when the connection was ended.
static bool serve(scripted_node *node, node_connection *connection)
{
    node_request request;
    if (!read_request(node, *connection, &request)) {
        hang_up(*connection, false);
        return false;
    }
    check_header(node, connection->lz4, request);
    if (request.opcode == NODE_STARTUP)
        connection->lz4 = request.body == startup_body(true);
    for (const node_frame &reply : answers_to(node, request)) {
        transmit(*connection, frame_on_wire(reply, connection->lz4, request.stream), reply.slowly);
        if (reply.ending != KEEP_OPEN) {
            hang_up(*connection, reply.ending == RESET);
            return false;
        }
    }
    return true;
}

// The handshake. False when it failed; what the driver makes of that is the test's to see.
static bool shake_hands(scripted_node *node, const node_connection &with)
{
    SSL *const tls = with.tls.get();
    SSL_set_fd(tls, with.socket);
    if (SSL_accept(tls) != 1)
        return false;
    const char *name = SSL_get_servername(tls, TLSEXT_NAMETYPE_host_name);
    const std::lock_guard hold(node->lock);
    node->tls_names.push_back(name != nullptr ? name : "");
    return true;
}

static void take_connection(scripted_node *node)
{
    const int socket = accept4(node->listener, nullptr, nullptr, SOCK_CLOEXEC);
    if (socket < 0)
        return;
    const int on = 1;
    const timeval patience = {.tv_sec = DEADLINE_SECONDS, .tv_usec = 0};
    setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    setsockopt(socket, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    setsockopt(socket, SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof patience);
    node_connection connection = {.socket = socket, .lz4 = false, .tls = {nullptr, SSL_free}};
    std::unique_lock hold(node->lock);
    const std::optional<node_tls> settings = node->tls;
    hold.unlock();
    if (settings) {
        connection.tls = tls_accept(*settings);
        if (!shake_hands(node, connection)) {
            close(socket);
            return;
        }
    }
    node->connections.push_back(std::move(connection));
}

static void run(scripted_node *node)
{
    // A peer that speaks TLS may have gone.
    sigset_t pipe_signal;
    sigemptyset(&pipe_signal);
    sigaddset(&pipe_signal, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &pipe_signal, nullptr);
    while (!node->stopping) {
        std::vector<pollfd> waits = {{node->listener, POLLIN, 0}};
        for (const node_connection &connection : node->connections)
            waits.push_back({connection.socket, POLLIN, 0});
        const int ready = poll(waits.data(), waits.size(), DEADLINE_SECONDS * 1000);
        if (node->stopping)
            break;
        if (ready == 0) {
            complain(node, "nothing came for too long");
            break;
        }
        // Connections behind the ones that were polled keep their places: they are only added.
        for (std::size_t i = waits.size(); i-- > 1;)
            if (waits[i].revents != 0 && !serve(node, &node->connections[i - 1]))
                node->connections.erase(node->connections.begin() +
                                        static_cast<std::ptrdiff_t>(i - 1));
        if (waits[0].revents != 0)
            take_connection(node);
    }
    for (const node_connection &connection : node->connections)
        hang_up(connection, true);
}

// ---- For tests ---------------------------------------------------------------------------------

node_ptr node_start()
{
    node_ptr node(new scripted_node{}, node_free);
    node->listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    sockaddr *const any = reinterpret_cast<sockaddr *>(&address);
    socklen_t length = sizeof address;
    if (bind(node->listener, any, length) != 0 || listen(node->listener, 16) != 0 ||
        getsockname(node->listener, any, &length) != 0) {
        std::perror("scripted server: listen");
        std::abort();
    }
    node->port = ntohs(address.sin_port);
    node->thread = std::thread(run, node.get());
    return node;
}

int node_port(const scripted_node *node)
{
    return node->port;
}

std::string node_address(const scripted_node *node)
{
    return "127.0.0.1:" + std::to_string(node->port);
}

void node_expect(scripted_node *node, node_step step)
{
    const std::lock_guard hold(node->lock);
    node->script.push_back(std::move(step));
}

void node_expect_stream(scripted_node *node, int stream)
{
    node->stream = stream;
}

void node_answer_rest(scripted_node *node, node_responder responder)
{
    const std::lock_guard hold(node->lock);
    node->responder = std::move(responder);
}

void node_use_tls(scripted_node *node, node_tls tls)
{
    const std::lock_guard hold(node->lock);
    node->tls = std::move(tls);
}

std::vector<bytes> node_tls_names(scripted_node *node)
{
    const std::lock_guard hold(node->lock);
    return node->tls_names;
}

bytes node_http_request(scripted_node *node)
{
    const std::lock_guard hold(node->lock);
    return node->http_request;
}

std::string node_finish(scripted_node *node)
{
    if (node->thread.joinable()) {
        node->stopping = true;
        shutdown(node->listener, SHUT_RDWR);  // wakes the thread
        node->thread.join();
        close(node->listener);
    }
    const std::lock_guard hold(node->lock);
    std::string text = node->complaints;
    for (const node_step &step : node->script)
        text += "never came: " + request_text(step.opcode, step.body) + "\n";
    return text;
}

void node_free(scripted_node *node)
{
    if (node != nullptr)
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

node_frame stock_answer(const node_request &request, bool lz4)
{
    return request.opcode == NODE_OPTIONS   ? stock_supported(lz4)
           : request.opcode == NODE_STARTUP ? ready_frame()
                                            : void_frame();
}

void expect_logon(scripted_node *node, const node_logon &logon)
{
    node_expect(node, {NODE_OPTIONS, "", {stock_supported(logon.lz4)}});
    node_expect(node, {NODE_STARTUP, startup_body(logon.lz4), {ready_frame()}});
}
