// Replies: errors, and frames that are well formed but not what was asked for.
#include "tests/wire/wire_support.h"

static const node_columns one_int = {{"n", type_of(NODE_INT)}};

// Version and stream are not looked at, nor are flags that nobody asked for; a reply need not be
// compressed though it could.
TEST(results, frame_of_a_reply_is_taken_as_it_comes)
{
    const wire_ptr wire = wire_logged_on({.lz4 = true});
    node_frame reply = rows_frame(one_int, {{be32(7)}});
    reply.version = 0x04;
    reply.stream = 99;
    reply.flags = 0x10;
    reply.compression = COMPRESS_NEVER;
    run_query(wire, "q", reply);
    EXPECT_EQ(fetch_all(wire->stmt), row_list{"7"});
}

// What is there is good, and the fetch that runs out of it ends the result.
TEST(results, counts_that_lie)
{
    const std::string broken = "SQL_ERROR: " + link_failure + "unexpected end of packet";
    const std::vector<node_row> two = {{be32(7)}, {be32(7)}};
    const std::pair<int, row_list> cases[] = {
        {-1, {}}, {1, {"7"}}, {INT32_MAX, {"7", "7", broken}}};
    const wire_ptr wire = wire_logged_on();
    for (const auto &[count, rows] : cases) {
        run_query(wire, "q", rows_frame(one_int, two, {.row_count = count}));
        EXPECT_EQ(fetch_all(wire->stmt), rows);
        EXPECT_STMT(SQL_NO_DATA, wire->stmt, SQLFetch(wire->stmt));
    }
    // More columns than there is room for.
    for (const bool standard : {false, true}) {
        const wire_ptr other = wire_of(standard);
        node_frame many = rows_frame(one_int, {});
        many.body.replace(8, 4, be32(2000));
        run_query(other, "q", many, standard ? SQL_ERROR : SQL_SUCCESS);
        EXPECT_EQ(column_count(other->stmt), standard ? 0 : 2000);
    }
}

// After each of them the connection serves on.
TEST(results, error_frames_give_code_and_text)
{
    const std::pair<node_frame, std::string> cases[] = {
        {error_frame(0xFFFFFFFF, "%s%n%S"), "error code -1 '%s%n%S'"},
        {with_warnings(error_frame(0x2200, ""), {"warned"}), "error code 8704 ''"},
        // Each byte of the server's text beyond ASCII is shown by its number.
        {error_frame(0x2200, "caf\xC3\xA9"), "error code 8704 'caf\\x00C3\\x00A9'"},
        {{.opcode = NODE_ERROR, .body = be32(0x2200) + be16(500) + "short"}, "error code 8704 ''"},
        {{.opcode = NODE_EVENT}, "unexpected packet type 12"},
    };
    const wire_ptr wire = wire_logged_on();
    for (const auto &[reply, text] : cases) {
        run_query(wire, "q", reply, SQL_ERROR);
        EXPECT_EQ(stmt_records(wire->stmt), record_list{link_failure + text});
        expect_prepare(wire->node, "q", {reply});
        EXPECT_STMT(SQL_ERROR, wire->stmt, prepare(wire->stmt, "q"));
        EXPECT_EQ(stmt_records(wire->stmt), record_list{link_failure + text});
        EXPECT_STMT(SQL_ERROR, wire->stmt, SQLExecute(wire->stmt));
    }
}
