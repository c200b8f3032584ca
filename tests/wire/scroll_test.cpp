// Cursors that scroll: where a fetch leads, over a server's pages and over a local result, what it
// asks the server for, and what bookmarks, limits and failures come to.
#include "tests/wire/wire_support.h"

constexpr int BEFORE = 0, BEHIND = 11;  // the results have ten rows

// What a fetch brings, and where it leaves the cursor.
struct rowset {
    std::string cells[12], first, record;
    SQLUSMALLINT status[12];
    SQLULEN rows, number;
    SQLRETURN code;
};

static rowset scroll(SQLHSTMT stmt, SQLULEN size, SQLSMALLINT mode, SQLLEN offset)
{
    rowset got = {};
    char cells[12][40] = {};
    set_attribute(stmt, SQL_ATTR_ROW_ARRAY_SIZE, size);
    set_attribute(stmt, SQL_ATTR_ROW_STATUS_PTR, got.status);
    set_attribute(stmt, SQL_ATTR_ROWS_FETCHED_PTR, &got.rows);
    SQLBindCol(stmt, 1, SQL_C_CHAR, cells, sizeof *cells, nullptr);
    got.code = SQLFetchScroll(stmt, mode, offset);
    const record_list records = stmt_records(stmt);
    got.record = records.empty() ? "" : records.front();
    std::copy(std::begin(cells), std::end(cells), got.cells);
    SQLGetStmtAttr(stmt, SQL_ATTR_ROW_NUMBER, &got.number, 0, nullptr);
    char data[40] = "";
    SQLGetData(stmt, 1, SQL_C_CHAR, data, sizeof data, nullptr);
    got.first = data;
    SQLFreeStmt(stmt, SQL_UNBIND);
    SQLSetStmtAttr(stmt, SQL_ATTR_ROW_STATUS_PTR, nullptr, 0);
    SQLSetStmtAttr(stmt, SQL_ATTR_ROWS_FETCHED_PTR, nullptr, 0);
    return got;
}

// Ten texts in pages of four, three and three rows. Their requests are counted.
static void answer_in_pages(scripted_node *node, int *requests)
{
    node_answer_rest(node, [requests](const node_request &request) -> std::vector<node_frame> {
        ++*requests;
        if (request.body.ends_with("\x02p3"))
            return {text_page({"8", "9", "10"})};
        if (request.body.ends_with("\x02p2"))
            return {text_page({"5", "6", "7"}, "p3")};
        return {text_page({"1", "2", "3", "4"}, "p2")};
    });
}

struct fetch_case {
    int from;  // row that the rowset before began at
    SQLULEN size_before, size;
    SQLSMALLINT mode;
    SQLLEN offset;
    std::size_t first, rows;  // none: at neither end of the result
    bool clipped = false;
};

// ODBC 3.8, SQLFetchScroll: the tables of "Positioning the Cursor".
static constexpr fetch_case fetch_cases[] = {
    {BEFORE, 3, 3, SQL_FETCH_NEXT, 0, 1, 3},
    {8, 3, 3, SQL_FETCH_NEXT, 0, 0, 0},
    {7, 3, 3, SQL_FETCH_NEXT, 0, 10, 1},
    {BEFORE, 3, 3, SQL_FETCH_PRIOR, 0, 0, 0},
    {3, 3, 3, SQL_FETCH_PRIOR, 0, 1, 3, true},
    {BEHIND, 3, 3, SQL_FETCH_PRIOR, 0, 8, 3},
    {BEHIND, 3, 12, SQL_FETCH_PRIOR, 0, 1, 10, true},
    {BEFORE, 3, 3, SQL_FETCH_RELATIVE, 2, 2, 3},
    {BEFORE, 3, 3, SQL_FETCH_RELATIVE, -1, 0, 0},
    {BEHIND, 3, 3, SQL_FETCH_RELATIVE, -2, 9, 2},
    {3, 3, 3, SQL_FETCH_RELATIVE, -4, 0, 0},
    {3, 3, 3, SQL_FETCH_RELATIVE, -3, 1, 3, true},
    {3, 3, 3, SQL_FETCH_RELATIVE, 7, 10, 1},
    {3, 3, 3, SQL_FETCH_RELATIVE, INT64_MAX, 0, 0},
    {3, 3, 3, SQL_FETCH_ABSOLUTE, -11, 0, 0},
    {3, 12, 12, SQL_FETCH_ABSOLUTE, -11, 1, 10, true},
    {3, 3, 3, SQL_FETCH_ABSOLUTE, 9, 9, 2},
    {3, 3, 3, SQL_FETCH_ABSOLUTE, 11, 0, 0},
    {3, 3, 3, SQL_FETCH_ABSOLUTE, INT64_MIN, 0, 0},
    {BEHIND, 3, 3, SQL_FETCH_FIRST, 0, 1, 3},
    {BEFORE, 3, 3, SQL_FETCH_LAST, 0, 8, 3},
    {BEFORE, 3, 12, SQL_FETCH_LAST, 0, 1, 10},
};

