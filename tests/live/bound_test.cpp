// Bound columns: blocks of rows into arrays of the application, column-wise and row-wise, with
// offsets, status arrays and counters; nulls and cut cells in a block; binding at all times.
#include <cstring>

#include "tests/live/live_support.h"

struct live_bound : live_test {
    // Rows n = 0 .. size-1 in the partition `size`; the text is missing where n % 3 is 2.
    void make_rows(const std::string &keyspace)
    {
        use_keyspace(keyspace);
        run(stmt, "CREATE TABLE t (p int, n int, t text, PRIMARY KEY (p, n))");
        for (const int size : {7, 100, 250}) {
            const std::string p = std::to_string(size);
            change_rows(stmt, "INSERT INTO t (p, n, t) VALUES (" + p + ", {n}, 'text {n}')", 0,
                        size);
            change_rows(stmt, "DELETE t FROM t WHERE p = " + p + " AND n = {n}", 2, size, 3);
        }
    }
};

// ---- Layouts ------------------------------------------------------------------------------------

static constexpr std::size_t text_room = 12;

// Where the cells of the first row lie in a block of memory: n as an integer, t as a text, and
// their indicators. With a row size of 0 each is an array of its own.
struct layout {
    std::size_t row_size, n, n_length, t, t_length;
};

// Reads a partition in blocks, each into the other half of the memory by the bind offset, and
// knows every byte of that memory at every time.
static void read_blocks(SQLHSTMT stmt, const layout &l, std::size_t rows, int size)
{
    const std::size_t half = rows * (l.row_size != 0 ? l.row_size : 4 + 8 + text_room + 8);
    std::string block(2 * half, '\xAA'), wanted = block;
    std::vector<SQLUSMALLINT> status(rows + 1, 77), wanted_status = status;
    SQLULEN fetched = 77;
    SQLLEN offset = 0;
    const auto at = [&](std::size_t first) { return block.data() + first; };
    SQLBindCol(stmt, 1, SQL_C_SLONG, at(l.n), 0, reinterpret_cast<SQLLEN *>(at(l.n_length)));
    SQLBindCol(stmt, 2, SQL_C_CHAR, at(l.t), text_room, reinterpret_cast<SQLLEN *>(at(l.t_length)));
    set_attribute(stmt, SQL_ATTR_ROW_BIND_TYPE, odbc_number(l.row_size));
    set_attribute(stmt, SQL_ATTR_ROW_ARRAY_SIZE, odbc_number(rows));
    set_attribute(stmt, SQL_ATTR_ROWS_FETCHED_PTR, &fetched);
    set_attribute(stmt, SQL_ATTR_ROW_STATUS_PTR, status.data());
    set_attribute(stmt, SQL_ATTR_ROW_BIND_OFFSET_PTR, &offset);
    ASSERT_STMT(SQL_SUCCESS, stmt,
                exec(stmt, "SELECT n, t FROM t WHERE p = " + std::to_string(size)));
    for (int next = 0; next < size; offset = static_cast<SQLLEN>(half) - offset) {
        SCOPED_TRACE("from row " + std::to_string(next));
        std::fill_n(wanted_status.begin(), rows, SQLUSMALLINT(SQL_ROW_NOROW));
        std::size_t row = 0;
        const auto put = [&](std::size_t first, std::size_t width, const void *value,
                             std::size_t length) {
            first += row * (l.row_size != 0 ? l.row_size : width);
            std::memcpy(wanted.data() + offset + first, value, length);
        };
        for (; row < rows && next < size; row++, next++) {
            const std::string text = "text " + std::to_string(next);
            const bool is_null = next % 3 == 2;
            const SQLLEN n_length = 4;
            const SQLLEN t_length = is_null ? SQL_NULL_DATA : static_cast<SQLLEN>(text.size());
            put(l.n, 4, &next, 4);
            put(l.n_length, 8, &n_length, 8);
            put(l.t, text_room, text.c_str(), is_null ? 0 : text.size() + 1);
            put(l.t_length, 8, &t_length, 8);
            wanted_status[row] = SQL_ROW_SUCCESS;
        }
        ASSERT_STMT(SQL_SUCCESS, stmt, SQLFetch(stmt));
        ASSERT_EQ(fetched, row);
        ASSERT_EQ(status, wanted_status);
        ASSERT_TRUE(block == wanted);
    }
    std::fill_n(wanted_status.begin(), rows, SQLUSMALLINT(SQL_ROW_NOROW));
    EXPECT_STMT(SQL_NO_DATA, stmt, SQLFetch(stmt));
    EXPECT_EQ(fetched, 0u);
    EXPECT_EQ(status, wanted_status);
}

