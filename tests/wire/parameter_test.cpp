// Parameters by what reaches the server: values in QUERY and EXECUTE frames, their repetition for
// further pages, arrays of parameter sets, and failures that must send nothing.
#include <tuple>

#include "tests/wire/parameter_support.h"

static constexpr char SELECT_TWO[] = "select a from t where k = ? and n > ? -- why?";

// Rows are those of the last set. Further pages carry its values, whatever became of the buffers
// meanwhile.
TEST(parameter_arrays, further_pages_repeat_the_values_of_the_last_set)
{
    for (const bool prepared : {false, true}) {
        const wire_ptr wire = wire_logged_on({.lz4 = prepared});
        const auto sets = bind_sets(wire->stmt, "ab");
        if (prepared) {
            prepare_now(wire.get(), SELECT_TWO);
            SQLSMALLINT markers = 0;
            EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLNumParams(wire->stmt, &markers));
            EXPECT_EQ(markers, 2);
            expect_values(wire.get(), true, SELECT_TWO, sets->values[0], text_page({"0"}, "p0"));
        }
        const bytes &last = sets->values[1];
        expect_values(wire.get(), prepared, SELECT_TWO, last, text_page({"1"}, "p1"));
        expect_values(wire.get(), prepared, SELECT_TWO, last, text_page({"2"}, "p2"), "p1");
        expect_values(wire.get(), prepared, SELECT_TWO, last, text_page({"3"}), "p2");
        EXPECT_STMT(SQL_SUCCESS, wire->stmt, execute(wire.get(), prepared, SELECT_TWO));
        EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLFetch(wire->stmt));
        EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLFreeStmt(wire->stmt, SQL_RESET_PARAMS));
        sets->numbers = {};
        sets->lengths = {};
        EXPECT_EQ(fetch_all(wire->stmt), (std::vector<std::string>{"2", "3"}));

        // A statement without markers in its place sends none of the old values.
        expect_query(wire->node.get(), "q", {text_page({"1"}, "p")});
        expect_next_query(wire->node.get(), "q", "p", {text_page({"2"})});
        EXPECT_STMT(SQL_SUCCESS, wire->stmt, exec(wire->stmt, "q"));
        EXPECT_EQ(fetch_all(wire->stmt), (std::vector<std::string>{"1", "2"}));
    }
}

TEST(parameter_arrays, refused_sets_do_not_stop_the_others)
{
    const node_frame good = void_frame(), warned = with_warnings(void_frame(), {"slow"});
    const auto refused = [](const char *text) { return error_frame(0x2200, text); };
    const bytes failure = link_failure + "error code 8704 ";
    // Each case is a second execution, which does not count the first one's sets again.
    const std::vector<node_frame> earlier(3, refused("earlier"));
    // clang-format off
    const std::tuple<std::vector<node_frame>, SQLRETURN, std::vector<SQLUSMALLINT>, record_list>
        cases[] = {
        {{good, good, good}, SQL_SUCCESS, {0, 0, 0}, {}},
        {{good, refused("b"), good}, SQL_SUCCESS_WITH_INFO, {0, 5, 0}, {failure + "'b'"}},
        {{good, warned, good}, SQL_SUCCESS_WITH_INFO, {0, 6, 0}, {"01000 slow"}},
        {{warned, refused("b"), refused("c")}, SQL_SUCCESS_WITH_INFO, {6, 5, 5},
            {failure + "'b'", failure + "'c'", "01000 slow"}},
        {{refused("a"), refused("b"), refused("c")}, SQL_ERROR, {5, 5, 5},
            {failure + "'a'", failure + "'b'", failure + "'c'"}},
        // A server that goes in the middle fails each set that is left, once.
        {{good, no_answer(RESET)}, SQL_SUCCESS_WITH_INFO, {0, 5, 5},
            {link_failure + "failed to return packet", link_failure + "failed to send packet"}}};
    // clang-format on
    for (const auto &[replies, wanted, status, found] : cases) {
        SCOPED_TRACE(testing::PrintToString(found));
        const wire_ptr wire = wire_logged_on();
        const auto sets = bind_sets(wire->stmt, "abc");
        prepare_now(wire.get(), INSERT_TWO);
        SQLRETURN code = SQL_SUCCESS;
        for (const std::vector<node_frame> &run : {earlier, replies}) {
            for (std::size_t i = 0; i < run.size(); i++)
                expect_values(wire.get(), true, INSERT_TWO, sets->values[i], run[i]);
            code = SQLExecute(wire->stmt);
        }
        EXPECT_STMT(wanted, wire->stmt, code);
        EXPECT_EQ(stmt_records(wire->stmt), found);
        EXPECT_EQ(sets->processed, 3u);
        EXPECT_EQ(sets->status, status);
    }
}

// 0 and what has no meaning run, 1 and the row operations 2, 3 and 5 do not. A direct execution
// builds the others and sends the last one alone, and calls all of them good.
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

// What fails before a frame is whole leaves no byte of it on the wire, and the statement goes on.
// Sets before one that cannot be encoded have run; those behind it are not tried.
TEST(parameter_failures, nothing_is_sent_and_the_statement_goes_on)
{
    // `length` is that of the second text, which is no number.
    // clang-format off
    const std::tuple<bool, SQLLEN, bytes, std::vector<SQLUSMALLINT>> cases[] = {
        {false, 1, "07002 COUNT field incorrect", {untouched, untouched, untouched}},
        {true, 1, "22018 Invalid character value for cast specification", {0, 5, untouched}},
        {true, -50, "HY090 Invalid string or buffer length", {0, 5, untouched}}};
    // clang-format on
    for (const bool prepared : {false, true}) {
        for (const auto &[bound, length, record, status] : cases) {
            SCOPED_TRACE(record);
            const wire_ptr wire = wire_logged_on();
            const auto sets = bind_sets(wire->stmt, "1x3", SQL_INTEGER);
            sets->lengths[1] = length;
            if (!bound)
                SQLFreeStmt(wire->stmt, SQL_RESET_PARAMS);
            if (prepared)
                prepare_now(wire.get(), INSERT_TWO);
            if (prepared && bound)
                expect_values(wire.get(), true, INSERT_TWO,
                              counted({int_value(sets->numbers[0]), int_value(1)}));
            EXPECT_STMT(SQL_ERROR, wire->stmt, execute(wire.get(), prepared, INSERT_TWO));
            EXPECT_EQ(stmt_records(wire->stmt), record_list{record});
            EXPECT_EQ(sets->processed, bound ? 2 : unknown_count);
            EXPECT_EQ(sets->status, status);

            const auto good = bind_sets(wire->stmt, "x");
            expect_values(wire.get(), prepared, INSERT_TWO, good->values[0]);
            EXPECT_STMT(SQL_SUCCESS, wire->stmt, execute(wire.get(), prepared, INSERT_TWO));
        }
    }
}
