// Sets of parameters, by both conducts, and data at execution as a connection with Standard=Yes has
// it.
#include <sstream>
#include <tuple>

#include "tests/wire/parameter_support.h"

static void expect_prepared(const wire_ptr &wire, std::string_view sql, int second)
{
    node_columns markers = {{"a", type_of(NODE_INT)}, {"b", type_of(second)}};
    if (sql == INSERT_ONE)
        markers.erase(markers.begin());
    expect_prepare(wire->node, sql, {prepared_frame("ID", markers, {})});
}

// The records, each by its state and, where it has one, its set and its parameter: "22018 2 2".
static std::string places(SQLHSTMT stmt)
{
    std::ostringstream all;
    SQLCHAR state[6] = "";
    for (SQLSMALLINT number = 1; SQLGetDiagRec(SQL_HANDLE_STMT, stmt, number, state, nullptr,
                                               nullptr, 0, nullptr) != SQL_NO_DATA;
         number++) {
        SQLLEN row = -9;
        SQLINTEGER column = -9;
        SQLGetDiagField(SQL_HANDLE_STMT, stmt, number, SQL_DIAG_ROW_NUMBER, &row, 0, nullptr);
        SQLGetDiagField(SQL_HANDLE_STMT, stmt, number, SQL_DIAG_COLUMN_NUMBER, &column, 0, nullptr);
        all << (number > 1 ? ", " : "") << state;
        if (row > 0)
            all << ' ' << row << ' ' << column;
    }
    return all.str();
}

// The text of a set is 'x' where it does not convert, '-' where the operation array leaves it out,
// 'd' where it is a default parameter. The statement goes on, and counts no set
// twice.
TEST(parameter_sets, what_becomes_of_each)
{
    enum { DIRECT, PREPARED, STANDARD };
    constexpr SQLRETURN good = SQL_SUCCESS, info = SQL_SUCCESS_WITH_INFO, bad = SQL_ERROR;
    const node_frame done = void_frame(), slow = with_warnings(done, {"slow"});
    const node_frame no = error_frame(0x2200, "no"), gone = no_answer(RESET);
    const struct {
        int way;
        bytes texts, sent;  // the sets, and those that reach the server
        std::vector<node_frame> replies;
        SQLRETURN code;
        std::string status;  // '.': untouched
        SQLULEN processed;
        std::string records;
    } cases[] = {
        // By default a set that does not convert ends the array. A direct execution builds all of
        // them and sends the last one alone.
        {PREPARED, "123", "123", {slow, no, no}, info, "655", 3, "08S01, 08S01, 01000"},
        {PREPARED, "123", "123", {no, no, no}, bad, "555", 3, "08S01, 08S01, 08S01"},
        {PREPARED, "123", "12", {done, gone}, info, "055", 3, "08S01, 08S01"},
        {PREPARED, "1x3", "1", {done}, bad, "05.", 2, "22018"},
        {PREPARED, "-2-4", "24", {done, done}, good, ".0.0", 4, ""},
        {PREPARED, "---", "", {}, good, "...", 3, ""},
        {DIRECT, "1x3", "", {}, bad, "05.", 2, "22018"},
        {DIRECT, "-2-4", "4", {done}, good, ".0.0", 4, ""},
        {DIRECT, "---", "", {}, bad, "...", 3, "HY000"},
        // Each set by itself, told with its number.
        {STANDARD, "1x3", "13", {done, done}, bad, "050", 3, "22018 2 2"},
        {STANDARD, "d2x4", "24", {done, no}, bad, "5055", 4, "42000 4 -1, 22018 3 2, 07S01 1 2"},
        {STANDARD, "-2-", "2", {slow}, info, "767", 3, "01000 2 -1"},
        {STANDARD, "---", "", {}, good, "777", 3, ""},
        {STANDARD, "12-4", "12", {done, gone}, bad, "0575", 4, "08S01 2 -1"},
    };
    for (const auto &c : cases)
        for (const bool prepared : {false, true}) {
            if (c.way == (prepared ? DIRECT : PREPARED))
                continue;
            SCOPED_TRACE(&c - cases);
            const wire_ptr wire = wire_of(c.way == STANDARD, "Reconnect=No");
            if (c.way != DIRECT)
                expect_prepared(wire, INSERT_TWO, NODE_INT);
            if (prepared) {
                EXPECT_STMT(SQL_SUCCESS, wire->stmt, prepare(wire->stmt, INSERT_TWO));
            }
            const auto sets = bind_sets(wire->stmt, c.texts, SQL_INTEGER);
            std::vector<SQLUSMALLINT> operation;
            std::string status;
            for (std::size_t i = 0; i < c.texts.size(); i++) {
                operation.push_back(c.texts[i] == '-' ? SQL_PARAM_IGNORE : SQL_PARAM_PROCEED);
                if (c.texts[i] == 'd')
                    sets->lengths[i] = SQL_DEFAULT_PARAM;
                const std::size_t reply = c.sent.find(c.texts[i]);
                if (reply != bytes::npos)
                    expect_values(
                        wire, c.way != DIRECT, INSERT_TWO,
                        counted({int_value(sets->numbers[i]), int_value(c.texts[i] - '0')}),
                        c.replies[reply]);
            }
            set_attribute(wire->stmt, SQL_ATTR_PARAM_OPERATION_PTR, operation.data());
            EXPECT_STMT(c.code, wire->stmt, execute(wire, prepared, INSERT_TWO));
            EXPECT_EQ(places(wire->stmt), c.records);
            for (const SQLUSMALLINT one : sets->status)
                status += one == untouched ? '.' : static_cast<char>('0' + one);
            EXPECT_EQ(status, c.status);
            EXPECT_EQ(sets->processed, c.processed);
            if (!c.replies.empty() && c.replies.back().ending == RESET)
                continue;
            const auto next = bind_sets(wire->stmt, "1", SQL_INTEGER);
            operation[0] = SQL_PARAM_PROCEED;
            expect_values(wire, c.way != DIRECT, INSERT_TWO,
                          counted({int_value(next->numbers[0]), int_value(1)}));
            EXPECT_STMT(SQL_SUCCESS, wire->stmt, execute(wire, prepared, INSERT_TWO));
        }
}

