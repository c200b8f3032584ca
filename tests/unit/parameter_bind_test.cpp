// SQLBindParameter: what a record takes from the call, what is refused, and how bindings go.
#include <gtest/gtest.h>

#include "core/cass_field.h"
#include "tests/unit/parameter_rig.h"

static SQLRETURN bind(session &s, int number, int value_type, int sql_type, SQLULEN size = 0,
                      int digits = 0, void *data = nullptr, SQLLEN length = 0,
                      SQLLEN *indicator = nullptr, int direction = SQL_PARAM_INPUT)
{
    return SQLBindParameter(
        s.stmt, static_cast<SQLUSMALLINT>(number), static_cast<SQLSMALLINT>(direction),
        static_cast<SQLSMALLINT>(value_type), static_cast<SQLSMALLINT>(sql_type), size,
        static_cast<SQLSMALLINT>(digits), data, length, indicator);
}

TEST(parameter_bind, a_binding_is_stored_in_the_record)
{
    session s;
    s.stmt->prepared = 1;
    char buffer[8];
    SQLLEN indicator = 0;
    ASSERT_EQ(SQL_SUCCESS, bind(s, 3, SQL_C_CHAR, SQL_DECIMAL, 20, 4, buffer, sizeof buffer,
                                &indicator, SQL_PARAM_OUTPUT));
    EXPECT_EQ(3, s.stmt->apd->field_count);
    EXPECT_EQ(3, s.stmt->ipd->field_count);
    EXPECT_EQ(1, s.stmt->params_rebound);
    const cass_field &field = s.stmt->apd->fields[2];
    EXPECT_EQ(SQL_C_CHAR, field.consise_type);
    EXPECT_EQ(SQL_DECIMAL, field.target_type);
    EXPECT_EQ(SQL_PARAM_OUTPUT, field.parameter_type);
    EXPECT_EQ(20, field.precision);
    EXPECT_EQ(4, field.scale);
    EXPECT_EQ(8, field.octet_length);
    EXPECT_EQ(buffer, field.data_ptr);
    EXPECT_EQ(&indicator, field.indicator_ptr);
    EXPECT_EQ(&indicator, field.octet_length_ptr);
}

TEST(parameter_bind, types_and_lengths_are_settled_at_once)
{
    struct {
        int value_type, sql_type;
        SQLLEN length;
        int c_type;
        SQLLEN octets;
    } const cases[] = {
        {SQL_C_SLONG, SQL_INTEGER, 0, SQL_C_SLONG, 4},
        {SQL_C_SLONG, SQL_INTEGER, 100, SQL_C_SLONG, 4},
        {SQL_C_TYPE_TIMESTAMP, SQL_TYPE_TIMESTAMP, -1, SQL_C_TYPE_TIMESTAMP, 16},
        {SQL_C_CHAR, SQL_VARCHAR, -1, SQL_C_CHAR, 512},
        {SQL_C_BINARY, SQL_BINARY, -1, SQL_C_BINARY, 512},
        {SQL_C_BINARY, SQL_VARBINARY, -1, SQL_C_BINARY, 0},
        {SQL_C_CHAR, SQL_INTEGER, -1, SQL_C_CHAR, 0},
        {SQL_C_DEFAULT, SQL_INTEGER, 0, SQL_C_SLONG, 4},
        {SQL_C_DEFAULT, SQL_DECIMAL, 9, SQL_C_CHAR, 9},
        {SQL_C_DEFAULT, SQL_TYPE_DATE, 0, SQL_C_DATE, 6},
        {SQL_C_DEFAULT, SQL_BIGINT, 0, SQL_C_SBIGINT, 8},
    };
    for (const auto &c : cases) {
        session s;
        char data = 0;
        EXPECT_EQ(SQL_SUCCESS, bind(s, 1, c.value_type, c.sql_type, 10, 0, &data, c.length));
        EXPECT_EQ(c.c_type, s.stmt->apd->fields[0].consise_type) << c.value_type << c.sql_type;
        EXPECT_EQ(c.octets, s.stmt->apd->fields[0].octet_length) << c.value_type << c.sql_type;
    }
    session s;
    s.env->odbc_version = SQL_OV_ODBC2;
    char data = 0;
    EXPECT_EQ(SQL_SUCCESS, bind(s, 1, SQL_C_DEFAULT, SQL_BIGINT, 10, 0, &data, 21));
    EXPECT_EQ(SQL_C_CHAR, s.stmt->apd->fields[0].consise_type);
}

