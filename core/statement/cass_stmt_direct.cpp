// Direct execution: one QUERY frame, its values bound in the frame and never pasted into the text.

#include "core/diag/cass_err.h"
#include "core/local/cass_internalrs.h"
#include "core/log/cass_log.h"
#include "core/net/cass_conn_shared.h"
#include "core/parameter/cass_param.h"
#include "core/statement/cass_cancel.h"
#include "core/statement/cass_pkt_exchange.h"
#include "core/statement/cass_sql.h"
#include "core/statement/cass_stmt.h"

static constexpr char log_source[] = "SQLExecDirectWide.c";

// Log words of the two ways here: SQLExecDirect, and SQLParamData after data at execution.
struct direct_road {
    const char *source;
    const char *chaining;
    const char *failed;
    const char *all_skipped;
};

static constexpr direct_road plain_road = {
    .source = log_source,
    .chaining = "SQLExecDirectWide: chaining execute string",
    .failed = "SQLExecDirectWide: create_exec_string failed",
    .all_skipped = "SQLExecDirectWide: all parameter sets skipped",
};
static constexpr direct_road dae_road = {
    .source = "SQLExecDirect(DAE)",
    .chaining = "SQLParamData: chaining execute string",
    .failed = "SQLParamData: create_exec_string failed",
    .all_skipped = "SQLParamData: all parameter sets skipped",
};

// Builds the request of every parameter set that is not skipped and keeps the last one in *last.
// Only that one is ever sent, although every set reports success: a parameter array of a direct
// execution runs once, with its last set. Deliberate: arrays are for prepared statements.
static SQLRETURN build_requests(cass_stmt *stmt, const direct_road &road, held_packet *last)
{
    const SQLULEN sets = stmt->apd->array_size;
    for (SQLULEN set = 0; set < sets; ++set) {
        stmt->param_row = static_cast<std::int32_t>(set);
        cass_store_params_processed(stmt, set + 1);
        if (cass_param_set_skipped(stmt))
            continue;
        CASS_LOG_AS(&stmt->head, road.source, LOG_DETAIL, road.chaining);
        last->reset(create_exec_string(stmt, stmt->sql_text));
        if (*last == nullptr) {
            cass_store_param_status(stmt, SQL_PARAM_ERROR);
            CASS_LOG_AS(&stmt->head, road.source, LOG_DETAIL, road.failed);
            return SQL_ERROR;
        }
        cass_store_param_status(stmt, SQL_PARAM_SUCCESS);
    }
    stmt->param_row = static_cast<std::int32_t>(sets);
    return SQL_SUCCESS;
}

// The road from checked parameters to the reply; sql_text holds the processed text and is freed.
static SQLRETURN run_direct(cass_stmt *stmt, const direct_road &road)
{
    cass_store_params_processed(stmt, 0);
    held_packet request;
    const SQLRETURN built = build_requests(stmt, road, &request);
    cass_string_free(stmt->sql_text);
    stmt->sql_text = nullptr;
    if (built != SQL_SUCCESS)
        return built;
    if (request == nullptr) {
        CASS_LOG_AS(&stmt->head, road.source, LOG_ERROR, road.all_skipped);
        cass_post_error(&stmt->head, STATE_HY000, 0, nullptr);
        return SQL_ERROR;
    }
    return static_cast<SQLRETURN>(send_and_execute(stmt, request.get()));
}

// A catalog result that was not read to its end occupies the connection.
static bool connection_is_busy(cass_stmt *stmt)
{
    cass_conn *conn = stmt_conn(stmt);
    const cass_busy_mark mark = cass_copy_busy(conn);
    if (!mark.busy)
        return false;
    if (mark.stmt == stmt) {
        cass_set_busy(conn, {});
        stmt->data_waiting = 0;
        return false;
    }
    CASS_LOG(&stmt->head, LOG_ERROR,
             "SQLExecDirectWide: connection is busy with results of another hstmt");
    cass_post_error(&stmt->head, STATE_HY000, 0,
                    "connection is busy with results of another hstmt");
    return true;
}

static bool markers_go_out_unprepared(const cass_conn *conn)
{
    return conn->conduct->markers_go_out_unprepared;
}

// Prepares the processed text, which the statement keeps, and runs it: the server then says of what
// types its markers are.
static SQLRETURN prepare_and_execute(cass_stmt *stmt)
{
    return cass_cancellable(stmt, [stmt]() -> SQLRETURN {
        return prepare_stmt(stmt, stmt->sql_text) < 0 ? SQL_ERROR : cass_execute(stmt);
    });
}

SQLRETURN cass_exec_direct(cass_stmt *stmt, cass_string *text, std::int32_t operation)
{
    held_string input(text);
    if (connection_is_busy(stmt))
        return SQL_ERROR;
    stmt->more_results = 0;
    stmt->param_row = 0;
    shared_put(&stmt->prepared, 0);
    cass_free_internal_rs(stmt, stmt->internal_rs);
    cass_string_free(stmt->sql_text);
    stmt->sql_text = nullptr;

    held_string processed(cass_process_sql(stmt, input.get()));
    input.reset();
    if (processed == nullptr) {
        CASS_LOG(&stmt->head, LOG_DETAIL, "SQLExecDirectWide: failed processing string");
        return SQL_ERROR;
    }
    stmt->ird = stmt->implicit_ird;
    if (stmt->found_param_count > 0 && operation == OP_EXEC_DIRECT &&
        !markers_go_out_unprepared(stmt_conn(stmt))) {
        stmt->sql_text = processed.release();
        return prepare_and_execute(stmt);
    }
    const int checked = cass_check_params(stmt, 0, operation);
    if (checked == SQL_NEED_DATA)
        stmt->sql_text = processed.release();
    if (checked != 0)
        return static_cast<SQLRETURN>(checked);

    cass_string_free(stmt->query_text);
    stmt->query_text = cass_string_copy(processed.get());
    if (stmt->query_text == nullptr) {
        CASS_LOG(&stmt->head, LOG_ERROR, "SQLExecDirectWide: failed to copy string");
        cass_post_error(&stmt->head, STATE_HY001, 0, nullptr);
        return SQL_ERROR;
    }
    stmt->sql_text = processed.release();
    return run_direct(stmt, plain_road);
}

SQLRETURN cass_dae_exec_direct(cass_stmt *stmt)
{
    const SQLRETURN code = run_direct(stmt, dae_road);
    CASS_LOG_AS(&stmt->head, dae_road.source, LOG_DETAIL, "SQLExecDirect(DAE): return value=%d",
                static_cast<int>(code));
    return code;
}
