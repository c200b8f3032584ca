// Handles without a server, and what unit tests share: a peer on the connection's socket, texts,
// diagnostics, and application memory between guards.
#ifndef TESTS_UNIT_HANDLES_H
#define TESTS_UNIT_HANDLES_H

#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <memory>

#include "core/describe/cass_field.h"
#include "core/diag/cass_err.h"
#include "core/handle/cass_handle.h"
#include "core/wire/cass_pkt.h"
#include "support/bigendian.h"
#include "tests/bytes.h"
#include "tests/handle_calls.h"

// An environment of ODBC 3, a connection and one statement. The connection's socket is one end of a
// socket pair, and the test plays the peer on the other; or it never connected.
struct session {
    cass_env *env = cass_alloc_env();
    cass_conn *conn = cass_alloc_conn(env, 3);
    cass_stmt *stmt = cass_alloc_stmt(conn);
    int peer = -1;

    session(bool connected = true)
    {
        env->odbc_version = SQL_OV_ODBC3;
        int ends[2];
        if (connected && socketpair(AF_UNIX, SOCK_STREAM, 0, ends) == 0) {
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

// The handles of a test whose connection never connected.
struct stmt_fixture : testing::Test, session {
    stmt_fixture() : session(false) {}
};

// ---- What the peer says and hears ---------------------------------------------------------------

inline void say(const session &s, const std::string &bytes)
{
    ASSERT_EQ(send(s.peer, bytes.data(), bytes.size(), MSG_NOSIGNAL), ssize_t(bytes.size()));
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

inline constexpr auto &str = wire_string;
inline constexpr auto &long_str = wire_long_string;

// A reply with its header.
inline std::string reply(int opcode, const std::string &body, int flags = 0)
{
    const char head[] = {'\x84', static_cast<char>(flags), 0, 0, static_cast<char>(opcode)};
    return std::string(head, sizeof head) + long_str(body);
}

// A frame of the statement with this body, ready to be read.
inline cass_packet *packet_of(cass_stmt *stmt, std::uint8_t opcode, const std::string &body)
{
    cass_packet *packet = cass_new_packet(stmt, 0x84, 0, 0, opcode, nullptr);
    pkt_put_bytes(packet, body.data(), static_cast<std::int32_t>(body.size()));
    return packet;
}

// ---- Texts and diagnostics ----------------------------------------------------------------------

using owned_string = std::unique_ptr<cass_string, decltype(&cass_string_free)>;

inline owned_string own(cass_string *string)
{
    return {string, cass_string_free};
}

inline owned_string string_of(const std::u16string &text)
{
    return own(cass_string_from_wide(reinterpret_cast<const SQLWCHAR *>(text.data()),
                                     static_cast<std::int64_t>(text.size())));
}

inline std::u16string units_of(const cass_string *string)
{
    if (string == nullptr)
        return u"(null)";
    return {string->text, string->text + cass_string_length(string)};
}

inline std::string text_of(const char *constant)
{
    return constant == nullptr ? "(null)" : constant;
}

// The low bytes of its units.
inline std::string text_of(const cass_string *string)
{
    const std::u16string units = units_of(string);
    return {units.begin(), units.end()};
}

// The records of a handle as "STATE message" lines.
inline std::string records(void *handle)
{
    std::string all;
    for (const std::string &record : records_of(0, handle))
        all += record + "\n";
    return all;
}

// Their states in order, each with its column or parameter unless that is unknown.
inline std::string states_of(const void *handle)
{
    std::string all;
    const cass_diag_record *record = static_cast<const cass_handle *>(handle)->diag_records;
    for (; record != nullptr; record = record->next) {
        const std::string column = std::to_string(record->column_number);
        all += (all.empty() ? "" : " ") + text_of(record->state) +
               (column == "-1" ? "" : "@" + column);
    }
    return all;
}

// What a call came to: "" for a success, the states of an error, "!" for an error without any;
// otherwise the code, and the states behind it.
inline std::string outcome(SQLRETURN code, void *handle)
{
    const std::string states = code == SQL_INVALID_HANDLE ? "" : states_of(handle);
    if (code == SQL_ERROR)
        return states.empty() ? "!" : states;
    return code == SQL_SUCCESS && states.empty() ? "" : std::to_string(code) + " " + states;
}

inline std::string message_of(void *handle)
{
    const cass_diag_record *record = static_cast<cass_handle *>(handle)->diag_records;
    return record == nullptr ? "" : text_of(record->text);
}

// ---- Application memory -------------------------------------------------------------------------

// Memory at an odd address, amid bytes that must stay.
struct guarded {
    static constexpr std::size_t margin = 33;
    std::string all;

    explicit guarded(std::size_t room = 160) : all(margin + room + margin, '\xA5') {}
    void *data() { return all.data() + margin; }
    // From data() to the last byte that changed; everything when one in front did.
    std::string written() const
    {
        const std::size_t end = std::max(all.find_last_not_of('\xA5') + 1, margin);
        return all.find_first_not_of('\xA5') < margin ? all : all.substr(margin, end - margin);
    }
};

inline std::string bytes_of(const void *value, std::size_t width)
{
    return {static_cast<const char *>(value), width};
}

#endif
