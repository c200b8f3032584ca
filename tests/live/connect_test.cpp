// Connecting through the Driver Manager: data sources, connection strings and what stands in both,
// server lists, passwords, keyspaces, and the failures that an application sees.
#include <arpa/inet.h>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstring>

#include "tests/live/live_support.h"

// ---- Addresses that do not answer ---------------------------------------------------------------

static int loopback_listener(int backlog, sockaddr_in *address)
{
    const int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    *address = {.sin_family = AF_INET,
                .sin_port = 0,
                .sin_addr = {.s_addr = htonl(INADDR_LOOPBACK)},
                .sin_zero = {}};
    bind(listener, reinterpret_cast<const sockaddr *>(address), sizeof *address);
    listen(listener, backlog);
    socklen_t size = sizeof *address;
    getsockname(listener, reinterpret_cast<sockaddr *>(address), &size);
    return listener;
}

// A port of 127.0.0.1 on which nobody listens: it was free a moment ago.
static std::string dead_port()
{
    sockaddr_in address;
    close(loopback_listener(1, &address));
    return std::to_string(ntohs(address.sin_port));
}

// A listener whose queue is full drops further calls without a word.
struct silent_port {
    std::vector<int> sockets;
    std::string port;
};

static silent_port silent_open()
{
    sockaddr_in address;
    silent_port silent;
    silent.sockets.push_back(loopback_listener(0, &address));
    silent.port = std::to_string(ntohs(address.sin_port));
    for (int i = 0; i < 4; i++) {
        const int caller = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
        [[maybe_unused]] const int pending =
            connect(caller, reinterpret_cast<const sockaddr *>(&address), sizeof address);
        silent.sockets.push_back(caller);
    }
    usleep(50000);
    return silent;
}

static void silent_close(const silent_port &silent)
{
    for (const int descriptor : silent.sockets)
        close(descriptor);
}

// ---- Connection strings -------------------------------------------------------------------------

// {host}, {port} and {dead} in a text become the node's address and a port that refuses.
static std::string filled(std::string text, const char *variable = "VHCASS_SERVER")
{
    static const std::string dead = dead_port();
    const live_node node = node_of(variable);
    const std::pair<std::string, std::string> marks[] = {
        {"{host}", node.host}, {"{port}", node.port}, {"{dead}", dead}};
    for (const auto &[mark, value] : marks) {
        for (auto at = text.find(mark); at != std::string::npos; at = text.find(mark, at))
            text.replace(at, mark.size(), value);
    }
    return text;
}

static std::string with_driver(const std::string &settings)
{
    return std::string("DRIVER={") + driver_name + "};" + settings;
}

// Connects and gives the output string.
static std::string out_string(SQLHDBC conn, const std::string &settings)
{
    SQLCHAR out[1024] = "";
    SQLSMALLINT length = 0;
    EXPECT_CONN(SQL_SUCCESS, conn,
                SQLDriverConnect(conn, nullptr, odbc_text(settings), SQL_NTS, out, sizeof out,
                                 &length, SQL_DRIVER_NOPROMPT));
    const std::string text = reinterpret_cast<char *>(out);
    EXPECT_EQ(static_cast<std::size_t>(length), text.size());
    return text;
}

