// SOCI. Columns are bound by their described size, and a longer text is cut without a word:
// StringLen makes it large enough for the texts at hand.
#include <soci/odbc/soci-odbc.h>
#include <soci/soci.h>

#include <ctime>
#include <fstream>
#include <functional>
#include <iomanip>
#include <iostream>

using soci::into;
using soci::use;
using std::string;

template <typename T>
static void check(const T &got, const T &wanted)
{
    std::ostringstream text;
    text << got << " instead of " << wanted;
    if (got != wanted)
        throw std::runtime_error(text.str().substr(0, 300));
}

// The cells of values.tsv or nested.tsv, three for a column of the former and two for one of the
// latter: its name, and the values.
static std::vector<string> cells_of(const char *name)
{
    std::ifstream file(string(getenv("scripts")) + "/" + name);
    std::vector<string> cells;
    string line, cell;
    for (std::getline(file, line); std::getline(file, line);)
        for (std::istringstream all(line + "\t"); std::getline(all, cell, '\t');)
            cells.push_back(cell);
    return cells;
}

// The value, then a NULL, into a column of one of the tables, and what is read back.
template <typename Given, typename Read>
static void round_trip(soci::session &sql, const string &table, const string &column, Given value,
                       const Read &wanted)
{
    const string place = " vhcass_clients." + table;
    for (const bool is_null : {false, true}) {
        soci::indicator given = is_null ? soci::i_null : soci::i_ok, told = soci::i_truncated;
        Read read{};
        sql << "INSERT INTO" + place + " (id, " + column + ") VALUES (1, :v)", use(value, given);
        sql << "SELECT " + column + " FROM" + place + " WHERE id = 1", into(read, told);
        check(told == soci::i_null, is_null);
        if (!is_null)
            check(read, wanted);
    }
}

static void values(soci::session &sql)
{
    const auto cells = cells_of("values.tsv");
    for (size_t i = 0; i < cells.size(); i++) {
        const string column = cells[i - i % 3], text = cells[i];
        std::tm moment{};
        if (i % 3 == 0)  // the name
            continue;
        if (column == "i" || column == "l" || column == "o") {
            round_trip(sql, "kinds", column, std::stoll(text), std::stoll(text));
        } else if (column == "d") {
            round_trip(sql, "kinds", column, std::stod(text), std::stod(text));
        } else if (column == "ts") {
            strptime(text.c_str(), "%Y-%m-%d %H:%M:%S", &moment);
            round_trip(sql, "kinds", column, moment, text);
        } else {  // decimals, dates, times, uuids and blobs as text
            round_trip(sql, "kinds", column, text, text);
        }
    }
}

static void table(soci::session &sql)
{
    std::ostringstream all;
    soci::rowset<soci::row> rows =
        (sql.prepare << "SELECT id, i, ts, ti, s FROM vhcass_clients.whole");
    for (const soci::row &row : rows) {
        const std::tm moment = row.get<std::tm>(2), time = row.get<std::tm>(3);
        all << row.get<int>(0) << "," << row.get<int>(1, -1) << ","
            << std::put_time(&moment, "%F %T,") << std::put_time(&time, "%T,")
            << row.get<string>(4).size() << ";";
    }
    check(all.str(),
          string("1,7,1901-02-03 04:05:06,12:34:56,5;2,-1,2024-05-06 07:08:09,01:02:03,5000;"));
}

// The call ends in an error of this state.
template <typename Call>
static void refused(const string &state, const Call &call)
{
    try {
        call();
    } catch (const soci::odbc_soci_error &problem) {
        return check(string(reinterpret_cast<const char *>(problem.odbc_error_code())), state);
    }
    throw std::runtime_error("no error in place of " + state);
}

static void batch(soci::session &sql)
{
    std::vector<int> keys{1, 2, 3, 4};
    std::vector<string> texts{"one", "two", "bad", "żółć 😀"}, stored(10);
    std::vector<soci::indicator> given{soci::i_ok, soci::i_ok, soci::i_null, soci::i_ok};
    refused("22000", [&] {
        sql << "INSERT INTO vhcass_clients.loaded (id, s) VALUES (:id, :s)", use(keys, given),
            use(texts);
    });
    sql << "SELECT s FROM vhcass_clients.loaded WHERE id IN (1, 2, 4)", into(stored);
    check(stored.at(2), texts[3]);
}

static void long_texts(soci::session &sql)
{
    for (int length : {5000, 5000000}) {
        string text;
        for (int i = 0; i < length; i += 10)
            text += "ż23456😀890";
        round_trip(sql, "long_texts", "s", text, text);
    }
}

static void nested(soci::session &sql)
{
    const auto cells = cells_of("nested.tsv");
    for (size_t i = 0; i < cells.size(); i += 2)
        round_trip(sql, "nested", cells[i], cells[i + 1], cells[i + 1]);
}

static void errors(soci::session &sql)
{
    for (const auto &[text, state] :
         {std::pair("SELEC 1", "42000"),
          {"SELECT * FROM vhcass_clients.missing", "42S02"},
          {"CREATE TABLE vhcass_clients.kinds (id int PRIMARY KEY)", "42S01"}})
        refused(state, [&, text = text] { sql << text; });
}

static void plain(soci::session &sql)
{
    std::vector<int> ids(10);
    std::vector<string> texts(10);
    sql << "SELECT id, s FROM vhcass_clients.plain", into(ids), into(texts);
    check(ids == std::vector{1, 2} && texts == std::vector<string>{"one", "two"}, true);
    refused("08S01", [&] { sql << "SELEC 1"; });
}

int main()
{
    const std::pair<string, void (*)(soci::session &)> steps[] = {
        {"values", values}, {"table", table},   {"batch", batch}, {"long", long_texts},
        {"nested", nested}, {"errors", errors}, {"plain", plain}};
    soci::session sql(soci::odbc, "DSN=clients;StringLen=8000000");
    for (const auto &[name, body] : steps) {
        if ((string(" ") + getenv("CLIENTS_STEPS") + " ").find(" " + name + " ") == string::npos)
            continue;
        try {
            body(sql);
            std::cout << "ok " << name << std::endl;
        } catch (const std::exception &problem) {
            std::cout << "FAILED " << name << ": " << problem.what() << std::endl;
        }
    }
}
