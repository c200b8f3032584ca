// Parameters by what reaches the server: values in QUERY and EXECUTE frames, their repetition for
// further pages, arrays of parameter sets, and failures that must send nothing.
#include "tests/wire/parameter_support.h"

static constexpr char INSERT_ONE[] = "insert into t (a) values (?)";
static constexpr char INSERT_TWO[] = "insert into t (a, b) values (?, ?)";
static constexpr char INSERT_THREE[] = "insert into t (a, b, c) values (?, ?, ?)";

static const node_columns one_text = {{"a", type_of(NODE_VARCHAR)}};

static node_frame text_page(const bytes &text, const bytes &paging_state = {})
{
    return rows_frame(one_text, {{text}}, {.paging_state = paging_state});
}

static void expect_prepared(const wire_session *wire, std::string_view sql)
{
    expect_prepare(wire->node.get(), sql, {prepared_frame("ID", {}, {})});
    EXPECT_STMT(SQL_SUCCESS, wire->stmt, prepare(wire->stmt, bytes(sql)));
}

static std::size_t requests_sent(const wire_session *wire)
{
    return node_requests(wire->node.get()).size();
}

// The connection is in step: the next request is the one that is asked for and gets its answer.
static void expect_usable(const wire_session *wire)
{
    expect_query(wire->node.get(), "still here", {text_page("yes")});
    EXPECT_STMT(SQL_SUCCESS, wire->stmt, exec(wire->stmt, "still here"));
    EXPECT_EQ(fetch_all(wire->stmt), std::vector<std::string>{"yes"});
    EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLFreeStmt(wire->stmt, SQL_CLOSE));
}

// ---- Values -------------------------------------------------------------------------------------

