// Cells as ANSI text, and the text forms of numbers, dates and uuids that the wide target shares.
// Text cells stay UTF-8. Text and binary cells can be read piece by piece; every other cell is
// formatted whole, and what does not fit is lost.
#include <string_view>

#include "core/cell/cass_data_internal.h"
#include "core/cell/cass_data_wire.h"
#include "support/numeric.h"

// ---- Formatting --------------------------------------------------------------------------------

// The usual decimal: up to 64 bits, and a scale from 0 on.
static int format_small_numeric(char *out, std::uint64_t magnitude, bool negative, int scale)
{
    char digits[20];
    const int count = text_from_uint64(digits, magnitude);
    const int whole = count > scale ? count - scale : 0;
    char *end = out;
    if (negative)
        *end++ = '-';
    if (whole == 0)
        *end++ = '0';
    for (int i = 0; i < whole; i++)
        *end++ = digits[i];
    if (scale == 0)
        return static_cast<int>(end - out);
    *end++ = '.';
    for (int i = count; i < scale; i++)
        *end++ = '0';
    for (int i = whole; i < count; i++)
        *end++ = digits[i];
    return static_cast<int>(end - out);
}

// A decimal shows as many digits behind the point as its scale says: 1.50 stays 1.50. Out of line:
// other cells need no stack for its digits.
[[gnu::noinline]] static int format_numeric(char *out, const SQL_NUMERIC_STRUCT &numeric)
{
    if (load_le64(numeric.val + 8) == 0 && numeric.scale >= 0) [[likely]]
        return format_small_numeric(out, load_le64(numeric.val), numeric.sign == 0, numeric.scale);

    int length = cass_numeric_format(&numeric, out);
    if (numeric.scale <= 0)
        return length;

    const auto *point =
        static_cast<const char *>(std::memchr(out, '.', static_cast<std::size_t>(length)));
    int decimals = 0;
    if (point != nullptr)
        decimals = static_cast<int>(out + length - (point + 1));
    else
        out[length++] = '.';
    for (; decimals < numeric.scale; decimals++)
        out[length++] = '0';
    return length;
}

int cell_format(const cell_request &request, char *out)
{
    const cass_field *field = request.field;
    const cass_data_storage &cell = field->data_storage;
    const cass_conn *conn = stmt_conn(request.stmt);

    switch (cell.data_type) {
    case SQL_INTEGER:
        return field->unsigned_attr != 0
                   ? text_from_uint64(out, static_cast<std::uint32_t>(cell.value.integer))
                   : text_from_int64(out, cell.value.integer);
    case SQL_BIGINT:
        return field->unsigned_attr != 0
                   ? text_from_uint64(out, static_cast<std::uint64_t>(cell.value.bigint))
                   : text_from_int64(out, cell.value.bigint);
    case SQL_FLOAT:
        return conn->float_precision == SHORTEST_DIGITS
                   ? text_shortest(out, cell.value.real)
                   : text_from_double(out, static_cast<double>(cell.value.real),
                                      conn->float_precision);
    case SQL_DOUBLE:
        return conn->double_precision == SHORTEST_DIGITS
                   ? text_shortest(out, cell.value.dbl)
                   : text_from_double(out, cell.value.dbl, conn->double_precision);
    case SQL_NUMERIC:
        return format_numeric(out, cell.value.numeric);
    case SQL_DATE:
        return text_from_date(out, cell.value.date.year, cell.value.date.month,
                              cell.value.date.day);
    case SQL_GUID:
        return text_from_guid(out, cell.value.guid);
    default:
        return -1;
    }
}

int cell_format_time(char *out, const SQL_TIMESTAMP_STRUCT &time)
{
    int length = text_from_time(out, time.hour, time.minute, time.second);
    if (time.fraction == 0)
        return length;
    out[length++] = '.';
    for (std::uint32_t unit = 100'000'000; unit > 0; unit /= 10)
        out[length++] = static_cast<char>('0' + time.fraction / unit % 10);
    return length;
}

// Digits behind the point of a timestamp as ANSI text: those that the column's scale names, none
// when there is no fraction.
int cell_format_timestamp(char *out, const cell_request &request)
{
    const cass_field *field = request.field;
    const SQL_TIMESTAMP_STRUCT &timestamp = field->data_storage.value.timestamp;
    if (cell_is_time(request))
        return cell_format_time(out, timestamp);
    if (timestamp.fraction == 0)
        return text_from_timestamp(out, timestamp, 0, 0);
    const int digits = field->scale < 1 || field->scale > 9 ? 9 : field->scale;
    return text_from_timestamp(out, timestamp, timestamp.fraction / powers_of_ten[9 - digits],
                               digits);
}

// ---- The target --------------------------------------------------------------------------------

static SQLLEN put_hexadecimal(unsigned char *target, const cell_piece &piece, SQLLEN units)
{
    auto *out = reinterpret_cast<char *>(target);
    for (SQLLEN i = 0; i < units / 2; i++)
        text_hex(out + 2 * i, piece.bytes[i], HEX_LOWER);
    return units / 2;
}

