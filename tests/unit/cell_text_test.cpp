// Cells as text and as binary: the form of every type, buffers of every size, and values read piece
// by piece.
#include <algorithm>
#include <cmath>

#include "tests/unit/cell_rig.h"

// The units of a wide text of ASCII.
static std::string widen(const std::string &narrow_text)
{
    return app_value(std::u16string(narrow_text.begin(), narrow_text.end())).memory;
}

struct form {
    int type;
    std::string bytes;
    std::size_t size;  // of the value in memory
    std::string text;
    const char *wide = nullptr;  // null: as the text
    int scale = 0;               // of the column, where it plays a part
};

// clang-format off
static const form forms[] = {
    // Of a boolean the byte itself, not made a truth value.
    {CQL_BOOLEAN, be(2, 1), 4, "2"}, {CQL_TINYINT, be(128, 1), 4, "-128"},
    {CQL_SMALLINT, be(32768, 2), 4, "-32768"}, {CQL_INT, be(INT32_MIN, 4), 4, "-2147483648"},
    {CQL_BIGINT, be(INT64_MIN, 8), 8, "-9223372036854775808"}, {CQL_FLOAT, be(0.1f), 4, "0.1"},
    {CQL_DOUBLE, be(1234.56789), 8, "1234.568"}, {CQL_DOUBLE, be(double{-INFINITY}), 8, "-INF"},
    {CQL_DOUBLE, be(1, 8), 8, "4.940656E-324"}, {CQL_DECIMAL, decimal(4, "FF"), 19, "-0.0001"},
    {CQL_DECIMAL, decimal(2, "0096"), 19, "1.50"}, {CQL_DECIMAL, decimal(0x1FF, "05"), 19, "50"},
    {CQL_DECIMAL, decimal(127, "01"), 19, "0." + std::string(126, '0') + "1"},
    {CQL_DECIMAL, decimal(-128, "01"), 19, "1" + std::string(128, '0')},
    {CQL_DECIMAL, decimal(19, "010000000000000004"), 19, "1.8446744073709551620"},
    {CQL_VARINT, from_hex("FF00000000000000000000000000000001"), 19,
     "-340282366920938463463374607431768211455"},
    {CQL_DATE, be(EPOCH - 719529, 4), 6, "-002-12-31"},
    // Fields of 16 bits keep what they can of the ends of a type, and have no sign.
    {CQL_DATE, be(0, 4), 6, "20599-65531-65529"}, {CQL_DATE, be(-1, 4), 6, "-16660-07-11"},
    {CQL_UUID, from_hex("00112233445566778899aabbccddeeff"), 16,
     "00112233-4455-6677-8899-AABBCCDDEEFF"},
    {CQL_TIMESTAMP, be(LEAP_DAY, 8), 16, "2000-02-29 00:00:00", "2000-02-29 00:00:00.000", 3},
    {CQL_TIMESTAMP, be(LEAP_DAY + 86399007, 8), 16, "2000-02-29 23:59:59.007", nullptr, 3},
    {CQL_TIMESTAMP, be(LEAP_DAY + 120, 8), 16, "2000-02-29 00:00:00.1",
     "2000-02-29 00:00:00.120", 1},
    {CQL_TIMESTAMP, be(INT64_MIN, 8), 16, "15505-65530-65522 65529:65524:65481.3486", nullptr, 3},
    {CQL_TIMESTAMP, be(-1, 8), 16, "1970-01-01 00:00:00.4293", nullptr, 3},
    {CQL_TIME, be(INT64_MIN, 8), 16, "0000-00-00 65513:65489:65520.3440191488",
     "0000-00-00 65513:65489:65520.3440", 9},
    {CQL_TIME, be(CLOCK + 7, 8), 16, "0000-00-00 12:34:56.000000007", "0000-00-00 12:34:56.000", 9},
};
// clang-format on

