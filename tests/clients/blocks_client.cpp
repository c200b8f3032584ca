// Blocks of rows bound by their described size, what does not fit read by SQLGetData: how nanodbc
// and its like drive a driver, in the wide form.
#include <sql.h>
#include <sqlext.h>

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <iostream>
#include <stdexcept>
#include <string>
#include <vector>

using std::string;
using std::u16string;

constexpr SQLULEN block = 2;
constexpr size_t bound_limit = 8192;
static SQLHDBC connection;

[[noreturn]] static void fail(SQLSMALLINT kind, SQLHANDLE handle)
{
    SQLCHAR state[6] = "", text[300] = "";
    SQLGetDiagRec(kind, handle, 1, state, nullptr, text, sizeof text, nullptr);
    throw std::runtime_error(string(reinterpret_cast<char *>(state)) + " " +
                             reinterpret_cast<char *>(text));
}

struct statement {
    SQLHSTMT handle = nullptr;
    statement() { SQLAllocHandle(SQL_HANDLE_STMT, connection, &handle); }
    statement(const statement &) = delete;
    ~statement() { SQLFreeHandle(SQL_HANDLE_STMT, handle); }
    void must(SQLRETURN code) const
    {
        if (!SQL_SUCCEEDED(code)) {
            fail(SQL_HANDLE_STMT, handle);
        }
    }
};

static u16string wide(const string &text)
{
    u16string result;
    for (size_t i = 0; i < text.size();) {
        unsigned char lead = text[i];
        int more = lead < 0x80 ? 0 : lead < 0xe0 ? 1 : lead < 0xf0 ? 2 : 3;
        char32_t character = more == 0 ? lead : lead & (0x3f >> more);
        for (i++; more > 0; more--) {
            character = character << 6 | (text[i++] & 0x3f);
        }
        if (character >= 0x10000) {
            result += char16_t(0xd7c0 + (character >> 10));
            character = 0xdc00 | (character & 0x3ff);
        }
        result += char16_t(character);
    }
    return result;
}

static SQLWCHAR *units(const u16string &text)
{
    return reinterpret_cast<SQLWCHAR *>(const_cast<char16_t *>(text.data()));
}

// Executes with wide texts; "NULL" stands for one.
static void run(statement &st, const string &text, const std::vector<u16string> &values = {})
{
    static const u16string null = u"NULL";
    std::vector<SQLLEN> lengths(values.size());
    st.must(SQLPrepareW(st.handle, units(wide(text)), SQLINTEGER(wide(text).size())));
    for (size_t i = 0; i < values.size(); i++) {
        SQLSMALLINT type, digits, nullable;
        SQLULEN size;
        lengths[i] =
            values[i] == null ? SQLLEN(SQL_NULL_DATA) : SQLLEN(values[i].size() * sizeof(SQLWCHAR));
        st.must(SQLDescribeParam(st.handle, SQLUSMALLINT(i + 1), &type, &size, &digits, &nullable));
        st.must(SQLBindParameter(st.handle, SQLUSMALLINT(i + 1), SQL_PARAM_INPUT, SQL_C_WCHAR, type,
                                 size, digits, units(values[i]), 0, &lengths[i]));
    }
    st.must(SQLExecute(st.handle));
}

