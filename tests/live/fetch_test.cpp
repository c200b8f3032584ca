// Reading results page by page: large ones with flat memory, several at a time, and results that
// end on the edge of a page.
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <numeric>

#include "tests/live/live_support.h"

static constexpr int many_rows = 100000;

// A table of 100,000 rows in partitions of 1000, and partitions of the sizes that matter. Rows are
// the same at every run, so that a node that has them keeps them.
static void load_rows(SQLHSTMT stmt)
{
    run(stmt, "CREATE KEYSPACE IF NOT EXISTS live_rows WITH replication = "
              "{'class': 'SimpleStrategy', 'replication_factor': 1}");
    run(stmt, "CREATE TABLE IF NOT EXISTS live_rows.loaded (k int PRIMARY KEY)");
    ASSERT_STMT(SQL_SUCCESS, stmt, exec(stmt, "SELECT k FROM live_rows.loaded WHERE k = 1"));
    const bool loaded = !fetch_all(stmt).empty();
    SQLFreeStmt(stmt, SQL_CLOSE);
    if (loaded)
        return;

    run(stmt, "CREATE TABLE IF NOT EXISTS live_rows.many (p int, n int, t text, "
              "PRIMARY KEY (p, n))");
    run(stmt, "CREATE TABLE IF NOT EXISTS live_rows.sizes (p int, n int, PRIMARY KEY (p, n))");
    const auto row = [](int p, int n) {
        return "INSERT INTO live_rows.many (p, n, t) VALUES (" + std::to_string(p) + ", " +
               std::to_string(n) + ", 'row " + std::to_string(n) + "');\n";
    };
    for (int first = 0; first < many_rows; first += 250) {
        std::string batch = "BEGIN UNLOGGED BATCH\n";
        for (int n = first; n < first + 250; n++)
            batch += row(n / 1000, n);
        run(stmt, batch + "APPLY BATCH");
    }
    for (const int size : {1, 99, 100, 101, 200, 300}) {
        std::string batch = "BEGIN UNLOGGED BATCH\n";
        for (int n = 0; n < size; n++)
            batch += "INSERT INTO live_rows.sizes (p, n) VALUES (" + std::to_string(size) + ", " +
                     std::to_string(n) + ");\n";
        run(stmt, batch + "APPLY BATCH");
    }
    run(stmt, "INSERT INTO live_rows.loaded (k) VALUES (1)");
}

static live_ptr rows_session()
{
    live_ptr live = live_logged_on();
    load_rows(live->stmt);
    return live;
}

static int int_cell(SQLHSTMT stmt, SQLUSMALLINT column)
{
    SQLINTEGER value = -1;
    SQLLEN length = 0;
    EXPECT_STMT(SQL_SUCCESS, stmt,
                SQLGetData(stmt, column, SQL_C_SLONG, &value, sizeof value, &length));
    return value;
}

// ---- Memory -------------------------------------------------------------------------------------

// Starts the process's peak of resident memory afresh; false where the system does not let us.
static bool reset_peak()
{
    std::ofstream file("/proc/self/clear_refs");
    file << "5" << std::flush;
    return file.good();
}

static long peak_kib()
{
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line)) {
        if (line.starts_with("VmHWM:"))
            return std::strtol(line.c_str() + 6, nullptr, 10);
    }
    return -1;
}

// Reads the query's rows to the end; the sum of n and the number of rows.
static std::pair<long long, int> read_rows(SQLHSTMT stmt, const std::string &sql)
{
    long long sum = 0;
    int count = 0;
    EXPECT_STMT(SQL_SUCCESS, stmt, exec(stmt, sql));
    while (SQLFetch(stmt) == SQL_SUCCESS) {
        const int n = int_cell(stmt, 1);
        if (cell_text(stmt, 2) != "row " + std::to_string(n))
            ADD_FAILURE() << "wrong text for " << n;
        sum += n;
        count++;
    }
    EXPECT_EQ(stmt_records(stmt), record_list());
    SQLFreeStmt(stmt, SQL_CLOSE);
    return {sum, count};
}

TEST(live_fetch, many_rows_take_no_more_memory_than_a_few)
{
    NEED_NODE("VHCASS_SERVER");
    const live_ptr live = rows_session();
    const std::string sql = "SELECT n, t FROM live_rows.many";
    read_rows(live->stmt, sql + " LIMIT 1000");  // all that is allocated once is there
    const bool measured = reset_peak();
    EXPECT_EQ(read_rows(live->stmt, sql + " LIMIT 1000").second, 1000);
    const long few = peak_kib();
    reset_peak();
    const auto [sum, count] = read_rows(live->stmt, sql);
    const long many = peak_kib();
    EXPECT_EQ(count, many_rows);
    EXPECT_EQ(sum, static_cast<long long>(many_rows) * (many_rows - 1) / 2);
#ifndef __SANITIZE_ADDRESS__  // which keeps freed memory back
    if (measured) {
        EXPECT_LT(many - few, 2048) << few << " KiB for 1,000 rows, " << many << " KiB for all";
    }
#else
    (void)measured, (void)few, (void)many;
#endif
}

// ---- Several results ----------------------------------------------------------------------------

