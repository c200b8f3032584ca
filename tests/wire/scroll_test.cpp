// Cursors that scroll: where a fetch leads, over a server's pages and over a local result, what it
// asks the server for, and what bookmarks, limits and failures come to.
#include "tests/wire/wire_support.h"

constexpr int BEFORE = 0, BEHIND = 11;  // the results have ten rows

static void set(SQLHSTMT stmt, SQLINTEGER attribute, SQLULEN value)
{
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLSetStmtAttr(stmt, attribute, odbc_number(value), 0));
}

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
    set(stmt, SQL_ATTR_ROW_ARRAY_SIZE, size);
    SQLSetStmtAttr(stmt, SQL_ATTR_ROW_STATUS_PTR, got.status, 0);
    SQLSetStmtAttr(stmt, SQL_ATTR_ROWS_FETCHED_PTR, &got.rows, 0);
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
    {1, 3, 5, SQL_FETCH_NEXT, 0, 4, 5},
    {BEHIND, 3, 3, SQL_FETCH_NEXT, 0, 0, 0},
    {BEFORE, 3, 3, SQL_FETCH_PRIOR, 0, 0, 0},
    {1, 3, 3, SQL_FETCH_PRIOR, 0, 0, 0},
    {3, 3, 3, SQL_FETCH_PRIOR, 0, 1, 3, true},
    {4, 3, 3, SQL_FETCH_PRIOR, 0, 1, 3},
    {6, 3, 2, SQL_FETCH_PRIOR, 0, 4, 2},
    {BEHIND, 3, 3, SQL_FETCH_PRIOR, 0, 8, 3},
    {BEHIND, 3, 12, SQL_FETCH_PRIOR, 0, 1, 10, true},
    {5, 1, 1, SQL_FETCH_PRIOR, 0, 4, 1},
    {BEFORE, 3, 3, SQL_FETCH_RELATIVE, 2, 2, 3},
    {BEFORE, 3, 3, SQL_FETCH_RELATIVE, -1, 0, 0},
    {BEHIND, 3, 3, SQL_FETCH_RELATIVE, -2, 9, 2},
    {BEHIND, 3, 3, SQL_FETCH_RELATIVE, 0, 0, 0},
    {1, 3, 3, SQL_FETCH_RELATIVE, -1, 0, 0},
    {3, 3, 3, SQL_FETCH_RELATIVE, -4, 0, 0},
    {3, 3, 3, SQL_FETCH_RELATIVE, -3, 1, 3, true},
    {3, 3, 3, SQL_FETCH_RELATIVE, 0, 3, 3},
    {3, 3, 3, SQL_FETCH_RELATIVE, 7, 10, 1},
    {3, 3, 3, SQL_FETCH_RELATIVE, 8, 0, 0},
    {3, 3, 3, SQL_FETCH_RELATIVE, INT64_MAX, 0, 0},
    {3, 3, 3, SQL_FETCH_ABSOLUTE, -10, 1, 3},
    {3, 3, 3, SQL_FETCH_ABSOLUTE, -11, 0, 0},
    {3, 12, 12, SQL_FETCH_ABSOLUTE, -11, 1, 10, true},
    {3, 3, 3, SQL_FETCH_ABSOLUTE, 0, 0, 0},
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
        set(wire->stmt, SQL_ATTR_MAX_ROWS, local ? 10 : 0);
        set(wire->stmt, SQL_ATTR_CURSOR_TYPE, SQL_CURSOR_STATIC);
        EXPECT_STMT(SQL_SUCCESS, wire->stmt,
                    local ? SQLGetTypeInfo(wire->stmt, SQL_ALL_TYPES) : exec(wire->stmt, "q"));
        std::vector<std::string> names = {""};
        for (rowset row = scroll(wire->stmt, 1, SQL_FETCH_NEXT, 0); row.code == SQL_SUCCESS;
             row = scroll(wire->stmt, 1, SQL_FETCH_NEXT, 0))
            names.push_back(row.cells[0]);
        ASSERT_EQ(names.size(), 11u);
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
    const wire_ptr wire = wire_logged_on({}, "PageSize=100;Standard=Yes");
    set(wire->stmt, SQL_ATTR_CURSOR_SCROLLABLE, SQL_SCROLLABLE);
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
    int requests = 0;
    answer_in_pages(wire->node, &requests);
    set(wire->stmt, SQL_ATTR_CURSOR_TYPE, SQL_CURSOR_STATIC);
    EXPECT_STMT(SQL_SUCCESS, wire->stmt, exec(wire->stmt, "q"));
    SQLULEN bookmark = 6, bound[4] = {}, rows = 0;
    EXPECT_STMT(SQL_ERROR, wire->stmt, SQLFetchScroll(wire->stmt, SQL_FETCH_BOOKMARK, 0));
    SQLSetStmtAttr(wire->stmt, SQL_ATTR_FETCH_BOOKMARK_PTR, &bookmark, 0);
    for (const SQLSMALLINT type : {SQL_C_BOOKMARK, SQL_C_VARBOOKMARK}) {
        set(wire->stmt, SQL_ATTR_USE_BOOKMARKS,
            type == SQL_C_BOOKMARK ? SQL_UB_FIXED : SQL_UB_VARIABLE);
        set(wire->stmt, SQL_ATTR_ROW_ARRAY_SIZE, 4);
        SQLLEN lengths[4] = {};
        EXPECT_STMT(SQL_SUCCESS, wire->stmt,
                    SQLBindCol(wire->stmt, 0, type, bound, sizeof *bound, lengths));
        EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLFetchScroll(wire->stmt, SQL_FETCH_BOOKMARK, 3));
        EXPECT_TRUE(bound[0] == 9 && bound[1] == 10 && bound[2] == 0 && lengths[1] == 8);
        bound[0] = bound[1] = 0;
        SQLULEN read = 0;
        SQLLEN length = 0;
        EXPECT_STMT(SQL_SUCCESS, wire->stmt,
                    SQLGetData(wire->stmt, 0, type, &read, sizeof read, &length));
        EXPECT_TRUE(read == 9 && length == 8);
        EXPECT_EQ(SQLGetStmtOption(wire->stmt, SQL_GET_BOOKMARK, &read), SQL_SUCCESS);
        EXPECT_EQ(read, 9u);
        EXPECT_STMT(SQL_NO_DATA, wire->stmt, SQLFetchScroll(wire->stmt, SQL_FETCH_BOOKMARK, -9));
        SQLColAttribute(wire->stmt, 0, SQL_DESC_OCTET_LENGTH, nullptr, 0, nullptr, &length);
        EXPECT_EQ(length, 8);
        SQLFreeStmt(wire->stmt, SQL_UNBIND);
        SQLBindCol(wire->stmt, 0, type, nullptr, 0, nullptr);
    }
    // The old call has the bookmark in its offset, and a rowset of its own.
    SQLUSMALLINT status[2] = {};
    set(wire->stmt, SQL_ROWSET_SIZE, 2);
    EXPECT_STMT(SQL_SUCCESS, wire->stmt,
                SQLExtendedFetch(wire->stmt, SQL_FETCH_BOOKMARK, 10, &rows, status));
    EXPECT_TRUE(rows == 1 && status[1] == SQL_ROW_NOROW && cell_text(wire->stmt, 1) == "10");
    for (const SQLULEN wrong : {SQLULEN{0}, SQLULEN{11}, ~SQLULEN{0}}) {
        bookmark = wrong;
        EXPECT_STMT(SQL_ERROR, wire->stmt, SQLFetchScroll(wire->stmt, SQL_FETCH_BOOKMARK, 0));
        EXPECT_TRUE(stmt_records(wire->stmt).at(0).starts_with("HY111"));
    }
}

