// Bound columns: after each fetched row, where this row of the rowset lands in the application's
// memory, column by column, and the cells' way there. The conversion is the same that SQLGetData
// takes, so a cell that was cut here can be read on from there.
#include "core/cell/cass_data_internal.h"
#include "core/describe/cass_field.h"
#include "core/handle/cass_cursor_kind.h"
#include "core/statement/cass_fetch.h"

static constexpr char log_source[] = "cass_fetch.c";

// Where the row of the rowset lies, the same for all its columns.
struct row_place {
    std::uint64_t row;           // from 0
    std::uint64_t bind_offset;   // bytes
    std::uint64_t row_stride;    // bytes of a row-wise row; 0: column-wise
    std::uint64_t length_bytes;  // from the first row's length or indicator to this row's
    bool column_wise;            // elements as wide as their type
    cass_field *fields;          // the records of the IRD and of the ARD
    cass_field *afields;
};

// Bytes of a C type whose elements lie close together, 0 for the others: text, binary, and
// SQL_C_GUID, which is spaced by the length that it was bound with.
static inline SQLLEN packed_size(std::int32_t c_type)
{
    switch (c_type) {
    case SQL_C_UTINYINT:
    case SQL_C_STINYINT:
    case SQL_C_BIT:
    case SQL_C_TINYINT:
        return 1;
    case SQL_C_SHORT:
    case SQL_C_SSHORT:
    case SQL_C_USHORT:
        return 2;
    case SQL_C_LONG:
    case SQL_C_SLONG:
    case SQL_C_ULONG:
    case SQL_C_FLOAT:
        return 4;
    case SQL_C_SBIGINT:
    case SQL_C_UBIGINT:
    case SQL_C_DOUBLE:
        return 8;
    case SQL_C_NUMERIC:
        return sizeof(SQL_NUMERIC_STRUCT);
    case SQL_C_DATE:
    case SQL_C_TIME:
    case SQL_C_TYPE_DATE:
    case SQL_C_TYPE_TIME:
        return sizeof(SQL_DATE_STRUCT);
    case SQL_C_TIMESTAMP:
    case SQL_C_TYPE_TIMESTAMP:
        return sizeof(SQL_TIMESTAMP_STRUCT);
    default:
        return 0;
    }
}

// Bytes from one element of a column-wise bound array to the next.
static inline SQLLEN cass_bound_element_size(const row_place &place, const cass_field *record)
{
    const SQLLEN packed = place.column_wise ? packed_size(record->consise_type) : 0;
    return packed != 0 ? packed : record->octet_length;
}

[[gnu::always_inline]] static inline row_place place_of_row(const cass_stmt *stmt)
{
    const cass_desc *ard = stmt->ard;
    SQLLEN bind_offset = 0;
    if (ard->bind_offset_ptr != nullptr)
        std::memcpy(&bind_offset, ard->bind_offset_ptr, sizeof bind_offset);

    row_place place = {};
    place.row = stmt->rowset_position;
    place.bind_offset = static_cast<std::uint64_t>(bind_offset);
    place.row_stride = ard->bind_type > 0 ? static_cast<std::uint64_t>(ard->bind_type) : 0;
    place.length_bytes =
        place.row * (place.row_stride != 0 ? place.row_stride : sizeof(SQLLEN)) + place.bind_offset;
    place.column_wise = ard->bind_type == 0;
    place.fields = stmt->ird->fields;
    place.afields = ard->fields;
    return place;
}

// A column counts as bound when any of its three pointers is set.
static inline bool is_bound(const cass_field *record)
{
    return record->data_ptr != nullptr || record->indicator_ptr != nullptr ||
           record->octet_length_ptr != nullptr;
}

// Plain address arithmetic: strides and offsets are the application's, and so is where they lead.
static inline void *advance(void *pointer, std::uint64_t bytes)
{
    if (pointer == nullptr)
        return nullptr;
    return reinterpret_cast<void *>(reinterpret_cast<std::uintptr_t>(pointer) + bytes);
}

