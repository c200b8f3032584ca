// A server in a child process that replays prepared pages, so that a benchmark measures the client.
#ifndef BENCH_REPLAY_NODE_H
#define BENCH_REPLAY_NODE_H

#include <sys/types.h>

#include <cstdint>

struct replay_node {
    pid_t process;
    int port;  // of 127.0.0.1
};

// Forks a server that answers every statement with `rows` mixed rows in pages of 100, with lz4
// offered and in force, or not offered. Ends the program when it cannot.
replay_node replay_start(std::int64_t rows, bool lz4);
void replay_stop(const replay_node &node);

#endif
