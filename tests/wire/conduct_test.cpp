// The two conducts side by side: what a connection does by default, and with Standard=Yes.
#include <algorithm>
#include <tuple>

#include "tests/wire/parameter_support.h"

// With the pages that the other tests have.
static wire_ptr logged_on(bool standard)
{
    return wire_logged_on({}, standard ? "PageSize=100;Standard=Yes" : "");
}

// What a wide application gives.
static const std::u16string wide_word = u"\u017C\xD83D\xDE00";

// By default one QUERY, encoded as bound; by the other conduct PREPARE, and EXECUTE by the column.
TEST(conduct, values_and_page_sizes_of_requests)
{
    SQLLEN null = SQL_NULL_DATA, whole = SQL_NTS;
    char decimal[] = "-2.56", digits[] = "15", address[] = "::1";
    signed char byte = 7;
    SQLINTEGER number = -256;
    double half = -0.5;
    std::u16string wide = wide_word;
    const struct {
        SQLSMALLINT c_type, sql_type;
        void *data;
        SQLLEN *indicator;
        int column;
        std::string value[2];  // hexadecimal, the length in front
    } cases[] = {
        {SQL_C_CHAR, SQL_VARCHAR, decimal, &null, NODE_VARCHAR, {"", "ffffffff"}},
        {SQL_C_CHAR,
         SQL_DECIMAL,
         decimal,
         &whole,
         NODE_DECIMAL,
         {"0000000700000002fffe00", "0000000600000002ff00"}},
        {SQL_C_DOUBLE,
         SQL_DOUBLE,
         &half,
         nullptr,
         NODE_DECIMAL,
         {"00000008bfe0000000000000", "0000000500000001fb"}},
        {SQL_C_WCHAR,
         SQL_WVARCHAR,
         wide.data(),
         &whole,
         NODE_VARCHAR,
         {"00000008c5bceda0bdedb880", "00000006c5bcf09f9880"}},
        {SQL_C_STINYINT,
         SQL_VARBINARY,
         &byte,
         nullptr,
         NODE_BLOB,
         {"000000080700000000000000", "0000000107"}},
        {SQL_C_SLONG,
         SQL_INTEGER,
         &number,
         nullptr,
         NODE_BIGINT,
         {"00000004ffffff00", "00000008ffffffffffffff00"}},
        {SQL_C_SLONG,
         SQL_INTEGER,
         &number,
         nullptr,
         NODE_VARINT,
         {"00000004ffffff00", "00000002ff00"}},
        {SQL_C_CHAR, SQL_VARCHAR, digits, &whole, NODE_SMALLINT, {"000000023135", "00000002000f"}},
        {SQL_C_CHAR, SQL_VARCHAR, digits, &whole, NODE_VARINT, {"000000023135", "000000010f"}},
        {SQL_C_CHAR,
         SQL_VARCHAR,
         address,
         &whole,
         NODE_INET,
         {"000000033a3a31", "0000001000000000000000000000000000000001"}},
    };
    for (const bool standard : {false, true}) {
        const wire_ptr wire = wire_logged_on({}, standard ? "Standard=Yes" : "");
        std::string sql = INSERT_ONE;  // another one for each row: none is prepared twice
        for (const auto &row : cases) {
            SCOPED_TRACE(row.value[standard]);
            sql += "x";
            bind(wire->stmt, 1, row.c_type, row.sql_type, row.data, row.indicator, 0, 5, 2);
            if (standard)
                expect_prepare(wire->node, sql,
                               {prepared_frame("ID", {{"a", type_of(row.column)}}, {})});
            node_expect(wire->node,
                        {.opcode = standard ? NODE_EXECUTE : NODE_QUERY,
                         .body = (standard ? wire_short_bytes("ID") : wire_long_string(sql)) +
                                 be16(CONSISTENCY_ONE) + be8(5) +
                                 counted({from_hex(row.value[standard])}) +
                                 be32(standard ? 5000 : 100),
                         .replies = {void_frame()}});
            EXPECT_STMT(SQL_SUCCESS, wire->stmt, exec(wire->stmt, sql));
        }
    }
    // What does not fit the column is refused before it goes out: half a pair, a large number, a
    // text that is no address.
    const wire_ptr wire = wire_logged_on({}, "Standard=Yes");
    wide.pop_back();
    std::u16string second_halves = u"\xDE00\xDE00";
    const struct {
        SQLSMALLINT c_type;
        void *data;
        int column;
        std::string state;
    } refused[] = {{SQL_C_WCHAR, wide.data(), NODE_VARCHAR, "22018"},
                   {SQL_C_WCHAR, second_halves.data(), NODE_VARCHAR, "22018"},
                   {SQL_C_SLONG, &number, NODE_TINYINT, "22003"},
                   {SQL_C_CHAR, decimal, NODE_VARINT, "22001"},
                   {SQL_C_CHAR, decimal, NODE_INET, "22018"}};
    std::string sql = INSERT_ONE;
    for (const auto &row : refused) {
        sql += "x";
        bind(wire->stmt, 1, row.c_type, SQL_VARCHAR, row.data,
             row.c_type == SQL_C_SLONG ? nullptr : &whole);
        expect_prepare(wire->node, sql, {prepared_frame("ID", {{"a", type_of(row.column)}}, {})});
        EXPECT_STMT(SQL_ERROR, wire->stmt, exec(wire->stmt, sql));
        EXPECT_EQ(stmt_records(wire->stmt).at(0).substr(0, 5), row.state);
    }
}

