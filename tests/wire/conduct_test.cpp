// The two conducts side by side: what a connection does by default, and with Standard=Yes.
#include <tuple>

#include "tests/wire/parameter_support.h"

// What a wide application gives.
static const std::u16string wide_word = u"\u017C\xD83D\xDE00";

// By default one QUERY, encoded as bound; by the other conduct PREPARE, and EXECUTE by the column.
TEST(conduct, texts_values_and_page_sizes_of_requests)
{
    const struct {
        app_value value;
        SQLSMALLINT sql_type;
        int column;
        std::string sent[2];  // hexadecimal, the length in front; by default empty for a null
    } cases[] = {
        {"x", SQL_VARCHAR, NODE_VARCHAR, {"", "ffffffff"}},
        {wide_word, SQL_WCHAR, NODE_ASCII, {"00000008c5bceda0bdedb880", "00000006c5bcf09f9880"}},
        {int8_t{7}, SQL_BINARY, NODE_BLOB, {"000000080700000000000000", "0000000107"}},
        {-256, SQL_INTEGER, NODE_BIGINT, {"00000004ffffff00", "00000008ffffffffffffff00"}},
        {"15", SQL_VARCHAR, NODE_SMALLINT, {"000000023135", "00000002000f"}},
    };
    for (const bool standard : {false, true}) {
        const wire_ptr wire = wire_logged_on({}, standard ? "Standard=Yes" : "");
        std::string sql = INSERT_ONE;  // another one for each row: none is prepared twice
        for (const auto &row : cases) {
            SCOPED_TRACE(row.sent[standard]);
            sql += "x";
            auto length = static_cast<SQLLEN>(row.value.memory.size());
            if (row.sent[0].empty())
                length = SQL_NULL_DATA;
            bind(wire->stmt, 1, row.value.c_type, row.sql_type,
                 const_cast<char *>(row.value.memory.data()), &length, 0, 5, 2);
            if (standard)
                expect_prepare(wire->node, sql,
                               {prepared_frame("ID", {{"a", type_of(row.column)}}, {})});
            node_expect(wire->node,
                        {.opcode = standard ? NODE_EXECUTE : NODE_QUERY,
                         .body = (standard ? wire_short_bytes("ID") : wire_long_string(sql)) +
                                 be16(CONSISTENCY_ONE) + be8(5) +
                                 counted({from_hex(row.sent[standard])}) +
                                 be32(standard ? 5000 : 100),
                         .replies = {void_frame()}});
            EXPECT_STMT(SQL_SUCCESS, wire->stmt, exec(wire->stmt, sql));
        }
        const std::string sent = standard ? "\xC5\xBC\xF0\x9F\x98\x80" : std::string("\x7C\x3D", 3);
        node_expect(wire->node, {.opcode = NODE_QUERY,
                                 .body = wire_long_string(sent) + be16(CONSISTENCY_ONE) + be8(4) +
                                         be32(standard ? 5000 : 100),
                                 .replies = {void_frame()}});
        EXPECT_STMT(SQL_SUCCESS, wire->stmt,
                    SQLExecDirectW(wire->stmt, odbc_wide(wide_word), SQL_NTS));
    }
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
        const wire_ptr wire = wire_of(standard);
        for (const auto &[code, text, found] : cases) {
            run_query(wire, "q", error_frame(code, text), SQL_ERROR);
            SQLINTEGER native = -1;
            SQLGetDiagRec(SQL_HANDLE_STMT, wire->stmt, 1, nullptr, &native, nullptr, 0, nullptr);
            EXPECT_EQ(native, standard ? static_cast<SQLINTEGER>(code) : 0);
            const std::string record = stmt_records(wire->stmt).at(0);
            EXPECT_TRUE(record.starts_with(standard ? found : link_failure)) << record;
            EXPECT_NE(record.find(text), std::string::npos) << record;
        }
    }
}

