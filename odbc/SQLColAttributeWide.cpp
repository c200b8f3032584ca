// SQLColAttribute and SQLColAttributes: one table of identifiers, read from the record of a column.
#include "odbc/SQLColAttributeWide.h"

#include <cstring>

#include "core/describe/cass_field.h"
#include "core/diag/cass_text_out.h"

static constexpr char log_source[] = "SQLColAttributeWide.c";

// Where an answer comes from; all numbers go out as one SQLLEN.
enum answer_kind {
    ANSWER_COUNT,    // the number of columns; takes no column
    ANSWER_INTEGER,  // a 32-bit field
    ANSWER_LENGTH,   // an SQLLEN field
    ANSWER_TEXT,
    ANSWER_CONSTANT,    // a text that is one of the driver's constants
    ANSWER_LOCAL_NAME,  // the same, or the class name of a custom type
    ANSWER_SCHEMA,      // a text of the record that columns may not tell
    ANSWER_UNNAMED,
};

struct col_attribute_row {
    SQLUSMALLINT id;
    answer_kind kind;
    std::size_t offset;
};

#define FIELD(member) offsetof(cass_field, member)
// clang-format off
static constexpr col_attribute_row col_attribute_rows[] = {
    {SQL_COLUMN_COUNT,            ANSWER_COUNT,      0},
    {SQL_DESC_COUNT,              ANSWER_COUNT,      0},
    {SQL_COLUMN_NAME,             ANSWER_TEXT,       FIELD(column_name)},
    {SQL_DESC_LABEL,              ANSWER_TEXT,       FIELD(column_name)},
    {SQL_DESC_BASE_COLUMN_NAME,   ANSWER_TEXT,       FIELD(column_name)},
    {SQL_DESC_NAME,               ANSWER_TEXT,       FIELD(column_name)},
    {SQL_DESC_CONCISE_TYPE,       ANSWER_INTEGER,    FIELD(consise_type)},
    {SQL_COLUMN_LENGTH,           ANSWER_LENGTH,     FIELD(length)},
    {SQL_DESC_LENGTH,             ANSWER_LENGTH,     FIELD(length)},
    {SQL_COLUMN_PRECISION,        ANSWER_INTEGER,    FIELD(precision)},
    {SQL_DESC_PRECISION,          ANSWER_INTEGER,    FIELD(precision)},
    {SQL_COLUMN_SCALE,            ANSWER_INTEGER,    FIELD(scale)},
    {SQL_DESC_SCALE,              ANSWER_INTEGER,    FIELD(scale)},
    {SQL_DESC_DISPLAY_SIZE,       ANSWER_LENGTH,     FIELD(display_size)},
    {SQL_COLUMN_NULLABLE,         ANSWER_INTEGER,    FIELD(nullable)},
    {SQL_DESC_NULLABLE,           ANSWER_INTEGER,    FIELD(nullable)},
    {SQL_DESC_UNSIGNED,           ANSWER_INTEGER,    FIELD(unsigned_attr)},
    {SQL_DESC_FIXED_PREC_SCALE,   ANSWER_INTEGER,    FIELD(fixed_prec_scale)},
    {SQL_DESC_UPDATABLE,          ANSWER_INTEGER,    FIELD(updatable)},
    {SQL_DESC_AUTO_UNIQUE_VALUE,  ANSWER_INTEGER,    FIELD(auto_unique)},
    {SQL_DESC_CASE_SENSITIVE,     ANSWER_INTEGER,    FIELD(case_sensitive)},
    {SQL_DESC_SEARCHABLE,         ANSWER_INTEGER,    FIELD(searchable)},
    {SQL_DESC_TYPE_NAME,          ANSWER_CONSTANT,   FIELD(type_name)},
    // The descriptor's field of this number gives the column's name; here it is the table.
    {SQL_DESC_TABLE_NAME,         ANSWER_TEXT,       FIELD(table_name)},
    {SQL_DESC_BASE_TABLE_NAME,    ANSWER_TEXT,       FIELD(table_name)},
    {SQL_DESC_SCHEMA_NAME,        ANSWER_SCHEMA,     FIELD(keyspace_name)},
    {SQL_DESC_CATALOG_NAME,       ANSWER_SCHEMA,     FIELD(catalog_name)},
    {SQL_DESC_LITERAL_PREFIX,     ANSWER_CONSTANT,   FIELD(literal_prefix)},
    {SQL_DESC_LITERAL_SUFFIX,     ANSWER_CONSTANT,   FIELD(literal_suffix)},
    {SQL_DESC_LOCAL_TYPE_NAME,    ANSWER_LOCAL_NAME, FIELD(local_type_name)},
    {SQL_DESC_NUM_PREC_RADIX,     ANSWER_INTEGER,    FIELD(num_prec_radix)},
    {SQL_DESC_TYPE,               ANSWER_INTEGER,    FIELD(type)},
    {SQL_DESC_UNNAMED,            ANSWER_UNNAMED,    0},
    {SQL_DESC_OCTET_LENGTH,       ANSWER_LENGTH,     FIELD(octet_length)},
};
// clang-format on
#undef FIELD

static const col_attribute_row *find_row(SQLUSMALLINT id)
{
    for (const col_attribute_row &row : col_attribute_rows)
        if (row.id == id)
            return &row;
    return nullptr;
}

static const unsigned char *member_of(const cass_field *field, const col_attribute_row &row)
{
    return reinterpret_cast<const unsigned char *>(field) + row.offset;
}

