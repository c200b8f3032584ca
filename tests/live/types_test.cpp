// A column of every CQL type: values written as CQL text and read back in each form that an
// application may ask for, with lengths and the bytes around the buffer; and how the columns are
// described.
#include <cstring>

#include "tests/live/live_support.h"

static const char every_table[] =
    "CREATE TABLE live_types.every (k int PRIMARY KEY, c_ascii ascii, c_bigint bigint, c_blob "
    "blob, "
    "c_boolean boolean, c_date date, c_decimal decimal, c_double double, c_duration duration, "
    "c_float float, c_inet inet, c_int int, c_list list<int>, c_map map<text, int>, c_set "
    "set<text>, "
    "c_smallint smallint, c_text text, c_time time, c_timestamp timestamp, c_timeuuid timeuuid, "
    "c_tinyint tinyint, c_tuple tuple<int, text>, c_udt live_types.pair, c_uuid uuid, "
    "c_varint varint, c_vector vector<float, 3>)";

static live_ptr types_session(const std::string &keyspace, const std::string &more = {})
{
    live_ptr live = live_logged_on(more);
    const auto named = [&](std::string text) {
        for (auto at = text.find("live_types"); at != std::string::npos;
             at = text.find("live_types", at + keyspace.size()))
            text.replace(at, 10, keyspace);
        return text;
    };
    make_keyspace(live->stmt, keyspace);
    run(live->stmt, named("CREATE TYPE live_types.pair (a int, b text)"));
    run(live->stmt, named(every_table));
    run(live->stmt, named("CREATE TABLE live_types.counts (k int PRIMARY KEY, c_counter counter)"));
    return live;
}

// ---- Bytes in memory ----------------------------------------------------------------------------

static std::string hex_of(const void *bytes, std::size_t size)
{
    std::string hex;
    for (std::size_t i = 0; i < size; i++) {
        char digits[3];
        std::snprintf(digits, sizeof digits, "%02x", static_cast<const unsigned char *>(bytes)[i]);
        hex += digits;
    }
    return hex;
}

static std::string integer(long long value, std::size_t size)
{
    return hex_of(&value, size);  // the low bytes come first on every machine that we build for
}

static std::string real(float value)
{
    return hex_of(&value, sizeof value);
}
static std::string real(double value)
{
    return hex_of(&value, sizeof value);
}

static std::string date(SQLSMALLINT year, SQLUSMALLINT month, SQLUSMALLINT day)
{
    const SQL_DATE_STRUCT value = {year, month, day};
    return hex_of(&value, sizeof value);
}

static std::string moment(SQLSMALLINT year, SQLUSMALLINT month, SQLUSMALLINT day, int hour = 0,
                          int minute = 0, int second = 0, long fraction = 0)
{
    const SQL_TIMESTAMP_STRUCT value = {year,
                                        month,
                                        day,
                                        static_cast<SQLUSMALLINT>(hour),
                                        static_cast<SQLUSMALLINT>(minute),
                                        static_cast<SQLUSMALLINT>(second),
                                        static_cast<SQLUINTEGER>(fraction)};
    return hex_of(&value, sizeof value);
}

// SQL_NUMERIC_STRUCT; `value` is hexadecimal, least significant byte first.
static std::string numeric(int precision, int scale, int sign, std::string value)
{
    value.resize(32, '0');
    return integer(precision, 1) + integer(scale, 1) + integer(sign, 1) + value;
}

// ---- Values -------------------------------------------------------------------------------------

struct value_case {
    const char *column;
    std::string literal;
    std::string text;     // as SQL_C_CHAR; "<..." for a conversion that fails so
    std::u16string wide;  // as SQL_C_WCHAR; empty: the same as the text
    std::string binary;   // as SQL_C_BINARY, in hexadecimal; "same": as in memory
    SQLSMALLINT c_type;   // the type's own C type, 0: one of the above
    std::string memory;   // what that is in memory
};

static const std::string not_held = "<SQL_ERROR: 22003 [Varnholt][Apache Cassandra]Numeric value "
                                    "out of range>";