TEST(conduct, rollbacks_native_sql_and_names_of_the_connection)
{
    for (const bool standard : {false, true}) {
        const wire_ptr wire = wire_of(standard);
        SQLSetConnectAttr(wire->conn, SQL_ATTR_AUTOCOMMIT, nullptr, 0);
        EXPECT_EQ(SQLEndTran(SQL_HANDLE_DBC, wire->conn, SQL_COMMIT), SQL_SUCCESS);
        EXPECT_EQ(SQLEndTran(SQL_HANDLE_DBC, wire->conn, SQL_ROLLBACK),
                  standard ? SQL_SUCCESS_WITH_INFO : SQL_SUCCESS);
        EXPECT_EQ(conn_records(wire->conn).size(), standard ? 1u : 0u);

        SQLCHAR text[64] = "";
        const auto told = [&text] { return std::string(reinterpret_cast<char *>(text)); };
        SQLSMALLINT size = 99;
        SQLINTEGER length = -1;
        SQLNativeSql(wire->conn, odbc_text("{d '2001-02-03'} ;"), SQL_NTS, text, 64, &length);
        EXPECT_EQ(told(), standard ? "'2001-02-03'" : "{d '2001-02-03'} ;");
        EXPECT_EQ(length, standard ? 12 : 18);
        SQLGetInfo(wire->conn, SQL_SERVER_NAME, text, 16, &size);
        EXPECT_TRUE(told().starts_with(standard ? "127.0.0.1:" : "Apache Cassandr")) << told();
        SQLGetConnectAttr(wire->conn, SQL_ATTR_CURRENT_CATALOG, text, 16, &length);
        EXPECT_EQ(told(), standard ? "" : "CASSANDRA");
    }
}

// Texts as numbers, two rows to a page: one is none, and the page behind the first fails.
TEST(conduct, rows_that_fail_in_a_rowset)
{
    for (const bool standard : {false, true}) {
        const wire_ptr wire = wire_of(standard);
        SQLINTEGER numbers[3] = {};
        SQLUSMALLINT status[3] = {9, 9, 9};
        SQLULEN rows = 9;
        set_attribute(wire->stmt, SQL_ATTR_ROW_ARRAY_SIZE, 3);
        set_attribute(wire->stmt, SQL_ATTR_ROW_STATUS_PTR, status);
        set_attribute(wire->stmt, SQL_ATTR_ROWS_FETCHED_PTR, &rows);
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
        // What a failure by default leaves comes with the next fetch.
        EXPECT_STMT(standard ? SQL_NO_DATA : SQL_SUCCESS, wire->stmt, SQLFetch(wire->stmt));
        EXPECT_EQ(numbers[0], standard ? 1 : 3);
        SQLFreeStmt(wire->stmt, SQL_CLOSE);

        run_query(wire, "q", text_page({"1", "2"}, "state"));
        expect_next_query(wire->node, "q", "state", {error_frame(0x1200, "late")});
        EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLFetch(wire->stmt));
        if (!standard)
            continue;
        EXPECT_EQ(rows, 2u);
        EXPECT_EQ(status[2], SQL_ROW_NOROW);
        EXPECT_STMT(SQL_ERROR, wire->stmt, SQLFetch(wire->stmt));
        EXPECT_EQ(states_of(wire->stmt), "HYT00");
        // By the next fetch the page is asked for again; one that is refused ends the result.
        expect_next_query(wire->node, "q", "state", {text_page({"3", "4", "5"}, "more")});
        EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLFetch(wire->stmt));
        EXPECT_EQ(numbers[0], 3);
        expect_next_query(wire->node, "q", "more", {error_frame(0x000A, "no such state")});
        EXPECT_STMT(SQL_ERROR, wire->stmt, SQLFetch(wire->stmt));
        EXPECT_STMT(SQL_NO_DATA, wire->stmt, SQLFetch(wire->stmt));
    }
}
