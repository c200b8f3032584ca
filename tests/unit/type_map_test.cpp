// How CQL types look to an application, how the type fields of a record follow each other, and what
// field records own.
#include <sstream>

#include "core/cell/cass_data.h"
#include "tests/unit/handles.h"

struct type_map : stmt_fixture {
    // The record of a result column of a type.
    const cass_field *describe(int option_id, int result)
    {
        const owned_string keyspace = string_of(u"shop"), name = string_of(u"price");
        cass_type_option option = {};
        option.option_id = option_id;
        option.custom_name = name.get();
        EXPECT_EQ(cass_desc_describe(stmt->ird, 1), 0);
        EXPECT_EQ(cass_field_from_option(stmt, stmt->ird, 0, keyspace.get(), nullptr, name.get(),
                                         &option),
                  result);
        EXPECT_EQ(text_of(stmt->ird->fields[0].column_name), "price");
        return &stmt->ird->fields[0];
    }
};

TEST_F(type_map, every_type_is_described_with_its_own_decoder)
{
    conn->settings.string_len = 100;
    conn->settings.binary_len = 77;
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
        const cass_field *field = describe(id, 0);
        std::ostringstream line;
        for (const SQLLEN number : {SQLLEN{field->display_size}, SQLLEN{field->precision},
                                    SQLLEN{field->length}, SQLLEN{field->octet_length},
                                    SQLLEN{field->num_prec_radix}, SQLLEN{field->searchable}})
            line << number << ' ';
        line << text_of(field->literal_prefix) << ' ' << text_of(field->literal_suffix);
        EXPECT_EQ(line.str(), wanted);
        // A described column passes the check of a record in use.
        EXPECT_EQ(cass_field_check(&stmt->head, field), 0) << message_of(stmt);
    }
    env->odbc_version = SQL_OV_ODBC2;
    EXPECT_EQ(describe(CQL_TIME, 0)->consise_type, SQL_TIMESTAMP);
    EXPECT_EQ(describe(CQL_TIME, 0)->datetime_interval_precision, 9);
    // An unknown type leaves a usable record.
    EXPECT_EQ(describe(21, -6)->decode, nullptr);
}

TEST_F(type_map, the_type_fields_follow_the_one_that_was_set)
{
    constexpr int CONCISE = DESC_FROM_CONCISE_TYPE, CODE = DESC_FROM_INTERVAL_CODE,
                  TYPE = DESC_FROM_TYPE;
    // Concise type, type and code, before and after.
    // clang-format off
    static constexpr struct { int mode, was[3]; const char *state; int is[3]; } cases[] = {
        {CONCISE, {10, 0, 0}, "", {10, 9, 2}}, {CONCISE, {93, 0, 0}, "", {93, 9, 3}},
        {CONCISE, {-16, 9, 3}, "", {-16, -16, 0}}, {CONCISE, {99, 0, 0}, "HY003", {99, 99, 0}},
        {CONCISE, {12, 0, 0}, "HY003", {12, 12, 0}}, {CODE, {4, 4, 0}, "", {4, 4, 0}},
        {CODE, {4, 4, 2}, "", {92, 9, 2}}, {CODE, {4, 4, 4}, "HY021", {4, 4, 4}},
        {CODE, {4, 4, -1}, "HY021", {4, 4, -1}}, {TYPE, {11, 9, 3}, "", {93, 9, 3}},
        {TYPE, {11, 1, 3}, "", {1, 1, 0}}, {TYPE, {11, 9, 0}, "HY021", {11, 9, 0}},
    };
    // clang-format on
    for (const auto &c : cases) {
        SCOPED_TRACE(testing::Message() << c.mode << ' ' << c.was[0] << ' ' << c.was[2]);
        cass_field field;
        cass_field_init(&field);
        field.consise_type = c.was[0];
        field.type = c.was[1];
        field.datetime_interval_code = c.was[2];
        field.type_name = "before";
        cass_diag_clear(&stmt->head);
        EXPECT_EQ(cass_update_desc_type(&stmt->head, &field, c.mode), *c.state ? -1 : 0);
        EXPECT_EQ(states_of(stmt), c.state);
        EXPECT_TRUE(field.consise_type == c.is[0] && field.type == c.is[1] &&
                    field.datetime_interval_code == c.is[2]);
        // A bad code stops before the names are touched, an unknown type behind it.
        EXPECT_EQ(text_of(field.type_name) == "before", std::string(c.state) == "HY021");
        cass_field_clear(&field);
    }
}

TEST_F(type_map, records_keep_their_contents_when_resized_and_nothing_of_old_metadata)
{
    cass_desc *desc = stmt->ard;
    cass_desc_resize(desc, 3);
    // All that a record owns, for the sanitizer's look at what is released.
    cass_field *field = &desc->fields[2];
    field->column_name = cass_string_from_cstr("name");
    field->data_storage.buffer = static_cast<unsigned char *>(std::malloc(8));
    field->put_data = static_cast<cass_put_chunk *>(std::calloc(1, sizeof(cass_put_chunk)));
    field->put_data->bytes = static_cast<unsigned char *>(std::malloc(4));
    cass_desc_resize(desc, 200);
    EXPECT_TRUE(text_of(desc->fields[2].column_name) == "name");
    for (const std::int32_t count : {2, 3})
        cass_desc_resize(desc, count);
    EXPECT_TRUE(desc->field_count == 3 && desc->fields[2].column_name == nullptr);
    desc->fields[2].scale = 9;
    for (const std::int32_t count : {3, 2, 5, 0, 1}) {
        cass_desc_describe(desc, count);
        EXPECT_TRUE(desc->field_count == count && desc->found_count == count && desc->found_valid);
        EXPECT_TRUE(count < 3 || desc->fields[2].scale == 0);
    }
}
