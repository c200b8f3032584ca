// The request and reply cycle: one frame out, one frame back, on the calling thread. Results are 0,
// 1 (a warning was posted) or -1 with a diagnostic on the statement.
#ifndef CORE_STATEMENT_CASS_PKT_EXCHANGE_H
#define CORE_STATEMENT_CASS_PKT_EXCHANGE_H

#include "core/wire/cass_pkt.h"

// Sends a request and reads one frame, with the connection's exchange lock held over both: the one
// way to the server of session start, authentication and statements. The request's owner gets the
// log records. Null with *failure telling why; what is not said there to be posted is the caller's
// to post.
cass_packet *cass_exchange(cass_conn *conn, cass_packet *request, cass_exchange_failure *failure);
// Code and message of an ERROR frame, behind its warnings if it has any. As decode_error_packet.
cass_string *cass_server_error(cass_stmt *stmt, cass_packet *packet, std::int32_t *code);

// Decodes a RESULT frame; one with rows becomes the statement's page. As decode_result_packet.
std::int32_t cass_take_result(cass_stmt *stmt, cass_packet *packet);
// Sends the frame and decodes the RESULT onto the statement. The caller keeps its reference.
int send_and_execute(cass_stmt *stmt, cass_packet *packet);
// The same for the request of a prepared statement, which was prepared `again` so many times for it.
// STATEMENT_FORGOTTEN, with nothing posted, where it is to be prepared again: once when the server
// knows it no more and the conduct wants that, and when the session has ended that it was prepared
// in.
constexpr int STATEMENT_FORGOTTEN = -2;
constexpr int MOST_AGAIN = 2;
int send_prepared(cass_stmt *stmt, cass_packet *packet, int again);
// Prepares a statement that the server has forgotten; a result that is being read goes on. As
// prepare_stmt.
int prepare_again(cass_stmt *stmt);
// Posts the warning that came with the statement's PREPARE with its first execution that succeeds:
// some clients read the last record of one that failed. The code of the execution with it.
SQLRETURN post_prepare_warning(cass_stmt *stmt, SQLRETURN code);
// Prepares `text` on the server, or takes what the connection has kept of an earlier time: prepared
// id, IPD and IRD of the statement. A null text is no work.
int prepare_stmt(cass_stmt *stmt, const cass_string *text);
// Requests the next page of the statement's result. A reply without rows installs none. A failure
// for want of memory leaves the statement's no_memory set, one that another attempt may not meet
// its failed_for_now.
int cass_fetch_next_page(cass_stmt *stmt);

// USE of the keyspace, in double quotes. What send_and_execute gives, with the diagnostics dropped,
// or QUERY_POSTED with the failure posted on the connection: HY001, or what the server has refused
// where the conduct tells of it.
constexpr int QUERY_POSTED = -2;
int set_current_keyspace(cass_conn *conn, const cass_string *keyspace);

// A statement has one result set, and there is no cancel on the wire: always -1, nothing posted.
int next_result_set(cass_stmt *stmt);
int send_reset(cass_stmt *stmt);

// The server has no transactions: these log, store what the attributes read back, and give 0.
int cass_commit(cass_conn *conn);
int cass_rollback(cass_conn *conn);
int set_autocommit(cass_conn *conn, std::int32_t value, int force);
int cass_set_transaction_isolation(cass_conn *conn, std::int32_t level);

#endif
