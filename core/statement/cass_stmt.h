// The life of a statement: closing, direct execution, prepared execution and the request builders.
#ifndef CORE_STATEMENT_CASS_STMT_H
#define CORE_STATEMENT_CASS_STMT_H

#include "core/wire/cass_pkt.h"

enum : std::int32_t {
    OP_EXEC_DIRECT = 11,
    OP_EXECUTE = 12,
};

// Makes a rows frame the statement's page: takes a reference, drops the one before, offset 0. A
// negative count is 0; rows beyond the limit of the result are left out.
void cass_set_current_packet(cass_stmt *stmt, cass_packet *packet, std::int32_t rows_count);
// Ends an execution: pending local rows, paging state, saved values, query text. unprepare not 0:
// the prepared id and text too. Always 0.
int cass_close_stmt(cass_stmt *stmt, int unprepare);
// Ends an execution to make room for a catalog result: a text that was never prepared goes as well,
// so that nothing describes the statement by it any more.
void cass_close_for_catalog(cass_stmt *stmt);
// Drops the result's description: rows, IRD records and the counts of the metadata.
void cass_close_result(cass_stmt *stmt);
// Runs a text that it consumes (may be null). ODBC return code; diagnostics on the statement.
SQLRETURN cass_exec_direct(cass_stmt *stmt, cass_string *text, std::int32_t operation);
// Runs the prepared statement once for each parameter set.
SQLRETURN cass_execute(cass_stmt *stmt);
// What SQLParamData runs once all data at execution is there: the rest of either.
SQLRETURN cass_dae_exec_direct(cass_stmt *stmt);
SQLRETURN cass_dae_execute(cass_stmt *stmt);
// Whether the statement waits for data at execution, or takes it as if it did.
bool cass_pause_is_open(const cass_stmt *stmt);
// Ends the pause, and drops the data that has come.
void cass_end_pause(cass_stmt *stmt);
// A statement that is described before it was prepared is prepared now. 0, 1 for a
// warning of the server, or -1; both with records on the statement.
int cass_prepare_if_needed(cass_stmt *stmt);

// SQL_ATTR_MAX_ROWS where it counts; 0: no limit.
SQLULEN cass_row_limit(const cass_stmt *stmt);

// A local result was made for a statement that may have asked for another cursor than a
// forward-only one. It is given that, and held to the limit of rows, where cursors scroll;
// otherwise 01S02, and the cursor attributes go back to forward-only. The code,
// SQL_SUCCESS_WITH_INFO or SQL_ERROR.
SQLRETURN cass_check_cursor_change(cass_stmt *stmt, SQLRETURN code);

// ---- Parameter sets ----------------------------------------------------------------------------
// The application's operation array excludes the set in work.
bool cass_param_set_skipped(const cass_stmt *stmt);
// Number of sets worked on so far, and the outcome of the set in work (SQL_PARAM_...), into the
// application's counter and status array, where it has given them.
void cass_store_params_processed(cass_stmt *stmt, SQLULEN sets);
void cass_store_param_status(cass_stmt *stmt, SQLUSMALLINT status);

// Request frames for the statement, or null with the failure posted. The caller owns the frame.
cass_packet *create_exec_string(cass_stmt *stmt, const cass_string *text);
cass_packet *create_execute(cass_stmt *stmt);
cass_packet *create_fetch_next(cass_stmt *stmt);

#endif
