// Cells of every CQL type, extremes among them that no real server sends, from the wire to
// SQLGetData.
#include <cmath>
#include <cstring>
#include <limits>

#include "tests/wire/wire_support.h"

// One row of one column each, as text.
static std::vector<std::string> decoded(const std::vector<std::pair<bytes, node_cell>> &cells)
{
    node_columns columns;
    node_row row;
    for (const auto &[type, cell] : cells) {
        columns.push_back({"c" + std::to_string(columns.size()), type});
        row.push_back(cell);
    }
    const wire_ptr wire = wire_logged_on({.lz4 = true});
    expect_query(wire->node.get(), "q", {rows_frame(columns, {row})});
    EXPECT_STMT(SQL_SUCCESS, wire->stmt, exec(wire->stmt, "q"));
    EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLFetch(wire->stmt));
    std::vector<std::string> texts;
    for (int column = 1; column <= static_cast<int>(columns.size()); column++)
        texts.push_back(cell_text(wire->stmt, column));
    return texts;
}

TEST(cells, text_of_every_type)
{
    const bytes decimal_max = from_hex("7f" + repeated("ff", 15));
    const bytes decimal_min = from_hex("80" + repeated("00", 15));
    const bytes widest = from_hex("00" + repeated("ff", 16));
    const struct {
        int type;
        node_cell cell;
        const char *text;
    } cases[] = {
        {NODE_ASCII, "plain", "plain"},
        {NODE_ASCII, "", ""},
        {NODE_VARCHAR, "\xC3\xA9\xE2\x82\xAC", "\xC3\xA9\xE2\x82\xAC"},
        {NODE_VARCHAR, "\xF0\x9F\x98\x80", "\xF0\x9F\x98\x80"},
        {NODE_BLOB, from_hex("00 7f 80 ff"), "007f80ff"},
        {NODE_BLOB, "", ""},
        {NODE_BIGINT, be64(INT64_MAX), "9223372036854775807"},
        {NODE_BIGINT, be64(1ull << 63), "-9223372036854775808"},
        {NODE_COUNTER, be64(static_cast<std::uint64_t>(-1)), "-1"},
        {NODE_INT, be32(0x80000000), "-2147483648"},
        {NODE_INT, be32(0x7FFFFFFF), "2147483647"},
        {NODE_SMALLINT, be16(0x8000), "-32768"},
        {NODE_TINYINT, be8(0x80), "-128"},
        {NODE_BOOLEAN, be8(0), "0"},
        {NODE_BOOLEAN, be8(1), "1"},
        // The byte itself, not made a truth value.
        {NODE_BOOLEAN, be8(2), "2"},
        {NODE_BOOLEAN, be8(0xFF), "-1"},
        {NODE_DOUBLE, be_double(1234.56789), "1234.568"},
        {NODE_DOUBLE, be_double(-0.0), "-0"},
        {NODE_DOUBLE, be_double(std::numeric_limits<double>::max()), "1.797693E+308"},
        {NODE_DOUBLE, be_double(std::numeric_limits<double>::denorm_min()), "4.940656E-324"},
        {NODE_DOUBLE, be_double(HUGE_VAL), "INF"},
        {NODE_DOUBLE, be_double(-HUGE_VAL), "-INF"},
        {NODE_DOUBLE, from_hex("7ff8000000000000"), "NAN"},
        {NODE_FLOAT, be_float(0.1f), "0.1"},
        {NODE_FLOAT, be_float(16777216.0f), "1.677722E+07"},
        {NODE_FLOAT, be_float(-std::numeric_limits<float>::max()), "-3.402823E+38"},
        {NODE_DECIMAL, be32(2) + from_hex("0096"), "1.50"},
        {NODE_DECIMAL, be32(2) + from_hex("00c8"), "2.00"},
        {NODE_DECIMAL, be32(2) + from_hex("ff6a"), "-1.50"},
        {NODE_DECIMAL, be32(0) + from_hex("00"), "0"},
        {NODE_DECIMAL, be32(5) + from_hex("01"), "0.00001"},
        {NODE_DECIMAL, be32(static_cast<std::uint64_t>(-3)) + from_hex("05"), "5000"},
        {NODE_DECIMAL, be32(0) + decimal_max, "170141183460469231731687303715884105727"},
        {NODE_DECIMAL, be32(38) + decimal_min, "-1.70141183460469231731687303715884105728"},
        {NODE_VARINT, from_hex("80"), "-128"},
        {NODE_VARINT, from_hex("0080"), "128"},
        {NODE_VARINT, from_hex("ff"), "-1"},
        {NODE_VARINT, widest, "340282366920938463463374607431768211455"},
        {NODE_VARINT, from_hex(repeated("ff", 30) + "85"), "-123"},
        {NODE_TIMESTAMP, be64(0), "1970-01-01 00:00:00"},
        {NODE_TIMESTAMP, be64(1709251199001), "2024-02-29 23:59:59.001"},
        {NODE_TIMESTAMP, be64(static_cast<std::uint64_t>(-86400000)), "1969-12-31 00:00:00"},
        {NODE_TIMESTAMP, be64(253402300799999), "9999-12-31 23:59:59.999"},
        {NODE_DATE, be32(0x80000000), "1970-01-01"},
        {NODE_DATE, be32(0x7FFFFFFF), "1969-12-31"},
        {NODE_TIME, be64(0), "0000-00-00 00:00:00"},
        {NODE_TIME, be64(86399999999999), "0000-00-00 23:59:59.999999999"},
        {NODE_TIME, be64(1000), "0000-00-00 00:00:00.000001000"},
        {NODE_UUID, from_hex("00112233445566778899aabbccddeeff"),
         "00112233-4455-6677-8899-AABBCCDDEEFF"},
        {NODE_TIMEUUID, from_hex(repeated("f0", 16)), "F0F0F0F0-F0F0-F0F0-F0F0-F0F0F0F0F0F0"},
        {NODE_INET, from_hex("c0a800ff"), "192.168.0.255"},
        {NODE_INET, from_hex("20010db8000000000000000000000001"), "2001:db8:0:0:0:0:0:1"},
        {NODE_INET, "", ""},
    };
    std::vector<std::pair<bytes, node_cell>> cells;
    for (const auto &c : cases)
        cells.push_back({type_of(c.type), c.cell});
    const std::vector<std::string> texts = decoded(cells);
    for (std::size_t i = 0; i < std::size(cases); i++)
        EXPECT_EQ(texts[i], cases[i].text)
            << "column " << i << ", type " << cases[i].type << ", " << to_hex(*cases[i].cell);
}

