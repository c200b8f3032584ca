// SQLBindCol: a column's place in the application's memory, kept in the ARD. Nothing of that memory
// is touched here. A column may be bound before the statement is executed, and beyond the result's
// columns.
#include "core/describe/cass_field.h"
#include "odbc/entry_frame.h"

static constexpr char log_source[] = "SQLBindCol.c";
static constexpr entry_point entry = {.name = "SQLBindCol", .source = log_source};

struct binding {
    SQLUSMALLINT column;
    std::int32_t target_type;
    void *target;
    SQLLEN buffer_length;
    SQLLEN *strlen_or_ind;
};

// ---- Unbinding ---------------------------------------------------------------------------------

static void clear_pointers(cass_field *record)
{
    record->data_ptr = nullptr;
    record->indicator_ptr = nullptr;
    record->octet_length_ptr = nullptr;
}

// The last column went: the list ends at the last one that is still bound.
static void truncate_list(cass_stmt *stmt)
{
    cass_desc *ard = stmt->ard;
    CASS_LOG(&stmt->head, LOG_DETAIL, "truncating ard list at %d",
             static_cast<int>(ard->field_count));
    std::int32_t index = ard->field_count - 1;
    for (; index >= 0; index--) {
        const cass_field *record = &ard->fields[index];
        CASS_LOG(&stmt->head, LOG_DETAIL, "checking ard %d (%p,%p,%p)", static_cast<int>(index),
                 record->data_ptr, record->indicator_ptr, record->octet_length_ptr);
        if (record->data_ptr != nullptr || record->indicator_ptr != nullptr ||
            record->octet_length_ptr != nullptr) {
            CASS_LOG(&stmt->head, LOG_DETAIL, "stopping at %d", static_cast<int>(index));
            break;
        }
    }
    CASS_LOG(&stmt->head, LOG_DETAIL, "truncating ard list to %d", static_cast<int>(index));

    if (index < 0) {
        CASS_LOG(&stmt->head, LOG_DETAIL, "unbinding all");
        cass_desc_clear_fields(ard);
    } else {
        cass_desc_resize(ard, index + 1);
    }
}

static SQLRETURN unbind(cass_stmt *stmt, SQLUSMALLINT column)
{
    cass_desc *ard = stmt->ard;
    CASS_LOG(&stmt->head, LOG_DETAIL, "unbinding binding columns %d", static_cast<int>(column));
    if (column == 0) {
        clear_pointers(&ard->bookmark_field);
        return SQL_SUCCESS;
    }
    if (ard->fields == nullptr)
        return SQL_SUCCESS;

    CASS_LOG(&stmt->head, LOG_DETAIL, "check if cleaup can be done %d, %d",
             static_cast<int>(column), static_cast<int>(ard->field_count));
    if (column > ard->field_count) {
        CASS_LOG(&stmt->head, LOG_DETAIL, "unbinding past end");
        return SQL_SUCCESS;
    }
    clear_pointers(&ard->fields[column - 1]);
    if (column == ard->field_count)
        truncate_list(stmt);
    return SQL_SUCCESS;
}

// ---- Binding -----------------------------------------------------------------------------------

// Both lists reach as far as the column. The IRD grows fresh records that a result's metadata fills
// later.
static int grow_lists(cass_stmt *stmt, std::int32_t column)
{
    if (stmt->ard->field_count < column && cass_desc_resize(stmt->ard, column) != 0)
        return -1;
    if (stmt->ird->field_count < column && cass_desc_resize(stmt->ird, column) != 0)
        return -1;
    return 0;
}

static std::int32_t resolve_default_type(cass_stmt *stmt, const cass_field *metadata)
{
    // Bound all the same: the type is then that of a column without metadata.
    if (stmt->prepared == 0 && stmt->executed == 0) {
        CASS_LOG(&stmt->head, LOG_ERROR, "SQLBindCol: no result set");
        cass_post_error(&stmt->head, STATE_HY000, 0, "No result set");
    }
    const int odbc2 = conn_env(stmt_conn(stmt))->odbc_version == SQL_OV_ODBC2;
    return cass_default_c_type(metadata->consise_type, 1, odbc2);
}

