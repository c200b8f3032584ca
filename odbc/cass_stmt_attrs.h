// The statement attributes, one row each: what setting and reading it does, and where its value
// lies. SQLSetStmtAttr, SQLGetStmtAttr and the ODBC 2 option forms all read this table.
#ifndef ODBC_CASS_STMT_ATTRS_H
#define ODBC_CASS_STMT_ATTRS_H

#include "odbc/attr_values.h"

// The record that holds an attribute.
enum attr_holder : std::uint8_t {
    HOLDER_NONE,  // reads 0
    HOLDER_STMT,
    HOLDER_ARD,  // the current descriptors
    HOLDER_APD,
    HOLDER_IRD,
    HOLDER_IPD,
};

enum stmt_attr_set : std::uint8_t {
    ATTR_UNKNOWN,  // refused as unknown
    ATTR_REFUSE,   // refused with HY017
    ATTR_STORE,    // cut to the field's width; no value is checked
    ATTR_IGNORE,
    ATTR_STORE_COUNT,  // 0 is 1; a change on a prepared statement marks it rebound
    ATTR_SENSITIVITY,  // these four keep each other in step
    ATTR_SCROLLABLE,
    ATTR_CURSOR_TYPE,
    ATTR_CONCURRENCY,
    ATTR_INSTALL_ARD,
    ATTR_INSTALL_APD,
};

enum stmt_attr_get : std::uint8_t {
    ATTR_UNREADABLE,
    ATTR_STORED,
    ATTR_ZERO,
    ATTR_ROW_NUMBER,  // of the row that a cursor is on; 0 where none is known
};

struct stmt_attr {
    SQLINTEGER id;
    stmt_attr_set set;
    stmt_attr_get get;
    SQLSMALLINT option;  // of ODBC 2, or NO_OPTION
    attr_holder holder;
    std::uint8_t width;    // 8, or 4 for the bind types; towards the application it is always 8
    std::uint32_t offset;  // in the holder
    attr_values values = {};
};

constexpr SQLSMALLINT NO_OPTION = -1;

#define ATTR(member)         HOLDER_STMT, sizeof(SQLULEN), offsetof(cass_stmt, attrs.member)
#define STMT(member)         HOLDER_STMT, sizeof(void *), offsetof(cass_stmt, member)
#define DESC(holder, member) holder, sizeof(cass_desc::member), offsetof(cass_desc, member)
#define NONE                 HOLDER_NONE, 0, 0

