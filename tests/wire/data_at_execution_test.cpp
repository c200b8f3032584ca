// Values that come at execution, by what reaches the server: nothing during the pause, and then one
// request with the joined chunks.
#include "tests/wire/parameter_support.h"

static constexpr char INSERT_ONE[] = "insert into t (a) values (?)";
static constexpr char INSERT_FOUR[] = "insert into t (a, b, c, d) values (?, ?, ?, ?)";

static const node_columns one_text = {{"a", type_of(NODE_VARCHAR)}};

static std::size_t requests_sent(const wire_session *wire)
{
    return node_requests(wire->node.get()).size();
}

static void expect_prepared(const wire_session *wire, std::string_view sql)
{
    expect_prepare(wire->node.get(), sql, {prepared_frame("ID", {}, {})});
    EXPECT_STMT(SQL_SUCCESS, wire->stmt, prepare(wire->stmt, bytes(sql)));
}

static void put(SQLHSTMT stmt, const bytes &chunk)
{
    const exact_memory memory = exactly(chunk);
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLPutData(stmt, memory.at, static_cast<SQLLEN>(chunk.size())));
}

// SQLParamData asks for the next value, by this token.
static void expect_asked(SQLHSTMT stmt, const void *token)
{
    SQLPOINTER given = nullptr;
    EXPECT_STMT(SQL_NEED_DATA, stmt, SQLParamData(stmt, &given));
    EXPECT_EQ(given, token);
}

static void expect_values(const wire_session *wire, bool prepared, std::string_view sql,
                          const bytes &values, node_frame reply = void_frame())
{
    if (prepared)
        expect_bound_execute(wire->node.get(), "ID", values, {std::move(reply)});
    else
        expect_bound_query(wire->node.get(), sql, values, {std::move(reply)});
}

// Prepares the text where the run is a prepared one, and runs it up to the pause.
static void run_to_pause(const wire_session *wire, bool prepared, const bytes &sql)
{
    if (prepared)
        expect_prepared(wire, sql);
    const std::size_t sent = requests_sent(wire);
    EXPECT_STMT(SQL_NEED_DATA, wire->stmt,
                prepared ? SQLExecute(wire->stmt) : exec(wire->stmt, sql));
    EXPECT_EQ(requests_sent(wire), sent);
}

// ---- Sequences ----------------------------------------------------------------------------------

TEST(data_at_execution_requests, values_are_asked_for_in_order_and_sent_in_one_request)
{
    for (const bool prepared : {false, true}) {
        SCOPED_TRACE(prepared);
        const wire_ptr wire = wire_logged_on({.lz4 = prepared});
        const bytes large = pattern(300000);
        SQLINTEGER number = 5;
        SQLLEN at_exec = SQL_DATA_AT_EXEC, with_length = SQL_LEN_DATA_AT_EXEC(300000), plain = 0;
        int tokens[3] = {};
        bind(wire->stmt, 1, SQL_C_CHAR, SQL_VARCHAR, &tokens[0], &at_exec);
        bind(wire->stmt, 2, SQL_C_SLONG, SQL_INTEGER, &number, &plain);
        bind(wire->stmt, 3, SQL_C_BINARY, SQL_LONGVARBINARY, &tokens[1], &with_length);
        bind(wire->stmt, 4, SQL_C_CHAR, SQL_VARCHAR, &tokens[2], &at_exec);
        run_to_pause(wire.get(), prepared, INSERT_FOUR);
        expect_asked(wire->stmt, &tokens[0]);
        put(wire->stmt, "one chunk");
        expect_asked(wire->stmt, &tokens[1]);
        for (std::size_t at = 0; at < large.size(); at += 70001)
            put(wire->stmt, large.substr(at, 70001));
        number = 6;  // read when the request is built
        expect_asked(wire->stmt, &tokens[2]);
        EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLPutData(wire->stmt, nullptr, SQL_NULL_DATA));
        expect_values(wire.get(), prepared, INSERT_FOUR,
                      counted({wire_bytes("one chunk"), int_value(6), wire_bytes(large),
                               wire_bytes(std::nullopt)}));
        EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLParamData(wire->stmt, nullptr));
    }
}

