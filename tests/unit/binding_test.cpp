// Bound columns: how the list of bindings grows and shrinks, and where each row of a rowset lands.
#include "cell_rig.h"

static SQLRETURN bind_column(const rig_ptr &rig, int column, int type, void *target, SQLLEN length,
                             void *indicator)
{
    return SQLBindCol(rig->stmt, static_cast<SQLUSMALLINT>(column), static_cast<SQLSMALLINT>(type),
                      target, length, static_cast<SQLLEN *>(indicator));
}

static SQLRETURN unbind_column(const rig_ptr &rig, int column)
{
    return bind_column(rig, column, SQL_C_CHAR, nullptr, 0, nullptr);
}

// ---- The list -----------------------------------------------------------------------------------

TEST(binding, the_list_reaches_to_the_last_bound_column)
{
    const rig_ptr rig = rig_open({CQL_INT});
    const cass_desc *ard = rig->stmt->ard;
    char buffer[16];
    SQLLEN length;
    EXPECT_EQ(SQL_SUCCESS, bind_column(rig, 5, SQL_C_CHAR, buffer, 16, &length));
    EXPECT_EQ(5, ard->field_count);
    EXPECT_EQ(SQL_SUCCESS, unbind_column(rig, 5));
    EXPECT_EQ(0, ard->field_count);
    EXPECT_EQ(nullptr, ard->fields);

    // An indicator alone is a binding too.
    EXPECT_EQ(SQL_SUCCESS, bind_column(rig, 2, SQL_C_CHAR, nullptr, 0, &length));
    EXPECT_EQ(SQL_SUCCESS, bind_column(rig, 5, SQL_C_CHAR, buffer, 16, nullptr));
    EXPECT_EQ(SQL_SUCCESS, unbind_column(rig, 9));  // past the end: nothing happens
    EXPECT_EQ(SQL_SUCCESS, unbind_column(rig, 5));
    EXPECT_EQ(2, ard->field_count);
    EXPECT_EQ(SQL_SUCCESS, bind_column(rig, 5, SQL_C_CHAR, buffer, 16, &length));
    EXPECT_EQ(SQL_SUCCESS, unbind_column(rig, 2));
    EXPECT_EQ(5, ard->field_count);
    EXPECT_EQ(SQL_SUCCESS, unbind_column(rig, 5));
    EXPECT_EQ(0, ard->field_count);
    EXPECT_EQ(1, cass_stmt_column_count(rig->stmt->ird));  // the result's columns are its own
}

TEST(binding, a_record_takes_its_length_from_the_type_and_the_rest_from_the_column)
{
    const rig_ptr rig = rig_open({CQL_TIMESTAMP, CQL_UUID, CQL_DECIMAL, CQL_VARCHAR});
    char buffer[64];
    const struct {
        int column, type;
        SQLLEN given, kept;
    } cases[] = {
        {1, SQL_C_LONG, 99, 4},  {1, SQL_C_TYPE_TIMESTAMP, 0, 16}, {2, SQL_C_GUID, 40, 40},
        {2, SQL_C_GUID, 0, 16},  {3, SQL_C_NUMERIC, 0, 19},        {4, SQL_C_CHAR, 64, 64},
        {4, SQL_C_WCHAR, 0, 0},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.type);
        EXPECT_EQ(SQL_SUCCESS, bind_column(rig, c.column, c.type, buffer, c.given, nullptr));
        const cass_field &record = rig->stmt->ard->fields[c.column - 1];
        const cass_field &metadata = rig->stmt->ird->fields[c.column - 1];
        EXPECT_EQ(c.kept, record.octet_length);
        EXPECT_EQ(metadata.precision, record.precision);
        EXPECT_EQ(metadata.scale, record.scale);
        EXPECT_EQ(metadata.length, record.length);
        EXPECT_EQ(metadata.datetime_interval_precision, record.datetime_interval_precision);
    }
}

TEST(binding, what_is_refused)
{
    const rig_ptr rig = rig_open({});
    char buffer[64];
    EXPECT_EQ(SQL_ERROR, bind_column(rig, 1, 12345, buffer, 8, nullptr));
    EXPECT_EQ("HY003", rig_states(rig));
    EXPECT_EQ(nullptr, rig->stmt->ard->fields[0].data_ptr);
    EXPECT_EQ(SQL_ERROR, bind_column(rig, 1, SQL_C_CHAR, buffer, -4, nullptr));
    EXPECT_EQ("HY021", rig_states(rig));
    // A column without metadata has no precision yet: refused, and bound all the same.
    EXPECT_EQ(SQL_ERROR, bind_column(rig, 2, SQL_C_NUMERIC, buffer, 19, nullptr));
    EXPECT_EQ("HY021", rig_states(rig));
    EXPECT_EQ(buffer, rig->stmt->ard->fields[1].data_ptr);
    EXPECT_EQ(SQL_SUCCESS, bind_column(rig, 3, SQL_C_DEFAULT, buffer, 8, nullptr));
    EXPECT_EQ("HY000", rig_states(rig));
    EXPECT_EQ(SQL_C_CHAR, rig->stmt->ard->fields[2].consise_type);

    EXPECT_EQ(SQL_ERROR, bind_column(rig, 0, SQL_C_CHAR, buffer, 8, nullptr));
    EXPECT_EQ("07006", rig_states(rig));
    EXPECT_EQ(SQL_SUCCESS, bind_column(rig, 0, SQL_C_BOOKMARK, buffer, 8, nullptr));
    EXPECT_EQ(buffer, rig->stmt->ard->bookmark_field.data_ptr);
    EXPECT_EQ(SQL_SUCCESS, unbind_column(rig, 0));
    EXPECT_EQ(nullptr, rig->stmt->ard->bookmark_field.data_ptr);
}

