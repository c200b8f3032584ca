// Frames that break off, announce what they do not hold, or are changed in one place. Whatever
// comes, the application sees a diagnostic or a clean end, and the connection stays in step as long
// as whole frames come.
#include "tests/wire/wire_support.h"

static const node_columns mixed = {
    {"i", type_of(NODE_INT)},
    {"t", type_of(NODE_VARCHAR)},
    {"m", type_map(type_of(NODE_INT), type_of(NODE_VARCHAR))},
    {"d", type_of(NODE_DECIMAL)},
    {"u", type_of(NODE_UDT) + wire_string("ks") + wire_string("u") + be16(1) + wire_string("f") +
              type_of(NODE_UUID)},
};

static node_frame mixed_rows()
{
    const bytes map = be32(1) + wire_bytes(be32(1)) + wire_bytes("x");
    const bytes decimal = be32(2) + from_hex("0096");
    return rows_frame(mixed, {{be32(1), "text one", map, decimal, std::nullopt},
                              {std::nullopt, "", map, decimal, wire_bytes(pattern(16))}});
}

static const row_list mixed_texts = {"1|text one|0000000100000004000000010000000178|1.50|NULL",
                                     "NULL||0000000100000004000000010000000178|1.50|" +
                                         to_hex(wire_bytes(pattern(16)))};

static node_frame result_of(const bytes &body)
{
    return {.opcode = NODE_RESULT, .body = body};
}

static const std::string bad_end = link_failure + "unexpected end of packet";

// A following request is answered as if nothing had been.
static void expect_in_step(const wire_ptr &wire)
{
    run_query(wire, "sane", mixed_rows());
    EXPECT_EQ(fetch_all(wire->stmt), mixed_texts);
}

// The frame is whole but its body ends early: the rows that are there are good, and the fetch that
// runs out ends the result.
TEST(lies, short_body_ends_the_result)
{
    const wire_ptr wire = wire_logged_on();
    const bytes whole = mixed_rows().body;
    const std::size_t second_row = 4 + (4 + 0) + (4 + 17) + (4 + 6) + (4 + 20);
    for (std::size_t length = 0; length < whole.size(); length++) {
        SCOPED_TRACE(length);
        expect_query(wire->node, "q", {result_of(whole.substr(0, length))});
        exec(wire->stmt, "q");
        const row_list rows = fetch_all(wire->stmt);
        if (length >= whole.size() - second_row) {
            EXPECT_EQ(rows, (row_list{mixed_texts[0], "SQL_ERROR: " + bad_end}));
        }
        EXPECT_STMT(SQL_NO_DATA, wire->stmt, SQLFetch(wire->stmt));
        expect_in_step(wire);
    }
}

// To a query and to a preparation alike; -1 is the end of the body.
TEST(lies, any_byte_may_be_wrong_or_missing)
{
    const wire_ptr wire = wire_logged_on();
    const node_column odd = {"o", type_of(NODE_TUPLE) + be16(2) + type_of(NODE_INT) +
                                      type_of(NODE_SET) + type_of(NODE_CUSTOM) + wire_string("x")};
    const bytes bodies[] = {mixed_rows().body, prepared_frame("id", {odd}, mixed).body,
                            be32(5) + wire_string("CREATED") + wire_string("FUNCTION") +
                                wire_string("ks") + wire_string("f") + be16(1) +
                                wire_string("int")};
    // A page that is asked for by a wrong flag gets a refusal.
    node_answer_rest(wire->node, [](const node_request &) {
        return std::vector<node_frame>{error_frame(0x2200, "no such page")};
    });
    for (const bytes &whole : bodies)
        for (std::size_t at = 0; at < whole.size(); at++) {
            SCOPED_TRACE(at);
            for (const int value : {-1, 0x00, 0x01, 0x05, 0x22, 0x7F, 0x80, 0xFF}) {
                bytes body = whole.substr(0, value < 0 ? at : bytes::npos);
                if (value >= 0)
                    body[at] = static_cast<char>(value);
                expect_query(wire->node, "q", {result_of(body)});
                exec(wire->stmt, "q");
                // Of thousands of columns the first ones.
                for (int row = 0; row < 5 && SQL_SUCCEEDED(SQLFetch(wire->stmt)); row++)
                    for (int column = 1; column <= std::min(column_count(wire->stmt), 50); column++)
                        cell_text(wire->stmt, column);
                expect_prepare(wire->node, "q", {result_of(body)});
                prepare(wire->stmt, "q");
                expect_in_step(wire);
            }
        }
}

TEST(lies, counts_and_lengths_beyond_the_body)
{
    const node_columns one = {{"n", type_of(NODE_INT)}};
    const std::vector<node_row> row = {{be32(1)}};
    node_frame negative = rows_frame(one, {}, {.row_count = 1});
    negative.body += be32(INT32_MIN);
    const std::string broken = "SQL_ERROR: " + bad_end;
    const struct {
        const char *what;
        node_frame reply;
        SQLRETURN code;  // of the execution
        row_list rows;
    } cases[] = {
        {"too many columns", rows_frame(one, row, {.column_count = 65536}), SQL_ERROR, {}},
        {"most columns", rows_frame(one, {}, {.column_count = 65535}), SQL_SUCCESS, {}},
        {"negative rows", rows_frame(one, row, {.row_count = -1}), SQL_SUCCESS, {}},
        {"most rows", rows_frame(one, row, {.row_count = INT32_MAX}), SQL_SUCCESS, {"1", broken}},
        {"too few rows", rows_frame(one, {row[0], row[0]}, {.row_count = 1}), SQL_SUCCESS, {"1"}},
        {"negative length", negative, SQL_SUCCESS, {"NULL"}},
        {"int of three bytes", rows_frame(one, {{"abc"}}), SQL_SUCCESS, {broken}},
    };
    const wire_ptr wire = wire_logged_on();
    for (const auto &c : cases) {
        SCOPED_TRACE(c.what);
        SQLFreeStmt(wire->stmt, SQL_CLOSE);
        run_query(wire, "q", c.reply, c.code);
        EXPECT_EQ(stmt_records(wire->stmt),
                  c.code == SQL_ERROR ? record_list{bad_end} : record_list());
        EXPECT_EQ(fetch_all(wire->stmt), c.rows);
        EXPECT_STMT(SQL_NO_DATA, wire->stmt, SQLFetch(wire->stmt));
        expect_in_step(wire);
    }
}