TEST(live_connect, connection_strings_reach_the_node_and_come_back_completed)
{
    NEED_NODE("VHCASS_SERVER");
    const std::string literal = "DRIVER={Varnholt MySQL ODBC Driver};";
    const struct {
        std::string settings;
        std::string out;
    } cases[] = {
        {"SERVER={host};PORT={port}", "SERVER={host};PORT={port};"},
        {"server={host};port={port};uid=u;pwd=p", "UID=u;PWD=p;SERVER={host};PORT={port};"},
        {"SERVER={host}:{port}", "SERVER={host}:{port};"},
        {"SERVER={host}*{port}", "SERVER={host}*{port};"},
        {"SERVER=127.0.0.1:{dead},{host}:{port}", "SERVER={host}:{port};"},
        {"SERVER=no.such.host.invalid,{host}:{port};LogonTimeout=5000", "SERVER={host}:{port};"},
        {"PORT={dead};SERVER={host};SERVER=ignored;PORT={port};;nonsense;Unknown=1",
         "SERVER={host};PORT={port};"},
        {"SERVER={host}:{port};KEYSPACE=system;Consistency=local_one;StringLen=99;BinaryLen=0",
         "SERVER={host}:{port};KEYSPACE=system;Consistency=10;StringLen=99;"},
        {"SERVER={host}:{port};RCVBUFFER=65536;SOKEEPALIVE=yes",
         "SERVER={host}:{port};RCVBUFFER=65536;SOKEEPALIVE=yes;"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.settings);
        const live_ptr live = live_open();
        std::string wanted = literal + filled(c.out);
        const std::string usual = ";PORT=9042;";  // is never written
        if (const auto at = wanted.find(usual); at != std::string::npos)
            wanted.erase(at + 1, usual.size() - 1);
        EXPECT_EQ(out_string(live->conn, with_driver(filled(c.settings))), wanted);
        EXPECT_EQ(conn_records(live->conn), record_list());
        expect_alive(live->conn);
        EXPECT_CONN(SQL_SUCCESS, live->conn, SQLDisconnect(live->conn));

        // The completed string connects again, by its own driver name, to the same place.
        EXPECT_EQ(out_string(live->conn, wanted), wanted);
        expect_alive(live->conn);
    }
}

TEST(live_connect, explicit_port_wins_over_the_server_text)
{
    NEED_NODE("VHCASS_SERVER");
    for (const char *settings : {"SERVER={host}:{dead};PORT={port}", "SERVER={host}*x;PORT={port}",
                                 "SERVER={host}:{dead},{host}:{dead};PORT={port}"}) {
        SCOPED_TRACE(settings);
        const live_ptr live = live_open();
        ASSERT_CONN(SQL_SUCCESS, live->conn,
                    driver_connect(live->conn, with_driver(filled(settings))));
        expect_alive(live->conn);
    }
}

TEST(live_connect, output_string_is_cut_to_the_buffer)
{
    NEED_NODE("VHCASS_SERVER");
    const live_ptr live = live_open();
    const std::string settings = with_driver(filled("SERVER={host}:{port}"));
    const std::string whole = out_string(live->conn, settings);
    SQLDisconnect(live->conn);

    SQLCHAR out[24];
    std::memset(out, 0xAA, sizeof out);
    SQLSMALLINT length = 0;
    EXPECT_CONN(SQL_SUCCESS_WITH_INFO, live->conn,
                SQLDriverConnect(live->conn, nullptr, odbc_text(settings), SQL_NTS, out, 20,
                                 &length, SQL_DRIVER_NOPROMPT));
    expect_records(SQL_HANDLE_DBC, live->conn, {"01004 String data, right truncation"});
    EXPECT_EQ(std::string(reinterpret_cast<char *>(out)), whole.substr(0, 19));
    EXPECT_EQ(out[20], 0xAA);
    EXPECT_EQ(static_cast<std::size_t>(length), whole.size());
    expect_alive(live->conn);
}

TEST(live_connect, wide_connection_string_gives_a_wide_output_string)
{
    NEED_NODE("VHCASS_SERVER");
    const live_ptr live = live_open();
    const std::string ansi = with_driver(filled("SERVER={host}:{port};UID=u;PWD=p"));
    std::u16string settings(ansi.begin(), ansi.end());
    SQLWCHAR out[512] = {};
    SQLSMALLINT length = 0;
    ASSERT_CONN(SQL_SUCCESS, live->conn,
                SQLDriverConnectW(live->conn, nullptr, odbc_wide(settings), SQL_NTS, out, 512,
                                  &length, SQL_DRIVER_COMPLETE));
    const std::string wanted = filled("DRIVER={Varnholt MySQL ODBC Driver};UID=u;PWD=p;"
                                      "SERVER={host}:{port};");
    EXPECT_EQ(std::string(out, out + length), wanted);
    expect_alive(live->conn);
}

// ---- Data sources -------------------------------------------------------------------------------

