// Attributes of connection and statement set and read back through the Driver Manager, and an
// application of ODBC 2.
#include "tests/live/live_support.h"

using live_attributes = live_test;
using live_odbc2 = live_test;

TEST_F(live_attributes, values_read_back_in_their_width)
{
    SQLULEN place = 0;
    const struct {
        SQLINTEGER attribute;
        SQLULEN set, read;
    } cases[] = {
        {SQL_ATTR_QUERY_TIMEOUT, 30, 30},
        {SQL_ATTR_MAX_LENGTH, 0x100000001, 0x100000001},
        {SQL_ATTR_MAX_ROWS, 1, 1},
        {SQL_ATTR_ROW_ARRAY_SIZE, 0, 1},
        {SQL_ATTR_PARAMSET_SIZE, 3, 3},
        {SQL_ATTR_ROWS_FETCHED_PTR, SQLULEN(&place), SQLULEN(&place)},
        {SQL_ATTR_CURSOR_TYPE, SQL_CURSOR_STATIC, SQL_CURSOR_STATIC},
    };
    for (const auto &c : cases) {
        SQLULEN value = 0x5555555555555555;
        set_attribute(stmt, c.attribute, odbc_number(c.set));
        EXPECT_STMT(SQL_SUCCESS, stmt, SQLGetStmtAttr(stmt, c.attribute, &value, 0, nullptr));
        EXPECT_EQ(value, c.read) << "attribute " << c.attribute;
    }
    EXPECT_STMT(SQL_ERROR, stmt, SQLSetStmtAttr(stmt, 4711, odbc_number(1), 0));
    expect_records(SQL_HANDLE_STMT, stmt, {"HY092"});
    // A largest number of rows does nothing to a result.
    EXPECT_STMT(SQL_SUCCESS, stmt, exec(stmt, "SELECT keyspace_name FROM system_schema.keyspaces"));
    EXPECT_GT(fetch_all(stmt).size(), 3u);

    for (const SQLINTEGER attribute : {SQL_ATTR_ACCESS_MODE, SQL_ATTR_CONNECTION_TIMEOUT}) {
        SQLUINTEGER value[2] = {0, 0x55555555};
        EXPECT_CONN(SQL_SUCCESS, conn, SQLSetConnectAttr(conn, attribute, odbc_number(1), 0));
        EXPECT_CONN(SQL_SUCCESS, conn, SQLGetConnectAttr(conn, attribute, value, 0, nullptr));
        EXPECT_EQ(std::pair(value[0], value[1]), std::pair(1u, 0x55555555u)) << attribute;
    }
}

TEST_F(live_odbc2, codes_options_and_errors_are_those_of_odbc_2)
{
    log_on_with("", SQL_OV_ODBC2);
    use_keyspace("live_codes");
    run(stmt, "CREATE TABLE t (k int PRIMARY KEY, d date, w timestamp)");
    run(stmt, "INSERT INTO t (k, d, w) VALUES (1, '2024-02-29', '2024-03-01')");
    ASSERT_STMT(SQL_SUCCESS, stmt, exec(stmt, "SELECT d, w FROM t"));
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLFetch(stmt));
    for (const std::vector<SQLLEN> &wanted :
         {std::vector<SQLLEN>{SQL_DATE, 2024, 2, 29, 6}, {SQL_TIMESTAMP, 2024, 3, 1, 16}}) {
        const SQLUSMALLINT column = wanted[0] == SQL_DATE ? 1 : 2;
        SQLLEN type = 0, length = 0;
        SQL_TIMESTAMP_STRUCT value = {};
        SQLColAttributes(stmt, column, SQL_COLUMN_TYPE, nullptr, 0, nullptr, &type);
        SQLGetData(stmt, column, SQL_C_DEFAULT, &value, sizeof value, &length);
        EXPECT_EQ((std::vector<SQLLEN>{type, value.year, value.month, value.day, length}), wanted);
    }
    SQLFreeStmt(stmt, SQL_CLOSE);
    SQLULEN seconds = 0;
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLSetStmtOption(stmt, SQL_QUERY_TIMEOUT, 11));
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLGetStmtOption(stmt, SQL_QUERY_TIMEOUT, &seconds));
    EXPECT_EQ(seconds, 11u);
    EXPECT_STMT(SQL_ERROR, stmt, SQLSetStmtOption(stmt, 4711, 1));
    SQLCHAR state[6] = "", text[256] = "";
    SQLINTEGER native = -1;
    SQLError(live->env, conn, stmt, state, &native, text, sizeof text, nullptr);
    EXPECT_STREQ(reinterpret_cast<char *>(state), "S1092");
}

TEST_F(live_odbc2, extended_fetch_takes_its_own_block_size)
{
    log_on_with("", SQL_OV_ODBC2);
    use_keyspace("live_extended");
    run(stmt, "CREATE TABLE t (p int, n int, PRIMARY KEY (p, n))");
    change_rows(stmt, "INSERT INTO t (p, n) VALUES (1, {n})", 0, 8);
    SQLINTEGER n[5] = {-1, -1, -1, -1, -1};
    SQLLEN lengths[5];
    SQLULEN fetched = 77;
    std::vector<SQLUSMALLINT> status(6, 77);
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLSetStmtOption(stmt, SQL_ROWSET_SIZE, 5));
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLBindCol(stmt, 1, SQL_C_LONG, n, 0, lengths));
    ASSERT_STMT(SQL_SUCCESS, stmt, exec(stmt, "SELECT n FROM t WHERE p = 1"));
    const auto extended_fetch = [&](SQLUSMALLINT orientation) {
        return SQLExtendedFetch(stmt, orientation, 0, &fetched, status.data());
    };
    for (const SQLULEN rows : {5u, 3u}) {
        EXPECT_STMT(SQL_SUCCESS, stmt, extended_fetch(SQL_FETCH_NEXT));
        EXPECT_EQ(fetched, rows);
        EXPECT_EQ(n[rows - 1], rows == 5 ? 4 : 7);
    }
    EXPECT_EQ(status, (std::vector<SQLUSMALLINT>{0, 0, 0, SQL_ROW_NOROW, SQL_ROW_NOROW, 77}));
    EXPECT_STMT(SQL_ERROR, stmt, extended_fetch(SQL_FETCH_FIRST));
    EXPECT_STMT(SQL_NO_DATA, stmt, extended_fetch(SQL_FETCH_NEXT));
    SQLFreeStmt(stmt, SQL_CLOSE);
    ASSERT_STMT(SQL_SUCCESS, stmt, exec(stmt, "SELECT n FROM t WHERE p = 1"));
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLFetch(stmt));  // still one row at a time
    EXPECT_EQ(n[1], 6);
}
