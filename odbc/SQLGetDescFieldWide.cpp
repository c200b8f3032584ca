// SQLGetDescField in both forms, and the table of descriptor fields that the setter reads too.
#include "odbc/SQLGetDescFieldWide.h"

#include <cstring>

#include "core/describe/cass_field.h"
#include "core/diag/cass_text_out.h"

static constexpr char log_source[] = "SQLGetDescFieldWide.c";

#define HEADER(member) offsetof(cass_desc, member)
#define FIELD(member)  offsetof(cass_field, member)
// clang-format off
static constexpr desc_identifier desc_identifiers[] = {
    {SQL_DESC_ALLOC_TYPE,         DESC_ALLOC,     0,                          SET_REFUSE},
    {SQL_DESC_COUNT,              DESC_HEADER_16, HEADER(field_count),        SET_COUNT},
    {SQL_DESC_ARRAY_SIZE,         DESC_HEADER_64, HEADER(array_size),         SET_APP_HEADER},
    {SQL_DESC_ARRAY_STATUS_PTR,   DESC_HEADER_64, HEADER(array_status_ptr),   SET_STORE},
    {SQL_DESC_BIND_OFFSET_PTR,    DESC_HEADER_64, HEADER(bind_offset_ptr),    SET_APP_HEADER},
    {SQL_DESC_BIND_TYPE,          DESC_HEADER_32, HEADER(bind_type),          SET_APP_HEADER},
    {SQL_DESC_ROWS_PROCESSED_PTR, DESC_HEADER_64, HEADER(rows_processed_ptr), SET_STORE_FAIL},

    {SQL_DESC_CONCISE_TYPE,       DESC_RECORD_16, FIELD(consise_type),     SET_CONCISE_TYPE},
    {SQL_DESC_DISPLAY_SIZE,       DESC_RECORD_64, FIELD(display_size),     SET_IGNORE},
    {SQL_DESC_UNSIGNED,           DESC_RECORD_16, FIELD(unsigned_attr),    SET_IGNORE_NOT_IPD},
    {SQL_DESC_FIXED_PREC_SCALE,   DESC_RECORD_16, FIELD(fixed_prec_scale), SET_IGNORE_NOT_IPD},
    {SQL_DESC_UPDATABLE,          DESC_RECORD_16, FIELD(updatable),        SET_IGNORE},
    {SQL_DESC_AUTO_UNIQUE_VALUE,  DESC_RECORD_32, FIELD(auto_unique),      SET_IGNORE},
    {SQL_DESC_CASE_SENSITIVE,     DESC_RECORD_32, FIELD(case_sensitive),   SET_IGNORE_NOT_IPD},
    {SQL_DESC_SEARCHABLE,         DESC_RECORD_16, FIELD(searchable),       SET_IGNORE},
    {SQL_DESC_TYPE_NAME,          DESC_RECORD_CONSTANT, FIELD(type_name),      SET_IGNORE_NOT_IPD},
    // The column's name on purpose; SQLColAttribute answers this number with the table.
    {SQL_DESC_TABLE_NAME,         DESC_RECORD_TEXT, FIELD(column_name),    SET_IGNORE},
    {SQL_DESC_SCHEMA_NAME,        DESC_RECORD_TEXT, FIELD(keyspace_name),  SET_IGNORE},
    {SQL_DESC_CATALOG_NAME,       DESC_RECORD_TEXT, FIELD(catalog_name),   SET_IGNORE},
    {SQL_DESC_LABEL,              DESC_RECORD_TEXT, FIELD(column_name),    SET_IGNORE},
    {SQL_DESC_BASE_COLUMN_NAME,   DESC_RECORD_TEXT, FIELD(column_name),    SET_IGNORE},
    {SQL_DESC_BASE_TABLE_NAME,    DESC_RECORD_TEXT, FIELD(table_name),     SET_IGNORE},
    {SQL_DESC_DATETIME_INTERVAL_PRECISION,
                                  DESC_RECORD_32, FIELD(datetime_interval_precision), SET_STORE},
    {SQL_DESC_LITERAL_PREFIX,     DESC_RECORD_CONSTANT, FIELD(literal_prefix), SET_IGNORE},
    {SQL_DESC_LITERAL_SUFFIX,     DESC_RECORD_CONSTANT, FIELD(literal_suffix), SET_IGNORE},
    {SQL_DESC_LOCAL_TYPE_NAME,    DESC_RECORD_LOCAL_NAME, FIELD(local_type_name), SET_IGNORE_NOT_IPD},
    {SQL_DESC_NUM_PREC_RADIX,     DESC_RECORD_32, FIELD(num_prec_radix),   SET_STORE_FAIL},
    {SQL_DESC_PARAMETER_TYPE,     DESC_RECORD_16, FIELD(parameter_type),   SET_PARAMETER_TYPE},
    {SQL_DESC_ROWVER,             DESC_RECORD_16, FIELD(rowver),           SET_STORE},
    {SQL_DESC_TYPE,               DESC_RECORD_16, FIELD(type),             SET_TYPE},
    {SQL_DESC_LENGTH,             DESC_RECORD_64, FIELD(length),           SET_STORE},
    {SQL_DESC_OCTET_LENGTH_PTR,   DESC_RECORD_64, FIELD(octet_length_ptr), SET_STORE_NOT_IPD},
    {SQL_DESC_PRECISION,          DESC_RECORD_16, FIELD(precision),        SET_STORE},
    {SQL_DESC_SCALE,              DESC_RECORD_16, FIELD(scale),            SET_STORE},
    {SQL_DESC_DATETIME_INTERVAL_CODE,
                                  DESC_RECORD_16, FIELD(datetime_interval_code), SET_INTERVAL_CODE},
    {SQL_DESC_NULLABLE,           DESC_RECORD_16, FIELD(nullable),         SET_IGNORE_NOT_IPD},
    {SQL_DESC_INDICATOR_PTR,      DESC_RECORD_64, FIELD(indicator_ptr),    SET_STORE_NOT_IPD},
    {SQL_DESC_DATA_PTR,           DESC_RECORD_64, FIELD(data_ptr),         SET_DATA_PTR},
    {SQL_DESC_NAME,               DESC_RECORD_TEXT, FIELD(column_name),    SET_NAME},
    {SQL_DESC_UNNAMED,            DESC_RECORD_UNNAMED, FIELD(unnamed),     SET_UNNAMED},
    {SQL_DESC_OCTET_LENGTH,       DESC_RECORD_64, FIELD(octet_length),     SET_STORE},
};
// clang-format on
#undef HEADER
#undef FIELD

