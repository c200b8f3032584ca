// Attributes of connections and statements by their entry points: what is stored and what is
// refused, cursor properties in step, the old form, which descriptors may be installed; and which
// functions there are. What each attribute reads at first is compared with the pages of docs/.
#include "tests/unit/handles.h"

struct attributes : stmt_fixture {
    std::string set(SQLINTEGER attribute, SQLULEN value)
    {
        return outcome(SQLSetConnectAttr(conn, attribute, odbc_number(value), 0), conn);
    }
    std::string set_stmt(SQLINTEGER attribute, void *value)
    {
        return outcome(SQLSetStmtAttrW(stmt, attribute, value, 0), stmt);
    }
    std::string end(SQLSMALLINT type, void *handle, SQLSMALLINT completion)
    {
        return outcome(SQLEndTran(type, handle, completion), handle);
    }
    SQLUINTEGER read(SQLINTEGER attribute)
    {
        SQLUINTEGER value = 0;
        EXPECT_EQ(SQLGetConnectAttr(conn, attribute, &value, 0, nullptr), SQL_SUCCESS);
        return value;
    }
};

TEST_F(attributes, what_is_accepted_and_refused)
{
    // clang-format off
    static constexpr struct { int id; SQLULEN value; const char *state, *old_state; } cases[] = {
        {SQL_OPT_TRACE, 1, "", ""}, {SQL_TXN_ISOLATION, 8, "", ""}, {SQL_ATTR_ANSI_APP, 1, "", ""},
        {SQL_TXN_ISOLATION, 3, "HY024", "S1009"}, {SQL_TXN_ISOLATION, 0, "HY024", "S1009"},
        {SQL_ODBC_CURSORS, 1, "HY092", "S1092"}, {117, 1, "HY092", "S1092"}, {1041, 1, "", ""},
        {SQL_ATTR_AUTO_IPD, 0, "", ""}, {SQL_ATTR_AUTO_IPD, 1, "HY092", "S1092"},
    };
    // clang-format on
    for (const auto &c : cases) {
        EXPECT_EQ(set(c.id, c.value), c.state) << c.id;
        const auto option = static_cast<SQLUSMALLINT>(c.id);
        EXPECT_EQ(outcome(SQLSetConnectOption(conn, option, c.value), conn), c.old_state);
    }
    EXPECT_EQ(set(SQL_ATTR_CURRENT_CATALOG, 0), "HY001");
    EXPECT_EQ(outcome(SQLSetConnectOption(conn, SQL_CURRENT_QUALIFIER, 0), conn), "S1001");
    EXPECT_EQ(read(SQL_TXN_ISOLATION), 8u);
    SQLUINTEGER stored[2] = {0, 77};  // by the form of ODBC 2
    EXPECT_EQ(SQLGetConnectOption(conn, SQL_TXN_ISOLATION, stored), SQL_SUCCESS);
    EXPECT_TRUE(stored[0] == 8 && stored[1] == 77);
    EXPECT_EQ(set(SQL_ATTR_METADATA_ID, 1), "");  // the one that both kinds of handle have
    EXPECT_TRUE(cass_alloc_stmt(conn)->attrs.metadata_id == 1 && stmt->attrs.metadata_id == 0);
    EXPECT_EQ(conn->ansi_app, 0);
    EXPECT_EQ(set(SQL_ATTR_ANSI_APP, SQL_AA_FALSE), "");
    EXPECT_EQ(conn->ansi_app, 1);
}

TEST_F(attributes, ends_of_transactions_resets_and_work_under_way)
{
    EXPECT_EQ(end(SQL_HANDLE_DBC, env, SQL_COMMIT) + end(SQL_HANDLE_ENV, env, SQL_COMMIT), "-2 !");
    EXPECT_EQ(end(SQL_HANDLE_DBC, conn, 9), "");  // nothing looks at it with autocommit on
    conn->connected = 1;
    EXPECT_EQ(set(SQL_AUTOCOMMIT, SQL_AUTOCOMMIT_OFF), "");
    EXPECT_EQ(end(SQL_HANDLE_DBC, conn, 9), "HY000");
    EXPECT_EQ(read(SQL_ATTR_CONNECTION_DEAD), 0u);
    conn->connected = 0;
    // A reset connection has its defaults again.
    conn->settings.dsn = cass_string_from_cstr("source");
    EXPECT_EQ(set(SQL_ATTR_RESET_CONNECTION, 1), "");
    EXPECT_TRUE(conn->settings.dsn == nullptr && read(SQL_AUTOCOMMIT) == 1);
    conn->async_count = 1;
    EXPECT_EQ(set(SQL_MAX_ROWS, 0), "HY010");
    EXPECT_EQ(outcome(SQLGetConnectAttr(conn, SQL_MAX_ROWS, nullptr, 0, nullptr), conn), "HY010");
    EXPECT_EQ(end(SQL_HANDLE_DBC, conn, SQL_COMMIT), "HY010 HY010");  // tested before it clears
}