TEST(live_connect, data_source_by_name_and_with_overrides)
{
    NEED_NODE("VHCASS_SERVER");
    const std::string good = add_data_source(filled("Server = {host}\nPort = {port}\n"));
    const std::string listed = add_data_source(
        filled("SERVER=127.0.0.1:{dead},{host}:{port}\nKeyspace = system_schema\n"));
    const std::string wrong = add_data_source(filled("Server = {host}\nPort = {dead}\n"));

    const live_ptr live = live_open();
    ASSERT_CONN(SQL_SUCCESS, live->conn,
                SQLConnect(live->conn, odbc_text(good), SQL_NTS, nullptr, 0, nullptr, 0));
    expect_alive(live->conn);
    SQLCHAR name[64] = "";
    EXPECT_CONN(SQL_SUCCESS, live->conn,
                SQLGetInfo(live->conn, SQL_DATA_SOURCE_NAME, name, sizeof name, nullptr));
    EXPECT_EQ(reinterpret_cast<char *>(name), good);
    SQLDisconnect(live->conn);

    std::u16string wide(listed.begin(), listed.end());
    ASSERT_CONN(SQL_SUCCESS, live->conn,
                SQLConnectW(live->conn, odbc_wide(wide), SQL_NTS, odbc_wide(u"u"), SQL_NTS,
                            odbc_wide(u"p"), SQL_NTS));
    EXPECT_EQ(query(live->conn, "select keyspace_name from keyspaces where keyspace_name='system'"),
              row_list{"system"});
    SQLDisconnect(live->conn);

    EXPECT_CONN(SQL_ERROR, live->conn, driver_connect(live->conn, "DSN=" + wrong));
    expect_records(SQL_HANDLE_DBC, live->conn, {"08001 OS Error: 'Connection refused'"});
    const std::string out = out_string(live->conn, filled("DSN=" + wrong + ";PORT={port}"));
    EXPECT_TRUE(out.starts_with("DSN=" + wrong + ";SERVER=")) << out;
    expect_alive(live->conn);
}

TEST(live_connect, malformed_data_sources_never_crash)
{
    NEED_NODE("VHCASS_SERVER");
    const std::string long_text(5000, 'x');
    const struct {
        std::string lines;
        SQLRETURN code;
        std::string record;
    } cases[] = {
        {"", SQL_ERROR, "HY000 server name and connect bundle not specified"},
        {"Server\nPort\n= 5\n[\n", SQL_ERROR, "HY000 server name and connect bundle not specified"},
        {"Port = {port}\n", SQL_ERROR, "HY000 server name and connect bundle not specified"},
        {"Server = {host}:port\n", SQL_ERROR, "08001 Failed to extract numeric port from 'port'"},
        {"Server = " + long_text + "\nPort = {port}\n", SQL_ERROR, "08001 Failed to find host"},
        {"Server = %s%n%d\nPort = {port}\n", SQL_ERROR,
         "08001 Failed to find host address '%s%n%d'"},
        {"Server = ,,,\n", SQL_ERROR, "08001 Failed to find host address ''"},
        {"Server = {host}:{port}\nPort = text\nStringLen = -7\nBinaryLen = text\nipv6 = maybe\n"
         "RCVBUFFER = -1\nSOKEEPALIVE = text\nLogonTimeout = -1\n" +
             long_text + " = 1\n",
         SQL_SUCCESS, ""},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.lines.substr(0, 60));
        const std::string name = add_data_source(filled(c.lines));
        const live_ptr live = live_open();
        EXPECT_CONN(c.code, live->conn,
                    SQLConnect(live->conn, odbc_text(name), SQL_NTS, nullptr, 0, nullptr, 0));
        if (c.code == SQL_SUCCESS) {
            expect_alive(live->conn);
            continue;
        }
        expect_records(SQL_HANDLE_DBC, live->conn, {c.record});
        EXPECT_CONN(SQL_ERROR, live->conn, driver_connect(live->conn, "DSN=" + name));
        expect_records(SQL_HANDLE_DBC, live->conn, {c.record});
    }
    // An unknown one is the Driver Manager's to refuse.
    const live_ptr live = live_open();
    EXPECT_CONN(
        SQL_ERROR, live->conn,
        SQLConnect(live->conn, odbc_text("no-such-source"), SQL_NTS, nullptr, 0, nullptr, 0));
    expect_records(SQL_HANDLE_DBC, live->conn, {"IM002"});
}