const desc_identifier *find_desc_identifier(SQLSMALLINT id)
{
    for (const desc_identifier &row : desc_identifiers)
        if (row.id == id)
            return &row;
    return nullptr;
}

desc_role desc_role_of(const cass_desc *desc)
{
    if (desc->stmt == nullptr)
        return ROLE_NONE;
    if (desc->app_desc)
        return desc->stmt->ard == desc ? ROLE_ARD : ROLE_APD;
    return desc->stmt->ird == desc ? ROLE_IRD : ROLE_IPD;
}

static bool a_record_past_the_end_is_an_error(const cass_conn *conn)
{
    return conn->conduct->a_record_past_the_end_is_an_error;
}

const cass_field *desc_readable_record(cass_desc *desc, const entry_point &entry, SQLSMALLINT rec,
                                       SQLRETURN *code)
{
    // Parameters have no bookmark: record 0 exists on the row side, and on a descriptor that serves
    // no statement.
    const bool has_parameters =
        desc->stmt != nullptr && (desc->stmt->ipd == desc || desc->stmt->apd == desc);
    if (rec > desc->field_count && !a_record_past_the_end_is_an_error(desc_conn(desc))) {
        *code = SQL_NO_DATA;
        return nullptr;
    }
    if (rec < 0 || rec > desc->field_count || (rec == 0 && has_parameters)) {
        *code = SQL_ERROR;
        CASS_LOG(&desc->head, LOG_ERROR, "%s: invalid record %d of %d", entry.name,
                 static_cast<int>(rec), static_cast<int>(desc->field_count));
        cass_post_error(&desc->head, STATE_07009, 0, nullptr);
        return nullptr;
    }
    return rec == 0 ? &desc->bookmark_field : &desc->fields[rec - 1];
}

// Stores a number in the width of its field and that width as the length.
static SQLRETURN answer_number(const desc_identifier *row, const unsigned char *base, void *value,
                               SQLINTEGER *string_length)
{
    const unsigned char *member = base + row->offset;
    SQLINTEGER width;
    if (row->kind == DESC_HEADER_64 || row->kind == DESC_RECORD_64) {
        SQLLEN number;
        std::memcpy(&number, member, sizeof number);
        cass_store(value, number);
        width = sizeof number;
    } else {
        std::int32_t number;
        std::memcpy(&number, member, sizeof number);
        if (row->kind == DESC_HEADER_32 || row->kind == DESC_RECORD_32) {
            cass_store(value, number);
            width = sizeof number;
        } else {
            cass_store(value, static_cast<SQLSMALLINT>(number));
            width = sizeof(SQLSMALLINT);
        }
    }
    cass_store(string_length, width);
    return SQL_SUCCESS;
}

