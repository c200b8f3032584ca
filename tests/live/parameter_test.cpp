// Values written through the Driver Manager to a real node, from every C type, prepared and direct,
// and what the server then holds: the cell read back in the same C type, and its own JSON form,
// which the driver has no part in.
#include <cstdlib>
#include <limits>

#include "tests/live/parameter_support.h"

static std::string unhex(const std::string &digits)
{
    std::string text;
    for (std::size_t i = 0; i + 1 < digits.size(); i += 2)
        text += static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, 16));
    return text;
}

static app_value binary(const std::string &memory)
{
    return {SQL_C_BINARY, memory};
}

// 38 nines.
static SQL_NUMERIC_STRUCT nines_numeric(int scale, int sign)
{
    SQL_NUMERIC_STRUCT value = numeric(0, scale, sign);
    const std::string magnitude = unhex("ffffffff3f228a097ac4865aa84c3b4b");
    std::memcpy(value.val, magnitude.data(), magnitude.size());
    return value;
}

// ---- Writing and looking ------------------------------------------------------------------------

enum read_back { SAME, OTHER };  // read back in the same C type it is the same memory, or not

struct written {
    app_value from;
    std::string json;  // without quotes around it; or the record of a refusal ("08S01 ...")
    read_back back = SAME;
};

static void expect_back(SQLHSTMT stmt, const app_value &from)
{
    std::string buffer(65536, '\0');
    SQLLEN length = 0;
    const SQLRETURN code = SQLGetData(stmt, 1, from.c_type, buffer.data(), 65536, &length);
    EXPECT_TRUE(SQL_SUCCEEDED(code)) << ::testing::PrintToString(stmt_records(stmt));
    buffer.resize(length < 0 ? 0 : static_cast<std::size_t>(length));
    // A numeric's precision, in front, is the one that the value needs.
    const std::size_t skip = from.c_type == SQL_C_NUMERIC ? 1 : 0;
    EXPECT_EQ(buffer.substr(skip), from.memory.substr(skip));
}

// One value, into a row of its own.
static void write_one(const parameter_session &s, const std::string &column, SQLSMALLINT sql_type,
                      const written &value, bool prepared, SQLSMALLINT digits = 0)
{
    static SQLINTEGER key = 0;
    key++;
    const std::string insert = "INSERT INTO " + s.table + " (k, " + column + ") VALUES (?, ?)";
    const exact_block memory(value.from.memory);
    SQLLEN length = static_cast<SQLLEN>(value.from.memory.size());
    // A new statement: one that was prepared before has the server's description of its parameters.
    const SQLHSTMT stmt = new_stmt(s.live.get());
    bind(stmt, 1, SQL_C_SLONG, SQL_INTEGER, &key);
    bind(stmt, 2, value.from.c_type, sql_type, memory.at,
         has_length(value.from) ? &length : nullptr, 0, 38, digits);
    if (prepared) {
        EXPECT_STMT(SQL_SUCCESS, stmt, prepare(stmt, insert));
    }
    const SQLRETURN code = prepared ? SQLExecute(stmt) : exec(stmt, insert);
    if (value.json.starts_with("08S01")) {
        EXPECT_EQ(code, SQL_ERROR);
        expect_records(SQL_HANDLE_STMT, stmt, {value.json});
    } else {
        EXPECT_STMT(SQL_SUCCESS, stmt, code);
        SQLFreeStmt(stmt, SQL_RESET_PARAMS);
        EXPECT_STMT(SQL_SUCCESS, stmt,
                    exec(stmt, "SELECT " + column + ", to_json(" + column + ") FROM " + s.table +
                                   " WHERE k = " + std::to_string(key)));
        EXPECT_STMT(SQL_SUCCESS, stmt, SQLFetch(stmt));
        if (value.back == SAME)
            expect_back(stmt, value.from);
        std::string json = cell_text(stmt, 2);
        if (json.starts_with('"'))
            json = json.substr(1, json.size() - 2);
        EXPECT_EQ(json, value.json);
    }
    SQLFreeHandle(SQL_HANDLE_STMT, stmt);
}

static void write(const parameter_session &s, const std::string &column, SQLSMALLINT sql_type,
                  const std::vector<written> &values, SQLSMALLINT digits = 0)
{
    for (const written &value : values) {
        for (const bool prepared : {false, true}) {
            SCOPED_TRACE(column + " from C type " + std::to_string(value.from.c_type) +
                         (prepared ? ", prepared: " : ": ") + value.json);
            write_one(s, column, sql_type, value, prepared, digits);
        }
    }
}