// What the chunks of a single value become. A length below 0, SQL_NTS among them, makes a null.
TEST(data_at_execution_requests, chunks_make_the_value)
{
    struct chunk {
        bytes content;
        SQLLEN length;
    };
    const bytes seven = image(SQLINTEGER{7}), eight = image(SQLINTEGER{8});
    const struct {
        const char *what;
        int c_type, sql_type;
        std::vector<chunk> chunks;
        node_cell value;
    } cases[] = {
        {"none", SQL_C_CHAR, SQL_VARCHAR, {}, ""},
        {"empty ones", SQL_C_BINARY, SQL_VARBINARY, {{"", 0}, {"", 0}}, ""},
        {"text in pieces", SQL_C_CHAR, SQL_VARCHAR, {{"ab", 2}, {"", 0}, {"c", 1}}, "abc"},
        {"a null behind text", SQL_C_CHAR, SQL_VARCHAR, {{"ab", 2}, {"", SQL_NULL_DATA}}, {}},
        {"terminated text", SQL_C_CHAR, SQL_VARCHAR, {{bytes("ab\0", 3), SQL_NTS}}, {}},
        {"a unit cut in two",
         SQL_C_WCHAR,
         SQL_WVARCHAR,
         {{"\xAC", 1}, {"\x20", 1}},
         "\xE2\x82\xAC"},
        {"a number, and another one", SQL_C_SLONG, SQL_INTEGER, {{seven, 4}, {eight, 4}}, be32(7)},
        {"no number at all", SQL_C_SLONG, SQL_INTEGER, {}, {}},
        {"a null number", SQL_C_SLONG, SQL_INTEGER, {{"", SQL_NULL_DATA}}, {}},
        {"digits", SQL_C_CHAR, SQL_BIGINT, {{"-12", 3}}, be64(-12ull)},
    };
    for (const bool prepared : {false, true}) {
        for (const auto &c : cases) {
            SCOPED_TRACE(c.what);
            const wire_ptr wire = wire_logged_on();
            SQLLEN at_exec = SQL_DATA_AT_EXEC;
            bind(wire->stmt, 1, c.c_type, c.sql_type, &at_exec, &at_exec);
            run_to_pause(wire.get(), prepared, INSERT_ONE);
            expect_asked(wire->stmt, &at_exec);
            for (const chunk &part : c.chunks) {
                const exact_memory memory = exactly(part.content);
                EXPECT_STMT(SQL_SUCCESS, wire->stmt,
                            SQLPutData(wire->stmt, memory.at, part.length));
            }
            expect_values(wire.get(), prepared, INSERT_ONE, counted({wire_bytes(c.value)}));
            EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLParamData(wire->stmt, nullptr));
        }
    }
}

// The code and the records of the last SQLParamData are those of the execution.
TEST(data_at_execution_requests, failures_surface_at_the_end)
{
    const struct {
        const char *chunk;
        node_frame reply;
        SQLRETURN code;
        record_list records;
    } cases[] = {
        {"1", with_warnings(void_frame(), {"slow"}), SQL_SUCCESS_WITH_INFO, {"01000 slow"}},
        {"1",
         error_frame(0x2200, "no such table"),
         SQL_ERROR,
         {"08S01 Communication link failure: error code 8704 'no such table'"}},
        {"1",
         no_answer(),
         SQL_ERROR,
         {"08S01 Communication link failure: failed to return packet"}},
        {"one", {}, SQL_ERROR, {"22018 Invalid character value for cast specification"}},
    };
    for (const bool prepared : {false, true}) {
        for (const auto &c : cases) {
            SCOPED_TRACE(c.records[0]);
            const wire_ptr wire = wire_logged_on();
            SQLLEN at_exec = SQL_DATA_AT_EXEC;
            bind(wire->stmt, 1, SQL_C_CHAR, SQL_INTEGER, nullptr, &at_exec);
            run_to_pause(wire.get(), prepared, INSERT_ONE);
            expect_asked(wire->stmt, nullptr);
            put(wire->stmt, c.chunk);
            const bool encoded = std::strcmp(c.chunk, "1") == 0;
            if (encoded)
                expect_values(wire.get(), prepared, INSERT_ONE, counted({int_value(1)}), c.reply);
            EXPECT_STMT(c.code, wire->stmt, SQLParamData(wire->stmt, nullptr));
            EXPECT_EQ(stmt_records(wire->stmt), c.records);
            if (encoded)
                continue;
            expect_query(wire->node.get(), "q", {void_frame()});
            EXPECT_STMT(SQL_SUCCESS, wire->stmt, exec(wire->stmt, "q"));
        }
    }
}

