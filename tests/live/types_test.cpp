// A column of every CQL type: how it is described, values written as CQL text and read back in each
// form that an application may ask for, with lengths and the bytes around the buffer, and in
// pieces.
#include "tests/live/live_support.h"

struct column_case {
    std::string cql_type;
    int sql_type;
    SQLULEN size;        // with StringLen=300;BinaryLen=2000
    SQLSMALLINT c_type;  // its own
};

// clang-format off
static const column_case columns[] = {
    {"bigint", SQL_BIGINT, 19, SQL_C_SBIGINT}, {"inet", SQL_VARCHAR, 39, SQL_C_CHAR},
    {"decimal", SQL_NUMERIC, 38, SQL_C_NUMERIC}, {"duration", SQL_VARBINARY, 2000, SQL_C_BINARY},
    {"float", SQL_REAL, 7, SQL_C_FLOAT}, {"int", SQL_INTEGER, 10, SQL_C_SLONG},
    {"date", SQL_TYPE_DATE, 10, SQL_C_TYPE_DATE}, {"list<int>", SQL_VARBINARY, 2000, SQL_C_BINARY},
    {"double", SQL_DOUBLE, 15, SQL_C_DOUBLE}, {"map<text, int>", SQL_VARBINARY, 2000, SQL_C_BINARY},
    {"pair", SQL_VARBINARY, 2000, SQL_C_BINARY}, {"smallint", SQL_SMALLINT, 5, SQL_C_SSHORT},
    {"blob", SQL_VARBINARY, 2000, SQL_C_BINARY}, {"set<text>", SQL_VARBINARY, 2000, SQL_C_BINARY},
    {"ascii", SQL_VARCHAR, 300, SQL_C_CHAR}, {"time", SQL_TYPE_TIMESTAMP, 29, SQL_C_TYPE_TIMESTAMP},
    {"boolean", SQL_BIT, 1, SQL_C_BIT}, {"timestamp", SQL_TYPE_TIMESTAMP, 23, SQL_C_TYPE_TIMESTAMP},
    {"tinyint", SQL_TINYINT, 3, SQL_C_STINYINT}, {"varint", SQL_NUMERIC, 38, SQL_C_NUMERIC},
    {"text", SQL_VARCHAR, 300, SQL_C_CHAR}, {"tuple<int, text>", SQL_VARBINARY, 2000, SQL_C_BINARY},
    {"uuid", SQL_GUID, 36, SQL_C_GUID},
    {"timeuuid", SQL_GUID, 36, SQL_C_GUID}, {"vector<float, 3>", SQL_VARBINARY, 2000, SQL_C_BINARY},
};
// clang-format on

// "c_list" for "list<int>".
static std::string name_of(const column_case &c)
{
    return "c_" + c.cql_type.substr(0, c.cql_type.find('<'));
}

struct live_types : live_test {
    // The tables `every` and, as counters stand alone, `counts`.
    void make_tables(const std::string &keyspace)
    {
        log_on_with("StringLen=300;BinaryLen=2000", SQL_OV_ODBC3);
        use_keyspace(keyspace);
        run(stmt, "CREATE TYPE pair (a int, b text)");
        std::string table = "CREATE TABLE every (k int PRIMARY KEY";
        for (const column_case &c : columns)
            table += ", " + name_of(c) + " " + c.cql_type;
        run(stmt, table + ")");
        run(stmt, "CREATE TABLE counts (k int PRIMARY KEY, c_counter counter)");
    }
};

// ---- Memory -------------------------------------------------------------------------------------

static constexpr std::size_t guard = 16;
static constexpr char guard_byte = '\xAA';

static std::string hex_of(const void *bytes, std::size_t size)
{
    std::string hex;
    for (std::size_t i = 0; i < size; i++) {
        const unsigned byte = static_cast<const unsigned char *>(bytes)[i];
        hex += {"0123456789abcdef"[byte / 16], "0123456789abcdef"[byte % 16]};
    }
    return hex;
}

