// The text stands behind the bytes that it was made from, in the buffer of the column.
#include "core/cell/cass_data_wire.h"

#include <algorithm>
#include <cstdlib>

#include "core/cell/cass_data_limit.h"
#include "core/cell/cass_data_take.h"
#include "core/cell/cass_literal.h"
#include "support/civil.h"

static constexpr char log_source[] = "cass_data.c";

// Text of a nested value that its bytes may become: names of fields stand in a type once, and in a
// value as often as the bytes say.
constexpr std::size_t TEXT_PER_BYTE = 64;
constexpr std::size_t TEXT_BESIDE = 65'536;
constexpr std::size_t MOST_TEXT = 1 << 30;

SQLRETURN decode_wire(cass_stmt *stmt, cass_packet *packet, cass_field *field)
{
    const SQLRETURN code = decode_bytes(stmt, packet, field, CELL_WIRE);
    cass_data_storage *cell = &field->data_storage;
    if (code == SQL_SUCCESS && cell->alloc_length == 0)
        cell->isnull = 1;
    cell->value.wire.text_length = NO_TEXT_YET;
    cell->value.wire.as_text = 0;
    return code;
}

static SQLRETURN no_memory(const cell_request &request)
{
    return static_cast<SQLRETURN>(
        cass_post_no_memory(&request.stmt->head, log_source, "cass_get_data"));
}

static void put_text(growing_text *text, const cass_field *field)
{
    const cass_data_storage &cell = field->data_storage;
    if (field->type_tree != nullptr)
        return cass_put_literal(text, field->type_tree, cell.buffer, cell.alloc_length);
    if (!cass_put_plain_value(text, field->cql_type, cell.buffer, cell.alloc_length, false)) {
        text->length = 0;
        cass_put_hexadecimal(text, cell.buffer, cell.alloc_length);
    }
}

// SQL_SUCCESS, or SQL_ERROR with the failure posted.
static SQLRETURN make_text(const cell_request &request)
{
    cass_data_storage *cell = &request.field->data_storage;
    const auto size = static_cast<std::size_t>(cell->alloc_length);
    growing_text text = {};
    text.most = std::min(size, MOST_TEXT / TEXT_PER_BYTE) * TEXT_PER_BYTE - size + TEXT_BESIDE;
    put_text(&text, request.field);
    const held_text made(text.text);
    if (text.state == TEXT_TOO_LONG)
        return cell_out_of_range(request, nullptr, 0);
    if (text.state == TEXT_NO_MEMORY)
        return no_memory(request);

    auto *buffer = static_cast<unsigned char *>(std::realloc(cell->buffer, size + text.length));
    if (buffer == nullptr)
        return no_memory(request);
    std::memcpy(buffer + size, text.text, text.length);
    cell->buffer = buffer;
    cell->capacity = static_cast<std::uint32_t>(size + text.length);
    cell->value.wire.bytes = buffer;
    const auto length = static_cast<std::int32_t>(text.length);
    cell->value.wire.text_length =
        request.field->whole_decode != nullptr
            ? cass_length_within(request.stmt, buffer + size, length, true)
            : length;
    return SQL_SUCCESS;
}

static SQLRETURN with_text(const cell_request &request)
{
    const cass_data_storage &cell = request.field->data_storage;
    return cell.value.wire.text_length == NO_TEXT_YET ? make_text(request) : SQL_SUCCESS;
}

static void read_as(cass_data_storage *cell, bool text)
{
    if ((cell->value.wire.as_text != 0) != text)
        cell->offset = 0;
    cell->value.wire.as_text = text;
}

SQLRETURN cell_wire_text(const cell_request &request, cell_piece *rest)
{
    cass_data_storage *cell = &request.field->data_storage;
    *rest = {};
    if (cell->alloc_length == 0)  // behind the last row
        return SQL_SUCCESS;
    if (with_text(request) != SQL_SUCCESS)
        return SQL_ERROR;
    read_as(cell, true);
    const SQLLEN left = cell->value.wire.text_length - cell->offset;
    *rest = {cell->buffer + cell->alloc_length + cell->offset, left, left};
    return SQL_SUCCESS;
}

SQLRETURN cell_wire_bytes(const cell_request &request, cell_piece *rest)
{
    cass_data_storage *cell = &request.field->data_storage;
    switch (request.field->cql_type) {
    case CQL_DECIMAL:
    case CQL_VARINT:
        return cell_out_of_range(request, nullptr, 0);
    case CQL_DATE:
    case CQL_TIMESTAMP:
        return cell_no_such_date(request);
    default:
        break;
    }
    read_as(cell, false);
    const SQLLEN left = cell->alloc_length - cell->offset;
    *rest = {cell->buffer + cell->offset, left, left};
    return SQL_SUCCESS;
}

SQLRETURN cell_wire_number(const cell_request &request, std::string_view *text)
{
    const cass_data_storage &cell = request.field->data_storage;
    const std::int32_t type = request.field->cql_type;
    if (type != CQL_DECIMAL && type != CQL_VARINT)
        return cell_not_convertible(request);
    *text = {};
    if (cell.alloc_length == 0)
        return SQL_SUCCESS;
    if (with_text(request) != SQL_SUCCESS)
        return SQL_ERROR;
    *text = {reinterpret_cast<const char *>(cell.buffer) + cell.alloc_length,
             static_cast<std::size_t>(cell.value.wire.text_length)};
    return SQL_SUCCESS;
}

SQLRETURN cell_wire_timestamp(const cell_request &request, bool with_date,
                              SQL_TIMESTAMP_STRUCT *timestamp)
{
    const cass_data_storage &cell = request.field->data_storage;
    const std::int32_t type = cell.data_type == CELL_WIRE ? request.field->cql_type : CQL_CUSTOM;
    std::uint32_t of_day = 0;
    std::int64_t days = 0;
    if (type == CQL_DATE && cell.alloc_length == 4 && with_date)
        days = cql_date_days(cell.buffer);
    else if (type == CQL_TIMESTAMP && cell.alloc_length == 8)
        days = cql_timestamp_days(cell.buffer, &of_day);
    else
        return cell_not_convertible(request);
    const civil_date date = civil_from_days(days);
    if (with_date && (date.year < INT16_MIN || date.year > INT16_MAX))
        return cell_no_such_date(request);
    *timestamp = {
        .year = static_cast<SQLSMALLINT>(date.year),
        .month = static_cast<SQLUSMALLINT>(date.month),
        .day = static_cast<SQLUSMALLINT>(date.day),
        .hour = static_cast<SQLUSMALLINT>(of_day / 3'600'000),
        .minute = static_cast<SQLUSMALLINT>(of_day / 60'000 % 60),
        .second = static_cast<SQLUSMALLINT>(of_day / 1000 % 60),
        .fraction = of_day % 1000 * 1'000'000,
    };
    return SQL_SUCCESS;
}
