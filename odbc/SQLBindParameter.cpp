// SQLBindParameter: an application buffer becomes the source of a parameter, or is taken back. Only
// the record is written here; the buffer is not looked at before execution.
#include "core/describe/cass_field.h"
#include "core/statement/cass_stmt.h"
#include "odbc/entry_frame.h"

static constexpr char log_source[] = "SQLBindParameter.c";
static constexpr entry_point entry = {.name = "SQLBindParameter", .source = log_source};

// The arguments of a call.
struct parameter_binding {
    std::int32_t number;  // from 1
    std::int32_t input_output;
    std::int32_t value_type;
    std::int32_t sql_type;
    SQLULEN column_size;
    std::int32_t decimal_digits;
    void *data;
    SQLLEN buffer_length;
    SQLLEN *length_or_indicator;
};

static bool is_unbound(const cass_field *field)
{
    return field->data_ptr == nullptr && field->indicator_ptr == nullptr &&
           field->octet_length_ptr == nullptr;
}

static bool unbinding_a_parameter_fails(const cass_conn *conn)
{
    return conn->conduct->unbinding_a_parameter_fails;
}

static SQLRETURN unbind(cass_stmt *stmt, std::int32_t number)
{
    cass_desc *apd = stmt->apd;
    CASS_LOG(&stmt->head, LOG_DETAIL, "unbinding parameters %d", number);
    if (number > apd->field_count) {
        CASS_LOG(&stmt->head, LOG_DETAIL, "unbinding past end");
        return SQL_SUCCESS;
    }
    cass_field *field = &apd->fields[number - 1];
    field->data_ptr = nullptr;
    field->indicator_ptr = nullptr;
    field->octet_length_ptr = nullptr;
    const SQLRETURN code = unbinding_a_parameter_fails(stmt_conn(stmt)) ? SQL_ERROR : SQL_SUCCESS;
    if (number < apd->field_count)
        return code;

    CASS_LOG(&stmt->head, LOG_DETAIL, "truncating apd list at %d", number);
    std::int32_t bound = number - 1;
    while (bound > 0 && is_unbound(&apd->fields[bound - 1]))
        bound--;
    if (bound == 0) {
        CASS_LOG(&stmt->head, LOG_DETAIL, "unbinding all");
        cass_desc_clear_fields(apd);
    } else {
        cass_desc_resize(apd, bound);
    }
    return code;
}

static SQLRETURN fail(cass_stmt *stmt, cass_state_row row, const char *log_text)
{
    CASS_LOG(&stmt->head, LOG_ERROR, "%s", log_text);
    cass_post_error(&stmt->head, row, 0, nullptr);
    return SQL_ERROR;
}

static bool valid_input_output(std::int32_t type)
{
    // Nothing is ever written back: an output parameter is bound but receives nothing.
    switch (type) {
    case SQL_PARAM_INPUT:
    case SQL_PARAM_INPUT_OUTPUT:
    case SQL_PARAM_OUTPUT:
    case SQL_PARAM_INPUT_OUTPUT_STREAM:
    case SQL_PARAM_OUTPUT_STREAM:
        return true;
    default:
        return false;
    }
}

// Buffer size for a BufferLength of -1, by SQL type. SQL_VARBINARY has none, on purpose.
static SQLLEN default_buffer_length(std::int32_t sql_type)
{
    switch (sql_type) {
    case SQL_WLONGVARCHAR:
    case SQL_WVARCHAR:
    case SQL_WCHAR:
    case SQL_LONGVARBINARY:
    case SQL_BINARY:
    case SQL_LONGVARCHAR:
    case SQL_CHAR:
    case SQL_VARCHAR:
        return 512;
    default:
        return 0;
    }
}

static bool expand(cass_desc *desc, std::int32_t count)
{
    return desc->field_count >= count || cass_desc_resize(desc, count) == 0;
}

static bool sizes_of_a_binding_are_judged(const cass_conn *conn)
{
    return conn->conduct->sizes_of_a_binding_are_judged;
}

