// RESULT frames onto a statement: whole ones, short ones, hostile ones, and the exchange round
// them.
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <random>
#include <vector>

#include "core/cass_field.h"
#include "core/cass_pkt_exchange.h"
#include "core/cass_pkt_result.h"
#include "tests/unit/session_fixture.h"

constexpr int GLOBAL = 1, MORE_PAGES = 2, NO_METADATA = 4;

static std::string type(int id)
{
    return be16(id);
}

// Columns under one keyspace and table.
static std::string columns(const std::vector<std::pair<std::string, std::string>> &list)
{
    std::string all = str("ks") + str("tab");
    for (const auto &[name, option] : list)
        all += str(name) + option;
    return all;
}

static std::string metadata(int flags, int count, const std::string &specs,
                            const std::string &paging = "")
{
    return be32(flags) + be32(count) + ((flags & MORE_PAGES) ? long_str(paging) : "") + specs;
}

static const std::string two_columns = columns({{"id", type(CQL_INT)}, {"t", type(CQL_VARCHAR)}});
static const std::string one_row = long_str(be32(7)) + long_str("seven");

static std::string rows(const std::string &meta, int count, const std::string &cells)
{
    return be32(KIND_ROWS) + meta + be32(count) + cells;
}

static std::int32_t decode(const session &s, const std::string &body)
{
    const held_packet packet(packet_of(s.stmt, OPCODE_RESULT, body));
    return decode_result_packet(s.stmt, packet.get());
}

static std::string column_names(const cass_desc *desc)
{
    std::string all;
    for (std::int32_t i = 0; i < desc->field_count; i++) {
        const cass_field &field = desc->fields[i];
        all += narrow(field.keyspace_name) + "." + narrow(field.table_name) + "." +
               narrow(field.column_name) + ":" + std::to_string(field.cql_type) + " ";
    }
    return all;
}

TEST(result, rows_fill_the_descriptor_and_stay_in_the_frame)
{
    session s;
    const std::string each =
        str("k1") + str("t1") + str("a") + type(CQL_INT) + str("k2") + str("t2") + str("") +
        type(CQL_UUID);
    const struct {
        std::string meta;
        std::string names;
        std::string paging;
    } cases[] = {
        {metadata(GLOBAL, 2, two_columns), "ks.tab.id:9 ks.tab.t:13 ", ""},
        {metadata(MORE_PAGES, 2, each, "page2"), "k1.t1.a:9 k2.t2.:12 ", "page2"},
        {metadata(GLOBAL | MORE_PAGES, 2, two_columns, "p3"), "ks.tab.id:9 ks.tab.t:13 ", "p3"},
        {metadata(NO_METADATA, 5, ""), "ks.tab.id:9 ks.tab.t:13 ", ""},  // as they were
        {metadata(NO_METADATA | MORE_PAGES, 5, "", "p5"), "ks.tab.id:9 ks.tab.t:13 ", "p5"},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(decode(s, rows(c.meta, 1, one_row)), KIND_ROWS);
        EXPECT_EQ(column_names(s.stmt->ird), c.names);
        EXPECT_EQ(s.stmt->ird->found_count, 2);
        EXPECT_EQ(s.stmt->ird->found_valid, 1);
        EXPECT_EQ(s.stmt->paging_state_len, static_cast<std::int32_t>(c.paging.size()));
        const auto *paging = reinterpret_cast<const char *>(s.stmt->paging_state);
        EXPECT_EQ(std::string(paging == nullptr ? "" : paging, c.paging.size()), c.paging);
        EXPECT_EQ(s.stmt->current_row_count, 1);
        EXPECT_EQ(s.stmt->current_row_offset, 0);
        ASSERT_NE(s.stmt->current_packet, nullptr);
        EXPECT_EQ(s.stmt->current_packet->refs, 1);
        EXPECT_EQ(pkt_remaining(s.stmt->current_packet), static_cast<int>(one_row.size()));
    }
}

