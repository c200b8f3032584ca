// What columns and parameters are told to be: with Standard=Yes, and by the settings that describe
// some types as others.
#include "tests/wire/parameter_support.h"

static std::string attribute_text(SQLHSTMT stmt, SQLUSMALLINT column, SQLUSMALLINT id)
{
    char text[200] = "";
    SQLSMALLINT length = 0;
    EXPECT_STMT(SQL_SUCCESS, stmt,
                SQLColAttribute(stmt, column, id, text, sizeof text, &length, nullptr));
    return text;
}

static SQLLEN attribute_number(SQLHSTMT stmt, SQLUSMALLINT column, SQLUSMALLINT id)
{
    SQLLEN number = -99;
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLColAttribute(stmt, column, id, nullptr, 0, nullptr, &number));
    return number;
}

// "type size digits nullable octets case 'type name' prefix".
static std::string described(SQLHSTMT stmt, SQLUSMALLINT column)
{
    SQLSMALLINT type = 0, digits = 0, nullable = 0;
    SQLULEN size = 0;
    EXPECT_STMT(
        SQL_SUCCESS, stmt,
        SQLDescribeCol(stmt, column, nullptr, 0, nullptr, &type, &size, &digits, &nullable));
    return std::to_string(type) + " " + std::to_string(size) + " " + std::to_string(digits) + " " +
           std::to_string(nullable) + " " +
           std::to_string(attribute_number(stmt, column, SQL_DESC_OCTET_LENGTH)) + " " +
           std::to_string(attribute_number(stmt, column, SQL_DESC_CASE_SENSITIVE)) + " '" +
           attribute_text(stmt, column, SQL_DESC_TYPE_NAME) + "' " +
           attribute_text(stmt, column, SQL_DESC_LITERAL_PREFIX);
}

static bytes by_class(const bytes &parameters)
{
    return be16(NODE_CUSTOM) + wire_string("org.apache.cassandra.db.marshal." + parameters);
}

TEST(descriptions, columns_by_their_types_and_by_settings)
{
    const bytes text = type_of(NODE_VARCHAR);
    const bytes person = be16(NODE_UDT) + wire_string("ks") + wire_string("Person") + be16(1) +
                         wire_string("n") + type_of(NODE_INT);
    const bytes pair = be16(NODE_TUPLE) + be16(2) + type_of(NODE_INT) + person;
    const struct {
        bytes type;
        std::string by_default, standard, by_settings;  // empty: as without them
    } cases[] = {
        {type_of(NODE_INT), "4 10 0 2 4 0 'INT' ", "4 10 0 1 4 0 'int' ", ""},
        {type_of(NODE_DECIMAL), "2 38 15 2 256 0 'varint' ", "2 38 15 1 40 0 'decimal' ", ""},
        {text, "12 256 0 2 256 0 'varchar' '", "-9 4000 0 1 8000 1 'text' '",
         "-10 4000 0 1 8000 1 'text' '"},
        {type_of(NODE_BLOB), "-3 1024 0 2 1024 0 'BINARY' 0x", "-3 4000 0 1 4000 0 'blob' 0x",
         "-9 8000 0 1 16000 0 'blob' 0x"},
        {type_of(NODE_TIME), "93 29 9 2 16 0 'TIME' {ts '", "92 18 9 1 6 0 'time' '",
         "-9 18 0 1 36 0 'time' '"},
        {type_of(NODE_TIMEUUID), "-11 36 0 2 16 0 'uuid' ", "-11 36 0 1 16 0 'timeuuid' ",
         "-9 36 0 1 72 0 'timeuuid' "},
        {type_map(text, type_list(person)), "-3 1024 0 2 1024 0 'BINARY' 0x",
         "-9 4000 0 1 8000 1 'map<text, frozen<list<frozen<\"Person\">>>>' ", ""},
        {pair, "-3 1024 0 2 1024 0 'BINARY' 0x",
         "-9 4000 0 1 8000 1 'frozen<tuple<int, frozen<\"Person\">>>' ", ""},
        {by_class("VectorType(org.apache.cassandra.db.marshal.ListType(FloatType), 3)"),
         "-3 1024 0 2 1024 0 'BINARY' 0x", "-9 4000 0 1 8000 1 'vector<frozen<list<float>>, 3>' ",
         ""},
        {by_class("DurationType"), "-3 1024 0 2 1024 0 'BINARY' 0x",
         "-9 4000 0 1 8000 0 'duration' ", ""},
        {type_list(by_class("NoType")), "-3 1024 0 2 1024 0 'BINARY' 0x",
         "-9 4000 0 1 8000 1 'list<'org.apache.cassandra.db.marshal.NoType'>' ", ""},
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
            const bool standard = settings.starts_with("Standard");
            const bool changed = settings.ends_with("PlainTypes=yes") && !row.by_settings.empty();
            EXPECT_EQ(described(wire->stmt, static_cast<SQLUSMALLINT>(i + 1)),
                      changed    ? row.by_settings
                      : standard ? row.standard
                                 : row.by_default);
        }
    }
}

