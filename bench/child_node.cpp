// The process and the socket of a benchmark's server.
#include "bench/child_node.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>

static constexpr std::size_t HEADER_SIZE = 9;

[[noreturn]] static void give_up()
{
    std::perror("server of the benchmark");
    std::exit(1);
}

child_node child_start(const std::function<void(int listener)> &run)
{
    sockaddr_in address = {};
    socklen_t length = sizeof address;
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    sockaddr *const any = reinterpret_cast<sockaddr *>(&address);
    const int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (listener < 0 || bind(listener, any, length) != 0 || listen(listener, 4) != 0 ||
        getsockname(listener, any, &length) != 0)
        give_up();
    const pid_t process = fork();
    if (process < 0)
        give_up();
    if (process == 0) {
        // The server goes with the program that started it.
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        run(listener);
        std::_Exit(1);
    }
    close(listener);
    return {.process = process, .port = ntohs(address.sin_port)};
}

void child_stop(const child_node &node)
{
    kill(node.process, SIGTERM);
    waitpid(node.process, nullptr, 0);
}

void child_serve(int listener, const std::function<void(int client)> &serve)
{
    for (;;) {
        const int client = accept(listener, nullptr, nullptr);
        if (client < 0)
            std::_Exit(1);
        const int on = 1;
        setsockopt(client, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
        serve(client);
        close(client);
    }
}

static std::size_t frame_size(const char *header)
{
    std::uint32_t length;
    std::memcpy(&length, header + 5, sizeof length);
    return HEADER_SIZE + __builtin_bswap32(length);
}

std::string_view child_receive(int client, std::vector<char> *buffer)
{
    std::size_t have = 0;
    while (have < HEADER_SIZE || have < frame_size(buffer->data())) {
        const ssize_t got = recv(client, buffer->data() + have, buffer->size() - have, 0);
        if (got <= 0)
            return {};
        have += static_cast<std::size_t>(got);
    }
    return {buffer->data(), have};
}

bool child_send(int client, std::string_view data)
{
    while (!data.empty()) {
        const ssize_t sent = send(client, data.data(), data.size(), MSG_NOSIGNAL);
        if (sent <= 0)
            return false;
        data.remove_prefix(static_cast<std::size_t>(sent));
    }
    return true;
}
