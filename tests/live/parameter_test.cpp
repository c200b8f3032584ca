// Values written through the Driver Manager to a real node, from every C type, and what the server
// then holds: its own JSON form of the cell, which the driver has no part in, and the cell read
// back.
#include <cstring>

#include "tests/live/parameter_support.h"

// ---- Memory -------------------------------------------------------------------------------------

template <typename Value>
static std::string image(const Value &value)
{
    return {reinterpret_cast<const char *>(&value), sizeof value};
}

static std::string wide(const std::u16string &text)
{
    return {reinterpret_cast<const char *>(text.data()), text.size() * 2};
}

static std::string unhex(const std::string &digits)
{
    std::string text;
    for (std::size_t i = 0; i + 1 < digits.size(); i += 2)
        text += static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, 16));
    return text;
}

// Least significant byte of the magnitude first, in hexadecimal.
static std::string numeric(int precision, int scale, int sign, const std::string &magnitude)
{
    SQL_NUMERIC_STRUCT value = {};
    value.precision = static_cast<SQLCHAR>(precision);
    value.scale = static_cast<SQLSCHAR>(scale);
    value.sign = static_cast<SQLCHAR>(sign);
    const std::string bytes = unhex(magnitude);
    std::memcpy(value.val, bytes.data(), bytes.size());
    return image(value);
}

static std::string date(SQLSMALLINT year, SQLUSMALLINT month, SQLUSMALLINT day)
{
    return image(SQL_DATE_STRUCT{year, month, day});
}

static std::string time_of(SQLUSMALLINT hour, SQLUSMALLINT minute, SQLUSMALLINT second)
{
    return image(SQL_TIME_STRUCT{hour, minute, second});
}

static std::string moment(SQLSMALLINT year, SQLUSMALLINT month, SQLUSMALLINT day,
                          SQLUSMALLINT hour = 0, SQLUSMALLINT minute = 0, SQLUSMALLINT second = 0,
                          SQLUINTEGER fraction = 0)
{
    return image(SQL_TIMESTAMP_STRUCT{year, month, day, hour, minute, second, fraction});
}

static const std::string guid =
    image(SQLGUID{0xA0EEBC99, 0x9C0B, 0x4EF8, {0xBB, 0x6D, 0x6B, 0xB9, 0xBD, 0x38, 0x0A, 0x11}});
static const std::string guid_json = "\"a0eebc99-9c0b-4ef8-bb6d-6bb9bd380a11\"";

// ---- Writing and looking ------------------------------------------------------------------------

struct write_case {
    const char *column;
    int sql_type;
    int c_type;
    std::string memory;  // of texts and bytes the length is told beside it
    std::string json;   // what the server holds, or a record of a refusal ("08S01 ..."); empty: any
    bool same = false;  // read back in the same C type it is the same memory
    SQLULEN size = 38;
    int digits = 0;
};

static bool has_length(int c_type)
{
    return c_type == SQL_C_CHAR || c_type == SQL_C_WCHAR || c_type == SQL_C_BINARY;
}

static std::string read_back(SQLHSTMT stmt, const std::string &sql, int c_type)
{
    EXPECT_STMT(SQL_SUCCESS, stmt, exec(stmt, sql));
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLFetch(stmt));
    std::string buffer(65536, '\0');
    SQLLEN length = 0;
    EXPECT_STMT(SQL_SUCCESS, stmt,
                SQLGetData(stmt, 1, static_cast<SQLSMALLINT>(c_type), buffer.data(),
                           static_cast<SQLLEN>(buffer.size()), &length));
    buffer.resize(length < 0 ? 0 : static_cast<std::size_t>(length));
    SQLFreeStmt(stmt, SQL_CLOSE);
    return buffer;
}

