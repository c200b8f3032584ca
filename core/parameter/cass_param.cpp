// Parameters: from the application's bindings to values in a request body. This room finds the
// elements of the set in work, checks that all markers are bound, and hands each value to the
// writer of its target type: by the SQL type of the binding, where the server refuses what does not
// fit its column, or by the type that the server has told of the marker.
#include "core/parameter/cass_param.h"

#include <cstdlib>

#include "core/describe/cass_field.h"
#include "core/parameter/cass_param_internal.h"

static constexpr char log_source[] = "cass_param.c";

// ---- Elements ----------------------------------------------------------------------------------

// The set in work by the APD's binding rules.
struct param_set {
    const cass_desc *apd;
    std::int32_t row;
    SQLLEN offset;  // bind offset
};

// Address of an element of the set. Wraps instead of overflowing: strides and offsets are the
// application's and may be anything.
static const unsigned char *element_at(const param_set *set, const void *base, SQLLEN column_stride)
{
    const SQLLEN stride = set->apd->bind_type > 0 ? set->apd->bind_type : column_stride;
    const std::uintptr_t address =
        reinterpret_cast<std::uintptr_t>(base) +
        static_cast<std::uintptr_t>(set->row) * static_cast<std::uintptr_t>(stride) +
        static_cast<std::uintptr_t>(set->offset);
    return reinterpret_cast<const unsigned char *>(address);
}

static SQLLEN length_element(const param_set *set, const void *base)
{
    SQLLEN value;
    std::memcpy(&value, element_at(set, base, sizeof value), sizeof value);
    return value;
}

static param_set param_current_set(const cass_stmt *stmt)
{
    param_set set = {.apd = stmt->apd, .row = stmt->param_row, .offset = 0};
    if (set.apd->bind_offset_ptr != nullptr)
        std::memcpy(&set.offset, set.apd->bind_offset_ptr, sizeof set.offset);
    return set;
}

// Indicator element of a record; false when it has no indicator pointer.
static bool param_indicator(const param_set *set, const cass_field *field, SQLLEN *value)
{
    if (field->indicator_ptr == nullptr)
        return false;
    *value = length_element(set, field->indicator_ptr);
    return true;
}

static bool param_is_at_exec(SQLLEN indicator)
{
    return indicator == SQL_DATA_AT_EXEC || indicator < -99;
}

bool cass_param_at_exec(const cass_stmt *stmt, std::int32_t index)
{
    // Executing again looks at the set behind the last one of the run before: there is no element
    // then, and the values that came for the earlier run are sent again.
    if (static_cast<SQLULEN>(stmt->param_row) >= stmt->apd->array_size)
        return false;
    const param_set set = param_current_set(stmt);
    SQLLEN indicator;
    return param_indicator(&set, &stmt->apd->fields[index], &indicator) &&
           param_is_at_exec(indicator);
}

int param_fail(const cass_param *param, cass_state_row row, const char *reason)
{
    if (reason != nullptr)
        CASS_LOG(&param->stmt->head, LOG_ERROR, "cass_append_params: %s for param %d", reason,
                 param_number(param));
    cass_post_error_column(&param->stmt->head, row, 0, param_number(param), nullptr);
    return 1;
}

int param_fail_source(const cass_param *param, const char *getter)
{
    CASS_LOG(&param->stmt->head, LOG_ERROR, "unexpected source type %d found in %s for param %d",
             param->field->consise_type, getter, param_number(param));
    return param_fail(param, STATE_07006);
}

// ---- Data --------------------------------------------------------------------------------------

static bool take_chunk(cass_param *param, const cass_put_chunk *chunk)
{
    if (chunk == nullptr || chunk->length < 0)
        return false;
    param->data = chunk->bytes;
    param->length = chunk->length;
    param->has_length = true;
    return true;
}

bool param_load_first(cass_param *param)
{
    return !param->at_exec || take_chunk(param, param->field->put_data);
}

