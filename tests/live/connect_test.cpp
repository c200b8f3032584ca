// Connecting through the Driver Manager: data sources, connection strings and what stands in both,
// server lists, passwords, TLS.
#include <sys/wait.h>

#include "tests/live/live_support.h"

static const std::string driver = std::string("DRIVER={") + driver_name + "};";

struct live_connect : ::testing::Test {
    void SetUp() override { NEED_PLAIN_NODE(); }

    const live_session live;
    SQLHDBC conn = live.conn;
};

static std::string out_string(SQLHDBC conn, const std::string &settings, bool is_wide = false)
{
    std::string out;
    EXPECT_CONN(SQL_SUCCESS, conn, driver_connect(conn, settings, is_wide, &out));
    return out;
}

TEST_F(live_connect, connection_strings_reach_the_node_and_come_back_completed)
{
    const std::pair<std::string, std::string> cases[] = {
        {"SERVER={host}*{port};uid=u;pwd=p;;nonsense", "UID=u;PWD=p;SERVER={host}*{port};"},
        {"PORT=1;server={host};SERVER=ignored;PORT={port}", "SERVER={host};PORT={port};"},
        {"SERVER=no.such.host,127.0.0.1:1,{host}:{port};LogonTimeout=5000;StringLen=99",
         "SERVER={host}:{port};StringLen=99;"},
    };
    for (const auto &[settings, out] : cases) {
        // The usual port is not written.
        const std::string wanted =
            replaced("DRIVER={Varnholt MySQL ODBC Driver};" + filled(out), ";PORT=9042;", ";");
        EXPECT_EQ(out_string(conn, driver + filled(settings)), wanted);
        expect_alive(conn);
        EXPECT_CONN(SQL_SUCCESS, conn, SQLDisconnect(conn));
        // The completed string connects again, by its own driver name, to the same place.
        EXPECT_EQ(out_string(conn, wanted, true), wanted);
        expect_alive(conn);
        SQLDisconnect(conn);
    }
}

TEST_F(live_connect, data_source_by_name_and_with_overrides)
{
    const std::string listed =
        add_data_source(filled("SERVER=127.0.0.1:1,{host}:{port}\nKeyspace = system_schema\n"));
    const std::string wrong = add_data_source(filled("Server = {host}:1\n"));
    const std::u16string wide(listed.begin(), listed.end());
    for (const bool is_wide : {false, true}) {
        EXPECT_CONN(SQL_SUCCESS, conn,
                    is_wide ? SQLConnectW(conn, odbc_wide(wide), SQL_NTS, odbc_wide(u"u"), SQL_NTS,
                                          odbc_wide(u"p"), SQL_NTS)
                            : SQLConnect(conn, odbc_text(listed), SQL_NTS, nullptr, 0, nullptr, 0));
        EXPECT_EQ(query(conn, "SELECT table_name FROM tables WHERE keyspace_name = 'system' "
                              "AND table_name = 'local'"),
                  row_list{"local"});
        SQLDisconnect(conn);
    }
    EXPECT_CONN(SQL_ERROR, conn, driver_connect(conn, "DSN=" + wrong));
    expect_record(SQL_HANDLE_DBC, conn, "08001 OS Error: 'Connection refused'");
    // A port that is given wins over the one in the server's text.
    const std::string out = out_string(conn, filled("DSN=" + wrong + ";PORT={port}"));
    EXPECT_TRUE(out.starts_with("DSN=" + wrong + ";SERVER=")) << out;
    expect_alive(conn);
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
    const char *const files = std::getenv("VHCASS_TLS_FILES");
    const std::string key = replaced("Encrypt=yes;PublicKeyFile={}/client.pem;"
                                     "PrivateKeyFile={}/client.key;",
                                     "{}", files == nullptr ? "" : files);
    const struct {
        const char *variable;
        std::string wrong, record, right;
    } rows[] = {
        {"VHCASS_PASSWORD_SERVER", "UID=cassandra;PWD=wrong",
         "HY000 error code 256, 'Provided username cassandra and/or password",
         "UID=cassandra;PWD=cassandra"},
        {"VHCASS_IPV6_SERVER", "IPV6=No", "08001 ", "IPV6=true"},
        {"VHCASS_TLS_SERVER", key, "08001 SSL Provider: unable to get local issuer certificate",
         key + "CertificateFile=" + (files == nullptr ? "" : files) + "/ca.pem"},
    };
    for (const auto &row : rows) {
        NEED_NODE(row.variable);
        const live_session live;
        const std::string settings = node_settings(row.variable);
        EXPECT_CONN(SQL_ERROR, live.conn, driver_connect(live.conn, settings + row.wrong));
        expect_record(SQL_HANDLE_DBC, live.conn, row.record);
        EXPECT_CONN(SQL_SUCCESS, live.conn, driver_connect(live.conn, settings + row.right));
        expect_alive(live.conn);
    }
}