// One value, into a row of its own.
static void write_one(const live_session *live, const std::string &keyspace, const write_case &c,
                      SQLINTEGER key, bool prepared)
{
    const std::string column = c.column;
    const std::string insert = "INSERT INTO " + keyspace + ".t (k, " + column + ") VALUES (?, ?)";
    // On an odd address and of exactly its size, which the sanitizers watch.
    const std::unique_ptr<char[]> block(new char[c.memory.size() + 1]);
    std::memcpy(block.get() + 1, c.memory.data(), c.memory.size());
    SQLLEN length = static_cast<SQLLEN>(c.memory.size());
    // A new statement: one that was prepared before has the server's description of its parameters.
    const SQLHSTMT stmt = new_stmt(live);
    bind(stmt, 1, SQL_C_SLONG, SQL_INTEGER, &key, nullptr);
    bind(stmt, 2, c.c_type, c.sql_type, block.get() + 1, has_length(c.c_type) ? &length : nullptr,
         0, c.size, c.digits);
    SQLRETURN code = SQL_ERROR;
    if (!prepared)
        code = exec(stmt, insert);
    else if (prepare(stmt, insert) == SQL_SUCCESS)
        code = SQLExecute(stmt);
    if (c.json.starts_with("08S01")) {
        EXPECT_STMT(SQL_ERROR, stmt, code);
        expect_records(SQL_HANDLE_STMT, stmt, {c.json});
    } else {
        EXPECT_STMT(SQL_SUCCESS, stmt, code);
        const std::string from = " FROM " + keyspace + ".t WHERE k = " + std::to_string(key);
        if (!c.json.empty()) {
            EXPECT_EQ(query(live->conn, "SELECT to_json(" + column + ")" + from), row_list{c.json});
        }
        if (c.same) {
            EXPECT_EQ(read_back(live->stmt, "SELECT " + column + from, c.c_type), c.memory);
        }
    }
    SQLFreeHandle(SQL_HANDLE_STMT, stmt);
}

static void write_and_look(const live_session *live, const std::string &keyspace,
                           const std::vector<write_case> &cases)
{
    SQLINTEGER key = 0;
    for (const write_case &c : cases) {
        for (const bool prepared : {false, true}) {
            SCOPED_TRACE(c.column + (" from C type " + std::to_string(c.c_type)) +
                         (prepared ? ", prepared: " : ": ") + c.json);
            write_one(live, keyspace, c, ++key, prepared);
        }
    }
}

struct number_source {
    int c_type;
    std::string memory;
};

// The number in every C type that has room for it.
static std::vector<number_source> number_sources(int value)
{
    const std::string text = std::to_string(value);
    const SQLCHAR sign = value < 0 ? 0 : 1;
    SQL_NUMERIC_STRUCT as_numeric = {10, 0, sign, {static_cast<SQLCHAR>(std::abs(value))}};
    std::vector<number_source> sources = {
        {SQL_C_STINYINT, image(static_cast<signed char>(value))},
        {SQL_C_TINYINT, image(static_cast<signed char>(value))},
        {SQL_C_SSHORT, image(static_cast<SQLSMALLINT>(value))},
        {SQL_C_SHORT, image(static_cast<SQLSMALLINT>(value))},
        {SQL_C_SLONG, image(SQLINTEGER{value})},
        {SQL_C_LONG, image(SQLINTEGER{value})},
        {SQL_C_SBIGINT, image(SQLBIGINT{value})},
        {SQL_C_FLOAT, image(static_cast<float>(value))},
        {SQL_C_DOUBLE, image(static_cast<double>(value))},
        {SQL_C_NUMERIC, image(as_numeric)},
        {SQL_C_CHAR, text},
        {SQL_C_WCHAR, wide(std::u16string(text.begin(), text.end()))},
    };
    if (value >= 0) {
        sources.push_back({SQL_C_UTINYINT, image(static_cast<SQLCHAR>(value))});
        sources.push_back({SQL_C_USHORT, image(static_cast<SQLUSMALLINT>(value))});
        sources.push_back({SQL_C_ULONG, image(static_cast<SQLUINTEGER>(value))});
        sources.push_back({SQL_C_UBIGINT, image(static_cast<SQLUBIGINT>(value))});
    }
    if (value == 0 || value == 1)
        sources.push_back({SQL_C_BIT, image(static_cast<SQLCHAR>(value))});
    return sources;
}

