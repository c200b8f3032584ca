// The scripted server itself, seen from a bare socket: what it answers, what it complains of, and
// how it breaks off.
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "tests/node/node.h"

static int call(const scripted_node *node)
{
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(node_port(node)));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const int client = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    EXPECT_EQ(connect(client, reinterpret_cast<sockaddr *>(&address), sizeof address), 0);
    return client;
}

static void say(int client, int opcode, const bytes &body, int flags = 0)
{
    const node_frame frame = {.opcode = opcode, .body = body, .version = 4, .flags = flags};
    const bytes wire = frame_on_wire(frame, false, 0);
    EXPECT_EQ(send(client, wire.data(), wire.size(), MSG_NOSIGNAL),
              static_cast<ssize_t>(wire.size()));
}

// What comes until `count` bytes are there or the server ends the connection.
static bytes hear(int client, std::size_t count)
{
    bytes all;
    char buffer[256];
    while (all.size() < count) {
        const ssize_t got = recv(client, buffer, std::min(sizeof buffer, count - all.size()), 0);
        if (got <= 0)
            break;
        all.append(buffer, static_cast<std::size_t>(got));
    }
    return all;
}

TEST(node, answers_by_the_script_and_complains_of_the_rest)
{
    const node_ptr node = node_start();
    node_expect(node.get(), {.opcode = NODE_OPTIONS, .body = "", .replies = {ready_frame()}});
    expect_query(node.get(), "right", {void_frame()});
    expect_query(node.get(), "never", {void_frame()});
    const int client = call(node.get());
    say(client, NODE_OPTIONS, "");
    EXPECT_EQ(to_hex(hear(client, 9)), "840000000200000000");
    say(client, NODE_QUERY, query_body("wrong"));
    EXPECT_EQ(hear(client, 9)[4], NODE_ERROR);
    close(client);
    ASSERT_EQ(node_requests(node.get()).size(), 2u);
    EXPECT_EQ(node_requests(node.get())[1].body, query_body("wrong"));
    const std::string complaints = node_finish(node.get());
    for (const char *part : {"right", "wrong", "never came: QUERY (7)", "step 2"})
        EXPECT_NE(complaints.find(part), std::string::npos) << complaints;
}

TEST(node, compression_begins_behind_startup_and_is_checked)
{
    const bytes sql = query_body(pattern(300));
    for (const bool compressed : {true, false}) {
        const node_ptr node = node_start();
        node_expect(node.get(), {.body = startup_body(true), .replies = {ready_frame()}});
        node_expect(node.get(), {.body = sql, .replies = {error_frame(1, pattern(200))}});
        const int client = call(node.get());
        say(client, NODE_STARTUP, startup_body(true));
        hear(client, 9);
        say(client, NODE_QUERY, compressed ? lz4_body(sql) : sql, compressed ? 1 : 0);
        const bytes header = hear(client, 9);
        EXPECT_EQ(header[1], 1);
        const bytes body = hear(client, static_cast<unsigned char>(header[8]));
        EXPECT_EQ(lz4_restore(body), be32(1) + wire_string(pattern(200)));
        close(client);
        const std::string complaints = node_finish(node.get());
        EXPECT_EQ(complaints.find("expected version 4, flags 1") != std::string::npos, !compressed)
            << complaints;
    }
}

TEST(node, reply_breaks_off_where_it_is_told)
{
    const bytes whole = frame_on_wire(error_frame(1, "text"), false, 0);
    for (const node_ending ending : {CLOSE, RESET}) {
        for (std::size_t cut = 0; cut <= whole.size(); cut++) {
            const node_ptr node = node_start();
            node_expect(node.get(), {.replies = {cut_off(error_frame(1, "text"), cut, ending)}});
            const int client = call(node.get());
            say(client, NODE_OPTIONS, "");
            EXPECT_EQ(hear(client, 1000), whole.substr(0, cut));
            close(client);
            EXPECT_EQ(node_finish(node.get()), "");
        }
    }
}

TEST(node, silence_ends_with_the_deadline)
{
    const node_ptr node = node_start({.deadline_ms = 100});
    node_expect(node.get(), {.opcode = NODE_OPTIONS});
    const int client = call(node.get());
    say(client, NODE_OPTIONS, "");
    EXPECT_EQ(hear(client, 1), "");
    close(client);
    EXPECT_NE(node_finish(node.get()).find("deadline"), std::string::npos);
}