// The low bytes come first on every machine that we build for.
static std::string integer(long long value, std::size_t size)
{
    return hex_of(&value, size);
}

static std::string date(int year, int month, int day)
{
    return integer(year, 2) + integer(month, 2) + integer(day, 2);
}

static std::string moment(const std::string &day, int hour, int minute, int second, int fraction)
{
    return day + date(hour, minute, second) + integer(fraction, 4);
}

// SQL_NUMERIC_STRUCT; `value` is hexadecimal, least significant byte first.
static std::string numeric(int precision, int scale, int sign, std::string value)
{
    value.resize(32, '0');
    return integer(precision, 1) + integer(scale, 1) + integer(sign, 1) + value;
}

// The cell as it lies in memory: hexadecimal digits of the bytes that the length tells, "NULL", or
// a code with its record. Nothing behind those bytes (and a terminator of `end` bytes) may change.
// `factor` 2: hexadecimal text, for which the driver tells the number of bytes behind the digits.
static std::string memory_of(SQLHSTMT stmt, SQLUSMALLINT column, SQLSMALLINT c_type,
                             std::size_t end = 0, SQLLEN factor = 1)
{
    std::string buffer(400 + guard, guard_byte);
    SQLLEN length = 0x5555555555555555;
    const SQLRETURN code = SQLGetData(stmt, column, c_type, buffer.data(), 400, &length);
    if (code != SQL_SUCCESS)
        return code_name(code) + ": " + ::testing::PrintToString(stmt_records(stmt));
    if (length != SQL_NULL_DATA && (length < 0 || length * factor > 400))
        return "length " + std::to_string(length);
    const bool is_null = length == SQL_NULL_DATA;
    const std::size_t size = is_null ? 0 : static_cast<std::size_t>(length * factor);
    std::string wanted = buffer.substr(0, size) + std::string(is_null ? 0 : end, '\0');
    wanted.resize(buffer.size(), guard_byte);
    EXPECT_EQ(buffer, wanted) << "written beyond " << size;
    return is_null ? "NULL" : hex_of(buffer.data(), size);
}

// ---- Columns and nulls --------------------------------------------------------------------------

TEST_F(live_types, every_type_is_described_and_null_is_null_in_every_form)
{
    make_tables("live_nulls");
    run(stmt, "INSERT INTO every (k) VALUES (1)");
    std::string sql = "SELECT k";
    for (const column_case &c : columns)
        sql += ", " + name_of(c);
    for (const SQLSMALLINT form : {SQL_C_CHAR, SQL_C_WCHAR, SQL_C_BINARY, 0}) {
        ASSERT_STMT(SQL_SUCCESS, stmt, exec(stmt, sql + " FROM every"));
        ASSERT_STMT(SQL_SUCCESS, stmt, SQLFetch(stmt));
        SQLUSMALLINT column = 1;
        for (const column_case &c : columns) {
            SCOPED_TRACE(c.cql_type + " in form " + std::to_string(form));
            SQLCHAR name[32] = "";
            SQLSMALLINT type = 0;
            SQLULEN size = 0x7777777777777777;
            SQLDescribeCol(stmt, ++column, name, 32, nullptr, &type, &size, nullptr, nullptr);
            EXPECT_EQ(reinterpret_cast<char *>(name), name_of(c));
            EXPECT_EQ(std::pair(int{type}, size), std::pair(c.sql_type, c.size));
            EXPECT_EQ(memory_of(stmt, column, form == 0 ? c.c_type : form), "NULL");
        }
        SQLFreeStmt(stmt, SQL_CLOSE);
    }
}

// ---- Values -------------------------------------------------------------------------------------

