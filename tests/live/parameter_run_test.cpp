// Parameters in use on a real node: nulls, values that come at execution, statements that run
// again, arrays, and what the server says when it no longer knows a prepared statement.
#include "tests/live/parameter_support.h"

// ---- Nulls --------------------------------------------------------------------------------------

// A null indicator makes the frame one value short. The server refuses it as malformed, and the
// connection lives on.
TEST(live_parameters, null_indicator_is_refused_by_the_server)
{
    NEED_NODE("VHCASS_SERVER");
    const live_ptr live = parameter_session("live_param_null");
    const SQLHSTMT stmt = live->stmt;
    SQLINTEGER key = 1, number = 2;
    SQLLEN null = SQL_NULL_DATA;
    const std::string insert = "INSERT INTO live_param_null.t (k, c_int) VALUES (?, ?)";
    bind(stmt, 1, SQL_C_SLONG, SQL_INTEGER, &key, nullptr);
    bind(stmt, 2, SQL_C_SLONG, SQL_INTEGER, &number, &null);
    for (const bool prepared : {false, true}) {
        if (prepared) {
            EXPECT_STMT(SQL_SUCCESS, stmt, prepare(stmt, insert));
        }
        EXPECT_STMT(SQL_ERROR, stmt, prepared ? SQLExecute(stmt) : exec(stmt, insert));
        expect_records(SQL_HANDLE_STMT, stmt, {malformed});
        expect_alive(live->conn);
    }
    EXPECT_EQ(query(live->conn, "SELECT k FROM live_param_null.t"), row_list());
    null = 0;
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLExecute(stmt));
    EXPECT_EQ(query(live->conn, "SELECT k, c_int FROM live_param_null.t"), row_list{"1|2"});

    // The way to write a null: at execution.
    SQLLEN at_exec = SQL_DATA_AT_EXEC;
    bind(stmt, 2, SQL_C_SLONG, SQL_INTEGER, &number, &at_exec);
    EXPECT_STMT(SQL_NEED_DATA, stmt, exec(stmt, insert));
    SQLPOINTER token = nullptr;
    EXPECT_STMT(SQL_NEED_DATA, stmt, SQLParamData(stmt, &token));
    EXPECT_EQ(token, &number);
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLPutData(stmt, nullptr, SQL_NULL_DATA));
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLParamData(stmt, &token));
    EXPECT_EQ(query(live->conn, "SELECT k, c_int FROM live_param_null.t"), row_list{"1|NULL"});
}

// ---- Long values --------------------------------------------------------------------------------

// Bytes that compression cannot make fewer.
static unsigned char byte_at(std::size_t at)
{
    std::uint64_t bits = (at + 1) * 0x9E3779B97F4A7C15u;
    bits = (bits ^ bits >> 32) * 0xD6E8FEB86659FD93u;
    return static_cast<unsigned char>(bits >> 56);
}

// Writes a blob of so many bytes in chunks; the records of a failure. A server may warn of the
// size.
static record_list write_blob(SQLHSTMT stmt, const std::string &insert, std::size_t size,
                              std::size_t chunk_size)
{
    SQLLEN indicator = SQL_LEN_DATA_AT_EXEC(static_cast<SQLLEN>(size));
    bind(stmt, 1, SQL_C_BINARY, SQL_LONGVARBINARY, &indicator, &indicator, 0, size);
    EXPECT_STMT(SQL_NEED_DATA, stmt, exec(stmt, insert));
    SQLPOINTER token = nullptr;
    EXPECT_STMT(SQL_NEED_DATA, stmt, SQLParamData(stmt, &token));
    std::vector<unsigned char> chunk(chunk_size);
    for (std::size_t at = 0; at < size; at += chunk_size) {
        const std::size_t length = std::min(chunk_size, size - at);
        for (std::size_t i = 0; i < length; i++)
            chunk[i] = byte_at(at + i);
        EXPECT_STMT(SQL_SUCCESS, stmt, SQLPutData(stmt, chunk.data(), static_cast<SQLLEN>(length)));
    }
    record_list records;
    if (!SQL_SUCCEEDED(SQLParamData(stmt, &token)))
        records = stmt_records(stmt);
    // Takes the chunks with the binding.
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLFreeStmt(stmt, SQL_RESET_PARAMS));
    return records;
}

