// Parameters by what reaches the server: values in QUERY and EXECUTE frames, their repetition for
// further pages, arrays of parameter sets, and failures that must send nothing.
#include <tuple>

#include "tests/wire/parameter_support.h"

static constexpr char SELECT_TWO[] = "select a from t where k = ? and n > ? -- why?";

// Rows are those of the last set. Further pages carry its values, whatever became of the buffers
// meanwhile. Empty pages may stand anywhere, later ones may leave out the columns, and only a
// missing state ends the result.
TEST(parameter_arrays, further_pages_repeat_the_values_of_the_last_set)
{
    const std::pair<std::vector<bytes>, bytes> pages[] = {
        {{}, from_hex("00 01")}, {{"1", "2"}, pattern(300)}, {{}, "p"}, {{"3"}, "4"}, {{}, ""}};
    for (const bool prepared : {false, true}) {
        const wire_ptr wire = wire_logged_on({.lz4 = prepared});
        const auto sets = bind_sets(wire->stmt, "ab");
        if (prepared) {
            prepare_now(wire, SELECT_TWO);
            expect_values(wire, true, SELECT_TWO, sets->values[0], text_page({"0"}, "p0"));
        }
        bytes state;
        for (const auto &[texts, next] : pages) {
            expect_values(wire, prepared, SELECT_TWO, sets->values[1],
                          text_page(texts, next, prepared && !state.empty()), state);
            state = next;
        }
        EXPECT_STMT(SQL_SUCCESS, wire->stmt, execute(wire, prepared, SELECT_TWO));
        EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLFreeStmt(wire->stmt, SQL_RESET_PARAMS));
        sets->numbers = {};
        sets->lengths = {};
        EXPECT_EQ(fetch_all(wire->stmt), (row_list{"1", "2", "3"}));

        // A statement without markers in its place sends none of the old values, and no request
        // once it is closed. The prepared one is forgotten without a word to the server.
        run_query(wire, "q", text_page({"1"}, "p"));
        EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLFetch(wire->stmt));
        expect_next_query(wire->node, "q", "p", {text_page({"2"}, "p2")});
        EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLFetch(wire->stmt));
        EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLCloseCursor(wire->stmt));
        EXPECT_STMT(SQL_NO_DATA, wire->stmt, SQLFetch(wire->stmt));
        EXPECT_STMT(SQL_ERROR, wire->stmt, SQLExecute(wire->stmt));
        EXPECT_EQ(stmt_records(wire->stmt), record_list{general_error + "no prepared statement"});
    }
}

// ---- Values at execution ------------------------------------------------------------------------

static constexpr char INSERT_FOUR[] = "insert into t (a, b, c, d) values (?, ?, ?, ?)";

static void put(SQLHSTMT stmt, const bytes &chunk)
{
    const exact_block memory(chunk);
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLPutData(stmt, memory.at, static_cast<SQLLEN>(chunk.size())));
}

// SQLParamData asks for the next value, by this token, which need not be aligned.
static void expect_asked(SQLHSTMT stmt, const void *token)
{
    const exact_block given(bytes(sizeof token, '\0'));
    EXPECT_STMT(SQL_NEED_DATA, stmt,
                SQLParamData(stmt, static_cast<SQLPOINTER *>(static_cast<void *>(given.at))));
    EXPECT_EQ(bytes(given.at, sizeof token), image(token));
}

TEST(data_at_execution_requests, values_are_asked_for_in_order_and_sent_in_one_request)
{
    const wire_ptr wire = wire_logged_on({.lz4 = true});
    const bytes large = pattern(300000);
    SQLINTEGER number = 5;
    SQLLEN at_exec = SQL_DATA_AT_EXEC, with_length = SQL_LEN_DATA_AT_EXEC(300000), plain = 0;
    int tokens[2] = {};
    bind(wire->stmt, 1, SQL_C_CHAR, SQL_VARCHAR, &tokens[0], &at_exec);
    bind(wire->stmt, 2, SQL_C_SLONG, SQL_INTEGER, &number, &plain);
    bind(wire->stmt, 3, SQL_C_BINARY, SQL_LONGVARBINARY, &tokens[1], &with_length);
    bind(wire->stmt, 4, SQL_C_CHAR, SQL_VARCHAR, nullptr, &at_exec);
    prepare_now(wire, INSERT_FOUR);
    EXPECT_STMT(SQL_NEED_DATA, wire->stmt, SQLExecute(wire->stmt));
    expect_asked(wire->stmt, &tokens[0]);
    put(wire->stmt, "one chunk");
    expect_asked(wire->stmt, &tokens[1]);
    for (std::size_t at = 0; at < large.size(); at += 70001)
        put(wire->stmt, large.substr(at, 70001));
    number = 6;  // read when the request is built
    expect_asked(wire->stmt, nullptr);
    EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLPutData(wire->stmt, nullptr, SQL_NULL_DATA));
    // The code and the records of the last call are those of the execution.
    expect_values(
        wire, true, INSERT_FOUR,
        counted({wire_bytes("one chunk"), int_value(6), wire_bytes(large), wire_bytes({})}),
        error_frame(0x2200, "no"));
    EXPECT_STMT(SQL_ERROR, wire->stmt, SQLParamData(wire->stmt, nullptr));
    EXPECT_EQ(states_of(wire->stmt), "08S01");
}

// Only the first execution pauses: the next one finds the chunks of the first and sends them at
// once, or an empty value for a new binding, and a new SQLPrepare does not bring the pause back:
// applications take a new statement. A direct execution starts over, and so its values are asked
// for again, behind the chunks that are there.
TEST(data_at_execution_requests, chunks_stay_for_the_next_execution)
{
    const wire_ptr wire = wire_logged_on();
    SQLLEN at_exec = SQL_DATA_AT_EXEC;
    const struct {
        bool bound, prepared;
        const char *chunk;  // null: no pause
        const char *sent;
    } runs[] = {{true, true, "kept", "kept"},
                {false, true, nullptr, "kept"},
                {false, false, " and more", "kept and more"},
                {true, false, "new", "new"},
                {true, true, nullptr, ""}};
    for (const auto &run : runs) {
        if (run.bound)
            bind(wire->stmt, 1, SQL_C_CHAR, SQL_VARCHAR, &at_exec, &at_exec);
        if (run.bound && run.prepared)
            prepare_now(wire, INSERT_ONE);
        if (run.chunk != nullptr) {
            EXPECT_STMT(SQL_NEED_DATA, wire->stmt, execute(wire, run.prepared, INSERT_ONE));
            expect_asked(wire->stmt, &at_exec);
            put(wire->stmt, run.chunk);
        }
        expect_values(wire, run.prepared, INSERT_ONE, counted({wire_bytes(run.sent)}));
        EXPECT_STMT(SQL_SUCCESS, wire->stmt,
                    run.chunk != nullptr ? SQLParamData(wire->stmt, nullptr)
                                         : SQLExecute(wire->stmt));
    }
}
