// TLS as an application meets it: certificates, the names on them and the settings that judge them,
// files that do not load, bundles with a client's certificate, and sessions that come and go.
#include <unistd.h>

#include <csignal>
#include <filesystem>

#include "tests/bundle_file.h"
#include "tests/wire/wire_support.h"

static const std::string no_connection = "08001 Client unable to establish connection: ";
static const std::string ssl_error = no_connection + "SSL error";
static const std::string no_issuer = "unable to get local issuer certificate";

static node_tls tls_of(const certificate &server, const std::string &behind = {})
{
    return {.chain = server.pem + behind, .key = key_pem(server.key)};
}

// One attempt over TLS with its records, empty when it gave a session; of OpenSSL's own ones only
// the beginning, as its words differ from release to release. Nothing is sent to a server that is
// refused.
static record_list attempt(const wire_ptr &wire, const std::string &settings,
                           const std::string &host = "127.0.0.1")
{
    int requests = 0;
    node_answer_rest(wire->node, [&](const node_request &request) {
        requests++;
        return std::vector{stock_answer(request)};
    });
    const std::string port = std::to_string(node_port(wire->node));
    const SQLRETURN code =
        wire_driver_connect(wire->conn, "Encrypt=yes;SERVER=" + host + ":" + port + ";" + settings);
    record_list list = conn_records(wire->conn);
    for (std::string &record : list)
        if (record.starts_with(ssl_error + " 'error:"))
            record = ssl_error;
    EXPECT_EQ(code, list.empty() ? SQL_SUCCESS : SQL_ERROR);
    EXPECT_EQ(code == SQL_SUCCESS, requests > 0);
    SQLDisconnect(wire->conn);
    node_answer_rest(wire->node, {});
    return list;
}

// ---- The server's certificate ------------------------------------------------------------------

TEST(tls_certificate, is_judged_by_its_faults_and_the_trust_setting)
{
    const certificate ca = make_ca();
    const certificate good = make_certificate({}, &ca), false_ca = make_ca("test CA", KEY_TWO);
    const certificate by_leaf = make_certificate({.subject = "leaf"}, &good);
    const certificate expired = make_certificate({.first_day = -9, .last_day = -2}, &ca);
    const struct {
        node_tls server;
        bool anchored;
        std::string fault;  // empty: none
        bool forgiven = true;
    } cases[] = {
        {tls_of(good), true, ""},
        {tls_of(good, ca.pem), false, no_issuer},
        {tls_of(make_certificate({})), true, "self signed certificate"},
        {tls_of(expired), true, "certificate has expired"},
        {tls_of(make_certificate({}, &false_ca)), true, "certificate signature failure"},
        {tls_of(by_leaf, good.pem), true, "invalid CA certificate"},
        {tls_of(make_certificate({.key = KEY_SMALL}, &ca)), true,
         "SSL connection failed, verify cert returned 66", false},
    };
    const file_folder folder;
    const std::string file = folder.add("ca.pem", ca.pem), log = folder.path + "/log";
    const auto open_files = [] {
        return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
    };
    const auto before = open_files();
    for (const auto &c : cases) {
        SCOPED_TRACE(c.fault);
        const std::string settings =
            "Logging=yes;LogFile=" + log + (c.anchored ? ";CertificateFile=" + file : "");
        const wire_ptr wire = wire_open();
        node_use_tls(wire->node, c.server);
        const record_list refusal = {no_connection + (c.forgiven ? "SSL Provider: " : "") +
                                     c.fault};
        EXPECT_EQ(attempt(wire, settings), c.fault.empty() ? record_list() : refusal);
        EXPECT_EQ(attempt(wire, settings + ";TrustServerCertificate=yes"),
                  c.forgiven ? record_list() : refusal);
        EXPECT_EQ(file_content(log).find("Connection was encrypted but " + c.fault + "\n") !=
                      std::string::npos,
                  !c.fault.empty() && c.forgiven);
    }
    EXPECT_EQ(open_files(), before);
    EXPECT_NE(file_content(log).find("SSL using cypher 'ECDHE-RSA-AES256-GCM-SHA384"),
              std::string::npos);
}

