// Reads rows of eight mixed columns through the driver and prints what that cost: rows a second,
// CPU seconds a million rows, the peak of the resident size. The rows come from a server that
// replays prepared pages, or from a real one, where the table is made and filled first if need be.
//
// Built twice: linked to the driver alone, and (fetch_dm) to the Driver Manager with the driver's
// path in the connection string.
#include <sql.h>
#include <sqlext.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "bench/mixed_rows.h"
#include "bench/odbc_calls.h"
#include "bench/replay_node.h"

#ifdef VHCASS_LIBRARY
static constexpr char DRIVER_SETTING[] = "DRIVER={" VHCASS_LIBRARY "};";
#else
static constexpr char DRIVER_SETTING[] = "";
#endif

static constexpr char USAGE[] =
    "fetch [--rows N] [--replay | --server HOST:PORT] [--no-lz4] [MODE]\n"
    "  --rows N            rows to read, 1000000 unless told\n"
    "  --replay            a child process replays pages (the default); --no-lz4: uncompressed\n"
    "  --server HOST:PORT  a real server; --user and --password where it asks for them\n"
    "  --set SETTINGS      more of the connection string, such as \"LOGGING=yes;LOGFILE=f\"\n"
    "  MODE is one of\n"
    "  --get-char          SQLGetData as SQL_C_CHAR (the default)\n"
    "  --get-native        SQLGetData in the column's own C type\n"
    "  --bound             bound in the column's own C type, --rowset 1000\n"
    "  --bound-char        bound as SQL_C_CHAR, --rowset 1\n"
    "  --fetch-only        SQLFetch alone\n"
    "  --rowset N          rows of a rowset, for the bound modes\n";

enum fetch_mode { GET_CHAR, GET_NATIVE, BOUND, BOUND_CHAR, FETCH_ONLY };

struct fetch_options {
    std::int64_t rows = 1000000;
    const char *server = nullptr;  // null: replay
    const char *user = nullptr;
    const char *password = nullptr;
    const char *more = nullptr;
    bool lz4 = true;
    fetch_mode mode = GET_CHAR;
    SQLULEN rowset = 0;  // 0: as the mode has it
};

static constexpr int CHAR_ROOM = 64;

// The eight columns: C type and bytes of an element.
static constexpr struct {
    SQLSMALLINT c_type;
    int size;
} native_types[MIXED_COLUMNS] = {
    {SQL_C_LONG, 4},
    {SQL_C_SBIGINT, 8},
    {SQL_C_CHAR, CHAR_ROOM},
    {SQL_C_DOUBLE, 8},
    {SQL_C_BIT, 1},
    {SQL_C_TYPE_TIMESTAMP, sizeof(SQL_TIMESTAMP_STRUCT)},
    {SQL_C_GUID, sizeof(SQLGUID)},
    {SQL_C_NUMERIC, sizeof(SQL_NUMERIC_STRUCT)},
};

// ---- Calls -------------------------------------------------------------------------------------

static SQLHSTMT new_stmt(SQLHDBC conn)
{
    SQLHSTMT stmt = nullptr;
    if (!SQL_SUCCEEDED(SQLAllocHandle(SQL_HANDLE_STMT, conn, &stmt)))
        fail("statement", SQL_HANDLE_DBC, conn);
    return stmt;
}

static void must_run(SQLHDBC conn, const std::string &sql)
{
    SQLHSTMT stmt = new_stmt(conn);
    if (!SQL_SUCCEEDED(SQLExecDirect(stmt, odbc_text(sql), SQL_NTS)))
        fail(sql.substr(0, 60).c_str(), SQL_HANDLE_STMT, stmt);
    SQLFreeHandle(SQL_HANDLE_STMT, stmt);
}

