// A statement that encodes parameters without a server: blocks of application memory that end where
// their bytes end, and what the values look like in the request.
#ifndef TESTS_UNIT_PARAMETER_RIG_H
#define TESTS_UNIT_PARAMETER_RIG_H

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include "core/cass_param.h"
#include "tests/unit/session_fixture.h"

// Application memory of exactly these bytes, `shift` bytes away from any alignment. The sanitizers
// see a read on either side.
struct exact_block {
    char *block;
    char *at;

    explicit exact_block(const std::string &bytes, int shift = 1)
        : block(static_cast<char *>(std::malloc(bytes.size() + static_cast<std::size_t>(shift)))),
          at(block + shift)
    {
        std::memcpy(at, bytes.data(), bytes.size());
    }
    ~exact_block() { std::free(block); }
    exact_block(const exact_block &) = delete;
    exact_block &operator=(const exact_block &) = delete;
    SQLLEN *lengths() const { return static_cast<SQLLEN *>(static_cast<void *>(at)); }
};

template <typename Value>
std::string image(const Value &value)
{
    return {reinterpret_cast<const char *>(&value), sizeof value};
}

// Wide text from ISO 8859-1.
inline std::string wide(const std::string &text)
{
    std::string bytes;
    for (const char unit : text)
        bytes += image(static_cast<SQLWCHAR>(static_cast<unsigned char>(unit)));
    return bytes;
}

inline std::string hex(const std::string &bytes)
{
    std::string text;
    for (const char byte : bytes) {
        char digits[3];
        std::snprintf(digits, sizeof digits, "%02x", static_cast<unsigned char>(byte));
        text += digits;
    }
    return text;
}

// "STATE@parameter" of all records.
inline std::string states(const cass_stmt *stmt)
{
    std::string all;
    for (const cass_diag_record *record = stmt->head.diag_records; record != nullptr;
         record = record->next) {
        all += (all.empty() ? "" : " ") + narrow(record->state);
        if (record->column_number != -1)
            all += "@" + std::to_string(record->column_number);
    }
    return all;
}

// The values of the set in work behind their count, in hexadecimal, or the states of the failure.
inline std::string encode(session &s, std::int32_t markers = 1)
{
    s.stmt->found_param_count = markers;
    cass_diag_clear(&s.stmt->head);
    const std::unique_ptr<cass_packet, decltype(&cass_packet_unref)> packet(
        cass_new_packet(s.stmt, PROTOCOL_VERSION, 0, 0, OPCODE_QUERY, nullptr), cass_packet_unref);
    if (cass_append_params(s.stmt, packet.get()) != 0)
        return states(s.stmt);
    EXPECT_EQ("", states(s.stmt));
    const auto *body = reinterpret_cast<const char *>(packet->body);
    const std::string bytes(body, static_cast<std::size_t>(packet->write_pos));
    EXPECT_EQ(be16(markers), bytes.substr(0, 2));
    return hex(bytes.substr(2));
}

#endif