// Every set has data of its own, and a set without data at execution runs in between.
TEST(parameter_sets, data_at_execution_of_each_set)
{
    const wire_ptr wire = wire_of(true, "Reconnect=No");
    const auto sets = bind_sets(wire->stmt, "abcd");
    std::vector<SQLUSMALLINT> operation = {SQL_PARAM_PROCEED, 0, 0, SQL_PARAM_IGNORE};
    SQLSetStmtAttr(wire->stmt, SQL_ATTR_PARAM_OPERATION_PTR, operation.data(), 0);
    for (const std::size_t i : {0, 2, 3})
        sets->lengths[i] = SQL_LEN_DATA_AT_EXEC(5);
    expect_prepared(wire, INSERT_TWO, NODE_VARCHAR);
    EXPECT_STMT(SQL_NEED_DATA, wire->stmt, exec(wire->stmt, INSERT_TWO));
    for (const bytes &run : {bytes("again"), bytes("last")}) {
        void *token = nullptr;
        EXPECT_STMT(SQL_NEED_DATA, wire->stmt, SQLParamData(wire->stmt, &token));
        EXPECT_EQ(token, sets->texts.data());
        EXPECT_EQ(sets->processed, 1u);
        EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLPutData(wire->stmt, odbc_text(run), SQL_NTS));
        const auto values = [&](std::size_t set, const bytes &text) {
            return counted({int_value(sets->numbers[set]), wire_bytes(text)});
        };
        expect_values(wire, true, INSERT_TWO, values(0, run));
        expect_values(wire, true, INSERT_TWO, sets->values[1]);
        EXPECT_STMT(SQL_NEED_DATA, wire->stmt, SQLParamData(wire->stmt, &token));
        EXPECT_EQ(sets->processed, 3u);
        EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLPutData(wire->stmt, odbc_text("third"), 5));
        expect_values(wire, true, INSERT_TWO, values(2, "third"));
        EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLParamData(wire->stmt, &token));
        EXPECT_EQ(sets->status, (std::vector<SQLUSMALLINT>{0, 0, 0, SQL_PARAM_UNUSED}));
        EXPECT_STMT(SQL_ERROR, wire->stmt, SQLParamData(wire->stmt, &token));
        EXPECT_EQ(states_of(wire->stmt), "HY010");
        if (run == "again") {
            EXPECT_STMT(SQL_NEED_DATA, wire->stmt, SQLExecute(wire->stmt));
        }
    }
}

