// Inserts rows of eight mixed columns by a prepared statement and prints what that cost: inserts a
// second and CPU seconds a hundred thousand. The rows go to a server that answers at once or to a
// real one, through the driver with one execution a row or with arrays of parameter sets, or, as
// the floor beneath it, over a bare socket that sends the same frames and reads the replies.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sql.h>
#include <sqlext.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "bench/mixed_rows.h"
#include "bench/odbc_calls.h"
#include "bench/void_node.h"

static constexpr char USAGE[] =
    "insert [--rows N] [--array N] [--floor] [--no-lz4] [--replay | --server HOST:PORT]\n"
    "  --rows N            rows to insert, 100000 unless told\n"
    "  --array N           parameter sets of an execution, 1 unless told\n"
    "  --floor             a bare socket in place of the driver\n"
    "  --replay            a child process answers (the default); --no-lz4: uncompressed\n"
    "  --server HOST:PORT  a real server; HOST is an IPv4 address where --floor is given\n";

struct insert_options {
    std::int64_t rows = 100000;
    std::int64_t array = 1;
    bool floor = false;
    bool lz4 = true;
    std::string host = "127.0.0.1";
    int port = 0;  // 0: replay
};

static constexpr char TABLE[] =
    "CREATE TABLE IF NOT EXISTS vhcass_bench.inserted (i int PRIMARY KEY, b bigint, t text, "
    "d double, o boolean, s timestamp, u uuid, n decimal)";
static constexpr char INSERT[] =
    "INSERT INTO vhcass_bench.inserted (i, b, t, d, o, s, u, n) VALUES (?, ?, ?, ?, ?, ?, ?, ?)";

[[noreturn]] static void give_up(const char *what)
{
    std::perror(what);
    std::exit(1);
}

// ---- Rows ---------------------------------------------------------------------------------------

// A row as an application holds it.
struct insert_row {
    SQLINTEGER i;
    SQLBIGINT b;
    char t[24];
    SQLLEN t_length;
    SQLDOUBLE d;
    SQLCHAR o;
    SQL_TIMESTAMP_STRUCT s;
    SQLGUID u;
    SQL_NUMERIC_STRUCT n;
};

static std::int64_t load(const bytes &cell, std::size_t at = 0)
{
    std::uint64_t value = 0;
    for (; at < cell.size(); at++)
        value = value << 8 | static_cast<unsigned char>(cell[at]);
    return static_cast<std::int64_t>(value);
}

static SQL_TIMESTAMP_STRUCT moment_of(std::int64_t milliseconds)
{
    const std::time_t seconds = milliseconds / 1000;
    std::tm parts = {};
    gmtime_r(&seconds, &parts);
    return {static_cast<SQLSMALLINT>(parts.tm_year + 1900),
            static_cast<SQLUSMALLINT>(parts.tm_mon + 1),
            static_cast<SQLUSMALLINT>(parts.tm_mday),
            static_cast<SQLUSMALLINT>(parts.tm_hour),
            static_cast<SQLUSMALLINT>(parts.tm_min),
            static_cast<SQLUSMALLINT>(parts.tm_sec),
            static_cast<SQLUINTEGER>(milliseconds % 1000 * 1000000)};
}

static insert_row row_of(std::int64_t number)
{
    const node_row cells = mixed_row(number);
    insert_row row = {};
    row.i = static_cast<SQLINTEGER>(load(*cells[0]));
    row.b = load(*cells[1]);
    std::memcpy(row.t, cells[2]->data(), cells[2]->size());
    row.t_length = static_cast<SQLLEN>(cells[2]->size());
    const std::int64_t bits = load(*cells[3]);
    std::memcpy(&row.d, &bits, sizeof row.d);
    row.o = static_cast<SQLCHAR>(load(*cells[4]));
    row.s = moment_of(load(*cells[5]));
    const bytes &guid = *cells[6];
    row.u.Data1 = static_cast<decltype(row.u.Data1)>(load(guid.substr(0, 4)));
    row.u.Data2 = static_cast<decltype(row.u.Data2)>(load(guid.substr(4, 2)));
    row.u.Data3 = static_cast<decltype(row.u.Data3)>(load(guid.substr(6, 2)));
    std::memcpy(row.u.Data4, guid.data() + 8, sizeof row.u.Data4);
    const std::int64_t unscaled = load(*cells[7], 4);
    const std::int64_t magnitude = std::abs(unscaled);
    row.n = {18, 2, static_cast<SQLCHAR>(unscaled < 0 ? 0 : 1), {}};
    std::memcpy(row.n.val, &magnitude, sizeof magnitude);
    return row;
}