TEST(live_parameters, numbers_from_every_c_type)
{
    NEED_NODE("VHCASS_SERVER");
    const live_ptr live = parameter_session("live_param_numbers");
    struct target {
        const char *column;
        int sql_type;
        std::string suffix;  // of the number in JSON
    };
    const target targets[] = {
        {"c_tinyint", SQL_TINYINT, ""},    {"c_smallint", SQL_SMALLINT, ""},
        {"c_int", SQL_INTEGER, ""},        {"c_bigint", SQL_BIGINT, ""},
        {"c_float", SQL_REAL, ".0"},       {"c_double", SQL_DOUBLE, ".0"},
        {"c_double", SQL_FLOAT, ".0"},     {"c_decimal", SQL_DECIMAL, ".00"},
        {"c_decimal", SQL_NUMERIC, ".00"}, {"c_text", SQL_VARCHAR, "\""},
        {"c_ascii", SQL_CHAR, "\""},
    };
    std::vector<write_case> cases;
    for (const int value : {1, -100}) {
        for (const target &t : targets) {
            const std::string quote = t.suffix == "\"" ? "\"" : "";
            for (const number_source &source : number_sources(value)) {
                // A numeric structure has its own scale, all others take the binding's.
                const bool own_scale = t.suffix == ".00" && source.c_type == SQL_C_NUMERIC;
                cases.push_back({t.column, t.sql_type, source.c_type, source.memory,
                                 quote + std::to_string(value) + (own_scale ? "" : t.suffix), false,
                                 38, 2});
            }
        }
    }
    for (const number_source &source : number_sources(1))
        cases.push_back({"c_boolean", SQL_BIT, source.c_type, source.memory, "true"});
    for (const number_source &source : number_sources(0))
        cases.push_back({"c_boolean", SQL_BIT, source.c_type, source.memory, "false"});
    write_and_look(live.get(), "live_param_numbers", cases);
}

TEST(live_parameters, numbers_at_their_limits)
{
    NEED_NODE("VHCASS_SERVER");
    const live_ptr live = parameter_session("live_param_limits");
    const std::string nines(38, '9');
    const std::string nines_hex = "ffffffff3f228a097ac4865aa84c3b4b";
    write_and_look(
        live.get(), "live_param_limits",
        {
            {"c_tinyint", SQL_TINYINT, SQL_C_STINYINT, "\x7F", "127", true},
            {"c_tinyint", SQL_TINYINT, SQL_C_STINYINT, "\x80", "-128", true},
            {"c_smallint", SQL_SMALLINT, SQL_C_SSHORT, image(SQLSMALLINT{32767}), "32767", true},
            {"c_smallint", SQL_SMALLINT, SQL_C_SSHORT, unhex("0080"), "-32768", true},
            {"c_int", SQL_INTEGER, SQL_C_SLONG, unhex("ffffff7f"), "2147483647", true},
            {"c_int", SQL_INTEGER, SQL_C_SLONG, unhex("00000080"), "-2147483648", true},
            {"c_int", SQL_INTEGER, SQL_C_CHAR, "-2147483648", "-2147483648", true},
            {"c_int", SQL_INTEGER, SQL_C_BINARY, unhex("feffffff"), "-2", true},
            {"c_bigint", SQL_BIGINT, SQL_C_SBIGINT, unhex("ffffffffffffff7f"),
             "9223372036854775807", true},
            {"c_bigint", SQL_BIGINT, SQL_C_SBIGINT, unhex("0000000000000080"),
             "-9223372036854775808", true},
            {"c_bigint", SQL_BIGINT, SQL_C_CHAR, "-9223372036854775808", "-9223372036854775808",
             true},
            {"c_bigint", SQL_BIGINT, SQL_C_BINARY, unhex("feffffffffffffff"), "-2", true},
            // An unsigned value beyond the range goes through with its bits.
            {"c_bigint", SQL_BIGINT, SQL_C_UBIGINT, unhex("ffffffffffffffff"), "-1"},

            {"c_double", SQL_DOUBLE, SQL_C_DOUBLE, image(-0.1), "-0.1", true},
            {"c_double", SQL_DOUBLE, SQL_C_DOUBLE, unhex("ffffffffffffef7f"),
             "1.7976931348623157E308", true},
            {"c_double", SQL_DOUBLE, SQL_C_DOUBLE, unhex("0100000000000000"), "4.9E-324", true},
            {"c_double", SQL_DOUBLE, SQL_C_DOUBLE, unhex("000000000000f0ff"), "null", true},
            {"c_double", SQL_DOUBLE, SQL_C_CHAR, "0.1", "0.1"},
            {"c_double", SQL_DOUBLE, SQL_C_BINARY, image(2.5), "2.5", true},
            {"c_float", SQL_REAL, SQL_C_FLOAT, unhex("ffff7f7f"), "3.4028235E38", true},
            {"c_float", SQL_REAL, SQL_C_FLOAT, unhex("01000000"), "1.4E-45", true},
            {"c_float", SQL_REAL, SQL_C_DOUBLE, image(0.1), "0.1"},
            {"c_text", SQL_VARCHAR, SQL_C_DOUBLE, image(1234567.0), "\"1.23457E+06\""},

            {"c_decimal", SQL_DECIMAL, SQL_C_NUMERIC, numeric(38, 0, 1, nines_hex), nines},
            {"c_decimal", SQL_DECIMAL, SQL_C_NUMERIC, numeric(38, 38, 1, nines_hex), "0." + nines},
            {"c_decimal", SQL_DECIMAL, SQL_C_NUMERIC, numeric(38, 10, 0, nines_hex),
             "-" + nines.substr(10) + "." + nines.substr(28)},
            {"c_decimal", SQL_DECIMAL, SQL_C_CHAR, "-" + nines.substr(4) + ".9999",
             "-" + nines.substr(4) + ".9999", false, 38, 4},
            {"c_decimal", SQL_DECIMAL, SQL_C_CHAR, nines.substr(1) + ".9", nines.substr(1) + ".9",
             false, 38, 1},
            {"c_decimal", SQL_DECIMAL, SQL_C_WCHAR, wide(u"-0.05"), "-0.05", false, 38, 2},
            {"c_decimal", SQL_DECIMAL, SQL_C_CHAR, "1.5", "1.500", false, 38, 3},
            {"c_decimal", SQL_DECIMAL, SQL_C_CHAR, "2.999", "2.9", false, 38, 1},
            {"c_decimal", SQL_DECIMAL, SQL_C_DOUBLE, image(-12.5), "-12.50", false, 10, 2},
            {"c_decimal", SQL_DECIMAL, SQL_C_BINARY, numeric(5, 2, 1, "e903"), "10.01"},
            {"c_decimal", SQL_DECIMAL, SQL_C_NUMERIC, numeric(38, 0, 1, "00"), "0"},
            {"c_decimal", SQL_DECIMAL, SQL_C_NUMERIC, numeric(38, 0, 0, "01"), "-1"},
            // A negative magnitude whose low byte is 0 is sent wrong: the carry stops there.
            {"c_decimal", SQL_DECIMAL, SQL_C_NUMERIC, numeric(38, 2, 0, "0001"), "-5.12"},
        });
}

