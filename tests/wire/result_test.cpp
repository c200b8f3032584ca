// Replies: the five kinds of RESULT, warnings, errors, type trees, and frames that are well formed
// but not what was asked for.
#include "tests/wire/wire_support.h"

static const node_columns one_int = {{"n", type_of(NODE_INT)}};

TEST(results, kinds_without_rows_leave_nothing_to_fetch)
{
    const struct {
        const char *what;
        node_frame reply;
    } cases[] = {
        {"void", void_frame()},
        {"set keyspace", set_keyspace_frame("other")},
        {"keyspace created", schema_change_frame("CREATED", "KEYSPACE", {"ks"})},
        {"table dropped", schema_change_frame("DROPPED", "TABLE", {"ks", "t"})},
        {"type updated", schema_change_frame("UPDATED", "TYPE", {"ks", "u"})},
        {"function", schema_change_frame("CREATED", "FUNCTION", {"ks", "f"},
                                         wire_string_list({"int", "text"}))},
        {"aggregate", schema_change_frame("CREATED", "AGGREGATE", {"ks", "a"}, be16(0))},
        {"unknown target", schema_change_frame("CREATED", "TRIGGER", {"ks", "x"})},
        {"lying count", schema_change_frame("CREATED", "TYPE", {"ks", "u"}, be16(0x7FFF))},
        {"unknown kind", {.opcode = NODE_RESULT, .body = be32(9)}},
        {"no kind", {.opcode = NODE_RESULT}},
    };
    for (const bool lz4 : {false, true}) {
        const wire_ptr wire = wire_logged_on({.lz4 = lz4});
        for (const auto &c : cases) {
            SCOPED_TRACE(c.what);
            expect_query(wire->node.get(), "q", {c.reply});
            EXPECT_STMT(SQL_SUCCESS, wire->stmt, exec(wire->stmt, "q"));
            EXPECT_EQ(stmt_records(wire->stmt), record_list());
            EXPECT_EQ(column_count(wire->stmt), 0);
            EXPECT_STMT(SQL_NO_DATA, wire->stmt, SQLFetch(wire->stmt));
            EXPECT_STMT(SQL_NO_DATA, wire->stmt, SQLMoreResults(wire->stmt));
        }
    }
}

TEST(results, warnings_stand_in_one_record_and_rows_behind_them)
{
    const std::vector<bytes> two = {"first", "second"};
    const node_frame rows = rows_frame(one_int, {{be32(7)}});
    const struct {
        const char *what;
        node_frame reply;
        SQLRETURN code;
        record_list records;
        std::vector<std::string> rows;
    } cases[] = {
        {"rows",
         with_warnings(rows, {"one warning"}),
         SQL_SUCCESS_WITH_INFO,
         {"01000 one warning"},
         {"7"}},
        {"two", with_warnings(rows, two), SQL_SUCCESS_WITH_INFO, {"01000 firstsecond"}, {"7"}},
        {"none in the list", with_warnings(rows, {}), SQL_SUCCESS_WITH_INFO, {"01000 "}, {"7"}},
        {"percent signs",
         with_warnings(rows, {"100%s %n"}),
         SQL_SUCCESS_WITH_INFO,
         {"01000 100%s %n"},
         {"7"}},
        {"error",
         with_warnings(error_frame(0x2200, "no"), two),
         SQL_ERROR,
         {"08S01 Communication link failure: error code 8704 'no'"},
         {}},
    };
    const wire_ptr wire = wire_logged_on({.lz4 = true});
    for (const auto &c : cases) {
        SCOPED_TRACE(c.what);
        SQLFreeStmt(wire->stmt, SQL_CLOSE);
        expect_query(wire->node.get(), "q", {c.reply});
        EXPECT_STMT(c.code, wire->stmt, exec(wire->stmt, "q"));
        EXPECT_EQ(stmt_records(wire->stmt), c.records);
        if (c.code != SQL_ERROR) {
            EXPECT_EQ(fetch_all(wire->stmt), c.rows);
        }
    }
    expect_prepare(wire->node.get(), "q", {with_warnings(prepared_frame("id", {}, one_int), two)});
    expect_execute(wire->node.get(), "id",
                   {rows_frame(one_int, {{be32(1)}}, {.paging_state = "p"})});
    expect_next_execute(wire->node.get(), "id", "p", {with_warnings(rows, {"late"})});
    EXPECT_STMT(SQL_SUCCESS_WITH_INFO, wire->stmt, prepare(wire->stmt, "q"));
    EXPECT_EQ(stmt_records(wire->stmt), record_list{"01000 firstsecond"});
    EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLExecute(wire->stmt));
    EXPECT_EQ(fetch_all(wire->stmt), (std::vector<std::string>{"1", "7"}));
}

