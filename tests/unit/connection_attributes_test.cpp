// Environment and connection attributes by their entry points: what is stored, with which width it
// is read back, and what is refused with which state.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <string>

#include "core/cass_err.h"
#include "core/cass_handle.h"

namespace
{

constexpr SQLRETURN OK = SQL_SUCCESS;
constexpr SQLRETURN FAIL = SQL_ERROR;

SQLPOINTER as_pointer(SQLULEN value)
{
    return reinterpret_cast<SQLPOINTER>(value);
}

struct attributes : testing::Test {
    std::unique_ptr<cass_env, void (*)(cass_env *)> env{cass_alloc_env(), cass_free_env};
    cass_conn *conn = cass_alloc_conn(env.get(), 3);

    // State of the first record, or "" without one.
    static std::string state(void *handle)
    {
        SQLCHAR text[6] = "";
        SQLGetDiagRec(0, handle, 1, text, nullptr, nullptr, 0, nullptr);
        return reinterpret_cast<char *>(text);
    }

    std::string message()
    {
        SQLCHAR text[256] = "";
        SQLGetDiagRec(0, conn, 1, nullptr, nullptr, text, sizeof text, nullptr);
        return reinterpret_cast<char *>(text);
    }

    // The 4 or 8 bytes that a read stores, seen against a pattern that fills 16.
    SQLULEN read(decltype(SQLGetConnectAttr) *get, SQLINTEGER attribute, SQLINTEGER width)
    {
        unsigned char stored[16];
        std::memset(stored, 0xAA, sizeof stored);
        SQLINTEGER length = -1;
        EXPECT_EQ(get(conn, attribute, stored, 0, &length), SQL_SUCCESS);
        EXPECT_EQ(length, width);
        for (std::size_t i = static_cast<std::size_t>(width); i < sizeof stored; i++)
            EXPECT_EQ(stored[i], 0xAA) << "byte " << i;
        SQLULEN value = 0;
        std::memcpy(&value, stored, static_cast<std::size_t>(width));
        return value;
    }
};

}  // namespace

TEST_F(attributes, what_is_stored_is_read_back_in_its_width)
{
    const struct {
        SQLINTEGER attribute;
        SQLINTEGER width;
    } cases[] = {
        {SQL_ATTR_CURSOR_SENSITIVITY, 8},
        {SQL_ATTR_CURSOR_SCROLLABLE, 8},
        {SQL_QUERY_TIMEOUT, 8},
        {SQL_MAX_ROWS, 8},
        {SQL_NOSCAN, 8},
        {SQL_MAX_LENGTH, 8},
        {SQL_ASYNC_ENABLE, 8},
        {SQL_BIND_TYPE, 8},
        {SQL_CURSOR_TYPE, 8},
        {SQL_CONCURRENCY, 8},
        {SQL_KEYSET_SIZE, 8},
        {SQL_ROWSET_SIZE, 8},
        {SQL_SIMULATE_CURSOR, 8},
        {SQL_RETRIEVE_DATA, 8},
        {SQL_USE_BOOKMARKS, 8},
        {SQL_QUIET_MODE, 8},
        {SQL_ACCESS_MODE, 4},
        {SQL_AUTOCOMMIT, 4},
        {SQL_LOGIN_TIMEOUT, 4},
        {SQL_ATTR_CONNECTION_TIMEOUT, 4},
        {SQL_ATTR_METADATA_ID, 4},
    };
    SQLULEN value = 0x1122334455667701;
    for (const auto &c : cases) {
        SCOPED_TRACE(c.attribute);
        EXPECT_EQ(SQLSetConnectAttr(conn, c.attribute, as_pointer(++value), 0), OK);
    }
    value = 0x1122334455667701;
    for (const auto &c : cases) {
        SCOPED_TRACE(c.attribute);
        value++;
        const SQLULEN expected = c.width == 8 ? value : value & 0xFFFFFFFF;
        EXPECT_EQ(read(SQLGetConnectAttr, c.attribute, c.width), expected);
        EXPECT_EQ(read(SQLGetConnectAttrW, c.attribute, c.width), expected);
        EXPECT_EQ(SQLGetConnectAttr(conn, c.attribute, nullptr, 0, nullptr), OK);
    }
}