TEST(parameters, every_form_goes_into_the_frame_in_order)
{
    const bytes wide_text = image(SQLWCHAR{0x00E9}) + image(SQLWCHAR{'x'});
    const SQL_NUMERIC_STRUCT amount = {6, 2, 0, {0xD2, 0x04}};  // -12.34
    const SQLGUID guid = {
        0x00112233, 0x4455, 0x6677, {0x88, 0x99, 0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0xFF}};
    const SQL_DATE_STRUCT date = {1969, 12, 31};
    const SQL_TIME_STRUCT time = {0, 1, 1};
    const SQL_TIMESTAMP_STRUCT moment = {1969, 12, 31, 23, 59, 59, 999'999'999};
    const struct {
        int c_type, sql_type;
        bytes memory;
        SQLLEN indicator;
        bytes value;
    } cases[] = {
        {SQL_C_STINYINT, SQL_TINYINT, image(static_cast<signed char>(-2)), no_indicator, be8(0xFE)},
        {SQL_C_SSHORT, SQL_SMALLINT, image(SQLSMALLINT{-3}), no_indicator, be16(0xFFFD)},
        {SQL_C_SLONG, SQL_INTEGER, image(SQLINTEGER{-4}), no_indicator, be32(0xFFFFFFFC)},
        {SQL_C_SBIGINT, SQL_BIGINT, image(SQLBIGINT{-5}), no_indicator, be64(-5ull)},
        {SQL_C_BIT, SQL_BIT, be8(1), no_indicator, be8(1)},
        {SQL_C_FLOAT, SQL_REAL, image(0.5f), no_indicator, be_float(0.5f)},
        {SQL_C_DOUBLE, SQL_DOUBLE, image(-0.1), no_indicator, be_double(-0.1)},
        {SQL_C_NUMERIC, SQL_DECIMAL, image(amount), no_indicator, be32(2) + from_hex("ff fb 2e")},
        {SQL_C_CHAR, SQL_VARCHAR, "caf\xC3\xA9", 5, "caf\xC3\xA9"},
        {SQL_C_CHAR, SQL_VARCHAR, bytes("to the NUL\0", 11), SQL_NTS, "to the NUL"},
        {SQL_C_CHAR, SQL_VARCHAR, "", 0, ""},
        {SQL_C_WCHAR, SQL_WVARCHAR, wide_text, 4, "\xC3\xA9x"},
        {SQL_C_BINARY, SQL_VARBINARY, from_hex("00 ff 00"), 3, from_hex("00 ff 00")},
        {SQL_C_CHAR, SQL_VARBINARY, "0xCAFE", 6, from_hex("ca fe")},
        {SQL_C_GUID, SQL_GUID, image(guid), no_indicator,
         from_hex("00112233445566778899aabbccddeeff")},
        {SQL_C_TYPE_DATE, SQL_TYPE_DATE, image(date), no_indicator, be32(0x7FFFFFFF)},
        {SQL_C_TYPE_TIME, SQL_TYPE_TIME, image(time), no_indicator, be64(61'000'000'000)},
        {SQL_C_TYPE_TIMESTAMP, SQL_TYPE_TIMESTAMP, image(moment), no_indicator, be64(-1ull)},
        {SQL_C_CHAR, SQL_TYPE_TIMESTAMP, "{ts '1970-01-01 00:00:01.5'}", 28, be64(1500)},
        {SQL_C_CHAR, SQL_INTEGER, "12abc", 5, be32(12)},
    };
    bytes sql = "insert into t values (?";
    std::vector<exact_memory> memory;
    std::vector<SQLLEN> indicators(std::size(cases));
    wire_values values;
    for (const bool lz4 : {false, true}) {
        const wire_ptr wire = wire_logged_on({.lz4 = lz4});
        sql = "insert into t values (";
        values.clear();
        int number = 0;
        for (const auto &c : cases) {
            sql += number++ == 0 ? "?" : ", ?";
            memory.push_back(exactly(c.memory));
            SQLLEN *const indicator = &indicators[static_cast<std::size_t>(number - 1)];
            *indicator = c.indicator;
            bind(wire->stmt, number, c.c_type, c.sql_type, memory.back().at,
                 c.indicator == no_indicator ? nullptr : indicator);
            values.push_back(wire_bytes(c.value));
        }
        sql += ")";
        expect_bound_query(wire->node.get(), sql, counted(values), {void_frame()});
        EXPECT_STMT(SQL_SUCCESS, wire->stmt, exec(wire->stmt, sql));
        expect_prepared(wire.get(), sql);
        SQLSMALLINT markers = 0;
        EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLNumParams(wire->stmt, &markers));
        EXPECT_EQ(markers, number);
        for (int i = 0; i < 2; i++) {
            expect_bound_execute(wire->node.get(), "ID", counted(values), {void_frame()});
            EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLExecute(wire->stmt));
        }
    }
}

// The markers that the driver counts decide, not the bindings and not the server's columns.
TEST(parameters, bindings_without_a_marker_are_not_sent)
{
    const wire_ptr wire = wire_logged_on();
    SQLINTEGER numbers[] = {1, 2, 3};
    for (int i = 0; i < 3; i++)
        bind(wire->stmt, i + 1, SQL_C_SLONG, SQL_INTEGER, &numbers[i], nullptr);
    const std::string one = "update t set a = ? where b = '?'";
    expect_bound_query(wire->node.get(), one, counted({int_value(1)}), {void_frame()});
    EXPECT_STMT(SQL_SUCCESS, wire->stmt, exec(wire->stmt, one));
    expect_query(wire->node.get(), "select a from t", {text_page("x")});
    EXPECT_STMT(SQL_SUCCESS, wire->stmt, exec(wire->stmt, "select a from t"));
}