// clang-format off
static const value_case values[] = {
    {"c_ascii", "'plain'", "plain", {}, "706c61696e", 0, {}},
    {"c_ascii", "''", "", {}, "", 0, {}},
    {"c_text", "'it''s ?'", "it's ?", {}, "69742773203f", 0, {}},
    {"c_text", "''", "", {}, "", 0, {}},
    {"c_text", "'\xC3\x85land \xE2\x82\xAC'", "\xC3\x85land \xE2\x82\xAC", u"\u00C5land \u20AC",
     "c3856c616e6420e282ac", 0, {}},
    // A character above 16 bits is one unit of its low bits: there are no surrogate pairs.
    {"c_text", "'a\xF0\x9F\x98\x80z'", "a\xF0\x9F\x98\x80z", u"a\uF600z", "61f09f98807a", 0, {}},

    {"c_bigint", "0", "0", {}, "same", SQL_C_SBIGINT, integer(0, 8)},
    {"c_bigint", "9223372036854775807", "9223372036854775807", {}, "same", SQL_C_SBIGINT,
     "ffffffffffffff7f"},
    {"c_bigint", "-9223372036854775808", "-9223372036854775808", {}, "same", SQL_C_SBIGINT,
     "0000000000000080"},
    {"c_counter", "42", "42", {}, "same", SQL_C_SBIGINT, integer(42, 8)},
    {"c_counter", "-9000000000", "-9000000000", {}, "same", SQL_C_SBIGINT, integer(-9000000000, 8)},
    {"c_int", "2147483647", "2147483647", {}, "same", SQL_C_SLONG, "ffffff7f"},
    {"c_int", "-2147483648", "-2147483648", {}, "same", SQL_C_SLONG, "00000080"},
    {"c_smallint", "32767", "32767", {}, "ff7f0000", SQL_C_SSHORT, "ff7f"},
    {"c_smallint", "-32768", "-32768", {}, "0080ffff", SQL_C_SSHORT, "0080"},
    {"c_tinyint", "127", "127", {}, "7f000000", SQL_C_STINYINT, "7f"},
    {"c_tinyint", "-128", "-128", {}, "80ffffff", SQL_C_STINYINT, "80"},
    {"c_boolean", "true", "1", {}, "01000000", SQL_C_BIT, "01"},
    {"c_boolean", "false", "0", {}, "00000000", SQL_C_BIT, "00"},

    {"c_float", "1.5", "1.5", {}, "same", SQL_C_FLOAT, real(1.5f)},
    {"c_float", "-0.0", "-0", {}, "same", SQL_C_FLOAT, real(-0.0f)},
    {"c_float", "3.4028235E38", "3.402823E+38", {}, "same", SQL_C_FLOAT, "ffff7f7f"},
    {"c_float", "1.4E-45", "1.401298E-45", {}, "same", SQL_C_FLOAT, "01000000"},
    {"c_float", "NaN", "NAN", {}, "same", SQL_C_FLOAT, "0000c07f"},
    {"c_double", "1234.56789", "1234.568", {}, "same", SQL_C_DOUBLE, real(1234.56789)},
    {"c_double", "100000000", "1E+08", {}, "same", SQL_C_DOUBLE, real(1e8)},
    {"c_double", "1.7976931348623157E308", "1.797693E+308", {}, "same", SQL_C_DOUBLE,
     "ffffffffffffef7f"},
    {"c_double", "4.9E-324", "4.940656E-324", {}, "same", SQL_C_DOUBLE, integer(1, 8)},
    {"c_double", "-Infinity", "-INF", {}, "same", SQL_C_DOUBLE, "000000000000f0ff"},

    // Precision 38, and 37 where the server's integer has a leading zero byte.
    {"c_decimal", "1.50", "1.50", {}, "same", SQL_C_NUMERIC, numeric(37, 2, 1, "96")},
    {"c_decimal", "-0.05", "-0.05", {}, "same", SQL_C_NUMERIC, numeric(38, 2, 0, "05")},
    {"c_decimal", "0.000", "0.000", {}, "same", SQL_C_NUMERIC, numeric(37, 3, 1, "00")},
    {"c_decimal", "2.00", "2.00", {}, "same", SQL_C_NUMERIC, numeric(37, 2, 1, "c8")},
    {"c_decimal", "1E+3", "1000", {}, "same", SQL_C_NUMERIC, numeric(38, -3, 1, "01")},
    {"c_decimal", "-12345678901234567890.123456789", "-12345678901234567890.123456789", {}, "same",
     SQL_C_NUMERIC, numeric(38, 9, 0, "1581396eb1c9be46321be427")},
    {"c_varint", "0", "0", {}, "same", SQL_C_NUMERIC, numeric(37, 0, 1, "00")},
    {"c_varint", "-1", "-1", {}, "same", SQL_C_NUMERIC, numeric(38, 0, 0, "01")},
    {"c_varint", "-256", "-256", {}, "same", SQL_C_NUMERIC, numeric(38, 0, 0, "0001")},
    {"c_varint", "170141183460469231731687303715884105727",
     "170141183460469231731687303715884105727", {}, "same", SQL_C_NUMERIC,
     numeric(38, 0, 1, "ffffffffffffffffffffffffffffff7f")},
    {"c_varint", "340282366920938463463374607431768211455",
     "340282366920938463463374607431768211455", {}, "same", SQL_C_NUMERIC,
     numeric(37, 0, 1, "ffffffffffffffffffffffffffffffff")},
    {"c_varint", "340282366920938463463374607431768211456", not_held, {}, not_held, SQL_C_NUMERIC,
     not_held},
    {"c_varint", "-340282366920938463463374607431768211456", not_held, {}, not_held, SQL_C_NUMERIC,
     not_held},

    {"c_date", "'2024-02-29'", "2024-02-29", {}, "same", SQL_C_TYPE_DATE, date(2024, 2, 29)},
    {"c_date", "'1969-12-31'", "1969-12-31", {}, "same", SQL_C_TYPE_DATE, date(1969, 12, 31)},
    {"c_date", "'1582-10-14'", "1582-10-14", {}, "same", SQL_C_TYPE_DATE, date(1582, 10, 14)},
    {"c_date", "'0001-01-01'", "0001-01-01", {}, "same", SQL_C_TYPE_DATE, date(1, 1, 1)},
    // The ends of the type: years that a date structure cannot hold keep their low 16 bits.
    {"c_date", "4294967295", "-16660-07-11", {}, "same", SQL_C_TYPE_DATE, date(-16660, 7, 11)},

    {"c_time", "'12:34:56.123456789'", "0000-00-00 12:34:56.123456789", u"0000-00-00 12:34:56.123",
     "same", SQL_C_TYPE_TIMESTAMP, moment(0, 0, 0, 12, 34, 56, 123456789)},
    {"c_time", "'00:00:00'", "0000-00-00 00:00:00", u"0000-00-00 00:00:00.000", "same",
     SQL_C_TYPE_TIMESTAMP, moment(0, 0, 0)},
    {"c_time", "'23:59:59.999999999'", "0000-00-00 23:59:59.999999999",
     u"0000-00-00 23:59:59.1000", "same", SQL_C_TYPE_TIMESTAMP,
     moment(0, 0, 0, 23, 59, 59, 999999999)},

    {"c_timestamp", "'2024-02-29 12:34:56.789+0000'", "2024-02-29 12:34:56.789", {}, "same",
     SQL_C_TYPE_TIMESTAMP, moment(2024, 2, 29, 12, 34, 56, 789000000)},
    {"c_timestamp", "0", "1970-01-01 00:00:00", u"1970-01-01 00:00:00.000", "same",
     SQL_C_TYPE_TIMESTAMP, moment(1970, 1, 1)},
    {"c_timestamp", "253402300799999", "9999-12-31 23:59:59.999", {}, "same", SQL_C_TYPE_TIMESTAMP,
     moment(9999, 12, 31, 23, 59, 59, 999000000)},
    {"c_timestamp", "-2208988800000", "1900-01-01 00:00:00", u"1900-01-01 00:00:00.000", "same",
     SQL_C_TYPE_TIMESTAMP, moment(1900, 1, 1)},
    {"c_timestamp", "-62135596800000", "0001-01-01 00:00:00", u"0001-01-01 00:00:00.000", "same",
     SQL_C_TYPE_TIMESTAMP, moment(1, 1, 1)},
    // Before 1970 the parts of a day are negative, in fields that have no sign.
    {"c_timestamp", "-1", "1970-01-01 00:00:00.4293", {}, "same", SQL_C_TYPE_TIMESTAMP,
     moment(1970, 1, 1, 0, 0, 0, -1000000)},
    {"c_timestamp", "-3661000", "1970-01-01 65535:65535:65535",
     u"1970-01-01 65535:65535:65535.000", "same", SQL_C_TYPE_TIMESTAMP,
     moment(1970, 1, 1, -1, -1, -1)},
    {"c_timestamp", "9223372036854775807", "-11566-08-17 07:12:55.807", {}, "same",
     SQL_C_TYPE_TIMESTAMP, moment(-11566, 8, 17, 7, 12, 55, 807000000)},

    {"c_uuid", "a0eebc99-9c0b-4ef8-bb6d-6bb9bd380a11", "A0EEBC99-9C0B-4EF8-BB6D-6BB9BD380A11", {},
     "same", SQL_C_GUID, "99bceea00b9cf84ebb6d6bb9bd380a11"},
    {"c_timeuuid", "50554d6e-29bb-11e5-b345-feff819cdc9f", "50554D6E-29BB-11E5-B345-FEFF819CDC9F",
     {}, "same", SQL_C_GUID, "6e4d5550bb29e511b345feff819cdc9f"},
    {"c_inet", "'127.0.0.255'", "127.0.0.255", {}, "3132372e302e302e323535", 0, {}},
    {"c_inet", "'::1'", "0:0:0:0:0:0:0:1", {}, "303a303a303a303a303a303a303a31", 0, {}},
    {"c_inet", "'2001:db8::ff00:42:8329'", "2001:db8:0:0:0:ff00:42:8329", {},
     "323030313a6462383a303a303a303a666630303a34323a38333239", 0, {}},

    {"c_blob", "0x00ff7f10", "00ff7f10", u"00FF7F10", "00ff7f10", 0, {}},
    {"c_blob", "0x", "", {}, "", 0, {}},
    {"c_list", "[1, -2]", "000000020000000400000001" "00000004fffffffe",
     u"000000020000000400000001" u"00000004FFFFFFFE", "00000002000000040000000100000004fffffffe", 0,
     {}},
    {"c_set", "{'b', 'a'}", "00000002000000016100000001" "62", {}, "0000000200000001610000000162",
     0, {}},
    {"c_map", "{'k': 7}", "00000001000000016b0000000400000007",
     u"00000001000000016B0000000400000007", "00000001000000016b0000000400000007", 0, {}},
    {"c_tuple", "(7, null)", "0000000400000007ffffffff", u"0000000400000007FFFFFFFF",
     "0000000400000007ffffffff", 0, {}},
    {"c_udt", "{a: 7, b: 'x'}", "00000004000000070000000178", {}, "00000004000000070000000178", 0,
     {}},
    {"c_duration", "1mo2d3ns", "020406", {}, "020406", 0, {}},
    {"c_vector", "[1, 2, -1.5]", "3f80000040000000bfc00000", u"3F80000040000000BFC00000",
     "3f80000040000000bfc00000", 0, {}},
    // Fixed-width cells of no bytes are null.
    {"c_int", "blob_as_int(0x)", "NULL", u"NULL", "NULL", SQL_C_SLONG, "NULL"},
    {"c_uuid", "blob_as_uuid(0x)", "NULL", u"NULL", "NULL", SQL_C_GUID, "NULL"},
};
// clang-format on

