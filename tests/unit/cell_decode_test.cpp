// Cells from the wire into a column's storage: every CQL type by its bytes, and every way in which
// the bytes can lie.
#include "cell_rig.h"

#include "support/numeric.h"

// ---- What a good cell becomes -------------------------------------------------------------------

// The stored value as text, independent of the driver's own formatting of cells.
static std::string stored(const cass_data_storage &cell)
{
    char text[NUMERIC_TEXT_ROOM];
    const auto *date = &cell.value.date;
    const auto *at = &cell.value.timestamp;
    switch (cell.data_type) {
    case SQL_CHAR:
    case SQL_BINARY:
        return std::string(reinterpret_cast<const char *>(cell.value.bytes),
                           static_cast<std::size_t>(cell.alloc_length));
    case SQL_INTEGER:
        return std::to_string(cell.value.integer);
    case SQL_BIGINT:
        return std::to_string(cell.value.bigint);
    case SQL_FLOAT:
        return std::to_string(cell.value.real);
    case SQL_DOUBLE:
        return std::to_string(cell.value.dbl);
    case SQL_NUMERIC:
        cass_numeric_format(&cell.value.numeric, text);
        return std::string(text) + "/" + std::to_string(cell.value.numeric.precision) + "/" +
               std::to_string(cell.value.numeric.scale);
    case SQL_DATE:
        std::snprintf(text, sizeof text, "%d-%d-%d", date->year, date->month, date->day);
        return text;
    case SQL_TIMESTAMP:
        std::snprintf(text, sizeof text, "%d-%d-%d %d:%d:%d %d", at->year, at->month, at->day,
                      static_cast<SQLSMALLINT>(at->hour), static_cast<SQLSMALLINT>(at->minute),
                      static_cast<SQLSMALLINT>(at->second), static_cast<SQLINTEGER>(at->fraction));
        return text;
    case SQL_GUID:
        std::snprintf(text, sizeof text, "%x %x %x %x %x", cell.value.guid.Data1,
                      cell.value.guid.Data2, cell.value.guid.Data3, cell.value.guid.Data4[0],
                      cell.value.guid.Data4[7]);
        return text;
    default:
        return "?";
    }
}

struct decode_case {
    int type;
    std::string bytes;
    int data_type;
    std::string expected;
};

