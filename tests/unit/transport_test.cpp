// The socket and the session start, against peers on loopback that behave and that do not.
#include <arpa/inet.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <lz4.h>
#include <netinet/in.h>
#include <signal.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "core/cass_conn.h"
#include "core/cass_logon.h"
#include "core/cass_pkt_exchange.h"
#include "tests/unit/session_fixture.h"

using std::chrono::milliseconds;

// A listening socket on loopback; port 0 when the family is not there.
struct listener {
    int fd;
    int port;
};

static listener listen_on(int family, int backlog)
{
    listener l = {socket(family, SOCK_STREAM, 0), 0};
    sockaddr_in6 six = {};
    six.sin6_family = AF_INET6;
    six.sin6_addr = in6addr_loopback;
    sockaddr_in four = {};
    four.sin_family = AF_INET;
    four.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    auto *address = family == AF_INET6 ? reinterpret_cast<sockaddr *>(&six)
                                       : reinterpret_cast<sockaddr *>(&four);
    socklen_t size = family == AF_INET6 ? sizeof six : sizeof four;
    if (bind(l.fd, address, size) != 0 || listen(l.fd, backlog) != 0)
        return l;
    getsockname(l.fd, address, &size);
    l.port = ntohs(family == AF_INET6 ? six.sin6_port : four.sin_port);
    return l;
}

// A port on which nobody listens.
static int dead_port()
{
    const listener l = listen_on(AF_INET, 1);
    close(l.fd);
    return l.port;
}

// A server that says all it has to say at once, closes its side if told so, and then listens to
// whatever the driver sends until the driver hangs up.
struct canned_server {
    listener at = listen_on(AF_INET, 4);
    std::string heard;
    std::thread thread;

    canned_server(std::string replies, bool closes)
        : thread([this, replies = std::move(replies), closes] {
              const int fd = accept(at.fd, nullptr, nullptr);
              send(fd, replies.data(), replies.size(), MSG_NOSIGNAL);
              if (closes)
                  shutdown(fd, SHUT_WR);
              char buffer[4096];
              ssize_t got;
              while ((got = recv(fd, buffer, sizeof buffer, 0)) > 0)
                  heard.append(buffer, static_cast<std::size_t>(got));
              close(fd);
          })
    {
    }
    ~canned_server()
    {
        if (thread.joinable())
            thread.join();
        close(at.fd);
    }
};

static void set_server(const session &s, const std::string &server)
{
    cass_string_free(s.conn->server);
    s.conn->server = cass_string_from_cstr(server.c_str());
}

static std::string name_of_port(int port)
{
    return "127.0.0.1:" + std::to_string(port);
}

// ---- Opening ------------------------------------------------------------------------------------

static int open_list(const session &s, const std::string &list, int port)
{
    set_server(s, list);
    return cass_open_servers(s.conn, s.conn->server, port);
}

TEST(open_servers, takes_the_first_that_answers_and_its_name)
{
    session s;
    const listener l = listen_on(AF_INET, 8);
    const std::string live = name_of_port(l.port);
    const std::string dead = name_of_port(dead_port());
    const struct {
        std::string list;
        int port;
        std::string answered;
    } cases[] = {
        {live, 0, live},
        {dead + "," + live, 0, live},
        {dead + "," + dead + ",127.0.0.1*" + std::to_string(l.port) + "," + dead, 0,
         "127.0.0.1*" + std::to_string(l.port)},
        {"127.0.0.1", l.port, "127.0.0.1"},
        {"127.0.0.1:1", l.port, "127.0.0.1:1"},  // an explicit port wins over the suffix
        {"127.0.0.1:letters", l.port, "127.0.0.1:letters"},
        {"localhost:" + std::to_string(l.port), 0, "localhost:" + std::to_string(l.port)},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(open_list(s, c.list, c.port), 0) << c.list;
        EXPECT_EQ(narrow(s.conn->server), c.answered);
        EXPECT_GE(s.conn->socket, 0);
        EXPECT_NE(fcntl(s.conn->socket, F_GETFD) & FD_CLOEXEC, 0);
        EXPECT_EQ(records(&s.conn->head), "");
    }
    // The socket of the session before was closed: the fixture's peer reads the end.
    char byte;
    EXPECT_EQ(recv(s.peer, &byte, 1, 0), 0);
    close(l.fd);
}

