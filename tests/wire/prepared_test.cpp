// Prepared statements over their life: what is sent of them, by both conducts.
#include "tests/wire/parameter_support.h"

static const bytes one_int = type_of(NODE_INT), one_bigint = type_of(NODE_BIGINT);
static const node_frame forgotten = error_frame(0x2500, "Prepared query not found", "\x02ID");

static void expect_execute(const wire_ptr &wire, const bytes &id, const bytes &values,
                           const node_frame &reply, const bytes &state = {})
{
    expect_values(wire, true, "", values, reply, state, id);
}

// One round trip for each text in each keyspace, until the schema changes or 256 others came.
TEST(prepared, texts_are_sent_once)
{
    for (const bool standard : {false, true}) {
        const wire_ptr wire = wire_of(standard);
        scripted_node *node = wire->node;
        const auto prepare_sent = [&](const std::string &sql, const bytes &id, bool known) {
            if (!known || !standard)
                expect_prepare(node, sql, {prepared_frame(id, {}, {{"a", one_int}})});
            EXPECT_STMT(SQL_SUCCESS, wire->stmt, prepare(wire->stmt, sql));
            EXPECT_EQ(column_count(wire->stmt), 1);
            expect_execute(wire, id, "", rows_frame({{"a", one_int}}, {}));
            EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLExecute(wire->stmt));
        };
        prepare_sent("q", "Q1", false);
        prepare_sent("q", "Q1", true);
        run_query(wire, "use k", with_warnings(set_keyspace_frame("k"), {"an anti-pattern"}),
                  SQL_SUCCESS_WITH_INFO);
        prepare_sent("q", "Q2", false);
        run_query(wire, "use \"\"", set_keyspace_frame(""));
        for (int i = 0; i < 255; i++)
            prepare_sent(std::to_string(i), "N", false);
        for (const auto &[sql, known] :
             {std::pair("0", true), {"255", false}, {"256", false}, {"0", true}, {"1", false}})
            prepare_sent(sql, "N", known);
        run_query(wire, "alter",
                  {.opcode = NODE_RESULT,
                   .body = be32(5) + wire_string("UPDATED") + wire_string("KEYSPACE") +
                           wire_string("k")});
        prepare_sent("0", "M", false);
    }
}

// The server has forgotten a statement: it is prepared again, and its values are encoded by the
// types that it has now. A second time is an error, and so is the first one by default.
TEST(prepared, forgotten_statements_are_mended)
{
    const bytes as_int = counted({int_value(-2)}), as_bigint = counted({wire_bytes(be(-2, 8))});
    const auto page = [](int number, const bytes &state) {
        return rows_frame({{"a", one_int}}, {{be32(number)}}, {.paging_state = state});
    };
    for (const bool standard : {false, true}) {
        const wire_ptr wire = wire_of(standard);
        SQLINTEGER value = -2;
        bind(wire->stmt, 1, SQL_C_SLONG, SQL_INTEGER, &value, nullptr);
        expect_prepare(wire->node, "i ?", {prepared_frame("ID", {{"a", one_int}}, {})});
        EXPECT_STMT(SQL_SUCCESS, wire->stmt, prepare(wire->stmt, "i ?"));
        expect_execute(wire, "ID", as_int, forgotten);
        if (standard) {
            expect_prepare(wire->node, "i ?", {prepared_frame("NEW", {{"a", one_bigint}}, {})});
            expect_execute(wire, "NEW", as_bigint, void_frame());
        }
        EXPECT_STMT(standard ? SQL_SUCCESS : SQL_ERROR, wire->stmt, SQLExecute(wire->stmt));
        if (!standard)
            continue;
        expect_execute(wire, "NEW", as_bigint, forgotten);
        expect_prepare(wire->node, "i ?", {prepared_frame("ID", {{"a", one_int}}, {})});
        expect_execute(wire, "ID", as_int, forgotten);
        EXPECT_STMT(SQL_ERROR, wire->stmt, SQLExecute(wire->stmt));
        EXPECT_EQ(states_of(wire->stmt), "HY000");

        // Between two pages, whose values are those of the first.
        expect_prepare(wire->node, "s ?",
                       {prepared_frame("ID", {{"a", one_int}}, {{"a", one_int}})});
        EXPECT_STMT(SQL_SUCCESS, wire->stmt, prepare(wire->stmt, "s ?"));
        expect_execute(wire, "ID", as_int, page(1, "state"));
        EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLExecute(wire->stmt));
        value = 7;
        expect_execute(wire, "ID", as_int, forgotten, "state");
        expect_prepare(wire->node, "s ?",
                       {prepared_frame("NEW", {{"a", one_int}}, {{"a", one_int}})});
        expect_execute(wire, "NEW", as_int, page(2, ""), "state");
        EXPECT_EQ(fetch_all(wire->stmt), (row_list{"1", "2"}));
    }
}

TEST(prepared, warnings_come_with_the_first_execution)
{
    for (const bool standard : {false, true}) {
        const wire_ptr wire = wire_of(standard);
        expect_prepare(wire->node, "q",
                       {with_warnings(prepared_frame("ID", {}, {}), {"unqualified"})});
        EXPECT_STMT(standard ? SQL_SUCCESS : SQL_SUCCESS_WITH_INFO, wire->stmt,
                    prepare(wire->stmt, "q"));
        for (const bool first : {true, false}) {
            expect_execute(wire, "ID", "", void_frame());
            EXPECT_STMT(standard && first ? SQL_SUCCESS_WITH_INFO : SQL_SUCCESS, wire->stmt,
                        SQLExecute(wire->stmt));
            EXPECT_EQ(stmt_records(wire->stmt),
                      standard && first ? record_list{"01000 unqualified"} : record_list());
        }
    }
}

TEST(prepared, a_reply_without_rows_ends_what_was_there)
{
    for (const bool standard : {false, true}) {
        const wire_ptr wire = wire_of(standard);
        run_query(wire, "q", text_page({"1", "2"}));
        run_query(wire, "i", void_frame());
        EXPECT_EQ(column_count(wire->stmt), standard ? 0 : 1);
        EXPECT_EQ(SQLFetch(wire->stmt), standard ? SQL_NO_DATA : SQL_SUCCESS);
    }
}
