// A real node through the Driver Manager: ini files, sessions, codes that explain themselves.
#include "tests/live/live_support.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "tests/node/certificates.h"

// ---- Nodes --------------------------------------------------------------------------------------

std::string filled(const std::string &text, const char *variable)
{
    const char *value = std::getenv(variable);
    const char *files = std::getenv("VHCASS_TLS_FILES");
    const std::string address = value == nullptr ? ":" : value;
    const auto colon = address.rfind(':');
    const std::string host = replaced(replaced(address.substr(0, colon), "[", ""), "]", "");
    return replaced(replaced(replaced(text, "{host}", host), "{port}", address.substr(colon + 1)),
                    "{files}", files == nullptr ? "" : files);
}

std::string node_settings(const char *variable)
{
    const char *more = std::getenv("VHCASS_CONNECTION");
    const bool is_given = more != nullptr && std::string(variable) == "VHCASS_SERVER";
    return filled(std::string("DRIVER={") + driver_name + "};SERVER={host};PORT={port};",
                  variable) +
           (is_given ? std::string(more) + ";" : "");
}

// ---- The Driver Manager's files -----------------------------------------------------------------

// odbcinst.ini, as it is shipped, with the path of the built library, and odbc.ini with the data
// source `live`: made before the process's first ODBC call, as the Driver Manager looks for its
// files once. The library stays loaded to the end, so that a leak report can name its functions.
static void make_ini_files()
{
    static const file_folder folder;
    if (!file_content(folder.path + "/odbc.ini").empty())
        return;
    const std::string shipped = VHCASS_PACKAGING,
                      text = file_content(shipped + "/odbcinst.ini") +
                             file_content(shipped + "/odbcinst-completed.ini"),
                      path = std::filesystem::path(VHCASS_LIBRARY).parent_path();
    folder.add("odbcinst.ini",
               replaced(replaced(text, "@path@", path), "Driver =", "DontDLClose = 1\nDriver="));
    folder.add("odbc.ini", filled(std::string("[live]\nDriver = ") + driver_name +
                                  "\nSERVER=127.0.0.1:1,{host}:{port}\nKeyspace = system\n"));
    setenv("ODBCSYSINI", folder.path.c_str(), 1);
    setenv("ODBCINI", (folder.path + "/odbc.ini").c_str(), 1);
}

// ---- Sessions -----------------------------------------------------------------------------------

live_session::live_session()
{
    make_ini_files();
    SQLAllocHandle(SQL_HANDLE_ENV, nullptr, &env);
    EXPECT_EQ(SQLSetEnvAttr(env, SQL_ATTR_ODBC_VERSION, odbc_number(SQL_OV_ODBC3), 0), SQL_SUCCESS);
    EXPECT_EQ(SQLAllocHandle(SQL_HANDLE_DBC, env, &conn), SQL_SUCCESS);
}

live_session::~live_session()
{
    SQLDisconnect(conn);  // frees the statements
    SQLFreeHandle(SQL_HANDLE_DBC, conn);
    SQLFreeHandle(SQL_HANDLE_ENV, env);
}

SQLRETURN driver_connect(SQLHDBC conn, const std::string &settings, bool is_wide, std::string *out)
{
    const std::u16string wide(settings.begin(), settings.end());
    SQLCHAR text[1024] = "";
    SQLWCHAR wide_text[1024] = {};
    SQLSMALLINT length = 0;
    const SQLRETURN code = is_wide
                               ? SQLDriverConnectW(conn, nullptr, odbc_wide(wide), SQL_NTS,
                                                   wide_text, 1024, &length, SQL_DRIVER_COMPLETE)
                               : SQLDriverConnect(conn, nullptr, odbc_text(settings), SQL_NTS, text,
                                                  1024, &length, SQL_DRIVER_NOPROMPT);
    if (out != nullptr)
        *out =
            is_wide ? std::string(wide_text, wide_text + length) : std::string(text, text + length);
    return code;
}

SQLHSTMT new_stmt(SQLHDBC conn)
{
    SQLHSTMT stmt = nullptr;
    EXPECT_CONN(SQL_SUCCESS, conn, SQLAllocHandle(SQL_HANDLE_STMT, conn, &stmt));
    return stmt;
}

row_list query(SQLHDBC conn, const std::string &sql)
{
    const SQLHSTMT stmt = new_stmt(conn);
    const SQLRETURN code = exec(stmt, sql);
    const row_list rows =
        SQL_SUCCEEDED(code) ? fetch_all(stmt) : row_list{"<" + code_and_record(code, stmt) + ">"};
    SQLFreeHandle(SQL_HANDLE_STMT, stmt);
    return rows;
}

void expect_alive(SQLHDBC conn)
{
    EXPECT_EQ(query(conn, "select key from system.local"), row_list{"local"});
}

// ---- Calls --------------------------------------------------------------------------------------

void run(SQLHSTMT stmt, const std::string &sql)
{
    EXPECT_TRUE(SQL_SUCCEEDED(exec(stmt, sql)))
        << sql << "\n  " << ::testing::PrintToString(stmt_records(stmt));
    SQLFreeStmt(stmt, SQL_CLOSE);
}

void make_keyspace(SQLHSTMT stmt, const std::string &name)
{
    // For whoever cleans the cluster up.
    if (const char *file = std::getenv("VHCASS_MADE_KEYSPACES"))
        std::ofstream(file, std::ios::app) << name + "\n";
    run(stmt, "DROP KEYSPACE IF EXISTS " + name);
    run(stmt, "CREATE KEYSPACE " + name + " WITH replication = {'class': 'SimpleStrategy', " +
                  "'replication_factor': 1}");
}

bool make_every_type(SQLHSTMT stmt, const std::string &keyspace)
{
    make_keyspace(stmt, keyspace);
    run(stmt, "CREATE TYPE " + keyspace + ".pair (a int, b text)");
    run(stmt, "CREATE TABLE " + keyspace +
                  ".every (k int PRIMARY KEY, c_ascii ascii, c_bigint bigint, c_blob blob, "
                  "c_boolean boolean, c_date date, c_decimal decimal, c_double double, c_duration "
                  "duration, c_float float, c_inet inet, c_int int, c_list list<int>, c_map "
                  "map<text, int>, c_set set<text>, c_smallint smallint, c_text text, c_time time, "
                  "c_timestamp timestamp, c_timeuuid timeuuid, c_tinyint tinyint, c_tuple "
                  "tuple<int, text>, c_udt frozen<pair>, c_uuid uuid, c_varint varint) WITH "
                  "comment = 'It''s \"every\" type'");
    exec(stmt, "SELECT release_version FROM system.local");
    const bool has_vectors = std::stoi(fetch_all(stmt).at(0)) >= 5;
    SQLFreeStmt(stmt, SQL_CLOSE);
    if (has_vectors)
        run(stmt, "ALTER TABLE " + keyspace + ".every ADD c_vector vector<float, 3>");
    return has_vectors;
}

void live_test::SetUp()
{
    NEED_NODE("VHCASS_SERVER");
    log_on();
}

void live_test::log_on(bool is_wide, const std::string &more)
{
    live = std::make_unique<live_session>();
    conn = live->conn;
    EXPECT_CONN(SQL_SUCCESS, conn, driver_connect(conn, node_settings() + more, is_wide));
    stmt = new_stmt(conn);
}
