// What the tests on both sides of the Driver Manager share: calls with texts, return codes that
// explain themselves with all diagnostics, and results as text.
//
//     EXPECT_STMT(SQL_SUCCESS, stmt, exec(stmt, "select a, b from t"));
//     EXPECT_EQ(fetch_all(stmt), (row_list{"1|x", "2|y"}));
#ifndef TESTS_HANDLE_CALLS_H
#define TESTS_HANDLE_CALLS_H

#include <gtest/gtest.h>
#include <sql.h>
#include <sqlext.h>
#include <sqlucode.h>

#include <map>
#include <string>
#include <vector>

inline SQLCHAR *odbc_text(const std::string &text)
{
    return reinterpret_cast<SQLCHAR *>(const_cast<char *>(text.c_str()));
}
inline SQLWCHAR *odbc_wide(const std::u16string &text)
{
    return reinterpret_cast<SQLWCHAR *>(const_cast<char16_t *>(text.c_str()));
}
inline SQLPOINTER odbc_number(SQLULEN value)
{
    return reinterpret_cast<SQLPOINTER>(value);
}

inline SQLRETURN exec(SQLHSTMT stmt, const std::string &sql)
{
    return SQLExecDirect(stmt, odbc_text(sql), static_cast<SQLINTEGER>(sql.size()));
}
inline SQLRETURN prepare(SQLHSTMT stmt, const std::string &sql)
{
    return SQLPrepare(stmt, odbc_text(sql), static_cast<SQLINTEGER>(sql.size()));
}

// ---- Codes and diagnostics ----------------------------------------------------------------------

// Records of a handle, such as "08S01 Communication link failure: failed to send packet": the state
// and the message behind the driver's prefix.
using record_list = std::vector<std::string>;

inline record_list records_of(SQLSMALLINT type, SQLHANDLE handle)
{
    static const std::string prefix = "[Varnholt][Apache Cassandra]";
    record_list list;
    SQLCHAR state[6] = "", text[4096] = "";
    SQLINTEGER native = 0;
    for (SQLSMALLINT number = 1;
         number < 100 && SQL_SUCCEEDED(SQLGetDiagRec(type, handle, number, state, &native, text,
                                                     sizeof text, nullptr));
         number++) {
        const std::string message = reinterpret_cast<char *>(text);
        list.push_back(std::string(state, state + 5) + " " +
                       message.substr(message.starts_with(prefix) ? prefix.size() : 0));
    }
    return list;
}
inline record_list conn_records(SQLHDBC conn)
{
    return records_of(SQL_HANDLE_DBC, conn);
}
inline record_list stmt_records(SQLHSTMT stmt)
{
    return records_of(SQL_HANDLE_STMT, stmt);
}

inline std::string code_name(SQLRETURN code)
{
    static const std::map<SQLRETURN, std::string> names = {
        {SQL_SUCCESS, "SQL_SUCCESS"}, {SQL_SUCCESS_WITH_INFO, "SQL_SUCCESS_WITH_INFO"},
        {SQL_NO_DATA, "SQL_NO_DATA"}, {SQL_NEED_DATA, "SQL_NEED_DATA"},
        {SQL_ERROR, "SQL_ERROR"},     {SQL_INVALID_HANDLE, "SQL_INVALID_HANDLE"}};
    const auto found = names.find(code);
    return found == names.end() ? std::to_string(code) : found->second;
}

inline ::testing::AssertionResult code_is(SQLRETURN wanted, SQLRETURN got, SQLSMALLINT type,
                                          SQLHANDLE handle, const char *call)
{
    if (got == wanted)
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure()
           << call << "\n  gave " << code_name(got) << ", expected " << code_name(wanted) << "\n  "
           << ::testing::PrintToString(records_of(type, handle));
}
#define EXPECT_STMT(wanted, stmt, call)                                                            \
    EXPECT_TRUE(code_is(wanted, call, SQL_HANDLE_STMT, stmt, #call))
#define ASSERT_STMT(wanted, stmt, call)                                                            \
    ASSERT_TRUE(code_is(wanted, call, SQL_HANDLE_STMT, stmt, #call))
#define EXPECT_CONN(wanted, conn, call)                                                            \
    EXPECT_TRUE(code_is(wanted, call, SQL_HANDLE_DBC, conn, #call))

// A code with the first record behind it.
inline std::string code_and_record(SQLRETURN code, SQLHSTMT stmt)
{
    const record_list list = stmt_records(stmt);
    return code_name(code) + (list.empty() ? "" : ": " + list.front());
}

// ---- Results ------------------------------------------------------------------------------------

using row_list = std::vector<std::string>;

inline int column_count(SQLHSTMT stmt)
{
    SQLSMALLINT count = -1;
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLNumResultCols(stmt, &count));
    return count;
}

// The cell as SQL_C_CHAR; "NULL", or "<code: record>" where no text comes. On a small stack too.
inline std::string cell_text(SQLHSTMT stmt, int column)
{
    std::string text;
    char piece[1000] = "";
    SQLLEN length = 0x5A5A5A5A5A5A5A5A;  // every byte of which is to be written
    SQLRETURN code = SQL_SUCCESS_WITH_INFO;
    while (code == SQL_SUCCESS_WITH_INFO) {
        code = SQLGetData(stmt, static_cast<SQLUSMALLINT>(column), SQL_C_CHAR, piece, sizeof piece,
                          &length);
        text += piece;
    }
    if (code != SQL_SUCCESS)
        return "<" + code_and_record(code, stmt) + ">";
    return length == SQL_NULL_DATA ? "NULL" : text;
}

// All cells, joined by "|".
inline std::string row_text(SQLHSTMT stmt)
{
    std::string text;
    const int count = column_count(stmt);
    for (int column = 1; column <= count; column++)
        text += (column > 1 ? "|" : "") + cell_text(stmt, column);
    return text;
}

// Rows until the fetch ends, and how it ended when not with SQL_NO_DATA.
inline row_list fetch_all(SQLHSTMT stmt)
{
    constexpr std::size_t limit = 100000;
    row_list rows;
    while (rows.size() < limit) {
        const SQLRETURN code = SQLFetch(stmt);
        if (code != SQL_NO_DATA)
            rows.push_back(SQL_SUCCEEDED(code) ? row_text(stmt) : code_and_record(code, stmt));
        if (!SQL_SUCCEEDED(code))
            break;
    }
    return rows;
}

#endif