TEST(scrolling, memory_is_limited)
{
    const wire_ptr wire = wire_logged_on({}, "PageSize=100;Standard=Yes;CursorMemory=1");
    const bytes large(700'000, 'x');
    set(wire->stmt, SQL_ATTR_CURSOR_TYPE, SQL_CURSOR_STATIC);
    run_query(wire, "q", text_page({large}, "p2"));
    for (int attempt = 0; attempt < 2; ++attempt) {
        expect_next_query(wire->node, "q", "p2", {text_page({large})});
        const rowset got = scroll(wire->stmt, 1, SQL_FETCH_LAST, 0);
        EXPECT_EQ(got.code, SQL_ERROR);
        EXPECT_NE(got.record.find("CursorMemory"), std::string::npos);
    }
    EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLFetch(wire->stmt));
}

TEST(scrolling, limits_of_rows)
{
    for (const SQLULEN type : {SQL_CURSOR_FORWARD_ONLY, SQL_CURSOR_STATIC}) {
        const wire_ptr wire = wire_logged_on({}, "PageSize=4;Standard=Yes");
        set(wire->stmt, SQL_ATTR_CURSOR_TYPE, type);
        set(wire->stmt, SQL_ATTR_MAX_ROWS, 6);
        const auto expect = [&](int page, const bytes &state, const node_frame &reply) {
            node_expect(wire->node, {NODE_QUERY,
                                     wire_long_string("q") + be16(CONSISTENCY_ONE) +
                                         be8(state.empty() ? 4 : 12) + be32(page) +
                                         (state.empty() ? "" : wire_bytes(state)),
                                     {reply}});
        };
        expect(4, "", text_page({"1", "2", "3", "4"}, "p2"));
        expect(2, "p2", text_page({"5", "6", "7"}, "p3"));  // one more than was asked for
        EXPECT_STMT(SQL_SUCCESS, wire->stmt, exec(wire->stmt, "q"));
        EXPECT_EQ(fetch_all(wire->stmt), (row_list{"1", "2", "3", "4", "5", "6"}));
    }
}

