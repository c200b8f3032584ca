// Sessions that do not begin, and replies that do not come: servers without TLS, and those that do
// not speak at all, plain and by TLS.
#include <arpa/inet.h>
#include <netinet/in.h>

#include <atomic>
#include <thread>

#include "core/log/cass_log.h"
#include "core/net/cass_conn.h"
#include "core/net/cass_ssl.h"
#include "core/session/cass_logon.h"
#include "core/statement/cass_pkt_exchange.h"
#include "tests/node/certificates.h"
#include "tests/unit/handles.h"
#include "tests/node/node_tls.h"

static const std::string no_connection = "08001 Client unable to establish connection: ";

TEST(tls_start, server_that_speaks_no_tls_is_told)
{
    session s;
    say(s, reply(OPCODE_ERROR, be32(10) + str("Invalid or unsupported protocol version (22)")));
    EXPECT_EQ(cass_ssl_start(s.conn), -6);
    EXPECT_TRUE(s.conn->ssl == nullptr && s.conn->socket >= 0);
    const std::string told = records(s.conn);
    EXPECT_TRUE(told.starts_with(no_connection + "SSL connection failed\n" + no_connection +
                                 "SSL error 'error:"))
        << told;
    EXPECT_EQ(heard(s)[0], 0x16);  // a handshake
}

// ---- Sessions -----------------------------------------------------------------------------------

// Plain and by TLS: silence, an endless trickle of a frame or a TLS record, and a peer that takes
// no byte of a long request.
TEST(tls_session, request_that_is_not_answered_in_time_ends)
{
    const std::string record("\x17\x03\x03\x40", 5), header("\x84\0\0\0\x08\0\x0f", 7);
    for (const bool tls : {false, true})
        for (const auto &[size, said] :
             {std::pair<int, std::string>(1, ""), {1, tls ? record : header}, {20'000'000, ""}}) {
            session s;
            std::atomic<bool> over = false;
            std::thread server([&, tls, &said = said] {
                const tls_session ssl =
                    tls_accept({.chain = make_certificate({}).pem, .key = key_pem(KEY_ONE)});
                SSL_set_fd(ssl.get(), s.peer);
                EXPECT_TRUE(!tls || SSL_accept(ssl.get()) == 1);
                send(s.peer, said.data(), said.size(), MSG_NOSIGNAL);
                for (; !over; usleep(5000))
                    if (!said.empty())
                        send(s.peer, "", 1, MSG_NOSIGNAL);
            });
            s.conn->settings.trust_server_certificate = 1;
            EXPECT_EQ(tls ? cass_ssl_start(s.conn) : 0, 0);
            s.conn->settings.read_timeout = 200;
            const held_packet packet(packet_of(s.stmt, OPCODE_QUERY, pattern(size)));
            const std::int64_t begun = cass_monotonic_ms();
            EXPECT_EQ(send_and_execute(s.stmt, packet.get()), -1);
            const std::int64_t took = cass_monotonic_ms() - begun;
            EXPECT_TRUE(took >= 200 && took < 2000) << took;
            EXPECT_EQ(records(s.stmt), "HYT00 Timeout expired\n");
            EXPECT_EQ(conn_write(s.conn, "x", 1), -1);  // the stream stands inside a frame
            over = true;
            server.join();
        }
}

// ---- Servers that do not answer -----------------------------------------------------------------

// A server of the connections, whose queue the first of them fills: further calls are dropped
// without a word.
static int full_server(const std::vector<cass_conn *> &conns)
{
    const int listener = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address = {};
    socklen_t size = sizeof address;
    listen(listener, 0);
    getsockname(listener, reinterpret_cast<sockaddr *>(&address), &size);
    for (cass_conn *conn : conns) {
        conn->settings.server = cass_string_from_cstr("127.0.0.1");
        conn->settings.port = ntohs(address.sin_port);
        cass_close_socket(conn);
    }
    EXPECT_EQ(cass_open_servers(conns[0], conns[0]->settings.server, conns[0]->settings.port), 0);
    return listener;
}

// The attribute, in seconds, wins over the setting.
TEST(open_servers, that_stay_silent_end_in_a_time_out)
{
    const session s, first;
    const int listener = full_server({first.conn, s.conn});
    for (const unsigned seconds : {1, 0}) {
        s.conn->login_timeout = seconds;
        s.conn->settings.logon_timeout = 300;
        cass_diag_clear(&s.conn->head);
        const std::int64_t begun = cass_monotonic_ms();
        EXPECT_EQ(cass_connect(s.conn, 0), SQL_ERROR);
        EXPECT_EQ(records(s.conn), "HYT01 Connection timeout expired\n");
        const std::int64_t took = cass_monotonic_ms() - begun;
        EXPECT_TRUE(took >= (seconds == 0 ? 290 : 990) && (seconds == 1 || took < 950)) << took;
    }
    close(listener);
}

// The connect takes a second, as the server's queue is full. The request comes meanwhile.
TEST(exchange, request_never_goes_out_in_clear_before_the_tls_session_stands)
{
    session s, first;
    const int listener = full_server({first.conn, s.conn});
    s.conn->settings.encrypt = 1;
    std::string got;
    std::thread peer([&] {
        usleep(200'000);
        close(accept(listener, nullptr, nullptr));
        close(std::exchange(s.peer, accept(listener, nullptr, nullptr)));
        usleep(50'000);
        got = heard(s);
        shutdown(s.peer, SHUT_RDWR);
    });
    std::thread statement([&] {
        usleep(50'000);
        const held_packet packet(packet_of(s.stmt, OPCODE_QUERY, "secret"));
        EXPECT_EQ(send_and_execute(s.stmt, packet.get()), -1);
    });
    EXPECT_EQ(cass_connect(s.conn, 0), SQL_ERROR);
    peer.join();
    statement.join();
    close(listener);
    EXPECT_TRUE(got[0] == 0x16 && got.find("secret") == got.npos);  // a handshake
}