// ---- Again --------------------------------------------------------------------------------------

// Only the first execution pauses: the next one finds the chunks of the first and sends them at
// once. A direct execution starts over, and so its values are asked for again, behind the chunks
// that are there.
TEST(data_at_execution_requests, chunks_stay_for_the_next_execution)
{
    const wire_ptr wire = wire_logged_on();
    SQLLEN at_exec = SQL_DATA_AT_EXEC;
    bind(wire->stmt, 1, SQL_C_CHAR, SQL_VARCHAR, &at_exec, &at_exec);
    run_to_pause(wire.get(), true, INSERT_ONE);
    expect_asked(wire->stmt, &at_exec);
    put(wire->stmt, "kept");
    for (int i = 0; i < 3; i++) {
        expect_bound_execute(wire->node.get(), "ID", counted({wire_bytes("kept")}), {void_frame()});
        EXPECT_STMT(SQL_SUCCESS, wire->stmt,
                    i == 0 ? SQLParamData(wire->stmt, nullptr) : SQLExecute(wire->stmt));
    }
    run_to_pause(wire.get(), false, INSERT_ONE);
    expect_asked(wire->stmt, &at_exec);
    put(wire->stmt, " and more");
    expect_bound_query(wire->node.get(), INSERT_ONE, counted({wire_bytes("kept and more")}),
                       {void_frame()});
    EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLParamData(wire->stmt, nullptr));
    // A new binding begins without them.
    bind(wire->stmt, 1, SQL_C_CHAR, SQL_VARCHAR, &at_exec, &at_exec);
    run_to_pause(wire.get(), false, INSERT_ONE);
    expect_asked(wire->stmt, &at_exec);
    put(wire->stmt, "new");
    expect_bound_query(wire->node.get(), INSERT_ONE, counted({wire_bytes("new")}), {void_frame()});
    EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLParamData(wire->stmt, nullptr));
}

// There is no pause after an execution, even for a new binding, and a new SQLPrepare does not bring
// it back: the value is sent as if no chunk had come. Applications take a new statement.
TEST(data_at_execution_requests, new_binding_of_a_later_execution_is_sent_empty)
{
    const wire_ptr wire = wire_logged_on();
    SQLLEN at_exec = SQL_DATA_AT_EXEC;
    bind(wire->stmt, 1, SQL_C_CHAR, SQL_VARCHAR, &at_exec, &at_exec);
    run_to_pause(wire.get(), true, INSERT_ONE);
    expect_asked(wire->stmt, &at_exec);
    put(wire->stmt, "first");
    expect_values(wire.get(), true, INSERT_ONE, counted({wire_bytes("first")}));
    EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLParamData(wire->stmt, nullptr));
    EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLFreeStmt(wire->stmt, SQL_RESET_PARAMS));
    bind(wire->stmt, 1, SQL_C_CHAR, SQL_VARCHAR, &at_exec, &at_exec);
    for (const bool again : {false, true}) {
        if (again)
            expect_prepared(wire.get(), INSERT_ONE);
        expect_values(wire.get(), true, INSERT_ONE, counted({wire_bytes("")}));
        EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLExecute(wire->stmt));
    }
}

