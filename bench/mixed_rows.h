// The rows of the benchmark: eight columns of mixed types, made from the number of the row alone,
// so that a real server and a replayed page hold the same values.
#ifndef BENCH_MIXED_ROWS_H
#define BENCH_MIXED_ROWS_H

#include <cstdint>

#include "tests/node/frames.h"

constexpr int MIXED_COLUMNS = 8;
constexpr int MIXED_PAGE = 100;  // rows of a page, as the driver asks for them

// int, bigint, text of 20, double, boolean, timestamp, uuid, decimal.
node_columns mixed_columns();
node_row mixed_row(std::int64_t number);

// The same for a real server: the table, and one INSERT with literal values.
constexpr char MIXED_KEYSPACE[] = "CREATE KEYSPACE IF NOT EXISTS vhcass_bench WITH replication = "
                                  "{'class': 'SimpleStrategy', 'replication_factor': 1}";
std::string mixed_table(const std::string &table);
std::string mixed_insert(const std::string &table, std::int64_t number);
constexpr char MIXED_SELECT[] = "SELECT i, b, t, d, o, s, u, n FROM ";

// What a run cost this process.
struct bench_usage {
    double seconds;
    double cpu_seconds;
    long peak_kib;
};
// Usage since the process started, wall clock included.
bench_usage usage_now();
// One line: rows a second, CPU seconds a million rows, peak resident size.
void print_usage(const char *what, std::int64_t rows, const bench_usage &before);

#endif
