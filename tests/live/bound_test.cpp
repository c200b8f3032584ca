// Bound columns: blocks of rows into arrays of the application, column-wise and row-wise, with
// offsets, status arrays and counters; nulls and cut cells in a block; binding at all times.
#include <cstring>

#include "tests/live/live_support.h"

// Rows n = 0 .. size-1 in the partition `size`; the text is missing where n % 3 is 2.
static live_ptr bound_session(const std::string &keyspace)
{
    live_ptr live = live_logged_on();
    make_keyspace(live->stmt, keyspace);
    run(live->stmt, "CREATE TABLE " + keyspace + ".t (p int, n int, t text, PRIMARY KEY (p, n))");
    for (const int size : {4, 7, 100, 250}) {
        std::string batch = "BEGIN UNLOGGED BATCH\n";
        for (int n = 0; n < size; n++) {
            batch += "INSERT INTO " + keyspace + ".t (p, n, t) VALUES (" + std::to_string(size) +
                     ", " + std::to_string(n) + ", " +
                     (n % 3 == 2 ? std::string("null") : "'text " + std::to_string(n) + "'") +
                     ");\n";
        }
        run(live->stmt, batch + "APPLY BATCH");
    }
    return live;
}

// ---- Layouts ------------------------------------------------------------------------------------

// Where the cells of a row lie in a block of memory: n as an integer, t as a text of 12 bytes, and
// their indicators. With a row size of 0 each is an array of its own.
struct layout {
    const char *name;
    std::size_t row_size;
    std::size_t n, n_length, t, t_length;  // of the first row
};

static constexpr std::size_t text_room = 12;

static layout column_wise(std::size_t rows)
{
    return {"column-wise", 0, 0, rows * 4, rows * 12, rows * 12 + rows * text_room};
}
// Rows of an odd size, nothing in its natural place.
static layout row_wise()
{
    return {"row-wise", 37, 1, 5, 13, 27};
}

static std::size_t block_size(const layout &l, std::size_t rows)
{
    return l.row_size != 0 ? rows * l.row_size : rows * (4 + 8 + text_room + 8);
}

struct block {
    std::vector<unsigned char> bytes;
    layout l;
    std::size_t start;  // of the half in use
};

static const unsigned char *cell_at(const block &b, std::size_t first, std::size_t size,
                                    std::size_t row)
{
    return b.bytes.data() + b.start + first + row * (b.l.row_size != 0 ? b.l.row_size : size);
}

static SQLLEN length_at(const block &b, std::size_t first, std::size_t row)
{
    SQLLEN length;
    std::memcpy(&length, cell_at(b, first, sizeof length, row), sizeof length);
    return length;
}

// "n" and "t" of a row, "NULL" for a null.
static std::string row_at(const block &b, std::size_t row)
{
    SQLINTEGER n;
    std::memcpy(&n, cell_at(b, b.l.n, sizeof n, row), sizeof n);
    EXPECT_EQ(length_at(b, b.l.n_length, row), SQLLEN(sizeof n));
    const SQLLEN length = length_at(b, b.l.t_length, row);
    if (length == SQL_NULL_DATA)
        return std::to_string(n) + "|NULL";
    const std::string text = reinterpret_cast<const char *>(cell_at(b, b.l.t, text_room, row));
    EXPECT_EQ(length, static_cast<SQLLEN>(text.size()));
    return std::to_string(n) + "|" + text;
}

static void bind_block(SQLHSTMT stmt, block *b)
{
    unsigned char *bytes = b->bytes.data();
    EXPECT_STMT(SQL_SUCCESS, stmt,
                SQLSetStmtAttr(stmt, SQL_ATTR_ROW_BIND_TYPE, odbc_number(b->l.row_size), 0));
    EXPECT_STMT(SQL_SUCCESS, stmt,
                SQLBindCol(stmt, 1, SQL_C_SLONG, bytes + b->l.n, 0,
                           reinterpret_cast<SQLLEN *>(bytes + b->l.n_length)));
    EXPECT_STMT(SQL_SUCCESS, stmt,
                SQLBindCol(stmt, 2, SQL_C_CHAR, bytes + b->l.t, text_room,
                           reinterpret_cast<SQLLEN *>(bytes + b->l.t_length)));
}

