// What columns and parameters are told to be: with Standard=Yes, and by the settings that describe
// some types as others.
#include <sstream>

#include "tests/wire/parameter_support.h"

// "type size digits nullable octets case 'type name' prefix".
static std::string described(SQLHSTMT stmt, SQLUSMALLINT column)
{
    SQLSMALLINT type = 0, digits = 0, nullable = 0;
    SQLULEN size = 0;
    SQLLEN octets = -99, is_case = -99;
    char name[200] = "", prefix[20] = "";
    EXPECT_STMT(
        SQL_SUCCESS, stmt,
        SQLDescribeCol(stmt, column, nullptr, 0, nullptr, &type, &size, &digits, &nullable));
    SQLColAttribute(stmt, column, SQL_DESC_OCTET_LENGTH, nullptr, 0, nullptr, &octets);
    SQLColAttribute(stmt, column, SQL_DESC_CASE_SENSITIVE, nullptr, 0, nullptr, &is_case);
    SQLColAttribute(stmt, column, SQL_DESC_TYPE_NAME, name, sizeof name, nullptr, nullptr);
    SQLColAttribute(stmt, column, SQL_DESC_LITERAL_PREFIX, prefix, sizeof prefix, nullptr, nullptr);
    std::ostringstream all;
    all << type << ' ' << size << ' ' << digits << ' ' << nullable << ' ' << octets << ' '
        << is_case << " '" << name << "' " << prefix;
    return all.str();
}

TEST(descriptions, columns_by_their_types_and_by_settings)
{
    const bytes text = type_of(NODE_VARCHAR);
    const bytes person = be16(NODE_UDT) + wire_string("ks") + wire_string("Person") + be16(1) +
                         wire_string("n") + type_of(NODE_INT);
    const char *const as_bytes = "-3 1024 0 2 1024 0 'BINARY' 0x";
    const struct {
        bytes type;
        std::string by_default, standard, by_settings;  // empty: as without them
    } cases[] = {
        {type_of(NODE_INT), "4 10 0 2 4 0 'INT' ", "4 10 0 1 4 0 'int' ", ""},
        {text, "12 256 0 2 256 0 'varchar' '", "-9 4000 0 1 8000 1 'text' '",
         "-10 4000 0 1 8000 1 'text' '"},
        {type_of(NODE_BLOB), as_bytes, "-3 4000 0 1 4000 0 'blob' 0x",
         "-9 8000 0 1 16000 0 'blob' 0x"},
        {type_of(NODE_TIME), "93 29 9 2 16 0 'TIME' {ts '", "92 18 9 1 6 0 'time' '",
         "-9 18 0 1 36 0 'time' '"},
        {type_of(NODE_TIMEUUID), "-11 36 0 2 16 0 'uuid' ", "-11 36 0 1 16 0 'timeuuid' ",
         "-9 36 0 1 72 0 'timeuuid' "},
        {type_map(be16(NODE_TUPLE) + be16(1) + text, type_list(person)), as_bytes,
         "-9 4000 0 1 8000 1 'map<frozen<tuple<text>>, frozen<list<frozen<\"Person\">>>>' ", ""},
    };
    node_columns columns;
    for (const auto &row : cases)
        columns.push_back({"c", row.type});
    for (const std::string settings :
         {"", "LongText=yes", "Standard=Yes", "Standard=Yes;LongText=yes;PlainTypes=yes"}) {
        const wire_ptr wire = wire_logged_on({}, settings + ";PageSize=100");
        run_query(wire, "q", rows_frame(columns, {}));
        for (std::size_t i = 0; i < std::size(cases); i++) {
            SCOPED_TRACE(settings + " column " + std::to_string(i));
            const auto &row = cases[i];
            const bool changed = settings.ends_with("PlainTypes=yes") && !row.by_settings.empty();
            EXPECT_EQ(described(wire->stmt, static_cast<SQLUSMALLINT>(i + 1)),
                      changed                            ? row.by_settings
                      : settings.starts_with("Standard") ? row.standard
                                                         : row.by_default);
        }
    }
}

// As text with both conducts: a time without a date, digits.
TEST(descriptions, plain_types_are_read_as_they_are_told)
{
    const node_columns columns = {{"t", type_of(NODE_TIME)}, {"b", type_of(NODE_BLOB)}};
    for (const bool standard : {false, true}) {
        const wire_ptr wire = wire_of(standard, "PlainTypes=yes");
        run_query(wire, "q", rows_frame(columns, {{be64(36'672'000'000'001), "\x0F"}}));
        EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLFetch(wire->stmt));
        EXPECT_EQ(cell_text(wire->stmt, 1), "10:11:12.000000001");
        char16_t digits[8] = {};
        EXPECT_STMT(SQL_SUCCESS, wire->stmt,
                    SQLGetData(wire->stmt, 2, SQL_C_DEFAULT, digits, sizeof digits, nullptr));
        EXPECT_EQ(std::u16string(digits), standard ? u"0f" : u"0F");
    }
}

TEST(descriptions, parameters_as_columns_are)
{
    for (const bool standard : {false, true}) {
        const wire_ptr wire = wire_of(standard);
        node_frame reply =
            prepared_frame("ID", {{"k", type_of(NODE_INT)}, {"v", type_of(NODE_BIGINT)}}, {});
        // The first marker is for the partition key.
        const bytes counts = be32(1) + be32(2);
        reply.body = replaced(reply.body, counts + be32(0), counts + be32(1) + be16(0));
        expect_prepare(wire->node, INSERT_TWO, {reply});
        EXPECT_STMT(SQL_SUCCESS, wire->stmt, prepare(wire->stmt, INSERT_TWO));
        SQLSMALLINT type = 0, nullable[2] = {};
        SQLULEN size[2] = {};
        for (const SQLUSMALLINT i : {0, 1})
            SQLDescribeParam(wire->stmt, i + 1, &type, &size[i], nullptr, &nullable[i]);
        EXPECT_EQ(size[0], standard ? 10u : 8u);
        EXPECT_EQ(size[1], standard ? 19u : 20u);
        EXPECT_EQ(nullable[0], standard ? SQL_NO_NULLS : SQL_NULLABLE_UNKNOWN);
        EXPECT_EQ(nullable[1], standard ? SQL_NULLABLE : SQL_NULLABLE_UNKNOWN);
    }
}

// Types as columns are described, the one to take first; by default a list of its own.
TEST(descriptions, type_information)
{
    const struct {
        SQLSMALLINT asked;
        const char *row[2];  // name, type and size of the first; or that there is none
    } cases[] = {{SQL_WLONGVARCHAR, {"SQL_NO_DATA", "text|-10|4000"}},
                 {SQL_VARCHAR, {"varchar|12|255|", "text|12|4000|"}},
                 {SQL_TYPE_TIME, {"SQL_NO_DATA", "time|92|18|"}},
                 {SQL_TIMESTAMP, {"timestamp|93|26|", "timestamp|93|23|"}},
                 {SQL_NUMERIC, {"decimal|3|38|", "decimal|2|38|"}}};
    for (const bool standard : {false, true}) {
        const wire_ptr wire = wire_of(standard);
        for (const auto &[asked, row] : cases) {
            EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLGetTypeInfo(wire->stmt, asked));
            const SQLRETURN code = SQLFetch(wire->stmt);
            const std::string got = code == SQL_SUCCESS ? row_text(wire->stmt) : code_name(code);
            EXPECT_TRUE(got.starts_with(row[standard])) << got;
        }
    }
}
