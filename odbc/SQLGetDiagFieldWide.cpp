// Delivers one diagnostic field. As with whole records, the handle's lock plays no part and the
// list stays as it is; the lock over all lists is held while a record is read.
#include "odbc/SQLGetDiagFieldWide.h"

#include <cstdio>
#include <cstring>

#include "core/handle/cass_handle.h"
#include "core/net/cass_conn_shared.h"

// States whose subclass comes from ODBC; of all others it comes from ISO 9075.
static constexpr const char *odbc_subclass_states[] = {
    "01S00", "01S01", "01S02", "01S06", "01S07", "07S01", "08S01", "21S01", "21S02",
    "25S01", "25S02", "25S03", "42S01", "42S02", "42S11", "42S12", "42S21", "42S22",
    "HY095", "HY097", "HY098", "HY099", "HY100", "HY101", "HY105", "HY107", "HY109",
    "HY110", "HY111", "HYT00", "HYT01", "IM001", "IM002", "IM003", "IM004", "IM005",
    "IM006", "IM007", "IM008", "IM010", "IM011", "IM012",
};

enum diag_kind {
    DIAG_NOTHING,  // length 0, no value
    DIAG_INTEGER,  // SQLINTEGER
    DIAG_LENGTH,   // SQLLEN
    DIAG_TEXT,
};

struct diag_value {
    diag_kind kind;
    SQLLEN number;
    const cass_string *text;  // of the record, `made` or `owned`
    cass_constant_text made;
    held_string owned;
};

static SQLRETURN give_number(diag_value *value, diag_kind kind, SQLLEN number)
{
    value->kind = kind;
    value->number = number;
    return SQL_SUCCESS;
}

static SQLRETURN give_text(diag_value *value, const cass_string *text)
{
    value->kind = DIAG_TEXT;
    value->text = text;
    return SQL_SUCCESS;
}

// An ASCII text of the driver's own, below 40 characters.
static SQLRETURN give_own_text(diag_value *value, const char *text)
{
    return give_text(value, cass_constant_string(text, &value->made));
}

static bool state_begins(const cass_string *state, const char *text)
{
    for (std::int32_t i = 0; text[i] != '\0'; i++)
        if (i >= cass_string_length(state) || state->text[i] != static_cast<unsigned char>(text[i]))
            return false;
    return true;
}

static SQLRETURN give_origin(diag_value *value, bool odbc)
{
    return give_own_text(value, odbc ? "ODBC 3.0" : "ISO 9075");
}

static bool has_odbc_subclass(const cass_string *state)
{
    for (const char *listed : odbc_subclass_states)
        if (state_begins(state, listed))
            return true;
    return false;
}

static bool the_wide_connection_name_is_zero(const cass_conn *conn)
{
    return conn->conduct->the_wide_connection_name_is_zero;
}

// The address of the connection record, for whoever reads it beside a log. The number 0 is an empty
// text to a reader who expects one.
static SQLRETURN give_connection_name(diag_value *value, const cass_conn *conn, bool wide)
{
    if (conn == nullptr)
        return SQL_ERROR;
    if (wide && the_wide_connection_name_is_zero(conn))
        return give_number(value, DIAG_INTEGER, 0);
    char name[40];
    std::snprintf(name, sizeof name, "NetConn: %p", static_cast<const void *>(conn));
    return give_own_text(value, name);
}

// Without the connection's lock: it may be about to take another name.
static SQLRETURN give_server_name(diag_value *value, cass_conn *conn)
{
    cass_string *copy = nullptr;
    if (conn != nullptr && !cass_copy_conn_text(conn, &conn->settings.dsn, &copy))
        return SQL_ERROR;
    if (copy == nullptr)
        return give_number(value, DIAG_NOTHING, 0);
    value->owned.reset(copy);
    return give_text(value, copy);
}

static SQLRETURN read_record_field(cass_handle *handle, const cass_diag_record *record,
                                   SQLSMALLINT identifier, bool wide, diag_value *value)
{
    switch (identifier) {
    case SQL_DIAG_SQLSTATE:
        return give_text(value, record->state);
    case SQL_DIAG_NATIVE:
        return give_number(value, DIAG_INTEGER, record->native);
    case SQL_DIAG_MESSAGE_TEXT:
        return give_text(value, record->text);
    case SQL_DIAG_ROW_NUMBER:
        return give_number(value, DIAG_LENGTH, record->row_number);
    case SQL_DIAG_COLUMN_NUMBER:
        return give_number(value, DIAG_INTEGER, record->column_number);
    case SQL_DIAG_CLASS_ORIGIN:
        return give_origin(value, state_begins(record->state, "IM"));
    case SQL_DIAG_SUBCLASS_ORIGIN:
        return give_origin(value, has_odbc_subclass(record->state));
    case SQL_DIAG_CONNECTION_NAME:
        return give_connection_name(value, cass_handle_conn(handle), wide);
    case SQL_DIAG_SERVER_NAME:
        return give_server_name(value, cass_handle_conn(handle));
    default:
        // SQL_DIAG_RETURNCODE and SQL_DIAG_ROW_COUNT are the Driver Manager's to answer.
        return SQL_ERROR;
    }
}

