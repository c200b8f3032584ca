// A hosted database as an application meets it: the secure connect bundle, the metadata service
// that it leads to, and the gate to the real node, which is found by the name asked for over TLS.
#include "tests/bundle_file.h"

#include <netdb.h>
#include <netinet/in.h>
#include <poll.h>
#include <unistd.h>

#include <csignal>
#include <thread>

#include "tests/live/live_support.h"
#include "tests/node/certificates.h"
#include "tests/node/node_tls.h"

static const certificate &ca()
{
    static const certificate made = make_ca("hosted CA");
    return made;
}

// One port: the first session is the service's, the next goes through the gate.
struct hosted {
    const file_folder folder;
    int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    std::string request = {};
    std::vector<std::string> names = {};  // asked for over TLS
    std::thread thread;

    explicit hosted(const std::string &reply);
    ~hosted() { finish(); }
    hosted &operator=(hosted &&) = delete;  // and with it all copies
    // Nobody else is awaited: what came can be looked at.
    void finish();
    // With this database's bundle, where one member may be another.
    std::string settings(const std::string &name = {}, const std::string &content = {}) const;
};

// The session of the next client; without a socket where none comes.
static tls_session next_client(hosted *h)
{
    tls_session tls = tls_accept({.chain = make_certificate({}, &ca()).pem,
                                  .key = key_pem(KEY_ONE),
                                  .client_issuers = ca().pem});
    SSL_set_fd(tls.get(), accept(h->listener, nullptr, nullptr));
    if (SSL_accept(tls.get()) == 1)
        h->names.push_back(SSL_get_servername(tls.get(), TLSEXT_NAMETYPE_host_name));
    return tls;
}

static void relay_to_node(SSL *tls)
{
    addrinfo *found = nullptr;
    ASSERT_EQ(getaddrinfo(filled("{host}").c_str(), filled("{port}").c_str(), nullptr, &found), 0);
    const int node = socket(found->ai_family, SOCK_STREAM | SOCK_CLOEXEC, 0);
    EXPECT_EQ(connect(node, found->ai_addr, found->ai_addrlen), 0);
    freeaddrinfo(found);
    char buffer[16384];  // as much as a TLS record holds
    pollfd waits[] = {{SSL_get_fd(tls), POLLIN, 0}, {node, POLLIN, 0}};
    while (poll(waits, std::size(waits), -1) > 0) {
        const bool from_client = waits[0].revents != 0;
        const int got = from_client ? SSL_read(tls, buffer, sizeof buffer)
                                    : static_cast<int>(recv(node, buffer, sizeof buffer, 0));
        if (got <= 0)
            break;
        if (from_client)
            send(node, buffer, static_cast<std::size_t>(got), MSG_NOSIGNAL);
        else
            SSL_write(tls, buffer, got);
    }
    close(node);
}

static void serve(hosted *h, const std::string &reply)
{
    sigset_t pipe;
    sigemptyset(&pipe);
    sigaddset(&pipe, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &pipe, nullptr);
    tls_session tls = next_client(h);
    char byte;
    while (!h->request.ends_with("\n\n") && SSL_read(tls.get(), &byte, 1) == 1)
        h->request += byte;
    SSL_write(tls.get(), reply.data(), static_cast<int>(reply.size()));
    SSL_shutdown(tls.get());
    close(SSL_get_fd(tls.get()));
    tls = next_client(h);
    if (SSL_is_init_finished(tls.get()))
        relay_to_node(tls.get());
    close(SSL_get_fd(tls.get()));
}

hosted::hosted(const std::string &reply)
{
    EXPECT_EQ(listen(listener, 4), 0);  // a port of the system's choice
    thread = std::thread(serve, this, reply);
}

void hosted::finish()
{
    if (!thread.joinable())
        return;
    shutdown(listener, SHUT_RDWR);
    thread.join();
    close(listener);
}