TEST(scrolling, positions)
{
    for (const bool local : {false, true}) {
        const wire_ptr wire = wire_logged_on({}, "Standard=Yes");
        int requests = 0;
        answer_in_pages(wire->node, &requests);
        set_attribute(wire->stmt, SQL_ATTR_MAX_ROWS, local ? 10 : 0);
        set_attribute(wire->stmt, SQL_ATTR_CURSOR_TYPE, SQL_CURSOR_STATIC);
        EXPECT_STMT(SQL_SUCCESS, wire->stmt,
                    local ? SQLGetTypeInfo(wire->stmt, SQL_ALL_TYPES) : exec(wire->stmt, "q"));
        std::string names[11];
        for (int row = 1; row <= 10; row++)
            names[row] = scroll(wire->stmt, 1, SQL_FETCH_NEXT, 0).cells[0];
        for (const fetch_case &c : fetch_cases) {
            SCOPED_TRACE(std::to_string(&c - fetch_cases) + (local ? " local" : " pages"));
            scroll(wire->stmt, c.size_before, SQL_FETCH_ABSOLUTE, c.from);
            const rowset got = scroll(wire->stmt, c.size, c.mode, c.offset);
            EXPECT_EQ(got.code, c.rows == 0 ? SQL_NO_DATA
                                            : (c.clipped ? SQL_SUCCESS_WITH_INFO : SQL_SUCCESS));
            EXPECT_EQ(got.record.substr(0, 5), c.clipped ? "01S06" : "");
            EXPECT_EQ(got.rows, c.rows);
            EXPECT_EQ(got.number, c.first);
            EXPECT_EQ(got.first, names[c.first]);
            for (std::size_t row = 0; row < c.size; ++row) {
                EXPECT_EQ(got.cells[row], row < c.rows ? names[c.first + row] : "");
                EXPECT_EQ(got.status[row], row < c.rows ? SQL_ROW_SUCCESS : SQL_ROW_NOROW);
            }
        }
        EXPECT_EQ(requests, local ? 0 : 3);
    }
}

// A page is asked for when a fetch leads there, and asked for again when it did not come.
TEST(scrolling, pages_come_as_they_are_needed)
{
    const wire_ptr wire = wire_of(true);
    set_attribute(wire->stmt, SQL_ATTR_CURSOR_SCROLLABLE, SQL_SCROLLABLE);
    run_query(wire, "q", text_page({"1", "2", "3", "4"}, "p2"));
    EXPECT_EQ(scroll(wire->stmt, 1, SQL_FETCH_ABSOLUTE, 4).first, "4");
    EXPECT_EQ(scroll(wire->stmt, 4, SQL_FETCH_FIRST, 0).cells[3], "4");

    expect_next_query(wire->node, "q", "p2", {error_frame(0x1200, "late")});
    EXPECT_EQ(scroll(wire->stmt, 4, SQL_FETCH_ABSOLUTE, 3).code, SQL_ERROR);
    expect_next_query(wire->node, "q", "p2",
                      {rows_frame({{"other", type_of(NODE_INT)}}, {{be32(7)}})});
    EXPECT_EQ(scroll(wire->stmt, 4, SQL_FETCH_LAST, 0).code, SQL_ERROR);
    EXPECT_EQ(scroll(wire->stmt, 2, SQL_FETCH_RELATIVE, 1).first, "2");
    // A cell that lies about its length fails in its row; nothing behind it is asked for.
    node_frame broken = text_page({"5", "6"}, "p3");
    broken.body[broken.body.size() - 2] = '\x60';
    expect_next_query(wire->node, "q", "p2", {broken});
    const rowset last = scroll(wire->stmt, 3, SQL_FETCH_LAST, 0);
    EXPECT_EQ(last.code, SQL_SUCCESS_WITH_INFO);
    EXPECT_TRUE(last.cells[1] == "5" && last.first == "4" && last.status[2] == SQL_ROW_ERROR);
    EXPECT_EQ(scroll(wire->stmt, 2, SQL_FETCH_PRIOR, 0).cells[1], "3");

    // Closed in the middle, the result is gone, and the next one begins anew.
    EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLCloseCursor(wire->stmt));
    EXPECT_STMT(SQL_NO_DATA, wire->stmt, SQLFetch(wire->stmt));
    run_query(wire, "q", text_page({"x"}));
    EXPECT_EQ(scroll(wire->stmt, 1, SQL_FETCH_LAST, 0).first, "x");
    run_query(wire, "write", void_frame());
    EXPECT_STMT(SQL_NO_DATA, wire->stmt, SQLFetch(wire->stmt));
}

