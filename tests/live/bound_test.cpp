// Bound columns: blocks of rows into arrays of the application, column-wise and row-wise, with
// offsets, status arrays and counters; nulls and cut cells in a block; binding at all times.
#include "tests/app_value.h"
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

// Reads a partition in blocks, each into the other half of the memory by the bind offset. A row is
// an integer, a text in 12 bytes and its length: together in a structure, or in three arrays.
static void read_blocks(SQLHSTMT stmt, bool row_wise, std::size_t rows, int size)
{
    SCOPED_TRACE(std::to_string(size) + " rows, blocks of " + std::to_string(rows));
    const std::size_t half = rows * 24, t = row_wise ? 4 : rows * 4, l = row_wise ? 16 : rows * 16;
    std::string block(2 * half, '\xAA');
    SQLULEN fetched = 77;
    SQLLEN offset = 0;
    std::vector<SQLUSMALLINT> status(rows + 1, 77), wanted_status(rows + 1, 77);
    SQLBindCol(stmt, 1, SQL_C_SLONG, &block[0], 0, nullptr);
    SQLBindCol(stmt, 2, SQL_C_CHAR, &block[t], 12, lengths_at(&block[l]));
    set_attribute(stmt, SQL_ATTR_ROW_BIND_TYPE, odbc_number(row_wise ? 24 : 0));
    set_attribute(stmt, SQL_ATTR_ROW_ARRAY_SIZE, odbc_number(rows));
    set_attribute(stmt, SQL_ATTR_ROWS_FETCHED_PTR, &fetched);
    set_attribute(stmt, SQL_ATTR_ROW_STATUS_PTR, status.data());
    set_attribute(stmt, SQL_ATTR_ROW_BIND_OFFSET_PTR, &offset);
    ASSERT_STMT(SQL_SUCCESS, stmt,
                exec(stmt, "SELECT n, t FROM t WHERE p = " + std::to_string(size)));
    for (int next = 0; next < size; offset = static_cast<SQLLEN>(half) - offset) {
        std::string wanted = block;
        const auto put = [&](std::size_t at, const std::string &value) {
            wanted.replace(at + static_cast<std::size_t>(offset), value.size(), value);
        };
        std::fill_n(wanted_status.begin(), rows, SQLUSMALLINT(SQL_ROW_NOROW));
        std::size_t row = 0;
        for (; row < rows && next < size; row++, next++) {
            const std::string text = "text " + std::to_string(next);
            const bool is_null = next % 3 == 2;
            put(row * (row_wise ? 24 : 4), image(next));
            put(t + row * (row_wise ? 24 : 12), is_null ? "" : text + '\0');
            put(l + row * (row_wise ? 24 : 8), image(is_null ? SQLLEN{-1} : SQLLEN(text.size())));
            wanted_status[row] = SQL_ROW_SUCCESS;
        }
        ASSERT_STMT(SQL_SUCCESS, stmt, SQLFetch(stmt));
        ASSERT_EQ(fetched, row);
        ASSERT_EQ(status, wanted_status);
        ASSERT_TRUE(block == wanted);
    }
    EXPECT_STMT(SQL_NO_DATA, stmt, SQLFetch(stmt));
    EXPECT_EQ(fetched, 0u);
    EXPECT_EQ(status[0], SQL_ROW_NOROW);
}

TEST_F(live_bound, blocks_of_every_size_in_both_layouts)
{
    make_rows("live_blocks");
    for (const std::size_t rows : {1u, 2u, 100u, 1000u})
        for (const int size : {7, 100, 250})
            for (const bool row_wise : {false, true})
                read_blocks(new_stmt(live.get()), row_wise, rows, size);
}

// ---- Rows that are not whole --------------------------------------------------------------------

