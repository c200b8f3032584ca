// The server behind the benchmark of inserts. One request is in flight at a time, so that a receive
// usually has a whole one, and an answer costs one send of a frame made beforehand.
#include "bench/void_node.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <bit>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "bench/mixed_rows.h"
#include "tests/node/frames.h"
#include "tests/node/node.h"

static constexpr std::size_t HEADER_SIZE = 9;
static constexpr std::size_t LARGEST_FRAME = 1 << 20;
static constexpr char PREPARED_ID[] = "insert of 8 vals";  // as long as a real server's

[[noreturn]] static void give_up(const char *what)
{
    std::perror(what);
    std::exit(1);
}

static void add_to_totals(void_totals *totals, const char *frame, std::size_t size)
{
    for (std::size_t at = 0; at < size; at += sizeof(std::uint64_t)) {
        std::uint64_t word = 0;
        std::memcpy(&word, frame + at, std::min(sizeof word, size - at));
        totals->sum = std::rotl(totals->sum, 7) + word;
    }
    totals->requests++;
    totals->bytes += static_cast<std::int64_t>(size);
}

static std::size_t frame_size(const char *header)
{
    std::uint32_t length;
    std::memcpy(&length, header + 5, sizeof length);
    return HEADER_SIZE + __builtin_bswap32(length);
}

// One whole frame at the start of the buffer; 0 when the client has gone.
static std::size_t receive_frame(int socket, std::vector<char> *buffer)
{
    std::size_t have = 0;
    while (have < HEADER_SIZE || have < frame_size(buffer->data())) {
        const ssize_t got = recv(socket, buffer->data() + have, buffer->size() - have, 0);
        if (got <= 0)
            return 0;
        have += static_cast<std::size_t>(got);
    }
    return have;
}

static void serve(int socket, bool offer_lz4, void_totals *totals)
{
    std::vector<char> buffer(LARGEST_FRAME);
    bool lz4 = false;
    bytes answer = frame_on_wire(void_frame(), lz4, 0);
    while (const std::size_t size = receive_frame(socket, &buffer)) {
        const std::string_view frame(buffer.data(), size);
        bytes reply;
        switch (frame[4]) {
        case NODE_OPTIONS:
            reply = frame_on_wire(stock_supported(offer_lz4), lz4, 0);
            break;
        case NODE_STARTUP:
            reply = frame_on_wire(ready_frame(), lz4, 0);
            lz4 = offer_lz4 && frame.find("lz4") != frame.npos;
            answer = frame_on_wire(void_frame(), lz4, 0);
            break;
        case NODE_PREPARE:
            reply = frame_on_wire(prepared_frame(PREPARED_ID, mixed_columns(), {}), lz4, 0);
            break;
        case NODE_EXECUTE:
            add_to_totals(totals, frame.data(), frame.size());
            break;
        default:
            break;
        }
        const bytes &sent = reply.empty() ? answer : reply;
        if (send(socket, sent.data(), sent.size(), MSG_NOSIGNAL) !=
            static_cast<ssize_t>(sent.size()))
            return;
    }
}

void_node void_start(bool lz4)
{
    sockaddr_in address = {};
    socklen_t length = sizeof address;
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    sockaddr *const any = reinterpret_cast<sockaddr *>(&address);
    const int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (listener < 0 || bind(listener, any, length) != 0 || listen(listener, 4) != 0 ||
        getsockname(listener, any, &length) != 0)
        give_up("answering server");
    void *const shared = mmap(nullptr, sizeof(void_totals), PROT_READ | PROT_WRITE,
                              MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    const pid_t process = shared == MAP_FAILED ? -1 : fork();
    if (process < 0)
        give_up("answering server");
    auto *const totals = static_cast<void_totals *>(shared);
    if (process > 0) {
        close(listener);
        return {.process = process, .port = ntohs(address.sin_port), .totals = totals};
    }
    // The server goes with the program that started it.
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    for (;;) {
        const int client = accept(listener, nullptr, nullptr);
        if (client < 0)
            std::_Exit(1);
        const int on = 1;
        setsockopt(client, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
        serve(client, lz4, totals);
        close(client);
    }
}

void void_stop(const void_node &node)
{
    kill(node.process, SIGTERM);
    waitpid(node.process, nullptr, 0);
}