struct value_case {
    std::string column;
    std::string literal;
    std::string memory = {};   // in the type's own C type; empty: the text, or its digits as bytes
    std::string text = {};     // as SQL_C_CHAR; empty: the literal without quotes and 0x
    std::u16string wide = {};  // as SQL_C_WCHAR; empty: the text
    std::string binary = {};   // as SQL_C_BINARY; empty: as in memory
};

static const std::string not_held =
    "SQL_ERROR: { \"22003 [Varnholt][Apache Cassandra]Numeric value out of range\" }";

// clang-format off
static const value_case values[] = {
    {"ascii", "'plain'"}, {"ascii", "''"}, {"text", "'it''s ?'", "", "it's ?"}, {"text", "''"},
    // A character above 16 bits is one unit of its low bits: there are no surrogate pairs.
    {"text", "'\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80z'", "", "", u"\u00E9\u20AC\uF600z"},
    {"inet", "'127.0.0.255'"}, {"inet", "'2001:db8::f0:42:8329'", "", "2001:db8:0:0:0:f0:42:8329"},

    {"counter", "-9000000000", integer(-9000000000, 8)},
    {"bigint", "9223372036854775807", "ffffffffffffff7f"},
    {"bigint", "-9223372036854775808", "0000000000000080"},
    {"int", "2147483647", "ffffff7f"}, {"int", "-2147483648", "00000080"},
    {"smallint", "32767", "ff7f", "", u"", "ff7f0000"},
    {"smallint", "-32768", "0080", "", u"", "0080ffff"},
    {"tinyint", "127", "7f", "", u"", "7f000000"}, {"tinyint", "-128", "80", "", u"", "80ffffff"},
    {"boolean", "true", "01", "1", u"", "01000000"},
    {"boolean", "false", "00", "0", u"", "00000000"}, {"varint", "-256", numeric(38, 0, 0, "0001")},

    {"float", "1.5", "0000c03f"}, {"float", "3.4028235E38", "ffff7f7f", "3.402823E+38"},
    {"float", "1.4E-45", "01000000", "1.401298E-45"}, {"float", "NaN", "0000c07f", "NAN"},
    {"double", "-0.0", "0000000000000080", "-0"},
    {"double", "-Infinity", "000000000000f0ff", "-INF"},
    {"double", "1.7976931348623157E308", "ffffffffffffef7f", "1.797693E+308"},
    {"double", "4.9E-324", "0100000000000000", "4.940656E-324"},
    // Precision 38, and 37 where the server's integer has a leading zero byte.
    {"decimal", "1.50", numeric(37, 2, 1, "96")}, {"decimal", "0.000", numeric(37, 3, 1, "00")},
    {"decimal", "-12345678901234567890.123456789", numeric(38, 9, 0, "1581396eb1c9be46321be427")},
    {"decimal", "1E+3", numeric(38, -3, 1, "01"), "1000"},
    {"varint", "340282366920938463463374607431768211455", numeric(37, 0, 1, std::string(32, 'f'))},
    {"varint", "340282366920938463463374607431768211456", not_held, not_held},
    {"varint", "-340282366920938463463374607431768211456", not_held, not_held},

    {"date", "'2024-02-29'", date(2024, 2, 29)}, {"date", "'1969-12-31'", date(1969, 12, 31)},
    {"date", "'1582-10-14'", date(1582, 10, 14)}, {"date", "'0001-01-01'", date(1, 1, 1)},
    // The end of the type: a year that a date structure cannot hold keeps its low 16 bits.
    {"date", "4294967295", date(-16660, 7, 11), "-16660-07-11"},
    {"time", "'00:00:00'", moment(date(0, 0, 0), 0, 0, 0, 0), "0000-00-00 00:00:00",
     u"0000-00-00 00:00:00.000"},
    {"time", "'23:59:59.999999999'", moment(date(0, 0, 0), 23, 59, 59, 999999999),
     "0000-00-00 23:59:59.999999999", u"0000-00-00 23:59:59.1000"},
    {"timestamp", "253402300799999", moment(date(9999, 12, 31), 23, 59, 59, 999000000),
     "9999-12-31 23:59:59.999"},
    {"timestamp", "-62135596800000", moment(date(1, 1, 1), 0, 0, 0, 0), "0001-01-01 00:00:00",
     u"0001-01-01 00:00:00.000"},
    // Before 1970 the parts of a day are negative, in fields that have no sign.
    {"timestamp", "-1", moment(date(1970, 1, 1), 0, 0, 0, -1000000), "1970-01-01 00:00:00.4293"},
    {"timestamp", "-3661000", moment(date(1970, 1, 1), -1, -1, -1, 0),
     "1970-01-01 65535:65535:65535", u"1970-01-01 65535:65535:65535.000"},
    {"timestamp", "9223372036854775807", moment(date(-11566, 8, 17), 7, 12, 55, 807000000),
     "-11566-08-17 07:12:55.807"},
    {"uuid", "A0EEBC99-9C0B-4EF8-BB6D-6BB9BD380A11", "99bceea00b9cf84ebb6d6bb9bd380a11"},
    {"timeuuid", "50554D6E-29BB-11E5-B345-FEFF819CDC9F", "6e4d5550bb29e511b345feff819cdc9f"},

    {"blob", "0x00ff7f10", "", "", u"00FF7F10"}, {"blob", "0x"},
    {"duration", "1mo2d3ns", "", "020406"},
    {"pair", "{a: 7, b: 'x'}", "", "00000004000000070000000178"},
    {"list", "[1, -2]", "", "0000000200000004000000010000" "0004fffffffe",
     u"000000020000000400000001" u"00000004FFFFFFFE"},
    {"set", "{'b', 'a'}", "", "0000000200000001610000000162"},
    {"map", "{'k': 7}", "", "00000001000000016b00000004" "00000007",
     u"00000001000000016B0000000400000007"},
    {"tuple", "(7, null)", "", "0000000400000007ffffffff", u"0000000400000007FFFFFFFF"},
    {"vector", "[1, 2, -1.5]", "", "3f80000040000000bfc00000", u"3F80000040000000BFC00000"},
    {"int", "blob_as_int(0x)", "NULL", "NULL"},  // a fixed-width cell of no bytes
};
// clang-format on

