// vhcass-check, a program of its own, against a scripted server: what comes of each step.
#include <jansson.h>
#include <sys/wait.h>

#include <chrono>

#include "tests/bundle_file.h"
#include "tests/wire/wire_support.h"

struct program_end {
    int code;
    std::string output;
};

static program_end run_check(const std::string &arguments)
{
    const file_folder folder;
    const std::string file = folder.path + "/output";
    const int status = std::system((VHCASS_CHECK " " + arguments + " >" + file + " 2>&1").c_str());
    return {WEXITSTATUS(status), file_content(file)};
}

// "name outcome" of each step; "" of what is no JSON.
static std::string steps_of(const std::string &output)
{
    const std::unique_ptr<json_t, decltype(&json_decref)> root(
        json_loads(output.c_str(), 0, nullptr), json_decref);
    std::string all;
    std::size_t i;
    json_t *step;
    json_array_foreach(json_object_get(root.get(), "steps"), i, step) all +=
        std::string(i > 0 ? ", " : "") + json_string_value(json_object_get(step, "step")) + " " +
        json_string_value(json_object_get(step, "outcome"));
    return all;
}

// A server that takes any user but "bad", knows the keyspace "ks", and whose clock is so much
// ahead.
static node_frame answer(const node_request &request, int seconds_ahead)
{
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    const auto clock = std::chrono::duration_cast<std::chrono::milliseconds>(now).count();
    if (request.opcode == NODE_STARTUP)
        return authenticate_frame();
    if (request.opcode == NODE_AUTH_RESPONSE)
        return request.body.find("bad") == bytes::npos ? auth_success_frame()
                                                       : error_frame(0x100, "wrong\x1B[2Jlogin");
    if (request.opcode != NODE_QUERY)
        return stock_answer(request);
    if (request.body.find("USE") != bytes::npos)
        return request.body.find("\"ks\"") != bytes::npos
                   ? set_keyspace_frame("ks")
                   : error_frame(0x2200, "Keyspace 'x' does not exist");
    node_columns columns(5, {"a", type_of(NODE_VARCHAR)});
    columns.push_back({"b", type_of(NODE_BIGINT)});
    return rows_frame(columns, {{"5.0.0", "3.4.7", "c", "dc1", "r1",
                                 be64(static_cast<std::uint64_t>(clock + seconds_ahead * 1000))}});
}

TEST(check, tells_each_step_of_a_connection)
{
    const certificate ca = make_ca();
    const certificate server = make_certificate({.names = "DNS:other"}, &ca);
    const file_folder folder;
    const std::string trust = " Encrypt=Yes CertificateFile=" + folder.add("ca.pem", ca.pem);
    const std::string reached = "settings ok, name ok, TCP ok, protocol ok, ";
    const std::string shaken = "settings ok, certificates ok, name ok, TCP ok, TLS ok, ";
    const std::string all = "session ok, authentication ok, keyspace ok, query ok, clock ";
    const struct {
        std::string server, settings;
        int ahead;  // seconds, of the server's clock
        int code;
        std::string steps;
        const char *told;
    } cases[] = {
        {"", "", 0, 0, reached + all + "ok", "Cassandra 5.0.0, CQL 3.4.7"},
        {"", "Keyspace=ks", 90, 0, reached + all + "warning", "NTP"},
        {"", "'PWD=x;hidden=1'", 0, 0, "settings warning" + reached.substr(11) + all + "ok",
         "the password's semicolon"},
        {"127.0.0.1:1", "", 0, 1, "settings ok, name ok, TCP failed, session failed", "refused"},
        {"127.0.0.1:1,", "", 0, 0,
         "settings ok, name ok, TCP warning, name ok, TCP ok, protocol ok, " + all + "ok",
         "refused"},
        {"", "User=bad", 0, 1, reached + "authentication failed", "wrong?[2Jlogin"},
        {"", "Keyspace=x", 0, 1, reached + "keyspace failed", "does not exist"},
        {"", "Port=x", 0, 1, "settings failed", "the value"},
        {"", trust, 0, 1, shaken + "certificate ok, host name failed, session failed", "'other'"},
        {"", trust + " VerifyHost=No", 0, 0,
         shaken + "certificate ok, host name warning, protocol ok, " + all + "ok", "days left"},
        // A key of another certificate, which no server sees; the service takes the session.
        {"", "VerifyHost=No BUNDLE=" + folder.path + "/b.zip", 0, 0,
         "settings ok, bundle ok, certificates warning" + shaken.substr(28) +
             "certificate ok, host name warning, " + all + "ok",
         "the key does not belong"},
        {"", "Encrypt=Yes", 0, 1, shaken + "certificate failed, host name failed, session failed",
         "Set CertificateFile"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.server + c.settings);
        const node_ptr node = node_start();
        const bool by_bundle = c.settings.find("BUNDLE") != std::string::npos;
        if (by_bundle || c.settings.find("Encrypt") != std::string::npos)
            node_use_tls(node.get(), {.chain = server.pem,
                                      .key = key_pem(server.key),
                                      .http = "HTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\n{}"});
        write_bundle(folder.path + "/b.zip",
                     hosted_bundle(node_port(node.get()), ca.pem, make_certificate({}, &ca).pem,
                                   key_pem(KEY_TWO)));
        node_answer_rest(node.get(), [&](const node_request &request) {
            return std::vector{answer(request, c.ahead)};
        });
        std::string servers = c.server;
        if (servers.empty() || servers.ends_with(","))
            servers += node_address(node.get());
        const std::string arguments = "--timeout 5 Standard=Yes " +
                                      (by_bundle ? "" : "Server=" + servers) + " " + c.settings +
                                      " User=u Password=hidden";
        for (const std::string form : {"--json ", ""}) {
            const program_end end = run_check(form + arguments);
            EXPECT_EQ(end.code, c.code) << end.output;
            EXPECT_EQ(steps_of(end.output), form.empty() ? "" : c.steps) << end.output;
            EXPECT_NE(end.output.find(c.told), std::string::npos) << end.output;
            EXPECT_EQ(end.output.find("hidden"), std::string::npos);
        }
        EXPECT_EQ(node_finish(node.get()), "");
    }
    for (const char *arguments : {"", "--timeout 0 a", "a b", "a Server=b", "--unknown"})
        EXPECT_EQ(run_check(arguments).code, 2) << arguments;
}
