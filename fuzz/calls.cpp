// Calls that write a text or a number into the application's memory, with any identifier and any
// length: nothing behind the memory is touched, and a short buffer gets the beginning of what a
// large one gets, and is told the same length.
#include "fuzz/fuzz.h"
#include "tests/unit/handles.h"

struct told_text {
    SQLRETURN code;
    std::int64_t length;
    std::string text;  // what the memory holds then
};

struct arguments {
    std::uint16_t id, number;
    std::string name;  // of input texts
};

// A call with the application's memory of so many bytes, and what it told.
using text_call = std::function<SQLRETURN(session &s, const arguments &given, void *to,
                                          SQLINTEGER bytes, SQLSMALLINT *small, SQLINTEGER *large)>;

#define CALL(...)                                                                                  \
    [](session &s, [[maybe_unused]] const arguments &given, [[maybe_unused]] void *to,             \
       [[maybe_unused]] SQLINTEGER bytes, [[maybe_unused]] SQLSMALLINT *small,                     \
       [[maybe_unused]] SQLINTEGER *large) -> SQLRETURN { return __VA_ARGS__; }

static SQLCHAR *ansi(void *to)
{
    return static_cast<SQLCHAR *>(to);
}
static SQLWCHAR *wide(void *to)
{
    return static_cast<SQLWCHAR *>(to);
}
static SQLSMALLINT cut(SQLINTEGER bytes)
{
    return static_cast<SQLSMALLINT>(bytes);
}
static SQLSMALLINT record(const arguments &given)
{
    return static_cast<SQLSMALLINT>(given.number % 6);
}

struct call_row {
    const char *name;
    int unit;  // bytes of the unit in which the length is told
    text_call call;
};

// clang-format off
static const call_row rows[] = {
    {"SQLGetInfo", 1, CALL(SQLGetInfo(s.conn, given.id, to, cut(bytes), small))},
    {"SQLGetInfoW", 1, CALL(SQLGetInfoW(s.conn, given.id, to, cut(bytes), small))},
    {"SQLGetConnectAttr", 1, CALL(SQLGetConnectAttr(s.conn, given.id, to, bytes, large))},
    {"SQLGetConnectAttrW", 1, CALL(SQLGetConnectAttrW(s.conn, given.id, to, bytes, large))},
    {"SQLGetStmtAttr", 1, CALL(SQLGetStmtAttr(s.stmt, given.id, to, bytes, large))},
    {"SQLGetStmtAttrW", 1, CALL(SQLGetStmtAttrW(s.stmt, given.id, to, bytes, large))},
    {"SQLGetEnvAttr", 1, CALL(SQLGetEnvAttr(s.env, given.id, to, bytes, large))},
    {"SQLGetDescField", 1, CALL(SQLGetDescField(s.stmt->ird, record(given), cut(given.id), to, bytes, large))},
    {"SQLGetDescFieldW", 1, CALL(SQLGetDescFieldW(s.stmt->ird, record(given), cut(given.id), to, bytes, large))},
    {"SQLGetDescField ARD", 1, CALL(SQLGetDescField(s.stmt->ard, record(given), cut(given.id), to, bytes, large))},
    {"SQLGetDiagField", 1, CALL(SQLGetDiagField(SQL_HANDLE_STMT, s.stmt, record(given), cut(given.id), to, cut(bytes), small))},
    {"SQLGetDiagFieldW", 1, CALL(SQLGetDiagFieldW(SQL_HANDLE_STMT, s.stmt, record(given), cut(given.id), to, cut(bytes), small))},
    {"SQLGetDiagRec", 1, CALL(SQLGetDiagRec(SQL_HANDLE_STMT, s.stmt, record(given), nullptr, nullptr, ansi(to), cut(bytes), small))},
    {"SQLGetDiagRecW", 2, CALL(SQLGetDiagRecW(SQL_HANDLE_STMT, s.stmt, record(given), nullptr, nullptr, wide(to), cut(bytes / 2), small))},
    {"SQLColAttribute", 1, CALL(SQLColAttribute(s.stmt, given.number % 6, given.id, to, cut(bytes), small, nullptr))},
    {"SQLColAttributeW", 1, CALL(SQLColAttributeW(s.stmt, given.number % 6, given.id, to, cut(bytes), small, nullptr))},
    {"SQLDescribeCol", 1, CALL(SQLDescribeCol(s.stmt, given.number % 6, ansi(to), cut(bytes), small, nullptr, nullptr, nullptr, nullptr))},
    {"SQLDescribeColW", 2, CALL(SQLDescribeColW(s.stmt, given.number % 6, wide(to), cut(bytes / 2), small, nullptr, nullptr, nullptr, nullptr))},
    {"SQLGetCursorName", 1, CALL(SQLGetCursorName(s.stmt, ansi(to), cut(bytes), small))},
    {"SQLGetCursorNameW", 2, CALL(SQLGetCursorNameW(s.stmt, wide(to), cut(bytes / 2), small))},
    {"SQLNativeSql", 1, CALL(SQLNativeSql(s.conn, odbc_text(given.name), static_cast<SQLINTEGER>(given.name.size()), ansi(to), bytes, large))},
};
// clang-format on