// The bind type of an option is that of the parameters, not of the rows.
// clang-format off
inline constexpr stmt_attr stmt_attrs[] = {
    // id                            set               get              option                value, and values
    {SQL_ATTR_CURSOR_SENSITIVITY,    ATTR_SENSITIVITY, ATTR_STORED,     NO_OPTION,           ATTR(cursor_sensitivity), {2}},
    {SQL_ATTR_CURSOR_SCROLLABLE,     ATTR_SCROLLABLE,  ATTR_STORED,     NO_OPTION,           ATTR(cursor_scrollable), {1}},
    {SQL_ATTR_QUERY_TIMEOUT,         ATTR_STORE,       ATTR_STORED,     SQL_QUERY_TIMEOUT,   ATTR(query_timeout)},
    {SQL_ATTR_MAX_ROWS,              ATTR_STORE,       ATTR_STORED,     SQL_MAX_ROWS,        ATTR(max_rows)},
    {SQL_ATTR_NOSCAN,                ATTR_STORE,       ATTR_STORED,     SQL_NOSCAN,          ATTR(noscan), {1}},
    {SQL_ATTR_MAX_LENGTH,            ATTR_STORE,       ATTR_STORED,     SQL_MAX_LENGTH,      ATTR(max_length)},
    {SQL_ATTR_ASYNC_ENABLE,          ATTR_STORE,       ATTR_STORED,     SQL_ASYNC_ENABLE,    ATTR(async_enable), {1, 0}},
    {SQL_ATTR_ROW_BIND_TYPE,         ATTR_STORE,       ATTR_STORED,     NO_OPTION,           DESC(HOLDER_ARD, bind_type)},
    {SQL_ATTR_CURSOR_TYPE,           ATTR_CURSOR_TYPE, ATTR_STORED,     SQL_CURSOR_TYPE,     ATTR(cursor_type), {3}},
    {SQL_ATTR_CONCURRENCY,           ATTR_CONCURRENCY, ATTR_STORED,     SQL_CONCURRENCY,     ATTR(concurrency), {4}},
    {SQL_ATTR_KEYSET_SIZE,           ATTR_STORE,       ATTR_STORED,     SQL_KEYSET_SIZE,     ATTR(keyset_size)},
    {SQL_ROWSET_SIZE,                ATTR_STORE_COUNT, ATTR_STORED,     SQL_ROWSET_SIZE,     ATTR(rowset_size)},
    {SQL_ATTR_SIMULATE_CURSOR,       ATTR_STORE,       ATTR_STORED,     SQL_SIMULATE_CURSOR, ATTR(simulate_cursor), {2, 0}},
    {SQL_ATTR_RETRIEVE_DATA,         ATTR_STORE,       ATTR_STORED,     SQL_RETRIEVE_DATA,   ATTR(retrieve_data), {1, 1}},
    {SQL_ATTR_USE_BOOKMARKS,         ATTR_STORE,       ATTR_STORED,     SQL_USE_BOOKMARKS,   ATTR(use_bookmarks), {2}},
    {SQL_ATTR_ROW_NUMBER,            ATTR_IGNORE,      ATTR_ROW_NUMBER, SQL_ROW_NUMBER,      NONE},
    {SQL_ATTR_ENABLE_AUTO_IPD,       ATTR_STORE,       ATTR_STORED,     NO_OPTION,           ATTR(enable_auto_ipd)},
    {SQL_ATTR_FETCH_BOOKMARK_PTR,    ATTR_STORE,       ATTR_STORED,     NO_OPTION,           STMT(fetch_bookmark_ptr)},
    {SQL_ATTR_PARAM_BIND_OFFSET_PTR, ATTR_STORE,       ATTR_STORED,     NO_OPTION,           DESC(HOLDER_APD, bind_offset_ptr)},
    {SQL_ATTR_PARAM_BIND_TYPE,       ATTR_STORE,       ATTR_STORED,     SQL_BIND_TYPE,       DESC(HOLDER_APD, bind_type)},
    {SQL_ATTR_PARAM_OPERATION_PTR,   ATTR_STORE,       ATTR_STORED,     NO_OPTION,           DESC(HOLDER_APD, array_status_ptr)},
    {SQL_ATTR_PARAM_STATUS_PTR,      ATTR_STORE,       ATTR_STORED,     NO_OPTION,           DESC(HOLDER_IPD, array_status_ptr)},
    {SQL_ATTR_PARAMS_PROCESSED_PTR,  ATTR_STORE,       ATTR_STORED,     NO_OPTION,           DESC(HOLDER_IPD, rows_processed_ptr)},
    {SQL_ATTR_PARAMSET_SIZE,         ATTR_STORE,       ATTR_STORED,     NO_OPTION,           DESC(HOLDER_APD, array_size)},
    {SQL_ATTR_ROW_BIND_OFFSET_PTR,   ATTR_STORE,       ATTR_STORED,     NO_OPTION,           DESC(HOLDER_ARD, bind_offset_ptr)},
    {SQL_ATTR_ROW_OPERATION_PTR,     ATTR_STORE,       ATTR_STORED,     NO_OPTION,           DESC(HOLDER_ARD, array_status_ptr)},
    {SQL_ATTR_ROW_STATUS_PTR,        ATTR_STORE,       ATTR_STORED,     NO_OPTION,           DESC(HOLDER_IRD, array_status_ptr)},
    {SQL_ATTR_ROWS_FETCHED_PTR,      ATTR_STORE,       ATTR_STORED,     NO_OPTION,           DESC(HOLDER_IRD, rows_processed_ptr)},
    {SQL_ATTR_ROW_ARRAY_SIZE,        ATTR_STORE_COUNT, ATTR_STORED,     NO_OPTION,           DESC(HOLDER_ARD, array_size)},
    {SQL_ATTR_APP_ROW_DESC,          ATTR_INSTALL_ARD, ATTR_STORED,     NO_OPTION,           STMT(ard)},
    {SQL_ATTR_APP_PARAM_DESC,        ATTR_INSTALL_APD, ATTR_STORED,     NO_OPTION,           STMT(apd)},
    {SQL_ATTR_IMP_ROW_DESC,          ATTR_REFUSE,      ATTR_STORED,     NO_OPTION,           STMT(ird)},
    {SQL_ATTR_IMP_PARAM_DESC,        ATTR_REFUSE,      ATTR_STORED,     NO_OPTION,           STMT(ipd)},
    {SQL_ATTR_METADATA_ID,           ATTR_STORE,       ATTR_STORED,     NO_OPTION,           ATTR(metadata_id), {1}},
    {10022,                          ATTR_UNKNOWN,     ATTR_ZERO,       NO_OPTION,           NONE},
};
// clang-format on

#undef ATTR
#undef STMT
#undef DESC
#undef NONE

// The attribute's row; for an unknown number a row that refuses both. SQL_GET_BOOKMARK is one.
inline stmt_attr find_stmt_attr(SQLINTEGER id)
{
    for (const stmt_attr &attr : stmt_attrs)
        if (attr.id == id)
            return attr;
    return {};
}

// The row behind an ODBC 2 option; for another number as above.
inline stmt_attr find_stmt_option(SQLUSMALLINT option)
{
    for (const stmt_attr &attr : stmt_attrs)
        if (attr.option == static_cast<std::int32_t>(option))
            return attr;
    return {};
}

#endif