static constexpr int guard = 16;
static constexpr unsigned char guard_byte = 0xAA;

// The cell as it lies in memory: hexadecimal digits of the bytes that the length tells, "NULL", or
// a code with its record. Nothing behind those bytes (and a terminator of `end` bytes) may change.
// `doubled`: hexadecimal text, for which the driver tells the number of bytes behind the digits.
static std::string memory_of(SQLHSTMT stmt, SQLUSMALLINT column, SQLSMALLINT c_type,
                             std::size_t end = 0, bool doubled = false)
{
    unsigned char buffer[400 + guard];
    std::memset(buffer, guard_byte, sizeof buffer);
    SQLLEN length = 0x5555555555555555;
    const SQLRETURN code = SQLGetData(stmt, column, c_type, buffer, 400, &length);
    if (code != SQL_SUCCESS) {
        const record_list list = stmt_records(stmt);
        return "<" + code_name(code) + ": " + (list.empty() ? "" : list.front()) + ">";
    }
    if (length == SQL_NULL_DATA)
        return "NULL";
    if (length < 0 || length > 400)
        return "<length " + std::to_string(length) + ">";
    const std::size_t size = static_cast<std::size_t>(length) * (doubled ? 2 : 1);
    for (std::size_t i = 0; i < end; i++)
        EXPECT_EQ(buffer[size + i], 0) << "no terminator";
    for (std::size_t i = size + end; i < sizeof buffer; i++) {
        if (buffer[i] != guard_byte)
            return "<byte " + std::to_string(i) + " of " + std::to_string(size) + " was written>";
    }
    return hex_of(buffer, size);
}

