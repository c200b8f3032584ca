// Nested values read as the text of a CQL literal: the text of each type, bytes that are none of
// it, and pieces. Against the real server the texts are written back, elsewhere.
#include <cmath>
#include <tuple>

#include "tests/wire/wire_support.h"

static bytes members(const std::vector<node_cell> &cells)
{
    bytes all;
    for (const node_cell &cell : cells)
        all += wire_bytes(cell);
    return all;
}

static bytes elements(const std::vector<node_cell> &cells)
{
    return be32(static_cast<std::uint32_t>(cells.size())) + members(cells);
}

static bytes udt(const std::vector<std::pair<bytes, bytes>> &fields)
{
    bytes type = be16(NODE_UDT) + wire_string("ks") + wire_string("address") +
                 be16(static_cast<std::uint16_t>(fields.size()));
    for (const auto &[name, field] : fields)
        type += wire_string(name) + field;
    return type;
}

static bytes by_class(const bytes &parameters)
{
    return be16(NODE_CUSTOM) + wire_string("org.apache.cassandra.db.marshal." + parameters);
}

static const bytes INT = type_of(NODE_INT), TEXT = type_of(NODE_VARCHAR);
static const bytes DURATION = by_class("DurationType");
static const bytes FLOATS = by_class("VectorType(org.apache.cassandra.db.marshal.FloatType , 2)");
static const bytes TEXTS = by_class("VectorType(UTF8Type, 2)");
static const bytes PERSON = udt({{"name", TEXT}, {"n", INT}, {"Odd \"1\"", INT}, {"select", INT}});
static const bytes PAIR = be16(NODE_TUPLE) + be16(2) + INT + TEXT;

struct literal {
    bytes type;
    bytes value;
    std::string text;
};

static const std::vector<literal> literals = [] {
    std::vector<literal> all = {
        {type_map(TEXT, type_list(INT)),
         be32(2) + members({"a'b", elements({be32(1), std::nullopt}), "", elements({})}),
         "{'a''b': [1, null], '': []}"},
        {be16(NODE_SET) + PAIR, elements({members({be32(1), "x"}), members({std::nullopt})}),
         "{(1, 'x'), (null)}"},
        {PERSON, members({"x", be32(3), be32(4), be32(5)}),
         "{name: 'x', n: 3, \"Odd \"\"1\"\"\": 4, \"select\": 5}"},
        {PERSON, members({std::nullopt, be32(3)}), "{name: null, n: 3}"},
        {DURATION, from_hex("0406FC1AC004A5C612"), "2mo3d4h5m6s7ms8us9ns"},
        {DURATION, from_hex("000000"), "0s"},
        {DURATION, from_hex("030505"), "-2mo3d3ns"},
        {FLOATS, be(0.1f) + be(1e20f), "[0.1, 1E+20]"},
        {TEXTS, from_hex("0161") + bytes("\x80\x80", 2) + bytes(128, 'b'),
         "['a', '" + bytes(128, 'b') + "']"},
        // Bytes that are none of their type, and a type that nobody knows.
        {type_list(INT), elements({be16(1), be32(2)}), "[0x0001, 2]"},
        {type_list(INT), elements({be32(1)}) + "x", "0x00000001000000040000000178"},
        {type_list(INT), be32(-1), "0xffffffff"},
        {type_list(INT), be32(0x7FFFFFFF), "0x7fffffff"},
        {type_list(type_list(INT)), elements({be32(1)}), "[0x00000001]"},
        {PAIR, members({be32(1), "x", "y"}), "0x" + to_hex(members({be32(1), "x", "y"}))},
        {DURATION, from_hex("0400"), "0x0400"},
        {DURATION, from_hex("FFFFFFFFFFFFFFFFFF00"), "0xffffffffffffffffff00"},
        {FLOATS, be(0.1f), "0x" + to_hex(be(0.1f))},
        {TEXTS, from_hex("0561"), "0x0561"},
        {type_list(by_class("NoType")), elements({"x"}), "[0x78]"},
    };
    const std::tuple<int, std::vector<node_cell>, std::string> lists[] = {
        {NODE_BOOLEAN, {be(1, 1), be(0, 1)}, "[true, false]"},
        {NODE_TINYINT, {be(-1, 1), bytes()}, "[-1, null]"},
        {NODE_SMALLINT, {be(-300, 2)}, "[-300]"},
        {NODE_BIGINT, {be(INT64_MIN, 8)}, "[-9223372036854775808]"},
        {NODE_DOUBLE,
         {be(0.1), be(double{NAN}), be(double{-INFINITY}), be(1e16), be(1e-5), be(123456.0)},
         "[0.1, NaN, -Infinity, 1E+16, 1E-05, 123456]"},
        {NODE_DECIMAL,
         {be32(2) + from_hex("FF00"), be32(3) + from_hex("05"), be32(0xFFFFFFFE) + from_hex("05"),
          be32(20000) + from_hex("7B"), be32(5) + from_hex("00")},
         "[-2.56, 0.005, 500, 1.23E-19998, 0.00000]"},
        {NODE_VARINT, {from_hex("00FFFFFFFFFFFFFFFFFF")}, "[4722366482869645213695]"},
        {NODE_TIMESTAMP,
         {be(1704164645678, 8), be(-1, 8), be(253402300800000, 8)},
         "['2024-01-02T03:04:05.678Z', '1969-12-31T23:59:59.999Z', 253402300800000]"},
        {NODE_DATE, {be(0x80000000 + 11016, 4), be(0, 4)}, "['2000-02-29', 0]"},
        {NODE_TIME,
         {be(11045678901234, 8), be(1000000000, 8), be(-1, 8)},
         "['03:04:05.678901234', '00:00:01', -1]"},
        {NODE_UUID,
         {from_hex("00112233445566778899AABBCCDDEEFF")},
         "[00112233-4455-6677-8899-aabbccddeeff]"},
        {NODE_INET,
         {from_hex("7F000001"), from_hex("00"), be(1, 8) + be(1, 8)},
         "['127.0.0.1', 0x00, '0:0:0:1:0:0:0:1']"},
        {NODE_BLOB, {from_hex("00FF"), bytes()}, "[0x00ff, 0x]"},
    };
    for (const auto &[type, cells, text] : lists)
        all.push_back({type_list(type_of(type)), elements(cells), text});
    return all;
}();

