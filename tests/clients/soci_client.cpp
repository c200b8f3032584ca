// SOCI. Columns are bound by their described size, and a longer text is cut without a word:
// StringLen makes it large enough for the texts at hand.
#include <soci/odbc/soci-odbc.h>
#include <soci/soci.h>

#include <cstdlib>
#include <ctime>
#include <fstream>
#include <functional>
#include <iostream>

using soci::into;
using soci::use;
using std::string;

static void step(const char *name, const std::function<string()> &body)
{
    string wanted = string(" ") + getenv("CLIENTS_STEPS") + " ";
    if (wanted.find(string(" ") + name + " ") == string::npos) {
        return;
    }
    try {
        string remark = body();
        std::cout << "ok " << name << (remark.empty() ? "" : ": ") << remark << std::endl;
    } catch (const std::exception &problem) {
        std::cout << "FAILED " << name << ": " << string(problem.what()).substr(0, 300)
                  << std::endl;
    }
}

template <typename T>
static void check(const T &got, const T &wanted)
{
    if (got != wanted) {
        std::ostringstream text;
        text << got << " instead of " << wanted;
        throw std::runtime_error(text.str().substr(0, 300));
    }
}

// The text of a line of values.tsv or nested.tsv; the second text when asked for.
static string value(const char *file, const string &column, int which = 1)
{
    std::ifstream lines(string(getenv("scripts")) + "/" + file);
    for (string line; std::getline(lines, line);) {
        if (line.compare(0, column.size() + 1, column + "\t") == 0) {
            for (; which > 0; which--) {
                line.erase(0, line.find('\t') + 1);
            }
            return line.substr(0, line.find('\t'));
        }
    }
    throw std::runtime_error("no " + column + " in " + file);
}

static string long_text(int length)
{
    string text;
    for (int i = 0; i < length; i += 10) {
        text += "ż23456😀890";
    }
    return text;
}