TEST(conduct, wide_statements_and_settings_of_their_own)
{
    const std::string word[] = {std::string("\x7C\x3D\x00", 3), "\xC5\xBC\xF0\x9F\x98\x80"};
    for (const bool standard : {false, true}) {
        const wire_ptr wire =
            wire_logged_on({}, std::string("PageSize=200000;ReadTimeout=-4;Standard=") +
                                   (standard ? "yes" : "no"));
        node_expect(wire->node, {.opcode = NODE_QUERY,
                                 .body = wire_long_string("select '" + word[standard] + "'") +
                                         be16(CONSISTENCY_ONE) + be8(4) + be32(100'000),
                                 .replies = {void_frame()}});
        const std::u16string sql = u"select '" + wide_word + u"'";
        EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLExecDirectW(wire->stmt, odbc_wide(sql), SQL_NTS));
    }
}

// A cell as wide text in pieces, ended by "/".
static std::u16string in_pieces(SQLHSTMT stmt, SQLSMALLINT units)
{
    std::u16string all;
    std::vector<char16_t> buffer(static_cast<std::size_t>(units));
    SQLRETURN code = SQL_SUCCESS_WITH_INFO;
    while (code == SQL_SUCCESS_WITH_INFO && all.size() < 100) {
        std::fill(buffer.begin(), buffer.end(), u'?');
        code = SQLGetData(stmt, 1, SQL_C_WCHAR, buffer.data(), 2 * units, nullptr);
        if (SQL_SUCCEEDED(code))
            all += std::u16string(buffer.begin(), std::find(buffer.begin(), buffer.end(), u'\0')) +
                   u"/";
    }
    return all;
}

TEST(conduct, wide_text_in_pieces)
{
    const bytes text = "x\xC5\xBC\xF0\x9F\x98\x80y";
    const std::pair<SQLSMALLINT, std::u16string> cases[][2] = {
        {{2, u"x\u017C/\xF600y//"}, {2, u"x/\u017C/\xD83D/\xDE00/y/"}},
        {{3, u"x\u017C\xF600/y/"}, {3, u"x\u017C/\xD83D\xDE00/y/"}},
        {{4, u"x\u017C\xF600y//"}, {4, u"x\u017C\xD83D/\xDE00y/"}},
        {{6, u"x\u017C\xF600y/"}, {6, u"x\u017C\xD83D\xDE00y/"}},
    };
    for (const bool standard : {false, true}) {
        for (const auto &row : cases) {
            const wire_ptr wire = logged_on(standard);
            expect_query(wire->node, "q", {text_page({text})});
            EXPECT_STMT(SQL_SUCCESS, wire->stmt, exec(wire->stmt, "q"));
            EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLFetch(wire->stmt));
            EXPECT_EQ(in_pieces(wire->stmt, row[standard].first), row[standard].second);
        }
    }
}

