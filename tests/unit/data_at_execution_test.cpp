// Values that come at execution: calls out of sequence, and what the chunks become.
#include "core/statement/cass_stmt.h"
#include "tests/unit/parameter_rig.h"

// A chunk with its own length, or "<-3": one without bytes whose length is told so.
static SQLRETURN put(session &s, const std::string &chunk)
{
    const exact_block block(chunk);
    const auto size = static_cast<SQLLEN>(chunk.size());
    return SQLPutData(s.stmt, block.at, chunk[0] == '<' ? std::stol(chunk.substr(1)) : size);
}

// The statement waits for the chunks of its only parameter.
static void open_pause(session &s, SQLSMALLINT c_type, SQLSMALLINT sql_type)
{
    static SQLLEN at_exec = SQL_LEN_DATA_AT_EXEC(0);
    ASSERT_EQ(SQL_SUCCESS, bind(s.stmt, 1, c_type, sql_type, &s, &at_exec));
    s.stmt->found_param_count = 1;
    ASSERT_EQ(SQL_NEED_DATA, cass_check_params(s.stmt, 0, OP_EXECUTE));
}

TEST(data_at_execution, calls_out_of_sequence)
{
    session s;
    EXPECT_EQ("HY010", outcome(put(s, "x"), s.stmt));
    open_pause(s, SQL_C_CHAR, SQL_VARCHAR);
    EXPECT_EQ("HY009", outcome(SQLPutData(s.stmt, nullptr, 1), s.stmt));
    EXPECT_EQ("HY090", outcome(SQLPutData(s.stmt, &s, SQLLEN{1} << 31), s.stmt));
    EXPECT_EQ(SQL_SUCCESS, SQLPutData(s.stmt, nullptr, 0));
    put(s, "a");
    // A binding that is refused takes nothing away.
    EXPECT_EQ("HY104",
              outcome(bind(s.stmt, 1, SQL_C_CHAR, SQL_NUMERIC, &s, nullptr, 0, 0), s.stmt));
    EXPECT_EQ(on_wire("61"), encode(s));
    // Bindings that go in the pause take the parameter with them.
    cass_desc_clear_fields(s.stmt->apd);
    EXPECT_EQ("HY010", outcome(SQLParamData(s.stmt, nullptr), s.stmt));
    EXPECT_EQ("HY010", outcome(put(s, "x"), s.stmt));
    EXPECT_EQ("07002@1", encode(s));
}

static void check(SQLSMALLINT c_type, SQLSMALLINT sql_type,
                  const std::vector<std::pair<std::vector<std::string>, std::string>> &cases)
{
    for (const auto &[chunks, expected] : cases) {
        session s;
        open_pause(s, c_type, sql_type);
        for (const std::string &chunk : chunks)
            ASSERT_EQ(SQL_SUCCESS, put(s, chunk));
        // The value can be built again, as a further set or execution does.
        for (int i = 0; i < 2; i++)
            EXPECT_EQ(on_wire(expected), encode(s))
                << c_type << " to " << sql_type << ", " << chunks.size() << " chunks";
    }
}

// clang-format off
TEST(data_at_execution, chunks_become_one_value)
{
    check(SQL_C_CHAR, SQL_VARCHAR, {{{}, ""}, {{"", ""}, ""}, {{"abc"}, "616263"},
        {{"abc", "", "d"}, "61626364"}, {{"abc", "<-1"}, "null"}, {{"<-3"}, "null"},
        {{"<-9223372036854775807"}, "null"}});
    const app_value wide(u"ab"), number(42);
    check(SQL_C_WCHAR, SQL_WVARCHAR, {{{wide.memory.substr(0, 1), wide.memory.substr(1)}, "6162"}});
    check(SQL_C_BINARY, SQL_VARBINARY, {{{"ab", "cd"}, "61626364"}, {{}, ""}});
    check(SQL_C_CHAR, SQL_VARBINARY, {{{"6", "162"}, "6162"},
        {{std::string(200, '1'), std::string(200, '1')}, std::string(400, '1')}});
    check(SQL_C_CHAR, SQL_BIGINT, {{{"12", "34"}, "000000000000000c"}, {{""}, "22018@1"}});
    check(SQL_C_SLONG, SQL_VARCHAR,
        {{{number.memory.substr(0, 1), number.memory.substr(1)}, "3432"}, {{"ab"}, "HY090@1"}});
    check(SQL_C_SLONG, SQL_VARBINARY, {{{"ab"}, "HY090@1"}});
    const std::string abcd = to_hex(machine_order("dcba"));
    check(SQL_C_SLONG, SQL_INTEGER, {{{}, "null"}, {{"abcd", "efgh"}, abcd},
        {{"<-1", "efgh"}, "null"}, {{"abcd", "<-1"}, abcd}, {{"ab"}, "HY090@1"},
        {{""}, "HY090@1"}});
    check(SQL_C_BINARY, SQL_DOUBLE, {{{"abcd"}, "22003@1"}});
    check(SQL_C_NUMERIC, SQL_DECIMAL, {{{}, "null"}, {{std::string(18, '\0')}, "HY090@1"}});
    check(SQL_C_GUID, SQL_GUID, {{{}, "null"}, {{std::string(15, '\1')}, "HY090@1"},
        {{std::string(16, 'a')}, "61616161616161616161616161616161"}});
    check(SQL_C_TYPE_DATE, SQL_TYPE_DATE, {{{"abcde"}, "HY090@1"}});
    check(SQL_C_TYPE_TIMESTAMP, SQL_TYPE_TIMESTAMP, {{{}, "null"}});
}
// clang-format on