TEST(cell_decode, every_type_by_its_bytes)
{
    const std::int64_t day = 86400000;
    const decode_case cases[] = {
        {CQL_ASCII, "plain", SQL_CHAR, "plain"},
        {CQL_VARCHAR, "Zo\xC3\xAB", SQL_CHAR, "Zo\xC3\xAB"},
        {CQL_VARCHAR, "", SQL_CHAR, ""},
        {CQL_BLOB, std::string("\0\1\xFF", 3), SQL_BINARY, std::string("\0\1\xFF", 3)},
        {CQL_BLOB, "", SQL_BINARY, ""},
        {CQL_CUSTOM, "\x01", SQL_BINARY, "\x01"},
        {CQL_LIST, be(1, 4) + cell_of(be(7, 4)), SQL_BINARY, be(1, 4) + cell_of(be(7, 4))},
        {CQL_MAP, be(0, 4), SQL_BINARY, be(0, 4)},
        {CQL_SET, be(0, 4), SQL_BINARY, be(0, 4)},
        {CQL_UDT, null_cell(), SQL_BINARY, null_cell()},
        {CQL_TUPLE, null_cell(), SQL_BINARY, null_cell()},

        {CQL_TINYINT, be(-128, 1), SQL_INTEGER, "-128"},
        {CQL_BOOLEAN, be(2, 1), SQL_INTEGER, "2"},
        {CQL_SMALLINT, be(-32768, 2), SQL_INTEGER, "-32768"},
        {CQL_INT, be(INT32_MIN, 4), SQL_INTEGER, "-2147483648"},
        {CQL_BIGINT, be(INT64_MIN, 8), SQL_BIGINT, "-9223372036854775808"},
        {CQL_COUNTER, be(INT64_MAX, 8), SQL_BIGINT, "9223372036854775807"},
        {CQL_FLOAT, be_float(-1.5f), SQL_FLOAT, "-1.500000"},
        {CQL_DOUBLE, be_double(1e15 + 0.5), SQL_DOUBLE, "1000000000000000.500000"},

        {CQL_DECIMAL, decimal(2, "0096"), SQL_NUMERIC, "1.5/37/2"},
        {CQL_DECIMAL, decimal(2, "96"), SQL_NUMERIC, "-1.06/38/2"},
        {CQL_DECIMAL, decimal(-3, "05"), SQL_NUMERIC, "5000/38/-3"},
        {CQL_DECIMAL, decimal(0x1FF, "05"), SQL_NUMERIC, "50/38/-1"},  // the scale's low byte
        {CQL_DECIMAL, decimal(1, ""), SQL_NUMERIC, "0/38/1"},
        {CQL_VARINT, unhex("00"), SQL_NUMERIC, "0/37/0"},
        {CQL_VARINT, unhex("7F"), SQL_NUMERIC, "127/38/0"},
        {CQL_VARINT, unhex("80"), SQL_NUMERIC, "-128/38/0"},
        {CQL_VARINT, unhex("FF00"), SQL_NUMERIC, "-256/38/0"},
        {CQL_VARINT, unhex("FFFFFFFFFFFFFFFFFF"), SQL_NUMERIC, "-1/38/0"},
        {CQL_VARINT, unhex("80000000000000000000000000000000"), SQL_NUMERIC,
         "-170141183460469231731687303715884105728/38/0"},
        {CQL_VARINT, unhex("00FFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFF"), SQL_NUMERIC,
         "340282366920938463463374607431768211455/37/0"},
        {CQL_VARINT, unhex("FF00000000000000000000000000000001"), SQL_NUMERIC,
         "-340282366920938463463374607431768211455/38/0"},
        {CQL_VARINT, std::string(40, '\0') + "\x05", SQL_NUMERIC, "5/37/0"},

        {CQL_DATE, be(INT64_C(1) << 31, 4), SQL_DATE, "1970-1-1"},
        {CQL_DATE, be((INT64_C(1) << 31) - 1, 4), SQL_DATE, "1969-12-31"},
        {CQL_DATE, be((INT64_C(1) << 31) + 11016, 4), SQL_DATE, "2000-2-29"},
        {CQL_TIMESTAMP, be(0, 8), SQL_TIMESTAMP, "1970-1-1 0:0:0 0"},
        {CQL_TIMESTAMP, be(11016 * day + 86399999, 8), SQL_TIMESTAMP,
         "2000-2-29 23:59:59 999000000"},
        // Parts of a time before 1970 are negative and stay on the day of the quotient.
        {CQL_TIMESTAMP, be(-1, 8), SQL_TIMESTAMP, "1970-1-1 0:0:0 -1000000"},
        {CQL_TIMESTAMP, be(-day - 3723004, 8), SQL_TIMESTAMP, "1969-12-31 -1:-2:-3 -4000000"},
        {CQL_TIME, be(INT64_C(86399999999999), 8), SQL_TIMESTAMP, "0-0-0 23:59:59 999999999"},
        {CQL_TIME, be(INT64_C(86400000000000), 8), SQL_TIMESTAMP, "0-0-0 0:0:0 0"},
        {CQL_UUID, unhex("00112233445566778899aabbccddeeff"), SQL_GUID, "112233 4455 6677 88 ff"},
        {CQL_TIMEUUID, unhex("ff112233445566778899aabbccddee00"), SQL_GUID,
         "ff112233 4455 6677 88 0"},

        {CQL_INET, unhex("7f0000ff"), SQL_CHAR, "127.0.0.255"},
        {CQL_INET, unhex("20010db80000000000000000000000ff"), SQL_CHAR, "2001:db8:0:0:0:0:0:ff"},
        {CQL_INET, std::string(16, '\xFF'), SQL_CHAR, "ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff"},
        {CQL_INET, "", SQL_CHAR, ""},
    };
    for (const decode_case &c : cases) {
        SCOPED_TRACE("type " + std::to_string(c.type) + ", expected " + c.expected);
        const rig_ptr rig = rig_open({c.type, CQL_INT});
        rig_page(rig.get(), cell_of(c.bytes) + cell_of(be(1234, 4)) + null_cell() + null_cell());
        ASSERT_EQ(SQL_SUCCESS, rig_row(rig));
        EXPECT_EQ(c.data_type, rig_cell(rig).data_type);
        EXPECT_EQ(0, rig_cell(rig).isnull);
        EXPECT_EQ(c.expected, stored(rig_cell(rig)));
        EXPECT_EQ(1234, rig_cell(rig, 2).value.integer);  // the cell took its bytes and no more

        ASSERT_EQ(SQL_SUCCESS, rig_row(rig));
        EXPECT_EQ(c.data_type, rig_cell(rig).data_type);
        EXPECT_EQ(1, rig_cell(rig).isnull);
        EXPECT_EQ(0, rig_cell(rig).alloc_length);
        EXPECT_EQ("", rig_states(rig));
    }
}

