// Diagnostics as an application reads them through the Driver Manager: what a server's error and
// warning become, the order of records, fields, cut messages, ANSI and wide.
#include <cstring>

#include "tests/live/live_support.h"

TEST(live_diag, server_errors_carry_their_code_and_text)
{
    NEED_NODE("VHCASS_SERVER");
    const live_ptr live = live_logged_on();
    make_keyspace(live->stmt, "live_errors");
    run(live->stmt, "CREATE TABLE live_errors.t (k int PRIMARY KEY, v text)");
    const struct {
        std::string sql;
        std::string record;
    } cases[] = {
        {"SELEC k FROM t", "08S01 Communication link failure: error code 8192 'line 1:0 no viable "
                           "alternative at input 'SELEC'"},
        {" ; ", "08S01 error code 8192 'line 0:-1 no viable alternative at input '<EOF>''"},
        {"SELECT * FROM live_errors.nothing",
         "08S01 error code 8704 'table nothing does not exist'"},
        {"SELECT nothing FROM live_errors.t",
         "08S01 error code 8704 'Undefined column name nothing"},
        {"SELECT * FROM nothing.nothing",
         "08S01 error code 8704 'keyspace nothing does not exist'"},
        {"SELECT * FROM t", "08S01 error code 8704 'No keyspace has been specified."},
        {"SELECT * FROM live_errors.t WHERE v = 'x'", "08S01 error code 8704 'Cannot execute this "
                                                      "query as it might involve data filtering"},
        {"INSERT INTO live_errors.t (k) VALUES ('x')", "08S01 error code 8704 'Invalid STRING"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.sql);
        EXPECT_STMT(SQL_ERROR, live->stmt, exec(live->stmt, c.sql));
        expect_records(SQL_HANDLE_STMT, live->stmt, {c.record});
        EXPECT_STMT(SQL_ERROR, live->stmt, prepare(live->stmt, c.sql));
        expect_records(SQL_HANDLE_STMT, live->stmt,
                       {"08S01 Communication link failure: error code "});
    }
    EXPECT_STMT(SQL_ERROR, live->stmt,
                exec(live->stmt, "CREATE TABLE live_errors.t (k int PRIMARY KEY)"));
    expect_records(SQL_HANDLE_STMT, live->stmt,
                   {"08S01 error code 9216 'Cannot add already existing table"});
    // The session and the statement go on; a success has no records.
    EXPECT_STMT(SQL_SUCCESS, live->stmt, exec(live->stmt, "SELECT k FROM live_errors.t"));
    EXPECT_EQ(stmt_records(live->stmt), record_list());
}

TEST(live_diag, consistency_that_cannot_be_met)
{
    NEED_NODE("VHCASS_SERVER");
    const live_ptr live = live_logged_on();
    make_keyspace(live->stmt, "live_levels");
    run(live->stmt, "CREATE TABLE live_levels.t (k int PRIMARY KEY)");
    const live_ptr two = live_logged_on("Consistency=TWO");
    EXPECT_STMT(SQL_ERROR, two->stmt, exec(two->stmt, "SELECT k FROM live_levels.t WHERE k = 1"));
    expect_records(SQL_HANDLE_STMT, two->stmt,
                   {"08S01 error code 4096 'Cannot achieve consistency "
                    "level TWO"});
    const live_ptr all = live_logged_on("Consistency=5");
    EXPECT_STMT(SQL_SUCCESS, all->stmt, exec(all->stmt, "SELECT k FROM live_levels.t WHERE k = 1"));
}

TEST(live_diag, server_warnings_come_with_the_result)
{
    NEED_NODE("VHCASS_SERVER");
    const live_ptr live = live_logged_on();
    const SQLHSTMT stmt = live->stmt;
    EXPECT_STMT(SQL_SUCCESS_WITH_INFO, stmt, exec(stmt, "SELECT count(*) FROM system.local"));
    EXPECT_EQ(stmt_records(stmt), record_list{"01000 [Varnholt][Apache Cassandra]Aggregation query "
                                              "used without partition key"});
    EXPECT_EQ(fetch_all(stmt), row_list{"1"});
    EXPECT_EQ(stmt_records(stmt), record_list());
    SQLFreeStmt(stmt, SQL_CLOSE);

    EXPECT_STMT(SQL_SUCCESS, stmt, prepare(stmt, "SELECT count(*) FROM system.local"));
    EXPECT_STMT(SQL_SUCCESS_WITH_INFO, stmt, SQLExecute(stmt));
    expect_records(SQL_HANDLE_STMT, stmt, {"01000 Aggregation query"});
    SQLFreeStmt(stmt, SQL_CLOSE);

    // Two warnings of one reply are one record; the texts stand one behind the other.
    make_keyspace(stmt, "live_warnings");
    run(stmt, "CREATE TABLE live_warnings.t (k int PRIMARY KEY, v text)");
    std::string batch = "BEGIN UNLOGGED BATCH\n";
    for (int k = 0; k < 11; k++)
        batch += "INSERT INTO live_warnings.t (k, v) VALUES (" + std::to_string(k) + ", '" +
                 std::string(600, 'x') + "');\n";
    EXPECT_STMT(SQL_SUCCESS_WITH_INFO, stmt, exec(stmt, batch + "APPLY BATCH"));
    const record_list records = stmt_records(stmt);
    ASSERT_EQ(records.size(), 1u);
    EXPECT_NE(records[0].find("01000 [Varnholt][Apache Cassandra]Batch for [live_warnings.t] is of "
                              "size"),
              std::string::npos)
        << records[0];
    EXPECT_NE(records[0].find("Unlogged batch covering 11 partitions"), std::string::npos);
}

