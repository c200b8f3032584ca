// Descriptors through the Driver Manager: rows bound by descriptor fields, one explicit descriptor
// for several statements, freed while in use.
#include "tests/live/live_support.h"

using live_descriptors = live_test;

static SQLHDESC row_descriptor_of(SQLHSTMT stmt)
{
    SQLHDESC desc = nullptr;
    EXPECT_STMT(SQL_SUCCESS, stmt,
                SQLGetStmtAttr(stmt, SQL_ATTR_APP_ROW_DESC, &desc, SQL_IS_POINTER, nullptr));
    return desc;
}

TEST_F(live_descriptors, explicit_descriptor_serves_several_statements_until_it_is_freed)
{
    const SQLHSTMT stmts[] = {stmt, new_stmt(live.get())};
    const SQLHDESC own = row_descriptor_of(stmts[1]);
    SQLHDESC desc = nullptr;
    EXPECT_CONN(SQL_SUCCESS, conn, SQLAllocHandle(SQL_HANDLE_DESC, conn, &desc));
    for (const SQLHSTMT one : stmts)
        set_attribute(one, SQL_ATTR_APP_ROW_DESC, desc);
    EXPECT_EQ(row_descriptor_of(stmts[1]), desc);
    // A record in one call, and one field by field; the data pointer comes last, as others unbind.
    char key[16] = "";
    SQLINTEGER port = 0;
    SQLLEN length = 0;
    EXPECT_EQ(SQL_SUCCESS,
              SQLSetDescRec(desc, 1, SQL_C_CHAR, 0, sizeof key, 0, 0, key, &length, &length));
    SQLSetDescField(desc, 2, SQL_DESC_CONCISE_TYPE, odbc_number(SQL_C_SLONG), 0);
    EXPECT_EQ(SQL_SUCCESS, SQLSetDescField(desc, 2, SQL_DESC_DATA_PTR, &port, 0));
    const std::string sql = "SELECT key, listen_port FROM system.local";
    const row_list there = query(conn, sql);
    for (const bool is_freed : {false, true}) {
        for (const SQLHSTMT one : stmts)
            ASSERT_STMT(SQL_SUCCESS, one, exec(one, sql));
        // Freed under both results, it leaves each statement at its own descriptor.
        if (is_freed) {
            EXPECT_EQ(SQL_SUCCESS, SQLFreeHandle(SQL_HANDLE_DESC, desc));
        }
        for (const SQLHSTMT one : stmts) {
            port = -3;
            EXPECT_STMT(SQL_SUCCESS, one, SQLFetch(one));
            const std::string row = std::string(key) + "|" + std::to_string(port);
            EXPECT_EQ(row, is_freed ? "local|-3" : there.front());
            SQLFreeStmt(one, SQL_CLOSE);
        }
    }
    EXPECT_EQ(row_descriptor_of(stmts[1]), own);
}
