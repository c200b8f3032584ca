// Nested values read as the text of a CQL literal: the text of each type, and bytes that are none
// of it. Against the real server the texts are written back, and fuzz targets do so with any bytes
// and read them in pieces, elsewhere.
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
    return be32(cells.size()) + members(cells);
}

static bytes udt(const std::vector<std::pair<bytes, bytes>> &fields)
{
    bytes type = be16(NODE_UDT) + wire_string("ks") + wire_string("address") + be16(fields.size());
    for (const auto &[name, field] : fields)
        type += wire_string(name) + field;
    return type;
}

static const bytes INT = type_of(NODE_INT), TEXT = type_of(NODE_VARCHAR);
static const bytes DURATION = type_by_class("DurationType");
static const bytes FLOATS =
    type_by_class("VectorType(org.apache.cassandra.db.marshal.FloatType , 2)");
static const bytes TEXTS = type_by_class("VectorType(UTF8Type, 2)");
static const bytes PERSON = udt({{"name", TEXT}, {"n", INT}, {"Odd \"1\"", INT}, {"select", INT}});
static const bytes PAIR = be16(NODE_TUPLE) + be16(2) + INT + TEXT;

static bytes list_of(int type)
{
    return type_list(type_of(type));
}

TEST(literals, each_type_and_bytes_that_are_none_of_it)
{
    const std::tuple<bytes, bytes, std::string> literals[] = {
        {type_map(TEXT, type_list(INT)),
         be32(2) + members({"a'b", elements({be32(1), std::nullopt}), "", elements({})}),
         "{'a''b': [1, null], '': []}"},
        {be16(NODE_SET) + PAIR, elements({members({be32(1), "x"}), members({std::nullopt})}),
         "{(1, 'x'), (null)}"},
        {PERSON, members({"x", be32(3), be32(4), be32(5)}),
         "{name: 'x', n: 3, \"Odd \"\"1\"\"\": 4, \"select\": 5}"},
        {DURATION, from_hex("0406FC1AC004A5C612"), "2mo3d4h5m6s7ms8us9ns"},
        {DURATION, from_hex("030505"), "-2mo3d3ns"},
        {FLOATS, be(0.1f) + be(1e20f), "[0.1, 1E+20]"},
        {TEXTS, from_hex("0161") + bytes("\x80\x80", 2) + bytes(128, 'b'),
         "['a', '" + bytes(128, 'b') + "']"},
        // Bytes that are none of their type, and a type that nobody knows.
        {type_list(INT), elements({be16(1), be32(2)}), "[0x0001, 2]"},
        {type_list(INT), elements({be32(1)}) + "x", "0x00000001000000040000000178"},
        {type_list(INT), be32(-1), "0xffffffff"},
        {PAIR, members({be32(1), "x", "y"}), "0x" + to_hex(members({be32(1), "x", "y"}))},
        {DURATION, from_hex("FFFFFFFFFFFFFFFFFF00"), "0xffffffffffffffffff00"},
        {FLOATS, be(0.1f), "0x" + to_hex(be(0.1f))},
        {TEXTS, from_hex("0561"), "0x0561"},
        {type_list(type_by_class("NoType")), elements({"x"}), "[0x78]"},
        // Elements of each type.
        {list_of(NODE_BOOLEAN), elements({be(1, 1), be(0, 1)}), "[true, false]"},
        {list_of(NODE_TINYINT), elements({be(-1, 1), bytes()}), "[-1, null]"},
        {list_of(NODE_BIGINT), elements({be(INT64_MIN, 8)}), "[-9223372036854775808]"},
        {list_of(NODE_DOUBLE),
         elements({be(0.1), be(double{NAN}), be(double{-INFINITY}), be(1e16), be(1e-5)}),
         "[0.1, NaN, -Infinity, 1E+16, 1E-05]"},
        {list_of(NODE_DECIMAL),
         elements({be32(2) + from_hex("FF00"), be32(0xFFFFFFFE) + from_hex("05"),
                   be32(20000) + from_hex("7B"), be32(5) + from_hex("00")}),
         "[-2.56, 500, 1.23E-19998, 0.00000]"},
        {list_of(NODE_VARINT), elements({from_hex("00FFFFFFFFFFFFFFFFFF")}),
         "[4722366482869645213695]"},
        {list_of(NODE_TIMESTAMP),
         elements({be(1704164645678, 8), be(-1, 8), be(253402300800000, 8)}),
         "['2024-01-02T03:04:05.678Z', '1969-12-31T23:59:59.999Z', 253402300800000]"},
        {list_of(NODE_DATE), elements({be(0x80000000 + 11016, 4), be(0, 4)}), "['2000-02-29', 0]"},
        {list_of(NODE_TIME), elements({be(11045678901234, 8), be(1000000000, 8), be(-1, 8)}),
         "['03:04:05.678901234', '00:00:01', -1]"},
        {list_of(NODE_UUID), elements({from_hex("00112233445566778899AABBCCDDEEFF")}),
         "[00112233-4455-6677-8899-aabbccddeeff]"},
        {list_of(NODE_INET), elements({from_hex("7F000001"), from_hex("00"), be(1, 8) + be(1, 8)}),
         "['127.0.0.1', 0x00, '0:0:0:1:0:0:0:1']"},
        {list_of(NODE_BLOB), elements({from_hex("00FF"), bytes()}), "[0x00ff, 0x]"},
        // Names of fields stand once in the type: a small value could become any length.
        {type_list(udt({{bytes(60'000, 'n'), INT}})),
         elements(std::vector<node_cell>(100, members({std::nullopt}))), "<SQL_ERROR: 22003"},
    };
    for (const bool standard : {false, true}) {
        const wire_ptr wire = wire_of(standard);
        for (const auto &[type, value, text] : literals) {
            SCOPED_TRACE(text);
            run_query(wire, "q", rows_frame({{"v", type}}, {{value}, {std::nullopt}, {""}}));
            EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLFetch(wire->stmt));
            const std::string told = cell_text(wire->stmt, 1);
            EXPECT_EQ(told.substr(0, told[0] == '<' ? 17 : told.npos),
                      standard ? text : to_hex(value));
            EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLFetch(wire->stmt));
            SQLFreeStmt(wire->stmt, SQL_CLOSE);
        }
    }
}
