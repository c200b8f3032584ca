// Local results: the order of their rows, what their columns and cells look like to an application,
// and the list of types, which is one.
#include <random>
#include <vector>

#include "core/cass_fetch.h"
#include "core/cass_internalrs.h"
#include "core/cass_stmt.h"
#include "odbc/SQLGetTypeInfoWide.h"
#include "stmt_fixture.h"

static constexpr cass_internal_column columns[] = {{"NUMBER", SQL_INTEGER, 0, SQL_NULLABLE},
                                                   {"NAME", SQL_VARCHAR, 12, SQL_NULLABLE},
                                                   {"SHORT", SQL_SMALLINT, 0, SQL_NO_NULLS}};
static constexpr cass_internal_columns shape = {3, columns};

struct internal_result : stmt_fixture {
    ~internal_result() override { cass_close_stmt(stmt, 1); }

    std::string cell(int column)
    {
        char text[64] = "";
        SQLLEN length = 0;
        const SQLRETURN code = SQLGetData(stmt, static_cast<SQLUSMALLINT>(column), SQL_C_CHAR, text,
                                          sizeof text, &length);
        EXPECT_EQ(SQL_SUCCESS, code);
        return length == SQL_NULL_DATA ? "NULL" : text;
    }
    std::vector<std::string> fetch_all(int count)
    {
        std::vector<std::string> rows;
        while (SQLFetch(stmt) == SQL_SUCCESS) {
            rows.push_back(cell(1));
            for (int column = 2; column <= count; column++)
                rows.back() += "|" + cell(column);
        }
        return rows;
    }
};

// Against a stable sort: numbers as numbers, text by its bytes, null first, arrival order among
// equals, whatever the order of arrival.
TEST_F(internal_result, rows_come_in_stable_sort_order)
{
    struct row {
        const char *number, *name;
        std::string tag;
    };
    static const char *const numbers[] = {nullptr, "-2", "9", "10", " 10"};
    static const char *const names[] = {nullptr, "", "B", "a", "\xC3\xA9"};
    const auto rank = [](const char *text, bool number) {
        const std::string low = text == nullptr ? "" : text;
        return number ? std::pair(text != nullptr ? std::stoi(low) : -100, std::string())
                      : std::pair(text != nullptr ? 1 : 0, low);
    };
    std::mt19937 random(7);
    for (const bool ascending : {false, true})
        for (const int first_key : {1, 2, 0}) {
            std::vector<row> rows;
            for (int i = 0; i < 300; i++)
                rows.push_back({numbers[random() % 5], names[random() % 5], std::to_string(i)});
            const auto less = [&](const row &a, const row &b) {
                const auto number = std::pair(rank(a.number, true), rank(b.number, true));
                const auto name = std::pair(rank(a.name, false), rank(b.name, false));
                if (first_key == 1)
                    return number.first != number.second ? number.first < number.second
                                                         : name.first < name.second;
                return first_key == 2 && name.first < name.second;
            };
            if (ascending)
                std::stable_sort(rows.begin(), rows.end(), less);
            const std::int32_t keys[] = {first_key, first_key == 1 ? 2 : 0, 0};
            cass_close_stmt(stmt, 1);
            ASSERT_EQ(0, cass_create_internal_rs(stmt, &shape, keys));
            for (const row &r : rows) {
                const char *const values[] = {r.number, r.name, r.tag.c_str()};
                ASSERT_EQ(0, cass_insert_internal_row(stmt, values));
            }
            std::stable_sort(rows.begin(), rows.end(), less);
            std::vector<std::string> wanted;
            for (const row &r : rows)
                wanted.push_back((r.number ? std::to_string(std::stoi(r.number)) : "NULL") + "|" +
                                 (r.name ? r.name : "NULL") + "|" + r.tag);
            EXPECT_EQ(wanted, fetch_all(3)) << first_key;
        }
}

TEST_F(internal_result, columns_are_described_and_an_empty_result_ends_at_once)
{
    ASSERT_EQ(0, cass_create_internal_rs(stmt, &shape, nullptr));
    SQLSMALLINT count = 0;
    EXPECT_EQ(SQL_SUCCESS, SQLNumResultCols(stmt, &count));
    EXPECT_EQ(3, count);
    struct {
        const char *name, *type_name;
        SQLSMALLINT type;
        SQLULEN size;
        SQLLEN octets;
        SQLSMALLINT nullable;
    } const wanted[] = {{"NUMBER", "INTEGER", SQL_INTEGER, 10, 4, SQL_NULLABLE},
                        {"NAME", "VARCHAR", SQL_VARCHAR, 12, 12, SQL_NULLABLE},
                        {"SHORT", "INTEGER", SQL_SMALLINT, 5, 4, SQL_NO_NULLS}};
    for (SQLUSMALLINT column = 1; const auto &w : wanted) {
        SQLCHAR name[32] = "", type_name[32] = "";
        SQLSMALLINT type = 0, nullable = -1;
        SQLULEN size = 0;
        SQLLEN octets = 0;
        EXPECT_EQ(SQL_SUCCESS, SQLDescribeCol(stmt, column, name, sizeof name, nullptr, &type,
                                              &size, nullptr, &nullable));
        SQLColAttribute(stmt, column, SQL_DESC_OCTET_LENGTH, nullptr, 0, nullptr, &octets);
        SQLColAttribute(stmt, column, SQL_DESC_TYPE_NAME, type_name, sizeof type_name, nullptr,
                        nullptr);
        EXPECT_STREQ(w.name, reinterpret_cast<char *>(name));
        EXPECT_STREQ(w.type_name, reinterpret_cast<char *>(type_name));
        EXPECT_EQ(std::tuple(w.type, w.size, w.octets, w.nullable),
                  std::tuple(type, size, octets, nullable));
        ++column;
    }
    for (int i = 0; i < 2; i++)
        EXPECT_EQ(SQL_NO_DATA, SQLFetch(stmt));
}