// Cut between characters, and told: a rowset of several rows with a cut one is no plain success.
TEST(conduct, bound_texts_that_are_cut)
{
    for (const bool standard : {false, true}) {
        for (const SQLSMALLINT type : {SQL_C_CHAR, SQL_C_WCHAR}) {
            const wire_ptr wire = logged_on(standard);
            expect_query(wire->node, "q", {text_page({"x", "x\xF0\x9F\x98\x80y"})});
            EXPECT_STMT(SQL_SUCCESS, wire->stmt, exec(wire->stmt, "q"));
            char16_t rows[2][3] = {};
            SQLLEN lengths[2];
            SQLSetStmtAttr(wire->stmt, SQL_ATTR_ROW_ARRAY_SIZE, odbc_number(2), 0);
            SQLBindCol(wire->stmt, 1, type, rows, type == SQL_C_CHAR ? 5 : 6, lengths);
            EXPECT_STMT(standard ? SQL_SUCCESS_WITH_INFO : SQL_SUCCESS, wire->stmt,
                        SQLFetch(wire->stmt));
            const std::string narrow = reinterpret_cast<char *>(rows) + 5;
            if (type == SQL_C_CHAR) {
                EXPECT_EQ(narrow, standard ? "x" : "x\xF0\x9F\x98");
            } else {
                EXPECT_EQ(std::u16string(rows[1], 2),
                          standard ? std::u16string(u"x\0", 2) : u"x\xF600");
            }
        }
    }
}

TEST(conduct, data_at_execution_in_every_run)
{
    for (const bool standard : {false, true}) {
        const wire_ptr wire = logged_on(standard);
        SQLLEN at_exec = SQL_DATA_AT_EXEC;
        void *token = nullptr;
        bind(wire->stmt, 1, SQL_C_CHAR, SQL_VARCHAR, &at_exec, &at_exec);
        prepare_now(wire, INSERT_ONE);
        for (const bytes &run : {bytes("first"), bytes("second")}) {
            const bool asked = standard || run == "first";
            expect_values(wire, true, INSERT_ONE, counted({wire_bytes(asked ? run : "first")}));
            EXPECT_STMT(asked ? SQL_NEED_DATA : SQL_SUCCESS, wire->stmt, SQLExecute(wire->stmt));
            if (!asked)
                continue;
            EXPECT_STMT(SQL_NEED_DATA, wire->stmt, SQLParamData(wire->stmt, &token));
            EXPECT_STMT(SQL_SUCCESS, wire->stmt,
                        SQLPutData(wire->stmt, odbc_text(run), static_cast<SQLLEN>(run.size())));
            EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLParamData(wire->stmt, &token));
        }
    }
}