// All rows, cells as wide text. Columns described as short are bound, in blocks unless a cell may
// have to be read again because it did not fit; the others are read by SQLGetData.
static std::vector<std::vector<u16string>> rows(statement &st, size_t limit = bound_limit,
                                                bool reread = true)
{
    SQLSMALLINT columns;
    SQLULEN fetched = 0;
    st.must(SQLNumResultCols(st.handle, &columns));
    std::vector<std::vector<char16_t>> buffers(columns);
    std::vector<std::vector<SQLLEN>> lengths(columns, std::vector<SQLLEN>(block));
    std::vector<SQLULEN> sizes(columns);
    bool all_bound = true;
    for (SQLSMALLINT i = 0; i < columns; i++) {
        st.must(SQLColAttribute(st.handle, i + 1, SQL_DESC_DISPLAY_SIZE, nullptr, 0, nullptr,
                                reinterpret_cast<SQLLEN *>(&sizes[i])));
        all_bound = all_bound && sizes[i] <= limit;
    }
    SQLULEN at_once = all_bound && !reread ? block : 1;
    st.must(SQLSetStmtAttr(st.handle, SQL_ATTR_ROW_ARRAY_SIZE,
                           reinterpret_cast<SQLPOINTER>(at_once), 0));
    st.must(SQLSetStmtAttr(st.handle, SQL_ATTR_ROWS_FETCHED_PTR, &fetched, 0));
    for (SQLSMALLINT i = 0; i < columns; i++) {
        if (sizes[i] <= limit) {
            buffers[i].resize((sizes[i] + 1) * at_once);
            st.must(SQLBindCol(st.handle, i + 1, SQL_C_WCHAR, buffers[i].data(),
                               SQLLEN((sizes[i] + 1) * sizeof(SQLWCHAR)), lengths[i].data()));
        }
    }
    std::vector<std::vector<u16string>> all;
    for (SQLRETURN code; (code = SQLFetchScroll(st.handle, SQL_FETCH_NEXT, 0)) != SQL_NO_DATA;) {
        st.must(code);
        for (SQLULEN row = 0; row < fetched; row++) {
            all.emplace_back();
            for (SQLSMALLINT i = 0; i < columns; i++) {
                u16string cell;
                if (sizes[i] <= limit && (lengths[i][row] == SQL_NULL_DATA ||
                                          lengths[i][row] <= SQLLEN(sizes[i] * sizeof(SQLWCHAR)))) {
                    cell = lengths[i][row] == SQL_NULL_DATA
                               ? u"NULL"
                               : u16string(&buffers[i][row * (sizes[i] + 1)],
                                           lengths[i][row] / sizeof(SQLWCHAR));
                } else {
                    char16_t piece[1000];
                    SQLLEN length;
                    while ((code = SQLGetData(st.handle, i + 1, SQL_C_WCHAR, piece, sizeof piece,
                                              &length)) == SQL_SUCCESS_WITH_INFO) {
                        cell.append(piece, std::size(piece) - 1);
                    }
                    st.must(code == SQL_NO_DATA ? SQL_SUCCESS : code);
                    cell = length == SQL_NULL_DATA
                               ? u"NULL"
                               : cell.append(piece,
                                             code == SQL_NO_DATA ? 0 : length / sizeof(SQLWCHAR));
                }
                all.back().push_back(cell);
            }
        }
    }
    return all;
}

static std::vector<std::vector<string>> lines_of(const char *name)
{
    std::ifstream file(string(getenv("scripts")) + "/" + name);
    std::vector<std::vector<string>> lines;
    string line;
    std::getline(file, line);
    while (std::getline(file, line)) {
        lines.emplace_back();
        for (size_t tab; (tab = line.find('\t')) != string::npos; line.erase(0, tab + 1)) {
            lines.back().push_back(line.substr(0, tab));
        }
        lines.back().push_back(line);
    }
    return lines;
}

static void check(bool holds, const string &what)
{
    if (!holds) {
        throw std::runtime_error("wrong: " + what);
    }
}

static void step(const char *name, const std::function<void()> &body)
{
    string wanted = string(" ") + getenv("CLIENTS_STEPS") + " ";
    if (wanted.find(string(" ") + name + " ") == string::npos) {
        return;
    }
    try {
        body();
        std::cout << "ok " << name << std::endl;
    } catch (const std::exception &problem) {
        std::cout << "FAILED " << name << ": " << problem.what() << std::endl;
    }
}