// ---- Failures -----------------------------------------------------------------------------------

TEST(live_connect, failures_say_what_is_wrong_and_leave_the_handle_usable)
{
    NEED_NODE("VHCASS_SERVER");
    const struct {
        std::string settings;
        std::string record;
    } cases[] = {
        {"UID=u", "HY000 server name and connect bundle not specified"},
        {"SERVER=127.0.0.1;PORT={dead}", "08001 OS Error: 'Connection refused'"},
        {"SERVER=127.0.0.1:{dead};LogonTimeout=5000", "08001 OS Error: 'Connection refused'"},
        {"SERVER=no.such.host.invalid", "08001 Failed to find host address 'no.such.host.invalid'"},
        {"SERVER=127.0.0.1:{dead},no.such.host.invalid",
         "08001 Failed to find host address 'no.such.host.invalid'"},
        {"SERVER=127.0.0.1:x", "08001 Failed to extract numeric port from 'x'"},
        {"SERVER=127.0.0.1;IPV6=yes", "08001 Failed to find host address '127.0.0.1'"},
        // Ports that no server can have: cut to 16 bits, where nobody listens.
        {"SERVER=127.0.0.1;PORT=65537", "08001 OS Error: 'Connection refused'"},
        {"SERVER=127.0.0.1:4294967297", "08001 OS Error: 'Connection refused'"},
    };
    const live_ptr live = live_open();
    for (const auto &c : cases) {
        SCOPED_TRACE(c.settings);
        EXPECT_CONN(SQL_ERROR, live->conn,
                    driver_connect(live->conn, with_driver(filled(c.settings))));
        expect_records(SQL_HANDLE_DBC, live->conn, {filled(c.record)});
    }
    ASSERT_CONN(SQL_SUCCESS, live->conn, driver_connect(live->conn, node_settings()));
    expect_alive(live->conn);
}

static long milliseconds_since(std::chrono::steady_clock::time_point start)
{
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() -
                                                                 start)
        .count();
}

TEST(live_connect, silent_address_ends_in_a_time_out)
{
    const silent_port silent = silent_open();
    const std::string server = "Server = 127.0.0.1\nPort = " + silent.port + "\n";
    const std::string timed = add_data_source(server + "LogonTimeout = 400\n");
    const std::string untimed = add_data_source(server);

    live_ptr live = live_open();
    auto start = std::chrono::steady_clock::now();
    EXPECT_CONN(SQL_ERROR, live->conn, driver_connect(live->conn, "DSN=" + timed));
    expect_records(SQL_HANDLE_DBC, live->conn, {"HYT01 Connection timeout expired"});
    EXPECT_GE(milliseconds_since(start), 390);
    EXPECT_LT(milliseconds_since(start), 5000);

    // The attribute is in seconds and wins over the data source.
    SQLSetConnectAttr(live->conn, SQL_ATTR_LOGIN_TIMEOUT, odbc_number(1), 0);
    for (const std::string &name : {untimed, timed}) {
        start = std::chrono::steady_clock::now();
        EXPECT_CONN(SQL_ERROR, live->conn,
                    SQLConnect(live->conn, odbc_text(name), SQL_NTS, nullptr, 0, nullptr, 0));
        expect_records(SQL_HANDLE_DBC, live->conn, {"HYT01 Connection timeout expired"});
        EXPECT_GE(milliseconds_since(start), 990);
        EXPECT_LT(milliseconds_since(start), 6000);
    }
    silent_close(silent);
}

// ---- Passwords ----------------------------------------------------------------------------------

