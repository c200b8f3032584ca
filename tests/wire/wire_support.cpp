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

wire_ptr wire_open()
{
    wire_ptr wire(new wire_session{node_start(), nullptr, nullptr, nullptr}, wire_close);
    EXPECT_EQ(SQLAllocHandle(SQL_HANDLE_ENV, nullptr, &wire->env), SQL_SUCCESS);
    SQLSetEnvAttr(wire->env, SQL_ATTR_ODBC_VERSION, reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3), 0);
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

wire_ptr wire_logged_on(const node_logon &logon, const std::string &more)
{
    wire_ptr wire = wire_open();
    expect_logon(wire->node.get(), logon);
    EXPECT_CONN(SQL_SUCCESS, wire->conn, wire_connect(wire.get(), more));
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

void run_query(const wire_ptr &wire, const std::string &sql, const node_frame &reply,
               SQLRETURN wanted)
{
    expect_query(wire->node.get(), sql, {reply});
    EXPECT_STMT(wanted, wire->stmt, exec(wire->stmt, sql));
}

// ---- Diagnostics -------------------------------------------------------------------------------

static record_list records(SQLSMALLINT type, SQLHANDLE handle)
{
    static const std::string prefix = "[Varnholt][Apache Cassandra]";
    record_list list;
    for (SQLSMALLINT number = 1; number < 100; number++) {
        SQLCHAR state[6] = "", text[2048] = "";
        SQLINTEGER native = 0;
        SQLSMALLINT length = 0;
        if (!SQL_SUCCEEDED(
                SQLGetDiagRec(type, handle, number, state, &native, text, sizeof text, &length)))
            break;
        const std::string message = reinterpret_cast<char *>(text);
        list.push_back(std::string(reinterpret_cast<char *>(state)) + " " +
                       message.substr(message.starts_with(prefix) ? prefix.size() : 0));
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

static std::string code_name(SQLRETURN code)
{
    const std::string names[] = {"SQL_INVALID_HANDLE", "SQL_ERROR", "SQL_SUCCESS",
                                 "SQL_SUCCESS_WITH_INFO"};
    if (code >= SQL_INVALID_HANDLE && code <= SQL_SUCCESS_WITH_INFO)
        return names[code - SQL_INVALID_HANDLE];
    return code == SQL_NO_DATA ? "SQL_NO_DATA" : std::to_string(code);
}

// A code with the first record behind it.
static std::string failure_text(SQLRETURN code, SQLHSTMT stmt)
{
    const record_list list = stmt_records(stmt);
    return code_name(code) + (list.empty() ? "" : ": " + list.front());
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
    SQLLEN length = 0x5A5A5A5A5A5A5A5A;  // every byte of which is to be written
    const SQLRETURN code = SQLGetData(stmt, static_cast<SQLUSMALLINT>(column), SQL_C_CHAR,
                                      buffer.data(), static_cast<SQLLEN>(buffer.size()), &length);
    if (code != SQL_SUCCESS)
        return "<" + failure_text(code, stmt) + ">";
    EXPECT_LT(length, static_cast<SQLLEN>(buffer.size()));
    return length == SQL_NULL_DATA ? "NULL" : buffer.c_str();
}

std::vector<std::string> fetch_all(SQLHSTMT stmt)
{
    constexpr std::size_t limit = 100000;
    std::vector<std::string> rows;
    while (rows.size() < limit) {
        const SQLRETURN code = SQLFetch(stmt);
        if (code != SQL_NO_DATA)
            rows.push_back(SQL_SUCCEEDED(code) ? "" : failure_text(code, stmt));
        if (!SQL_SUCCEEDED(code))
            return rows;
        const int count = column_count(stmt);
        for (int column = 1; column <= count; column++)
            rows.back() += (column > 1 ? "|" : "") + cell_text(stmt, column);
    }
    return rows;
}