// Copies a list of `total` bytes, known to be above 0, into one block.
static int join_chunks(cass_param *param, std::int64_t total)
{
    auto *joined = static_cast<unsigned char *>(std::malloc(static_cast<std::size_t>(total)));
    if (joined == nullptr)
        return param_fail(param, STATE_HY001, "no memory to join the chunks");
    param->owned = joined;
    param->data = joined;
    const cass_put_chunk *chunk = param->field->put_data;
    for (; chunk != nullptr; chunk = chunk->next) {
        if (chunk->length == 0)
            continue;
        std::memcpy(joined, chunk->bytes, static_cast<std::size_t>(chunk->length));
        joined += chunk->length;
    }
    return 0;
}

int param_load_joined(cass_param *param, std::int32_t *length)
{
    *length = 0;
    if (!param->at_exec)
        return 0;
    std::int64_t total = 0;
    const cass_put_chunk *filled = nullptr;
    int filled_count = 0;
    const cass_put_chunk *chunk = param->field->put_data;
    for (; chunk != nullptr; chunk = chunk->next) {
        if (chunk->length < 0) {
            *length = -1;
            return 0;
        }
        if (chunk->length > 0) {
            filled = chunk;
            filled_count++;
        }
        total += chunk->length;
    }
    if (total > INT32_MAX)
        return param_fail(param, STATE_HY090, "chunks too long");
    param->has_length = true;
    param->length = total;
    if (filled_count > 1)
        return join_chunks(param, total);
    param->data = filled != nullptr ? filled->bytes : nullptr;
    return 0;
}

int param_copy_fixed(const cass_param *param, void *value, std::size_t size)
{
    // A chunk holds what SQLPutData was given, which need not be a whole value.
    if (param->at_exec && static_cast<std::size_t>(param->length) < size)
        return param_fail(param, STATE_HY090, "chunk shorter than its C type");
    std::memcpy(value, param->data, size);
    return 0;
}

// ---- Types -------------------------------------------------------------------------------------

static param_c_type describe_c_type(std::int32_t c_type)
{
    switch (c_type) {
    case SQL_C_STINYINT:
    case SQL_C_TINYINT:
        return {KIND_SIGNED, 1};
    case SQL_C_SSHORT:
    case SQL_C_SHORT:
        return {KIND_SIGNED, 2};
    case SQL_C_SLONG:
    case SQL_C_LONG:
        return {KIND_SIGNED, 4};
    case SQL_C_SBIGINT:
    case SQL_BIGINT:
        return {KIND_SIGNED, 8};
    case SQL_C_UTINYINT:
        return {KIND_UNSIGNED, 1};
    case SQL_C_USHORT:
        return {KIND_UNSIGNED, 2};
    case SQL_C_ULONG:
        return {KIND_UNSIGNED, 4};
    case SQL_C_UBIGINT:
        return {KIND_UNSIGNED, 8};
    case SQL_C_BIT:
        return {KIND_BIT, 1};
    case SQL_C_FLOAT:
        return {KIND_REAL, sizeof(SQLREAL)};
    case SQL_FLOAT:
    case SQL_C_DOUBLE:
        return {KIND_REAL, sizeof(SQLDOUBLE)};
    case SQL_C_NUMERIC:
    case SQL_DECIMAL:
        return {KIND_NUMERIC, sizeof(SQL_NUMERIC_STRUCT)};
    case SQL_C_GUID:
        return {KIND_GUID, sizeof(SQLGUID)};
    case SQL_C_DATE:
    case SQL_C_TYPE_DATE:
        return {KIND_DATE, sizeof(SQL_DATE_STRUCT)};
    case SQL_C_TIME:
    case SQL_C_TYPE_TIME:
        return {KIND_TIME, sizeof(SQL_TIME_STRUCT)};
    case SQL_C_TIMESTAMP:
    case SQL_C_TYPE_TIMESTAMP:
        return {KIND_TIMESTAMP, sizeof(SQL_TIMESTAMP_STRUCT)};
    case SQL_C_CHAR:
    case SQL_VARCHAR:
    case SQL_LONGVARCHAR:
        return {KIND_TEXT, 0};
    case SQL_WCHAR:
    case SQL_WVARCHAR:
    case SQL_WLONGVARCHAR:
        return {KIND_WIDE, 0};
    case SQL_C_BINARY:
    case SQL_VARBINARY:
    case SQL_LONGVARBINARY:
        return {KIND_BINARY, 0};
    case SQL_C_DEFAULT:
        return {KIND_DEFAULT, 0};
    default:
        return {KIND_NONE, 0};
    }
}

