// Cells from the wire into a column's storage: every way in which the bytes can lie, and the buffer
// that a column keeps.
#include "tests/unit/cell_rig.h"

static std::string stored_text(const cass_data_storage &cell)
{
    return {cell.value.bytes, cell.value.bytes + cell.alloc_length};
}

static void expect_rows_given_up(const rig_ptr &rig, const std::string &page)
{
    rig_page(rig, page);
    rig->stmt->page.current_row_count = 100;
    rig->stmt->page.current_row_offset = 1;
    rig->stmt->page.paging_state = static_cast<unsigned char *>(std::malloc(4));
    rig->stmt->page.paging_state_len = 4;
    EXPECT_EQ(SQL_ERROR, rig_row(rig)) << page.size() << " bytes";
    EXPECT_EQ(records(&rig->stmt->head),
              "08S01|Communication link failure: unexpected end of packet\n");
    EXPECT_LE(rig->packet.read_pos, rig->packet.length);
    EXPECT_EQ(100, rig->stmt->page.current_row_offset);
    EXPECT_TRUE(rig->stmt->page.paging_state == nullptr && rig->stmt->page.paging_state_len == 0);
    cass_diag_clear(&rig->stmt->head);
}

TEST(cell_decode, a_page_cut_at_any_byte_and_a_length_that_lies_give_up_the_rows)
{
    // Of the first three, which have an empty value, and the next two other lengths will do as
    // well.
    const std::pair<int, int> sizes[] = {
        {CQL_VARCHAR, 4}, {CQL_BLOB, 4},      {CQL_INET, 4},     {CQL_DECIMAL, 6},  {CQL_VARINT, 2},
        {CQL_TINYINT, 1}, {CQL_BOOLEAN, 1},   {CQL_INT, 4},      {CQL_SMALLINT, 2}, {CQL_BIGINT, 8},
        {CQL_COUNTER, 8}, {CQL_FLOAT, 4},     {CQL_DOUBLE, 8},   {CQL_DATE, 4},     {CQL_TIME, 8},
        {CQL_UUID, 16},   {CQL_TIMEUUID, 16}, {CQL_TIMESTAMP, 8}};
    const std::string tail(64, '\x11');
    for (const auto &[type, size] : sizes) {
        SCOPED_TRACE("type " + std::to_string(type));
        const bool empty = type == CQL_VARCHAR || type == CQL_BLOB || type == CQL_INET;
        const bool fixed = !empty && type != CQL_DECIMAL && type != CQL_VARINT;
        const rig_ptr rig = rig_open({type});
        const std::string whole = cell_of(be(1, size));
        for (std::size_t kept = 0; kept < whole.size(); kept++)
            expect_rows_given_up(rig, whole.substr(0, kept));
        expect_rows_given_up(rig, be(INT32_MAX, 4) + tail);
        expect_rows_given_up(rig, be(65, 4) + tail);
        if (fixed && size > 1)
            expect_rows_given_up(rig, be(size - 1, 4) + tail);
        if (fixed)
            expect_rows_given_up(rig, be(size + 1, 4) + tail);
        if (type == CQL_DECIMAL)
            expect_rows_given_up(rig, be(3, 4) + tail);  // no room for the scale
        rig_page(rig, cell_of(""));
        ASSERT_EQ(SQL_SUCCESS, rig_row(rig));
        EXPECT_EQ(empty ? 0 : 1, rig->cell().isnull);
    }
}

TEST(cell_decode, an_address_of_another_length_fails_its_row)
{
    const rig_ptr rig = rig_open({CQL_INET});
    rig_page(rig, cell_of("12345") + cell_of(from_hex("0a000001")));
    EXPECT_EQ(SQL_ERROR, rig_row(rig));
    EXPECT_EQ(records(&rig->stmt->head),
              "08S01|Communication link failure: unexpected inet type length 5\n");
    EXPECT_EQ(SQL_SUCCESS, rig_row(rig));
    EXPECT_EQ("10.0.0.1", stored_text(rig->cell()));
}

TEST(cell_decode, a_buffer_much_larger_than_a_page_is_given_back_at_its_end)
{
    const rig_ptr rig = rig_open({CQL_VARCHAR});
    for (const std::size_t size : {200'000, 100'000, 10}) {
        rig_page(rig, cell_of(std::string(size, 'x')));
        EXPECT_EQ(SQL_SUCCESS, rig_row(rig));
        EXPECT_GE(rig->cell().capacity, 200'000u);
        bool page_failed = false;
        EXPECT_EQ(SQL_NO_DATA, fetch_data_row(rig->stmt, &page_failed));
        EXPECT_EQ(rig->cell().capacity >= 200'000u, size >= 100'000);
    }
}

// A column of a local result, or one that binding made, with an older page behind it.
TEST(cell_decode, a_fresh_record_takes_a_cell_of_any_type_as_bytes)
{
    const rig_ptr rig = rig_open({CQL_INT});
    ASSERT_EQ(0, cass_desc_describe(rig->stmt->ird, 1));
    rig_page(rig, cell_of(be(7, 4)));
    EXPECT_EQ(SQL_SUCCESS, rig_row(rig));
    EXPECT_EQ(SQL_BINARY, rig->cell().data_type);
    EXPECT_EQ(be(7, 4), stored_text(rig->cell()));
}

TEST(cell_decode, a_row_that_breaks_off_leaves_nothing_of_the_row_before)
{
    const rig_ptr rig = rig_open({CQL_INT, CQL_VARCHAR, CQL_BLOB});
    const std::string whole = cell_of(be(1, 4)) + cell_of("text") + cell_of("blob");
    rig_page(rig, whole + cell_of(be(2, 4)) + be(INT32_MAX, 4));
    ASSERT_EQ(SQL_SUCCESS, rig_row(rig));
    rig->cell(2).offset = 3;
    rig->cell(3).finished = 1;
    EXPECT_EQ(SQL_ERROR, rig_row(rig));
    EXPECT_EQ(2, rig->cell(1).value.integer);
    for (const int column : {2, 3}) {
        EXPECT_EQ("", stored_text(rig->cell(column)));
        EXPECT_TRUE(rig->cell(column).offset == 0 && rig->cell(column).finished == 0);
    }
}
