// Prepared execution: one EXECUTE frame and one reply for each parameter set.

#include "core/diag/cass_err.h"
#include "core/local/cass_internalrs.h"
#include "core/log/cass_log.h"
#include "core/parameter/cass_param.h"
#include "core/statement/cass_cancel.h"
#include "core/statement/cass_pkt_exchange.h"
#include "core/statement/cass_stmt.h"

static constexpr char log_source[] = "SQLExecute.c";

// Log words of the two ways here: SQLExecute, and SQLParamData after data at execution. `each_set`
// may print the set's number and the number of sets.
struct prepared_road {
    const char *source;
    const char *each_set;
    const char *failed;
    const char *no_arrays;
    const char *row_count;        // null: not logged
    const char *total_row_count;  // null: not logged
    const char *counts;
};

static constexpr prepared_road plain_road = {
    .source = log_source,
    .each_set = "SQLExecute: execute %d of %d",
    .failed = "SQLExecute: create_prepared_command failed",
    .no_arrays = "SQLExecute: Array of data statements not supported",
    .row_count = nullptr,
    .total_row_count = nullptr,
    .counts = "SQLExecute: ok_count=%d, info_count=%d, error_count=%d",
};
static constexpr prepared_road dae_road = {
    .source = "SQLExecute(DAE)",
    .each_set = "SQLExecute(DAE): chaining execute",
    .failed = "SQLExecDirectWide: create_exec_string failed",
    .no_arrays = "SQLExecute(DAE): Array of data statements not supported",
    .row_count = "SQLExecute(DAE): row count = %d",
    .total_row_count = "SQLExecute(DAE): total row count = %d",
    .counts = "SQLExecute(DAE): ok_count=%d, info_count=%d, error_count=%d",
};

// How the sets of one execution have ended so far.
struct set_tally {
    std::int32_t ok, info, error;
};

// Sends the set in work. Null after telling why there is no request: that ends the whole execution.
static held_packet start_set(cass_stmt *stmt, const prepared_road &road)
{
    held_packet request(create_execute(stmt));
    if (request == nullptr) {
        cass_store_param_status(stmt, SQL_PARAM_ERROR);
        CASS_LOG_AS(&stmt->head, road.source, LOG_DETAIL, road.failed);
        return nullptr;
    }
    CASS_LOG_AS(&stmt->head, road.source, LOG_DETAIL, "SQLExecute: sending request");
    return request;
}

static void count_outcome(cass_stmt *stmt, SQLRETURN code, set_tally *tally)
{
    SQLUSMALLINT status = SQL_PARAM_ERROR;
    if (code == SQL_SUCCESS) {
        ++tally->ok;
        status = SQL_PARAM_SUCCESS;
    } else if (code == SQL_SUCCESS_WITH_INFO) {
        ++tally->info;
        status = SQL_PARAM_SUCCESS_WITH_INFO;
    } else if (code == SQL_ERROR) {
        ++tally->error;
    }
    cass_store_param_status(stmt, status);
}

static bool failed_set_is_information(const cass_conn *conn)
{
    return conn->conduct->failed_set_is_information;
}

// Takes the code of the set in work. False ends the whole execution: an array has one result. A set
// that the server refuses is only counted.
static bool finish_set(cass_stmt *stmt, const prepared_road &road, SQLRETURN code, set_tally *tally)
{
    code = cass_check_cursor_change(stmt, code);
    if (stmt->data_waiting && stmt->apd->array_size > 1) {
        CASS_LOG_AS(&stmt->head, road.source, LOG_ERROR, road.no_arrays);
        cass_post_error(&stmt->head, STATE_HY000, 0, "Array of data statements not supported");
        return false;
    }
    count_outcome(stmt, code, tally);
    if (code != SQL_SUCCESS && !failed_set_is_information(stmt_conn(stmt)))
        cass_diag_name_row(&stmt->head, stmt->param_row + 1);
    if (road.row_count != nullptr) {
        CASS_LOG_AS(&stmt->head, road.source, LOG_DETAIL, road.row_count,
                    static_cast<int>(stmt->row_count));
        CASS_LOG_AS(&stmt->head, road.source, LOG_DETAIL, road.total_row_count,
                    stmt->total_row_count);
    }
    return true;
}

static bool a_faulty_set_ends_the_array(const cass_conn *conn)
{
    return conn->conduct->a_faulty_set_ends_the_array;
}

static bool run_set(cass_stmt *stmt, const prepared_road &road, set_tally *tally)
{
    held_packet request;
    int code = STATEMENT_FORGOTTEN;
    for (int again = 0; code == STATEMENT_FORGOTTEN; again++) {
        request = again > 0 && prepare_again(stmt) < 0 ? nullptr : start_set(stmt, road);
        code = request == nullptr ? SQL_ERROR : send_prepared(stmt, request.get(), again);
    }
    if (request == nullptr && a_faulty_set_ends_the_array(stmt_conn(stmt)))
        return false;
    return finish_set(stmt, road, static_cast<SQLRETURN>(code), tally);
}

// No set behind the one that ran can succeed.
static bool sets_are_over(cass_stmt *stmt)
{
    const cass_conn *conn = stmt_conn(stmt);
    return !a_faulty_set_ends_the_array(conn) &&
           (shared_get(&conn->socket_dead) != 0 || stmt_is_cancelled(stmt));
}

static bool skipped_sets_keep_their_status(const cass_conn *conn)
{
    return conn->conduct->skipped_sets_keep_their_status;
}