// A binding without decimal digits takes the scale of the server's description, once there is one.
TEST(live_parameters, decimal_without_digits_takes_the_described_scale)
{
    NEED_NODE("VHCASS_SERVER");
    const live_ptr live = parameter_session("live_param_scale");
    const struct {
        const char *text;
        const char *direct, *prepared;
    } cases[] = {
        {"1.5", "1.5", "1.500000000000000"},
        // Whole numbers then end in a zero byte, where the carry of negative ones is dropped.
        {"-7", "-7", "-7.000000000000256"},
    };
    for (const auto &c : cases) {
        for (const bool prepared : {false, true})
            write_one(
                live.get(), "live_param_scale",
                {"c_decimal", SQL_DECIMAL, SQL_C_CHAR, c.text, prepared ? c.prepared : c.direct}, 1,
                prepared);
    }
}

TEST(live_parameters, dates_and_times)
{
    NEED_NODE("VHCASS_SERVER");
    const live_ptr live = parameter_session("live_param_times");
    write_and_look(
        live.get(), "live_param_times",
        {
            {"c_date", SQL_TYPE_DATE, SQL_C_TYPE_DATE, date(1, 1, 1), "\"0001-01-01\"", true},
            {"c_date", SQL_TYPE_DATE, SQL_C_TYPE_DATE, date(1582, 10, 14), "\"1582-10-14\"", true},
            {"c_date", SQL_TYPE_DATE, SQL_C_TYPE_DATE, date(1969, 12, 31), "\"1969-12-31\"", true},
            {"c_date", SQL_DATE, SQL_C_DATE, date(1970, 1, 1), "\"1970-01-01\"", true},
            {"c_date", SQL_TYPE_DATE, SQL_C_TYPE_DATE, date(9999, 12, 31), "\"9999-12-31\"", true},
            {"c_date", SQL_TYPE_DATE, SQL_C_TYPE_TIMESTAMP, moment(2024, 2, 29, 23, 59, 59),
             "\"2024-02-29\""},
            {"c_date", SQL_TYPE_DATE, SQL_C_CHAR, "2024-02-29", "\"2024-02-29\""},
            {"c_date", SQL_TYPE_DATE, SQL_C_WCHAR, wide(u"{d '2024-02-29'}"), "\"2024-02-29\""},
            {"c_date", SQL_TYPE_DATE, SQL_C_CHAR, "20240229", "\"2024-02-29\""},
            {"c_date", SQL_TYPE_DATE, SQL_C_CHAR, "Feb 29 2024 ", "\"2024-02-29\""},
            {"c_date", SQL_TYPE_DATE, SQL_C_BINARY, moment(1900, 3, 1), "\"1900-03-01\""},

            {"c_time", SQL_TYPE_TIME, SQL_C_TYPE_TIME, time_of(0, 0, 0), "\"00:00:00.000000000\""},
            {"c_time", SQL_TIME, SQL_C_TIME, time_of(23, 59, 59), "\"23:59:59.000000000\"", true},
            {"c_time", SQL_TYPE_TIME, SQL_C_TYPE_TIMESTAMP, moment(1, 1, 1, 12, 34, 56, 123456789),
             "\"12:34:56.123456789\""},
            {"c_time", SQL_TYPE_TIME, SQL_C_CHAR, "12:34:56.000000001", "\"12:34:56.000000001\""},
            {"c_time", SQL_TYPE_TIME, SQL_C_CHAR, "{t '12:34:56'}", "\"12:34:56.000000000\""},
            {"c_time", SQL_TYPE_TIME, SQL_C_WCHAR, wide(u"12:34"), "\"12:34:00.000000000\""},
            {"c_time", SQL_TYPE_TIME, SQL_C_TYPE_DATE, date(2024, 2, 29), "\"00:00:00.000000000\""},

            {"c_timestamp", SQL_TYPE_TIMESTAMP, SQL_C_TYPE_TIMESTAMP,
             moment(2024, 2, 29, 12, 34, 56, 789'999'999), "\"2024-02-29 12:34:56.789Z\""},
            {"c_timestamp", SQL_TIMESTAMP, SQL_C_TIMESTAMP, moment(1970, 1, 1),
             "\"1970-01-01 00:00:00.000Z\"", true},
            {"c_timestamp", SQL_TYPE_TIMESTAMP, SQL_C_TYPE_TIMESTAMP,
             moment(1969, 12, 31, 23, 59, 59, 500'000'000), "\"1969-12-31 23:59:59.500Z\""},
            {"c_timestamp", SQL_TYPE_TIMESTAMP, SQL_C_TYPE_TIMESTAMP, moment(1900, 1, 1),
             "\"1900-01-01 00:00:00.000Z\"", true},
            {"c_timestamp", SQL_TYPE_TIMESTAMP, SQL_C_TYPE_TIMESTAMP,
             moment(9999, 12, 31, 23, 59, 59, 999'000'000), "\"9999-12-31 23:59:59.999Z\"", true},
            {"c_timestamp", SQL_TYPE_TIMESTAMP, SQL_C_TYPE_DATE, date(1960, 6, 1),
             "\"1960-06-01 00:00:00.000Z\"", true},
            {"c_timestamp", SQL_TYPE_TIMESTAMP, SQL_C_CHAR, "2024-02-29 12:34:56.5",
             "\"2024-02-29 12:34:56.500Z\""},
            // An offset is read and left aside.
            {"c_timestamp", SQL_TYPE_TIMESTAMP, SQL_C_CHAR, "2024-02-29 12:34:56 +02:00",
             "\"2024-02-29 12:34:56.000Z\""},
            {"c_timestamp", SQL_TYPE_TIMESTAMP, SQL_C_WCHAR, wide(u"{ts '2024-02-29'}"),
             "\"2024-02-29 00:00:00.000Z\""},
            {"c_timestamp", SQL_TYPE_TIMESTAMP, SQL_C_CHAR, "29-02-2024 10:00:00",
             "\"2024-02-29 10:00:00.000Z\""},
            {"c_timestamp", SQL_TYPE_TIMESTAMP, SQL_C_CHAR, "feb 29 2024 10:11:12PM",
             "\"2024-02-29 22:11:12.000Z\""},
            {"c_timestamp", SQL_TYPE_TIMESTAMP, SQL_C_BINARY, moment(1969, 7, 20, 20, 17, 40),
             "\"1969-07-20 20:17:40.000Z\""},
            {"c_text", SQL_VARCHAR, SQL_C_TYPE_DATE, date(1, 2, 3), "\"0001-02-03\""},
            {"c_text", SQL_VARCHAR, SQL_C_TYPE_TIME, time_of(1, 2, 3), "\"01:02:03\""},
            {"c_text", SQL_VARCHAR, SQL_C_TYPE_TIMESTAMP, moment(2024, 2, 29, 1, 2, 3, 4),
             "\"2024-02-29 01:02:03.000000004\""},
        });
}