// clang-format off
// The number in every C type that has room for it.
static std::vector<app_value> values_of(int value)
{
    const std::string text = std::to_string(value);
    const auto small = static_cast<SQLSCHAR>(value);
    const auto medium = static_cast<SQLSMALLINT>(value);
    std::vector<app_value> values = {
        small, {SQL_C_TINYINT, image(small)}, medium, {SQL_C_SHORT, image(medium)},
        value, {SQL_C_LONG, image(value)}, SQLBIGINT{value}, static_cast<float>(value),
        static_cast<double>(value), text, std::u16string(text.begin(), text.end()),
        numeric(static_cast<std::uint64_t>(std::abs(value)), 0, value >= 0)};
    if (value >= 0)
        values.insert(values.end(), {static_cast<SQLCHAR>(value), static_cast<SQLUSMALLINT>(value),
                                     static_cast<unsigned>(value), static_cast<SQLUBIGINT>(value)});
    if (value == 0 || value == 1)
        values.push_back(value == 1);
    return values;
}

TEST(live_parameters, numbers_from_every_c_type)
{
    NEED_NODE("VHCASS_SERVER");
    const parameter_session s("live_param_numbers");
    // The suffix is that of the number in JSON.
    const struct { const char *column; SQLSMALLINT sql_type; std::string suffix; } targets[] = {
        {"c_tinyint", SQL_TINYINT, ""}, {"c_smallint", SQL_SMALLINT, ""},
        {"c_int", SQL_INTEGER, ""}, {"c_bigint", SQL_BIGINT, ""}, {"c_float", SQL_REAL, ".0"},
        {"c_double", SQL_DOUBLE, ".0"}, {"c_double", SQL_FLOAT, ".0"},
        {"c_decimal", SQL_DECIMAL, ".00"}, {"c_decimal", SQL_NUMERIC, ".00"},
        {"c_text", SQL_VARCHAR, ""}, {"c_ascii", SQL_CHAR, ""}};
    for (const int value : {1, -100}) {
        for (const auto &target : targets) {
            for (const app_value &from : values_of(value)) {
                // A numeric structure has its own scale, all others take the binding's, so that
                // texts find decimals where they put none.
                const bool decimal = target.suffix == ".00";
                const bool own_scale = decimal && from.c_type == SQL_C_NUMERIC;
                const std::string json = std::to_string(value) + (own_scale ? "" : target.suffix);
                write(s, target.column, target.sql_type,
                      {{from, json, decimal && has_length(from) ? OTHER : SAME}}, 2);
            }
        }
    }
    for (const int value : {0, 1})
        for (const app_value &from : values_of(value))
            write(s, "c_boolean", SQL_BIT, {{from, value == 1 ? "true" : "false"}});
}

TEST(live_parameters, numbers_at_their_limits)
{
    NEED_NODE("VHCASS_SERVER");
    const parameter_session s("live_param_limits");
    write(s, "c_tinyint", SQL_TINYINT, {{SQLSCHAR(127), "127"}, {SQLSCHAR(-128), "-128"}});
    write(s, "c_smallint", SQL_SMALLINT, {{SQLSMALLINT(32767), "32767"},
        {SQLSMALLINT(-32768), "-32768"}});
    write(s, "c_int", SQL_INTEGER, {{INT32_MAX, "2147483647"}, {INT32_MIN, "-2147483648"},
        {"-2147483648", "-2147483648"}, {binary(image(-2)), "-2"}});
    // An unsigned value beyond the range goes through with its bits.
    write(s, "c_bigint", SQL_BIGINT, {{INT64_MAX, "9223372036854775807"},
        {INT64_MIN, "-9223372036854775808"}, {"-9223372036854775808", "-9223372036854775808"},
        {binary(image(-2l)), "-2"}, {~0ul, "-1", OTHER}});
    write(s, "c_double", SQL_DOUBLE, {{-0.1, "-0.1"}, {1.7976931348623157e308,
        "1.7976931348623157E308"}, {4.9e-324, "4.9E-324"}, {"0.1", "0.1"},
        {-std::numeric_limits<double>::infinity(), "null"}, {binary(image(2.5)), "2.5"}});
    write(s, "c_float", SQL_REAL, {{3.4028235e38f, "3.4028235E38"}, {1.4e-45f, "1.4E-45"},
        {0.1, "0.1", OTHER}});
    const std::string nines(38, '9');
    write(s, "c_decimal", SQL_DECIMAL, {{nines_numeric(0, 1), nines},
        {nines_numeric(38, 1), "0." + nines}, {numeric(0, 0), "0"}, {numeric(1, 0, 0), "-1"},
        {nines_numeric(10, 0), "-" + nines.substr(10) + "." + nines.substr(28)},
        {binary(image(numeric(1001, 2))), "10.01", OTHER},
        // A negative magnitude whose low byte is 0 is sent wrong: the carry stops there.
        {numeric(256, 2, 0), "-5.12", OTHER}});
    write(s, "c_decimal", SQL_DECIMAL, {{nines.substr(1) + ".9", nines.substr(1) + ".9"},
        {"2.999", "2.9", OTHER}}, 1);
    write(s, "c_decimal", SQL_DECIMAL, {{u"-0.05", "-0.05"}, {-12.5, "-12.50"}}, 2);
    write(s, "c_decimal", SQL_DECIMAL, {{"1.5", "1.500", OTHER}}, 3);
    // Without decimal digits the scale is that of the server's description, once there is one.
    // Whole numbers then end in a zero byte, where the carry of negative ones is dropped.
    write_one(s, "c_decimal", SQL_DECIMAL, {"1.5", "1.5"}, false);
    write_one(s, "c_decimal", SQL_DECIMAL, {"1.5", "1.500000000000000", OTHER}, true);
    write_one(s, "c_decimal", SQL_DECIMAL, {"-7", "-7"}, false);
    write_one(s, "c_decimal", SQL_DECIMAL, {"-7", "-7.000000000000256", OTHER}, true);
}