TEST(parameter_sets, pieces_and_a_pause_that_is_cancelled)
{
    static const char16_t halves[] = u"x\xD83D\xDE00";
    static const SQLINTEGER number = 0x3432;
    const auto *const half = reinterpret_cast<const char *>(halves);
    // Pieces, and what is sent; or where the last of them fails.
    const std::tuple<SQLSMALLINT, std::vector<std::pair<const void *, SQLLEN>>, std::string>
        cases[] = {{SQL_C_CHAR, {{"ab", SQL_NTS}, {"cde", 2}}, "abcd"},
                   {SQL_C_WCHAR, {{halves, 4}, {halves + 2, SQL_NTS}}, "x\xF0\x9F\x98\x80"},
                   {SQL_C_WCHAR, {{half, 3}, {half + 3, 3}}, "x\xF0\x9F\x98\x80"},
                   {SQL_C_SLONG, {{&number, 0}}, "13362"},
                   {SQL_C_CHAR, {{nullptr, SQL_NULL_DATA}}, "NULL"},
                   {SQL_C_CHAR, {{"a", 1}, {nullptr, SQL_NULL_DATA}}, "HY020"},
                   {SQL_C_CHAR, {{nullptr, SQL_NULL_DATA}, {"a", 1}}, "HY020"},
                   {SQL_C_SLONG, {{&number, 4}, {&number, 4}}, "HY019"},
                   {SQL_C_CHAR, {{"a", -7}}, "HY090"},
                   {SQL_C_BINARY, {{"a", SQL_NTS}}, "HY090"}};
    const wire_ptr wire = wire_of(true);
    SQLLEN at_exec = SQL_DATA_AT_EXEC;
    expect_prepared(wire, INSERT_ONE, NODE_VARCHAR);
    EXPECT_STMT(SQL_SUCCESS, wire->stmt, prepare(wire->stmt, INSERT_ONE));
    for (const auto &[c_type, pieces, wanted] : cases) {
        SCOPED_TRACE(wanted);
        const bool fails = wanted.starts_with("HY");
        bind(wire->stmt, 1, c_type, SQL_VARCHAR, &at_exec, &at_exec);
        EXPECT_STMT(SQL_NEED_DATA, wire->stmt, SQLExecute(wire->stmt));
        EXPECT_STMT(SQL_NEED_DATA, wire->stmt, SQLParamData(wire->stmt, nullptr));
        SQLRETURN code = SQL_SUCCESS;
        for (const auto &[data, length] : pieces)
            code = SQLPutData(wire->stmt, const_cast<void *>(data), length);
        EXPECT_STMT(fails ? SQL_ERROR : SQL_SUCCESS, wire->stmt, code);
        EXPECT_EQ(states_of(wire->stmt), fails ? wanted : "");
        if (fails) {
            // The next case executes again.
            EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLCancel(wire->stmt));
            EXPECT_STMT(SQL_ERROR, wire->stmt, SQLPutData(wire->stmt, odbc_text("a"), 1));
        } else {
            expect_values(wire, true, INSERT_ONE,
                          counted({wire_bytes(wanted == "NULL" ? node_cell() : wanted)}));
        }
        EXPECT_STMT(fails ? SQL_ERROR : SQL_SUCCESS, wire->stmt, SQLParamData(wire->stmt, nullptr));
    }
    EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLCancel(wire->stmt));
}