// The value is left out and the count stays, so that the server finds a value too few.
TEST(parameters, null_indicator_leaves_the_value_out)
{
    const wire_ptr wire = wire_logged_on();
    SQLINTEGER numbers[] = {1, 2, 3};
    SQLLEN indicators[] = {0, SQL_NULL_DATA, 0};
    for (int i = 0; i < 3; i++)
        bind(wire->stmt, i + 1, SQL_C_SLONG, SQL_INTEGER, &numbers[i], &indicators[i]);
    const bytes two_of_three = counted({int_value(1), int_value(3)}, 3);
    const node_frame refusal = error_frame(0x000A, "not enough bytes");
    expect_bound_query(wire->node.get(), INSERT_THREE, two_of_three, {refusal});
    EXPECT_STMT(SQL_ERROR, wire->stmt, exec(wire->stmt, INSERT_THREE));
    EXPECT_EQ(stmt_records(wire->stmt),
              record_list{"08S01 Communication link failure: error code 10 'not enough bytes'"});
    expect_prepared(wire.get(), INSERT_THREE);
    expect_bound_execute(wire->node.get(), "ID", two_of_three, {refusal});
    EXPECT_STMT(SQL_ERROR, wire->stmt, SQLExecute(wire->stmt));
    // No data pointer is needed for it; the other way round a missing one is noticed.
    indicators[0] = indicators[2] = SQL_NULL_DATA;
    bind(wire->stmt, 2, SQL_C_SLONG, SQL_INTEGER, nullptr, &indicators[1]);
    expect_bound_execute(wire->node.get(), "ID", counted({}, 3), {refusal});
    EXPECT_STMT(SQL_ERROR, wire->stmt, SQLExecute(wire->stmt));
    indicators[1] = 0;
    EXPECT_STMT(SQL_ERROR, wire->stmt, SQLExecute(wire->stmt));
    EXPECT_EQ(stmt_records(wire->stmt), record_list{"HY009 Invalid use of null pointer"});
}

// ---- Pages --------------------------------------------------------------------------------------

// Further pages carry the values of the execution, whatever became of the buffers meanwhile.
TEST(parameters, further_pages_repeat_the_values_as_they_were_sent)
{
    const std::string select = "select a from t where k = ? and n > ?";
    for (const bool prepared : {false, true}) {
        SCOPED_TRACE(prepared);
        const wire_ptr wire = wire_logged_on({.lz4 = prepared});
        const bytes head = prepared ? wire_short_bytes("ID") : wire_long_string(select);
        const int opcode = prepared ? NODE_EXECUTE : NODE_QUERY;
        const bytes values = counted({wire_bytes("key"), int_value(7)});
        if (prepared)
            expect_prepared(wire.get(), select);
        const auto expect_page = [&](const bytes &tail, const node_frame &page) {
            node_expect(wire->node.get(),
                        {.opcode = opcode, .body = head + tail, .replies = {page}});
        };
        expect_page(bound_tail(values), text_page("1", "p1"));
        expect_page(next_bound_tail(values, "p1"), text_page("2", "p2"));
        expect_page(next_bound_tail(values, "p2"), text_page("3"));

        exact_memory key = exactly("key");
        auto number = std::make_unique<SQLINTEGER>(7);
        SQLLEN length = 3;
        bind(wire->stmt, 1, SQL_C_CHAR, SQL_VARCHAR, key.at, &length);
        bind(wire->stmt, 2, SQL_C_SLONG, SQL_INTEGER, number.get(), nullptr);
        EXPECT_STMT(SQL_SUCCESS, wire->stmt,
                    prepared ? SQLExecute(wire->stmt) : exec(wire->stmt, select));
        EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLFetch(wire->stmt));
        EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLFreeStmt(wire->stmt, SQL_RESET_PARAMS));
        key = {};
        number.reset();
        EXPECT_EQ(fetch_all(wire->stmt), (std::vector<std::string>{"2", "3"}));

        // A statement without markers in its place sends none of the old values.
        expect_query(wire->node.get(), "q", {text_page("1", "p")});
        expect_next_query(wire->node.get(), "q", "p", {text_page("2")});
        EXPECT_STMT(SQL_SUCCESS, wire->stmt, exec(wire->stmt, "q"));
        EXPECT_EQ(fetch_all(wire->stmt), (std::vector<std::string>{"1", "2"}));
    }
}

// ---- Arrays -------------------------------------------------------------------------------------

struct row_of_two {
    SQLINTEGER number;
    SQLLEN length;
    char text[5];
};