TEST(live_connect, passwords_are_checked_by_the_server)
{
    NEED_NODE("VHCASS_PASSWORD_SERVER");
    const char *node = "VHCASS_PASSWORD_SERVER";
    const auto refused = [](const std::string &user) {
        return "HY000 error code 256, 'Provided username " + user +
               " and/or password are incorrect'";
    };
    const std::string source = add_data_source(
        filled("Server = {host}:{port}\nUser = cassandra\nPassword = cassandra\n", node));
    const std::string bare = add_data_source(filled("Server = {host}:{port}\n", node));

    const struct {
        std::string settings;
        std::string record;  // empty: connects
    } strings[] = {
        {"UID=cassandra;PWD=cassandra", ""},
        {"UID=cassandra;PWD=wrong", refused("cassandra")},
        {"UID=nobody;PWD=cassandra", refused("nobody")},
        // One of the two alone goes out with an empty text for the other.
        {"UID=cassandra", "HY000 error code 256, 'Password must not be null'"},
        {"PWD=cassandra", "HY000 error code 256, 'Authentication ID must not be null'"},
        {"", refused("guestuser")},
    };
    const live_ptr live = live_open();
    for (const auto &c : strings) {
        SCOPED_TRACE(c.settings);
        const SQLRETURN wanted = c.record.empty() ? SQL_SUCCESS : SQL_ERROR;
        EXPECT_CONN(wanted, live->conn,
                    driver_connect(live->conn, node_settings(node) + c.settings));
        if (!c.record.empty()) {
            expect_records(SQL_HANDLE_DBC, live->conn, {c.record});
            continue;
        }
        expect_alive(live->conn);
        SQLDisconnect(live->conn);
    }

    // Arguments win over the data source; what is not given is taken from it.
    const struct {
        std::string source;
        const char *user;
        const char *password;
        std::string record;
    } arguments[] = {
        {source, nullptr, nullptr, ""},
        {source, "cassandra", nullptr, ""},
        {source, nullptr, "wrong", refused("cassandra")},
        {bare, "cassandra", "cassandra", ""},
        {bare, nullptr, nullptr, refused("guestuser")},
    };
    for (const auto &c : arguments) {
        SCOPED_TRACE(c.source + " " + (c.user ? c.user : "-") + " " +
                     (c.password ? c.password : "-"));
        const std::string user = c.user == nullptr ? "" : c.user;
        const std::string password = c.password == nullptr ? "" : c.password;
        const SQLRETURN wanted = c.record.empty() ? SQL_SUCCESS : SQL_ERROR;
        EXPECT_CONN(wanted, live->conn,
                    SQLConnect(live->conn, odbc_text(c.source), SQL_NTS,
                               c.user == nullptr ? nullptr : odbc_text(user),
                               c.user == nullptr ? SQLSMALLINT(0) : SQLSMALLINT(SQL_NTS),
                               c.password == nullptr ? nullptr : odbc_text(password),
                               c.password == nullptr ? SQLSMALLINT(0) : SQLSMALLINT(SQL_NTS)));
        if (c.record.empty())
            SQLDisconnect(live->conn);
        else
            expect_records(SQL_HANDLE_DBC, live->conn, {c.record});
    }
}

// ---- Keyspaces ----------------------------------------------------------------------------------

TEST(live_connect, keyspace_is_used_for_unqualified_tables)
{
    NEED_NODE("VHCASS_SERVER");
    const live_ptr live = live_logged_on();
    run(live->stmt, "DROP KEYSPACE IF EXISTS \"Live_Case\"");
    run(live->stmt, "CREATE KEYSPACE \"Live_Case\" WITH replication = "
                    "{'class': 'SimpleStrategy', 'replication_factor': 1}");
    run(live->stmt, "CREATE TABLE \"Live_Case\".t (k int PRIMARY KEY)");
    run(live->stmt, "INSERT INTO \"Live_Case\".t (k) VALUES (5)");

    // The name keeps its case.
    const live_ptr other = live_logged_on("KEYSPACE=Live_Case");
    EXPECT_EQ(query(other->conn, "SELECT k FROM t"), row_list{"5"});
    SQLCHAR name[64] = "";
    EXPECT_CONN(SQL_SUCCESS, other->conn,
                SQLGetInfo(other->conn, SQL_DATABASE_NAME, name, sizeof name, nullptr));
    EXPECT_STREQ(reinterpret_cast<char *>(name), "Live_Case");
    run(live->stmt, "DROP KEYSPACE \"Live_Case\"");
}

