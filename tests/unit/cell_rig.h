// A statement with a described result and a page of cells in memory, without a server: what the
// tests of decoding, conversion and binding stand on.
#ifndef TESTS_UNIT_CELL_RIG_H
#define TESTS_UNIT_CELL_RIG_H

#include <vector>

#include "core/cell/cass_data.h"
#include "core/diag/cass_text_out.h"
#include "core/statement/cass_fetch.h"
#include "core/statement/cass_pkt_result.h"
#include "tests/app_value.h"
#include "tests/unit/handles.h"

struct cell_rig : session {
    cass_packet packet = {};

    cell_rig() : session(false) {}

    cass_field *field(int column) const { return &stmt->ird->fields[column - 1]; }
    std::string states() const { return states_of(&stmt->head); }
    ~cell_rig()
    {
        std::free(packet.body);
        stmt->page.current_packet = nullptr;
    }
};

using rig_ptr = std::unique_ptr<cell_rig>;

// A statement whose result has a column for each option id.
inline rig_ptr rig_open(const std::vector<int> &columns,
                        const cass_conduct *conduct = &default_conduct)
{
    auto rig = std::make_unique<cell_rig>();
    rig->conn->conduct = conduct;
    cass_desc *ird = rig->stmt->ird;
    EXPECT_EQ(0, cass_desc_describe(ird, static_cast<std::int32_t>(columns.size())));
    for (std::int32_t i = 0; const int id : columns) {
        cass_type_option option = {};
        option.option_id = id;
        EXPECT_EQ(0,
                  cass_field_from_option(rig->stmt, ird, i++, nullptr, nullptr, nullptr, &option));
    }
    rig->stmt->page.current_packet = &rig->packet;
    return rig;
}

// The page's bytes from here on, in a block of exactly their size. One row more is announced.
inline void rig_page(const rig_ptr &rig, const std::string &bytes)
{
    std::free(rig->packet.body);
    rig->packet.body = static_cast<unsigned char *>(std::malloc(bytes.empty() ? 1 : bytes.size()));
    std::memcpy(rig->packet.body, bytes.data(), bytes.size());
    rig->packet.length = static_cast<std::int32_t>(bytes.size());
    rig->packet.read_pos = 0;
    rig->stmt->page.current_row_count = 1;
    rig->stmt->page.current_row_offset = 0;
}

// Decodes the page's next row. An exhausted page counts as one row longer.
inline SQLRETURN rig_row(const rig_ptr &rig)
{
    if (rig->stmt->page.current_row_offset == rig->stmt->page.current_row_count)
        rig->stmt->page.current_row_count++;
    bool page_failed = false;
    return fetch_data_row(rig->stmt, &page_failed);
}

// ---- Bytes of the wire --------------------------------------------------------------------------

inline std::string decimal(int scale, const std::string &unscaled)
{
    return be(scale, 4) + from_hex(unscaled);
}

inline constexpr auto &cell_of = long_str;
inline const std::string null_cell = be32(-1);
constexpr std::int64_t LEAP_DAY = INT64_C(951782400000);  // 2000-02-29 00:00:00, milliseconds
constexpr std::int64_t CLOCK = INT64_C(45296000000000);   // 12:34:56, nanoseconds
constexpr std::int64_t EPOCH = INT64_C(1) << 31;          // 1970-01-01, days

// A cell by the C++ type of its value.
struct source {
    int type;
    std::string bytes;

    source(int option_id, const std::string &cell) : type(option_id), bytes(cell) {}
    source(const char *text) : source(CQL_VARCHAR, text) {}
    source(int value) : source(CQL_INT, be(value, 4)) {}
    source(long value) : source(CQL_BIGINT, be(value, 8)) {}
    source(float value) : source(CQL_FLOAT, be(value)) {}
    source(double value) : source(CQL_DOUBLE, be(value)) {}
};

inline source scaled(int scale, const std::string &unscaled)
{
    return {CQL_DECIMAL, decimal(scale, unscaled)};
}

inline source moment(std::int64_t ms)
{
    return {CQL_TIMESTAMP, be(ms, 8)};
}

// A row of this one cell, decoded, and one of a null behind it.
inline rig_ptr cell_rig_of(const source &from, const cass_conduct *conduct = &default_conduct)
{
    rig_ptr rig = rig_open({from.type}, conduct);
    rig_page(rig, cell_of(from.bytes) + null_cell);
    EXPECT_EQ(SQL_SUCCESS, rig_row(rig));
    return rig;
}

// ---- One read, with everything around it watched ------------------------------------------------

constexpr SQLLEN UNTOUCHED = 0x5A5A5A5A5A5A5A5A;

struct read_result {
    SQLRETURN code;
    SQLLEN length;        // through the indicator; UNTOUCHED when nothing was stored
    std::string written;  // `room` bytes of the target
};

// Reads column 1 into a buffer of `room` bytes at an odd address, and checks that nothing around it
// changed.
inline read_result read_cell(const rig_ptr &rig, int target_type, std::size_t room)
{
    cass_diag_clear(&rig->stmt->head);
    guarded at(room);
    alignas(SQLLEN) char lengths[2 * sizeof(SQLLEN)];
    std::memset(lengths, 0x5A, sizeof lengths);
    read_result result;
    result.code =
        cass_get_data(rig->stmt, 1, target_type, at.data(), static_cast<SQLLEN>(room), lengths + 1,
                      nullptr, rig->stmt->ird->fields, rig->stmt->ard->fields);
    std::memcpy(&result.length, lengths + 1, sizeof result.length);
    result.written = at.all.substr(guarded::margin, room);
    at.all.erase(guarded::margin, room);
    EXPECT_EQ(at.all.find_first_not_of('\xA5'), at.all.npos) << "around a buffer of " << room;
    return result;
}

inline const char *const none = "", *const range = "22003@1", *const cut = "1 01S07@1",
                         *const bad = "22018@1", *const other = "07006@1";

// What becomes of a cell as a C type of this size, of which the value has the low bytes.
inline void expect_value(const rig_ptr &rig, int type, std::size_t size, const app_value &value,
                         const std::string &wanted)
{
    const read_result result = read_cell(rig, type, size);
    const bool stored = wanted.empty() || wanted == cut;
    EXPECT_EQ(wanted, outcome(result.code, rig->stmt));
    const std::size_t low = LOWEST_BYTE_FIRST ? 0 : value.memory.size() - size;
    EXPECT_EQ(stored ? value.memory.substr(low, size) : std::string(size, '\xA5'), result.written);
    EXPECT_EQ(stored ? static_cast<SQLLEN>(size) : UNTOUCHED, result.length);
}

#endif