static void leave_set_out(cass_stmt *stmt)
{
    if (!skipped_sets_keep_their_status(stmt_conn(stmt)))
        cass_store_param_status(stmt, SQL_PARAM_UNUSED);
}

static bool data_is_awaited_in_first_run_only(const cass_conn *conn)
{
    return conn->conduct->data_is_awaited_in_first_run_only;
}

// Pauses at the set in work where it has data at execution.
static bool awaits_data(cass_stmt *stmt)
{
    return !data_is_awaited_in_first_run_only(stmt_conn(stmt)) &&
           cass_await_data(stmt, OP_EXECUTE) == SQL_NEED_DATA;
}

// The code of an execution from its tally; `otherwise` when no set ran.
static SQLRETURN execution_code(const cass_conn *conn, const set_tally &tally, SQLRETURN otherwise)
{
    if (tally.error > 0 && !failed_set_is_information(conn))
        return SQL_ERROR;
    if (tally.ok > 0 || tally.info > 0)
        return tally.error > 0 || tally.info > 0 ? SQL_SUCCESS_WITH_INFO : SQL_SUCCESS;
    return tally.error > 0 ? SQL_ERROR : otherwise;
}

// Runs the sets from param_row on, counting on from what the tally holds; the data at execution of
// the first of them is there when `gathered`. SQL_NEED_DATA stops at a set that awaits its own.
static SQLRETURN run_sets(cass_stmt *stmt, const prepared_road &road, bool gathered,
                          set_tally *tally, SQLRETURN otherwise)
{
    const SQLULEN sets = stmt->apd->array_size;
    bool over = false;
    for (SQLULEN set = static_cast<std::uint32_t>(stmt->param_row); set < sets; ++set) {
        stmt->param_row = static_cast<std::int32_t>(set);
        CASS_LOG_AS(&stmt->head, road.source, LOG_DETAIL, road.each_set, static_cast<int>(set + 1),
                    static_cast<int>(sets));
        cass_store_params_processed(stmt, set + 1);
        if (cass_param_set_skipped(stmt)) {
            leave_set_out(stmt);
        } else if (over) {
            count_outcome(stmt, SQL_ERROR, tally);
        } else if (!gathered && awaits_data(stmt)) {
            return SQL_NEED_DATA;
        } else {
            if (!run_set(stmt, road, tally))
                return SQL_ERROR;
            over = sets_are_over(stmt);
        }
        gathered = false;
        stmt->param_row = static_cast<std::int32_t>(set + 1);
    }
    CASS_LOG_AS(&stmt->head, road.source, LOG_DETAIL, road.counts, tally->ok, tally->info,
                tally->error);
    return sets > 0 ? execution_code(stmt_conn(stmt), *tally, otherwise) : otherwise;
}

// The same, with the tally kept on the statement for what may go on behind a pause for data.
static SQLRETURN run_and_keep_tally(cass_stmt *stmt, const prepared_road &road, bool gathered,
                                    set_tally tally, SQLRETURN otherwise)
{
    const SQLRETURN code = run_sets(stmt, road, gathered, &tally, otherwise);
    stmt->ok_count = tally.ok;
    stmt->info_count = tally.info;
    stmt->error_count = tally.error;
    return code;
}

static int check_params(cass_stmt *stmt)
{
    if (data_is_awaited_in_first_run_only(stmt_conn(stmt)))
        return cass_check_params(stmt, 0, OP_EXECUTE);
    return cass_check_bound(stmt, 0);
}

static SQLRETURN execute(cass_stmt *stmt)
{
    cass_free_internal_rs(stmt, stmt->internal_rs);
    if (!stmt->prepared) {
        CASS_LOG(&stmt->head, LOG_ERROR, "SQLExecute: No prepared statement");
        cass_post_error(&stmt->head, STATE_HY000, 0, "no prepared statement");
        return SQL_ERROR;
    }
    if (stmt->prepared_id == nullptr || stmt->prepared_id_len == 0) {
        CASS_LOG(&stmt->head, LOG_DETAIL, "SQLExecute: no prepared id");
        return SQL_ERROR;
    }
    cass_string_free(stmt->query_text);
    stmt->query_text = nullptr;
    const int checked = check_params(stmt);
    if (checked != 0)
        return static_cast<SQLRETURN>(checked);

    stmt->ird = stmt->implicit_ird;
    cass_store_params_processed(stmt, 0);
    CASS_LOG(&stmt->head, LOG_DETAIL, "SQLExecute: statement prepared");
    stmt->total_row_count = -1;
    stmt->param_row = 0;
    return run_and_keep_tally(stmt, plain_road, false, {}, SQL_SUCCESS);
}

SQLRETURN cass_execute(cass_stmt *stmt)
{
    return cass_cancellable(stmt, [stmt] { return post_prepare_warning(stmt, execute(stmt)); });
}

SQLRETURN cass_dae_execute(cass_stmt *stmt)
{
    stmt->ird = stmt->implicit_ird;
    CASS_LOG_AS(&stmt->head, dae_road.source, LOG_DETAIL, "SQLExecute(DAE): statement prepared");
    // It counts on from what the execution before has left.
    const set_tally before = {stmt->ok_count, stmt->info_count, stmt->error_count};
    const SQLRETURN code = cass_cancellable(stmt, [&] {
        return post_prepare_warning(stmt,
                                    run_and_keep_tally(stmt, dae_road, true, before, SQL_ERROR));
    });
    if (code != SQL_NEED_DATA)
        cass_end_pause(stmt);
    CASS_LOG_AS(&stmt->head, dae_road.source, LOG_DETAIL, "SQLExecute(DAE): return value=%d",
                static_cast<int>(code));
    return code;
}