static std::string hex_or_mark(const std::string &text)
{
    return text == "NULL" || text.starts_with('<') ? text : hex_of(text.data(), text.size());
}

TEST(live_types, every_value_reads_back_in_every_form)
{
    NEED_NODE("VHCASS_SERVER");
    const live_ptr live = types_session("live_values");
    const SQLHSTMT stmt = live->stmt;
    int key = 0;
    for (const value_case &c : values) {
        key++;
        SCOPED_TRACE(std::string(c.column) + " " + c.literal);
        const std::string row = std::to_string(key);
        const bool counter = std::strcmp(c.column, "c_counter") == 0;
        const std::string name = c.column;
        run(stmt, counter ? "UPDATE live_values.counts SET c_counter = c_counter + " + c.literal +
                                " WHERE k = " + row
                          : "INSERT INTO live_values.every (k, " + name + ") VALUES (" + row +
                                ", " + c.literal + ")");
        const std::string sql = "SELECT " + name + ", " + name + ", " + name + ", " + name +
                                " FROM live_values." + (counter ? "counts" : "every") +
                                " WHERE k = " + row;
        ASSERT_STMT(SQL_SUCCESS, stmt, exec(stmt, sql));
        ASSERT_STMT(SQL_SUCCESS, stmt, SQLFetch(stmt));

        std::u16string wide(c.text.begin(), c.text.end());
        if (!c.wide.empty())
            wide = c.wide;
        const bool marked = c.text == "NULL" || c.text.starts_with('<');
        if (c.c_type != 0) {
            EXPECT_EQ(memory_of(stmt, 4, c.c_type), c.memory);
        }
        EXPECT_EQ(memory_of(stmt, 3, SQL_C_BINARY), c.binary == "same" ? c.memory : c.binary);
        EXPECT_EQ(memory_of(stmt, 2, SQL_C_WCHAR, 2),
                  marked ? c.text : hex_of(wide.data(), wide.size() * 2));
        const bool digits = c.text.size() > 2 && c.text == c.binary;
        EXPECT_EQ(memory_of(stmt, 1, SQL_C_CHAR, 1, digits), hex_or_mark(c.text));
        EXPECT_STMT(SQL_NO_DATA, stmt, SQLFetch(stmt));
        SQLFreeStmt(stmt, SQL_CLOSE);
    }
}

