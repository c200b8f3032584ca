// A statement that encodes parameters without a server, and what the values look like in the
// request.
#ifndef TESTS_UNIT_PARAMETER_RIG_H
#define TESTS_UNIT_PARAMETER_RIG_H

#include <vector>

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

#endif