TEST(conduct, set_that_fails_and_page_that_does_not_come)
{
    for (const bool standard : {false, true}) {
        const wire_ptr wire = logged_on(standard);
        const auto sets = bind_sets(wire->stmt, "abc");
        prepare_now(wire, INSERT_TWO);
        for (std::size_t i = 0; i < 3; i++)
            expect_values(wire, true, INSERT_TWO, sets->values[i],
                          i == 1 ? error_frame(0x2200, "no") : void_frame());
        EXPECT_STMT(standard ? SQL_ERROR : SQL_SUCCESS_WITH_INFO, wire->stmt,
                    SQLExecute(wire->stmt));
        EXPECT_EQ(sets->status, (std::vector<SQLUSMALLINT>{0, 5, 0}));
        SQLFreeStmt(wire->stmt, SQL_RESET_PARAMS);

        char cell[8] = "";
        expect_query(wire->node, "q", {text_page({"1"}, "p")});
        expect_next_query(wire->node, "q", "p", {error_frame(0x1200, "late")});
        EXPECT_STMT(SQL_SUCCESS, wire->stmt, exec(wire->stmt, "q"));
        SQLBindCol(wire->stmt, 1, SQL_C_CHAR, cell, sizeof cell, nullptr);
        EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLFetch(wire->stmt));
        EXPECT_STMT(standard ? SQL_ERROR : SQL_SUCCESS, wire->stmt, SQLFetch(wire->stmt));
        EXPECT_EQ(stmt_records(wire->stmt).at(0), standard
                                                      ? "HYT00 Timeout expired: late"
                                                      : link_failure + "error code 4608 'late'");
    }
}

TEST(conduct, output_string_tells_what_was_set)
{
    const wire_ptr wire = wire_open();
    expect_logon(wire->node);
    std::string out;
    const std::string settings = "SERVER=127.0.0.1:" + std::to_string(node_port(wire->node));
    EXPECT_CONN(SQL_SUCCESS, wire->conn,
                wire_driver_connect(
                    wire->conn,
                    settings +
                        ";PageSize=7;Standard=yes;ReadTimeout=9000;PlainTypes=yes;LongText=yes;"
                        "AllowFiltering=yes;CursorMemory=64",
                    &out));
    EXPECT_NE(out.find("Standard=Yes;PageSize=7;ReadTimeout=9000;LongText=Yes;PlainTypes=Yes;"
                       "AllowFiltering=Yes;CursorMemory=64;"),
              std::string::npos)
        << out;
}

TEST(conduct, errors_of_the_server)
{
    const std::tuple<std::uint32_t, std::string, std::string> cases[] = {
        {0x2000, "no viable alternative", "42000 no viable alternative"},
        {0x2200, "table t does not exist", "42S02 Base table or view not found: "},
        {0x2200, "Table 'k.t' doesn't exist", "42S02 Base table or view not found: "},
        {0x2200, "Undefined column name z in table k.t", "42S22 Column not found: "},
        {0x2200, "keyspace k does not exist", "3F000 Invalid schema name: "},
        {0x2200, "Invalid STRING constant (x)", "22000 Data exception: "},
        {0x2200, "a table may be anything", "42000 "},
        {0x2400, "already there", "42S01 Base table or view already exists: "},
        {0x1001, "overloaded", "HY000 General error: "},
    };
    for (const bool standard : {false, true}) {
        const wire_ptr wire = logged_on(standard);
        for (const auto &[code, text, found] : cases) {
            expect_query(wire->node, "q", {error_frame(code, text)});
            EXPECT_STMT(SQL_ERROR, wire->stmt, exec(wire->stmt, "q"));
            SQLINTEGER native = -1;
            SQLGetDiagRec(SQL_HANDLE_STMT, wire->stmt, 1, nullptr, &native, nullptr, 0, nullptr);
            EXPECT_EQ(native, standard ? static_cast<SQLINTEGER>(code) : 0);
            const std::string record = stmt_records(wire->stmt).at(0);
            EXPECT_TRUE(record.starts_with(standard ? found : link_failure)) << record;
            EXPECT_NE(record.find(text), std::string::npos) << record;
        }
    }
}

