// Handles on a scripted server, and results as text.
#include "tests/wire/wire_support.h"

static SQLCHAR *odbc_text(const std::string &text)
{
    return reinterpret_cast<SQLCHAR *>(const_cast<char *>(text.c_str()));
}

// ---- Sessions ----------------------------------------------------------------------------------

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

wire_ptr wire_open(const node_options &options)
{
    wire_ptr wire(new wire_session{node_start(options), nullptr, nullptr, nullptr}, wire_close);
    EXPECT_EQ(SQLAllocHandle(SQL_HANDLE_ENV, nullptr, &wire->env), SQL_SUCCESS);
    SQLSetEnvAttr(wire->env, SQL_ATTR_ODBC_VERSION, reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3), 0);
    EXPECT_EQ(SQLAllocHandle(SQL_HANDLE_DBC, wire->env, &wire->conn), SQL_SUCCESS);
    return wire;
}

SQLRETURN wire_driver_connect(SQLHDBC conn, const std::string &settings)
{
    return SQLDriverConnect(conn, nullptr, odbc_text(settings), SQL_NTS, nullptr, 0, nullptr,
                            SQL_DRIVER_NOPROMPT);
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

wire_ptr wire_logged_on(const node_logon &logon, const std::string &more)
{
    wire_ptr wire = wire_open();
    std::string settings = more;
    if (!logon.user.empty())
        settings += ";UID=" + logon.user + ";PWD=" + logon.password;
    if (!logon.keyspace.empty())
        settings += ";KEYSPACE=" + logon.keyspace;
    expect_logon(wire->node.get(), logon);
    EXPECT_CONN(SQL_SUCCESS, wire->conn, wire_connect(wire.get(), settings));
    wire->stmt = wire_new_stmt(wire.get());
    return wire;
}

SQLRETURN exec(SQLHSTMT stmt, const std::string &sql)
{
    return SQLExecDirect(stmt, odbc_text(sql), static_cast<SQLINTEGER>(sql.size()));
}

SQLRETURN prepare(SQLHSTMT stmt, const std::string &sql)
{
    return SQLPrepare(stmt, odbc_text(sql), static_cast<SQLINTEGER>(sql.size()));
}

// ---- Diagnostics -------------------------------------------------------------------------------

static record_list records(SQLSMALLINT type, SQLHANDLE handle)
{
    static const std::string prefix = "[Varnholt][Apache Cassandra]";
    record_list list;
    for (SQLSMALLINT number = 1; number < 100; number++) {
        SQLCHAR state[6] = "";
        SQLCHAR text[2048] = "";
        SQLINTEGER native = 0;
        SQLSMALLINT length = 0;
        const SQLRETURN code =
            SQLGetDiagRec(type, handle, number, state, &native, text, sizeof text, &length);
        if (!SQL_SUCCEEDED(code))
            return list;
        std::string message = reinterpret_cast<char *>(text);
        if (message.starts_with(prefix))
            message.erase(0, prefix.size());
        list.push_back(std::string(reinterpret_cast<char *>(state)) + " " + message);
    }
    return list;
}

record_list conn_records(SQLHDBC conn)
{
    return records(SQL_HANDLE_DBC, conn);
}

record_list stmt_records(SQLHSTMT stmt)
{
    return records(SQL_HANDLE_STMT, stmt);
}

std::string code_name(SQLRETURN code)
{
    switch (code) {
    case SQL_SUCCESS:
        return "SQL_SUCCESS";
    case SQL_SUCCESS_WITH_INFO:
        return "SQL_SUCCESS_WITH_INFO";
    case SQL_NO_DATA:
        return "SQL_NO_DATA";
    case SQL_NEED_DATA:
        return "SQL_NEED_DATA";
    case SQL_ERROR:
        return "SQL_ERROR";
    case SQL_INVALID_HANDLE:
        return "SQL_INVALID_HANDLE";
    default:
        return std::to_string(code);
    }
}

::testing::AssertionResult code_is(SQLRETURN wanted, SQLRETURN got, SQLSMALLINT type,
                                   SQLHANDLE handle, const char *call)
{
    if (got == wanted)
        return ::testing::AssertionSuccess();
    ::testing::AssertionResult failure = ::testing::AssertionFailure();
    failure << call << "\n  gave " << code_name(got) << ", expected " << code_name(wanted);
    for (const std::string &record : records(type, handle))
        failure << "\n  " << record;
    return failure;
}

// ---- Results -----------------------------------------------------------------------------------

int column_count(SQLHSTMT stmt)
{
    SQLSMALLINT count = -1;
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLNumResultCols(stmt, &count));
    return count;
}

std::string cell_text(SQLHSTMT stmt, int column)
{
    std::string buffer(1 << 16, '\0');
    SQLLEN length = -99;
    const SQLRETURN code = SQLGetData(stmt, static_cast<SQLUSMALLINT>(column), SQL_C_CHAR,
                                      buffer.data(), static_cast<SQLLEN>(buffer.size()), &length);
    if (code != SQL_SUCCESS) {
        const record_list list = stmt_records(stmt);
        return "<" + code_name(code) + (list.empty() ? "" : ": " + list.front()) + ">";
    }
    return length == SQL_NULL_DATA ? "NULL" : buffer.c_str();
}

std::string row_text(SQLHSTMT stmt)
{
    std::string text;
    const int count = column_count(stmt);
    for (int column = 1; column <= count; column++)
        text += (column > 1 ? "|" : "") + cell_text(stmt, column);
    return text;
}

std::vector<std::string> fetch_all(SQLHSTMT stmt, int limit)
{
    std::vector<std::string> rows;
    while (static_cast<int>(rows.size()) < limit) {
        const SQLRETURN code = SQLFetch(stmt);
        if (code == SQL_NO_DATA)
            return rows;
        if (!SQL_SUCCEEDED(code)) {
            const record_list list = stmt_records(stmt);
            rows.push_back(code_name(code) + (list.empty() ? "" : ": " + list.front()));
            return rows;
        }
        rows.push_back(row_text(stmt));
    }
    return rows;
}
