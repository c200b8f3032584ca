// SQLGetFunctions on a connection that never connected.
#include "tests/unit/handles.h"

using info = stmt_fixture;

TEST_F(info, the_three_forms_of_get_functions_agree)
{
    SQLUSMALLINT bits[SQL_API_ODBC3_ALL_FUNCTIONS_SIZE], words[100], single = 77;
    std::memset(bits, 0xFF, sizeof bits);
    std::memset(words, 0xFF, sizeof words);
    ASSERT_EQ(SQLGetFunctions(conn, SQL_API_ODBC3_ALL_FUNCTIONS, bits), SQL_SUCCESS);
    ASSERT_EQ(SQLGetFunctions(conn, SQL_API_ALL_FUNCTIONS, words), SQL_SUCCESS);
    int claimed = 0;
    for (SQLUSMALLINT code = 1; code < 4000; code += code == 998 ? 2 : 1) {  // 999: all
        ASSERT_EQ(SQLGetFunctions(conn, code, &single), SQL_SUCCESS);
        EXPECT_TRUE(single == SQL_FUNC_EXISTS(bits, code) && (code >= 100 || single == words[code]))
            << code;
        claimed += single;
    }
    EXPECT_EQ(claimed, 74);
    EXPECT_TRUE(words[SQL_API_SQLSETPOS] == 1 && words[SQL_API_SQLDATASOURCES] == 0);
    EXPECT_EQ(SQLGetFunctions(conn, SQL_API_ALL_FUNCTIONS, nullptr), SQL_SUCCESS);
    // The ten that the library does not export.
    conn->conduct = &standard_conduct;
    ASSERT_EQ(SQLGetFunctions(conn, SQL_API_ODBC3_ALL_FUNCTIONS, bits), SQL_SUCCESS);
    int told = 0;
    for (SQLUSMALLINT code = 1; code < 4000; code++)
        told += SQL_FUNC_EXISTS(bits, code);
    EXPECT_TRUE(told == 64 && !SQL_FUNC_EXISTS(bits, SQL_API_SQLSETPOS));
}
