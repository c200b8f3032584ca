// The pages of docs/ that list what there is, against the tables and answers of the driver.
#include <cmath>
#include <fstream>
#include <iterator>
#include <set>
#include <sstream>

#include "core/session/cass_settings.h"
#include "core/session/cass_settings_table.h"
#include "core/wire/cql_type.h"
#include "odbc/cass_conn_attrs.h"
#include "odbc/cass_stmt_attrs.h"
#include "tests/unit/cell_rig.h"
#include "tests/unit/parameter_rig.h"

using page_row = std::vector<std::string>;

static page_row cells_of(const std::string &line)
{
    page_row cells;
    std::size_t start = 2, end;
    for (; (end = line.find(" | ", start)) != std::string::npos; start = end + 3)
        cells.push_back(line.substr(start, end - start));
    cells.push_back(line.substr(start, line.size() - 2 - start));
    return cells;
}

// The rows of all tables of a page, or of those below one heading.
static std::vector<page_row> rows_of(const std::string &page, const std::string &heading = "")
{
    std::ifstream file(VHCASS_DOCS "/" + page);
    std::vector<page_row> rows;
    bool wanted = heading.empty();
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with("## ") && !heading.empty())
            wanted = line == "## " + heading;
        if (wanted && line.starts_with("|---"))
            rows.pop_back();  // the head of a table
        else if (wanted && line.starts_with("|"))
            rows.push_back(cells_of(line));
    }
    EXPECT_FALSE(rows.empty()) << page << ' ' << heading;
    return rows;
}

// Whether a cell of the page tells what came of all samples. Types that do not convert into each
// other stand alone.
static void expect_told(const std::string &cell, std::set<std::string> came)
{
    std::istringstream words(cell);
    if (came.erase("07006") > 0 && !came.contains("value"))
        came = {"\u2013"};
    EXPECT_EQ((std::set<std::string>{std::istream_iterator<std::string>(words), {}}), came);
}

static std::set<int> ids_of(const auto &attributes)
{
    std::set<int> ids;
    for (const auto &attribute : attributes)
        ids.insert(attribute.id);
    return ids;
}

struct reference : stmt_fixture {
    std::set<int> listed;
    std::set<int> known;
    guarded at;
    SQLINTEGER length = -1;

    SQLULEN value() const
    {
        SQLULEN number = 0;
        std::memcpy(low_bytes(&number, std::size_t(length)), at.all.data() + guarded::margin,
                    std::size_t(length));
        return number;
    }
    // Whether setting it is refused, says a row in its column of one conduct.
    static bool is_refused(const page_row &row, bool standard)
    {
        const std::string &said =
            standard && !row.back().starts_with("the same") ? row.back() : row[3];
        return said.find("HY0") != said.npos || said.find("HYC") != said.npos;
    }
    // The attributes below a heading: what each reads before any was set, and whether it takes a
    // number that is no value of most. `by_address` are those whose number is an address.
    void compare(const char *heading, void *handle, decltype(SQLGetStmtAttr) *get,
                 decltype(SQLSetStmtAttr) *set, const std::set<int> &by_address = {})
    {
        listed.clear();
        const std::vector<page_row> rows = rows_of("attributes.md", heading);
        for (const page_row &row : rows) {
            const int id = std::stoi(row[1]);
            EXPECT_TRUE(listed.insert(id).second) << row[0];
            cass_diag_clear(static_cast<cass_handle *>(handle));
            const std::string told = outcome(get(handle, id, at.data(), 8, &length), handle);
            if (row[2].starts_with("HY") || isdigit(row[2][0])) {
                EXPECT_EQ(told.empty() ? std::to_string(value()) : told, row[2]) << row[0];
            }
        }
        EXPECT_EQ(listed, known) << heading;
        for (const page_row &row : rows) {
            const int id = std::stoi(row[1]);
            for (const bool standard : {false, true}) {
                conn->conduct = standard ? &standard_conduct : &default_conduct;
                if (!by_address.contains(id)) {
                    EXPECT_EQ(set(handle, id, odbc_number(77), 0) == SQL_ERROR,
                              is_refused(row, standard))
                        << row[0];
                }
            }
        }
        conn->conduct = &default_conduct;
    }
};