static bool uuid_arrays_are_spaced_by_length(const cass_conn *conn)
{
    return conn->conduct->uuid_arrays_are_spaced_by_length;
}

static bool a_refused_column_stays_bound(const cass_conn *conn)
{
    return conn->conduct->a_refused_column_stays_bound;
}

static SQLRETURN fill_record(cass_stmt *stmt, cass_field *record, const cass_field *metadata,
                             const binding &bound)
{
    const std::int32_t type = bound.target_type == SQL_C_DEFAULT
                                  ? resolve_default_type(stmt, metadata)
                                  : bound.target_type;
    record->consise_type = type;
    record->octet_length = bound.buffer_length;
    record->length = bound.buffer_length;
    if (cass_update_desc_type(&stmt->head, record, DESC_FROM_CONCISE_TYPE) != 0)
        return SQL_ERROR;
    if (type == SQL_C_GUID && bound.buffer_length > 0 &&
        uuid_arrays_are_spaced_by_length(stmt_conn(stmt)))
        record->octet_length = bound.buffer_length;

    record->indicator_ptr = bound.strlen_or_ind;
    record->octet_length_ptr = bound.strlen_or_ind;
    record->target_type = type;
    record->data_ptr = bound.target;
    record->length = metadata->length;
    record->precision = metadata->precision;
    record->scale = metadata->scale;
    record->datetime_interval_precision = metadata->datetime_interval_precision;
    const auto code = static_cast<SQLRETURN>(cass_field_check(&stmt->head, record));
    if (code != SQL_SUCCESS && !a_refused_column_stays_bound(stmt_conn(stmt)))
        clear_pointers(record);
    return code;
}

static SQLRETURN bind(cass_stmt *stmt, const binding &bound)
{
    CASS_LOG(&stmt->head, LOG_DETAIL, "binding column %d", static_cast<int>(bound.column));
    if (bound.column == 0) {
        if (bound.target_type != SQL_C_BOOKMARK && bound.target_type != SQL_C_VARBOOKMARK) {
            CASS_LOG(&stmt->head, LOG_ERROR, "SQLBindCol: invalid bookmark type");
            cass_post_error(&stmt->head, STATE_07006, 0, nullptr);
            return SQL_ERROR;
        }
        cass_field *record = &stmt->ard->bookmark_field;
        return fill_record(stmt, record, record, bound);
    }

    if (grow_lists(stmt, bound.column) != 0) {
        CASS_LOG(&stmt->head, LOG_ERROR, "SQLBindCol: failed to expand descriptor");
        cass_post_error(&stmt->head, STATE_HY001, 0, "failed expanding descriptor");
        return SQL_ERROR;
    }
    // Both lists have their final place now; records move when a list grows.
    return fill_record(stmt, &stmt->ard->fields[bound.column - 1],
                       &stmt->ird->fields[bound.column - 1], bound);
}

VHCASS_EXPORT SQLRETURN SQL_API SQLBindCol(SQLHSTMT statement_handle, SQLUSMALLINT column_number,
                                           SQLSMALLINT target_type, SQLPOINTER target_value,
                                           SQLLEN buffer_length, SQLLEN *strlen_or_ind)
{
    return enter_stmt(
        statement_handle, entry,
        [&](cass_stmt *stmt) {
            CASS_LOG(&stmt->head, LOG_ENTRY,
                     "SQLBindCol: statement_handle=%p, column_number=%d, target_type = %d, "
                     "value=%p, buffer_len=%d, ind_ptr=%p",
                     static_cast<void *>(stmt), static_cast<int>(column_number),
                     static_cast<int>(target_type), target_value, static_cast<int>(buffer_length),
                     static_cast<void *>(strlen_or_ind));
        },
        [&](cass_stmt *stmt) -> SQLRETURN {
            if (target_value == nullptr && strlen_or_ind == nullptr)
                return unbind(stmt, column_number);
            return bind(stmt,
                        {column_number, target_type, target_value, buffer_length, strlen_or_ind});
        });
}