std::string hosted::settings(const std::string &name, const std::string &content) const
{
    sockaddr_in address = {};
    socklen_t length = sizeof address;
    getsockname(listener, reinterpret_cast<sockaddr *>(&address), &length);
    const std::string port = std::to_string(ntohs(address.sin_port));
    zip_members members = {
        {"config.json", R"({"host": "127.0.0.1", "port": )" + port + R"(, "cql_port": )" + port +
                            R"(, "keyspace": "system_schema", "caCertLocation": "./ca.crt", )" +
                            R"("certLocation": "cert", "keyLocation": "./key"})"},
        {"ca.crt", ca().pem},
        {"cert", make_certificate({.subject = "client", .key = KEY_TWO}, &ca()).pem},
        {"key", key_pem(KEY_TWO)}};
    for (auto &member : members)
        if (member.first == name)
            member.second = content;
    const std::string path = folder.path + "/bundle.zip";
    write_bundle(path, members);
    return std::string("DRIVER={") + driver_name + "};BUNDLE=" + path +
           ";UID=u;PWD=p:w;PORT=1;SERVER=nowhere;KEYSPACE=x;TrustServerCertificate=yes";
}

using live_bundle = live_test;

TEST_F(live_bundle, leads_to_the_node_by_the_name_of_its_first_contact_point)
{
    NEED_PLAIN_NODE();
    const std::string all = "SELECT table_name, column_name, type FROM system_schema.columns";
    const row_list wanted = query(conn, all);
    for (const std::string points : {R"("node-1", "node-2")", ""}) {
        const std::string json = R"({"contact_info": {"contact_points": [)" + points + "]}}";
        hosted database("HTTP/1.1 200 OK\r\nContent-Length: " + std::to_string(json.size()) +
                        "\r\n\r\n" + json);
        {
            const live_ptr inside = live_open();
            EXPECT_CONN(SQL_SUCCESS, inside->conn,
                        driver_connect(inside->conn, database.settings()));
            EXPECT_EQ(query(inside->conn, "SELECT table_name FROM tables WHERE keyspace_name = "
                                          "'system' AND table_name = 'local'"),
                      row_list{"local"});
            EXPECT_EQ(query(inside->conn, all), wanted);
        }
        database.finish();
        EXPECT_EQ(database.request, "GET /metadata HTTP/1.1\nHost: 127.0.0.1\nAccept: "
                                    "application/json\nAuthorization: Basic dTpwOnc=\n\n");
        EXPECT_EQ(database.names, (row_list{"127.0.0.1", points.empty() ? "127.0.0.1" : "node-1"}));
    }
}

TEST_F(live_bundle, that_leads_nowhere_says_why_before_a_session_begins)
{
    // One member's content, and what comes of it.
    const std::vector<std::string> cases[] = {
        {"", "", "HY000 Failed in Astra connection code: 0"},  // the end of TLS for a reply
        {"ca.crt", make_ca().pem, "08001 SSL Provider: unable to get local issuer certificate"},
        {"ca.crt", "none", "08001 Loading Certificate data failed"},
        {"cert", key_pem(KEY_TWO), "08001 Loading Certificate data failed"},
        {"key", key_pem(KEY_TWO, "secret"), "08001 Loading Certificate data failed"},
        {"key", key_pem(KEY_ONE), "08001 SSL connection failed"},
        {"cert", "", "08001 SSL connection failed"},
    };
    for (const auto &c : cases) {
        hosted database("");
        const live_ptr outside = live_open();
        EXPECT_CONN(SQL_ERROR, outside->conn,
                    driver_connect(outside->conn, database.settings(c[0], c[1])));
        const std::string record = conn_records(outside->conn)[0];
        EXPECT_TRUE(record.starts_with(c[2].substr(0, 6)) && record.ends_with(c[2].substr(6)))
            << record << "\n  expected " << c[2];
        database.finish();
        EXPECT_LE(database.names.size(), 1U);
    }
}
