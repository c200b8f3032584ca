// A column of every CQL type: values written as CQL text and read back in the type's own form and
// as text.
#include <limits>

#include "tests/live/parameter_support.h"
#include "tests/node/frames.h"

struct live_types : live_parameters {
    // The table of every type and, as counters stand alone, `counts`.
    void make_tables(const std::string &keyspace)
    {
        make_table(keyspace);
        run(stmt, "USE " + keyspace);
        run(stmt, "CREATE TABLE counts (k int PRIMARY KEY, c_counter counter)");
    }
};

// The bytes that the length tells, "NULL", or a code with its record.
static std::string memory_of(SQLHSTMT stmt, SQLUSMALLINT column, SQLSMALLINT c_type)
{
    char buffer[400];
    SQLLEN length = 0x5555555555555555;
    const SQLRETURN code = SQLGetData(stmt, column, c_type, buffer, sizeof buffer, &length);
    if (code != SQL_SUCCESS)
        return code_and_record(code, stmt);
    if (length == SQL_NULL_DATA)
        return "NULL";
    EXPECT_LE(static_cast<std::size_t>(length), sizeof buffer);
    return {buffer, std::min(static_cast<std::size_t>(length), sizeof buffer)};
}

struct value_case {
    std::string column;
    std::string literal;
    app_value memory;
    std::string text = {};  // as SQL_C_CHAR; empty: the literal without quotes and 0x
};

static app_value binary(const std::string &digits)
{
    return {SQL_C_BINARY, from_hex(digits)};
}

// clang-format off
using date = SQL_DATE_STRUCT;
using moment = SQL_TIMESTAMP_STRUCT;
static const value_case values[] = {
    {"ascii", "'plain'", "plain"}, {"text", "''", ""},
    {"text", "'\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80z'", "\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80z"},
    {"inet", "'2001:db8::f0:42:8329'", "2001:db8:0:0:0:f0:42:8329", "2001:db8:0:0:0:f0:42:8329"},

    {"counter", "-9000000000", -9000000000}, {"bigint", "9223372036854775807", INT64_MAX},
    {"int", "-2147483648", INT32_MIN}, {"smallint", "-32768", SQLSMALLINT(-32768)},
    {"tinyint", "-128", SQLSCHAR(-128)}, {"boolean", "true", true, "1"},
    {"float", "3.4028235E38", 3.4028235E38f, "3.402823E+38"},
    {"double", "-Infinity", -std::numeric_limits<double>::infinity(), "-INF"},
    {"double", "4.9E-324", 4.9E-324, "4.940656E-324"},
    {"decimal", "1.50", numeric(150, 2, 1, 37)}, {"varint", "-256", numeric(256, 0, 0)},

    {"date", "'2024-02-29'", date{2024, 2, 29}}, {"date", "'1582-10-14'", date{1582, 10, 14}},
    {"time", "'23:59:59.999999999'", moment{0, 0, 0, 23, 59, 59, 999999999},
     "0000-00-00 23:59:59.999999999"},
    {"timestamp", "253402300799999", moment{9999, 12, 31, 23, 59, 59, 999000000},
     "9999-12-31 23:59:59.999"},
    {"uuid", "A0EEBC99-9C0B-4EF8-BB6D-6BB9BD380A11",
     {SQL_C_GUID, from_hex("99bceea00b9cf84ebb6d6bb9bd380a11")}},
    {"timeuuid", "50554D6E-29BB-11E5-B345-FEFF819CDC9F",
     {SQL_C_GUID, from_hex("6e4d5550bb29e511b345feff819cdc9f")}},

    {"blob", "0x00ff7f10", binary("00ff7f10")}, {"blob", "0x", binary("")},
    {"duration", "1mo2d3ns", binary("020406"), "020406"},
    {"list", "[1, -2]", binary("00000002" "0000000400000001" "00000004fffffffe"),
     "000000020000000400000001" "00000004fffffffe"},
    {"int", "blob_as_int(0x)", {SQL_C_SLONG, "NULL"}, "NULL"},  // a fixed-width cell of no bytes
};
// clang-format on

TEST_F(live_types, every_value_reads_back)
{
    make_tables("live_values");
    for (const value_case &c : values) {
        SCOPED_TRACE(c.column + " " + c.literal);
        const bool is_counter = c.column == "counter";
        const std::string row = std::to_string(&c - values), name = "c_" + c.column;
        run(stmt,
            is_counter
                ? "UPDATE counts SET c_counter = c_counter + " + c.literal + " WHERE k = " + row
                : "INSERT INTO t (k, " + name + ") VALUES (" + row + ", " + c.literal + ")");
        ASSERT_STMT(SQL_SUCCESS, stmt,
                    exec(stmt, replaced("SELECT @, @ FROM ", "@", name) +
                                   (is_counter ? "counts" : "t") + " WHERE k = " + row));
        ASSERT_STMT(SQL_SUCCESS, stmt, SQLFetch(stmt));
        const std::string bare = replaced(replaced(c.literal, "'", ""), "0x", "");
        EXPECT_EQ(memory_of(stmt, 2, c.memory.c_type), c.memory.memory);
        EXPECT_EQ(cell_text(stmt, 1), c.text.empty() ? bare : c.text);
        SQLFreeStmt(stmt, SQL_CLOSE);
    }
}
