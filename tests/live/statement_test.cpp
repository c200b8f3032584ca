// The life of a statement through the Driver Manager: prepared and executed again, closed in all
// ways, keyspaces and tables made and dropped, text beyond ASCII.
#include "tests/live/live_support.h"

struct live_statements : live_test {
    // With three rows in the table t.
    void make_table(const std::string &keyspace)
    {
        use_keyspace(keyspace);
        run(stmt, "CREATE TABLE t (p int, n int, t text, PRIMARY KEY (p, n))");
        change_rows(stmt, "INSERT INTO t (p, n, t) VALUES (1, {n}, 'row')", 0, 3);
    }
};

TEST_F(live_statements, refusals_and_warnings_are_the_servers)
{
    EXPECT_STMT(SQL_ERROR, stmt, exec(stmt, "SELEC k FROM t"));
    expect_records(SQL_HANDLE_STMT, stmt,
                   {"08S01 Communication link failure: error code 8192 'line 1:0 no viable "
                    "alternative at input 'SELEC'"});
    EXPECT_STMT(SQL_SUCCESS_WITH_INFO, stmt, exec(stmt, "SELECT count(*) FROM system.local"));
    EXPECT_EQ(stmt_records(stmt),
              record_list{"01000 Aggregation query used without partition key"});
    EXPECT_EQ(fetch_all(stmt), row_list{"1"});
}

TEST_F(live_statements, keyspaces_and_tables_come_and_go)
{
    make_table("live_use");
    EXPECT_EQ(query(conn, "SELECT n FROM t WHERE p = 1").size(), 3u);
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

// A wide text goes out in the low bytes of its units: below 128 whole, and UTF-8 by an application
// that widens its bytes.
TEST_F(live_statements, wide_text_goes_out_in_low_bytes)
{
    log_on(true);
    make_table("live_wide");
    const std::u16string insert = u"INSERT INTO t (p, n, t) VALUES (2, 1, '\u00C3\u00A9')";
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLExecDirectW(stmt, odbc_wide(insert), SQL_NTS));
    // Names come from the server as UTF-8 and are kept one code unit a byte.
    const std::u16string select =
        u"SELECT t AS \"\u00C3\u00A9\" FROM live_wide.t WHERE p = 2 beyond";
    ASSERT_STMT(SQL_SUCCESS, stmt,
                SQLPrepareW(stmt, odbc_wide(select), static_cast<SQLINTEGER>(select.size() - 7)));
    ASSERT_STMT(SQL_SUCCESS, stmt, SQLExecute(stmt));
    ASSERT_STMT(SQL_SUCCESS, stmt, SQLFetch(stmt));
    SQLWCHAR text[8] = {}, name[8] = {};
    SQLLEN length = 0;
    SQLGetData(stmt, 1, SQL_C_WCHAR, text, sizeof text, &length);
    SQLDescribeColW(stmt, 1, name, 8, nullptr, nullptr, nullptr, nullptr, nullptr);
    EXPECT_EQ(reinterpret_cast<char16_t *>(text), std::u16string(u"\u00E9"));
    EXPECT_EQ(reinterpret_cast<char16_t *>(name), std::u16string(u"\u00C3\u00A9"));
}
