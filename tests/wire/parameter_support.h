// What the tests of parameters share: the two ways of executing a text with values, and the bodies
// of the requests that carry them.
#ifndef TESTS_WIRE_PARAMETER_SUPPORT_H
#define TESTS_WIRE_PARAMETER_SUPPORT_H

#include "tests/app_value.h"
#include "tests/wire/wire_support.h"

inline constexpr char INSERT_ONE[] = "insert into t (a) values (?)";
inline constexpr char INSERT_TWO[] = "insert into t (a, b) values (?, ?)";

inline void prepare_now(const wire_ptr &wire, std::string_view sql)
{
    expect_prepare(wire->node, sql, {prepared_frame("ID", {}, {})});
    EXPECT_STMT(SQL_SUCCESS, wire->stmt, prepare(wire->stmt, bytes(sql)));
}

inline SQLRETURN execute(const wire_ptr &wire, bool prepared, std::string_view sql)
{
    return prepared ? SQLExecute(wire->stmt) : exec(wire->stmt, bytes(sql));
}

inline bytes int_value(int value)
{
    return wire_bytes(be32(static_cast<std::uint32_t>(value)));
}

// The value count and the values, each with its length in front.
inline bytes counted(const std::vector<bytes> &values)
{
    bytes body = be16(values.size());
    for (const bytes &value : values)
        body += value;
    return body;
}

// The request of an execution, or with a paging state that for a further page. Flags: 1 with
// values, 4 with a page size, 8 with a state.
inline void expect_values(const wire_ptr &wire, bool prepared, std::string_view sql,
                          const bytes &values, node_frame reply = void_frame(),
                          std::string_view paging_state = {}, std::string_view id = "ID")
{
    const bytes head = prepared ? wire_short_bytes(id) : wire_long_string(sql);
    const bool first = paging_state.empty();
    const bytes page = be32(100) + (first ? "" : wire_long_string(paging_state));
    node_expect(wire->node,
                {.opcode = prepared ? NODE_EXECUTE : NODE_QUERY,
                 .body = head + be16(CONSISTENCY_ONE) +
                         be8((values.empty() ? 4 : 5) | (first ? 0 : 8)) + values + page,
                 .replies = {std::move(reply)}});
}

// ---- Arrays -------------------------------------------------------------------------------------

inline constexpr SQLUSMALLINT untouched = 0x7777;
inline constexpr SQLULEN unknown_count = 0x5555555555555555;

// An application's arrays for two parameters, a number and a text of one character, and where the
// driver tells what became of the sets.
struct parameter_sets {
    std::vector<SQLINTEGER> numbers;
    bytes texts;
    std::vector<SQLLEN> lengths;
    std::vector<bytes> values;  // what each set must look like in a frame
    SQLULEN processed = unknown_count;
    std::vector<SQLUSMALLINT> status;
};

inline std::unique_ptr<parameter_sets> bind_sets(SQLHSTMT stmt, const bytes &texts,
                                                 SQLSMALLINT text_type = SQL_VARCHAR)
{
    auto sets = std::make_unique<parameter_sets>();
    sets->texts = texts;
    for (const char text : texts) {
        sets->numbers.push_back(text * 3);
        sets->lengths.push_back(1);
        sets->values.push_back(counted({int_value(text * 3), wire_bytes(bytes{text})}));
        sets->status.push_back(untouched);
    }
    bind(stmt, 1, SQL_C_SLONG, SQL_INTEGER, sets->numbers.data());
    bind(stmt, 2, SQL_C_CHAR, text_type, sets->texts.data(), sets->lengths.data(), 1);
    SQLSetStmtAttr(stmt, SQL_ATTR_PARAMSET_SIZE, odbc_number(texts.size()), 0);
    SQLSetStmtAttr(stmt, SQL_ATTR_PARAMS_PROCESSED_PTR, &sets->processed, 0);
    SQLSetStmtAttr(stmt, SQL_ATTR_PARAM_STATUS_PTR, sets->status.data(), 0);
    return sets;
}

#endif