TEST_F(live_types, every_value_reads_back_in_every_form)
{
    make_tables("live_values");
    for (const value_case &c : values) {
        SCOPED_TRACE(c.column + " " + c.literal);
        const bool is_counter = c.column == "counter";
        const std::string row = std::to_string(&c - values), name = "c_" + c.column;
        run(stmt,
            is_counter
                ? "UPDATE counts SET c_counter = c_counter + " + c.literal + " WHERE k = " + row
                : "INSERT INTO every (k, " + name + ") VALUES (" + row + ", " + c.literal + ")");
        ASSERT_STMT(SQL_SUCCESS, stmt,
                    exec(stmt, replaced("SELECT @, @, @, @ FROM ", "@", name) +
                                   (is_counter ? "counts" : "every") + " WHERE k = " + row));
        ASSERT_STMT(SQL_SUCCESS, stmt, SQLFetch(stmt));

        SQLSMALLINT c_type = SQL_C_SBIGINT;  // of a counter
        for (const column_case &column : columns)
            c_type = name_of(column) == name ? column.c_type : c_type;
        const bool is_digits = c_type == SQL_C_BINARY;
        std::string text = c.text;
        if (text.empty())
            text = replaced(replaced(c.literal, "'", ""), "0x", "");
        const std::u16string wide =
            c.wide.empty() ? std::u16string(text.begin(), text.end()) : c.wide;
        const bool is_mark = c.text == c.memory && !c.text.empty();
        const std::string hex = is_mark ? text : hex_of(text.data(), text.size());
        const std::string memory = !c.memory.empty() ? c.memory : is_digits ? text : hex;
        EXPECT_EQ(memory_of(stmt, 4, c_type, c_type == SQL_C_CHAR ? 1 : 0), memory);
        EXPECT_EQ(memory_of(stmt, 3, SQL_C_BINARY), c.binary.empty() ? memory : c.binary);
        EXPECT_EQ(memory_of(stmt, 2, SQL_C_WCHAR, 2),
                  is_mark ? text : hex_of(wide.data(), wide.size() * 2));
        EXPECT_EQ(memory_of(stmt, 1, SQL_C_CHAR, 1, is_digits ? 2 : 1), hex);
        SQLFreeStmt(stmt, SQL_CLOSE);
    }
}

