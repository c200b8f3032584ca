// Attributes of connection and statement set and read back through the Driver Manager, and an
// application of ODBC 2.
#include "tests/live/live_support.h"

using live_attributes = live_test;

TEST_F(live_attributes, values_read_back_in_their_width)
{
    // A largest number of rows does nothing to a result.
    for (const SQLINTEGER attribute : {SQL_ATTR_MAX_ROWS, SQL_ATTR_MAX_LENGTH}) {
        SQLULEN value = 0x5555555555555555;
        set_attribute(stmt, attribute, odbc_number(0x100000001));
        EXPECT_STMT(SQL_SUCCESS, stmt, SQLGetStmtAttr(stmt, attribute, &value, 0, nullptr));
        EXPECT_EQ(value, 0x100000001u);
    }
    set_attribute(stmt, SQL_ATTR_MAX_ROWS, odbc_number(1));
    EXPECT_STMT(SQL_ERROR, stmt, SQLSetStmtAttr(stmt, 4711, odbc_number(1), 0));
    expect_records(SQL_HANDLE_STMT, stmt, {"HY092"});
    EXPECT_STMT(SQL_SUCCESS, stmt, exec(stmt, "SELECT keyspace_name FROM system_schema.keyspaces"));
    EXPECT_GT(fetch_all(stmt).size(), 3u);

    SQLUINTEGER value[2] = {0, 0x55555555};
    const SQLINTEGER timeout = SQL_ATTR_CONNECTION_TIMEOUT;
    EXPECT_CONN(SQL_SUCCESS, conn, SQLSetConnectAttr(conn, timeout, odbc_number(1), 0));
    EXPECT_CONN(SQL_SUCCESS, conn, SQLGetConnectAttr(conn, timeout, value, 0, nullptr));
    EXPECT_EQ(std::pair(value[0], value[1]), std::pair(1u, 0x55555555u));
}

TEST_F(live_attributes, codes_options_errors_and_blocks_are_those_of_odbc_2)
{
    log_on_with("", SQL_OV_ODBC2);
    use_keyspace("live_odbc2");
    run(stmt, "CREATE TABLE t (p int, n int, d date, PRIMARY KEY (p, n))");
    change_rows(stmt, "INSERT INTO t (p, n, d) VALUES (1, {n}, '2024-02-29')", 0, 8);
    SQLLEN type = 0, lengths[5];
    SQLINTEGER n[5] = {-1, -1, -1, -1, -1};
    SQLULEN fetched = 77;
    std::vector<SQLUSMALLINT> status(6, 77);
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLSetStmtOption(stmt, SQL_ROWSET_SIZE, 5));
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLGetStmtOption(stmt, SQL_ROWSET_SIZE, &fetched));
    EXPECT_EQ(fetched, 5u);
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLBindCol(stmt, 1, SQL_C_LONG, n, 0, lengths));
    ASSERT_STMT(SQL_SUCCESS, stmt, exec(stmt, "SELECT n, d FROM t WHERE p = 1"));
    SQLColAttributes(stmt, 2, SQL_COLUMN_TYPE, nullptr, 0, nullptr, &type);
    EXPECT_EQ(type, SQL_DATE);
    const auto extended_fetch = [&](SQLUSMALLINT orientation) {
        return SQLExtendedFetch(stmt, orientation, 0, &fetched, status.data());
    };
    for (const SQLULEN rows : {5u, 3u}) {
        EXPECT_STMT(SQL_SUCCESS, stmt, extended_fetch(SQL_FETCH_NEXT));
        EXPECT_EQ(fetched, rows);
        EXPECT_EQ(n[rows - 1], rows == 5 ? 4 : 7);
    }
    EXPECT_EQ(status, (std::vector<SQLUSMALLINT>{0, 0, 0, 3, 3, 77}));
    EXPECT_STMT(SQL_ERROR, stmt, extended_fetch(SQL_FETCH_FIRST));
    EXPECT_STMT(SQL_NO_DATA, stmt, extended_fetch(SQL_FETCH_NEXT));
    SQLFreeStmt(stmt, SQL_CLOSE);
    // Its block size is its own: SQLFetch still takes one row at a time.
    ASSERT_STMT(SQL_SUCCESS, stmt, exec(stmt, "SELECT n, d FROM t WHERE p = 1"));
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLFetch(stmt));
    EXPECT_EQ(std::pair(n[0], n[1]), std::pair(0, 6));

    EXPECT_STMT(SQL_ERROR, stmt, SQLSetStmtOption(stmt, 4711, 1));
    SQLCHAR state[6] = "", text[256] = "";
    SQLINTEGER native = -1;
    SQLError(live->env, conn, stmt, state, &native, text, sizeof text, nullptr);
    EXPECT_STREQ(reinterpret_cast<char *>(state), "S1092");
}
