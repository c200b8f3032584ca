// Cells as text and as binary: the form of every type, buffers of every size, and values read piece
// by piece.
#include "cell_rig.h"

#include <algorithm>
#include <cmath>

// ---- The form of every type ---------------------------------------------------------------------

// The units of a wide text of ASCII.
static std::string widen(const std::string &narrow)
{
    std::string wide;
    for (const char character : narrow)
        wide += std::string{character, '\0'};
    return wide;
}

struct text_form {
    int type;
    std::string bytes;
    int scale;  // of the column, where it plays a part
    const char *ansi;
    const char *wide;  // null: as the ANSI text
};

static const std::vector<text_form> &text_forms()
{
    static const std::vector<text_form> forms = {
        {CQL_INT, be(-2147483648, 4), 0, "-2147483648", nullptr},
        {CQL_TINYINT, be(0, 1), 0, "0", nullptr},
        {CQL_BIGINT, be(INT64_MIN, 8), 0, "-9223372036854775808", nullptr},
        {CQL_FLOAT, be_float(0.1f), 0, "0.1", nullptr},
        {CQL_DOUBLE, be_double(1234.56789), 0, "1234.568", nullptr},
        {CQL_DOUBLE, be_double(-1e100), 0, "-1E+100", nullptr},
        {CQL_DOUBLE, be_double(INFINITY), 0, "INF", nullptr},
        {CQL_DECIMAL, decimal(2, "0096"), 0, "1.50", nullptr},
        {CQL_DECIMAL, decimal(2, "00C8"), 0, "2.00", nullptr},
        {CQL_DECIMAL, decimal(4, "FF"), 0, "-0.0001", nullptr},
        {CQL_DECIMAL, decimal(3, "00"), 0, "0.000", nullptr},
        {CQL_DECIMAL, decimal(-2, "05"), 0, "500", nullptr},
        {CQL_DECIMAL, decimal(21, "05"), 0, "0.000000000000000000005", nullptr},
        {CQL_DECIMAL, decimal(19, "010000000000000004"), 0, "1.8446744073709551620", nullptr},
        {CQL_VARINT, unhex("FF00000000000000000000000000000001"), 0,
         "-340282366920938463463374607431768211455", nullptr},
        {CQL_DATE, be((INT64_C(1) << 31) + 11016, 4), 0, "2000-02-29", nullptr},
        {CQL_DATE, be((INT64_C(1) << 31) - 719529, 4), 0, "-002-12-31", nullptr},
        {CQL_UUID, unhex("00112233445566778899aabbccddeeff"), 0,
         "00112233-4455-6677-8899-AABBCCDDEEFF", nullptr},
        {CQL_TIMESTAMP, be(LEAP_DAY, 8), 3, "2000-02-29 00:00:00", "2000-02-29 00:00:00.000"},
        {CQL_TIMESTAMP, be(LEAP_DAY + 86399007, 8), 3, "2000-02-29 23:59:59.007",
         "2000-02-29 23:59:59.007"},
        {CQL_TIMESTAMP, be(LEAP_DAY + 120, 8), 1, "2000-02-29 00:00:00.1",
         "2000-02-29 00:00:00.120"},
        {CQL_TIMESTAMP, be(LEAP_DAY + 120, 8), 0, "2000-02-29 00:00:00.120000000",
         "2000-02-29 00:00:00.120"},
        {CQL_TIME, be(CLOCK + 7, 8), 9, "0000-00-00 12:34:56.000000007", "0000-00-00 12:34:56.000"},
        {CQL_TIME, be(CLOCK + 999999999, 8), 9, "0000-00-00 12:34:56.999999999",
         "0000-00-00 12:34:56.1000"},
    };
    return forms;
}

static rig_ptr form_rig(const text_form &form)
{
    rig_ptr rig = rig_open({form.type});
    rig_field(rig, 1)->scale = form.scale;
    rig_page(rig.get(), cell_of(form.bytes));
    EXPECT_EQ(SQL_SUCCESS, rig_row(rig));
    return rig;
}

TEST(cell_text, formatted_text_in_ansi_buffers_of_every_size)
{
    for (const text_form &form : text_forms()) {
        const std::string expected = form.ansi;
        for (std::size_t room = 0; room <= expected.size() + 2; room++) {
            SCOPED_TRACE(expected + " in " + std::to_string(room));
            const rig_ptr rig = form_rig(form);
            const read_result result = read_cell(rig, SQL_C_CHAR, room);
            EXPECT_EQ(static_cast<SQLLEN>(expected.size()), result.length);
            const bool cut = room > 0 && expected.size() >= room;
            EXPECT_EQ(cut ? SQL_SUCCESS_WITH_INFO : SQL_SUCCESS, result.code);
            EXPECT_EQ(cut ? "01004@1" : "", rig_states(rig));
            if (room > 0) {
                EXPECT_EQ(expected.substr(0, room - 1), result.written.c_str());
            }
            EXPECT_EQ(SQL_NO_DATA, read_cell(rig, SQL_C_CHAR, 64).code);
        }
    }
}