TEST(live_types, nulls_of_every_type_need_an_indicator)
{
    NEED_NODE("VHCASS_SERVER");
    const live_ptr live = types_session("live_nulls");
    const SQLHSTMT stmt = live->stmt;
    run(stmt, "INSERT INTO live_nulls.every (k) VALUES (1)");
    for (const SQLSMALLINT c_type : {SQL_C_CHAR, SQL_C_WCHAR, SQL_C_BINARY, SQL_C_DEFAULT}) {
        SCOPED_TRACE(c_type);
        ASSERT_STMT(SQL_SUCCESS, stmt, exec(stmt, "SELECT * FROM live_nulls.every"));
        ASSERT_STMT(SQL_SUCCESS, stmt, SQLFetch(stmt));
        SQLSMALLINT count = 0;
        SQLNumResultCols(stmt, &count);
        ASSERT_EQ(count, 26);
        for (SQLUSMALLINT column = 2; column <= count; column++) {
            unsigned char buffer[64] = {guard_byte, guard_byte};
            SQLLEN length = 5;
            EXPECT_STMT(SQL_SUCCESS, stmt,
                        SQLGetData(stmt, column, c_type, buffer, sizeof buffer, &length));
            EXPECT_EQ(length, SQL_NULL_DATA);
            EXPECT_EQ(buffer[0], guard_byte);
        }
        SQLFreeStmt(stmt, SQL_CLOSE);
    }
    ASSERT_STMT(SQL_SUCCESS, stmt, exec(stmt, "SELECT c_text, c_int FROM live_nulls.every"));
    ASSERT_STMT(SQL_SUCCESS, stmt, SQLFetch(stmt));
    for (SQLUSMALLINT column = 1; column <= 2; column++) {
        char buffer[8];
        EXPECT_STMT(SQL_SUCCESS_WITH_INFO, stmt,
                    SQLGetData(stmt, column, SQL_C_CHAR, buffer, sizeof buffer, nullptr));
        expect_records(SQL_HANDLE_STMT, stmt, {"22002 Indicator variable required"});
    }
}