// An application's arrays for INSERT_TWO: a number and a text of up to 5 characters.
struct two_arrays {
    std::vector<SQLINTEGER> numbers;
    std::string texts;
    std::vector<SQLLEN> lengths;
    std::vector<row_of_two> rows;  // the same, row by row
    wire_values values;            // what each set must look like in a frame
};

static two_arrays make_arrays(const std::vector<std::string> &texts)
{
    two_arrays arrays;
    for (std::size_t i = 0; i < texts.size(); i++) {
        const auto number = static_cast<SQLINTEGER>(i + 1);
        const auto length = static_cast<SQLLEN>(texts[i].size());
        row_of_two row = {number, length, {}};
        std::memcpy(row.text, texts[i].data(), texts[i].size());
        arrays.rows.push_back(row);
        arrays.numbers.push_back(number);
        arrays.lengths.push_back(length);
        arrays.texts += bytes(row.text, sizeof row.text);
        arrays.values.push_back(counted({int_value(number), wire_bytes(texts[i])}));
    }
    return arrays;
}

// Bound by columns, or by rows that stand behind `offset`.
static void bind_arrays(SQLHSTMT stmt, two_arrays &arrays, bool row_wise, SQLLEN *offset)
{
    SQLULEN stride = SQL_PARAM_BIND_BY_COLUMN;
    SQLINTEGER *number = arrays.numbers.data();
    char *text = arrays.texts.data();
    SQLLEN *length = arrays.lengths.data();
    if (row_wise) {
        // Bound in front of the first row; the offset leads to it.
        stride = sizeof(row_of_two);
        row_of_two *const row = arrays.rows.data();
        *offset = static_cast<SQLLEN>(sizeof(row_of_two));
        const auto before = [](void *at) { return static_cast<char *>(at) - sizeof(row_of_two); };
        number = static_cast<SQLINTEGER *>(static_cast<void *>(before(&row->number)));
        text = before(row->text);
        length = static_cast<SQLLEN *>(static_cast<void *>(before(&row->length)));
        SQLSetStmtAttr(stmt, SQL_ATTR_PARAM_BIND_OFFSET_PTR, offset, 0);
    }
    bind(stmt, 1, SQL_C_SLONG, SQL_INTEGER, number, nullptr);
    bind(stmt, 2, SQL_C_CHAR, SQL_VARCHAR, text, length, 5);
    SQLSetStmtAttr(stmt, SQL_ATTR_PARAM_BIND_TYPE, number_value(stride), 0);
    SQLSetStmtAttr(stmt, SQL_ATTR_PARAMSET_SIZE, number_value(arrays.rows.size()), 0);
}

static constexpr SQLUSMALLINT untouched = 0x7777;

// Where the driver tells what became of the sets.
struct array_outcome {
    SQLULEN processed;
    std::vector<SQLUSMALLINT> status;
};

static void watch_outcome(SQLHSTMT stmt, array_outcome *outcome, std::size_t sets)
{
    outcome->processed = 0x5555555555555555;
    outcome->status.assign(sets, untouched);
    SQLSetStmtAttr(stmt, SQL_ATTR_PARAMS_PROCESSED_PTR, &outcome->processed, 0);
    SQLSetStmtAttr(stmt, SQL_ATTR_PARAM_STATUS_PTR, outcome->status.data(), 0);
}

TEST(parameter_arrays, prepared_execution_sends_a_request_for_each_set)
{
    for (const bool row_wise : {false, true}) {
        SCOPED_TRACE(row_wise);
        const wire_ptr wire = wire_logged_on();
        two_arrays arrays = make_arrays({"a", "", "three", "4"});
        SQLLEN offset = 0;
        array_outcome outcome;
        bind_arrays(wire->stmt, arrays, row_wise, &offset);
        watch_outcome(wire->stmt, &outcome, 4);
        expect_prepared(wire.get(), INSERT_TWO);
        for (int run = 0; run < 2; run++) {
            for (const bytes &values : arrays.values)
                expect_bound_execute(wire->node.get(), "ID", values, {void_frame()});
            EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLExecute(wire->stmt));
            EXPECT_EQ(outcome.processed, 4u);
            EXPECT_EQ(outcome.status, (std::vector<SQLUSMALLINT>{0, 0, 0, 0}));
        }
    }
}