int main()
{
    SQLHENV environment;
    SQLAllocHandle(SQL_HANDLE_ENV, nullptr, &environment);
    SQLSetEnvAttr(environment, SQL_ATTR_ODBC_VERSION, reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3_80),
                  0);
    SQLAllocHandle(SQL_HANDLE_DBC, environment, &connection);
    string source = "DSN=clients";
    if (!SQL_SUCCEEDED(SQLDriverConnectW(connection, nullptr, units(wide(source)), SQL_NTS, nullptr,
                                         0, nullptr, SQL_DRIVER_NOPROMPT))) {
        fail(SQL_HANDLE_DBC, connection);
    }
    step("values", [] {
        string names;
        std::vector<std::vector<u16string>> given(4, {u""});
        for (const auto &line : lines_of("values.tsv")) {
            names += ", " + line[0];
            for (int key : {1, 2, 3}) {
                given[key].push_back(key == 3 ? u"NULL" : wide(line[key]));
            }
        }
        for (int key : {1, 2, 3}) {
            statement insert, select;
            given[key][0] = wide(std::to_string(key));
            run(insert,
                "INSERT INTO vhcass_clients.kinds (id" + names +
                    ") VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)",
                given[key]);
            run(select, "SELECT id" + names + " FROM vhcass_clients.kinds WHERE id = ?",
                {given[key][0]});
            std::vector<u16string> got = rows(select).at(0);
            for (size_t i = 0; i < got.size(); i++) {
                check(got[i] == given[key][i],
                      "column " + std::to_string(i) + " of row " + std::to_string(key));
            }
        }
    });
    step("table", [] {
        statement block_of_rows;
        run(block_of_rows, "SELECT id, i, ti FROM vhcass_clients.whole");
        check(rows(block_of_rows, bound_limit, false).at(1).at(1) == u"NULL", "block");
        for (size_t limit : {bound_limit, size_t{100}}) {
            statement st;
            run(st, "SELECT id, i, ti, s FROM vhcass_clients.whole");
            auto all = rows(st, limit);
            check(all.size() == 2 && all[0][1] == u"7" && all[1][1] == u"NULL" &&
                      all[1][2] == u"01:02:03",
                  "row");
            check(all[0][3] == u"short" && all[1][3].size() == 5000, "text");
        }
    });
    step("batch", [] {
        statement insert, select;
        SQLINTEGER keys[] = {1, 2, 3, 4};
        SQLLEN key_lengths[] = {0, 0, SQL_NULL_DATA, 0},
               text_lengths[] = {SQL_NTS, SQL_NTS, SQL_NTS, SQL_NTS};
        char16_t texts[4][20] = {u"one", u"two", u"bad", u"żółć 😀"};
        SQLUSMALLINT status[4];
        insert.must(SQLPrepare(insert.handle,
                               (SQLCHAR *)"INSERT INTO vhcass_clients.loaded (id, s) VALUES (?, ?)",
                               SQL_NTS));
        insert.must(SQLSetStmtAttr(insert.handle, SQL_ATTR_PARAMSET_SIZE, (SQLPOINTER)4, 0));
        insert.must(SQLSetStmtAttr(insert.handle, SQL_ATTR_PARAM_STATUS_PTR, status, 0));
        insert.must(SQLBindParameter(insert.handle, 1, SQL_PARAM_INPUT, SQL_C_SLONG, SQL_INTEGER, 0,
                                     0, keys, 0, key_lengths));
        insert.must(SQLBindParameter(insert.handle, 2, SQL_PARAM_INPUT, SQL_C_WCHAR, SQL_WVARCHAR,
                                     20, 0, texts, sizeof texts[0], text_lengths));
        check(SQLExecute(insert.handle) == SQL_ERROR, "no error");
        check(status[1] == SQL_PARAM_SUCCESS && status[2] == SQL_PARAM_ERROR &&
                  status[3] == SQL_PARAM_SUCCESS,
              "status");
        run(select, "SELECT s FROM vhcass_clients.loaded WHERE id IN (1, 2, 4)");
        auto all = rows(select);
        check(all.size() == 3 && all[2][0] == u"żółć 😀", "rows stored");
    });
    step("long", [] {
        for (int length : {5000, 5000000}) {
            u16string text;
            for (int i = 0; i < length; i += 10) {
                text += u"ż23456😀890";
            }
            statement insert, select;
            u16string key = wide(std::to_string(length));
            run(insert, "INSERT INTO vhcass_clients.long_texts (id, s) VALUES (?, ?)", {key, text});
            run(select, "SELECT s FROM vhcass_clients.long_texts WHERE id = ?", {key});
            check(rows(select).at(0).at(0) == text,
                  "text of " + std::to_string(length) + ", bound and read on");
            statement again;
            run(again, "SELECT s FROM vhcass_clients.long_texts WHERE id = ?", {key});
            check(rows(again, 100).at(0).at(0) == text,
                  "text of " + std::to_string(length) + ", in pieces");
        }
    });
    step("nested", [] {
        std::vector<u16string> given{u"1"};
        for (const auto &line : lines_of("nested.tsv")) {
            given.push_back(wide(line[1]));
        }
        statement insert, select;
        run(insert, "INSERT INTO vhcass_clients.nested (id, l, m, t, a) VALUES (?, ?, ?, ?, ?)",
            given);
        run(select, "SELECT id, l, m, t, a FROM vhcass_clients.nested WHERE id = ?", {u"1"});
        check(rows(select).at(0) == given, "literals");
    });
    step("errors", [] {
        const char *cases[][2] = {
            {"SELEC 1", "42000"},
            {"SELECT * FROM vhcass_clients.missing", "42S02"},
            {"CREATE TABLE vhcass_clients.kinds (id int PRIMARY KEY)", "42S01"}};
        for (auto &[text, state] : cases) {
            statement st;
            string problem;
            try {
                run(st, text);
            } catch (const std::exception &thrown) {
                problem = thrown.what();
            }
            check(problem.compare(0, 5, state) == 0, text + (": " + problem));
        }
    });
    step("plain", [] {
        statement st, refused;
        run(st, "SELECT id, s FROM vhcass_clients.plain");
        check(rows(st, bound_limit, false) ==
                  std::vector<std::vector<u16string>>{{u"1", u"one"}, {u"2", u"two"}},
              "rows");
        check(SQLExecDirect(refused.handle, (SQLCHAR *)"SELEC 1", SQL_NTS) == SQL_ERROR,
              "no error");
    });
}