// Where the column of an ARD record lands in this row. The bind offset is added to all three
// request. A place that is both indicator and octet length is only written as the indicator.
static inline void get_pointers_from_cols(cell_request *request, const row_place &place,
                                          const cass_field *record, SQLLEN element_size)
{
    const std::uint64_t stride =
        place.row_stride != 0 ? place.row_stride : static_cast<std::uint64_t>(element_size);
    request->target = advance(record->data_ptr, place.row * stride + place.bind_offset);
    request->buffer_length = record->octet_length;
    request->indicator = advance(record->indicator_ptr, place.length_bytes);
    void *octets = advance(record->octet_length_ptr, place.length_bytes);
    request->octets = octets == request->indicator ? nullptr : octets;
}

// Not bound, or bound by offsets that cancel the addresses.
static inline bool lands_nowhere(const cell_request &request)
{
    return request.target == nullptr && request.indicator == nullptr && request.octets == nullptr;
}

// ---- A row -------------------------------------------------------------------------------------

// What one column's place is made of; the column from 1, 0 for the bookmark.
[[gnu::cold, gnu::noinline]] static void log_column(const cell_request &request,
                                                    const row_place &place,
                                                    const cass_field *record, SQLLEN element_size)
{
    const cass_desc *ard = request.stmt->ard;
    cass_handle *head = &request.stmt->head;
    CASS_LOG(head, LOG_DETAIL,
             "processing column %d, data_ptr=%p, indicator_ptr=%p, octet_length_ptr=%p, offset=%d, "
             "length=%d",
             request.column - 1, record->data_ptr, record->indicator_ptr, record->octet_length_ptr,
             static_cast<int>(place.row), static_cast<int>(record->octet_length));
    if (!is_bound(record))
        return;
    CASS_LOG(head, LOG_DETAIL, "get_pointers_from_cols: row offset=%d",
             static_cast<int>(place.row));
    CASS_LOG(head, LOG_DETAIL, "bind_type=%d", static_cast<int>(ard->bind_type));
    CASS_LOG(head, LOG_DETAIL, "actual length=%d", static_cast<int>(element_size));
    CASS_LOG(head, LOG_DETAIL, "bind_offset_ptr=%p", ard->bind_offset_ptr);
    CASS_LOG(head, LOG_DETAIL, "data_ptr=%p", record->data_ptr);
    CASS_LOG(head, LOG_DETAIL, "result data ptr=%p", request.target);
    CASS_LOG(head, LOG_DETAIL, "indicator_ptr=%p", record->indicator_ptr);
    CASS_LOG(head, LOG_DETAIL, "result indicator_ptr=%p", request.indicator);
    CASS_LOG(head, LOG_DETAIL, "octet_length_ptr=%p", record->octet_length_ptr);
    CASS_LOG(head, LOG_DETAIL, "result octet_length_ptr=%p", request.octets);
    CASS_LOG(head, LOG_DETAIL, "calculated pointer target_ptr=%p, ind_ptr=%p, oct_ptr=%p",
             request.target, request.indicator, request.octets);
    if (!lands_nowhere(request))
        cell_log_request(request, record->consise_type, place.fields, place.afields);
}

// One column of the row, by its ARD record. The request's field and column are set.
static inline SQLRETURN transfer_column(cell_request *request, const row_place &place,
                                        const cass_field *record)
{
    const SQLLEN element_size = cass_bound_element_size(place, record);
    get_pointers_from_cols(request, place, record, element_size);
    if (request->logged) [[unlikely]]
        log_column(*request, place, record, element_size);
    if (lands_nowhere(*request))
        return SQL_NO_DATA;

    const SQLRETURN code = cell_get(request, record->consise_type);
    if (request->logged) [[unlikely]]
        CASS_LOG(&request->stmt->head, LOG_DETAIL, "getting data returns %d",
                 static_cast<int>(code));
    return code;
}

[[gnu::noinline]] static SQLRETURN transfer_bookmark(cell_request *request, const row_place &place)
{
    request->field = &request->stmt->ird->bookmark_field;
    request->column = 0;
    const SQLRETURN code = transfer_column(request, place, &request->stmt->ard->bookmark_field);
    return code == SQL_NO_DATA ? SQL_SUCCESS : code;
}

