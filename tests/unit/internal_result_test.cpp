// Local results: what their columns and cells look like to an application, and the list of types,
// which is one and sorted.
#include <sstream>

#include "core/local/cass_internalrs.h"
#include "tests/unit/handles.h"

static constexpr cass_internal_column columns[] = {{"NUMBER", SQL_INTEGER, 0, SQL_NULLABLE},
                                                   {"NAME", SQL_VARCHAR, 12, SQL_NULLABLE},
                                                   {"SHORT", SQL_SMALLINT, 0, SQL_NO_NULLS}};
static constexpr cass_internal_columns shape = {3, columns};

using internal_result = stmt_fixture;

TEST_F(internal_result, columns_and_rows_in_stable_sort_order)
{
    ASSERT_EQ(0, cass_create_internal_rs(stmt, &shape, nullptr));
    // Name, type and its name, precision, octet length, nullability.
    const cass_field *field = stmt->ird->fields;
    for (const char *wanted :
         {"NUMBER 4 INTEGER 10 4 1", "NAME 12 VARCHAR 12 12 1", "SHORT 5 INTEGER 5 4 0"}) {
        std::ostringstream line;
        line << text_of(field->column_name) << ' ' << field->consise_type << ' '
             << text_of(field->type_name) << ' ' << field->precision << ' ' << field->octet_length
             << ' ' << field->nullable;
        EXPECT_EQ(wanted, line.str());
        field++;
    }
    // Numbers as numbers, text by its bytes, null first, arrival order among equals.
    // clang-format off
    static constexpr const char *rows[][3] = {
        {" 10x", "a", "0"}, {nullptr, "B", "1"}, {"9", "\xC3\xA9", "2"}, {"10", "", "3"},
        {"-2", nullptr, "4"}, {"9", "a", "5"}, {nullptr, "", "6"}};
    // clang-format on
    static constexpr std::int32_t keys[] = {1, 2, 0};
    SQLFreeStmt(stmt, SQL_CLOSE);
    conn->conduct = &standard_conduct;
    ASSERT_EQ(0, cass_create_internal_rs(stmt, &shape, keys));
    EXPECT_EQ("SMALLINT 2", text_of(stmt->ird->fields[2].type_name) + " " +
                                std::to_string(stmt->ird->fields[2].octet_length));
    for (const auto &row : rows)
        cass_insert_internal_row(stmt, row);
    EXPECT_EQ(fetch_all(stmt), (row_list{"NULL||6", "NULL|B|1", "-2|NULL|4", "9|a|5",
                                         "9|\xC3\xA9|2", "10||3", "10|a|0"}));
}

// Name and number of each type that a number is answered with; the list of all is sorted by it.
TEST_F(internal_result, type_list_by_number_and_level)
{
    // clang-format off
    static constexpr struct { int level; SQLSMALLINT asked; const char *answer; } cases[] = {
        {3, SQL_ALL_TYPES,
         "uuid-11 timeuuid-11 boolean-7 tinyint-6 bigint-5 counter-5 blob-3 decimal3 varint3 int4 "
         "smallint5 float7 double8 text12 varchar12 ascii12 inet12 date91 time93 timestamp93 "},
        {2, SQL_TYPE_DATE, "date9 "}, {2, SQL_TIMESTAMP, "timestamp11 "}, {3, SQL_DATE, "date91 "},
        {3, SQL_TINYINT, "smallint5 "}, {3, 1234, ""}, {3, SQL_LONGVARCHAR, "text12 varchar12 "},
        {3, SQL_CHAR, "varchar12 text12 ascii12 inet12 "},
    };
    // clang-format on
    for (const auto &c : cases) {
        conn->odbc_level = c.level;
        EXPECT_EQ(SQL_SUCCESS, SQLGetTypeInfo(stmt, c.asked));
        std::string answer;
        while (SQLFetch(stmt) == SQL_SUCCESS)
            answer += cell_text(stmt, 1) + cell_text(stmt, 2) + " ";
        EXPECT_EQ(c.answer, answer) << c.asked;
    }
    conn->odbc_level = 3;
    stmt->attrs.cursor_type = SQL_CURSOR_STATIC;  // told, and taken back
    EXPECT_EQ("1 01S02", outcome(SQLGetTypeInfo(stmt, SQL_TYPE_DATE), stmt));
    EXPECT_EQ(row_list{"date|91|10|'|'|NULL|1|0|3|NULL|0|NULL|datetime|0|NULL|NULL|"
                       "91|NULL|NULL"},
              fetch_all(stmt));
}