TEST_F(attributes, what_setting_accepts_and_refuses)
{
    const struct {
        SQLINTEGER attribute;
        SQLULEN value;
        SQLRETURN code;
        const char *state, *option_state;
    } cases[] = {
        {SQL_OPT_TRACE, 1, OK, "", ""},
        {SQL_OPT_TRACEFILE, 1, OK, "", ""},
        {SQL_TRANSLATE_DLL, 1, OK, "", ""},
        {SQL_TRANSLATE_OPTION, 1, OK, "", ""},
        {SQL_PACKET_SIZE, 1, OK, "", ""},
        {SQL_TXN_ISOLATION, 8, OK, "", ""},
        {SQL_TXN_ISOLATION, 3, FAIL, "HY024", "S1009"},
        {SQL_TXN_ISOLATION, 0, FAIL, "HY024", "S1009"},
        {SQL_ATTR_ANSI_APP, 1, OK, "", ""},
        {SQL_ODBC_CURSORS, 1, FAIL, "HY092", "S1092"},
        {117, 1, FAIL, "HY092", "S1092"},
        {120, 1, FAIL, "HY092", "S1092"},
        {1041, 1, OK, "", ""},
        {1042, 1, OK, "", ""},
        {1061, 1, OK, "", ""},
        {1064, 1, OK, "", ""},
        {30002, 1, OK, "", ""},
        {SQL_ATTR_CONNECTION_DEAD, 1, FAIL, "HY092", "S1092"},
        {SQL_ATTR_AUTO_IPD, 0, OK, "", ""},
        {SQL_ATTR_AUTO_IPD, 1, FAIL, "HY092", "S1092"},
        {4711, 1, FAIL, "HY092", "S1092"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.attribute);
        for (const auto set : {SQLSetConnectAttr, SQLSetConnectAttrW}) {
            EXPECT_EQ(set(conn, c.attribute, as_pointer(c.value), 0), c.code);
            EXPECT_EQ(state(conn), c.state);
        }
        const auto option = static_cast<SQLUSMALLINT>(c.attribute);
        EXPECT_EQ(SQLSetConnectOption(conn, option, c.value), c.code);
        EXPECT_EQ(state(conn), c.option_state);
    }
    EXPECT_EQ(read(SQLGetConnectAttr, SQL_TXN_ISOLATION, 4), 8u);
    EXPECT_EQ(conn->ansi_app, 0);
    EXPECT_EQ(SQLSetConnectAttr(conn, SQL_ATTR_ANSI_APP, as_pointer(SQL_AA_FALSE), 0), OK);
    EXPECT_EQ(conn->ansi_app, 1);
}

TEST_F(attributes, what_reading_answers_and_refuses)
{
    const char trace_message[] =
        "[Varnholt][Apache Cassandra]General error: unexpected internal error in "
        "SQLGetConnectAttr, unknown type 0";
    for (const SQLINTEGER attribute : {SQL_OPT_TRACE, SQL_OPT_TRACEFILE, SQL_TRANSLATE_DLL,
                                       SQL_TRANSLATE_OPTION, SQL_ATTR_ANSI_APP}) {
        SQLULEN value = 77;
        SQLINTEGER length = 88;
        EXPECT_EQ(SQLGetConnectAttr(conn, attribute, &value, 8, &length), OK);
        EXPECT_EQ(state(conn), "HY000");
        EXPECT_EQ(message(), trace_message);
        EXPECT_EQ(value, 77u);
        EXPECT_EQ(length, 88);
        EXPECT_EQ(SQLGetConnectOption(conn, static_cast<SQLUSMALLINT>(attribute), &value), FAIL);
        EXPECT_EQ(state(conn), "S1092");
    }
    for (const SQLINTEGER attribute : {SQL_PACKET_SIZE, 117, 120})
        EXPECT_EQ(read(SQLGetConnectAttr, attribute, 4), 0u);
    EXPECT_EQ(read(SQLGetConnectAttr, SQL_ATTR_AUTO_IPD, 4), 0u);
    EXPECT_EQ(read(SQLGetConnectAttr, SQL_ATTR_CONNECTION_DEAD, 4), 1u);
    conn->connected = 1;
    EXPECT_EQ(read(SQLGetConnectAttr, SQL_ATTR_CONNECTION_DEAD, 4), 0u);
    conn->connected = 0;
    for (const SQLINTEGER attribute : {SQL_ATTR_RESET_CONNECTION, 1041, 30002, 4711}) {
        EXPECT_EQ(SQLGetConnectAttrW(conn, attribute, nullptr, 0, nullptr), FAIL);
        EXPECT_EQ(state(conn), "HY092");
    }
}

