// A statement that encodes parameters without a server, and what the values look like in the
// request.
#ifndef TESTS_UNIT_PARAMETER_RIG_H
#define TESTS_UNIT_PARAMETER_RIG_H

#include <vector>

#include "core/describe/cass_field.h"
#include "core/parameter/cass_param.h"
#include "tests/app_value.h"
#include "tests/unit/handles.h"

// The values of the set in work behind their count, in hexadecimal, or the states of the failure.
inline std::string encode(session &s, std::int32_t markers = 1)
{
    s.stmt->found_param_count = markers;
    cass_diag_clear(&s.stmt->head);
    const held_packet packet(packet_of(s.stmt, OPCODE_QUERY, ""));
    if (cass_append_params(s.stmt, packet.get()) != 0)
        return states_of(s.stmt);
    EXPECT_EQ("", states_of(s.stmt));
    const auto *body = reinterpret_cast<const char *>(packet->body);
    const std::string bytes(body, static_cast<std::size_t>(packet->write_pos));
    EXPECT_EQ(be16(markers), bytes.substr(0, 2));
    return to_hex(bytes.substr(2));
}

// What encode() gives for a single value: "null", "none" at all, a state, or the value in
// hexadecimal, to which its length is added here.
inline std::string on_wire(const std::string &expected)
{
    if (expected.find('@') != expected.npos)
        return expected;
    if (expected == "none" || expected == "null")
        return expected == "none" ? "" : "ffffffff";
    return to_hex(be32(static_cast<std::int64_t>(expected.size() / 2))) + expected;
}

// The marker of a prepared statement, whose type the server tells.
inline cass_field &marker_of(session &s)
{
    s.conn->conduct = &standard_conduct;
    s.stmt->prepared = 1;
    EXPECT_EQ(cass_desc_describe(s.stmt->implicit_ipd, 1), 0);
    return s.stmt->implicit_ipd->fields[0];
}

// ---- Values and what becomes of them ------------------------------------------------------------

inline constexpr SQLLEN no_indicator = -7777, own_length = -8888;

struct sample {
    app_value from;
    std::string expected;           // as on_wire() takes it; blanks do not count
    SQLLEN indicator = own_length;  // of what has a length; the rest is bound without an indicator
    SQLLEN buffer_length = 0;
};

// Encodes one value that lies in a block of exactly its bytes, as does its indicator.
inline std::string encode_sample(session &s, SQLSMALLINT sql_type, const sample &one,
                                 SQLSMALLINT digits = 0, SQLULEN size = 38)
{
    const bool own = one.indicator == own_length;
    const bool told = own ? has_length(one.from) : one.indicator != no_indicator;
    const auto whole = static_cast<SQLLEN>(one.from.memory.size());
    const exact_block value(one.from.memory), length(image(own ? whole : one.indicator));
    bind(s.stmt, 1, one.from.c_type, sql_type, value.at, told ? lengths_at(length.at) : nullptr,
         one.buffer_length, size, digits);
    return encode(s);
}

inline void check(session &s, SQLSMALLINT sql_type, const std::vector<sample> &samples,
                  SQLSMALLINT digits = 0, SQLULEN size = 38)
{
    for (const sample &one : samples)
        EXPECT_EQ(on_wire(replaced(one.expected, " ", "")),
                  encode_sample(s, sql_type, one, digits, size))
            << one.from.c_type << " to " << sql_type << ": " << to_hex(one.from.memory) << ", "
            << one.indicator;
}

inline const SQLGUID guid = {1, 2, 3, {9, 10, 11, 12, 13, 14, 15, 0xFF}};
inline const SQL_DATE_STRUCT date = {1970, 1, 2};
inline const SQL_TIME_STRUCT time_of = {10, 11, 12};
inline const SQL_TIMESTAMP_STRUCT stamp = {2001, 2, 3, 4, 5, 6, 7},
                                  before = {1969, 12, 31, 23, 59, 59, 999999999};
inline constexpr char overflow[] = "22003@1", unreadable[] = "22018@1", restricted[] = "07006@1",
                      bad_length[] = "HY090@1";

inline app_value binary(const std::string &memory)
{
    return {SQL_C_BINARY, memory};
}

#endif