TEST(results, error_frames_give_code_and_text)
{
    const std::string failure = "08S01 Communication link failure: error code ";
    const struct {
        node_frame reply;
        std::string record;
    } cases[] = {
        {error_frame(0x0000, "server error"), failure + "0 'server error'"},
        {error_frame(0x1000, "unavailable", be16(4) + be32(3) + be32(1)),
         failure + "4096 'unavailable'"},
        {error_frame(0x2000, "line 1:0 no viable alternative"),
         failure + "8192 'line 1:0 no viable alternative'"},
        {error_frame(0x2400, "exists", wire_string("ks") + wire_string("t")),
         failure + "9216 'exists'"},
        {error_frame(0x2500, "gone", wire_short_bytes(pattern(16))), failure + "9472 'gone'"},
        {error_frame(0xFFFFFFFF, "%s%n%S"), failure + "-1 '%s%n%S'"},
        {error_frame(0x2200, ""), failure + "8704 ''"},
        // Each byte of the server's text beyond ASCII is shown by its number.
        {error_frame(0x2200, "caf\xC3\xA9"), failure + "8704 'caf\\x00C3\\x00A9'"},
        {{.opcode = NODE_ERROR}, failure + "0 ''"},
        {{.opcode = NODE_ERROR, .body = be32(0x2200) + be16(500) + "short"}, failure + "8704 ''"},
        {ready_frame(), "08S01 Communication link failure: unexpected packet type 2"},
        {stock_supported(true), "08S01 Communication link failure: unexpected packet type 6"},
        {{.opcode = NODE_EVENT}, "08S01 Communication link failure: unexpected packet type 12"},
    };
    const wire_ptr wire = wire_logged_on();
    for (const auto &c : cases) {
        expect_query(wire->node.get(), "q", {c.reply});
        EXPECT_STMT(SQL_ERROR, wire->stmt, exec(wire->stmt, "q"));
        EXPECT_EQ(stmt_records(wire->stmt), record_list{c.record});
        expect_prepare(wire->node.get(), "q", {c.reply});
        EXPECT_STMT(SQL_ERROR, wire->stmt, prepare(wire->stmt, "q"));
        EXPECT_EQ(stmt_records(wire->stmt), record_list{c.record});
    }
    // A long text is cut by the record's room and marked so.
    expect_query(wire->node.get(), "q", {error_frame(1, pattern(5000))});
    EXPECT_STMT(SQL_ERROR, wire->stmt, exec(wire->stmt, "q"));
    const std::string record = stmt_records(wire->stmt).at(0);
    EXPECT_TRUE(record.starts_with(failure + "1 '" + pattern(800))) << record;
    EXPECT_TRUE(record.ends_with("...")) << record;
    EXPECT_LT(record.size(), 1024u);
    // The connection serves on.
    expect_query(wire->node.get(), "q", {rows_frame(one_int, {{be32(3)}})});
    EXPECT_STMT(SQL_SUCCESS, wire->stmt, exec(wire->stmt, "q"));
    EXPECT_EQ(fetch_all(wire->stmt), std::vector<std::string>{"3"});
}

TEST(results, preparation_takes_no_other_kind)
{
    const struct {
        node_frame reply;
        const char *kind;
    } cases[] = {
        {void_frame(), "KIND_VOID"},
        {rows_frame(one_int, {}), "KIND_ROWS"},
        {set_keyspace_frame("ks"), "KIND_SET_KEYSPACE"},
        {schema_change_frame("CREATED", "KEYSPACE", {"ks"}), "KIND_SCHEMA_CHANGE"},
        {{.opcode = NODE_RESULT, .body = be32(77)}, "Unknown kind type"},
    };
    const wire_ptr wire = wire_logged_on();
    for (const auto &c : cases) {
        expect_prepare(wire->node.get(), "q", {c.reply});
        EXPECT_STMT(SQL_ERROR, wire->stmt, prepare(wire->stmt, "q"));
        const std::string text = std::string("unexpected packet kind ") + c.kind;
        EXPECT_EQ(stmt_records(wire->stmt), record_list{"08S01 Communication link failure: " +
                                                        text + ", expected KIND_PREPARED"});
        EXPECT_STMT(SQL_ERROR, wire->stmt, SQLExecute(wire->stmt));
    }
}

