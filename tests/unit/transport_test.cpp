// The socket under a session, as its start finds it.
#include <arpa/inet.h>
#include <netinet/in.h>

#include <chrono>
#include <thread>

#include "core/net/cass_conn.h"
#include "core/session/cass_logon.h"
#include "core/statement/cass_pkt_exchange.h"
#include "tests/unit/handles.h"

// A server of the connection whose queue is full: it drops further calls without a word.
struct full_server {
    session s, first;
    const int listener = socket(AF_INET, SOCK_STREAM, 0);

    full_server()
    {
        sockaddr_in address = {};
        socklen_t size = sizeof address;
        listen(listener, 0);
        getsockname(listener, reinterpret_cast<sockaddr *>(&address), &size);
        s.conn->settings.server = cass_string_from_cstr("127.0.0.1");
        s.conn->settings.port = ntohs(address.sin_port);
        cass_close_socket(first.conn);
        EXPECT_EQ(cass_open_servers(first.conn, s.conn->settings.server, s.conn->settings.port), 0);
    }
    ~full_server() { close(listener); }
};

// The attribute, in seconds, wins over the setting.
TEST(open_servers, that_stay_silent_end_in_a_time_out)
{
    for (const unsigned seconds : {0, 1}) {
        const full_server server;
        const session &s = server.s;
        s.conn->login_timeout = seconds;
        s.conn->settings.logon_timeout = 300;
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(cass_connect(s.conn, 0), SQL_ERROR);
        EXPECT_EQ(records(&s.conn->head), "HYT01|Connection timeout expired\n");
        const std::chrono::duration<double> waited = std::chrono::steady_clock::now() - start;
        EXPECT_GE(waited.count(), seconds == 0 ? 0.29 : 0.99);
        EXPECT_TRUE(seconds == 1 || waited.count() < 0.95) << waited.count();
    }
}

// The connect takes a second, as the server's queue is full. The request comes meanwhile.
TEST(exchange, request_never_goes_out_in_clear_before_the_tls_session_stands)
{
    full_server server;
    session &s = server.s;
    s.conn->settings.encrypt = 1;
    std::string got;
    std::thread peer([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
        close(accept(server.listener, nullptr, nullptr));
        close(std::exchange(s.peer, accept(server.listener, nullptr, nullptr)));
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        got = heard(s);
        shutdown(s.peer, SHUT_RDWR);
    });
    std::thread statement([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        const held_packet packet(packet_of(s.stmt, OPCODE_QUERY, "secret"));
        EXPECT_EQ(send_and_execute(s.stmt, packet.get()), -1);
    });
    EXPECT_EQ(cass_connect(s.conn, 0), SQL_ERROR);
    peer.join();
    statement.join();
    EXPECT_EQ(got[0], 0x16);  // a handshake
    EXPECT_EQ(got.find("secret"), std::string::npos);
    EXPECT_EQ(records(&s.stmt->head), "08S01|Communication link failure: failed to send packet\n");
}
