// SQLGetInfo, SQLGetInfoW and SQLGetFunctions on a connection that never connected.
#include "tests/unit/stmt_fixture.h"

using info = stmt_fixture;

TEST_F(info, integers_are_stored_in_their_width)
{
    // clang-format off
    static constexpr struct { SQLUSMALLINT type; SQLSMALLINT width; SQLUINTEGER value; } rows[] = {
        {SQL_MAX_DRIVER_CONNECTIONS, 2, 0}, {SQL_MAX_COLUMNS_IN_SELECT, 2, 0x1000},
        {SQL_CONVERT_CHAR, 4, 0x1E67F7F}, {SQL_GETDATA_EXTENSIONS, 4, 11}, {65003, 4, 127},
    };
    // clang-format on
    for (const auto &r : rows) {
        guarded at;
        SQLSMALLINT length = -1;
        EXPECT_EQ(SQLGetInfo(conn, r.type, at.data(), 0, &length), SQL_SUCCESS);
        EXPECT_EQ(SQLGetInfoW(conn, r.type, nullptr, 0, nullptr), SQL_SUCCESS);
        EXPECT_EQ(length, r.width) << r.type;
        EXPECT_EQ(at.written(), bytes_of(&r.value, static_cast<std::size_t>(r.width))) << r.type;
    }
}

TEST_F(info, texts_are_cut_to_the_buffer_and_lengths_count_units)
{
    std::u16string special = u"#$";  // two signs, and all letters beyond ASCII
    for (char16_t unit = 0xC0; unit <= 0xFF; unit++)
        if (unit != 0xD7 && unit != 0xF7)
            special += unit;
    for (const bool wide : {false, true}) {
        const int length = wide ? 128 : 64;
        const auto call = wide ? SQLGetInfoW : SQLGetInfo;
        const auto read = [&](void *to, SQLSMALLINT size, told_length *told) {
            return call(conn, SQL_SPECIAL_CHARACTERS, to, size, &told->small);
        };
        expect_whole_or_cut({"", conn, special, wide, 1, length, length, "1 01004", "", read});
    }
    // A text that is not known is never cut, one that is empty is by a buffer without any room.
    guarded at;
    for (const auto &[type, code] :
         {std::pair(SQL_DATA_SOURCE_NAME, 0), {SQL_SEARCH_PATTERN_ESCAPE, 1}})
        EXPECT_EQ(SQLGetInfo(conn, SQLUSMALLINT(type), at.data(), 0, nullptr), code) << type;
    EXPECT_EQ(at.written(), "");
    // Types that the Driver Manager answers itself are unknown too.
    for (const SQLUSMALLINT type : {3, 5, 76, 135, 171, 9999})
        EXPECT_EQ(outcome(SQLGetInfo(conn, type, nullptr, 0, nullptr), conn), "HYC00") << type;
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
}
