// Reaching a server: lists with dead entries, ports in the server text, IPv6, silence, and a peer
// that goes away in the middle.
#include <arpa/inet.h>
#include <csignal>
#include <fcntl.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>

#include "tests/wire/wire_support.h"

// A port of 127.0.0.1 on which nobody listens: it was free a moment ago.
static std::string dead_port()
{
    const node_ptr node = node_start();
    const int port = node_port(node.get());
    node_finish(node.get());
    return std::to_string(port);
}

static std::string out_string(SQLHDBC conn, const std::string &settings, SQLRETURN *code)
{
    SQLCHAR out[1024] = "";
    SQLSMALLINT length = 0;
    std::string in = settings;
    *code = SQLDriverConnect(conn, nullptr, reinterpret_cast<SQLCHAR *>(in.data()), SQL_NTS, out,
                             sizeof out, &length, SQL_DRIVER_NOPROMPT);
    return reinterpret_cast<char *>(out);
}

TEST(servers, first_one_that_answers_is_taken_and_named)
{
    const wire_ptr wire = wire_open();
    const std::string live = std::to_string(node_port(wire->node.get()));
    const std::string dead = dead_port();
    const struct {
        std::string settings;
        std::string server;  // of the output string
    } cases[] = {
        {"SERVER=127.0.0.1:" + live, "127.0.0.1:" + live},
        {"SERVER=127.0.0.1*" + live, "127.0.0.1*" + live},
        {"SERVER=localhost:" + live, "localhost:" + live},
        {"SERVER=127.0.0.1;PORT=" + live, "127.0.0.1"},
        {"SERVER=127.0.0.1:" + dead + ";PORT=" + live, "127.0.0.1:" + dead},
        {"SERVER=127.0.0.1:" + dead + ",127.0.0.1:" + live, "127.0.0.1:" + live},
        {"SERVER=127.0.0.1:x,,127.0.0.1:" + dead + ",127.0.0.1:" + live + ",127.0.0.1:1",
         "127.0.0.1:" + live},
        {"SERVER=127.0.0.1:" + dead + ",127.0.0.1:" + live + ";LogonTimeout=5000",
         "127.0.0.1:" + live},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.settings);
        expect_logon(wire->node.get());
        SQLRETURN code = SQL_ERROR;
        const std::string out = out_string(wire->conn, c.settings, &code);
        EXPECT_CONN(SQL_SUCCESS, wire->conn, code);
        EXPECT_EQ(conn_records(wire->conn), record_list());
        EXPECT_NE(out.find("SERVER=" + c.server + ";"), std::string::npos) << out;
        SQLDisconnect(wire->conn);
    }
}

TEST(servers, only_the_last_failure_of_a_list_is_told)
{
    const std::string refused =
        "08001 Client unable to establish connection: OS Error: 'Connection refused'";
    const std::string no_host = "08001 Client unable to establish connection: Failed to find host";
    const std::string no_port =
        "08001 Client unable to establish connection: Failed to extract numeric port from '";
    const std::string dead = dead_port();
    const struct {
        std::string settings;
        std::string record;  // how it begins
    } cases[] = {
        {"SERVER=127.0.0.1:" + dead, refused},
        {"SERVER=127.0.0.1:" + dead + ";LogonTimeout=2000", refused},
        {"SERVER=127.0.0.1:x,127.0.0.1:" + dead, refused},
        {"SERVER=127.0.0.1:" + dead + ",127.0.0.1:x", no_port},
        {"SERVER=127.0.0.1*", no_port},
        {"SERVER=127.0.0.1:0", no_port},
        {"SERVER=", no_host},
        {"SERVER=not a host", no_host},
        {"SERVER=127.0.0.1;ipv6=yes", no_host},
        {"SERVER=::1;PORT=" + dead + ";ipv6=yes", refused},
        {"SERVER=::1*" + dead + ";ipv6=yes;LogonTimeout=2000", refused},
    };
    const wire_ptr wire = wire_open();
    for (const auto &c : cases) {
        SCOPED_TRACE(c.settings);
        EXPECT_CONN(SQL_ERROR, wire->conn, wire_driver_connect(wire->conn, c.settings));
        const record_list records = conn_records(wire->conn);
        ASSERT_EQ(records.size(), 1u);
        EXPECT_TRUE(records[0].starts_with(c.record)) << records[0];
    }
    EXPECT_CONN(SQL_ERROR, wire->conn, wire_driver_connect(wire->conn, "UID=u"));
    EXPECT_EQ(conn_records(wire->conn),
              record_list{"HY000 General error: server name and connect bundle not specified"});
}