TEST_F(live_bound, blocks_of_every_size_in_both_layouts)
{
    make_rows("live_blocks");
    for (const std::size_t rows : {1u, 2u, 100u, 1000u}) {
        const layout column_wise = {0, 0, rows * 4, rows * 12, rows * (12 + text_room)};
        const layout row_wise = {37, 1, 5, 13, 27};  // of an odd size, nothing in its natural place
        for (const layout &l : {column_wise, row_wise}) {
            for (const int size : {7, 100, 250}) {
                SCOPED_TRACE(std::to_string(size) + " rows of size " + std::to_string(l.row_size) +
                             " in blocks of " + std::to_string(rows));
                read_blocks(new_stmt(live.get()), l, rows, size);
            }
        }
    }
}

// ---- Rows that are not whole --------------------------------------------------------------------

// With one row the row's code comes back; a block is a success and its status array tells.
TEST_F(live_bound, cut_cells_and_lone_nulls_mark_their_rows)
{
    make_rows("live_marks");
    char text[3][4];
    SQLLEN lengths[3] = {};
    for (const bool indicator : {true, false}) {
        // The last text is null, which needs an indicator.
        const SQLUSMALLINT last = indicator ? SQL_ROW_SUCCESS : SQL_ROW_SUCCESS_WITH_INFO;
        std::vector<SQLUSMALLINT> status(3, 77);
        set_attribute(stmt, SQL_ATTR_ROW_STATUS_PTR, status.data());
        set_attribute(stmt, SQL_ATTR_ROW_ARRAY_SIZE, odbc_number(3));
        SQLBindCol(stmt, 1, SQL_C_CHAR, text, sizeof text[0], indicator ? lengths : nullptr);
        ASSERT_STMT(SQL_SUCCESS, stmt, exec(stmt, "SELECT t FROM t WHERE p = 7"));
        EXPECT_STMT(SQL_SUCCESS, stmt, SQLFetch(stmt));
        EXPECT_EQ(status, (std::vector<SQLUSMALLINT>{6, 6, last}));
        EXPECT_STREQ(text[1], "tex");
        EXPECT_EQ(lengths[1], 6);
        set_attribute(stmt, SQL_ATTR_ROW_ARRAY_SIZE, odbc_number(1));
        for (const char *record : {"01004 String data, right truncation", "01004",
                                   indicator ? "" : "22002 Indicator variable required"}) {
            EXPECT_STMT(*record ? SQL_SUCCESS_WITH_INFO : SQL_SUCCESS, stmt, SQLFetch(stmt));
            expect_records(SQL_HANDLE_STMT, stmt, *record ? record_list{record} : record_list{});
            EXPECT_EQ(status[0], *record ? SQL_ROW_SUCCESS_WITH_INFO : SQL_ROW_SUCCESS);
        }
        SQLFreeStmt(stmt, SQL_CLOSE);
    }
}

// A cell that cannot be converted ends the block: the rows before it stand, those behind it come
// with the next fetch.
TEST_F(live_bound, failed_row_ends_the_block)
{
    use_keyspace("live_failed");
    run(stmt, "CREATE TABLE u (p int, n int, v bigint, PRIMARY KEY (p, n))");
    change_rows(stmt, "INSERT INTO u (p, n, v) VALUES (1, {n}, 1{n})", 0, 4);
    run(stmt, "INSERT INTO u (p, n, v) VALUES (1, 1, 70000)");
    SQLSMALLINT small[4] = {-5, -5, -5, -5};
    SQLLEN lengths[4] = {};
    std::vector<SQLUSMALLINT> status(4, 77);
    SQLULEN fetched = 77;
    set_attribute(stmt, SQL_ATTR_ROW_ARRAY_SIZE, odbc_number(4));
    set_attribute(stmt, SQL_ATTR_ROW_STATUS_PTR, status.data());
    set_attribute(stmt, SQL_ATTR_ROWS_FETCHED_PTR, &fetched);
    SQLBindCol(stmt, 1, SQL_C_SSHORT, small, 0, lengths);
    ASSERT_STMT(SQL_SUCCESS, stmt, exec(stmt, "SELECT v FROM u WHERE p = 1"));
    // The Driver Manager asks for no records after a success, so the status array alone tells.
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLFetch(stmt));
    EXPECT_EQ(fetched, 1u);
    EXPECT_EQ(small[0], 10);
    EXPECT_EQ(status[0], SQL_ROW_SUCCESS);
    EXPECT_EQ(std::vector(status.begin() + 1, status.end()),
              std::vector<SQLUSMALLINT>(3, SQL_ROW_ERROR));
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLFetch(stmt));
    EXPECT_EQ(fetched, 2u);
    EXPECT_EQ(std::pair(small[0], small[1]), std::pair(SQLSMALLINT(12), SQLSMALLINT(13)));
    EXPECT_EQ(status[2], SQL_ROW_NOROW);
}

