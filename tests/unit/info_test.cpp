// SQLGetInfo, SQLGetInfoW and SQLGetFunctions on a bare connection record.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "core/cass_err.h"
#include "odbc/cass_handles.h"

struct info : testing::Test {
    cass_conn conn = {};

    void SetUp() override
    {
        conn.head.handle_tag = CASS_CONNECTION_HANDLE;
        ASSERT_EQ(cass_lock_init(&conn.api_lock), 0);
        std::strcpy(conn.cql_version, "3.4.7");
    }

    void TearDown() override
    {
        cass_diag_clear(&conn.head);
        cass_lock_destroy(&conn.api_lock);
        cass_string_free(conn.dsn);
    }

    std::string state() const
    {
        std::string text;
        if (conn.head.diag_records == nullptr)
            return text;
        const cass_string *state_text = conn.head.diag_records->state;
        for (int i = 0; i < cass_string_length(state_text); i++)
            text += static_cast<char>(state_text->text[i]);
        return text;
    }
};

TEST_F(info, integers_are_stored_in_their_width)
{
    struct row {
        SQLUSMALLINT type;
        SQLSMALLINT width;
        SQLUINTEGER value;
    };
    static constexpr row rows[] = {
        {SQL_MAX_DRIVER_CONNECTIONS, 2, 0},
        {SQL_MAX_COLUMNS_IN_SELECT, 2, 0x1000},
        {SQL_TXN_CAPABLE, 2, 0},
        {SQL_DEFAULT_TXN_ISOLATION, 4, 2},
        {SQL_CONVERT_CHAR, 4, 0x1E67F7F},
        {SQL_GETDATA_EXTENSIONS, 4, 11},
        {SQL_ASYNC_MODE, 4, 2},
        {65003, 4, 127},
    };
    for (const row &r : rows) {
        unsigned char bytes[8];
        std::memset(bytes, 0xEE, sizeof bytes);
        SQLSMALLINT length = -1;
        ASSERT_EQ(SQLGetInfo(&conn, r.type, bytes, 0, &length), SQL_SUCCESS) << r.type;
        EXPECT_EQ(length, r.width) << r.type;
        unsigned char expected[8];
        std::memset(expected, 0xEE, sizeof expected);
        std::memcpy(expected, &r.value, static_cast<std::size_t>(r.width));
        EXPECT_EQ(std::memcmp(bytes, expected, sizeof bytes), 0) << r.type;
        EXPECT_EQ(SQLGetInfoW(&conn, r.type, nullptr, 0, nullptr), SQL_SUCCESS) << r.type;
    }
}

TEST_F(info, texts_are_cut_to_the_buffer)
{
    struct row {
        SQLSMALLINT size;  // bytes of the ANSI buffer, units of the wide one
        SQLRETURN code;
        const char *text;  // null: nothing is written
    };
    static constexpr row rows[] = {
        {-1, SQL_SUCCESS_WITH_INFO, nullptr},     {0, SQL_SUCCESS_WITH_INFO, nullptr},
        {1, SQL_SUCCESS_WITH_INFO, ""},           {4, SQL_SUCCESS_WITH_INFO, "01."},
        {10, SQL_SUCCESS_WITH_INFO, "01.00.000"}, {11, SQL_SUCCESS, "01.00.0001"},
        {30, SQL_SUCCESS, "01.00.0001"},
    };
    for (const row &r : rows) {
        char bytes[40];
        std::memset(bytes, 0x7E, sizeof bytes);
        std::string expected(sizeof bytes, 0x7E);
        if (r.text != nullptr)
            expected.replace(0, std::strlen(r.text) + 1, r.text, std::strlen(r.text) + 1);
        SQLSMALLINT length = -1;
        EXPECT_EQ(SQLGetInfo(&conn, SQL_DRIVER_VER, bytes, r.size, &length), r.code);
        EXPECT_EQ(length, 10);
        EXPECT_EQ(std::string(bytes, sizeof bytes), expected) << r.size;
        EXPECT_EQ(state(), r.code == SQL_SUCCESS ? "" : "01004");

        // The same in units, at an odd address and with an odd byte behind the last whole unit.
        char wide[2 * sizeof bytes + 1];
        std::memset(wide, 0x7E, sizeof wide);
        const auto wide_size = static_cast<SQLSMALLINT>(r.size > 0 ? 2 * r.size + 1 : r.size);
        EXPECT_EQ(SQLGetInfoW(&conn, SQL_DRIVER_VER, wide + 1, wide_size, &length), r.code);
        EXPECT_EQ(length, 20);
        const std::size_t written = r.text == nullptr ? 0 : std::strlen(r.text) + 1;
        for (std::size_t i = 0; i < sizeof bytes; i++) {
            SQLWCHAR unit;
            std::memcpy(&unit, wide + 1 + 2 * i, sizeof unit);
            EXPECT_EQ(unit, i < written ? expected[i] : 0x7E7E) << r.size << " unit " << i;
        }
    }
}