// Whole characters; bytes that are left over are the terminator's.
static SQLLEN put_characters(unsigned char *target, const cell_piece &piece, SQLLEN units)
{
    SQLLEN kept = units;
    while (units < piece.count && kept > 0 && units - kept < 4 &&
           (piece.bytes[kept] & 0xC0) == 0x80)
        kept--;
    if (units - kept == 4)  // no UTF-8
        kept = units;
    std::memcpy(target, piece.bytes, static_cast<std::size_t>(kept));
    std::memset(target + kept, 0, static_cast<std::size_t>(units - kept));
    return kept;
}

static bool narrow_cut_splits_characters(const cass_conn *conn)
{
    return conn->conduct->narrow_cut_splits_characters;
}

static constexpr cell_rule text_rule = {.write = cell_copy_bytes};
static constexpr cell_rule character_rule = {.write = put_characters};
static constexpr cell_rule formatted_rule = {.write = cell_copy_bytes, .piecewise = false};

static bool hexadecimal_length_is_undoubled(const cass_conn *conn)
{
    return conn->conduct->hexadecimal_length_is_undoubled;
}

static bool hexadecimal_leaves_room(const cass_conn *conn)
{
    return conn->conduct->hexadecimal_leaves_room;
}

static constexpr cell_rule hexadecimal_rule(bool leaves_room)
{
    return {
        .write = put_hexadecimal,
        .group = 2,
        .margin = leaves_room ? 4 : 1,
        .last_byte_cleared = leaves_room,
        .length_is_undoubled = hexadecimal_length_is_undoubled,
    };
}

[[gnu::noinline]] static SQLRETURN get_characters(const cell_request &request,
                                                  const cell_piece &rest)
{
    return cell_deliver(request, rest, character_rule);
}

static bool is_cut_between_characters(const cell_request &request)
{
    return request.bound && !narrow_cut_splits_characters(stmt_conn(request.stmt));
}

[[gnu::noinline]] static SQLRETURN get_wire(const cell_request &request)
{
    cell_piece rest;
    if (cell_wire_text(request, &rest) != SQL_SUCCESS)
        return SQL_ERROR;
    return is_cut_between_characters(request) ? get_characters(request, rest)
                                              : cell_deliver(request, rest, text_rule);
}

// Apart from the text of other cells, which is the road of millions.
[[gnu::noinline]] static SQLRETURN get_hexadecimal(const cell_request &request)
{
    const cell_piece rest = cell_rest(request, 2);
    return hexadecimal_leaves_room(stmt_conn(request.stmt))
               ? cell_deliver(request, rest, hexadecimal_rule(true))
               : cell_deliver(request, rest, hexadecimal_rule(false));
}

cell_piece cell_formatted_rest(const cell_request &request, const char *text, int length)
{
    const std::int32_t read = request.field->data_storage.offset;
    const int offset = read < length ? read : length;
    return cell_formatted(text + offset, length - offset);
}

bool cell_is_cut_too_short(const cell_request &request, const char *text, int length, SQLLEN unit)
{
    if (!request.bound || request.target == nullptr || request.buffer_length < 1)
        return false;
    const std::string_view all(text, static_cast<std::size_t>(length));
    const bool has_exponent = all.find('E') != std::string_view::npos;
    const std::size_t whole = has_exponent ? all.size() : all.substr(0, all.find('.')).size();
    return request.buffer_length / unit < static_cast<SQLLEN>(whole) + 1;
}

[[gnu::noinline]] static SQLRETURN get_split(const cell_request &request, const char *text,
                                             int length)
{
    if (cell_loses_rest(request))
        return cell_deliver(request, cell_formatted(text, length), formatted_rule);
    if (cell_is_cut_too_short(request, text, length, 1))
        return cell_out_of_range(request, nullptr, 0);
    return cell_deliver(request, cell_formatted_rest(request, text, length), text_rule);
}

SQLRETURN get_char(const cell_request &request)
{
    const cass_data_storage &cell = request.field->data_storage;
    if (cell.data_type == SQL_CHAR)
        return is_cut_between_characters(request)
                   ? get_characters(request, cell_rest(request, 1))
                   : cell_deliver(request, cell_rest(request, 1), text_rule);
    if (cell.data_type == SQL_BINARY)
        return get_hexadecimal(request);

    char text[CELL_TEXT_ROOM];
    const int length = cell.data_type == SQL_TIMESTAMP ? cell_format_timestamp(text, request)
                                                       : cell_format(request, text);
    if (length < 0) [[unlikely]]
        return cell.data_type == CELL_WIRE ? get_wire(request) : cell_not_convertible(request);
    const cell_piece piece = cell_formatted(text, length);
    if (cell_is_split(request, piece, formatted_rule)) [[unlikely]]
        return get_split(request, text, length);
    return cell_deliver_whole(request, piece, formatted_rule);
}
