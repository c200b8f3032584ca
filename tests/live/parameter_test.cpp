// Values written through the Driver Manager to a real node, prepared and direct, and what the
// server then holds by its own JSON form, which the driver has no part in; what it refuses and
// warns of.
#include "tests/app_value.h"
#include "tests/live/live_support.h"

// The server's refusal of a value.
static const std::string invalid = "SQL_ERROR: 08S01 Communication link failure: error code 8704 ";

struct live_parameters : live_test {
    // With the keyspace: the server warns of prepared statements that depend on a USE.
    const std::string table = "live_param_values.every";
    SQLINTEGER key = 0;

    // A value into rows of its own; `json` is without quotes around it, or the record of a refusal.
    void write(const std::string &column, SQLSMALLINT sql_type, const app_value &from,
               const std::string &json)
    {
        const std::string insert = "INSERT INTO " + table + " (k, " + column + ") VALUES (?, ?)";
        const exact_block memory(from.memory);
        SQLLEN length = static_cast<SQLLEN>(from.memory.size());
        for (const bool prepared : {false, true}) {
            SCOPED_TRACE(column + (prepared ? ", prepared: " : ": ") + json);
            // A new one: a prepared statement has the server's description of its parameters.
            const SQLHSTMT one = new_stmt(conn);
            key++;
            bind(one, 1, SQL_C_SLONG, SQL_INTEGER, &key);
            bind(one, 2, from.c_type, sql_type, memory.at, has_length(from) ? &length : nullptr);
            if (prepared) {
                EXPECT_STMT(SQL_SUCCESS, one, prepare(one, insert));
            }
            const SQLRETURN code = prepared ? SQLExecute(one) : exec(one, insert);
            const std::string came =
                code == SQL_SUCCESS ? query(conn, "SELECT toJson(" + column + ") FROM " + table +
                                                      " WHERE k = " + std::to_string(key))[0]
                                    : code_and_record(code, one).substr(0, invalid.size());
            EXPECT_EQ(came, came[0] == '"' ? '"' + json + '"' : json);
            SQLFreeHandle(SQL_HANDLE_STMT, one);
        }
    }
};

TEST_F(live_test, warnings_are_the_servers)
{
    EXPECT_STMT(SQL_SUCCESS_WITH_INFO, stmt, exec(stmt, "SELECT count(*) FROM system.local"));
    EXPECT_EQ(stmt_records(stmt),
              record_list{"01000 Aggregation query used without partition key"});
    EXPECT_EQ(fetch_all(stmt), row_list{"1"});
}

// clang-format off
TEST_F(live_parameters, reach_a_column_of_every_type)
{
    const bool has_vectors = make_every_type(stmt, "live_param_values");
    const SQLGUID guid = {0xA0EEBC99, 0x9C0B, 0x4EF8, {0xBB, 0x6D, 0x6B, 0xB9, 0xBD, 0x38, 10, 17}};
    const std::string guid_json = "a0eebc99-9c0b-4ef8-bb6d-6bb9bd380a11",
                      time_guid = "50554d6e-29bb-11e5-b345-feff819cdc9f";
    write("c_boolean", SQL_BIT, true, "true");
    write("c_tinyint", SQL_TINYINT, SQLSCHAR(-128), "-128");
    write("c_smallint", SQL_SMALLINT, SQLSMALLINT(-32768), "-32768");
    write("c_int", SQL_INTEGER, INT32_MIN, "-2147483648");
    write("c_bigint", SQL_BIGINT, INT64_MIN, "-9223372036854775808");
    write("c_double", SQL_DOUBLE, 4.9e-324, "4.9E-324");
    write("c_float", SQL_REAL, 3.4028235e38f, "3.4028235E38");
    write("c_decimal", SQL_DECIMAL,
        {SQL_C_NUMERIC, from_hex("260a00 ffffffff3f228a097ac4865aa84c3b4b")},  // of scale 10
         "-" + std::string(28, '9') + "." + std::string(10, '9'));
    // A negative magnitude whose low byte is 0 is sent wrong: the carry stops there.
    write("c_decimal", SQL_DECIMAL, numeric(256, 2, 0), "-5.12");
    write("c_date", SQL_TYPE_DATE, SQL_DATE_STRUCT{1582, 10, 14}, "1582-10-14");
    write("c_time", SQL_TYPE_TIME, {SQL_C_TIME, image(SQL_TIME_STRUCT{23, 59, 59})},
        "23:59:59.000000000");
    write("c_timestamp", SQL_TYPE_TIMESTAMP,
        SQL_TIMESTAMP_STRUCT{1900, 1, 1, 0, 0, 0, 0}, "1900-01-01 00:00:00.000Z");
    write("c_text", SQL_VARCHAR, u"\u00C5land \u20AC", "\xC3\x85land \xE2\x82\xAC");
    write("c_ascii", SQL_CHAR, "plain", "plain");
    write("c_uuid", SQL_GUID, guid, guid_json);
    write("c_timeuuid", SQL_GUID, time_guid, time_guid);
    // Types without a form of their own take the bytes of the server's form.
    const struct { const char *column, *digits, *json; } raw[] = {
        {"c_blob", "00ff7f10", "0x00ff7f10"},
        {"c_list", "000000020000000400000001" "00000004fffffffe", "[1, -2]"},
        {"c_set", "00000002" "0000000161" "0000000162", "[\"a\", \"b\"]"},
        {"c_map", "00000001" "000000016b" "0000000400000007", "{\"k\": 7}"},
        {"c_tuple", "0000000400000007" "ffffffff", "[7, null]"},
        {"c_udt", "0000000400000007" "0000000178", "{\"a\": 7, \"b\": \"x\"}"},
        {"c_vector", "3f800000" "40000000" "bfc00000", "[1.0, 2.0, -1.5]"},
        {"c_duration", "020406", "1mo2d3ns"}, {"c_varint", "ff00", "-256"},
        {"c_inet", "20010db8000000000000ff0000428329", "2001:db8:0:0:0:ff00:42:8329"}};
    for (const auto &[column, digits, json] : raw)
        if (has_vectors || column != std::string("c_vector"))
            write(column, SQL_VARBINARY, {SQL_C_BINARY, from_hex(digits)}, json);
    // What is not the column's own is the server's to refuse: the binding alone decides the form.
    write("c_inet", SQL_VARCHAR, "127.0.0.1", invalid);
    write("c_text", SQL_VARCHAR, "caf\xE9", invalid);  // no UTF-8
    write("c_bigint", SQL_INTEGER, 1, invalid);

    // Types whose cells are read in a form of their own; an int of no bytes is a null.
    run(stmt, "INSERT INTO " + table + " (k, c_inet, c_varint, c_timeuuid, c_time, c_double, c_int) "
        "VALUES (0, '2001:db8::f0:42:8329', -256, " + time_guid + ", '23:59:59.999999999', "
        "-Infinity, blobAsInt(0x))");
    EXPECT_EQ(query(conn, "SELECT c_inet, c_varint, c_timeuuid, c_time, c_double, c_int, c_date FROM "
                    + table + " WHERE k = 0"),
        row_list{"2001:db8:0:0:0:f0:42:8329|-256|50554D6E-29BB-11E5-B345-FEFF819CDC9F|"
                 "0000-00-00 23:59:59.999999999|-INF|NULL|NULL"});
}
// clang-format on
