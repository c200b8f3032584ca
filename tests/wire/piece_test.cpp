// Values of a fixed size as text in pieces, buffers that are too small, and what a read uses up, of
// a connection with Standard=Yes.
#include "tests/wire/wire_support.h"

// A character outside ASCII and one of two units, which as their low bytes are "|=\0".
static const bytes word = "\xC5\xBC\xF0\x9F\x98\x80";
static const struct {
    int type;
    bytes value;
    std::string text;
} kinds[] = {
    {NODE_INT, be(-12345, 4), "-12345"},
    {NODE_DOUBLE, be(1234.5678901234567), "1234.5678901234567"},
    {NODE_UUID, from_hex("00112233445566778899AABBCCDDEEFF"),
     "00112233-4455-6677-8899-AABBCCDDEEFF"},
    {NODE_TIMESTAMP, be(951'782'400'007, 8), "2000-02-29 00:00:00.007"},
    {NODE_VARCHAR, word, word},
    {NODE_FLOAT, be(0.1f), "0.1"},
    {NODE_DECIMAL, be32(2) + from_hex("30D4"), "125.00"},
};

static wire_ptr row_of_kinds()
{
    node_columns columns;
    node_row row;
    for (const auto &kind : kinds) {
        columns.push_back({"c", type_of(kind.type)});
        row.emplace_back(kind.value);
    }
    wire_ptr wire = wire_of(true);
    run_query(wire, "q", rows_frame(columns, {row}));
    return wire;
}

// Bytes or units as an ASCII text, of others the low byte.
static std::string narrowed(SQLSMALLINT type, const char16_t *buffer)
{
    if (type == SQL_C_CHAR)
        return reinterpret_cast<const char *>(buffer);
    const std::u16string wide = buffer;
    return {wide.begin(), wide.end()};
}

// Piece by piece, which are full; a length of 0 asks, and it and what is refused use nothing up.
TEST(pieces, each_kind_of_cell)
{
    for (const int size : {2, 3, 7, 100})
        for (const SQLSMALLINT type : {SQL_C_CHAR, SQL_C_WCHAR}) {
            const wire_ptr wire = row_of_kinds();
            EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLFetch(wire->stmt));
            const int unit = type == SQL_C_CHAR ? 1 : 2;
            for (SQLUSMALLINT column = 1; column <= std::size(kinds); column++) {
                SCOPED_TRACE(kinds[column - 1].text + " by " + std::to_string(size));
                const std::string whole =
                    column == 5 && unit == 2 ? std::string("|=\0", 3) : kinds[column - 1].text;
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

// What must not be cut of a bound column, a text between characters; afterwards SQLGetData begins
// at the head.
TEST(pieces, bound_columns_lose_a_fraction_and_nothing_else)
{
    // clang-format off
    const std::tuple<SQLUSMALLINT, SQLLEN, std::string, const char *> cases[] = {
        {1, 6, "", "22003"}, {1, 7, "-12345", ""}, {2, 4, "", "22003"}, {2, 8, "1234.56", "01004"},
        {3, 36, "", "22003"}, {4, 19, "", "22003"}, {4, 20, "2000-02-29 00:00:00", "01004"},
        {5, 2, "", "HY090"}, {5, 3, "\xC5\xBC", "01004"}, {7, 4, "125", "01004"},
        {7, 3, "", "22003"}};
    // clang-format on
    for (const auto &[column, size, cut, state] : cases)
        for (const SQLSMALLINT type : {SQL_C_CHAR, SQL_C_WCHAR}) {
            const bool wide_word = column == 5 && type == SQL_C_WCHAR;
            SCOPED_TRACE(kinds[column - 1].text + " in " + std::to_string(size));
            const wire_ptr wire = row_of_kinds();
            char16_t buffer[64] = {};
            SQLLEN length = 0;
            SQLBindCol(wire->stmt, column, type, buffer, size * (type == SQL_C_CHAR ? 1 : 2),
                       &length);
            SQLFetch(wire->stmt);
            EXPECT_EQ(states_of(wire->stmt), wide_word ? "01004" : state);
            EXPECT_EQ(narrowed(type, buffer), wide_word ? "|" : cut);
            EXPECT_EQ(cell_text(wire->stmt, column), kinds[column - 1].text);
        }
}
