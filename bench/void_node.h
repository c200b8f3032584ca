// A server in a child process that prepares any statement and answers every execution at once with
// a result of no rows, so that a benchmark of inserts measures the client.
#ifndef BENCH_VOID_NODE_H
#define BENCH_VOID_NODE_H

#include <cstdint>

#include "bench/child_node.h"

// What the server has received of EXECUTE frames, headers included. Two clients that sent the same
// frames left the same figures.
struct void_totals {
    std::int64_t requests;
    std::int64_t bytes;
    std::uint64_t sum;
};

struct void_node {
    pid_t process;
    int port;                   // of 127.0.0.1
    const void_totals *totals;  // shared with the child
};

// Forks the server; lz4 is offered and in force, or not offered. Ends the program when it cannot.
void_node void_start(bool lz4);
void void_stop(const void_node &node);

#endif