TEST(parameter_arrays, refused_sets_do_not_stop_the_others)
{
    const node_frame good = void_frame();
    const node_frame warned = with_warnings(void_frame(), {"slow"});
    const auto refused = [](const char *text) { return error_frame(0x2200, text); };
    const bytes failure = "08S01 Communication link failure: error code 8704 ";
    const struct {
        std::vector<node_frame> replies;
        SQLRETURN code;
        std::vector<SQLUSMALLINT> status;
        record_list records;
    } cases[] = {
        {{good, refused("b"), good}, SQL_SUCCESS_WITH_INFO, {0, 5, 0}, {failure + "'b'"}},
        {{good, warned, good}, SQL_SUCCESS_WITH_INFO, {0, 6, 0}, {"01000 slow"}},
        {{warned, refused("b"), refused("c")},
         SQL_SUCCESS_WITH_INFO,
         {6, 5, 5},
         {failure + "'b'", failure + "'c'", "01000 slow"}},
        {{refused("a"), refused("b"), refused("c")},
         SQL_ERROR,
         {5, 5, 5},
         {failure + "'a'", failure + "'b'", failure + "'c'"}},
    };
    int number = 0;
    for (const auto &c : cases) {
        SCOPED_TRACE(number++);
        const wire_ptr wire = wire_logged_on();
        two_arrays arrays = make_arrays({"a", "b", "c"});
        array_outcome outcome;
        bind_arrays(wire->stmt, arrays, false, nullptr);
        watch_outcome(wire->stmt, &outcome, 3);
        expect_prepared(wire.get(), INSERT_TWO);
        for (std::size_t i = 0; i < 3; i++)
            expect_bound_execute(wire->node.get(), "ID", arrays.values[i], {c.replies[i]});
        EXPECT_STMT(c.code, wire->stmt, SQLExecute(wire->stmt));
        EXPECT_EQ(stmt_records(wire->stmt), c.records);
        EXPECT_EQ(outcome.processed, 3u);
        EXPECT_EQ(outcome.status, c.status);
    }
}

// The operation array: 0 and what has no meaning run, 1 and the row operations 2, 3 and 5 do not.
TEST(parameter_arrays, operation_array_leaves_sets_out)
{
    std::vector<SQLUSMALLINT> operation = {1, 0, 2, 3, 4, 5, SQL_PARAM_PROCEED};
    const std::vector<SQLUSMALLINT> status = {untouched, 0, untouched, untouched, 0, untouched, 0};
    const wire_ptr wire = wire_logged_on();
    two_arrays arrays = make_arrays({"1", "2", "3", "4", "5", "6", "7"});
    array_outcome outcome;
    bind_arrays(wire->stmt, arrays, false, nullptr);
    SQLSetStmtAttr(wire->stmt, SQL_ATTR_PARAM_OPERATION_PTR, operation.data(), 0);

    // A direct execution builds them all and sends the last one.
    watch_outcome(wire->stmt, &outcome, 7);
    expect_bound_query(wire->node.get(), INSERT_TWO, arrays.values[6], {void_frame()});
    EXPECT_STMT(SQL_SUCCESS, wire->stmt, exec(wire->stmt, INSERT_TWO));
    EXPECT_EQ(outcome.processed, 7u);
    EXPECT_EQ(outcome.status, status);

    watch_outcome(wire->stmt, &outcome, 7);
    expect_prepared(wire.get(), INSERT_TWO);
    for (const std::size_t set : {1u, 4u, 6u})
        expect_bound_execute(wire->node.get(), "ID", arrays.values[set], {void_frame()});
    EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLExecute(wire->stmt));
    EXPECT_EQ(outcome.processed, 7u);
    EXPECT_EQ(outcome.status, status);

    // With all sets left out a prepared execution has nothing to do, and a direct one fails.
    operation.assign(7, SQL_PARAM_IGNORE);
    const std::size_t sent = requests_sent(wire.get());
    EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLExecute(wire->stmt));
    EXPECT_STMT(SQL_ERROR, wire->stmt, exec(wire->stmt, INSERT_TWO));
    EXPECT_EQ(stmt_records(wire->stmt), record_list{"HY000 General error"});
    EXPECT_EQ(requests_sent(wire.get()), sent);
}

