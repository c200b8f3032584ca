// SQLBindParameter: what a record takes from the call, what is refused, and how bindings go.
#include "tests/unit/parameter_rig.h"

// clang-format off
TEST(parameter_bind, types_and_lengths_are_settled_at_once)
{
    const struct { SQLSMALLINT value_type, sql_type; SQLLEN length; int c_type; SQLLEN octets;
                   SQLINTEGER version = SQL_OV_ODBC3; } cases[] = {
        {SQL_C_SLONG, SQL_INTEGER, 100, SQL_C_SLONG, 4},
        {SQL_C_CHAR, SQL_CHAR, -1, SQL_C_CHAR, 512},
        {SQL_C_TYPE_TIMESTAMP, SQL_TYPE_TIMESTAMP, -1, SQL_C_TYPE_TIMESTAMP, 16},
        {SQL_C_BINARY, SQL_BINARY, -1, SQL_C_BINARY, 512},
        {SQL_C_BINARY, SQL_VARBINARY, -1, SQL_C_BINARY, 0},
        {SQL_C_DEFAULT, SQL_DECIMAL, 9, SQL_C_CHAR, 9},
        {SQL_C_DEFAULT, SQL_TYPE_DATE, 0, SQL_C_DATE, 6},
        {SQL_C_DEFAULT, SQL_BIGINT, 0, SQL_C_SBIGINT, 8},
        {SQL_C_DEFAULT, SQL_BIGINT, 21, SQL_C_CHAR, 21, SQL_OV_ODBC2},
    };
    for (const auto &c : cases) {
        session s;
        s.env->odbc_version = c.version;
        s.stmt->prepared = 1;
        EXPECT_EQ(SQL_SUCCESS, bind(s.stmt, 3, c.value_type, c.sql_type, &s, nullptr, c.length));
        EXPECT_EQ(3, s.stmt->ipd->field_count);
        EXPECT_EQ(1, s.stmt->params_rebound);
        const cass_field &field = s.stmt->apd->fields[2];
        EXPECT_EQ(c.c_type, field.consise_type) << c.value_type << " for " << c.sql_type;
        EXPECT_EQ(c.octets, field.octet_length) << c.value_type << " for " << c.sql_type;
    }
}

TEST(parameter_bind, bad_arguments_are_refused)
{
    const struct { SQLUSMALLINT number; SQLSMALLINT value_type, sql_type, direction; SQLLEN length;
                   SQLULEN size; const char *expected; } cases[] = {
        {0, SQL_C_CHAR, SQL_CHAR, 1, 1, 1, "07009"}, {1, SQL_BIGINT, SQL_CHAR, 1, 1, 1, "HY003"},
        {1, SQL_C_INTERVAL_YEAR, SQL_CHAR, 1, 1, 1, "HY003"},
        {1, SQL_C_CHAR, SQL_C_DEFAULT, 1, 1, 1, "HY004"},
        {1, SQL_C_CHAR, SQL_CHAR, 3, 1, 1, "HY105"}, {1, SQL_C_CHAR, SQL_CHAR, 16, 1, 1, ""},
        {1, SQL_C_CHAR, SQL_NUMERIC, 1, 1, 0, "HY104"},
        {1, SQL_C_CHAR, SQL_CHAR, 1, -7, 1, "HY021"},
        {1, SQL_C_CHAR, SQL_CHAR, 1, 1, 0xFFFFFFFE, "HY021"},
        {1, SQL_C_CHAR, SQL_CHAR, 1, 1, 0xFFFFFFFF, ""},
        {1, SQL_C_NUMERIC, SQL_CHAR, 1, 1, 0, "HY021"},
    };
    for (const auto &c : cases) {
        session s;
        EXPECT_EQ(*c.expected == '\0' ? SQL_SUCCESS : SQL_ERROR,
                  SQLBindParameter(s.stmt, c.number, c.direction, c.value_type, c.sql_type, c.size,
                                   0, &s, c.length, nullptr));
        EXPECT_EQ(c.expected, states(s));
    }
}

// The work is done although the code says otherwise.
TEST(parameter_bind, unbinding_from_the_end_shrinks_the_list)
{
    session s;
    for (SQLUSMALLINT number = 1; number <= 4; number++)
        ASSERT_EQ(SQL_SUCCESS, bind(s.stmt, number, SQL_C_CHAR, SQL_CHAR, &s));
    const struct { SQLUSMALLINT number; SQLRETURN code; int left; } steps[] = {
        {5, SQL_SUCCESS, 4}, {3, SQL_ERROR, 4}, {4, SQL_ERROR, 2}, {1, SQL_ERROR, 2},
        {2, SQL_ERROR, 0}, {1, SQL_SUCCESS, 0}};
    for (const auto &step : steps) {
        EXPECT_EQ(step.code, bind(s.stmt, step.number, 0, 0, nullptr)) << step.number;
        EXPECT_EQ("", states(s));
        EXPECT_EQ(step.left, s.stmt->apd->field_count) << step.number;
    }
}
// clang-format on

TEST(parameter_bind, every_marker_must_be_bound)
{
    session s;
    s.stmt->found_param_count = 3;
    const std::pair<SQLUSMALLINT, std::string> steps[] = {{2, "07002"}, {3, "07002@1"}, {1, ""}};
    for (const auto &[number, expected] : steps) {
        ASSERT_EQ(SQL_SUCCESS, bind(s.stmt, number, SQL_C_CHAR, SQL_CHAR, &s));
        for (const int silent : {1, 0}) {
            EXPECT_EQ(expected.empty() ? 0 : -1, cass_check_params(s.stmt, silent, 11));
            EXPECT_EQ(silent ? "" : expected, states(s));
        }
    }
}