cass_c_size cass_c_type_size(std::int32_t c_type)
{
    const param_c_type type = describe_c_type(c_type);
    switch (type.kind) {
    case KIND_TEXT:
    case KIND_BINARY:
        return {.fixed = 0, .unit = 1};
    case KIND_WIDE:
        return {.fixed = 0, .unit = sizeof(SQLWCHAR)};
    default:
        return {.fixed = type.size, .unit = 0};
    }
}

// SQL type of a record that was bound without one.
static std::int32_t default_target(std::int32_t c_type, bool odbc2)
{
    switch (c_type) {
    case SQL_C_UBIGINT:
        return odbc2 ? SQL_CHAR : SQL_C_UBIGINT;
    case SQL_C_SBIGINT:
    case SQL_BIGINT:
        return odbc2 ? SQL_CHAR : SQL_C_SBIGINT;
    case SQL_WLONGVARCHAR:
    case SQL_WVARCHAR:
    case SQL_WCHAR:
        return SQL_WCHAR;
    case SQL_LONGVARBINARY:
    case SQL_VARBINARY:
    case SQL_BINARY:
        return SQL_BINARY;
    case SQL_LONGVARCHAR:
    case SQL_CHAR:
    case SQL_NUMERIC:
    case SQL_DECIMAL:
    case SQL_VARCHAR:
        return SQL_CHAR;
    default:
        return c_type;
    }
}

using param_writer = int (*)(cass_param *param, cass_packet *packet, std::int32_t target);

// The writer of a target type, or null. The C type codes of the integers are accepted as targets
// too.
static param_writer writer_for(std::int32_t target)
{
    switch (target) {
    case SQL_C_UTINYINT:
    case SQL_C_STINYINT:
    case SQL_TINYINT:
    case SQL_C_ULONG:
    case SQL_C_SLONG:
    case SQL_INTEGER:
    case SQL_C_USHORT:
    case SQL_C_SSHORT:
    case SQL_SMALLINT:
    case SQL_BIT:
        return param_put_integer;
    case SQL_C_UBIGINT:
    case SQL_C_SBIGINT:
    case SQL_BIGINT:
        return param_put_bigint;
    case SQL_GUID:
        return param_put_guid;
    case SQL_WLONGVARCHAR:
    case SQL_WVARCHAR:
    case SQL_WCHAR:
    case SQL_LONGVARCHAR:
    case SQL_CHAR:
    case SQL_VARCHAR:
        return param_put_text;
    case SQL_LONGVARBINARY:
    case SQL_VARBINARY:
    case SQL_BINARY:
        return param_put_binary;
    case SQL_NUMERIC:
    case SQL_DECIMAL:
        return param_put_decimal;
    case SQL_FLOAT:
    case SQL_DOUBLE:
        return param_put_double;
    case SQL_REAL:
        return param_put_float;
    case SQL_TYPE_DATE:
    case SQL_DATE:
        return param_put_date;
    case SQL_TYPE_TIME:
    case SQL_TIME:
        return param_put_time;
    case SQL_TYPE_TIMESTAMP:
    case SQL_TIMESTAMP:
        return param_put_timestamp;
    default:
        return nullptr;
    }
}

static bool binding_decides_encoding(const cass_conn *conn)
{
    return conn->conduct->binding_decides_encoding;
}

