// Diagnostics as an application reads them through the Driver Manager: what a server's error and
// warning become, fields and cut messages, ANSI and wide.
#include "tests/live/live_support.h"

using live_diag = live_test;

TEST_F(live_diag, server_errors_carry_their_code_and_text)
{
    const std::pair<std::string, std::string> cases[] = {
        {"SELEC k FROM t", "08S01 Communication link failure: error code 8192 'line 1:0 no viable "
                           "alternative at input 'SELEC'"},
        {" ; ", "08S01 error code 8192 'line 0:-1 no viable alternative at input '<EOF>''"},
        {"SELECT * FROM t", "08S01 error code 8704 'No keyspace has been specified."},
    };
    for (const auto &[sql, record] : cases) {
        SCOPED_TRACE(sql);
        EXPECT_STMT(SQL_ERROR, stmt, exec(stmt, sql));
        expect_records(SQL_HANDLE_STMT, stmt, {record});
        EXPECT_STMT(SQL_ERROR, stmt, prepare(stmt, sql));
        expect_records(SQL_HANDLE_STMT, stmt, {"08S01 Communication link failure: error code "});
    }
    // The session and the statement go on; a success has no records, but the server's warnings.
    EXPECT_STMT(SQL_SUCCESS, stmt, exec(stmt, "SELECT key FROM system.local"));
    expect_records(SQL_HANDLE_STMT, stmt, {});
    SQLFreeStmt(stmt, SQL_CLOSE);
    EXPECT_STMT(SQL_SUCCESS_WITH_INFO, stmt, exec(stmt, "SELECT count(*) FROM system.local"));
    EXPECT_EQ(stmt_records(stmt),
              record_list{"01000 Aggregation query used without partition key"});
    EXPECT_EQ(fetch_all(stmt), row_list{"1"});
}

TEST_F(live_diag, fields_of_a_record_and_messages_cut_to_the_buffer_in_both_forms)
{
    const std::string whole = "[Varnholt][Apache Cassandra]Communication link failure: error code "
                              "8704 'table nothing does not exist'";
    constexpr SQLSMALLINT room = 20;
    for (const bool is_wide : {false, true}) {
        log_on_with("", SQL_OV_ODBC3, is_wide);
        EXPECT_STMT(SQL_ERROR, stmt, exec(stmt, "SELECT * FROM system.nothing"));
        SQLCHAR state[20] = "";
        SQLWCHAR wide_state[6];
        std::string text(30, 'x');
        std::u16string wide(30, u'x');
        SQLINTEGER native = -1;
        SQLSMALLINT length = 0, wide_length = 0;
        EXPECT_EQ(SQL_SUCCESS_WITH_INFO, SQLGetDiagRec(SQL_HANDLE_STMT, stmt, 1, state, &native,
                                                       odbc_text(text), room, &length));
        EXPECT_EQ(SQL_SUCCESS_WITH_INFO,
                  SQLGetDiagRecW(SQL_HANDLE_STMT, stmt, 1, wide_state, &native, odbc_wide(wide),
                                 room, &wide_length));
        EXPECT_EQ(text, whole.substr(0, room - 1) + '\0' + std::string(10, 'x'));
        EXPECT_EQ(std::string(wide.begin(), wide.end()), text);
        EXPECT_EQ(length + wide_length + native, 2 * SQLINTEGER(whole.size()));
        SQLGetDiagField(SQL_HANDLE_STMT, stmt, 1, SQL_DIAG_CLASS_ORIGIN, state, 20, nullptr);
        EXPECT_STREQ(reinterpret_cast<char *>(state), "ISO 9075");
    }
}
