// Bound columns and parameters: what a record takes from the call, how the list of bindings grows
// and shrinks, and what is refused.
#include <tuple>

#include "tests/unit/cell_rig.h"
#include "tests/unit/parameter_rig.h"

TEST(binding, the_list_reaches_to_the_last_bound_column)
{
    const rig_ptr rig = rig_open({CQL_INT});
    SQLLEN at[2];
    const std::tuple<SQLUSMALLINT, void *, SQLLEN *, int> steps[] = {
        {5, at, at, 5},      {5, nullptr, nullptr, 0}, {2, nullptr, at, 2},
        {5, at, nullptr, 5}, {9, nullptr, nullptr, 5}, {5, nullptr, nullptr, 2}};
    for (const auto &[column, target, indicator, count] : steps) {
        EXPECT_EQ(SQL_SUCCESS, SQLBindCol(rig->stmt, column, SQL_C_CHAR, target, 16, indicator));
        EXPECT_EQ(count, rig->stmt->ard->field_count);
    }
    EXPECT_EQ(1, cass_stmt_column_count(rig->stmt->ird));  // the result's columns are its own
    // Rows are spaced by the type, those of uuids by default by the length given.
    rig->stmt->executed = 1;  // the default type is the column's
    for (const auto &[type, given, stride] : {std::tuple(SQL_C_LONG, 99, 4),
                                              {SQL_C_NUMERIC, 0, 19},
                                              {SQL_C_CHAR, 10, 10},
                                              {SQL_C_BINARY, 5, 5},
                                              {SQL_C_DEFAULT, 7, 4},
                                              {SQL_C_GUID, 40, 40}}) {
        SQLBindCol(rig->stmt, 1, SQLSMALLINT(type), at, given, nullptr);
        EXPECT_EQ(stride, rig->stmt->ard->fields[0].octet_length) << type;
    }
    rig->conn->conduct = &standard_conduct;
    SQLBindCol(rig->stmt, 1, SQL_C_GUID, at, 40, nullptr);
    EXPECT_EQ(16, rig->stmt->ard->fields[0].octet_length);
}

TEST(binding, what_is_refused)
{
    char at[64];
    // What is told, and whether the column is then bound, by default and with Standard=Yes.
    const std::tuple<SQLUSMALLINT, SQLSMALLINT, SQLLEN, const char *, bool, bool> cases[] = {
        {1, 12345, 8, "HY003", false, false},
        {1, SQL_C_CHAR, -4, "HY021", true, false},
        // A column without metadata has no precision yet.
        {2, SQL_C_NUMERIC, 19, "HY021", true, false},
        {3, SQL_C_DEFAULT, 8, "0 HY000", true, true},
        {0, SQL_C_CHAR, 8, "07006", false, false},
        {0, SQL_C_BOOKMARK, 8, "", true, true}};
    for (const auto &[column, type, length, states, by_default, by_standard] : cases)
        for (const bool standard : {false, true}) {
            const rig_ptr rig = rig_open({}, standard ? &standard_conduct : &default_conduct);
            EXPECT_EQ(states,
                      outcome(SQLBindCol(rig->stmt, column, type, at, length, nullptr), rig->stmt));
            const cass_desc *ard = rig->stmt->ard;
            const cass_field &field = column == 0 ? ard->bookmark_field : ard->fields[column - 1];
            EXPECT_EQ(field.data_ptr == at, standard ? by_standard : by_default) << type;
        }
}

// ---- Parameters ---------------------------------------------------------------------------------

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
        session s(false);
        s.env->odbc_version = version;
        s.stmt->prepared = 1;
        EXPECT_EQ(SQL_SUCCESS, bind(s.stmt, 3, value_type, sql_type, &s, nullptr, length));
        EXPECT_TRUE(s.stmt->ipd->field_count == 3 && s.stmt->params_rebound == 1);
        const cass_field &field = s.stmt->apd->fields[2];
        EXPECT_EQ(c_type, field.consise_type) << value_type << " for " << sql_type;
        EXPECT_EQ(octets, field.octet_length) << value_type << " for " << sql_type;
    }
}

// Sizes and digits do not matter where the column decides.
TEST(parameter_bind, bad_arguments_are_refused)
{
    // clang-format off
    const struct { SQLUSMALLINT number; SQLSMALLINT value_type, sql_type, direction; SQLLEN length;
                   SQLULEN size; const char *expected, *standard; } cases[] = {
        {0, SQL_C_CHAR, SQL_CHAR, 1, 1, 1, "07009", "07009"},
        {1, SQL_BIGINT, SQL_CHAR, 1, 1, 1, "HY003", "HY003"},
        {1, SQL_C_CHAR, SQL_C_DEFAULT, 1, 1, 1, "HY004", "HY004"},
        {1, SQL_C_CHAR, SQL_CHAR, 3, 1, 1, "HY105", "HY105"},
        {1, SQL_C_CHAR, SQL_CHAR, 16, 1, 1, "", ""},
        {1, SQL_C_CHAR, SQL_NUMERIC, 1, 1, 0, "HY104", ""},
        {1, SQL_C_NUMERIC, SQL_CHAR, 1, 1, 0, "HY021", ""},
        {1, SQL_C_CHAR, SQL_CHAR, 1, -7, 1, "HY021", "HY090"},
        {1, SQL_C_CHAR, SQL_CHAR, 1, 1, 0xFFFFFFFF, "", ""},
        {1, SQL_C_CHAR, SQL_CHAR, 1, 1, 0xFFFFFFFE, "HY021", ""}};
    // clang-format on
    for (const auto &c : cases)
        for (const bool standard : {false, true}) {
            session s(false);
            s.conn->conduct = standard ? &standard_conduct : &default_conduct;
            const SQLRETURN code = SQLBindParameter(s.stmt, c.number, c.direction, c.value_type,
                                                    c.sql_type, c.size, 0, &s, c.length, nullptr);
            EXPECT_EQ(standard ? c.standard : c.expected, outcome(code, s.stmt)) << c.size;
        }
}

// By default the work is done although the code says otherwise.
TEST(parameter_bind, unbinding_from_the_end_shrinks_the_list)
{
    static constexpr std::tuple<SQLUSMALLINT, const char *, int, const char *> steps[] = {
        {5, "", 4, ""},       {3, "!", 4, "07002@3"}, {4, "!", 2, "07002"},
        {1, "!", 2, "07002"}, {2, "!", 0, "07002"},   {1, "", 0, "07002"}};
    for (const bool standard : {false, true}) {
        session s(false);
        s.conn->conduct = standard ? &standard_conduct : &default_conduct;
        for (SQLUSMALLINT number = 1; number <= 4; number++)
            bind(s.stmt, number, SQL_C_CHAR, SQL_CHAR, &s);
        for (const auto &[number, code, left, missing] : steps) {
            EXPECT_EQ(standard ? "" : code, outcome(bind(s.stmt, number, 0, 0, nullptr), s.stmt));
            EXPECT_EQ(left, s.stmt->apd->field_count) << number;
            // Every marker must be bound; the first that is not, among others, is named.
            s.stmt->found_param_count = 4;
            for (const int silent : {1, 0}) {
                EXPECT_EQ(number == 5 ? 0 : -1, cass_check_params(s.stmt, silent, 11));
                EXPECT_EQ(silent ? "" : missing, states_of(s.stmt));
            }
        }
    }
}
