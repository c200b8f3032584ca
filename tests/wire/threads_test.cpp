// Threads on one connection. Each thread has a statement of its own, or works on the connection;
// built with ThreadSanitizer the tests also show that nothing is shared without a lock.
#include <pthread.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <functional>
#include <thread>

#include "tests/wire/wire_support.h"

// A server that knows every request of these tests: USE, anything of the catalog, and statements
// whose result is one row, of 7, or of 8 when they were prepared.
static std::vector<node_frame> answer(const node_request &request)
{
    const node_columns column = {{"a", type_of(NODE_INT)}};
    if (request.opcode == NODE_PREPARE)
        return {prepared_frame("id", {}, column)};
    if (request.opcode == NODE_EXECUTE)
        return {rows_frame(column, {{be32(8)}})};
    if (request.opcode != NODE_QUERY)
        return {stock_answer(request, true)};
    const std::string sql = request.body.substr(4);
    if (sql.starts_with("USE"))
        return {set_keyspace_frame(sql.substr(4, 20))};
    if (sql.find("system_schema") != std::string::npos)
        return {text_rows(std::vector(2, node_row(6, "k")))};
    return {rows_frame(column, {{be32(7)}})};
}

// The catalog's results may occupy the connection, a session that was ended or broke answers
// nothing, and cancelled calls end; any other failure is one.
static bool passes(SQLRETURN code, SQLHSTMT stmt)
{
    if (SQL_SUCCEEDED(code))
        return true;
    for (const std::string &record : stmt_records(stmt))
        if (record.find("busy with results") == std::string::npos && !record.starts_with("08S01") &&
            !record.starts_with("08003") && !record.starts_with("HY008"))
            ADD_FAILURE() << record;
    return false;
}

static int rows_read(SQLHSTMT stmt, const char *first_cell)
{
    int rows = 0;
    for (; SQLFetch(stmt) == SQL_SUCCESS; rows++)
        EXPECT_EQ(cell_text(stmt, 1), first_cell);
    SQLFreeStmt(stmt, SQL_CLOSE);
    return rows;
}

