// SQLGetInfo, SQLGetInfoW and SQLGetFunctions on a connection that never connected.
#include "tests/unit/handles.h"

using info = stmt_fixture;

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

TEST_F(info, native_text_fits_any_buffer_size_and_keeps_its_escapes)
{
    SQLCHAR sql[] = "{fn now()}";
    const auto read = [&](void *to, SQLSMALLINT size, told_length *told) {
        return SQLNativeSql(conn, sql, SQL_NTS, static_cast<SQLCHAR *>(to), size, &told->large);
    };
    expect_whole_or_cut({"", conn, u"{fn now()}", false, 1, 10, 10, "1 01004", "", read});
}

// A name without a buffer is an error, and any without room for its terminator is cut.
TEST_F(info, cursor_names_fit_any_buffer_size)
{
    for (const std::string number : {"0", "1"}) {
        SQLCHAR name[20] = "";
        SQLGetCursorName(number == "0" ? stmt : cass_alloc_stmt(conn), name, 20, nullptr);
        EXPECT_EQ(reinterpret_cast<char *>(name), "SQL_CUR0000000" + number);
    }
    const auto read = [&](void *to, SQLSMALLINT size, told_length *told) {
        return SQLGetCursorName(stmt, static_cast<SQLCHAR *>(to), size, &told->small);
    };
    const auto read_wide = [&](void *to, SQLSMALLINT size, told_length *told) {
        return SQLGetCursorNameW(stmt, static_cast<SQLWCHAR *>(to), size, &told->small);
    };
    for (const std::u16string name : {u"", u"caf\xE9"}) {
        const int length = static_cast<int>(name.size());
        cass_string_free(stmt->cursor_name);
        stmt->cursor_name = string_of(name).release();
        for (const text_call &call :
             {text_call{"name", stmt, name, false, 1, length, length, "1 01004", "!", read},
              {"wide name", stmt, name, true, 2, length, length, "1 01004", "!", read_wide}})
            expect_whole_or_cut(call);
    }
}

// Sixteen bits cannot tell the length of a longer text: the largest stands for it, in all calls.
TEST_F(info, lengths_beyond_16_bits_are_told_as_the_largest)
{
    const std::u16string text(70000, u'x');
    const auto long_text = [&] { return string_of(text).release(); };
    conn->settings.dsn = long_text();
    stmt->cursor_name = long_text();
    stmt->executed = 1;
    cass_desc_resize(stmt->ird, 1);
    stmt->ird->fields[0].column_name = long_text();
    cass_post_error(&stmt->head, STATE_HY000, 0, "for a field of the connection");

    std::vector<SQLCHAR> at(32768);
    const auto to = at.data();
    const auto wide = reinterpret_cast<SQLWCHAR *>(to);
    constexpr SQLSMALLINT room = 30000, units = 15000;
    SQLSMALLINT told[10] = {};
    const SQLRETURN codes[] = {
        SQLGetDiagField(SQL_HANDLE_STMT, stmt, 1, SQL_DIAG_SERVER_NAME, to, room, &told[0]),
        SQLGetDiagFieldW(SQL_HANDLE_STMT, stmt, 1, SQL_DIAG_SERVER_NAME, to, room, &told[1]),
        SQLGetInfo(conn, SQL_DATA_SOURCE_NAME, to, room, &told[2]),
        SQLGetInfoW(conn, SQL_DATA_SOURCE_NAME, to, room, &told[3]),
        SQLDescribeCol(stmt, 1, to, room, &told[4], nullptr, nullptr, nullptr, nullptr),
        SQLDescribeColW(stmt, 1, wide, units, &told[5], nullptr, nullptr, nullptr, nullptr),
        SQLColAttribute(stmt, 1, SQL_DESC_NAME, to, room, &told[6], nullptr),
        SQLColAttributeW(stmt, 1, SQL_DESC_NAME, to, room, &told[7], nullptr),
        SQLGetCursorName(stmt, to, room, &told[8]),
        SQLGetCursorNameW(stmt, wide, units, &told[9]),
    };
    for (const SQLRETURN code : codes)
        EXPECT_EQ(code, SQL_SUCCESS_WITH_INFO);
    for (const SQLSMALLINT length : told)
        EXPECT_EQ(length, 32767) << &length - told;
    SQLGetDescRec(stmt->ird, 1, to, room, &told[0], nullptr, nullptr, nullptr, nullptr, nullptr,
                  nullptr);
    SQLGetDescRecW(stmt->ird, 1, wide, units, &told[1], nullptr, nullptr, nullptr, nullptr, nullptr,
                   nullptr);
    EXPECT_TRUE(told[0] == 32767 && told[1] == 32767);
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
