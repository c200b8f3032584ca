// Environment and connection attributes by their entry points: what is stored, with which width it
// is read back, and what is refused with which state.
#include "tests/unit/handles.h"

struct attributes : stmt_fixture {
    std::string set(SQLINTEGER attribute, SQLULEN value)
    {
        return outcome(SQLSetConnectAttr(conn, attribute, odbc_number(value), 0), conn);
    }
    std::string end(SQLSMALLINT type, void *handle, SQLSMALLINT completion)
    {
        return outcome(SQLEndTran(type, handle, completion), handle);
    }
    SQLULEN read(SQLINTEGER attribute, std::size_t width)
    {
        return number_told(width, [&](void *to, told_length *told) {
            return to != nullptr ? SQLGetConnectAttr(conn, attribute, to, 0, &told->large)
                                 : SQLGetConnectAttrW(conn, attribute, to, 0, nullptr);
        });
    }
};

TEST_F(attributes, what_is_stored_is_read_back_in_its_width)
{
    const auto value = [](SQLINTEGER id) { return 0x1122334400000001u + static_cast<SQLULEN>(id); };
    for (const auto &[id, width] : {std::pair(SQL_ATTR_CURSOR_SENSITIVITY, 8),
                                    {SQL_KEYSET_SIZE, 8},
                                    {SQL_AUTOCOMMIT, 4},
                                    {SQL_ATTR_METADATA_ID, 4}}) {
        EXPECT_EQ(set(id, value(id)), "") << id;
        EXPECT_EQ(read(id, std::size_t(width)), width == 8 ? value(id) : value(id) & 0xFFFFFFFF);
    }
    // The one attribute that both kinds of handle have hold of.
    EXPECT_EQ(cass_alloc_stmt(conn)->attrs.metadata_id, value(SQL_ATTR_METADATA_ID) & 0xFFFFFFFF);
    EXPECT_EQ(stmt->attrs.metadata_id, 0u);
    // The ODBC 2 form stores as much and no more, and knows no attribute of ODBC 3.
    constexpr SQLULEN none = ~SQLULEN{0};
    const std::tuple<SQLUSMALLINT, SQLULEN, const char *> options[] = {
        {SQL_PACKET_SIZE, LOWEST_BYTE_FIRST ? none << 32 : none >> 32, ""},
        {SQL_KEYSET_SIZE, value(SQL_KEYSET_SIZE), ""},
        {SQL_ATTR_CONNECTION_TIMEOUT, none, "S1092"}};
    for (const auto &[option, expected, state] : options) {
        SQLULEN stored = none;
        EXPECT_EQ(outcome(SQLGetConnectOption(conn, option, &stored), conn), state) << option;
        EXPECT_EQ(stored, expected) << option;
    }
}

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
    EXPECT_EQ(read(SQL_TXN_ISOLATION, 4), 8u);
    EXPECT_EQ(conn->ansi_app, 0);
    EXPECT_EQ(set(SQL_ATTR_ANSI_APP, SQL_AA_FALSE), "");
    EXPECT_EQ(conn->ansi_app, 1);
    guarded at;  // reading this stores nothing and posts a record beside the success
    const SQLRETURN code = SQLGetConnectAttr(conn, SQL_ATTR_ANSI_APP, at.data(), 8, nullptr);
    EXPECT_EQ(outcome(code, conn) + at.written(), "0 HY000");
}

TEST_F(attributes, ends_of_transactions_resets_and_work_under_way)
{
    EXPECT_EQ(end(SQL_HANDLE_DBC, env, SQL_COMMIT) + end(SQL_HANDLE_ENV, env, SQL_COMMIT), "-2 !");
    EXPECT_EQ(end(SQL_HANDLE_DBC, conn, 9), "");  // nothing looks at it with autocommit on
    conn->connected = 1;
    EXPECT_EQ(set(SQL_AUTOCOMMIT, SQL_AUTOCOMMIT_OFF), "");
    EXPECT_EQ(end(SQL_HANDLE_DBC, conn, 9), "HY000");
    EXPECT_EQ(read(SQL_ATTR_CONNECTION_DEAD, 4), 0u);
    conn->connected = 0;
    // A reset connection has its defaults again.
    conn->settings.dsn = cass_string_from_cstr("source");
    EXPECT_EQ(set(SQL_ATTR_RESET_CONNECTION, 1), "");
    EXPECT_TRUE(conn->settings.dsn == nullptr && read(SQL_AUTOCOMMIT, 4) == 1);
    conn->async_count = 1;
    EXPECT_EQ(set(SQL_MAX_ROWS, 0), "HY010");
    EXPECT_EQ(outcome(SQLGetConnectAttr(conn, SQL_MAX_ROWS, nullptr, 0, nullptr), conn), "HY010");
    EXPECT_EQ(end(SQL_HANDLE_DBC, conn, SQL_COMMIT), "HY010 HY010");  // tested before it clears
}
