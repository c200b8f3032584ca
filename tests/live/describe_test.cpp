// How the columns of a result are described: names, types, sizes and the other attributes, by the
// ANSI and the wide calls.
#include "tests/live/live_support.h"

static constexpr char duration_class[] = "org.apache.cassandra.db.marshal.DurationType";
static constexpr char vector_class[] = "org.apache.cassandra.db.marshal.VectorType("
                                       "org.apache.cassandra.db.marshal.FloatType , 3)";

// S and B stand for the lengths that StringLen and BinaryLen set.
static constexpr int S = -256;
static constexpr int B = -1024;

struct column_case {
    const char *cql_type;
    int concise;
    int size;  // by SQLDescribeCol
    int scale;
    int display;
    int precision;
    int length;
    int octets;
    const char *prefix;
    const char *suffix;
    const char *type_name;
    const char *local_name;
    int searchable;
    int radix;
};

// clang-format off
static const column_case columns[] = {
    {"ascii", SQL_VARCHAR, S, 0, S, S, S, S, "'", "'", "ascii", "ascii", 3, 0},
    {"bigint", SQL_BIGINT, 19, 0, 20, 19, 20, 8, "", "", "bigint", "bigint", 2, 0},
    {"blob", SQL_VARBINARY, B, 0, B, B, B, B, "0x", "", "BINARY", "blob", 2, 0},
    {"boolean", SQL_BIT, 1, 0, 1, 1, 3, 1, "", "", "bit", "boolean", 2, 0},
    {"date", SQL_TYPE_DATE, 10, 0, 10, 0, 6, 6, "{d '", "'}", "date", "date", 3, 0},
    {"decimal", SQL_NUMERIC, 38, 15, 38, 38, 38, S, "", "", "varint", "varint", 3, 0},
    {"double", SQL_DOUBLE, 15, 0, 24, 53, 53, 8, "", "", "double", "double", 2, 2},
    {"duration", SQL_VARBINARY, B, 0, B, B, B, B, "0x", "", "BINARY", duration_class, 2, 0},
    {"float", SQL_REAL, 7, 0, 14, 24, 24, 4, "", "", "float", "float", 2, 2},
    {"inet", SQL_VARCHAR, 39, 0, 39, 39, 39, S, "'", "'", "inet", "inet", 3, 0},
    {"int", SQL_INTEGER, 10, 0, 8, 7, 7, 4, "", "", "INT", "INT", 2, 0},
    {"list<int>", SQL_VARBINARY, B, 0, B, B, B, B, "0x", "", "BINARY", "list", 2, 0},
    {"map<text, int>", SQL_VARBINARY, B, 0, B, B, B, B, "0x", "", "BINARY", "map", 2, 0},
    {"frozen<set<text>>", SQL_VARBINARY, B, 0, B, B, B, B, "0x", "", "BINARY", "set", 2, 0},
    {"smallint", SQL_SMALLINT, 5, 0, 6, 5, 5, 2, "", "", "smallint", "smallint", 2, 0},
    {"text", SQL_VARCHAR, S, 0, S, S, S, S, "'", "'", "varchar", "varchar", 3, 0},
    {"time", SQL_TYPE_TIMESTAMP, 29, 9, 29, 9, 29, 16, "{ts '", "'}", "TIME", "TIME", 3, 0},
    {"timestamp", SQL_TYPE_TIMESTAMP, 23, 3, 23, 3, 23, 16, "{ts '", "'}", "TIMESTAMP", "TIMESTAMP",
     3, 0},
    {"timeuuid", SQL_GUID, 36, 0, 36, 36, 36, 16, "", "", "uuid", "uuid", 3, 0},
    {"tinyint", SQL_TINYINT, 3, 0, 4, 3, 3, 1, "", "", "tinyint", "tinyint", 2, 0},
    {"tuple<int, text>", SQL_VARBINARY, B, 0, B, B, B, B, "0x", "", "BINARY", "tuple", 2, 0},
    {"live_columns.pair", SQL_VARBINARY, B, 0, B, B, B, B, "0x", "", "BINARY", "udt", 2, 0},
    {"uuid", SQL_GUID, 36, 0, 36, 36, 36, 16, "", "", "uuid", "uuid", 3, 0},
    {"varint", SQL_NUMERIC, 38, 0, 38, 38, 38, S, "", "", "varint", "varint", 3, 0},
    {"vector<float, 3>", SQL_VARBINARY, B, 0, B, B, B, B, "0x", "", "BINARY", vector_class, 2, 0},
};
// clang-format on

static std::string column_name(std::size_t index)
{
    return "c" + std::to_string(100 + index);
}

static std::string text_attribute(SQLHSTMT stmt, SQLUSMALLINT column, SQLUSMALLINT field)
{
    SQLCHAR text[256] = "?";
    SQLSMALLINT length = -1;
    EXPECT_STMT(SQL_SUCCESS, stmt,
                SQLColAttribute(stmt, column, field, text, sizeof text, &length, nullptr));
    const std::string result = reinterpret_cast<char *>(text);
    EXPECT_EQ(static_cast<std::size_t>(length), result.size()) << "field " << field;
    return result;
}

