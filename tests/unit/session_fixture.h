// A session without a server: the connection's socket is one end of a socket pair, and the test
// plays the peer on the other. Beside it the bytes of the native protocol, built by hand.
#ifndef TESTS_UNIT_SESSION_FIXTURE_H
#define TESTS_UNIT_SESSION_FIXTURE_H

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdint>
#include <string>

#include "core/diag/cass_err.h"
#include "core/handle/cass_handle.h"
#include "core/wire/cass_pkt.h"

struct session {
    cass_env *env = cass_alloc_env();
    cass_conn *conn = cass_alloc_conn(env, 3);
    cass_stmt *stmt = cass_alloc_stmt(conn);
    int peer = -1;

    session()
    {
        env->odbc_version = SQL_OV_ODBC3;
        int ends[2];
        if (socketpair(AF_UNIX, SOCK_STREAM, 0, ends) == 0) {
            conn->socket = ends[0];
            peer = ends[1];
        }
    }
    // Declared first in a test, so that frames are released before their connection goes.
    ~session()
    {
        if (peer >= 0)
            close(peer);
        cass_free_env(env);
    }
    session &operator=(session &&) = delete;  // and with it all copies
};

// ---- What the peer says and hears ---------------------------------------------------------------

inline void say(const session &s, const std::string &bytes)
{
    ASSERT_EQ(send(s.peer, bytes.data(), bytes.size(), MSG_NOSIGNAL),
              static_cast<ssize_t>(bytes.size()));
}

// What the driver has sent so far.
inline std::string heard(const session &s)
{
    char buffer[65536];
    std::string all;
    ssize_t got;
    while ((got = recv(s.peer, buffer, sizeof buffer, MSG_DONTWAIT)) > 0)
        all.append(buffer, static_cast<std::size_t>(got));
    return all;
}

// The low byte of each unit.
inline std::string narrow(const cass_string *text)
{
    if (text == nullptr)
        return "(null)";
    return {text->text, text->text + text->length};
}

// The records of a handle as "STATE|message" lines, without the driver's prefix.
inline std::string records(const cass_handle *handle)
{
    const std::string prefix = "[Varnholt][Apache Cassandra]";
    std::string all;
    for (const auto *record = handle->diag_records; record != nullptr; record = record->next) {
        std::string message = narrow(record->text);
        if (message.starts_with(prefix))
            message.erase(0, prefix.size());
        all += narrow(record->state) + "|" + message + "\n";
    }
    return all;
}

// Their states in order, each with its column or parameter unless that is unknown.
inline std::string states_of(const cass_handle *handle)
{
    std::string all;
    for (const auto *record = handle->diag_records; record != nullptr; record = record->next) {
        all += (all.empty() ? "" : " ") + narrow(record->state);
        if (record->column_number != -1)
            all += "@" + std::to_string(record->column_number);
    }
    return all;
}

// ---- Bytes of the protocol ----------------------------------------------------------------------

inline std::string be16(std::int64_t value)
{
    return {static_cast<char>(value >> 8), static_cast<char>(value)};
}

inline std::string be32(std::int64_t value)
{
    return be16(value >> 16) + be16(value);
}

inline std::string str(const std::string &text)
{
    return be16(static_cast<std::int64_t>(text.size())) + text;
}

inline std::string long_str(const std::string &text)
{
    return be32(static_cast<std::int64_t>(text.size())) + text;
}

// A reply with its header.
inline std::string reply(int opcode, const std::string &body, int flags = 0)
{
    const char head[] = {'\x84', static_cast<char>(flags), 0, 0, static_cast<char>(opcode)};
    return std::string(head, sizeof head) + long_str(body);
}

// The next frame from the peer, or null.
inline cass_packet *read_reply(cass_stmt *stmt)
{
    cass_exchange_failure failure;
    return cass_read_packet(stmt, &failure);
}

// A frame of the statement with this body, ready to be read.
inline cass_packet *packet_of(cass_stmt *stmt, std::uint8_t opcode, const std::string &body)
{
    cass_packet *packet = cass_new_packet(stmt, 0x84, 0, 0, opcode, nullptr);
    pkt_put_bytes(packet, body.data(), static_cast<std::int32_t>(body.size()));
    return packet;
}

#endif