TEST(live_parameters, dates_and_times)
{
    NEED_NODE("VHCASS_SERVER");
    const parameter_session s("live_param_times");
    using date = SQL_DATE_STRUCT;
    using time = SQL_TIME_STRUCT;
    using moment = SQL_TIMESTAMP_STRUCT;
    write(s, "c_date", SQL_TYPE_DATE, {{date{1, 1, 1}, "0001-01-01"},
        {date{1582, 10, 14}, "1582-10-14"}, {date{1969, 12, 31}, "1969-12-31"},
        {{SQL_C_DATE, image(date{1970, 1, 1})}, "1970-01-01"}, {date{9999, 12, 31}, "9999-12-31"},
        {moment{2024, 2, 29, 23, 59, 59, 0}, "2024-02-29", OTHER}, {"2024-02-29", "2024-02-29"},
        {u"{d '2024-02-29'}", "2024-02-29", OTHER},
        {binary(image(moment{1900, 3, 1, 0, 0, 0, 0})), "1900-03-01", OTHER}});
    write(s, "c_time", SQL_TYPE_TIME, {{time{0, 0, 0}, "00:00:00.000000000"},
        {{SQL_C_TIME, image(time{23, 59, 59})}, "23:59:59.000000000"},
        {moment{1, 1, 1, 12, 34, 56, 123456789}, "12:34:56.123456789", OTHER},
        {"12:34:56.000000001", "12:34:56.000000001", OTHER},
        {u"{t '12:34:00'}", "12:34:00.000000000", OTHER},
        {date{2024, 2, 29}, "00:00:00.000000000", OTHER}});
    write(s, "c_timestamp", SQL_TYPE_TIMESTAMP, {
        {moment{2024, 2, 29, 12, 34, 56, 789'999'999}, "2024-02-29 12:34:56.789Z", OTHER},
        {{SQL_C_TIMESTAMP, image(moment{1970, 1, 1, 0, 0, 0, 0})}, "1970-01-01 00:00:00.000Z"},
        {moment{1900, 1, 1, 0, 0, 0, 0}, "1900-01-01 00:00:00.000Z"},
        {moment{9999, 12, 31, 23, 59, 59, 999'000'000}, "9999-12-31 23:59:59.999Z"},
        {date{1960, 6, 1}, "1960-06-01 00:00:00.000Z"},
        {u"{ts '2024-02-29'}", "2024-02-29 00:00:00.000Z", OTHER},
        // An offset is read and left aside.
        {"feb 29 2024 10:11:12PM +02:00", "2024-02-29 22:11:12.000Z", OTHER},
        {binary(image(moment{1969, 7, 20, 20, 17, 40, 0})), "1969-07-20 20:17:40.000Z", OTHER}});
    write(s, "c_text", SQL_VARCHAR, {{date{1, 2, 3}, "0001-02-03", OTHER},
        {time{1, 2, 3}, "01:02:03"},
        {moment{2024, 2, 29, 1, 2, 3, 4}, "2024-02-29 01:02:03.000000004", OTHER}});
}