TEST(scrolling, bookmarks)
{
    const wire_ptr wire = wire_logged_on({}, "Standard=Yes");
    const SQLHSTMT stmt = wire->stmt;
    int requests = 0;
    answer_in_pages(wire->node, &requests);
    set_attribute(stmt, SQL_ATTR_CURSOR_TYPE, SQL_CURSOR_STATIC);
    EXPECT_STMT(SQL_SUCCESS, stmt, exec(stmt, "q"));
    SQLULEN bookmark = 6, bound[4] = {}, rows = 0;
    EXPECT_STMT(SQL_ERROR, stmt, SQLFetchScroll(stmt, SQL_FETCH_BOOKMARK, 0));
    set_attribute(stmt, SQL_ATTR_FETCH_BOOKMARK_PTR, &bookmark);
    set_attribute(stmt, SQL_ATTR_ROW_ARRAY_SIZE, 4);
    for (const SQLSMALLINT type : {SQL_C_BOOKMARK, SQL_C_VARBOOKMARK}) {
        const bool fixed = type == SQL_C_BOOKMARK;
        set_attribute(stmt, SQL_ATTR_USE_BOOKMARKS, fixed ? SQL_UB_FIXED : SQL_UB_VARIABLE);
        SQLLEN lengths[4] = {}, length = 0;
        SQLULEN read = 0;
        SQLBindCol(stmt, 0, type, bound, sizeof *bound, lengths);
        EXPECT_STMT(SQL_SUCCESS, stmt, SQLFetchScroll(stmt, SQL_FETCH_BOOKMARK, 3));
        EXPECT_TRUE(bound[0] == 9 && bound[1] == 10 && bound[2] == 0 && lengths[1] == 8);
        bound[0] = bound[1] = 0;
        EXPECT_STMT(SQL_SUCCESS, stmt, SQLGetData(stmt, 0, type, &read, sizeof read, &length));
        EXPECT_TRUE(read == 9 && length == 8);
        EXPECT_STMT(SQL_SUCCESS, stmt, SQLGetStmtOption(stmt, SQL_GET_BOOKMARK, &read));
        EXPECT_EQ(read, 9u);
        EXPECT_STMT(SQL_NO_DATA, stmt, SQLFetchScroll(stmt, SQL_FETCH_BOOKMARK, -9));
        SQLColAttribute(stmt, 0, SQL_DESC_OCTET_LENGTH, nullptr, 0, nullptr, &length);
        EXPECT_EQ(length, 8);
        SQLBindCol(stmt, 0, type, nullptr, 0, nullptr);
    }
    // The old call has the bookmark in its offset, and a rowset of its own.
    SQLUSMALLINT status[2] = {};
    set_attribute(stmt, SQL_ROWSET_SIZE, 2);
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLExtendedFetch(stmt, SQL_FETCH_BOOKMARK, 10, &rows, status));
    EXPECT_TRUE(rows == 1 && status[1] == SQL_ROW_NOROW && cell_text(stmt, 1) == "10");
    for (const SQLULEN wrong : {SQLULEN{0}, SQLULEN{11}, ~SQLULEN{0}}) {
        bookmark = wrong;
        EXPECT_STMT(SQL_ERROR, stmt, SQLFetchScroll(stmt, SQL_FETCH_BOOKMARK, 0));
        EXPECT_EQ(states_of(stmt), "HY111");
    }
}

TEST(scrolling, memory_is_limited)
{
    const wire_ptr wire = wire_of(true, "CursorMemory=1");
    const bytes large(700'000, 'x');
    set_attribute(wire->stmt, SQL_ATTR_CURSOR_TYPE, SQL_CURSOR_STATIC);
    run_query(wire, "q", text_page({large}, "p2"));
    for (int attempt = 0; attempt < 2; ++attempt) {
        expect_next_query(wire->node, "q", "p2", {text_page({large})});
        const rowset got = scroll(wire->stmt, 1, SQL_FETCH_LAST, 0);
        EXPECT_EQ(got.code, SQL_ERROR);
        EXPECT_NE(got.record.find("CursorMemory"), std::string::npos);
    }
    EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLFetch(wire->stmt));
}