TEST(servers, ipv6_address_takes_its_port_behind_an_asterisk)
{
    const wire_ptr wire = wire_open({.ipv6 = true});
    const std::string port = std::to_string(node_port(wire->node.get()));
    const std::string cases[] = {"SERVER=::1*" + port + ";ipv6=yes",
                                 "SERVER=::1;ipv6=true;PORT=" + port,
                                 "SERVER=::1*1,::1*" + port + ";ipv6=yes;LogonTimeout=5000"};
    for (const std::string &settings : cases) {
        SCOPED_TRACE(settings);
        expect_logon(wire->node.get());
        EXPECT_CONN(SQL_SUCCESS, wire->conn, wire_driver_connect(wire->conn, settings));
        SQLDisconnect(wire->conn);
    }
}

// A listener whose queue is full drops further calls without a word.
struct silent_address {
    int sockets[4];
    std::string port;
};

static silent_address open_silent_address()
{
    silent_address silent = {};
    sockaddr_in address = {};
    socklen_t length = sizeof address;
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    sockaddr *const any = reinterpret_cast<sockaddr *>(&address);
    silent.sockets[0] = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    EXPECT_EQ(bind(silent.sockets[0], any, length), 0);
    EXPECT_EQ(listen(silent.sockets[0], 0), 0);
    EXPECT_EQ(getsockname(silent.sockets[0], any, &length), 0);
    for (int i = 1; i < 4; i++) {
        silent.sockets[i] = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
        connect(silent.sockets[i], any, length);
    }
    silent.port = std::to_string(ntohs(address.sin_port));
    return silent;
}

TEST(servers, silent_address_ends_in_the_logon_time_out)
{
    const silent_address silent = open_silent_address();
    const wire_ptr wire = wire_open();
    const auto start = std::chrono::steady_clock::now();
    EXPECT_CONN(
        SQL_ERROR, wire->conn,
        wire_driver_connect(wire->conn, "SERVER=127.0.0.1:" + silent.port + ";LogonTimeout=200"));
    const auto waited = std::chrono::steady_clock::now() - start;
    EXPECT_EQ(conn_records(wire->conn), record_list{"HYT01 Connection timeout expired"});
    EXPECT_GE(waited, std::chrono::milliseconds(200));
    EXPECT_LT(waited, std::chrono::seconds(10)) << "the system alone would wait for minutes";

    // The next server of a list gets its turn, with blocking reads behind the timed connect.
    expect_logon(wire->node.get());
    EXPECT_CONN(SQL_SUCCESS, wire->conn,
                wire_driver_connect(wire->conn, "SERVER=127.0.0.1:" + silent.port + "," +
                                                    node_address(wire->node.get()) +
                                                    ";LogonTimeout=200"));
    for (const int socket : silent.sockets)
        close(socket);
}

static volatile std::sig_atomic_t pipe_signals;

static void count_pipe_signal(int)
{
    pipe_signals = pipe_signals + 1;
}

TEST(servers, dead_peer_is_an_error_for_each_request_and_never_a_signal)
{
    struct sigaction counting = {}, before = {};
    counting.sa_handler = count_pipe_signal;
    sigaction(SIGPIPE, &counting, &before);
    pipe_signals = 0;
    for (const node_ending ending : {CLOSE, RESET}) {
        const wire_ptr wire = wire_logged_on();
        expect_query(wire->node.get(), "select 1", {no_answer(ending)});
        EXPECT_STMT(SQL_ERROR, wire->stmt, exec(wire->stmt, "select 1"));
        EXPECT_EQ(stmt_records(wire->stmt),
                  record_list{"08S01 Communication link failure: failed to return packet"});
        // The system notices a closed peer at the second send at the latest.
        for (int i = 0; i < 3; i++)
            EXPECT_STMT(SQL_ERROR, wire->stmt, exec(wire->stmt, "select 1"));
        EXPECT_EQ(stmt_records(wire->stmt),
                  record_list{"08S01 Communication link failure: failed to send packet"});
    }
    struct sigaction after = {};
    sigaction(SIGPIPE, &before, &after);
    EXPECT_EQ(pipe_signals, 0);
    EXPECT_EQ(after.sa_handler, count_pipe_signal);
}