static SQLHDBC open_connection(SQLHENV env, const std::string &settings)
{
    SQLHDBC conn = nullptr;
    SQLAllocHandle(SQL_HANDLE_DBC, env, &conn);
    const std::string text = DRIVER_SETTING + settings;
    const SQLRETURN code = SQLDriverConnect(conn, nullptr, odbc_text(text), SQL_NTS, nullptr, 0,
                                            nullptr, SQL_DRIVER_NOPROMPT);
    if (!SQL_SUCCEEDED(code))
        fail("connect", SQL_HANDLE_DBC, conn);
    return conn;
}

// ---- Reading -----------------------------------------------------------------------------------

static std::int64_t read_by_get_data(SQLHSTMT stmt, fetch_mode mode)
{
    char buffer[CHAR_ROOM];
    SQLLEN length = 0;
    std::int64_t rows = 0;
    SQLRETURN code;
    for (; SQL_SUCCEEDED(code = SQLFetch(stmt)); rows++) {
        if (mode == FETCH_ONLY)
            continue;
        for (int column = 0; column < MIXED_COLUMNS; column++) {
            const SQLSMALLINT type = mode == GET_CHAR ? SQL_C_CHAR : native_types[column].c_type;
            if (!SQL_SUCCEEDED(SQLGetData(stmt, static_cast<SQLUSMALLINT>(column + 1), type, buffer,
                                          sizeof buffer, &length)))
                fail("SQLGetData", SQL_HANDLE_STMT, stmt);
        }
    }
    if (code != SQL_NO_DATA)
        fail("SQLFetch", SQL_HANDLE_STMT, stmt);
    return rows;
}

static std::int64_t read_bound(SQLHSTMT stmt, fetch_mode mode, SQLULEN rowset)
{
    std::vector<std::string> buffers(MIXED_COLUMNS);
    std::vector<std::vector<SQLLEN>> lengths(MIXED_COLUMNS, std::vector<SQLLEN>(rowset));
    SQLULEN fetched = 0;
    SQLSetStmtAttr(stmt, SQL_ATTR_ROW_ARRAY_SIZE, reinterpret_cast<SQLPOINTER>(rowset), 0);
    SQLSetStmtAttr(stmt, SQL_ATTR_ROWS_FETCHED_PTR, &fetched, 0);
    for (int column = 0; column < MIXED_COLUMNS; column++) {
        const bool as_char = mode == BOUND_CHAR;
        const int size = as_char ? CHAR_ROOM : native_types[column].size;
        buffers[column].resize(rowset * static_cast<SQLULEN>(size));
        if (!SQL_SUCCEEDED(SQLBindCol(stmt, static_cast<SQLUSMALLINT>(column + 1),
                                      as_char ? SQL_C_CHAR : native_types[column].c_type,
                                      buffers[column].data(), size, lengths[column].data())))
            fail("SQLBindCol", SQL_HANDLE_STMT, stmt);
    }
    std::int64_t rows = 0;
    SQLRETURN code;
    while (SQL_SUCCEEDED(code = SQLFetch(stmt)))
        rows += static_cast<std::int64_t>(fetched);
    if (code != SQL_NO_DATA)
        fail("SQLFetch", SQL_HANDLE_STMT, stmt);
    return rows;
}

// Runs the statement, reads all of it and prints the figures. The rows read, or -1 when the
// statement was refused.
static std::int64_t measured_read(SQLHDBC conn, const fetch_options &options,
                                  const std::string &table)
{
    static constexpr const char *names[] = {"get-char", "get-native", "bound", "bound-char",
                                            "fetch-only"};
    SQLHSTMT stmt = new_stmt(conn);
    const bench_usage before = usage_now();
    std::int64_t rows = -1;
    if (SQL_SUCCEEDED(SQLExecDirect(stmt, odbc_text(MIXED_SELECT + table), SQL_NTS))) {
        const bool bound = options.mode == BOUND || options.mode == BOUND_CHAR;
        const SQLULEN usual = options.mode == BOUND ? 1000 : 1;
        const SQLULEN rowset = options.rowset != 0 ? options.rowset : usual;
        rows =
            bound ? read_bound(stmt, options.mode, rowset) : read_by_get_data(stmt, options.mode);
    }
    if (rows == options.rows)
        print_usage(names[options.mode], rows, before);
    SQLFreeHandle(SQL_HANDLE_STMT, stmt);
    return rows;
}

