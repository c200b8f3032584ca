// Bound columns: how the list of bindings grows and shrinks, and what is refused.
#include <tuple>

#include "tests/unit/cell_rig.h"

static SQLRETURN bind_column(const rig_ptr &rig, int column, int type, void *target,
                             SQLLEN length = 0, void *indicator = nullptr)
{
    return SQLBindCol(rig->stmt, static_cast<SQLUSMALLINT>(column), static_cast<SQLSMALLINT>(type),
                      target, length, static_cast<SQLLEN *>(indicator));
}

TEST(binding, the_list_reaches_to_the_last_bound_column)
{
    const rig_ptr rig = rig_open({CQL_INT});
    char at[16];
    const std::tuple<int, void *, void *, int> steps[] = {
        {5, at, at, 5},      {5, nullptr, nullptr, 0}, {2, nullptr, at, 2},
        {5, at, nullptr, 5}, {9, nullptr, nullptr, 5}, {5, nullptr, nullptr, 2}};
    for (const auto &[column, target, indicator, count] : steps) {
        EXPECT_EQ(SQL_SUCCESS, bind_column(rig, column, SQL_C_CHAR, target, 16, indicator));
        EXPECT_EQ(count, rig->stmt->ard->field_count);
    }
    EXPECT_EQ(1, cass_stmt_column_count(rig->stmt->ird));  // the result's columns are its own
    // Rows are spaced by the type, those of uuids too by the length given.
    rig->stmt->executed = 1;  // the default type is the column's
    for (const auto &[type, given, stride] : {std::tuple(SQL_C_LONG, 99, 4),
                                              {SQL_C_NUMERIC, 0, 19},
                                              {SQL_C_CHAR, 10, 10},
                                              {SQL_C_BINARY, 5, 5},
                                              {SQL_C_DEFAULT, 7, 4},
                                              {SQL_C_GUID, 40, 40}}) {
        bind_column(rig, 1, type, at, given);
        EXPECT_EQ(stride, rig->stmt->ard->fields[0].octet_length) << type;
    }
}

TEST(binding, what_is_refused)
{
    const rig_ptr rig = rig_open({});
    char at[64];
    const std::tuple<int, int, SQLLEN, SQLRETURN, const char *> cases[] = {
        {1, 12345, 8, SQL_ERROR, "HY003"},
        {1, SQL_C_CHAR, -4, SQL_ERROR, "HY021"},
        // A column without metadata has no precision yet: refused, and bound all the same.
        {2, SQL_C_NUMERIC, 19, SQL_ERROR, "HY021"},
        {3, SQL_C_DEFAULT, 8, SQL_SUCCESS, "HY000"},
        {0, SQL_C_CHAR, 8, SQL_ERROR, "07006"},
        {0, SQL_C_BOOKMARK, 8, SQL_SUCCESS, ""}};
    for (const auto &[column, type, length, code, states] : cases) {
        EXPECT_EQ(code, bind_column(rig, column, type, at, length)) << type;
        EXPECT_EQ(states, rig->states());
    }
    const cass_desc *ard = rig->stmt->ard;
    EXPECT_TRUE(ard->fields[1].data_ptr == at && ard->bookmark_field.data_ptr == at);
}
