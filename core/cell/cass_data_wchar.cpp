// Cells as wide text. Lengths are in bytes, two a character. Three habits differ from ANSI text on
// purpose: a text or hexadecimal piece that fills the buffer has no terminator, timestamps choose
// their form by the buffer's size, and binary digits are upper case.
#include "core/cell/cass_data_internal.h"
#include "core/cell/cass_data_wire.h"
#include "support/strfunc.h"

constexpr SQLLEN UNIT = sizeof(SQLWCHAR);

// Writes a unit at a place that need not be aligned.
static inline void put_unit(unsigned char *target, SQLLEN index, SQLWCHAR unit)
{
    std::memcpy(target + UNIT * index, &unit, sizeof unit);
}

// One character of a text that is not at its end; bytes consumed.
static inline int next_unit(const unsigned char *bytes, SQLLEN available, SQLWCHAR *unit)
{
    if (bytes[0] < 0x80) [[likely]] {
        *unit = bytes[0];
        return 1;
    }
    return cass_utf8_get(bytes, available, unit);
}

static bool eight_ascii(const unsigned char *bytes)
{
    std::uint64_t word;
    std::memcpy(&word, bytes, sizeof word);
    return (word & 0x8080808080808080) == 0;
}

// Units of the character at the start of UTF-8: two for one beyond the basic plane.
static SQLLEN units_of_character(const unsigned char *bytes, SQLLEN available)
{
    return cass_utf8_size(bytes, available) == 4 ? 2 : 1;
}

// A piece has ended between the halves of the pair that stands around these bytes.
static bool is_second_half(const cell_request &request, const unsigned char *bytes)
{
    return request.field->data_storage.offset >= 2 && bytes[-2] >= 0xF0;
}

// Units of the characters in front of `stop`, where one begins or all `count` bytes end; with pairs
// those of UTF-16. The usual bytes go eight at a time.
static SQLLEN count_units(const unsigned char *bytes, SQLLEN stop, SQLLEN count, bool pairs)
{
    SQLLEN units = 0;
    for (SQLLEN at = 0; at < stop;) {
        if (stop - at >= 8 && eight_ascii(bytes + at)) {
            at += 8;
            units += 8;
            continue;
        }
        units += pairs ? units_of_character(bytes + at, count - at) : 1;
        at += cass_utf8_size(bytes + at, count - at);
    }
    return units;
}

// Units of what is left of a text. Each piece tells them, and counts what the one before it has
// delivered, not all the rest.
static SQLLEN units_left(const cell_request &request, const cell_piece &rest, bool pairs, bool half)
{
    cass_data_storage *cell = &request.field->data_storage;
    const std::int32_t at = cell->offset - (half ? 2 : 0);
    const unsigned char *start = rest.bytes - cell->offset;
    const SQLLEN end = cell->offset + rest.count, from = cell->counted_at;
    if (at == 0 || cell->wide_left == 0 || from > at)
        cell->wide_left =
            static_cast<std::int32_t>(count_units(start + at, end - at, end - at, pairs));
    else
        cell->wide_left -=
            static_cast<std::int32_t>(count_units(start + from, at - from, end - from, pairs));
    cell->counted_at = at;
    return cell->wide_left - (half ? 1 : 0);
}

// ---- The rules ---------------------------------------------------------------------------------

static SQLLEN put_text(unsigned char *target, const cell_piece &piece, SQLLEN units)
{
    SQLLEN at = 0;
    for (SQLLEN i = 0; i < units; i++) {
        SQLWCHAR unit;
        at += next_unit(piece.bytes + at, piece.count - at, &unit);
        put_unit(target, i, unit);
    }
    return at;
}

// The surrogates of a character of four bytes.
struct surrogate_pair {
    SQLWCHAR high, low;
};

static surrogate_pair pair_of(const unsigned char *bytes)
{
    const std::uint32_t point = ((bytes[0] & 7u) << 18 | (bytes[1] & 0x3Fu) << 12 |
                                 (bytes[2] & 0x3Fu) << 6 | (bytes[3] & 0x3Fu)) -
                                0x10000;
    return {static_cast<SQLWCHAR>(0xD800 | (point >> 10 & 0x3FF)),
            static_cast<SQLWCHAR>(0xDC00 | (point & 0x3FF))};
}