TEST(result, prepared_keeps_the_id_and_fills_both_descriptors)
{
    session s;
    cass_desc *own = cass_alloc_desc(s.conn);
    s.stmt->ipd = own;
    const std::string parameters =
        be32(GLOBAL) + be32(1) + be32(2) + be16(0) + be16(5) + columns({{"p", type(CQL_BIGINT)}});
    const std::string body =
        be32(KIND_PREPARED) + str("id-1") + parameters + metadata(GLOBAL, 2, two_columns);
    for (int round = 0; round < 2; round++) {
        EXPECT_EQ(decode(s, body), KIND_PREPARED);
        EXPECT_EQ(s.stmt->prepared_id_len, 4);
        EXPECT_EQ(std::memcmp(s.stmt->prepared_id, "id-1", 4), 0);
        EXPECT_EQ(s.stmt->ipd, s.stmt->implicit_ipd);
        EXPECT_EQ(column_names(s.stmt->ipd), "ks.tab.p:2 ");
        EXPECT_EQ(column_names(s.stmt->ird), "ks.tab.id:9 ks.tab.t:13 ");
    }
    EXPECT_EQ(decode(s, be32(KIND_PREPARED) + str("x") + be32(0) + be32(0) + be32(0) +
                            metadata(NO_METADATA, 0, "")),
              KIND_PREPARED);
    EXPECT_EQ(s.stmt->ipd->field_count, 0);
    EXPECT_EQ(s.stmt->current_packet, nullptr);
}

TEST(result, kinds_without_rows_leave_the_columns)
{
    session s;
    decode(s, rows(metadata(GLOBAL, 2, two_columns), 0, ""));
    const struct {
        std::string body;
        std::int32_t kind;
    } cases[] = {
        {be32(KIND_VOID), KIND_VOID},
        {be32(KIND_SET_KEYSPACE) + str("Other"), KIND_SET_KEYSPACE},
        {be32(KIND_SCHEMA_CHANGE) + str("CREATED") + str("KEYSPACE") + str("k"),
         KIND_SCHEMA_CHANGE},
        {be32(KIND_SCHEMA_CHANGE) + str("DROPPED") + str("TABLE") + str("k") + str("t"),
         KIND_SCHEMA_CHANGE},
        {be32(KIND_SCHEMA_CHANGE) + str("UPDATED") + str("TYPE") + str("k") + str("t") + be16(2) +
             str("a") + str("b"),
         KIND_SCHEMA_CHANGE},
        {be32(6), RESULT_UNKNOWN_KIND},
        {"", RESULT_UNKNOWN_KIND},
    };
    for (const auto &c : cases)
        EXPECT_EQ(decode(s, c.body), c.kind);
    EXPECT_EQ(narrow(s.conn->current_keyspace), "Other");
    EXPECT_EQ(column_names(s.stmt->ird), "ks.tab.id:9 ks.tab.t:13 ");
    EXPECT_EQ(records(&s.stmt->head), "");
}

// A tree as text, to compare with.
static std::string tree(const cass_type_option *option)
{
    if (option == nullptr)
        return "-";
    std::string all = cql_type_name(option->option_id);
    if (option->custom_name != nullptr)
        all += "'" + narrow(option->custom_name) + "'";
    if (option->element != nullptr)
        all += "<" + tree(option->element);
    if (option->value != nullptr)
        all += "," + tree(option->value);
    if (option->element != nullptr)
        all += ">";
    if (option->option_id == CQL_UDT)
        all += " " + narrow(option->udt_keyspace) + "." + narrow(option->udt_name);
    for (std::int32_t i = 0; i < option->field_count; i++)
        all += " " + narrow(option->fields[i].name) + "=" + tree(option->fields[i].type);
    for (std::int32_t i = 0; i < option->tuple_count; i++)
        all += " " + tree(option->tuple_types[i]);
    return all;
}

TEST(type_option, trees_are_read_whole_and_short_ones_as_far_as_they_go)
{
    session s;
    const std::string udt = type(CQL_UDT) + str("k") + str("addr") + be16(3) + str("a") +
                            type(CQL_INT) + str("b") + type(CQL_SET) + type(CQL_VARCHAR) +
                            str("c") + type(CQL_UUID);
    const struct {
        std::string body;
        std::string want;
        int left;
    } cases[] = {
        {type(CQL_MAP) + type(CQL_VARCHAR) + type(CQL_LIST) + type(CQL_INT),
         "MAP<VARCHAR,LIST<INT>>", 0},
        {type(CQL_CUSTOM) + str("org.X") + "rest", "CUSTOM'org.X'", 4},
        {udt, "UDT k.addr a=INT b=SET<VARCHAR> c=UUID", 0},
        {type(CQL_TUPLE) + be16(2) + type(CQL_INT) + type(CQL_TUPLE) + be16(0), "TUPLE INT TUPLE",
         0},
        {type(10) + "rest", "UNKNOWN", 4},
        {type(CQL_TUPLE) + be16(32767) + type(CQL_INT), "TUPLE INT", 0},
        {type(CQL_TUPLE) + be16(-1) + type(CQL_INT), "TUPLE", 2},
        {type(CQL_UDT) + str("k") + str("u") + be16(32767) + str("f"), "UDT k.u f=CUSTOM''", 0},
        {type(CQL_MAP), "MAP<CUSTOM'',CUSTOM''>", 0},
    };
    for (const auto &c : cases) {
        const held_packet packet(packet_of(s.stmt, OPCODE_RESULT, c.body));
        cass_type_option *option = decode_type_option(packet.get());
        EXPECT_EQ(tree(option), c.want);
        EXPECT_EQ(pkt_remaining(packet.get()), c.left) << c.want;
        free_type_option(option);
    }
}

