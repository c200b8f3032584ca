// Diagnostic records as an application reads them: order, messages, and every buffer size on the
// way out, in both forms.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "core/cass_err.h"
#include "core/cass_handle.h"

namespace
{

const std::string PREFIX = "[Varnholt][Apache Cassandra]";

struct diagnostics : testing::Test {
    std::unique_ptr<cass_env, void (*)(cass_env *)> env{cass_alloc_env(), cass_free_env};
    cass_conn *conn = cass_alloc_conn(env.get(), 3);
    cass_stmt *stmt = cass_alloc_stmt(conn);
    cass_handle *head = &conn->head;

    // A record with a text of any units, as it may come from a server or a data source.
    void add_record(const char *state, std::u16string text, std::int32_t native = 0)
    {
        std::vector<SQLWCHAR> units(text.begin(), text.end());
        cass_string state_text = {nullptr, 5, 1};
        std::vector<SQLWCHAR> state_units(state, state + 5);
        state_text.text = state_units.data();
        cass_string message = {units.data(), static_cast<std::int32_t>(units.size()), 1};
        const cass_diag_record record = {native, &state_text, &message, 7, -1, 0, nullptr};
        cass_diag_copy(head, &record);
    }

    std::string message(SQLSMALLINT number)
    {
        SQLCHAR text[2048] = "";
        return SQLGetDiagRec(SQL_HANDLE_DBC, conn, number, nullptr, nullptr, text, sizeof text,
                             nullptr) == SQL_SUCCESS
                   ? reinterpret_cast<char *>(text)
                   : "(none)";
    }
};

// Bytes handed to the driver as a buffer, with a pattern on both sides that must stay.
struct guarded_buffer {
    static constexpr std::size_t margin = 16;
    std::vector<unsigned char> bytes;
    explicit guarded_buffer(std::size_t size) : bytes(margin + size + margin, 0xAA) {}
    void *data() { return bytes.data() + margin; }
    bool margins_stand() const
    {
        const std::size_t end = bytes.size();
        for (std::size_t i = 0; i < margin; i++)
            if (bytes[i] != 0xAA || bytes[end - 1 - i] != 0xAA)
                return false;
        return true;
    }
    std::string text(std::size_t count) const
    {
        return std::string(bytes.begin() + margin,
                           bytes.begin() + static_cast<std::ptrdiff_t>(margin + count));
    }
};

// Little-endian bytes of a wide text.
std::string wide_bytes(const std::u16string &text)
{
    return std::string(reinterpret_cast<const char *>(text.data()), 2 * text.size());
}

}  // namespace

TEST_F(diagnostics, records_read_highest_state_first_and_in_posting_order_within_one)
{
    cass_post_error(head, STATE_01000, 0, "warning");
    cass_post_error(head, STATE_08S01, 0, "first");
    cass_post_error(head, STATE_HY000, 0, nullptr);
    cass_post_error(head, STATE_08S01, 0, "second");
    cass_post_error(head, STATE_S1092, 0, nullptr);
    cass_post_error(head, STATE_42000, 0, "middle");
    const std::string expected[] = {
        PREFIX + "Option type out of range",
        PREFIX + "General error",
        PREFIX + "middle",
        PREFIX + "Communication link failure: first",
        PREFIX + "Communication link failure: second",
        PREFIX + "warning",
        "(none)",
    };
    for (SQLSMALLINT i = 0; i < 7; i++)
        EXPECT_EQ(message(static_cast<SQLSMALLINT>(i + 1)), expected[i]);
    cass_diag_clear(head);
    EXPECT_EQ(cass_diag_count(head), 0);
}