// Eight threads, two for each kind of work. `quiet` and `logged` are settings of the sessions. A
// log has a lock, behind which other faults could hide.
static void share_a_connection(const std::string &quiet, const std::string &logged)
{
    const wire_ptr wire = wire_open();
    node_answer_rest(wire->node, answer);
    node_expect_stream(wire->node, ANY_STREAM);
    ASSERT_EQ(wire_connect(wire, quiet), SQL_SUCCESS);
    // Executions, each on a statement of its own, and what their rows begin with.
    const std::function<SQLRETURN(SQLHSTMT, int)> works[] = {
        [](SQLHSTMT stmt, int round) {
            passes(exec(stmt, round % 2 == 0 ? "USE first" : "USE second"), stmt);
            return exec(stmt, "select a");
        },
        [](SQLHSTMT stmt, int) {
            passes(exec(stmt, "USE third"), stmt);
            return passes(prepare(stmt, "select a"), stmt) ? SQLExecute(stmt) : SQL_ERROR;
        },
        [](SQLHSTMT stmt, int round) {
            return round % 2 == 0 ? SQLTables(stmt, nullptr, 0, nullptr, 0, nullptr, 0, nullptr, 0)
                                  : SQLPrimaryKeys(stmt, nullptr, 0, nullptr, 0, odbc_text("k"), 1);
        },
    };
    const char *const cells[] = {"7", "8", quiet.starts_with("Standard") ? "NULL" : "CASSANDRA"};
    SQLHSTMT stmts[6];
    std::atomic<int> rows[3] = {};
    std::atomic<bool> over = false;
    std::vector<std::thread> threads;
    for (SQLHSTMT &stmt : stmts)
        stmt = wire_new_stmt(wire);
    for (std::size_t i = 0; i < 6; i++)
        threads.emplace_back([&, i] {
            for (int round = 0; !over; round++)
                if (passes(works[i % 3](stmts[i], round), stmts[i]))
                    rows[i % 3] += rows_read(stmts[i], cells[i % 3]);
        });
    const auto work_on_connection = [&] {
        SQLCHAR text[256];
        SQLSMALLINT length;
        while (!over) {
            SQLGetInfo(wire->conn, SQL_DATABASE_NAME, text, sizeof text, &length);
            SQLSetConnectAttr(wire->conn, SQL_ATTR_MAX_ROWS, odbc_number(5), 0);
            SQLSetConnectAttr(wire->conn, SQL_ATTR_METADATA_ID, odbc_number(1), 0);
            SQLHSTMT own;
            if (SQLAllocHandle(SQL_HANDLE_STMT, wire->conn, &own) == SQL_SUCCESS)
                SQLFreeHandle(SQL_HANDLE_STMT, own);
            conn_records(wire->conn);
            for (SQLHSTMT stmt : stmts) {
                SQLCancel(stmt);
                stmt_records(stmt);
                SQLGetDiagField(SQL_HANDLE_STMT, stmt, 1, SQL_DIAG_SERVER_NAME, text, sizeof text,
                                &length);
            }
        }
    };
    threads.emplace_back(work_on_connection);
    threads.emplace_back(work_on_connection);
    // First all of them on one session, then with sessions that end and begin under them.
    const auto are_read = [&] {
        return std::ranges::all_of(rows, [](const std::atomic<int> &read) { return read >= 20; });
    };
    for (int wait = 0; wait < 40'000 && !are_read(); wait++)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    EXPECT_TRUE(are_read());
    for (int i = 0; i < 20; i++) {
        SQLDisconnect(wire->conn);
        wire_connect(wire, i % 2 == 0 ? logged : quiet);
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    over = true;
    for (std::thread &thread : threads)
        thread.join();

    // What they leave behind is a connection like any other.
    const SQLHSTMT stmt = wire_new_stmt(wire);
    EXPECT_STMT(SQL_SUCCESS, stmt, exec(stmt, "select a"));
    EXPECT_EQ(fetch_all(stmt), row_list{"7"});
}

TEST(threads, all_kinds_of_calls_share_a_connection)
{
    const std::string quiet = "DSN=none;KEYSPACE=start;LOGGING=off";
    const std::string logged = "DSN=other;LOGGING=on;LOGFILE=/dev/null";
    share_a_connection(quiet, quiet);
    share_a_connection(quiet, logged);
    share_a_connection(logged, quiet);
    share_a_connection("Standard=Yes;" + quiet, "Standard=Yes;" + quiet);
}

// Sixteen threads with sessions of their own, one after another, in which nothing fails: with
// ThreadSanitizer a million calls. The environment's TLS context serves those that load anchors and
// those that verify.
TEST(threads, go_on_for_many_calls)
{
#ifdef __SANITIZE_THREAD__
    constexpr int sessions = 20, rounds = 16;
#else
    constexpr int sessions = 5, rounds = 4;
#endif
    const certificate ca = make_ca(), own = make_certificate({}, &ca);
    const file_folder folder;
    folder.add(ca.hashed_name, ca.pem);
    const wire_ptr wire = wire_open();
    const node_ptr encrypted = node_start();
    node_use_tls(encrypted.get(), {.chain = own.pem, .key = key_pem(own.key)});
    const node_frame page = text_page(std::vector(100, bytes("cell")));
    for (scripted_node *node : {wire->node, encrypted.get()})
        node_answer_rest(node, [&](const node_request &request) {
            return request.opcode == NODE_QUERY || request.opcode == NODE_EXECUTE
                       ? std::vector{page}
                       : answer(request);
        });
    const auto work = [&](std::size_t number) {
        const std::string settings =
            (number % 4 < 2 ? "Standard=Yes;VerifyHost=No;" : "") +
            std::string("LOGFILE=/dev/null;LOGGING=") + (number % 2 == 0 ? "on" : "off") +
            (number % 8 < 4 ? ";SERVER=" + node_address(wire->node)
                            : ";Encrypt=yes;SERVER=" + node_address(encrypted.get()));
        for (std::size_t session = 0; session < sessions; session++) {
            SQLHDBC conn = nullptr;
            SQLHSTMT stmt = nullptr;
            SQLAllocHandle(SQL_HANDLE_DBC, wire->env, &conn);
            // Another folder by its name each time.
            const std::string anchors = folder.path + std::string(sessions * number + session, '/');
            EXPECT_CONN(SQL_SUCCESS, conn,
                        wire_driver_connect(conn, settings + ";CertificateFile=" + anchors));
            SQLAllocHandle(SQL_HANDLE_STMT, conn, &stmt);
            for (int round = 0; round < rounds; round++) {
                const bool prepares = round == 0 && passes(prepare(stmt, "many"), stmt);
                passes(prepares ? SQLExecute(stmt) : exec(stmt, "many"), stmt);
                EXPECT_EQ(rows_read(stmt, "cell"), 100);
                SQLCancel(stmt);
            }
            SQLFreeHandle(SQL_HANDLE_STMT, stmt);
            SQLDisconnect(conn);
            SQLFreeHandle(SQL_HANDLE_DBC, conn);
        }
    };
    std::vector<std::thread> threads;
    for (std::size_t number = 0; number < 16; number++)
        threads.emplace_back(work, number);
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(node_finish(encrypted.get()), "");
}

// A thread that is cancelled ends behind the driver's calls and never within one: all of these give
// what they give to anybody, and the session stays in step.
TEST(threads, a_cancelled_thread_finishes_its_calls)
{
    const wire_ptr wire = wire_open();
    node_answer_rest(wire->node, answer);
    std::vector<SQLRETURN> codes;
    const std::function<void()> work = [&] {
        SQLHSTMT stmt;
        codes = {wire_connect(wire, "KEYSPACE=k;LOGGING=on;LOGFILE=/dev/null"),
                 SQLAllocHandle(SQL_HANDLE_STMT, wire->conn, &stmt),
                 exec(stmt, "select a"),
                 SQLFetch(stmt),
                 SQLTables(stmt, nullptr, 0, nullptr, 0, nullptr, 0, nullptr, 0),
                 SQLFreeHandle(SQL_HANDLE_STMT, stmt)};
    };
    // What works has returned when the thread ends: AddressSanitizer marks the stack of scopes.
    std::thread thread([&] {
        pthread_cancel(pthread_self());
        work();
        pthread_testcancel();
        codes.push_back(SQL_ERROR);  // not reached
    });
    thread.join();
    EXPECT_EQ(codes, std::vector<SQLRETURN>(6, SQL_SUCCESS));
    wire->stmt = wire_new_stmt(wire);
    EXPECT_STMT(SQL_SUCCESS, wire->stmt, exec(wire->stmt, "select a"));
    EXPECT_EQ(fetch_all(wire->stmt), row_list{"7"});
}
