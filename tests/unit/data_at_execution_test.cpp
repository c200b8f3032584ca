// Values that come at execution: the sequence of calls, what the chunks become, and what goes to
// the server when the last one is there.
#include <gtest/gtest.h>

#include <chrono>

#include "core/cass_field.h"
#include "core/cass_stmt.h"
#include "tests/unit/parameter_rig.h"

static constexpr SQLCHAR INSERT[] = "insert into t values (?, ?, ?)";
static const std::string VOID_RESULT = be32(1);

static SQLCHAR *insert_text()
{
    return const_cast<SQLCHAR *>(INSERT);
}

static void bind(session &s, int number, int c_type, int sql_type, void *token, SQLLEN *indicator)
{
    ASSERT_EQ(SQL_SUCCESS,
              SQLBindParameter(s.stmt, static_cast<SQLUSMALLINT>(number), SQL_PARAM_INPUT,
                               static_cast<SQLSMALLINT>(c_type), static_cast<SQLSMALLINT>(sql_type),
                               10, 0, token, 0, indicator));
}

static SQLRETURN put(session &s, const std::string &bytes)
{
    const exact_block block(bytes);
    return SQLPutData(s.stmt, block.at, static_cast<SQLLEN>(bytes.size()));
}

// A statement that waits for the chunks of its only parameter.
static void open_pause(session &s, int c_type, int sql_type, SQLLEN *indicator)
{
    *indicator = SQL_DATA_AT_EXEC;
    bind(s, 1, c_type, sql_type, &s, indicator);
    s.stmt->found_param_count = 1;
    ASSERT_EQ(SQL_NEED_DATA, cass_check_params(s.stmt, 0, OP_EXECUTE));
}

TEST(data_at_execution, parameters_are_named_in_order_and_the_request_follows)
{
    session s;
    SQLLEN at_exec = SQL_DATA_AT_EXEC;
    SQLLEN with_length = SQL_LEN_DATA_AT_EXEC(3);
    SQLLEN plain = 4;
    int number = 5;
    char first_token = 0;
    bind(s, 1, SQL_C_CHAR, SQL_VARCHAR, &first_token, &at_exec);
    bind(s, 2, SQL_C_SLONG, SQL_INTEGER, &number, &plain);
    bind(s, 3, SQL_C_BINARY, SQL_VARBINARY, nullptr, &with_length);
    ASSERT_EQ(SQL_NEED_DATA, SQLExecDirect(s.stmt, insert_text(), SQL_NTS));
    EXPECT_EQ("", heard(s));

    char misaligned[sizeof(SQLPOINTER) + 1];
    ASSERT_EQ(SQL_NEED_DATA,
              SQLParamData(s.stmt, static_cast<SQLPOINTER *>(static_cast<void *>(misaligned + 1))));
    EXPECT_EQ(image(&first_token), std::string(misaligned + 1, sizeof(SQLPOINTER)));
    EXPECT_EQ(SQL_SUCCESS, put(s, "ab"));
    EXPECT_EQ(SQL_SUCCESS, put(s, "cde"));
    SQLPOINTER token = &s;
    ASSERT_EQ(SQL_NEED_DATA, SQLParamData(s.stmt, &token));
    EXPECT_EQ(nullptr, token);
    EXPECT_EQ(SQL_SUCCESS, put(s, "xyz"));
    EXPECT_EQ("", heard(s));

    say(s, reply(OPCODE_RESULT, VOID_RESULT));
    EXPECT_EQ(SQL_SUCCESS, SQLParamData(s.stmt, nullptr));
    EXPECT_EQ("", states(s.stmt));
    const std::string values = be16(3) + long_str("abcde") + be32(4) + be32(5) + long_str("xyz");
    EXPECT_NE(std::string::npos, hex(heard(s)).find(hex(values)));
}

TEST(data_at_execution, an_encoding_failure_surfaces_at_the_end)
{
    session s;
    SQLLEN at_exec = SQL_DATA_AT_EXEC;
    for (int number = 1; number <= 3; number++)
        bind(s, number, SQL_C_CHAR, SQL_INTEGER, nullptr, &at_exec);
    ASSERT_EQ(SQL_NEED_DATA, SQLExecDirect(s.stmt, insert_text(), SQL_NTS));
    for (const char *text : {"1", "two", "3"}) {
        ASSERT_EQ(SQL_NEED_DATA, SQLParamData(s.stmt, nullptr));
        ASSERT_EQ(SQL_SUCCESS, put(s, text));
    }
    EXPECT_EQ(SQL_ERROR, SQLParamData(s.stmt, nullptr));
    EXPECT_EQ("22018@2", states(s.stmt));
    EXPECT_EQ("", heard(s));
}

