// The name on the server's certificate, the versions of TLS, and whose trust anchors count.
#include <thread>

#include "tests/bundle_file.h"
#include "tests/node/certificates.h"
#include "tests/wire/wire_support.h"

static node_tls tls_of(const certificate &server, int version = 0x0303)
{
    return {.chain = server.pem, .key = key_pem(server.key), .version = version};
}

// A server that answers whatever comes, and what a connection to a host of it tells: nothing when
// it gives a session. Nothing is sent to a server that is refused.
static std::string connect_to(const wire_ptr &wire, const std::string &host,
                              const std::string &settings)
{
    int requests = 0;
    node_answer_rest(wire->node, [&](const node_request &request) {
        requests++;
        return std::vector{stock_answer(request)};
    });
    const SQLRETURN code =
        wire_driver_connect(wire->conn, "Encrypt=yes;SERVER=" + host + ":" +
                                            std::to_string(node_port(wire->node)) + ";" + settings);
    const record_list records = conn_records(wire->conn);
    EXPECT_EQ(code == SQL_SUCCESS, requests > 0);
    if (code == SQL_SUCCESS)
        SQLDisconnect(wire->conn);
    node_answer_rest(wire->node, {});
    return records.empty() ? "" : records.back();
}

TEST(tls_host, is_one_that_the_certificate_is_made_out_to)
{
    const certificate ca = make_ca();
    const file_folder folder;
    const std::string trust = "CertificateFile=" + folder.add("ca.pem", ca.pem) + ";";
    const struct {
        const char *subject, *names, *host, *settings;
        const char *told;  // the names on the certificate; null: it is good
    } cases[] = {
        {"x", "DNS:localhost", "localhost", "Standard=Yes", nullptr},
        {"x", "DNS:a,IP:127.0.0.1", "127.0.0.1", "Standard=Yes", nullptr},
        {"localhost", nullptr, "localhost", "Standard=Yes", nullptr},
        {"localhost", "DNS:a,IP:::1,DNS:b", "localhost", "Standard=Yes", "'a, ::1, b'"},
        {"127.0.0.1", "DNS:127.0.0.1", "127.0.0.1", "Standard=Yes", "'127.0.0.1'"},
        {"x", "DNS:localhost", "127.0.0.1", "Standard=Yes", "'localhost'"},
        {"x", "DNS:*host", "localhost", "Standard=Yes", "'*host'"},
        {"x\ny", nullptr, "localhost", "Standard=Yes", "'x?y'"},
        {"x", nullptr, "localhost", "Standard=Yes;VerifyHost=No", nullptr},
        {"x", nullptr, "localhost", "Standard=Yes;TrustServerCertificate=Yes", nullptr},
        {"x", nullptr, "localhost", "Standard=Yes;TrustServerCertificate=Yes;VerifyHost=on", "'x'"},
        {"x", nullptr, "127.0.0.1", "", nullptr},
        {"x", nullptr, "127.0.0.1", "VerifyHost=Yes", "'x'"},
        {"x", nullptr, "127.0.0.1", "VerifyHost=required", "'x'"},
        {"x", nullptr, "127.0.0.1", "VerifyHost=no", nullptr},
        {"x", "IP:127.0.0.1", "127.0.0.1", "VerifyHost=true", nullptr},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(testing::Message() << c.subject << " " << c.names << " " << c.settings);
        const wire_ptr wire = wire_open();
        node_use_tls(wire->node,
                     tls_of(make_certificate({.subject = c.subject, .names = c.names}, &ca)));
        const std::string record = connect_to(wire, c.host, trust + c.settings);
        const std::string sentence =
            "certificate is not made out to '" + std::string(c.host) + "', but to ";
        if (c.told == nullptr) {
            EXPECT_EQ(record, "");
        } else {
            EXPECT_NE(record.find(sentence + c.told), std::string::npos) << record;
        }
    }
}

// A bundle's host, before the metadata service is asked for anything.
TEST(tls_host, is_a_bundle_s)
{
    const certificate ca = make_ca();
    const file_folder folder;
    for (const char *names : {"IP:127.0.0.1", "IP:127.0.0.2"}) {
        const bool good = std::string(names).ends_with("1");
        const wire_ptr wire = wire_open();
        node_tls server = tls_of(make_certificate({.names = names}, &ca));
        server.http = "HTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\n{}";
        node_use_tls(wire->node, server);
        const std::string path = folder.path + names + ".zip";
        write_bundle(path, hosted_bundle(node_port(wire->node), ca.pem,
                                         make_certificate({}, &ca).pem, key_pem(KEY_ONE)));
        EXPECT_EQ(connect_to(wire, "x", "Standard=Yes;UID=u;PWD=p;BUNDLE=" + path).empty(), good);
        EXPECT_EQ(node_http_request(wire->node).empty(), !good);
    }
}

TEST(tls_host, anchors_are_the_connection_s_own)
{
    const certificate ca = make_ca();
    const file_folder folder;
    const std::string trust = "CertificateFile=" + folder.add("ca.pem", ca.pem);
    const std::string file = folder.add("system.pem", make_ca("another").pem);
    const wire_ptr wire = wire_open();
    node_use_tls(wire->node, tls_of(make_certificate({.names = "DNS:localhost"}, &ca)));
    EXPECT_EQ(connect_to(wire, "localhost", trust + ";Standard=Yes"), "");
    EXPECT_NE(connect_to(wire, "localhost", "Standard=Yes").find("unable to get local issuer"),
              std::string::npos);
    setenv("SSL_CERT_FILE", (folder.path + "/ca.pem").c_str(), 1);
    EXPECT_EQ(connect_to(wire, "localhost", "Standard=Yes"), "");
    unsetenv("SSL_CERT_FILE");
}

// Session tickets come between the replies, and in front of the first one.
TEST(tls_versions, sessions_of_1_3)
{
    for (const std::string more : {"", ";ReadTimeout=5000", ";LOGGING=16;LOGFILE=/dev/null"}) {
        const node_tls tls = tls_of(make_certificate({}), 0x0304);
        const wire_ptr wire = wire_logged_on(
            {}, "Standard=Yes;PageSize=100;Encrypt=yes;TrustServerCertificate=yes" + more, &tls);
        for (int i = 0; i < 3; i++) {
            const row_list cells(300, std::string(200, static_cast<char>('a' + i)));
            expect_query(wire->node, "q", {text_page(cells)});
            EXPECT_STMT(SQL_SUCCESS, wire->stmt, exec(wire->stmt, "q"));
            EXPECT_TRUE(fetch_all(wire->stmt) == cells);
            SQLFreeStmt(wire->stmt, SQL_CLOSE);
        }
    }
}