TEST_F(reference, every_key_has_a_row_whose_example_is_taken)
{
    const std::vector<page_row> keys = rows_of("keys.md");
    EXPECT_EQ(keys.size(), settings_table.size());
    for (const setting &row : settings_table) {
        page_row names;
        for (const char *key : {row.dsn_key, row.string_key, row.further_key})
            names.push_back(key == nullptr ? "" : "`" + std::string(key) + "`");
        const auto at_key = std::ranges::find_if(keys, [&](const page_row &cells) {
            return std::equal(names.begin(), names.end(), cells.begin());
        });
        ASSERT_NE(at_key, keys.end()) << row.string_key;
        const std::string example = "Standard=Yes;" + at_key->back().substr(1);
        session s(false);
        const owned_string string =
            own(cass_string_from_ansi(odbc_text(example), SQLINTEGER(example.size() - 1)));
        EXPECT_EQ(cass_parse_connect_string(s.conn, string.get()), 0) << example;
        EXPECT_EQ(s.conn->settings.given >> (&row - settings_table.data()) & 1, 1U) << example;
    }
}

TEST_F(reference, attributes_read_as_their_page_says)
{
    conn->connected = 1;
    for (int id = 0; id < 20000; id++) {
        if (outcome(SQLGetEnvAttr(env, id, nullptr, 0, nullptr), env) != "HYC00")
            known.insert(id);
        cass_diag_clear(&env->head);
    }
    env->odbc_version = SQL_OV_ODBC2;
    compare("Environment attributes", env, SQLGetEnvAttr, SQLSetEnvAttr);
    known = ids_of(conn_attrs);
    compare("Connection attributes", conn, SQLGetConnectAttr, SQLSetConnectAttr,
            {SQL_ATTR_CURRENT_CATALOG});
    known = ids_of(stmt_attrs);
    compare("Statement attributes", stmt, SQLGetStmtAttr, SQLSetStmtAttr,
            {SQL_ATTR_APP_ROW_DESC, SQL_ATTR_APP_PARAM_DESC});
}

TEST_F(reference, descriptor_fields_have_the_width_of_their_page)
{
    ASSERT_EQ(SQLSetDescField(stmt->ard, 0, SQL_DESC_COUNT, odbc_number(1), 0), SQL_SUCCESS);
    const auto read = [&](int id) {
        return outcome(SQLGetDescField(stmt->ard, 1, SQLSMALLINT(id), at.data(), 8, &length),
                       stmt->ard);
    };
    for (int id = INT16_MIN; id <= INT16_MAX; id++)
        if (read(id) != "HY091")
            known.insert(id);
    for (const page_row &row : rows_of("attributes.md", "Descriptor fields")) {
        listed.insert(std::stoi(row[1]));
        read(std::stoi(row[1]));
        if (isdigit(row[2][0])) {
            EXPECT_EQ(length, std::stoi(row[2])) << row[0];
        }
    }
    EXPECT_EQ(listed, known);
}

TEST_F(reference, information_is_what_its_page_says)
{
    for (int type = 0; type <= UINT16_MAX; type++)
        if (outcome(SQLGetInfo(conn, SQLUSMALLINT(type), nullptr, 0, nullptr), conn) != "HYC00")
            known.insert(type);
    for (const page_row &row : rows_of("info.md")) {
        const auto type = SQLUSMALLINT(std::stoi(row[1]));
        listed.insert(type);
        for (const bool standard : {false, true}) {
            conn->conduct = standard ? &standard_conduct : &default_conduct;
            const std::string &cell = standard && !row[3].empty() ? row[3] : row[2];
            const bool is_text = cell == "empty" || cell[0] == '`';
            if (!is_text && !isdigit(cell[0]))
                continue;  // what the connection or the server says
            SQLSMALLINT told_length = 0;
            at.all.assign(3000, '\0');
            EXPECT_EQ(SQLGetInfo(conn, type, at.data(), 2048, &told_length), SQL_SUCCESS);
            length = told_length;
            if (is_text)
                EXPECT_EQ(cell == "empty" ? "" : cell.substr(1, cell.size() - 2),
                          at.all.c_str() + guarded::margin)
                    << row[0];
            else
                EXPECT_EQ(std::stoul(cell, nullptr, 0), value()) << row[0];
        }
    }
    EXPECT_EQ(listed, known);
}

