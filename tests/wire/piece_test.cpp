// Values of a fixed size as text in pieces, buffers that are too small, and what a read uses up, of
// a connection with Standard=Yes.
#include <algorithm>

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
constexpr int KINDS = 7;

static wire_ptr standing_at_values()
{
    wire_ptr wire = wire_logged_on({}, "Standard=Yes;PageSize=100");
    run_query(wire, "q", rows_frame(kinds, {values}));
    EXPECT_STMT(SQL_SUCCESS, wire->stmt, SQLFetch(wire->stmt));
    return wire;
}

static std::string first_state(SQLHSTMT stmt)
{
    const record_list records = stmt_records(stmt);
    return records.empty() ? "" : records[0].substr(0, 5);
}

TEST(pieces, each_kind_of_cell_piece_by_piece)
{
    for (const int size : {2, 3, 7, 100})
        for (const SQLSMALLINT type : {SQL_C_CHAR, SQL_C_WCHAR}) {
            const wire_ptr wire = standing_at_values();
            const int unit = type == SQL_C_CHAR ? 1 : 2;
            for (int column = 1; column <= KINDS; column++) {
                SCOPED_TRACE(texts[column - 1] + " by " + std::to_string(size));
                const std::size_t low = unit == 2 && std::endian::native == std::endian::big;
                const std::string whole =
                    column == 5 && unit == 2 ? std::string("\x7Cy") : texts[column - 1];
                const auto number = static_cast<SQLUSMALLINT>(column);
                std::vector<unsigned char> buffer(static_cast<std::size_t>(size * unit));
                std::string all;
                SQLLEN length = 0;
                SQLRETURN code = SQL_SUCCESS_WITH_INFO;
                // A length of 0 asks, and uses nothing up.
                EXPECT_STMT(SQL_SUCCESS, wire->stmt,
                            SQLGetData(wire->stmt, number, type, buffer.data(), 0, &length));
                EXPECT_EQ(length, static_cast<SQLLEN>(whole.size()) * unit);
                while (code == SQL_SUCCESS_WITH_INFO && all.size() < 100) {
                    code =
                        SQLGetData(wire->stmt, number, type, buffer.data(), size * unit, &length);
                    EXPECT_EQ(length, static_cast<SQLLEN>(whole.size() - all.size()) * unit);
                    for (std::size_t i = low; i < buffer.size() && buffer[i] != 0;
                         i += static_cast<std::size_t>(unit))
                        all += static_cast<char>(buffer[i]);
                }
                EXPECT_EQ(code, SQL_SUCCESS);
                EXPECT_EQ(all, whole);
                EXPECT_STMT(SQL_NO_DATA, wire->stmt,
                            SQLGetData(wire->stmt, number, type, buffer.data(), size, &length));
            }
        }
}

TEST(pieces, reads_that_are_refused_use_nothing_up)
{
    const wire_ptr wire = standing_at_values();
    char buffer[64];
    for (SQLUSMALLINT column = 1; column <= KINDS; column++) {
        EXPECT_STMT(SQL_ERROR, wire->stmt,
                    SQLGetData(wire->stmt, column, SQL_C_CHAR, nullptr, 0, nullptr));
        EXPECT_EQ(first_state(wire->stmt), "HY009");
        for (const auto &[type, size] : {std::pair(SQL_C_CHAR, 1), {SQL_C_WCHAR, 3}}) {
            EXPECT_STMT(SQL_ERROR, wire->stmt,
                        SQLGetData(wire->stmt, column, static_cast<SQLSMALLINT>(type), buffer, size,
                                   nullptr));
            EXPECT_EQ(first_state(wire->stmt), "HY090");
        }
        EXPECT_STMT(SQL_ERROR, wire->stmt,
                    SQLGetData(wire->stmt, column, SQL_C_INTERVAL_DAY, buffer, 64, nullptr));
        EXPECT_EQ(cell_text(wire->stmt, column), texts[column - 1]);
    }
}

// What must not be cut of a bound column; afterwards SQLGetData begins at the head.
TEST(pieces, bound_columns_lose_a_fraction_and_nothing_else)
{
    const struct {
        SQLUSMALLINT column;
        SQLLEN size;
        std::string cut;  // empty: 22003, or HY090 for the text
    } cases[] = {
        {1, 6, ""},        {1, 7, "-12345"},   {2, 4, ""},    {2, 5, "1234"},
        {2, 8, "1234.56"}, {3, 36, ""},        {4, 19, ""},   {4, 20, "2000-02-29 00:00:00"},
        {5, 2, ""},        {5, 3, "\xC5\xBC"}, {7, 4, "125"}, {7, 3, ""}};
    for (const auto &row : cases)
        for (const SQLSMALLINT type : {SQL_C_CHAR, SQL_C_WCHAR}) {
            if (row.column == 5 && type == SQL_C_WCHAR)
                continue;
            SCOPED_TRACE(texts[row.column - 1] + " in " + std::to_string(row.size));
            const wire_ptr wire = wire_logged_on({}, "Standard=Yes;PageSize=100");
            run_query(wire, "q", rows_frame(kinds, {values}));
            char16_t buffer[64] = {};
            SQLLEN length = 0;
            const SQLLEN unit = type == SQL_C_CHAR ? 1 : 2;
            SQLBindCol(wire->stmt, row.column, type, buffer, row.size * unit, &length);
            const bool whole = row.cut == texts[row.column - 1];
            EXPECT_STMT(row.cut.empty() ? SQL_ERROR
                        : whole         ? SQL_SUCCESS
                                        : SQL_SUCCESS_WITH_INFO,
                        wire->stmt, SQLFetch(wire->stmt));
            EXPECT_EQ(first_state(wire->stmt), whole              ? ""
                                               : !row.cut.empty() ? "01004"
                                               : row.column == 5  ? "HY090"
                                                                  : "22003");
            const std::string narrow = type == SQL_C_CHAR
                                           ? std::string(reinterpret_cast<char *>(buffer))
                                           : std::string(buffer, std::find(buffer, buffer + 64, 0));
            EXPECT_EQ(narrow, row.cut);
            EXPECT_EQ(cell_text(wire->stmt, row.column), texts[row.column - 1]);
        }
}
