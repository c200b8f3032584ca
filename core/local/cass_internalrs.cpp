// Local results: a list of rows on the statement, kept in sort order, and the step that feeds one
// of them into the IRD. Nothing behind that step knows that the row did not come from a server.
#include "core/local/cass_internalrs.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "core/cell/cass_data_take.h"
#include "core/describe/cass_field.h"
#include "core/diag/cass_err.h"
#include "core/log/cass_log.h"
#include "support/ascii.h"

static constexpr char log_source[] = "cass_internalrs.c";

// ---- Creation ----------------------------------------------------------------------------------

static bool local_shorts_are_integers(const cass_conn *conn)
{
    return conn->conduct->local_shorts_are_integers;
}

static void describe_integer(cass_field *field, std::int32_t digits, bool named_short)
{
    field->display_size = digits;
    field->precision = digits;
    field->length = digits;
    field->octet_length = named_short ? 2 : 4;
    field->fixed_prec_scale = 1;
    field->num_prec_radix = 10;
    field->searchable = SQL_ALL_EXCEPT_LIKE;
    field->type_name = named_short ? "SMALLINT" : "INTEGER";
    field->local_type_name = field->type_name;
}

static void describe_varchar(cass_field *field, std::int32_t length)
{
    field->display_size = length;
    field->precision = length;
    field->length = length;
    field->octet_length = length;
    field->searchable = SQL_SEARCHABLE;
    field->case_sensitive = 1;
    field->literal_prefix = "'";
    field->literal_suffix = "'";
    field->type_name = "VARCHAR";
    field->local_type_name = "VARCHAR";
}

// Fills a fresh record. False when memory ran out.
static bool describe_column(const cass_conn *conn, cass_field *field,
                            const cass_internal_column &column)
{
    field->consise_type = column.type;
    field->type = column.type;
    field->nullable = column.nullable;
    field->updatable = SQL_ATTR_READWRITE_UNKNOWN;
    if (column.type == SQL_VARCHAR)
        describe_varchar(field, column.length);
    else if (column.type == SQL_INTEGER)
        describe_integer(field, 10, false);
    else
        describe_integer(field, 5, !local_shorts_are_integers(conn));
    field->column_name = cass_string_from_cstr(column.name);
    return field->column_name != nullptr;
}

static bool describe_columns(const cass_conn *conn, cass_desc *ird,
                             const cass_internal_columns *columns)
{
    if (cass_desc_describe(ird, columns->count) != 0)
        return false;
    for (std::int32_t i = 0; i < columns->count; ++i)
        if (!describe_column(conn, &ird->fields[i], columns->columns[i]))
            return false;
    return true;
}

// 0, or -1 when memory ran out.
static int take_sort_keys(cass_internal_rs *rs, const std::int32_t *sort_keys)
{
    std::int32_t count = 0;
    while (sort_keys != nullptr && sort_keys[count] > 0)
        ++count;
    if (count == 0)
        return 0;
    rs->sort_keys = static_cast<std::int32_t *>(
        std::malloc(static_cast<std::size_t>(count) * sizeof(std::int32_t)));
    if (rs->sort_keys == nullptr)
        return -1;
    for (std::int32_t i = 0; i < count; ++i)
        rs->sort_keys[i] = sort_keys[i] - 1;
    rs->sort_key_count = count;
    return 0;
}

int cass_create_internal_rs(cass_stmt *stmt, const cass_internal_columns *columns,
                            const std::int32_t *sort_keys)
{
    auto *rs = static_cast<cass_internal_rs *>(std::calloc(1, sizeof(cass_internal_rs)));
    if (rs == nullptr)
        return cass_post_no_memory(&stmt->head, log_source, "cass_create_internal_rs");
    rs->at_start = 1;
    rs->columns = columns;
    if (take_sort_keys(rs, sort_keys) != 0) {
        cass_free_internal_rs(stmt, rs);
        return cass_post_no_memory(&stmt->head, log_source, "cass_create_internal_rs");
    }

    stmt->ird = stmt->implicit_ird;
    stmt->internal_rs = rs;
    stmt->data_waiting = 1;
    if (describe_columns(stmt_conn(stmt), stmt->ird, columns))
        return 0;
    cass_free_internal_rs(stmt, rs);
    stmt->data_waiting = 0;
    cass_desc_undescribe(stmt->ird);
    return cass_post_no_memory(&stmt->head, log_source, "cass_create_internal_rs");
}

static void free_rows(cass_internal_row *row)
{
    while (row != nullptr) {
        cass_internal_row *next = row->next;
        std::free(row);
        row = next;
    }
}