int main()
{
    soci::session sql(soci::odbc, "DSN=clients;StringLen=8000000");

    step("values", [&]() -> string {
        for (int key : {1, 2}) {
            auto text = [key](const char *column) { return value("values.tsv", column, key); };
            int i = std::stoi(text("i")), o = std::stoi(text("o"));
            long long l = std::stoll(text("l"));
            double d = std::stod(text("d"));
            string n = text("n"), da = text("da"), ti = text("ti"), u = text("u"), b = text("b"),
                   s = text("s");
            std::tm ts{};
            strptime(text("ts").c_str(), "%Y-%m-%d %H:%M:%S", &ts);
            sql << "INSERT INTO vhcass_clients.kinds (id, i, l, d, n, ts, da, ti, u, b, o, s) "
                   "VALUES (:id, :i, :l, :d, :n, :ts, :da, :ti, :u, :b, :o, :s)",
                use(key), use(i), use(l), use(d), use(n), use(ts), use(da), use(ti), use(u), use(b),
                use(o), use(s);
            int i2, o2;
            long long l2;
            double d2;
            string n2, da2, ti2, u2, b2, s2;
            std::tm ts2{};
            sql << "SELECT i, l, d, n, ts, da, ti, u, b, o, s FROM vhcass_clients.kinds WHERE id = "
                   ":id",
                use(key), into(i2), into(l2), into(d2), into(n2), into(ts2), into(da2), into(ti2),
                into(u2), into(b2), into(o2), into(s2);
            check(std::to_string(i2) + n2 + da2 + ti2 + u2 + b2 + s2,
                  std::to_string(i) + n + da + ti + u + b + s);
            check(l2, l);
            check(d2, d);
            check(o2, o);
            check(mktime(&ts2), mktime(&ts));
        }
        int key = 3, number = 0;
        soci::indicator null = soci::i_null;
        sql << "INSERT INTO vhcass_clients.kinds (id, i) VALUES (:id, :i)", use(key),
            use(number, null);
        null = soci::i_ok;
        sql << "SELECT i FROM vhcass_clients.kinds WHERE id = 3", into(number, null);
        check(int(null), int(soci::i_null));
        return "decimals, dates, times, uuids and blobs as text";
    });
    step("table", [&]() -> string {
        soci::rowset<soci::row> rows =
            (sql.prepare << "SELECT id, i, ts, ti, s FROM vhcass_clients.whole");
        string got;
        for (const soci::row &row : rows) {
            char ts[40], ti[40];
            std::tm moment = row.get<std::tm>(2), time = row.get<std::tm>(3);
            strftime(ts, sizeof ts, "%F %T", &moment);
            strftime(ti, sizeof ti, "%T", &time);
            got += std::to_string(row.get<int>(0)) + "," + std::to_string(row.get<int>(1, -1)) +
                   "," + ts + "," + ti + "," + std::to_string(row.get<string>(4).size()) + ";";
        }
        check(got,
              string("1,7,1901-02-03 04:05:06,12:34:56,5;2,-1,2024-05-06 07:08:09,01:02:03,5000;"));
        return "";
    });
    step("batch", [&]() -> string {
        std::vector<int> keys{1, 2, 3, 4};
        std::vector<string> texts{"one", "two", "bad", "żółć 😀"};
        std::vector<soci::indicator> given{soci::i_ok, soci::i_ok, soci::i_null, soci::i_ok};
        bool refused = false;
        try {
            sql << "INSERT INTO vhcass_clients.loaded (id, s) VALUES (:id, :s)", use(keys, given),
                use(texts);
        } catch (const soci::soci_error &) {
            refused = true;
        }
        check(refused, true);
        std::vector<string> stored(10);
        sql << "SELECT s FROM vhcass_clients.loaded WHERE id IN (1, 2, 4)", into(stored);
        check(stored.size(), size_t{3});
        check(stored[2], texts[3]);
        return "";
    });
    step("long", [&]() -> string {
        for (int length : {5000, 5000000}) {
            string text = long_text(length), got;
            sql << "INSERT INTO vhcass_clients.long_texts (id, s) VALUES (:id, :s)", use(length),
                use(text);
            sql << "SELECT s FROM vhcass_clients.long_texts WHERE id = :id", use(length), into(got);
            check(got == text, true);
        }
        return "with StringLen";
    });
    step("nested", [&]() -> string {
        string l = value("nested.tsv", "l"), m = value("nested.tsv", "m"),
               t = value("nested.tsv", "t"), a = value("nested.tsv", "a");
        string all = l + m + t + a;
        for (int key : {1, 2}) {
            sql << "INSERT INTO vhcass_clients.nested (id, l, m, t, a) VALUES (:id, :l, :m, :t, "
                   ":a)",
                use(key), use(l), use(m), use(t), use(a);
            sql << "SELECT l, m, t, a FROM vhcass_clients.nested WHERE id = :id", use(key), into(l),
                into(m), into(t), into(a);
            check(l + m + t + a, all);
        }
        return "";
    });
    step("errors", [&]() -> string {
        const char *cases[][2] = {
            {"SELEC 1", "42000"},
            {"SELECT * FROM vhcass_clients.missing", "42S02"},
            {"CREATE TABLE vhcass_clients.kinds (id int PRIMARY KEY)", "42S01"}};
        for (auto &[text, state] : cases) {
            string got;
            try {
                sql << text;
            } catch (const soci::odbc_soci_error &problem) {
                got = reinterpret_cast<const char *>(problem.odbc_error_code());
            }
            check(got, string(state));
        }
        return "";
    });
    step("plain", [&]() -> string {
        string got;
        soci::rowset<soci::row> rows = (sql.prepare << "SELECT id, s FROM vhcass_clients.plain");
        for (const soci::row &row : rows) {
            got += std::to_string(row.get<int>(0)) + row.get<string>(1) + " ";
        }
        check(got, string("1one 2two "));
        bool refused = false;
        try {
            sql << "SELEC 1";
        } catch (const soci::soci_error &) {
            refused = true;
        }
        check(refused, true);
        return "";
    });
}
