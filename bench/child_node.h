// A server of a benchmark in a child process of its own, so that its work is not counted as the
// client's: listening, forking, one connection after another, whole frames in and out.
#ifndef BENCH_CHILD_NODE_H
#define BENCH_CHILD_NODE_H

#include <sys/types.h>

#include <functional>
#include <string_view>
#include <vector>

struct child_node {
    pid_t process;
    int port;  // of 127.0.0.1
};

// Listens and forks; `run` serves in the child and does not return. Ends the program when it
// cannot.
child_node child_start(const std::function<void(int listener)> &run);
void child_stop(const child_node &node);

// Accepts clients and serves them one by one. Does not return.
void child_serve(int listener, const std::function<void(int client)> &serve);
// One whole frame from the start of the buffer, which is as large as frames can be; empty when the
// client has gone. One request is in flight at a time, so that a receive usually has a whole one.
std::string_view child_receive(int client, std::vector<char> *buffer);
bool child_send(int client, std::string_view data);

#endif