TEST(live_parameters, texts_bytes_and_guids)
{
    NEED_NODE("VHCASS_SERVER");
    const live_ptr live = parameter_session("live_param_bytes");
    const std::string guid_text = "A0EEBC99-9C0B-4EF8-BB6D-6BB9BD380A11";
    const std::string long_text(5000, 'x');
    std::string long_hex;
    for (int i = 0; i < 300; i++)
        long_hex += "0fF0";
    std::string long_json;
    for (int i = 0; i < 300; i++)
        long_json += "0ff0";
    write_and_look(
        live.get(), "live_param_bytes",
        {
            {"c_text", SQL_VARCHAR, SQL_C_CHAR, "\xC3\x85land \xE2\x82\xAC",
             "\"\xC3\x85land \xE2\x82\xAC\"", true},
            {"c_text", SQL_WVARCHAR, SQL_C_WCHAR, wide(u"\u00C5land \u20AC"),
             "\"\xC3\x85land \xE2\x82\xAC\"", true},
            {"c_text", SQL_VARCHAR, SQL_C_WCHAR, wide(u"\u00E9"), "\"\xC3\xA9\"", true},
            {"c_text", SQL_LONGVARCHAR, SQL_C_CHAR, long_text, "\"" + long_text + "\"", true},
            {"c_text", SQL_VARCHAR, SQL_C_CHAR, "", "\"\"", true},
            {"c_text", SQL_VARCHAR, SQL_C_BINARY, "as it stands", "\"as it stands\"", true},
            {"c_text", SQL_VARCHAR, SQL_C_GUID, guid, "\"" + guid_text + "\""},
            {"c_ascii", SQL_CHAR, SQL_C_CHAR, "plain", "\"plain\"", true},
            // The halves of a pair go out one by one, as they come back.
            {"c_text", SQL_WVARCHAR, SQL_C_WCHAR, wide(u"\U0001F600"), "", true},
            // A single byte of a Latin alphabet is no UTF-8.
            {"c_text", SQL_VARCHAR, SQL_C_CHAR, "caf\xE9", std::string(invalid) + "'"},
            {"c_ascii", SQL_CHAR, SQL_C_CHAR, "\xC3\xA9", std::string(invalid) + "'"},

            {"c_blob", SQL_VARBINARY, SQL_C_BINARY, unhex("00ff7f10"), "\"0x00ff7f10\"", true},
            {"c_blob", SQL_LONGVARBINARY, SQL_C_BINARY, "", "\"0x\"", true},
            {"c_blob", SQL_BINARY, SQL_C_CHAR, "00fF7f1", "\"0x00ff7f\""},
            {"c_blob", SQL_VARBINARY, SQL_C_CHAR, "0x" + long_hex, "\"0x" + long_json + "\""},
            {"c_blob", SQL_VARBINARY, SQL_C_WCHAR, wide(u"0Xcafe"), "\"0xcafe\""},
            {"c_blob", SQL_VARBINARY, SQL_C_SLONG, image(SQLINTEGER{1}), "\"0x01000000\""},
            {"c_blob", SQL_VARBINARY, SQL_C_SSHORT, image(SQLSMALLINT{1}), "\"0x0100\""},
            {"c_blob", SQL_VARBINARY, SQL_C_BIT, "\1", "\"0x0100000000000000\""},
            {"c_blob", SQL_VARBINARY, SQL_C_DOUBLE, image(1.0), "\"0x000000000000f03f\""},

            {"c_uuid", SQL_GUID, SQL_C_GUID, guid, guid_json, true},
            {"c_uuid", SQL_GUID, SQL_C_CHAR, guid_text, guid_json, true},
            {"c_uuid", SQL_GUID, SQL_C_CHAR, "{" + guid_text + "}", guid_json},
            {"c_uuid", SQL_GUID, SQL_C_WCHAR, wide(u"a0eebc99-9c0b-4ef8-bb6d-6bb9bd380a11"),
             guid_json},
            {"c_uuid", SQL_GUID, SQL_C_BINARY, guid, guid_json, true},
            {"c_timeuuid", SQL_GUID, SQL_C_CHAR, "50554d6e-29bb-11e5-b345-feff819cdc9f",
             "\"50554d6e-29bb-11e5-b345-feff819cdc9f\""},
        });
}

