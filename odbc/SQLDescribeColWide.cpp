// SQLDescribeCol in both forms: name, type, size, digits and nullability of a result column.
#include "odbc/SQLDescribeColWide.h"

#include <cstring>

#include "core/describe/cass_field.h"
#include "core/diag/cass_text_out.h"
#include "core/handle/cass_cursor_kind.h"

static constexpr char log_source[] = "SQLDescribeColWide.c";

// The bookmark column, which no metadata describes. Whatever is not named here is 0 or null.
static constexpr cass_field bookmark_record(std::int32_t type, SQLLEN display_size, SQLLEN length,
                                            SQLLEN octet_length, std::int32_t unsigned_attr)
{
    cass_field field{};
    field.consise_type = type;
    field.type = type;
    field.display_size = display_size;
    field.octet_length = octet_length;
    field.length = length;
    field.unsigned_attr = unsigned_attr;
    return field;
}

// Fixed and variable ones, of cursors that have none and of those that scroll.
static constexpr cass_field bookmark_records[2][2] = {
    {bookmark_record(SQL_INTEGER, 10, 11, 4, 1), bookmark_record(SQL_VARBINARY, 8, 8, 4, 0)},
    {bookmark_record(SQL_BIGINT, 20, 20, 8, 1), bookmark_record(SQL_VARBINARY, 16, 8, 8, 0)},
};

bool describe_text_out(const cass_string *text, text_form form, void *buffer, std::int64_t room,
                       std::int64_t *length)
{
    *length = text_form_length(text, form);
    return text_form_out(text, form, buffer, room);
}

const cass_string *describe_text(const cass_field *field, described_text kind, std::size_t offset,
                                 cass_constant_text *made)
{
    const bool names_type = offset == offsetof(cass_field, type_name) || kind == TEXT_LOCAL_NAME;
    if (kind != TEXT_OWNED && names_type && field->full_type_name != nullptr)
        return field->full_type_name;
    if (kind == TEXT_LOCAL_NAME && field->custom_type_name != nullptr)
        return field->custom_type_name;
    const auto *member = reinterpret_cast<const unsigned char *>(field) + offset;
    if (kind == TEXT_OWNED) {
        const cass_string *text;
        std::memcpy(&text, member, sizeof text);
        return text;
    }
    const char *constant;
    std::memcpy(&constant, member, sizeof constant);
    return cass_constant_string(constant, made);
}

bool describe_has_result(cass_stmt *stmt, const entry_point &entry)
{
    if (stmt->prepared || stmt->executed || stmt->internal_rs != nullptr || stmt->cursor != nullptr)
        return true;
    CASS_LOG(&stmt->head, LOG_ERROR, "%s: no result set", entry.name);
    cass_post_error(&stmt->head, STATE_HY000, 0, nullptr);
    return false;
}

const cass_field *describe_column(const cass_stmt *stmt, SQLUSMALLINT column_number)
{
    if (column_number == 0) {
        if (stmt->attrs.use_bookmarks == SQL_UB_OFF)
            return nullptr;
        return &bookmark_records[cass_cursors_scroll(stmt_conn(stmt))]
                                [stmt->attrs.use_bookmarks != SQL_UB_FIXED];
    }
    if (column_number > cass_stmt_column_count(stmt->ird))
        return nullptr;
    return &stmt->ird->fields[column_number - 1];
}

static SQLRETURN describe_col(cass_stmt *stmt, const entry_point &entry, text_form form,
                              SQLUSMALLINT column_number, const describe_outputs &out)
{
    if (!describe_has_result(stmt, entry))
        return SQL_ERROR;

    const std::int32_t count = cass_stmt_column_count(stmt->ird);
    CASS_LOG(&stmt->head, LOG_DETAIL, "%s: column count=%d", entry.name, static_cast<int>(count));
    const cass_field *field = describe_column(stmt, column_number);
    if (field == nullptr) {
        CASS_LOG(&stmt->head, LOG_ERROR, "%s: invalid column_number %d from %d", entry.name,
                 static_cast<int>(column_number), static_cast<int>(count));
        cass_post_error(&stmt->head, STATE_07009, 0, nullptr);
        return SQL_ERROR;
    }

    SQLRETURN code = SQL_SUCCESS;
    std::int64_t length = 0;
    if (describe_text_out(field->column_name, form, out.name, out.room, &length)) {
        CASS_LOG(&stmt->head, LOG_ERROR, "%s: name truncated", entry.name);
        cass_post_error(&stmt->head, STATE_01004, 0, nullptr);
        code = SQL_SUCCESS_WITH_INFO;
    }
    cass_store(out.name_length, cass_small_length(length));
    cass_store(out.data_type, static_cast<SQLSMALLINT>(field->consise_type));
    cass_store(out.column_size, cass_field_size(field));
    cass_store(out.decimal_digits, static_cast<SQLSMALLINT>(field->scale));
    cass_store(out.nullable, static_cast<SQLSMALLINT>(field->nullable));
    return code;
}

SQLRETURN describe_col_entry(SQLHSTMT handle, const entry_point &entry, text_form form,
                             SQLUSMALLINT column_number, const describe_outputs &out)
{
    return enter_stmt(
        handle, entry,
        [&](cass_stmt *stmt) {
            ENTRY_LOG(
                &stmt->head, entry, LOG_ENTRY,
                "%s: statement_handle=%p, column_number=%d, column_name=%p, buffer_length=%d, "
                "name_length=%p, data_type=%p, column_size=%p, decimal_digits=%p, nullable=%p",
                entry.name, static_cast<void *>(stmt), static_cast<int>(column_number), out.name,
                static_cast<int>(out.room), static_cast<void *>(out.name_length),
                static_cast<void *>(out.data_type), static_cast<void *>(out.column_size),
                static_cast<void *>(out.decimal_digits), static_cast<void *>(out.nullable));
        },
        [&](cass_stmt *stmt) { return describe_col(stmt, entry, form, column_number, out); });
}