TEST_F(diagnostics, table_rows_stand_where_their_names_say)
{
    EXPECT_STREQ(cass_sqlstate_row(STATE_HY000)->state, "HY000");
    EXPECT_STREQ(cass_sqlstate_row(STATE_01S02)->state, "01S02");
    EXPECT_STREQ(cass_sqlstate_row(STATE_HYT00)->state, "HYT00");
    EXPECT_STREQ(cass_sqlstate_row(STATE_S1009)->state, "S1009");
    EXPECT_STREQ(cass_sqlstate_row(STATE_21000)->state, "21000");
    EXPECT_STREQ(cass_sqlstate_row(STATE_22005)->state, "22005");
}

TEST_F(diagnostics, a_message_is_row_text_and_formatted_part_and_ends_within_1024_bytes)
{
    cass_post_error(head, STATE_42000, 0, nullptr);
    EXPECT_EQ(message(1), PREFIX);
    cass_diag_clear(head);

    std::unique_ptr<cass_string, void (*)(cass_string *)> text(
        cass_string_from_cstr(std::string(1100, 'x').c_str()), cass_string_free);
    cass_post_error(head, STATE_01000, 0, "%S", text.get());
    EXPECT_EQ(message(1).substr(0, PREFIX.size() + 2), PREFIX + "xx");
    EXPECT_EQ(message(1).substr(message(1).size() - 5), "xx...");
    EXPECT_LT(message(1).size(), 1024u);
    EXPECT_GT(message(1).size(), 1000u);
}

TEST_F(diagnostics, a_copied_record_is_deep_and_keeps_its_numbers)
{
    cass_post_error_column(&stmt->head, STATE_22003, 5, 3, "cell");
    cass_diag_copy(head, cass_diag_get(&stmt->head, 1));
    cass_diag_clear(&stmt->head);
    EXPECT_EQ(message(1), PREFIX + "Numeric value out of range: cell");
    EXPECT_EQ(cass_diag_get(head, 1)->native, 5);
    EXPECT_EQ(cass_diag_get(head, 1)->column_number, 3);
}

TEST_F(diagnostics, get_diag_rec_delivers_any_buffer_size_without_touching_its_neighbours)
{
    // Four units, eight bytes of UTF-8.
    const std::u16string text = u"a\u00E9\u20ACz\u00FC";
    const std::string utf8 = "a\xC3\xA9\xE2\x82\xACz\xC3\xBC";
    add_record("HY000", text, 42);
    for (SQLSMALLINT size = -1; size <= static_cast<SQLSMALLINT>(utf8.size()) + 2; size++) {
        SCOPED_TRACE(size);
        guarded_buffer buffer(static_cast<std::size_t>(std::max<SQLSMALLINT>(size, 0)));
        SQLSMALLINT length = -7;
        const SQLRETURN code = SQLGetDiagRec(0, conn, 1, nullptr, nullptr,
                                             static_cast<SQLCHAR *>(buffer.data()), size, &length);
        EXPECT_TRUE(buffer.margins_stand());
        EXPECT_EQ(length, static_cast<SQLSMALLINT>(utf8.size()));
        const bool whole = size > static_cast<SQLSMALLINT>(utf8.size());
        EXPECT_EQ(code, whole ? SQL_SUCCESS : SQL_SUCCESS_WITH_INFO);
        if (size > 0) {
            const std::size_t kept = std::min<std::size_t>(utf8.size(), size - 1u);
            EXPECT_EQ(buffer.text(kept + 1), utf8.substr(0, kept) + std::string(1, '\0'));
        }
    }
    for (SQLSMALLINT size = -1; size <= static_cast<SQLSMALLINT>(text.size()) + 2; size++) {
        SCOPED_TRACE(size);
        guarded_buffer buffer(2 * static_cast<std::size_t>(std::max<SQLSMALLINT>(size, 0)));
        SQLSMALLINT length = -7;
        const SQLRETURN code = SQLGetDiagRecW(
            0, conn, 1, nullptr, nullptr, static_cast<SQLWCHAR *>(buffer.data()), size, &length);
        EXPECT_TRUE(buffer.margins_stand());
        EXPECT_EQ(length, static_cast<SQLSMALLINT>(text.size()));
        const bool whole = size > static_cast<SQLSMALLINT>(text.size());
        EXPECT_EQ(code, whole ? SQL_SUCCESS : SQL_SUCCESS_WITH_INFO);
        if (size > 0) {
            const std::size_t kept = std::min<std::size_t>(text.size(), size - 1u);
            EXPECT_EQ(buffer.text(2 * kept + 2),
                      wide_bytes(text.substr(0, kept) + std::u16string(1, u'\0')));
        }
    }
    EXPECT_EQ(cass_diag_count(head), 1);
}