// SQL_COLUMN_TYPE has the number of SQL_DESC_CONCISE_TYPE, but the ODBC 2 call answers the verbose
// type, with the dates and times told apart for a connection of that level.
static std::int32_t odbc2_column_type(const cass_stmt *stmt, const cass_field *field)
{
    if (field->type != SQL_DATETIME || stmt_conn(stmt)->odbc_level != 2)
        return field->type;
    switch (field->datetime_interval_code) {
    case SQL_CODE_TIME:
        return SQL_TIME;
    case SQL_CODE_TIMESTAMP:
        return SQL_TIMESTAMP;
    default:
        return SQL_DATE;
    }
}

static SQLRETURN answer_number(cass_stmt *stmt, const entry_point &entry, bool as_ulen,
                               SQLLEN value, const col_attribute_call &call)
{
    CASS_LOG(&stmt->head, LOG_DETAIL,
             as_ulen ? "%s: returns ulen value '%d'" : "%s: returns integer value '%d'", entry.name,
             static_cast<int>(value));
    cass_store(call.numeric_attribute, value);
    cass_store(call.string_length, static_cast<SQLSMALLINT>(sizeof value));
    return SQL_SUCCESS;
}

static SQLRETURN answer_text(cass_stmt *stmt, const entry_point &entry, text_form form,
                             const cass_string *text, const col_attribute_call &call)
{
    CASS_LOG(&stmt->head, LOG_DETAIL, "%s: returns string value '%S'", entry.name, text);
    std::int64_t length = 0;
    const bool cut =
        describe_text_out(text, form, call.character_attribute, call.buffer_length, &length);
    cass_store(call.string_length, cass_small_length(length));
    if (!cut)
        return SQL_SUCCESS;
    CASS_LOG(&stmt->head, LOG_ERROR, "%s: text truncated", entry.name);
    cass_post_error(&stmt->head, STATE_01004, 0, nullptr);
    return SQL_SUCCESS_WITH_INFO;
}

static bool columns_tell_no_schema(const cass_conn *conn)
{
    return conn->conduct->columns_tell_no_schema;
}

static SQLRETURN answer(cass_stmt *stmt, const entry_point &entry, text_form form,
                        const col_attribute_row &row, const cass_field *field,
                        const col_attribute_call &call)
{
    std::int32_t number = 0;
    SQLLEN length = 0;
    cass_constant_text made;
    described_text kind = TEXT_OWNED;
    switch (row.kind) {
    case ANSWER_COUNT:
        return answer_number(stmt, entry, true, cass_stmt_column_count(stmt->ird), call);
    case ANSWER_INTEGER:
        std::memcpy(&number, member_of(field, row), sizeof number);
        return answer_number(stmt, entry, false, number, call);
    case ANSWER_LENGTH:
        std::memcpy(&length, member_of(field, row), sizeof length);
        return answer_number(stmt, entry, true, length, call);
    case ANSWER_TEXT:
        break;
    case ANSWER_CONSTANT:
        kind = TEXT_CONSTANT;
        break;
    case ANSWER_LOCAL_NAME:
        kind = TEXT_LOCAL_NAME;
        break;
    case ANSWER_SCHEMA:
        if (columns_tell_no_schema(stmt_conn(stmt)))
            return answer_text(stmt, entry, form, nullptr, call);
        break;
    case ANSWER_UNNAMED:
        number = field->column_name == nullptr ? SQL_UNNAMED : SQL_NAMED;
        return answer_number(stmt, entry, false, number, call);
    }
    return answer_text(stmt, entry, form, describe_text(field, kind, row.offset, &made), call);
}

static SQLRETURN col_attribute(cass_stmt *stmt, const entry_point &entry, text_form form,
                               bool odbc2_types, const col_attribute_call &call)
{
    if (!describe_has_result(stmt, entry))
        return SQL_ERROR;

    const col_attribute_row *row = find_row(call.field_identifier);
    if (row != nullptr && row->kind == ANSWER_COUNT)
        return answer(stmt, entry, form, *row, nullptr, call);

    const cass_field *field = describe_column(stmt, call.column_number);
    if (field == nullptr) {
        CASS_LOG(&stmt->head, LOG_ERROR, "Invalid descriptor index %d for type %d",
                 static_cast<int>(call.column_number), static_cast<int>(call.field_identifier));
        cass_post_error(&stmt->head, STATE_07009, 0, nullptr);
        return SQL_ERROR;
    }
    if (row == nullptr) {
        CASS_LOG(&stmt->head, LOG_ERROR, "Invalid descriptor field index %d for type %d",
                 static_cast<int>(call.column_number), static_cast<int>(call.field_identifier));
        cass_post_error(&stmt->head, STATE_HY091, 0, nullptr);
        return SQL_ERROR;
    }
    if (odbc2_types && row->id == SQL_COLUMN_TYPE)
        return answer_number(stmt, entry, false, odbc2_column_type(stmt, field), call);
    return answer(stmt, entry, form, *row, field, call);
}

SQLRETURN col_attribute_entry(SQLHSTMT handle, const entry_point &entry, text_form form,
                              bool odbc2_types, const col_attribute_call &call)
{
    return enter_stmt(
        handle, entry,
        [&](cass_stmt *stmt) {
            ENTRY_LOG(&stmt->head, entry, LOG_ENTRY,
                      "%s: statement_handle=%p, column_number=%d, field_identifier=%d, "
                      "character_attribute=%p, buffer_length=%d, string_length=%p, "
                      "numeric_attribute=%p",
                      entry.name, static_cast<void *>(stmt), static_cast<int>(call.column_number),
                      static_cast<int>(call.field_identifier), call.character_attribute,
                      static_cast<int>(call.buffer_length), static_cast<void *>(call.string_length),
                      static_cast<void *>(call.numeric_attribute));
        },
        [&](cass_stmt *stmt) { return col_attribute(stmt, entry, form, odbc2_types, call); });
}
