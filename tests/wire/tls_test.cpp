// TLS as an application meets it: certificates and the settings that judge them, a client's own
// certificate, what is told when a handshake fails, and sessions that come, carry much and go.
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <thread>

#include "tests/bundle_file.h"
#include "tests/node/certificates.h"
#include "tests/wire/wire_support.h"

static const std::string no_connection = "08001 Client unable to establish connection: ";
static const std::string ssl_error = no_connection + "SSL error";

static node_tls tls_of(const certificate &server, const std::string &behind = {})
{
    return {.chain = server.pem + behind, .key = key_pem(server.key)};
}

// Records, of OpenSSL's own ones only the beginning: its words differ from release to release. Its
// code in them is their native error, that of all others is 0.
static record_list tls_records(SQLHDBC conn)
{
    record_list list = conn_records(conn);
    for (std::size_t i = 0; i < list.size(); i++) {
        SQLINTEGER native = -1;
        SQLGetDiagField(SQL_HANDLE_DBC, conn, static_cast<SQLSMALLINT>(i + 1), SQL_DIAG_NATIVE,
                        &native, 0, nullptr);
        const std::string told = ssl_error + " 'error:";
        SQLINTEGER wanted = 0;
        if (list[i].starts_with(told)) {
            wanted = SQLINTEGER(std::stoul(list[i].substr(told.size(), 8), nullptr, 16));
            list[i] = ssl_error;
        }
        EXPECT_EQ(native, wanted) << list[i];
    }
    return list;
}

// One attempt over TLS with its records, empty when it gave a session that answers.
static record_list attempt(const wire_ptr &wire, const std::string &settings)
{
    node_answer_rest(
        wire->node, [](const node_request &request) { return std::vector{stock_answer(request)}; });
    const SQLRETURN code = wire_connect(wire, "Encrypt=yes;" + settings);
    const record_list list = tls_records(wire->conn);
    EXPECT_EQ(code, list.empty() ? SQL_SUCCESS : SQL_ERROR);
    if (code == SQL_SUCCESS) {
        const SQLHSTMT stmt = wire_new_stmt(wire);
        EXPECT_STMT(SQL_SUCCESS, stmt, exec(stmt, "q"));
        SQLDisconnect(wire->conn);
        SQLFreeHandle(SQL_HANDLE_STMT, stmt);
    }
    return list;
}

// ---- The server's certificate ------------------------------------------------------------------

TEST(tls_certificate, is_judged_by_its_faults_and_the_trust_setting)
{
    const certificate ca = make_ca();
    const certificate false_ca = make_ca("test CA", KEY_TWO);
    const certificate good = make_certificate({}, &ca);
    const auto by_ca = [&](const certificate_options &options) {
        return tls_of(make_certificate(options, &ca));
    };
    const char *no_issuer = "unable to get local issuer certificate";
    const struct {
        const char *what;
        node_tls server;
        std::string anchors;
        std::string fault;  // empty: none
        bool forgiven = true;
    } cases[] = {
        // clang-format off
        {"good", tls_of(good), ca.pem, ""},
        {"no anchor, its CA sent along", tls_of(good, ca.pem), "", no_issuer},
        {"self-signed", tls_of(make_certificate({})), ca.pem, "self signed certificate"},
        {"expired", by_ca({.first_day = -9, .last_day = -2}), ca.pem, "certificate has expired"},
        {"signed by another key", tls_of(make_certificate({}, &false_ca)), ca.pem,
         "certificate signature failure"},
        {"issuer is no CA", tls_of(make_certificate({.subject = "leaf"}, &good), good.pem), ca.pem,
         "invalid CA certificate"},
        {"small key", by_ca({.key = KEY_SMALL}), ca.pem,
         "SSL connection failed, verify cert returned 66", false},
        // clang-format on
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.what);
        const file_folder folder;
        const std::string log = folder.path + "/log";
        const std::string settings =
            "Logging=yes;LogFile=" + log +
            (c.anchors.empty() ? "" : ";CertificateFile=" + folder.add("ca.pem", c.anchors));
        const wire_ptr wire = wire_open();
        node_use_tls(wire->node, c.server);
        const record_list refusal = {no_connection + (c.forgiven ? "SSL Provider: " : "") +
                                     c.fault};
        EXPECT_EQ(attempt(wire, settings), c.fault.empty() ? record_list() : refusal);
        EXPECT_EQ(attempt(wire, settings + ";TrustServerCertificate=yes"),
                  c.forgiven ? record_list() : refusal);
        const std::string logged = file_content(log);
        const auto tells = [&](const std::string &text) {
            return logged.find(text) < logged.size();
        };
        EXPECT_EQ(tells("SSL using cypher 'ECDHE-RSA-AES256-GCM-SHA384"), c.forgiven);
        EXPECT_EQ(tells("Connection was encrypted but " + c.fault + "\n"),
                  !c.fault.empty() && c.forgiven);
    }
}

