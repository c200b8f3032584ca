// Calls that write a text or a number into the application's memory, with any identifier and any
// length: nothing behind the memory is touched, and a short buffer gets the beginning of what a
// large one gets, and is told the same length.
#include "fuzz/fuzz.h"
#include "tests/unit/handles.h"

struct arguments {
    SQLUSMALLINT id, number;
    std::string name;  // of input texts
    // The application's memory, of so many bytes, and where the length is told.
    void *to = nullptr;
    SQLINTEGER bytes = 0;
    SQLSMALLINT small = -7;
    SQLINTEGER large = -7;

    SQLCHAR *ansi() const { return static_cast<SQLCHAR *>(to); }
    SQLWCHAR *wide() const { return static_cast<SQLWCHAR *>(to); }
    SQLSMALLINT room() const { return static_cast<SQLSMALLINT>(bytes); }
    SQLSMALLINT units() const { return static_cast<SQLSMALLINT>(bytes / 2); }
    SQLSMALLINT record() const { return static_cast<SQLSMALLINT>(number % 6); }
    SQLUSMALLINT column() const { return number % 6; }
    SQLSMALLINT field() const { return static_cast<SQLSMALLINT>(id); }
};

struct call_row {
    const char *name;
    int unit;  // bytes of the unit in which the length is told
    SQLRETURN (*call)(const session &s, arguments &a);
};

#define CALL(unit, name, ...)                                                                      \
    {                                                                                              \
#name, unit, [](const session &s, arguments &a) -> SQLRETURN { return name(__VA_ARGS__); } \
    }

constexpr SQLSMALLINT of_stmt = SQL_HANDLE_STMT;

// clang-format off
static const call_row rows[] = {
    CALL(1, SQLGetInfo, s.conn, a.id, a.to, a.room(), &a.small),
    CALL(1, SQLGetInfoW, s.conn, a.id, a.to, a.room(), &a.small),
    CALL(1, SQLGetConnectAttr, s.conn, a.id, a.to, a.bytes, &a.large),
    CALL(1, SQLGetConnectAttrW, s.conn, a.id, a.to, a.bytes, &a.large),
    CALL(1, SQLGetStmtAttr, s.stmt, a.id, a.to, a.bytes, &a.large),
    CALL(1, SQLGetStmtAttrW, s.stmt, a.id, a.to, a.bytes, &a.large),
    CALL(1, SQLGetEnvAttr, s.env, a.id, a.to, a.bytes, &a.large),
    CALL(1, SQLGetDescField, s.stmt->ird, a.record(), a.field(), a.to, a.bytes, &a.large),
    CALL(1, SQLGetDescFieldW, s.stmt->ird, a.record(), a.field(), a.to, a.bytes, &a.large),
    CALL(1, SQLGetDescField, s.stmt->ard, a.record(), a.field(), a.to, a.bytes, &a.large),
    CALL(1, SQLGetDiagField, of_stmt, s.stmt, a.record(), a.field(), a.to, a.room(), &a.small),
    CALL(1, SQLGetDiagFieldW, of_stmt, s.stmt, a.record(), a.field(), a.to, a.room(), &a.small),
    CALL(1, SQLGetDiagRec, of_stmt, s.stmt, a.record(), nullptr, nullptr, a.ansi(), a.room(), &a.small),
    CALL(2, SQLGetDiagRecW, of_stmt, s.stmt, a.record(), nullptr, nullptr, a.wide(), a.units(), &a.small),
    CALL(1, SQLColAttribute, s.stmt, a.column(), a.id, a.to, a.room(), &a.small, nullptr),
    CALL(1, SQLColAttributeW, s.stmt, a.column(), a.id, a.to, a.room(), &a.small, nullptr),
    CALL(1, SQLDescribeCol, s.stmt, a.column(), a.ansi(), a.room(), &a.small, nullptr, nullptr, nullptr, nullptr),
    CALL(2, SQLDescribeColW, s.stmt, a.column(), a.wide(), a.units(), &a.small, nullptr, nullptr, nullptr, nullptr),
    CALL(1, SQLGetCursorName, s.stmt, a.ansi(), a.room(), &a.small),
    CALL(2, SQLGetCursorNameW, s.stmt, a.wide(), a.units(), &a.small),
    CALL(1, SQLNativeSql, s.conn, odbc_text(a.name), static_cast<SQLINTEGER>(a.name.size()), a.ansi(), a.bytes, &a.large),
};
// clang-format on

struct told_text {
    SQLRETURN code;
    std::int64_t length;
    std::string text;  // what the memory holds then
};

static told_text ask(const session &s, const call_row &row, arguments a, SQLINTEGER bytes)
{
    // A number fits into eight bytes, whatever length is told.
    const auto room = static_cast<std::size_t>(std::max(bytes, 8));
    char *memory = fuzz_memory(room);
    a.to = memory;
    a.bytes = bytes;
    const SQLRETURN code = row.call(s, a);
    return {code, row.unit * (a.small == -7 ? a.large : a.small), std::string(memory, room)};
}

static void describe(const session &s)
{
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
    const session s(false);
    s.conn->conduct = fuzz_number(&in) % 2 != 0 ? &standard_conduct : &default_conduct;
    describe(s);
    const call_row &row = fuzz_choice(&in, rows);
    arguments given = {static_cast<SQLUSMALLINT>(fuzz_number(&in, 2)),
                       static_cast<SQLUSMALLINT>(fuzz_number(&in)), ""};
    const auto bytes = static_cast<SQLINTEGER>(fuzz_number(&in, 2) % 0x8000) - 4;
    given.name = fuzz_rest(&in);
    SQLSetCursorName(s.stmt, odbc_text(given.name), static_cast<SQLSMALLINT>(given.name.size()));

    const told_text part = ask(s, row, given, bytes);
    if (std::strstr(row.name, "Diag") == nullptr)
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