// What a record takes from the call. What was stored stays when a later check fails.
static SQLRETURN bind_field(cass_stmt *stmt, cass_field *field, const parameter_binding *binding)
{
    std::int32_t c_type = binding->value_type;
    if (c_type == SQL_C_DEFAULT) {
        if (binding->sql_type == SQL_C_DEFAULT) {
            CASS_LOG(&stmt->head, LOG_ERROR,
                     "SQLBindParameter: both C and SQL type can not be default");
            cass_post_error(&stmt->head, STATE_HY000, 0, "both C and SQL type can not be default");
            return SQL_ERROR;
        }
        const bool odbc2 = conn_env(stmt_conn(stmt))->odbc_version == SQL_OV_ODBC2;
        c_type = cass_default_c_type(binding->sql_type, 1, odbc2);
    }
    // A fixed C type replaces the length by its own size, the stride of a column-wise array.
    field->octet_length = binding->buffer_length == -1 ? default_buffer_length(binding->sql_type)
                                                       : binding->buffer_length;
    field->consise_type = c_type;
    if (cass_update_desc_type(&stmt->head, field, DESC_FROM_CONCISE_TYPE) != 0)
        return SQL_ERROR;
    const bool judged = sizes_of_a_binding_are_judged(stmt_conn(stmt));
    if (judged && (binding->sql_type == SQL_NUMERIC || binding->sql_type == SQL_DECIMAL) &&
        binding->column_size == 0)
        return fail(stmt, STATE_HY104, "BindParameter: invalid precision");

    // A call that is refused leaves what was handed over for the binding before.
    cass_field_free_put_data(field);
    field->target_type = binding->sql_type;
    field->parameter_type = binding->input_output;
    field->precision = static_cast<std::int32_t>(binding->column_size);
    field->scale = binding->decimal_digits;
    field->data_ptr = binding->data;
    field->indicator_ptr = binding->length_or_indicator;
    field->octet_length_ptr = binding->length_or_indicator;
    if (!judged && field->octet_length < 0)
        return fail(stmt, STATE_HY090, "SQLBindParameter: invalid buffer length");
    const auto check = judged ? cass_field_check : cass_field_check_types;
    return check(&stmt->head, field) == 0 ? SQL_SUCCESS : SQL_ERROR;
}

static SQLRETURN bind_parameter(cass_stmt *stmt, const parameter_binding *binding)
{
    if (binding->number < 1)
        return fail(stmt, STATE_07009, "SQLBindParameter: invalid parameter number");
    if (binding->data == nullptr && binding->length_or_indicator == nullptr)
        return unbind(stmt, binding->number);
    CASS_LOG(&stmt->head, LOG_DETAIL, "binding parameter %d", binding->number);
    if (!cass_valid_c_type(binding->value_type))
        return fail(stmt, STATE_HY003, "SQLBindParameter: invalid c-type");
    if (!cass_valid_sql_type(binding->sql_type))
        return fail(stmt, STATE_HY004, "SQLBindParameter: invalid sql-type");
    if (!expand(stmt->apd, binding->number) || !expand(stmt->ipd, binding->number))
        return fail(stmt, STATE_HY001, "SQLBindParameter: failed to expand descriptor");
    if (!valid_input_output(binding->input_output))
        return fail(stmt, STATE_HY105, "SQLBindParameter: invalid parameter type");
    const SQLRETURN code = bind_field(stmt, &stmt->apd->fields[binding->number - 1], binding);
    if (code == SQL_SUCCESS && stmt->prepared)
        stmt->params_rebound = 1;
    return code;
}

VHCASS_EXPORT SQLRETURN SQL_API SQLBindParameter(SQLHSTMT statement_handle,
                                                 SQLUSMALLINT parameter_number,
                                                 SQLSMALLINT input_output_type,
                                                 SQLSMALLINT value_type, SQLSMALLINT parameter_type,
                                                 SQLULEN column_size, SQLSMALLINT decimal_digits,
                                                 SQLPOINTER parameter_value, SQLLEN buffer_length,
                                                 SQLLEN *strlen_or_ind)
{
    const parameter_binding binding = {
        .number = parameter_number,
        .input_output = input_output_type,
        .value_type = value_type,
        .sql_type = parameter_type,
        .column_size = column_size,
        .decimal_digits = decimal_digits,
        .data = parameter_value,
        .buffer_length = buffer_length,
        .length_or_indicator = strlen_or_ind,
    };
    return enter_stmt(
        statement_handle, entry,
        [&](cass_stmt *stmt) {
            CASS_LOG(&stmt->head, LOG_ENTRY,
                     "SQLBindParameter: statement_handle=%p, parameter_number=%d, "
                     "input_output_type=%d, value_type=%d, parameter_type=%d, column_size=%d, "
                     "decimal_digits=%d, parameter_value=%p, buffer_length=%d, strlen_or_ind=%p",
                     static_cast<void *>(stmt), parameter_number, input_output_type, value_type,
                     parameter_type, static_cast<int>(column_size), decimal_digits, parameter_value,
                     static_cast<int>(buffer_length), static_cast<void *>(strlen_or_ind));
        },
        [&](cass_stmt *stmt) { return bind_parameter(stmt, &binding); });
}