TEST(tls_certificate, anchors_come_from_file_or_folder_and_stay_with_the_environment)
{
    const certificate ca = make_ca();
    const file_folder folder;
    const std::string file = folder.add("J\xC3\xB6rg.pem", ca.pem);
    const std::string hashed = folder.path + "/hashed";
    std::filesystem::create_directory(hashed);
    folder.add("hashed/" + ca.hashed_name, ca.pem);
    const std::string empty = folder.add("empty.pem", "");
    const record_list unknown = {no_connection +
                                 "SSL Provider: unable to get local issuer certificate"};
    for (const std::string &source : {file, hashed}) {
        const wire_ptr wire = wire_open();
        node_use_tls(wire->node, tls_of(make_certificate({}, &ca)));
        for (const std::string &bad : {folder.path + "/none.pem", empty})
            EXPECT_EQ(attempt(wire, "CertificateFile=" + bad).front(),
                      no_connection + "Loading Certificate file '" + bad + "' failed");
        // A folder without the certificate is no fault of itself.
        EXPECT_EQ(attempt(wire, "CertificateFile=" + folder.path), unknown);
        EXPECT_EQ(attempt(wire, ""), unknown);
        EXPECT_EQ(attempt(wire, "CertificateFile=" + source), record_list());
        EXPECT_EQ(attempt(wire, "CertificateFile=" + source), record_list());
        EXPECT_EQ(attempt(wire, ""), record_list());
    }
}

TEST(tls_certificate, server_is_asked_for_by_the_server_text)
{
    const wire_ptr wire = wire_open();
    node_use_tls(wire->node, tls_of(make_certificate({})));
    const std::string address = node_address(wire->node);
    EXPECT_EQ(attempt(wire, "TrustServerCertificate=yes"), record_list());
    EXPECT_EQ(node_tls_names(wire->node), std::vector<bytes>{address});
    // What stands behind the port's digits is no harm to the port, but too much for a name.
    EXPECT_CONN(SQL_ERROR, wire->conn,
                wire_driver_connect(wire->conn, "Encrypt=yes;SERVER=" + address +
                                                    std::string(256 - address.size(), 'x')));
    EXPECT_EQ(tls_records(wire->conn).front(), no_connection + "Setting server name failed");
}

// ---- The client's certificate ------------------------------------------------------------------

TEST(tls_client, certificate_and_key_are_shown_to_a_server_that_demands_them)
{
    const certificate ca = make_ca();
    const certificate client = make_certificate({.subject = "client", .key = KEY_TWO}, &ca);
    const file_folder folder;
    const std::string pem = folder.add("client.pem", client.pem);
    const std::string key = folder.add("client.key", key_pem(KEY_TWO));
    const std::string other = folder.add("other.key", key_pem(KEY_ONE));
    const std::string locked = folder.add("locked.key", key_pem(KEY_TWO, "secret"));
    const std::string none = folder.path + "/none";
    const record_list refused = {no_connection + "SSL connection failed", ssl_error};
    const auto failed = [](const std::string &what, const std::string &path) {
        return record_list{no_connection + "Loading " + what + " file '" + path + "' failed",
                           ssl_error};
    };
    const struct {
        std::string settings;
        record_list records;
    } cases[] = {
        {";PublicKeyFile=" + pem + ";PrivateKeyFile=" + key, {}},
        {"", refused},
        {";PublicKeyFile=" + pem, refused},
        {";PrivateKeyFile=" + key, refused},
        {";PublicKeyFile=" + pem + ";PrivateKeyFile=" + other, refused},
        {";PublicKeyFile=" + pem + ";PrivateKeyFile=" + locked, failed("Private Key", locked)},
        {";PublicKeyFile=" + none + ";PrivateKeyFile=" + key, failed("Public Key", none)},
        {";PublicKeyFile=" + key + ";PrivateKeyFile=" + key, failed("Public Key", key)},
    };
    const wire_ptr wire = wire_open();
    node_tls server = tls_of(make_certificate({}, &ca));
    server.client_issuers = ca.pem;
    node_use_tls(wire->node, server);
    for (const auto &c : cases) {
        record_list list = attempt(wire, "TrustServerCertificate=yes" + c.settings);
        // OpenSSL may have more than one thing to say.
        list.erase(std::unique(list.begin(), list.end()), list.end());
        EXPECT_EQ(list, c.records) << c.settings;
    }
}