static std::string expected_row(int n)
{
    return std::to_string(n) + (n % 3 == 2 ? "|NULL" : "|text " + std::to_string(n));
}

// Reads a partition in blocks, each into the other half of the memory, by the bind offset.
static void read_blocks(SQLHSTMT stmt, const layout &l, std::size_t rows, int size)
{
    block b = {std::vector<unsigned char>(2 * block_size(l, rows), 0xAA), l, 0};
    SQLULEN fetched = 77;
    SQLLEN offset = 0;
    std::vector<SQLUSMALLINT> status(rows + 1, 77);
    bind_block(stmt, &b);
    SQLSetStmtAttr(stmt, SQL_ATTR_ROW_ARRAY_SIZE, odbc_number(rows), 0);
    SQLSetStmtAttr(stmt, SQL_ATTR_ROWS_FETCHED_PTR, &fetched, 0);
    SQLSetStmtAttr(stmt, SQL_ATTR_ROW_STATUS_PTR, status.data(), 0);
    SQLSetStmtAttr(stmt, SQL_ATTR_ROW_BIND_OFFSET_PTR, &offset, 0);

    ASSERT_STMT(SQL_SUCCESS, stmt,
                exec(stmt, "SELECT n, t FROM live_blocks.t WHERE p = " + std::to_string(size)));
    int next = 0;
    while (next < size) {
        SCOPED_TRACE("from row " + std::to_string(next));
        const std::vector<unsigned char> before = b.bytes;
        ASSERT_STMT(SQL_SUCCESS, stmt, SQLFetch(stmt));
        const std::size_t wanted = std::min(rows, static_cast<std::size_t>(size - next));
        ASSERT_EQ(fetched, wanted);
        for (std::size_t row = 0; row < wanted; row++) {
            ASSERT_EQ(row_at(b, row), expected_row(next++));
            ASSERT_EQ(status[row], SQL_ROW_SUCCESS);
        }
        for (std::size_t row = wanted; row < rows; row++) {
            ASSERT_EQ(status[row], SQL_ROW_NOROW);
            const SQLLEN length = length_at(b, l.t_length, row);
            ASSERT_EQ(0,
                      std::memcmp(&length,
                                  cell_at(b, l.t_length, 8, row) - b.bytes.data() + before.data(),
                                  sizeof length));
        }
        // The half that was not meant is as it was.
        const std::size_t other = b.start == 0 ? b.bytes.size() / 2 : 0;
        ASSERT_EQ(0,
                  std::memcmp(b.bytes.data() + other, before.data() + other, b.bytes.size() / 2));
        b.start = other;
        offset = static_cast<SQLLEN>(other);
    }
    EXPECT_STMT(SQL_NO_DATA, stmt, SQLFetch(stmt));
    EXPECT_EQ(fetched, 0u);
    for (std::size_t row = 0; row < rows; row++)
        EXPECT_EQ(status[row], SQL_ROW_NOROW);
    EXPECT_EQ(status[rows], 77);
}

TEST(live_bound, blocks_of_every_size_in_both_layouts)
{
    NEED_NODE("VHCASS_SERVER");
    const live_ptr live = bound_session("live_blocks");
    for (const std::size_t rows : {1u, 2u, 100u, 1000u}) {
        for (const layout &l : {column_wise(rows), row_wise()}) {
            for (const int size : {7, 100, 250}) {
                SCOPED_TRACE(std::string(l.name) + ", " + std::to_string(size) +
                             " rows in blocks of " + std::to_string(rows));
                const SQLHSTMT stmt = new_stmt(live.get());
                read_blocks(stmt, l, rows, size);
                SQLFreeHandle(SQL_HANDLE_STMT, stmt);
            }
        }
    }
}

// ---- Rows that are not whole --------------------------------------------------------------------

