// What the wire tests share: a scripted server with the built library's handles on it.
//
//     const wire_ptr wire = wire_logged_on();
//     run_query(wire, "select a from t", rows_frame(...));
//     EXPECT_EQ(fetch_all(wire->stmt), (row_list{"1|x", "2|y"}));
#ifndef TESTS_WIRE_WIRE_SUPPORT_H
#define TESTS_WIRE_WIRE_SUPPORT_H

#include "tests/handle_calls.h"
#include "tests/node/node.h"

struct wire_session {
    node_ptr node;
    SQLHENV env;
    SQLHDBC conn;
    SQLHSTMT stmt;  // null until logged on
};

// Frees the handles, stops the server and reports its complaints as failures.
void wire_close(wire_session *wire);
using wire_ptr = std::unique_ptr<wire_session, void (*)(wire_session *)>;

// A server with an empty script, an environment and a connection that is not connected.
wire_ptr wire_open();
// Connects to the server; `more` are further settings ("UID=u;PWD=p").
SQLRETURN wire_connect(const wire_session *wire, const std::string &more = {});
// SQLDriverConnect without a prompt; `out`, when given, receives the output string.
SQLRETURN wire_driver_connect(SQLHDBC conn, const std::string &settings,
                              std::string *out = nullptr);
// All of it, with a first statement. The connection is in step with the script.
wire_ptr wire_logged_on(const node_logon &logon = {}, const std::string &more = {},
                        const node_tls *tls = nullptr);
SQLHSTMT wire_new_stmt(const wire_session *wire);

// Executes `sql` on the first statement: one QUERY frame, this reply, this code.
void run_query(const wire_ptr &wire, const std::string &sql, const node_frame &reply,
               SQLRETURN wanted = SQL_SUCCESS);

// A page of one column of texts.
inline const node_columns one_text = {{"a", type_of(NODE_VARCHAR)}};
node_frame text_page(const std::vector<bytes> &texts, const bytes &paging_state = {},
                     bool no_metadata = false);

// What records begin with.
inline const std::string general_error = "HY000 General error: ";
inline const std::string link_failure = "08S01 Communication link failure: ";

#endif