TEST(parameter_arrays, direct_execution_runs_the_last_set_alone)
{
    for (const bool row_wise : {false, true}) {
        const wire_ptr wire = wire_logged_on();
        two_arrays arrays = make_arrays({"a", "b", "last"});
        SQLLEN offset = 0;
        array_outcome outcome;
        bind_arrays(wire->stmt, arrays, row_wise, &offset);
        watch_outcome(wire->stmt, &outcome, 3);
        expect_bound_query(wire->node.get(), INSERT_TWO, arrays.values[2], {void_frame()});
        EXPECT_STMT(SQL_SUCCESS, wire->stmt, exec(wire->stmt, INSERT_TWO));
        EXPECT_EQ(outcome.processed, 3u);
        EXPECT_EQ(outcome.status, (std::vector<SQLUSMALLINT>{0, 0, 0}));
    }
}

// The rows of an array's SELECT are those of its last set, page after page.
TEST(parameter_arrays, rows_come_from_the_last_set)
{
    const std::string select = "select a from t where k = ? and l = ?";
    for (const bool prepared : {false, true}) {
        const wire_ptr wire = wire_logged_on();
        two_arrays arrays = make_arrays({"a", "b"});
        bind_arrays(wire->stmt, arrays, false, nullptr);
        if (prepared) {
            expect_prepared(wire.get(), select);
            expect_bound_execute(wire->node.get(), "ID", arrays.values[0], {text_page("x", "px")});
            expect_bound_execute(wire->node.get(), "ID", arrays.values[1], {text_page("y", "py")});
            node_expect(wire->node.get(),
                        {.opcode = NODE_EXECUTE,
                         .body = wire_short_bytes("ID") + next_bound_tail(arrays.values[1], "py"),
                         .replies = {text_page("z")}});
            EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLExecute(wire->stmt));
        } else {
            expect_bound_query(wire->node.get(), select, arrays.values[1], {text_page("y", "py")});
            node_expect(wire->node.get(),
                        {.opcode = NODE_QUERY,
                         .body = wire_long_string(select) + next_bound_tail(arrays.values[1], "py"),
                         .replies = {text_page("z")}});
            EXPECT_STMT(SQL_SUCCESS, wire->stmt, exec(wire->stmt, select));
        }
        EXPECT_EQ(fetch_all(wire->stmt), (std::vector<std::string>{"y", "z"}));
    }
}

// ---- Failures -----------------------------------------------------------------------------------

