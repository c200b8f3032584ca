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
static inline int next_unit(const unsigned char *bytes, std::int32_t available, SQLWCHAR *unit)
{
    if (bytes[0] < 0x80) [[likely]] {
        *unit = bytes[0];
        return 1;
    }
    return cass_utf8_get(bytes, available, unit);
}

// Characters in `count` bytes of UTF-8.
static std::int32_t count_units(const unsigned char *bytes, std::int32_t count)
{
    std::int32_t units = 0;
    SQLWCHAR unit;
    for (std::int32_t at = 0; at < count; units++)
        at += next_unit(bytes + at, count - at, &unit);
    return units;
}

static SQLRETURN wchar_from_text(const cell_request &request)
{
    cass_data_storage &cell = request.field->data_storage;
    const std::int32_t left = cell.alloc_length - cell.offset;
    const unsigned char *bytes = cell.value.bytes + cell.offset;
    if (cell_without_buffer(request)) {
        cell_store_length(request, UNIT * count_units(bytes, left));
        return cell_probed(request, left);
    }

    auto *target = static_cast<unsigned char *>(request.target);
    const SQLLEN room = request.buffer_length / UNIT;
    SQLLEN written = 0;
    std::int32_t at = 0;
    while (at < left && written < room) {
        SQLWCHAR unit;
        at += next_unit(bytes + at, left - at, &unit);
        put_unit(target, written++, unit);
    }
    cell_store_length(request, UNIT * (written + count_units(bytes + at, left - at)));
    cell.offset += at;
    if (written == room)  // an exact fit counts as cut: there was no room for a terminator
        return cell_truncated(request);
    put_unit(target, written, 0);
    return SQL_SUCCESS;
}

static SQLRETURN wchar_from_binary(const cell_request &request)
{
    cass_data_storage &cell = request.field->data_storage;
    const std::int32_t left = cell.alloc_length - cell.offset;
    cell_store_length(request, 2 * UNIT * static_cast<SQLLEN>(left));
    if (cell_without_buffer(request))
        return cell_probed(request, left);

    auto *target = static_cast<unsigned char *>(request.target);
    const bool whole = 2 * static_cast<SQLLEN>(left) < request.buffer_length / UNIT;
    const std::int32_t taken =
        whole ? left : static_cast<std::int32_t>(request.buffer_length / (2 * UNIT));
    const unsigned char *bytes = cell.value.bytes + cell.offset;
    for (std::int32_t i = 0; i < taken; i++) {
        char digits[2];
        text_hex(digits, bytes[i], HEX_UPPER);
        put_unit(target, 2 * static_cast<SQLLEN>(i), static_cast<SQLWCHAR>(digits[0]));
        put_unit(target, 2 * static_cast<SQLLEN>(i) + 1, static_cast<SQLWCHAR>(digits[1]));
    }
    cell.offset += taken;
    if (2 * UNIT * static_cast<SQLLEN>(taken) + UNIT <= request.buffer_length)
        put_unit(target, 2 * static_cast<SQLLEN>(taken), 0);
    return whole ? SQL_SUCCESS : cell_truncated(request);
}

// A buffer of 23 bytes or more gets milliseconds, also when there are none; the divisor that turns
// 999,999,999 nanoseconds into 1000 is the one that readers have always seen.
static int format_timestamp(char *out, const cell_request &request)
{
    const SQL_TIMESTAMP_STRUCT &timestamp = request.field->data_storage.value.timestamp;
    if (request.buffer_length < 23)
        return cell_format_timestamp(out, timestamp, 0, 0);
    return cell_format_timestamp(out, timestamp, timestamp.fraction / 999999, 3);
}

SQLRETURN get_wchar(const cell_request &request)
{
    const std::int32_t data_type = request.field->data_storage.data_type;
    if (data_type == SQL_CHAR)
        return wchar_from_text(request);
    if (data_type == SQL_BINARY)
        return wchar_from_binary(request);

    char text[CELL_TEXT_ROOM];
    const int length =
        data_type == SQL_TIMESTAMP ? format_timestamp(text, request) : cell_format(request, text);
    if (length < 0) [[unlikely]]
        return cell_not_convertible(request);

    cell_store_length(request, UNIT * length);
    if (cell_without_buffer(request))
        return SQL_SUCCESS;
    // Unlike a piece of text, what is cut off here cannot be read later: the last whole unit of the
    // buffer holds the terminator.
    auto *target = static_cast<unsigned char *>(request.target);
    const SQLLEN room = request.buffer_length / UNIT;
    const bool whole = UNIT * length < request.buffer_length;
    const SQLLEN taken = whole ? length : room - 1;
    for (SQLLEN i = 0; i < taken; i++)
        put_unit(target, i, static_cast<unsigned char>(text[i]));
    if (taken >= 0 && taken < room)
        put_unit(target, taken, 0);
    return whole ? SQL_SUCCESS : cell_truncated(request);
}
