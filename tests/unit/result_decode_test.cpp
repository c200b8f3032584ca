// RESULT frames onto a statement: descriptions of columns, those that cannot be, and those that are
// used again.
#include <vector>

#include "core/describe/cass_type_name.h"
#include "core/statement/cass_pkt_exchange.h"
#include "core/statement/cass_pkt_result.h"
#include "tests/unit/handles.h"

constexpr int GLOBAL = 1, MORE_PAGES = 2;
static constexpr auto &type = be16;

// Columns under one keyspace and table.
static std::string columns(const std::vector<std::pair<std::string, std::string>> &list)
{
    std::string all = str("ks") + str("t");
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

static std::string rows(const std::string &meta, int count = 1)
{
    return be32(KIND_ROWS) + meta + be32(count) + one_row;
}

static std::int32_t decode(const session &s, const std::string &body)
{
    const held_packet packet(packet_of(s.stmt, OPCODE_RESULT, body));
    return cass_take_result(s.stmt, packet.get());
}

static std::string column_names(const cass_desc *desc)
{
    std::string all;
    for (std::int32_t i = 0; i < desc->field_count; i++) {
        const cass_field &field = desc->fields[i];
        all += text_of(field.keyspace_name) + "." + text_of(field.table_name) + "." +
               text_of(field.column_name) + ":" + std::to_string(field.cql_type) + " ";
    }
    return all;
}

static std::string nested(int levels)
{
    std::string all;
    for (int i = 1; i < levels; i++)
        all += i % 3 != 0 ? type(i % 3 == 1 ? CQL_LIST : CQL_SET) : type(CQL_TUPLE) + be16(1);
    return all + type(CQL_INT);
}

static const std::string udt =
    type(CQL_UDT) + str("k") + str("u") + be16(1) + str("f") + type(CQL_INT);

// With and without a keyspace and table for all columns.
TEST(result, a_type_of_any_form_ends_where_the_next_column_begins)
{
    const std::pair<int, std::string> forms[] = {
        {CQL_CUSTOM, str("org.Type")},
        {CQL_LIST, type(CQL_INT)},
        {CQL_MAP, udt + udt},
        {CQL_SET, type(CQL_TUPLE) + be16(2) + type(CQL_INT) + udt},
        {CQL_TUPLE, be16(0)}};
    const std::string table = str("ks") + str("t");
    for (const bool is_global : {true, false}) {
        std::string specs = is_global ? table : "", wanted;
        for (const auto &[id, rest] : forms) {
            specs += (is_global ? "" : table) + str("c") + type(id) + rest;
            wanted += "ks.t.c:" + std::to_string(id) + " ";
        }
        session s(false);
        decode(s, rows(metadata(is_global, std::size(forms), specs)));
        EXPECT_EQ(column_names(s.stmt->ird), wanted);
        EXPECT_EQ(pkt_remaining(s.stmt->page.current_packet), static_cast<int>(one_row.size()));
    }
}

TEST(result, counts_and_trees_that_cannot_be_leave_no_columns)
{
    const std::string deepest = metadata(GLOBAL, 1, columns({{"b", nested(64)}}));
    const std::string deeper = metadata(GLOBAL, 2, columns({{"a", type(9)}, {"b", nested(65)}}));
    const std::string many(4 * 65536, '\0');
    const std::pair<std::string, bool> cases[] = {{metadata(GLOBAL, -1, two_columns), false},
                                                  {deeper, false},
                                                  {metadata(GLOBAL, 65536, many), false},
                                                  {metadata(GLOBAL, 1025, two_columns), true}};
    for (const auto &[meta, standard] : cases) {
        session s;
        s.conn->conduct = standard ? &standard_conduct : &default_conduct;
        EXPECT_EQ(decode(s, rows(deepest)), KIND_ROWS);
        EXPECT_EQ(decode(s, rows(meta)), RESULT_MALFORMED);
        EXPECT_EQ(records(&s.stmt->head),
                  (standard ? "HY000|General error: " : "08S01|Communication link failure: ") +
                      std::string("unexpected end of packet\n"));
        EXPECT_EQ(s.stmt->ird->field_count, 0);
        const std::string parameters = meta.substr(0, 8) + be32(0) + meta.substr(8);
        EXPECT_EQ(decode(s, be32(KIND_PREPARED) + str("id") + parameters), RESULT_MALFORMED);
        EXPECT_EQ(s.stmt->ipd->field_count, 0);
    }
}

// ---- Much out of little -------------------------------------------------------------------------

TEST(result, warnings_are_kept_as_far_as_a_record_can_show_them)
{
    session s;
    std::string body = be16(30'000);
    for (int i = 0; i < 30'000; i++)
        body += str("abc");
    const held_packet packet(packet_of(s.stmt, OPCODE_RESULT, body + be32(KIND_VOID)));
    const held_string all(decode_warnings(s.stmt, packet.get()));
    EXPECT_TRUE(all->length >= 1024 && all->length < 4096) << all->length;
    EXPECT_EQ(cass_take_result(s.stmt, packet.get()), KIND_VOID);
}

TEST(result, columns_of_unknown_types_share_a_record_beyond_the_first_few)
{
    session s;
    std::string wanted, all = str("ks") + str("t");
    for (int i = 0; i < 100; i++)
        all += str("c") + type(1000 + i);
    for (int i = 0; i < 8; i++)
        wanted += "08S01|Communication link failure: type not supported " +
                  std::to_string(1000 + i) + "\n";
    EXPECT_EQ(decode(s, rows(metadata(GLOBAL, 100, all))), KIND_ROWS);
    EXPECT_EQ(records(&s.stmt->head), wanted + "08S01|Communication link failure: types of 92 more "
                                               "columns not supported\n");
}

TEST(result, a_type_of_many_members_is_read_to_its_end_and_kept_in_part)
{
    session s;
    for (const int count : {300, 5000}) {
        std::string udt_of_many = type(CQL_UDT) + str("k") + str("u") + be16(count);
        for (int i = 0; i < count; i++)
            udt_of_many += str("f") + type(CQL_TUPLE) + be16(2) + type(CQL_INT) + udt;
        const held_packet packet(packet_of(s.stmt, OPCODE_RESULT, udt_of_many + "end"));
        std::int32_t types = -1;
        const held_option option(decode_type_option(packet.get(), &types));
        EXPECT_EQ(types, 1024);
        EXPECT_EQ(pkt_remaining(packet.get()), 3);
        EXPECT_GE(option->field_count, 256);
        EXPECT_LT(option->field_count, count == 300 ? 301 : 1024);
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
        "Int32Type Int32Type", "ListType", "ListType()", "MapType(Int32Type)",
        "VectorType(FloatType,0)", "VectorType(FloatType,2147483648)",
        "VectorType(FloatType,99999999999999999999)", "VectorType(FloatType,-1)",
        "UserType(ks,616,6e:Int32Type)", "UserType(ks,6x,6e:Int32Type)",
        "UserType(ks,61,6e Int32Type)", std::string(65535, '(')})
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
    decode(s, be32(KIND_ROWS) +
                  metadata(GLOBAL, 1, columns({{"v", type(CQL_CUSTOM) + str("IntegerType")}})) +
                  be32(1) + long_str("\7"));
    EXPECT_EQ(fetch_all(s.stmt), row_list{"7"});
}

// ---- Pages of one result ------------------------------------------------------------------------

TEST(result, columns_are_built_again_after_any_change)
{
    const std::string page = rows(metadata(GLOBAL, 2, two_columns));
    using change = void (*)(session & s);
    const change changes[] = {
        [](session &s) { cass_desc_resize(s.stmt->ird, 5); },  // as binding beyond the end does
        [](session &s) { cass_desc_resize(s.stmt->ird, 1), cass_desc_resize(s.stmt->ird, 2); },
        [](session &s) { cass_desc_describe(s.stmt->ird, 2); },  // a local result came between
        [](session &s) { s.stmt->ird = s.stmt->implicit_ipd; },
        [](session &s) {
            const std::string other = columns({{"id", type(CQL_INT)}, {"t", type(CQL_ASCII)}});
            decode(s, rows(metadata(GLOBAL, 2, other)));
            EXPECT_EQ(column_names(s.stmt->ird), "ks.t.id:9 ks.t.t:1 ");
        },
    };
    session s;
    for (const change make : changes) {
        decode(s, page);
        make(s);
        decode(s, page);
        EXPECT_EQ(column_names(s.stmt->ird), "ks.t.id:9 ks.t.t:13 ");
        EXPECT_EQ(s.stmt->ird, s.stmt->implicit_ird);
    }
    // The records depend on settings too.
    s.conn->settings.string_len =
        static_cast<std::int32_t>(s.stmt->ird->fields[1].octet_length) + 1;
    decode(s, page);
    EXPECT_EQ(s.stmt->ird->fields[1].octet_length, s.conn->settings.string_len);
}