TEST(open_servers, reports_the_last_failure_alone)
{
    const std::string unable = "08001|Client unable to establish connection: ";
    const std::string dead = name_of_port(dead_port());
    const struct {
        std::string list;
        std::string record;
        int ipv6;
    } cases[] = {
        {dead, "OS Error: 'Connection refused'", 0},
        {"no host at all," + dead, "OS Error: 'Connection refused'", 0},
        {dead + ",127.0.0.1:x9", "Failed to extract numeric port from 'x9'", 0},
        {"127.0.0.1:0", "Failed to extract numeric port from '0'", 0},
        {"127.0.0.1*", "Failed to extract numeric port from ''", 0},
        {"", "Failed to find host address ''", 0},
        {dead + ",", "Failed to find host address ''", 0},
        {"a b:1", "Failed to find host address 'a b:1'", 0},
        {"127.0.0.1", "Failed to find host address '127.0.0.1'", 1},
        {"::1*z", "Failed to extract numeric port from 'z'", 1},
    };
    for (const auto &c : cases) {
        session s;
        s.conn->ipv6 = c.ipv6;
        EXPECT_EQ(open_list(s, c.list, 0), -3) << c.list;
        EXPECT_EQ(records(&s.conn->head), unable + c.record + "\n");
        EXPECT_EQ(s.conn->socket, -1);
        EXPECT_EQ(narrow(s.conn->server), c.list);
    }
}

TEST(open_servers, ipv6_takes_a_star_for_the_port_and_keeps_it)
{
    const listener l = listen_on(AF_INET6, 4);
    if (l.port == 0)
        GTEST_SKIP() << "no IPv6 loopback";
    session s;
    s.conn->ipv6 = 1;
    EXPECT_EQ(open_list(s, "::1*" + std::to_string(l.port), 0), 0);
    EXPECT_EQ(s.conn->port, l.port);
    EXPECT_EQ(open_list(s, "::1*1", l.port), 0);
    EXPECT_EQ(open_list(s, "::1", dead_port()), -3);
    EXPECT_EQ(records(&s.conn->head),
              "08001|Client unable to establish connection: OS Error: 'Connection refused'\n");
    close(l.fd);
}

