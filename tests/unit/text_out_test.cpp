// Texts that calls hand out, ANSI and wide, into buffers of every size, by default and with
// Standard=Yes.
#include <functional>

#include "odbc/SQLDriverConnectWide.h"
#include "tests/unit/handles.h"

static std::string utf8_of(const std::u16string &text)
{
    return held_text(cass_string_to_utf8(string_of(text).get())).get();
}

// A length as calls store it, through either pointer.
struct told_length {
    SQLSMALLINT small = -1;
    SQLINTEGER large = -1;
};

// A call that writes a text for an application, and what it is to say of it.
struct text_call {
    const char *name;
    void *handle;
    std::u16string whole;  // written as UTF-8 by a call that is not wide
    bool wide;
    int counted;             // bytes of one in the buffer's size
    int length, probed;      // told with and without a buffer
    std::string cut, probe;  // outcomes of a cut and of a call without a buffer
    std::function<SQLRETURN(void *to, SQLSMALLINT size, told_length *told)> call;
};

// A buffer of any size gets the whole text or its start, with a terminator, and not a byte more.
static void expect_whole_or_cut(const text_call &c)
{
    const std::string whole =
        c.wide ? bytes_of(c.whole.data(), 2 * c.whole.size()) : utf8_of(c.whole);
    const int unit = c.wide ? 2 : 1, needed = static_cast<int>(whole.size()) + unit;
    told_length told;
    for (SQLSMALLINT size = -1; size * c.counted < needed + 4; size++) {
        SCOPED_TRACE(testing::Message() << c.name << " with room for " << size);
        const int room = std::min(size * c.counted / unit * unit, needed);
        guarded at;
        told = {};
        cass_diag_clear(static_cast<cass_handle *>(c.handle));
        EXPECT_EQ(outcome(c.call(at.data(), size, &told), c.handle), room < needed ? c.cut : "");
        EXPECT_EQ(at.written(),
                  room <= 0 ? "" : whole.substr(0, room - unit) + std::string(unit, '\0'));
        EXPECT_EQ(std::max<int>(told.small, told.large), c.length);
    }
    told = {};
    EXPECT_EQ(outcome(c.call(nullptr, 0, &told), c.handle), c.probe) << c.name;
    EXPECT_EQ(std::max<int>(told.small, told.large), c.probed) << c.name;
}

struct text_out : stmt_fixture {
    cass_conn *const told_of = cass_alloc_conn(env, 3);  // by diagnostics alone