TEST(live_fetch, statements_of_one_connection_interleave)
{
    NEED_NODE("VHCASS_SERVER");
    const live_ptr live = rows_session();
    struct reader {
        SQLHSTMT stmt;
        int step;  // rows taken at each turn
        int next;
    } readers[] = {
        {live->stmt, 1, 0}, {new_stmt(live.get()), 7, 1000}, {new_stmt(live.get()), 130, 2000}};
    for (std::size_t i = 0; i < std::size(readers); i++) {
        const std::string sql = "SELECT n FROM live_rows.many WHERE p = " + std::to_string(i);
        if (i == 1) {
            EXPECT_STMT(SQL_SUCCESS, readers[i].stmt, prepare(readers[i].stmt, sql));
            EXPECT_STMT(SQL_SUCCESS, readers[i].stmt, SQLExecute(readers[i].stmt));
        } else {
            EXPECT_STMT(SQL_SUCCESS, readers[i].stmt, exec(readers[i].stmt, sql));
        }
    }
    int open = 3;
    while (open > 0) {
        for (reader &r : readers) {
            for (int i = 0; i < r.step && r.stmt != nullptr; i++) {
                const SQLRETURN code = SQLFetch(r.stmt);
                if (code == SQL_NO_DATA) {
                    open--;
                    if (r.stmt != live->stmt)
                        SQLFreeHandle(SQL_HANDLE_STMT, r.stmt);
                    r.stmt = nullptr;
                    break;
                }
                ASSERT_STMT(SQL_SUCCESS, r.stmt, code);
                ASSERT_EQ(int_cell(r.stmt, 1), r.next++);
            }
        }
        // Other requests in between disturb no result.
        if (readers[0].next % 50 == 0) {
            EXPECT_EQ(query(live->conn, "SELECT n FROM live_rows.many WHERE p = 99 LIMIT 2"),
                      (row_list{"99000", "99001"}));
        }
    }
    EXPECT_EQ(readers[0].next, 1000);
    EXPECT_EQ(readers[1].next, 2000);
    EXPECT_EQ(readers[2].next, 3000);
}

// ---- Edges of pages -----------------------------------------------------------------------------

TEST(live_fetch, results_of_every_size_end_where_they_should)
{
    NEED_NODE("VHCASS_SERVER");
    const live_ptr live = rows_session();
    const SQLHSTMT stmt = live->stmt;
    struct size_case {
        std::string sql;
        int rows;
    };
    std::vector<size_case> cases = {{"SELECT n FROM live_rows.sizes WHERE p = 12345", 0}};
    for (const int size : {1, 99, 100, 101, 200, 300})
        cases.push_back({"SELECT n FROM live_rows.sizes WHERE p = " + std::to_string(size), size});
    for (const int limit : {1, 99, 100, 101, 200, 250, 1000})
        cases.push_back(
            {"SELECT n FROM live_rows.sizes WHERE p = 300 LIMIT " + std::to_string(limit),
             std::min(limit, 300)});
    for (const bool prepared : {false, true}) {
        for (const size_case &c : cases) {
            SCOPED_TRACE(c.sql + (prepared ? " (prepared)" : ""));
            if (prepared) {
                ASSERT_STMT(SQL_SUCCESS, stmt, prepare(stmt, c.sql));
                ASSERT_STMT(SQL_SUCCESS, stmt, SQLExecute(stmt));
            } else {
                ASSERT_STMT(SQL_SUCCESS, stmt, exec(stmt, c.sql));
            }
            for (int n = 0; n < c.rows; n++) {
                ASSERT_STMT(SQL_SUCCESS, stmt, SQLFetch(stmt));
                ASSERT_EQ(int_cell(stmt, 1), n);
            }
            EXPECT_STMT(SQL_NO_DATA, stmt, SQLFetch(stmt));
            EXPECT_STMT(SQL_NO_DATA, stmt, SQLFetch(stmt));
            SQLFreeStmt(stmt, SQL_CLOSE);
        }
    }
}

// A result left in the middle of a page, and of a later page, does not leak into the next one.
TEST(live_fetch, unfinished_results_are_dropped)
{
    NEED_NODE("VHCASS_SERVER");
    const live_ptr live = rows_session();
    const SQLHSTMT stmt = live->stmt;
    for (const int left_after : {0, 1, 99, 100, 101, 250}) {
        SCOPED_TRACE(left_after);
        ASSERT_STMT(SQL_SUCCESS, stmt, exec(stmt, "SELECT n FROM live_rows.many WHERE p = 3"));
        for (int n = 0; n < left_after; n++)
            ASSERT_STMT(SQL_SUCCESS, stmt, SQLFetch(stmt));
        if (left_after % 2 == 0)
            EXPECT_STMT(SQL_SUCCESS, stmt, SQLCloseCursor(stmt));
        else
            EXPECT_STMT(SQL_SUCCESS, stmt, SQLFreeStmt(stmt, SQL_CLOSE));
        ASSERT_STMT(SQL_SUCCESS, stmt,
                    exec(stmt, "SELECT n, p FROM live_rows.sizes WHERE p = 101"));
        const row_list rows = fetch_all(stmt);
        EXPECT_EQ(rows.size(), 101u);
        EXPECT_EQ(rows.back(), "100|101");
        SQLFreeStmt(stmt, SQL_CLOSE);
    }
}