// By default they stay with the environment; with Standard=Yes they are the connection's own.
TEST(tls_certificate, anchors_come_from_file_or_folder)
{
    const certificate ca = make_ca();
    const file_folder folder;
    const std::string file = folder.add("J\xC3\xB6rg.pem", ca.pem);
    const std::string hashed = folder.path + "/hashed";
    std::filesystem::create_directory(hashed);
    folder.add("hashed/" + ca.hashed_name, ca.pem);
    const record_list unknown = {no_connection + "SSL Provider: " + no_issuer};
    for (const std::string &source : {file, hashed}) {
        const wire_ptr wire = wire_open();
        node_use_tls(wire->node, tls_of(make_certificate({.names = "IP:127.0.0.1"}, &ca)));
        // No such file, an empty one, and a key under a passphrase.
        const std::string none = folder.path + "/none.pem", empty = folder.add("empty.pem", ""),
                          locked = folder.add("locked.key", key_pem(KEY_ONE, "secret"));
        for (const auto &[key, what, bad] : {std::tuple("Certificate", "Certificate", none),
                                             {"Certificate", "Certificate", empty},
                                             {"PublicKey", "Public Key", none},
                                             {"PrivateKey", "Private Key", locked}})
            EXPECT_EQ(attempt(wire, key + ("File=" + bad) + ";PublicKeyFile=" + file).front(),
                      no_connection + "Loading " + what + " file '" + bad + "' failed");
        EXPECT_EQ(attempt(wire, "Entropy=%s").front(),
                  no_connection + "Loading entropy from '%s' failed");
        // A folder without the certificate is no fault of itself.
        EXPECT_EQ(attempt(wire, "CertificateFile=" + folder.path), unknown);
        EXPECT_EQ(attempt(wire, "Standard=Yes;CertificateFile=" + source), record_list());
        EXPECT_NE(attempt(wire, "Standard=Yes"), record_list());
        EXPECT_EQ(attempt(wire, ""), unknown);
        EXPECT_EQ(attempt(wire, "CertificateFile=" + source), record_list());
        // By default it is asked for by the text of the setting.
        EXPECT_EQ(node_tls_names(wire->node).back(), node_address(wire->node));
        EXPECT_EQ(attempt(wire, ""), record_list());
        setenv("SSL_CERT_FILE", file.c_str(), 1);
        EXPECT_EQ(attempt(wire, "Standard=Yes"), record_list());
        unsetenv("SSL_CERT_FILE");
    }
}

