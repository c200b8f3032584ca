// Parameters by what reaches the server: values in QUERY and EXECUTE frames, their repetition for
// further pages, arrays of parameter sets, and failures that must send nothing.
#include "tests/wire/parameter_support.h"

// The markers that the driver counts decide, not the bindings and not the server's columns.
TEST(parameters, values_go_into_the_frame_in_order)
{
    // clang-format off
    const struct { app_value from; SQLSMALLINT sql_type; bytes value; } cases[] = {
        {-4, SQL_INTEGER, be32(0xFFFFFFFC)}, {"caf\xC3\xA9", SQL_VARCHAR, "caf\xC3\xA9"},
        {u"\u00E9x", SQL_WVARCHAR, "\xC3\xA9x"}, {"", SQL_VARCHAR, ""},
        {{SQL_C_BINARY, {"\0\xFF\0", 3}}, SQL_VARBINARY, {"\0\xFF\0", 3}}, {7, SQL_INTEGER, ""}};
    // clang-format on
    const bytes sql = "insert into t values (?, ?, ?, '?', ?, ?)";
    for (const bool lz4 : {false, true}) {
        const wire_ptr wire = wire_logged_on({.lz4 = lz4});
        std::vector<exact_block> memory;
        std::vector<bytes> values;
        SQLLEN lengths[6];
        for (std::size_t i = 0; const auto &c : cases) {
            memory.emplace_back(c.from.memory);
            lengths[i] = static_cast<SQLLEN>(c.from.memory.size());
            values.push_back(wire_bytes(c.value));
            bind(wire->stmt, static_cast<SQLUSMALLINT>(i + 1), c.from.c_type, c.sql_type,
                 memory.back().at, &lengths[i]);
            i++;
        }
        values.pop_back();
        expect_values(wire.get(), false, sql, counted(values));
        EXPECT_STMT(SQL_SUCCESS, wire->stmt, exec(wire->stmt, sql));
        prepare_now(wire.get(), sql);
        SQLSMALLINT markers = 0;
        EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLNumParams(wire->stmt, &markers));
        EXPECT_EQ(markers, 5);
        for (int i = 0; i < 2; i++) {
            expect_values(wire.get(), true, sql, counted(values));
            EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLExecute(wire->stmt));
        }
        expect_query(wire->node.get(), "select a from t", {text_page("x")});
        EXPECT_STMT(SQL_SUCCESS, wire->stmt, exec(wire->stmt, "select a from t"));
    }
}

// ---- Arrays -------------------------------------------------------------------------------------

// Rows are those of the last set. Further pages carry its values, whatever became of the buffers
// meanwhile.
TEST(parameter_arrays, further_pages_repeat_the_values_of_the_last_set)
{
    for (const bool prepared : {false, true}) {
        const wire_ptr wire = wire_logged_on({.lz4 = prepared});
        const auto sets = bind_sets(wire->stmt, "ab");
        if (prepared) {
            prepare_now(wire.get(), SELECT_TWO);
            expect_values(wire.get(), true, SELECT_TWO, sets->values[0], text_page("0", "p0"));
        }
        const bytes &last = sets->values[1];
        expect_values(wire.get(), prepared, SELECT_TWO, last, text_page("1", "p1"));
        expect_values(wire.get(), prepared, SELECT_TWO, last, text_page("2", "p2"), "p1");
        expect_values(wire.get(), prepared, SELECT_TWO, last, text_page("3"), "p2");
        EXPECT_STMT(SQL_SUCCESS, wire->stmt, execute(wire.get(), prepared, SELECT_TWO));
        EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLFetch(wire->stmt));
        EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLFreeStmt(wire->stmt, SQL_RESET_PARAMS));
        sets->numbers = {};
        sets->lengths = {};
        EXPECT_EQ(fetch_all(wire->stmt), (std::vector<std::string>{"2", "3"}));

        // A statement without markers in its place sends none of the old values.
        expect_query(wire->node.get(), "q", {text_page("1", "p")});
        expect_next_query(wire->node.get(), "q", "p", {text_page("2")});
        EXPECT_STMT(SQL_SUCCESS, wire->stmt, exec(wire->stmt, "q"));
        EXPECT_EQ(fetch_all(wire->stmt), (std::vector<std::string>{"1", "2"}));
    }
}

