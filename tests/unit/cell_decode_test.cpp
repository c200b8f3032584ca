// Cells from the wire into a column's storage: lengths that are not those of their type. Pages that
// end early come through the whole driver in other tests.
#include "tests/unit/cell_rig.h"

// Lengths that are none of a type's, and those beyond the page.
TEST(cell_decode, a_length_that_lies_gives_up_the_rows)
{
    const std::pair<int, std::vector<int>> types[] = {
        {CQL_VARCHAR, {}},    {CQL_BLOB, {}},           {CQL_INET, {}},
        {CQL_DECIMAL, {3}},   {CQL_VARINT, {}},         {CQL_TINYINT, {2}},
        {CQL_BOOLEAN, {2}},   {CQL_INT, {3, 5}},        {CQL_SMALLINT, {1, 3}},
        {CQL_BIGINT, {7, 9}}, {CQL_COUNTER, {7, 9}},    {CQL_FLOAT, {3, 5}},
        {CQL_DOUBLE, {7, 9}}, {CQL_DATE, {3, 5}},       {CQL_TIME, {7, 9}},
        {CQL_UUID, {15, 17}}, {CQL_TIMEUUID, {15, 17}}, {CQL_TIMESTAMP, {7, 9}}};
    for (const auto &[type, of_type] : types) {
        SCOPED_TRACE("type " + std::to_string(type));
        std::vector<int> lengths = {65, INT32_MAX};
        lengths.insert(lengths.end(), of_type.begin(), of_type.end());
        for (const int length : lengths) {
            const rig_ptr rig = rig_open({type});
            rig_page(rig, be(length, 4) + std::string(64, '\x11'));
            rig->stmt->page.current_row_count = 100;
            EXPECT_EQ("08S01", outcome(rig_row(rig), rig->stmt)) << length;
            EXPECT_EQ(100, rig->stmt->page.current_row_offset);
        }
        const rig_ptr rig = rig_open({type});
        rig_page(rig, cell_of(""));
        ASSERT_EQ(SQL_SUCCESS, rig_row(rig));
        const bool empty = type == CQL_VARCHAR || type == CQL_BLOB || type == CQL_INET;
        EXPECT_EQ(empty ? 0 : 1, rig->cell().isnull);
    }
    const rig_ptr rig = rig_open({CQL_INET});
    rig_page(rig, cell_of("12345"));
    EXPECT_EQ("08S01", outcome(rig_row(rig), rig->stmt));
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