static std::string nested(int levels)
{
    std::string all;
    for (int i = 1; i < levels; i++)
        all += type(i % 2 ? CQL_LIST : CQL_SET);
    return all + type(CQL_INT);
}

TEST(result, counts_and_trees_that_cannot_be_fail_without_records_of_columns)
{
    const struct {
        const char *name;
        std::string meta;
        std::int32_t want;
    } cases[] = {
        {"negative count", metadata(GLOBAL, -1, two_columns), RESULT_MALFORMED},
        {"65536 columns", metadata(GLOBAL, 65536, two_columns), RESULT_MALFORMED},
        {"2^31-1 columns", metadata(GLOBAL, INT32_MAX, two_columns), RESULT_MALFORMED},
        {"65 levels", metadata(GLOBAL, 2, columns({{"a", type(9)}, {"b", nested(65)}})),
         RESULT_MALFORMED},
        {"64 levels", metadata(GLOBAL, 1, columns({{"b", nested(64)}})), KIND_ROWS},
    };
    for (const auto &c : cases) {
        session s;
        decode(s, rows(metadata(GLOBAL, 2, two_columns), 0, ""));
        const cass_packet *before = s.stmt->current_packet;
        EXPECT_EQ(decode(s, rows(c.meta, 1, one_row)), c.want) << c.name;
        if (c.want != RESULT_MALFORMED) {
            EXPECT_EQ(records(&s.stmt->head), "");
            continue;
        }
        EXPECT_EQ(records(&s.stmt->head),
                  "08S01|Communication link failure: unexpected end of packet\n");
        EXPECT_EQ(s.stmt->ird->field_count, 0) << c.name;
        EXPECT_EQ(s.stmt->current_packet, before) << c.name;
        // And as parameters of a prepared statement.
        EXPECT_EQ(decode(s, be32(KIND_PREPARED) + str("id") + c.meta.substr(0, 8) + be32(0) +
                                c.meta.substr(8)),
                  RESULT_MALFORMED)
            << c.name;
        EXPECT_EQ(s.stmt->ipd->field_count, 0) << c.name;
    }
}

TEST(result, columns_that_a_short_body_does_not_have_come_out_nameless)
{
    session s;
    const std::string body = be32(KIND_ROWS) + metadata(GLOBAL, 65535, two_columns);
    EXPECT_EQ(decode(s, body), KIND_ROWS);
    EXPECT_EQ(s.stmt->ird->field_count, 65535);
    EXPECT_EQ(narrow(s.stmt->ird->fields[1].column_name), "t");
    EXPECT_EQ(narrow(s.stmt->ird->fields[65534].column_name), "");
    EXPECT_EQ(s.stmt->current_row_count, 0);
    EXPECT_EQ(decode(s, rows(metadata(GLOBAL, 2, two_columns), -5, "")), KIND_ROWS);
    EXPECT_EQ(s.stmt->current_row_count, 0);
}