// ---- Pieces -------------------------------------------------------------------------------------

// What one road of piecewise reading must give: the bytes of a piece with its terminator, and the
// length told for it.
struct piece {
    std::string bytes;
    SQLLEN told;
    bool last;
};

static std::vector<piece> text_pieces(const std::string &value, std::size_t size)
{
    std::vector<piece> pieces;
    for (std::size_t at = 0;; at += size - 1) {
        const std::size_t left = value.size() - at;
        const bool last = left < size;
        pieces.push_back(
            {value.substr(at, last ? left : size - 1) + '\0', static_cast<SQLLEN>(left), last});
        if (last)
            return pieces;
    }
}

// An exact fit counts as cut short: an empty piece follows it.
static std::vector<piece> binary_pieces(const std::string &value, std::size_t size)
{
    std::vector<piece> pieces;
    for (std::size_t at = 0;; at += size) {
        const std::size_t left = value.size() - at;
        const bool last = left < size;
        pieces.push_back({value.substr(at, size), static_cast<SQLLEN>(left), last});
        if (last)
            return pieces;
    }
}

// Characters below 128. A piece that is cut short has no terminator: it fills the whole buffer.
static std::vector<piece> wide_pieces(const std::string &value, std::size_t size)
{
    std::vector<piece> pieces;
    for (std::size_t at = 0;; at += size / 2) {
        const std::size_t left = value.size() - at;
        const bool last = left < size / 2;
        std::string bytes;
        for (const char unit : value.substr(at, size / 2))
            bytes += std::string{unit, '\0'};
        pieces.push_back(
            {bytes + (last ? std::string(2, '\0') : ""), static_cast<SQLLEN>(left * 2), last});
        if (last)
            return pieces;
    }
}

static std::string pattern(std::size_t size)
{
    std::string text;
    for (std::size_t i = 0; i < size; i++)
        text += "0123456789abcdefghijklmnopqrstuvwxyzABC"[i % 39];
    return text;
}

static void expect_pieces(SQLHSTMT stmt, SQLUSMALLINT column, SQLSMALLINT c_type, std::size_t size,
                          const std::vector<piece> &pieces)
{
    for (std::size_t i = 0; i < pieces.size(); i++) {
        SCOPED_TRACE("piece " + std::to_string(i));
        std::string buffer(size + guard, static_cast<char>(guard_byte));
        SQLLEN length = -99;
        const SQLRETURN code =
            SQLGetData(stmt, column, c_type, buffer.data(), static_cast<SQLLEN>(size), &length);
        ASSERT_TRUE(code_is(pieces[i].last ? SQL_SUCCESS : SQL_SUCCESS_WITH_INFO, code,
                            SQL_HANDLE_STMT, stmt, "SQLGetData"));
        if (!pieces[i].last)
            expect_records(SQL_HANDLE_STMT, stmt, {"01004 String data, right truncation"});
        EXPECT_EQ(length, pieces[i].told);
        const std::string &bytes = pieces[i].bytes;
        ASSERT_EQ(buffer,
                  bytes + std::string(buffer.size() - bytes.size(), static_cast<char>(guard_byte)));
    }
    char more[8];
    SQLLEN length;
    EXPECT_STMT(SQL_NO_DATA, stmt, SQLGetData(stmt, column, c_type, more, sizeof more, &length));
}