// Version byte and stream of a reply are not looked at, nor are the flags that nobody asked for.
TEST(results, header_of_a_reply_is_taken_as_it_comes)
{
    const wire_ptr wire = wire_logged_on({.lz4 = true});
    node_frame reply = rows_frame(one_int, {{be32(5)}});
    for (const int version : {0x84, 0x83, 0x04, 0x00, 0xFF}) {
        for (const int stream : {1, 0x7FFF, -1}) {
            reply.version = version;
            reply.stream = stream;
            reply.flags = 0x10;
            reply.compression = stream == 1 ? COMPRESS_NEVER : COMPRESS_ALWAYS;
            expect_query(wire->node.get(), "q", {reply});
            EXPECT_STMT(SQL_SUCCESS, wire->stmt, exec(wire->stmt, "q"));
            EXPECT_EQ(fetch_all(wire->stmt), std::vector<std::string>{"5"});
        }
    }
}

// Every type tree, with its names in front of it and a plain column behind it: only a decoder that
// takes exactly the bytes of the tree finds the next column's name and type.
TEST(results, type_trees_are_read_to_their_end)
{
    const bytes address = type_udt("ks", "address",
                                   {{"street", type_of(NODE_VARCHAR)},
                                    {"codes", type_list(type_of(NODE_INT))},
                                    {"at", type_tuple({type_of(NODE_DOUBLE)})}});
    bytes deep = type_of(NODE_INT);
    for (int i = 0; i < 40; i++)
        deep = type_list(deep);
    const struct {
        const char *name;
        bytes type;
        SQLSMALLINT sql_type;
    } cases[] = {
        {"custom", type_custom("org.apache.cassandra.db.marshal.DurationType"), SQL_VARBINARY},
        {"custom without a name", type_custom(""), SQL_VARBINARY},
        {"list", type_list(type_of(NODE_INT)), SQL_VARBINARY},
        {"map of lists", type_map(type_of(NODE_UUID), type_list(type_of(NODE_INT))), SQL_VARBINARY},
        {"set of tuples", type_set(type_tuple({type_of(NODE_INT), type_of(NODE_DATE)})),
         SQL_VARBINARY},
        {"empty tuple", type_tuple({}), SQL_VARBINARY},
        {"user type", address, SQL_VARBINARY},
        {"user type without fields", type_udt("", "", {}), SQL_VARBINARY},
        {"map of user types", type_map(address, type_map(address, address)), SQL_VARBINARY},
        {"forty lists", deep, SQL_VARBINARY},
        {"decimal", type_of(NODE_DECIMAL), SQL_NUMERIC},
        {"time", type_of(NODE_TIME), SQL_TYPE_TIMESTAMP},
        {"timeuuid", type_of(NODE_TIMEUUID), SQL_GUID},
    };
    node_columns columns;
    node_row row;
    for (const auto &c : cases) {
        columns.push_back({c.name, c.type});
        columns.push_back({std::string("behind ") + c.name, type_of(NODE_SMALLINT)});
        row.push_back(std::nullopt);
        row.push_back(be16(columns.size()));
    }
    for (const bool global_spec : {true, false}) {
        const wire_ptr wire = wire_logged_on();
        expect_query(wire->node.get(), "q",
                     {rows_frame(columns, {row, row}, {.global_spec = global_spec})});
        EXPECT_STMT(SQL_SUCCESS, wire->stmt, exec(wire->stmt, "q"));
        ASSERT_EQ(column_count(wire->stmt), static_cast<int>(columns.size()));
        for (SQLUSMALLINT column = 1; column <= columns.size(); column++) {
            const std::string &wanted = columns[column - 1u].name;
            SQLCHAR name[64] = "";
            SQLSMALLINT length = 0, type = 0, digits = 0, nullable = 0;
            SQLULEN size = 0;
            EXPECT_STMT(SQL_SUCCESS, wire->stmt,
                        SQLDescribeCol(wire->stmt, column, name, sizeof name, &length, &type, &size,
                                       &digits, &nullable));
            EXPECT_EQ(reinterpret_cast<char *>(name), wanted);
            const bool behind = column % 2 == 0;
            EXPECT_EQ(type, behind ? SQL_SMALLINT : cases[(column - 1u) / 2].sql_type) << wanted;
        }
        for (int i = 0; i < 2; i++) {
            EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLFetch(wire->stmt));
            for (int column = 1; column <= static_cast<int>(columns.size()); column++)
                EXPECT_EQ(cell_text(wire->stmt, column),
                          column % 2 == 0 ? std::to_string(column) : "NULL");
        }
    }
}

