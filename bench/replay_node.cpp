// The replaying server: pages are encoded before the first connection, and a request costs it one
// read, a look at the paging flag, and one write.
#include "bench/replay_node.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>

#include "bench/mixed_rows.h"
#include "tests/node/frames.h"
#include "tests/node/node.h"

static constexpr int PAGE_KINDS = 16;  // different pages, sent in turn
static constexpr int FLAG_PAGING_STATE = 0x08;
static constexpr char PREPARED_ID[] = "mixed rows";

struct replay_pages {
    std::int64_t count;        // pages of the result
    std::vector<bytes> inner;  // frames with a paging state
    bytes last;
};

static bytes page_frame(std::int64_t first, std::int64_t rows, bool more, bool lz4)
{
    std::vector<node_row> list;
    for (std::int64_t i = 0; i < rows; i++)
        list.push_back(mixed_row(first + i));
    const node_metadata options = {.paging_state = more ? pattern(24) : bytes()};
    return frame_on_wire(rows_frame(mixed_columns(), list, options), lz4, 0);
}

static replay_pages prepare_pages(std::int64_t rows, bool lz4)
{
    replay_pages pages = {};
    pages.count = std::max<std::int64_t>(1, (rows + MIXED_PAGE - 1) / MIXED_PAGE);
    const std::int64_t before = (pages.count - 1) * MIXED_PAGE;
    for (std::int64_t i = 0; i < std::min<std::int64_t>(PAGE_KINDS, pages.count - 1); i++)
        pages.inner.push_back(page_frame(i * MIXED_PAGE, MIXED_PAGE, true, lz4));
    pages.last = page_frame(before, rows - before, false, lz4);
    return pages;
}

static bool receive_all(int socket, char *buffer, std::size_t count)
{
    while (count > 0) {
        const ssize_t got = recv(socket, buffer, count, 0);
        if (got <= 0)
            return false;
        buffer += got;
        count -= static_cast<std::size_t>(got);
    }
    return true;
}

static bool send_all(int socket, std::string_view data)
{
    while (!data.empty()) {
        const ssize_t sent = send(socket, data.data(), data.size(), MSG_NOSIGNAL);
        if (sent <= 0)
            return false;
        data.remove_prefix(static_cast<std::size_t>(sent));
    }
    return true;
}

// Flags of a QUERY or EXECUTE body: behind the text or id and the consistency.
static int request_flags(int opcode, std::string_view body)
{
    std::size_t length = 0;
    const std::size_t prefix = opcode == NODE_QUERY ? 4 : 2;
    for (const char c : body.substr(0, prefix))
        length = length << 8 | static_cast<unsigned char>(c);
    const std::size_t at = prefix + length + 2;
    return at < body.size() ? body[at] : 0;
}

static void serve(int socket, const replay_pages &pages, bool offer_lz4)
{
    bool lz4 = false;
    std::int64_t page = 0;
    unsigned char header[9];
    while (receive_all(socket, reinterpret_cast<char *>(header), sizeof header)) {
        bytes body(static_cast<std::size_t>(header[5]) << 24 | header[6] << 16 | header[7] << 8 |
                       header[8],
                   '\0');
        if (!receive_all(socket, body.data(), body.size()))
            break;
        if (header[1] & 1)
            body = lz4_restore(body).value_or("");
        node_frame reply = ready_frame();
        switch (header[4]) {
        case NODE_OPTIONS:
            reply = stock_supported(offer_lz4);
            break;
        case NODE_STARTUP:
            lz4 = offer_lz4 && body.find("lz4") != bytes::npos;
            break;
        case NODE_PREPARE:
            reply = prepared_frame(PREPARED_ID, {}, mixed_columns());
            break;
        default: {
            page = request_flags(header[4], body) & FLAG_PAGING_STATE ? page + 1 : 0;
            const bool more = page + 1 < pages.count;
            const std::size_t kind = static_cast<std::size_t>(page) % PAGE_KINDS;
            if (!send_all(socket, more ? pages.inner[kind] : pages.last))
                return;
            continue;
        }
        }
        if (!send_all(socket, frame_on_wire(reply, lz4, 0)))
            break;
    }
}

[[noreturn]] static void run(int listener, std::int64_t rows, bool lz4)
{
    const replay_pages pages = prepare_pages(rows, lz4);
    for (;;) {
        const int socket = accept(listener, nullptr, nullptr);
        if (socket < 0)
            std::_Exit(1);
        const int on = 1;
        setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
        serve(socket, pages, lz4);
        close(socket);
    }
}

replay_node replay_start(std::int64_t rows, bool lz4)
{
    sockaddr_in address = {};
    socklen_t length = sizeof address;
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    sockaddr *const any = reinterpret_cast<sockaddr *>(&address);
    const int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (listener < 0 || bind(listener, any, length) != 0 || listen(listener, 4) != 0 ||
        getsockname(listener, any, &length) != 0) {
        std::perror("replaying server");
        std::exit(1);
    }
    const pid_t process = fork();
    if (process < 0) {
        std::perror("replaying server");
        std::exit(1);
    }
    if (process == 0) {
        // The server goes with the program that started it.
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        run(listener, rows, lz4);
    }
    close(listener);
    return {.process = process, .port = ntohs(address.sin_port)};
}

void replay_stop(const replay_node &node)
{
    kill(node.process, SIGTERM);
    waitpid(node.process, nullptr, 0);
}