TEST(cell_decode, instants_at_the_ends_of_their_ranges_stay_defined)
{
    for (const std::int64_t value : {INT64_MIN, INT64_MIN + 1, INT64_MAX}) {
        const rig_ptr rig = rig_open({CQL_TIMESTAMP, CQL_TIME});
        rig_page(rig.get(), cell_of(be(value, 8)) + cell_of(be(value, 8)));
        EXPECT_EQ(SQL_SUCCESS, rig_row(rig));
    }
    for (const std::int64_t value : {INT64_C(0), INT64_C(0xFFFFFFFF)}) {
        const rig_ptr rig = rig_open({CQL_DATE});
        rig_page(rig.get(), cell_of(be(value, 4)));
        EXPECT_EQ(SQL_SUCCESS, rig_row(rig));
    }
}

TEST(cell_decode, a_number_beyond_128_bits_spoils_its_own_cell_only)
{
    const char *const too_long[] = {
        "0100000000000000000000000000000000",
        "FF00000000000000000000000000000000",  // minus 2^128: its low 128 bits are zero
        "FEFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFF",
        "7FFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFF",
    };
    for (const char *unscaled : too_long) {
        SCOPED_TRACE(unscaled);
        const rig_ptr rig = rig_open({CQL_VARINT, CQL_DECIMAL, CQL_INT});
        rig_page(rig.get(), cell_of(unhex(unscaled)) + cell_of(decimal(2, unscaled)) +
                                cell_of(be(9, 4)));
        ASSERT_EQ(SQL_SUCCESS, rig_row(rig));
        EXPECT_EQ(0, rig_cell(rig, 1).value.numeric.precision);
        EXPECT_EQ(0, rig_cell(rig, 2).value.numeric.precision);
        EXPECT_EQ(9, rig_cell(rig, 3).value.integer);
    }
}

TEST(cell_decode, only_known_types_have_a_decoder)
{
    for (const int type : {10, 21, 23, 31, 35, 47, 50, -1, 65535})
        EXPECT_EQ(nullptr, cass_cell_decoder_for(type)) << type;
}

// ---- Cells that lie -----------------------------------------------------------------------------

struct typed_cell {
    int type;
    std::string bytes;
    bool fixed;  // no other length will do
    bool empty;  // has an empty value
};

static const std::vector<typed_cell> &a_cell_of_each_form()
{
    static const std::vector<typed_cell> cells = {
        {CQL_VARCHAR, "text", false, true},
        {CQL_BLOB, "blob", false, true},
        {CQL_INET, be(1, 4), false, true},
        {CQL_DECIMAL, decimal(1, "0102"), false, false},
        {CQL_VARINT, unhex("0102"), false, false},
        {CQL_TINYINT, be(1, 1), true, false},
        {CQL_BOOLEAN, be(1, 1), true, false},
        {CQL_SMALLINT, be(1, 2), true, false},
        {CQL_INT, be(1, 4), true, false},
        {CQL_BIGINT, be(1, 8), true, false},
        {CQL_FLOAT, be(1, 4), true, false},
        {CQL_DOUBLE, be(1, 8), true, false},
        {CQL_TIMESTAMP, be(1, 8), true, false},
        {CQL_DATE, be(1, 4), true, false},
        {CQL_TIME, be(1, 8), true, false},
        {CQL_UUID, be(1, 16), true, false},
    };
    return cells;
}

