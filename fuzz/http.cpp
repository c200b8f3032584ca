// Replies of the metadata service: any bytes, and any body in both forms that HTTP has for it.
#include "core/session/cass_astra.h"
#include "fuzz/fuzz.h"
#include "tests/unit/handles.h"

// What the connection has learnt of a reply, or the failure's records.
static std::string told(const std::string &reply)
{
    session s;
    s.conn->settings.server = cass_string_from_cstr("db.example:1");
    say(s, reply);
    shutdown(s.peer, SHUT_WR);
    if (astra_comms(s.conn, "user", "password") != 0)
        return "failed: " + records(&s.conn->head);
    std::string all = text_of(s.conn->region) + " " + std::to_string(s.conn->round_robin_port);
    for (std::int32_t i = 0; i < s.conn->contact_count; i++)
        all += " " + text_of(s.conn->contact_points[i]);
    return all;
}

static std::string chunked(fuzz_input cuts, std::string body)
{
    std::string out = "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n";
    while (!body.empty()) {
        const std::string chunk = body.substr(0, 1 + fuzz_number(&cuts) % 64);
        char size[16];
        std::snprintf(size, sizeof size, "%zx\r\n", chunk.size());
        out += size + chunk + "\r\n";
        body.erase(0, chunk.size());
    }
    return out + "0\r\n\r\n";
}

void fuzz_one(fuzz_input in)
{
    const bool whole_reply = fuzz_number(&in) == 'r';
    const fuzz_input cuts = in;
    const std::string given = fuzz_rest(&in);
    if (whole_reply) {
        told(given);
        return;
    }
    const std::string length = std::to_string(given.size());
    EXPECT_EQ(told("HTTP/1.1 200 OK\r\nContent-Length: " + length + "\r\n\r\n" + given),
              told(chunked(cuts, given)));
}