TEST(result, cut_or_garbled_anywhere_never_leaves_the_frame)
{
    const std::string udt =
        type(CQL_UDT) + str("k") + str("u") + be16(1) + str("f") + type(CQL_INT);
    const std::string bodies[] = {
        rows(metadata(GLOBAL | MORE_PAGES, 3,
                      columns({{"a", nested(5)}, {"b", udt}, {"c", type(CQL_CUSTOM) + str("X")}}),
                      "state"),
             1, one_row),
        be32(KIND_PREPARED) + str("id") + be32(0) + be32(1) + be32(2) + be16(0) + be16(1) +
            str("k") + str("t") + str("p") + type(CQL_TUPLE) + be16(2) + type(1) + type(2) +
            metadata(GLOBAL, 2, two_columns),
        be32(KIND_SCHEMA_CHANGE) + str("X") + str("TYPE") + str("k") + str("t") + be16(1) +
            str("a"),
        be32(KIND_SET_KEYSPACE) + str("k"),
    };
    std::minstd_rand random(1);
    session s;
    for (const std::string &body : bodies) {
        for (std::size_t cut = 0; cut < body.size(); cut++)
            decode(s, body.substr(0, cut));
        for (int i = 0; i < 100; i++) {
            std::string garbled = body;
            for (int k = 0; k < 3; k++)
                garbled[4 + random() % (body.size() - 4)] = static_cast<char>(random() >> 8);
            decode(s, garbled);
            cass_diag_clear(&s.stmt->head);
        }
    }
}

TEST(result, warnings_become_one_text)
{
    session s;
    const struct {
        std::string body;
        std::string want;
        int left;
    } cases[] = {
        {be16(2) + str("first") + str("second") + "rest", "firstsecond", 4},
        {be16(0) + "rest", "", 4},
        {be16(-1) + "rest", "", 4},
        {be16(32767) + str("only"), "only", 0},
        {"", "", 0},
    };
    for (const auto &c : cases) {
        const held_packet packet(packet_of(s.stmt, OPCODE_RESULT, c.body));
        const held_string text(decode_warnings(s.stmt, packet.get()));
        EXPECT_EQ(narrow(text.get()), c.want);
        EXPECT_EQ(pkt_remaining(packet.get()), c.left);
    }
}

TEST(result, the_log_names_columns_and_their_types)
{
    session s;
    char path[] = "/tmp/result_log_XXXXXX";
    close(mkstemp(path));
    std::snprintf(s.conn->log_file, sizeof s.conn->log_file, "%s", path);
    s.stmt->head.log_mask = 31;
    const std::string global =
        columns({{"m", type(CQL_MAP) + type(CQL_VARCHAR) + type(CQL_LIST) + type(CQL_INT)},
                 {"s", type(CQL_SET) + type(CQL_INT)},
                 {"c", type(CQL_CUSTOM) + str("org.X")}});
    const std::string single = str("k") + str("t") + str("s") + type(CQL_SET) + type(CQL_INT);
    decode(s, rows(metadata(GLOBAL | MORE_PAGES, 3, global, "state"), 1, one_row));
    decode(s, rows(metadata(0, 1, single), 0, ""));
    decode(s, be32(KIND_SCHEMA_CHANGE) + str("UPDATED") + str("KEYSPACE") + str("k"));
    std::ifstream file(path);
    const std::string log((std::istreambuf_iterator<char>(file)), {});
    for (const char *text :
         {"flags: 3", "column_count: 3", "paging data", "global ksname: ks", "name[ 0 ]: m",
          "option id[ 0 ]: 33 (MAP)", "MAP[ 0 ]<VARCHAR,LIST>", "SET[ 1 ]<INT>",
          "CUSTOM[ 2 ]: org.X", "rows count: 1", "ksname: k", "SET[ 0 ]<INT,>",
          "keyspace changed: k"})
        EXPECT_NE(log.find(text), std::string::npos) << text;
    unlink(path);
}

// ---- Pages of one result ------------------------------------------------------------------------

TEST(result, columns_of_a_further_page_are_not_built_again_while_nothing_changed)
{
    session s;
    const std::string page = rows(metadata(GLOBAL | MORE_PAGES, 2, two_columns, "p"), 1, one_row);
    decode(s, page);
    cass_field *field = &s.stmt->ird->fields[1];
    const cass_string *name = field->column_name;
    field->data_storage.data_type = SQL_CHAR;
    field->data_storage.buffer = static_cast<unsigned char *>(std::malloc(64));
    field->data_storage.capacity = 64;
    field->data_storage.value.bytes = field->data_storage.buffer;
    field->data_storage.alloc_length = 5;

    // Another paging state, other rows, the same columns: only the cells start afresh.
    decode(s, rows(metadata(GLOBAL | MORE_PAGES, 2, two_columns, "other"), 0, ""));
    EXPECT_EQ(s.stmt->ird->fields[1].column_name, name);
    EXPECT_EQ(field->data_storage.data_type, 0);
    EXPECT_EQ(field->data_storage.alloc_length, 0);
    EXPECT_EQ(field->data_storage.capacity, 64u);
    EXPECT_EQ(s.stmt->paging_state_len, 5);
    EXPECT_EQ(s.stmt->current_row_count, 0);
    decode(s, page);
    EXPECT_EQ(pkt_remaining(s.stmt->current_packet), static_cast<int>(one_row.size()));
}

