// The life of a statement through the Driver Manager: prepared and executed again, closed in all
// ways, counts and names, native text, keyspaces and tables made and dropped, text beyond ASCII.
#include <clocale>
#include <cstring>

#include "tests/live/live_support.h"

static live_ptr table_session(const std::string &keyspace)
{
    live_ptr live = live_logged_on();
    make_keyspace(live->stmt, keyspace);
    run(live->stmt, "CREATE TABLE " + keyspace + ".t (p int, n int, t text, PRIMARY KEY (p, n))");
    for (int n = 0; n < 3; n++)
        run(live->stmt, "INSERT INTO " + keyspace + ".t (p, n, t) VALUES (1, " + std::to_string(n) +
                            ", 'row')");
    return live;
}

static SQLSMALLINT column_count(SQLHSTMT stmt)
{
    SQLSMALLINT count = -1;
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLNumResultCols(stmt, &count));
    return count;
}

TEST(live_statements, prepared_statement_runs_again_and_again)
{
    NEED_NODE("VHCASS_SERVER");
    const live_ptr live = table_session("live_again");
    const SQLHSTMT stmt = live->stmt;
    ASSERT_STMT(SQL_SUCCESS, stmt, prepare(stmt, "SELECT n FROM live_again.t WHERE p = 1"));
    EXPECT_EQ(column_count(stmt), 1);
    for (int turn = 0; turn < 3; turn++) {
        SCOPED_TRACE(turn);
        ASSERT_STMT(SQL_SUCCESS, stmt, SQLExecute(stmt));
        if (turn == 1)
            EXPECT_STMT(SQL_SUCCESS, stmt, SQLFetch(stmt));  // and left there
        else
            EXPECT_EQ(fetch_all(stmt), (row_list{"0", "1", "2"}));
        EXPECT_STMT(SQL_SUCCESS, stmt,
                    turn == 0 ? SQLFreeStmt(stmt, SQL_CLOSE) : SQLCloseCursor(stmt));
    }
    // Another text on the same statement: direct, then prepared.
    ASSERT_STMT(SQL_SUCCESS, stmt,
                exec(stmt, "SELECT p, n, t FROM live_again.t WHERE p = 1 LIMIT 1"));
    EXPECT_EQ(fetch_all(stmt), row_list{"1|0|row"});
    SQLFreeStmt(stmt, SQL_CLOSE);
    ASSERT_STMT(SQL_SUCCESS, stmt, prepare(stmt, "INSERT INTO live_again.t (p, n) VALUES (2, 7)"));
    EXPECT_EQ(column_count(stmt), 0);
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLExecute(stmt));
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLExecute(stmt));
    EXPECT_EQ(query(live->conn, "SELECT n FROM live_again.t WHERE p = 2"), row_list{"7"});
}

// The table of a prepared statement changes under it: the server's complaint is the application's.
TEST(live_statements, table_dropped_under_a_prepared_statement)
{
    NEED_NODE("VHCASS_SERVER");
    const live_ptr live = table_session("live_dropped");
    const SQLHSTMT stmt = live->stmt;
    ASSERT_STMT(SQL_SUCCESS, stmt, prepare(stmt, "SELECT n FROM live_dropped.t WHERE p = 1"));
    const SQLHSTMT other = new_stmt(live.get());
    run(other, "DROP TABLE live_dropped.t");
    EXPECT_STMT(SQL_ERROR, stmt, SQLExecute(stmt));
    expect_records(SQL_HANDLE_STMT, stmt, {"08S01 error code 9472 'Prepared query with ID"});
    SQLFreeHandle(SQL_HANDLE_STMT, other);
}