// Records stand by their state, the highest first, not in the order of events.
TEST(live_diag, later_errors_come_ahead_of_earlier_warnings)
{
    NEED_NODE("VHCASS_SERVER");
    const live_ptr live = live_logged_on();
    const SQLHSTMT stmt = live->stmt;
    ASSERT_STMT(SQL_SUCCESS, stmt, exec(stmt, "SELECT cluster_name, key, key FROM system.local"));
    char name[4], text[64];
    SQLINTEGER number;
    SQLLEN lengths[3];
    SQLBindCol(stmt, 1, SQL_C_CHAR, name, sizeof name, &lengths[0]);  // is cut short
    SQLBindCol(stmt, 2, SQL_C_CHAR, text, sizeof text, &lengths[1]);
    SQLBindCol(stmt, 3, SQL_C_SLONG, &number, 0, &lengths[2]);  // is no number
    EXPECT_STMT(SQL_ERROR, stmt, SQLFetch(stmt));
    expect_records(
        SQL_HANDLE_STMT, stmt,
        {"22018 Invalid character value for cast", "01004 String data, right truncation"});
    SQLINTEGER column = 0;
    EXPECT_EQ(
        SQLGetDiagField(SQL_HANDLE_STMT, stmt, 1, SQL_DIAG_COLUMN_NUMBER, &column, 0, nullptr),
        SQL_SUCCESS);
    EXPECT_EQ(column, 3);
    EXPECT_EQ(
        SQLGetDiagField(SQL_HANDLE_STMT, stmt, 2, SQL_DIAG_COLUMN_NUMBER, &column, 0, nullptr),
        SQL_SUCCESS);
    EXPECT_EQ(column, 1);
}

TEST(live_diag, messages_are_cut_to_the_buffer_in_both_forms)
{
    NEED_NODE("VHCASS_SERVER");
    const live_ptr live = live_logged_on();
    EXPECT_STMT(SQL_ERROR, live->stmt, exec(live->stmt, "SELECT * FROM system.nothing"));
    const std::string whole = "[Varnholt][Apache Cassandra]Communication link failure: error code "
                              "8704 'table nothing does not exist'";
    const int size = static_cast<int>(whole.size());
    for (const int room : {1, 2, 20, size, size + 1, size + 2}) {
        SCOPED_TRACE(room);
        const std::string kept = whole.substr(0, static_cast<std::size_t>(room - 1));
        const SQLRETURN wanted = room > size ? SQL_SUCCESS : SQL_SUCCESS_WITH_INFO;
        SQLCHAR text[256];
        std::memset(text, 0xAA, sizeof text);
        SQLCHAR state[6];
        SQLINTEGER native = -1;
        SQLSMALLINT length = 0;
        EXPECT_EQ(SQLGetDiagRec(SQL_HANDLE_STMT, live->stmt, 1, state, &native, text,
                                static_cast<SQLSMALLINT>(room), &length),
                  wanted);
        EXPECT_EQ(reinterpret_cast<char *>(text), kept);
        EXPECT_EQ(text[room], 0xAA);
        EXPECT_STREQ(reinterpret_cast<char *>(state), "08S01");
        EXPECT_EQ(native, 0);
        EXPECT_EQ(length, size);

        SQLWCHAR wide[256];
        std::memset(wide, 0xAA, sizeof wide);
        SQLWCHAR wide_state[6];
        EXPECT_EQ(SQLGetDiagRecW(SQL_HANDLE_STMT, live->stmt, 1, wide_state, &native, wide,
                                 static_cast<SQLSMALLINT>(room), &length),
                  wanted);
        EXPECT_EQ(std::u16string(reinterpret_cast<char16_t *>(wide)),
                  std::u16string(kept.begin(), kept.end()));
        EXPECT_EQ(wide[room], 0xAAAA);
        EXPECT_EQ(length, size);
    }
    EXPECT_EQ(SQLGetDiagRec(SQL_HANDLE_STMT, live->stmt, 2, nullptr, nullptr, nullptr, 0, nullptr),
              SQL_NO_DATA);
}