TEST(conduct, descriptions_and_times)
{
    const node_columns columns = {{"t", type_of(NODE_TIME)}, {"s", type_of(NODE_TIMESTAMP)}};
    const node_row row = {be64(36'672'000'000'001), be(-1, 8)};
    const struct {
        SQLSMALLINT type;
        SQLULEN size;
        std::string text[2];
    } expected[] = {
        {SQL_TYPE_TIMESTAMP, 29, {"0000-00-00 10:11:12.000000001", "1970-01-01 00:00:00"}},
        {SQL_TYPE_TIME, 18, {"10:11:12.000000001", "1969-12-31 23:59:59.999"}},
    };
    for (const bool standard : {false, true}) {
        const wire_ptr wire = logged_on(standard);
        expect_query(wire->node, "q", {rows_frame(columns, {row})});
        EXPECT_STMT(SQL_SUCCESS, wire->stmt, exec(wire->stmt, "q"));
        SQLSMALLINT type = 0;
        SQLULEN size = 0;
        SQLDescribeCol(wire->stmt, 1, nullptr, 0, nullptr, &type, &size, nullptr, nullptr);
        EXPECT_EQ(type, expected[standard].type);
        EXPECT_EQ(size, expected[standard].size);
        EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLFetch(wire->stmt));
        char16_t wide[40] = {};
        EXPECT_STMT(SQL_SUCCESS, wire->stmt,
                    SQLGetData(wire->stmt, 1, SQL_C_WCHAR, wide, sizeof wide, nullptr));
        const std::string &text = expected[standard].text[0];
        EXPECT_EQ(std::u16string(wide).substr(0, 8),
                  std::u16string(text.begin(), text.end()).substr(0, 8));
        if (standard) {
            EXPECT_EQ(cell_text(wire->stmt, 2), expected[true].text[1]);
        }

        expect_query(wire->node, "q", {text_page({"x"})});
        SQLCloseCursor(wire->stmt);
        EXPECT_STMT(SQL_SUCCESS, wire->stmt, exec(wire->stmt, "q"));
        SQLDescribeCol(wire->stmt, 1, nullptr, 0, nullptr, &type, &size, nullptr, nullptr);
        EXPECT_EQ(size, standard ? 4000u : 256u);
    }
}

TEST(conduct, rollbacks)
{
    for (const bool standard : {false, true}) {
        const wire_ptr wire = logged_on(standard);
        const auto end = [&](SQLSMALLINT how) {
            return SQLEndTran(SQL_HANDLE_DBC, wire->conn, how);
        };
        EXPECT_EQ(end(SQL_ROLLBACK), SQL_SUCCESS);
        SQLSetConnectAttr(wire->conn, SQL_ATTR_AUTOCOMMIT, nullptr, 0);
        EXPECT_EQ(end(SQL_COMMIT), SQL_SUCCESS);
        EXPECT_EQ(end(SQL_ROLLBACK), standard ? SQL_SUCCESS_WITH_INFO : SQL_SUCCESS);
        EXPECT_EQ(conn_records(wire->conn).size(), standard ? 1u : 0u);
    }
}

TEST(conduct, native_sql)
{
    for (const bool standard : {false, true}) {
        const wire_ptr wire = logged_on(standard);
        SQLCHAR text[64];
        SQLINTEGER length = -1;
        EXPECT_CONN(SQL_SUCCESS, wire->conn,
                    SQLNativeSql(wire->conn, odbc_text("{d '2001-02-03'} ;"), SQL_NTS, text,
                                 sizeof text, &length));
        const std::string wanted = standard ? "'2001-02-03'" : "{d '2001-02-03'} ;";
        EXPECT_EQ(reinterpret_cast<char *>(text), wanted);
        EXPECT_EQ(length, static_cast<SQLINTEGER>(wanted.size()));
    }
}