TEST_F(diagnostics, get_diag_rec_probes_numbers_and_null_outputs)
{
    add_record("08S01", u"\u00E9", 42);
    SQLCHAR state[7] = "??????";
    SQLINTEGER native = 0;
    SQLSMALLINT length = 0;
    EXPECT_EQ(SQLGetDiagRec(0, conn, 1, state, &native, nullptr, 0, &length), SQL_SUCCESS);
    EXPECT_EQ(std::memcmp(state, "08S01\0", 7), 0);
    EXPECT_EQ(native, 42);
    EXPECT_EQ(length, 1);  // units, as no text was asked for

    SQLWCHAR wide_state[7] = {'?', '?', '?', '?', '?', '?', '?'};
    EXPECT_EQ(SQLGetDiagRecW(0, conn, 1, wide_state, nullptr, nullptr, 0, nullptr), SQL_SUCCESS);
    const SQLWCHAR expected[7] = {'0', '8', 'S', '0', '1', 0, '?'};
    EXPECT_EQ(std::memcmp(wide_state, expected, sizeof expected), 0);

    for (const SQLSMALLINT number : {-1, 0, 2}) {
        EXPECT_EQ(SQLGetDiagRec(0, conn, number, state, &native, nullptr, 0, &length), SQL_NO_DATA);
        EXPECT_EQ(SQLGetDiagRecW(0, conn, number, nullptr, nullptr, nullptr, 0, nullptr),
                  SQL_NO_DATA);
    }
    EXPECT_EQ(SQLGetDiagRec(SQL_HANDLE_DBC, nullptr, 1, nullptr, nullptr, nullptr, 0, nullptr),
              SQL_INVALID_HANDLE);
    EXPECT_EQ(SQLGetDiagFieldW(SQL_HANDLE_DBC, nullptr, 1, SQL_DIAG_NUMBER, nullptr, 0, nullptr),
              SQL_INVALID_HANDLE);
}

TEST_F(diagnostics, get_diag_field_numbers_have_the_width_of_their_type)
{
    head = &stmt->head;
    add_record("22003", u"x", -42);
    const struct {
        SQLSMALLINT identifier;
        std::int64_t value;
        SQLSMALLINT width;
    } cases[] = {
        {SQL_DIAG_NUMBER, 1, 4},     {SQL_DIAG_CURSOR_ROW_COUNT, 0, 8},
        {SQL_DIAG_NATIVE, -42, 4},   {SQL_DIAG_DYNAMIC_FUNCTION_CODE, 0, 4},
        {SQL_DIAG_ROW_NUMBER, 7, 8}, {SQL_DIAG_COLUMN_NUMBER, -1, 4},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.identifier);
        for (const auto get : {SQLGetDiagField, SQLGetDiagFieldW}) {
            unsigned char stored[12];
            std::memset(stored, 0xAA, sizeof stored);
            SQLSMALLINT length = 0;
            EXPECT_EQ(get(0, stmt, 1, c.identifier, stored, 0, &length), SQL_SUCCESS);
            EXPECT_EQ(length, c.width);
            EXPECT_EQ(std::memcmp(stored, &c.value, static_cast<std::size_t>(c.width)), 0);
            EXPECT_EQ(stored[c.width], 0xAA);
            EXPECT_EQ(get(0, stmt, 1, c.identifier, nullptr, 0, nullptr), SQL_SUCCESS);
        }
    }
}

