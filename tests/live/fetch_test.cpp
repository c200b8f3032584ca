// A large result is read page by page with flat memory.
#include <algorithm>
#include <fstream>

#include "tests/live/live_support.h"

static constexpr int many_rows = 100000;

// A table of 100,000 rows in partitions of 1000. Rows are the same at every run, so that a node
// that has them keeps them.
struct live_fetch : live_test {
    void load_rows()
    {
        note_keyspace("live_rows");
        run(stmt, "CREATE KEYSPACE IF NOT EXISTS live_rows WITH replication = "
                  "{'class': 'SimpleStrategy', 'replication_factor': 1}");
        run(stmt, "USE live_rows");
        run(stmt, "CREATE TABLE IF NOT EXISTS loaded (k int PRIMARY KEY)");
        if (!query(conn, "SELECT k FROM loaded WHERE k = 1").empty())
            return;
        run(stmt, "CREATE TABLE IF NOT EXISTS many (p int, n int, t text, PRIMARY KEY (p, n))");
        const std::string row = "INSERT INTO many (p, n, t) VALUES ({p}, {n}, 'row {n}')";
        for (int n = 0; n < many_rows; n += 250)
            change_rows(stmt, replaced(row, "{p}", std::to_string(n / 1000)), n, n + 250);
        run(stmt, "INSERT INTO loaded (k) VALUES (1)");
    }
};

// Reads rows to the end, each once; the peak of resident memory meanwhile in KiB, or 0 where the
// system does not let us measure it.
static long peak_of_reading(SQLHSTMT stmt, const std::string &sql, std::size_t rows)
{
    std::ofstream reset("/proc/self/clear_refs");
    reset << "5" << std::flush;
    std::vector<bool> seen(many_rows);
    EXPECT_STMT(SQL_SUCCESS, stmt, exec(stmt, sql));
    while (SQLFetch(stmt) == SQL_SUCCESS) {
        const std::string n = cell_text(stmt, 1);
        EXPECT_EQ(cell_text(stmt, 2), "row " + n);
        seen.at(std::stoul(n)) = true;
    }
    expect_records(SQL_HANDLE_STMT, stmt, {});
    SQLFreeStmt(stmt, SQL_CLOSE);
    EXPECT_EQ(std::count(seen.begin(), seen.end(), true), static_cast<std::ptrdiff_t>(rows));
    std::ifstream status("/proc/self/status");
    std::string line;
    while (reset.good() && std::getline(status, line)) {
        if (line.starts_with("VmHWM:"))
            return std::strtol(line.c_str() + 6, nullptr, 10);
    }
    return 0;
}

TEST_F(live_fetch, many_rows_take_no_more_memory_than_a_few)
{
    load_rows();
    const std::string sql = "SELECT n, t FROM many";
    peak_of_reading(stmt, sql + " LIMIT 1000", 1000);  // allocates what is allocated once
    [[maybe_unused]] const long few = peak_of_reading(stmt, sql + " LIMIT 1000", 1000);
    [[maybe_unused]] const long many = peak_of_reading(stmt, sql, many_rows);
#ifndef __SANITIZE_ADDRESS__  // which keeps freed memory back
    EXPECT_LT(many - few, 2048) << few << " KiB for 1,000 rows, " << many << " KiB for all";
#endif
}
