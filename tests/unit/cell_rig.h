// A statement with a described result and a page of cells in memory, without a server: what the
// tests of decoding, conversion and binding stand on.
#ifndef TESTS_UNIT_CELL_RIG_H
#define TESTS_UNIT_CELL_RIG_H

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "core/cass_data.h"
#include "core/cass_err.h"
#include "core/cass_fetch.h"
#include "core/cass_field.h"
#include "core/cass_handle.h"
#include "core/cass_pkt_result.h"
#include "core/cass_text_out.h"

struct cell_rig {
    cass_env *env;
    cass_stmt *stmt;
    cass_packet packet;
};

inline void rig_close(cell_rig *rig)
{
    std::free(rig->packet.body);
    rig->stmt->current_packet = nullptr;
    cass_free_env(rig->env);
    delete rig;
}

using rig_ptr = std::unique_ptr<cell_rig, void (*)(cell_rig *)>;

// A statement whose result has a column for each option id.
inline rig_ptr rig_open(const std::vector<int> &columns)
{
    auto *rig = new cell_rig{};
    rig->env = cass_alloc_env();
    rig->env->odbc_version = 3;
    rig->stmt = cass_alloc_stmt(cass_alloc_conn(rig->env, 3));
    cass_desc *ird = rig->stmt->ird;
    EXPECT_EQ(0, cass_desc_describe(ird, static_cast<std::int32_t>(columns.size())));
    for (std::size_t i = 0; i < columns.size(); i++) {
        cass_type_option option = {};
        option.option_id = columns[i];
        EXPECT_EQ(0, cass_field_from_option(rig->stmt, ird, static_cast<std::int32_t>(i), nullptr,
                                            nullptr, nullptr, &option));
    }
    rig->stmt->current_packet = &rig->packet;
    return {rig, rig_close};
}

// The page's bytes from here on, in a block of exactly their size. One row more is announced.
inline void rig_page(cell_rig *rig, const std::string &bytes)
{
    std::free(rig->packet.body);
    rig->packet.body = static_cast<unsigned char *>(std::malloc(bytes.empty() ? 1 : bytes.size()));
    std::memcpy(rig->packet.body, bytes.data(), bytes.size());
    rig->packet.length = static_cast<std::int32_t>(bytes.size());
    rig->packet.read_pos = 0;
    rig->stmt->current_row_count = 1;
    rig->stmt->current_row_offset = 0;
}

inline cass_field *rig_field(const rig_ptr &rig, int column)
{
    return &rig->stmt->ird->fields[column - 1];
}

inline cass_data_storage &rig_cell(const rig_ptr &rig, int column = 1)
{
    return rig_field(rig, column)->data_storage;
}

// Decodes the page's next row as a fetch does.
inline SQLRETURN rig_row(const rig_ptr &rig)
{
    cass_clear_row_data(rig->stmt);
    cass_desc *ird = rig->stmt->ird;
    for (std::int32_t i = 0; i < cass_stmt_column_count(ird); i++) {
        const SQLRETURN code = ird->fields[i].decode(rig->stmt, &rig->packet, &ird->fields[i]);
        if (code != SQL_SUCCESS)
            return code;
    }
    return SQL_SUCCESS;
}

// States of the statement's records in their order, each with its column unless that is unknown.
inline std::string rig_states(const rig_ptr &rig)
{
    std::string states;
    cass_handle *head = &rig->stmt->head;
    for (int i = 1; i <= cass_diag_count(head); i++) {
        const cass_diag_record *record = cass_diag_get(head, i);
        states += states.empty() ? "" : " ";
        for (int unit = 0; unit < 5; unit++)
            states += static_cast<char>(record->state->text[unit]);
        if (record->column_number != -1)
            states += "@" + std::to_string(record->column_number);
    }
    return states;
}

