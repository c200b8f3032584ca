// Statement attributes read: most are fields of the statement or of its current descriptors. No
// attribute is a text, so that the ANSI and wide forms differ in name only.
#include "odbc/SQLGetStmtAttrWide.h"

#include <cstring>

#include "core/diag/cass_text_out.h"
#include "core/statement/cass_scroll.h"

static constexpr char log_source[] = "SQLGetStmtAttrWide.c";

unsigned char *stmt_attr_member(cass_stmt *stmt, const stmt_attr &attr)
{
    void *holder = stmt;
    switch (attr.holder) {
    case HOLDER_ARD:
        holder = stmt->ard;
        break;
    case HOLDER_APD:
        holder = stmt->apd;
        break;
    case HOLDER_IRD:
        holder = stmt->ird;
        break;
    case HOLDER_IPD:
        holder = stmt->ipd;
        break;
    default:
        break;
    }
    return static_cast<unsigned char *>(holder) + attr.offset;
}

SQLULEN stmt_row_number(const cass_stmt *stmt)
{
    return stmt->cursor != nullptr ? static_cast<SQLULEN>(cass_cursor_row(stmt->cursor)) : 0;
}

SQLULEN stmt_attr_value(cass_stmt *stmt, const stmt_attr &attr)
{
    if (attr.get == ATTR_ROW_NUMBER)
        return stmt_row_number(stmt);
    if (attr.get != ATTR_STORED)
        return 0;
    const unsigned char *member = stmt_attr_member(stmt, attr);
    if (attr.width == sizeof(std::int32_t)) {
        std::int32_t number;
        std::memcpy(&number, member, sizeof number);
        return static_cast<SQLULEN>(number);
    }
    SQLULEN number;
    std::memcpy(&number, member, sizeof number);
    return number;
}

static bool an_unknown_attribute_is_told_twice(const cass_conn *conn)
{
    return conn->conduct->an_unknown_attribute_is_told_twice;
}

static SQLRETURN get_stmt_attr(cass_stmt *stmt, const entry_point &entry, SQLINTEGER attribute,
                               void *value, SQLINTEGER *string_length)
{
    const stmt_attr attr = find_stmt_attr(attribute);
    if (attr.get == ATTR_UNREADABLE) {
        CASS_LOG(&stmt->head, LOG_ERROR, "%s: unexpected attribute %d", entry.name,
                 static_cast<int>(attribute));
        cass_post_error(&stmt->head, STATE_HY092, 0, nullptr);
        // With a 0 in place of the attribute's number, on purpose.
        if (an_unknown_attribute_is_told_twice(stmt_conn(stmt)))
            cass_post_error(&stmt->head, STATE_HY000, 0,
                            "unexpected internal error in SQLGetStmtAttr, unknown type %d", 0);
        return SQL_ERROR;
    }
    if (attr.get == ATTR_ROW_NUMBER && stmt->cursor != nullptr && stmt_row_number(stmt) == 0) {
        CASS_LOG(&stmt->head, LOG_ERROR, "%s: on no row", entry.name);
        cass_post_error(&stmt->head, STATE_24000, 0, nullptr);
        return SQL_ERROR;
    }
    cass_store(value, stmt_attr_value(stmt, attr));
    cass_store(string_length, static_cast<SQLINTEGER>(sizeof(SQLULEN)));
    return SQL_SUCCESS;
}

SQLRETURN get_stmt_attr_entry(SQLHSTMT handle, const entry_point &entry, SQLINTEGER attribute,
                              void *value, SQLINTEGER buffer_length, SQLINTEGER *string_length)
{
    return enter_stmt(
        handle, entry,
        [&](cass_stmt *stmt) {
            ENTRY_LOG(&stmt->head, entry, LOG_ENTRY,
                      "%s: statement_handle=%p, attribute=%d, value=%p, buffer_length=%d, "
                      "string_length=%p",
                      entry.name, static_cast<void *>(stmt), static_cast<int>(attribute), value,
                      static_cast<int>(buffer_length), static_cast<void *>(string_length));
        },
        [&](cass_stmt *stmt) {
            return get_stmt_attr(stmt, entry, attribute, value, string_length);
        });
}
