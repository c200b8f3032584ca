// Statements through the Driver Manager: the server's refusals and warnings, keyspaces and tables
// made and dropped, text beyond ASCII.
#include "tests/live/live_support.h"

using live_statements = live_test;

TEST_F(live_statements, refusals_and_warnings_are_the_servers)
{
    EXPECT_STMT(SQL_ERROR, stmt, exec(stmt, "SELEC k FROM t"));
    expect_record(SQL_HANDLE_STMT, stmt,
                  "08S01 Communication link failure: error code 8192 'line 1:0 no viable "
                  "alternative at input 'SELEC'");
    EXPECT_STMT(SQL_SUCCESS_WITH_INFO, stmt, exec(stmt, "SELECT count(*) FROM system.local"));
    EXPECT_EQ(stmt_records(stmt),
              record_list{"01000 Aggregation query used without partition key"});
    EXPECT_EQ(fetch_all(stmt), row_list{"1"});
}

TEST_F(live_statements, keyspaces_and_tables_come_and_go)
{
    use_keyspace("live_use");
    run(stmt, "CREATE TABLE t (p int, n int, t text, PRIMARY KEY (p, n))");
    run(stmt, "BEGIN BATCH INSERT INTO t (p, n) VALUES (1, 2); INSERT INTO t (p, n) VALUES (1, 3); "
              "APPLY BATCH");
    EXPECT_EQ(query(conn, "SELECT n FROM t WHERE p = 1"), (row_list{"2", "3"}));
    SQLCHAR name[32] = "";
    SQLGetInfo(conn, SQL_DATABASE_NAME, name, sizeof name, nullptr);
    EXPECT_STREQ(reinterpret_cast<char *>(name), "live_use");
    // Escapes are blanked on their way; maps are in braces too, and stay what they are.
    for (const char *sql :
         {"CREATE TABLE u (k date PRIMARY KEY)", "ALTER TABLE u ADD v map<text, int>",
          "INSERT INTO u (k, v) VALUES ({d '2024-02-29'}, {'\xC3\x85': 5})",
          "CREATE TYPE x (a int)"})
        EXPECT_STMT(SQL_SUCCESS, stmt, exec(stmt, sql)) << sql;
    // ANSI text is UTF-8 and reaches the server as it is.
    EXPECT_EQ(query(conn, "  SELECT {fn cast(k as text)}, v['\xC3\x85'] FROM u -- why?\n; "),
              row_list{"2024-02-29|5"});
    EXPECT_STMT(SQL_SUCCESS, stmt, exec(stmt, "DROP TABLE u"));
}