TEST_F(info, letters_beyond_ascii_never_overrun_the_buffer)
{
    // 64 units, 126 bytes of UTF-8: the length counts units, the room has to hold the bytes.
    char bytes[160];
    SQLSMALLINT length;
    for (const SQLSMALLINT size : {65, 126}) {
        std::memset(bytes, 0x7E, sizeof bytes);
        EXPECT_EQ(SQLGetInfo(&conn, SQL_SPECIAL_CHARACTERS, bytes, size, &length),
                  SQL_SUCCESS_WITH_INFO);
        EXPECT_EQ(length, 64);
        EXPECT_EQ(bytes[size - 1], 0);
        EXPECT_EQ(bytes[size], 0x7E);
        EXPECT_EQ(state(), "01004");
    }
    EXPECT_EQ(SQLGetInfo(&conn, SQL_SPECIAL_CHARACTERS, bytes, 127, &length), SQL_SUCCESS);
    EXPECT_EQ(std::string(bytes).substr(0, 6), "#$\xC3\x80\xC3\x81");
    EXPECT_EQ(std::string(bytes).substr(122), "\xC3\xBE\xC3\xBF");
}

TEST_F(info, connection_rows)
{
    char text[32] = "untouched";
    SQLSMALLINT length = -1;
    for (const SQLUSMALLINT unset : {SQL_DATA_SOURCE_NAME, SQL_DATABASE_NAME, SQL_USER_NAME}) {
        EXPECT_EQ(SQLGetInfo(&conn, unset, text, 0, &length), SQL_SUCCESS) << unset;
        EXPECT_EQ(length, 0);
        EXPECT_STREQ(text, "untouched");
    }
    conn.dsn = cass_string_from_cstr("home");
    EXPECT_EQ(SQLGetInfo(&conn, SQL_DATA_SOURCE_NAME, text, sizeof text, nullptr), SQL_SUCCESS);
    EXPECT_STREQ(text, "home");
    EXPECT_EQ(SQLGetInfo(&conn, SQL_DBMS_VER, text, sizeof text, nullptr), SQL_SUCCESS);
    EXPECT_STREQ(text, "3.4.7");
    EXPECT_EQ(SQLGetInfo(&conn, SQL_SEARCH_PATTERN_ESCAPE, text, 9, &length), SQL_SUCCESS);
    EXPECT_STREQ(text, "");
    EXPECT_EQ(length, 0);
    // No room for the terminator is a truncation, even of nothing.
    EXPECT_EQ(SQLGetInfo(&conn, SQL_SEARCH_PATTERN_ESCAPE, text, 0, &length),
              SQL_SUCCESS_WITH_INFO);
}

TEST_F(info, unknown_types_are_refused)
{
    // Those that the Driver Manager answers itself are unknown too.
    for (const SQLUSMALLINT type : {3, 5, 76, 135, 171, 9999}) {
        EXPECT_EQ(SQLGetInfo(&conn, type, nullptr, 0, nullptr), SQL_ERROR) << type;
        EXPECT_EQ(state(), "HYC00");
        EXPECT_EQ(SQLGetInfoW(&conn, type, nullptr, 0, nullptr), SQL_ERROR) << type;
    }
    EXPECT_EQ(SQLGetInfo(nullptr, SQL_DRIVER_VER, nullptr, 0, nullptr), SQL_INVALID_HANDLE);
}

TEST_F(info, the_three_forms_of_get_functions_agree)
{
    SQLUSMALLINT bits[SQL_API_ODBC3_ALL_FUNCTIONS_SIZE];
    SQLUSMALLINT words[100];
    std::memset(bits, 0xFF, sizeof bits);
    std::memset(words, 0xFF, sizeof words);
    ASSERT_EQ(SQLGetFunctions(&conn, SQL_API_ODBC3_ALL_FUNCTIONS, bits), SQL_SUCCESS);
    ASSERT_EQ(SQLGetFunctions(&conn, SQL_API_ALL_FUNCTIONS, words), SQL_SUCCESS);
    int claimed = 0;
    for (SQLUSMALLINT code = 1; code < 4000; code++) {
        if (code == SQL_API_ODBC3_ALL_FUNCTIONS)
            continue;
        SQLUSMALLINT single = 77;
        ASSERT_EQ(SQLGetFunctions(&conn, code, &single), SQL_SUCCESS);
        ASSERT_LE(single, 1);
        EXPECT_EQ(single, SQL_FUNC_EXISTS(bits, code)) << code;
        if (code < 100) {
            EXPECT_EQ(single, words[code]) << code;
        }
        claimed += single;
    }
    EXPECT_EQ(claimed, 74);

    SQLUSMALLINT single = 77;
    SQLGetFunctions(&conn, SQL_API_SQLSETPOS, &single);
    EXPECT_EQ(single, 1);
    SQLGetFunctions(&conn, SQL_API_SQLDATASOURCES, &single);
    EXPECT_EQ(single, 0);
    EXPECT_EQ(SQLGetFunctions(&conn, SQL_API_ALL_FUNCTIONS, nullptr), SQL_SUCCESS);
    cass_stmt stmt = {};
    stmt.head.handle_tag = CASS_STATEMENT_HANDLE;
    EXPECT_EQ(SQLGetFunctions(&stmt, SQL_API_SQLSETPOS, &single), SQL_INVALID_HANDLE);
}