TEST_F(attributes, cursor_properties_are_kept_in_step)
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
        EXPECT_EQ(set_stmt(attribute, odbc_number(value)), "");
        EXPECT_EQ(kept, after) << attribute << " = " << value;
    }
    // A rowset has at least one row; its change on a prepared statement rebinds.
    stmt->prepared = 1;
    for (const SQLULEN size : {5, 0})
        EXPECT_EQ(set_stmt(SQL_ATTR_ROW_ARRAY_SIZE, odbc_number(size)), "");
    EXPECT_TRUE(stmt->ard->array_size == 1 && stmt->params_rebound == 1);
}

TEST_F(attributes, the_old_form_has_its_differences)
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

TEST_F(attributes, only_descriptors_of_this_connection_and_role_are_installed)
{
    cass_stmt *const other = cass_alloc_stmt(conn);
    cass_desc *const mine = cass_alloc_desc(conn), *const first = cass_alloc_desc(conn);
    const std::pair<void *, const char *> refused[] = {
        {cass_alloc_desc(cass_alloc_conn(env, 3)), "HY024"},
        {other, "HY024"},
        {other->implicit_ard, "HY017"},
        {stmt->apd, "HY017"}};
    for (const auto &[value, state] : refused)
        EXPECT_EQ(set_stmt(SQL_ATTR_APP_ROW_DESC, value), state);
    for (cass_desc *desc : {mine, static_cast<cass_desc *>(nullptr)}) {
        EXPECT_EQ(set_stmt(SQL_ATTR_APP_ROW_DESC, desc), "");
        EXPECT_EQ(stmt->ard, desc == nullptr ? stmt->implicit_ard : desc);
    }
    // The predecessor of a parameter descriptor keeps a link that does no harm when the statement
    // goes.
    cass_desc *const second = cass_alloc_desc(conn);
    for (cass_desc *desc : {first, second})
        EXPECT_EQ(set_stmt(SQL_ATTR_APP_PARAM_DESC, desc), "");
    EXPECT_TRUE(first->stmt == stmt && second->stmt == stmt);
    cass_free_desc(second, 0);
    EXPECT_EQ(stmt->apd, stmt->implicit_apd);
    cass_free_stmt(stmt, 0);
    EXPECT_EQ(first->stmt, nullptr);
}

TEST_F(attributes, the_three_forms_of_get_functions_agree)
{
    for (const bool standard : {false, true}) {
        conn->conduct = standard ? &standard_conduct : &default_conduct;
        SQLUSMALLINT bits[SQL_API_ODBC3_ALL_FUNCTIONS_SIZE], words[100], single = 77;
        std::memset(bits, 0xFF, sizeof bits);
        std::memset(words, 0xFF, sizeof words);
        ASSERT_EQ(SQLGetFunctions(conn, SQL_API_ODBC3_ALL_FUNCTIONS, bits), SQL_SUCCESS);
        ASSERT_EQ(SQLGetFunctions(conn, SQL_API_ALL_FUNCTIONS, words), SQL_SUCCESS);
        int claimed = 0;
        for (SQLUSMALLINT code = 1; code < 4000; code += code == 998 ? 2 : 1) {  // 999: all
            ASSERT_EQ(SQLGetFunctions(conn, code, &single), SQL_SUCCESS);
            EXPECT_EQ(single, SQL_FUNC_EXISTS(bits, code)) << code;
            EXPECT_EQ(single, code < 100 ? words[code] : single) << code;
            claimed += single;
        }
        // Ten are not exported.
        EXPECT_EQ(claimed, standard ? 64 : 74);
        EXPECT_EQ(words[SQL_API_SQLSETPOS], standard ? 0 : 1);
    }
}