TEST(result, columns_are_built_again_after_any_change)
{
    session s;
    const std::string page = rows(metadata(GLOBAL, 2, two_columns), 1, one_row);
    const std::string good = "ks.tab.id:9 ks.tab.t:13 ";
    const auto fields_at = [&s] { return s.stmt->ird->fields; };

    decode(s, page);
    cass_desc_resize(s.stmt->ird, 5);  // binding beyond the last column grows it
    decode(s, page);
    EXPECT_EQ(column_names(s.stmt->ird), good);

    cass_desc_resize(s.stmt->ird, 1);
    cass_desc_resize(s.stmt->ird, 2);
    decode(s, page);
    EXPECT_EQ(column_names(s.stmt->ird), good);

    cass_desc_clear_fields(s.stmt->ird);
    decode(s, page);
    EXPECT_EQ(column_names(s.stmt->ird), good);

    cass_desc_describe(s.stmt->ird, 2);  // a local result of as many columns came between
    decode(s, page);
    EXPECT_EQ(column_names(s.stmt->ird), good);

    const std::string other = columns({{"id", type(CQL_INT)}, {"t", type(CQL_ASCII)}});
    decode(s, rows(metadata(GLOBAL, 2, other), 1, one_row));
    EXPECT_EQ(column_names(s.stmt->ird), "ks.tab.id:9 ks.tab.t:1 ");

    // The records depend on settings too.
    decode(s, page);
    const SQLLEN length = fields_at()[1].octet_length;
    s.conn->string_len = static_cast<std::int32_t>(length) + 1;
    decode(s, page);
    EXPECT_EQ(fields_at()[1].octet_length, length + 1);

    s.stmt->ird = s.stmt->internal_desc;
    decode(s, page);
    EXPECT_EQ(s.stmt->ird, s.stmt->implicit_ird);
    EXPECT_EQ(records(&s.stmt->head), "");
}

TEST(result, an_unknown_type_is_reported_by_every_page)
{
    session s;
    const std::string page =
        rows(metadata(GLOBAL, 1, columns({{"d", type(0x15)}})), 0, "");
    for (int i = 0; i < 2; i++) {
        EXPECT_EQ(decode(s, page), KIND_ROWS);
        EXPECT_EQ(records(&s.stmt->head),
                  "08S01|Communication link failure: type not supported 21\n");
        cass_diag_clear(&s.stmt->head);
    }
}

// ---- The exchange -------------------------------------------------------------------------------

constexpr int WARNED = FRAME_WARNING;
static const std::string broken = "08S01|Communication link failure: ";