TEST(cells, null_of_every_type_and_empty_fixed_cells)
{
    std::vector<std::pair<bytes, node_cell>> cells = {
        {type_custom("x"), {}},     {type_list(type_of(NODE_INT)), {}},
        {type_tuple({}), {}},       {type_udt("k", "u", {}), {}},
        {type_set(type_of(1)), {}}, {type_map(type_of(1), type_of(2)), {}},
    };
    for (int id = NODE_ASCII; id <= NODE_TINYINT; id++)
        if (id != 10)
            cells.push_back({type_of(id), {}});
    for (const int id : {NODE_INT, NODE_BIGINT, NODE_BOOLEAN, NODE_DECIMAL, NODE_VARINT, NODE_UUID,
                         NODE_TIMESTAMP, NODE_DATE, NODE_TIME, NODE_DOUBLE, NODE_FLOAT})
        cells.push_back({type_of(id), ""});
    EXPECT_EQ(decoded(cells), std::vector<std::string>(cells.size(), "NULL"));
}

TEST(cells, composites_are_the_digits_of_their_bytes)
{
    const bytes list = be32(2) + wire_bytes(be32(1)) + wire_bytes(std::nullopt);
    const bytes tuple = wire_bytes(be32(7)) + wire_bytes("x");
    const std::vector<std::pair<bytes, node_cell>> cells = {
        {type_list(type_of(NODE_INT)), list},
        {type_set(type_of(NODE_INT)), list},
        {type_map(type_of(NODE_INT), type_of(NODE_INT)), list},
        {type_tuple({type_of(NODE_INT), type_of(NODE_VARCHAR)}), tuple},
        {type_udt("k", "u", {{"a", type_of(NODE_INT)}, {"b", type_of(NODE_VARCHAR)}}), tuple},
        {type_custom("org.apache.cassandra.db.marshal.DurationType"), from_hex("020406")},
    };
    EXPECT_EQ(decoded(cells), (std::vector<std::string>{to_hex(list), to_hex(list), to_hex(list),
                                                        to_hex(tuple), to_hex(tuple), "020406"}));
}

// A value of more than 128 bits is refused in its own column; the others are good.
TEST(cells, numbers_beyond_128_bits_are_refused_alone)
{
    const std::string refused = "<SQL_ERROR: 22003 Numeric value out of range>";
    const std::vector<std::pair<bytes, node_cell>> cells = {
        {type_of(NODE_INT), be32(1)},
        {type_of(NODE_VARINT), from_hex("01" + repeated("00", 16))},
        {type_of(NODE_VARINT), from_hex("ff" + repeated("00", 16))},
        {type_of(NODE_DECIMAL), be32(3) + pattern(500)},
        {type_of(NODE_INT), be32(2)},
    };
    EXPECT_EQ(decoded(cells), (std::vector<std::string>{"1", refused, refused, refused, "2"}));
}

