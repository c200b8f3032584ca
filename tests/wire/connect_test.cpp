// Reaching a server: lists with dead entries, and what Standard=Yes makes of a connection string on
// its way in, out and into the log.
#include "tests/node/certificates.h"
#include "tests/wire/wire_support.h"

// A port on which nobody listens: it was free a moment ago.
static std::string dead_port()
{
    return std::to_string(node_port(node_start().get()));
}

TEST(servers, first_one_that_answers_is_taken_and_named)
{
    const wire_ptr wire = wire_open();
    const std::string live = std::to_string(node_port(wire->node));
    const std::string dead = dead_port();
    // Settings, and the server of the output string.
    const std::pair<std::string, std::string> cases[] = {
        {"SERVER=127.0.0.1*" + live, "127.0.0.1*" + live},
        {"SERVER=localhost:" + live, "localhost:" + live},
        {"SERVER=127.0.0.1:" + dead + ";LogonTimeout=5000;PORT=" + live, "127.0.0.1:" + dead},
        {"SERVER=127.0.0.1:x,,127.0.0.1:" + dead + ",127.0.0.1:" + live + ",127.0.0.1:1",
         "127.0.0.1:" + live},
    };
    for (const auto &[settings, server] : cases) {
        expect_logon(wire->node);
        std::string out;
        EXPECT_CONN(SQL_SUCCESS, wire->conn, wire_driver_connect(wire->conn, settings, &out));
        EXPECT_EQ(conn_records(wire->conn), record_list());
        EXPECT_NE(out.find("SERVER=" + server + ";"), std::string::npos) << out;
        SQLDisconnect(wire->conn);
    }
}

TEST(servers, only_the_last_failure_of_a_list_is_told)
{
    const std::string refused = "OS Error: 'Connection refused'";
    const std::string no_host = "Failed to find host address '";
    const std::string no_port = "Failed to extract numeric port from '";
    const std::string dead = dead_port();
    const std::pair<std::string, std::string> cases[] = {
        {"127.0.0.1:x,127.0.0.1:" + dead, refused},
        {"127.0.0.1:" + dead + ",127.0.0.1:x", no_port + "x'"},
        {"127.0.0.1:" + dead + ";LogonTimeout=2000", refused},
        {"127.0.0.1*0", no_port + "0'"},
        {"", no_host + "'"},
        {"not a host", no_host + "not a host'"},
        {"127.0.0.1;ipv6=yes", no_host + "127.0.0.1'"},
        {"::1*" + dead + ";ipv6=yes", refused},
    };
    const wire_ptr wire = wire_open();
    for (const auto &[server, failure] : cases) {
        EXPECT_CONN(SQL_ERROR, wire->conn, wire_driver_connect(wire->conn, "SERVER=" + server));
        EXPECT_EQ(conn_records(wire->conn),
                  record_list{"08001 Client unable to establish connection: " + failure});
    }
}

// A server that asks for a password and answers whatever comes.
static wire_ptr asking_wire(bytes *token)
{
    wire_ptr wire = wire_open();
    node_answer_rest(wire->node, [token](const node_request &request) {
        if (request.opcode == NODE_STARTUP)
            return std::vector{authenticate_frame()};
        if (request.opcode != NODE_AUTH_RESPONSE)
            return std::vector{stock_answer(request)};
        *token = request.body;
        return std::vector{node_frame{.opcode = NODE_AUTH_SUCCESS, .body = be32(-1)}};
    });
    return wire;
}

// The output string of an ANSI and of a wide call connects again, with the same password.
TEST(connect_string, comes_back_whole)
{
    static const std::pair<std::string, std::u16string> passwords[] = {
        {"{a;b}}c}", u"{a;b}}c}"},
        {"{ }", u"{ }"},
        {"{a{b}", u"{a{b}"},
        {"{{}", u"{{}"},
        {"\xC3\xA9\xF0\x9F\x98\x80", u"\u00E9\U0001F600"},
    };
    for (const auto &[password, wide_password] : passwords) {
        bytes first, second;
        const wire_ptr wire = asking_wire(&first);
        std::string out;
        const std::string server = node_address(wire->node);
        EXPECT_CONN(SQL_SUCCESS, wire->conn,
                    wire_driver_connect(wire->conn,
                                        "Driver=/a/b;Server=" + replaced(server, ":", ",") +
                                            ",other;User=u;Password=" + password +
                                            ";Standard=Yes;Consistency=two;VerifyHost=No;Port=",
                                        &out));
        EXPECT_EQ(out, "DRIVER={/a/b};SERVER=" + server + ",other;UID=u;PWD=" + password +
                           ";VerifyHost=No;Consistency=TWO;Standard=Yes;");
        SQLDisconnect(wire->conn);
        SQLWCHAR wide[256];
        SQLSMALLINT units = 0;
        EXPECT_CONN(SQL_SUCCESS, wire->conn,
                    SQLDriverConnect(wire->conn, nullptr, odbc_text(out), SQL_NTS, nullptr, 0,
                                     &units, SQL_DRIVER_NOPROMPT));
        EXPECT_EQ(std::size_t(units), out.size());
        std::swap(first, second);
        SQLDisconnect(wire->conn);
        const std::size_t place = out.find(password);
        std::u16string given(out.begin(), out.begin() + std::ptrdiff_t(place));
        given += wide_password;
        given.append(out.begin() + std::ptrdiff_t(place + password.size()), out.end());
        EXPECT_CONN(SQL_SUCCESS, wire->conn,
                    SQLDriverConnectW(wire->conn, nullptr, odbc_wide(given), SQL_NTS, wide, 256,
                                      &units, SQL_DRIVER_NOPROMPT));
        EXPECT_EQ(std::u16string(reinterpret_cast<char16_t *>(wide)), given);
        EXPECT_EQ(first, second);
    }
}

TEST(connect_string, attributes_set_before_it_stay)
{
    for (const bool standard : {false, true}) {
        const wire_ptr wire = wire_open();
        expect_logon(wire->node);
        SQLSetConnectAttr(wire->conn, SQL_ATTR_LOGIN_TIMEOUT, odbc_number(77), 0);
        EXPECT_CONN(SQL_SUCCESS, wire->conn, wire_connect(wire, standard ? "Standard=Yes" : ""));
        SQLUINTEGER seconds = 99;
        SQLGetConnectAttr(wire->conn, SQL_ATTR_LOGIN_TIMEOUT, &seconds, 0, nullptr);
        EXPECT_EQ(seconds, standard ? 77u : 0u);
    }
}

// The second connect finds the handle logging.
TEST(connect_string, passwords_are_logged_by_default_alone)
{
    for (const bool standard : {false, true}) {
        bytes token;
        const file_folder folder;
        const std::string log = folder.path + "/log";
        const wire_ptr wire = asking_wire(&token);
        for (int i = 0; i < 2; i++) {
            EXPECT_CONN(SQL_SUCCESS, wire->conn,
                        wire_connect(wire, "LOGFILE=" + log + ";LOGGING=yes;UID=u;PWD=Qx#;" +
                                               (standard ? "Standard=Yes" : "")));
            SQLDisconnect(wire->conn);
        }
        std::string logged = file_content(log);
        EXPECT_NE(logged.find("SQLDriverConnect: Output string"), std::string::npos);
        EXPECT_EQ(logged.find("PWD=Qx#") == std::string::npos, standard);
        EXPECT_EQ(logged.find("51 78 23") == std::string::npos, standard);
    }
}