// The type that the server has told of the marker, in *plain where it is no tree; null where the
// binding decides.
static const cass_type_option *column_type_of(const cass_stmt *stmt, std::int32_t index,
                                              cass_type_option *plain)
{
    const cass_desc *markers = stmt->implicit_ipd;
    if (binding_decides_encoding(stmt_conn(stmt)) || index >= markers->field_count ||
        !stmt->prepared)
        return nullptr;
    const cass_field *marker = &markers->fields[index];
    *plain = {};
    plain->option_id = marker->cql_type;
    const cass_type_option *type = marker->type_tree != nullptr ? marker->type_tree : plain;
    return param_has_writer(cql_type_meant(type)) ? cql_type_meant(type) : nullptr;
}

// ---- Checking ----------------------------------------------------------------------------------

int cass_check_bound(cass_stmt *stmt, int silent)
{
    const std::int32_t markers = stmt->found_param_count;
    const cass_desc *apd = stmt->apd;
    CASS_LOG(&stmt->head, LOG_DETAIL, "cass_check_params, stmt_field_count=%d", markers);
    if (apd->field_count < markers) {
        CASS_LOG(&stmt->head, LOG_ERROR, "Inconnect number of bound parameters %d %d",
                 apd->field_count, markers);
        if (!silent)
            cass_post_error(&stmt->head, STATE_07002, 0, nullptr);
        return -1;
    }
    for (std::int32_t index = 0; index < markers; index++) {
        const cass_field *field = &apd->fields[index];
        CASS_LOG(&stmt->head, LOG_DETAIL, "Checking param %d, ind=%p data=%p", index,
                 field->indicator_ptr, field->data_ptr);
        if (field->indicator_ptr != nullptr || field->data_ptr != nullptr)
            continue;
        CASS_LOG(&stmt->head, LOG_ERROR, "Parameter %d is not bound", index + 1);
        if (!silent)
            cass_post_error_column(&stmt->head, STATE_07002, 0, index + 1, nullptr);
        return -1;
    }
    return 0;
}

static bool chunks_outlive_their_run(const cass_conn *conn)
{
    return conn->conduct->chunks_outlive_their_run;
}

int cass_await_data(cass_stmt *stmt, std::int32_t operation)
{
    const std::int32_t markers = stmt->found_param_count;
    cass_desc *apd = stmt->apd;
    if (!chunks_outlive_their_run(stmt_conn(stmt))) {
        for (std::int32_t index = 0; index < apd->field_count; index++)
            cass_field_free_put_data(&apd->fields[index]);
    }
    for (std::int32_t index = 0; index < markers; index++) {
        if (!cass_param_at_exec(stmt, index))
            continue;
        stmt->current_dae_param = index;
        stmt->current_dae_op = operation;
        stmt->current_dae_first = 1;
        CASS_LOG(&stmt->head, LOG_DETAIL, "data at execute param %d", index);
        return SQL_NEED_DATA;
    }
    return 0;
}

int cass_check_params(cass_stmt *stmt, int silent, std::int32_t operation)
{
    const int bound = cass_check_bound(stmt, silent);
    return bound != 0 ? bound : cass_await_data(stmt, operation);
}

// ---- Encoding ----------------------------------------------------------------------------------

// Fills the record's lengths and types; `indicator` is null without an indicator element.
static void describe_param(cass_param *param, const param_set *set, const SQLLEN *indicator)
{
    const cass_field *field = param->field;
    const cass_desc *ipd = param->stmt->ipd;
    const bool known = param->index < ipd->field_count;
    const cass_field *server = known ? &ipd->fields[param->index] : nullptr;
    param->c_type = describe_c_type(field->consise_type);
    param->precision = field->precision == 0 && server ? server->precision : field->precision;
    param->scale = field->scale == 0 && server ? server->scale : field->scale;
    param->octet_length =
        field->octet_length == 0 && server ? server->octet_length : field->octet_length;
    param->owned = nullptr;
    param->by_column = false;
    param->at_exec = indicator != nullptr && param_is_at_exec(*indicator);
    param->data = nullptr;
    param->has_length = false;
    param->length = 0;
    if (param->at_exec)
        return;

    if (field->data_ptr != nullptr)
        param->data = element_at(set, field->data_ptr, field->octet_length);
    const void *length_ptr = field->octet_length_ptr;
    if (length_ptr != nullptr && length_ptr != field->indicator_ptr) {
        param->has_length = true;
        param->length = length_element(set, length_ptr);
    } else if (indicator != nullptr) {
        param->has_length = true;
        param->length = *indicator;
    }
}

