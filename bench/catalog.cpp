// What the catalog costs. Local: rows of SQLTables put into a sorted result and fetched from it, in
// the order of the sort, in reverse and shuffled. With a server: SQLTables of a large keyspace and
// SQLColumns of one of its tables, beside the bare queries that they send.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <vector>

#include "bench/odbc_calls.h"
#include "core/handle/cass_handle.h"
#include "core/local/cass_internalrs.h"
#include "core/statement/cass_stmt.h"

static constexpr char USAGE[] =
    "catalog [--rows N] | --server HOST:PORT [--tables N]\n"
    "  --rows N            rows of the local result, 100000 unless told\n"
    "  --server HOST:PORT  a real server; a keyspace of 2000 (--tables N) tables with 20 columns\n"
    "                      each is made first where it is not there\n";

static double seconds()
{
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration<double>(now).count();
}

// ---- Local results -----------------------------------------------------------------------------

static constexpr cass_internal_column columns[] = {{"TABLE_CAT", SQL_VARCHAR, 64, SQL_NULLABLE},
                                                   {"TABLE_SCHEM", SQL_VARCHAR, 64, SQL_NULLABLE},
                                                   {"TABLE_NAME", SQL_VARCHAR, 64, SQL_NO_NULLS},
                                                   {"TABLE_TYPE", SQL_VARCHAR, 64, SQL_NO_NULLS},
                                                   {"REMARKS", SQL_VARCHAR, 256, SQL_NULLABLE}};
static constexpr cass_internal_columns shape = {5, columns};
static constexpr std::int32_t sort_keys[] = {4, 1, 2, 3, 0};

static void build(cass_stmt *stmt, const char *order, const std::vector<int> &numbers)
{
    const double start = seconds();
    if (cass_create_internal_rs(stmt, &shape, sort_keys) != 0)
        std::exit(1);
    for (const int number : numbers) {
        char name[32];
        std::snprintf(name, sizeof name, "table_%09d", number);
        const char *const values[] = {"CASSANDRA", "keyspace", name, "TABLE", nullptr};
        if (cass_insert_internal_row(stmt, values) != 0)
            std::exit(1);
    }
    const double built = seconds();
    std::size_t rows = 0;
    while (SQLFetch(stmt) == SQL_SUCCESS)
        rows++;
    const double read = seconds();
    cass_close_stmt(stmt, 1);
    std::printf("%-10s %7zu rows: %8.0f ns a row built, %6.0f ns fetched\n", order, rows,
                (built - start) * 1e9 / static_cast<double>(rows),
                (read - built) * 1e9 / static_cast<double>(rows));
}

static void measure_local(int rows)
{
    cass_env *env = cass_alloc_env();
    cass_stmt *stmt = cass_alloc_stmt(cass_alloc_conn(env, 3));
    for (const int count : {rows / 10, rows}) {
        std::vector<int> numbers(static_cast<std::size_t>(count));
        for (int i = 0; i < count; i++)
            numbers[static_cast<std::size_t>(i)] = i;
        build(stmt, "in order", numbers);
        std::reverse(numbers.begin(), numbers.end());
        build(stmt, "reversed", numbers);
    }
    std::vector<int> numbers(static_cast<std::size_t>(rows / 10));
    for (std::size_t i = 0; i < numbers.size(); i++)
        numbers[i] = static_cast<int>(i);
    std::shuffle(numbers.begin(), numbers.end(), std::mt19937(7));
    build(stmt, "shuffled", numbers);
    cass_free_env(env);
}

// ---- A real server -----------------------------------------------------------------------------

static constexpr char KEYSPACE[] = "vhcass_bench_catalog";

struct session {
    SQLHDBC conn;
    SQLHSTMT stmt;
};

static std::int64_t fetch_all(const session &at)
{
    std::int64_t rows = 0;
    SQLRETURN code;
    while (SQL_SUCCEEDED(code = SQLFetch(at.stmt)))
        rows++;
    if (code != SQL_NO_DATA)
        fail("SQLFetch", SQL_HANDLE_STMT, at.stmt);
    return rows;
}

static std::int64_t query(const session &at, const std::string &sql)
{
    if (!SQL_SUCCEEDED(SQLExecDirect(at.stmt, odbc_text(sql), SQL_NTS)))
        fail(sql.substr(0, 60).c_str(), SQL_HANDLE_STMT, at.stmt);
    return fetch_all(at);
}

static std::int64_t tables(const session &at)
{
    if (!SQL_SUCCEEDED(SQLTables(at.stmt, odbc_text(KEYSPACE), SQL_NTS, nullptr, 0, nullptr, 0,
                                 odbc_text("TABLE"), SQL_NTS)))
        fail("SQLTables", SQL_HANDLE_STMT, at.stmt);
    return fetch_all(at);
}