TEST(live_types, text_and_blobs_read_in_pieces_of_any_size)
{
    NEED_NODE("VHCASS_SERVER");
    const live_ptr live = types_session("live_pieces");
    const SQLHSTMT stmt = live->stmt;
    for (const std::size_t size : {0u, 1u, 9u, 10u, 255u, 256u, 257u, 5000u}) {
        SCOPED_TRACE("value of " + std::to_string(size));
        const std::string value = pattern(size);
        run(stmt, "INSERT INTO live_pieces.every (k, c_text, c_blob) VALUES (1, '" + value +
                      "', 0x" + hex_of(value.data(), value.size()) + ")");
        for (const std::size_t buffer : {2u, 4u, 10u, 16u, 256u, 1000u, 5000u, 5001u, 10002u}) {
            if (size / buffer > 300)
                continue;  // says nothing new
            SCOPED_TRACE("buffer of " + std::to_string(buffer));
            ASSERT_STMT(SQL_SUCCESS, stmt,
                        exec(stmt, "SELECT c_text, c_text, c_blob, c_text FROM live_pieces.every"));
            ASSERT_STMT(SQL_SUCCESS, stmt, SQLFetch(stmt));
            if (size >
                0) {  // A probe for the length leaves a text as it was, but for an empty one.
                SQLLEN length = -99;
                char none;
                EXPECT_STMT(SQL_SUCCESS, stmt, SQLGetData(stmt, 1, SQL_C_CHAR, &none, 0, &length));
                EXPECT_EQ(length, static_cast<SQLLEN>(size));
            }
            expect_pieces(stmt, 4, SQL_C_BINARY, buffer, binary_pieces(value, buffer));
            if (size > 0 || buffer > 2)
                expect_pieces(stmt, 2, SQL_C_WCHAR, buffer, wide_pieces(value, buffer));
            expect_pieces(stmt, 1, SQL_C_CHAR, buffer, text_pieces(value, buffer));
            expect_pieces(stmt, 3, SQL_C_BINARY, buffer, binary_pieces(value, buffer));
            SQLFreeStmt(stmt, SQL_CLOSE);
        }
    }
}

// As hexadecimal text a piece takes whole bytes, and the lengths told do not count the doubling of
// what was read before.
TEST(live_types, blob_as_hexadecimal_text_in_pieces)
{
    NEED_NODE("VHCASS_SERVER");
    const live_ptr live = types_session("live_hex");
    const SQLHSTMT stmt = live->stmt;
    run(stmt, "INSERT INTO live_hex.every (k, c_blob) VALUES (1, 0x0102030405060708090a)");
    ASSERT_STMT(SQL_SUCCESS, stmt, exec(stmt, "SELECT c_blob, c_blob FROM live_hex.every"));
    ASSERT_STMT(SQL_SUCCESS, stmt, SQLFetch(stmt));
    const struct {
        SQLRETURN code;
        std::string text;
        SQLLEN told;
    } narrow[] = {{SQL_SUCCESS_WITH_INFO, "01020304", 10},
                  {SQL_SUCCESS_WITH_INFO, "05060708", 2},
                  {SQL_SUCCESS, "090a", 0}};
    for (const auto &c : narrow) {
        char buffer[9 + guard] = "";
        SQLLEN length = -99;
        EXPECT_STMT(c.code, stmt, SQLGetData(stmt, 1, SQL_C_CHAR, buffer, 9, &length));
        EXPECT_EQ(std::string(buffer), c.text);
        EXPECT_EQ(length, c.told);
    }
    std::u16string wide;
    SQLWCHAR buffer[10];
    SQLLEN length = -99;
    SQLRETURN code;
    while ((code = SQLGetData(stmt, 2, SQL_C_WCHAR, buffer, 20, &length)) == SQL_SUCCESS_WITH_INFO)
        wide += std::u16string(buffer, buffer + 10);
    EXPECT_EQ(code, SQL_SUCCESS);
    wide += std::u16string(buffer, buffer + length / 2);
    EXPECT_EQ(wide, u"0102030405060708090A");
}

TEST(live_types, characters_cut_by_a_piece_come_whole_together)
{
    NEED_NODE("VHCASS_SERVER");
    const live_ptr live = types_session("live_cut");
    const SQLHSTMT stmt = live->stmt;
    std::string value;
    std::u16string units;
    for (int i = 0; i < 40; i++) {
        value += "a\xC3\xA9\xE2\x82\xAC";
        units += u"a\u00E9\u20AC";
    }
    run(stmt, "INSERT INTO live_cut.every (k, c_text) VALUES (1, '" + value + "')");
    for (const SQLLEN size : {4, 6, 18, 64}) {
        SCOPED_TRACE(size);
        ASSERT_STMT(SQL_SUCCESS, stmt, exec(stmt, "SELECT c_text, c_text FROM live_cut.every"));
        ASSERT_STMT(SQL_SUCCESS, stmt, SQLFetch(stmt));
        std::string got;
        char buffer[64];
        SQLLEN length = 0;
        while (SQLGetData(stmt, 1, SQL_C_CHAR, buffer, size, &length) == SQL_SUCCESS_WITH_INFO)
            got += buffer;
        EXPECT_EQ(got + buffer, value);

        std::u16string wide;
        SQLWCHAR unit[32];
        while (SQLGetData(stmt, 2, SQL_C_WCHAR, unit, size, &length) == SQL_SUCCESS_WITH_INFO)
            wide += std::u16string(unit, unit + size / 2);
        EXPECT_EQ(wide + std::u16string(unit, unit + length / 2), units);
        SQLFreeStmt(stmt, SQL_CLOSE);
    }
}