static SQLRETURN read_field(cass_handle *handle, SQLSMALLINT rec_number, SQLSMALLINT identifier,
                            bool wide, diag_value *value)
{
    const cass_stmt *stmt = handle->handle_tag == CASS_STATEMENT_HANDLE
                                ? reinterpret_cast<const cass_stmt *>(handle)
                                : nullptr;
    switch (identifier) {
    case SQL_DIAG_NUMBER:
        return give_number(value, DIAG_INTEGER, cass_diag_count(handle));
    case SQL_DIAG_CURSOR_ROW_COUNT:
        return stmt == nullptr ? SQL_ERROR : give_number(value, DIAG_LENGTH, 0);
    case SQL_DIAG_DYNAMIC_FUNCTION:
        return stmt == nullptr ? SQL_ERROR : give_own_text(value, "");
    case SQL_DIAG_DYNAMIC_FUNCTION_CODE:
        return stmt == nullptr ? SQL_ERROR : give_number(value, DIAG_INTEGER, 0);
    case SQL_DIAG_ROW_COUNT:
        if (stmt == nullptr)
            return SQL_ERROR;
        break;
    default:
        break;
    }
    if (rec_number < 1)
        return SQL_ERROR;
    const cass_diag_record *record = cass_diag_get(handle, rec_number);
    if (record == nullptr)
        return SQL_NO_DATA;
    return read_record_field(handle, record, identifier, wide, value);
}

// An environment has no connection to choose.
static bool a_probe_of_a_text_field_is_no_data(const cass_conn *conn)
{
    return conn == nullptr || conn->conduct->a_probe_of_a_text_field_is_no_data;
}

static SQLRETURN deliver_text(const cass_conn *conn, const cass_string *text,
                              const diag_field_target &target)
{
    const std::int64_t length = text_form_length(text, target.form);
    cass_store(target.length, cass_small_length(length));
    if (target.info == nullptr)
        return a_probe_of_a_text_field_is_no_data(conn) ? SQL_NO_DATA : SQL_SUCCESS;
    const bool cut = text_form_out(text, target.form, target.info, target.size);
    // Here even an empty text counts as cut by a buffer without room for its terminator.
    return cut || length >= target.size ? SQL_SUCCESS_WITH_INFO : SQL_SUCCESS;
}

static SQLRETURN deliver(const cass_conn *conn, const diag_value *value,
                         const diag_field_target &target)
{
    switch (value->kind) {
    case DIAG_INTEGER:
        cass_store(target.info, static_cast<SQLINTEGER>(value->number));
        cass_store(target.length, static_cast<SQLSMALLINT>(sizeof(SQLINTEGER)));
        return SQL_SUCCESS;
    case DIAG_LENGTH:
        cass_store(target.info, value->number);
        cass_store(target.length, static_cast<SQLSMALLINT>(sizeof(SQLLEN)));
        return SQL_SUCCESS;
    case DIAG_TEXT:
        return deliver_text(conn, value->text, target);
    default:
        cass_store(target.length, SQLSMALLINT{0});
        return SQL_SUCCESS;
    }
}

static SQLRETURN get_diag_field(cass_handle *handle, SQLSMALLINT rec_number, SQLSMALLINT identifier,
                                const diag_field_target &target)
{
    diag_value value = {};
    const cass_lock_guard hold(&cass_diag_lock);
    const SQLRETURN code = read_field(handle, rec_number, identifier, is_wide(target.form), &value);
    return code == SQL_SUCCESS ? deliver(cass_handle_conn(handle), &value, target) : code;
}

SQLRETURN get_diag_field_entry(SQLSMALLINT handle_type, SQLHANDLE handle, const entry_point &entry,
                               SQLSMALLINT rec_number, SQLSMALLINT identifier,
                               const diag_field_target &target)
{
    return enter_any(
        handle, entry,
        [&](cass_handle *head) {
            ENTRY_LOG(head, entry, LOG_ENTRY,
                      "%s: handle_type=%d, handle=%p, rec_number=%d, diag_identifier=%d, "
                      "diag_info_ptr=%p, buffer_length=%d, string_length_ptr=%p",
                      entry.name, handle_type, handle, rec_number, identifier, target.info,
                      target.size, static_cast<void *>(target.length));
        },
        [&](cass_handle *head) { return get_diag_field(head, rec_number, identifier, target); });
}
