// Connecting through the Driver Manager: data sources, connection strings and what stands in both,
// server lists, passwords, TLS.
#include <sys/wait.h>

#include "tests/live/live_support.h"

struct live_connect : ::testing::Test {
    void SetUp() override { NEED_PLAIN_NODE(); }

    const live_session live;
    SQLHDBC conn = live.conn;
};

TEST_F(live_connect, connection_strings_reach_the_node_and_come_back_completed)
{
    // The third is the first one completed, by whose own driver name it connects again.
    const std::string completed =
        "DRIVER={Varnholt MySQL ODBC Driver};UID=u;PWD=p;SERVER={host}:{port};StringLen=99;";
    const std::pair<std::string, std::string> cases[] = {
        {std::string("DRIVER={") + driver_name +
             "};SERVER=no.such.host,127.0.0.1:1,{host}:{port};LogonTimeout=5000;uid=u;pwd=p;;"
             "StringLen=99;nonsense",
         completed},
        {"DSN=live;SERVER={host}:1;PORT={port}",
         "DSN=live;SERVER={host}:1;KEYSPACE=system;PORT={port};"},
        {completed, completed},
    };
    for (const auto &[settings, wanted] : cases)
        for (const bool is_wide : {false, true}) {
            std::string out;
            EXPECT_CONN(SQL_SUCCESS, conn, driver_connect(conn, filled(settings), is_wide, &out));
            EXPECT_EQ(out, replaced(filled(wanted), ";PORT=9042;", ";"));  // the usual one
            expect_alive(conn);
            SQLDisconnect(conn);
        }
}

TEST_F(live_connect, data_source_by_name)
{
    for (const bool is_wide : {false, true}) {
        EXPECT_CONN(SQL_SUCCESS, conn,
                    is_wide ? SQLConnectW(conn, odbc_wide(u"live"), SQL_NTS, odbc_wide(u"u"),
                                          SQL_NTS, odbc_wide(u"p"), SQL_NTS)
                            : SQLConnect(conn, odbc_text("live"), SQL_NTS, nullptr, 0, nullptr, 0));
        EXPECT_EQ(query(conn, "SELECT key FROM local"), row_list{"local"});
        SQLDisconnect(conn);
    }
}

TEST_F(live_connect, driver_test_program_tells_how_it_went)
{
    const std::tuple<std::string, std::string, int> cases[] = {
        {"Server={host} Port={port} Keyspace=system", "Connected. CQL Version: 3.", 0},
        {"Server=127.0.0.1:1", "Failed to connect: '[Varnholt][Apache Cassandra]Client unable", 1},
        {"Unknown=1", "", 2},
    };
    for (const auto &[arguments, wanted, status] : cases) {
        FILE *pipe =
            popen((VHCASS_DRIVER_TEST " " + filled(arguments) + " 2>/dev/null").c_str(), "r");
        char text[512] = "";
        EXPECT_EQ(fread(text, 1, sizeof text - 1, pipe) == 0, wanted.empty());
        EXPECT_EQ(WEXITSTATUS(pclose(pipe)), status);
        EXPECT_NE(std::string(text).find(wanted), std::string::npos) << text;
    }
}

TEST(live_nodes, let_in_who_has_what_they_ask_for)
{
    const std::string key =
        filled("Encrypt=yes;PublicKeyFile={files}/client.pem;PrivateKeyFile={files}/client.key;");
    const struct {
        const char *variable;
        std::string wrong, record, right;
    } rows[] = {
        {"VHCASS_PASSWORD_SERVER", "UID=cassandra;PWD=wrong",
         "HY000 General error: error code 256, 'Provided username cassandra and/or password",
         "UID=cassandra;PWD=cassandra"},
        {"VHCASS_IPV6_SERVER", "IPV6=No",
         "08001 Client unable to establish connection: ", "IPV6=true"},
        {"VHCASS_TLS_SERVER", key,
         "08001 Client unable to establish connection: SSL Provider: unable to get local issuer "
         "certificate",
         key + filled("CertificateFile={files}/ca.pem")},
    };
    for (const auto &row : rows) {
        NEED_NODE(row.variable);
        const live_session live;
        const std::string settings = node_settings(row.variable);
        EXPECT_CONN(SQL_ERROR, live.conn, driver_connect(live.conn, settings + row.wrong));
        EXPECT_EQ(conn_records(live.conn).at(0).substr(0, row.record.size()), row.record);
        EXPECT_CONN(SQL_SUCCESS, live.conn, driver_connect(live.conn, settings + row.right));
        expect_alive(live.conn);
    }
}
