// Cells as text and as binary: the form of every type, and buffers that are too small for a value,
// which is cut or read piece by piece. Pieces of every size are compared with the whole by a fuzz
// target.
#include <cmath>
#include <tuple>

#include "tests/unit/cell_rig.h"

// What a buffer got: text up to its terminator or the end of the buffer, wide beyond ASCII as
// "<20ac>", or bytes in hexadecimal; and behind "/" the length told.
static std::string got(const read_result &result, int target)
{
    std::string text = result.written;
    if (target == SQL_C_WCHAR) {
        std::u16string units(text.size() / 2, u'\0');
        std::memcpy(units.data(), text.data(), 2 * units.size());
        text.clear();
        for (const char16_t unit : units)
            text += unit < 0x80 ? std::string(1, static_cast<char>(unit))
                                : "<" + to_hex(be16(unit)) + ">";
    }
    if (target == SQL_C_BINARY)
        text = to_hex(text.substr(0, static_cast<std::size_t>(result.length)));
    return text.substr(0, text.find('\0')) + "/" + std::to_string(result.length);
}

// All reads of a cell into buffers of one size; behind each that was cut stands ">".
static std::string reads(const rig_ptr &rig, int target, std::size_t room)
{
    std::string all;
    for (int count = 0; count < 4; count++) {
        const read_result result = read_cell(rig, target, room);
        if (result.code == SQL_NO_DATA)
            break;
        const bool is_cut = result.code == SQL_SUCCESS_WITH_INFO;
        EXPECT_EQ(rig->states(), is_cut || (target == SQL_C_BINARY && room == 0) ? "01004@1" : "");
        all += got(result, target) + (is_cut ? "> " : " ");
    }
    return all;
}

TEST(cell_text, of_every_type)
{
    const std::string zeros(128, '0');
    // Wide text where it is another one, and the column's scale where it plays a part.
    // clang-format off
    const struct { source from; std::string text, wide = ""; int scale = 0; } cases[] = {
        // Of a boolean the byte itself, not made a truth value.
        {{CQL_BOOLEAN, be(2, 1)}, "2"}, {{CQL_TINYINT, be(128, 1)}, "-128"}, {0.1f, "0.1"},
        {{CQL_SMALLINT, be(32768, 2)}, "-32768"}, {INT64_MIN, "-9223372036854775808"},
        {1234.56789, "1234.568"}, {0x1p-1074, "4.940656E-324"}, {-HUGE_VAL, "-INF"},
        {scaled(4, "FF"), "-0.0001"}, {scaled(2, "0096"), "1.50"}, {scaled(0x1FF, "05"), "50"},
        {scaled(127, "01"), "0." + zeros.substr(2) + "1"}, {scaled(-128, "01"), "1" + zeros},
        {scaled(19, "010000000000000004"), "1.8446744073709551620"},
        {{CQL_VARINT, from_hex("FF00000000000000000000000000000001")},
         "-340282366920938463463374607431768211455"},
        {{CQL_UUID, from_hex("00112233445566778899aabbccddeeff")},
         "00112233-4455-6677-8899-AABBCCDDEEFF"},
        // Fields of 16 bits keep what they can of the ends of a type, and have no sign.
        {{CQL_DATE, be(EPOCH - 719529, 4)}, "-002-12-31"}, {{CQL_DATE, be(-1, 4)}, "-16660-07-11"},
        {{CQL_DATE, be(0, 4)}, "20599-65531-65529"},
        {moment(LEAP_DAY), "2000-02-29 00:00:00", "2000-02-29 00:00:00.000", 3},
        {moment(LEAP_DAY + 86399007), "2000-02-29 23:59:59.007", "", 3},
        {moment(LEAP_DAY + 120), "2000-02-29 00:00:00.1", "2000-02-29 00:00:00.120", 1},
        {moment(INT64_MIN), "15505-65530-65522 65529:65524:65481.3486", "", 3},
        {moment(-1), "1970-01-01 00:00:00.4293", "", 3},
        {{CQL_TIME, be(INT64_MIN, 8)}, "0000-00-00 65513:65489:65520.3440191488",
         "0000-00-00 65513:65489:65520.3440", 9},
        {{CQL_TIME, be(CLOCK + 7, 8)}, "0000-00-00 12:34:56.000000007",
         "0000-00-00 12:34:56.000", 9},
    };
    // clang-format on
    for (const auto &row : cases)
        for (const int target : {SQL_C_CHAR, SQL_C_WCHAR}) {
            const rig_ptr rig = cell_rig_of(row.from);
            rig->field(1)->scale = row.scale;
            const std::string &whole =
                row.wide.empty() || target == SQL_C_CHAR ? row.text : row.wide;
            const std::size_t unit = target == SQL_C_CHAR ? 1 : 2;
            EXPECT_EQ(reads(rig, target, (whole.size() + 1) * unit),
                      whole + "/" + std::to_string(whole.size() * unit) + " ");
        }
}