// Columns bound beyond the result's are passed over without a word.
static std::int32_t bound_columns(const cass_desc *ard, const cass_desc *ird)
{
    const std::int32_t columns = cass_stmt_column_count(ird);
    return ard->field_count < columns ? ard->field_count : columns;
}

// A column that was cut does not stop the others; an error ends the row. Out of line: a row without
// bound columns needs no stack for a request.
[[gnu::noinline]] static SQLRETURN transfer_row(cass_stmt *stmt)
{
    const row_place place = place_of_row(stmt);
    const std::int32_t last = bound_columns(stmt->ard, stmt->ird);
    cell_request request = {};
    request.stmt = stmt;
    request.logged = cass_log_is_on(&stmt->head);
    request.bound = true;
    SQLRETURN result = SQL_SUCCESS;
    // Where cursors scroll, those of a rowset are moved behind its rows; others have none.
    if (stmt->attrs.use_bookmarks != 0 && !cass_cursors_scroll(stmt_conn(stmt))) [[unlikely]]
        result = transfer_bookmark(&request, place);
    if (result == SQL_ERROR)
        return SQL_ERROR;

    for (std::int32_t index = 0; index < last; index++) {
        request.field = &place.fields[index];
        request.column = index + 1;
        const SQLRETURN code = transfer_column(&request, place, &place.afields[index]);
        if (code == SQL_ERROR) [[unlikely]]
            return SQL_ERROR;
        if (code == SQL_SUCCESS_WITH_INFO) [[unlikely]]
            result = SQL_SUCCESS_WITH_INFO;
    }
    return result;
}

static bool bound_cells_are_used_up(const cass_conn *conn)
{
    return conn->conduct->bound_cells_are_used_up;
}

// SQLGetData begins at their heads.
static void rewind_cells(cass_desc *ird)
{
    for (std::int32_t index = 0; index < ird->field_count; index++) {
        ird->fields[index].data_storage.offset = 0;
        ird->fields[index].data_storage.finished = 0;
    }
}

SQLRETURN transfer_bound_columns(cass_stmt *stmt, int)
{
    CASS_LOG(&stmt->head, LOG_DETAIL, "transfer_bound_columns");
    if (stmt->ard->field_count < 1) {
        CASS_LOG(&stmt->head, LOG_DETAIL, "transfer_bound_columns, no ard records");
        return SQL_SUCCESS;
    }
    CASS_LOG(&stmt->head, LOG_DETAIL, "transfer_bound_columns, ard count=%d, %d",
             static_cast<int>(stmt->ard->field_count), static_cast<int>(stmt->ird->field_count));
    const SQLRETURN result = transfer_row(stmt);
    if (!bound_cells_are_used_up(stmt_conn(stmt)))
        rewind_cells(stmt->ird);
    CASS_LOG(&stmt->head, LOG_DETAIL, "transfer_bound_columns, return=%r",
             static_cast<int>(result));
    return result;
}

// ---- Bookmarks of a rowset ---------------------------------------------------------------------

void set_bookmark(cass_stmt *stmt, std::int64_t row)
{
    cass_data_storage *cell = &stmt->ird->bookmark_field.data_storage;
    cell->data_type = SQL_BIGINT;
    cell->isnull = 0;
    cell->offset = 0;
    cell->value.bigint = row;
}

SQLRETURN transfer_bookmarks(cass_stmt *stmt, std::int64_t first, SQLULEN rows)
{
    if (stmt->attrs.use_bookmarks == SQL_UB_OFF || !is_bound(&stmt->ard->bookmark_field))
        return SQL_SUCCESS;
    SQLRETURN result = SQL_SUCCESS;
    for (SQLULEN row = 0; row < rows && result != SQL_ERROR; ++row) {
        stmt->rowset_position = row;
        set_bookmark(stmt, first + static_cast<std::int64_t>(row));
        cell_request request = {};
        request.stmt = stmt;
        request.logged = cass_log_is_on(&stmt->head);
        request.bound = true;
        const SQLRETURN code = transfer_bookmark(&request, place_of_row(stmt));
        if (code != SQL_SUCCESS)
            result = code;
    }
    return result;
}
