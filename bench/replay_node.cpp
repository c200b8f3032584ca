// The replaying server: pages are encoded before the first connection, and a request costs it one
// read, a look at the paging flag, and one write.
#include "bench/replay_node.h"

#include <algorithm>

#include "bench/mixed_rows.h"
#include "tests/node/frames.h"
#include "tests/node/node.h"

static constexpr int PAGE_KINDS = 16;  // different pages, sent in turn
static constexpr int FLAG_PAGING_STATE = 0x08;
static constexpr std::size_t HEADER_SIZE = 9;
static constexpr std::size_t LARGEST_REQUEST = 1 << 20;
static constexpr char PREPARED_ID[] = "mixed rows";

struct replay_pages {
    std::int64_t count;        // pages of the result
    std::vector<bytes> inner;  // frames with a paging state
    bytes last;
};

static bytes page_frame(std::int64_t first, std::int64_t rows, bool more, bool lz4)
{
    std::vector<node_row> list;
    for (std::int64_t i = 0; i < rows; i++)
        list.push_back(mixed_row(first + i));
    const node_metadata options = {.paging_state = more ? pattern(24) : bytes()};
    return frame_on_wire(rows_frame(mixed_columns(), list, options), lz4, 0);
}

static replay_pages prepare_pages(std::int64_t rows, bool lz4)
{
    replay_pages pages = {};
    pages.count = std::max<std::int64_t>(1, (rows + MIXED_PAGE - 1) / MIXED_PAGE);
    const std::int64_t before = (pages.count - 1) * MIXED_PAGE;
    for (std::int64_t i = 0; i < std::min<std::int64_t>(PAGE_KINDS, pages.count - 1); i++)
        pages.inner.push_back(page_frame(i * MIXED_PAGE, MIXED_PAGE, true, lz4));
    pages.last = page_frame(before, rows - before, false, lz4);
    return pages;
}

// Flags of a QUERY or EXECUTE body: behind the text or id and the consistency.
static int request_flags(int opcode, std::string_view body)
{
    std::size_t length = 0;
    const std::size_t prefix = opcode == NODE_QUERY ? 4 : 2;
    for (const char c : body.substr(0, prefix))
        length = length << 8 | static_cast<unsigned char>(c);
    const std::size_t at = prefix + length + 2;
    return at < body.size() ? body[at] : 0;
}

static void serve(int client, const replay_pages &pages, bool offer_lz4)
{
    std::vector<char> buffer(LARGEST_REQUEST);
    bool lz4 = false;
    std::int64_t page = 0;
    for (;;) {
        const std::string_view frame = child_receive(client, &buffer);
        if (frame.empty())
            return;
        bytes body(frame.substr(HEADER_SIZE));
        if (frame[1] & 1)
            body = lz4_restore(body).value_or("");
        node_frame reply = ready_frame();
        switch (frame[4]) {
        case NODE_OPTIONS:
            reply = stock_supported(offer_lz4);
            break;
        case NODE_STARTUP:
            lz4 = offer_lz4 && body.find("lz4") != bytes::npos;
            break;
        case NODE_PREPARE:
            reply = prepared_frame(PREPARED_ID, {}, mixed_columns());
            break;
        default: {
            page = request_flags(frame[4], body) & FLAG_PAGING_STATE ? page + 1 : 0;
            const bool more = page + 1 < pages.count;
            const std::size_t kind = static_cast<std::size_t>(page) % PAGE_KINDS;
            if (!child_send(client, more ? pages.inner[kind] : pages.last))
                return;
            continue;
        }
        }
        if (!child_send(client, frame_on_wire(reply, lz4, 0)))
            return;
    }
}

replay_node replay_start(std::int64_t rows, bool lz4)
{
    return child_start([=](int listener) {
        const replay_pages pages = prepare_pages(rows, lz4);
        child_serve(listener, [&](int client) { serve(client, pages, lz4); });
    });
}