// Reads a fresh cell into `room` bytes: its value in memory for a binary target, otherwise `whole`.
static void expect_form(const form &f, const std::string &whole, int target, std::size_t room)
{
    const std::size_t unit = target == SQL_C_WCHAR ? 2 : target == SQL_C_CHAR ? 1 : 0;
    SCOPED_TRACE(f.text + " as " + std::to_string(target) + " in " + std::to_string(room));
    const rig_ptr rig = cell_rig_of({f.type, f.bytes});
    rig->field(1)->scale = f.scale;
    const std::string value(reinterpret_cast<const char *>(&rig->cell().value), f.size);
    std::string expected = unit == 0 ? value : whole;
    const auto length = static_cast<SQLLEN>(expected.size());
    const bool is_cut = room > 0 && expected.size() + (unit != 0) > room;
    if (is_cut)
        expected.resize(unit == 0 ? room : std::max(room / unit, std::size_t{1}) * unit - unit);
    if (expected.size() + unit <= room)
        expected.append(unit, '\0');
    const read_result result = read_cell(rig, target, room);
    EXPECT_EQ(length, result.length);
    EXPECT_EQ(is_cut ? SQL_SUCCESS_WITH_INFO : SQL_SUCCESS, result.code);
    // Bytes that do not go into no room at all leave the record, although the read is a probe.
    EXPECT_EQ(is_cut || (unit == 0 && room == 0) ? "01004@1" : "", rig->states());
    if (room > 0) {
        EXPECT_EQ(expected + untouched(room - expected.size()), result.written);
    }
    EXPECT_EQ(SQL_NO_DATA, read_cell(rig, target, 64).code);
}

TEST(cell_text, and_binary_of_every_type_in_buffers_of_every_size)
{
    for (const form &f : forms) {
        const std::string wide = widen(f.wide != nullptr ? f.wide : f.text);
        for (std::size_t room = 0; room <= f.text.size() + 2; room++)
            expect_form(f, f.text, SQL_C_CHAR, room);
        for (std::size_t room = 0; room <= f.size + 1; room++)
            expect_form(f, "", SQL_C_BINARY, room);
        for (std::size_t room = 0; room <= wide.size() + 4; room++) {
            // Timestamps leave out the fraction in a buffer of fewer than 23 bytes.
            const bool fraction = (f.type != CQL_TIMESTAMP && f.type != CQL_TIME) || room >= 23;
            expect_form(f, fraction ? wide : wide.substr(0, wide.rfind('.') / 2 * 2), SQL_C_WCHAR,
                        room);
        }
    }
}

// ---- Pieces -------------------------------------------------------------------------------------

struct piece_form {
    int type;
    std::string value;
    int target;
    std::string whole;  // all that is delivered
    std::size_t grain;  // bytes of it that are never torn
};

// Reads a column to its end through buffers of `room` bytes.
static void expect_pieces(const piece_form &p, std::size_t room)
{
    SCOPED_TRACE(std::to_string(p.target) + " in pieces of " + std::to_string(room));
    const bool ansi = p.target == SQL_C_CHAR, wide = p.target == SQL_C_WCHAR;
    const bool hex = p.type == CQL_BLOB;
    const rig_ptr rig = cell_rig_of({p.type, p.value});
    std::size_t at = 0;
    for (int reads = 0;; reads++) {
        ASSERT_LT(reads, 100);
        const read_result result = read_cell(rig, p.target, room);
        if (result.code == SQL_NO_DATA)
            break;
        const std::size_t left = p.whole.size() - at,
                          taken = std::min(left, (room - ansi) / p.grain * p.grain);
        // An exact fit is cut, and an empty piece ends the column. Hexadecimal text is counted
        // without its doubling, and its length is never taken for SQL_NULL_DATA.
        bool done = wide ? left / 2 < room / 2 : left < room;
        SQLLEN length = static_cast<SQLLEN>(left);
        if (ansi && hex) {
            done = left / 2 + 1 < room / 2;
            length = std::max<SQLLEN>(0, length - static_cast<SQLLEN>(p.value.size()));
        }
        EXPECT_EQ(length, result.length);
        EXPECT_EQ(done ? "" : "01004@1", rig->states());
        EXPECT_EQ(code_of(rig->states()), result.code);
        EXPECT_EQ(p.whole.substr(at, taken), result.written.substr(0, taken));
        if (ansi) {
            EXPECT_EQ(taken, std::strlen(result.written.c_str()));
            EXPECT_TRUE(done || result.written[room - 1] == '\0');
        }
        if (wide && (done || hex) && taken + 2 <= room) {
            EXPECT_EQ(std::string(2, '\0'), result.written.substr(taken, 2));
        }
        at += taken;
        if (taken == 0 && !done)
            break;  // a buffer without room for anything never gets on
    }
    EXPECT_EQ(room - ansi >= p.grain ? p.whole.size() : 0, at);
}

