// Handles without a server, for tests of calls that read and write records only.
#ifndef TESTS_UNIT_STMT_FIXTURE_H
#define TESTS_UNIT_STMT_FIXTURE_H

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "core/cass_err.h"
#include "core/cass_field.h"
#include "core/cass_handle.h"

// An environment of ODBC 3, a connection that never connected and one statement.
class stmt_fixture : public testing::Test
{
protected:
    void SetUp() override
    {
        env = cass_alloc_env();
        env->odbc_version = SQL_OV_ODBC3;
        conn = cass_alloc_conn(env, 3);
        stmt = cass_alloc_stmt(conn);
    }
    void TearDown() override { cass_free_env(env); }

    cass_env *env = nullptr;
    cass_conn *conn = nullptr;
    cass_stmt *stmt = nullptr;
};

inline std::string text_of(const cass_string *text)
{
    if (text == nullptr)
        return "(null)";
    std::string bytes;
    for (std::int32_t i = 0; i < cass_string_length(text); ++i)
        bytes += static_cast<char>(text->text[i]);
    return bytes;
}

// SQLSTATEs of all records, in order, with blanks between; empty without records.
template <typename Handle>
std::string states_of(Handle *handle)
{
    std::string states;
    for (std::int32_t number = 1; number <= cass_diag_count(&handle->head); ++number)
        states += (number > 1 ? " " : "") + text_of(cass_diag_get(&handle->head, number)->state);
    return states;
}

template <typename Handle>
std::string message_of(Handle *handle)
{
    const cass_diag_record *record = cass_diag_get(&handle->head, 1);
    return record == nullptr ? "" : text_of(record->text);
}

// Application memory between guards: a write outside the middle part shows in `intact`.
struct guarded {
    static constexpr unsigned char fill = 0xA5;
    unsigned char before[32];
    unsigned char bytes[96];
    unsigned char behind[32];

    guarded() { std::memset(before, fill, sizeof before + sizeof bytes + sizeof behind); }

    // Whether nothing but the first `used` bytes changed.
    bool intact(std::size_t used) const
    {
        for (const unsigned char byte : before)
            if (byte != fill)
                return false;
        for (std::size_t i = used; i < sizeof bytes; ++i)
            if (bytes[i] != fill)
                return false;
        for (const unsigned char byte : behind)
            if (byte != fill)
                return false;
        return true;
    }
    // Bytes up to the last one that changed.
    std::size_t written() const
    {
        std::size_t count = sizeof bytes;
        while (count > 0 && bytes[count - 1] == fill)
            --count;
        return count;
    }
};

#endif