TEST(data_at_execution, calls_out_of_sequence)
{
    session s;
    EXPECT_EQ(SQL_ERROR, put(s, "x"));
    EXPECT_EQ("HY010", states(s.stmt));
    SQLLEN indicator;
    open_pause(s, SQL_C_CHAR, SQL_VARCHAR, &indicator);
    EXPECT_EQ(SQL_ERROR, SQLPutData(s.stmt, nullptr, 1));
    EXPECT_EQ("HY009", states(s.stmt));
    EXPECT_EQ(SQL_ERROR, SQLPutData(s.stmt, &s, SQLLEN{1} << 31));
    EXPECT_EQ("HY090", states(s.stmt));
    EXPECT_EQ(SQL_SUCCESS, SQLPutData(s.stmt, nullptr, 0));
    // Bindings that go in the pause take the parameter with them.
    cass_desc_clear_fields(s.stmt->apd);
    EXPECT_EQ(SQL_ERROR, SQLParamData(s.stmt, nullptr));
    EXPECT_EQ("HY010", states(s.stmt));
    EXPECT_EQ(SQL_ERROR, put(s, "x"));
    EXPECT_EQ("HY010", states(s.stmt));
    EXPECT_EQ("07002@1", encode(s));
    EXPECT_EQ(SQL_INVALID_HANDLE, SQLParamData(nullptr, nullptr));
}

TEST(data_at_execution, chunks_become_one_value)
{
    constexpr SQLLEN bytes = INT64_MAX;  // the chunk's own length
    struct chunk {
        std::string text;
        SQLLEN length = bytes;
    };
    SQLGUID guid = {};
    guid.Data1 = 1;
    const std::string guid_bytes = image(guid);
    const std::string guid_value = "0000001000000001000000000000000000000000";
    const struct {
        int c_type, sql_type;
        std::vector<chunk> chunks;
        std::string expected;
    } cases[] = {
        {SQL_C_CHAR, SQL_VARCHAR, {}, "00000000"},
        {SQL_C_CHAR, SQL_VARCHAR, {{"", 0}, {"", 0}}, "00000000"},
        {SQL_C_CHAR, SQL_VARCHAR, {{"abc"}}, "00000003616263"},
        {SQL_C_CHAR, SQL_VARCHAR, {{"abc"}, {"", 0}, {"d"}}, "0000000461626364"},
        {SQL_C_CHAR, SQL_VARCHAR, {{"abc"}, {"", SQL_NULL_DATA}}, "ffffffff"},
        {SQL_C_CHAR, SQL_VARCHAR, {{"abc", SQL_NTS}}, "ffffffff"},
        {SQL_C_CHAR, SQL_VARCHAR, {{"abc", INT64_MIN + 1}}, "ffffffff"},
        {SQL_C_WCHAR, SQL_WVARCHAR, {{"a"}, {std::string("\0b\0", 3)}}, "000000026162"},
        {SQL_C_BINARY, SQL_VARBINARY, {{"ab"}, {"cd"}}, "0000000461626364"},
        {SQL_C_BINARY, SQL_VARBINARY, {}, "00000000"},
        {SQL_C_BINARY, SQL_VARCHAR, {{"ab"}, {"cd"}}, "0000000461626364"},
        {SQL_C_CHAR, SQL_VARBINARY, {{"6"}, {"162"}}, "000000026162"},
        {SQL_C_CHAR,
         SQL_VARBINARY,
         {{std::string(200, '1')}, {std::string(200, '1')}},
         "000000c8" + std::string(400, '1')},
        {SQL_C_SLONG,
         SQL_VARCHAR,
         {{image(42).substr(0, 1)}, {image(42).substr(1)}},
         "000000023432"},
        {SQL_C_SLONG, SQL_VARCHAR, {{"ab"}}, "HY090@1"},
        {SQL_C_SLONG, SQL_INTEGER, {}, "ffffffff"},
        {SQL_C_SLONG, SQL_INTEGER, {{image(1)}, {image(2)}}, "0000000400000001"},
        {SQL_C_SLONG, SQL_INTEGER, {{"", SQL_NULL_DATA}, {image(2)}}, "ffffffff"},
        {SQL_C_SLONG, SQL_INTEGER, {{image(1)}, {"", SQL_NULL_DATA}}, "0000000400000001"},
        {SQL_C_SLONG, SQL_INTEGER, {{"ab"}}, "HY090@1"},
        {SQL_C_SLONG, SQL_INTEGER, {{"", 0}}, "HY090@1"},
        {SQL_C_SLONG, SQL_VARBINARY, {{"ab"}}, "HY090@1"},
        {SQL_C_CHAR, SQL_BIGINT, {{"12"}, {"34"}}, "00000008000000000000000c"},
        {SQL_C_CHAR, SQL_BIGINT, {{"", 0}}, "22018@1"},
        {SQL_C_DOUBLE, SQL_DOUBLE, {{image(1.0)}}, "000000083ff0000000000000"},
        {SQL_C_DOUBLE, SQL_REAL, {}, "ffffffff"},
        {SQL_C_BINARY, SQL_DOUBLE, {{image(1.0f)}}, "22003@1"},
        {SQL_C_NUMERIC, SQL_DECIMAL, {{std::string(18, '\0')}}, "HY090@1"},
        {SQL_C_NUMERIC, SQL_DECIMAL, {}, "ffffffff"},
        {SQL_C_GUID, SQL_GUID, {{guid_bytes}}, guid_value},
        {SQL_C_GUID, SQL_GUID, {}, "ffffffff"},
        {SQL_C_GUID, SQL_GUID, {{guid_bytes.substr(1)}}, "HY090@1"},
        {SQL_C_TYPE_DATE,
         SQL_TYPE_DATE,
         {{image(SQL_DATE_STRUCT{1970, 1, 1})}},
         "0000000480000000"},
        {SQL_C_TYPE_DATE, SQL_TYPE_DATE, {{"abcde"}}, "HY090@1"},
        {SQL_C_TYPE_TIME, SQL_TYPE_TIME, {{"abcde"}}, "HY090@1"},
        {SQL_C_TYPE_TIMESTAMP, SQL_TYPE_TIMESTAMP, {}, "ffffffff"},
    };
    int number = 0;
    for (const auto &c : cases) {
        session s;
        SQLLEN indicator;
        open_pause(s, c.c_type, c.sql_type, &indicator);
        for (const chunk &part : c.chunks) {
            const exact_block block(part.text);
            const auto size = static_cast<SQLLEN>(part.text.size());
            ASSERT_EQ(SQL_SUCCESS,
                      SQLPutData(s.stmt, block.at, part.length == bytes ? size : part.length));
        }
        EXPECT_EQ(c.expected, encode(s)) << "case " << number << ": " << c.c_type;
        // The value can be built again, as a further set or execution does.
        EXPECT_EQ(c.expected, encode(s));
        number++;
    }
}

