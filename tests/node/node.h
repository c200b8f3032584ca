// A scripted server: it listens on a loopback port of the system's choice, runs in a thread of the
// test's process, and works through a list of steps, each a request that must come and the frames
// that answer it. Whatever the driver sends beside the script is a complaint, which the test reads
// at its end; so is a step that nobody asked for, and a request whose version is not 4, whose
// stream is not the one told, or that is not compressed exactly as negotiated. Complaints show both
// sides.
//
//     const node_ptr node = node_start();
//     expect_logon(node.get());
//     expect_query(node.get(), "select a from t",
//                  {rows_frame({{"a", type_of(NODE_INT)}}, {{be32(7)}})});
//     ... drive the library ...
//     EXPECT_EQ(node_finish(node.get()), "");
//
// All connections share the one script, in the order in which requests arrive. When nothing comes
// for 20 seconds, every connection is reset, so that no call of the driver waits on.
#ifndef TESTS_NODE_NODE_H
#define TESTS_NODE_NODE_H

#include <functional>
#include <memory>

#include "tests/node/frames.h"

// One frame that the driver sent.
struct node_request {
    int version;
    int flags;
    int stream;
    int opcode;
    bytes body;  // uncompressed
};

struct node_step {
    int opcode;
    bytes body;
    std::vector<node_frame> replies;  // none: silence
};

struct scripted_node;

// Stops the server if it still runs. Null is accepted.
void node_free(scripted_node *node);
using node_ptr = std::unique_ptr<scripted_node, void (*)(scripted_node *)>;

// A listening server with an empty script. Never null: a test that cannot listen ends here.
node_ptr node_start();
int node_port(const scripted_node *node);
// "127.0.0.1:port".
std::string node_address(const scripted_node *node);

// Adds a step to the script, also while the server is at work.
void node_expect(scripted_node *node, node_step step);
// The stream number of requests from now on, or ANY_STREAM; 0 until then.
constexpr int ANY_STREAM = -1;
void node_expect_stream(scripted_node *node, int stream);
// Answers requests that come when the script is at its end; without it they are complaints and get
// an ERROR frame.
using node_responder = std::function<std::vector<node_frame>(const node_request &)>;
void node_answer_rest(scripted_node *node, node_responder responder);

// From the next connection on the server speaks TLS and nothing else.
struct node_tls {
    bytes chain;                // PEM: the server's certificate, and behind it what goes with it
    bytes key;                  // PEM
    int version = 0x0303;       // the only one it speaks: 0x0302 is TLS 1.1, 0x0304 TLS 1.3
    bytes client_issuers = {};  // PEM: a client certificate by one of these is demanded
    // The answer to a GET in place of a request, behind which the connection ends.
    bytes http = {};
};
void node_use_tls(scripted_node *node, node_tls tls);
// The server names that clients have asked for over TLS, one for each connection.
std::vector<bytes> node_tls_names(scripted_node *node);
// The last GET, to the end of its headers.
bytes node_http_request(scripted_node *node);

// Stops the server. All complaints in lines, empty when everything went by the script.
std::string node_finish(scripted_node *node);

// ---- Steps of every day -------------------------------------------------------------------------

struct node_logon {
    bool lz4 = false;  // offered
};
// OPTIONS and STARTUP, byte for byte, both answered well.
void expect_logon(scripted_node *node, const node_logon &logon = {});
// SUPPORTED as a server of today gives it.
node_frame stock_supported(bool lz4);
// To the requests of a logon what lets it pass, to all others a result of nothing.
node_frame stock_answer(const node_request &request, bool lz4 = false);

inline void expect_query(scripted_node *node, std::string_view sql, std::vector<node_frame> replies)
{
    node_expect(node, {NODE_QUERY, query_body(sql), std::move(replies)});
}
inline void expect_next_query(scripted_node *node, std::string_view sql,
                              std::string_view paging_state, std::vector<node_frame> replies)
{
    const bytes body = wire_long_string(sql) + page_tail(paging_state);
    node_expect(node, {NODE_QUERY, body, std::move(replies)});
}
inline void expect_prepare(scripted_node *node, std::string_view sql,
                           std::vector<node_frame> replies)
{
    node_expect(node, {NODE_PREPARE, wire_long_string(sql), std::move(replies)});
}

#endif