TEST(open_servers, gives_up_on_a_silent_address_in_time)
{
    // A full backlog: further connects are neither accepted nor refused.
    const listener l = listen_on(AF_INET, 0);
    int fillers[4];
    for (int &filler : fillers) {
        filler = socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK, 0);
        sockaddr_in address = {};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        address.sin_port = htons(static_cast<std::uint16_t>(l.port));
        const int code = connect(filler, reinterpret_cast<sockaddr *>(&address), sizeof address);
        EXPECT_TRUE(code == 0 || errno == EINPROGRESS);
    }
    session s;
    for (const bool by_seconds : {false, true}) {
        s.conn->ms_timeout = by_seconds ? 0 : 150;
        s.conn->login_timeout = by_seconds ? 1 : 0;
        cass_diag_clear(&s.conn->head);
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(open_list(s, name_of_port(l.port), 0), -3);
        const auto took = std::chrono::steady_clock::now() - start;
        EXPECT_GE(took, milliseconds(by_seconds ? 950 : 140));
        EXPECT_LT(took, milliseconds(30'000));
        EXPECT_EQ(records(&s.conn->head), "HYT01|Connection timeout expired\n");
        EXPECT_EQ(s.conn->socket, -1);
    }
    for (const int filler : fillers)
        close(filler);
    close(l.fd);
}

TEST(open_servers, a_timed_connect_gives_a_working_socket)
{
    canned_server server("hello", false);
    session s;
    s.conn->ms_timeout = 5000;
    ASSERT_EQ(open_list(s, name_of_port(server.at.port), 0), 0);
    char buffer[8] = {};
    std::int32_t got = 0;
    EXPECT_EQ(conn_write(s.conn, "ping", 4), 4);
    EXPECT_EQ(conn_read(s.conn, buffer, 8, &got, 0), 5);
    EXPECT_EQ(std::string(buffer), "hello");
    cass_close_socket(s.conn);
    server.thread.join();
    EXPECT_EQ(server.heard, "ping");
}

// ---- Bytes --------------------------------------------------------------------------------------

TEST(conn_read, waits_on_a_non_blocking_socket_and_through_signals)
{
    session s;
    struct sigaction action = {};
    action.sa_handler = [](int) {};  // without SA_RESTART: a wait is interrupted
    sigaction(SIGUSR1, &action, nullptr);
    for (const bool non_blocking : {false, true}) {
        fcntl(s.conn->socket, F_SETFL, non_blocking ? O_NONBLOCK : 0);
        const pthread_t reader = pthread_self();
        std::thread peer([&] {
            for (int i = 0; i < 5; i++) {
                std::this_thread::sleep_for(milliseconds(10));
                pthread_kill(reader, SIGUSR1);
            }
            say(s, "abc");
        });
        char buffer[8];
        std::int32_t got = 0;
        EXPECT_EQ(conn_read(s.conn, buffer, 8, &got, 0), 3);
        EXPECT_EQ(got, 3);
        peer.join();
    }
    EXPECT_EQ(records(&s.conn->head), "");
}

TEST(conn_read, tells_time_out_from_shutdown_from_failure)
{
    session s;
    char buffer[8];
    std::int32_t got = 5;
    EXPECT_EQ(conn_read(s.conn, buffer, 8, &got, 30), CONN_TIMED_OUT);
    EXPECT_EQ(got, 0);
    EXPECT_EQ(records(&s.conn->head), "");
    hang_up(s);
    EXPECT_EQ(conn_read(s.conn, buffer, 8, &got, 0), -1);
    EXPECT_EQ(records(&s.conn->head),
              "08S01|Communication link failure: read failed (peer shutdown)\n");
    cass_close_socket(s.conn);
    cass_diag_clear(&s.conn->head);
    EXPECT_EQ(conn_read(s.conn, buffer, 8, &got, 0), -1);
    EXPECT_EQ(records(&s.conn->head),
              "08S01|Communication link failure: read failed 9 Bad file descriptor\n");
    EXPECT_EQ(s.conn->head.diag_records->native, EBADF);
}

TEST(conn_write, sends_all_of_it_whatever_the_socket_takes_at_once)
{
    session s;
    fcntl(s.conn->socket, F_SETFL, O_NONBLOCK);
    const std::string bytes(4'000'000, 'w');
    std::size_t total = 0;
    std::thread peer([&] {
        char buffer[65536];
        ssize_t got;
        while (total < bytes.size() && (got = recv(s.peer, buffer, sizeof buffer, 0)) > 0)
            total += static_cast<std::size_t>(got);
    });
    EXPECT_EQ(conn_write(s.conn, bytes.data(), 4'000'000), 4'000'000);
    peer.join();
    EXPECT_EQ(total, bytes.size());
    EXPECT_EQ(conn_write(s.conn, bytes.data(), 0), 0);
}

TEST(conn_write, to_a_peer_that_is_gone_fails_without_a_signal)
{
    session s;
    hang_up(s);
    EXPECT_EQ(conn_write(s.conn, "x", 1), -1);
    EXPECT_EQ(s.conn->socket_dead, 1);
    EXPECT_EQ(records(&s.conn->head), "08S01|Communication link failure: send failed\n");
    EXPECT_EQ(s.conn->head.diag_records->native, EPIPE);
}

// ---- Session start ------------------------------------------------------------------------------

static const std::string authenticator = "org.apache.cassandra.auth.PasswordAuthenticator";
static const std::string general = "HY000|General error: ";

static std::string supported(bool lz4)
{
    const std::string versions = str("CQL_VERSION") + be16(2) + str("3.0.0") + str("3.4.7");
    const std::string other = str("PROTOCOL_VERSIONS") + be16(1) + str("4/v4");
    const std::string codecs = str("compression") + be16(2) + str("snappy") + str("LZ4");
    return reply(OPCODE_SUPPORTED, lz4 ? be16(3) + codecs + other + versions
                                       : be16(2) + versions + other);
}

static std::string ready()
{
    return reply(OPCODE_READY, "");
}

TEST(logon, every_answer_has_its_result_and_records)
{
    const std::string gone = general + "failed to return a packet\n" +
                             "08S01|Communication link failure: read failed (peer shutdown)\n";
    const std::string auth = reply(OPCODE_AUTHENTICATE, str(authenticator));
    const std::string keyspace_set = reply(OPCODE_RESULT, be32(3) + str("Ks"));
    const struct {
        const char *name;
        std::string replies;
        const char *keyspace;
        int code;
        std::string record;
    } cases[] = {
        {"ready", supported(false) + ready(), nullptr, SQL_SUCCESS, ""},
        {"ready, lz4", supported(true) + ready(), nullptr, SQL_SUCCESS, ""},
        {"gone at once", "", nullptr, SQL_ERROR, gone},
        {"gone after SUPPORTED", supported(false), nullptr, SQL_ERROR, gone},
        {"gone in READY", supported(false) + ready().substr(0, 8), nullptr, SQL_ERROR, gone},
        {"error to OPTIONS", reply(OPCODE_ERROR, be32(10) + str("unsupported protocol version")),
         nullptr, SQL_ERROR, general + "error code 10, 'unsupported protocol version'\n"},
        {"ready to OPTIONS", ready(), nullptr, SQL_ERROR,
         general + "unexpected packet type 2\n\n"},
        {"error to STARTUP", supported(true) + reply(OPCODE_ERROR, be32(0) + str("boom")), nullptr,
         SQL_ERROR, general + "error code 0, 'boom'\n"},
        {"supported to STARTUP", supported(false) + supported(false), nullptr, SQL_ERROR,
         general + "unexpected packet type 6\n\n"},
        {"empty SUPPORTED", reply(OPCODE_SUPPORTED, "") + ready(), nullptr, SQL_SUCCESS, ""},
        {"lying SUPPORTED", reply(OPCODE_SUPPORTED, be16(32767) + be16(9999) + "abc") + ready(),
         nullptr, SQL_SUCCESS, ""},
        {"password", supported(true) + auth + reply(OPCODE_AUTH_SUCCESS, be32(-1)), nullptr,
         SQL_SUCCESS, ""},
        {"wrong password",
         supported(true) + auth + reply(OPCODE_ERROR, be32(256) + str("bad credentials")), nullptr,
         SQL_ERROR, general + "error code 256, 'bad credentials'\n"},
        {"gone in authentication", supported(true) + auth, nullptr, SQL_ERROR, gone},
        {"another authenticator", supported(false) + reply(OPCODE_AUTHENTICATE, str("com.Other")),
         nullptr, SQL_ERROR, general + "unexpected SASL authenticator\n"},
        {"its name cut short",
         supported(false) +
             reply(OPCODE_AUTHENTICATE, str(authenticator).substr(0, 1 + authenticator.size())),
         nullptr, SQL_ERROR, general + "unexpected SASL authenticator\n"},
        {"a long name", supported(false) + reply(OPCODE_AUTHENTICATE, str(std::string(300, 'x'))),
         nullptr, SQL_ERROR, general + "unexpected SASL packet prefix\n"},
        {"no name", supported(false) + reply(OPCODE_AUTHENTICATE, "x"), nullptr, SQL_ERROR,
         general + "short SASL packet\n"},
        {"keyspace", supported(true) + ready() + keyspace_set, "Ks", SQL_SUCCESS, ""},
        {"refused keyspace",
         supported(true) + ready() + reply(OPCODE_ERROR, be32(0x2200) + str("no such keyspace")),
         "Ks", SQL_SUCCESS_WITH_INFO, ""},
    };
    for (const auto &c : cases) {
        canned_server server(c.replies, true);
        session s;
        set_server(s, name_of_port(server.at.port));
        if (c.keyspace != nullptr)
            s.conn->keyspace = cass_string_from_cstr(c.keyspace);
        EXPECT_EQ(cass_connect(s.conn, 0), c.code) << c.name;
        const bool stands = c.code == SQL_SUCCESS;
        EXPECT_EQ(s.conn->connected, stands ? 1 : 0) << c.name;
        EXPECT_EQ(s.conn->connecting, 0) << c.name;
        EXPECT_EQ(s.conn->socket >= 0, stands) << c.name;
        EXPECT_EQ(records(&s.conn->head), c.record) << c.name;
        cass_close_socket(s.conn);
    }
}

static std::string hear_logon(const session &s, const std::string &replies)
{
    canned_server server(replies, false);
    set_server(s, name_of_port(server.at.port));
    EXPECT_EQ(cass_connect(s.conn, 0), SQL_SUCCESS);
    cass_close_socket(s.conn);
    server.thread.join();
    return server.heard;
}

static std::string request(int opcode, const std::string &body)
{
    return std::string("\4\0\0\0", 4) + static_cast<char>(opcode) +
           be32(static_cast<int>(body.size())) + body;
}

TEST(logon, sends_the_exact_frames)
{
    const std::string version = str("CQL_VERSION") + str("3.0.0");
    const std::string auth = reply(OPCODE_AUTHENTICATE, str(authenticator)) +
                             reply(OPCODE_AUTH_SUCCESS, be32(-1));
    const std::string hello = request(OPCODE_OPTIONS, "");
    const std::string plain = hello + request(OPCODE_STARTUP, be16(1) + version);

    session s;
    EXPECT_EQ(hear_logon(s, supported(false) + ready()), plain);
    EXPECT_STREQ(s.conn->cql_version, "3.4.7");
    EXPECT_EQ(hear_logon(s, supported(false) + auth),
              plain + request(OPCODE_AUTH_RESPONSE,
                              long_str(std::string("\0guestuser\0guestuser", 20))));
    s.conn->user = cass_string_from_cstr("J\xFCrg");  // text leaves as UTF-8 here
    EXPECT_EQ(hear_logon(s, supported(false) + auth),
              plain + request(OPCODE_AUTH_RESPONSE, long_str(std::string("\0J\xC3\xBCrg\0", 7))));

    // With lz4 STARTUP itself goes plain, everything behind it compressed.
    s.conn->password = cass_string_from_cstr("secret");
    const std::string start =
        hello + request(OPCODE_STARTUP, be16(2) + version + str("COMPRESSION") + str("lz4"));
    const std::string sent = hear_logon(s, supported(true) + auth);
    ASSERT_GT(sent.size(), start.size() + 13);
    EXPECT_EQ(sent.substr(0, start.size()), start);
    const std::string token = sent.substr(start.size());
    EXPECT_EQ(token.substr(0, 5), std::string("\4\1\0\0\xF", 5));
    char restored[64];
    const int size = LZ4_decompress_safe(token.data() + 13, restored,
                                         static_cast<int>(token.size()) - 13, sizeof restored);
    EXPECT_EQ(std::string(restored, static_cast<std::size_t>(std::max(size, 0))),
              long_str(std::string("\0J\xC3\xBCrg\0secret", 13)));

    // A later server without lz4 gets what a first one would.
    EXPECT_EQ(hear_logon(s, supported(false) + ready()), plain);
    EXPECT_EQ(s.conn->compression, COMPRESSION_NONE);
}

TEST(logon, without_a_server_or_with_roads_that_are_not_built_fails_in_plain_words)
{
    const struct {
        void (*ask)(cass_conn *conn);
        std::string record;
    } cases[] = {
        {[](cass_conn *conn) {
             cass_string_free(conn->server);
             conn->server = nullptr;
         },
         "server not specified"},
        {[](cass_conn *conn) { conn->encrypt = 1; }, "TLS is not available in this build"},
        {[](cass_conn *conn) { conn->bundle_path = cass_string_from_cstr("b.zip"); },
         "secure connect bundle is not available in this build"},
        {[](cass_conn *conn) { conn->astra = 1; },
         "Astra metadata service is not available in this build"},
    };
    for (const auto &c : cases) {
        const listener l = listen_on(AF_INET, 4);
        session s;
        cass_close_socket(s.conn);
        set_server(s, name_of_port(l.port));
        c.ask(s.conn);
        EXPECT_EQ(cass_connect(s.conn, 0), SQL_ERROR);
        EXPECT_EQ(records(&s.conn->head), general + c.record + "\n");
        EXPECT_EQ(s.conn->socket, -1);
        // Whoever was called heard nothing.
        fcntl(l.fd, F_SETFL, O_NONBLOCK);
        const int called = accept(l.fd, nullptr, nullptr);
        char byte;
        if (called >= 0) {
            EXPECT_EQ(recv(called, &byte, 1, 0), 0);
            close(called);
        }
        close(l.fd);
    }
}

TEST(logon, the_logon_time_out_governs_the_connect_unless_the_attribute_is_set)
{
    const struct {
        std::uint32_t login;
        std::int32_t logon;
        std::int32_t want;
    } cases[] = {{0, 700, 700}, {3, 700, 0}, {0, 0, 0}};
    for (const auto &c : cases) {
        session s;
        cass_close_socket(s.conn);
        s.conn->login_timeout = c.login;
        s.conn->logon_timeout = c.logon;
        cass_connect(s.conn, 0);
        EXPECT_EQ(s.conn->ms_timeout, c.want);
    }
}

// ---- Two threads on one connection --------------------------------------------------------------

TEST(exchange, statements_of_two_threads_never_read_each_others_replies)
{
    session s;
    constexpr int rounds = 2000;
    // The peer answers each request with an ERROR that repeats the request's body.
    std::thread peer([&] {
        std::string pending;
        char buffer[4096];
        ssize_t got;
        while ((got = recv(s.peer, buffer, sizeof buffer, 0)) > 0) {
            pending.append(buffer, static_cast<std::size_t>(got));
            while (pending.size() >= 9 && pending.size() >= 9u + load_be32(pending.data() + 5)) {
                const std::size_t size = load_be32(pending.data() + 5);
                say(s, reply(OPCODE_ERROR, be32(1) + str(pending.substr(9, size))));
                pending.erase(0, 9 + size);
            }
        }
    });
    std::atomic<int> wrong = 0;
    const auto work = [&](cass_stmt *stmt, const std::string &name) {
        const std::string want =
            "08S01|Communication link failure: error code 1 '" + name + "'\n";
        for (int i = 0; i < rounds; i++) {
            const held_packet packet(packet_of(stmt, OPCODE_QUERY, name));
            send_and_execute(stmt, packet.get());
            wrong += records(&stmt->head) != want;
            cass_diag_clear(&stmt->head);
        }
    };
    std::thread other(work, cass_alloc_stmt(s.conn), "other");
    work(s.stmt, "one");
    other.join();
    shutdown(s.conn->socket, SHUT_RDWR);
    peer.join();
    EXPECT_EQ(wrong, 0);
}
