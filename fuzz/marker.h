// Conducts, and types and markers from the bytes of an input.
#ifndef FUZZ_MARKER_H
#define FUZZ_MARKER_H

#include "core/session/cass_settings.h"
#include "core/statement/cass_pkt_exchange.h"
#include "core/statement/cass_pkt_result.h"
#include "tests/unit/handles.h"

inline void follow(const session &s, bool standard)
{
    s.conn->settings.standard = standard;
    cass_choose_conduct(s.conn);
}

// The specification of a column of the type.
inline std::string column_of(const std::string &option)
{
    return str("k") + str("t") + str("c") + option;
}

// The type that the bytes are; null for any others.
inline held_option type_of(const session &s, const std::string &option)
{
    const held_packet packet(packet_of(s.stmt, OPCODE_RESULT, option));
    std::int32_t types;
    held_option tree(decode_type_option(packet.get(), &types));
    if (packet->ran_short != 0 || pkt_remaining(packet.get()) != 0)
        tree.reset();
    return tree;
}

inline void take(const session &s, const std::string &body)
{
    const held_packet packet(packet_of(s.stmt, OPCODE_RESULT, body));
    cass_take_result(s.stmt, packet.get());
}

// The statement is a prepared one with a marker of the type.
inline void prepare_marker(const session &s, const std::string &option)
{
    take(s, be32(KIND_PREPARED) + str("id") + be32(1) + be32(1) + be32(0) + column_of(option) +
                be32(4) + be32(0));
    s.stmt->prepared = 1;
}

#endif