static told_text ask(session &s, const call_row &row, const arguments &given, SQLINTEGER bytes)
{
    // A number fits into eight bytes, whatever length is told.
    const auto room = static_cast<std::size_t>(std::max(bytes, 8));
    char *to = fuzz_memory(room);
    SQLSMALLINT small = -7;
    SQLINTEGER large = -7;
    told_text told = {};
    told.code = row.call(s, given, to, bytes, &small, &large);
    told.length = row.unit * (small == -7 ? large : small);
    told.text.assign(to, room);
    return told;
}

static void describe(session &s, bool standard)
{
    s.conn->conduct = standard ? &standard_conduct : &default_conduct;
    cass_desc_describe(s.stmt->ird, 2);
    for (const auto &[index, name] : {std::pair(0, "plain"), {1, "caf\xC3\xA9 \xF0\x9F\x98\x80"}}) {
        cass_type_option option = {};
        option.option_id = index == 0 ? CQL_INT : CQL_VARCHAR;
        const owned_string column = own(cass_string_from_cstr(name));
        cass_field_from_option(s.stmt, s.stmt->ird, index, column.get(), column.get(), column.get(),
                               &option);
    }
    s.stmt->executed = 1;
}

void fuzz_one(fuzz_input in)
{
    session s(false);
    describe(s, fuzz_number(&in) % 2 != 0);
    const call_row &row = fuzz_choice(&in, rows);
    arguments given = {};
    given.id = static_cast<std::uint16_t>(fuzz_number(&in, 2));
    given.number = static_cast<std::uint16_t>(fuzz_number(&in));
    const auto bytes = static_cast<SQLINTEGER>(fuzz_number(&in, 2) % 0x8000) - 4;
    given.name = fuzz_rest(&in);
    SQLSetCursorName(s.stmt, odbc_text(given.name), static_cast<SQLSMALLINT>(given.name.size()));
    const bool of_diagnostics = std::strstr(row.name, "Diag") != nullptr;

    const told_text part = ask(s, row, given, bytes);
    if (!of_diagnostics)
        cass_diag_clear(&s.stmt->head);
    const told_text whole = ask(s, row, given, 30000);
    if (!SQL_SUCCEEDED(part.code) || whole.code != SQL_SUCCESS)
        return;
    EXPECT_EQ(part.length, whole.length) << row.name << " " << given.id;
    // By default lengths are told in characters, and always those of text that is no UTF-8.
    const bool told_in_bytes = s.conn->conduct == &standard_conduct &&
                               std::ranges::none_of(given.name, [](char c) { return c < 0; });
    EXPECT_TRUE(part.code == SQL_SUCCESS || part.length >= bytes - 4 || !told_in_bytes)
        << row.name << " " << given.id;
    // Up to the terminator, which a cut text has too.
    const auto same = static_cast<std::size_t>(
        std::clamp<std::int64_t>(std::min<std::int64_t>(part.length, bytes - 4), 0, 30000));
    EXPECT_EQ(part.text.substr(0, same), whole.text.substr(0, same)) << row.name << " " << given.id;
}
