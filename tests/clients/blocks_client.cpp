// Blocks of rows bound by their described size, what does not fit read by SQLGetData: how nanodbc
// and its like drive a driver, in the wide form.
#include <sql.h>
#include <sqlext.h>

#include <codecvt>
#include <locale>

#include "steps.h"

using std::u16string;
using strings = std::vector<string>;

constexpr size_t bound_limit = 8192;
static SQLHDBC connection;
static std::wstring_convert<std::codecvt_utf8_utf16<char16_t>, char16_t> utf16;

static void must(SQLRETURN code, SQLSMALLINT kind, SQLHANDLE handle)
{
    SQLCHAR state[6] = "", text[300] = "";
    if (!SQL_SUCCEEDED(code)) {
        SQLGetDiagRec(kind, handle, 1, state, nullptr, text, sizeof text, nullptr);
        throw std::runtime_error(reinterpret_cast<char *>(state) + string(" ") +
                                 reinterpret_cast<char *>(text));
    }
}

struct statement {
    SQLHSTMT handle = nullptr;
    statement() { SQLAllocHandle(SQL_HANDLE_STMT, connection, &handle); }
    statement(const statement &) = delete;
    ~statement() { SQLFreeHandle(SQL_HANDLE_STMT, handle); }
    void must(SQLRETURN code) const { ::must(code, SQL_HANDLE_STMT, handle); }
};

static SQLWCHAR *units(const u16string &text)
{
    return reinterpret_cast<SQLWCHAR *>(const_cast<char16_t *>(text.data()));
}

// Executes with wide texts; "NULL" stands for one.
static void run(statement &st, const string &text, const strings &values = {})
{
    std::vector<u16string> wide;
    std::vector<SQLLEN> lengths;
    st.must(SQLPrepareW(st.handle, units(utf16.from_bytes(text)), SQL_NTS));
    for (const string &value : values) {
        wide.push_back(utf16.from_bytes(value));
        lengths.push_back(value == "NULL" ? SQL_NULL_DATA : SQLLEN(2 * wide.back().size()));
    }
    for (size_t i = 0; i < values.size(); i++) {
        SQLSMALLINT type, digits, nullable;
        SQLULEN size;
        st.must(SQLDescribeParam(st.handle, SQLUSMALLINT(i + 1), &type, &size, &digits, &nullable));
        st.must(SQLBindParameter(st.handle, SQLUSMALLINT(i + 1), SQL_PARAM_INPUT, SQL_C_WCHAR, type,
                                 size, digits, units(wide[i]), 0, &lengths[i]));
    }
    st.must(SQLExecute(st.handle));
}

static u16string read_in_pieces(const statement &st, SQLUSMALLINT column)
{
    u16string cell;
    char16_t piece[1000] = u"";
    SQLLEN length = 0;
    for (SQLRETURN code = SQL_SUCCESS_WITH_INFO; code == SQL_SUCCESS_WITH_INFO; cell += piece) {
        code = SQLGetData(st.handle, column, SQL_C_WCHAR, piece, sizeof piece, &length);
        st.must(code);
    }
    return length == SQL_NULL_DATA ? u"NULL" : cell;
}

struct column {
    SQLLEN size;  // characters of a bound one, otherwise 0
    std::vector<char16_t> buffer;
    std::vector<SQLLEN> lengths;
};

static u16string cell_of(const statement &st, const column &c, SQLUSMALLINT number, size_t row)
{
    if (c.size == 0 || c.lengths[row] > c.size * 2)
        return read_in_pieces(st, number);
    return c.lengths[row] == SQL_NULL_DATA
               ? u"NULL"
               : u16string(&c.buffer[row * (c.size + 1)], c.lengths[row] / 2);
}