TEST(cells, values_without_a_sensible_text_do_no_harm)
{
    const std::uint64_t extremes[] = {0, 1ull << 63, INT64_MAX, static_cast<std::uint64_t>(-1)};
    std::vector<std::pair<bytes, node_cell>> cells;
    for (const std::uint64_t value : extremes) {
        cells.push_back({type_of(NODE_TIMESTAMP), be64(value)});
        cells.push_back({type_of(NODE_TIME), be64(value)});
        cells.push_back({type_of(NODE_DATE), be32(value)});
        cells.push_back({type_of(NODE_DECIMAL), be32(value) + from_hex("7f")});
    }
    for (const std::string &text : decoded(cells))
        EXPECT_FALSE(text.empty());
}

TEST(cells, inet_of_an_odd_length_fails_the_fetch)
{
    const wire_ptr wire = wire_logged_on();
    expect_query(wire->node.get(), "q", {rows_frame({{"a", type_of(NODE_INET)}}, {{"12345"}})});
    EXPECT_STMT(SQL_SUCCESS, wire->stmt, exec(wire->stmt, "q"));
    EXPECT_STMT(SQL_ERROR, wire->stmt, SQLFetch(wire->stmt));
    EXPECT_EQ(stmt_records(wire->stmt),
              record_list{"08S01 Communication link failure: unexpected inet type length 5"});
}

TEST(cells, native_c_types_hold_the_exact_value)
{
    const bytes uuid = from_hex("00112233445566778899aabbccddeeff");
    const node_columns columns = {{"d", type_of(NODE_DOUBLE)}, {"t", type_of(NODE_TIMESTAMP)},
                                  {"u", type_of(NODE_UUID)},   {"n", type_of(NODE_DECIMAL)},
                                  {"b", type_of(NODE_BIGINT)}, {"e", type_of(NODE_DATE)}};
    const wire_ptr wire = wire_logged_on();
    expect_query(
        wire->node.get(), "q",
        {rows_frame(columns, {{be_double(0.1), be64(1709251199001), uuid,
                               be32(2) + from_hex("ff6a"), be64(1ull << 63), be32(0x80000000)}})});
    EXPECT_STMT(SQL_SUCCESS, wire->stmt, exec(wire->stmt, "q"));
    EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLFetch(wire->stmt));
    const auto get = [&](SQLUSMALLINT column, SQLSMALLINT type, auto *target) {
        // All eight bytes of the length are written.
        SQLLEN length = 0x5A5A5A5A5A5A5A5A;
        EXPECT_STMT(SQL_SUCCESS, wire->stmt,
                    SQLGetData(wire->stmt, column, type, target, sizeof *target, &length));
        EXPECT_EQ(length, static_cast<SQLLEN>(sizeof *target));
    };
    double real = 0;
    get(1, SQL_C_DOUBLE, &real);
    EXPECT_EQ(real, 0.1);
    SQL_TIMESTAMP_STRUCT stamp = {};
    get(2, SQL_C_TYPE_TIMESTAMP, &stamp);
    const SQL_TIMESTAMP_STRUCT leap_day = {2024, 2, 29, 23, 59, 59, 1000000};
    EXPECT_EQ(std::memcmp(&stamp, &leap_day, sizeof stamp), 0);
    SQLGUID guid = {};
    get(3, SQL_C_GUID, &guid);
    const SQLGUID wanted = {
        0x00112233, 0x4455, 0x6677, {0x88, 0x99, 0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0xFF}};
    EXPECT_EQ(std::memcmp(&guid, &wanted, sizeof guid), 0);
    SQL_NUMERIC_STRUCT numeric = {};
    get(4, SQL_C_NUMERIC, &numeric);
    EXPECT_EQ(numeric.precision, 38);
    EXPECT_EQ(numeric.scale, 2);
    EXPECT_EQ(numeric.sign, 0);
    EXPECT_EQ(to_hex(bytes(reinterpret_cast<char *>(numeric.val), 16)), "96" + repeated("00", 15));
    SQLBIGINT bigint = 0;
    get(5, SQL_C_SBIGINT, &bigint);
    EXPECT_EQ(bigint, INT64_MIN);
    SQL_DATE_STRUCT date = {};
    get(6, SQL_C_TYPE_DATE, &date);
    EXPECT_EQ(date.year, 1970);
}

// ---- Piece by piece ----------------------------------------------------------------------------

static constexpr int sizes[] = {2, 3, 63, 64, 65, 255, 256, 257, 4095, 4999, 5000, 5001, 5002};

