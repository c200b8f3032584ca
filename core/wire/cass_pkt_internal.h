// What frames and their transfer share.
#ifndef CORE_WIRE_CASS_PKT_INTERNAL_H
#define CORE_WIRE_CASS_PKT_INTERNAL_H

#include "core/wire/cass_pkt.h"

constexpr std::int32_t BODY_LIMIT = INT32_MAX - FRAME_HEADER_SIZE;

// Puts a packet (null: none) into the connection's spare slot and gives the one that was there.
// Atomic: a fetch may release its page while another statement's exchange takes a block.
cass_packet *cass_packet_swap_spare(cass_conn *conn, cass_packet *packet);

#endif