// Types without a form of their own take the bytes of the server's form.
TEST(live_parameters, other_types_take_raw_bytes)
{
    NEED_NODE("VHCASS_SERVER");
    const live_ptr live = parameter_session("live_param_raw");
    const auto raw = [](const char *column, const char *digits, const char *json) {
        return write_case{column, SQL_VARBINARY, SQL_C_BINARY, unhex(digits), json};
    };
    write_and_look(
        live.get(), "live_param_raw",
        {
            raw("c_list",
                "000000020000000400000001"
                "00000004fffffffe",
                "[1, -2]"),
            raw("c_set",
                "00000002"
                "0000000161"
                "0000000162",
                "[\"a\", \"b\"]"),
            raw("c_map",
                "00000001"
                "000000016b"
                "0000000400000007",
                "{\"k\": 7}"),
            raw("c_tuple",
                "0000000400000007"
                "ffffffff",
                "[7, null]"),
            raw("c_udt",
                "0000000400000007"
                "0000000178",
                "{\"a\": 7, \"b\": \"x\"}"),
            raw("c_vector",
                "3f800000"
                "40000000"
                "bfc00000",
                "[1.0, 2.0, -1.5]"),
            raw("c_duration", "020406", "\"1mo2d3ns\""),
            raw("c_varint", "ff00", "-256"),
            raw("c_inet", "7f0000ff", "\"127.0.0.255\""),
            raw("c_inet", "20010db8000000000000ff0000428329", "\"2001:db8:0:0:0:ff00:42:8329\""),
            {"c_inet", SQL_VARBINARY, SQL_C_CHAR, "0x7f000001", "\"127.0.0.1\""},
            {"c_inet", SQL_VARCHAR, SQL_C_CHAR, "127.0.0.1", std::string(invalid)},
            {"c_list", SQL_VARCHAR, SQL_C_CHAR, "[1, 2]", std::string(invalid)},
        });
}