TEST(binding, the_default_type_is_chosen_from_the_column)
{
    const rig_ptr rig = rig_open({CQL_TINYINT, CQL_BIGINT, CQL_DECIMAL, CQL_UUID, CQL_BLOB});
    rig->stmt->executed = 1;
    char buffer[8];
    const int expected[] = {SQL_C_UTINYINT, SQL_C_SBIGINT, SQL_C_CHAR, SQL_C_GUID, SQL_C_BINARY};
    for (int column = 1; column <= 5; column++) {
        EXPECT_EQ(SQL_SUCCESS, bind_column(rig, column, SQL_C_DEFAULT, buffer, 8, nullptr));
        EXPECT_EQ(expected[column - 1], rig->stmt->ard->fields[column - 1].target_type);
    }
}

// ---- Where rows land ----------------------------------------------------------------------------

// Transfers `rows` rows; the cells of the first are 100, of the second 101, and so on.
static void transfer_rows(const rig_ptr &rig, int rows, std::size_t cells)
{
    for (int row = 0; row < rows; row++) {
        std::string page;
        for (std::size_t i = 0; i < cells; i++)
            page += cell_of(be(100 + row, 4));
        rig_page(rig.get(), page);
        ASSERT_EQ(SQL_SUCCESS, rig_row(rig));
        rig->stmt->rowset_position = static_cast<SQLULEN>(row);
        EXPECT_EQ(SQL_SUCCESS, transfer_bound_columns(rig->stmt, 1));
    }
}

TEST(binding, column_wise_rows_are_spaced_by_the_type)
{
    const struct {
        int type;
        SQLLEN length;
        std::size_t stride;
        char first;  // first byte of every element; 0: the low byte of the value
    } cases[] = {
        {SQL_C_LONG, 99, 4, 0},    {SQL_C_SHORT, 0, 2, 0},        {SQL_C_UTINYINT, 7, 1, 0},
        {SQL_C_SBIGINT, 0, 8, 0},  {SQL_C_NUMERIC, 0, 19, 12},    {SQL_C_CHAR, 10, 10, '1'},
        {SQL_C_WCHAR, 12, 12, '1'}, {SQL_C_BINARY, 5, 5, 0},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.type);
        const rig_ptr rig = rig_open({CQL_INT});
        rig_field(rig, 1)->precision = 10;
        std::string block(3 * c.stride + 1, '\xA5');
        std::string lengths(3 * sizeof(SQLLEN) + 1, '\xA5');
        ASSERT_EQ(SQL_SUCCESS,
                  bind_column(rig, 1, c.type, block.data() + 1, c.length, lengths.data() + 1));
        transfer_rows(rig, 3, 1);
        for (std::size_t row = 0; row < 3; row++) {
            SQLLEN length;
            std::memcpy(&length, lengths.data() + 1 + row * sizeof length, sizeof length);
            EXPECT_LE(length, static_cast<SQLLEN>(c.stride));
            EXPECT_GT(length, 0);
            const char first = c.first != 0 ? c.first : static_cast<char>(100 + row);
            EXPECT_EQ(first, block[1 + row * c.stride]) << row;
        }
        EXPECT_EQ('\xA5', block[0]);
        EXPECT_EQ('\xA5', lengths[0]);
    }
}

TEST(binding, row_wise_rows_are_spaced_by_the_structure_and_moved_by_the_offset)
{
    const rig_ptr rig = rig_open({CQL_INT, CQL_INT});
    constexpr std::size_t SIZE = 40;
    std::string block(4 * SIZE, '\xA5');
    std::string expected = block;
    SQLLEN offset = 8;
    rig->stmt->ard->bind_type = SIZE;
    rig->stmt->ard->bind_offset_ptr = &offset;
    ASSERT_EQ(SQL_SUCCESS, bind_column(rig, 1, SQL_C_LONG, block.data() + 3, 0, block.data() + 9));
    ASSERT_EQ(SQL_SUCCESS, bind_column(rig, 2, SQL_C_SHORT, block.data(), 0, nullptr));
    transfer_rows(rig, 3, 2);
    for (int row = 0; row < 3; row++) {
        char *at = expected.data() + offset + SIZE * static_cast<std::size_t>(row);
        const std::int32_t value = 100 + row;
        const auto narrow = static_cast<std::int16_t>(value);
        const SQLLEN size = 4;
        std::memcpy(at + 3, &value, sizeof value);
        std::memcpy(at + 9, &size, sizeof size);
        std::memcpy(at, &narrow, sizeof narrow);
    }
    EXPECT_EQ(expected, block);
}