TEST(cell_text, values_in_pieces_of_every_size)
{
    const std::string blob = from_hex("00ff1020a040");
    // One, two, three and four bytes a character; the last keeps the low half of its number.
    const std::string utf8 = "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80z";
    std::vector<piece_form> pieces = {
        {CQL_VARCHAR, "0123456789", SQL_C_CHAR, "0123456789", 1},
        {CQL_VARCHAR, utf8, SQL_C_CHAR, utf8, 1},
        {CQL_VARCHAR, utf8, SQL_C_WCHAR, app_value(u"a\u00E9\u20AC\xF600z").memory, 2},
        {CQL_BLOB, blob, SQL_C_CHAR, "00ff1020a040", 2},
        {CQL_BLOB, blob, SQL_C_WCHAR, widen("00FF1020A040"), 4},
        {CQL_INET, from_hex("7f0000ff"), SQL_C_CHAR, "127.0.0.255", 1},
        {CQL_INET, std::string(15, '\xFF') + "\1", SQL_C_BINARY,
         "ffff:ffff:ffff:ffff:ffff:ffff:ffff:ff01", 1},
    };
    for (const int type : {CQL_VARCHAR, CQL_ASCII, CQL_BLOB, CQL_CUSTOM, CQL_LIST, CQL_MAP, CQL_SET,
                           CQL_UDT, CQL_TUPLE})
        pieces.push_back({type, blob, SQL_C_BINARY, blob, 1});
    for (const piece_form &p : pieces)
        for (std::size_t room = 1; room <= p.whole.size() + 6; room++)
            expect_pieces(p, room);
}

TEST(cell_text, standard_hexadecimal_text_fits_with_its_terminator)
{
    for (const std::string digits : {"", "c3", "00ff1020"})
        for (std::size_t room = 1; room <= digits.size() + 5; room++) {
            const rig_ptr rig = cell_rig_of({CQL_BLOB, from_hex(digits)}, &standard_conduct);
            const read_result result = read_cell(rig, SQL_C_CHAR, room);
            const bool whole = digits.size() < room;
            const std::size_t taken = whole ? digits.size() : (room - 1) / 2 * 2;
            const bool nothing = taken == 0 && !whole;
            EXPECT_EQ(whole ? "" : nothing ? "HY090@1" : "01004@1", rig->states());
            if (!nothing) {
                EXPECT_EQ(digits.substr(0, taken) + '\0' + untouched(room - taken - 1),
                          result.written);
            }
        }
}

TEST(cell_text, malformed_text_ends_with_its_cell)
{
    for (const std::string value : {"\xC3", "\xE2\x82", "\xF0\x9F\x98", "\x80\x80", "a\xF0"}) {
        const rig_ptr rig = cell_rig_of({CQL_VARCHAR, value});
        EXPECT_EQ(SQL_SUCCESS, read_cell(rig, SQL_C_WCHAR, 64).code);
        EXPECT_EQ(static_cast<std::int32_t>(value.size()), rig->cell().offset);
    }
}