TEST(parameter_arrays, refused_sets_do_not_stop_the_others)
{
    const node_frame good = void_frame(), warned = with_warnings(void_frame(), {"slow"});
    const auto refused = [](const char *text) { return error_frame(0x2200, text); };
    const bytes link = "08S01 Communication link failure: ", failure = link + "error code 8704 ";
    // Each case is a second execution, which does not count the first one's sets again.
    const std::vector<node_frame> earlier(3, refused("earlier"));
    // clang-format off
    const struct { std::vector<node_frame> replies; SQLRETURN code;
                   std::vector<SQLUSMALLINT> status; record_list records; } cases[] = {
        {{good, good, good}, SQL_SUCCESS, {0, 0, 0}, {}},
        {{good, refused("b"), good}, SQL_SUCCESS_WITH_INFO, {0, 5, 0}, {failure + "'b'"}},
        {{good, warned, good}, SQL_SUCCESS_WITH_INFO, {0, 6, 0}, {"01000 slow"}},
        {{warned, refused("b"), refused("c")}, SQL_SUCCESS_WITH_INFO, {6, 5, 5},
            {failure + "'b'", failure + "'c'", "01000 slow"}},
        {{refused("a"), refused("b"), refused("c")}, SQL_ERROR, {5, 5, 5},
            {failure + "'a'", failure + "'b'", failure + "'c'"}},
        // A server that goes in the middle fails each set that is left, once.
        {{good, no_answer(RESET)}, SQL_SUCCESS_WITH_INFO, {0, 5, 5},
            {link + "failed to return packet", link + "failed to send packet"}},
    };
    // clang-format on
    for (const auto &c : cases) {
        SCOPED_TRACE(&c - cases);
        const wire_ptr wire = wire_logged_on();
        const auto sets = bind_sets(wire->stmt, "abc");
        prepare_now(wire.get(), INSERT_TWO);
        SQLRETURN code = SQL_SUCCESS;
        for (const std::vector<node_frame> &replies : {earlier, c.replies}) {
            for (std::size_t i = 0; i < replies.size(); i++)
                expect_values(wire.get(), true, INSERT_TWO, sets->values[i], replies[i]);
            code = SQLExecute(wire->stmt);
        }
        EXPECT_STMT(c.code, wire->stmt, code);
        EXPECT_EQ(stmt_records(wire->stmt), c.records);
        EXPECT_EQ(sets->processed, 3u);
        EXPECT_EQ(sets->status, c.status);
    }
}

// The operation array: 0 and what has no meaning run, 1 and the row operations 2, 3 and 5 do not.
// A direct execution builds the others and sends the last one alone, and calls all of them good.
TEST(parameter_arrays, operation_array_leaves_sets_out)
{
    std::vector<SQLUSMALLINT> operation = {1, 0, 2, 3, 4, 5, SQL_PARAM_PROCEED};
    const std::vector<SQLUSMALLINT> status = {untouched, 0, untouched, untouched, 0, untouched, 0};
    for (const bool prepared : {false, true}) {
        const wire_ptr wire = wire_logged_on();
        const auto sets = bind_sets(wire->stmt, "1234567");
        SQLSetStmtAttr(wire->stmt, SQL_ATTR_PARAM_OPERATION_PTR, operation.data(), 0);
        if (prepared) {
            prepare_now(wire.get(), INSERT_TWO);
            expect_values(wire.get(), true, INSERT_TWO, sets->values[1]);
            expect_values(wire.get(), true, INSERT_TWO, sets->values[4]);
        }
        expect_values(wire.get(), prepared, INSERT_TWO, sets->values[6]);
        EXPECT_STMT(SQL_SUCCESS, wire->stmt, execute(wire.get(), prepared, INSERT_TWO));
        EXPECT_EQ(sets->processed, 7u);
        EXPECT_EQ(sets->status, status);

        // With all sets left out a prepared execution has nothing to do, and a direct one fails.
        std::vector<SQLUSMALLINT> none(7, SQL_PARAM_IGNORE);
        SQLSetStmtAttr(wire->stmt, SQL_ATTR_PARAM_OPERATION_PTR, none.data(), 0);
        EXPECT_STMT(prepared ? SQL_SUCCESS : SQL_ERROR, wire->stmt,
                    execute(wire.get(), prepared, INSERT_TWO));
        EXPECT_EQ(stmt_records(wire->stmt),
                  prepared ? record_list() : record_list{"HY000 General error"});
    }
}

// ---- Failures -----------------------------------------------------------------------------------

// What fails before a frame is whole leaves no byte of it on the wire, and the statement goes on.
// Sets before one that cannot be encoded have run; those behind it are not tried.
TEST(parameter_failures, nothing_is_sent_and_the_statement_goes_on)
{
    // `length` is that of the second text, which is no number.
    // clang-format off
    const struct { bool bound; SQLLEN length; const char *record;
                   std::vector<SQLUSMALLINT> status; } cases[] = {
        {false, 1, "07002 COUNT field incorrect", {untouched, untouched, untouched}},
        {true, 1, "22018 Invalid character value for cast specification", {0, 5, untouched}},
        {true, -50, "HY090 Invalid string or buffer length", {0, 5, untouched}},
    };
    // clang-format on
    for (const bool prepared : {false, true}) {
        for (const auto &c : cases) {
            SCOPED_TRACE(c.record);
            const wire_ptr wire = wire_logged_on();
            const auto sets = bind_sets(wire->stmt, "1x3", SQL_INTEGER);
            sets->lengths[1] = c.length;
            if (!c.bound)
                SQLFreeStmt(wire->stmt, SQL_RESET_PARAMS);
            if (prepared)
                prepare_now(wire.get(), INSERT_TWO);
            if (prepared && c.bound)
                expect_values(wire.get(), true, INSERT_TWO,
                              counted({int_value(sets->numbers[0]), int_value(1)}));
            EXPECT_STMT(SQL_ERROR, wire->stmt, execute(wire.get(), prepared, INSERT_TWO));
            EXPECT_EQ(stmt_records(wire->stmt), record_list{c.record});
            EXPECT_EQ(sets->processed, c.bound ? 2 : unknown_count);
            EXPECT_EQ(sets->status, c.status);

            const auto good = bind_sets(wire->stmt, "x");
            expect_values(wire.get(), prepared, INSERT_TWO, good->values[0]);
            EXPECT_STMT(SQL_SUCCESS, wire->stmt, execute(wire.get(), prepared, INSERT_TWO));
        }
    }
}