static int append_value(cass_param *param, cass_packet *packet)
{
    if (param->at_exec)
        CASS_LOG(&param->stmt->head, LOG_DETAIL, "data at exec parameter found (%d,%d)",
                 param_number(param), param->field->consise_type);
    cass_type_option plain;
    const cass_type_option *type = column_type_of(param->stmt, param->index, &plain);
    // Where the column decides, an empty text or binary needs no pointer.
    const bool empty =
        type != nullptr && param->has_length && param->length == 0 && param->c_type.size == 0;
    if (!param->at_exec && param->data == nullptr && !empty)
        return param_fail(param, STATE_HY009, "no data pointer");
    if (type != nullptr) {
        param->by_column = true;
        const int code = param_put_typed(param, packet, type);
        std::free(param->owned);
        return code;
    }
    std::int32_t target = param->field->target_type;
    if (target == SQL_C_DEFAULT)
        target = default_target(param->field->consise_type,
                                conn_env(stmt_conn(param->stmt))->odbc_version == SQL_OV_ODBC2);
    const param_writer writer = writer_for(target);
    if (writer == nullptr) {
        CASS_LOG(&param->stmt->head, LOG_ERROR,
                 "unexpected target type %d found in cass_append_param_data for param %d", target,
                 param_number(param));
        return param_fail(param, STATE_07006);
    }
    const int code = writer(param, packet, target);
    std::free(param->owned);
    return code;
}

static bool null_indicator_leaves_value_out(const cass_conn *conn)
{
    return conn->conduct->null_indicator_leaves_value_out;
}

static bool a_default_parameter_is_a_length(const cass_conn *conn)
{
    return conn->conduct->a_default_parameter_is_a_length;
}

int cass_append_params(cass_stmt *stmt, cass_packet *packet)
{
    const std::int32_t markers = stmt->found_param_count;
    CASS_LOG(&stmt->head, LOG_DETAIL, "cass_append_params, stmt_field_count=%d", markers);
    pkt_put_short(packet, static_cast<std::int16_t>(markers));

    const param_set set = param_current_set(stmt);
    cass_param param;
    param.stmt = stmt;
    for (param.index = 0; param.index < markers; param.index++) {
        if (param.index >= set.apd->field_count)
            return param_fail(&param, STATE_07002, "no binding");
        param.field = &set.apd->fields[param.index];
        SQLLEN indicator = 0;
        const bool has_indicator = param_indicator(&set, param.field, &indicator);
        if (has_indicator && indicator == SQL_NULL_DATA) {
            // Left out, the server reads the values behind it for earlier markers. A null that
            // comes at execution is always written.
            if (!null_indicator_leaves_value_out(stmt_conn(stmt)))
                param_put_null(packet);
            continue;
        }
        if (has_indicator && indicator == SQL_DEFAULT_PARAM &&
            !a_default_parameter_is_a_length(stmt_conn(stmt)))
            return param_fail(&param, STATE_07S01, "no default parameters");
        CASS_LOG(&stmt->head, LOG_DETAIL, "cass_append_params, add param %d of %d",
                 param_number(&param), markers);
        describe_param(&param, &set, has_indicator ? &indicator : nullptr);
        if (append_value(&param, packet) != 0)
            return 1;
    }
    return 0;
}
