// Cells as raw bytes, uuids and SQL_NUMERIC_STRUCT.
#include "core/cell/cass_data_internal.h"
#include "core/cell/cass_data_wire.h"
#include "support/numeric.h"

static bool exact_fit_counts_as_cut(const cass_conn *conn)
{
    return conn->conduct->exact_fit_counts_as_cut;
}

// Text and binary cells.
static constexpr cell_rule bytes_rule = {
    .write = cell_copy_bytes,
    .margin = 0,
    .kept = 0,
    .terminated = false,
    .exact_fit_is_cut = exact_fit_counts_as_cut,
};
// The other cells, as they are stored. A probe for the length leaves a record of 01004 behind it,
// as ever; where the image fits exactly it is whole.
static constexpr cell_rule image_rule = {
    .write = cell_copy_bytes,
    .margin = 0,
    .kept = 0,
    .terminated = false,
    .piecewise = false,
    .probe_warns = true,
};

// Bytes of a fixed-width value as it is stored, or 0 for a storage type that no decoder makes.
static SQLLEN stored_size(std::int32_t data_type)
{
    switch (data_type) {
    case SQL_NUMERIC:
        return sizeof(SQL_NUMERIC_STRUCT);
    case SQL_INTEGER:
    case SQL_FLOAT:
        return 4;
    case SQL_BIGINT:
    case SQL_DOUBLE:
        return 8;
    case SQL_TIMESTAMP:
        return sizeof(SQL_TIMESTAMP_STRUCT);
    case SQL_GUID:
        return sizeof(SQLGUID);
    case SQL_DATE:
        return sizeof(SQL_DATE_STRUCT);
    default:
        return 0;
    }
}

static SQLRETURN get_wire(const cell_request &request)
{
    cell_piece rest;
    if (cell_wire_bytes(request, &rest) != SQL_SUCCESS)
        return SQL_ERROR;
    return cell_deliver(request, rest, bytes_rule);
}

SQLRETURN get_binary(const cell_request &request)
{
    const cass_data_storage &cell = request.field->data_storage;
    if (cell.data_type == SQL_CHAR || cell.data_type == SQL_BINARY)
        return cell_deliver(request, cell_rest(request, 1), bytes_rule);

    if (cell.data_type == CELL_WIRE)
        return get_wire(request);
    const SQLLEN size = stored_size(cell.data_type);
    if (size == 0)
        return cell_not_convertible(request);
    const auto *image = reinterpret_cast<const unsigned char *>(&cell.value);
    return cell_deliver(request, {image, size, size}, image_rule);
}

static bool no_text_is_a_guid(const cass_conn *conn)
{
    return conn->conduct->no_text_is_a_guid;
}

[[gnu::cold, gnu::noinline]] static SQLRETURN guid_of_text(const cell_request &request)
{
    SQLGUID guid;
    if (!guid_from_text(cell_trimmed_text(request), &guid))
        return cell_not_read(request, "text that is no guid");
    cell_store_value(request, &guid, sizeof guid);
    return SQL_SUCCESS;
}

SQLRETURN get_guid(const cell_request &request)
{
    const cass_data_storage &cell = request.field->data_storage;
    if (cell.data_type == SQL_CHAR && !no_text_is_a_guid(stmt_conn(request.stmt)))
        return guid_of_text(request);
    if (cell.data_type != SQL_GUID)
        return cell_not_convertible(request);
    cell_store_value(request, &cell.value.guid, sizeof cell.value.guid);
    return SQL_SUCCESS;
}

// By default everything but a decimal goes through its text, and the application's own precision
// and scale are not asked for.
[[gnu::noinline]] static SQLRETURN numeric_of_other(const cell_request &request)
{
    const cass_data_storage &cell = request.field->data_storage;
    cell_number number;
    int precision = 19;
    switch (cell.data_type) {
    case SQL_CHAR:
        if (!cell_scan_number(request, &number))
            return cell_not_numeric(request);
        precision = number.digits;
        break;
    case SQL_INTEGER:
        precision = 12;
        [[fallthrough]];
    case SQL_BIGINT:
    case SQL_FLOAT:
    case SQL_DOUBLE:
        number.text[cell_format(request, number.text)] = 0;  // 32 characters at most
        break;
    default:
        return cell_not_convertible(request);
    }

    SQL_NUMERIC_STRUCT numeric;
    if (cass_numeric_from_text(number.text, &numeric, precision, 0) != 0)
        return cell_out_of_range(request, nullptr, 0);  // an exponent too: it is not understood
    cell_store_value(request, &numeric, sizeof numeric);
    return SQL_SUCCESS;
}

SQLRETURN get_numeric(const cell_request &request)
{
    if (cell_is_converted_exactly(request))
        return cell_exact_numeric(request);
    const cass_data_storage &cell = request.field->data_storage;
    if (cell.data_type != SQL_NUMERIC)
        return numeric_of_other(request);
    cell_store_value(request, &cell.value.numeric, sizeof cell.value.numeric);
    return SQL_SUCCESS;
}
