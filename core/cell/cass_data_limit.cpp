#include "core/cell/cass_data_limit.h"

static bool length_limits_are_kept_only(const cass_conn *conn)
{
    return conn->conduct->length_limits_are_kept_only;
}

bool cass_values_are_limited(const cass_stmt *stmt)
{
    return stmt->attrs.max_length > 0 && !length_limits_are_kept_only(stmt_conn(stmt));
}

std::int32_t cass_length_within(const cass_stmt *stmt, const unsigned char *bytes,
                                std::int32_t length, bool text)
{
    const SQLULEN limit = stmt->attrs.max_length;
    if (limit == 0 || static_cast<SQLULEN>(length) <= limit)
        return length;
    auto within = static_cast<std::int32_t>(limit);
    while (text && within > 0 && (bytes[within] & 0xC0) == 0x80)
        --within;
    return within;
}

static SQLRETURN decode_limited(cass_stmt *stmt, cass_packet *packet, cass_field *field)
{
    const SQLRETURN code = field->whole_decode(stmt, packet, field);
    cass_data_storage *cell = &field->data_storage;
    const bool text = cell->data_type == SQL_CHAR;
    if (code == SQL_SUCCESS && cell->alloc_length > 0 && (text || cell->data_type == SQL_BINARY))
        cell->alloc_length = cass_length_within(stmt, cell->value.bytes, cell->alloc_length, text);
    return code;
}

void cass_limit_values(cass_field *field)
{
    switch (field->consise_type) {
    case SQL_CHAR:
    case SQL_VARCHAR:
    case SQL_LONGVARCHAR:
    case SQL_WCHAR:
    case SQL_WVARCHAR:
    case SQL_WLONGVARCHAR:
    case SQL_BINARY:
    case SQL_VARBINARY:
    case SQL_LONGVARBINARY:
        break;
    default:
        return;
    }
    if (field->decode == nullptr)
        return;
    field->whole_decode = field->decode;
    field->decode = decode_limited;
}