// An array that has grown since the last execution is checked at the set where that one ended. If
// the pause comes there, only the sets from it on are sent.
TEST(data_at_execution_requests, pause_of_a_later_execution_sends_the_sets_from_there_on)
{
    const wire_ptr wire = wire_logged_on();
    SQLLEN indicators[] = {1, SQL_DATA_AT_EXEC, 1};
    const exact_memory texts = exactly("abc");
    bind(wire->stmt, 1, SQL_C_CHAR, SQL_VARCHAR, texts.at, indicators, 1);
    expect_prepared(wire.get(), INSERT_ONE);
    expect_bound_execute(wire->node.get(), "ID", counted({wire_bytes("a")}), {void_frame()});
    EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLExecute(wire->stmt));

    SQLSetStmtAttr(wire->stmt, SQL_ATTR_PARAMSET_SIZE, number_value(3), 0);
    EXPECT_STMT(SQL_NEED_DATA, wire->stmt, SQLExecute(wire->stmt));
    expect_asked(wire->stmt, texts.at);
    put(wire->stmt, "at execution");
    expect_bound_execute(wire->node.get(), "ID", counted({wire_bytes("at execution")}),
                         {void_frame()});
    expect_bound_execute(wire->node.get(), "ID", counted({wire_bytes("c")}), {void_frame()});
    EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLParamData(wire->stmt, nullptr));
}

// The check looks at the first set; a value at execution in it serves every set that asks for one.
TEST(data_at_execution_requests, arrays_take_the_value_in_each_set_that_asks)
{
    for (const bool prepared : {false, true}) {
        const wire_ptr wire = wire_logged_on();
        SQLLEN indicators[] = {SQL_DATA_AT_EXEC, 1, SQL_DATA_AT_EXEC};
        const exact_memory texts = exactly("abc");
        SQLULEN processed = 99;
        SQLUSMALLINT status[3] = {9, 9, 9};
        bind(wire->stmt, 1, SQL_C_CHAR, SQL_VARCHAR, texts.at, indicators, 1);
        SQLSetStmtAttr(wire->stmt, SQL_ATTR_PARAMSET_SIZE, number_value(3), 0);
        SQLSetStmtAttr(wire->stmt, SQL_ATTR_PARAMS_PROCESSED_PTR, &processed, 0);
        SQLSetStmtAttr(wire->stmt, SQL_ATTR_PARAM_STATUS_PTR, status, 0);
        run_to_pause(wire.get(), prepared, INSERT_ONE);
        EXPECT_EQ(processed, 99u);
        expect_asked(wire->stmt, texts.at);
        put(wire->stmt, "long");
        if (prepared)
            for (const char *text : {"long", "b"})
                expect_values(wire.get(), prepared, INSERT_ONE, counted({wire_bytes(text)}));
        expect_values(wire.get(), prepared, INSERT_ONE, counted({wire_bytes("long")}));
        EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLParamData(wire->stmt, nullptr));
        EXPECT_EQ(processed, 3u);
        for (const SQLUSMALLINT entry : status)
            EXPECT_EQ(entry, SQL_PARAM_SUCCESS);
    }
}

// ---- In the pause -------------------------------------------------------------------------------

// Asking for the columns of a direct execution prepares its text. The execution goes on as a direct
// one, its further pages as those of the prepared one.
TEST(data_at_execution_requests, columns_can_be_asked_for_in_the_pause)
{
    const bytes select = "select a from t where k = ?";
    const wire_ptr wire = wire_logged_on();
    SQLLEN at_exec = SQL_DATA_AT_EXEC;
    bind(wire->stmt, 1, SQL_C_CHAR, SQL_VARCHAR, &at_exec, &at_exec);
    run_to_pause(wire.get(), false, select);
    expect_prepare(wire->node.get(), select, {prepared_frame("ID", {}, one_text)});
    EXPECT_EQ(column_count(wire->stmt), 1);
    EXPECT_EQ(column_count(wire->stmt), 1);  // not prepared twice
    expect_asked(wire->stmt, &at_exec);
    put(wire->stmt, "k");
    const bytes values = counted({wire_bytes("k")});
    expect_bound_query(wire->node.get(), select, values,
                       {rows_frame(one_text, {{"x"}}, {.paging_state = "more"})});
    node_expect(wire->node.get(), {.opcode = NODE_EXECUTE,
                                   .body = wire_short_bytes("ID") + next_bound_tail(values, "more"),
                                   .replies = {rows_frame(one_text, {{"y"}})}});
    EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLParamData(wire->stmt, nullptr));
    EXPECT_EQ(fetch_all(wire->stmt), (std::vector<std::string>{"x", "y"}));
}

