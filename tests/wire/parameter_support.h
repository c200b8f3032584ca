// What the tests of parameters share: application memory that ends where its bytes end, bindings in
// one line, and the bodies of requests that carry values.
#ifndef TESTS_WIRE_PARAMETER_SUPPORT_H
#define TESTS_WIRE_PARAMETER_SUPPORT_H

#include <cstring>

#include "tests/wire/wire_support.h"

constexpr SQLLEN no_indicator = -77;  // bound without an indicator pointer

// Memory of exactly these bytes, on an odd address. The sanitizers see a read on either side.
struct exact_memory {
    std::unique_ptr<char[]> block;
    char *at;
};

inline exact_memory exactly(const bytes &content)
{
    exact_memory memory = {std::unique_ptr<char[]>(new char[content.size() + 1]), nullptr};
    memory.at = memory.block.get() + 1;
    std::memcpy(memory.at, content.data(), content.size());
    return memory;
}

inline SQLLEN *lengths_at(const exact_memory &memory)
{
    return static_cast<SQLLEN *>(static_cast<void *>(memory.at));
}

template <typename Value>
bytes image(const Value &value)
{
    return {reinterpret_cast<const char *>(&value), sizeof value};
}

inline SQLPOINTER number_value(SQLULEN value)
{
    return reinterpret_cast<SQLPOINTER>(value);
}

inline void bind(SQLHSTMT stmt, int number, int c_type, int sql_type, void *data, SQLLEN *indicator,
                 SQLLEN buffer_length = 0, SQLULEN size = 10, int digits = 0)
{
    EXPECT_STMT(SQL_SUCCESS, stmt,
                SQLBindParameter(stmt, static_cast<SQLUSMALLINT>(number), SQL_PARAM_INPUT,
                                 static_cast<SQLSMALLINT>(c_type),
                                 static_cast<SQLSMALLINT>(sql_type), size,
                                 static_cast<SQLSMALLINT>(digits), data, buffer_length, indicator));
}

// ---- Bodies of requests ------------------------------------------------------------------------

using wire_values = std::vector<bytes>;  // each with its length in front

inline bytes int_value(int value)
{
    return wire_bytes(be32(static_cast<std::uint32_t>(value)));
}

// The value count and the values. `markers` where it is not their number.
inline bytes counted(const wire_values &values, int markers = -1)
{
    bytes body = be16(markers < 0 ? values.size() : static_cast<std::size_t>(markers));
    for (const bytes &value : values)
        body += value;
    return body;
}

// Behind the text or the id: flags 5 of a first page, 13 of a further one.
inline bytes bound_tail(const bytes &values)
{
    return be16(CONSISTENCY_ONE) + be8(5) + values + be32(100);
}
inline bytes next_bound_tail(const bytes &values, std::string_view paging_state)
{
    return be16(CONSISTENCY_ONE) + be8(13) + values + be32(100) + wire_long_string(paging_state);
}

inline void expect_bound_query(scripted_node *node, std::string_view sql, const bytes &values,
                               std::vector<node_frame> replies)
{
    node_expect(node, {.opcode = NODE_QUERY,
                       .body = wire_long_string(sql) + bound_tail(values),
                       .replies = std::move(replies)});
}
inline void expect_bound_execute(scripted_node *node, std::string_view id, const bytes &values,
                                 std::vector<node_frame> replies)
{
    node_expect(node, {.opcode = NODE_EXECUTE,
                       .body = wire_short_bytes(id) + bound_tail(values),
                       .replies = std::move(replies)});
}

#endif