// A buffer with a guard behind it.
struct guarded_buffer {
    std::string memory;
    int size;
};

static guarded_buffer guard(int size)
{
    return {std::string(static_cast<std::size_t>(size) + 16, '\xFF'), size};
}

static bool is_intact(const guarded_buffer &buffer)
{
    return buffer.memory.substr(static_cast<std::size_t>(buffer.size)) == std::string(16, '\xFF');
}

// Reads column 1 to its end through buffers of one size, `terminator` bytes of each of which are no
// data, and compares the length told before each piece.
static bytes read_pieces(SQLHSTMT stmt, SQLSMALLINT type, int size, int terminator, int whole)
{
    bytes all;
    for (int left = whole;;) {
        guarded_buffer buffer = guard(size);
        SQLLEN length = 0x5A5A5A5A5A5A5A5A;
        const SQLRETURN code = SQLGetData(stmt, 1, type, buffer.memory.data(), size, &length);
        EXPECT_TRUE(is_intact(buffer));
        EXPECT_EQ(length, left);
        if (code == SQL_SUCCESS) {
            EXPECT_LT(left, size);
            return all + buffer.memory.substr(0, static_cast<std::size_t>(left));
        }
        EXPECT_STMT(SQL_SUCCESS_WITH_INFO, stmt, code);
        EXPECT_EQ(stmt_records(stmt), record_list{"01004 String data, right truncation"});
        if (code != SQL_SUCCESS_WITH_INFO)
            return all;
        all += buffer.memory.substr(0, static_cast<std::size_t>(size - terminator));
        left -= size - terminator;
    }
}

TEST(pieces, text_and_blob_are_put_together_without_a_seam)
{
    const bytes text = pattern(5000);
    for (const int size : sizes) {
        SCOPED_TRACE(size);
        const wire_ptr wire = wire_logged_on();
        expect_query(wire->node.get(), "q",
                     {rows_frame({{"t", type_of(NODE_VARCHAR)}}, {{text}, {text}})});
        EXPECT_STMT(SQL_SUCCESS, wire->stmt, exec(wire->stmt, "q"));
        EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLFetch(wire->stmt));
        EXPECT_EQ(read_pieces(wire->stmt, SQL_C_CHAR, size, 1, 5000), text);
        EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLFetch(wire->stmt));
        EXPECT_EQ(read_pieces(wire->stmt, SQL_C_BINARY, size, 0, 5000), text);
        char rest[8];
        EXPECT_STMT(SQL_NO_DATA, wire->stmt,
                    SQLGetData(wire->stmt, 1, SQL_C_CHAR, rest, sizeof rest, nullptr));
    }
}

TEST(pieces, wide_text_is_counted_in_bytes_and_cut_between_characters)
{
    // Characters of one, two and three bytes.
    const bytes text = repeated("a\xC3\xA9\xE2\x82\xACz9", 200);
    std::u16string wanted;
    for (int i = 0; i < 200; i++)
        wanted += u"a\u00E9\u20ACz9";
    for (const int units : {1, 2, 3, 4, 5, 64, 999, 1000, 1001, 1002}) {
        SCOPED_TRACE(units);
        const wire_ptr wire = wire_logged_on();
        expect_query(wire->node.get(), "q", {rows_frame({{"t", type_of(NODE_VARCHAR)}}, {{text}})});
        EXPECT_STMT(SQL_SUCCESS, wire->stmt, exec(wire->stmt, "q"));
        EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLFetch(wire->stmt));
        std::u16string all;
        for (SQLRETURN code = SQL_SUCCESS_WITH_INFO; code == SQL_SUCCESS_WITH_INFO;) {
            guarded_buffer buffer = guard(2 * units);
            SQLLEN length = 0;
            code = SQLGetData(wire->stmt, 1, SQL_C_WCHAR, buffer.memory.data(), 2 * units, &length);
            EXPECT_TRUE(is_intact(buffer));
            EXPECT_EQ(length, static_cast<SQLLEN>(2 * (wanted.size() - all.size())));
            // A piece that was cut is full of characters and has no terminator.
            const auto count = std::min<SQLLEN>(units, length / 2);
            std::u16string piece(static_cast<std::size_t>(count), u'\0');
            std::memcpy(piece.data(), buffer.memory.data(), 2 * piece.size());
            all += piece;
        }
        EXPECT_TRUE(all == wanted);
        char rest[8];
        EXPECT_STMT(SQL_NO_DATA, wire->stmt,
                    SQLGetData(wire->stmt, 1, SQL_C_WCHAR, rest, sizeof rest, nullptr));
    }
}