static std::int64_t columns_of(const session &at, const std::string &table)
{
    if (!SQL_SUCCEEDED(SQLColumns(at.stmt, nullptr, 0, odbc_text(KEYSPACE), SQL_NTS,
                                  odbc_text(table), SQL_NTS, nullptr, 0)))
        fail("SQLColumns", SQL_HANDLE_STMT, at.stmt);
    return fetch_all(at);
}

static std::string where(const char *format, const std::string &table)
{
    char text[256];
    std::snprintf(text, sizeof text, format, KEYSPACE, table.c_str());
    return text;
}

static void make_tables(const session &at, int count)
{
    query(at, std::string("CREATE KEYSPACE IF NOT EXISTS ") + KEYSPACE +
                  " WITH replication = {'class': 'SimpleStrategy', 'replication_factor': 1}");
    const auto present = tables(at);
    for (auto number = static_cast<int>(present); number < count; number++) {
        std::string sql = std::string("CREATE TABLE IF NOT EXISTS ") + KEYSPACE + ".t" +
                          std::to_string(10000 + number) + " (id int PRIMARY KEY";
        for (int column = 1; column < 20; column++)
            sql += ", c" + std::to_string(100 + column) + " text";
        query(at, sql + ")");
        if (number % 100 == 99)
            std::fprintf(stderr, "%d tables\n", number + 1);
    }
}

// Runs the two in turn and prints the best time of each, since servers speed up and stall.
template <typename Function, typename Queries>
static void compare(const char *name, Function function, Queries queries)
{
    constexpr int turns = 10;
    std::int64_t rows = 0;
    double of_function = 1e9, of_queries = 1e9;
    for (int turn = 0; turn < turns; turn++) {
        const double start = seconds();
        rows = function();
        const double between = seconds();
        queries();
        of_function = std::min(of_function, (between - start) * 1e3);
        of_queries = std::min(of_queries, (seconds() - between) * 1e3);
    }
    std::printf("%-10s %6lld rows: %8.2f ms, bare queries %8.2f ms\n", name,
                static_cast<long long>(rows), of_function, of_queries);
}

static void measure_server(const char *server, int count)
{
    session at = {};
    SQLHENV env = nullptr;
    SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &env);
    SQLSetEnvAttr(env, SQL_ATTR_ODBC_VERSION, reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3), 0);
    SQLAllocHandle(SQL_HANDLE_DBC, env, &at.conn);
    if (!SQL_SUCCEEDED(SQLDriverConnect(at.conn, nullptr,
                                        odbc_text(std::string("SERVER=") + server), SQL_NTS,
                                        nullptr, 0, nullptr, SQL_DRIVER_NOPROMPT)))
        fail("connect", SQL_HANDLE_DBC, at.conn);
    SQLAllocHandle(SQL_HANDLE_STMT, at.conn, &at.stmt);
    make_tables(at, count);

    const std::string table = "t" + std::to_string(10000 + count / 2);
    const std::string list = where("select keyspace_name, table_name from system_schema.tables "
                                   "WHERE keyspace_name='%s' ALLOW FILTERING",
                                   "");
    const std::string one = where("select keyspace_name, table_name from system_schema.tables "
                                  "WHERE keyspace_name='%s' AND table_name='%s' ALLOW FILTERING",
                                  table);
    const std::string its_columns =
        where("SELECT column_name, kind, type, table_name, position, keyspace_name FROM "
              "system_schema.columns WHERE keyspace_name='%s' and table_name='%s'",
              table);
    compare(
        "SQLTables", [&] { return tables(at); }, [&] { query(at, list); });
    compare(
        "SQLColumns", [&] { return columns_of(at, table); },
        [&] {
            query(at, one);
            query(at, its_columns);
        });
    SQLFreeHandle(SQL_HANDLE_STMT, at.stmt);
    SQLDisconnect(at.conn);
    SQLFreeHandle(SQL_HANDLE_DBC, at.conn);
    SQLFreeHandle(SQL_HANDLE_ENV, env);
}

int main(int count, char **words)
{
    int rows = 100000, table_count = 2000;
    const char *server = nullptr;
    for (int i = 1; i + 1 < count; i += 2) {
        if (std::strcmp(words[i], "--rows") == 0)
            rows = std::atoi(words[i + 1]);
        else if (std::strcmp(words[i], "--tables") == 0)
            table_count = std::atoi(words[i + 1]);
        else if (std::strcmp(words[i], "--server") == 0)
            server = words[i + 1];
        else
            rows = 0;
    }
    if (count % 2 == 0 || rows < 10 || table_count < 1) {
        std::fputs(USAGE, stderr);
        return 2;
    }
    if (server != nullptr)
        measure_server(server, table_count);
    else
        measure_local(rows);
    return 0;
}
