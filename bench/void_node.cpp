// The server behind the benchmark of inserts: an answer costs one send of a frame made beforehand.
#include "bench/void_node.h"

#include <sys/mman.h>

#include <algorithm>
#include <bit>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "bench/mixed_rows.h"
#include "tests/node/frames.h"
#include "tests/node/node.h"

static constexpr std::size_t LARGEST_FRAME = 1 << 20;
static constexpr char PREPARED_ID[] = "insert of 8 vals";  // as long as a real server's

static void add_to_totals(void_totals *totals, std::string_view frame)
{
    for (std::size_t at = 0; at < frame.size(); at += sizeof(std::uint64_t)) {
        std::uint64_t word = 0;
        std::memcpy(&word, frame.data() + at, std::min(sizeof word, frame.size() - at));
        totals->sum = std::rotl(totals->sum, 7) + word;
    }
    totals->requests++;
    totals->bytes += static_cast<std::int64_t>(frame.size());
}

static void serve(int client, bool offer_lz4, void_totals *totals)
{
    std::vector<char> buffer(LARGEST_FRAME);
    bool lz4 = false;
    bytes answer = frame_on_wire(void_frame(), lz4, 0);
    for (;;) {
        const std::string_view frame = child_receive(client, &buffer);
        if (frame.empty())
            return;
        bytes reply;
        switch (frame[4]) {
        case NODE_OPTIONS:
            reply = frame_on_wire(stock_supported(offer_lz4), lz4, 0);
            break;
        case NODE_STARTUP:
            reply = frame_on_wire(ready_frame(), lz4, 0);
            lz4 = offer_lz4 && frame.find("lz4") != frame.npos;
            answer = frame_on_wire(void_frame(), lz4, 0);
            break;
        case NODE_PREPARE:
            reply = frame_on_wire(prepared_frame(PREPARED_ID, mixed_columns(), {}), lz4, 0);
            break;
        case NODE_EXECUTE:
            add_to_totals(totals, frame);
            break;
        default:
            break;
        }
        if (!child_send(client, reply.empty() ? answer : reply))
            return;
    }
}

void_node void_start(bool lz4)
{
    void *const shared = mmap(nullptr, sizeof(void_totals), PROT_READ | PROT_WRITE,
                              MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (shared == MAP_FAILED) {
        std::perror("answering server");
        std::exit(1);
    }
    auto *const totals = static_cast<void_totals *>(shared);
    const child_node child = child_start([=](int listener) {
        child_serve(listener, [=](int client) { serve(client, lz4, totals); });
    });
    return {.process = child.process, .port = child.port, .totals = totals};
}

void void_stop(const void_node &node)
{
    child_stop({.process = node.process, .port = node.port});
}