TEST(live_parameters, texts_bytes_and_guids)
{
    NEED_NODE("VHCASS_SERVER");
    const parameter_session s("live_param_bytes");
    const SQLGUID guid = {0xA0EEBC99, 0x9C0B, 0x4EF8, {0xBB, 0x6D, 0x6B, 0xB9, 0xBD, 0x38, 10, 17}};
    const std::string guid_text = "A0EEBC99-9C0B-4EF8-BB6D-6BB9BD380A11",
                      guid_json = "a0eebc99-9c0b-4ef8-bb6d-6bb9bd380a11",
                      time_guid = "50554d6e-29bb-11e5-b345-feff819cdc9f", long_text(5000, 'x');
    std::string long_hex;
    for (int i = 0; i < 300; i++)
        long_hex += "0ff0";
    write(s, "c_text", SQL_VARCHAR, {{"\xC3\x85land \xE2\x82\xAC", "\xC3\x85land \xE2\x82\xAC"},
        {u"\u00C5land \u20AC", "\xC3\x85land \xE2\x82\xAC"}, {long_text, long_text}, {"", ""},
        {binary("as it stands"), "as it stands"}, {guid, guid_text, OTHER},
        // A single byte of a Latin alphabet is no UTF-8.
        {"caf\xE9", invalid}});
    write(s, "c_ascii", SQL_CHAR, {{"plain", "plain"}, {"\xC3\xA9", invalid}});
    write(s, "c_blob", SQL_VARBINARY, {{binary(unhex("00ff7f10")), "0x00ff7f10"},
        {binary(""), "0x"}, {"00fF7f1", "0x00ff7f", OTHER}, {u"0Xcafe", "0xcafe", OTHER},
        {"0x" + long_hex, "0x" + long_hex, OTHER}, {1, "0x01000000", OTHER},
        {SQLSMALLINT(1), "0x0100", OTHER}, {true, "0x0100000000000000", OTHER},
        {1.0, "0x000000000000f03f", OTHER}});
    write(s, "c_uuid", SQL_GUID, {{guid, guid_json}, {guid_text, guid_json},
        {"{" + guid_text + "}", guid_json, OTHER}, {binary(image(guid)), guid_json},
        {std::u16string(guid_text.begin(), guid_text.end()), guid_json}});
    write(s, "c_timeuuid", SQL_GUID, {{time_guid, time_guid, OTHER}});
}

// Types without a form of their own take the bytes of the server's form. The binding alone decides
// the form: what is not the column's own is the server's to refuse.
TEST(live_parameters, other_types_take_raw_bytes)
{
    NEED_NODE("VHCASS_SERVER");
    const parameter_session s("live_param_raw");
    const struct { const char *column, *digits, *json; read_back back = SAME; } raw[] = {
        {"c_list", "000000020000000400000001" "00000004fffffffe", "[1, -2]"},
        {"c_set", "00000002" "0000000161" "0000000162", "[\"a\", \"b\"]"},
        {"c_map", "00000001" "000000016b" "0000000400000007", "{\"k\": 7}"},
        {"c_tuple", "0000000400000007" "ffffffff", "[7, null]"},
        {"c_udt", "0000000400000007" "0000000178", "{\"a\": 7, \"b\": \"x\"}"},
        {"c_vector", "3f800000" "40000000" "bfc00000", "[1.0, 2.0, -1.5]"},
        {"c_duration", "020406", "1mo2d3ns"}, {"c_varint", "ff00", "-256", OTHER},
        {"c_inet", "7f0000ff", "127.0.0.255", OTHER},
        {"c_inet", "20010db8000000000000ff0000428329", "2001:db8:0:0:0:ff00:42:8329", OTHER}};
    for (const auto &[column, digits, json, back] : raw)
        write(s, column, SQL_VARBINARY, {{binary(unhex(digits)), json, back}});
    write(s, "c_inet", SQL_VARBINARY, {{"0x7f000001", "127.0.0.1", OTHER}});
    write(s, "c_inet", SQL_VARCHAR, {{"127.0.0.1", invalid}});
    write(s, "c_bigint", SQL_INTEGER, {{1, invalid}});
    write(s, "c_int", SQL_BIGINT, {{1, invalid}});
    write(s, "c_boolean", SQL_INTEGER, {{1, invalid}});
    write(s, "c_date", SQL_TYPE_TIMESTAMP, {{SQL_DATE_STRUCT{1970, 1, 1}, invalid}});
    expect_alive(s.live->conn);
}
// clang-format on

TEST(live_parameters, counters)
{
    NEED_NODE("VHCASS_SERVER");
    const parameter_session s("live_param_counts");
    run(s.stmt, "CREATE TABLE " + s.keyspace + ".counts (k int PRIMARY KEY, c counter)");
    SQLBIGINT step = 9000000000;
    SQLINTEGER key = 1;
    bind(s.stmt, 1, SQL_C_SBIGINT, SQL_BIGINT, &step);
    bind(s.stmt, 2, SQL_C_SLONG, SQL_INTEGER, &key);
    const std::string update = "UPDATE " + s.keyspace + ".counts SET c = c + ? WHERE k = ?";
    EXPECT_STMT(SQL_SUCCESS, s.stmt, exec(s.stmt, update));
    EXPECT_STMT(SQL_SUCCESS, s.stmt, prepare(s.stmt, update));
    step = -1;
    EXPECT_STMT(SQL_SUCCESS, s.stmt, SQLExecute(s.stmt));
    EXPECT_EQ(query(s.live->conn, "SELECT c FROM " + s.keyspace + ".counts"),
              row_list{"8999999999"});
}