// Whole characters of `units` units at the most; the units, and in *used the bytes of the piece.
static SQLLEN put_characters(unsigned char *target, const cell_piece &piece, SQLLEN units,
                             SQLLEN *used)
{
    SQLLEN at = 0;
    SQLLEN i = 0;
    while (i < units) {
        const unsigned char *bytes = piece.bytes + at;
        const SQLLEN left = piece.count - at;
        if (units_of_character(bytes, left) == 1) {
            SQLWCHAR unit;
            at += next_unit(bytes, left, &unit);
            put_unit(target, i++, unit);
        } else if (i + 2 <= units) {
            const surrogate_pair pair = pair_of(bytes);
            put_unit(target, i++, pair.high);
            put_unit(target, i++, pair.low);
            at += 4;
        } else {
            break;
        }
    }
    *used = at;
    return i;
}

// Fills the units: a pair at the end is delivered by halves, two bytes of it each time.
static SQLLEN put_pieces(unsigned char *target, const cell_piece &piece, SQLLEN units)
{
    SQLLEN used;
    const SQLLEN done = put_characters(target, piece, units, &used);
    if (done == units)
        return used;
    put_unit(target, done, pair_of(piece.bytes + used).high);
    return used + 2;
}

// A unit that is left over in front of a pair is the terminator's.
static SQLLEN put_bound(unsigned char *target, const cell_piece &piece, SQLLEN units)
{
    SQLLEN used;
    const SQLLEN done = put_characters(target, piece, units, &used);
    if (done < units)
        put_unit(target, done, 0);
    return used;
}

// The second half of a pair, in front of what follows it.
static SQLLEN put_second_half(unsigned char *target, const cell_piece &piece, SQLLEN units)
{
    if (units < 1)
        return 0;
    put_unit(target, 0, pair_of(piece.bytes - 2).low);
    const cell_piece rest = {piece.bytes + 2, piece.count - 2, piece.units - 1};
    return 2 + put_pieces(target + UNIT, rest, units - 1);
}

template <const char *letters>
static SQLLEN put_hexadecimal(unsigned char *target, const cell_piece &piece, SQLLEN units)
{
    for (SQLLEN i = 0; i < units / 2; i++) {
        char digits[2];
        text_hex(digits, piece.bytes[i], letters);
        put_unit(target, 2 * i, static_cast<SQLWCHAR>(digits[0]));
        put_unit(target, 2 * i + 1, static_cast<SQLWCHAR>(digits[1]));
    }
    return units / 2;
}

static SQLLEN put_formatted(unsigned char *target, const cell_piece &piece, SQLLEN units)
{
    for (SQLLEN i = 0; i < units; i++)
        put_unit(target, i, piece.bytes[i]);
    return units;
}

static bool wide_cut_fills_buffer(const cass_conn *conn)
{
    return conn->conduct->wide_cut_fills_buffer;
}

static constexpr cell_rule text_rule = {
    .write = put_text,
    .unit = UNIT,
    .margin = UNIT,
    .cut_fills_buffer = wide_cut_fills_buffer,
};
static constexpr cell_rule utf16_rule(SQLLEN (*write)(unsigned char *, const cell_piece &, SQLLEN))
{
    return {
        .write = write, .unit = UNIT, .margin = UNIT, .cut_fills_buffer = wide_cut_fills_buffer};
}
static constexpr cell_rule hexadecimal_rule(SQLLEN (*write)(unsigned char *, const cell_piece &,
                                                            SQLLEN))
{
    return {.write = write,
            .unit = UNIT,
            .group = 2,
            .margin = UNIT,
            .cut_fills_buffer = wide_cut_fills_buffer};
}
// Half a unit behind the value counts as room for the terminator, which is then left out: in a
// buffer of an odd size, on purpose.
static constexpr cell_rule formatted_rule = {
    .write = put_formatted,
    .unit = UNIT,
    .margin = 1,
    .piecewise = false,
};