TEST_F(diagnostics, get_diag_field_delivers_text_at_any_buffer_size)
{
    const std::u16string text = u"a\u00E9z";
    const std::string utf8 = "a\xC3\xA9z";
    add_record("HY000", text);
    for (SQLSMALLINT size = -1; size <= 12; size++) {
        SCOPED_TRACE(size);
        guarded_buffer narrow(static_cast<std::size_t>(std::max<SQLSMALLINT>(size, 0)));
        SQLSMALLINT length = 0;
        EXPECT_EQ(SQLGetDiagField(0, conn, 1, SQL_DIAG_MESSAGE_TEXT, narrow.data(), size, &length),
                  size > static_cast<SQLSMALLINT>(utf8.size()) ? SQL_SUCCESS
                                                               : SQL_SUCCESS_WITH_INFO);
        EXPECT_EQ(length, 3);  // units, though UTF-8 is one byte longer
        EXPECT_TRUE(narrow.margins_stand());
        if (size > 0) {
            const std::size_t kept = std::min<std::size_t>(utf8.size(), size - 1u);
            EXPECT_EQ(narrow.text(kept + 1), utf8.substr(0, kept) + std::string(1, '\0'));
        }

        guarded_buffer wide(static_cast<std::size_t>(std::max<SQLSMALLINT>(size, 0)));
        EXPECT_EQ(SQLGetDiagFieldW(0, conn, 1, SQL_DIAG_MESSAGE_TEXT, wide.data(), size, &length),
                  size >= 8 ? SQL_SUCCESS : SQL_SUCCESS_WITH_INFO);
        EXPECT_EQ(length, 6);
        EXPECT_TRUE(wide.margins_stand());
        if (size > 1) {
            const std::size_t kept = std::min<std::size_t>(text.size(), size / 2u - 1);
            EXPECT_EQ(wide.text(2 * kept + 2),
                      wide_bytes(text.substr(0, kept) + std::u16string(1, u'\0')));
        }
    }
    for (const auto get : {SQLGetDiagField, SQLGetDiagFieldW}) {
        SQLSMALLINT length = 0;
        EXPECT_EQ(get(0, conn, 1, SQL_DIAG_MESSAGE_TEXT, nullptr, 0, &length), SQL_NO_DATA);
        EXPECT_EQ(length, get == SQLGetDiagField ? 3 : 6);
    }
}

TEST_F(diagnostics, origins_follow_the_state)
{
    const struct {
        const char *state, *class_origin, *subclass_origin;
    } cases[] = {
        {"HY000", "ISO 9075", "ISO 9075"}, {"IM008", "ODBC 3.0", "ODBC 3.0"},
        {"IM009", "ODBC 3.0", "ISO 9075"}, {"HYT00", "ISO 9075", "ODBC 3.0"},
        {"01S00", "ISO 9075", "ODBC 3.0"}, {"01004", "ISO 9075", "ISO 9075"},
        {"08S01", "ISO 9075", "ODBC 3.0"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.state);
        cass_diag_clear(head);
        add_record(c.state, u"x");
        char text[32];
        SQLGetDiagField(0, conn, 1, SQL_DIAG_CLASS_ORIGIN, text, sizeof text, nullptr);
        EXPECT_STREQ(text, c.class_origin);
        SQLGetDiagField(0, conn, 1, SQL_DIAG_SUBCLASS_ORIGIN, text, sizeof text, nullptr);
        EXPECT_STREQ(text, c.subclass_origin);
    }
}

