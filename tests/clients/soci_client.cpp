// SOCI. Columns are bound by their described size, and a longer text is cut without a word:
// StringLen makes it large enough for the texts at hand.
#include <soci/odbc/soci-odbc.h>
#include <soci/soci.h>

#include <cstdlib>
#include <ctime>
#include <fstream>
#include <functional>
#include <iomanip>
#include <iostream>
#include <sstream>

using soci::into;
using soci::use;
using std::string;

// Statements that the server refuses, with the state.
constexpr const char *refused_statements[][2] = {
    {"SELEC 1", "42000"},
    {"SELECT * FROM vhcass_clients.missing", "42S02"},
    {"CREATE TABLE vhcass_clients.kinds (id int PRIMARY KEY)", "42S01"}};

template <typename T>
static void check(const T &got, const T &wanted)
{
    std::ostringstream text;
    text << got << " instead of " << wanted;
    if (got != wanted)
        throw std::runtime_error(text.str().substr(0, 300));
}

// The columns of values.tsv or nested.tsv: the name, and the values.
static std::vector<std::vector<string>> columns_of(const char *name)
{
    std::ifstream file(string(getenv("scripts")) + "/" + name);
    std::vector<std::vector<string>> columns;
    string line, cell;
    for (std::getline(file, line); std::getline(file, line);) {
        columns.emplace_back();
        for (std::istringstream cells(line + "\t"); std::getline(cells, cell, '\t');)
            columns.back().push_back(cell);
    }
    return columns;
}

static string long_text(int length)
{
    string text;
    for (int i = 0; i < length; i += 10)
        text += "ż23456😀890";
    return text;
}

static void step(const char *name, const std::function<void()> &body)
{
    const string asked_for = string(" ") + getenv("CLIENTS_STEPS") + " ";
    if (asked_for.find(string(" ") + name + " ") == string::npos)
        return;
    try {
        body();
        std::cout << "ok " << name << std::endl;
    } catch (const std::exception &problem) {
        std::cout << "FAILED " << name << ": " << problem.what() << std::endl;
    }
}

template <typename T>
static T comparable(const T &value)
{
    return value;
}
static time_t comparable(std::tm value)
{
    return mktime(&value);
}

// The value, then a NULL, into a column of `kinds`, and read back by the same type.
template <typename T>
static void round_trip(soci::session &sql, const string &column, T value)
{
    int key = 1;
    T read{};
    for (bool is_null : {false, true}) {
        soci::indicator given = is_null ? soci::i_null : soci::i_ok, told = soci::i_truncated;
        sql << "INSERT INTO vhcass_clients.kinds (id, " + column + ") VALUES (:id, :value)",
            use(key), use(value, given);
        sql << "SELECT " + column + " FROM vhcass_clients.kinds WHERE id = :id", use(key),
            into(read, told);
        check(told == soci::i_null, is_null);
        if (!is_null)
            check(comparable(read), comparable(value));
    }
}

static void write_by_type(soci::session &sql, const string &column, const string &text)
{
    std::tm moment{};
    if (column == "i" || column == "o") {
        round_trip(sql, column, std::stoi(text));
    } else if (column == "l") {
        round_trip(sql, column, std::stoll(text));
    } else if (column == "d") {
        round_trip(sql, column, std::stod(text));
    } else if (column == "ts") {
        strptime(text.c_str(), "%Y-%m-%d %H:%M:%S", &moment);
        round_trip(sql, column, moment);
    } else {  // decimals, dates, times, uuids and blobs as text
        round_trip(sql, column, text);
    }
}

static string whole_rows(soci::session &sql)
{
    std::ostringstream all;
    soci::rowset<soci::row> rows =
        (sql.prepare << "SELECT id, i, ts, ti, s FROM vhcass_clients.whole");
    for (const soci::row &row : rows) {
        const std::tm moment = row.get<std::tm>(2), time = row.get<std::tm>(3);
        all << row.get<int>(0) << "," << row.get<int>(1, -1) << ","
            << std::put_time(&moment, "%F %T") << "," << std::put_time(&time, "%T") << ","
            << row.get<string>(4).size() << ";";
    }
    return all.str();
}

static string state_of(soci::session &sql, const string &text)
{
    try {
        sql << text;
    } catch (const soci::odbc_soci_error &problem) {
        return reinterpret_cast<const char *>(problem.odbc_error_code());
    }
    return "none";
}

int main()
{
    soci::session sql(soci::odbc, "DSN=clients;StringLen=8000000");

    step("values", [&] {
        for (const auto &column : columns_of("values.tsv")) {
            write_by_type(sql, column[0], column[1]);
            write_by_type(sql, column[0], column[2]);
        }
    });
    step("table", [&] {
        check(whole_rows(sql),
              string("1,7,1901-02-03 04:05:06,12:34:56,5;2,-1,2024-05-06 07:08:09,01:02:03,5000;"));
    });
    step("batch", [&] {
        std::vector<int> keys{1, 2, 3, 4};
        std::vector<string> texts{"one", "two", "bad", "żółć 😀"}, stored(10);
        std::vector<soci::indicator> given{soci::i_ok, soci::i_ok, soci::i_null, soci::i_ok};
        bool refused = false;
        try {
            sql << "INSERT INTO vhcass_clients.loaded (id, s) VALUES (:id, :s)", use(keys, given),
                use(texts);
        } catch (const soci::soci_error &) {
            refused = true;
        }
        check(refused, true);
        sql << "SELECT s FROM vhcass_clients.loaded WHERE id IN (1, 2, 4)", into(stored);
        check(stored.at(2), texts[3]);
    });
    step("long", [&] {
        for (int length : {5000, 5000000}) {
            string text = long_text(length), got;
            sql << "INSERT INTO vhcass_clients.long_texts (id, s) VALUES (:id, :s)", use(length),
                use(text);
            sql << "SELECT s FROM vhcass_clients.long_texts WHERE id = :id", use(length), into(got);
            check(got, text);
        }
    });
    step("nested", [&] {
        const auto literals = columns_of("nested.tsv");
        string l = literals[0][1], m = literals[1][1], t = literals[2][1], a = literals[3][1];
        const string all = l + m + t + a;
        for (int key : {1, 2}) {
            sql << "INSERT INTO vhcass_clients.nested (id, l, m, t, a) "
                   "VALUES (:id, :l, :m, :t, :a)",
                use(key), use(l), use(m), use(t), use(a);
            sql << "SELECT l, m, t, a FROM vhcass_clients.nested WHERE id = :id", use(key), into(l),
                into(m), into(t), into(a);
            check(l + m + t + a, all);
        }
    });
    step("errors", [&] {
        for (const auto &[text, state] : refused_statements)
            check(state_of(sql, text), string(state));
    });
    step("plain", [&] {
        std::vector<int> ids(10);
        std::vector<string> texts(10);
        sql << "SELECT id, s FROM vhcass_clients.plain", into(ids), into(texts);
        check(texts.size(), size_t{2});
        check(std::to_string(ids[0]) + texts[0] + std::to_string(ids[1]) + texts[1],
              string("1one2two"));
        check(state_of(sql, "SELEC 1"), string("08S01"));
    });
}