TEST(live_statements, counts_more_results_and_cancel)
{
    NEED_NODE("VHCASS_SERVER");
    const live_ptr live = table_session("live_counts");
    const SQLHSTMT stmt = live->stmt;
    for (const char *sql : {"INSERT INTO live_counts.t (p, n) VALUES (1, 9)",
                            "DELETE FROM live_counts.t WHERE p = 1 AND n = 9",
                            "SELECT n FROM live_counts.t WHERE p = 1"}) {
        SCOPED_TRACE(sql);
        ASSERT_STMT(SQL_SUCCESS, stmt, exec(stmt, sql));
        SQLLEN rows = 7;
        EXPECT_STMT(SQL_SUCCESS, stmt, SQLRowCount(stmt, &rows));
        EXPECT_EQ(rows, -1);
        EXPECT_STMT(SQL_NO_DATA, stmt, SQLMoreResults(stmt));
        SQLFreeStmt(stmt, SQL_CLOSE);
    }
    // A conditional insert answers with a row.
    ASSERT_STMT(SQL_SUCCESS, stmt,
                exec(stmt, "INSERT INTO live_counts.t (p, n) VALUES (1, 0) IF NOT EXISTS"));
    EXPECT_GE(column_count(stmt), 1);
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLFetch(stmt));
    EXPECT_EQ(cell_text(stmt, 1), "0");
    SQLFreeStmt(stmt, SQL_CLOSE);

    EXPECT_STMT(SQL_SUCCESS, stmt, SQLCancel(stmt));
    ASSERT_STMT(SQL_SUCCESS, stmt, prepare(stmt, "SELECT n FROM live_counts.t WHERE p = 1"));
    EXPECT_STMT(SQL_ERROR, stmt, SQLCancel(stmt));  // nothing can be stopped: it says so
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLExecute(stmt));
    EXPECT_EQ(fetch_all(stmt).size(), 3u);
}

TEST(live_statements, reading_without_a_result)
{
    NEED_NODE("VHCASS_SERVER");
    const live_ptr live = table_session("live_without");
    const SQLHSTMT stmt = live->stmt;
    run(stmt, "INSERT INTO live_without.t (p, n) VALUES (1, 9)");
    EXPECT_FALSE(SQL_SUCCEEDED(SQLFetch(stmt)));
    ASSERT_STMT(SQL_SUCCESS, stmt, exec(stmt, "SELECT n FROM live_without.t WHERE p = 1"));
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLFetch(stmt));
    char text[8];
    SQLLEN length = 0;
    for (const SQLUSMALLINT column : {0, 2, 1000}) {
        EXPECT_STMT(SQL_ERROR, stmt,
                    SQLGetData(stmt, column, SQL_C_CHAR, text, sizeof text, &length));
        expect_records(SQL_HANDLE_STMT, stmt, {"07009"});
    }
    EXPECT_STMT(SQL_ERROR, stmt, SQLGetData(stmt, 1, 4711, text, sizeof text, &length));
    EXPECT_EQ(cell_text(stmt, 1), "0");
    EXPECT_EQ(cell_text(stmt, 1), "<SQL_NO_DATA>");
}

TEST(live_statements, cursor_names)
{
    NEED_NODE("VHCASS_SERVER");
    const live_ptr live = live_logged_on();
    const SQLHSTMT second = new_stmt(live.get());
    const struct {
        SQLHSTMT stmt;
        const char *name;
    } cases[] = {{live->stmt, "SQL_CUR00000000"}, {second, "SQL_CUR00000001"}};
    for (const auto &c : cases) {
        SQLCHAR name[32] = "";
        SQLSMALLINT length = 0;
        EXPECT_STMT(SQL_SUCCESS, c.stmt, SQLGetCursorName(c.stmt, name, sizeof name, &length));
        EXPECT_STREQ(reinterpret_cast<char *>(name), c.name);
        EXPECT_EQ(length, 15);
        EXPECT_STMT(SQL_SUCCESS, c.stmt, SQLSetCursorName(c.stmt, odbc_text("mine"), SQL_NTS));
        EXPECT_STMT(SQL_SUCCESS_WITH_INFO, c.stmt, SQLGetCursorName(c.stmt, name, 3, &length));
        EXPECT_STREQ(reinterpret_cast<char *>(name), "mi");
        EXPECT_EQ(length, 4);
    }
    SQLFreeHandle(SQL_HANDLE_STMT, second);
}

