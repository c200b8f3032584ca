// The list of servers with Standard=Yes: which server gets the session, and what is told when none
// can have it.
#include <atomic>
#include <chrono>
#include <thread>

#include "tests/wire/wire_support.h"

// What a server does with requests, by their opcode; the others it answers well.
using node_habits = std::map<int, std::vector<node_frame>>;

// A server beside the wire's own.
struct other_node {
    std::atomic<int> asked = 0;  // sessions begun with it
    node_ptr node = node_start();

    explicit other_node(const node_habits &habits = {})
    {
        node_answer_rest(node.get(), [this, habits](const node_request &request) {
            asked += request.opcode == NODE_OPTIONS;
            const auto habit = habits.find(request.opcode);
            return habit != habits.end() ? habit->second : std::vector{stock_answer(request)};
        });
    }
    std::string address() const { return node_address(node.get()); }
};

static double connect_seconds(SQLHDBC conn, const std::string &settings, SQLRETURN wanted)
{
    const auto start = std::chrono::steady_clock::now();
    EXPECT_CONN(wanted, conn, wire_driver_connect(conn, "Standard=Yes;UID=u;PWD=p;" + settings));
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

TEST(walk, goes_on_to_the_server_that_starts_a_session)
{
    const node_frame bootstrapping = error_frame(0x1002, "Cannot proceed: bootstrapping");
    // What the first server does with requests, and how it ends; empty: by the second server.
    const std::pair<node_habits, std::string> cases[] = {
        {{{NODE_STARTUP, {no_answer(RESET)}}}, ""},
        {{{NODE_OPTIONS, {bootstrapping}}}, ""},
        {{{NODE_STARTUP, {bootstrapping}}}, ""},
        {{{NODE_STARTUP, {void_frame()}}}, ""},
        {{{NODE_OPTIONS, {cut_off(stock_supported(false), 30)}}}, ""},
        {{{NODE_OPTIONS, {}}}, ""},
        {{{NODE_STARTUP, {authenticate_frame()}}, {NODE_AUTH_RESPONSE, {error_frame(0x100, "no")}}},
         "28000 Invalid authorization: no"},
        {{{NODE_QUERY, {error_frame(0x2200, "Keyspace 'k' does not exist")}}},
         "3F000 Invalid schema name: Keyspace 'k' does not exist"},
    };
    for (const auto &[habits, refusal] : cases) {
        SCOPED_TRACE(refusal);
        const other_node first(habits), second;
        const wire_ptr wire = wire_open();
        connect_seconds(wire->conn,
                        "KEYSPACE=k;LogonTimeout=800;SERVER=" + first.address() + "," +
                            second.address(),
                        refusal.empty() ? SQL_SUCCESS : SQL_ERROR);
        EXPECT_EQ(conn_records(wire->conn), refusal.empty() ? record_list() : record_list{refusal});
        EXPECT_EQ(first.asked, 1);
        EXPECT_EQ(second.asked, refusal.empty() ? 1 : 0);
    }
}

TEST(walk, failures_tell_each_address_and_its_reason)
{
    const other_node closing(node_habits{{NODE_OPTIONS, {no_answer()}}});
    const other_node hot(node_habits{{NODE_OPTIONS, {error_frame(0x1001, "hot")}}});
    const std::string dead = "127.0.0.1:" + std::to_string(node_port(node_start().get()));
    const std::string none = "08001 Client unable to establish connection: ";
    const std::string refused = ": OS Error: 'Connection refused'";
    const std::string closed = ": read failed (peer shutdown), failed to return a packet";
    const std::pair<std::string, std::string> cases[] = {
        {dead, none + dead + refused},
        {dead + "," + closing.address() + ",a:x,[::1]:0",
         none + dead + refused + "; " + closing.address() + closed +
             "; a:0: its port is no number from 1 to 65535; ::1:0: its port is no number from 1 to "
             "65535"},
        {dead + "," + hot.address(), none + dead + refused + "; " + hot.address() + ": hot"},
        {hot.address() + "," + hot.address(),
         "08004 Server rejected the connection: " + hot.address() + ": hot; " + hot.address() +
             ": hot"},
        {"127.0.0.1," + dead.substr(10), none + dead + refused},
    };
    const wire_ptr wire = wire_open();
    for (const auto &[servers, record] : cases) {
        connect_seconds(wire->conn, "SERVER=" + servers, SQL_ERROR);
        EXPECT_EQ(conn_records(wire->conn), record_list{record});
    }
    // The reason is the resolver's, which without a network says another one.
    connect_seconds(wire->conn, "SERVER=name.invalid:1", SQL_ERROR);
    EXPECT_EQ(conn_records(wire->conn)[0].find(none + "name.invalid:1: "), 0u);
}

// Two servers that take the connection and say nothing have half of the time each, and nothing that
// comes behind has a limit by it.
TEST(walk, login_time_out_covers_all_servers)
{
    const other_node silent(node_habits{{NODE_OPTIONS, {}}});
    const other_node mute(node_habits{{NODE_STARTUP, {}}});
    const other_node good;
    const wire_ptr wire = wire_open();
    const double took = connect_seconds(
        wire->conn, "LogonTimeout=400;SERVER=" + silent.address() + "," + mute.address(),
        SQL_ERROR);
    EXPECT_EQ(conn_records(wire->conn),
              record_list{"HYT00 Timeout expired: " + silent.address() +
                          ": failed to return a packet; " + mute.address() +
                          ": failed to return a packet"});
    EXPECT_GE(took, 0.399);  // the driver counts whole milliseconds
    EXPECT_LT(took, 5);
    connect_seconds(wire->conn,
                    "LogonTimeout=800;SERVER=" + silent.address() + "," + good.address(),
                    SQL_SUCCESS);
    // Longer than the time-out, behind which a request is answered as ever.
    std::this_thread::sleep_for(std::chrono::milliseconds(900));
    wire->stmt = wire_new_stmt(wire);
    EXPECT_STMT(SQL_SUCCESS, wire->stmt, exec(wire->stmt, "q"));
}

TEST(walk, load_balance_begins_anywhere)
{
    const other_node one, two;
    const std::string list = ";SERVER=" + one.address() + "," + two.address();
    const wire_ptr wire = wire_open();
    for (const bool balanced : {false, true}) {
        for (int i = 0; i < 30; i++) {
            connect_seconds(wire->conn, (balanced ? "LoadBalance=Yes" : "") + list, SQL_SUCCESS);
            SQLDisconnect(wire->conn);
        }
        EXPECT_EQ(two.asked > 0, balanced);
    }
    EXPECT_GT(one.asked, 30);
}
