// Reaching a server: lists with dead entries, and what Standard=Yes makes of a connection string on
// its way in, out and into the log.
#include "tests/wire/wire_support.h"

TEST(servers, first_one_that_answers_is_taken_and_of_failures_the_last_is_told)
{
    const wire_ptr wire = wire_open();
    const std::string live = "127.0.0.1:" + std::to_string(node_port(wire->node));
    const std::string dead = "127.0.0.1:" + std::to_string(node_port(node_start().get()));
    const std::string port = live.substr(10), dead_port = dead.substr(10);
    const std::string refused = "OS Error: 'Connection refused'";
    // The server of the output string, or what is told.
    const std::pair<std::string, std::string> cases[] = {
        {"127.0.0.1*" + port, "SERVER=127.0.0.1*" + port + ";"},
        {"localhost:" + port, "SERVER=localhost:" + port + ";"},
        {dead + ";LogonTimeout=5000;PORT=" + port, "SERVER=" + dead + ";"},
        {"127.0.0.1:x,," + dead + "," + live + ",127.0.0.1:1", "SERVER=" + live + ";"},
        {"127.0.0.1:x," + dead, refused},
        {dead + ",127.0.0.1:x", "Failed to extract numeric port from 'x'"},
        {dead + ";LogonTimeout=2000", refused},
        {"not a host", "Failed to find host address 'not a host'"},
        {"127.0.0.1;ipv6=yes", "Failed to find host address '127.0.0.1'"},
        {"::1*" + dead_port + ";ipv6=yes", refused},
    };
    for (const auto &[servers, told] : cases) {
        SCOPED_TRACE(servers);
        const bool good = told.starts_with("SERVER=");
        if (good)
            expect_logon(wire->node);
        std::string out;
        EXPECT_CONN(good ? SQL_SUCCESS : SQL_ERROR, wire->conn,
                    wire_driver_connect(wire->conn, "SERVER=" + servers, &out));
        EXPECT_EQ(out.find(told) != std::string::npos, good) << out;
        EXPECT_EQ(conn_records(wire->conn),
                  good ? record_list()
                       : record_list{"08001 Client unable to establish connection: " + told});
        SQLDisconnect(wire->conn);
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
    bytes first, second;
    const wire_ptr wire = asking_wire(&first);
    const std::string server = node_address(wire->node), password = "{\xC3\xA9;b}}c}";
    const std::string head = "DRIVER={/a/b};SERVER=" + server + ",other;LOGGING=0;UID=u;PWD=";
    const std::string tail = ";VerifyHost=No;Consistency=TWO;Standard=Yes;";
    const std::string settings = "Driver=/a/b;Server=" + replaced(server, ":", ",") +
                                 ",other;User=u;Password=" + password +
                                 ";Standard=Yes;Consistency=two;VerifyHost=No;Logging=no;Port=";
    std::string out;
    EXPECT_CONN(SQL_SUCCESS, wire->conn, wire_driver_connect(wire->conn, settings, &out));
    EXPECT_EQ(out, head + password + tail);
    SQLDisconnect(wire->conn);
    std::swap(first, second);
    const std::u16string given = std::u16string(head.begin(), head.end()) + u"{\u00E9;b}}c}" +
                                 std::u16string(tail.begin(), tail.end());
    char16_t wide[256];
    SQLSMALLINT units = 0;
    EXPECT_CONN(SQL_SUCCESS, wire->conn,
                SQLDriverConnectW(wire->conn, nullptr, odbc_wide(given), SQL_NTS,
                                  reinterpret_cast<SQLWCHAR *>(wide), 256, &units,
                                  SQL_DRIVER_NOPROMPT));
    EXPECT_EQ(std::u16string(wide, static_cast<std::size_t>(units)), given);
    EXPECT_EQ(first, second);
}

// The second connect finds the handle logging.
TEST(connect_string, passwords_are_logged_and_attributes_forgotten_by_default_alone)
{
    for (const bool standard : {false, true}) {
        bytes token;
        const file_folder folder;
        const std::string log = folder.path + "/log";
        const wire_ptr wire = asking_wire(&token);
        for (int i = 0; i < 2; i++) {
            SQLUINTEGER seconds = 99;
            SQLSetConnectAttr(wire->conn, SQL_ATTR_LOGIN_TIMEOUT, odbc_number(77), 0);
            EXPECT_CONN(SQL_SUCCESS, wire->conn,
                        wire_connect(wire, "LOGFILE=" + log + ";LOGGING=yes;UID=u;PWD=Qx#;" +
                                               (standard ? "Standard=Yes" : "")));
            SQLGetConnectAttr(wire->conn, SQL_ATTR_LOGIN_TIMEOUT, &seconds, 0, nullptr);
            EXPECT_EQ(seconds, standard ? 77u : 0u);
            SQLDisconnect(wire->conn);
        }
        const std::string logged = file_content(log);
        EXPECT_NE(logged.find("SQLDriverConnect: Output string"), std::string::npos);
        for (const char *secret : {"PWD=Qx#", "51 78 23"})
            EXPECT_EQ(logged.find(secret) == std::string::npos, standard);
    }
}