static SQLLEN number_attribute(SQLHSTMT stmt, SQLUSMALLINT column, SQLUSMALLINT field)
{
    SQLLEN number = 0x7777777777777777;
    EXPECT_STMT(SQL_SUCCESS, stmt,
                SQLColAttribute(stmt, column, field, nullptr, 0, nullptr, &number));
    return number;
}

static void expect_column(SQLHSTMT stmt, SQLUSMALLINT number, const column_case &c, int string_len,
                          int binary_len)
{
    const auto sized = [&](int value) {
        return value == S ? string_len : value == B ? binary_len : value;
    };
    SQLCHAR name[64] = "";
    SQLSMALLINT length = 0, type = 0, digits = -1, nullable = -1;
    SQLULEN size = 0x7777777777777777;
    EXPECT_STMT(
        SQL_SUCCESS, stmt,
        SQLDescribeCol(stmt, number, name, sizeof name, &length, &type, &size, &digits, &nullable));
    EXPECT_EQ(reinterpret_cast<char *>(name), column_name(number - 1u));
    EXPECT_EQ(length, 4);
    EXPECT_EQ(type, c.concise);
    EXPECT_EQ(size, static_cast<SQLULEN>(sized(c.size)));
    EXPECT_EQ(digits, c.scale);
    EXPECT_EQ(nullable, SQL_NULLABLE_UNKNOWN);

    const bool is_time = c.concise == SQL_TYPE_DATE || c.concise == SQL_TYPE_TIMESTAMP;
    const struct {
        SQLUSMALLINT field;
        int value;
    } numbers[] = {
        {SQL_DESC_COUNT, static_cast<int>(std::size(columns))},
        {SQL_DESC_CONCISE_TYPE, c.concise},
        {SQL_DESC_TYPE, is_time ? SQL_DATETIME : c.concise},
        {SQL_DESC_DISPLAY_SIZE, sized(c.display)},
        {SQL_DESC_PRECISION, sized(c.precision)},
        {SQL_DESC_SCALE, c.scale},
        {SQL_DESC_LENGTH, sized(c.length)},
        {SQL_DESC_OCTET_LENGTH, sized(c.octets)},
        {SQL_DESC_SEARCHABLE, c.searchable},
        {SQL_DESC_NUM_PREC_RADIX, c.radix},
        {SQL_DESC_NULLABLE, SQL_NULLABLE_UNKNOWN},
        {SQL_DESC_UNSIGNED, 0},
        {SQL_DESC_CASE_SENSITIVE, 0},
        {SQL_DESC_AUTO_UNIQUE_VALUE, 0},
        {SQL_DESC_FIXED_PREC_SCALE, 0},
        {SQL_DESC_UPDATABLE, SQL_ATTR_READWRITE_UNKNOWN},
        {SQL_DESC_UNNAMED, SQL_NAMED},
    };
    for (const auto &n : numbers)
        EXPECT_EQ(number_attribute(stmt, number, n.field), n.value) << "field " << n.field;

    const struct {
        SQLUSMALLINT field;
        std::string text;
    } texts[] = {
        {SQL_DESC_NAME, column_name(number - 1u)},
        {SQL_DESC_LABEL, column_name(number - 1u)},
        {SQL_DESC_BASE_COLUMN_NAME, column_name(number - 1u)},
        {SQL_DESC_TABLE_NAME, "every"},
        {SQL_DESC_BASE_TABLE_NAME, "every"},
        {SQL_DESC_SCHEMA_NAME, ""},  // not told here, though the descriptor knows it
        {SQL_DESC_CATALOG_NAME, ""},
        {SQL_DESC_TYPE_NAME, c.type_name},
        {SQL_DESC_LOCAL_TYPE_NAME, c.local_name},
        {SQL_DESC_LITERAL_PREFIX, c.prefix},
        {SQL_DESC_LITERAL_SUFFIX, c.suffix},
    };
    for (const auto &t : texts)
        EXPECT_EQ(text_attribute(stmt, number, t.field), t.text) << "field " << t.field;
}

