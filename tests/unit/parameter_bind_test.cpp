// SQLBindParameter: what a record takes from the call, what is refused, and how bindings go.
#include <tuple>

#include "tests/unit/parameter_rig.h"

// clang-format off
TEST(parameter_bind, types_and_lengths_are_settled_at_once)
{
    const std::tuple<SQLINTEGER, SQLSMALLINT, SQLSMALLINT, SQLLEN, int, SQLLEN> cases[] = {
        {3, SQL_C_SLONG, SQL_INTEGER, 100, SQL_C_SLONG, 4},
        {3, SQL_C_CHAR, SQL_CHAR, -1, SQL_C_CHAR, 512},
        {3, SQL_C_BINARY, SQL_VARBINARY, -1, SQL_C_BINARY, 0},
        {3, SQL_C_DEFAULT, SQL_DECIMAL, 9, SQL_C_CHAR, 9},
        {3, SQL_C_DEFAULT, SQL_BIGINT, 0, SQL_C_SBIGINT, 8},
        {2, SQL_C_DEFAULT, SQL_BIGINT, 21, SQL_C_CHAR, 21}};
    for (const auto &[version, value_type, sql_type, length, c_type, octets] : cases) {
        session s;
        s.env->odbc_version = version;
        s.stmt->prepared = 1;
        EXPECT_EQ(SQL_SUCCESS, bind(s.stmt, 3, value_type, sql_type, &s, nullptr, length));
        EXPECT_EQ(3, s.stmt->ipd->field_count);
        EXPECT_EQ(1, s.stmt->params_rebound);
        EXPECT_EQ(c_type, s.stmt->apd->fields[2].consise_type) << value_type << " for " << sql_type;
        EXPECT_EQ(octets, s.stmt->apd->fields[2].octet_length) << value_type << " for " << sql_type;
    }
}

TEST(parameter_bind, bad_arguments_are_refused)
{
    const struct { SQLUSMALLINT number; SQLSMALLINT value_type, sql_type, direction; SQLLEN length;
                   SQLULEN size; const char *expected; } cases[] = {
        {0, SQL_C_CHAR, SQL_CHAR, 1, 1, 1, "07009"}, {1, SQL_BIGINT, SQL_CHAR, 1, 1, 1, "HY003"},
        {1, SQL_C_CHAR, SQL_C_DEFAULT, 1, 1, 1, "HY004"},
        {1, SQL_C_CHAR, SQL_CHAR, 3, 1, 1, "HY105"}, {1, SQL_C_CHAR, SQL_CHAR, 16, 1, 1, ""},
        {1, SQL_C_CHAR, SQL_NUMERIC, 1, 1, 0, "HY104"},
        {1, SQL_C_NUMERIC, SQL_CHAR, 1, 1, 0, "HY021"},
        {1, SQL_C_CHAR, SQL_CHAR, 1, -7, 1, "HY021"},
        {1, SQL_C_CHAR, SQL_CHAR, 1, 1, 0xFFFFFFFF, ""},
        {1, SQL_C_CHAR, SQL_CHAR, 1, 1, 0xFFFFFFFE, "HY021"}};
    for (const auto &c : cases) {
        session s;
        EXPECT_EQ(*c.expected == '\0' ? SQL_SUCCESS : SQL_ERROR,
                  SQLBindParameter(s.stmt, c.number, c.direction, c.value_type, c.sql_type, c.size,
                                   0, &s, c.length, nullptr));
        EXPECT_EQ(c.expected, states_of(s.stmt));
    }
}
// clang-format on

// Sizes and digits do not matter where the column decides, and an indicator that was set before the
// type of a record stays with it.
TEST(parameter_bind, sizes_do_not_matter_where_the_column_decides)
{
    for (const bool standard : {false, true}) {
        session s;
        s.conn->conduct = standard ? &standard_conduct : &default_conduct;
        const std::tuple<SQLSMALLINT, SQLULEN, SQLSMALLINT> cases[] = {
            {SQL_C_CHAR, 0, 0}, {SQL_C_NUMERIC, 38, -4}, {SQL_C_CHAR, 0xFFFFFFFE, 127}};
        for (const auto &[c_type, size, digits] : cases)
            EXPECT_EQ(standard ? SQL_SUCCESS : SQL_ERROR,
                      bind(s.stmt, 1, c_type, size == 0 ? SQL_DECIMAL : SQL_VARCHAR, &s, nullptr, 0,
                           size, digits));
        EXPECT_EQ(SQL_ERROR, bind(s.stmt, 1, SQL_C_CHAR, SQL_VARCHAR, &s, nullptr, -7));
        SQLLEN indicator = SQL_NULL_DATA;
        for (cass_desc *desc : {s.stmt->apd, s.stmt->ard}) {
            SQLSetDescField(desc, 1, SQL_DESC_INDICATOR_PTR, &indicator, 0);
            SQLSetDescField(desc, 1, SQL_DESC_DATA_PTR, &s, 0);
            SQLSetDescField(desc, 1, SQL_DESC_TYPE, reinterpret_cast<void *>(SQL_C_NUMERIC), 0);
            EXPECT_EQ(desc->fields[0].data_ptr, nullptr);
            EXPECT_EQ(desc->fields[0].indicator_ptr,
                      standard && desc == s.stmt->apd ? &indicator : nullptr);
        }
    }
}

// The work is done although the code says otherwise.
TEST(parameter_bind, unbinding_from_the_end_shrinks_the_list)
{
    session s;
    for (SQLUSMALLINT number = 1; number <= 4; number++)
        ASSERT_EQ(SQL_SUCCESS, bind(s.stmt, number, SQL_C_CHAR, SQL_CHAR, &s));
    const std::tuple<SQLUSMALLINT, SQLRETURN, int> steps[] = {
        {5, SQL_SUCCESS, 4}, {3, SQL_ERROR, 4}, {4, SQL_ERROR, 2},
        {1, SQL_ERROR, 2},   {2, SQL_ERROR, 0}, {1, SQL_SUCCESS, 0}};
    for (const auto &[number, code, left] : steps) {
        EXPECT_EQ(code, bind(s.stmt, number, 0, 0, nullptr)) << number;
        EXPECT_EQ("", states_of(s.stmt));
        EXPECT_EQ(left, s.stmt->apd->field_count) << number;
        // Every marker must be bound; the first that is not, among others, is named.
        s.stmt->found_param_count = 4;
        for (const int silent : {1, 0}) {
            EXPECT_EQ(number == 5 ? 0 : -1, cass_check_params(s.stmt, silent, 11));
            EXPECT_EQ(silent || number == 5 ? ""
                      : number == 3         ? "07002@3"
                                            : "07002",
                      states_of(s.stmt));
        }
    }
}