TEST(cell_text, in_buffers_that_are_too_small)
{
    const source number = -12345, sevens = 0x07070707, digits = "0123456789", late = moment(7),
                 blob(CQL_BLOB, from_hex("00ff1020"));
    // One, two, three and four bytes a character; the last keeps the low half of its number.
    const source utf8 = "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80z";
    // clang-format off
    const std::tuple<source, int, std::size_t, std::string> cases[] = {
        {number, SQL_C_CHAR, 0, "/6 "}, {number, SQL_C_CHAR, 1, "/6> "},
        {number, SQL_C_CHAR, 6, "-1234/6> "}, {number, SQL_C_CHAR, 7, "-12345/6 "},
        {number, SQL_C_WCHAR, 1, "/12> "}, {number, SQL_C_WCHAR, 9, "-12/12> "},
        {number, SQL_C_WCHAR, 12, "-1234/12> "}, {sevens, SQL_C_BINARY, 0, "/4 "},
        {sevens, SQL_C_BINARY, 3, "070707/4> "}, {late, SQL_C_WCHAR, 22, "1970-01-01/38> "},
        {late, SQL_C_WCHAR, 23, "1970-01-01/46> "}, {digits, SQL_C_CHAR, 1, "/10> /10> /10> /10> "},
        {digits, SQL_C_CHAR, 6, "01234/10> 56789/5 "}, {digits, SQL_C_CHAR, 11, "0123456789/10 "},
        {digits, SQL_C_WCHAR, 9, "0123/20> 4567/12> 89/4 "},
        {digits, SQL_C_WCHAR, 10, "01234/20> 56789/10> /0 "},
        {digits, SQL_C_WCHAR, 22, "0123456789/20 "},
        {digits, SQL_C_BINARY, 5, "3031323334/10> 3536373839/5> /0 "},
        {utf8, SQL_C_WCHAR, 6, "a<00e9><20ac>/10> <f600>z/4 "}, {utf8, SQL_C_CHAR, 4,
         "a\xC3\xA9/11> \xE2\x82\xAC/8> \xF0\x9F\x98/5> \x80z/2 "},
        {blob, SQL_C_CHAR, 1, "/4> /4> /4> /4> "}, {blob, SQL_C_CHAR, 6, "00ff/4> 1020/0> /0 "},
        {blob, SQL_C_CHAR, 9, "00ff1020/4> /0 "}, {blob, SQL_C_CHAR, 11, "00ff1020/4> /0 "},
        {blob, SQL_C_WCHAR, 8, "00FF/16> 1020/8> /0 "}, {blob, SQL_C_WCHAR, 10, "00FF/16> 1020/8 "},
        {blob, SQL_C_WCHAR, 18, "00FF1020/16 "}, {blob, SQL_C_BINARY, 4, "00ff1020/4> /0 "},
        {{CQL_INET, from_hex("7f0000ff")}, SQL_C_CHAR, 8, "127.0.0/11> .255/4 "},
        {{CQL_INET, std::string(15, '\xFF') + "\1"}, SQL_C_CHAR, 64,
         "ffff:ffff:ffff:ffff:ffff:ffff:ffff:ff01/39 "},
    };
    // clang-format on
    for (const auto &[from, target, room, wanted] : cases)
        EXPECT_EQ(reads(cell_rig_of(from), target, room), wanted)
            << from.type << " to " << target << " in " << room;
    // By the rules of ODBC digits that fit with their terminator are whole.
    for (const auto &[room, wanted] :
         {std::pair(9, "00ff1020/8 "), {8, "00ff10/8> 20/2 "}, {4, "00/8> ff/6> 10/4> 20/2 "}})
        EXPECT_EQ(reads(cell_rig_of(blob, &standard_conduct), SQL_C_CHAR, std::size_t(room)),
                  wanted);
    for (const int type : {CQL_ASCII, CQL_CUSTOM, CQL_LIST, CQL_MAP, CQL_SET, CQL_UDT, CQL_TUPLE})
        EXPECT_EQ(reads(cell_rig_of({type, blob.bytes}), SQL_C_BINARY, 9), "00ff1020/4 ") << type;
}

// Each piece tells what is left, and must not count it anew: that would take minutes.
TEST(cell_text, wide_text_in_a_hundred_thousand_pieces)
{
    const std::string text = replaced(std::string(300'000, '.'), ".", "aaaaaaa\xC3\xA9");
    for (const cass_conduct *conduct : {&default_conduct, &standard_conduct}) {
        const rig_ptr rig = cell_rig_of({CQL_VARCHAR, text}, conduct);
        const SQLLEN taken = conduct == &default_conduct ? 50 : 48;  // by all pieces but the last
        for (SQLLEN left = 300'000 * 8 * 2; left > 0; left -= taken)
            ASSERT_EQ(read_cell(rig, SQL_C_WCHAR, 50).length, left);
    }
}