// Pages are asked for as long as rows are wanted, with one row more than those; by default limits
// are kept only.
TEST(scrolling, limits_of_rows_and_length)
{
    const node_columns columns = {{"t", type_of(NODE_VARCHAR)},
                                  {"b", type_of(NODE_BLOB)},
                                  {"l", type_list(type_of(NODE_VARCHAR))},
                                  {"n", type_of(NODE_BIGINT)}};
    const node_row row = {"a\xC5\xBC\xC5\xBC", "\x01\x02\x03\x04\x05",
                          be32(1) + wire_bytes(bytes("abc")), be64(12345)};
    const std::string whole = "a\xC5\xBC\xC5\xBC|0102030405|0000000100000003616263|12345",
                      cut = "a\xC5\xBC|01020304|['ab|12345";
    for (const bool standard : {false, true})
        for (const SQLULEN type : {SQL_CURSOR_FORWARD_ONLY, SQL_CURSOR_STATIC}) {
            const wire_ptr wire = wire_logged_on({}, standard ? "PageSize=2;Standard=Yes" : "");
            SQLSetStmtAttr(wire->stmt, SQL_ATTR_CURSOR_TYPE, odbc_number(type), 0);
            set_attribute(wire->stmt, SQL_ATTR_MAX_ROWS, 3);
            set_attribute(wire->stmt, SQL_ATTR_MAX_LENGTH, 4);
            const bytes head = wire_long_string("q") + be16(CONSISTENCY_ONE),
                        state = wire_bytes("p2");
            node_expect(wire->node, {NODE_QUERY,
                                     head + be8(4) + be32(standard ? 2 : 100),
                                     {rows_frame(columns, {row, row}, {.paging_state = "p2"})}});
            node_expect(wire->node, {NODE_QUERY,
                                     head + be8(12) + be32(standard ? 1 : 100) + state,
                                     {rows_frame(columns, {row, row})}});
            EXPECT_STMT(SQL_SUCCESS, wire->stmt, exec(wire->stmt, "q"));
            EXPECT_EQ(fetch_all(wire->stmt), standard ? row_list(3, cut) : row_list(4, whole));
        }
}

// What each attribute takes, and the type and the scrollability of the cursor behind it.
TEST(scrolling, attributes_are_honest)
{
    constexpr SQLINTEGER TYPE = SQL_ATTR_CURSOR_TYPE, SCROLL = SQL_ATTR_CURSOR_SCROLLABLE,
                         SENSE = SQL_ATTR_CURSOR_SENSITIVITY, LOCKS = SQL_ATTR_CONCURRENCY;
    static constexpr struct {
        SQLINTEGER attribute;
        SQLULEN value;
        const char *state;
        SQLULEN type;
    } cases[] = {
        {TYPE, SQL_CURSOR_STATIC, "", 3},
        {LOCKS, SQL_CONCUR_LOCK, "01S02", 3},
        {SCROLL, SQL_NONSCROLLABLE, "", 0},
        {TYPE, SQL_CURSOR_KEYSET_DRIVEN, "01S02", 3},
        {TYPE, 17, "HY024", 3},
        {TYPE, SQL_CURSOR_FORWARD_ONLY, "", 0},
        {SENSE, SQL_SENSITIVE, "01S02", 3},
        {TYPE, SQL_CURSOR_FORWARD_ONLY, "", 0},
        {SCROLL, SQL_SCROLLABLE, "", 3},
        {SQL_ATTR_USE_BOOKMARKS, 3, "HY024", 3},
    };
    const wire_ptr wire = wire_of(true);
    for (const auto &c : cases) {
        SCOPED_TRACE(&c - cases);
        SQLSetStmtAttr(wire->stmt, c.attribute, odbc_number(c.value), 0);
        EXPECT_EQ(states_of(wire->stmt), c.state);
        const std::pair<SQLINTEGER, SQLULEN> told[] = {{TYPE, c.type},
                                                       {SCROLL, c.type == 3},
                                                       {SENSE, c.type == 3},
                                                       {LOCKS, SQL_CONCUR_READ_ONLY}};
        for (const auto &[attribute, wanted] : told) {
            SQLULEN value = 99;
            SQLGetStmtAttr(wire->stmt, attribute, &value, 0, nullptr);
            EXPECT_EQ(value, wanted) << attribute;
        }
    }
    // The connection's is that of its statements from then on.
    EXPECT_EQ(SQLSetConnectAttr(wire->conn, TYPE, odbc_number(SQL_CURSOR_DYNAMIC), 0),
              SQL_SUCCESS_WITH_INFO);
    EXPECT_EQ(conn_records(wire->conn).at(0).substr(0, 5), "01S02");
    SQLULEN type = 0;
    SQLGetStmtAttr(wire_new_stmt(wire), TYPE, &type, 0, nullptr);
    EXPECT_EQ(type, SQLULEN{SQL_CURSOR_STATIC});
}
