// The socket under a session: waits, what a session start asks of it, and two threads that
// share it.
#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <signal.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "core/cass_conn.h"
#include "core/cass_logon.h"
#include "core/cass_pkt_exchange.h"
#include "tests/unit/session_fixture.h"

// ---- Bytes --------------------------------------------------------------------------------------

TEST(conn_read, waits_on_a_non_blocking_socket_and_through_signals)
{
    session s;
    struct sigaction action = {};
    action.sa_handler = [](int) {};  // without SA_RESTART: a wait is interrupted
    sigaction(SIGUSR1, &action, nullptr);
    for (const int mode : {0, O_NONBLOCK}) {
        fcntl(s.conn->socket, F_SETFL, mode);
        std::thread peer([&s, reader = pthread_self()] {
            for (int i = 0; i < 5; i++) {
                std::this_thread::sleep_for(std::chrono::milliseconds(10));
                pthread_kill(reader, SIGUSR1);
            }
            say(s, "abc");
        });
        char buffer[8];
        std::int32_t got[] = {7, 7};
        EXPECT_EQ(conn_read(s.conn, buffer, 8, &got[0], 0), 3);
        peer.join();
        EXPECT_EQ(conn_read(s.conn, buffer, 8, &got[1], 30), CONN_TIMED_OUT);
        EXPECT_TRUE(got[0] == 3 && got[1] == 0);
    }
    EXPECT_EQ(records(&s.conn->head), "");
}

TEST(conn_write, sends_all_of_it_whatever_the_socket_takes_at_once)
{
    session s;
    fcntl(s.conn->socket, F_SETFL, O_NONBLOCK);
    const std::string bytes(4'000'000, 'w');
    std::string total;
    std::thread peer([&] {
        while (total.size() < bytes.size())
            total += heard(s);
    });
    EXPECT_EQ(conn_write(s.conn, bytes.data(), 4'000'000), 4'000'000);
    peer.join();
    EXPECT_TRUE(total == bytes);
}

// ---- Session start ------------------------------------------------------------------------------

TEST(open_servers, gives_a_socket_that_no_child_inherits)
{
    session s;
    const int listener = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address = {};
    socklen_t size = sizeof address;
    listen(listener, 1);
    getsockname(listener, reinterpret_cast<sockaddr *>(&address), &size);
    s.conn->server = cass_string_from_cstr("127.0.0.1");
    EXPECT_EQ(cass_open_servers(s.conn, s.conn->server, ntohs(address.sin_port)), 0);
    EXPECT_NE(fcntl(s.conn->socket, F_GETFD) & FD_CLOEXEC, 0);
    char byte;
    EXPECT_EQ(recv(s.peer, &byte, 1, 0), 0);  // the socket of the session before was closed
    close(listener);
}

// ---- Two threads on one connection --------------------------------------------------------------

TEST(exchange, statements_of_two_threads_never_read_each_others_replies)
{
    session s;
    // The peer answers each request with an ERROR that repeats the request's body.
    std::thread peer([&] {
        char frame[12];
        while (recv(s.peer, frame, sizeof frame, MSG_WAITALL) == sizeof frame)
            say(s, reply(OPCODE_ERROR, be32(1) + str({frame + 9, 3})));
    });
    std::atomic<int> wrong = 0;
    const auto work = [&](cass_stmt *stmt, const std::string &name) {
        for (int i = 0; i < 2000; i++) {
            const held_packet packet(packet_of(stmt, OPCODE_QUERY, name));
            send_and_execute(stmt, packet.get());
            wrong += records(&stmt->head) !=
                     "08S01|Communication link failure: error code 1 '" + name + "'\n";
            cass_diag_clear(&stmt->head);
        }
    };
    std::thread other(work, cass_alloc_stmt(s.conn), "two");
    work(s.stmt, "one");
    other.join();
    shutdown(s.conn->socket, SHUT_RDWR);
    peer.join();
    EXPECT_EQ(wrong, 0);
}