// ---- Conversions --------------------------------------------------------------------------------

TEST(live_types, conversions_between_types_keep_or_refuse)
{
    NEED_NODE("VHCASS_SERVER");
    const live_ptr live = types_session("live_casts");
    const SQLHSTMT stmt = live->stmt;
    run(stmt,
        "INSERT INTO live_casts.every (k, c_text, c_int, c_bigint, c_double, c_decimal, "
        "c_varint, c_timestamp, c_date, c_time) VALUES (1, '12.5', -1, 70000, 2.75, 300.00, 300, "
        "'2024-02-29 12:34:56.789+0000', '2024-02-29', '01:02:03')");
    const struct {
        const char *column;
        SQLSMALLINT c_type;
        SQLRETURN code;
        std::string memory;  // or the record
    } cases[] = {
        {"c_text", SQL_C_SLONG, SQL_SUCCESS_WITH_INFO, integer(12, 4)},
        {"c_text", SQL_C_DOUBLE, SQL_SUCCESS, real(12.5)},
        {"c_text", SQL_C_TYPE_DATE, SQL_ERROR, "07006"},
        {"c_text", SQL_C_GUID, SQL_ERROR, "07006"},
        {"c_int", SQL_C_ULONG, SQL_SUCCESS, "ffffffff"},
        {"c_int", SQL_C_USHORT, SQL_ERROR, "22003"},
        {"c_int", SQL_C_SBIGINT, SQL_SUCCESS, integer(-1, 8)},
        {"c_bigint", SQL_C_SSHORT, SQL_ERROR, "22003"},
        {"c_bigint", SQL_C_DOUBLE, SQL_SUCCESS, real(70000.0)},
        {"c_double", SQL_C_SLONG, SQL_SUCCESS_WITH_INFO, integer(2, 4)},
        {"c_double", SQL_C_BIT, SQL_ERROR, "22003"},
        {"c_decimal", SQL_C_SLONG, SQL_SUCCESS_WITH_INFO, integer(300, 4)},
        {"c_varint", SQL_C_UTINYINT, SQL_ERROR, "22003"},
        {"c_timestamp", SQL_C_TYPE_DATE, SQL_SUCCESS_WITH_INFO, date(2024, 2, 29)},
        {"c_timestamp", SQL_C_TYPE_TIME, SQL_SUCCESS_WITH_INFO,
         integer(12, 2) + integer(34, 2) + integer(56, 2)},
        {"c_date", SQL_C_TYPE_TIMESTAMP, SQL_SUCCESS, moment(2024, 2, 29)},
        {"c_date", SQL_C_TYPE_TIME, SQL_ERROR, "07006"},
        {"c_time", SQL_C_TYPE_TIME, SQL_SUCCESS, integer(1, 2) + integer(2, 2) + integer(3, 2)},
        {"c_timestamp", SQL_C_SLONG, SQL_ERROR, "07006"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(std::string(c.column) + " as " + std::to_string(c.c_type));
        ASSERT_STMT(SQL_SUCCESS, stmt,
                    exec(stmt, std::string("SELECT ") + c.column + " FROM live_casts.every"));
        ASSERT_STMT(SQL_SUCCESS, stmt, SQLFetch(stmt));
        unsigned char buffer[32] = "";
        SQLLEN length = 0;
        EXPECT_STMT(c.code, stmt, SQLGetData(stmt, 1, c.c_type, buffer, sizeof buffer, &length));
        if (c.code == SQL_ERROR)
            expect_records(SQL_HANDLE_STMT, stmt, {c.memory});
        else
            EXPECT_EQ(hex_of(buffer, static_cast<std::size_t>(length)), c.memory);
        if (c.code == SQL_SUCCESS_WITH_INFO)
            expect_records(SQL_HANDLE_STMT, stmt, {"01S07 Fractional truncation"});
        SQLFreeStmt(stmt, SQL_CLOSE);
    }
}
