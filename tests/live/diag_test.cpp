// Diagnostics as an application reads them through the Driver Manager: what a server's error and
// warning become, fields and cut messages, ANSI and wide.
#include <cstring>

#include "tests/live/live_support.h"

using live_diag = live_test;

TEST_F(live_diag, server_errors_carry_their_code_and_text)
{
    const struct {
        std::string sql, record;
    } cases[] = {
        {"SELEC k FROM t", "08S01 Communication link failure: error code 8192 'line 1:0 no viable "
                           "alternative at input 'SELEC'"},
        {" ; ", "08S01 error code 8192 'line 0:-1 no viable alternative at input '<EOF>''"},
        {"SELECT * FROM system.nothing", "08S01 error code 8704 'table nothing does not exist'"},
        {"SELECT * FROM t", "08S01 error code 8704 'No keyspace has been specified."},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.sql);
        EXPECT_STMT(SQL_ERROR, stmt, exec(stmt, c.sql));
        expect_records(SQL_HANDLE_STMT, stmt, {c.record});
        EXPECT_STMT(SQL_ERROR, stmt, prepare(stmt, c.sql));
        expect_records(SQL_HANDLE_STMT, stmt, {"08S01 Communication link failure: error code "});
    }
    // The session and the statement go on; a success has no records.
    EXPECT_STMT(SQL_SUCCESS, stmt, exec(stmt, "SELECT key FROM system.local"));
    expect_records(SQL_HANDLE_STMT, stmt, {});
}

TEST_F(live_diag, server_warnings_come_with_the_result)
{
    const std::string sql = "SELECT count(*) FROM system.local";
    EXPECT_STMT(SQL_SUCCESS, stmt, prepare(stmt, sql));
    for (const bool is_prepared : {true, false}) {
        EXPECT_STMT(SQL_SUCCESS_WITH_INFO, stmt, is_prepared ? SQLExecute(stmt) : exec(stmt, sql));
        EXPECT_EQ(stmt_records(stmt), record_list{"01000 [Varnholt][Apache Cassandra]Aggregation "
                                                  "query used without partition key"});
        EXPECT_EQ(fetch_all(stmt), row_list{"1"});
        expect_records(SQL_HANDLE_STMT, stmt, {});
        SQLFreeStmt(stmt, SQL_CLOSE);
    }
}

TEST_F(live_diag, fields_of_a_record_and_messages_cut_to_the_buffer_in_both_forms)
{
    const std::string whole = "[Varnholt][Apache Cassandra]Communication link failure: error code "
                              "8704 'table nothing does not exist'";
    const std::size_t size = whole.size();
    for (const bool is_wide : {false, true}) {
        log_on_with("", SQL_OV_ODBC3, is_wide);
        EXPECT_STMT(SQL_ERROR, stmt, exec(stmt, "SELECT * FROM system.nothing"));
        SQLCHAR text[256], state[6];
        SQLWCHAR wide[256], wide_state[6];
        SQLINTEGER native = -1;
        SQLSMALLINT length = 0, wide_length = 0;
        for (const std::size_t room : {std::size_t{1}, std::size_t{20}, size, size + 1}) {
            SCOPED_TRACE(room);
            const SQLRETURN wanted = room > size ? SQL_SUCCESS : SQL_SUCCESS_WITH_INFO;
            const std::string kept = whole.substr(0, room - 1) + '\0';
            std::memset(text, 0xAA, sizeof text);
            std::memset(wide, 0xAA, sizeof wide);
            EXPECT_EQ(wanted, SQLGetDiagRec(SQL_HANDLE_STMT, stmt, 1, state, &native, text,
                                            SQLSMALLINT(room), &length));
            EXPECT_EQ(wanted, SQLGetDiagRecW(SQL_HANDLE_STMT, stmt, 1, wide_state, &native, wide,
                                             SQLSMALLINT(room), &wide_length));
            EXPECT_EQ(std::string(text, text + room), kept);
            EXPECT_EQ(std::string(wide, wide + room), kept);
            EXPECT_EQ(std::pair(text[room], wide[room]),
                      std::pair(SQLCHAR{0xAA}, SQLWCHAR{0xAAAA}));
            EXPECT_EQ(std::string(state, state + 5), "08S01");
            EXPECT_EQ(length + wide_length + native, 2 * SQLINTEGER(size));
        }
        SQLGetDiagField(SQL_HANDLE_STMT, stmt, 1, SQL_DIAG_CLASS_ORIGIN, text, 256, &length);
        EXPECT_EQ(std::string(text, text + length), "ISO 9075");
        if (is_wide) {  // the Driver Manager gives no wide fields from its ANSI road
            SQLGetDiagFieldW(SQL_HANDLE_STMT, stmt, 1, SQL_DIAG_MESSAGE_TEXT, wide, 512, &length);
            EXPECT_EQ(std::string(wide, wide + length / 2), whole);
        }
    }
}
