// Diagnostic records as an application reads them: order, messages and fields.
#include <sstream>

#include "tests/unit/handles.h"

using diagnostics = stmt_fixture;

static std::string text_field(void *handle, SQLSMALLINT identifier)
{
    char text[64] = "(none)";
    SQLGetDiagField(0, handle, 1, identifier, text, sizeof text, nullptr);
    return text;
}

TEST_F(diagnostics, records_read_highest_state_first_and_in_posting_order_within_one)
{
    cass_handle *head = &conn->head;
    cass_post_error(head, STATE_01000, 0, "warning");
    cass_post_error(head, STATE_08S01, 0, "first");
    cass_post_error(head, STATE_HY000, 0, nullptr);
    cass_post_error(head, STATE_08S01, 0, "second %d", 2);
    cass_post_error(head, STATE_S1092, 0, nullptr);
    cass_post_error(head, STATE_22005, 0, nullptr);  // the table's last row
    EXPECT_EQ(states_of(conn), "S1092 HY000 22005 08S01 08S01 01000");
    EXPECT_EQ(conn_records(conn)[3] + conn_records(conn)[4],
              "08S01 Communication link failure: first"
              "08S01 Communication link failure: second 2");

    cass_diag_clear(head);
    const owned_string text = string_of(std::u16string(1100, u'x'));
    cass_post_error_column(head, STATE_22003, 5, 3, "%S", text.get());
    const std::string cut = message_of(conn);
    EXPECT_TRUE(cut.starts_with("[Varnholt][Apache Cassandra]") && cut.ends_with("xx..."));
    EXPECT_TRUE(cut.size() > 1000 && cut.size() < 1024);
    for (const SQLSMALLINT number : {-1, 0, 2})
        EXPECT_FALSE(
            SQL_SUCCEEDED(SQLGetDiagRec(0, conn, number, nullptr, nullptr, nullptr, 0, nullptr)));
    SQLWCHAR wide[6] = {};
    SQLINTEGER native = 0;
    SQLGetDiagRecW(0, conn, 1, wide, &native, nullptr, 0, nullptr);
    EXPECT_TRUE(std::memcmp(wide, u"22003", sizeof wide) == 0 && native == 5);
}

TEST_F(diagnostics, fields_of_a_record_and_of_its_handle)
{
    cass_post_error_column(&stmt->head, STATE_22003, -42, 3, "x");
    cass_post_error(&conn->head, STATE_HY000, 0, nullptr);
    // A length of -7 is not stored.
    // clang-format off
    const struct { void *handle; SQLSMALLINT number, id, code, length; SQLLEN value; } cases[] = {
        {stmt, 0, SQL_DIAG_NUMBER, 0, 4, 1}, {stmt, 1, SQL_DIAG_CURSOR_ROW_COUNT, 0, 8, 0},
        {stmt, 1, SQL_DIAG_NATIVE, 0, 4, -42}, {stmt, 1, SQL_DIAG_COLUMN_NUMBER, 0, 4, 3},
        {stmt, 0, SQL_DIAG_DYNAMIC_FUNCTION, 1, 0, 0}, {stmt, 1, SQL_DIAG_ROW_COUNT, -1, -7, 0},
        {stmt, 2, SQL_DIAG_ROW_COUNT, 100, -7, 0}, {conn, 1, SQL_DIAG_CURSOR_ROW_COUNT, -1, -7, 0},
        {conn, 0, SQL_DIAG_SQLSTATE, -1, -7, 0}, {conn, 2, SQL_DIAG_SQLSTATE, 100, -7, 0},
        {conn, 1, 9999, -1, -7, 0},
    };
    // clang-format on
    for (const auto &c : cases)
        for (const auto get : {SQLGetDiagField, SQLGetDiagFieldW}) {
            SCOPED_TRACE(testing::Message() << c.id << " of record " << c.number);
            guarded at;
            SQLSMALLINT length = -7;
            EXPECT_EQ(get(0, c.handle, c.number, c.id, at.data(), 0, &length), c.code);
            EXPECT_EQ(length, c.length);
            auto value = static_cast<SQLULEN>(c.value);
            const std::size_t size = length < 0 ? 0 : std::size_t(length);
            EXPECT_EQ(at.written(), bytes_of(low_bytes(&value, size), size));
        }
    // The connection's name.
    std::ostringstream expected;
    expected << "NetConn: " << conn;
    EXPECT_EQ(text_field(conn, SQL_DIAG_CONNECTION_NAME), expected.str());
    for (const auto &[state, wanted] :
         {std::pair(STATE_IM008, "ODBC 3.0ODBC 3.0"), {STATE_HYT00, "ISO 9075ODBC 3.0"}}) {
        cass_diag_clear(&conn->head);
        cass_post_error(&conn->head, state, 0, nullptr);
        EXPECT_EQ(text_field(conn, SQL_DIAG_CLASS_ORIGIN) +
                      text_field(conn, SQL_DIAG_SUBCLASS_ORIGIN),
                  wanted);
    }
}
