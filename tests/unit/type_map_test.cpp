// How CQL types look to an application, beside what the comparison with docs/ finds.
#include <sstream>

#include "core/cell/cass_data.h"
#include "tests/unit/handles.h"

using type_map = stmt_fixture;

TEST_F(type_map, every_type_is_described_with_its_own_decoder)
{
    conn->settings.string_len = 100;
    conn->settings.binary_len = 77;
    const auto describe = [&](int id) {
        cass_type_option option = {};
        option.option_id = id;
        cass_desc_describe(stmt->ird, 1);
        return cass_field_from_option(stmt, stmt->ird, 0, nullptr, nullptr, nullptr, &option);
    };
    // Display size, precision, length, octet length, radix, searchable and the prefix and suffix of
    // its literals; what else there is of a column is compared with docs/types.md.
    // clang-format off
    static constexpr std::pair<int, const char *> types[] = {
        {CQL_ASCII, "100 100 100 100 0 3 ' '"}, {CQL_DECIMAL, "38 38 38 100 0 3 (null) (null)"},
        {CQL_DOUBLE, "24 53 53 8 2 2 (null) (null)"}, {CQL_INT, "8 7 7 4 0 2 (null) (null)"},
        {CQL_TIMESTAMP, "23 3 23 16 0 3 {ts ' '}"}, {CQL_TIMEUUID, "36 36 36 16 0 3 (null) (null)"},
        {CQL_INET, "39 39 39 100 0 3 ' '"}, {CQL_DATE, "10 0 6 6 0 3 {d ' '}"},
        {CQL_TIME, "29 9 29 16 0 3 {ts ' '}"}, {CQL_TINYINT, "4 3 3 1 0 2 (null) (null)"},
        {CQL_CUSTOM, "77 77 77 77 0 2 0x (null)"}, {CQL_TUPLE, "77 77 77 77 0 2 0x (null)"},
    };
    // clang-format on
    for (const auto &[id, wanted] : types) {
        EXPECT_EQ(describe(id), 0);
        const cass_field *field = &stmt->ird->fields[0];
        std::ostringstream line;
        line << field->display_size << ' ' << field->precision << ' ' << field->length << ' '
             << field->octet_length << ' ' << field->num_prec_radix << ' ' << field->searchable
             << ' ' << text_of(field->literal_prefix) << ' ' << text_of(field->literal_suffix);
        EXPECT_EQ(line.str(), wanted);
        // A described column passes the check of a record in use.
        EXPECT_EQ(cass_field_check(&stmt->head, field), 0) << message_of(stmt);
    }
    env->odbc_version = SQL_OV_ODBC2;
    describe(CQL_TIME);
    EXPECT_EQ(stmt->ird->fields[0].consise_type, SQL_TIMESTAMP);
    // An unknown type leaves a usable record.
    EXPECT_EQ(describe(21), -6);
    EXPECT_EQ(stmt->ird->fields[0].decode, nullptr);
}