TEST(literals, each_type_and_bytes_that_are_none_of_it)
{
    for (const bool standard : {false, true}) {
        const wire_ptr wire = wire_logged_on({}, standard ? "Standard=Yes;PageSize=100" : "");
        for (const literal &row : literals) {
            SCOPED_TRACE(row.text);
            run_query(wire, "q",
                      rows_frame({{"v", row.type}}, {{row.value}, {std::nullopt}, {""}}));
            EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLFetch(wire->stmt));
            EXPECT_EQ(cell_text(wire->stmt, 1), standard ? row.text : to_hex(row.value));
            EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLFetch(wire->stmt));
            SQLFreeStmt(wire->stmt, SQL_CLOSE);
        }
    }
}

// Read on where a piece has ended, in the same or the other kind of text; as bytes, and again as
// text, from the head.
TEST(literals, pieces_and_bytes)
{
    const bytes value = elements({"\xF0\x9F\x98\x80", "bc"});
    const wire_ptr wire = wire_logged_on({}, "Standard=Yes;PageSize=100");
    run_query(wire, "q", rows_frame({{"v", type_list(TEXT)}}, {{value}, {value}}));
    for (int row = 0; row < 2; row++) {
        EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLFetch(wire->stmt));
        char narrow[8] = "", whole[40] = "";
        char16_t wide[4] = {};
        SQLLEN length = 0;
        EXPECT_STMT(SQL_SUCCESS_WITH_INFO, wire->stmt,
                    SQLGetData(wire->stmt, 1, SQL_C_CHAR, narrow, 3, &length));
        EXPECT_EQ(std::pair(std::string(narrow), length), std::pair(std::string("['"), SQLLEN{14}));
        EXPECT_STMT(SQL_SUCCESS_WITH_INFO, wire->stmt,
                    SQLGetData(wire->stmt, 1, SQL_C_WCHAR, wide, sizeof wide, &length));
        EXPECT_EQ(std::pair(std::u16string(wide), length),
                  std::pair(std::u16string(u"\xD83D\xDE00'"), SQLLEN{20}));
        EXPECT_STMT(SQL_SUCCESS_WITH_INFO, wire->stmt,
                    SQLGetData(wire->stmt, 1, SQL_C_BINARY, narrow, 4, &length));
        EXPECT_EQ(length, static_cast<SQLLEN>(value.size()));
        EXPECT_STMT(SQL_SUCCESS, wire->stmt,
                    SQLGetData(wire->stmt, 1, SQL_C_BINARY, whole, sizeof whole, &length));
        EXPECT_EQ(bytes(narrow, 4) + bytes(whole, static_cast<std::size_t>(length)), value);
        EXPECT_STMT(SQL_NO_DATA, wire->stmt,
                    SQLGetData(wire->stmt, 1, SQL_C_CHAR, whole, sizeof whole, &length));
    }
}

// Names of fields stand once in the type: a small value could become any length.
TEST(literals, text_that_outgrows_its_bytes_is_refused)
{
    const wire_ptr wire = wire_logged_on({}, "Standard=Yes;PageSize=100");
    const bytes type = type_list(udt({{bytes(60'000, 'n'), INT}}));
    run_query(wire, "q",
              rows_frame({{"v", type}},
                         {{elements(std::vector<node_cell>(100, members({std::nullopt})))}}));
    EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLFetch(wire->stmt));
    char text[8];
    EXPECT_STMT(SQL_ERROR, wire->stmt,
                SQLGetData(wire->stmt, 1, SQL_C_CHAR, text, sizeof text, nullptr));
    EXPECT_EQ(stmt_records(wire->stmt).at(0).substr(0, 5), "22003");
}
