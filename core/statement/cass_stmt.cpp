// The statement's life outside its two execution roads: closing, cursor changes, and what both
// roads share of parameter sets.
#include "core/statement/cass_stmt.h"

#include <cstdlib>

#include "core/describe/cass_field.h"
#include "core/diag/cass_err.h"
#include "core/handle/cass_cursor_kind.h"
#include "core/log/cass_log.h"
#include "core/net/cass_conn_shared.h"
#include "core/statement/cass_fetch.h"
#include "core/statement/cass_pkt_exchange.h"
#include "core/statement/cass_scroll.h"

static constexpr char log_source[] = "cass_stmt.c";

static bool row_limits_are_kept_only(const cass_conn *conn)
{
    return conn->conduct->row_limits_are_kept_only;
}

SQLULEN cass_row_limit(const cass_stmt *stmt)
{
    return row_limits_are_kept_only(stmt_conn(stmt)) ? 0 : stmt->attrs.max_rows;
}

// Counts a page's rows, as far as they are wanted; none is asked for behind the last of these.
static std::int32_t take_rows(cass_stmt *stmt, std::int32_t rows)
{
    if (stmt->row_limit == 0)
        return rows;
    const SQLULEN left = stmt->row_limit - stmt->rows_taken;
    if (static_cast<SQLULEN>(rows) >= left) {
        rows = static_cast<std::int32_t>(left);
        cass_page_end(&stmt->page);
    }
    stmt->rows_taken += static_cast<SQLULEN>(rows);
    return rows;
}

void cass_set_current_packet(cass_stmt *stmt, cass_packet *packet, std::int32_t rows_count)
{
    cass_page *page = &stmt->page;
    cass_packet_ref(packet);
    cass_packet_unref(page->current_packet);
    shared_put(&page->current_packet, packet);
    page->session = packet->session;
    page->current_row_count = rows_count < 0 ? 0 : take_rows(stmt, rows_count);
    page->current_row_offset = 0;
    page->page_failed = 0;
}

int cass_close_stmt(cass_stmt *stmt, int unprepare)
{
    CASS_LOG(&stmt->head, LOG_DETAIL,
             "cass_close_stmt, closing statement=%p, unprepare=%d, prepared=%d, data_waiting %d, "
             "executed %d",
             static_cast<void *>(stmt), unprepare, stmt->prepared, stmt->data_waiting,
             stmt->executed);
    if (stmt->data_waiting) {
        CASS_LOG(&stmt->head, LOG_DETAIL, "Flush one or more result set(s)");
        if (stmt->internal_rs != nullptr)
            cass_free_internal_rs(stmt, stmt->internal_rs);
        else
            cass_flush_rows(stmt);
        cass_set_busy(stmt_conn(stmt), {});
        stmt->data_waiting = 0;
    }
    if (stmt->prepared && unprepare) {
        // The server is told nothing: it forgets prepared statements by itself.
        CASS_LOG(&stmt->head, LOG_DETAIL, "cass_close_stmt: unprepare");
        free_bytes(&stmt->prepared_id, &stmt->prepared_id_len);
        shared_put(&stmt->prepared, 0);
        free_string(&stmt->sql_text);
    }
    cass_diag_free_list(&stmt->kept_records);
    if (unprepare)
        free_string(&stmt->prepare_warning);
    cass_free_cursor(stmt);
    cass_page_end(&stmt->page);
    free_bytes(&stmt->param_buffer, &stmt->param_buffer_len);
    cass_free_internal_rs(stmt, stmt->internal_rs);
    free_string(&stmt->query_text);
    stmt->executed = 0;
    stmt->data_waiting = 0;
    return 0;
}

void cass_close_for_catalog(cass_stmt *stmt)
{
    cass_close_stmt(stmt, 1);
    free_string(&stmt->sql_text);
}

void cass_close_result(cass_stmt *stmt)
{
    cass_desc_undescribe(stmt->ird);
}

int cass_prepare_if_needed(cass_stmt *stmt)
{
    if (stmt->sql_text == nullptr || stmt->prepared)
        return 0;
    return prepare_stmt(stmt, stmt->sql_text);
}

// A local result that is complete, as the statement's attributes want it.
static SQLRETURN settle_local_result(cass_stmt *stmt, SQLRETURN code)
{
    const SQLULEN limit = cass_row_limit(stmt);
    if (limit > 0)
        cass_limit_internal_rs(stmt->internal_rs, limit);
    return cass_open_cursor(stmt) == 0 ? code : SQL_ERROR;
}

SQLRETURN cass_check_cursor_change(cass_stmt *stmt, SQLRETURN code)
{
    if (!SQL_SUCCEEDED(code) || !stmt->data_waiting)
        return code;
    if (cass_cursors_scroll(stmt_conn(stmt)))
        return stmt->internal_rs != nullptr ? settle_local_result(stmt, code) : code;
    const bool changed = stmt->attrs.cursor_type != 0 || stmt->attrs.cursor_scrollable != 0;
    stmt->attrs.cursor_type = 0;
    stmt->attrs.cursor_scrollable = 0;
    if (!changed)
        return code;
    CASS_LOG(&stmt->head, LOG_ERROR, "cass_check_cursor_change: cursor type changed");
    cass_post_error(&stmt->head, STATE_01S02, 0, "Cursor type changed");
    return SQL_SUCCESS_WITH_INFO;
}

static bool a_pause_stays_open(const cass_conn *conn)
{
    return conn->conduct->a_pause_stays_open;
}

bool cass_pause_is_open(const cass_stmt *stmt)
{
    return stmt->current_dae_op != 0 || a_pause_stays_open(stmt_conn(stmt));
}

void cass_end_pause(cass_stmt *stmt)
{
    if (stmt->current_dae_op == 0 || a_pause_stays_open(stmt_conn(stmt)))
        return;
    stmt->current_dae_op = 0;
    stmt->current_dae_first = 0;
    for (std::int32_t index = 0; index < stmt->apd->field_count; index++)
        cass_field_free_put_data(&stmt->apd->fields[index]);
}

bool cass_param_set_skipped(const cass_stmt *stmt)
{
    if (stmt->apd->array_status_ptr == nullptr)
        return false;
    SQLUSMALLINT operation;
    std::memcpy(&operation, stmt->apd->array_status_ptr + stmt->param_row, sizeof operation);
    // SQL_PARAM_IGNORE is 1; the other values are those of row operations, which applications that
    // use one array for both kinds leave there.
    return operation == 1 || operation == 2 || operation == 3 || operation == 5;
}

void cass_store_params_processed(cass_stmt *stmt, SQLULEN sets)
{
    if (stmt->ipd->rows_processed_ptr != nullptr)
        std::memcpy(stmt->ipd->rows_processed_ptr, &sets, sizeof sets);
}

void cass_store_param_status(cass_stmt *stmt, SQLUSMALLINT status)
{
    if (stmt->ipd->array_status_ptr != nullptr)
        std::memcpy(stmt->ipd->array_status_ptr + stmt->param_row, &status, sizeof status);
}
