// What the wire tests share: a scripted server with the built library's handles on it.
//
//     const wire_ptr wire = wire_logged_on();
//     run_query(wire, "select a from t", rows_frame(...));
//     EXPECT_EQ(fetch_all(wire->stmt), (row_list{"1|x", "2|y"}));
#ifndef TESTS_WIRE_WIRE_SUPPORT_H
#define TESTS_WIRE_WIRE_SUPPORT_H

#include "tests/handle_calls.h"
#include "tests/node/certificates.h"
#include "tests/node/node.h"

struct wire_session {
    scripted_node *node;  // its own
    SQLHENV env;
    SQLHDBC conn;
    SQLHSTMT stmt;  // null until logged on
};

// Frees the handles, stops the server and reports its complaints as failures.
inline void wire_close(wire_session *wire)
{
    if (wire->stmt != nullptr)
        SQLFreeHandle(SQL_HANDLE_STMT, wire->stmt);
    SQLDisconnect(wire->conn);
    SQLFreeHandle(SQL_HANDLE_DBC, wire->conn);
    SQLFreeHandle(SQL_HANDLE_ENV, wire->env);
    EXPECT_EQ(node_finish(wire->node), "");
    node_free(wire->node);
    delete wire;
}
using wire_ptr = std::unique_ptr<wire_session, void (*)(wire_session *)>;

// A server with an empty script, an environment and a connection that is not connected.
inline wire_ptr wire_open()
{
    wire_ptr wire(new wire_session{node_start().release(), nullptr, nullptr, nullptr}, wire_close);
    EXPECT_EQ(SQLAllocHandle(SQL_HANDLE_ENV, nullptr, &wire->env), SQL_SUCCESS);
    SQLSetEnvAttr(wire->env, SQL_ATTR_ODBC_VERSION, odbc_number(SQL_OV_ODBC3), 0);
    EXPECT_EQ(SQLAllocHandle(SQL_HANDLE_DBC, wire->env, &wire->conn), SQL_SUCCESS);
    return wire;
}

// SQLDriverConnect without a prompt; `out`, when given, receives the output string.
inline SQLRETURN wire_driver_connect(SQLHDBC conn, const std::string &settings,
                                     std::string *out = nullptr)
{
    SQLCHAR text[1024] = "";
    const SQLRETURN code = SQLDriverConnect(conn, nullptr, odbc_text(settings), SQL_NTS, text,
                                            sizeof text, nullptr, SQL_DRIVER_NOPROMPT);
    if (out != nullptr)
        *out = reinterpret_cast<char *>(text);
    return code;
}
// Connects to the server; `more` are further settings ("UID=u;PWD=p").
inline SQLRETURN wire_connect(const wire_ptr &wire, const std::string &more = {})
{
    return wire_driver_connect(wire->conn, "SERVER=" + node_address(wire->node) + ";" + more);
}

inline SQLHSTMT wire_new_stmt(const wire_ptr &wire)
{
    SQLHSTMT stmt = nullptr;
    EXPECT_CONN(SQL_SUCCESS, wire->conn, SQLAllocHandle(SQL_HANDLE_STMT, wire->conn, &stmt));
    return stmt;
}

// All of it, with a first statement. The connection is in step with the script.
inline wire_ptr wire_logged_on(const node_logon &logon = {}, const std::string &more = {},
                               const node_tls *tls = nullptr)
{
    wire_ptr wire = wire_open();
    if (tls != nullptr)
        node_use_tls(wire->node, *tls);
    expect_logon(wire->node, logon);
    EXPECT_CONN(SQL_SUCCESS, wire->conn, wire_connect(wire, more));
    wire->stmt = wire_new_stmt(wire);
    return wire;
}
// By one of the conducts, with the pages of the scripts.
inline wire_ptr wire_of(bool standard, const std::string &more = {})
{
    return wire_logged_on({}, (standard ? "PageSize=100;Standard=Yes;" : "") + more);
}

// Over TLS, 1.2 or another version.
inline wire_ptr wire_by_tls(const std::string &more, int version = 0x0303)
{
    const certificate own = make_certificate({});
    const node_tls tls = {.chain = own.pem, .key = key_pem(own.key), .version = version};
    return wire_logged_on({}, "Encrypt=yes;TrustServerCertificate=yes;" + more, &tls);
}

// Executes `sql` on the first statement: one QUERY frame, this reply, this code.
inline void run_query(const wire_ptr &wire, const std::string &sql, const node_frame &reply,
                      SQLRETURN wanted = SQL_SUCCESS)
{
    expect_query(wire->node, sql, {reply});
    EXPECT_STMT(wanted, wire->stmt, exec(wire->stmt, sql));
}

inline void set_attribute(SQLHSTMT stmt, SQLINTEGER attribute, SQLPOINTER value)
{
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLSetStmtAttr(stmt, attribute, value, 0));
}
inline void set_attribute(SQLHSTMT stmt, SQLINTEGER attribute, SQLULEN value)
{
    set_attribute(stmt, attribute, odbc_number(value));
}

// The states of all records, with blanks between them.
inline std::string states_of(SQLHSTMT stmt)
{
    std::string states;
    for (const std::string &record : stmt_records(stmt))
        states += (states.empty() ? "" : " ") + record.substr(0, 5);
    return states;
}

inline SQLUINTEGER is_dead(SQLHDBC conn)
{
    SQLUINTEGER dead = 99;
    SQLGetConnectAttr(conn, SQL_ATTR_CONNECTION_DEAD, &dead, 0, nullptr);
    return dead;
}

// A page of one column of texts.
inline const node_columns one_text = {{"a", type_of(NODE_VARCHAR)}};
inline node_frame text_page(const std::vector<bytes> &texts, const bytes &paging_state = {},
                            bool no_metadata = false)
{
    std::vector<node_row> rows;
    for (const bytes &text : texts)
        rows.push_back({text});
    return rows_frame(one_text, rows, {.no_metadata = no_metadata, .paging_state = paging_state});
}

// What records begin with.
inline const std::string general_error = "HY000 General error: ";
inline const std::string link_failure = "08S01 Communication link failure: ";

#endif
