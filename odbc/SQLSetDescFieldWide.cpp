// SQLSetDescField in both forms. The value is the pointer argument itself, cut to the width of its
// field; only a name is pointed to.
#include "odbc/SQLSetDescFieldWide.h"

#include <cstring>

#include "core/describe/cass_field.h"

static constexpr char log_source[] = "SQLSetDescFieldWide.c";

struct set_call {
    cass_desc *desc;
    const desc_identifier *row;
    void *value;
    SQLINTEGER buffer_length;
    text_form form;
    desc_role role;
    const char *name;  // of the entry point
};

cass_handle *desc_failure_handle(cass_desc *desc)
{
    return desc->stmt != nullptr ? &desc->stmt->head : &desc->head;
}

static SQLRETURN refuse(const set_call &call, cass_state_row state, const char *complaint)
{
    CASS_LOG(&call.desc->head, LOG_ERROR, "%s: %s", call.name, complaint);
    cass_post_error(&call.desc->head, state, 0, nullptr);
    return SQL_ERROR;
}

static SQLRETURN expand_failed(const set_call &call)
{
    CASS_LOG(&call.desc->head, LOG_ERROR, "%s: failed to expand descriptor", call.name);
    cass_post_error(desc_failure_handle(call.desc), STATE_HY001, 0, nullptr);
    return SQL_ERROR;
}

static SQLLEN number_of(const void *value)
{
    return reinterpret_cast<SQLLEN>(value);
}

// Cuts the value to the width of its field; narrow ones keep their sign.
static void store_number(const set_call &call, unsigned char *base)
{
    unsigned char *member = base + call.row->offset;
    const SQLLEN number = number_of(call.value);
    switch (call.row->kind) {
    case DESC_HEADER_64:
    case DESC_RECORD_64:
        std::memcpy(member, &number, sizeof number);
        return;
    case DESC_HEADER_32:
    case DESC_RECORD_32: {
        const auto wide = static_cast<std::int32_t>(number);
        std::memcpy(member, &wide, sizeof wide);
        return;
    }
    default: {
        const std::int32_t narrow = static_cast<SQLSMALLINT>(number);
        std::memcpy(member, &narrow, sizeof narrow);
        return;
    }
    }
}

static bool some_stored_fields_fail(const cass_conn *conn)
{
    return conn->conduct->some_stored_fields_fail;
}

// Of SET_STORE_FAIL.
static SQLRETURN stored_code(const set_call &call)
{
    return some_stored_fields_fail(desc_conn(call.desc)) ? SQL_ERROR : SQL_SUCCESS;
}

static SQLRETURN set_count(const set_call &call)
{
    if (call.role == ROLE_IRD || call.role == ROLE_NONE)
        return refuse(call, STATE_HY016, "the count cannot be set");
    const auto count = static_cast<SQLSMALLINT>(number_of(call.value));
    if (count < 0)
        return refuse(call, STATE_07009, "negative count");
    return cass_desc_resize(call.desc, count) == 0 ? SQL_SUCCESS : expand_failed(call);
}

static SQLRETURN set_header(const set_call &call)
{
    auto *base = reinterpret_cast<unsigned char *>(call.desc);
    switch (call.row->rule) {
    case SET_REFUSE:
        return refuse(call, STATE_HY091, "the field cannot be set");
    case SET_COUNT:
        return set_count(call);
    case SET_APP_HEADER:
        // A descriptor that no statement uses is neither ARD nor APD yet.
        if (call.role != ROLE_ARD && call.role != ROLE_APD)
            return refuse(call, STATE_HY016, "neither ARD nor APD");
        break;
    default:
        break;
    }
    store_number(call, base);
    return call.row->rule == SET_STORE_FAIL ? stored_code(call) : SQL_SUCCESS;
}

static SQLRETURN set_name(const set_call &call, cass_field *field)
{
    cass_string *name;
    if (call.form == TEXT_ANSI) {
        name = cass_string_from_ansi(static_cast<const SQLCHAR *>(call.value), call.buffer_length);
    } else {
        // Tested before it is halved, as half of another negative count is SQL_NTS.
        std::int64_t units = call.buffer_length;
        if (units != SQL_NTS)
            units = units < 0 ? 0 : units / static_cast<std::int64_t>(sizeof(SQLWCHAR));
        name = cass_string_from_wide(static_cast<const SQLWCHAR *>(call.value), units);
    }
    if (name == nullptr && call.value != nullptr)
        return refuse(call, STATE_HY001, "failed to create string");
    cass_string_free(field->column_name);
    field->column_name = name;
    field->unnamed = name == nullptr ? 1 : 0;
    return SQL_SUCCESS;
}

static SQLRETURN set_unnamed(const set_call &call, cass_field *field)
{
    if (static_cast<SQLSMALLINT>(number_of(call.value)) != SQL_UNNAMED)
        return refuse(call, STATE_HY092, "invalid value of SQL_DESC_UNNAMED");
    cass_string_free(field->column_name);
    field->column_name = nullptr;
    field->unnamed = 1;
    return SQL_SUCCESS;
}