TEST_F(attributes, the_catalog_is_always_the_same_name_at_any_buffer_size)
{
    const SQLWCHAR keyspace[] = {'k', 's', 0};
    EXPECT_EQ(SQLSetConnectAttr(conn, SQL_ATTR_CURRENT_CATALOG, const_cast<char *>("ks"), SQL_NTS),
              OK);
    EXPECT_EQ(
        SQLSetConnectAttrW(conn, SQL_ATTR_CURRENT_CATALOG, const_cast<SQLWCHAR *>(keyspace), 4),
        OK);
    EXPECT_EQ(SQLSetConnectAttr(conn, SQL_ATTR_CURRENT_CATALOG, nullptr, SQL_NTS), FAIL);
    EXPECT_EQ(state(conn), "HY001");
    EXPECT_EQ(SQLSetConnectOption(conn, SQL_CURRENT_QUALIFIER, 0), FAIL);
    EXPECT_EQ(state(conn), "S1001");

    const std::string name = "CASSANDRA";
    for (const bool wide : {false, true}) {
        const auto get = wide ? SQLGetConnectAttrW : SQLGetConnectAttr;
        const SQLINTEGER unit = wide ? 2 : 1;
        const SQLINTEGER full = static_cast<SQLINTEGER>(name.size()) * unit;
        for (const SQLINTEGER size : {-1, 0, 1, 2 * unit, full - 1, full, full + 1, full + 2}) {
            SCOPED_TRACE(testing::Message() << (wide ? "wide " : "ANSI ") << size);
            unsigned char buffer[40];
            std::memset(buffer, 0xAA, sizeof buffer);
            SQLINTEGER length = 0;
            const bool whole = size >= full + unit;
            EXPECT_EQ(get(conn, SQL_ATTR_CURRENT_CATALOG, buffer + 8, size, &length),
                      whole ? OK : SQL_SUCCESS_WITH_INFO);
            EXPECT_EQ(state(conn), whole ? "" : "01004");
            EXPECT_EQ(length, full);
            const SQLINTEGER units = size < unit ? 0 : std::min(size / unit, full / unit + 1);
            for (SQLINTEGER i = 0; i < units; i++)
                EXPECT_EQ(buffer[8 + i * unit], i + 1 == units ? '\0' : name.c_str()[i]);
            EXPECT_EQ(buffer[7], 0xAA);
            EXPECT_EQ(buffer[8 + units * unit], 0xAA);
        }
        EXPECT_EQ(get(conn, SQL_ATTR_CURRENT_CATALOG, nullptr, 0, nullptr), OK);
    }
    char text[256];
    EXPECT_EQ(SQLGetConnectOption(conn, SQL_CURRENT_QUALIFIER, text), OK);
    EXPECT_STREQ(text, "CASSANDRA");
}

TEST_F(attributes, options_read_the_same_values)
{
    SQLULEN value = 0;
    SQLSetConnectOption(conn, SQL_KEYSET_SIZE, 1234567890123);
    EXPECT_EQ(SQLGetConnectOption(conn, SQL_KEYSET_SIZE, &value), OK);
    EXPECT_EQ(value, 1234567890123u);
    value = ~SQLULEN{0};
    EXPECT_EQ(SQLGetConnectOption(conn, SQL_PACKET_SIZE, &value), OK);
    EXPECT_EQ(value, 0xFFFFFFFF00000000u);
    // Attributes of ODBC 3 are none of its options, and negative numbers are not theirs either.
    for (const int option : {SQL_ATTR_CONNECTION_TIMEOUT, SQL_ATTR_METADATA_ID, 13, 65535}) {
        EXPECT_EQ(SQLGetConnectOption(conn, static_cast<SQLUSMALLINT>(option), &value), FAIL);
        EXPECT_EQ(state(conn), "S1092");
    }
}

TEST_F(attributes, a_reset_connection_has_its_defaults_again)
{
    SQLSetConnectAttr(conn, SQL_AUTOCOMMIT, as_pointer(SQL_AUTOCOMMIT_OFF), 0);
    SQLSetConnectAttr(conn, SQL_QUERY_TIMEOUT, as_pointer(5), 0);
    conn->dsn = cass_string_from_cstr("source");
    EXPECT_EQ(SQLSetConnectAttr(conn, SQL_ATTR_RESET_CONNECTION, as_pointer(1), 0), OK);
    EXPECT_EQ(conn->dsn, nullptr);
    EXPECT_EQ(read(SQLGetConnectAttr, SQL_AUTOCOMMIT, 4), 1u);
    EXPECT_EQ(read(SQLGetConnectAttr, SQL_QUERY_TIMEOUT, 8), 0u);
    EXPECT_EQ(read(SQLGetConnectAttr, SQL_ATTR_CONNECTION_DEAD, 4), 1u);
}

