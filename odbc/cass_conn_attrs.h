// The connection attributes, one row each: what setting and reading it does, and where its value
// lies. SQLSetConnectAttr, SQLGetConnectAttr and the ODBC 2 option forms all read this table.
#ifndef ODBC_CASS_CONN_ATTRS_H
#define ODBC_CASS_CONN_ATTRS_H

#include "odbc/attr_values.h"

enum conn_attr_set : std::uint8_t {
    SET_UNKNOWN,  // refused as unknown, with a log record
    SET_REFUSE,   // refused without one
    SET_STORE,    // cut to the field's width; no value is checked
    SET_IGNORE,
    SET_COMMIT,
    SET_ISOLATION,
    SET_CATALOG,
    SET_ANSI_APP,
    SET_RESET,
    SET_ZERO_ONLY,
    SET_CURSOR,    // of the statements to come: where cursors scroll, in step with the others
    SET_METADATA,  // of the connection, and the default of its statements to come
};

enum conn_attr_get : std::uint8_t {
    GET_UNKNOWN,
    GET_STORED,
    GET_ZERO,
    GET_CATALOG,
    GET_DEAD,
    GET_NO_TYPE,  // a record beside a success, on purpose
};

struct conn_attr {
    SQLINTEGER id;
    conn_attr_set set;
    conn_attr_get get;
    bool option;           // SQLGetConnectOption answers it
    std::uint8_t width;    // bytes of the value, 4 or 8
    std::uint32_t offset;  // of the value in cass_conn
    attr_values values = {};
};

#define CONN(member) sizeof(static_cast<cass_conn *>(nullptr)->member), offsetof(cass_conn, member)
#define STMT(member) CONN(stmt_defaults.member)
#define NONE         4, 0

// The statement attributes among them are the defaults of statements allocated from then on.
// clang-format off
inline constexpr conn_attr conn_attrs[] = {
    // id                         set            get          option value, and values
    {SQL_ATTR_CURSOR_SENSITIVITY, SET_CURSOR,    GET_STORED,  false, STMT(cursor_sensitivity), {2}},
    {SQL_ATTR_CURSOR_SCROLLABLE,  SET_CURSOR,    GET_STORED,  false, STMT(cursor_scrollable), {1}},
    {SQL_QUERY_TIMEOUT,           SET_STORE,     GET_STORED,  true,  STMT(query_timeout)},
    {SQL_MAX_ROWS,                SET_STORE,     GET_STORED,  true,  STMT(max_rows)},
    {SQL_NOSCAN,                  SET_STORE,     GET_STORED,  true,  STMT(noscan), {1}},
    {SQL_MAX_LENGTH,              SET_STORE,     GET_STORED,  true,  STMT(max_length)},
    {SQL_ASYNC_ENABLE,            SET_STORE,     GET_STORED,  true,  STMT(async_enable), {1, 0}},
    {SQL_BIND_TYPE,               SET_STORE,     GET_STORED,  true,  STMT(bind_type)},
    {SQL_CURSOR_TYPE,             SET_CURSOR,    GET_STORED,  true,  STMT(cursor_type), {3}},
    {SQL_CONCURRENCY,             SET_CURSOR,    GET_STORED,  true,  STMT(concurrency), {4}},
    {SQL_KEYSET_SIZE,             SET_STORE,     GET_STORED,  true,  STMT(keyset_size)},
    {SQL_ROWSET_SIZE,             SET_STORE,     GET_STORED,  true,  STMT(rowset_size)},
    {SQL_SIMULATE_CURSOR,         SET_STORE,     GET_STORED,  true,  STMT(simulate_cursor), {2, 0}},
    {SQL_RETRIEVE_DATA,           SET_STORE,     GET_STORED,  true,  STMT(retrieve_data), {1, 1}},
    {SQL_USE_BOOKMARKS,           SET_STORE,     GET_STORED,  true,  STMT(use_bookmarks), {2}},
    {SQL_ACCESS_MODE,             SET_STORE,     GET_STORED,  true,  CONN(access_mode)},
    {SQL_AUTOCOMMIT,              SET_COMMIT,    GET_STORED,  true,  CONN(autocommit)},
    {SQL_LOGIN_TIMEOUT,           SET_STORE,     GET_STORED,  true,  CONN(login_timeout)},
    {SQL_OPT_TRACE,               SET_IGNORE,    GET_NO_TYPE, false, NONE},
    {SQL_OPT_TRACEFILE,           SET_IGNORE,    GET_NO_TYPE, false, NONE},
    {SQL_TRANSLATE_DLL,           SET_IGNORE,    GET_NO_TYPE, false, NONE, {ANY_VALUE, 0}},
    {SQL_TRANSLATE_OPTION,        SET_IGNORE,    GET_NO_TYPE, false, NONE, {ANY_VALUE, 0}},
    {SQL_TXN_ISOLATION,           SET_ISOLATION, GET_STORED,  true,  CONN(txn_isolation)},
    {SQL_CURRENT_QUALIFIER,       SET_CATALOG,   GET_CATALOG, true,  NONE},
    {SQL_QUIET_MODE,              SET_STORE,     GET_STORED,  true,  CONN(quiet_mode)},
    {SQL_PACKET_SIZE,             SET_IGNORE,    GET_ZERO,    true,  NONE},
    {SQL_ATTR_CONNECTION_TIMEOUT, SET_STORE,     GET_STORED,  false, CONN(attr_connection_timeout)},
    {SQL_ATTR_ANSI_APP,           SET_ANSI_APP,  GET_NO_TYPE, false, NONE},
    {SQL_ATTR_RESET_CONNECTION,   SET_RESET,     GET_UNKNOWN, false, NONE},
    {117,                         SET_REFUSE,    GET_ZERO,    false, NONE, {1, 0}},
    {120,                         SET_REFUSE,    GET_ZERO,    false, NONE, {ANY_VALUE, 0}},
    {SQL_ATTR_ENLIST_IN_DTC,      SET_UNKNOWN,   GET_UNKNOWN, false, NONE, {ANY_VALUE, SQL_DTC_DONE}},
    {1041,                        SET_IGNORE,    GET_UNKNOWN, false, NONE},
    {1042,                        SET_IGNORE,    GET_UNKNOWN, false, NONE},
    {1061,                        SET_IGNORE,    GET_UNKNOWN, false, NONE},
    {1064,                        SET_IGNORE,    GET_UNKNOWN, false, NONE},
    {30002,                       SET_IGNORE,    GET_UNKNOWN, false, NONE},
    {SQL_ATTR_CONNECTION_DEAD,    SET_UNKNOWN,   GET_DEAD,    false, NONE},
    {SQL_ATTR_AUTO_IPD,           SET_ZERO_ONLY, GET_STORED,  false, CONN(auto_ipd)},
    {SQL_ATTR_METADATA_ID,        SET_METADATA,  GET_STORED,  false, CONN(metadata_id), {1}},
};
// clang-format on

#undef CONN
#undef STMT
#undef NONE

// The attribute's row; for an unknown number a row that refuses both.
inline conn_attr find_conn_attr(SQLINTEGER id)
{
    for (const conn_attr &attr : conn_attrs)
        if (attr.id == id)
            return attr;
    return {
        .id = id, .set = SET_UNKNOWN, .get = GET_UNKNOWN, .option = false, .width = 0, .offset = 0};
}

#endif
