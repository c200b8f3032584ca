// Connection attributes set. Most are only kept: as what they read back, or as the defaults of
// statements to come.
#include "odbc/SQLSetConnectAttrWide.h"

#include <cstring>

#include "core/handle/cass_cursor_kind.h"
#include "core/handle/cass_handle.h"
#include "core/net/cass_conn_shared.h"
#include "core/statement/cass_pkt_exchange.h"
#include "odbc/cass_conn_attrs.h"
#include "support/bigendian.h"

static constexpr char log_source[] = "SQLSetConnectAttrWide.c";

static SQLRETURN refuse(cass_conn *conn, cass_state_row row)
{
    cass_post_error(&conn->head, row, 0, nullptr);
    return SQL_ERROR;
}

// The low bytes of the value, as wide as the field.
static SQLRETURN store_value(cass_conn *conn, const conn_attr *attr, SQLULEN value)
{
    const cass_lock_guard hold(&conn->session_lock);
    std::uint64_t number = value;
    std::memcpy(reinterpret_cast<char *>(conn) + attr->offset, low_bytes(&number, attr->width),
                attr->width);
    return SQL_SUCCESS;
}

// Work that may be open is committed before the connection commits by itself.
static SQLRETURN set_commit_mode(cass_conn *conn, std::int32_t mode)
{
    if (conn->connected && conn->autocommit == SQL_AUTOCOMMIT_OFF && mode == SQL_AUTOCOMMIT_ON) {
        const auto code = static_cast<SQLRETURN>(cass_commit(conn));
        if (code != SQL_SUCCESS && code != SQL_SUCCESS_WITH_INFO)
            return code;
    }
    return static_cast<SQLRETURN>(set_autocommit(conn, mode, 0));
}

static SQLRETURN set_isolation(cass_conn *conn, const set_attr_form &form, std::uint32_t level)
{
    switch (level) {
    case SQL_TXN_READ_UNCOMMITTED:
    case SQL_TXN_READ_COMMITTED:
    case SQL_TXN_REPEATABLE_READ:
    case SQL_TXN_SERIALIZABLE:
        cass_set_transaction_isolation(conn, static_cast<std::int32_t>(level));
        conn->txn_isolation = level;
        return SQL_SUCCESS;
    default:
        CASS_LOG(&conn->head, LOG_ERROR, "%s: invalid isolation level %d", form.name,
                 static_cast<int>(level));
        return refuse(conn, form.bad_value);
    }
}

// The catalog is always the same: the text is read and dropped, and the server hears nothing of it.
static SQLRETURN set_catalog(cass_conn *conn, const set_attr_form &form, SQLPOINTER value,
                             SQLINTEGER string_length)
{
    cass_string *catalog;
    if (is_wide(form.form))
        catalog = cass_string_from_wide(static_cast<const SQLWCHAR *>(value),
                                        string_length < 0 ? string_length : string_length / 2);
    else
        catalog = cass_string_from_ansi(static_cast<const SQLCHAR *>(value), string_length);
    if (catalog == nullptr) {
        CASS_LOG(&conn->head, LOG_ERROR, "%s: failed to create catalog string", form.name);
        return refuse(conn, form.no_memory);
    }
    cass_string_free(catalog);
    return SQL_SUCCESS;
}

// One of the four that describe the cursor of statements to come.
static SQLRETURN set_cursor(cass_conn *conn, const conn_attr *attr, SQLULEN value)
{
    if (!cass_cursors_scroll(conn))
        return store_value(conn, attr, value);
    cass_stmt_attrs attrs = cass_copy_stmt_defaults(conn);
    const bool granted = cass_ask_for_cursor(&attrs, attr->id, value);
    {
        const cass_lock_guard hold(&conn->session_lock);
        conn->stmt_defaults = attrs;
    }
    if (granted)
        return SQL_SUCCESS;
    cass_post_error(&conn->head, STATE_01S02, 0, "%s", cass_cursor_words(&attrs));
    return SQL_SUCCESS_WITH_INFO;
}

SQLRETURN store_connect_attr(cass_conn *conn, const set_attr_form &form, SQLINTEGER attribute,
                             SQLPOINTER value, SQLINTEGER string_length)
{
    const conn_attr attr = find_conn_attr(attribute);
    const SQLULEN number = reinterpret_cast<SQLULEN>(value);
    const auto low = static_cast<std::uint32_t>(number);
    cass_state_row state;
    const attr_verdict verdict = judge_attr_value(conn, attr.values, number, &state);
    if (verdict == VALUE_IS_REFUSED)
        return refuse(conn, state);
    if (verdict == VALUE_IS_DEFAULT && attr.set != SET_STORE)
        return SQL_SUCCESS;
    switch (attr.set) {
    case SET_STORE:
        return store_value(conn, &attr, number);
    case SET_IGNORE:
        return SQL_SUCCESS;
    case SET_COMMIT:
        return set_commit_mode(conn, static_cast<std::int32_t>(low));
    case SET_ISOLATION:
        return set_isolation(conn, form, low);
    case SET_CATALOG:
        return set_catalog(conn, form, value, string_length);
    case SET_ANSI_APP:
        if (low == SQL_AA_FALSE)
            conn->ansi_app = 1;
        return SQL_SUCCESS;
    case SET_RESET:
        cass_reset_conn(conn);
        return SQL_SUCCESS;
    case SET_ZERO_ONLY:
        if (low == 0)
            return store_value(conn, &attr, 0);
        break;
    case SET_CURSOR:
        return set_cursor(conn, &attr, number);
    case SET_METADATA: {
        const cass_lock_guard hold(&conn->session_lock);
        conn->stmt_defaults.metadata_id = low;
        return store_value(conn, &attr, number);
    }
    case SET_REFUSE:
        return refuse(conn, form.unknown);
    case SET_UNKNOWN:
        break;
    }
    CASS_LOG(&conn->head, LOG_ERROR, "%s: unexpected attribute %d", form.name, attribute);
    return refuse(conn, form.unknown);
}

SQLRETURN set_connect_attr_entry(SQLHDBC handle, const entry_point &entry, text_form form,
                                 SQLINTEGER attribute, SQLPOINTER value, SQLINTEGER string_length)
{
    return enter_conn(
        handle, entry,
        [&](cass_conn *conn) {
            ENTRY_LOG(&conn->head, entry, LOG_ENTRY,
                      "%s: connection_handle=%p, attribute=%d, value=%p, string_length=%d",
                      entry.name, handle, attribute, value, string_length);
        },
        [&](cass_conn *conn) {
            const set_attr_form how = {.name = entry.name,
                                       .form = form,
                                       .unknown = STATE_HY092,
                                       .bad_value = STATE_HY024,
                                       .no_memory = STATE_HY001};
            return store_connect_attr(conn, how, attribute, value, string_length);
        });
}