TEST_F(attributes, ending_a_transaction)
{
    EXPECT_EQ(SQLEndTran(SQL_HANDLE_DBC, nullptr, SQL_COMMIT), SQL_INVALID_HANDLE);
    EXPECT_EQ(SQLEndTran(SQL_HANDLE_DBC, env.get(), SQL_COMMIT), SQL_INVALID_HANDLE);
    EXPECT_EQ(SQLEndTran(SQL_HANDLE_ENV, env.get(), SQL_COMMIT), FAIL);
    EXPECT_EQ(state(env.get()), "");

    cass_post_error(&conn->head, STATE_HY000, 0, nullptr);
    EXPECT_EQ(SQLEndTran(SQL_HANDLE_DBC, conn, 9), OK);  // nothing looks at it with autocommit on
    EXPECT_EQ(state(conn), "");
    conn->connected = 1;
    EXPECT_EQ(SQLSetConnectAttr(conn, SQL_AUTOCOMMIT, as_pointer(SQL_AUTOCOMMIT_OFF), 0), OK);
    EXPECT_EQ(SQLEndTran(SQL_HANDLE_DBC, conn, SQL_COMMIT), OK);
    EXPECT_EQ(SQLEndTran(SQL_HANDLE_DBC, conn, SQL_ROLLBACK), OK);
    EXPECT_EQ(SQLEndTran(SQL_HANDLE_DBC, conn, 9), FAIL);
    EXPECT_EQ(state(conn), "HY000");
    EXPECT_EQ(SQLSetConnectAttr(conn, SQL_AUTOCOMMIT, as_pointer(SQL_AUTOCOMMIT_ON), 0), OK);
    EXPECT_EQ(conn->autocommit, 1);
    conn->connected = 0;
}

TEST_F(attributes, a_connection_with_asynchronous_work_refuses)
{
    conn->async_count = 1;
    SQLULEN value = 0;
    EXPECT_EQ(SQLSetConnectAttr(conn, SQL_MAX_ROWS, nullptr, 0), FAIL);
    EXPECT_EQ(state(conn), "HY010");
    EXPECT_EQ(SQLGetConnectAttr(conn, SQL_MAX_ROWS, &value, 0, nullptr), FAIL);
    EXPECT_EQ(state(conn), "HY010");
    EXPECT_EQ(SQLEndTran(SQL_HANDLE_DBC, conn, SQL_COMMIT), FAIL);
    EXPECT_EQ(cass_diag_count(&conn->head), 2);  // the test comes before the clearing
    EXPECT_EQ(SQLSetConnectAttr(env.get(), SQL_MAX_ROWS, nullptr, 0), SQL_INVALID_HANDLE);
    EXPECT_EQ(SQLGetConnectAttrW(nullptr, SQL_MAX_ROWS, nullptr, 0, nullptr), SQL_INVALID_HANDLE);
}

TEST_F(attributes, the_environment)
{
    EXPECT_EQ(SQLSetEnvAttr(env.get(), SQL_ATTR_ODBC_VERSION, as_pointer(99), 0), OK);
    const struct {
        SQLINTEGER attribute;
        SQLINTEGER value;
    } cases[] = {{SQL_ATTR_ODBC_VERSION, 99}, {1065, 1}, {SQL_ATTR_OUTPUT_NTS, 1}};
    for (const auto &c : cases) {
        SQLINTEGER stored[2] = {-1, -1}, length = -1;
        EXPECT_EQ(SQLGetEnvAttr(env.get(), c.attribute, stored, 0, &length), OK);
        EXPECT_EQ(stored[0], c.value);
        EXPECT_EQ(stored[1], -1);
        EXPECT_EQ(length, 4);
        EXPECT_EQ(SQLGetEnvAttr(env.get(), c.attribute, nullptr, 0, nullptr), OK);
    }
    EXPECT_EQ(state(env.get()), "");
    EXPECT_EQ(SQLSetEnvAttr(env.get(), SQL_ATTR_OUTPUT_NTS, as_pointer(1), 0), FAIL);
    EXPECT_EQ(state(env.get()), "HYC00");
    EXPECT_EQ(SQLGetEnvAttr(env.get(), SQL_ATTR_CONNECTION_POOLING, nullptr, 0, nullptr), FAIL);
    EXPECT_EQ(cass_diag_count(&env->head), 2);  // nothing here clears
    for (void *handle : {static_cast<void *>(nullptr), static_cast<void *>(conn)}) {
        EXPECT_EQ(SQLSetEnvAttr(handle, SQL_ATTR_ODBC_VERSION, nullptr, 0), SQL_INVALID_HANDLE);
        EXPECT_EQ(SQLGetEnvAttr(handle, SQL_ATTR_ODBC_VERSION, nullptr, 0, nullptr),
                  SQL_INVALID_HANDLE);
    }
}