static void expect_blob(SQLHSTMT stmt, const std::string &select, std::size_t size,
                        std::size_t piece_size)
{
    ASSERT_STMT(SQL_SUCCESS, stmt, exec(stmt, select));
    ASSERT_STMT(SQL_SUCCESS, stmt, SQLFetch(stmt));
    std::vector<unsigned char> piece(piece_size);
    std::size_t at = 0;
    for (;;) {
        SQLLEN left = -99;
        const SQLRETURN code =
            SQLGetData(stmt, 1, SQL_C_BINARY, piece.data(), static_cast<SQLLEN>(piece_size), &left);
        if (code == SQL_NO_DATA)
            break;
        ASSERT_TRUE(SQL_SUCCEEDED(code));
        ASSERT_EQ(left, static_cast<SQLLEN>(size - at));
        const std::size_t length = std::min(piece_size, size - at);
        for (std::size_t i = 0; i < length; i++)
            ASSERT_EQ(piece[i], byte_at(at + i)) << "byte " << at + i;
        at += length;
        if (code == SQL_SUCCESS)
            break;
    }
    EXPECT_EQ(at, size);
    EXPECT_STMT(SQL_NO_DATA, stmt, SQLFetch(stmt));
    SQLFreeStmt(stmt, SQL_CLOSE);
}

// A node takes requests of up to native_transport_max_frame_size, and values of up to half its
// commitlog_segment_size: 16 MiB both, unless it is set up for more.
TEST(live_parameters, blob_of_64_mib_in_chunks)
{
    NEED_NODE("VHCASS_SERVER");
    const live_ptr live = parameter_session("live_param_large");
    constexpr std::size_t mib = 1 << 20;
    const std::string insert = "INSERT INTO live_param_large.t (k, c_blob) VALUES (1, ?)";
    const std::string select = "SELECT c_blob FROM live_param_large.t WHERE k = 1";
    for (const std::size_t size : {7 * mib + 1, 64 * mib}) {
        const record_list records = write_blob(live->stmt, insert, size, mib);
        if (!records.empty() && (records[0].find("oversized mutation") != std::string::npos ||
                                 records[0].find("Request is too big") != std::string::npos)) {
            expect_alive(live->conn);
            GTEST_SKIP() << "not run: the node is not set up for values of 64 MiB";
        }
        EXPECT_EQ(records, record_list());
        expect_blob(live->stmt, select, size, mib - 1);
    }
}

// ---- Statements used again ----------------------------------------------------------------------

static const char insert_text[] = "INSERT INTO live_param_again.t (k, c_text) VALUES (?, ?)";

TEST(live_parameters, prepared_statement_runs_again_with_other_values_and_bindings)
{
    NEED_NODE("VHCASS_SERVER");
    const live_ptr live = parameter_session("live_param_again");
    const SQLHSTMT stmt = live->stmt;
    SQLINTEGER key = 0;
    char text[16] = "";
    SQLLEN length = SQL_NTS;
    bind(stmt, 1, SQL_C_SLONG, SQL_INTEGER, &key, nullptr);
    bind(stmt, 2, SQL_C_CHAR, SQL_VARCHAR, text, &length, sizeof text);
    ASSERT_STMT(SQL_SUCCESS, stmt, prepare(stmt, insert_text));
    for (key = 1; key <= 20; key++) {
        std::snprintf(text, sizeof text, "row %d", key);
        EXPECT_STMT(SQL_SUCCESS, stmt, SQLExecute(stmt));
    }
    // Other buffers of other types.
    SQLBIGINT large_key = 21;
    SQLWCHAR wide_text[] = {0x00E9, 0};
    bind(stmt, 1, SQL_C_SBIGINT, SQL_INTEGER, &large_key, nullptr);
    bind(stmt, 2, SQL_C_WCHAR, SQL_WVARCHAR, wide_text, &length, sizeof wide_text);
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLExecute(stmt));
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLFreeStmt(stmt, SQL_RESET_PARAMS));
    EXPECT_STMT(SQL_ERROR, stmt, SQLExecute(stmt));
    expect_records(SQL_HANDLE_STMT, stmt, {"07002 COUNT field incorrect"});
    key = 22;
    bind(stmt, 1, SQL_C_SLONG, SQL_INTEGER, &key, nullptr);
    bind(stmt, 2, SQL_C_SLONG, SQL_VARCHAR, &key, nullptr);
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLExecute(stmt));
    // The bindings serve another statement, a SELECT whose rows follow it again and again.
    ASSERT_STMT(SQL_SUCCESS, stmt,
                prepare(stmt, "SELECT c_text FROM live_param_again.t WHERE k = ?"));
    const std::pair<SQLINTEGER, const char *> rows[] = {
        {7, "row 7"}, {20, "row 20"}, {21, "\xC3\xA9"}, {22, "22"}};
    for (const auto &[number, expected] : rows) {
        key = number;
        ASSERT_STMT(SQL_SUCCESS, stmt, SQLExecute(stmt));
        EXPECT_EQ(fetch_all(stmt), row_list{expected});
        SQLFreeStmt(stmt, SQL_CLOSE);
    }
    // What is no result has no columns, whatever the statement showed before.
    ASSERT_STMT(SQL_SUCCESS, stmt, prepare(stmt, insert_text));
    SQLSMALLINT columns = -1;
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLNumResultCols(stmt, &columns));
    EXPECT_EQ(columns, 0);
}