// ---- Bundles -----------------------------------------------------------------------------------

// A hosted database as its bundle describes it: the server answers as its metadata service, and on
// the same port as its node. One member of the bundle may be another.
struct hosted : ::testing::Test {
    const certificate ca = make_ca();
    const file_folder folder;
    const wire_ptr wire = wire_open();

    record_list attempt_by_bundle(const std::string &reply, const std::string &name = {},
                                  const std::string &content = {})
    {
        node_tls server = tls_of(make_certificate({}, &ca));
        server.client_issuers = ca.pem;
        server.http = reply;
        node_use_tls(wire->node, server);
        zip_members members = hosted_bundle(
            node_port(wire->node), ca.pem,
            make_certificate({.subject = "client", .key = KEY_TWO}, &ca).pem, key_pem(KEY_TWO));
        for (auto &member : members)
            if (member.first == name)
                member.second = content;
        const std::string path = folder.path + "/bundle.zip";
        write_bundle(path, members);
        return attempt(wire, "UID=u;PWD=p:w;PORT=1;TrustServerCertificate=yes;BUNDLE=" + path);
    }
};

TEST_F(hosted, bundle_leads_to_the_node_by_the_name_of_its_first_contact_point)
{
    for (const std::string points : {R"("node-1", "node-2")", ""}) {
        const std::string json = R"({"contact_info": {"contact_points": [)" + points + "]}}";
        EXPECT_EQ(attempt_by_bundle("HTTP/1.1 200 OK\r\nContent-Length: " +
                                    std::to_string(json.size()) + "\r\n\r\n" + json),
                  record_list());
        EXPECT_EQ(node_http_request(wire->node),
                  "GET /metadata HTTP/1.1\nHost: 127.0.0.1\nAccept: application/json\n"
                  "Authorization: Basic dTpwOnc=\n\n");
        EXPECT_EQ(node_tls_names(wire->node).back(), points.empty() ? "127.0.0.1" : "node-1");
    }
}

TEST_F(hosted, bundle_that_leads_nowhere_says_why_before_a_session_begins)
{
    const std::string data = no_connection + "Loading Certificate data failed";
    const std::string failed = no_connection + "SSL connection failed";
    // One member's content, and what comes of it. Anchors stay with the environment.
    const std::vector<std::string> cases[] = {
        {"ca", make_ca("other CA").pem,
         no_connection + "SSL Provider: unable to get local issuer certificate"},
        {"ca", "none", data},
        {"", "", general_error + "Failed in Astra connection code: 0"},
        {"cert", key_pem(KEY_TWO), data},
        {"key", key_pem(KEY_TWO, "secret"), data},
        {"key", key_pem(KEY_ONE), failed},
        {"cert", "", failed},
    };
    for (const auto &c : cases)
        EXPECT_EQ(attempt_by_bundle("", c[0], c[1]).front(), c[2]) << c[0];
}

// ---- Handshakes that come to nothing -----------------------------------------------------------

TEST(tls_handshake, other_versions_are_refused)
{
    const wire_ptr wire = wire_open();
    for (const int version : {0x0302, 0x0304}) {
        node_tls server = tls_of(make_certificate({}));
        server.version = version;
        node_use_tls(wire->node, server);
        EXPECT_EQ(attempt(wire, "TrustServerCertificate=yes"),
                  (record_list{no_connection + "SSL connection failed", ssl_error}));
    }
}

// ---- Sessions ----------------------------------------------------------------------------------

static wire_ptr logged_on_by_tls(const std::string &more = "")
{
    const node_tls tls = tls_of(make_certificate({}));
    return wire_logged_on({}, "Encrypt=yes;TrustServerCertificate=yes;" + more, &tls);
}