static SQLRETURN set_parameter_type(const set_call &call, cass_field *field)
{
    const auto type = static_cast<SQLSMALLINT>(number_of(call.value));
    if (type != SQL_PARAM_INPUT && type != SQL_PARAM_INPUT_OUTPUT && type != SQL_PARAM_OUTPUT)
        return refuse(call, STATE_HY105, "invalid parameter type");
    field->parameter_type = type;
    return SQL_SUCCESS;
}

static SQLRETURN update_types(const set_call &call, cass_field *field, int mode)
{
    store_number(call, reinterpret_cast<unsigned char *>(field));
    return cass_update_desc_type(&call.desc->head, field, mode) == 0 ? SQL_SUCCESS : SQL_ERROR;
}

static SQLRETURN apply(const set_call &call, cass_field *field)
{
    auto *base = reinterpret_cast<unsigned char *>(field);
    const bool is_ipd = call.role == ROLE_IPD;
    switch (call.row->rule) {
    case SET_STORE_FAIL:
        store_number(call, base);
        return stored_code(call);
    case SET_IGNORE_NOT_IPD:
        return is_ipd ? refuse(call, STATE_HY091, "not a field of an IPD") : SQL_SUCCESS;
    case SET_STORE_NOT_IPD:
        if (!is_ipd)
            store_number(call, base);
        return SQL_SUCCESS;
    case SET_DATA_PTR:
        if (is_ipd)
            return SQL_SUCCESS;
        store_number(call, base);
        return cass_field_check(&call.desc->head, field) == 0 ? SQL_SUCCESS : SQL_ERROR;
    case SET_CONCISE_TYPE:
        return update_types(call, field, DESC_FROM_CONCISE_TYPE);
    case SET_INTERVAL_CODE:
        return update_types(call, field, DESC_FROM_INTERVAL_CODE);
    case SET_TYPE:
        return update_types(call, field, DESC_FROM_TYPE);
    case SET_PARAMETER_TYPE:
        return is_ipd ? set_parameter_type(call, field) : SQL_SUCCESS;
    case SET_NAME:
        return is_ipd ? set_name(call, field) : SQL_SUCCESS;
    case SET_UNNAMED:
        return is_ipd ? set_unnamed(call, field) : SQL_SUCCESS;
    case SET_STORE:
        store_number(call, base);
        return SQL_SUCCESS;
    default:
        return SQL_SUCCESS;
    }
}

static bool a_set_field_drops_the_indicator(const cass_conn *conn)
{
    return conn->conduct->a_set_field_drops_the_indicator;
}

// The buffers belong to a description that is about to change.
static void unbind_record(const set_call &call, cass_field *field)
{
    field->data_ptr = nullptr;
    // In an ARD they are what a fetch still writes to.
    if (call.role != ROLE_ARD && !a_set_field_drops_the_indicator(desc_conn(call.desc)))
        return;
    field->indicator_ptr = nullptr;
    field->octet_length_ptr = nullptr;
}

static bool keeps_binding(SQLSMALLINT id)
{
    return id == SQL_DESC_DATA_PTR || id == SQL_DESC_INDICATOR_PTR ||
           id == SQL_DESC_OCTET_LENGTH_PTR;
}

static SQLRETURN set_desc_field(const set_call &call, SQLSMALLINT rec, SQLSMALLINT field_identifier)
{
    if (call.row != nullptr && is_desc_header(call.row))
        return set_header(call);

    cass_desc *desc = call.desc;
    if (call.role == ROLE_IRD)
        return refuse(call, STATE_HY016, "the IRD cannot be set");
    if (rec < 0 || (rec == 0 && call.role == ROLE_IPD))
        return refuse(call, STATE_07009, "invalid record");
    if (rec > desc->field_count && cass_desc_resize(desc, rec) != 0)
        return expand_failed(call);

    cass_field *field = rec == 0 ? &desc->bookmark_field : &desc->fields[rec - 1];
    // Setting any other field unbinds the record, even one that turns out not to exist.
    if (!keeps_binding(field_identifier))
        unbind_record(call, field);
    return call.row != nullptr ? apply(call, field) : refuse(call, STATE_HY091, "unexpected field");
}

SQLRETURN set_desc_field_entry(SQLHDESC handle, const entry_point &entry, text_form form,
                               SQLSMALLINT rec, SQLSMALLINT field_identifier, void *value,
                               SQLINTEGER buffer_length)
{
    return enter_desc(
        handle, entry,
        [&](cass_desc *desc) {
            ENTRY_LOG(&desc->head, entry, LOG_ENTRY,
                      "%s: descriptor_handle=%p, rec=%d, field_identifier=%d, value=%p, "
                      "buffer_length=%d",
                      entry.name, static_cast<void *>(desc), static_cast<int>(rec),
                      static_cast<int>(field_identifier), value, static_cast<int>(buffer_length));
        },
        [&](cass_desc *desc) {
            const set_call call = {desc,      find_desc_identifier(field_identifier),
                                   value,     buffer_length,
                                   form,      desc_role_of(desc),
                                   entry.name};
            return set_desc_field(call, rec, field_identifier);
        });
}