    // The text in all places that calls hand it out from.
    void keep(const std::u16string &text)
    {
        cass_string_free(conn->settings.dsn);
        conn->settings.dsn = string_of(text).release();
        cass_string_free(stmt->cursor_name);
        stmt->cursor_name = string_of(text).release();
        stmt->executed = 1;
        cass_desc_describe(stmt->ird, 1);
        stmt->ird->fields[0].column_name = string_of(text).release();
        const owned_string state = own(cass_string_from_cstr("HY000")), copy = string_of(text);
        const cass_diag_record record = {0, state.get(), copy.get(), 0, -1, 0, nullptr};
        cass_diag_copy(&told_of->head, &record);
    }
    std::vector<text_call> calls(const std::u16string &text)
    {
        // Lengths in units, in bytes of either form.
        const int n = static_cast<int>(text.size()), wide = 2 * n;
        const int utf8 = static_cast<int>(utf8_of(text).size());
        const bool standard = conn->conduct == &standard_conduct;
        const std::string info = "1 01004", no_data = standard ? "" : "100 ",
                          success = standard ? info : "0 01004";
        const std::u16string native = standard ? u" now()" : u"{fn now()}",
                             catalog = standard ? u"" : u"CASSANDRA";
        const int sql_length = int(native.size()), catalog_length = int(catalog.size());
        cass_desc *const ird = stmt->ird;
        // clang-format off
#define CALL(...)                                                                                  \
    [=, this](void *to, SQLSMALLINT size, told_length *told) {                                     \
        [[maybe_unused]] auto *const a = static_cast<SQLCHAR *>(to);                               \
        [[maybe_unused]] auto *const w = static_cast<SQLWCHAR *>(to);                              \
        return __VA_ARGS__;                                                                        \
    }
#define NO4 nullptr, nullptr, nullptr, nullptr
        return {
            {"info", conn, text, false, 1, n, n, info, "", CALL(SQLGetInfo(conn, SQL_DATA_SOURCE_NAME, to, size, &told->small))},
            {"info W", conn, text, true, 1, wide, wide, info, "", CALL(SQLGetInfoW(conn, SQL_DATA_SOURCE_NAME, to, size, &told->small))},
            // A name without a buffer is an error by default.
            {"cursor", stmt, text, false, 1, n, n, info, standard ? "" : "!", CALL(SQLGetCursorName(stmt, a, size, &told->small))},
            {"cursor W", stmt, text, true, 2, n, n, info, standard ? "" : "!", CALL(SQLGetCursorNameW(stmt, w, size, &told->small))},
            {"column", stmt, text, false, 1, n, n, info, "", CALL(SQLDescribeCol(stmt, 1, a, size, &told->small, NO4))},
            {"column W", stmt, text, true, 2, n, n, info, "", CALL(SQLDescribeColW(stmt, 1, w, size, &told->small, NO4))},
            {"attribute", stmt, text, false, 1, n, n, info, "", CALL(SQLColAttribute(stmt, 1, SQL_DESC_NAME, to, size, &told->small, nullptr))},
            {"attribute W", stmt, text, true, 1, wide, wide, info, "", CALL(SQLColAttributesW(stmt, 1, SQL_COLUMN_NAME, to, size, &told->small, nullptr))},
            // A cut is a success for a descriptor then.
            {"field", ird, text, false, 1, n, n, success, "", CALL(SQLGetDescField(stmt->ird, 1, SQL_DESC_NAME, to, size, &told->large))},
            {"field W", ird, text, true, 1, wide, wide, success, "", CALL(SQLGetDescFieldW(stmt->ird, 1, SQL_DESC_NAME, to, size, &told->large))},
            {"record", ird, text, false, 1, n, n, success, "", CALL(SQLGetDescRec(stmt->ird, 1, a, size, &told->small, NO4, nullptr, nullptr))},
            {"record W", ird, text, true, 2, n, n, success, "", CALL(SQLGetDescRecW(stmt->ird, 1, w, size, &told->small, NO4, nullptr, nullptr))},
            // Tells bytes, but units to a probe without a buffer. Nothing is posted anywhere.
            {"diagnostic", env, text, false, 1, utf8, standard ? utf8 : n, "1 ", "", CALL(SQLGetDiagRec(0, told_of, 1, nullptr, nullptr, a, size, &told->small))},
            {"diagnostic W", env, text, true, 2, n, n, "1 ", "", CALL(SQLGetDiagRecW(0, told_of, 1, nullptr, nullptr, w, size, &told->small))},
            {"its field", env, text, false, 1, n, n, "1 ", no_data, CALL(SQLGetDiagField(0, told_of, 1, SQL_DIAG_MESSAGE_TEXT, to, size, &told->small))},
            {"its field W", env, text, true, 1, wide, wide, "1 ", no_data, CALL(SQLGetDiagFieldW(0, told_of, 1, SQL_DIAG_MESSAGE_TEXT, to, size, &told->small))},
            {"native", conn, native, false, 1, sql_length, sql_length, info, "", CALL(SQLNativeSql(conn, sql, SQL_NTS, a, size, &told->large))},
            {"connect", conn, text, false, 1, n, n, info, "", CALL(driver_connect_write(conn, string_of(text).get(), {to, size, &told->small, TEXT_ANSI}) ? SQL_SUCCESS_WITH_INFO : SQL_SUCCESS)},
            {"catalog", conn, catalog, false, 1, catalog_length, catalog_length, standard ? "" : info, "", CALL(SQLGetConnectAttr(conn, SQL_ATTR_CURRENT_CATALOG, to, size, &told->large))},
            {"catalog W", conn, catalog, true, 1, 2 * catalog_length, 2 * catalog_length, standard ? "" : info, "", CALL(SQLGetConnectAttrW(conn, SQL_ATTR_CURRENT_CATALOG, to, size, &told->large))},
        };
        // clang-format on
    }
    SQLCHAR sql[11] = "{fn now()}";
};

TEST_F(text_out, fits_any_buffer_size)
{
    const std::u16string text = u"a\u00E9\u20ACz\u00FC";
    keep(text);
    for (const cass_conduct *conduct : {&standard_conduct, &default_conduct}) {
        conn->conduct = told_of->conduct = conduct;
        for (const text_call &call : calls(text))
            expect_whole_or_cut(call);
    }
    // A name or an information that is empty is cut by a buffer without any room, a column's name
    // is not, nor a text that is not known.
    EXPECT_EQ(SQLGetInfo(told_of, SQL_DATA_SOURCE_NAME, sql, 0, nullptr), SQL_SUCCESS);
    keep(u"");
    SQLCHAR at[20];
    EXPECT_EQ(SQLGetCursorName(stmt, at, 0, nullptr), SQL_SUCCESS_WITH_INFO);
    EXPECT_EQ(SQLDescribeCol(stmt, 1, at, 0, NO4, nullptr), SQL_SUCCESS);
    EXPECT_EQ(SQLGetInfo(conn, SQL_SEARCH_PATTERN_ESCAPE, at, 0, nullptr), SQL_SUCCESS_WITH_INFO);
    // One that was never set is a number.
    SQLGetCursorName(cass_alloc_stmt(conn), at, sizeof at, nullptr);
    EXPECT_STREQ(reinterpret_cast<char *>(at), "SQL_CUR00000001");
}