TEST(cell_text, formatted_text_in_wide_buffers_of_every_size)
{
    for (const text_form &form : text_forms()) {
        const std::string largest = form.wide != nullptr ? form.wide : form.ansi;
        for (std::size_t room = 0; room <= 2 * largest.size() + 4; room++) {
            // Timestamps leave out the fraction in a buffer of fewer than 23 bytes.
            const std::string expected =
                form.wide != nullptr && room < 23 ? largest.substr(0, largest.rfind('.')) : largest;
            SCOPED_TRACE(expected + " in " + std::to_string(room));
            const rig_ptr rig = form_rig(form);
            const read_result result = read_cell(rig, SQL_C_WCHAR, room);
            const std::size_t bytes = 2 * expected.size();
            EXPECT_EQ(static_cast<SQLLEN>(bytes), result.length);
            const bool cut = room > 0 && bytes >= room;
            EXPECT_EQ(cut ? SQL_SUCCESS_WITH_INFO : SQL_SUCCESS, result.code);
            EXPECT_EQ(cut ? "01004@1" : "", rig_states(rig));
            std::string written = widen(expected);
            if (cut)
                written = written.substr(0, room / 2 < 1 ? 0 : 2 * (room / 2 - 1));
            if (written.size() + 2 <= room)
                written += std::string(2, '\0');
            if (room > 0) {
                EXPECT_EQ(written + untouched(room - written.size()), result.written);
            }
        }
    }
}

TEST(cell_text, unsigned_columns_print_unsigned)
{
    for (const int type : {CQL_INT, CQL_BIGINT}) {
        const rig_ptr rig = cell_rig_of(type, be(-1, type == CQL_INT ? 4 : 8));
        rig_field(rig, 1)->unsigned_attr = 1;
        const std::string expected = type == CQL_INT ? "4294967295" : "18446744073709551615";
        EXPECT_EQ(expected, read_cell(rig, SQL_C_CHAR, 64).written.c_str());
    }
}

// ---- Pieces -------------------------------------------------------------------------------------

struct piece {
    SQLLEN length;
    SQLRETURN code;
    std::string written;
};

// Reads a column to its end in pieces of `room` bytes.
static std::vector<piece> read_pieces(const rig_ptr &rig, int target, std::size_t room)
{
    std::vector<piece> pieces;
    for (int i = 0; i < 200; i++) {
        const std::int32_t before = rig_cell(rig).offset;
        const read_result result = read_cell(rig, target, room);
        if (result.code == SQL_NO_DATA)
            return pieces;
        EXPECT_EQ(result.code == SQL_SUCCESS_WITH_INFO ? "01004@1" : "", rig_states(rig));
        pieces.push_back({result.length, result.code, result.written});
        if (result.code == SQL_SUCCESS_WITH_INFO && rig_cell(rig).offset == before)
            return pieces;  // a buffer without room for anything never gets on
    }
    ADD_FAILURE() << "no end in pieces of " << room;
    return pieces;
}

TEST(cell_text, text_in_pieces)
{
    const std::string value = "0123456789";
    for (std::size_t room = 1; room <= value.size() + 2; room++) {
        SCOPED_TRACE(room);
        const rig_ptr rig = cell_rig_of(CQL_VARCHAR, value);
        std::string whole;
        for (const piece &part : read_pieces(rig, SQL_C_CHAR, room)) {
            EXPECT_EQ(static_cast<SQLLEN>(value.size() - whole.size()), part.length);
            EXPECT_EQ(part.length < static_cast<SQLLEN>(room), part.code == SQL_SUCCESS);
            whole += part.written.c_str();
        }
        EXPECT_EQ(room > 1 ? value : "", whole);
    }
}

TEST(cell_text, binary_in_pieces)
{
    const std::string value = unhex("00ff10203040");
    for (std::size_t room = 1; room <= value.size() + 2; room++) {
        for (const int type : {CQL_BLOB, CQL_VARCHAR}) {
            SCOPED_TRACE(room);
            const rig_ptr rig = cell_rig_of(type, value);
            std::string whole;
            for (const piece &part : read_pieces(rig, SQL_C_BINARY, room)) {
                EXPECT_EQ(static_cast<SQLLEN>(value.size() - whole.size()), part.length);
                // An exact fit is cut, and an empty piece ends the column.
                EXPECT_EQ(part.length < static_cast<SQLLEN>(room), part.code == SQL_SUCCESS);
                whole += part.written.substr(0, static_cast<std::size_t>(part.length));
            }
            EXPECT_EQ(value, whole);
        }
    }
}

