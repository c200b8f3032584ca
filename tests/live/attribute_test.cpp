// Attributes of environment, connection and statement set and read back through the Driver Manager,
// and an application of ODBC 2.
#include <cstring>

#include "tests/live/live_support.h"

static SQLULEN stmt_attribute(SQLHSTMT stmt, SQLINTEGER attribute)
{
    SQLULEN value = 0x5555555555555555;
    EXPECT_STMT(SQL_SUCCESS, stmt,
                SQLGetStmtAttr(stmt, attribute, &value, SQL_IS_UINTEGER, nullptr));
    return value;
}

TEST(live_attributes, statement_attributes_read_back_in_their_width)
{
    NEED_NODE("VHCASS_SERVER");
    const live_ptr live = live_logged_on();
    const SQLHSTMT stmt = live->stmt;
    const struct {
        SQLINTEGER attribute;
        SQLULEN set;
        SQLULEN read;
    } cases[] = {
        {SQL_ATTR_QUERY_TIMEOUT, 30, 30},
        {SQL_ATTR_MAX_ROWS, 7, 7},
        {SQL_ATTR_MAX_LENGTH, 0x100000001, 0x100000001},
        {SQL_ATTR_NOSCAN, SQL_NOSCAN_ON, SQL_NOSCAN_ON},
        {SQL_ATTR_ROW_ARRAY_SIZE, 40, 40},
        {SQL_ATTR_ROW_ARRAY_SIZE, 0, 1},
        {SQL_ATTR_ROW_BIND_TYPE, 64, 64},
        {SQL_ATTR_PARAMSET_SIZE, 3, 3},
        {SQL_ATTR_PARAMSET_SIZE, 1, 1},
        {SQL_ATTR_RETRIEVE_DATA, SQL_RD_OFF, SQL_RD_OFF},
        {SQL_ATTR_KEYSET_SIZE, 12, 12},
        {SQL_ATTR_METADATA_ID, SQL_TRUE, SQL_TRUE},
        {SQL_ATTR_CURSOR_TYPE, SQL_CURSOR_STATIC, SQL_CURSOR_STATIC},
    };
    for (const auto &c : cases) {
        EXPECT_STMT(SQL_SUCCESS, stmt, SQLSetStmtAttr(stmt, c.attribute, odbc_number(c.set), 0));
        EXPECT_EQ(stmt_attribute(stmt, c.attribute), c.read) << "attribute " << c.attribute;
    }
    // A static cursor is scrollable, and a direct execution leaves it so.
    EXPECT_EQ(stmt_attribute(stmt, SQL_ATTR_CURSOR_SCROLLABLE), SQLULEN(SQL_SCROLLABLE));
    EXPECT_STMT(SQL_SUCCESS, stmt, exec(stmt, "SELECT key FROM system.local"));
    EXPECT_EQ(stmt_attribute(stmt, SQL_ATTR_CURSOR_TYPE), SQLULEN(SQL_CURSOR_STATIC));
    SQLFreeStmt(stmt, SQL_CLOSE);

    // MAX_ROWS and MAX_LENGTH do nothing to a result.
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLSetStmtAttr(stmt, SQL_ATTR_MAX_ROWS, odbc_number(1), 0));
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLSetStmtAttr(stmt, SQL_ATTR_MAX_LENGTH, odbc_number(2), 0));
    EXPECT_STMT(SQL_SUCCESS, stmt, exec(stmt, "SELECT keyspace_name FROM system_schema.keyspaces"));
    EXPECT_GT(fetch_all(stmt).size(), 3u);

    SQLUSMALLINT status[2];
    SQLULEN fetched;
    for (const auto &[attribute, pointer] :
         {std::pair<SQLINTEGER, void *>(SQL_ATTR_ROW_STATUS_PTR, status),
          {SQL_ATTR_ROWS_FETCHED_PTR, &fetched},
          {SQL_ATTR_PARAM_STATUS_PTR, status}}) {
        void *read = nullptr;
        SQLINTEGER length = 0;
        EXPECT_STMT(SQL_SUCCESS, stmt, SQLSetStmtAttr(stmt, attribute, pointer, 0));
        EXPECT_STMT(SQL_SUCCESS, stmt,
                    SQLGetStmtAttr(stmt, attribute, &read, SQL_IS_POINTER, &length));
        EXPECT_EQ(read, pointer);
    }
    EXPECT_STMT(SQL_ERROR, stmt, SQLSetStmtAttr(stmt, 4711, odbc_number(1), 0));
    expect_records(SQL_HANDLE_STMT, stmt, {"HY092"});
}