TEST_F(diagnostics, fields_that_need_a_statement_a_connection_or_a_record)
{
    cass_post_error(&env->head, STATE_HYC00, 0, nullptr);
    cass_post_error(head, STATE_HY000, 0, nullptr);
    cass_post_error(&stmt->head, STATE_HY000, 0, nullptr);
    const struct {
        void *handle;
        SQLSMALLINT number, identifier;
        SQLRETURN code;
        SQLSMALLINT length;  // -7: not stored
    } cases[] = {
        {conn, 1, SQL_DIAG_CURSOR_ROW_COUNT, SQL_ERROR, -7},
        {conn, 1, SQL_DIAG_DYNAMIC_FUNCTION, SQL_ERROR, -7},
        {conn, 1, SQL_DIAG_DYNAMIC_FUNCTION_CODE, SQL_ERROR, -7},
        {stmt, 0, SQL_DIAG_DYNAMIC_FUNCTION, SQL_SUCCESS, 0},
        {stmt, 0, SQL_DIAG_NUMBER, SQL_SUCCESS, 4},
        {conn, 0, SQL_DIAG_SQLSTATE, SQL_ERROR, -7},
        {conn, 2, SQL_DIAG_SQLSTATE, SQL_NO_DATA, -7},
        {conn, 2, SQL_DIAG_ROW_COUNT, SQL_ERROR, -7},
        {stmt, 2, SQL_DIAG_ROW_COUNT, SQL_NO_DATA, -7},
        {stmt, 1, SQL_DIAG_ROW_COUNT, SQL_ERROR, -7},
        {conn, 1, SQL_DIAG_RETURNCODE, SQL_ERROR, -7},
        {conn, 1, 9999, SQL_ERROR, -7},
        {env.get(), 1, SQL_DIAG_SERVER_NAME, SQL_SUCCESS, 0},
        {env.get(), 1, SQL_DIAG_CONNECTION_NAME, SQL_ERROR, -7},
        {conn, 1, SQL_DIAG_SERVER_NAME, SQL_SUCCESS, 0},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(testing::Message() << c.identifier << " of record " << c.number);
        for (const auto get : {SQLGetDiagField, SQLGetDiagFieldW}) {
            char text[64];
            SQLSMALLINT length = -7;
            EXPECT_EQ(get(0, c.handle, c.number, c.identifier, text, sizeof text, &length), c.code);
            EXPECT_EQ(length, c.length);
        }
    }

    char text[64], expected[64];
    std::snprintf(expected, sizeof expected, "NetConn: %p", static_cast<void *>(conn));
    EXPECT_EQ(SQLGetDiagField(0, stmt, 1, SQL_DIAG_CONNECTION_NAME, text, sizeof text, nullptr),
              SQL_SUCCESS);
    EXPECT_STREQ(text, expected);
    SQLSMALLINT length = 0;
    std::memset(text, 0xAA, sizeof text);
    EXPECT_EQ(SQLGetDiagFieldW(0, stmt, 1, SQL_DIAG_CONNECTION_NAME, text, sizeof text, &length),
              SQL_SUCCESS);
    EXPECT_EQ(length, 4);
    EXPECT_EQ(std::memcmp(text, "\0\0\0\0\xAA", 5), 0);

    conn->dsn = cass_string_from_cstr("source");
    EXPECT_EQ(SQLGetDiagField(0, stmt, 1, SQL_DIAG_SERVER_NAME, text, sizeof text, nullptr),
              SQL_SUCCESS);
    EXPECT_STREQ(text, "source");
}

// A reader on another thread meets whole records while the list is changed under it.
TEST_F(diagnostics, a_list_may_be_read_while_another_thread_changes_it)
{
    std::thread writer([&] {
        for (int i = 0; i < 2000; i++) {
            cass_post_error(head, STATE_08S01, i, "read failed");
            cass_post_error(head, STATE_HY000, i, nullptr);
            cass_diag_clear(head);
        }
    });
    for (int i = 0; i < 2000; i++) {
        const std::string read = message(1);
        EXPECT_TRUE(read == "(none)" || read.substr(0, PREFIX.size()) == PREFIX) << read;
    }
    writer.join();
}