TEST(cell_text, hexadecimal_in_pieces)
{
    const std::string value = unhex("00ff1020a040");
    for (std::size_t room = 1; room <= 2 * value.size() + 6; room++) {
        SCOPED_TRACE(room);
        const rig_ptr rig = cell_rig_of(CQL_BLOB, value);
        std::string whole;
        std::size_t read = 0;
        for (const piece &part : read_pieces(rig, SQL_C_CHAR, room)) {
            // The length does not count the doubling, and is never taken for SQL_NULL_DATA.
            EXPECT_EQ(std::max<SQLLEN>(0, 6 - 2 * static_cast<SQLLEN>(read)), part.length);
            const std::size_t left = value.size() - read;
            const bool whole_rest = static_cast<long>(left) < static_cast<long>(room / 2) - 1;
            EXPECT_EQ(whole_rest, part.code == SQL_SUCCESS);
            whole += part.written.c_str();
            read += std::min(left, (room - 1) / 2);
            if (part.code == SQL_SUCCESS_WITH_INFO) {
                EXPECT_EQ('\0', part.written[room - 1]);
            }
        }
        EXPECT_EQ(room >= 3 ? "00ff1020a040" : "", whole);
    }

    for (std::size_t room = 1; room <= 4 * value.size() + 6; room++) {
        SCOPED_TRACE("wide, " + std::to_string(room));
        const rig_ptr rig = cell_rig_of(CQL_BLOB, value);
        std::string whole;
        for (const piece &part : read_pieces(rig, SQL_C_WCHAR, room)) {
            EXPECT_EQ(static_cast<SQLLEN>(4 * value.size() - whole.size()), part.length);
            const std::size_t left = value.size() - whole.size() / 4;
            EXPECT_EQ(2 * left < room / 2, part.code == SQL_SUCCESS);
            const std::size_t taken = 4 * std::min(left, room / 4);
            whole += part.written.substr(0, taken);
            if (taken + 2 <= room) {
                EXPECT_EQ(std::string(2, '\0'), part.written.substr(taken, 2));
            }
        }
        EXPECT_EQ(room >= 4 ? widen("00FF1020A040") : "", whole);
    }
}

TEST(cell_text, wide_text_in_pieces)
{
    // One, two, three and four bytes a character, then bytes that are no characters.
    const std::string value = "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80z";
    const SQLWCHAR units[] = {'a', 0xE9, 0x20AC, 0xF600, 'z'};
    std::string expected(reinterpret_cast<const char *>(units), sizeof units);
    for (std::size_t room = 1; room <= sizeof units + 4; room++) {
        SCOPED_TRACE(room);
        const rig_ptr rig = cell_rig_of(CQL_VARCHAR, value);
        std::string whole;
        for (const piece &part : read_pieces(rig, SQL_C_WCHAR, room)) {
            EXPECT_EQ(static_cast<SQLLEN>(expected.size() - whole.size()), part.length);
            const std::size_t left = expected.size() - whole.size();
            EXPECT_EQ(left / 2 < room / 2, part.code == SQL_SUCCESS);
            const std::size_t taken = std::min(left, room / 2 * 2);
            whole += part.written.substr(0, taken);
            if (part.code == SQL_SUCCESS) {
                EXPECT_EQ(std::string(2, '\0'), part.written.substr(taken, 2));
            }
        }
        EXPECT_EQ(room >= 2 ? expected : "", whole);
    }
}

TEST(cell_text, malformed_text_ends_with_its_cell)
{
    for (const char *value :
         {"\xC3", "\xE2\x82", "\xF0\x9F\x98", "\x80\x80", "\xFF\xFE", "a\xF0"}) {
        const std::string bytes = value;
        const rig_ptr rig = cell_rig_of(CQL_VARCHAR, bytes);
        const read_result result = read_cell(rig, SQL_C_WCHAR, 64);
        EXPECT_EQ(SQL_SUCCESS, result.code);
        EXPECT_GT(result.length, 0);
        EXPECT_EQ(static_cast<std::int32_t>(bytes.size()), rig_cell(rig).offset);
    }
}

TEST(cell_text, fixed_values_as_binary)
{
    struct binary_case {
        int type;
        std::string bytes;
        std::size_t size;
    };
    const binary_case cases[] = {
        {CQL_INT, be(0x01020304, 4), 4},   {CQL_FLOAT, be_float(1.5f), 4},
        {CQL_BIGINT, be(0x0102, 8), 8},    {CQL_DOUBLE, be_double(1.5), 8},
        {CQL_DECIMAL, decimal(1, "05"), 19}, {CQL_TIMESTAMP, be(LEAP_DAY, 8), 16},
        {CQL_UUID, be(1, 16), 16},         {CQL_DATE, be(0, 4), 6},
    };
    for (const binary_case &c : cases) {
        for (std::size_t room = 0; room <= c.size + 1; room++) {
            SCOPED_TRACE(std::to_string(c.type) + " in " + std::to_string(room));
            const rig_ptr rig = cell_rig_of(c.type, c.bytes);
            const read_result result = read_cell(rig, SQL_C_BINARY, room);
            const bool cut = room > 0 && room < c.size;
            EXPECT_EQ(cut ? SQL_SUCCESS_WITH_INFO : SQL_SUCCESS, result.code);
            EXPECT_EQ(static_cast<SQLLEN>(c.size), result.length);
            const std::size_t taken = std::min(room, c.size);
            EXPECT_EQ(0, std::memcmp(&rig_cell(rig).value, result.written.data(), taken));
            EXPECT_EQ(untouched(room - taken), result.written.substr(taken));
        }
    }
}