void cass_free_internal_rs(cass_stmt *stmt, cass_internal_rs *rs)
{
    if (rs == nullptr)
        return;
    if (stmt->internal_rs == rs)
        stmt->internal_rs = nullptr;
    free_rows(rs->head);
    std::free(rs->index);
    std::free(rs->sort_keys);
    std::free(rs);
}

// ---- Rows --------------------------------------------------------------------------------------

// Below 0, 0 or above 0; SQL NULL comes first.
static int compare_values(const char *a, const char *b, std::int32_t type)
{
    if (a == nullptr || b == nullptr)
        return (a != nullptr) - (b != nullptr);
    if (type == SQL_VARCHAR)
        return std::strcmp(a, b);
    const std::int32_t number_a = ascii_to_int(a);
    const std::int32_t number_b = ascii_to_int(b);
    return (number_a > number_b) - (number_a < number_b);
}

static int compare_rows(const cass_internal_rs *rs, const cass_internal_row *a,
                        const cass_internal_row *b)
{
    for (std::int32_t i = 0; i < rs->sort_key_count; ++i) {
        const std::int32_t column = rs->sort_keys[i];
        const int order =
            compare_values(a->values[column], b->values[column], rs->columns->columns[column].type);
        if (order != 0)
            return order;
    }
    return 0;
}

// A row with copies of the texts, in one block. Null when memory ran out.
static cass_internal_row *make_row(std::int32_t count, const char *const *values)
{
    const std::size_t values_size = static_cast<std::size_t>(count) * sizeof(char *);
    std::size_t text_size = 0;
    for (std::int32_t i = 0; i < count; ++i)
        text_size += values[i] != nullptr ? std::strlen(values[i]) + 1 : 0;
    auto *row = static_cast<cass_internal_row *>(
        std::malloc(sizeof(cass_internal_row) + values_size + text_size));
    if (row == nullptr)
        return nullptr;
    row->prev = nullptr;
    row->next = nullptr;
    row->values = reinterpret_cast<const char **>(row + 1);
    char *text = reinterpret_cast<char *>(row + 1) + values_size;
    for (std::int32_t i = 0; i < count; ++i) {
        row->values[i] = values[i] != nullptr ? text : nullptr;
        if (values[i] != nullptr)
            text = stpcpy(text, values[i]) + 1;
    }
    return row;
}

static void append_row(cass_internal_rs *rs, cass_internal_row *row)
{
    row->prev = rs->tail;
    if (rs->tail != nullptr)
        rs->tail->next = row;
    else
        rs->head = row;
    rs->tail = row;
}

// In front of the first row that is greater. The walk begins at the row inserted last where that is
// not greater, so that rows which arrive in order need no search.
static void insert_sorted(cass_internal_rs *rs, cass_internal_row *row)
{
    cass_internal_row *before = rs->inserted;
    if (before != nullptr && compare_rows(rs, row, before) < 0)
        before = nullptr;
    cass_internal_row *behind = before != nullptr ? before->next : rs->head;
    while (behind != nullptr && compare_rows(rs, row, behind) >= 0) {
        before = behind;
        behind = behind->next;
    }
    if (behind == nullptr) {
        append_row(rs, row);
        return;
    }
    row->next = behind;
    if (before != nullptr)
        before->next = row;
    else
        rs->head = row;
}

int cass_insert_internal_row(cass_stmt *stmt, const char *const *values)
{
    cass_internal_rs *rs = stmt->internal_rs;
    if (rs == nullptr) {
        cass_post_error(&stmt->head, STATE_HY000, 0,
                        "Attempting to insert to empty internal result set");
        return -1;
    }
    cass_internal_row *row = make_row(rs->columns->count, values);
    if (row == nullptr)
        return cass_post_no_memory(&stmt->head, log_source, "cass_insert_internal_row");
    if (rs->sort_key_count < 1)
        append_row(rs, row);
    else
        insert_sorted(rs, row);
    rs->inserted = row;
    return 0;
}

void cass_widen_internal_columns(cass_stmt *stmt)
{
    const cass_internal_rs *rs = stmt->internal_rs;
    for (std::int32_t i = 0; i < rs->columns->count; i++) {
        cass_field *field = &stmt->ird->fields[i];
        std::size_t longest = 0;
        for (const cass_internal_row *row = rs->head; row != nullptr; row = row->next)
            if (field->consise_type == SQL_VARCHAR && row->values[i] != nullptr)
                longest = std::max(longest, std::strlen(row->values[i]));
        if (longest > static_cast<std::size_t>(field->length))
            describe_varchar(field,
                             static_cast<std::int32_t>(std::min<std::size_t>(longest, INT32_MAX)));
    }
}

