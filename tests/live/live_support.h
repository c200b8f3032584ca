// What the live tests share: a real node reached through the Driver Manager, which knows the built
// driver and the tests' data sources from ini files in a temporary folder.
//
//     using live_subject = live_test;
//     TEST_F(live_subject, a_query_gives_its_row)
//     {
//         EXPECT_STMT(SQL_SUCCESS, stmt, exec(stmt, "select key from system.local"));
//         EXPECT_EQ(fetch_all(stmt), row_list{"local"});
//     }
#ifndef TESTS_LIVE_LIVE_SUPPORT_H
#define TESTS_LIVE_LIVE_SUPPORT_H

#include <cstdlib>
#include <memory>

#include "tests/bytes.h"
#include "tests/handle_calls.h"

// ---- Nodes and data sources ---------------------------------------------------------------------

// {host} and {port} in a text become those of a variable with "host:port" or "[::1]:port"; both are
// empty when the environment names no such node. {files} is the folder that VHCASS_TLS_FILES names.
std::string filled(const std::string &text, const char *variable = "VHCASS_SERVER");
// For tests that name the node in settings of their own.
#define NEED_PLAIN_NODE()                                                                          \
    NEED_NODE("VHCASS_SERVER");                                                                    \
    if (const char *more = std::getenv("VHCASS_CONNECTION"); more != nullptr && *more != '\0')     \
    GTEST_SKIP() << "not run: VHCASS_SERVER is not reached without VHCASS_CONNECTION"
#define NEED_NODE(variable)                                                                        \
    if (filled("{host}", variable).empty())                                                        \
    GTEST_SKIP() << "not run: " << (variable) << " names no node (host:port)"

// The driver's name in odbcinst.ini. In odbc.ini is a data source of it, [live], whose second
// server is VHCASS_SERVER's node, and whose keyspace is `system`.
inline constexpr char driver_name[] = "Varnholt ODBC-Cassandra Driver";

// "DRIVER={...};SERVER=host;PORT=port;" of the node; behind it, for VHCASS_SERVER's, the content of
// VHCASS_CONNECTION.
std::string node_settings(const char *variable = "VHCASS_SERVER");

// ---- Sessions -----------------------------------------------------------------------------------

// An environment of ODBC 3 and a connection, which is not connected; both go with it.
struct live_session {
    SQLHENV env = nullptr;
    SQLHDBC conn = nullptr;

    live_session();
    ~live_session();
    live_session &operator=(live_session &&) = delete;  // and with it all copies
};

// By the wide entry the Driver Manager uses the driver's wide functions throughout, and turns the
// application's ANSI calls into them; otherwise it is the other way round. `out`: the completed
// string.
SQLRETURN driver_connect(SQLHDBC conn, const std::string &settings, bool is_wide = false,
                         std::string *out = nullptr);
SQLHSTMT new_stmt(SQLHDBC conn);
// The rows of a query on a statement of its own.
row_list query(SQLHDBC conn, const std::string &sql);
// The connection answers: a query gives what it must.
void expect_alive(SQLHDBC conn);

// ---- Calls --------------------------------------------------------------------------------------

// Executes a text whose result is of no interest. A server's warning is let pass.
void run(SQLHSTMT stmt, const std::string &sql);
// An empty keyspace, whose name is added to the file VHCASS_MADE_KEYSPACES. Each test takes a name
// of its own: tests may run side by side.
void make_keyspace(SQLHSTMT stmt, const std::string &name);
// The same with the table `every`, which has a key k and a column of each type, c_list and so on;
// whether c_vector is among them, which servers have from 5.0 on.
bool make_every_type(SQLHSTMT stmt, const std::string &keyspace);

// A test with a session that is logged on to VHCASS_SERVER, skipped without one.
struct live_test : ::testing::Test {
    void SetUp() override;
    // Anew, instead of the session that there was; `more` are further settings.
    void log_on(bool is_wide = false, const std::string &more = {});

    std::unique_ptr<live_session> live;
    SQLHDBC conn = nullptr;
    SQLHSTMT stmt = nullptr;
};

#endif