TEST_F(reference, columns_are_described_as_their_page_says)
{
    int compared = 0;
    stmt->executed = 1;
    for (const page_row &row : rows_of("types.md", "Columns")) {
        const std::string cql_name = row[0].substr(row[0].rfind(' ') + 1);
        cass_type_option option = {};
        for (int id = CQL_ASCII; id <= CQL_TINYINT; id++)
            if (strcasecmp(cql_type_name(id), cql_name.c_str()) == 0)
                option.option_id = id;
        if (option.option_id == 0)
            continue;  // nested: its description needs the types below
        compared++;
        for (const bool standard : {false, true}) {
            conn->conduct = standard ? &standard_conduct : &default_conduct;
            conn->settings.string_len = standard ? UNSIZED_COLUMN_LEN : DEFAULT_STRING_LEN;
            conn->settings.binary_len = standard ? UNSIZED_COLUMN_LEN : DEFAULT_BINARY_LEN;
            ASSERT_EQ(cass_desc_describe(stmt->ird, 1), 0);
            ASSERT_EQ(
                cass_field_from_option(stmt, stmt->ird, 0, nullptr, nullptr, nullptr, &option), 0);
            SQLSMALLINT type = 0, digits = 0;
            SQLULEN size = 0;
            char name[64] = "";
            SQLDescribeCol(stmt, 1, nullptr, 0, nullptr, &type, &size, &digits, nullptr);
            SQLColAttribute(stmt, 1, SQL_DESC_TYPE_NAME, name, sizeof name, nullptr, nullptr);
            const std::string *cells = &row[standard ? 5 : 1];
            EXPECT_TRUE(cells[0].ends_with(" (" + std::to_string(type) + ")")) << row[0];
            EXPECT_EQ((page_row{std::to_string(size), std::to_string(digits), name}),
                      page_row(cells + 1, cells + 4))
                << row[0];
        }
    }
    EXPECT_EQ(compared, 19);
}