// Whatever fails before the frame is whole leaves no byte of it on the wire, and the statement and
// its bindings can go on.
TEST(parameter_failures, nothing_is_sent_and_the_statement_goes_on)
{
    SQLINTEGER number = 1;
    const exact_memory text = exactly("no number");
    SQLLEN length = 9;
    const struct {
        const char *what;
        int bound;
        int c_type, sql_type;  // of the third parameter
        SQLLEN length;
        const char *record;
    } cases[] = {
        {"no bindings at all", 0, 0, 0, 0, "07002 COUNT field incorrect"},
        {"one too few", 2, 0, 0, 0, "07002 COUNT field incorrect"},
        {"text that is no number", 3, SQL_C_CHAR, SQL_INTEGER, 9,
         "22018 Invalid character value for cast specification"},
        {"text that is no date", 3, SQL_C_CHAR, SQL_TYPE_DATE, 9,
         "22003 Numeric value out of range: invalid character in date/time string"},
        {"bytes that are no image", 3, SQL_C_BINARY, SQL_BIGINT, 9,
         "22003 Numeric value out of range"},
        {"a pair without conversion", 3, SQL_C_GUID, SQL_DOUBLE, 9,
         "07006 Restricted data type access violation"},
        {"a length that is none", 3, SQL_C_CHAR, SQL_VARCHAR, -50,
         "HY090 Invalid string or buffer length"},
    };
    for (const bool prepared : {false, true}) {
        for (const auto &c : cases) {
            SCOPED_TRACE(c.what);
            const wire_ptr wire = wire_logged_on();
            if (prepared)
                expect_prepared(wire.get(), INSERT_THREE);
            for (int i = 1; i <= c.bound && i < 3; i++)
                bind(wire->stmt, i, SQL_C_SLONG, SQL_INTEGER, &number, nullptr);
            if (c.bound == 3)
                bind(wire->stmt, 3, c.c_type, c.sql_type, text.at, &length);
            length = c.length;
            SQLULEN processed = 99;
            SQLUSMALLINT status = untouched;
            SQLSetStmtAttr(wire->stmt, SQL_ATTR_PARAMS_PROCESSED_PTR, &processed, 0);
            SQLSetStmtAttr(wire->stmt, SQL_ATTR_PARAM_STATUS_PTR, &status, 0);
            const std::size_t sent = requests_sent(wire.get());
            for (int i = 0; i < 2; i++) {
                EXPECT_STMT(SQL_ERROR, wire->stmt,
                            prepared ? SQLExecute(wire->stmt) : exec(wire->stmt, INSERT_THREE));
                const record_list records = stmt_records(wire->stmt);
                ASSERT_EQ(records.size(), 1u);
                EXPECT_EQ(records[0], c.record);
            }
            EXPECT_EQ(requests_sent(wire.get()), sent);
            // A check that fails comes before any set.
            EXPECT_EQ(processed, c.bound == 3 ? 1u : 99u);
            EXPECT_EQ(status, c.bound == 3 ? SQL_PARAM_ERROR : untouched);

            length = 2;
            for (int i = 1; i <= 3; i++)
                bind(wire->stmt, i, SQL_C_SLONG, SQL_INTEGER, &number, nullptr);
            const bytes values = counted({int_value(1), int_value(1), int_value(1)});
            if (prepared)
                expect_bound_execute(wire->node.get(), "ID", values, {void_frame()});
            else
                expect_bound_query(wire->node.get(), INSERT_THREE, values, {void_frame()});
            EXPECT_STMT(SQL_SUCCESS, wire->stmt,
                        prepared ? SQLExecute(wire->stmt) : exec(wire->stmt, INSERT_THREE));
            expect_usable(wire.get());
        }
    }
}

// Sets before one that cannot be encoded have run; those behind it are not tried.
TEST(parameter_failures, set_that_cannot_be_encoded_ends_the_execution)
{
    for (const bool prepared : {false, true}) {
        SCOPED_TRACE(prepared);
        const wire_ptr wire = wire_logged_on();
        const exact_memory texts = exactly("1x3");
        SQLLEN lengths[] = {1, 1, 1};
        array_outcome outcome;
        bind(wire->stmt, 1, SQL_C_CHAR, SQL_INTEGER, texts.at, lengths, 1);
        SQLSetStmtAttr(wire->stmt, SQL_ATTR_PARAMSET_SIZE, number_value(3), 0);
        watch_outcome(wire->stmt, &outcome, 3);
        if (prepared) {
            expect_prepared(wire.get(), INSERT_ONE);
            expect_bound_execute(wire->node.get(), "ID", counted({int_value(1)}), {void_frame()});
        }
        EXPECT_STMT(SQL_ERROR, wire->stmt,
                    prepared ? SQLExecute(wire->stmt) : exec(wire->stmt, INSERT_ONE));
        EXPECT_EQ(stmt_records(wire->stmt),
                  record_list{"22018 Invalid character value for cast specification"});
        SQLINTEGER column = -99;
        SQLGetDiagField(SQL_HANDLE_STMT, wire->stmt, 1, SQL_DIAG_COLUMN_NUMBER, &column, 0,
                        nullptr);
        EXPECT_EQ(column, 1);
        EXPECT_EQ(outcome.processed, 2u);
        EXPECT_EQ(outcome.status, (std::vector<SQLUSMALLINT>{0, 5, untouched}));
        SQLSetStmtAttr(wire->stmt, SQL_ATTR_PARAMSET_SIZE, number_value(1), 0);
        expect_usable(wire.get());
    }
}

