// Statement attributes: eight bytes both ways, the cursor properties in step, the fields of the
// current descriptors behind them, and which descriptors may be installed.
#include "tests/unit/stmt_fixture.h"

namespace
{

class statement_attributes : public stmt_fixture
{
protected:
    SQLRETURN set(SQLINTEGER attribute, SQLULEN value)
    {
        return SQLSetStmtAttr(stmt, attribute, reinterpret_cast<void *>(value), SQL_IS_UINTEGER);
    }
    SQLULEN get(SQLINTEGER attribute)
    {
        SQLULEN value = 0xA5A5A5A5A5A5A5A5;
        EXPECT_EQ(SQLGetStmtAttr(stmt, attribute, &value, 0, nullptr), SQL_SUCCESS) << attribute;
        return value;
    }
    SQLRETURN install(SQLINTEGER attribute, void *desc)
    {
        return SQLSetStmtAttrW(stmt, attribute, desc, SQL_IS_POINTER);
    }
};

// Attributes that keep whatever they are given.
constexpr SQLINTEGER stored[] = {SQL_ATTR_QUERY_TIMEOUT,
                                 SQL_ATTR_MAX_ROWS,
                                 SQL_ATTR_NOSCAN,
                                 SQL_ATTR_MAX_LENGTH,
                                 SQL_ATTR_ASYNC_ENABLE,
                                 SQL_ATTR_KEYSET_SIZE,
                                 SQL_ROWSET_SIZE,
                                 SQL_ATTR_SIMULATE_CURSOR,
                                 SQL_ATTR_RETRIEVE_DATA,
                                 SQL_ATTR_USE_BOOKMARKS,
                                 SQL_ATTR_ENABLE_AUTO_IPD,
                                 SQL_ATTR_FETCH_BOOKMARK_PTR,
                                 SQL_ATTR_PARAM_BIND_OFFSET_PTR,
                                 SQL_ATTR_PARAM_OPERATION_PTR,
                                 SQL_ATTR_PARAM_STATUS_PTR,
                                 SQL_ATTR_PARAMS_PROCESSED_PTR,
                                 SQL_ATTR_PARAMSET_SIZE,
                                 SQL_ATTR_ROW_BIND_OFFSET_PTR,
                                 SQL_ATTR_ROW_OPERATION_PTR,
                                 SQL_ATTR_ROW_STATUS_PTR,
                                 SQL_ATTR_ROWS_FETCHED_PTR,
                                 SQL_ATTR_ROW_ARRAY_SIZE,
                                 SQL_ATTR_METADATA_ID,
                                 SQL_ATTR_CURSOR_TYPE,
                                 SQL_ATTR_CONCURRENCY};

TEST_F(statement_attributes, every_value_keeps_its_eight_bytes_and_its_own_place)
{
    SQLULEN value = 0x0102030405060708;
    for (const SQLINTEGER attribute : stored)
        EXPECT_EQ(set(attribute, value++), SQL_SUCCESS) << attribute;
    value = 0x0102030405060708;
    for (const SQLINTEGER attribute : stored) {
        SCOPED_TRACE(attribute);
        for (const auto call : {SQLGetStmtAttr, SQLGetStmtAttrW}) {
            guarded at;
            SQLINTEGER length = -1;
            EXPECT_EQ(call(stmt, attribute, at.bytes + 3, 0, &length), SQL_SUCCESS);
            SQLULEN read;
            std::memcpy(&read, at.bytes + 3, sizeof read);
            EXPECT_EQ(read, value);
            EXPECT_EQ(length, 8);
            EXPECT_EQ(at.written(), 11u);
            EXPECT_EQ(call(stmt, attribute, nullptr, 0, nullptr), SQL_SUCCESS);
        }
        ++value;
    }
}

TEST_F(statement_attributes, bind_types_and_read_only_numbers_fill_eight_bytes_too)
{
    EXPECT_EQ(set(SQL_ATTR_ROW_BIND_TYPE, 40), SQL_SUCCESS);
    EXPECT_EQ(set(SQL_ATTR_PARAM_BIND_TYPE, 24), SQL_SUCCESS);
    EXPECT_EQ(get(SQL_ATTR_ROW_BIND_TYPE), 40u);
    EXPECT_EQ(get(SQL_ATTR_PARAM_BIND_TYPE), 24u);
    EXPECT_EQ(stmt->ard->bind_type, 40);
    EXPECT_EQ(stmt->apd->bind_type, 24);
    EXPECT_EQ(set(SQL_ATTR_ROW_NUMBER, 7), SQL_SUCCESS);
    EXPECT_EQ(get(SQL_ATTR_ROW_NUMBER), 0u);
    EXPECT_EQ(get(10022), 0u);
    EXPECT_EQ(get(SQL_ATTR_APP_ROW_DESC), reinterpret_cast<SQLULEN>(stmt->ard));
    EXPECT_EQ(get(SQL_ATTR_APP_PARAM_DESC), reinterpret_cast<SQLULEN>(stmt->apd));
    EXPECT_EQ(get(SQL_ATTR_IMP_ROW_DESC), reinterpret_cast<SQLULEN>(stmt->ird));
    EXPECT_EQ(get(SQL_ATTR_IMP_PARAM_DESC), reinterpret_cast<SQLULEN>(stmt->ipd));
}

TEST_F(statement_attributes, each_pointer_lands_in_its_descriptor)
{
    struct {
        SQLINTEGER attribute;
        cass_desc *desc;
        SQLSMALLINT field;
    } const cases[] = {
        {SQL_ATTR_ROW_STATUS_PTR, stmt->ird, SQL_DESC_ARRAY_STATUS_PTR},
        {SQL_ATTR_ROWS_FETCHED_PTR, stmt->ird, SQL_DESC_ROWS_PROCESSED_PTR},
        {SQL_ATTR_ROW_OPERATION_PTR, stmt->ard, SQL_DESC_ARRAY_STATUS_PTR},
        {SQL_ATTR_ROW_BIND_OFFSET_PTR, stmt->ard, SQL_DESC_BIND_OFFSET_PTR},
        {SQL_ATTR_ROW_ARRAY_SIZE, stmt->ard, SQL_DESC_ARRAY_SIZE},
        {SQL_ATTR_PARAM_STATUS_PTR, stmt->ipd, SQL_DESC_ARRAY_STATUS_PTR},
        {SQL_ATTR_PARAMS_PROCESSED_PTR, stmt->ipd, SQL_DESC_ROWS_PROCESSED_PTR},
        {SQL_ATTR_PARAM_OPERATION_PTR, stmt->apd, SQL_DESC_ARRAY_STATUS_PTR},
        {SQL_ATTR_PARAM_BIND_OFFSET_PTR, stmt->apd, SQL_DESC_BIND_OFFSET_PTR},
        {SQL_ATTR_PARAMSET_SIZE, stmt->apd, SQL_DESC_ARRAY_SIZE},
    };
    SQLULEN value = 0x1000;
    for (const auto &one : cases) {
        SQLULEN read = 0;
        EXPECT_EQ(set(one.attribute, ++value), SQL_SUCCESS);
        EXPECT_EQ(SQLGetDescField(one.desc, 0, one.field, &read, 0, nullptr), SQL_SUCCESS);
        EXPECT_EQ(read, value) << one.attribute;
    }
}

TEST_F(statement_attributes, cursor_properties_are_kept_in_step)
{
    struct properties {
        SQLULEN type, concurrency, scrollable, sensitivity;
    };
    struct {
        properties before;
        SQLINTEGER attribute;
        SQLULEN value;
        properties after;
    } const cases[] = {
        {{0, 1, 0, 0}, SQL_ATTR_CURSOR_SENSITIVITY, SQL_INSENSITIVE, {3, 1, 0, 1}},
        {{0, 1, 0, 0}, SQL_ATTR_CURSOR_SENSITIVITY, SQL_SENSITIVE, {2, 2, 0, 2}},
        {{0, 2, 0, 2}, SQL_ATTR_CURSOR_SENSITIVITY, 5, {3, 1, 0, 5}},
        {{0, 1, 0, 2}, SQL_ATTR_CURSOR_SCROLLABLE, SQL_SCROLLABLE, {2, 1, 1, 2}},
        {{0, 1, 0, 0}, SQL_ATTR_CURSOR_SCROLLABLE, SQL_SCROLLABLE, {3, 1, 1, 0}},
        {{3, 1, 1, 0}, SQL_ATTR_CURSOR_SCROLLABLE, 7, {0, 1, 7, 0}},
        {{0, 1, 0, 0}, SQL_ATTR_CURSOR_TYPE, SQL_CURSOR_STATIC, {3, 1, 1, 1}},
        {{0, 4, 0, 0}, SQL_ATTR_CURSOR_TYPE, SQL_CURSOR_STATIC, {3, 4, 1, 2}},
        {{0, 1, 0, 0}, SQL_ATTR_CURSOR_TYPE, SQL_CURSOR_DYNAMIC, {2, 1, 1, 0}},
        {{0, 2, 0, 0}, SQL_ATTR_CURSOR_TYPE, SQL_CURSOR_DYNAMIC, {2, 2, 1, 2}},
        {{0, 2, 0, 0}, SQL_ATTR_CURSOR_TYPE, SQL_CURSOR_KEYSET_DRIVEN, {1, 2, 1, 2}},
        {{3, 1, 1, 1}, SQL_ATTR_CURSOR_TYPE, SQL_CURSOR_FORWARD_ONLY, {0, 1, 0, 1}},
        {{3, 1, 1, 1}, SQL_ATTR_CURSOR_TYPE, 17, {17, 1, 1, 1}},
        {{3, 2, 1, 2}, SQL_ATTR_CONCURRENCY, SQL_CONCUR_READ_ONLY, {3, 1, 1, 1}},
        {{3, 1, 1, 1}, SQL_ATTR_CONCURRENCY, SQL_CONCUR_VALUES, {3, 4, 1, 2}},
    };
    for (const auto &one : cases) {
        SCOPED_TRACE(testing::Message() << "attribute " << one.attribute << " = " << one.value);
        stmt->attrs.cursor_type = one.before.type;
        stmt->attrs.concurrency = one.before.concurrency;
        stmt->attrs.cursor_scrollable = one.before.scrollable;
        stmt->attrs.cursor_sensitivity = one.before.sensitivity;
        EXPECT_EQ(set(one.attribute, one.value), SQL_SUCCESS);
        EXPECT_EQ(get(SQL_ATTR_CURSOR_TYPE), one.after.type);
        EXPECT_EQ(get(SQL_ATTR_CONCURRENCY), one.after.concurrency);
        EXPECT_EQ(get(SQL_ATTR_CURSOR_SCROLLABLE), one.after.scrollable);
        EXPECT_EQ(get(SQL_ATTR_CURSOR_SENSITIVITY), one.after.sensitivity);
    }
}

TEST_F(statement_attributes, a_rowset_has_at_least_one_row_and_its_change_rebinds)
{
    for (const SQLINTEGER attribute : {SQL_ATTR_ROW_ARRAY_SIZE, SQL_ROWSET_SIZE}) {
        SCOPED_TRACE(attribute);
        struct {
            SQLULEN value, read;
            std::int32_t prepared, rebound;
        } const cases[] = {{0, 1, 1, 0}, {5, 5, 0, 0}, {5, 5, 1, 0}, {0, 1, 1, 1}};
        for (const auto &one : cases) {
            stmt->prepared = one.prepared;
            stmt->params_rebound = 0;
            EXPECT_EQ(set(attribute, one.value), SQL_SUCCESS);
            EXPECT_EQ(get(attribute), one.read);
            EXPECT_EQ(stmt->params_rebound, one.rebound);
        }
    }
}

TEST_F(statement_attributes, what_is_refused_names_its_state)
{
    struct {
        SQLINTEGER attribute;
        const char *set_states, *get_states;
    } const cases[] = {{SQL_GET_BOOKMARK, "HY092", "HY092 HY000"},
                       {SQL_ATTR_IMP_ROW_DESC, "HY017", ""},
                       {SQL_ATTR_IMP_PARAM_DESC, "HY017", ""},
                       {10022, "HY092", ""},
                       {4711, "HY092", "HY092 HY000"},
                       {-3, "HY092", "HY092 HY000"}};
    for (const auto &one : cases) {
        SCOPED_TRACE(one.attribute);
        EXPECT_EQ(set(one.attribute, 1), SQL_ERROR);
        EXPECT_EQ(states_of(stmt), one.set_states);
        guarded at;
        EXPECT_EQ(SQLGetStmtAttrW(stmt, one.attribute, at.bytes, 0, nullptr),
                  *one.get_states ? SQL_ERROR : SQL_SUCCESS);
        EXPECT_EQ(states_of(stmt), one.get_states);
        EXPECT_EQ(at.intact(0), *one.get_states != 0);
    }
    EXPECT_EQ(SQLSetStmtAttr(nullptr, 0, nullptr, 0), SQL_INVALID_HANDLE);
    EXPECT_EQ(SQLGetStmtAttr(nullptr, 0, nullptr, 0, nullptr), SQL_INVALID_HANDLE);
}

TEST_F(statement_attributes, options_are_the_old_form_with_three_differences)
{
    stmt->prepared = 1;
    for (const SQLUSMALLINT option :
         {SQL_QUERY_TIMEOUT, SQL_MAX_ROWS, SQL_NOSCAN, SQL_MAX_LENGTH, SQL_ASYNC_ENABLE,
          SQL_BIND_TYPE, SQL_KEYSET_SIZE, SQL_ROWSET_SIZE, SQL_SIMULATE_CURSOR, SQL_RETRIEVE_DATA,
          SQL_USE_BOOKMARKS, SQL_CONCURRENCY, SQL_CURSOR_TYPE}) {
        SCOPED_TRACE(option);
        EXPECT_EQ(SQLSetStmtOption(stmt, option, 3u + option), SQL_SUCCESS);
        guarded at;
        EXPECT_EQ(SQLGetStmtOption(stmt, option, at.bytes), SQL_SUCCESS);
        SQLULEN value;
        std::memcpy(&value, at.bytes, sizeof value);
        EXPECT_EQ(value, 3u + option);
        EXPECT_EQ(at.written(), 8u);
    }
    EXPECT_EQ(stmt->apd->bind_type, 8);
    EXPECT_EQ(stmt->ard->bind_type, 0);
    EXPECT_EQ(stmt->params_rebound, 0);

    struct {
        SQLUSMALLINT option;
        const char *set_state, *get_state;
    } const cases[] = {{SQL_GET_BOOKMARK, "", "HY011"},
                       {SQL_ROW_NUMBER, "", ""},
                       {15, "S1092", "S1092"},
                       {65535, "S1092", "S1092"}};
    for (const auto &one : cases) {
        SCOPED_TRACE(one.option);
        SQLULEN value = 99;
        EXPECT_EQ(SQLSetStmtOption(stmt, one.option, 1), *one.set_state ? SQL_ERROR : SQL_SUCCESS);
        EXPECT_EQ(states_of(stmt), one.set_state);
        EXPECT_EQ(SQLGetStmtOption(stmt, one.option, &value),
                  *one.get_state ? SQL_ERROR : SQL_SUCCESS);
        EXPECT_EQ(states_of(stmt), one.get_state);
        EXPECT_EQ(value, *one.get_state ? 99u : 0u);
    }
    EXPECT_EQ(SQLSetStmtOption(stmt, SQL_ROWSET_SIZE, 0), SQL_SUCCESS);
    EXPECT_EQ(get(SQL_ROWSET_SIZE), 1u);
}

TEST_F(statement_attributes, only_descriptors_of_this_connection_and_role_are_installed)
{
    cass_conn *const other_conn = cass_alloc_conn(env, 3);
    cass_stmt *const other = cass_alloc_stmt(conn);
    cass_desc *const mine = cass_alloc_desc(conn);
    struct {
        void *value;
        const char *state;
    } const cases[] = {{cass_alloc_desc(other_conn), "HY024"},
                       {other, "HY024"},
                       {conn, "HY024"},
                       {other->implicit_ard, "HY017"},
                       {stmt->implicit_ird, "HY017"},
                       {stmt->implicit_apd, "HY017"}};
    for (const auto &one : cases) {
        EXPECT_EQ(install(SQL_ATTR_APP_ROW_DESC, one.value), SQL_ERROR);
        EXPECT_EQ(states_of(stmt), one.state);
        EXPECT_EQ(stmt->ard, stmt->implicit_ard);
    }
    EXPECT_EQ(install(SQL_ATTR_APP_PARAM_DESC, stmt->implicit_ard), SQL_ERROR);
    EXPECT_EQ(states_of(stmt), "HY017");

    for (void *back : {static_cast<void *>(nullptr), static_cast<void *>(stmt->implicit_ard)}) {
        EXPECT_EQ(install(SQL_ATTR_APP_ROW_DESC, mine), SQL_SUCCESS);
        EXPECT_EQ(get(SQL_ATTR_APP_ROW_DESC), reinterpret_cast<SQLULEN>(mine));
        EXPECT_EQ(mine->stmt, stmt);
        EXPECT_EQ(install(SQL_ATTR_APP_ROW_DESC, back), SQL_SUCCESS);
        EXPECT_EQ(stmt->ard, stmt->implicit_ard);
        EXPECT_EQ(mine->stmt, nullptr);
        EXPECT_EQ(stmt->implicit_ard->stmt, stmt);
    }
}

TEST_F(statement_attributes, a_new_parameter_descriptor_cuts_off_the_row_descriptor)
{
    cass_desc *const rows = cass_alloc_desc(conn);
    cass_desc *const first = cass_alloc_desc(conn);
    cass_desc *const second = cass_alloc_desc(conn);
    ASSERT_EQ(install(SQL_ATTR_APP_PARAM_DESC, first), SQL_SUCCESS);
    ASSERT_EQ(install(SQL_ATTR_APP_ROW_DESC, rows), SQL_SUCCESS);
    ASSERT_EQ(install(SQL_ATTR_APP_PARAM_DESC, second), SQL_SUCCESS);
    EXPECT_EQ(rows->stmt, nullptr);
    EXPECT_EQ(first->stmt, stmt);
    EXPECT_EQ(second->stmt, stmt);
    // The stale link does no harm when its statement goes.
    cass_free_stmt(stmt, 0);
    EXPECT_EQ(first->stmt, nullptr);
    EXPECT_EQ(SQLSetDescField(first, 0, SQL_DESC_COUNT, reinterpret_cast<void *>(1), 0), SQL_ERROR);
    EXPECT_EQ(states_of(first), "HY016");
}

}  // namespace
