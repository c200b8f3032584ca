// Parameters in use on a real node: nulls, values that come at execution, statements that run
// again, pages, and what the server says when it no longer knows a prepared statement.
#include "tests/live/parameter_support.h"

struct live_parameter_runs : live_parameters {
    SQLINTEGER key = 1, number = 2;
    SQLLEN indicator = 0;

    // A table, and its insertion of `key` and `number`.
    std::string insertion(const std::string &keyspace)
    {
        make_table(keyspace);
        bind(stmt, 1, SQL_C_SLONG, SQL_INTEGER, &key);
        bind(stmt, 2, SQL_C_SLONG, SQL_INTEGER, &number, &indicator);
        return "INSERT INTO " + table + " (k, c_int) VALUES (?, ?)";
    }
};

// A null indicator makes the frame one value short. The server refuses it as malformed, and the
// connection lives on.
TEST_F(live_parameter_runs, null_indicator_is_refused_by_the_server)
{
    const std::string insert = insertion("live_param_null");
    const std::string look = "SELECT k, c_int FROM " + table;
    EXPECT_STMT(SQL_SUCCESS, stmt, prepare(stmt, insert));
    indicator = SQL_NULL_DATA;
    for (const bool prepared : {true, false}) {
        EXPECT_STMT(SQL_ERROR, stmt, prepared ? SQLExecute(stmt) : exec(stmt, insert));
        expect_records(SQL_HANDLE_STMT, stmt, {malformed});
        EXPECT_EQ(query(conn, look), row_list());
    }
}

// ---- Statements used again ----------------------------------------------------------------------

TEST_F(live_parameter_runs, further_pages_come_by_the_values_of_the_first)
{
    make_table("live_param_pages");
    run(stmt, "CREATE TABLE live_param_pages.many (p text, n int, PRIMARY KEY (p, n))");
    change_rows(stmt, "INSERT INTO live_param_pages.many (p, n) VALUES ('key', {n})", 0, 250);
    row_list expected;
    for (int n = 0; n < 250; n++)
        expected.push_back(std::to_string(n));
    const std::string select = "SELECT n FROM live_param_pages.many WHERE p = ?";
    char name[] = "key";
    SQLLEN length = 3;
    bind(stmt, 1, SQL_C_CHAR, SQL_VARCHAR, name, &length);
    for (const bool prepared : {false, true}) {
        if (prepared) {
            ASSERT_STMT(SQL_SUCCESS, stmt, prepare(stmt, select));
        }
        ASSERT_STMT(SQL_SUCCESS, stmt, prepared ? SQLExecute(stmt) : exec(stmt, select));
        name[0] = 'x';  // further pages do not read the buffer again
        EXPECT_EQ(fetch_all(stmt), expected);
        name[0] = 'k';
        SQLFreeStmt(stmt, SQL_CLOSE);
    }
}

// A table that was altered makes its prepared statements unknown to the server. The driver does not
// prepare again by itself; the application may.
TEST_F(live_parameter_runs, statement_of_an_altered_table_must_be_prepared_again)
{
    const std::string insert = insertion("live_param_altered");
    ASSERT_STMT(SQL_SUCCESS, stmt, prepare(stmt, insert));
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLExecute(stmt));
    query(conn, "ALTER TABLE " + table + " ADD c_added int");
    for (int i = 0; i < 2; i++) {
        EXPECT_STMT(SQL_ERROR, stmt, SQLExecute(stmt));
        expect_records(SQL_HANDLE_STMT, stmt,
                       {std::string(not_prepared) + "'Prepared query with ID "});
    }
    ASSERT_STMT(SQL_SUCCESS, stmt, prepare(stmt, insert));
    key = 2;
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLExecute(stmt));
    EXPECT_EQ(query(conn, "SELECT k FROM " + table + " WHERE k = 2"), row_list{"2"});
}