TEST(live_attributes, connection_attributes_and_their_statements)
{
    NEED_NODE("VHCASS_SERVER");
    const live_ptr live = live_logged_on();
    const SQLHDBC conn = live->conn;
    const struct {
        SQLINTEGER attribute;
        SQLUINTEGER set;
    } cases[] = {{SQL_ATTR_ACCESS_MODE, SQL_MODE_READ_ONLY},
                 {SQL_ATTR_AUTOCOMMIT, SQL_AUTOCOMMIT_OFF},
                 {SQL_ATTR_TXN_ISOLATION, SQL_TXN_SERIALIZABLE},
                 {SQL_ATTR_CONNECTION_TIMEOUT, 9},
                 {SQL_ATTR_METADATA_ID, SQL_TRUE}};
    for (const auto &c : cases) {
        SQLUINTEGER value[2] = {0, 0x55555555};
        EXPECT_CONN(SQL_SUCCESS, conn, SQLSetConnectAttr(conn, c.attribute, odbc_number(c.set), 0));
        EXPECT_CONN(SQL_SUCCESS, conn, SQLGetConnectAttr(conn, c.attribute, value, 0, nullptr));
        EXPECT_EQ(value[0], c.set) << "attribute " << c.attribute;
        EXPECT_EQ(value[1], 0x55555555u);
    }
    SQLUINTEGER dead = 7;
    EXPECT_CONN(SQL_SUCCESS, conn,
                SQLGetConnectAttr(conn, SQL_ATTR_CONNECTION_DEAD, &dead, 0, nullptr));
    EXPECT_EQ(dead, SQLUINTEGER(SQL_CD_FALSE));

    // There are no transactions: both ends of one succeed.
    EXPECT_CONN(SQL_SUCCESS, conn, SQLEndTran(SQL_HANDLE_DBC, conn, SQL_COMMIT));
    EXPECT_CONN(SQL_SUCCESS, conn, SQLEndTran(SQL_HANDLE_DBC, conn, SQL_ROLLBACK));

    // The catalog has one name, whatever is set.
    EXPECT_CONN(SQL_SUCCESS, conn,
                SQLSetConnectAttr(conn, SQL_ATTR_CURRENT_CATALOG, odbc_text("system"), SQL_NTS));
    SQLCHAR name[32] = "";
    EXPECT_CONN(SQL_SUCCESS, conn,
                SQLGetConnectAttr(conn, SQL_ATTR_CURRENT_CATALOG, name, sizeof name, nullptr));
    EXPECT_STREQ(reinterpret_cast<char *>(name), "CASSANDRA");

    SQLINTEGER version = 0;
    EXPECT_EQ(SQLGetEnvAttr(live->env, SQL_ATTR_ODBC_VERSION, &version, 0, nullptr), SQL_SUCCESS);
    EXPECT_EQ(version, SQL_OV_ODBC3);
    SQLUSMALLINT supported = 0;
    EXPECT_CONN(SQL_SUCCESS, conn, SQLGetFunctions(conn, SQL_API_SQLGETDATA, &supported));
    EXPECT_EQ(supported, SQL_TRUE);
    EXPECT_CONN(SQL_SUCCESS, conn, SQLGetInfo(conn, SQL_DBMS_VER, name, sizeof name, nullptr));
    EXPECT_EQ(std::string(reinterpret_cast<char *>(name)).substr(0, 2), "3.");
}

// ---- ODBC 2 -------------------------------------------------------------------------------------