TEST(live_statements, native_text_is_the_text_and_escapes_are_blanked_on_their_way)
{
    NEED_NODE("VHCASS_SERVER");
    const live_ptr live = table_session("live_native");
    const std::string sql = "SELECT {fn now()} FROM t WHERE d = {d '2024-02-29'}";
    SQLCHAR out[128] = "";
    SQLINTEGER length = 0;
    EXPECT_CONN(SQL_SUCCESS, live->conn,
                SQLNativeSql(live->conn, odbc_text(sql), SQL_NTS, out, sizeof out, &length));
    EXPECT_EQ(reinterpret_cast<char *>(out), sql);
    EXPECT_CONN(SQL_SUCCESS_WITH_INFO, live->conn,
                SQLNativeSql(live->conn, odbc_text(sql), SQL_NTS, out, 8, &length));
    EXPECT_STREQ(reinterpret_cast<char *>(out), "SELECT ");
    EXPECT_EQ(length, static_cast<SQLINTEGER>(sql.size()));

    const SQLHSTMT stmt = live->stmt;
    run(stmt, "CREATE TABLE live_native.d (k date PRIMARY KEY)");
    run(stmt, "INSERT INTO live_native.d (k) VALUES ({d '2024-02-29'})");
    EXPECT_EQ(query(live->conn, "  SELECT {fn cast(k as text)} FROM live_native.d -- why?\n; "),
              row_list{"2024-02-29"});
    // A timestamp escape keeps its "s", and the server refuses it.
    EXPECT_STMT(SQL_ERROR, stmt,
                exec(stmt, "SELECT k FROM live_native.d WHERE k = {ts '2024-02-29 00:00:00'}"));
    expect_records(SQL_HANDLE_STMT, stmt, {"08S01 error code 8192"});
    // Maps and sets are in braces too, and stay what they are.
    run(stmt, "CREATE TABLE live_native.m (k int PRIMARY KEY, m map<text, int>)");
    run(stmt, "INSERT INTO live_native.m (k, m) VALUES (1, {'x': 5})");
    EXPECT_EQ(query(live->conn, "SELECT m['x'] FROM live_native.m"), row_list{"5"});
}

TEST(live_statements, keyspaces_and_tables_come_and_go)
{
    NEED_NODE("VHCASS_SERVER");
    const live_ptr live = table_session("live_use");
    const SQLHSTMT stmt = live->stmt;
    EXPECT_STMT(SQL_ERROR, stmt, exec(stmt, "SELECT n FROM t"));
    EXPECT_STMT(SQL_SUCCESS, stmt, exec(stmt, "USE live_use"));
    EXPECT_STMT(SQL_SUCCESS, stmt, exec(stmt, "SELECT n FROM t WHERE p = 1"));
    EXPECT_EQ(fetch_all(stmt), (row_list{"0", "1", "2"}));
    SQLFreeStmt(stmt, SQL_CLOSE);
    // Every statement of the connection sees it, no other connection does.
    EXPECT_EQ(query(live->conn, "SELECT n FROM t WHERE p = 1").size(), 3u);
    const live_ptr other = live_logged_on();
    EXPECT_STMT(SQL_ERROR, other->stmt, exec(other->stmt, "SELECT n FROM t"));
    SQLCHAR name[32] = "";
    EXPECT_CONN(SQL_SUCCESS, live->conn,
                SQLGetInfo(live->conn, SQL_DATABASE_NAME, name, sizeof name, nullptr));
    EXPECT_STREQ(reinterpret_cast<char *>(name), "live_use");

    for (const char *sql : {"CREATE TABLE u (k int PRIMARY KEY)", "ALTER TABLE u ADD v text",
                            "INSERT INTO u (k, v) VALUES (1, 'x')", "CREATE INDEX ON u (v)",
                            "CREATE TYPE pair (a int)", "TRUNCATE u", "DROP TABLE u"}) {
        SCOPED_TRACE(sql);
        EXPECT_STMT(SQL_SUCCESS, stmt, exec(stmt, sql));
        EXPECT_EQ(column_count(stmt), 0);
    }
}

// ---- Text beyond ASCII --------------------------------------------------------------------------

