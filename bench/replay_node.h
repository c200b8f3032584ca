// A server in a child process that replays prepared pages, so that a benchmark measures the client.
#ifndef BENCH_REPLAY_NODE_H
#define BENCH_REPLAY_NODE_H

#include <cstdint>

#include "bench/child_node.h"

using replay_node = child_node;

// Forks a server that answers every statement with `rows` mixed rows in pages of 100, with lz4
// offered and in force, or not offered. Ends the program when it cannot.
replay_node replay_start(std::int64_t rows, bool lz4);
inline void replay_stop(const replay_node &node)
{
    child_stop(node);
}

#endif
