// Frames that break off, announce what they do not hold, or are changed in one place. Whatever
// comes, the application sees a diagnostic or a clean end, and the connection stays in step as long
// as whole frames come.
#include "tests/wire/wire_support.h"

static const node_columns mixed = {
    {"i", type_of(NODE_INT)},
    {"t", type_of(NODE_VARCHAR)},
    {"m", type_map(type_of(NODE_INT), type_of(NODE_VARCHAR))},
    {"d", type_of(NODE_DECIMAL)},
    {"u", type_udt("ks", "u", {{"f", type_of(NODE_UUID)}})},
};

static node_frame mixed_rows(const bytes &paging_state = {})
{
    const bytes map = be32(1) + wire_bytes(be32(1)) + wire_bytes("x");
    const bytes decimal = be32(2) + from_hex("0096");
    return rows_frame(mixed,
                      {{be32(1), "text one", map, decimal, std::nullopt},
                       {std::nullopt, "", map, decimal, wire_bytes(pattern(16))}},
                      {.paging_state = paging_state});
}

static const std::string no_packet = "08S01 Communication link failure: failed to return packet";
static const std::string bad_end = "08S01 Communication link failure: unexpected end of packet";

// Fetches and reads every column, at most `limit` rows; how it ended.
static SQLRETURN drain(SQLHSTMT stmt, int limit)
{
    SQLRETURN code = SQL_SUCCESS;
    for (int row = 0; row < limit && SQL_SUCCEEDED(code); row++) {
        code = SQLFetch(stmt);
        SQLSMALLINT count = 0;
        SQLNumResultCols(stmt, &count);
        char buffer[64];
        SQLLEN length = 0;
        for (SQLUSMALLINT column = 1; column <= count && column < 50; column++)
            SQLGetData(stmt, column, SQL_C_CHAR, buffer, sizeof buffer, &length);
    }
    return code;
}

// The whole of mixed_rows() is read as it stands, whatever the statement has seen before.
static void expect_mixed_rows(const wire_session *wire)
{
    const std::string map = "|0000000100000004000000010000000178|1.50|";
    expect_query(wire->node.get(), "q", {mixed_rows()});
    EXPECT_STMT(SQL_SUCCESS, wire->stmt, exec(wire->stmt, "q"));
    EXPECT_EQ(fetch_all(wire->stmt),
              (std::vector<std::string>{"1|text one" + map + "NULL",
                                        "NULL|" + map + to_hex(wire_bytes(pattern(16)))}));
}

// A following request is answered as if nothing had been.
static void expect_in_step(const wire_session *wire)
{
    expect_query(wire->node.get(), "sane", {rows_frame({{"n", type_of(NODE_INT)}}, {{be32(42)}})});
    EXPECT_STMT(SQL_SUCCESS, wire->stmt, exec(wire->stmt, "sane"));
    EXPECT_EQ(fetch_all(wire->stmt), std::vector<std::string>{"42"});
}

TEST(lies, reply_cut_on_the_wire_is_a_failed_request)
{
    for (const bool lz4 : {false, true}) {
        const std::size_t length = frame_on_wire(mixed_rows(), lz4, 0).size();
        for (std::size_t cut = 0; cut < length; cut++) {
            SCOPED_TRACE(cut);
            const wire_ptr wire = wire_logged_on({.lz4 = lz4});
            expect_query(wire->node.get(), "q",
                         {cut_off(mixed_rows(), cut, cut % 2 == 0 ? CLOSE : RESET)});
            EXPECT_STMT(SQL_ERROR, wire->stmt, exec(wire->stmt, "q"));
            EXPECT_EQ(stmt_records(wire->stmt), record_list{no_packet});
            EXPECT_STMT(SQL_NO_DATA, wire->stmt, SQLFetch(wire->stmt));
        }
    }
}