TEST(tls_certificate, is_made_out_to_the_host)
{
    const certificate ca = make_ca();
    const file_folder folder;
    const std::string trust = "CertificateFile=" + folder.add("ca.pem", ca.pem) + ";";
    const struct {
        const char *subject, *names, *host, *settings;
        const char *told;  // the names on the certificate; null: it is good
    } cases[] = {
        {"x", "DNS:localhost", "localhost", "Standard=Yes", nullptr},
        {"localhost", nullptr, "localhost", "Standard=Yes", nullptr},
        {"localhost", "DNS:a,IP:::1,DNS:b", "localhost", "Standard=Yes", "'a, ::1, b'"},
        {"x", "DNS:*host", "localhost", "Standard=Yes", "'*host'"},
        {"x\ny", nullptr, "localhost", "Standard=Yes", "'x?y'"},
        {"x", nullptr, "localhost", "Standard=Yes;VerifyHost=No", nullptr},
        {"x", nullptr, "localhost", "Standard=Yes;TrustServerCertificate=Yes", nullptr},
        {"x", nullptr, "localhost", "Standard=Yes;TrustServerCertificate=Yes;VerifyHost=on", "'x'"},
        {"x", nullptr, "127.0.0.1", "", nullptr},
        {"x", nullptr, "127.0.0.1", "VerifyHost=required", "'x'"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(&c - cases);
        const wire_ptr wire = wire_open();
        node_use_tls(wire->node,
                     tls_of(make_certificate({.subject = c.subject, .names = c.names}, &ca)));
        const record_list list = attempt(wire, trust + c.settings, c.host);
        ASSERT_EQ(list.empty(), c.told == nullptr);
        if (c.told != nullptr) {
            EXPECT_NE(list.back().find("certificate is not made out to '" + std::string(c.host) +
                                       "', but to " + c.told),
                      std::string::npos);
        }
    }
}

// ---- Bundles -----------------------------------------------------------------------------------

// A hosted database as its bundle describes it: the server answers as its metadata service, and on
// the same port as its node. One member of the bundle may be another. Anchors stay with the
// environment.
TEST(tls_bundle, leads_to_the_node_or_says_why_not)
{
    const certificate ca = make_ca();
    const std::string client = make_certificate({.subject = "client", .key = KEY_TWO}, &ca).pem;
    const file_folder folder;
    const wire_ptr wire = wire_open();
    const auto by_bundle = [&](const std::string &json, const std::string &name = {},
                               const std::string &content = {}, const std::string &more = {}) {
        node_tls server = tls_of(make_certificate({.names = "IP:127.0.0.2"}, &ca));
        server.client_issuers = ca.pem;
        if (!json.empty())
            server.http = "HTTP/1.1 200 OK\r\nContent-Length: " + std::to_string(json.size()) +
                          "\r\n\r\n" + json;
        node_use_tls(wire->node, server);
        zip_members members =
            hosted_bundle(node_port(wire->node), ca.pem, client, key_pem(KEY_TWO));
        for (auto &member : members)
            if (member.first == name)
                member.second = content;
        const std::string path = folder.path + "/bundle.zip";
        write_bundle(path, members);
        const record_list list = attempt(wire, "UID=u;PWD=p:w;PORT=1;BUNDLE=" + path + more);
        return list.empty() ? "" : list.front();
    };
    const std::string data = no_connection + "Loading Certificate data failed";
    const std::string failed = no_connection + "SSL connection failed";
    const std::string trust = ";TrustServerCertificate=yes";
    const std::vector<std::string> cases[] = {
        {"ca", make_ca("other CA").pem, no_connection + "SSL Provider: " + no_issuer},
        {"", "", general_error + "Failed in Astra connection code: 0"},
        {"cert", key_pem(KEY_TWO), data},
        {"key", key_pem(KEY_TWO, "secret"), data},
        {"key", key_pem(KEY_ONE), failed},
        {"cert", "", failed},
    };
    // Another name on the certificate: nothing is asked of it.
    EXPECT_NE(by_bundle("{}", "", "", ";Standard=Yes"), "");
    EXPECT_EQ(node_http_request(wire->node), "");
    for (const auto &c : cases)
        EXPECT_EQ(by_bundle("", c[0], c[1], trust), c[2]) << c[0];
    for (const std::string points : {R"("node-1", "node-2")", ""}) {
        EXPECT_EQ(by_bundle(R"({"contact_info": {"contact_points": [)" + points + "]}}"), "");
        EXPECT_EQ(node_http_request(wire->node),
                  "GET /metadata HTTP/1.1\nHost: 127.0.0.1\nAccept: application/json\n"
                  "Authorization: Basic dTpwOnc=\n\n");
        EXPECT_EQ(node_tls_names(wire->node).back(), points.empty() ? "127.0.0.1" : "node-1");
    }
    // The client's certificate goes with its bundle.
    EXPECT_EQ(attempt(wire, "TrustServerCertificate=yes").front(), failed);
}

// ---- Sessions ----------------------------------------------------------------------------------

// By default 1.2 alone. Session tickets of 1.3 come between the replies, and in front of the first.
TEST(tls_session, versions)
{
    const wire_ptr refused = wire_open();
    for (const int version : {0x0302, 0x0304}) {
        node_tls server = tls_of(make_certificate({}));
        server.version = version;
        node_use_tls(refused->node, server);
        EXPECT_EQ(attempt(refused, "TrustServerCertificate=yes"),
                  (record_list{no_connection + "SSL connection failed", ssl_error}));
    }
    for (const std::string more : {"", "ReadTimeout=5000", "LOGGING=16;LOGFILE=/dev/null"}) {
        const wire_ptr wire = wire_by_tls("Standard=Yes;PageSize=100;" + more, 0x0304);
        for (const char letter : {'a', 'b', 'c'}) {
            const row_list cells(300, std::string(200, letter));
            run_query(wire, "q", text_page(cells));
            EXPECT_TRUE(fetch_all(wire->stmt) == cells);
            SQLFreeStmt(wire->stmt, SQL_CLOSE);
        }
    }
}

// The end of the stream, in order or not, and then requests into nothing: they must not end the
// process, of TLS or plain.
TEST(tls_session, ends_are_told_and_raise_no_signal)
{
    const std::string failed = link_failure + "read failed";
    const std::tuple<bool, node_ending, record_list> cases[] = {
        {true, CLOSE, {}},
        {true, RESET, {failed}},
        {false, CLOSE, {failed + " (peer shutdown)"}},
        {false, RESET, {failed + " 104 Connection reset by peer"}},
    };
    for (const auto &[tls, ending, told] : cases) {
        const wire_ptr wire = tls ? wire_by_tls("") : wire_logged_on();
        run_query(wire, "q", no_answer(ending), SQL_ERROR);
        EXPECT_EQ(stmt_records(wire->stmt), record_list{link_failure + "failed to return packet"});
        EXPECT_EQ(conn_records(wire->conn), told);
        EXPECT_EQ(std::signal(SIGPIPE, SIG_DFL), SIG_DFL);
        // The server may take its time to close.
        const record_list unsent = {link_failure + "failed to send packet"};
        for (int i = 0; i < 2000 && stmt_records(wire->stmt) != unsent; i++) {
            usleep(1000);
            EXPECT_STMT(SQL_ERROR, wire->stmt, exec(wire->stmt, "q"));
        }
        EXPECT_EQ(stmt_records(wire->stmt), unsent);
        // One of the application's own stays with it.
        sigset_t set, before;
        sigemptyset(&set);
        sigaddset(&set, SIGPIPE);
        pthread_sigmask(SIG_BLOCK, &set, &before);
        raise(SIGPIPE);
        exec(wire->stmt, "q");
        const timespec at_once = {};
        EXPECT_EQ(sigtimedwait(&set, nullptr, &at_once), SIGPIPE);
        pthread_sigmask(SIG_SETMASK, &before, nullptr);
    }
}
