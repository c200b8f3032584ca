// The question to the metadata service and its HTTP reply, told by a peer on a plain socket pair.
#include <thread>

#include "core/session/cass_astra.h"
#include "tests/unit/handles.h"

// Asks a peer that says all this and hangs up, with a password of any length in one line.
// "points|region|round robin port|port" when that went well, else the records.
static std::string told(const session &s, const std::string &said)
{
    cass_conn *conn = s.conn;
    conn->settings.server = cass_string_from_cstr("db.example:1");
    std::thread peer([&] {
        send(s.peer, said.data(), said.size(), MSG_NOSIGNAL);
        shutdown(s.peer, SHUT_WR);
    });
    const int code = astra_comms(conn, "us", std::string(3000, 'a').c_str());
    shutdown(conn->socket, SHUT_RD);  // whatever it has left unread
    peer.join();
    EXPECT_EQ(heard(s), std::string("GET /metadata HTTP/1.1\nHost: db.example:1\nAccept: "
                                    "application/json\nAuthorization: Basic dXM6") +
                            replaced(std::string(1000, '-'), "-", "YWFh") + "\n\n");
    EXPECT_EQ(conn->contact_points != nullptr, conn->contact_count > 0);
    if (code != 0)
        return "failed\n" + records(conn);
    std::string all;
    for (std::int32_t i = 0; i < conn->contact_count; i++)
        all += text_of(conn->contact_points[i]) + (conn->contact_sockets[i] == -1 ? "," : "?");
    return all + "|" + text_of(conn->region) + "|" + std::to_string(conn->round_robin_port) + "|" +
           std::to_string(conn->settings.port);
}

static const std::string ok = "HTTP/1.1 200\n";

static std::string with_length(const std::string &body)
{
    return ok + "content-LENGTH:  " + std::to_string(body.size()) + "\n\n" + body;
}

static std::string chunk(const std::string &data)
{
    return to_hex(be8(data.size())) + "\r\n" + data + "\r\n";
}

TEST(astra, reply_is_read_in_every_form_and_only_as_far_as_it_goes)
{
    const std::string gone = "08S01 Communication link failure: read failed (peer shutdown)\n";
    const std::string code = "failed\nHY000 General error: Failed in Astra connection ";
    const std::string one = R"({"region": "r", "contact_info": {"contact_points": ["a", "b"], )";
    const std::string two = R"("round_robin_port": 7, "sni_proxy_address": "p:1"}})";
    const std::string good = "a,b,|r|7|7", failed = "failed\n";
    const std::string chunked = ok + "Transfer-Encoding: chunked\r\n\r\n";
    std::string endless = "Location: /" + std::string(200, 'l') + "\n";
    while (endless.size() < 1 << 20)
        endless += endless;
    const std::pair<std::string, std::string> cases[] = {
        {"\n\r\n" + with_length(one + two) + "more", good},
        {chunked + chunk(one) + chunk(two) + "0\r\n\r\n", good},
        {ok + "X: " + std::string(99'999, 'x') + "\n" + with_length(one + two), good},
        {"HTTP/1.1 400 Bad\nContent-Length: 3\n\nno!", code + "'no!'\n"},
        {"HTTP/1.1 400 Bad\n\n", code + "'(nul)'\n"},
        {"HTTP/1.1 301 Moved\nLocation: a\nLocation: b\n\n", code + "code: 301\n"},
        {with_length(one), failed},
        // The peer hangs up.
        {"HTTP/1.1 503 Later\nContent-", code + "code: 503\n" + gone},
        {with_length(one + two).substr(0, 99), failed + gone},
        {chunked + chunk(one).substr(0, 30), failed + gone},
        {ok + endless, failed + gone},
        // Lengths that are none, or that no reply of the service has.
        {ok + "Content-Length: -1" + chunked.substr(ok.size() - 1) + chunk(one + two), failed},
        {chunked + chunk(one) + "FFFFFF\n" + one, failed},
        {chunked + "FFFFFFFFFFFFFFFFFF\n" + one, failed},
    };
    for (const auto &[said, wanted] : cases)
        EXPECT_EQ(told({}, said), wanted) << said.substr(0, 200);
}