static void expect_rows_given_up(const rig_ptr &rig, const std::string &page)
{
    rig->stmt->current_row_count = 100;
    rig->stmt->current_row_offset = 1;
    rig->stmt->paging_state = static_cast<unsigned char *>(std::malloc(4));
    rig->stmt->paging_state_len = 4;
    EXPECT_EQ(SQL_ERROR, rig_row(rig)) << page.size() << " bytes";
    EXPECT_EQ("08S01", rig_states(rig));
    EXPECT_NE(std::string::npos, rig_message(rig).find("unexpected end of packet"));
    EXPECT_LE(rig->packet.read_pos, rig->packet.length);
    EXPECT_EQ(100, rig->stmt->current_row_offset);
    EXPECT_EQ(nullptr, rig->stmt->paging_state);
    EXPECT_EQ(0, rig->stmt->paging_state_len);
    cass_diag_clear(&rig->stmt->head);
}

TEST(cell_decode, a_page_cut_at_any_byte_gives_up_the_rows)
{
    for (const typed_cell &c : a_cell_of_each_form()) {
        SCOPED_TRACE("type " + std::to_string(c.type));
        const rig_ptr rig = rig_open({c.type});
        const std::string whole = cell_of(c.bytes);
        for (std::size_t kept = 0; kept < whole.size(); kept++) {
            rig_page(rig.get(), whole.substr(0, kept));
            expect_rows_given_up(rig, whole.substr(0, kept));
        }
    }
}

TEST(cell_decode, a_length_that_lies_gives_up_the_rows)
{
    const std::string tail(64, '\x11');
    for (const typed_cell &c : a_cell_of_each_form()) {
        SCOPED_TRACE("type " + std::to_string(c.type));
        const rig_ptr rig = rig_open({c.type});
        rig_page(rig.get(), be(INT32_MAX, 4) + tail);
        expect_rows_given_up(rig, "huge");
        rig_page(rig.get(), be(65, 4) + tail);
        expect_rows_given_up(rig, "one past the end");

        for (const std::int64_t off : {-1, 1}) {
            const std::int64_t length = static_cast<std::int64_t>(c.bytes.size()) + off;
            if (!c.fixed || length == 0)
                continue;
            rig_page(rig.get(), be(length, 4) + tail);
            expect_rows_given_up(rig, "wrong length");
        }
    }
    const rig_ptr rig = rig_open({CQL_DECIMAL});
    rig_page(rig.get(), be(3, 4) + tail);
    expect_rows_given_up(rig, "no room for the scale");
}

TEST(cell_decode, an_empty_cell_of_a_type_without_empty_values_is_null)
{
    for (const typed_cell &c : a_cell_of_each_form()) {
        SCOPED_TRACE("type " + std::to_string(c.type));
        const rig_ptr rig = rig_open({c.type});
        rig_page(rig.get(), cell_of(""));
        ASSERT_EQ(SQL_SUCCESS, rig_row(rig));
        EXPECT_EQ(c.empty ? 0 : 1, rig_cell(rig).isnull);
    }
}

TEST(cell_decode, an_address_of_another_length_fails_its_row)
{
    const rig_ptr rig = rig_open({CQL_INET});
    rig_page(rig.get(), cell_of("12345") + cell_of(unhex("0a000001")));
    EXPECT_EQ(SQL_ERROR, rig_row(rig));
    EXPECT_NE(std::string::npos, rig_message(rig).find("unexpected inet type length 5"));
    EXPECT_EQ(SQL_SUCCESS, rig_row(rig));
    EXPECT_EQ("10.0.0.1", stored(rig_cell(rig)));
}

// ---- The buffer of text and binary cells --------------------------------------------------------

TEST(cell_decode, a_column_keeps_its_buffer_from_row_to_row)
{
    const rig_ptr rig = rig_open({CQL_VARCHAR});
    rig_page(rig.get(), cell_of(std::string(100, 'a')) + cell_of("short") + null_cell() +
                            cell_of("") + cell_of(std::string(100, 'b')));
    ASSERT_EQ(SQL_SUCCESS, rig_row(rig));
    const unsigned char *buffer = rig_cell(rig).buffer;
    const std::uint32_t capacity = rig_cell(rig).capacity;
    EXPECT_GE(capacity, 100u);
    for (const char *expected : {"short", "", ""}) {
        ASSERT_EQ(SQL_SUCCESS, rig_row(rig));
        EXPECT_EQ(expected, stored(rig_cell(rig)));
    }
    ASSERT_EQ(SQL_SUCCESS, rig_row(rig));
    EXPECT_EQ(std::string(100, 'b'), stored(rig_cell(rig)));
    EXPECT_EQ(buffer, rig_cell(rig).buffer);
    EXPECT_EQ(capacity, rig_cell(rig).capacity);
}