// This road keeps no text for further pages: the request for one has none, and the server's refusal
// stands behind the fetch that asked.
TEST(data_at_execution_requests, direct_select_has_one_page)
{
    const bytes select = "select a from t where k = ?";
    const wire_ptr wire = wire_logged_on();
    SQLLEN at_exec = SQL_DATA_AT_EXEC;
    bind(wire->stmt, 1, SQL_C_CHAR, SQL_VARCHAR, &at_exec, &at_exec);
    run_to_pause(wire.get(), false, select);
    expect_asked(wire->stmt, &at_exec);
    put(wire->stmt, "k");
    const bytes values = counted({wire_bytes("k")});
    expect_bound_query(wire->node.get(), select, values,
                       {rows_frame(one_text, {{"x"}}, {.paging_state = "more"})});
    node_expect(wire->node.get(), {.opcode = NODE_QUERY,
                                   .body = wire_long_string("") + next_bound_tail(values, "more"),
                                   .replies = {error_frame(0x2000, "no text")}});
    EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLParamData(wire->stmt, nullptr));
    EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLFetch(wire->stmt));
    EXPECT_EQ(cell_text(wire->stmt, 1), "x");
    SQLFetch(wire->stmt);
    EXPECT_EQ(stmt_records(wire->stmt),
              record_list{"08S01 Communication link failure: error code 8192 'no text'"});
    EXPECT_STMT(SQL_NO_DATA, wire->stmt, SQLFetch(wire->stmt));
}

// A pause may be left by any other statement; nothing of it is sent.
TEST(data_at_execution_requests, pause_is_left_by_the_next_statement)
{
    const wire_ptr wire = wire_logged_on();
    SQLLEN at_exec = SQL_DATA_AT_EXEC;
    for (const bool prepared : {false, true}) {
        bind(wire->stmt, 1, SQL_C_CHAR, SQL_VARCHAR, &at_exec, &at_exec);
        run_to_pause(wire.get(), false, INSERT_ONE);
        expect_asked(wire->stmt, &at_exec);
        put(wire->stmt, "lost");
        EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLFreeStmt(wire->stmt, SQL_RESET_PARAMS));
        if (prepared) {
            expect_prepared(wire.get(), "q");
            expect_execute(wire->node.get(), "ID", {void_frame()});
            EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLExecute(wire->stmt));
        } else {
            expect_query(wire->node.get(), "q", {void_frame()});
            EXPECT_STMT(SQL_SUCCESS, wire->stmt, exec(wire->stmt, "q"));
        }
        // The parameter that was being served is gone.
        EXPECT_STMT(SQL_ERROR, wire->stmt, SQLPutData(wire->stmt, &at_exec, 1));
        EXPECT_EQ(stmt_records(wire->stmt), record_list{"HY010 Function sequence error"});
    }
}

TEST(data_at_execution_requests, calls_without_a_pause_send_nothing)
{
    const wire_ptr wire = wire_logged_on();
    const std::size_t sent = requests_sent(wire.get());
    EXPECT_STMT(SQL_ERROR, wire->stmt, SQLPutData(wire->stmt, nullptr, 0));
    EXPECT_EQ(stmt_records(wire->stmt), record_list{"HY010 Function sequence error"});
    EXPECT_EQ(requests_sent(wire.get()), sent);
}