static SQLRETURN answer_small(SQLSMALLINT number, void *value, SQLINTEGER *string_length)
{
    cass_store(value, number);
    cass_store(string_length, static_cast<SQLINTEGER>(sizeof number));
    return SQL_SUCCESS;
}

static bool a_cut_descriptor_text_is_a_success(const cass_conn *conn)
{
    return conn->conduct->a_cut_descriptor_text_is_a_success;
}

SQLRETURN desc_cut_code(const cass_desc *desc)
{
    return a_cut_descriptor_text_is_a_success(desc_conn(desc)) ? SQL_SUCCESS
                                                               : SQL_SUCCESS_WITH_INFO;
}

static SQLRETURN answer_text(cass_desc *desc, const entry_point &entry, const cass_string *text,
                             text_form form, void *value, SQLINTEGER buffer_length,
                             SQLINTEGER *string_length)
{
    SQLRETURN code = SQL_SUCCESS;
    std::int64_t length = 0;
    if (describe_text_out(text, form, value, buffer_length, &length)) {
        CASS_LOG(&desc->head, LOG_ERROR, "%s: text truncated", entry.name);
        cass_post_error(&desc->head, STATE_01004, 0, nullptr);
        code = desc_cut_code(desc);
    }
    cass_store(string_length, static_cast<SQLINTEGER>(length));
    return code;
}

static SQLRETURN get_desc_field(cass_desc *desc, const entry_point &entry, text_form form,
                                SQLSMALLINT rec, SQLSMALLINT field_identifier, void *value,
                                SQLINTEGER buffer_length, SQLINTEGER *string_length)
{
    const desc_identifier *row = find_desc_identifier(field_identifier);
    if (row != nullptr && row->kind == DESC_ALLOC)
        return answer_small(desc->implicit > 0 ? SQL_DESC_ALLOC_AUTO : SQL_DESC_ALLOC_USER, value,
                            string_length);
    if (row != nullptr && is_desc_header(row))
        return answer_number(row, reinterpret_cast<const unsigned char *>(desc), value,
                             string_length);

    SQLRETURN code;
    const cass_field *field = desc_readable_record(desc, entry, rec, &code);
    if (field == nullptr)
        return code;
    if (row == nullptr) {
        CASS_LOG(&desc->head, LOG_ERROR, "%s: unexpected field %d", entry.name,
                 static_cast<int>(field_identifier));
        cass_post_error(&desc->head, STATE_HY091, 0, nullptr);
        return SQL_ERROR;
    }
    if (row->kind == DESC_RECORD_UNNAMED)
        return answer_small(field->column_name == nullptr ? SQL_UNNAMED : SQL_NAMED, value,
                            string_length);
    cass_constant_text made;
    described_text kind;
    switch (row->kind) {
    case DESC_RECORD_TEXT:
        kind = TEXT_OWNED;
        break;
    case DESC_RECORD_CONSTANT:
        kind = TEXT_CONSTANT;
        break;
    case DESC_RECORD_LOCAL_NAME:
        kind = TEXT_LOCAL_NAME;
        break;
    default:
        return answer_number(row, reinterpret_cast<const unsigned char *>(field), value,
                             string_length);
    }
    const cass_string *text = describe_text(field, kind, row->offset, &made);
    return answer_text(desc, entry, text, form, value, buffer_length, string_length);
}

SQLRETURN get_desc_field_entry(SQLHDESC handle, const entry_point &entry, text_form form,
                               SQLSMALLINT rec, SQLSMALLINT field_identifier, void *value,
                               SQLINTEGER buffer_length, SQLINTEGER *string_length)
{
    return enter_desc(
        handle, entry,
        [&](cass_desc *desc) {
            ENTRY_LOG(&desc->head, entry, LOG_ENTRY,
                      "%s: descriptor_handle=%p, rsc=%d, field_identifier=%d, value=%p, "
                      "buffer_length=%d, string_length=%p",
                      entry.name, static_cast<void *>(desc), static_cast<int>(rec),
                      static_cast<int>(field_identifier), value, static_cast<int>(buffer_length),
                      static_cast<void *>(string_length));
        },
        [&](cass_desc *desc) {
            return get_desc_field(desc, entry, form, rec, field_identifier, value, buffer_length,
                                  string_length);
        });
}
