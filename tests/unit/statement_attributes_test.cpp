// Statement attributes: the cursor properties in step, the old form, and which descriptors may be
// installed. What each attribute reads and refuses is compared with the pages of docs/.
#include "tests/unit/handles.h"

struct statement_attributes : stmt_fixture {
    std::string set(SQLINTEGER attribute, SQLULEN value)
    {
        return outcome(SQLSetStmtAttr(stmt, attribute, odbc_number(value), SQL_IS_UINTEGER), stmt);
    }
    SQLULEN get(SQLINTEGER attribute)
    {
        SQLULEN value = 0;
        EXPECT_EQ(SQLGetStmtAttr(stmt, attribute, &value, 0, nullptr), SQL_SUCCESS);
        return value;
    }
    std::string install(SQLINTEGER attribute, void *desc)
    {
        return outcome(SQLSetStmtAttrW(stmt, attribute, desc, SQL_IS_POINTER), stmt);
    }
};

TEST_F(statement_attributes, cursor_properties_are_kept_in_step)
{
    // Type, concurrency, scrollable and sensitivity, before and after.
    using properties = std::tuple<SQLULEN, SQLULEN, SQLULEN, SQLULEN>;
    static constexpr std::tuple<properties, int, SQLULEN, properties> cases[] = {
        {{0, 1, 0, 0}, SQL_ATTR_CURSOR_SENSITIVITY, 2, {2, 2, 0, 2}},
        {{0, 1, 0, 2}, SQL_ATTR_CURSOR_SCROLLABLE, 1, {2, 1, 1, 2}},
        {{3, 1, 1, 0}, SQL_ATTR_CURSOR_SCROLLABLE, 7, {0, 1, 7, 0}},
        {{0, 4, 0, 0}, SQL_ATTR_CURSOR_TYPE, 3, {3, 4, 1, 2}},
        {{3, 1, 1, 1}, SQL_ATTR_CURSOR_TYPE, 0, {0, 1, 0, 1}},
        {{3, 2, 1, 2}, SQL_ATTR_CONCURRENCY, 1, {3, 1, 1, 1}}};
    cass_stmt_attrs &at = stmt->attrs;
    auto kept =
        std::tie(at.cursor_type, at.concurrency, at.cursor_scrollable, at.cursor_sensitivity);
    for (const auto &[before, attribute, value, after] : cases) {
        kept = before;
        EXPECT_EQ(set(attribute, value), "");
        EXPECT_EQ(kept, after) << attribute << " = " << value;
    }
    // A rowset has at least one row; its change on a prepared statement rebinds.
    stmt->prepared = 1;
    for (const SQLULEN size : {5, 0})
        EXPECT_EQ(set(SQL_ATTR_ROW_ARRAY_SIZE, size), "");
    EXPECT_TRUE(get(SQL_ATTR_ROW_ARRAY_SIZE) == 1 && stmt->params_rebound == 1);
}

TEST_F(statement_attributes, the_old_form_has_its_differences)
{
    // No rebinding, the bind type is that of the parameters, and bookmarks differ.
    stmt->prepared = 1;
    for (const SQLUSMALLINT option : {SQL_QUERY_TIMEOUT, SQL_BIND_TYPE, SQL_ROWSET_SIZE}) {
        guarded at;
        const SQLULEN value = 3u + option;
        EXPECT_EQ(SQLSetStmtOption(stmt, option, value), SQL_SUCCESS);
        EXPECT_EQ(SQLGetStmtOption(stmt, option, at.data()), SQL_SUCCESS);
        EXPECT_EQ(at.written(), bytes_of(&value, 8)) << option;
    }
    EXPECT_TRUE(stmt->apd->bind_type == 3 + SQL_BIND_TYPE && stmt->ard->bind_type == 0);
    EXPECT_EQ(outcome(SQLGetStmtOption(stmt, SQL_GET_BOOKMARK, nullptr), stmt), "HY011");
    EXPECT_EQ(outcome(SQLSetStmtOption(stmt, 15, 1), stmt), "S1092");
}

TEST_F(statement_attributes, only_descriptors_of_this_connection_and_role_are_installed)
{
    cass_stmt *const other = cass_alloc_stmt(conn);
    cass_desc *const mine = cass_alloc_desc(conn), *const first = cass_alloc_desc(conn);
    const std::pair<void *, const char *> refused[] = {
        {cass_alloc_desc(cass_alloc_conn(env, 3)), "HY024"},
        {other, "HY024"},
        {other->implicit_ard, "HY017"},
        {stmt->apd, "HY017"}};
    for (const auto &[value, state] : refused)
        EXPECT_EQ(install(SQL_ATTR_APP_ROW_DESC, value), state);
    for (cass_desc *desc : {mine, static_cast<cass_desc *>(nullptr)}) {
        EXPECT_EQ(install(SQL_ATTR_APP_ROW_DESC, desc), "");
        EXPECT_EQ(odbc_number(get(SQL_ATTR_APP_ROW_DESC)), desc ? desc : stmt->implicit_ard);
    }
    // The predecessor of a parameter descriptor keeps a link that does no harm when the statement
    // goes.
    cass_desc *const second = cass_alloc_desc(conn);
    for (cass_desc *desc : {first, second})
        EXPECT_EQ(install(SQL_ATTR_APP_PARAM_DESC, desc), "");
    EXPECT_TRUE(first->stmt == stmt && second->stmt == stmt);
    cass_free_desc(second, 0);
    EXPECT_EQ(stmt->apd, stmt->implicit_apd);
    cass_free_stmt(stmt, 0);
    EXPECT_EQ(first->stmt, nullptr);
}