// The frame is whole but its body ends early: the rows that are there are good, and the fetch that
// runs out ends the result.
TEST(lies, short_body_ends_the_result)
{
    const wire_ptr wire = wire_logged_on();
    const bytes whole = mixed_rows().body;
    const std::string first = "1|text one|0000000100000004000000010000000178|1.50|NULL";
    const std::size_t second_row = 4 + (4 + 0) + (4 + 17) + (4 + 6) + (4 + 20);
    const std::size_t ends = whole.size() - second_row;
    for (std::size_t length = 0; length < whole.size(); length++) {
        SCOPED_TRACE(length);
        expect_query(wire->node.get(), "q",
                     {{.opcode = NODE_RESULT, .body = whole.substr(0, length)}});
        const SQLRETURN code = exec(wire->stmt, "q");
        if (length >= ends) {
            EXPECT_STMT(SQL_SUCCESS, wire->stmt, code);
            EXPECT_EQ(fetch_all(wire->stmt),
                      (std::vector<std::string>{first, "SQL_ERROR: " + bad_end}));
        } else if (SQL_SUCCEEDED(code)) {
            drain(wire->stmt, 3);
        }
        EXPECT_STMT(SQL_NO_DATA, wire->stmt, SQLFetch(wire->stmt));
        expect_mixed_rows(wire.get());
    }
}

TEST(lies, any_byte_may_be_wrong)
{
    const wire_ptr wire = wire_logged_on();
    // A page that is asked for by a wrong flag gets a refusal.
    node_answer_rest(wire->node.get(), [](const node_request &) {
        return std::vector<node_frame>{error_frame(0x2200, "no such page")};
    });
    const bytes whole = mixed_rows().body;
    for (std::size_t at = 0; at < whole.size(); at++) {
        SCOPED_TRACE(at);
        for (const unsigned char value : {0x00, 0x01, 0x05, 0x22, 0x7F, 0x80, 0xFF}) {
            bytes body = whole;
            body[at] = static_cast<char>(value);
            expect_query(wire->node.get(), "q", {{.opcode = NODE_RESULT, .body = body}});
            exec(wire->stmt, "q");
            drain(wire->stmt, 5);
            expect_mixed_rows(wire.get());
        }
    }
}

TEST(lies, counts_and_lengths_beyond_the_body)
{
    const node_columns one = {{"n", type_of(NODE_INT)}};
    const node_columns text = {{"t", type_of(NODE_VARCHAR)}};
    bytes deep = type_of(NODE_INT);
    for (int i = 0; i < 5000; i++)
        deep = type_list(deep);
    const auto raw_cell = [](const node_columns &columns, const bytes &cell) {
        node_frame frame = rows_frame(columns, {}, {.row_count = 1});
        frame.body += cell;
        return frame;
    };
    const std::vector<std::string> broken = {"SQL_ERROR: " + bad_end};
    const std::vector<std::string> nothing = {};
    const struct {
        const char *what;
        node_frame reply;
        SQLRETURN code;  // of the execution
        std::vector<std::string> rows;
    } cases[] = {
        {"negative columns", rows_frame(one, {{be32(1)}}, {.column_count = -1}), SQL_ERROR, {}},
        {"too many columns", rows_frame(one, {{be32(1)}}, {.column_count = 65536}), SQL_ERROR, {}},
        {"most columns", rows_frame(one, {}, {.column_count = 65535}), SQL_SUCCESS, nothing},
        {"five thousand lists", rows_frame({{"d", deep}}, {{"x"}}), SQL_ERROR, {}},
        {"negative rows", rows_frame(one, {{be32(1)}}, {.row_count = -1}), SQL_SUCCESS, nothing},
        {"one row too many",
         rows_frame(one, {{be32(1)}}, {.row_count = 2}),
         SQL_SUCCESS,
         {"1", broken[0]}},
        {"billions of rows",
         rows_frame(one, {{be32(1)}}, {.row_count = 0x7FFFFFFF}),
         SQL_SUCCESS,
         {"1", broken[0]}},
        {"fewer rows than sent",
         rows_frame(one, {{be32(1)}, {be32(2)}}, {.row_count = 1}),
         SQL_SUCCESS,
         {"1"}},
        {"text longer than the body", raw_cell(text, be32(100) + "abc"), SQL_SUCCESS, broken},
        {"text of 2 GiB", raw_cell(text, be32(0x7FFFFFFF) + "abc"), SQL_SUCCESS, broken},
        {"text shorter by one", raw_cell(text, be32(4) + "abc"), SQL_SUCCESS, broken},
        {"length cut", raw_cell(text, from_hex("00 00 00")), SQL_SUCCESS, broken},
        {"negative length", raw_cell(text, be32(0x80000000)), SQL_SUCCESS, {"NULL"}},
        {"int of three bytes", rows_frame(one, {{"abc"}}), SQL_SUCCESS, broken},
        {"int of eight bytes", rows_frame(one, {{be64(1)}}), SQL_SUCCESS, broken},
        {"int of no bytes", rows_frame(one, {{""}}), SQL_SUCCESS, {"NULL"}},
    };
    const wire_ptr wire = wire_logged_on();
    for (const auto &c : cases) {
        SCOPED_TRACE(c.what);
        SQLFreeStmt(wire->stmt, SQL_CLOSE);
        expect_query(wire->node.get(), "q", {c.reply});
        EXPECT_STMT(c.code, wire->stmt, exec(wire->stmt, "q"));
        if (c.code == SQL_ERROR) {
            EXPECT_EQ(stmt_records(wire->stmt), record_list{bad_end});
        } else {
            EXPECT_EQ(fetch_all(wire->stmt), c.rows);
        }
        EXPECT_STMT(SQL_NO_DATA, wire->stmt, SQLFetch(wire->stmt));
        expect_in_step(wire.get());
    }
}