// ---- Figures ------------------------------------------------------------------------------------

static void print_inserts(const char *what, std::int64_t rows, const bench_usage &before)
{
    const bench_usage after = usage_now();
    const double count = static_cast<double>(rows);
    std::printf("%s: %lld inserts, %.0f inserts/s, %.3f CPU s per 100,000\n", what,
                static_cast<long long>(rows), count / (after.seconds - before.seconds),
                (after.cpu_seconds - before.cpu_seconds) / count * 1e5);
}

// ---- Through the driver -------------------------------------------------------------------------

static void must_run(SQLHSTMT stmt, const std::string &sql)
{
    if (!SQL_SUCCEEDED(SQLExecDirect(stmt, odbc_text(sql), SQL_NTS)))
        fail(sql.substr(0, 60).c_str(), SQL_HANDLE_STMT, stmt);
}

// Binds the row row-wise; the bind offset leads to the one in work.
static void bind_row(SQLHSTMT stmt, insert_row *first)
{
    static constexpr struct {
        SQLSMALLINT c_type, sql_type;
        SQLULEN size;
        SQLSMALLINT digits;
        std::size_t offset;
        bool has_length;
    } columns[MIXED_COLUMNS] = {
        {SQL_C_SLONG, SQL_INTEGER, 10, 0, offsetof(insert_row, i), false},
        {SQL_C_SBIGINT, SQL_BIGINT, 19, 0, offsetof(insert_row, b), false},
        {SQL_C_CHAR, SQL_VARCHAR, 20, 0, offsetof(insert_row, t), true},
        {SQL_C_DOUBLE, SQL_DOUBLE, 15, 0, offsetof(insert_row, d), false},
        {SQL_C_BIT, SQL_BIT, 1, 0, offsetof(insert_row, o), false},
        {SQL_C_TYPE_TIMESTAMP, SQL_TYPE_TIMESTAMP, 23, 3, offsetof(insert_row, s), false},
        {SQL_C_GUID, SQL_GUID, 36, 0, offsetof(insert_row, u), false},
        {SQL_C_NUMERIC, SQL_DECIMAL, 18, 2, offsetof(insert_row, n), false},
    };
    SQLUSMALLINT number = 1;
    for (const auto &column : columns) {
        void *const at = reinterpret_cast<char *>(first) + column.offset;
        if (!SQL_SUCCEEDED(SQLBindParameter(stmt, number++, SQL_PARAM_INPUT, column.c_type,
                                            column.sql_type, column.size, column.digits, at, 0,
                                            column.has_length ? &first->t_length : nullptr)))
            fail("SQLBindParameter", SQL_HANDLE_STMT, stmt);
    }
}

static void set_attribute(SQLHSTMT stmt, SQLINTEGER attribute, SQLPOINTER value)
{
    if (!SQL_SUCCEEDED(SQLSetStmtAttr(stmt, attribute, value, 0)))
        fail("SQLSetStmtAttr", SQL_HANDLE_STMT, stmt);
}

static SQLPOINTER number_value(std::int64_t value)
{
    return reinterpret_cast<SQLPOINTER>(value);
}