TEST(live_describe, columns_of_every_type)
{
    NEED_NODE("VHCASS_SERVER");
    const live_ptr live = live_logged_on();
    make_keyspace(live->stmt, "live_columns");
    run(live->stmt, "CREATE TYPE live_columns.pair (a int, b text)");
    std::string table = "CREATE TABLE live_columns.every (k int PRIMARY KEY";
    std::string names;
    for (std::size_t i = 0; i < std::size(columns); i++) {
        table += ", " + column_name(i) + " " + columns[i].cql_type;
        names += (i == 0 ? "" : ", ") + column_name(i);
    }
    run(live->stmt, table + ")");

    const live_ptr other = live_logged_on("StringLen=100;BinaryLen=70000");
    const struct {
        SQLHSTMT stmt;
        int string_len;
        int binary_len;
    } sessions[] = {{live->stmt, 256, 1024}, {other->stmt, 100, 70000}};
    for (const auto &session : sessions) {
        // Direct, and prepared but not executed.
        for (const bool prepared : {false, true}) {
            const std::string sql = "SELECT " + names + " FROM live_columns.every";
            ASSERT_STMT(SQL_SUCCESS, session.stmt,
                        prepared ? prepare(session.stmt, sql) : exec(session.stmt, sql));
            for (std::size_t i = 0; i < std::size(columns); i++) {
                SCOPED_TRACE(std::string(columns[i].cql_type) + (prepared ? " prepared" : ""));
                expect_column(session.stmt, static_cast<SQLUSMALLINT>(i + 1), columns[i],
                              session.string_len, session.binary_len);
            }
            SQLFreeStmt(session.stmt, SQL_CLOSE);
        }
    }
}

// Names come from the server as UTF-8 and are kept one code unit a byte.
TEST(live_describe, counters_functions_and_names_beyond_ascii)
{
    NEED_NODE("VHCASS_SERVER");
    const live_ptr live = live_logged_on();
    const SQLHSTMT stmt = live->stmt;
    make_keyspace(stmt, "live_names");
    run(stmt, "CREATE TABLE live_names.t (k int PRIMARY KEY, \"Mixed Case\" counter)");
    ASSERT_STMT(SQL_SUCCESS, stmt,
                exec(stmt,
                     "SELECT \"Mixed Case\", k AS \"na\xC3\xAFve\", writetime(\"Mixed Case\") "
                     "FROM live_names.t"));
    EXPECT_EQ(text_attribute(stmt, 1, SQL_DESC_NAME), "Mixed Case");
    EXPECT_EQ(text_attribute(stmt, 1, SQL_DESC_TYPE_NAME), "counter");
    EXPECT_EQ(number_attribute(stmt, 1, SQL_DESC_CONCISE_TYPE), SQL_BIGINT);
    EXPECT_EQ(text_attribute(stmt, 3, SQL_DESC_NAME), "writetime(Mixed Case)");

    const std::u16string name = u"na\u00C3\u00AFve";
    SQLWCHAR wide[64] = {};
    SQLSMALLINT length = 0, type = 0;
    EXPECT_STMT(SQL_SUCCESS, stmt,
                SQLDescribeColW(stmt, 2, wide, 64, &length, &type, nullptr, nullptr, nullptr));
    EXPECT_EQ(std::u16string(wide, wide + length), name);
    SQLSMALLINT bytes = 0;
    EXPECT_STMT(SQL_SUCCESS, stmt,
                SQLColAttributeW(stmt, 2, SQL_DESC_LABEL, wide, sizeof wide, &bytes, nullptr));
    EXPECT_EQ(bytes, 12);
    EXPECT_EQ(std::u16string(wide, wide + bytes / 2), name);
}

TEST(live_describe, short_buffers_and_wrong_columns_are_reported)
{
    NEED_NODE("VHCASS_SERVER");
    const live_ptr live = live_logged_on();
    const SQLHSTMT stmt = live->stmt;
    ASSERT_STMT(SQL_SUCCESS, stmt, exec(stmt, "SELECT cluster_name FROM system.local"));
    SQLCHAR name[16] = "###############";
    SQLSMALLINT length = 0;
    EXPECT_STMT(SQL_SUCCESS_WITH_INFO, stmt,
                SQLDescribeCol(stmt, 1, name, 6, &length, nullptr, nullptr, nullptr, nullptr));
    expect_records(SQL_HANDLE_STMT, stmt, {"01004"});
    EXPECT_STREQ(reinterpret_cast<char *>(name), "clust");
    EXPECT_EQ(name[6], '#');
    EXPECT_EQ(length, 12);
    EXPECT_STMT(SQL_SUCCESS_WITH_INFO, stmt,
                SQLColAttribute(stmt, 1, SQL_DESC_LABEL, name, 12, &length, nullptr));
    EXPECT_STREQ(reinterpret_cast<char *>(name), "cluster_nam");
    EXPECT_EQ(length, 12);

    SQLLEN number = 0;
    EXPECT_STMT(
        SQL_ERROR, stmt,
        SQLDescribeCol(stmt, 2, name, sizeof name, nullptr, nullptr, nullptr, nullptr, nullptr));
    expect_records(SQL_HANDLE_STMT, stmt, {"07009"});
    EXPECT_STMT(SQL_ERROR, stmt,
                SQLColAttribute(stmt, 9, SQL_DESC_TYPE, nullptr, 0, nullptr, &number));
    expect_records(SQL_HANDLE_STMT, stmt, {"07009"});
    EXPECT_STMT(SQL_ERROR, stmt, SQLColAttribute(stmt, 1, 4711, nullptr, 0, nullptr, &number));
    expect_records(SQL_HANDLE_STMT, stmt, {"HY091"});
}