TEST(lies, prepared_reply_may_be_short_anywhere)
{
    const wire_ptr wire = wire_logged_on();
    const bytes whole = prepared_frame("id", {{"p", type_of(NODE_INT)}}, mixed).body;
    for (std::size_t length = 0; length < whole.size(); length++) {
        SCOPED_TRACE(length);
        node_expect(wire->node.get(),
                    {.opcode = NODE_PREPARE,
                     .replies = {{.opcode = NODE_RESULT, .body = whole.substr(0, length)}}});
        prepare(wire->stmt, "q");
        SQLSMALLINT count = 0;
        // A statement that is not prepared yet tries again.
        if (length < 4)
            expect_prepare(wire->node.get(), "q", {prepared_frame("id", {}, mixed)});
        SQLNumResultCols(wire->stmt, &count);
        expect_in_step(wire.get());
    }
}

// Nothing crashes, waits or takes the memory that such a frame asks for.
TEST(lies, broken_compression_is_a_failed_request)
{
    const bytes body = rows_frame({{"n", type_of(NODE_INT)}}, {{be32(1)}}).body;
    const bytes good = lz4_body(body);
    const bytes block = good.substr(4);
    const auto frame = [](const bytes &compressed) {
        return node_frame{.opcode = NODE_RESULT,
                          .body = compressed,
                          .flags = 0x01,
                          .compression = COMPRESS_NEVER};
    };
    const struct {
        const char *what;
        bool lz4;
        node_frame reply;
    } cases[] = {
        {"compressed though never asked for", false, frame(good)},
        {"no room for a size", true, frame("abc")},
        {"size alone", true, frame(be32(10))},
        {"negative size", true, frame(be32(0x80000000) + block)},
        {"size of 2 GiB", true, frame(be32(0x7FFFFFFF) + block)},
        {"size a byte short", true, frame(be32(body.size() - 1) + block)},
        {"size of a bomb", true, frame(be32(256 * block.size() + 65) + block)},
        {"garbage", true, frame(be32(100) + pattern(80))},
        {"block cut", true, frame(good.substr(0, good.size() - 3))},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.what);
        const wire_ptr wire = wire_logged_on({.lz4 = c.lz4});
        expect_query(wire->node.get(), "q", {c.reply});
        EXPECT_STMT(SQL_ERROR, wire->stmt, exec(wire->stmt, "q"));
        EXPECT_EQ(stmt_records(wire->stmt), record_list{no_packet});
        EXPECT_STMT(SQL_NO_DATA, wire->stmt, SQLFetch(wire->stmt));
    }
}

TEST(lies, header_length_beyond_the_bytes_that_come)
{
    for (const std::int32_t length : {-1, INT32_MIN, INT32_MAX, 1 << 20}) {
        SCOPED_TRACE(length);
        const wire_ptr wire = wire_logged_on();
        node_frame reply = mixed_rows();
        reply.announced_length = length;
        reply.ending = CLOSE;
        expect_query(wire->node.get(), "q", {reply});
        EXPECT_STMT(SQL_ERROR, wire->stmt, exec(wire->stmt, "q"));
        EXPECT_EQ(stmt_records(wire->stmt).front(), no_packet);
    }
}