// ---- A real server -----------------------------------------------------------------------------

static void fill(SQLHDBC conn, const std::string &table, std::int64_t rows)
{
    // A batch stays below the size that servers warn of.
    constexpr int batch = 25;
    std::fprintf(stderr, "filling %s with %lld rows\n", table.c_str(),
                 static_cast<long long>(rows));
    must_run(conn, MIXED_KEYSPACE);
    must_run(conn, mixed_table(table));
    for (std::int64_t number = 0; number < rows;) {
        std::string sql = "BEGIN UNLOGGED BATCH ";
        for (int i = 0; i < batch && number < rows; i++)
            sql += mixed_insert(table, number++) + "; ";
        must_run(conn, sql + "APPLY BATCH");
    }
}

// ---- Options -----------------------------------------------------------------------------------

static bool parse(int count, char **words, fetch_options *options)
{
    static constexpr struct {
        const char *word;
        fetch_mode mode;
    } modes[] = {{"--get-char", GET_CHAR},
                 {"--get-native", GET_NATIVE},
                 {"--bound", BOUND},
                 {"--bound-char", BOUND_CHAR},
                 {"--fetch-only", FETCH_ONLY}};
    for (int i = 1; i < count; i++) {
        const std::string_view word = words[i];
        bool known = false;
        for (const auto &mode : modes) {
            if (word == mode.word) {
                options->mode = mode.mode;
                known = true;
            }
        }
        if (known || word == "--replay")
            continue;
        if (word == "--no-lz4") {
            options->lz4 = false;
            continue;
        }
        if (i + 1 == count)
            return false;
        const char *const value = words[++i];
        if (word == "--rows")
            options->rows = std::atoll(value);
        else if (word == "--rowset")
            options->rowset = std::strtoull(value, nullptr, 10);
        else if (word == "--server")
            options->server = value;
        else if (word == "--user")
            options->user = value;
        else if (word == "--password")
            options->password = value;
        else if (word == "--set")
            options->more = value;
        else
            return false;
    }
    return options->rows > 0;
}

int main(int count, char **words)
{
    fetch_options options;
    if (!parse(count, words, &options)) {
        std::fputs(USAGE, stderr);
        return 2;
    }
    replay_node node = {};
    std::string settings;
    if (options.server == nullptr) {
        node = replay_start(options.rows, options.lz4);
        settings = "SERVER=127.0.0.1:" + std::to_string(node.port);
    } else {
        settings = std::string("SERVER=") + options.server;
    }
    if (options.user != nullptr)
        settings += std::string(";UID=") + options.user;
    if (options.more != nullptr)
        settings += std::string(";") + options.more;
    if (options.password != nullptr)
        settings += std::string(";PWD=") + options.password;

    SQLHENV env = nullptr;
    SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &env);
    SQLSetEnvAttr(env, SQL_ATTR_ODBC_VERSION, reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3), 0);
    SQLHDBC conn = open_connection(env, settings);

    const std::string table = "vhcass_bench.mixed_" + std::to_string(options.rows);
    std::int64_t rows = measured_read(conn, options, table);
    if (rows != options.rows && options.server != nullptr) {
        fill(conn, table, options.rows);
        rows = measured_read(conn, options, table);
    }
    SQLDisconnect(conn);
    SQLFreeHandle(SQL_HANDLE_DBC, conn);
    SQLFreeHandle(SQL_HANDLE_ENV, env);
    if (options.server == nullptr)
        replay_stop(node);
    if (rows == options.rows)
        return 0;
    std::fprintf(stderr, "read %lld rows of %lld\n", static_cast<long long>(rows),
                 static_cast<long long>(options.rows));
    return 1;
}
