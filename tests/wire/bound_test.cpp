// Bound columns: blocks of rows into arrays of the application, column-wise and row-wise, with
// offsets, status arrays and counters; rows that are not whole.
#include "tests/app_value.h"
#include "tests/wire/wire_support.h"

// Executes a query for rows n = 0 .. size-1 in pages of 100; the text is missing where n % 3 is 2.
static void run_rows(const wire_ptr &wire, int size)
{
    for (int first = 0; first < size; first += 100) {
        std::vector<node_row> rows;
        for (int n = first; n < std::min(first + 100, size); n++)
            rows.push_back({be32(static_cast<unsigned>(n)),
                            n % 3 == 2 ? node_cell() : "text " + std::to_string(n)});
        const node_frame page = rows_frame({{"n", type_of(NODE_INT)}, {"t", type_of(NODE_VARCHAR)}},
                                           rows, {.paging_state = first + 100 < size ? "p" : ""});
        if (first == 0)
            expect_query(wire->node, "q", {page});
        else
            expect_next_query(wire->node, "q", "p", {page});
    }
    EXPECT_STMT(SQL_SUCCESS, wire->stmt, exec(wire->stmt, "q"));
}

// Reads rows in blocks, each into the other half of the memory by the bind offset. A row is an
// integer, a text in 12 bytes and its length: together in a structure, or in three arrays.
static void read_blocks(bool row_wise, std::size_t rows, int size)
{
    SCOPED_TRACE(std::to_string(size) + " rows, blocks of " + std::to_string(rows));
    const wire_ptr wire = wire_logged_on();
    const std::size_t half = rows * 24, t = row_wise ? 4 : rows * 4, l = row_wise ? 16 : rows * 16;
    std::string block(2 * half, '\xAA');
    SQLULEN fetched = 77;
    SQLLEN offset = 0;
    std::vector<SQLUSMALLINT> status(rows + 1, 77), wanted_status(rows + 1, 77);
    SQLBindCol(wire->stmt, 1, SQL_C_SLONG, &block[0], 0, nullptr);
    SQLBindCol(wire->stmt, 2, SQL_C_CHAR, &block[t], 12, lengths_at(&block[l]));
    set_attribute(wire->stmt, SQL_ATTR_ROW_BIND_TYPE, row_wise ? 24 : 0);
    set_attribute(wire->stmt, SQL_ATTR_ROW_ARRAY_SIZE, rows);
    set_attribute(wire->stmt, SQL_ATTR_ROWS_FETCHED_PTR, &fetched);
    set_attribute(wire->stmt, SQL_ATTR_ROW_STATUS_PTR, status.data());
    set_attribute(wire->stmt, SQL_ATTR_ROW_BIND_OFFSET_PTR, &offset);
    run_rows(wire, size);
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
        ASSERT_STMT(SQL_SUCCESS, wire->stmt, SQLFetch(wire->stmt));
        ASSERT_EQ(fetched, row);
        ASSERT_EQ(status, wanted_status);
        ASSERT_TRUE(block == wanted);
    }
    EXPECT_STMT(SQL_NO_DATA, wire->stmt, SQLFetch(wire->stmt));
    EXPECT_EQ(fetched, 0u);
    EXPECT_EQ(status[0], SQL_ROW_NOROW);
}

TEST(bound, blocks_of_every_size_in_both_layouts)
{
    for (const auto &[rows, size] : {std::pair(1u, 7), {2u, 101}, {100u, 250}, {1000u, 250}})
        for (const bool row_wise : {false, true})
            read_blocks(row_wise, rows, size);
}

// With one row the row's code comes back; a block is a success and its status array tells.
TEST(bound, cut_cells_and_lone_nulls_mark_their_rows)
{
    using list = std::vector<SQLUSMALLINT>;
    const wire_ptr wire = wire_logged_on();
    char text[3][4];
    list status(3, 77);
    set_attribute(wire->stmt, SQL_ATTR_ROW_STATUS_PTR, status.data());
    set_attribute(wire->stmt, SQL_ATTR_ROW_ARRAY_SIZE, 3);
    SQLBindCol(wire->stmt, 2, SQL_C_CHAR, text, sizeof text[0], nullptr);
    run_rows(wire, 6);
    EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLFetch(wire->stmt));
    EXPECT_EQ(status, list(3, SQL_ROW_SUCCESS_WITH_INFO));
    EXPECT_STREQ(text[1], "tex");
    set_attribute(wire->stmt, SQL_ATTR_ROW_ARRAY_SIZE, 1);
    for (const char *state : {"01004", "01004", "22002"}) {
        EXPECT_STMT(SQL_SUCCESS_WITH_INFO, wire->stmt, SQLFetch(wire->stmt));
        EXPECT_EQ(states_of(wire->stmt), state);
    }
    // Rows go forward.
    EXPECT_STMT(SQL_ERROR, wire->stmt, SQLFetchScroll(wire->stmt, SQL_FETCH_PRIOR, 1));
    EXPECT_EQ(states_of(wire->stmt), "HY106");
}