TEST(live_diag, long_server_texts_end_in_dots)
{
    NEED_NODE("VHCASS_SERVER");
    const live_ptr live = live_logged_on();
    EXPECT_STMT(SQL_ERROR, live->stmt,
                exec(live->stmt, "SELECT " + std::string(2000, 'x') + " FROM system.local"));
    const record_list records = stmt_records(live->stmt);
    ASSERT_EQ(records.size(), 1u);
    EXPECT_GT(records[0].size(), 900u);
    EXPECT_LT(records[0].size(), 1030u);
    EXPECT_TRUE(records[0].ends_with("...") || records[0].ends_with("...'")) << records[0];
}

TEST(live_diag, fields_of_a_record)
{
    NEED_NODE("VHCASS_SERVER");
    const live_node node = node_of("VHCASS_SERVER");
    const std::string source =
        add_data_source("Server = " + node.host + "\nPort = " + node.port + "\n");
    const struct {
        SQLSMALLINT field;
        std::string text;
    } texts[] = {
        {SQL_DIAG_SQLSTATE, "08S01"},
        {SQL_DIAG_CLASS_ORIGIN, "ISO 9075"},
        {SQL_DIAG_SUBCLASS_ORIGIN, "ODBC 3.0"},
        {SQL_DIAG_SERVER_NAME, source},
        {SQL_DIAG_MESSAGE_TEXT,
         "[Varnholt][Apache Cassandra]Communication link failure: error code "
         "8704 'table nothing does not exist'"},
    };
    for (const bool is_wide : {false, true}) {
        SCOPED_TRACE(is_wide ? "wide" : "ANSI");
        const live_ptr live = live_open();
        ASSERT_CONN(SQL_SUCCESS, live->conn,
                    is_wide ? driver_connect_wide(live->conn, "DSN=" + source)
                            : driver_connect(live->conn, "DSN=" + source));
        live->stmt = new_stmt(live.get());
        const SQLHSTMT stmt = live->stmt;
        EXPECT_STMT(SQL_ERROR, stmt, exec(stmt, "SELECT * FROM system.nothing"));
        for (const auto &t : texts) {
            SCOPED_TRACE(t.field);
            SQLCHAR text[256] = "";
            SQLSMALLINT length = -1;
            EXPECT_EQ(
                SQLGetDiagField(SQL_HANDLE_STMT, stmt, 1, t.field, text, sizeof text, &length),
                SQL_SUCCESS);
            EXPECT_EQ(reinterpret_cast<char *>(text), t.text);
            EXPECT_EQ(static_cast<std::size_t>(length), t.text.size());
            if (!is_wide)
                continue;  // the Driver Manager gives no wide fields from its ANSI road
            SQLWCHAR wide[256] = {};
            EXPECT_EQ(
                SQLGetDiagFieldW(SQL_HANDLE_STMT, stmt, 1, t.field, wide, sizeof wide, &length),
                SQL_SUCCESS);
            EXPECT_EQ(std::u16string(reinterpret_cast<char16_t *>(wide)),
                      std::u16string(t.text.begin(), t.text.end()));
            EXPECT_EQ(static_cast<std::size_t>(length), 2 * t.text.size());
        }

        const struct {
            SQLSMALLINT record;
            SQLSMALLINT field;
            int value;
        } numbers[] = {
            {0, SQL_DIAG_NUMBER, 1}, {1, SQL_DIAG_NATIVE, 0}, {1, SQL_DIAG_COLUMN_NUMBER, -1}};
        for (const auto &n : numbers) {
            SQLINTEGER number = -7;
            EXPECT_EQ(
                SQLGetDiagField(SQL_HANDLE_STMT, stmt, n.record, n.field, &number, 0, nullptr),
                SQL_SUCCESS);
            EXPECT_EQ(number, n.value) << "field " << n.field;
        }
        SQLLEN row = -7;
        EXPECT_EQ(SQLGetDiagField(SQL_HANDLE_STMT, stmt, 1, SQL_DIAG_ROW_NUMBER, &row, 0, nullptr),
                  SQL_SUCCESS);
        EXPECT_EQ(row, 0);
        EXPECT_EQ(SQLGetDiagField(SQL_HANDLE_STMT, stmt, 2, SQL_DIAG_ROW_NUMBER, &row, 0, nullptr),
                  SQL_NO_DATA);
    }
}
