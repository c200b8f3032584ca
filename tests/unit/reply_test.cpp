// Frames that lie about their size and those that do not come; and RESULT frames onto a statement:
// descriptions of columns, those that cannot be, and those that are used again.
#include <lz4.h>

#include <vector>

#include "core/describe/cass_type_name.h"
#include "core/statement/cass_pkt_exchange.h"
#include "core/statement/cass_pkt_result.h"
#include "tests/unit/handles.h"

TEST(frame, that_lies_about_its_size_is_refused)
{
    char packed[1100];
    const int size = LZ4_compress_default(pattern(1000).data(), packed, 1000, sizeof packed);
    const std::string block(packed, packed + size);
    const std::string cases[] = {
        reply(OPCODE_RESULT, "abc", 1),  // no room for a size
        reply(OPCODE_RESULT, be32(999) + block, 1),
        reply(OPCODE_RESULT, be32(8 << 20) + "abc", 1),  // no such ratio
        reply(OPCODE_RESULT, be32(-5) + pattern(150'000), 1),
    };
    for (const std::string &said : cases) {
        session s;
        cass_exchange_failure failure;
        s.conn->compression = COMPRESSION_LZ4;
        say(s, said);
        EXPECT_EQ(cass_read_packet(s.stmt, &failure), nullptr) << to_hex(said).substr(0, 40);
        EXPECT_LT(s.conn->spare_packet->capacity, 65536u);
        EXPECT_LE(s.conn->compressed_capacity, 65536u);
    }
}

TEST(frame, replies_that_never_come)
{
    session s(true);
    s.conn->conduct = &standard_conduct;
    s.conn->settings.read_timeout = 1;
    cass_late_replies *late = &s.conn->late;
    cass_exchange_failure failure;
    for (int i = 0; i < MOST_LATE_REPLIES; i++) {
        EXPECT_EQ(late->count, i);
        EXPECT_EQ(s.conn->socket_dead, 0);
        cass_limit_request(s.stmt);
        EXPECT_EQ(cass_read_packet(s.stmt, &failure), nullptr);
        EXPECT_EQ(failure, EXCHANGE_TIMED_OUT);
    }
    late->stream = INT16_MAX;  // the numbers begin again, and pass over those still out
    late->streams[7] = 20'000;
    late->count--;
    for (const int dead : {0, 1}) {
        EXPECT_EQ(cass_read_packet(s.stmt, &failure), nullptr);
        EXPECT_EQ(late->stream, 7);
        EXPECT_EQ(s.conn->socket_dead, dead);
    }
}

// ---- Columns ------------------------------------------------------------------------------------

static constexpr auto &type = be16;
static const std::string table = str("ks") + str("t");

// Columns under one keyspace and table.
static std::string metadata(int count, const std::string &specs)
{
    return be32(1) + be32(count) + table + specs;
}

static const std::string two_columns = str("id") + type(CQL_INT) + str("t") + type(CQL_VARCHAR);
static const std::string one_row = long_str(be32(7)) + long_str("seven");

static std::string rows(const std::string &meta)
{
    return be32(KIND_ROWS) + meta + be32(1) + one_row;
}

static std::int32_t decode(const session &s, const std::string &body)
{
    const held_packet packet(packet_of(s.stmt, OPCODE_RESULT, body));
    return cass_take_result(s.stmt, packet.get());
}

TEST(result, counts_and_trees_that_cannot_be_leave_no_columns)
{
    std::string nested;
    for (int i = 1; i < 64; i++)
        nested += i % 3 != 0 ? type(i % 3 == 1 ? CQL_LIST : CQL_SET) : type(CQL_TUPLE) + be16(1);
    nested += type(CQL_INT);
    const std::pair<std::string, bool> cases[] = {
        {metadata(-1, two_columns), false},
        {metadata(2, str("a") + type(CQL_INT) + str("b") + type(CQL_LIST) + nested), false},
        {metadata(65536, std::string(4 * 65536, '\0')), false},
        {metadata(1025, two_columns), true}};
    for (const auto &[meta, standard] : cases) {
        session s(false);
        s.conn->conduct = standard ? &standard_conduct : &default_conduct;
        EXPECT_EQ(decode(s, rows(metadata(1, str("b") + nested))), KIND_ROWS);
        EXPECT_EQ(decode(s, rows(meta)), RESULT_MALFORMED);
        EXPECT_EQ(states_of(s.stmt), standard ? "HY000" : "08S01");
        const std::string parameters = meta.substr(0, 8) + be32(0) + meta.substr(8);
        EXPECT_EQ(decode(s, be32(KIND_PREPARED) + str("id") + parameters), RESULT_MALFORMED);
        EXPECT_EQ(s.stmt->ird->field_count + s.stmt->ipd->field_count, 0);
    }
}

TEST(result, types_that_only_a_class_text_names)
{
    const std::string package = "org.apache.cassandra.db.marshal.";
    std::string deep = "Int32Type", wide = "TupleType(Int32Type";
    for (int i = 0; i < 61; i++)
        deep = "FrozenType(" + deep + ")";
    for (int i = 0; i < 1024; i++)
        wide += ",Int32Type";
    // clang-format off
    std::vector<std::pair<std::string, std::string>> cases = {
        {package + "DurationType", "duration"}, {deep, "int"},
        {package + "VectorType(" + package + "FloatType , 3)", "vector<float, 3>"},
        {"VectorType(ListType(UTF8Type),2147483647)", "vector<frozen<list<text>>, 2147483647>"},
        {"ReversedType(MapType( TimeUUIDType,FrozenType(SetType(DateType)) ) )",
         "frozen<map<timeuuid, frozen<set<timestamp>>>>"},
        {"UserType(ks,61646472,6e:TupleType(ShortType,DurationType),c3a9:IntegerType)",
         "frozen<addr>"}};
    // No types: they stay what the server called them.
    for (const std::string &name : std::initializer_list<std::string>{
        "ReversedType(FrozenType(" + deep + "))", wide + ")", package + "Unheard", "", "Int32Type)",
        "ListType", "ListType()", "MapType(Int32Type)", "VectorType(FloatType,0)",
        "VectorType(FloatType,2147483648)", "UserType(ks,616,6e:Int32Type)",
        "UserType(ks,6x,6e:Int32Type)", "UserType(ks,61,6e Int32Type)", std::string(65535, '(')})
        cases.emplace_back(name, "'" + name + "'");
    // clang-format on
    session s(false);
    for (const auto &[name, wanted] : cases) {
        const held_packet packet(
            packet_of(s.stmt, OPCODE_RESULT, type(CQL_LIST) + type(CQL_CUSTOM) + str(name)));
        std::int32_t types = -1;
        const held_option option(decode_type_option(packet.get(), &types));
        ASSERT_NE(option, nullptr) << name;
        EXPECT_EQ(text_of(held_string(cass_full_type_name(option.get())).get()),
                  "list<" + wanted + ">")
            << name.substr(0, 80);
        EXPECT_EQ(pkt_remaining(packet.get()), 0);
    }
    // Such a column has the cells of the type, here one of a single byte.
    s.conn->conduct = &standard_conduct;
    decode(s, be32(KIND_ROWS) + metadata(1, str("v") + type(CQL_CUSTOM) + str("IntegerType")) +
                  be32(1) + long_str("\7"));
    EXPECT_EQ(fetch_all(s.stmt), row_list{"7"});
}

TEST(result, columns_are_built_again_after_any_change)
{
    const std::string page = rows(metadata(2, two_columns));
    using change = void (*)(session & s);
    static constexpr change changes[] = {
        [](session &s) { cass_desc_resize(s.stmt->ird, 5); },    // as binding beyond the end does
        [](session &s) { cass_desc_describe(s.stmt->ird, 2); },  // a local result came between
        [](session &s) { s.stmt->ird = s.stmt->implicit_ipd; },
        [](session &s) {
            // Each column with a keyspace and table of its own.
            const std::string columns =
                table + str("id") + type(CQL_INT) + table + str("u") + type(CQL_ASCII);
            EXPECT_EQ(decode(s, rows(be32(0) + be32(2) + columns)), KIND_ROWS);
            EXPECT_EQ(text_of(s.stmt->ird->fields[1].column_name), "u");
        },
        [](session &s) { s.conn->settings.string_len = 99; },
    };
    session s(false);
    for (const change make : changes) {
        decode(s, page);
        make(s);
        decode(s, page);
        ASSERT_EQ(s.stmt->ird, s.stmt->implicit_ird);
        const cass_field *field = s.stmt->ird->fields;
        EXPECT_EQ(text_of(field[0].column_name) + text_of(field[1].column_name), "idt");
        EXPECT_TRUE(field[0].cql_type == CQL_INT && field[1].cql_type == CQL_VARCHAR);
    }
    EXPECT_EQ(s.stmt->ird->fields[1].octet_length, 99);
}