void cass_limit_internal_rs(cass_internal_rs *rs, SQLULEN most)
{
    cass_internal_row *last = most > 0 ? rs->head : nullptr;
    for (SQLULEN row = 1; row < most && last != nullptr; ++row)
        last = last->next;
    if (last == nullptr)
        return;
    free_rows(last->next);
    last->next = nullptr;
    rs->tail = last;
}

// ---- Rows by their numbers ---------------------------------------------------------------------

std::int64_t cass_index_internal_rs(cass_internal_rs *rs)
{
    std::size_t count = 0;
    for (const cass_internal_row *row = rs->head; row != nullptr; row = row->next)
        ++count;
    if (count == 0)
        return 0;
    rs->index = static_cast<cass_internal_row **>(std::malloc(count * sizeof(cass_internal_row *)));
    if (rs->index == nullptr)
        return -1;
    std::size_t place = 0;
    for (cass_internal_row *row = rs->head; row != nullptr; row = row->next)
        rs->index[place++] = row;
    return static_cast<std::int64_t>(count);
}

void cass_seek_internal_row(cass_internal_rs *rs, std::int64_t row)
{
    rs->at_start = row == 1;
    rs->exhausted = 0;
    rs->current = row == 1 ? nullptr : rs->index[row - 2];
}

// ---- Fetching ----------------------------------------------------------------------------------

// The column's cell, from the row's text or null. 0, or -1 when memory ran out.
static int populate_field(cass_field *field, const char *text)
{
    cass_data_storage *cell = &field->data_storage;
    const bool is_text = field->consise_type == SQL_VARCHAR;
    begin_cell(cell, is_text ? SQL_CHAR : SQL_INTEGER);
    cell->isnull = text == nullptr;
    if (!is_text) {
        cell->value.integer = text != nullptr ? ascii_to_int(text) : 0;
        return 0;
    }
    cell->value.bytes = nullptr;
    if (text == nullptr)
        return 0;
    const std::size_t length = std::strlen(text);
    if (length > INT32_MAX || cass_storage_reserve(cell, static_cast<std::int32_t>(length)) != 0)
        return -1;
    if (length > 0)
        std::memcpy(cell->value.bytes, text, length);
    return 0;
}

static int populate_row(cass_stmt *stmt, const cass_internal_row *row)
{
    const std::int32_t columns =
        std::min(stmt->ird->field_count, stmt->internal_rs->columns->count);
    for (std::int32_t column = 0; column < columns; ++column) {
        cass_field *field = &stmt->ird->fields[column];
        if (populate_field(field, row->values[column]) != 0)
            return cass_post_no_memory(&stmt->head, log_source, "cass_fetch_internal_row");
        const cass_data_storage &cell = field->data_storage;
        CASS_LOG(&stmt->head, LOG_DETAIL, "populate internal row: reading column %d", column);
        CASS_LOG(&stmt->head, LOG_DETAIL, "field->consise_type = %d", field->consise_type);
        CASS_LOG(&stmt->head, LOG_DETAIL, "field->data_storage.data_type = %d", cell.data_type);
        CASS_LOG(&stmt->head, LOG_DETAIL, "field->data_storage.isnull = %d", cell.isnull);
        CASS_LOG(&stmt->head, LOG_DETAIL, "field->data_storage.alloc_length = %d",
                 cell.alloc_length);
    }
    return 0;
}

SQLRETURN cass_fetch_internal_row(cass_stmt *stmt, SQLSMALLINT mode, [[maybe_unused]] SQLLEN offset)
{
    if (mode != SQL_FETCH_NEXT) {
        cass_post_error(&stmt->head, STATE_HY000, 0, "Scrolling fetch from internal result set");
        return SQL_ERROR;
    }
    cass_internal_rs *rs = stmt->internal_rs;
    if (rs->head == nullptr || rs->exhausted)
        return SQL_NO_DATA;
    cass_internal_row *row = rs->at_start ? rs->head : rs->current->next;
    rs->row_lost = row != nullptr && populate_row(stmt, row) != 0;
    if (rs->row_lost)
        return SQL_ERROR;
    rs->current = row;
    rs->at_start = 0;
    if (row == nullptr) {
        rs->exhausted = 1;
        return SQL_NO_DATA;
    }
    return SQL_SUCCESS;
}