TEST(live_parameters, select_with_parameters_over_many_pages)
{
    NEED_NODE("VHCASS_SERVER");
    const live_ptr live = parameter_session("live_param_pages");
    const SQLHSTMT stmt = live->stmt;
    run(stmt, "CREATE TABLE live_param_pages.many (p text, n int, PRIMARY KEY (p, n))");
    constexpr int total = 1000;
    std::vector<SQLINTEGER> numbers(total);
    std::vector<SQLUSMALLINT> status(total, 99);
    SQLULEN processed = 0;
    for (int n = 0; n < total; n++)
        numbers[static_cast<std::size_t>(n)] = n;
    bind(stmt, 1, SQL_C_SLONG, SQL_INTEGER, numbers.data(), nullptr);
    SQLSetStmtAttr(stmt, SQL_ATTR_PARAMSET_SIZE, odbc_number(total), 0);
    SQLSetStmtAttr(stmt, SQL_ATTR_PARAM_STATUS_PTR, status.data(), 0);
    SQLSetStmtAttr(stmt, SQL_ATTR_PARAMS_PROCESSED_PTR, &processed, 0);
    ASSERT_STMT(SQL_SUCCESS, stmt,
                prepare(stmt, "INSERT INTO live_param_pages.many (p, n) VALUES ('key', ?)"));
    ASSERT_STMT(SQL_SUCCESS, stmt, SQLExecute(stmt));
    EXPECT_EQ(processed, static_cast<SQLULEN>(total));
    EXPECT_EQ(status, std::vector<SQLUSMALLINT>(total, SQL_PARAM_SUCCESS));
    SQLSetStmtAttr(stmt, SQL_ATTR_PARAMSET_SIZE, odbc_number(1), 0);

    const std::string select = "SELECT n FROM live_param_pages.many WHERE p = ? AND n >= ?";
    for (const bool prepared : {false, true}) {
        for (const int first : {0, 1, 899, 999, 1000}) {
            SCOPED_TRACE((prepared ? "prepared, from " : "from ") + std::to_string(first));
            char key[] = "key";
            SQLINTEGER from = first;
            SQLLEN length = 3;
            bind(stmt, 1, SQL_C_CHAR, SQL_VARCHAR, key, &length);
            bind(stmt, 2, SQL_C_SLONG, SQL_INTEGER, &from, nullptr);
            if (prepared) {
                ASSERT_STMT(SQL_SUCCESS, stmt, prepare(stmt, select));
            }
            ASSERT_STMT(SQL_SUCCESS, stmt, prepared ? SQLExecute(stmt) : exec(stmt, select));
            key[0] = 'x';  // further pages do not read the buffers again
            from = 5000;
            for (int n = first; n < total; n++) {
                ASSERT_STMT(SQL_SUCCESS, stmt, SQLFetch(stmt));
                ASSERT_EQ(cell_text(stmt, 1), std::to_string(n));
            }
            EXPECT_STMT(SQL_NO_DATA, stmt, SQLFetch(stmt));
            SQLFreeStmt(stmt, SQL_CLOSE);
        }
    }
}