TEST(data_at_execution, chunks_stay_until_the_record_is_bound_again)
{
    session s;
    SQLLEN indicator;
    open_pause(s, SQL_C_CHAR, SQL_VARCHAR, &indicator);
    ASSERT_EQ(SQL_SUCCESS, put(s, "a"));
    EXPECT_EQ("0000000161", encode(s));
    ASSERT_EQ(SQL_SUCCESS, put(s, "b"));
    EXPECT_EQ("000000026162", encode(s));
    open_pause(s, SQL_C_CHAR, SQL_VARCHAR, &indicator);
    EXPECT_EQ("00000000", encode(s));
    ASSERT_EQ(SQL_SUCCESS, put(s, "c"));
    EXPECT_EQ("0000000163", encode(s));
}

TEST(data_at_execution, a_value_beyond_31_bits_is_refused)
{
    session s;
    SQLLEN indicator;
    open_pause(s, SQL_C_CHAR, SQL_VARCHAR, &indicator);
    ASSERT_EQ(SQL_SUCCESS, put(s, "a"));
    ASSERT_EQ(SQL_SUCCESS, put(s, "b"));
    // As if the first chunk were as long as one can be; its bytes are not there to be read.
    cass_put_chunk *first = s.stmt->apd->fields[0].put_data;
    first->length = INT32_MAX;
    EXPECT_EQ("HY090@1", encode(s));
    first->length = 1;
    EXPECT_EQ("000000026162", encode(s));
}

// Each chunk is appended without walking over those before it.
TEST(data_at_execution, many_chunks_take_linear_time)
{
    const auto milliseconds = [](int chunks) {
        session s;
        SQLLEN indicator;
        open_pause(s, SQL_C_CHAR, SQL_VARCHAR, &indicator);
        const auto start = std::chrono::steady_clock::now();
        for (int i = 0; i < chunks; i++)
            if (SQLPutData(s.stmt, &s, 1) != SQL_SUCCESS)
                return -1.0;
        return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start)
            .count();
    };
    milliseconds(1000);
    const double few = milliseconds(2000);
    EXPECT_LT(milliseconds(32000), 16 * few * 8 + 50);
}