// With one row the row's code comes back; a block is a success and its status array tells.
TEST(live_bound, cut_cells_and_lone_nulls_mark_their_rows)
{
    NEED_NODE("VHCASS_SERVER");
    const live_ptr live = bound_session("live_marks");
    const SQLHSTMT stmt = live->stmt;
    const SQLUSMALLINT cut = SQL_ROW_SUCCESS_WITH_INFO;
    const struct {
        const char *column;
        bool indicator;
        SQLUSMALLINT status[4];  // of the rows n = 0..3, where t of n = 2 is null
        const char *record;
    } cases[] = {
        {"t", true, {cut, cut, SQL_ROW_SUCCESS, cut}, "01004 String data, right truncation"},
        {"n", true, {SQL_ROW_SUCCESS, SQL_ROW_SUCCESS, SQL_ROW_SUCCESS, SQL_ROW_SUCCESS}, ""},
        {"t", false, {cut, cut, cut, cut}, "01004"},
    };
    for (const auto &c : cases) {
        for (const std::size_t rows : {1u, 4u}) {
            SCOPED_TRACE(std::string(c.column) + " in blocks of " + std::to_string(rows));
            char text[4][4] = {};
            SQLLEN lengths[4] = {};
            SQLUSMALLINT status[4] = {};
            SQLSetStmtAttr(stmt, SQL_ATTR_ROW_ARRAY_SIZE, odbc_number(rows), 0);
            SQLSetStmtAttr(stmt, SQL_ATTR_ROW_STATUS_PTR, status, 0);
            SQLBindCol(stmt, 1, SQL_C_CHAR, text, sizeof text[0], c.indicator ? lengths : nullptr);
            ASSERT_STMT(
                SQL_SUCCESS, stmt,
                exec(stmt, std::string("SELECT ") + c.column + " FROM live_marks.t WHERE p = 4"));
            if (rows == 4) {
                EXPECT_STMT(SQL_SUCCESS, stmt, SQLFetch(stmt));
                for (int row = 0; row < 4; row++)
                    EXPECT_EQ(status[row], c.status[row]) << "row " << row;
                if (std::strcmp(c.column, "t") == 0) {
                    EXPECT_STREQ(text[0], "tex");
                    EXPECT_STREQ(text[3], "tex");
                    EXPECT_EQ(lengths[3], c.indicator ? 6 : 0);
                }
            } else {
                for (int row = 0; row < 4; row++) {
                    const bool whole = c.status[row] == SQL_ROW_SUCCESS;
                    EXPECT_STMT(whole ? SQL_SUCCESS : SQL_SUCCESS_WITH_INFO, stmt, SQLFetch(stmt));
                    EXPECT_EQ(status[0], c.status[row]) << "row " << row;
                    const bool lone_null = !c.indicator && row == 2;
                    expect_records(SQL_HANDLE_STMT, stmt,
                                   whole       ? record_list{}
                                   : lone_null ? record_list{"22002 Indicator variable required"}
                                               : record_list{c.record});
                }
            }
            SQLFreeStmt(stmt, SQL_CLOSE);
            SQLFreeStmt(stmt, SQL_UNBIND);
        }
    }
}