inline std::string rig_message(const rig_ptr &rig)
{
    const cass_diag_record *record = cass_diag_get(&rig->stmt->head, 1);
    if (record == nullptr)
        return "";
    char *text = cass_string_to_ascii(record->text);
    const std::string message = text;
    std::free(text);
    return message;
}

// ---- Bytes of the wire --------------------------------------------------------------------------

// The low `width` bytes of a number, highest first.
inline std::string be(std::int64_t value, int width)
{
    std::string bytes;
    for (int i = width - 1; i >= 0; i--)
        bytes += static_cast<char>(value >> (i < 8 ? 8 * i : 63));
    return bytes;
}

inline std::string cell_of(const std::string &bytes)
{
    return be(static_cast<std::int64_t>(bytes.size()), 4) + bytes;
}

inline std::string null_cell()
{
    return be(-1, 4);
}

inline std::string unhex(const std::string &digits)
{
    std::string bytes;
    for (std::size_t i = 0; i + 1 < digits.size(); i += 2)
        bytes += static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, 16));
    return bytes;
}

inline std::string be_double(double value)
{
    std::int64_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    return be(bits, 8);
}

inline std::string be_float(float value)
{
    std::int32_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    return be(bits, 4);
}

inline std::string decimal(int scale, const std::string &unscaled_hex)
{
    return be(scale, 4) + unhex(unscaled_hex);
}

constexpr std::int64_t LEAP_DAY = INT64_C(951782400000);  // 2000-02-29 00:00:00, milliseconds
constexpr std::int64_t CLOCK = INT64_C(45296000000000);   // 12:34:56, nanoseconds

// ---- One read, with everything around it watched ------------------------------------------------

constexpr unsigned char SENTINEL = 0xA5;
constexpr std::size_t MARGIN = 24;
constexpr SQLLEN UNTOUCHED = 0x5A5A5A5A5A5A5A5A;

struct read_result {
    SQLRETURN code;
    SQLLEN length;        // through the indicator; UNTOUCHED when nothing was stored
    std::string written;  // `room` bytes of the target
};

// Reads into a buffer of `room` bytes at an odd address, as `buffer_length` (room unless told), and
// checks that nothing around it changed.
inline read_result read_cell(const rig_ptr &rig, int target_type, std::size_t room,
                             SQLLEN buffer_length = UNTOUCHED, int column = 1)
{
    if (buffer_length == UNTOUCHED)
        buffer_length = static_cast<SQLLEN>(room);
    cass_diag_clear(&rig->stmt->head);

    std::vector<unsigned char> block(room + 2 * MARGIN + 1, SENTINEL);
    unsigned char *target = block.data() + MARGIN;
    target += reinterpret_cast<std::uintptr_t>(target) % 2 == 0;  // no alignment is promised
    unsigned char lengths[2 * sizeof(SQLLEN) + 1];
    std::memset(lengths, 0x5A, sizeof lengths);
    unsigned char *indicator = lengths + (reinterpret_cast<std::uintptr_t>(lengths) % 2 == 0);

    read_result result;
    result.code = cass_get_data(rig->stmt, static_cast<SQLUSMALLINT>(column), target_type, target,
                                buffer_length, indicator, nullptr, rig->stmt->ird->fields,
                                rig->stmt->ard->fields);
    std::memcpy(&result.length, indicator, sizeof result.length);
    result.written.assign(reinterpret_cast<char *>(target), room);
    for (unsigned char *at = block.data(); at < block.data() + block.size(); at++) {
        if (at < target || at >= target + room) {
            EXPECT_EQ(SENTINEL, *at) << "byte " << at - target << " of a buffer of " << room;
        }
    }
    return result;
}

inline rig_ptr cell_rig_of(int type, const std::string &bytes)
{
    rig_ptr rig = rig_open({type});
    rig_page(rig.get(), cell_of(bytes));
    EXPECT_EQ(SQL_SUCCESS, rig_row(rig));
    return rig;
}

inline std::string untouched(std::size_t count)
{
    return std::string(count, static_cast<char>(SENTINEL));
}

#endif
