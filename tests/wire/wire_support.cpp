// Handles on a scripted server.
#include "tests/wire/wire_support.h"

void wire_close(wire_session *wire)
{
    if (wire == nullptr)
        return;
    if (wire->stmt != nullptr)
        SQLFreeHandle(SQL_HANDLE_STMT, wire->stmt);
    SQLDisconnect(wire->conn);
    SQLFreeHandle(SQL_HANDLE_DBC, wire->conn);
    SQLFreeHandle(SQL_HANDLE_ENV, wire->env);
    EXPECT_EQ(node_finish(wire->node.get()), "");
    delete wire;
}

wire_ptr wire_open()
{
    wire_ptr wire(new wire_session{node_start(), nullptr, nullptr, nullptr}, wire_close);
    EXPECT_EQ(SQLAllocHandle(SQL_HANDLE_ENV, nullptr, &wire->env), SQL_SUCCESS);
    SQLSetEnvAttr(wire->env, SQL_ATTR_ODBC_VERSION, odbc_number(SQL_OV_ODBC3), 0);
    EXPECT_EQ(SQLAllocHandle(SQL_HANDLE_DBC, wire->env, &wire->conn), SQL_SUCCESS);
    return wire;
}

SQLRETURN wire_driver_connect(SQLHDBC conn, const std::string &settings, std::string *out)
{
    SQLCHAR text[1024] = "";
    const SQLRETURN code = SQLDriverConnect(conn, nullptr, odbc_text(settings), SQL_NTS, text,
                                            sizeof text, nullptr, SQL_DRIVER_NOPROMPT);
    if (out != nullptr)
        *out = reinterpret_cast<char *>(text);
    return code;
}

SQLRETURN wire_connect(const wire_session *wire, const std::string &more)
{
    const std::string address = node_address(wire->node.get());
    return wire_driver_connect(wire->conn, "SERVER=" + address + ";" + more);
}

SQLHSTMT wire_new_stmt(const wire_session *wire)
{
    SQLHSTMT stmt = nullptr;
    EXPECT_CONN(SQL_SUCCESS, wire->conn, SQLAllocHandle(SQL_HANDLE_STMT, wire->conn, &stmt));
    return stmt;
}

wire_ptr wire_logged_on(const node_logon &logon, const std::string &more, const node_tls *tls)
{
    wire_ptr wire = wire_open();
    if (tls != nullptr)
        node_use_tls(wire->node.get(), *tls);
    expect_logon(wire->node.get(), logon);
    EXPECT_CONN(SQL_SUCCESS, wire->conn, wire_connect(wire.get(), more));
    wire->stmt = wire_new_stmt(wire.get());
    return wire;
}

void run_query(const wire_ptr &wire, const std::string &sql, const node_frame &reply,
               SQLRETURN wanted)
{
    expect_query(wire->node.get(), sql, {reply});
    EXPECT_STMT(wanted, wire->stmt, exec(wire->stmt, sql));
}

node_frame text_page(const std::vector<bytes> &texts, const bytes &paging_state, bool no_metadata)
{
    std::vector<node_row> rows;
    for (const bytes &text : texts)
        rows.push_back({text});
    return rows_frame(one_text, rows, {.no_metadata = no_metadata, .paging_state = paging_state});
}