// What is no UTF-8 stands as it came.
TEST(descriptions, names_of_any_characters)
{
    const std::string name = "gr\xC3\xB6\xF0\x9F\x98\x80 e";
    const wire_ptr wire = wire_logged_on({}, "Standard=Yes;PageSize=100");
    run_query(wire, "q",
              rows_frame({{name, type_of(NODE_INT)}, {"a\xC0\x80", type_of(NODE_INT)}}, {}));
    SQLSMALLINT length = 0;
    for (const std::size_t room : {20, 6}) {
        char text[20] = "";
        SQLDescribeCol(wire->stmt, 1, reinterpret_cast<SQLCHAR *>(text),
                       static_cast<SQLSMALLINT>(room), &length, nullptr, nullptr, nullptr, nullptr);
        EXPECT_EQ(text, room == 20 ? name : name.substr(0, 4));
        EXPECT_EQ(length, 10);
    }
    std::u16string wide(7, u'?');
    for (const auto &[column, wanted] :
         {std::pair(1, u"gr\u00F6\U0001F600 e"), std::pair(2, u"a\u00C0\u0080")}) {
        SQLDescribeColW(wire->stmt, static_cast<SQLUSMALLINT>(column), odbc_wide(wide), 8, &length,
                        nullptr, nullptr, nullptr, nullptr);
        EXPECT_EQ(wide.substr(0, static_cast<std::size_t>(length)), wanted);
    }
}

// As text with both conducts: a time without a date, digits.
TEST(descriptions, plain_types_are_read_as_they_are_told)
{
    const node_columns columns = {{"t", type_of(NODE_TIME)}, {"b", type_of(NODE_BLOB)}};
    for (const bool standard : {false, true}) {
        const std::string settings = standard ? "PlainTypes=yes;Standard=yes" : "PlainTypes=yes";
        const wire_ptr wire = wire_logged_on({}, settings + ";PageSize=100");
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
        const wire_ptr wire = wire_logged_on({}, standard ? "Standard=Yes" : "");
        node_frame reply =
            prepared_frame("ID", {{"k", type_of(NODE_INT)}, {"v", type_of(NODE_BIGINT)}}, {});
        // The first marker is for the partition key.
        const std::size_t key_count = reply.body.find(be32(1) + be32(2) + be32(0));
        ASSERT_NE(key_count, bytes::npos);
        reply.body.replace(key_count + 8, 4, be32(1) + be16(0));
        expect_prepare(wire->node, INSERT_TWO, {reply});
        EXPECT_STMT(SQL_SUCCESS, wire->stmt,
                    SQLPrepare(wire->stmt, odbc_text(INSERT_TWO), SQL_NTS));
        SQLSMALLINT type = 0, nullable[2] = {};
        SQLULEN size[2] = {};
        for (SQLUSMALLINT i = 0; i < 2; i++)
            EXPECT_STMT(SQL_SUCCESS, wire->stmt,
                        SQLDescribeParam(wire->stmt, static_cast<SQLUSMALLINT>(i + 1), &type,
                                         &size[i], nullptr, &nullable[i]));
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
        std::string row[2];  // name, type and size; empty: none
    } cases[] = {{SQL_WVARCHAR, {"", "text|-9|4000"}},
                 {SQL_WLONGVARCHAR, {"", "text|-10|4000"}},
                 {SQL_VARCHAR, {"varchar|12|255", "text|12|4000"}},
                 {SQL_TYPE_TIME, {"", "time|92|18"}},
                 {SQL_TYPE_TIMESTAMP, {"timestamp|93|26", "timestamp|93|23"}},
                 {SQL_TIMESTAMP, {"timestamp|93|26", "timestamp|93|23"}},
                 {SQL_NUMERIC, {"decimal|3|38", "decimal|2|38"}},
                 {SQL_INTEGER, {"int|4|10", "int|4|10"}}};
    for (const bool standard : {false, true}) {
        const wire_ptr wire = wire_logged_on({}, standard ? "Standard=Yes" : "");
        for (const auto &[asked, row] : cases) {
            EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLGetTypeInfo(wire->stmt, asked));
            if (row[standard].empty()) {
                EXPECT_STMT(SQL_NO_DATA, wire->stmt, SQLFetch(wire->stmt));
                continue;
            }
            EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLFetch(wire->stmt));
            EXPECT_EQ(cell_text(wire->stmt, 1) + "|" + cell_text(wire->stmt, 2) + "|" +
                          cell_text(wire->stmt, 3),
                      row[standard]);
        }
    }
}
