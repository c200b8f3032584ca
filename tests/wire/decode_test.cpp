// Cells of every type from the wire to SQLGetData, extremes among them that no real server sends.
#include <cmath>

#include "tests/wire/wire_support.h"

TEST(cells, text_of_every_type)
{
    const std::string refused = "<SQL_ERROR: 22003 Numeric value out of range>";
    const bytes list = be32(2) + wire_bytes(be32(1)) + wire_bytes(std::nullopt);
    const bytes udt = type_udt("k", "u", {{"a", type_of(NODE_INT)}, {"b", type_of(NODE_INET)}});
    const bytes ff(16, '\xFF'), zeros(16, '\0');
    const bytes uuid = from_hex("00112233445566778899aabbccddeeff");
    constexpr auto &of = type_of;
    const struct {
        bytes type;
        bytes cell;
        std::string text;                      // empty: any that is not
        const char *text_of_nothing = "NULL";  // of a cell without bytes
    } cases[] = {
        // clang-format off
        {of(NODE_ASCII), "plain", "plain", ""}, {of(NODE_BLOB), from_hex("00 7f ff"), "007fff", ""},
        {of(NODE_VARCHAR), "\xE2\x82\xAC \xF0\x9F\x98", "\xE2\x82\xAC \xF0\x9F\x98", ""},
        {of(NODE_BIGINT), be64(INT64_MIN), "-9223372036854775808"},
        {of(NODE_TINYINT), "\x80", "-128"}, {of(NODE_INT), be32(INT32_MIN), "-2147483648"},
        {of(NODE_SMALLINT), be16(0x8000), "-32768"}, {of(NODE_COUNTER), be64(-1), "-1"},
        // The byte itself, not made a truth value.
        {of(NODE_BOOLEAN), be8(2), "2"}, {of(NODE_BOOLEAN), be8(0xFF), "-1"},
        {of(NODE_DOUBLE), be_double(2.0 / 3), "0.6666667"}, {of(NODE_FLOAT), be_float(0.1f), "0.1"},
        {of(NODE_DOUBLE), be_double(-INFINITY), "-INF"}, {of(NODE_VARINT), from_hex("0080"), "128"},
        {of(NODE_DOUBLE), be64(1), "4.940656E-324"}, {of(NODE_DECIMAL), be32(-3) + "\5", "5000"},
        {of(NODE_DECIMAL), be32(2) + "\xFF\x6A", "-1.50"}, {of(NODE_VARINT), ff + "\x85", "-123"},
        {of(NODE_DECIMAL), be32(38) + "\x80" + zeros.substr(1),
         "-1.70141183460469231731687303715884105728"},
        {of(NODE_VARINT), bytes(1, '\0') + ff, "340282366920938463463374607431768211455"},
        // A value of more than 128 bits is refused in its own column; the others are good.
        {of(NODE_VARINT), "\1" + zeros, refused}, {of(NODE_DECIMAL), be32(3) + "!" + ff, refused},
        {of(NODE_TIMESTAMP), be64(253402300799999), "9999-12-31 23:59:59.999"},
        {of(NODE_TIMESTAMP), be64(-86400000), "1969-12-31 00:00:00"},
        {of(NODE_DATE), be32(INT32_MAX), "1969-12-31"},
        {of(NODE_DATE), be32(0x80002B08), "2000-02-29"},
        {of(NODE_TIME), be64(86399999999999), "0000-00-00 23:59:59.999999999"},
        {of(NODE_UUID), uuid, "00112233-4455-6677-8899-AABBCCDDEEFF"},
        {of(NODE_TIMEUUID), ff, "FFFFFFFF-FFFF-FFFF-FFFF-FFFFFFFFFFFF"},
        {of(NODE_INET), "\xC0\xA8\1\xFF", "192.168.1.255", ""},
        {of(NODE_INET), uuid, "11:2233:4455:6677:8899:aabb:ccdd:eeff", ""},
        // Composites are the digits of their bytes.
        {type_list(of(NODE_INT)), list, to_hex(list), ""}, {udt, list, to_hex(list), ""},
        {type_map(of(NODE_INT), udt), list, to_hex(list), ""},
        {type_set(type_tuple({of(NODE_INT), udt})), list, to_hex(list), ""},
        {type_custom("org.apache.cassandra.db.marshal.DurationType"), "\2\4\6", "020406", ""},
        // Without a sensible text, and without harm.
        {of(NODE_TIMESTAMP), be64(INT64_MIN), ""}, {of(NODE_TIMESTAMP), be64(INT64_MAX), ""},
        {of(NODE_TIMESTAMP), be64(-1), ""}, {of(NODE_TIME), be64(INT64_MIN), ""},
        {of(NODE_DATE), be32(0), ""}, {of(NODE_DATE), be32(-1), ""},
        {of(NODE_DECIMAL), be32(-128) + "\1", ""}, {of(NODE_DECIMAL), be32(127) + "\1", ""},
        // clang-format on
    };
    node_columns columns;
    node_row row;
    for (const auto &c : cases) {
        columns.push_back({"c", c.type});
        row.push_back(c.cell);
    }
    const std::vector<node_row> rows = {row, node_row(row.size()), node_row(row.size(), "")};
    for (const bool global_spec : {true, false}) {
        const wire_ptr wire = wire_logged_on({.lz4 = true});
        run_query(wire, "q", rows_frame(columns, rows, {.global_spec = global_spec}));
        for (int i = 0; i < 3; i++) {
            EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLFetch(wire->stmt));
            int column = 0;
            for (const auto &c : cases) {
                const std::string text = cell_text(wire->stmt, ++column);
                const std::string wanted = i == 0 ? c.text : i == 1 ? "NULL" : c.text_of_nothing;
                EXPECT_TRUE(text == wanted || (i == 0 && wanted.empty() && !text.empty()))
                    << "row " << i << ", column " << column << " of " << to_hex(c.cell) << ": "
                    << text;
            }
        }
    }
}