static void insert_rows(SQLHSTMT stmt, const insert_options &options, std::vector<insert_row> &rows)
{
    SQLLEN offset = 0;
    bind_row(stmt, rows.data());
    set_attribute(stmt, SQL_ATTR_PARAM_BIND_TYPE, number_value(sizeof(insert_row)));
    set_attribute(stmt, SQL_ATTR_PARAM_BIND_OFFSET_PTR, &offset);
    set_attribute(stmt, SQL_ATTR_PARAMSET_SIZE, number_value(options.array));
    if (!SQL_SUCCEEDED(SQLPrepare(stmt, odbc_text(INSERT), SQL_NTS)))
        fail("SQLPrepare", SQL_HANDLE_STMT, stmt);
    const bench_usage before = usage_now();
    for (std::int64_t done = 0; done < options.rows; done += options.array) {
        if (options.rows - done < options.array)
            set_attribute(stmt, SQL_ATTR_PARAMSET_SIZE, number_value(options.rows - done));
        offset = done * static_cast<SQLLEN>(sizeof(insert_row));
        if (SQLExecute(stmt) != SQL_SUCCESS)
            fail("SQLExecute", SQL_HANDLE_STMT, stmt);
    }
    print_inserts(options.array > 1 ? "arrays" : "single", options.rows, before);
}

static void run_driver(const insert_options &options, std::vector<insert_row> &rows)
{
    SQLHENV env = nullptr;
    SQLHDBC conn = nullptr;
    SQLHSTMT stmt = nullptr;
    SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &env);
    SQLSetEnvAttr(env, SQL_ATTR_ODBC_VERSION, number_value(SQL_OV_ODBC3), 0);
    SQLAllocHandle(SQL_HANDLE_DBC, env, &conn);
    const std::string settings = "SERVER=" + options.host + ";PORT=" + std::to_string(options.port);
    if (!SQL_SUCCEEDED(SQLDriverConnect(conn, nullptr, odbc_text(settings), SQL_NTS, nullptr, 0,
                                        nullptr, SQL_DRIVER_NOPROMPT)))
        fail("connect", SQL_HANDLE_DBC, conn);
    SQLAllocHandle(SQL_HANDLE_STMT, conn, &stmt);
    must_run(stmt, MIXED_KEYSPACE);
    must_run(stmt, TABLE);
    insert_rows(stmt, options, rows);
    SQLFreeHandle(SQL_HANDLE_STMT, stmt);
    SQLDisconnect(conn);
    SQLFreeHandle(SQL_HANDLE_DBC, conn);
    SQLFreeHandle(SQL_HANDLE_ENV, env);
}

// ---- The floor ----------------------------------------------------------------------------------

static constexpr std::size_t HEADER_SIZE = 9;

static std::size_t frame_size(const std::string &frame)
{
    return HEADER_SIZE + static_cast<std::size_t>(load(frame.substr(5, 4)));
}

// One frame out, one frame back: usually one send and one receive.
static void exchange(int socket, const bytes &request, bytes *reply)
{
    if (send(socket, request.data(), request.size(), MSG_NOSIGNAL) !=
        static_cast<ssize_t>(request.size()))
        give_up("send");
    char block[4096];
    ssize_t got = recv(socket, block, sizeof block, 0);
    if (got <= 0)
        give_up("read");
    reply->assign(block, static_cast<std::size_t>(got));
    while (reply->size() < HEADER_SIZE || reply->size() < frame_size(*reply)) {
        got = recv(socket, block, sizeof block, 0);
        if (got <= 0)
            give_up("read");
        reply->append(block, static_cast<std::size_t>(got));
    }
    if ((*reply)[4] == NODE_ERROR) {
        std::fprintf(stderr, "the server's error:\n%s", to_hex(*reply).c_str());
        std::exit(1);
    }
}

static bytes request_frame(int opcode, const bytes &body, bool lz4)
{
    return frame_on_wire({.opcode = opcode, .body = body, .version = 4}, lz4, 0);
}

// Scale, a sign byte, and the magnitude without leading zeros, complemented for negative ones.
static bytes decimal_cell(const bytes &cell)
{
    const std::int64_t unscaled = load(cell, 4);
    const bytes magnitude = be64(static_cast<std::uint64_t>(std::abs(unscaled)));
    bytes value(1, unscaled < 0 ? '\xFF' : '\0');
    for (std::size_t at = magnitude.find_first_not_of('\0'); at < magnitude.size(); at++)
        value += static_cast<char>(unscaled < 0 ? ~magnitude[at] : magnitude[at]);
    if (unscaled < 0)
        value.back() = static_cast<char>(value.back() + 1);
    return cell.substr(0, 4) + value;
}

