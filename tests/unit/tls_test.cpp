// TLS where no handshake comes to its end: a context that cannot be made, settings that cannot be
// used, and peers that speak something else.
#include <openssl/evp.h>

#include "core/cass_ssl.h"
#include "tests/unit/session_fixture.h"

static const std::string no_connection = "08001|Client unable to establish connection: ";
static const std::string error = no_connection + "SSL error\n";

// The records of an attempt, OpenSSL's own ones only by their beginning.
static std::string start_records(session &s)
{
    EXPECT_EQ(cass_ssl_start(s.conn), -6);
    EXPECT_EQ(s.conn->ssl, nullptr);
    EXPECT_GE(s.conn->socket, 0);
    std::string all = records(&s.conn->head);
    for (std::size_t at; (at = all.find(" 'error:")) != std::string::npos;)
        all.erase(at, all.find('\n', at) - at);
    cass_diag_clear(&s.conn->head);
    return all;
}

TEST(tls_start, without_a_context_fails_before_a_byte_goes_out)
{
    session s;
    EVP_set_default_properties(nullptr, "provider=none");
    EXPECT_EQ(start_records(s), no_connection + "Required SSL (no ssl_info)\n");
    EVP_set_default_properties(nullptr, "");
    EXPECT_EQ(s.env->ssl_shared, nullptr);
    EXPECT_EQ(heard(s), "");
}

TEST(tls_start, unusable_settings_fail_before_a_byte_goes_out)
{
    const std::string data = no_connection + "Loading Certificate data failed\n";
    const auto expect_refusal = [](const auto &set, const std::string &told) {
        session s;
        set(s.conn);
        EXPECT_EQ(start_records(s), told);
        EXPECT_EQ(heard(s), "");
    };
    const std::tuple<unsigned char * cass_conn::*, std::int32_t cass_conn::*, std::string>
        blocks[] = {{&cass_conn::ca_bytes, &cass_conn::ca_length, data + error},
                    {&cass_conn::private_key_bytes, &cass_conn::private_key_length, data},
                    {&cass_conn::certificate_bytes, &cass_conn::certificate_length, data}};
    for (const auto &[bytes, length, told] : blocks)
        expect_refusal(
            [bytes = bytes, length = length](cass_conn *conn) {
                conn->*bytes = reinterpret_cast<unsigned char *>(strdup("no PEM"));
                conn->*length = 6;
            },
            told);
    expect_refusal([](cass_conn *conn) { conn->entropy_file = cass_string_from_cstr("/tmp/%s%n"); },
                   no_connection + "Loading entropy from '/tmp/%s%n' failed\n");
    expect_refusal([](cass_conn *conn) { conn->server = cass_string_from_cstr(""); },
                   no_connection + "Setting server name failed\n" + error);
}

TEST(tls_start, peers_that_speak_something_else_are_told)
{
    const std::string failed = no_connection + "SSL connection failed\n";
    const std::string gone = "08S01|Communication link failure: read failed (peer shutdown)\n" +
                             no_connection + "SSL Error, conn_read failed\n";
    const std::pair<std::string, std::string> cases[] = {
        {"", gone},
        {std::string("\x16\x03\x03\0\x50\2\0", 7), gone},  // a record that ends early
        {reply(OPCODE_ERROR, be32(10) + str("Invalid or unsupported protocol version (22)")),
         failed + error},
        {std::string(500, 'g'), failed + error},
        {std::string(500, '\0'), failed + error},
        {std::string("\x15\x03\x03\0\2\2\x28", 7), failed + error},  // alert: handshake failure
        {std::string("\x15\x03\x03\0\2\1\0", 7), failed},            // alert: close notify
        {std::string("\x16\x03\x03\0\4\0\0\0\0", 9), gone},          // a hello request
        {std::string("\x16\x03\x03\0\4\2\0\0\0", 9), failed + error},
    };
    for (const auto &[bytes, told] : cases) {
        session s;
        say(s, bytes);
        shutdown(s.peer, SHUT_WR);
        EXPECT_EQ(start_records(s), told) << bytes;
        EXPECT_EQ(heard(s)[0], 0x16);
    }
}

TEST(tls_start, peer_that_takes_nothing_is_told)
{
    session s;
    close(std::exchange(s.peer, -1));
    EXPECT_EQ(start_records(s), "08S01|Communication link failure: send failed\n" + no_connection +
                                    "SSL Error, conn_write failed\n");
}