// An application's ANSI text is UTF-8 and reaches the server as it is, whatever the locale.
TEST(live_statements, ansi_text_is_utf_8)
{
    NEED_NODE("VHCASS_SERVER");
    const std::string word = "\xC3\x85land \xE2\x82\xAC \xF0\x9F\x98\x80";
    for (const char *locale : {"C", "C.UTF-8"}) {
        SCOPED_TRACE(locale);
        std::setlocale(LC_ALL, locale);
        const live_ptr live = table_session("live_ansi");
        const SQLHSTMT stmt = live->stmt;
        run(stmt, "INSERT INTO live_ansi.t (p, n, t) VALUES (9, 1, '" + word + "')");
        EXPECT_STMT(
            SQL_SUCCESS, stmt,
            prepare(stmt, "INSERT INTO live_ansi.t (p, n, t) VALUES (9, 2, '" + word + "')"));
        EXPECT_STMT(SQL_SUCCESS, stmt, SQLExecute(stmt));
        EXPECT_EQ(query(live->conn, "SELECT t FROM live_ansi.t WHERE p = 9"),
                  (row_list{word, word}));
        EXPECT_EQ(
            query(live->conn, "SELECT n FROM live_ansi.t WHERE t = '" + word + "' ALLOW FILTERING"),
            (row_list{"1", "2"}));
    }
    std::setlocale(LC_ALL, "C");
}

// A wide text goes out in the low bytes of its units: below 128 whole, and UTF-8 by an application
// that widens its bytes. What is no UTF-8 then is for the server to judge.
TEST(live_statements, wide_text_goes_out_in_low_bytes)
{
    NEED_NODE("VHCASS_SERVER");
    const live_ptr live = live_open();
    ASSERT_CONN(SQL_SUCCESS, live->conn, driver_connect_wide(live->conn, node_settings()));
    live->stmt = new_stmt(live.get());
    const SQLHSTMT stmt = live->stmt;
    make_keyspace(stmt, "live_wide");
    run(stmt, "CREATE TABLE live_wide.t (n int PRIMARY KEY, t text)");
    const struct {
        std::u16string sql;
        SQLRETURN code;
    } cases[] = {
        {u"INSERT INTO live_wide.t (n, t) VALUES (1, 'plain')", SQL_SUCCESS},
        {u"INSERT INTO live_wide.t (n, t) VALUES (2, '\u00C3\u00A9')", SQL_SUCCESS},
        {u"\uFEFFINSERT INTO live_wide.t (n, t) VALUES (3, '\uFFFE')", SQL_SUCCESS},
    };
    for (const auto &c : cases)
        EXPECT_STMT(c.code, stmt, SQLExecDirectW(stmt, odbc_wide(c.sql), SQL_NTS));
    const std::u16string select = u"SELECT t FROM live_wide.t WHERE n = 2 ignored";
    ASSERT_STMT(SQL_SUCCESS, stmt,
                SQLPrepareW(stmt, odbc_wide(select), static_cast<SQLINTEGER>(select.size() - 8)));
    ASSERT_STMT(SQL_SUCCESS, stmt, SQLExecute(stmt));
    ASSERT_STMT(SQL_SUCCESS, stmt, SQLFetch(stmt));
    SQLWCHAR wide[8] = {};
    SQLLEN length = 0;
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLGetData(stmt, 1, SQL_C_WCHAR, wide, sizeof wide, &length));
    EXPECT_EQ(length, 2);
    EXPECT_EQ(wide[0], 0xE9);
    SQLFreeStmt(stmt, SQL_CLOSE);
    EXPECT_EQ(query(live->conn, "SELECT t FROM live_wide.t WHERE n = 3"), row_list{""});

    const std::u16string latin = u"SELECT n FROM live_wide.t WHERE t = '\u00E9' ALLOW FILTERING";
    EXPECT_STMT(SQL_ERROR, stmt, SQLExecDirectW(stmt, odbc_wide(latin), SQL_NTS));
    expect_records(SQL_HANDLE_STMT, stmt, {"08S01 error code 10 'Cannot decode string as UTF8"});
    expect_alive(live->conn);
}