TEST(live_odbc2, codes_of_dates_and_times_are_those_of_odbc_2)
{
    NEED_NODE("VHCASS_SERVER");
    const live_ptr live = live_logged_on("", SQL_OV_ODBC2);
    const SQLHSTMT stmt = live->stmt;
    make_keyspace(stmt, "live_codes");
    run(stmt,
        "CREATE TABLE live_codes.t (k int PRIMARY KEY, d date, t time, w timestamp, b bigint)");
    run(stmt, "INSERT INTO live_codes.t (k, d, t, w, b) VALUES (1, '2024-02-29', '10:20:30', "
              "'2024-02-29 10:20:30+0000', 5)");
    ASSERT_STMT(SQL_SUCCESS, stmt, exec(stmt, "SELECT d, t, w, b FROM live_codes.t"));
    const SQLSMALLINT types[] = {SQL_DATE, SQL_TIMESTAMP, SQL_TIMESTAMP, SQL_BIGINT};
    for (SQLUSMALLINT column = 1; column <= 4; column++) {
        SCOPED_TRACE(column);
        SQLSMALLINT type = 0;
        EXPECT_STMT(
            SQL_SUCCESS, stmt,
            SQLDescribeCol(stmt, column, nullptr, 0, nullptr, &type, nullptr, nullptr, nullptr));
        EXPECT_EQ(type, types[column - 1]);
        SQLLEN number = 0;
        EXPECT_STMT(SQL_SUCCESS, stmt,
                    SQLColAttributes(stmt, column, SQL_COLUMN_TYPE, nullptr, 0, nullptr, &number));
        EXPECT_EQ(number, types[column - 1]);
    }
    SQLCHAR name[32] = "";
    SQLSMALLINT length = 0;
    EXPECT_STMT(SQL_SUCCESS, stmt,
                SQLColAttributes(stmt, 3, SQL_COLUMN_NAME, name, sizeof name, &length, nullptr));
    EXPECT_STREQ(reinterpret_cast<char *>(name), "w");

    EXPECT_STMT(SQL_SUCCESS, stmt, SQLFetch(stmt));
    SQL_DATE_STRUCT date = {};
    SQL_TIME_STRUCT time = {};
    SQL_TIMESTAMP_STRUCT moment = {};
    SQLLEN lengths[4];
    EXPECT_STMT(SQL_SUCCESS, stmt,
                SQLGetData(stmt, 1, SQL_C_DATE, &date, sizeof date, &lengths[0]));
    EXPECT_EQ(date.day, 29);
    EXPECT_STMT(SQL_SUCCESS, stmt,
                SQLGetData(stmt, 2, SQL_C_TIME, &time, sizeof time, &lengths[1]));
    EXPECT_EQ(time.second, 30);
    EXPECT_STMT(SQL_SUCCESS, stmt,
                SQLGetData(stmt, 3, SQL_C_DEFAULT, &moment, sizeof moment, &lengths[2]));
    EXPECT_EQ(moment.minute, 20);
    EXPECT_EQ(lengths[2], 16);
    // A bigint's default is text here.
    EXPECT_STMT(SQL_SUCCESS, stmt,
                SQLGetData(stmt, 4, SQL_C_DEFAULT, name, sizeof name, &lengths[3]));
    EXPECT_STREQ(reinterpret_cast<char *>(name), "5");
}