// Texts as numbers, two rows to a page: one is none, and the page behind the first fails.
TEST(conduct, rows_that_fail_in_a_rowset)
{
    for (const bool standard : {false, true}) {
        const wire_ptr wire = logged_on(standard);
        SQLINTEGER numbers[3] = {};
        SQLUSMALLINT status[3] = {9, 9, 9};
        SQLULEN rows = 9;
        SQLSetStmtAttr(wire->stmt, SQL_ATTR_ROW_ARRAY_SIZE, odbc_number(3), 0);
        SQLSetStmtAttr(wire->stmt, SQL_ATTR_ROW_STATUS_PTR, status, 0);
        SQLSetStmtAttr(wire->stmt, SQL_ATTR_ROWS_FETCHED_PTR, &rows, 0);
        run_query(wire, "q", text_page({"1", "x", "3"}));
        SQLBindCol(wire->stmt, 1, SQL_C_SLONG, numbers, 0, nullptr);
        EXPECT_STMT(standard ? SQL_SUCCESS_WITH_INFO : SQL_SUCCESS, wire->stmt,
                    SQLFetch(wire->stmt));
        EXPECT_EQ(rows, standard ? 3u : 1u);
        EXPECT_EQ(status[1], SQL_ROW_ERROR);
        EXPECT_EQ(status[2], standard ? SQL_ROW_SUCCESS : SQL_ROW_ERROR);
        SQLLEN row = 9;
        SQLGetDiagField(SQL_HANDLE_STMT, wire->stmt, 1, SQL_DIAG_ROW_NUMBER, &row, 0, nullptr);
        EXPECT_EQ(row, standard ? 2 : 0);
        EXPECT_EQ(SQLGetData(wire->stmt, 1, SQL_C_SLONG, numbers, 0, nullptr),
                  standard ? SQL_ERROR : SQL_NO_DATA);
        SQLFreeStmt(wire->stmt, SQL_CLOSE);

        run_query(wire, "q", text_page({"1", "2"}, "state"));
        expect_next_query(wire->node, "q", "state", {error_frame(0x1200, "late")});
        EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLFetch(wire->stmt));
        if (!standard)
            continue;
        EXPECT_EQ(rows, 2u);
        EXPECT_EQ(status[2], SQL_ROW_NOROW);
        EXPECT_STMT(SQL_ERROR, wire->stmt, SQLFetch(wire->stmt));
        EXPECT_TRUE(stmt_records(wire->stmt).at(0).starts_with("HYT00"));
        // By the next fetch the page is asked for again.
        expect_next_query(wire->node, "q", "state", {text_page({"3"})});
        EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLFetch(wire->stmt));
        EXPECT_EQ(numbers[0], 3);
    }
}

TEST(conduct, information_and_catalogs)
{
    for (const bool standard : {false, true}) {
        const wire_ptr wire = logged_on(standard);
        SQLUINTEGER number = 99;
        SQLGetInfo(wire->conn, SQL_SUBQUERIES, &number, sizeof number, nullptr);
        EXPECT_EQ(number, standard ? 0u : 31u);
        // Qt takes a driver without this bit for one of narrow text.
        SQLGetInfo(wire->conn, SQL_CONVERT_CHAR, &number, sizeof number, nullptr);
        EXPECT_NE(number & SQL_CVT_WCHAR, 0u);
        char text[16] = "?";
        SQLSMALLINT length = 99;
        EXPECT_CONN(SQL_SUCCESS, wire->conn,
                    SQLGetInfo(wire->conn, SQL_USER_NAME, text, sizeof text, &length));
        EXPECT_EQ(std::string(text), standard ? "" : "?");
        SQLGetInfo(wire->conn, SQL_SERVER_NAME, text, sizeof text, &length);
        EXPECT_TRUE(std::string(text).starts_with(standard ? "127.0.0.1:" : "Apache Cassandr"));
        SQLINTEGER units = 99;
        EXPECT_CONN(
            SQL_SUCCESS, wire->conn,
            SQLGetConnectAttr(wire->conn, SQL_ATTR_CURRENT_CATALOG, text, sizeof text, &units));
        EXPECT_EQ(std::string(text), standard ? "" : "CASSANDRA");
        EXPECT_STMT(SQL_SUCCESS, wire->stmt,
                    SQLTables(wire->stmt, odbc_text("%"), 1, odbc_text(""), 0, odbc_text(""), 0,
                              nullptr, 0));
        EXPECT_EQ(SQLFetch(wire->stmt), standard ? SQL_NO_DATA : SQL_SUCCESS);
    }
}