// The binding alone decides the form: what is not the column's own is the server's to refuse, and
// the statement goes on.
TEST(live_parameters, wrong_widths_are_refused_by_the_server)
{
    NEED_NODE("VHCASS_SERVER");
    const live_ptr live = parameter_session("live_param_width");
    const std::string number = image(SQLINTEGER{1});
    write_and_look(
        live.get(), "live_param_width",
        {
            {"c_bigint", SQL_INTEGER, SQL_C_SLONG, number, std::string(invalid)},
            {"c_int", SQL_BIGINT, SQL_C_SLONG, number, std::string(invalid)},
            {"c_boolean", SQL_INTEGER, SQL_C_SLONG, number, std::string(invalid)},
            {"c_uuid", SQL_VARCHAR, SQL_C_CHAR, "x", std::string(invalid)},
            {"c_date", SQL_TYPE_TIMESTAMP, SQL_C_TYPE_DATE, date(1970, 1, 1), std::string(invalid)},
            {"c_int", SQL_INTEGER, SQL_C_SLONG, number, "1"},
        });
    expect_alive(live->conn);
}

TEST(live_parameters, counters)
{
    NEED_NODE("VHCASS_SERVER");
    const live_ptr live = parameter_session("live_param_counts");
    SQLBIGINT step = 9000000000;
    SQLINTEGER key = 1;
    bind(live->stmt, 1, SQL_C_SBIGINT, SQL_BIGINT, &step, nullptr);
    bind(live->stmt, 2, SQL_C_SLONG, SQL_INTEGER, &key, nullptr);
    const std::string update = "UPDATE live_param_counts.counts SET c = c + ? WHERE k = ?";
    EXPECT_STMT(SQL_SUCCESS, live->stmt, exec(live->stmt, update));
    EXPECT_STMT(SQL_SUCCESS, live->stmt, prepare(live->stmt, update));
    step = -1;
    for (int i = 0; i < 2; i++)
        EXPECT_STMT(SQL_SUCCESS, live->stmt, SQLExecute(live->stmt));
    EXPECT_EQ(query(live->conn, "SELECT c FROM live_param_counts.counts"), row_list{"8999999998"});
}