// An unknown option id leaves its record on the execution, and the fetch that reaches the column
// fails before the columns behind it.
TEST(results, unknown_type_fails_the_fetch)
{
    for (const int id : {int(NODE_DURATION), 10, 22, 0x7FFF}) {
        SCOPED_TRACE(id);
        const record_list record = {"08S01 Communication link failure: type not supported " +
                                    std::to_string(id)};
        const wire_ptr wire = wire_logged_on();
        const node_columns columns = {
            {"a", type_of(NODE_INT)}, {"b", type_of(id)}, {"c", type_of(NODE_INT)}};
        const node_row row = {be32(1), "xyz", be32(3)};
        // Twice, as a description that is already known tells the same again.
        for (int i = 0; i < 2; i++) {
            expect_query(wire->node.get(), "q", {rows_frame(columns, {row, row})});
            EXPECT_STMT(SQL_SUCCESS, wire->stmt, exec(wire->stmt, "q"));
            EXPECT_EQ(stmt_records(wire->stmt), record);
            EXPECT_EQ(column_count(wire->stmt), 3);
            EXPECT_STMT(SQL_ERROR, wire->stmt, SQLFetch(wire->stmt));
            EXPECT_EQ(stmt_records(wire->stmt), record);
        }
        expect_query(wire->node.get(), "q", {rows_frame(one_int, {{be32(9)}})});
        EXPECT_STMT(SQL_SUCCESS, wire->stmt, exec(wire->stmt, "q"));
        EXPECT_EQ(fetch_all(wire->stmt), std::vector<std::string>{"9"});
    }
}

// The description of one result is not taken for that of the next, however alike the two look.
TEST(results, each_result_has_its_own_description)
{
    const node_columns renamed = {{"m", type_of(NODE_INT)}};
    const node_columns retyped = {{"n", type_of(NODE_SMALLINT)}};
    const node_columns longer = {{"n", type_of(NODE_INT)}, {"o", type_of(NODE_INT)}};
    const node_columns other_table = {{"n", type_of(NODE_INT), "ks", "other"}};
    const struct {
        node_columns columns;
        node_row row;
        bool global_spec;
        std::string text;
    } cases[] = {
        {one_int, {be32(1)}, true, "1"},     {one_int, {be32(2)}, true, "2"},
        {renamed, {be32(3)}, true, "3"},     {retyped, {be16(4)}, true, "4"},
        {one_int, {be32(5)}, false, "5"},    {longer, {be32(6), be32(7)}, false, "6|7"},
        {other_table, {be32(8)}, true, "8"}, {one_int, {std::nullopt}, true, "NULL"},
    };
    const wire_ptr wire = wire_logged_on();
    // Closing the cursor clears the description in between.
    for (const bool closing : {false, true}) {
        for (const auto &c : cases) {
            SCOPED_TRACE(c.text);
            expect_query(wire->node.get(), "q",
                         {rows_frame(c.columns, {c.row}, {.global_spec = c.global_spec})});
            EXPECT_STMT(SQL_SUCCESS, wire->stmt, exec(wire->stmt, "q"));
            SQLCHAR name[8] = "", table[8] = "";
            SQLColAttribute(wire->stmt, 1, SQL_DESC_NAME, name, sizeof name, nullptr, nullptr);
            SQLColAttribute(wire->stmt, 1, SQL_DESC_TABLE_NAME, table, sizeof table, nullptr,
                            nullptr);
            EXPECT_EQ(reinterpret_cast<char *>(name), c.columns[0].name);
            EXPECT_EQ(reinterpret_cast<char *>(table), c.columns[0].table);
            EXPECT_EQ(fetch_all(wire->stmt), std::vector<std::string>{c.text});
            if (closing) {
                EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLCloseCursor(wire->stmt));
            }
        }
    }
}