// ---- Pieces -------------------------------------------------------------------------------------

// A value of characters below 128. Text always ends in a terminator, wide text only in its last
// piece: one that is cut short fills the whole buffer. An exact fit counts as cut short, and an
// empty piece follows it.
static void expect_pieces(SQLHSTMT stmt, SQLUSMALLINT column, SQLSMALLINT c_type,
                          const std::string &value, std::size_t size)
{
    const std::size_t unit = c_type == SQL_C_WCHAR ? 2 : 1;
    const std::size_t step = c_type == SQL_C_CHAR ? size - 1 : size / unit;
    bool last = false;
    for (std::size_t at = 0; !last; at += step) {
        SCOPED_TRACE("from character " + std::to_string(at));
        const std::size_t left = value.size() - at;
        last = left < size / unit;
        std::string wanted;
        for (const char character : value.substr(at, step))
            wanted += std::string{character, '\0'}.substr(0, unit);
        if (c_type == SQL_C_CHAR || (c_type == SQL_C_WCHAR && last))
            wanted.append(unit, '\0');
        wanted.resize(size + guard, guard_byte);
        std::string buffer(size + guard, guard_byte);
        SQLLEN length = -99;
        ASSERT_STMT(last ? SQL_SUCCESS : SQL_SUCCESS_WITH_INFO, stmt,
                    SQLGetData(stmt, column, c_type, buffer.data(), SQLLEN(size), &length));
        if (!last)
            expect_records(SQL_HANDLE_STMT, stmt, {"01004 String data, right truncation"});
        ASSERT_EQ(length, static_cast<SQLLEN>(left * unit));
        ASSERT_EQ(buffer, wanted);
    }
    EXPECT_EQ(memory_of(stmt, column, c_type), "SQL_NO_DATA: {}");
}

TEST_F(live_types, text_and_blobs_read_in_pieces_of_any_size)
{
    make_tables("live_pieces");
    for (const std::size_t size : {0u, 1u, 9u, 10u, 256u, 257u, 2000u}) {
        std::string value;
        for (std::size_t i = 0; i < size; i++)
            value += "0123456789abcdefghijklmnopqrstuvwxyzABC"[i % 39];
        run(stmt, "INSERT INTO every (k, c_text, c_blob) VALUES (1, '" + value + "', 0x" +
                      hex_of(value.data(), size) + ")");
        for (const std::size_t buffer : {4u, 10u, 16u, 256u, 257u, 2001u, 4002u}) {
            SCOPED_TRACE(std::to_string(size) + " into a buffer of " + std::to_string(buffer));
            ASSERT_STMT(SQL_SUCCESS, stmt,
                        exec(stmt, "SELECT c_text, c_text, c_text, c_blob FROM every"));
            ASSERT_STMT(SQL_SUCCESS, stmt, SQLFetch(stmt));
            expect_pieces(stmt, 1, SQL_C_CHAR, value, buffer);
            expect_pieces(stmt, 2, SQL_C_WCHAR, value, buffer);
            expect_pieces(stmt, 3, SQL_C_BINARY, value, buffer);
            expect_pieces(stmt, 4, SQL_C_BINARY, value, buffer);
            SQLFreeStmt(stmt, SQL_CLOSE);
        }
    }
}
