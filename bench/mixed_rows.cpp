// The rows of the benchmark, as cells and as literals, and the figures of a run.
#include "bench/mixed_rows.h"

#include <sys/resource.h>

#include <cstdio>
#include <cstdlib>
#include <ctime>

static constexpr std::int64_t FIRST_MOMENT = 1700000000123;  // milliseconds; seven a row follow
static constexpr std::int64_t ROWS_IN_PARTITION = 10000;

static std::uint64_t scrambled(std::int64_t number)
{
    return static_cast<std::uint64_t>(number) * 0x9E3779B97F4A7C15u;
}

static bytes text_of(std::int64_t number)
{
    char text[32];
    const auto bits = static_cast<unsigned long long>(scrambled(number));
    std::snprintf(text, sizeof text, "row %016llx", bits);
    return text;
}

static double double_of(std::int64_t number)
{
    return static_cast<double>(number) * 1.25 + 0.0625;
}

static std::int64_t unscaled_of(std::int64_t number)
{
    return number * 997 - 123456;
}

node_columns mixed_columns()
{
    constexpr struct {
        const char *name;
        int type;
    } columns[] = {{"i", NODE_INT},    {"b", NODE_BIGINT},  {"t", NODE_VARCHAR},
                   {"d", NODE_DOUBLE}, {"o", NODE_BOOLEAN}, {"s", NODE_TIMESTAMP},
                   {"u", NODE_UUID},   {"n", NODE_DECIMAL}};
    node_columns list;
    for (const auto &column : columns)
        list.push_back({column.name, type_of(column.type), "vhcass_bench", "mixed"});
    return list;
}

node_row mixed_row(std::int64_t number)
{
    const std::uint64_t bits = scrambled(number);
    return {be32(static_cast<std::uint64_t>(number)),
            be64(bits),
            text_of(number),
            be(double_of(number)),
            be8(static_cast<std::uint64_t>(number & 1)),
            be64(static_cast<std::uint64_t>(FIRST_MOMENT + 7 * number)),
            be64(bits) + be64(~bits),
            be32(2) + be64(static_cast<std::uint64_t>(unscaled_of(number)))};
}

std::string mixed_table(const std::string &table)
{
    return "CREATE TABLE IF NOT EXISTS " + table +
           " (p int, i int, b bigint, t text, d double, o boolean, s timestamp, u uuid, n decimal, "
           "PRIMARY KEY (p, i))";
}

std::string mixed_insert(const std::string &table, std::int64_t number)
{
    const std::uint64_t bits = scrambled(number);
    const std::int64_t unscaled = unscaled_of(number);
    char values[400];
    std::snprintf(values, sizeof values,
                  "(%lld, %lld, %lld, '%s', %.17g, %s, %lld, %08llx-%04llx-%04llx-%04llx-%012llx, "
                  "%s%lld.%02lld)",
                  static_cast<long long>(number / ROWS_IN_PARTITION),
                  static_cast<long long>(number), static_cast<long long>(bits),
                  text_of(number).c_str(), double_of(number), number & 1 ? "true" : "false",
                  static_cast<long long>(FIRST_MOMENT + 7 * number),
                  static_cast<unsigned long long>(bits >> 32),
                  static_cast<unsigned long long>(bits >> 16 & 0xFFFF),
                  static_cast<unsigned long long>(bits & 0xFFFF),
                  static_cast<unsigned long long>(~bits >> 48),
                  static_cast<unsigned long long>(~bits & 0xFFFFFFFFFFFF), unscaled < 0 ? "-" : "",
                  static_cast<long long>(std::abs(unscaled) / 100),
                  static_cast<long long>(std::abs(unscaled) % 100));
    return "INSERT INTO " + table + " (p, i, b, t, d, o, s, u, n) VALUES " + values;
}

bench_usage usage_now()
{
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    rusage used;
    getrusage(RUSAGE_SELF, &used);
    const auto seconds = [](const timeval &time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
    };
    return {.seconds = static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9,
            .cpu_seconds = seconds(used.ru_utime) + seconds(used.ru_stime),
            .peak_kib = used.ru_maxrss};
}

void print_usage(const char *what, std::int64_t rows, const bench_usage &before)
{
    const bench_usage after = usage_now();
    const double wall = after.seconds - before.seconds;
    const double cpu = after.cpu_seconds - before.cpu_seconds;
    const double count = static_cast<double>(rows);
    std::printf("%s: %lld rows, %.0f rows/s, %.3f CPU s per million rows, peak %ld KiB\n", what,
                static_cast<long long>(rows), count / wall, cpu / count * 1e6, after.peak_kib);
}