TEST_F(internal_result, cells_nulls_and_a_cut_text_that_goes_on_in_its_buffer)
{
    const char *const none[] = {nullptr, nullptr, nullptr};
    EXPECT_EQ(-1, cass_insert_internal_row(stmt, none));
    EXPECT_TRUE(message_of(stmt).ends_with("Attempting to insert to empty internal result set"));

    ASSERT_EQ(0, cass_create_internal_rs(stmt, &shape, nullptr));
    const char *const whole[] = {"  -7x", "abcdefghi", "3"};
    cass_insert_internal_row(stmt, none);
    cass_insert_internal_row(stmt, whole);
    SQLINTEGER number = 5;
    SQLLEN lengths[2] = {};
    char name[6] = "";
    SQLBindCol(stmt, 1, SQL_C_LONG, &number, 0, &lengths[0]);
    SQLBindCol(stmt, 2, SQL_C_CHAR, name, sizeof name, &lengths[1]);
    EXPECT_EQ(SQL_SUCCESS, SQLFetch(stmt));
    EXPECT_EQ(std::pair(SQLLEN{SQL_NULL_DATA}, SQLLEN{SQL_NULL_DATA}),
              std::pair(lengths[0], lengths[1]));
    EXPECT_EQ("1 22002", outcome(SQLGetData(stmt, 3, SQL_C_LONG, &number, 4, nullptr), stmt));
    EXPECT_EQ(SQL_SUCCESS, SQLFetch(stmt));
    EXPECT_EQ("01004", states_of(stmt));  // of the first piece
    EXPECT_EQ(-7, number);
    EXPECT_STREQ("fghi", name);
    EXPECT_EQ("3", cell(3));
    EXPECT_EQ(SQL_NO_DATA, SQLFetch(stmt));
    EXPECT_EQ(SQL_ERROR, SQLFetchScroll(stmt, SQL_FETCH_FIRST, 0));
    EXPECT_EQ("HY106", states_of(stmt));
    cass_close_stmt(stmt, 0);
    EXPECT_EQ(SQL_NO_DATA, SQLFetch(stmt));  // a second pass needs a second call
}

// Name and number of each type that a number is answered with; the list of all is sorted by it.
TEST_F(internal_result, type_list_by_number_and_level)
{
    struct {
        int level;
        SQLSMALLINT asked;
        const char *answer;
    } const cases[] = {
        {3, SQL_ALL_TYPES,
         "uuid-11 timeuuid-11 boolean-7 tinyint-6 bigint-5 counter-5 blob-3 decimal3 varint3 int4 "
         "smallint5 float7 double8 text12 varchar12 ascii12 inet12 date91 time93 timestamp93 "},
        {2, SQL_TYPE_DATE, "date9 "},
        {2, SQL_TIMESTAMP, "timestamp11 "},
        {3, SQL_DATE, "date91 "},
        {3, SQL_TYPE_TIMESTAMP, "timestamp93 "},
        {3, SQL_TINYINT, "smallint5 "},
        {3, SQL_LONGVARCHAR, "text12 varchar12 "},
        {3, SQL_CHAR, "varchar12 text12 ascii12 inet12 "},
        {3, SQL_TYPE_TIME, ""},
        {3, 1234, ""},
    };
    for (const auto &c : cases) {
        conn->odbc_level = c.level;
        EXPECT_EQ(SQL_SUCCESS, SQLGetTypeInfo(stmt, c.asked));
        std::string answer;
        while (SQLFetch(stmt) == SQL_SUCCESS)
            answer += cell(1) + cell(2) + " ";
        EXPECT_EQ(c.answer, answer) << c.asked;
    }
    EXPECT_EQ(0, conn->results_busy);
    conn->odbc_level = 3;
    EXPECT_EQ(SQL_SUCCESS, SQLGetTypeInfoW(stmt, SQL_TYPE_DATE));
    EXPECT_EQ(std::vector<std::string>{"date|91|10|'|'|NULL|1|0|3|NULL|0|NULL|datetime|0|NULL|NULL|"
                                       "91|NULL|NULL"},
              fetch_all(19));
}

TEST_F(internal_result, another_cursor_asked_for_is_told_and_taken_back)
{
    stmt->attrs.cursor_type = SQL_CURSOR_STATIC;
    EXPECT_EQ("1 01S02", outcome(SQLGetTypeInfo(stmt, SQL_INTEGER), stmt));
    EXPECT_EQ("", outcome(SQLGetTypeInfo(stmt, SQL_INTEGER), stmt));
}