// With one row the row's code comes back; a block is a success and its status array tells.
TEST_F(live_bound, cut_cells_and_lone_nulls_mark_their_rows)
{
    make_rows("live_marks");
    char text[3][4];
    std::vector<SQLUSMALLINT> status(3, 77);
    set_attribute(stmt, SQL_ATTR_ROW_STATUS_PTR, status.data());
    set_attribute(stmt, SQL_ATTR_ROW_ARRAY_SIZE, odbc_number(3));
    SQLBindCol(stmt, 1, SQL_C_CHAR, text, sizeof text[0], nullptr);
    ASSERT_STMT(SQL_SUCCESS, stmt, exec(stmt, "SELECT t FROM t WHERE p = 7"));
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLFetch(stmt));
    EXPECT_EQ(status, std::vector<SQLUSMALLINT>(3, SQL_ROW_SUCCESS_WITH_INFO));
    EXPECT_STREQ(text[1], "tex");
    set_attribute(stmt, SQL_ATTR_ROW_ARRAY_SIZE, odbc_number(1));
    for (const char *record :
         {"01004 String data, right truncation", "01004", "22002 Indicator variable required"}) {
        EXPECT_STMT(SQL_SUCCESS_WITH_INFO, stmt, SQLFetch(stmt));
        expect_records(SQL_HANDLE_STMT, stmt, {record});
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
    std::vector<SQLUSMALLINT> status(4, 77);
    SQLULEN fetched = 77;
    set_attribute(stmt, SQL_ATTR_ROW_ARRAY_SIZE, odbc_number(4));
    set_attribute(stmt, SQL_ATTR_ROW_STATUS_PTR, status.data());
    set_attribute(stmt, SQL_ATTR_ROWS_FETCHED_PTR, &fetched);
    SQLBindCol(stmt, 1, SQL_C_SSHORT, small, 0, nullptr);
    ASSERT_STMT(SQL_SUCCESS, stmt, exec(stmt, "SELECT v FROM u WHERE p = 1"));
    // The Driver Manager asks for no records after a success, so the status array alone tells.
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLFetch(stmt));
    EXPECT_EQ(std::pair(fetched, small[0]), std::pair(SQLULEN{1}, SQLSMALLINT{10}));
    EXPECT_EQ(status, (std::vector<SQLUSMALLINT>{SQL_ROW_SUCCESS, SQL_ROW_ERROR, SQL_ROW_ERROR,
                                                 SQL_ROW_ERROR}));
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLFetch(stmt));
    EXPECT_EQ((std::vector<SQLULEN>{fetched, SQLULEN(small[0]), SQLULEN(small[1])}),
              (std::vector<SQLULEN>{2, 12, 13}));
    EXPECT_EQ(status[2], SQL_ROW_NOROW);
}

// ---- Binding at all times -----------------------------------------------------------------------

TEST_F(live_bound, columns_are_bound_and_unbound_at_any_time_and_rows_go_forward)
{
    make_rows("live_bind");
    SQLINTEGER n = -1;
    SQLLEN t_length = 0;
    // Before execution. What was delivered is not there for reading again; what was not, is.
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLBindCol(stmt, 1, SQL_C_SLONG, &n, 0, nullptr));
    ASSERT_STMT(SQL_SUCCESS, stmt, exec(stmt, "SELECT n, t FROM t WHERE p = 7"));
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLFetch(stmt));
    EXPECT_EQ(n, 0);
    EXPECT_EQ(row_text(stmt), "<SQL_NO_DATA>|text 0");
    // Between fetches: an indicator alone for the other column.
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLBindCol(stmt, 2, SQL_C_CHAR, nullptr, 0, &t_length));
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLFetchScroll(stmt, SQL_FETCH_NEXT, 1));
    EXPECT_EQ(std::pair(n, t_length), std::pair(1, SQLLEN{6}));
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLFreeStmt(stmt, SQL_UNBIND));
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLFetch(stmt));
    EXPECT_EQ(row_text(stmt), "2|NULL");
    EXPECT_EQ(std::pair(n, t_length), std::pair(1, SQLLEN{6}));
    // A binding outlives the result.
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLBindCol(stmt, 1, SQL_C_DEFAULT, &n, 0, nullptr));
    SQLFreeStmt(stmt, SQL_CLOSE);
    ASSERT_STMT(SQL_SUCCESS, stmt, exec(stmt, "SELECT n FROM t WHERE p = 7 AND n > 5"));
    EXPECT_STMT(SQL_ERROR, stmt, SQLFetchScroll(stmt, SQL_FETCH_PRIOR, 1));
    expect_records(SQL_HANDLE_STMT, stmt, {"HY106 Fetch type out of range"});
    EXPECT_STMT(SQL_ERROR, stmt, SQLFetchScroll(stmt, SQL_FETCH_NEXT, 5));
    expect_records(SQL_HANDLE_STMT, stmt, {"HY107 Row value out of range"});
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLFetch(stmt));
    EXPECT_EQ(n, 6);
}
