// Statement attributes read: most are fields of the statement or of its current descriptors. No
// attribute is a text, so that the ANSI and wide forms differ in name only.
#include "odbc/SQLGetStmtAttrWide.h"

#include <cstring>

#include "core/diag/cass_text_out.h"

static constexpr char log_source[] = "SQLGetStmtAttrWide.c";

#define ATTR(member)         HOLDER_STMT, offsetof(cass_stmt, attrs.member), sizeof(SQLULEN)
#define STMT(member)         HOLDER_STMT, offsetof(cass_stmt, member), sizeof(void *)
#define DESC(holder, member) holder, offsetof(cass_desc, member), sizeof(cass_desc::member)
#define ZERO                 HOLDER_NONE, 0, sizeof(SQLULEN)
// clang-format off
static constexpr stmt_attr_row stmt_attr_rows[] = {
    {SQL_ATTR_CURSOR_SENSITIVITY,    ATTR(cursor_sensitivity),             ATTR_SENSITIVITY},
    {SQL_ATTR_CURSOR_SCROLLABLE,     ATTR(cursor_scrollable),              ATTR_SCROLLABLE},
    {SQL_ATTR_QUERY_TIMEOUT,         ATTR(query_timeout),                  ATTR_STORE},
    {SQL_ATTR_MAX_ROWS,              ATTR(max_rows),                       ATTR_STORE},
    {SQL_ATTR_NOSCAN,                ATTR(noscan),                         ATTR_STORE},
    {SQL_ATTR_MAX_LENGTH,            ATTR(max_length),                     ATTR_STORE},
    {SQL_ATTR_ASYNC_ENABLE,          ATTR(async_enable),                   ATTR_STORE},
    {SQL_ATTR_ROW_BIND_TYPE,         DESC(HOLDER_ARD, bind_type),          ATTR_STORE},
    {SQL_ATTR_CURSOR_TYPE,           ATTR(cursor_type),                    ATTR_CURSOR_TYPE},
    {SQL_ATTR_CONCURRENCY,           ATTR(concurrency),                    ATTR_CONCURRENCY},
    {SQL_ATTR_KEYSET_SIZE,           ATTR(keyset_size),                    ATTR_STORE},
    {SQL_ROWSET_SIZE,                ATTR(rowset_size),                    ATTR_STORE_COUNT},
    {SQL_ATTR_SIMULATE_CURSOR,       ATTR(simulate_cursor),                ATTR_STORE},
    {SQL_ATTR_RETRIEVE_DATA,         ATTR(retrieve_data),                  ATTR_STORE},
    {SQL_ATTR_USE_BOOKMARKS,         ATTR(use_bookmarks),                  ATTR_STORE},
    {SQL_ATTR_ROW_NUMBER,            ZERO,                                 ATTR_IGNORE},
    {SQL_ATTR_ENABLE_AUTO_IPD,       ATTR(enable_auto_ipd),                ATTR_STORE},
    {SQL_ATTR_FETCH_BOOKMARK_PTR,    STMT(fetch_bookmark_ptr),             ATTR_STORE},
    {SQL_ATTR_PARAM_BIND_OFFSET_PTR, DESC(HOLDER_APD, bind_offset_ptr),    ATTR_STORE},
    {SQL_ATTR_PARAM_BIND_TYPE,       DESC(HOLDER_APD, bind_type),          ATTR_STORE},
    {SQL_ATTR_PARAM_OPERATION_PTR,   DESC(HOLDER_APD, array_status_ptr),   ATTR_STORE},
    {SQL_ATTR_PARAM_STATUS_PTR,      DESC(HOLDER_IPD, array_status_ptr),   ATTR_STORE},
    {SQL_ATTR_PARAMS_PROCESSED_PTR,  DESC(HOLDER_IPD, rows_processed_ptr), ATTR_STORE},
    {SQL_ATTR_PARAMSET_SIZE,         DESC(HOLDER_APD, array_size),         ATTR_STORE},
    {SQL_ATTR_ROW_BIND_OFFSET_PTR,   DESC(HOLDER_ARD, bind_offset_ptr),    ATTR_STORE},
    {SQL_ATTR_ROW_OPERATION_PTR,     DESC(HOLDER_ARD, array_status_ptr),   ATTR_STORE},
    {SQL_ATTR_ROW_STATUS_PTR,        DESC(HOLDER_IRD, array_status_ptr),   ATTR_STORE},
    {SQL_ATTR_ROWS_FETCHED_PTR,      DESC(HOLDER_IRD, rows_processed_ptr), ATTR_STORE},
    {SQL_ATTR_ROW_ARRAY_SIZE,        DESC(HOLDER_ARD, array_size),         ATTR_STORE_COUNT},
    {SQL_ATTR_APP_ROW_DESC,          STMT(ard),                            ATTR_INSTALL_ARD},
    {SQL_ATTR_APP_PARAM_DESC,        STMT(apd),                            ATTR_INSTALL_APD},
    {SQL_ATTR_IMP_ROW_DESC,          STMT(ird),                            ATTR_REFUSE},
    {SQL_ATTR_IMP_PARAM_DESC,        STMT(ipd),                            ATTR_REFUSE},
    {SQL_ATTR_METADATA_ID,           ATTR(metadata_id),                    ATTR_STORE},
    {10022,                          ZERO,                                 ATTR_READ_ONLY},
};
// clang-format on
#undef ATTR
#undef STMT
#undef DESC
#undef ZERO

const stmt_attr_row *find_stmt_attr(SQLINTEGER attribute)
{
    for (const stmt_attr_row &row : stmt_attr_rows)
        if (row.id == attribute)
            return &row;
    return nullptr;
}

const stmt_attr_row *find_stmt_option(SQLUSMALLINT option)
{
    if (option > SQL_USE_BOOKMARKS)
        return nullptr;
    // As an option it is the bind type of the parameters, not of the rows.
    return find_stmt_attr(option == SQL_BIND_TYPE ? SQL_ATTR_PARAM_BIND_TYPE : option);
}

unsigned char *stmt_attr_member(cass_stmt *stmt, const stmt_attr_row *row)
{
    void *holder = stmt;
    switch (row->holder) {
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
    return static_cast<unsigned char *>(holder) + row->offset;
}

SQLULEN stmt_attr_value(cass_stmt *stmt, const stmt_attr_row *row)
{
    if (row->holder == HOLDER_NONE)
        return 0;
    const unsigned char *member = stmt_attr_member(stmt, row);
    if (row->width == sizeof(std::int32_t)) {
        std::int32_t number;
        std::memcpy(&number, member, sizeof number);
        return static_cast<SQLULEN>(number);
    }
    SQLULEN number;
    std::memcpy(&number, member, sizeof number);
    return number;
}

static SQLRETURN get_stmt_attr(cass_stmt *stmt, const entry_point &entry, SQLINTEGER attribute,
                               void *value, SQLINTEGER *string_length)
{
    const stmt_attr_row *row = find_stmt_attr(attribute);
    if (row == nullptr) {
        // Two records, the second without the attribute's number: tools match its text.
        CASS_LOG(&stmt->head, LOG_ERROR, "%s: unexpected attribute %d", entry.name,
                 static_cast<int>(attribute));
        cass_post_error(&stmt->head, STATE_HY092, 0, nullptr);
        cass_post_error(&stmt->head, STATE_HY000, 0,
                        "unexpected internal error in SQLGetStmtAttr, unknown type %d", 0);
        return SQL_ERROR;
    }
    cass_store(value, stmt_attr_value(stmt, row));
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
