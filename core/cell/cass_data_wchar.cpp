// Cells as wide text. Lengths are in bytes, two a character. Three habits differ from ANSI text on
// purpose: a text or hexadecimal piece that fills the buffer has no terminator, timestamps choose
// their form by the buffer's size, and binary digits are upper case.
#include "core/cell/cass_data_internal.h"
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

// Characters in `count` bytes of UTF-8. Each piece counts all that is left, so that the usual bytes
// go eight at a time.
static SQLLEN count_units(const unsigned char *bytes, SQLLEN count)
{
    SQLLEN units = 0;
    for (SQLLEN at = 0; at < count;) {
        if (count - at >= 8 && eight_ascii(bytes + at)) {
            at += 8;
            units += 8;
            continue;
        }
        SQLWCHAR unit;
        at += next_unit(bytes + at, count - at, &unit);
        units++;
    }
    return units;
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

static SQLLEN put_hexadecimal(unsigned char *target, const cell_piece &piece, SQLLEN units)
{
    for (SQLLEN i = 0; i < units / 2; i++) {
        char digits[2];
        text_hex(digits, piece.bytes[i], HEX_UPPER);
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

// A cut piece fills the buffer to its last unit and has no terminator then, on purpose: whoever
// reads pieces goes by their lengths.
static constexpr cell_rule text_rule = {
    .write = put_text,
    .unit = UNIT,
    .margin = UNIT,
    .kept = 0,
};
static constexpr cell_rule hexadecimal_rule = {
    .write = put_hexadecimal,
    .unit = UNIT,
    .group = 2,
    .margin = UNIT,
    .kept = 0,
};
// Half a unit behind the value counts as room for the terminator, which is then left out: a buffer
// of an odd size has always been served so.
static constexpr cell_rule formatted_rule = {
    .write = put_formatted,
    .unit = UNIT,
    .margin = 1,
    .piecewise = false,
};

// A buffer of 23 bytes or more gets milliseconds, also when there are none; the divisor that turns
// 999,999,999 nanoseconds into 1000 is the one that readers have always seen.
static int format_timestamp(char *out, const cell_request &request)
{
    const SQL_TIMESTAMP_STRUCT &timestamp = request.field->data_storage.value.timestamp;
    if (request.buffer_length < 23)
        return text_from_timestamp(out, timestamp, 0, 0);
    return text_from_timestamp(out, timestamp, timestamp.fraction / 999999, 3);
}

SQLRETURN get_wchar(const cell_request &request)
{
    const cass_data_storage &cell = request.field->data_storage;
    if (cell.data_type == SQL_CHAR) {
        cell_piece rest = cell_rest(request, 1);
        rest.units = count_units(rest.bytes, rest.count);
        return cell_deliver(request, rest, text_rule);
    }
    if (cell.data_type == SQL_BINARY)
        return cell_deliver(request, cell_rest(request, 2), hexadecimal_rule);

    char text[CELL_TEXT_ROOM];
    const int length = cell.data_type == SQL_TIMESTAMP ? format_timestamp(text, request)
                                                       : cell_format(request, text);
    if (length < 0) [[unlikely]]
        return cell_not_convertible(request);
    return cell_deliver(request, cell_formatted(text, length), formatted_rule);
}