// A refused keyspace is a success with a warning that nobody wrote: the Driver Manager takes the
// connection as open, and the first request finds it closed.
TEST(live_connect, unknown_keyspace_connects_to_a_closed_session)
{
    NEED_NODE("VHCASS_SERVER");
    const std::string source =
        add_data_source(filled("Server = {host}:{port}\nKeyspace = no_such_keyspace\n"));
    const live_ptr live = live_open();
    for (int by_string = 0; by_string < 2; by_string++) {
        SCOPED_TRACE(by_string);
        EXPECT_CONN(
            SQL_SUCCESS_WITH_INFO, live->conn,
            by_string ? driver_connect(live->conn, node_settings() + "KEYSPACE=no_such_keyspace")
                      : SQLConnect(live->conn, odbc_text(source), SQL_NTS, nullptr, 0, nullptr, 0));
        EXPECT_EQ(conn_records(live->conn), record_list());
        SQLUINTEGER dead = 7;
        EXPECT_CONN(SQL_SUCCESS, live->conn,
                    SQLGetConnectAttr(live->conn, SQL_ATTR_CONNECTION_DEAD, &dead, 0, nullptr));
        EXPECT_EQ(dead, SQLUINTEGER(SQL_CD_TRUE));

        SQLHSTMT stmt = nullptr;
        ASSERT_CONN(SQL_SUCCESS, live->conn, SQLAllocHandle(SQL_HANDLE_STMT, live->conn, &stmt));
        EXPECT_STMT(SQL_ERROR, stmt, exec(stmt, "select key from system.local"));
        expect_records(SQL_HANDLE_STMT, stmt, {"08S01 failed to send packet"});
        SQLFreeHandle(SQL_HANDLE_STMT, stmt);
        EXPECT_CONN(SQL_SUCCESS, live->conn, SQLDisconnect(live->conn));
    }
}

// ---- IPv6 and the test function -----------------------------------------------------------------

TEST(live_connect, ipv6_node_is_reached_by_key_and_by_asterisk)
{
    NEED_NODE("VHCASS_IPV6_SERVER");
    const char *node = "VHCASS_IPV6_SERVER";
    const std::string source =
        add_data_source(filled("Server = {host}\nPort = {port}\nipv6 = 1\n", node));
    for (const std::string &settings :
         {with_driver("SERVER={host};PORT={port};IPV6=yes"),
          with_driver("SERVER={host}*{dead},{host}*{port};IPV6=true;LogonTimeout=5000"),
          "DSN=" + source}) {
        SCOPED_TRACE(settings);
        const live_ptr live = live_open();
        const std::string out = out_string(live->conn, filled(settings, node));
        EXPECT_NE(out.find("IPV6=Yes;"), std::string::npos) << out;
        expect_alive(live->conn);
        SQLDisconnect(live->conn);
        EXPECT_EQ(out_string(live->conn, out), out);
    }
}

static std::string output_of(const std::string &command, int *status)
{
    FILE *pipe = popen(command.c_str(), "r");
    std::string text;
    char block[512];
    for (std::size_t count; (count = fread(block, 1, sizeof block, pipe)) > 0;)
        text.append(block, count);
    *status = WEXITSTATUS(pclose(pipe));
    return text;
}

TEST(live_connect, driver_test_program_tells_how_it_went)
{
    NEED_NODE("VHCASS_SERVER");
    const struct {
        std::string arguments;
        int status;
        std::string text;
    } cases[] = {
        {"Server={host}:{port}", 0, "Connected. CQL Version: 3."},
        {"Server={host} Port={port} Keyspace=system", 0, "Connected. CQL Version: 3."},
        {"Server=127.0.0.1:{dead}", 1,
         "Failed to connect: '[Varnholt][Apache Cassandra]Client unable to "
         "establish connection: OS Error: 'Connection refused''"},
        {"Unknown=1", 2, ""},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.arguments);
        int status = -1;
        const std::string text = output_of(
            std::string(VHCASS_DRIVER_TEST) + " " + filled(c.arguments) + " 2>/dev/null", &status);
        EXPECT_EQ(status, c.status);
        EXPECT_TRUE(text.starts_with(c.text)) << text;
    }
}
