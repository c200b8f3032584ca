// A real node through the Driver Manager: ini files, sessions, codes that explain themselves.
#include "tests/live/live_support.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

// ---- The Driver Manager's files -----------------------------------------------------------------

static std::string ini_folder;

static void remove_ini_folder()
{
    std::error_code ignored;
    std::filesystem::remove_all(ini_folder, ignored);
}

// odbcinst.ini as it is shipped, with the path of the built library. The library stays loaded to
// the end, so that a leak report can name its functions.
static std::string shipped_odbcinst()
{
    std::ifstream file(VHCASS_ODBCINST_TEMPLATE);
    std::string text((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    const std::string path = std::filesystem::path(VHCASS_LIBRARY).parent_path();
    const std::string mark = "@path@";
    for (auto at = text.find(mark); at != std::string::npos; at = text.find(mark, at))
        text.replace(at, mark.size(), path);
    const std::string last_setting = "Threading = 2\n";
    for (auto at = text.find(last_setting); at != std::string::npos;
         at = text.find(last_setting, at)) {
        at += last_setting.size();
        text.insert(at, "DontDLClose = 1\n");
    }
    return text;
}

// Before the process's first ODBC call: the Driver Manager looks for its files once.
static void set_up_ini_files()
{
    if (!ini_folder.empty())
        return;
    std::string pattern = std::filesystem::temp_directory_path() / "vhcass-live-XXXXXX";
    if (mkdtemp(pattern.data()) == nullptr) {
        std::perror(pattern.c_str());
        std::abort();
    }
    ini_folder = pattern;
    std::atexit(remove_ini_folder);
    std::ofstream(ini_folder + "/odbcinst.ini") << shipped_odbcinst();
    std::ofstream(ini_folder + "/odbc.ini") << "";
    setenv("ODBCSYSINI", ini_folder.c_str(), 1);
    setenv("ODBCINI", (ini_folder + "/odbc.ini").c_str(), 1);
}

std::string add_data_source(const std::string &lines)
{
    static int count = 0;
    set_up_ini_files();
    const std::string name = "live-" + std::to_string(++count);
    std::ofstream(ini_folder + "/odbc.ini", std::ios::app)
        << "[" << name << "]\nDriver = " << driver_name << "\n"
        << lines << "\n";
    return name;
}

// ---- Nodes --------------------------------------------------------------------------------------

live_node node_of(const char *variable)
{
    const char *value = std::getenv(variable);
    const std::string address = value == nullptr ? "" : value;
    const auto colon = address.rfind(':');
    if (colon == std::string::npos)
        return {};
    std::string host = address.substr(0, colon);
    if (host.starts_with('[') && host.ends_with(']'))
        host = host.substr(1, host.size() - 2);
    return {.host = host, .port = address.substr(colon + 1)};
}

std::string node_settings(const char *variable)
{
    const live_node node = node_of(variable);
    const bool ipv6 = node.host.find(':') != std::string::npos;
    return std::string("DRIVER={") + driver_name + "};SERVER=" + node.host + ";PORT=" + node.port +
           ";" + (ipv6 ? "IPV6=yes;" : "");
}

// ---- Sessions -----------------------------------------------------------------------------------

void live_close(live_session *live)
{
    if (live == nullptr)
        return;
    if (live->stmt != nullptr)
        SQLFreeHandle(SQL_HANDLE_STMT, live->stmt);
    SQLDisconnect(live->conn);
    SQLFreeHandle(SQL_HANDLE_DBC, live->conn);
    SQLFreeHandle(SQL_HANDLE_ENV, live->env);
    delete live;
}

live_ptr live_open(SQLULEN odbc_version)
{
    set_up_ini_files();
    live_ptr live(new live_session{}, live_close);
    EXPECT_EQ(SQLAllocHandle(SQL_HANDLE_ENV, nullptr, &live->env), SQL_SUCCESS);
    EXPECT_EQ(SQLSetEnvAttr(live->env, SQL_ATTR_ODBC_VERSION, odbc_number(odbc_version), 0),
              SQL_SUCCESS);
    EXPECT_EQ(SQLAllocHandle(SQL_HANDLE_DBC, live->env, &live->conn), SQL_SUCCESS);
    return live;
}

SQLRETURN driver_connect(SQLHDBC conn, const std::string &settings)
{
    return SQLDriverConnect(conn, nullptr, odbc_text(settings), SQL_NTS, nullptr, 0, nullptr,
                            SQL_DRIVER_NOPROMPT);
}

SQLRETURN driver_connect_wide(SQLHDBC conn, const std::string &settings)
{
    const std::u16string wide(settings.begin(), settings.end());
    return SQLDriverConnectW(conn, nullptr, odbc_wide(wide), SQL_NTS, nullptr, 0, nullptr,
                             SQL_DRIVER_NOPROMPT);
}

live_ptr live_logged_on(const std::string &more, SQLULEN odbc_version)
{
    live_ptr live = live_open(odbc_version);
    EXPECT_CONN(SQL_SUCCESS, live->conn, driver_connect(live->conn, node_settings() + more));
    live->stmt = new_stmt(live.get());
    return live;
}

SQLHSTMT new_stmt(const live_session *live)
{
    SQLHSTMT stmt = nullptr;
    EXPECT_CONN(SQL_SUCCESS, live->conn, SQLAllocHandle(SQL_HANDLE_STMT, live->conn, &stmt));
    return stmt;
}

void expect_alive(SQLHDBC conn)
{
    EXPECT_EQ(query(conn, "select key from system.local"), row_list{"local"});
}

// ---- Calls --------------------------------------------------------------------------------------

SQLRETURN exec(SQLHSTMT stmt, const std::string &sql)
{
    return SQLExecDirect(stmt, odbc_text(sql), static_cast<SQLINTEGER>(sql.size()));
}

SQLRETURN prepare(SQLHSTMT stmt, const std::string &sql)
{
    return SQLPrepare(stmt, odbc_text(sql), static_cast<SQLINTEGER>(sql.size()));
}

void run(SQLHSTMT stmt, const std::string &sql)
{
    const SQLRETURN code = exec(stmt, sql);
    if (code != SQL_SUCCESS_WITH_INFO) {
        EXPECT_TRUE(code_is(SQL_SUCCESS, code, SQL_HANDLE_STMT, stmt, sql.c_str()));
    }
    SQLFreeStmt(stmt, SQL_CLOSE);
}

void make_keyspace(SQLHSTMT stmt, const std::string &name)
{
    run(stmt, "DROP KEYSPACE IF EXISTS " + name);
    run(stmt, "CREATE KEYSPACE " + name + " WITH replication = {'class': 'SimpleStrategy', " +
                  "'replication_factor': 1}");
}

// ---- Codes and diagnostics ----------------------------------------------------------------------

record_list records_of(SQLSMALLINT type, SQLHANDLE handle)
{
    record_list list;
    for (SQLSMALLINT number = 1; number < 100; number++) {
        SQLCHAR state[6] = "";
        SQLCHAR text[4096] = "";
        SQLINTEGER native = 0;
        SQLSMALLINT length = 0;
        const SQLRETURN code =
            SQLGetDiagRec(type, handle, number, state, &native, text, sizeof text, &length);
        if (!SQL_SUCCEEDED(code))
            break;
        list.push_back(std::string(reinterpret_cast<char *>(state)) + " " +
                       reinterpret_cast<char *>(text));
    }
    return list;
}

record_list stmt_records(SQLHSTMT stmt)
{
    return records_of(SQL_HANDLE_STMT, stmt);
}

record_list conn_records(SQLHDBC conn)
{
    return records_of(SQL_HANDLE_DBC, conn);
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
    for (const std::string &record : records_of(type, handle))
        failure << "\n  " << record;
    return failure;
}

static bool record_fits(const std::string &record, const std::string &wanted)
{
    return record.substr(0, 5) == wanted.substr(0, 5) &&
           (wanted.size() <= 6 || record.find(wanted.substr(6)) != std::string::npos);
}

void expect_records(SQLSMALLINT type, SQLHANDLE handle, const record_list &wanted)
{
    const record_list records = records_of(type, handle);
    bool fits = records.size() == wanted.size();
    for (std::size_t i = 0; fits && i < records.size(); i++)
        fits = record_fits(records[i], wanted[i]);
    EXPECT_TRUE(fits) << "records " << ::testing::PrintToString(records) << "\n  expected "
                      << ::testing::PrintToString(wanted);
}

// ---- Results ------------------------------------------------------------------------------------

static std::string code_and_record(SQLRETURN code, SQLHSTMT stmt)
{
    const record_list list = stmt_records(stmt);
    return "<" + code_name(code) + (list.empty() ? "" : ": " + list.front()) + ">";
}

std::string cell_text(SQLHSTMT stmt, int column)
{
    char buffer[8192];
    SQLLEN length = -99;
    const SQLRETURN code = SQLGetData(stmt, static_cast<SQLUSMALLINT>(column), SQL_C_CHAR, buffer,
                                      sizeof buffer, &length);
    if (code != SQL_SUCCESS)
        return code_and_record(code, stmt);
    return length == SQL_NULL_DATA ? "NULL" : buffer;
}

std::string row_text(SQLHSTMT stmt)
{
    SQLSMALLINT count = -1;
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLNumResultCols(stmt, &count));
    std::string text;
    for (int column = 1; column <= count; column++)
        text += (column > 1 ? "|" : "") + cell_text(stmt, column);
    return text;
}

row_list fetch_all(SQLHSTMT stmt)
{
    row_list rows;
    for (;;) {
        const SQLRETURN code = SQLFetch(stmt);
        if (code == SQL_NO_DATA)
            return rows;
        if (!SQL_SUCCEEDED(code)) {
            rows.push_back(code_and_record(code, stmt));
            return rows;
        }
        rows.push_back(row_text(stmt));
    }
}

row_list query(SQLHDBC conn, const std::string &sql)
{
    SQLHSTMT stmt = nullptr;
    EXPECT_CONN(SQL_SUCCESS, conn, SQLAllocHandle(SQL_HANDLE_STMT, conn, &stmt));
    const SQLRETURN code = exec(stmt, sql);
    const row_list rows =
        SQL_SUCCEEDED(code) ? fetch_all(stmt) : row_list{code_and_record(code, stmt)};
    SQLFreeHandle(SQL_HANDLE_STMT, stmt);
    return rows;
}
