// Sets of parameters and data at execution, as a connection with Standard=Yes has them: each set by
// itself, and what becomes of it told with its number.
#include <tuple>

#include "tests/wire/parameter_support.h"

static void expect_prepared(const wire_ptr &wire, std::string_view sql, int second)
{
    node_columns markers = {{"a", type_of(NODE_INT)}, {"b", type_of(second)}};
    if (sql == INSERT_ONE)
        markers.erase(markers.begin());
    expect_prepare(wire->node, sql, {prepared_frame("ID", markers, {})});
}

// "state row column" of each record.
static record_list places(SQLHSTMT stmt)
{
    record_list all;
    SQLCHAR state[6] = "";
    for (SQLSMALLINT number = 1; SQLGetDiagRec(SQL_HANDLE_STMT, stmt, number, state, nullptr,
                                               nullptr, 0, nullptr) != SQL_NO_DATA;
         number++) {
        SQLLEN row = -9;
        SQLINTEGER column = -9;
        SQLGetDiagField(SQL_HANDLE_STMT, stmt, number, SQL_DIAG_ROW_NUMBER, &row, 0, nullptr);
        SQLGetDiagField(SQL_HANDLE_STMT, stmt, number, SQL_DIAG_COLUMN_NUMBER, &column, 0, nullptr);
        all.push_back(std::string(state, state + 5) + " " + std::to_string(row) + " " +
                      std::to_string(column));
    }
    return all;
}

// The text of a set is 'x' where it does not convert, '-' where the operation array leaves it out,
// 'd' where it is a default parameter.
TEST(parameter_sets, each_one_fails_alone_and_is_told_by_its_number)
{
    const std::vector<node_frame> refused = {void_frame(), error_frame(0x2200, "no")};
    // clang-format off
    const std::tuple<bytes, std::vector<node_frame>, SQLRETURN, std::vector<SQLUSMALLINT>,
                     record_list>
        cases[] = {
            {"1x3", {void_frame(), void_frame()}, SQL_ERROR, {0, 5, 0}, {"22018 2 2"}},
            {"d2x4", refused, SQL_ERROR, {5, 0, 5, 5}, {"42000 4 -1", "22018 3 2", "07S01 1 2"}},
            {"-2-", {with_warnings(void_frame(), {"slow"})}, SQL_SUCCESS_WITH_INFO, {7, 6, 7},
             {"01000 2 -1"}},
            {"---", {}, SQL_SUCCESS, {7, 7, 7}, {}},
            {"12-4", {void_frame(), no_answer(RESET)}, SQL_ERROR, {0, 5, 7, 5}, {"08S01 2 -1"}}};
    // clang-format on
    for (const auto &[texts, replies, code, status, records] : cases) {
        for (const bool prepared : {false, true}) {
            SCOPED_TRACE(texts);
            const wire_ptr wire = wire_of(true, "Reconnect=No");
            const auto sets = bind_sets(wire->stmt, texts);
            std::vector<SQLUSMALLINT> operation;
            auto reply = replies.begin();
            expect_prepared(wire, INSERT_TWO, NODE_INT);
            for (std::size_t i = 0; i < texts.size(); i++) {
                operation.push_back(texts[i] == '-' ? SQL_PARAM_IGNORE : SQL_PARAM_PROCEED);
                if (texts[i] == 'd')
                    sets->lengths[i] = SQL_DEFAULT_PARAM;
                if (texts[i] >= '1' && texts[i] <= '9' && reply != replies.end())
                    expect_values(wire, true, INSERT_TWO,
                                  counted({int_value(sets->numbers[i]), int_value(texts[i] - '0')}),
                                  *reply++);
            }
            SQLSetStmtAttr(wire->stmt, SQL_ATTR_PARAM_OPERATION_PTR, operation.data(), 0);
            if (prepared) {
                EXPECT_STMT(SQL_SUCCESS, wire->stmt, prepare(wire->stmt, INSERT_TWO));
            }
            EXPECT_STMT(code, wire->stmt, execute(wire, prepared, INSERT_TWO));
            EXPECT_EQ(places(wire->stmt), records);
            EXPECT_EQ(sets->status, status);
            EXPECT_EQ(sets->processed, texts.size());
        }
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
        EXPECT_EQ(places(wire->stmt), record_list{"HY010 0 -1"});
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
                   {SQL_C_CHAR, {{"a", 1}, {nullptr, SQL_NULL_DATA}}, "HY020 0 -1"},
                   {SQL_C_CHAR, {{nullptr, SQL_NULL_DATA}, {"a", 1}}, "HY020 0 -1"},
                   {SQL_C_SLONG, {{&number, 4}, {&number, 4}}, "HY019 0 -1"},
                   {SQL_C_CHAR, {{"a", -7}}, "HY090 0 -1"},
                   {SQL_C_BINARY, {{"a", SQL_NTS}}, "HY090 0 -1"}};
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
        EXPECT_EQ(places(wire->stmt), fails ? record_list{wanted} : record_list());
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