// A cell that cannot be converted ends the block: the rows before it stand, those behind it come
// with the next fetch.
TEST(live_bound, failed_row_ends_the_block)
{
    NEED_NODE("VHCASS_SERVER");
    const live_ptr live = bound_session("live_failed");
    const SQLHSTMT stmt = live->stmt;
    SQLSMALLINT small[4] = {-5, -5, -5, -5};
    SQLLEN lengths[4] = {};
    SQLUSMALLINT status[4] = {77, 77, 77, 77};
    SQLULEN fetched = 77;
    run(stmt, "CREATE TABLE live_failed.u (p int, n int, v bigint, PRIMARY KEY (p, n))");
    for (const char *row : {"(1, 0, 10)", "(1, 1, 70000)", "(1, 2, 12)", "(1, 3, 13)"})
        run(stmt, std::string("INSERT INTO live_failed.u (p, n, v) VALUES ") + row);
    SQLSetStmtAttr(stmt, SQL_ATTR_ROW_ARRAY_SIZE, odbc_number(4), 0);
    SQLSetStmtAttr(stmt, SQL_ATTR_ROW_STATUS_PTR, status, 0);
    SQLSetStmtAttr(stmt, SQL_ATTR_ROWS_FETCHED_PTR, &fetched, 0);
    SQLBindCol(stmt, 1, SQL_C_SSHORT, small, 0, lengths);
    ASSERT_STMT(SQL_SUCCESS, stmt, exec(stmt, "SELECT v FROM live_failed.u WHERE p = 1"));

    // The Driver Manager asks for no records after a success, so the status array alone tells.
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLFetch(stmt));
    EXPECT_EQ(fetched, 1u);
    EXPECT_EQ(small[0], 10);
    EXPECT_EQ(status[0], SQL_ROW_SUCCESS);
    for (int row = 1; row < 4; row++)
        EXPECT_EQ(status[row], SQL_ROW_ERROR);

    EXPECT_STMT(SQL_SUCCESS, stmt, SQLFetch(stmt));
    EXPECT_EQ(fetched, 2u);
    EXPECT_EQ(small[0], 12);
    EXPECT_EQ(small[1], 13);
    EXPECT_EQ(status[2], SQL_ROW_NOROW);

    // One row at a time the failure is the fetch's.
    SQLFreeStmt(stmt, SQL_CLOSE);
    SQLSetStmtAttr(stmt, SQL_ATTR_ROW_ARRAY_SIZE, odbc_number(1), 0);
    ASSERT_STMT(SQL_SUCCESS, stmt, exec(stmt, "SELECT v FROM live_failed.u WHERE p = 1"));
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLFetch(stmt));
    EXPECT_STMT(SQL_ERROR, stmt, SQLFetch(stmt));
    expect_records(SQL_HANDLE_STMT, stmt, {"22003 Numeric value out of range"});
    EXPECT_EQ(fetched, 0u);
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLFetch(stmt));
    EXPECT_EQ(small[0], 12);
}

// ---- Binding at all times -----------------------------------------------------------------------

TEST(live_bound, columns_are_bound_rebound_and_unbound_at_any_time)
{
    NEED_NODE("VHCASS_SERVER");
    const live_ptr live = bound_session("live_bind");
    const SQLHSTMT stmt = live->stmt;
    const std::string sql = "SELECT n, t FROM live_bind.t WHERE p = 7";
    SQLINTEGER n = -1;
    SQLBIGINT big = -1;
    char text[16] = "";
    SQLWCHAR wide[16] = {};
    SQLLEN n_length = 0, t_length = 0, unused = 5;

    // Before execution; a column that the result does not have is left alone.
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLBindCol(stmt, 1, SQL_C_SLONG, &n, 0, &n_length));
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLBindCol(stmt, 5, SQL_C_CHAR, text, sizeof text, &unused));
    ASSERT_STMT(SQL_SUCCESS, stmt, exec(stmt, sql));
    SQLSMALLINT count = 0;
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLNumResultCols(stmt, &count));
    EXPECT_EQ(count, 2);
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLFetch(stmt));
    EXPECT_EQ(n, 0);
    EXPECT_EQ(n_length, 4);
    EXPECT_EQ(unused, 5);
    // What was delivered to a binding is not there for reading again; what was not, is.
    EXPECT_EQ(cell_text(stmt, 1), "<SQL_NO_DATA>");
    EXPECT_EQ(cell_text(stmt, 2), "text 0");

    // Between fetches: another type for one column, an indicator alone for the other.
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLBindCol(stmt, 1, SQL_C_SBIGINT, &big, 0, &n_length));
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLBindCol(stmt, 2, SQL_C_CHAR, nullptr, 0, &t_length));
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLFetch(stmt));
    EXPECT_EQ(n, 0);
    EXPECT_EQ(big, 1);
    EXPECT_EQ(n_length, 8);
    EXPECT_EQ(t_length, 6);

    EXPECT_STMT(SQL_SUCCESS, stmt, SQLBindCol(stmt, 2, SQL_C_WCHAR, wide, sizeof wide, &t_length));
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLFetch(stmt));
    EXPECT_EQ(t_length, SQL_NULL_DATA);
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLFetch(stmt));
    EXPECT_EQ(t_length, 12);
    EXPECT_EQ(std::u16string(reinterpret_cast<char16_t *>(wide)), u"text 3");

    // Unbound one by one, then all.
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLBindCol(stmt, 1, SQL_C_SBIGINT, nullptr, 0, nullptr));
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLBindCol(stmt, 9, SQL_C_CHAR, nullptr, 0, nullptr));
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLFetch(stmt));
    EXPECT_EQ(big, 3);
    EXPECT_EQ(std::u16string(reinterpret_cast<char16_t *>(wide)), u"text 4");
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLFreeStmt(stmt, SQL_UNBIND));
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLFetch(stmt));
    EXPECT_EQ(std::u16string(reinterpret_cast<char16_t *>(wide)), u"text 4");
    EXPECT_EQ(row_text(stmt), "5|NULL");

    // A binding outlives the result.
    EXPECT_STMT(SQL_SUCCESS, stmt,
                SQLBindCol(stmt, 2, SQL_C_DEFAULT, text, sizeof text, &t_length));
    SQLFreeStmt(stmt, SQL_CLOSE);
    for (int i = 0; i < 2; i++) {
        std::memset(text, 0, sizeof text);
        ASSERT_STMT(SQL_SUCCESS, stmt, exec(stmt, sql));
        EXPECT_STMT(SQL_SUCCESS, stmt, SQLFetch(stmt));
        EXPECT_STREQ(text, "text 0");
        SQLFreeStmt(stmt, SQL_CLOSE);
    }
}

