// SQLGetInfo and SQLGetFunctions on a connection that never connected.
#include "tests/unit/handles.h"

using info = stmt_fixture;

// A text that is not known is never cut, one that is empty is by a buffer without any room.
TEST_F(info, empty_texts_and_those_that_are_not_known)
{
    for (const auto &[type, code] :
         {std::pair(SQL_DATA_SOURCE_NAME, 0), {SQL_SEARCH_PATTERN_ESCAPE, 1}}) {
        guarded at;
        EXPECT_EQ(SQLGetInfo(conn, SQLUSMALLINT(type), at.data(), 0, nullptr), code) << type;
        EXPECT_EQ(at.written(), "");
    }
}

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