TEST(live_odbc2, extended_fetch_takes_its_own_block_size)
{
    NEED_NODE("VHCASS_SERVER");
    const live_ptr live = live_logged_on("", SQL_OV_ODBC2);
    const SQLHSTMT stmt = live->stmt;
    make_keyspace(stmt, "live_extended");
    run(stmt, "CREATE TABLE live_extended.t (p int, n int, PRIMARY KEY (p, n))");
    for (int n = 0; n < 8; n++)
        run(stmt, "INSERT INTO live_extended.t (p, n) VALUES (1, " + std::to_string(n) + ")");

    SQLINTEGER n[6];
    SQLLEN lengths[6];
    SQLULEN fetched = 77;
    SQLUSMALLINT status[6];
    std::fill_n(status, 6, SQLUSMALLINT(77));
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLSetStmtOption(stmt, SQL_ROWSET_SIZE, 5));
    SQLULEN size = 0;
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLGetStmtOption(stmt, SQL_ROWSET_SIZE, &size));
    EXPECT_EQ(size, 5u);
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLBindCol(stmt, 1, SQL_C_LONG, n, 0, lengths));
    ASSERT_STMT(SQL_SUCCESS, stmt, exec(stmt, "SELECT n FROM live_extended.t WHERE p = 1"));
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLExtendedFetch(stmt, SQL_FETCH_NEXT, 0, &fetched, status));
    EXPECT_EQ(fetched, 5u);
    for (int row = 0; row < 5; row++) {
        EXPECT_EQ(n[row], row);
        EXPECT_EQ(status[row], SQL_ROW_SUCCESS);
    }
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLExtendedFetch(stmt, SQL_FETCH_NEXT, 0, &fetched, status));
    EXPECT_EQ(fetched, 3u);
    EXPECT_EQ(n[2], 7);
    EXPECT_EQ(status[2], SQL_ROW_SUCCESS);
    EXPECT_EQ(status[3], SQL_ROW_NOROW);
    EXPECT_EQ(status[5], 77);
    EXPECT_STMT(SQL_ERROR, stmt, SQLExtendedFetch(stmt, SQL_FETCH_FIRST, 0, &fetched, status));
    EXPECT_STMT(SQL_NO_DATA, stmt, SQLExtendedFetch(stmt, SQL_FETCH_NEXT, 0, &fetched, status));
    EXPECT_EQ(fetched, 0u);
    SQLFreeStmt(stmt, SQL_CLOSE);

    // SQLFetch is still one row at a time.
    ASSERT_STMT(SQL_SUCCESS, stmt, exec(stmt, "SELECT n FROM live_extended.t WHERE p = 1"));
    n[1] = -1;
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLFetch(stmt));
    EXPECT_EQ(n[0], 0);
    EXPECT_EQ(n[1], -1);
}

TEST(live_odbc2, options_of_connection_and_statement)
{
    NEED_NODE("VHCASS_SERVER");
    const live_ptr live = live_logged_on("", SQL_OV_ODBC2);
    EXPECT_CONN(SQL_SUCCESS, live->conn,
                SQLSetConnectOption(live->conn, SQL_ACCESS_MODE, SQL_MODE_READ_ONLY));
    SQLUINTEGER mode = 0;
    EXPECT_CONN(SQL_SUCCESS, live->conn, SQLGetConnectOption(live->conn, SQL_ACCESS_MODE, &mode));
    EXPECT_EQ(mode, SQLUINTEGER(SQL_MODE_READ_ONLY));
    EXPECT_CONN(SQL_ERROR, live->conn, SQLSetConnectOption(live->conn, SQL_TXN_ISOLATION, 3));

    const SQLHSTMT stmt = live->stmt;
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLSetStmtOption(stmt, SQL_QUERY_TIMEOUT, 11));
    SQLULEN value = 0;
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLGetStmtOption(stmt, SQL_QUERY_TIMEOUT, &value));
    EXPECT_EQ(value, 11u);
    EXPECT_STMT(SQL_ERROR, stmt, SQLSetStmtOption(stmt, 4711, 1));
    expect_alive(live->conn);

    // Errors of an ODBC 2 application by the old call.
    EXPECT_STMT(SQL_ERROR, stmt, exec(stmt, "SELECT * FROM system.nothing"));
    SQLCHAR state[6] = "", text[256] = "";
    SQLINTEGER native = -1;
    SQLSMALLINT length = 0;
    EXPECT_EQ(SQLError(live->env, live->conn, stmt, state, &native, text, sizeof text, &length),
              SQL_SUCCESS);
    EXPECT_STREQ(reinterpret_cast<char *>(state), "08S01");
    EXPECT_NE(std::strstr(reinterpret_cast<char *>(text), "error code 8704"), nullptr);
}