TEST(binding, null_in_one_place_for_both_lengths_or_in_two)
{
    const rig_ptr rig = rig_open({CQL_INT});
    std::int32_t value = 0;
    SQLLEN indicator = 77, octets = 77;
    ASSERT_EQ(SQL_SUCCESS, bind_column(rig, 1, SQL_C_LONG, &value, 0, &indicator));
    rig_page(rig.get(), null_cell() + null_cell());
    ASSERT_EQ(SQL_SUCCESS, rig_row(rig));
    EXPECT_EQ(SQL_SUCCESS, transfer_bound_columns(rig->stmt, 1));
    EXPECT_EQ(SQL_NULL_DATA, indicator);

    indicator = 77;
    rig->stmt->ard->fields[0].octet_length_ptr = &octets;
    ASSERT_EQ(SQL_SUCCESS, rig_row(rig));
    EXPECT_EQ(SQL_SUCCESS, transfer_bound_columns(rig->stmt, 1));
    EXPECT_EQ(SQL_NULL_DATA, indicator);
    EXPECT_EQ(0, octets);
}

// ---- The verdict on a row -----------------------------------------------------------------------

TEST(binding, a_cut_column_does_not_stop_the_others_and_an_error_does)
{
    const rig_ptr rig = rig_open({CQL_VARCHAR, CQL_INT, CQL_INT, CQL_INT});
    char text[4];
    std::int16_t narrow = 0;
    std::int32_t second = 0, last = 0;
    SQLLEN length = 0;
    ASSERT_EQ(SQL_SUCCESS, bind_column(rig, 1, SQL_C_CHAR, text, sizeof text, &length));
    ASSERT_EQ(SQL_SUCCESS, bind_column(rig, 2, SQL_C_LONG, &second, 0, nullptr));
    ASSERT_EQ(SQL_SUCCESS, bind_column(rig, 4, SQL_C_LONG, &last, 0, nullptr));
    // Beyond the result: passed over.
    ASSERT_EQ(SQL_SUCCESS, bind_column(rig, 7, SQL_C_LONG, &last, 0, nullptr));

    const std::string page = cell_of("0123456789") + cell_of(be(22, 4)) + cell_of(be(70000, 4)) +
                             cell_of(be(44, 4));
    rig_page(rig.get(), page);
    ASSERT_EQ(SQL_SUCCESS, rig_row(rig));
    EXPECT_EQ(SQL_SUCCESS_WITH_INFO, transfer_bound_columns(rig->stmt, 1));
    EXPECT_EQ("01004@1", rig_states(rig));
    EXPECT_STREQ("012", text);
    EXPECT_EQ(10, length);
    EXPECT_EQ(22, second);
    EXPECT_EQ(44, last);

    // The cut text can be read on from where it stopped; a delivered column has no more.
    char rest[16];
    cass_field *fields = rig->stmt->ird->fields;
    EXPECT_EQ(SQL_SUCCESS, cass_get_data(rig->stmt, 1, SQL_C_CHAR, rest, sizeof rest, &length,
                                         nullptr, fields, nullptr));
    EXPECT_STREQ("3456789", rest);
    EXPECT_EQ(SQL_NO_DATA, cass_get_data(rig->stmt, 2, SQL_C_LONG, &second, 4, &length, nullptr,
                                         fields, nullptr));

    ASSERT_EQ(SQL_SUCCESS, bind_column(rig, 3, SQL_C_SHORT, &narrow, 0, nullptr));
    last = 0;
    rig_page(rig.get(), page);
    ASSERT_EQ(SQL_SUCCESS, rig_row(rig));
    EXPECT_EQ(SQL_ERROR, transfer_bound_columns(rig->stmt, 1));
    EXPECT_EQ("22003@3 01004@1", rig_states(rig));
    EXPECT_EQ(0, last);
}

TEST(binding, columns_that_binding_added_to_the_description_are_not_transferred)
{
    const rig_ptr rig = rig_open({CQL_INT});
    std::int32_t first = 0, beyond = 7;
    SQLLEN length = 7;
    ASSERT_EQ(SQL_SUCCESS, bind_column(rig, 1, SQL_C_LONG, &first, 0, nullptr));
    ASSERT_EQ(SQL_SUCCESS, bind_column(rig, 3, SQL_C_LONG, &beyond, 0, &length));
    EXPECT_EQ(3, rig->stmt->ird->field_count);
    rig_page(rig.get(), cell_of(be(5, 4)));
    ASSERT_EQ(SQL_SUCCESS, rig_row(rig));
    EXPECT_EQ(SQL_SUCCESS, transfer_bound_columns(rig->stmt, 1));
    EXPECT_EQ(5, first);
    EXPECT_EQ(7, beyond);
    EXPECT_EQ(7, length);
}
