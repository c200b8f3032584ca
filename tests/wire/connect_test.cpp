// Reaching a server: lists with dead entries.
#include "tests/wire/wire_support.h"

// A port on which nobody listens: it was free a moment ago.
static std::string dead_port()
{
    return std::to_string(node_port(node_start().get()));
}

TEST(servers, first_one_that_answers_is_taken_and_named)
{
    const wire_ptr wire = wire_open();
    const std::string live = std::to_string(node_port(wire->node.get()));
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
        expect_logon(wire->node.get());
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