// The server refuses a set of an array; the others are written.
TEST(live_parameters, array_with_a_set_that_the_server_refuses)
{
    NEED_NODE("VHCASS_SERVER");
    const live_ptr live = parameter_session("live_param_array");
    const SQLHSTMT stmt = live->stmt;
    const std::string insert = "INSERT INTO live_param_array.t (k, c_text) VALUES (?, ?)";
    SQLINTEGER keys[] = {1, 2, 3};
    char texts[] = "one  caf\xE9 three";
    SQLLEN lengths[] = {3, 4, 5};
    SQLUSMALLINT status[3] = {9, 9, 9};
    SQLULEN processed = 9;
    bind(stmt, 1, SQL_C_SLONG, SQL_INTEGER, keys, nullptr);
    bind(stmt, 2, SQL_C_CHAR, SQL_VARCHAR, texts, lengths, 5);
    SQLSetStmtAttr(stmt, SQL_ATTR_PARAMSET_SIZE, odbc_number(3), 0);
    SQLSetStmtAttr(stmt, SQL_ATTR_PARAM_STATUS_PTR, status, 0);
    SQLSetStmtAttr(stmt, SQL_ATTR_PARAMS_PROCESSED_PTR, &processed, 0);
    ASSERT_STMT(SQL_SUCCESS, stmt, prepare(stmt, insert));
    EXPECT_STMT(SQL_SUCCESS_WITH_INFO, stmt, SQLExecute(stmt));
    expect_records(SQL_HANDLE_STMT, stmt, {invalid});
    EXPECT_EQ(processed, 3u);
    EXPECT_EQ(status[0], SQL_PARAM_SUCCESS);
    EXPECT_EQ(status[1], SQL_PARAM_ERROR);
    EXPECT_EQ(status[2], SQL_PARAM_SUCCESS);
    const std::string look = "SELECT k, c_text FROM live_param_array.t WHERE k IN (1, 2, 3)";
    EXPECT_EQ(query(live->conn, look), (row_list{"1|one", "3|three"}));
    // A direct execution writes the last set alone and calls all of them good.
    texts[0] = 'O';
    texts[10] = 'T';
    EXPECT_STMT(SQL_SUCCESS, stmt, exec(stmt, insert));
    EXPECT_EQ(status[0] + status[1] + status[2], 0);
    EXPECT_EQ(query(live->conn, look), (row_list{"1|one", "3|Three"}));
}

// A table that was altered makes its prepared statements unknown to the server. The driver does not
// prepare again by itself; the application may.
TEST(live_parameters, statement_of_an_altered_table_must_be_prepared_again)
{
    NEED_NODE("VHCASS_SERVER");
    const live_ptr live = parameter_session("live_param_altered");
    const SQLHSTMT stmt = live->stmt;
    SQLINTEGER key = 1;
    bind(stmt, 1, SQL_C_SLONG, SQL_INTEGER, &key, nullptr);
    bind(stmt, 2, SQL_C_SLONG, SQL_INTEGER, &key, nullptr);
    const std::string insert = "INSERT INTO live_param_altered.t (k, c_int) VALUES (?, ?)";
    ASSERT_STMT(SQL_SUCCESS, stmt, prepare(stmt, insert));
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLExecute(stmt));
    const SQLHSTMT other = new_stmt(live.get());
    run(other, "ALTER TABLE live_param_altered.t ADD c_added int");
    SQLFreeHandle(SQL_HANDLE_STMT, other);
    for (int i = 0; i < 2; i++) {
        EXPECT_STMT(SQL_ERROR, stmt, SQLExecute(stmt));
        expect_records(SQL_HANDLE_STMT, stmt,
                       {std::string(not_prepared) + "'Prepared query with ID "});
    }
    ASSERT_STMT(SQL_SUCCESS, stmt, prepare(stmt, insert));
    key = 2;
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLExecute(stmt));
    EXPECT_EQ(query(live->conn, "SELECT k FROM live_param_altered.t WHERE k = 2"), row_list{"2"});
}

// Text beyond ASCII belongs into parameters or, as UTF-8, into the statement. Single bytes of a
// Latin alphabet in a statement are no text to the server.
TEST(live_parameters, statement_text_must_be_utf8)
{
    NEED_NODE("VHCASS_SERVER");
    const live_ptr live = parameter_session("live_param_utf8");
    const std::string head = "INSERT INTO live_param_utf8.t (k, c_text) VALUES (1, 'caf";
    run(live->stmt, head + "\xC3\xA9')");
    EXPECT_EQ(query(live->conn, "SELECT c_text FROM live_param_utf8.t"), row_list{"caf\xC3\xA9"});
    EXPECT_STMT(SQL_ERROR, live->stmt, exec(live->stmt, head + "\xE9')"));
    expect_records(SQL_HANDLE_STMT, live->stmt,
                   {std::string(protocol_error) + "'Cannot decode string as UTF8: "});
    expect_alive(live->conn);
}