static bytes execute_frame(const bytes &id, std::int64_t number, bool lz4)
{
    node_row cells = mixed_row(number);
    cells.back() = decimal_cell(*cells.back());
    bytes body = wire_short_bytes(id) + be16(CONSISTENCY_ONE) + be8(5) + be16(MIXED_COLUMNS);
    for (const node_cell &cell : cells)
        body += wire_bytes(cell);
    return request_frame(NODE_EXECUTE, body + be32(MIXED_PAGE), lz4);
}

static void run_floor(const insert_options &options)
{
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(options.port));
    inet_pton(AF_INET, options.host.c_str(), &address.sin_addr);
    const int client = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (connect(client, reinterpret_cast<sockaddr *>(&address), sizeof address) != 0)
        give_up("connect");
    const bool lz4 = options.lz4;
    bytes reply;
    exchange(client, request_frame(NODE_OPTIONS, "", false), &reply);
    exchange(client, request_frame(NODE_STARTUP, startup_body(lz4), false), &reply);
    exchange(client, request_frame(NODE_QUERY, query_body(MIXED_KEYSPACE), lz4), &reply);
    exchange(client, request_frame(NODE_QUERY, query_body(TABLE), lz4), &reply);
    exchange(client, request_frame(NODE_PREPARE, wire_long_string(INSERT), lz4), &reply);
    bytes body = reply.substr(HEADER_SIZE);
    if (reply[1] & 1)
        body = lz4_restore(body).value_or("");
    const bytes id = body.substr(6, static_cast<std::size_t>(load(body.substr(4, 2))));

    std::vector<bytes> frames;
    for (std::int64_t number = 0; number < options.rows; number++)
        frames.push_back(execute_frame(id, number, lz4));
    const bench_usage before = usage_now();
    for (const bytes &frame : frames)
        exchange(client, frame, &reply);
    print_inserts("floor", options.rows, before);
    close(client);
}

// ---- Options ------------------------------------------------------------------------------------

static bool parse(int count, char **words, insert_options *options)
{
    for (int i = 1; i < count; i++) {
        const std::string_view word = words[i];
        if (word == "--floor") {
            options->floor = true;
            continue;
        }
        if (word == "--no-lz4") {
            options->lz4 = false;
            continue;
        }
        if (word == "--replay")
            continue;
        if (i + 1 == count)
            return false;
        const std::string value = words[++i];
        const auto colon = value.rfind(':');
        if (word == "--rows") {
            options->rows = std::atoll(value.c_str());
        } else if (word == "--array") {
            options->array = std::atoll(value.c_str());
        } else if (word == "--server" && colon != value.npos) {
            options->host = value.substr(0, colon);
            options->port = std::atoi(value.c_str() + colon + 1);
        } else {
            return false;
        }
    }
    return options->rows > 0 && options->array > 0;
}

int main(int count, char **words)
{
    insert_options options;
    if (!parse(count, words, &options)) {
        std::fputs(USAGE, stderr);
        return 2;
    }
    const bool replay = options.port == 0;
    void_node node = {};
    if (replay) {
        node = void_start(options.lz4);
        options.port = node.port;
    }
    if (options.floor) {
        run_floor(options);
    } else {
        std::vector<insert_row> rows;
        for (std::int64_t number = 0; number < options.rows; number++)
            rows.push_back(row_of(number));
        run_driver(options, rows);
    }
    if (!replay)
        return 0;
    void_stop(node);
    std::printf("the server received %lld requests, %lld bytes, sum %016llx\n",
                static_cast<long long>(node.totals->requests),
                static_cast<long long>(node.totals->bytes),
                static_cast<unsigned long long>(node.totals->sum));
    return node.totals->requests == options.rows ? 0 : 1;
}