// Of each row of the page: a value for each way to fail.
static std::map<std::string, std::vector<source>> cell_samples()
{
    const std::string huge = "\1" + std::string(200, '\0');
    // clang-format off
    return {
        {"ascii, text", {"x", "1", "1.5", "-1", "300", "100000", "300000000000", "1e400", "1e-99",
         "99999999999999999999999999", "2024-05-06", "2024-05-06 01:02:03",
         "2024-05-06 01:02:03.5", "01:02:03", "01:02:03.5",
         "00000000-0000-0000-0000-000000000001"}},
        {"tinyint, smallint, int, bigint, counter", {{CQL_TINYINT, be(1, 1)},
         {CQL_SMALLINT, be(300, 2)}, 100'000, INT64_MAX, {CQL_COUNTER, be(-1, 8)}}},
        {"boolean", {{CQL_BOOLEAN, be(1, 1)}, {CQL_BOOLEAN, be(0, 1)}}},
        {"float", {1.F, 1.5F, 1e30F, 1e-30F}}, {"double", {0.5, 1.5, 1., 1e300, 1e-300}},
        {"decimal", {scaled(0, "01"), scaled(1, "0f"), scaled(-100, "01"),
         {CQL_DECIMAL, be(500, 4) + huge}}},
        {"varint", {{CQL_VARINT, be(1, 1)}, {CQL_VARINT, huge}}},
        {"date", {{CQL_DATE, be(EPOCH + 19'849, 4)}, {CQL_DATE, be(UINT32_MAX, 4)}}},
        {"time", {{CQL_TIME, be(0, 8)}, {CQL_TIME, be(CLOCK + 1, 8)}}},
        {"timestamp", {moment(LEAP_DAY), moment(LEAP_DAY + 1), moment(INT64_MAX)}},
        {"uuid, timeuuid", {{CQL_UUID, std::string(16, '\1')}}},
        {"inet", {{CQL_INET, from_hex("0a000001")}}}, {"blob", {{CQL_BLOB, from_hex("0102")}}},
    };
    // clang-format on
}

TEST(reference_cells, are_read_as_their_page_says)
{
    // clang-format off
    static const std::vector<int> targets[] = {
        {SQL_C_CHAR, SQL_C_WCHAR}, {SQL_C_BINARY}, {SQL_C_BIT},
        {SQL_C_STINYINT, SQL_C_UTINYINT, SQL_C_SSHORT, SQL_C_USHORT, SQL_C_SLONG, SQL_C_ULONG,
         SQL_C_SBIGINT, SQL_C_UBIGINT},
        {SQL_C_FLOAT}, {SQL_C_DOUBLE}, {SQL_C_NUMERIC}, {SQL_C_TYPE_DATE}, {SQL_C_TYPE_TIME},
        {SQL_C_TYPE_TIMESTAMP}, {SQL_C_GUID}};
    // clang-format on
    const auto samples = cell_samples();
    const std::vector<page_row> rows = rows_of("types.md", "Reading");
    std::size_t compared = 0;
    for (std::size_t place = 0; place < rows.size(); place++) {
        const bool standard = place >= rows.size() / 2;
        const auto at_sample = samples.find(rows[place][0]);
        if (at_sample == samples.end())
            continue;  // nested, as above
        compared++;
        for (std::size_t column = 0; column < std::size(targets); column++) {
            std::set<std::string> came;
            for (const source &sample : at_sample->second)
                for (const int target : targets[column]) {
                    const rig_ptr rig =
                        cell_rig_of(sample, standard ? &standard_conduct : &default_conduct);
                    read_cell(rig, target, 2000);
                    const std::string state = rig->states().substr(0, 5);
                    came.insert(state.empty() ? "value" : state);
                }
            SCOPED_TRACE(rows[place][0] + std::to_string(column) + (standard ? " Standard" : ""));
            expect_told(rows[place][column + 1], came);
        }
    }
    EXPECT_EQ(compared, 2 * samples.size());
}

// What an application may hand over for each column of the page.
static std::vector<std::vector<app_value>> parameter_samples()
{
    static constexpr SQL_NUMERIC_STRUCT huge = {38, 0, 1, {0, 0, 0, 0, 0, 0, 0, 0, 1}};
    // clang-format off
    std::vector<std::vector<app_value>> samples = {
        {"1", "1.5", "x", "300", "1e400", "1e99999999999", "100000000000000000000", "0102",
         "2024-05-06", "2024-05-06 01:02:03", "99999999-01-01", "01:02:03", "10.0.0.1", "1h2m",
         "[1]", "00000000-0000-0000-0000-000000000001", u"\xD83D"},  // half a character
        {}, {true, false}, {1, -1, 300, 100'000, 1L << 40, ~0UL},
        {1.F, 1.5F, -1.F, 1e30F, float(HUGE_VAL)}, {1., 1.5, -1., 1e300, HUGE_VAL},
        {numeric(15, 1), huge}, {date, SQL_DATE_STRUCT{2023, 2, 29}, SQL_DATE_STRUCT{32767, 1, 1}},
        {time_of, SQL_TIME_STRUCT{24, 0, 0}},
        {stamp, SQL_TIMESTAMP_STRUCT{2024, 13, 1, 0, 0, 0, 0}}, {guid}};
    // clang-format on
    for (const std::size_t size : {1, 2, 3, 4, 8, 16})
        samples[1].emplace_back(SQL_C_BINARY, std::string(size, '\1'));
    return samples;
}

// Bound by the SQL type that a column of the type has by default.
static std::string conversion(bool standard, int type, const app_value &value)
{
    session s(false);
    marker_of(s).cql_type = type;
    s.conn->conduct = standard ? &standard_conduct : &default_conduct;
    const int sql_type = rig_open({type})->field(1)->consise_type;
    const std::string bytes = encode_sample(s, static_cast<SQLSMALLINT>(sql_type), {value, ""},
                                            type == CQL_DECIMAL ? 15 : 0);
    return bytes.find('@') == bytes.npos ? "value" : bytes.substr(0, 5);
}

TEST(reference_parameters, are_converted_as_their_page_says)
{
    const auto types = cell_samples();
    const auto values = parameter_samples();
    for (const bool standard : {false, true}) {
        std::size_t compared = 0;
        const std::size_t first = standard ? 1 : 2;
        for (const page_row &row : rows_of("types.md", standard ? "Parameters with Standard=Yes"
                                                                : "Parameters by default")) {
            const auto at_type = types.find(row[0]);
            if (at_type == types.end())
                continue;  // nested, as above
            compared++;
            for (std::size_t column = 0; column < values.size(); column++) {
                std::set<std::string> came;
                for (const app_value &value : values[column])
                    for (const source &sample : at_type->second)
                        came.insert(conversion(standard, sample.type, value));
                SCOPED_TRACE(row[0] + std::to_string(column) + (standard ? " Standard" : ""));
                expect_told(row[first + column], came);
            }
        }
        // By default the page has no row for a time, an address and a blob.
        EXPECT_EQ(compared, types.size() - (standard ? 0 : 3));
    }
}