TEST(scrolling, limits_of_length)
{
    const wire_ptr wire = wire_logged_on({}, "PageSize=100;Standard=Yes");
    const node_columns columns = {{"t", type_of(NODE_VARCHAR)},
                                  {"b", type_of(NODE_BLOB)},
                                  {"l", type_list(type_of(NODE_VARCHAR))},
                                  {"n", type_of(NODE_BIGINT)}};
    const node_row row = {"a\xC5\xBC\xC5\xBC", "\x01\x02\x03\x04\x05",
                          be32(1) + wire_bytes(bytes("abc")), be64(12345)};
    const std::pair<SQLULEN, const char *> limits[] = {
        {4, "a\xC5\xBC|01020304|['ab|12345"}, {0, "a\xC5\xBC\xC5\xBC|0102030405|['abc']|12345"}};
    for (const auto &[limit, text] : limits) {
        set(wire->stmt, SQL_ATTR_MAX_LENGTH, limit);
        run_query(wire, "q", rows_frame(columns, {row}));
        EXPECT_EQ(fetch_all(wire->stmt), row_list{text});
    }
}

// What each attribute takes: an empty state is a success.
TEST(scrolling, attributes_are_honest)
{
    constexpr SQLINTEGER TYPE = SQL_ATTR_CURSOR_TYPE, SCROLL = SQL_ATTR_CURSOR_SCROLLABLE,
                         SENSE = SQL_ATTR_CURSOR_SENSITIVITY, LOCKS = SQL_ATTR_CONCURRENCY;
    // Type and scrollability behind it.
    static constexpr struct {
        SQLINTEGER attribute;
        SQLULEN value;
        const char *state;
        SQLULEN type;
    } cases[] = {
        {TYPE, SQL_CURSOR_STATIC, "", 3},
        {LOCKS, SQL_CONCUR_LOCK, "01S02", 3},
        {SENSE, SQL_UNSPECIFIED, "", 3},
        {SCROLL, SQL_NONSCROLLABLE, "", 0},
        {SENSE, SQL_UNSPECIFIED, "", 0},
        {LOCKS, SQL_CONCUR_VALUES, "01S02", 0},
        {SENSE, SQL_INSENSITIVE, "", 3},
        {TYPE, SQL_CURSOR_FORWARD_ONLY, "", 0},
        {TYPE, SQL_CURSOR_KEYSET_DRIVEN, "01S02", 3},
        {TYPE, SQL_CURSOR_FORWARD_ONLY, "", 0},
        {TYPE, SQL_CURSOR_DYNAMIC, "01S02", 3},
        {TYPE, 17, "HY024", 3},
        {TYPE, SQL_CURSOR_FORWARD_ONLY, "", 0},
        {SENSE, SQL_SENSITIVE, "01S02", 3},
        {TYPE, SQL_CURSOR_FORWARD_ONLY, "", 0},
        {SCROLL, SQL_SCROLLABLE, "", 3},
        {SQL_ATTR_ASYNC_ENABLE, SQL_ASYNC_ENABLE_ON, "HYC00", 3},
        {SQL_ATTR_ASYNC_ENABLE, SQL_ASYNC_ENABLE_OFF, "", 3},
        {SQL_ATTR_SIMULATE_CURSOR, SQL_SC_UNIQUE, "HYC00", 3},
        {SQL_ATTR_SIMULATE_CURSOR, SQL_SC_NON_UNIQUE, "", 3},
        {SQL_ATTR_RETRIEVE_DATA, SQL_RD_OFF, "HYC00", 3},
        {SQL_ATTR_USE_BOOKMARKS, 3, "HY024", 3},
        {4711, 1, "HY092", 3},
    };
    const wire_ptr wire = wire_logged_on({}, "Standard=Yes");
    for (const auto &c : cases) {
        SCOPED_TRACE(&c - cases);
        const bool good = *c.state == '\0' || c.state == std::string("01S02");
        const SQLRETURN code = SQLSetStmtAttr(wire->stmt, c.attribute, odbc_number(c.value), 0);
        EXPECT_EQ(SQL_SUCCEEDED(code), good);
        EXPECT_EQ(code == SQL_SUCCESS ? "" : stmt_records(wire->stmt).at(0).substr(0, 5), c.state);
        SQLULEN told[4] = {};
        for (const SQLINTEGER attribute : {TYPE, SCROLL, SENSE, LOCKS})
            SQLGetStmtAttr(wire->stmt, attribute,
                           &told[attribute == TYPE     ? 0
                                 : attribute == SCROLL ? 1
                                 : attribute == SENSE  ? 2
                                                       : 3],
                           0, nullptr);
        EXPECT_TRUE(told[0] == c.type && told[1] == (c.type == 3) && told[2] == (c.type == 3) &&
                    told[3] == SQL_CONCUR_READ_ONLY);
    }
    static constexpr std::tuple<SQLINTEGER, SQLULEN, const char *> of_connection[] = {
        {TYPE, SQL_CURSOR_DYNAMIC, "01S02"},
        {SQL_ATTR_ASYNC_ENABLE, SQL_ASYNC_ENABLE_ON, "HYC00"},
        {SQL_ATTR_TRANSLATE_OPTION, 1, "HYC00"},
        {SQL_ATTR_TRANSLATE_OPTION, 0, ""},
        {SQL_ATTR_ENLIST_IN_DTC, 1, "HYC00"},
        {SQL_ATTR_ENLIST_IN_DTC, SQL_DTC_DONE, ""},
        {4711, 1, "HY092"},
    };
    for (const auto &[attribute, value, state] : of_connection) {
        const SQLRETURN code = SQLSetConnectAttr(wire->conn, attribute, odbc_number(value), 0);
        EXPECT_EQ(code == SQL_SUCCESS ? "" : conn_records(wire->conn).at(0).substr(0, 5), state);
    }
    SQLULEN type = 0;
    SQLGetStmtAttr(wire_new_stmt(wire), TYPE, &type, 0, nullptr);
    EXPECT_EQ(type, SQLULEN{SQL_CURSOR_STATIC});
}