TEST(exchange, every_reply_has_its_result_and_record)
{
    const std::string good = rows(metadata(GLOBAL, 2, two_columns), 1, one_row);
    const std::string prepared = be32(KIND_PREPARED) + str("id") + be32(0) + be32(0) + be32(0) +
                                 metadata(GLOBAL, 2, two_columns);
    const std::string error = be32(0x2000) + str("line 1:0 no viable alternative");
    const struct {
        std::string reply;
        int executed;           // result of send_and_execute
        std::string record;
        int prepared;           // result of prepare_stmt
        std::string prepare_record;
    } cases[] = {
        {reply(OPCODE_RESULT, good), 0, "", -1,
         broken + "unexpected packet kind KIND_ROWS, expected KIND_PREPARED\n"},
        {reply(OPCODE_RESULT, be32(KIND_VOID)), 0, "", -1,
         broken + "unexpected packet kind KIND_VOID, expected KIND_PREPARED\n"},
        {reply(OPCODE_RESULT, be32(99)), 0, "", -1,
         broken + "unexpected packet kind Unknown kind type, expected KIND_PREPARED\n"},
        {reply(OPCODE_RESULT, prepared), 0, "", 0, ""},
        {reply(OPCODE_RESULT, be16(2) + str("slow ") + str("table") + prepared, WARNED), 1,
         "01000|slow table\n", 1, "01000|slow table\n"},
        {reply(OPCODE_RESULT, be32(KIND_ROWS) + metadata(0, -1, "")), -1,
         broken + "unexpected end of packet\n", -1, broken + "unexpected end of packet\n"},
        {reply(OPCODE_ERROR, error), -1,
         broken + "error code 8192 'line 1:0 no viable alternative'\n", -1,
         broken + "error code 8192 'line 1:0 no viable alternative'\n"},
        {reply(OPCODE_ERROR, be16(1) + str("warned") + error, WARNED), -1,
         broken + "error code 8192 'line 1:0 no viable alternative'\n", -1,
         broken + "error code 8192 'line 1:0 no viable alternative'\n"},
        {reply(OPCODE_SUPPORTED, ""), -1, broken + "unexpected packet type 6\n", -1,
         broken + "unexpected packet type 6\n"},
        {"", -1, broken + "failed to return packet\n", -1, broken + "failed to return packet\n"},
        {reply(OPCODE_RESULT, good).substr(0, 30), -1, broken + "failed to return packet\n", -1,
         broken + "failed to return packet\n"},
    };
    const held_string sql(cass_string_from_cstr("SELECT 1"));
    for (const auto &c : cases) {
        {
            session s;
            const held_packet request(packet_of(s.stmt, OPCODE_QUERY, "x"));
            say(s, c.reply);
            shutdown(s.peer, SHUT_WR);
            EXPECT_EQ(send_and_execute(s.stmt, request.get()), c.executed) << c.record;
            EXPECT_EQ(records(&s.stmt->head), c.record);
            EXPECT_EQ(s.stmt->executed, c.executed == -1 ? 0 : 1);
        }
        session s;
        say(s, c.reply);
        shutdown(s.peer, SHUT_WR);
        EXPECT_EQ(prepare_stmt(s.stmt, sql.get()), c.prepared) << c.prepare_record;
        EXPECT_EQ(records(&s.stmt->head), c.prepare_record);
        EXPECT_EQ(s.stmt->prepared, c.prepared == -1 ? 0 : 1);
        EXPECT_EQ(heard(s), std::string("\4\0\0\0\x9", 5) + be32(12) + long_str("SELECT 1"));
    }
}

TEST(exchange, a_dead_socket_fails_each_request_in_its_turn)
{
    session s;
    hang_up(s);
    const held_packet request(packet_of(s.stmt, OPCODE_QUERY, "x"));
    for (int i = 0; i < 2; i++) {
        EXPECT_EQ(send_and_execute(s.stmt, request.get()), -1);
        EXPECT_EQ(records(&s.stmt->head), broken + "failed to send packet\n");
        EXPECT_EQ(records(&s.conn->head), broken + "send failed\n");
        cass_diag_clear(&s.stmt->head);
        cass_diag_clear(&s.conn->head);
    }
    EXPECT_EQ(prepare_stmt(s.stmt, nullptr), 0);
    EXPECT_EQ(records(&s.stmt->head), "");
}

TEST(exchange, the_drivers_own_requests_leave_nothing_behind)
{
    session s;
    s.conn->consistency = 6;
    const held_string keyspace(cass_string_from_cstr("MyKs"));
    say(s, reply(OPCODE_RESULT, be32(KIND_SET_KEYSPACE) + str("MyKs")));
    EXPECT_EQ(set_current_keyspace(s.conn, keyspace.get()), 0);
    EXPECT_EQ(narrow(s.conn->current_keyspace), "MyKs");
    EXPECT_EQ(heard(s), std::string("\4\0\0\0\7", 5) + be32(4 + 11 + 3) +
                            long_str("USE \"MyKs\";") + be16(6) + std::string(1, '\0'));

    say(s, reply(OPCODE_RESULT, rows(metadata(GLOBAL, 2, two_columns), 1, one_row)));
    EXPECT_EQ(execute_query(s.conn, keyspace.get()), 0);
    say(s, reply(OPCODE_ERROR, be32(0x2200) + str("Keyspace does not exist")));
    EXPECT_EQ(set_current_keyspace(s.conn, keyspace.get()), -1);
    EXPECT_EQ(records(&s.conn->head), "");
}

TEST(exchange, transactions_are_noted_and_never_sent)
{
    session s;
    EXPECT_EQ(set_autocommit(s.conn, 0, 0), 0);
    EXPECT_EQ(s.conn->autocommit, 0);
    EXPECT_EQ(cass_commit(s.conn) | cass_rollback(s.conn), 0);
    EXPECT_EQ(next_result_set(s.stmt), -1);
    EXPECT_EQ(send_reset(s.stmt), -1);
    EXPECT_EQ(heard(s) + records(&s.conn->head) + records(&s.stmt->head), "");
}
