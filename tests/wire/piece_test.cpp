// Values of a fixed size as text in pieces, buffers that are too small, and what a read uses up, of
// a connection with Standard=Yes.
#include "tests/wire/wire_support.h"

static const node_columns kinds = {{"i", type_of(NODE_INT)},     {"d", type_of(NODE_DOUBLE)},
                                   {"u", type_of(NODE_UUID)},    {"t", type_of(NODE_TIMESTAMP)},
                                   {"s", type_of(NODE_VARCHAR)}, {"f", type_of(NODE_FLOAT)},
                                   {"n", type_of(NODE_DECIMAL)}};
static const node_row values = {be(-12345, 4),
                                be(1234.5678901234567),
                                from_hex("00112233445566778899AABBCCDDEEFF"),
                                be(951'782'400'007, 8),
                                "\xC5\xBCy",
                                be(0.1f),
                                be32(2) + from_hex("30D4")};
static const std::string texts[] = {"-12345",
                                    "1234.5678901234567",
                                    "00112233-4455-6677-8899-AABBCCDDEEFF",
                                    "2000-02-29 00:00:00.007",
                                    "\xC5\xBCy",
                                    "0.1",
                                    "125.00"};
constexpr SQLUSMALLINT KINDS = 7;

// Bytes or units as an ASCII text, of others the low byte.
static std::string narrowed(SQLSMALLINT type, const char16_t *buffer)
{
    if (type == SQL_C_CHAR)
        return reinterpret_cast<const char *>(buffer);
    const std::u16string wide = buffer;
    return {wide.begin(), wide.end()};
}

// Piece by piece; a length of 0 asks, and it and what is refused use nothing up.
TEST(pieces, each_kind_of_cell)
{
    for (const int size : {2, 3, 7, 100})
        for (const SQLSMALLINT type : {SQL_C_CHAR, SQL_C_WCHAR}) {
            const wire_ptr wire = wire_of(true);
            run_query(wire, "q", rows_frame(kinds, {values}));
            EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLFetch(wire->stmt));
            const int unit = type == SQL_C_CHAR ? 1 : 2;
            for (SQLUSMALLINT column = 1; column <= KINDS; column++) {
                SCOPED_TRACE(texts[column - 1] + " by " + std::to_string(size));
                const std::string whole =
                    column == 5 && unit == 2 ? std::string("\x7Cy") : texts[column - 1];
                char16_t buffer[100];
                SQLLEN length = 0;
                const auto read = [&](SQLSMALLINT as, void *at, SQLLEN room) {
                    return SQLGetData(wire->stmt, column, as, at, room, &length);
                };
                for (const auto &[as, at, room, state] :
                     {std::tuple(SQL_C_CHAR, static_cast<char16_t *>(nullptr), 0, "HY009"),
                      {SQL_C_CHAR, buffer, 1, "HY090"},
                      {SQL_C_WCHAR, buffer, 3, "HY090"},
                      {SQL_C_INTERVAL_DAY, buffer, 64, "07006"}}) {
                    EXPECT_STMT(SQL_ERROR, wire->stmt, read(SQLSMALLINT(as), at, room));
                    EXPECT_EQ(states_of(wire->stmt), state);
                }
                EXPECT_STMT(SQL_SUCCESS, wire->stmt, read(type, buffer, 0));
                EXPECT_EQ(length, static_cast<SQLLEN>(whole.size()) * unit);
                std::string all;
                SQLRETURN code = SQL_SUCCESS_WITH_INFO;
                while (code == SQL_SUCCESS_WITH_INFO && all.size() < 100) {
                    code = read(type, buffer, size * unit);
                    EXPECT_EQ(length, static_cast<SQLLEN>(whole.size() - all.size()) * unit);
                    all += narrowed(type, buffer);
                }
                EXPECT_EQ(code, SQL_SUCCESS);
                EXPECT_EQ(all, whole);
                EXPECT_STMT(SQL_NO_DATA, wire->stmt, read(type, buffer, size));
            }
        }
}

// What must not be cut of a bound column; afterwards SQLGetData begins at the head.
TEST(pieces, bound_columns_lose_a_fraction_and_nothing_else)
{
    const std::tuple<SQLUSMALLINT, SQLLEN, std::string, const char *> cases[] = {
        {1, 6, "", "22003"},  {1, 7, "-12345", ""},
        {2, 4, "", "22003"},  {2, 8, "1234.56", "01004"},
        {3, 36, "", "22003"}, {4, 19, "", "22003"},
        {5, 2, "", "HY090"},  {7, 4, "125", "01004"},
        {7, 3, "", "22003"},  {4, 20, "2000-02-29 00:00:00", "01004"}};
    for (const auto &[column, size, cut, state] : cases)
        for (const SQLSMALLINT type : {SQL_C_CHAR, SQL_C_WCHAR}) {
            if (column == 5 && type == SQL_C_WCHAR)
                continue;
            SCOPED_TRACE(texts[column - 1] + " in " + std::to_string(size));
            const wire_ptr wire = wire_of(true);
            run_query(wire, "q", rows_frame(kinds, {values}));
            char16_t buffer[64] = {};
            SQLLEN length = 0;
            SQLBindCol(wire->stmt, column, type, buffer, size * (type == SQL_C_CHAR ? 1 : 2),
                       &length);
            SQLFetch(wire->stmt);
            EXPECT_EQ(states_of(wire->stmt), state);
            EXPECT_EQ(narrowed(type, buffer), cut);
            EXPECT_EQ(cell_text(wire->stmt, column), texts[column - 1]);
        }
}

// Bound, a text is cut between characters; its pieces are full.
TEST(pieces, halves_of_a_character)
{
    const wire_ptr wire = wire_of(true);
    run_query(wire, "q", text_page({"x\xF0\x9F\x98\x80y", "x\xF0\x9F\x98\x80y"}));
    char narrow[5] = "";
    char16_t wide[3] = {};
    SQLBindCol(wire->stmt, 1, SQL_C_CHAR, narrow, sizeof narrow, nullptr);
    EXPECT_STMT(SQL_SUCCESS_WITH_INFO, wire->stmt, SQLFetch(wire->stmt));
    EXPECT_STREQ(narrow, "x");
    SQLBindCol(wire->stmt, 1, SQL_C_WCHAR, wide, sizeof wide, nullptr);
    EXPECT_STMT(SQL_SUCCESS_WITH_INFO, wire->stmt, SQLFetch(wire->stmt));
    EXPECT_EQ(std::u16string(wide), u"x");
    for (const char16_t *piece : {u"x\xD83D", u"\xDE00y"}) {
        SQLGetData(wire->stmt, 1, SQL_C_WCHAR, wide, sizeof wide, nullptr);
        EXPECT_EQ(std::u16string(wide), piece);
    }
}