// ---- Binding at all times -----------------------------------------------------------------------

TEST_F(live_bound, columns_are_bound_rebound_and_unbound_at_any_time)
{
    make_rows("live_bind");
    SQLINTEGER n = -1;
    SQLBIGINT big = -1;
    SQLLEN n_length = 0, t_length = 0;
    // Before execution. What was delivered is not there for reading again; what was not, is.
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLBindCol(stmt, 1, SQL_C_SLONG, &n, 0, &n_length));
    ASSERT_STMT(SQL_SUCCESS, stmt, exec(stmt, "SELECT n, t FROM t WHERE p = 7"));
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLFetch(stmt));
    EXPECT_EQ(n, 0);
    EXPECT_EQ(row_text(stmt), "<SQL_NO_DATA>|text 0");

    // Between fetches: another type for one column, an indicator alone for the other.
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLBindCol(stmt, 1, SQL_C_SBIGINT, &big, 0, &n_length));
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLBindCol(stmt, 2, SQL_C_CHAR, nullptr, 0, &t_length));
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLFetch(stmt));
    EXPECT_EQ((std::vector<SQLLEN>{n, big, n_length, t_length}), (std::vector<SQLLEN>{0, 1, 8, 6}));

    // Unbound one by one, then all.
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLBindCol(stmt, 1, SQL_C_SBIGINT, nullptr, 0, nullptr));
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLFetch(stmt));
    EXPECT_EQ((std::vector<SQLLEN>{big, t_length}), (std::vector<SQLLEN>{1, SQL_NULL_DATA}));
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLFreeStmt(stmt, SQL_UNBIND));
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLFetch(stmt));
    EXPECT_EQ(t_length, SQL_NULL_DATA);
    EXPECT_EQ(row_text(stmt), "3|text 3");

    // A binding outlives the result.
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLBindCol(stmt, 1, SQL_C_DEFAULT, &n, 0, &n_length));
    SQLFreeStmt(stmt, SQL_CLOSE);
    ASSERT_STMT(SQL_SUCCESS, stmt, exec(stmt, "SELECT n FROM t WHERE p = 7 AND n > 5"));
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLFetch(stmt));
    EXPECT_EQ(n, 6);
}

TEST_F(live_bound, only_the_next_rows_can_be_fetched)
{
    set_attribute(stmt, SQL_ATTR_CURSOR_TYPE, odbc_number(SQL_CURSOR_STATIC));
    ASSERT_STMT(SQL_SUCCESS, stmt, exec(stmt, "SELECT key FROM system.local"));
    for (const SQLSMALLINT orientation : {SQL_FETCH_FIRST, SQL_FETCH_PRIOR, SQL_FETCH_ABSOLUTE}) {
        EXPECT_STMT(SQL_ERROR, stmt, SQLFetchScroll(stmt, orientation, 1));
        expect_records(SQL_HANDLE_STMT, stmt, {"HY106 Fetch type out of range"});
    }
    EXPECT_STMT(SQL_ERROR, stmt, SQLFetchScroll(stmt, SQL_FETCH_NEXT, 5));
    expect_records(SQL_HANDLE_STMT, stmt, {"HY107 Row value out of range"});
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLFetchScroll(stmt, SQL_FETCH_NEXT, 1));
    EXPECT_EQ(row_text(stmt), "local");
}