// All rows, their cells joined by "|". Columns described as no longer than the limit are bound, and
// read again where a cell did not fit, which wants a row at once; the others are read in pieces.
static strings rows(statement &st, SQLLEN limit = bound_limit, SQLULEN at_once = 1)
{
    SQLSMALLINT count;
    SQLULEN fetched = 0;
    st.must(SQLNumResultCols(st.handle, &count));
    std::vector<column> columns(count);
    st.must(SQLSetStmtAttr(st.handle, SQL_ATTR_ROW_ARRAY_SIZE, SQLPOINTER(at_once), 0));
    st.must(SQLSetStmtAttr(st.handle, SQL_ATTR_ROWS_FETCHED_PTR, &fetched, 0));
    for (SQLUSMALLINT i = 0; i < columns.size(); i++) {
        column &c = columns[i];
        st.must(
            SQLColAttribute(st.handle, i + 1, SQL_DESC_DISPLAY_SIZE, nullptr, 0, nullptr, &c.size));
        c.size = c.size <= limit ? c.size : 0;
        c.buffer.resize((c.size + 1) * at_once);
        c.lengths.resize(at_once);
        if (c.size != 0) {
            st.must(SQLBindCol(st.handle, i + 1, SQL_C_WCHAR, c.buffer.data(), (c.size + 1) * 2,
                               c.lengths.data()));
        }
    }
    strings all;
    for (SQLRETURN code; (code = SQLFetchScroll(st.handle, SQL_FETCH_NEXT, 0)) != SQL_NO_DATA;) {
        st.must(code);
        for (SQLULEN row = 0; row < fetched; row++) {
            string text;
            for (SQLUSMALLINT i = 0; i < columns.size(); i++)
                text += (i == 0 ? "" : "|") + utf16.to_bytes(cell_of(st, columns[i], i + 1, row));
            all.push_back(text);
        }
    }
    return all;
}

// Writes the values by their names into a row, which must come out as it went in.
static void round_trip(const string &table, const string &names, const strings &values)
{
    statement insert, select;
    string marks, wanted;
    for (const string &value : values) {
        marks += marks.empty() ? "?" : ", ?";
        wanted += (wanted.empty() ? "" : "|") + value;
    }
    run(insert, "INSERT INTO vhcass_clients." + table + " (" + names + ") VALUES (" + marks + ")",
        values);
    run(select, "SELECT " + names + " FROM vhcass_clients." + table + " WHERE id = ?", {values[0]});
    check(rows(select).at(0), wanted);
}

static void values_step()
{
    string names = "id";
    std::vector<strings> given = {{"1"}, {"2"}, {"3"}};
    for (const strings &column : columns_of("values.tsv")) {
        names += ", " + column[0];
        for (int key : {1, 2, 3})
            given[key - 1].push_back(key == 3 ? "NULL" : column[key]);
    }
    for (const strings &row : given)
        round_trip("kinds", names, row);
}

int main()
{
    SQLHENV environment;
    SQLAllocHandle(SQL_HANDLE_ENV, nullptr, &environment);
    SQLSetEnvAttr(environment, SQL_ATTR_ODBC_VERSION, (SQLPOINTER)SQL_OV_ODBC3_80, 0);
    SQLAllocHandle(SQL_HANDLE_DBC, environment, &connection);
    must(SQLDriverConnectW(connection, nullptr, units(u"DSN=clients"), SQL_NTS, nullptr, 0, nullptr,
                           SQL_DRIVER_NOPROMPT),
         SQL_HANDLE_DBC, connection);
    step("values", values_step);
    step("table", [] {
        statement block;
        run(block, "SELECT id, i, ti FROM vhcass_clients.whole");
        check(rows(block, bound_limit, 2).at(1), string("2|NULL|01:02:03"));
        statement st;
        run(st, "SELECT id, i, ti, s FROM vhcass_clients.whole");
        const strings all = rows(st);
        check(all.at(0), string("1|7|12:34:56|short"));
        check(all.at(1).size(), sizeof "2|NULL|01:02:03|" - 1 + 5000);
    });
    step("long", [] {
        for (int length : {5000, 5000000}) {
            round_trip("long_texts", "id, s", {std::to_string(length), long_text(length)});
            statement in_pieces;
            run(in_pieces, "SELECT s FROM vhcass_clients.long_texts WHERE id = ?",
                {std::to_string(length)});
            check(rows(in_pieces, 100).at(0), long_text(length));
        }
    });
    step("nested", [] {
        strings given = {"1"};
        for (const strings &column : columns_of("nested.tsv"))
            given.push_back(column[1]);
        round_trip("nested", "id, l, m, t, a", given);
    });
    step("plain", [] {
        statement st, refused;
        run(st, "SELECT id, s FROM vhcass_clients.plain");
        const strings all = rows(st, bound_limit, 2);
        check(all.at(0) + " " + all.at(1), string("1|one 2|two"));
        check(SQLExecDirect(refused.handle, (SQLCHAR *)"SELEC 1", SQL_NTS), SQLRETURN(SQL_ERROR));
    });
}