static bool wide_hexadecimal_is_upper_case(const cass_conn *conn)
{
    return conn->conduct->wide_hexadecimal_is_upper_case;
}

[[gnu::noinline]] static SQLRETURN get_hexadecimal(const cell_request &request)
{
    const cell_piece rest = cell_rest(request, 2);
    return wide_hexadecimal_is_upper_case(stmt_conn(request.stmt))
               ? cell_deliver(request, rest, hexadecimal_rule(put_hexadecimal<HEX_UPPER>))
               : cell_deliver(request, rest, hexadecimal_rule(put_hexadecimal<HEX_LOWER>));
}

static bool wide_timestamps_follow_the_buffer(const cass_conn *conn)
{
    return conn->conduct->wide_timestamps_follow_the_buffer;
}

// A buffer of 23 bytes or more gets milliseconds, also when there are none. The divisor turns
// 999,999,999 nanoseconds into 1000, on purpose.
static int format_timestamp(char *out, const cell_request &request)
{
    const SQL_TIMESTAMP_STRUCT &timestamp = request.field->data_storage.value.timestamp;
    if (cell_is_time(request))
        return cell_format_time(out, timestamp);
    if (!wide_timestamps_follow_the_buffer(stmt_conn(request.stmt)))
        return cell_format_timestamp(out, request);
    if (request.buffer_length < 23)
        return text_from_timestamp(out, timestamp, 0, 0);
    return text_from_timestamp(out, timestamp, timestamp.fraction / 999999, 3);
}

static bool wide_cells_have_no_pairs(const cass_conn *conn)
{
    return conn->conduct->wide_cells_have_no_pairs;
}

[[gnu::noinline]] static SQLRETURN get_utf16(const cell_request &request, cell_piece rest)
{
    const bool half = is_second_half(request, rest.bytes);
    rest.units = units_left(request, rest, true, half);
    if (half)
        return cell_deliver(request, rest, utf16_rule(put_second_half));
    return cell_deliver(request, rest, utf16_rule(request.bound ? put_bound : put_pieces));
}

static inline SQLRETURN get_text(const cell_request &request, cell_piece rest)
{
    if (!wide_cells_have_no_pairs(stmt_conn(request.stmt)))
        return get_utf16(request, rest);
    rest.units = units_left(request, rest, false, false);
    return cell_deliver(request, rest, text_rule);
}

[[gnu::noinline]] static SQLRETURN get_wire(const cell_request &request)
{
    cell_piece rest;
    return cell_wire_text(request, &rest) == SQL_SUCCESS ? get_text(request, rest) : SQL_ERROR;
}

// Half a unit is no room for a terminator here.
static constexpr cell_rule formatted_piece_rule = {
    .write = put_formatted,
    .unit = UNIT,
    .margin = UNIT,
};

[[gnu::noinline]] static SQLRETURN get_split(const cell_request &request, const char *text,
                                             int length)
{
    if (cell_loses_rest(request))
        return cell_deliver(request, cell_formatted(text, length), formatted_rule);
    if (cell_is_cut_too_short(request, text, length, UNIT))
        return cell_out_of_range(request, nullptr, 0);
    return cell_deliver(request, cell_formatted_rest(request, text, length), formatted_piece_rule);
}

SQLRETURN get_wchar(const cell_request &request)
{
    const cass_data_storage &cell = request.field->data_storage;
    if (cell.data_type == SQL_CHAR)
        return get_text(request, cell_rest(request, 1));
    if (cell.data_type == SQL_BINARY)
        return get_hexadecimal(request);

    char text[CELL_TEXT_ROOM];
    const int length = cell.data_type == SQL_TIMESTAMP ? format_timestamp(text, request)
                                                       : cell_format(request, text);
    if (length < 0) [[unlikely]]
        return cell.data_type == CELL_WIRE ? get_wire(request) : cell_not_convertible(request);
    const cell_piece piece = cell_formatted(text, length);
    if (cell_is_split(request, piece, formatted_rule)) [[unlikely]]
        return get_split(request, text, length);
    return cell_deliver_whole(request, piece, formatted_rule);
}