// A server that goes in the middle of an array fails each set that is left, once.
TEST(parameter_failures, connection_that_ends_fails_the_sets_behind)
{
    const wire_ptr wire = wire_logged_on();
    two_arrays arrays = make_arrays({"a", "b", "c"});
    array_outcome outcome;
    bind_arrays(wire->stmt, arrays, false, nullptr);
    watch_outcome(wire->stmt, &outcome, 3);
    expect_prepared(wire.get(), INSERT_TWO);
    expect_bound_execute(wire->node.get(), "ID", arrays.values[0], {void_frame()});
    expect_bound_execute(wire->node.get(), "ID", arrays.values[1], {no_answer(RESET)});
    EXPECT_STMT(SQL_SUCCESS_WITH_INFO, wire->stmt, SQLExecute(wire->stmt));
    EXPECT_EQ(outcome.processed, 3u);
    EXPECT_EQ(outcome.status, (std::vector<SQLUSMALLINT>{0, 5, 5}));
    EXPECT_EQ(stmt_records(wire->stmt).size(), 2u);
}

// ---- Bindings -----------------------------------------------------------------------------------

TEST(parameter_bindings, last_binding_counts_and_reset_drops_all)
{
    const wire_ptr wire = wire_logged_on();
    SQLINTEGER numbers[] = {1, 2};
    SQLBIGINT large = 3;
    bind(wire->stmt, 2, SQL_C_SLONG, SQL_INTEGER, &numbers[1], nullptr);
    bind(wire->stmt, 1, SQL_C_SLONG, SQL_INTEGER, &numbers[0], nullptr);
    expect_prepared(wire.get(), INSERT_TWO);
    const auto expect_run = [&](const wire_values &values) {
        expect_bound_execute(wire->node.get(), "ID", counted(values), {void_frame()});
        EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLExecute(wire->stmt));
    };
    expect_run({int_value(1), int_value(2)});
    numbers[0] = 10;
    expect_run({int_value(10), int_value(2)});
    bind(wire->stmt, 2, SQL_C_SBIGINT, SQL_BIGINT, &large, nullptr);
    expect_run({int_value(10), wire_bytes(be64(3))});
    EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLFreeStmt(wire->stmt, SQL_RESET_PARAMS));
    EXPECT_STMT(SQL_ERROR, wire->stmt, SQLExecute(wire->stmt));
    EXPECT_EQ(stmt_records(wire->stmt), record_list{"07002 COUNT field incorrect"});
    // A hole in front of a bound parameter is named.
    bind(wire->stmt, 2, SQL_C_SLONG, SQL_INTEGER, &numbers[1], nullptr);
    EXPECT_STMT(SQL_ERROR, wire->stmt, SQLExecute(wire->stmt));
    SQLINTEGER column = -99;
    SQLGetDiagField(SQL_HANDLE_STMT, wire->stmt, 1, SQL_DIAG_COLUMN_NUMBER, &column, 0, nullptr);
    EXPECT_EQ(column, 1);
    // Taking a binding back works and says SQL_ERROR without a record.
    bind(wire->stmt, 1, SQL_C_SLONG, SQL_INTEGER, &numbers[0], nullptr);
    expect_run({int_value(10), int_value(2)});
    EXPECT_STMT(SQL_ERROR, wire->stmt,
                SQLBindParameter(wire->stmt, 2, SQL_PARAM_INPUT, SQL_C_SLONG, SQL_INTEGER, 0, 0,
                                 nullptr, 0, nullptr));
    EXPECT_EQ(stmt_records(wire->stmt), record_list());
    EXPECT_STMT(SQL_ERROR, wire->stmt, SQLExecute(wire->stmt));
    EXPECT_EQ(stmt_records(wire->stmt), record_list{"07002 COUNT field incorrect"});
}