// A time-out and SQLCancel end a request whose reply has come in part, and the session goes on.
TEST(tls_session, requests_that_end_early)
{
    const wire_ptr wire = logged_on_by_tls("Standard=Yes;PageSize=100;ReadTimeout=300");
    for (const bool cancelled : {false, true}) {
        node_frame late = text_page({bytes(40'000, 'x')});
        late.stream = cancelled;
        late.cut = 30'000;
        expect_query(wire->node, "late", {late});
        const std::jthread other([&] {
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
            if (cancelled)
                SQLCancel(wire->stmt);
        });
        EXPECT_EQ(exec(wire->stmt, "late"), SQL_ERROR);
        EXPECT_EQ(stmt_records(wire->stmt).at(0).substr(0, 5), cancelled ? "HY008" : "HYT00");
        node_expect_stream(wire->node, cancelled + 1);
        late.cut.reset();
        late.skip = 30'000;
        expect_query(wire->node, "q", {late, text_page({"mine"})});
        EXPECT_STMT(SQL_SUCCESS, wire->stmt, exec(wire->stmt, "q"));
        EXPECT_EQ(fetch_all(wire->stmt), row_list{"mine"});
        SQLFreeStmt(wire->stmt, SQL_CLOSE);
    }
}

TEST(tls_session, carries_megabytes_both_ways)
{
    const wire_ptr wire = logged_on_by_tls();
    const std::string blob = to_hex(pattern(3'000'000));
    node_frame frame = rows_frame({{"b", type_of(NODE_VARCHAR)}}, {{blob}});
    run_query(wire, "insert " + blob, void_frame());
    run_query(wire, "select b from t", frame);
    EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLFetch(wire->stmt));
    std::string got(blob.size() + 1, '\0');
    SQLLEN length = 0;
    EXPECT_STMT(SQL_SUCCESS, wire->stmt,
                SQLGetData(wire->stmt, 1, SQL_C_CHAR, got.data(), SQLLEN(got.size()), &length));
    got.pop_back();
    EXPECT_TRUE(got == blob);
    SQLCloseCursor(wire->stmt);
    // In records of one byte.
    frame = rows_frame({{"b", type_of(NODE_VARCHAR)}}, {{"slow"}, {"row"}});
    frame.slowly = true;
    run_query(wire, "slow", frame);
    EXPECT_EQ(fetch_all(wire->stmt), (row_list{"slow", "row"}));
}

// The end of the stream, in order or not, and then requests into nothing: they must not end the
// process, of TLS or plain.
TEST(tls_session, ends_are_told_and_raise_no_signal)
{
    const record_list no_reply = {link_failure + "failed to return packet"};
    const record_list unsent = {link_failure + "failed to send packet"};
    const std::string failed = link_failure + "read failed";
    const std::tuple<bool, node_ending, record_list> cases[] = {
        {true, CLOSE, {}},
        {true, RESET, {failed}},
        {false, CLOSE, {failed + " (peer shutdown)"}},
        {false, RESET, {failed + " 104 Connection reset by peer"}},
    };
    for (const auto &[tls, ending, told] : cases) {
        const wire_ptr wire = tls ? logged_on_by_tls() : wire_logged_on();
        run_query(wire, "q", no_answer(ending), SQL_ERROR);
        EXPECT_EQ(stmt_records(wire->stmt), no_reply);
        EXPECT_EQ(conn_records(wire->conn), told);
        EXPECT_EQ(std::signal(SIGPIPE, SIG_DFL), SIG_DFL);
        // The server may take its time to close.
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

TEST(tls_session, leaves_no_descriptor_open)
{
    const auto open_files = [] {
        return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
    };
    const wire_ptr wire = wire_open();
    node_use_tls(wire->node, tls_of(make_certificate({})));
    EXPECT_EQ(attempt(wire, "TrustServerCertificate=yes"), record_list());
    const auto before = open_files();
    for (int i = 0; i < 20; i++)
        attempt(wire, i % 2 == 0 ? "TrustServerCertificate=yes" : "");
    EXPECT_LE(open_files(), before + 1);  // one that the server has yet to close
}

// One environment's context serves threads that load anchors and threads that verify.
TEST(tls_session, threads_share_an_environment)
{
    const certificate ca = make_ca();
    const wire_ptr wire = wire_open();
    const file_folder folder;
    const std::string file = folder.add("ca.pem", ca.pem);
    node_use_tls(wire->node, tls_of(make_certificate({}, &ca)));
    ASSERT_EQ(attempt(wire, "CertificateFile=" + file), record_list());
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; t++)
        threads.emplace_back([&, t] {
            SQLHDBC conn = nullptr;
            SQLAllocHandle(SQL_HANDLE_DBC, wire->env, &conn);
            const std::string settings = "Encrypt=yes;SERVER=" + node_address(wire->node) +
                                         ";CertificateFile=" + folder.path;
            for (int i = 0; i < 50; i++) {
                // Another folder by its name each time.
                const std::string ending(static_cast<std::size_t>(50 * t + i), '/');
                EXPECT_CONN(SQL_SUCCESS, conn, wire_driver_connect(conn, settings + ending));
                SQLDisconnect(conn);
            }
            SQLFreeHandle(SQL_HANDLE_DBC, conn);
        });
    for (std::thread &thread : threads)
        thread.join();
}