TEST(parameter_bind, bad_arguments_are_refused)
{
    struct {
        int number, value_type, sql_type;
        SQLULEN size;
        int digits;
        SQLLEN length;
        int direction;
        const char *expected;
    } const cases[] = {
        {0, SQL_C_CHAR, SQL_CHAR, 1, 0, 1, 1, "07009"},
        {1, SQL_BIGINT, SQL_BIGINT, 1, 0, 1, 1, "HY003"},
        {1, SQL_VARCHAR, SQL_CHAR, 1, 0, 1, 1, "HY003"},
        {1, SQL_C_INTERVAL_YEAR, SQL_CHAR, 1, 0, 1, 1, "HY003"},
        {1, SQL_C_CHAR, SQL_C_DEFAULT, 1, 0, 1, 1, "HY004"},
        {1, SQL_C_DEFAULT, SQL_C_DEFAULT, 1, 0, 1, 1, "HY004"},
        {1, SQL_C_CHAR, SQL_CHAR, 1, 0, 1, 3, "HY105"},
        {1, SQL_C_CHAR, SQL_NUMERIC, 0, 0, 1, 1, "HY104"},
        {1, SQL_C_CHAR, SQL_CHAR, 0xFFFFFFFE, 0, 1, 1, "HY021"},
        {1, SQL_C_CHAR, SQL_CHAR, 0xFFFFFFFF, 0, 1, 1, ""},
        {1, SQL_C_CHAR, SQL_CHAR, 1, 0, -7, 1, "HY021"},
        {1, SQL_C_NUMERIC, SQL_CHAR, 0, 0, 1, 1, "HY021"},
        {1, SQL_C_CHAR, SQL_CHAR, 1, 0, 1, SQL_PARAM_OUTPUT_STREAM, ""},
    };
    for (const auto &c : cases) {
        session s;
        char data = 0;
        const SQLRETURN code = bind(s, c.number, c.value_type, c.sql_type, c.size, c.digits, &data,
                                    c.length, nullptr, c.direction);
        EXPECT_EQ(c.expected, states(s.stmt));
        EXPECT_EQ(*c.expected == '\0' ? SQL_SUCCESS : SQL_ERROR, code) << c.expected;
    }
}

// The work is done although the code says otherwise.
TEST(parameter_bind, unbinding_from_the_end_shrinks_the_list)
{
    session s;
    char data = 0;
    EXPECT_EQ(SQL_SUCCESS, bind(s, 1, 0, 0));
    EXPECT_EQ(SQL_ERROR, bind(s, 0, 0, 0));
    for (int number = 1; number <= 4; number++)
        ASSERT_EQ(SQL_SUCCESS, bind(s, number, SQL_C_CHAR, SQL_CHAR, 1, 0, &data, 1));
    EXPECT_EQ(SQL_SUCCESS, bind(s, 5, 0, 0));
    EXPECT_EQ(4, s.stmt->apd->field_count);
    EXPECT_EQ(SQL_ERROR, bind(s, 3, 0, 0));
    EXPECT_EQ(4, s.stmt->apd->field_count);
    EXPECT_EQ(nullptr, s.stmt->apd->fields[2].data_ptr);
    EXPECT_EQ(SQL_ERROR, bind(s, 4, 0, 0));
    EXPECT_EQ(2, s.stmt->apd->field_count);
    EXPECT_EQ(SQL_ERROR, bind(s, 1, 0, 0));
    EXPECT_EQ(SQL_ERROR, bind(s, 2, 0, 0));
    EXPECT_EQ(0, s.stmt->apd->field_count);
    EXPECT_EQ("", states(s.stmt));
}

TEST(parameter_bind, every_marker_must_be_bound)
{
    session s;
    char data = 0;
    s.stmt->found_param_count = 3;
    ASSERT_EQ(SQL_SUCCESS, bind(s, 2, SQL_C_CHAR, SQL_CHAR, 1, 0, &data, 1));
    EXPECT_EQ(-1, cass_check_params(s.stmt, 1, 11));
    EXPECT_EQ("", states(s.stmt));
    EXPECT_EQ(-1, cass_check_params(s.stmt, 0, 11));
    EXPECT_EQ("07002", states(s.stmt));
    ASSERT_EQ(SQL_SUCCESS, bind(s, 3, SQL_C_CHAR, SQL_CHAR, 1, 0, &data, 1));
    EXPECT_EQ(-1, cass_check_params(s.stmt, 1, 11));
    EXPECT_EQ(-1, cass_check_params(s.stmt, 0, 11));
    EXPECT_EQ("07002@1", states(s.stmt));
    ASSERT_EQ(SQL_SUCCESS, bind(s, 1, SQL_C_CHAR, SQL_CHAR, 1, 0, &data, 1));
    EXPECT_EQ(0, cass_check_params(s.stmt, 0, 11));
    EXPECT_EQ(0, s.stmt->current_dae_op);

    SQLSMALLINT count = -1;
    EXPECT_EQ(SQL_SUCCESS, SQLNumParams(s.stmt, &count));
    EXPECT_EQ(3, count);
    EXPECT_EQ(SQL_SUCCESS, SQLNumParams(s.stmt, nullptr));
}

TEST(parameter_bind, data_at_execution_is_looked_for_in_the_set_in_work)
{
    session s;
    SQLLEN indicators[2] = {0, SQL_LEN_DATA_AT_EXEC(5)};
    char data[2] = {};
    s.stmt->found_param_count = 1;
    ASSERT_EQ(SQL_SUCCESS, bind(s, 1, SQL_C_CHAR, SQL_CHAR, 1, 0, data, 1, indicators));
    EXPECT_EQ(0, cass_check_params(s.stmt, 0, 12));
    // Behind the array there is no element, whatever lies there.
    s.stmt->param_row = 1;
    EXPECT_EQ(0, cass_check_params(s.stmt, 0, 12));
    s.stmt->apd->array_size = 2;
    EXPECT_EQ(SQL_NEED_DATA, cass_check_params(s.stmt, 0, 12));
    EXPECT_EQ(0, s.stmt->current_dae_param);
    EXPECT_EQ(12, s.stmt->current_dae_op);
    EXPECT_EQ(1, s.stmt->current_dae_first);
}