// A binding that the driver finds inconsistent is an error, and stands all the same.
TEST(live_bound, numeric_bound_before_execution_is_reported_and_works)
{
    NEED_NODE("VHCASS_SERVER");
    const live_ptr live = live_logged_on();
    const SQLHSTMT stmt = live->stmt;
    make_keyspace(stmt, "live_numeric");
    run(stmt, "CREATE TABLE live_numeric.t (k int PRIMARY KEY, v varint)");
    run(stmt, "INSERT INTO live_numeric.t (k, v) VALUES (1, -513)");
    SQL_NUMERIC_STRUCT value = {};
    SQLLEN length = 0;
    EXPECT_STMT(SQL_ERROR, stmt, SQLBindCol(stmt, 1, SQL_C_NUMERIC, &value, sizeof value, &length));
    expect_records(SQL_HANDLE_STMT, stmt, {"HY021 Invalid precision value"});
    ASSERT_STMT(SQL_SUCCESS, stmt, exec(stmt, "SELECT v FROM live_numeric.t"));
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLFetch(stmt));
    EXPECT_EQ(length, 19);
    EXPECT_EQ(value.sign, 0);
    EXPECT_EQ(value.val[0], 1);
    EXPECT_EQ(value.val[1], 2);

    EXPECT_STMT(SQL_SUCCESS, stmt,
                SQLBindCol(stmt, 1, SQL_C_NUMERIC, &value, sizeof value, &length));
    EXPECT_STMT(SQL_ERROR, stmt, SQLBindCol(stmt, 2, 4711, &value, sizeof value, &length));
}

TEST(live_bound, only_the_next_rows_can_be_fetched)
{
    NEED_NODE("VHCASS_SERVER");
    const live_ptr live = bound_session("live_scroll");
    const SQLHSTMT stmt = live->stmt;
    SQLSetStmtAttr(stmt, SQL_ATTR_CURSOR_TYPE, odbc_number(SQL_CURSOR_STATIC), 0);
    ASSERT_STMT(SQL_SUCCESS, stmt, exec(stmt, "SELECT n FROM live_scroll.t WHERE p = 4"));
    for (const SQLSMALLINT orientation : {SQL_FETCH_FIRST, SQL_FETCH_LAST, SQL_FETCH_PRIOR,
                                          SQL_FETCH_ABSOLUTE, SQL_FETCH_RELATIVE}) {
        EXPECT_STMT(SQL_ERROR, stmt, SQLFetchScroll(stmt, orientation, 1));
        expect_records(SQL_HANDLE_STMT, stmt, {"HY106 Fetch type out of range"});
    }
    EXPECT_STMT(SQL_ERROR, stmt, SQLFetchScroll(stmt, SQL_FETCH_NEXT, 5));
    expect_records(SQL_HANDLE_STMT, stmt, {"HY107 Row value out of range"});
    for (const SQLLEN offset : {-5, 0, 1}) {
        EXPECT_STMT(SQL_SUCCESS, stmt, SQLFetchScroll(stmt, SQL_FETCH_NEXT, offset));
    }
    EXPECT_EQ(row_text(stmt), "2");
}
