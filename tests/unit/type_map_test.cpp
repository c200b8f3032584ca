// How CQL types look to an application, how the type fields of a record follow each other, and what
// field records own.
#include <memory>

#include "core/cass_data.h"
#include "tests/unit/stmt_fixture.h"

namespace
{

class type_map : public stmt_fixture
{
protected:
    // The record of a result column of a type.
    const cass_field *describe(std::int32_t option_id)
    {
        const std::unique_ptr<cass_string, decltype(&cass_string_free)> keyspace(
            cass_string_from_cstr("shop"), cass_string_free);
        const std::unique_ptr<cass_string, decltype(&cass_string_free)> name(
            cass_string_from_cstr("price"), cass_string_free);
        cass_type_option option = {};
        option.option_id = option_id;
        option.custom_name = name.get();
        EXPECT_EQ(cass_desc_describe(stmt->ird, 1), 0);
        result = cass_field_from_option(stmt, stmt->ird, 0, keyspace.get(), nullptr, name.get(),
                                        &option);
        return &stmt->ird->fields[0];
    }

    int result = 0;
};

constexpr std::int32_t all_types[] = {
    CQL_CUSTOM,   CQL_ASCII, CQL_BIGINT, CQL_BLOB,      CQL_BOOLEAN,  CQL_COUNTER, CQL_DECIMAL,
    CQL_DOUBLE,   CQL_FLOAT, CQL_INT,    CQL_TIMESTAMP, CQL_UUID,     CQL_VARCHAR, CQL_VARINT,
    CQL_TIMEUUID, CQL_INET,  CQL_DATE,   CQL_TIME,      CQL_SMALLINT, CQL_TINYINT, CQL_LIST,
    CQL_MAP,      CQL_SET,   CQL_UDT,    CQL_TUPLE};

TEST_F(type_map, every_type_is_described_with_names_copied_and_its_own_decoder)
{
    for (const std::int32_t id : all_types) {
        SCOPED_TRACE(cql_type_name(id));
        const cass_field *field = describe(id);
        EXPECT_EQ(result, 0);
        EXPECT_EQ(field->decode, cass_cell_decoder_for(id));
        EXPECT_EQ(field->cql_type, id);
        EXPECT_EQ(field->nullable, SQL_NULLABLE_UNKNOWN);
        EXPECT_EQ(field->case_sensitive, 0);
        EXPECT_EQ(field->unsigned_attr, 0);
        EXPECT_EQ(text_of(field->keyspace_name), "shop");
        EXPECT_EQ(text_of(field->column_name), "price");
        EXPECT_EQ(field->table_name, nullptr);
        EXPECT_EQ(field->catalog_name, nullptr);
        EXPECT_NE(field->local_type_name, nullptr);
        EXPECT_TRUE(cass_valid_sql_type(field->consise_type));
        // A described column passes the check of a record in use.
        EXPECT_EQ(cass_field_check(&stmt->head, field), 0) << message_of(stmt);
    }
    EXPECT_EQ(stmt->ird->found_count, 1);
}

TEST_F(type_map, the_settled_oddities_are_reported)
{
    const cass_field *field = describe(CQL_INT);
    EXPECT_EQ(field->precision, 7);
    EXPECT_EQ(field->display_size, 8);
    EXPECT_EQ(text_of(field->type_name), "INT");

    field = describe(CQL_DECIMAL);
    EXPECT_EQ(text_of(field->type_name), "varint");
    EXPECT_EQ(field->scale, 15);

    field = describe(CQL_BOOLEAN);
    EXPECT_EQ(field->precision, 1);
    EXPECT_EQ(field->length, 3);
    EXPECT_EQ(field->octet_length, 1);

    field = describe(CQL_TIMEUUID);
    EXPECT_EQ(text_of(field->local_type_name), "uuid");

    field = describe(CQL_MAP);
    EXPECT_EQ(text_of(field->type_name), "BINARY");
    EXPECT_EQ(text_of(field->local_type_name), "map");
    EXPECT_EQ(text_of(field->literal_prefix), "0x");
    EXPECT_EQ(field->literal_suffix, nullptr);

    field = describe(CQL_CUSTOM);
    EXPECT_EQ(text_of(field->local_type_name), "price");
}

TEST_F(type_map, the_connection_sets_the_sizes_of_text_and_binary)
{
    conn->string_len = 100;
    conn->binary_len = 77;
    const cass_field *field = describe(CQL_VARCHAR);
    EXPECT_EQ(field->display_size, 100);
    EXPECT_EQ(field->precision, 100);
    EXPECT_EQ(field->length, 100);
    EXPECT_EQ(field->octet_length, 100);
    field = describe(CQL_DECIMAL);
    EXPECT_EQ(field->precision, 38);
    EXPECT_EQ(field->octet_length, 100);
    field = describe(CQL_INET);
    EXPECT_EQ(field->display_size, 39);
    EXPECT_EQ(field->octet_length, 100);
    field = describe(CQL_LIST);
    EXPECT_EQ(field->precision, 77);
}

TEST_F(type_map, dates_and_times_follow_the_version_of_the_environment)
{
    struct {
        std::int32_t id, odbc3, odbc2, code, fraction;
    } const cases[] = {{CQL_DATE, SQL_TYPE_DATE, SQL_DATE, 1, 0},
                       {CQL_TIMESTAMP, SQL_TYPE_TIMESTAMP, SQL_TIMESTAMP, 3, 3},
                       {CQL_TIME, SQL_TYPE_TIMESTAMP, SQL_TIMESTAMP, 3, 9}};
    for (const auto &one : cases) {
        for (const std::int32_t version : {2, 3, 380}) {
            env->odbc_version = version;
            const cass_field *field = describe(one.id);
            EXPECT_EQ(field->consise_type, version == 2 ? one.odbc2 : one.odbc3);
            EXPECT_EQ(field->type, SQL_DATETIME);
            EXPECT_EQ(field->datetime_interval_code, one.code);
            EXPECT_EQ(field->datetime_interval_precision, one.fraction);
        }
    }
}

TEST_F(type_map, an_unknown_type_posts_and_leaves_a_usable_record)
{
    for (const std::int32_t id : {10, 21, 50, 65535}) {
        cass_diag_clear(&stmt->head);
        const cass_field *field = describe(id);
        EXPECT_EQ(result, -6);
        EXPECT_EQ(states_of(stmt), "08S01");
        EXPECT_NE(message_of(stmt).find("type not supported " + std::to_string(id)),
                  std::string::npos);
        EXPECT_EQ(field->cql_type, id);
        EXPECT_EQ(field->decode, nullptr);
        EXPECT_EQ(field->searchable, SQL_PRED_SEARCHABLE);
        EXPECT_EQ(text_of(field->column_name), "price");
    }
}

TEST_F(type_map, the_type_fields_follow_the_one_that_was_set)
{
    struct {
        int mode;
        std::int32_t concise, type, code;
        const char *state;
        std::int32_t concise_after, type_after, code_after;
    } const cases[] = {
        {DESC_FROM_CONCISE_TYPE, 10, 0, 0, "", 10, 9, 2},
        {DESC_FROM_CONCISE_TYPE, 93, 0, 0, "", 93, 9, 3},
        {DESC_FROM_CONCISE_TYPE, SQL_C_SLONG, 9, 3, "", SQL_C_SLONG, SQL_C_SLONG, 0},
        {DESC_FROM_CONCISE_TYPE, SQL_C_DEFAULT, 0, 0, "HY003", 99, 99, 0},
        {DESC_FROM_CONCISE_TYPE, SQL_VARCHAR, 0, 0, "HY003", 12, 12, 0},
        {DESC_FROM_INTERVAL_CODE, 4, 4, 0, "", 4, 4, 0},
        {DESC_FROM_INTERVAL_CODE, 4, 4, 2, "", 92, 9, 2},
        {DESC_FROM_INTERVAL_CODE, 4, 4, 4, "HY021", 4, 4, 4},
        {DESC_FROM_INTERVAL_CODE, 4, 4, -1, "HY021", 4, 4, -1},
        {DESC_FROM_TYPE, 11, 9, 3, "", 93, 9, 3},
        {DESC_FROM_TYPE, 11, 1, 3, "", 1, 1, 0},
        {DESC_FROM_TYPE, 11, 9, 0, "HY021", 11, 9, 0},
    };
    for (const auto &one : cases) {
        SCOPED_TRACE(testing::Message() << one.mode << ' ' << one.concise << ' ' << one.code);
        cass_field field;
        cass_field_init(&field);
        field.consise_type = one.concise;
        field.type = one.type;
        field.datetime_interval_code = one.code;
        field.type_name = cass_string_from_cstr("before");
        cass_diag_clear(&stmt->head);
        EXPECT_EQ(cass_update_desc_type(&stmt->head, &field, one.mode), *one.state ? -1 : 0);
        EXPECT_EQ(states_of(stmt), one.state);
        EXPECT_EQ(field.consise_type, one.concise_after);
        EXPECT_EQ(field.type, one.type_after);
        EXPECT_EQ(field.datetime_interval_code, one.code_after);
        // A bad code stops before the names are touched, an unknown type behind it.
        EXPECT_EQ(text_of(field.type_name) == "before", std::string(one.state) == "HY021");
        cass_field_clear(&field);
    }
}

TEST_F(type_map, defaults_of_text_and_binary_follow_the_octet_length)
{
    struct {
        std::int32_t type;
        SQLLEN octets, display, length;
        const char *suffix;
    } const cases[] = {{SQL_C_WCHAR, 41, 20, 1, "'"},
                       {SQL_C_BINARY, 41, 84, 41, ""},
                       {SQL_C_CHAR, 41, 0, 1, "'"},
                       {SQL_C_BINARY, INT64_MAX, 0, INT64_MAX, ""}};
    for (const auto &one : cases) {
        cass_field field;
        cass_field_init(&field);
        field.consise_type = one.type;
        field.octet_length = one.octets;
        field.scale = 4;
        EXPECT_EQ(cass_update_desc_type(&stmt->head, &field, DESC_FROM_CONCISE_TYPE), 0);
        EXPECT_EQ(field.octet_length, one.octets);
        EXPECT_EQ(field.display_size, one.display);
        EXPECT_EQ(field.length, one.length);
        EXPECT_EQ(field.scale, 0);
        EXPECT_EQ(text_of(field.literal_suffix), one.suffix);
        cass_field_clear(&field);
    }
    cass_field field;
    cass_field_init(&field);
    field.consise_type = SQL_C_TIME;
    field.octet_length = 999;
    EXPECT_EQ(cass_update_desc_type(&stmt->head, &field, DESC_FROM_CONCISE_TYPE), 0);
    EXPECT_EQ(field.octet_length, 6);
    EXPECT_EQ(text_of(field.literal_prefix), "{d '");
    cass_field_clear(&field);
}

TEST_F(type_map, a_record_in_use_is_checked)
{
    struct {
        std::int32_t concise, type, code, precision, scale;
        SQLLEN octets;
        const char *complaint;  // null: good; empty: HY021 with its own text
    } const cases[] = {
        {SQL_C_CHAR, 1, 0, -1, 0, 0, nullptr},
        {SQL_C_CHAR, 1, 0, -2, 0, 0, "Negative precision value"},
        {SQL_C_SLONG, -16, 0, -2, -2, 0, nullptr},
        {SQL_C_NUMERIC, 2, 0, 38, -1, 0, "Negative scale value"},
        {SQL_C_NUMERIC, 2, 0, -1, 0, 0, "Negative precision value"},
        {SQL_C_NUMERIC, 2, 0, 0, 0, 0, "Invalid precision value"},
        {SQL_C_NUMERIC, 2, 0, 38, 0, -1, "Negative octet length value"},
        {SQL_C_CHAR, 1, 0, 0, 0, -1, "Negative octet length value"},
        {93, 9, 3, 0, 0, 16, nullptr},
        {93, 93, 3, 0, 0, 16, ""},
        {93, 9, 4, 0, 0, 16, ""},
        {9, 9, 1, 0, 0, 6, nullptr},
        {4, 9, 1, 0, 0, 4, nullptr},
        {4, 9, 0, 0, 0, 4, ""},
        {0, 0, 0, 0, 0, 0, ""},
        {SQL_C_DEFAULT, 99, 0, 0, 0, 0, ""},
        {101, 101, 0, 0, 0, 0, ""},
        {-12, -12, 0, 0, 0, 0, ""},
    };
    for (const auto &one : cases) {
        SCOPED_TRACE(testing::Message() << one.concise << ' ' << one.type << ' ' << one.code);
        cass_field field;
        cass_field_init(&field);
        field.consise_type = one.concise;
        field.type = one.type;
        field.datetime_interval_code = one.code;
        field.precision = one.precision;
        field.scale = one.scale;
        field.octet_length = one.octets;
        cass_diag_clear(&stmt->head);
        EXPECT_EQ(cass_field_check(&stmt->head, &field), one.complaint == nullptr ? 0 : -1);
        EXPECT_EQ(states_of(stmt), one.complaint == nullptr ? "" : "HY021");
        if (one.complaint != nullptr) {
            EXPECT_NE(message_of(stmt).find(one.complaint), std::string::npos);
        }
    }
}

TEST(type_numbers, are_accepted_as_listed)
{
    for (int type = -40; type <= 130; ++type) {
        const bool extended = (type >= -28 && type <= -25) || (type >= -18 && type <= -15);
        const bool dates = type >= 91 && type <= 93;
        bool c_type = extended || dates || type == 99 || (type >= 101 && type <= 113);
        for (const int one : {-11, -8, -7, -6, -2, 1, 2, 4, 5, 7, 8, 9, 10, 11})
            c_type = c_type || type == one;
        const bool sql_type = extended || dates || (type >= -11 && type <= 12 && type != 0);
        EXPECT_EQ(cass_valid_c_type(type), c_type) << type;
        EXPECT_EQ(cass_valid_sql_type(type), sql_type) << type;
    }
}

TEST(type_numbers, every_sql_type_has_a_c_type_that_can_be_bound)
{
    for (int type = -40; type <= 130; ++type)
        for (const int odbc2 : {0, 1})
            EXPECT_TRUE(cass_valid_c_type(cass_default_c_type(type, 0, odbc2))) << type;

    EXPECT_EQ(cass_default_c_type(SQL_TINYINT, 0, 0), SQL_C_UTINYINT);
    EXPECT_EQ(cass_default_c_type(SQL_BIGINT, 0, 0), SQL_C_SBIGINT);
    EXPECT_EQ(cass_default_c_type(SQL_BIGINT, 0, 1), SQL_C_CHAR);
    EXPECT_EQ(cass_default_c_type(SQL_DECIMAL, 1, 0), SQL_C_CHAR);
    EXPECT_EQ(cass_default_c_type(SQL_DECIMAL, 0, 0), SQL_C_NUMERIC);
    EXPECT_EQ(cass_default_c_type(SQL_TYPE_TIMESTAMP, 0, 0), SQL_C_TIMESTAMP);
    EXPECT_EQ(cass_default_c_type(SQL_WVARCHAR, 0, 0), SQL_C_WCHAR);
    EXPECT_EQ(cass_default_c_type(SQL_VARCHAR, 0, 0), SQL_C_CHAR);
}

TEST_F(type_map, schema_names_map_exactly)
{
    struct {
        const char *name;
        std::int32_t type, size, scale;
    } const cases[] = {{"text", SQL_VARCHAR, 0, 0},        {"decimal", SQL_NUMERIC, 38, 15},
                       {"varint", SQL_NUMERIC, 38, 0},     {"timestamp", SQL_TYPE_TIMESTAMP, 3, 3},
                       {"time", SQL_TYPE_TIMESTAMP, 9, 9}, {"duration", SQL_VARBINARY, 0, 0},
                       {"timeuuid", SQL_GUID, 0, 0},       {"INT", SQL_VARBINARY, 0, 0},
                       {"int ", SQL_VARBINARY, 0, 0},      {"in", SQL_VARBINARY, 0, 0},
                       {"", SQL_VARBINARY, 0, 0},          {"frozen<int>", SQL_VARBINARY, 0, 0}};
    for (const auto &one : cases) {
        cass_string *name = cass_string_from_cstr(one.name);
        std::int32_t size = -1;
        std::int32_t scale = -1;
        EXPECT_EQ(cass_sql_type_from_name(conn, name, &size, &scale), one.type) << one.name;
        EXPECT_EQ(size, one.size) << one.name;
        EXPECT_EQ(scale, one.scale) << one.name;
        cass_string_free(name);
    }
    env->odbc_version = SQL_OV_ODBC2;
    cass_string *name = cass_string_from_cstr("date");
    std::int32_t size;
    std::int32_t scale;
    EXPECT_EQ(cass_sql_type_from_name(conn, name, &size, &scale), SQL_DATE);
    cass_string_free(name);
}

// ---- Records -------------------------------------------------------------------------------------

TEST_F(type_map, resizing_keeps_contents_and_releases_what_is_cut)
{
    cass_desc *desc = stmt->ard;
    ASSERT_EQ(cass_desc_resize(desc, 3), 0);
    for (int i = 0; i < 3; ++i) {
        cass_field *field = &desc->fields[i];
        EXPECT_EQ(field->parameter_type, SQL_PARAM_INPUT);
        EXPECT_EQ(field->unnamed, 1);
        field->column_name =
            cass_string_from_cstr(std::string(1, static_cast<char>('a' + i)).c_str());
        field->data_storage.buffer = static_cast<unsigned char *>(std::malloc(8));
        field->put_data = static_cast<cass_put_chunk *>(std::calloc(1, sizeof(cass_put_chunk)));
        field->put_data->bytes = static_cast<unsigned char *>(std::malloc(4));
        field->put_data->length = 4;
        field->put_data->next =
            static_cast<cass_put_chunk *>(std::calloc(1, sizeof(cass_put_chunk)));
        field->put_data->next->length = SQL_NULL_DATA;
    }
    ASSERT_EQ(cass_desc_resize(desc, 200), 0);
    EXPECT_EQ(text_of(desc->fields[2].column_name), "c");
    EXPECT_EQ(desc->fields[199].column_name, nullptr);
    ASSERT_EQ(cass_desc_resize(desc, 1), 0);
    ASSERT_EQ(cass_desc_resize(desc, 2), 0);
    EXPECT_EQ(text_of(desc->fields[0].column_name), "a");
    EXPECT_EQ(desc->fields[1].column_name, nullptr);
    EXPECT_EQ(cass_desc_resize(desc, -1), -1);
    EXPECT_EQ(desc->field_count, 2);
    ASSERT_EQ(cass_desc_resize(desc, 0), 0);
    EXPECT_EQ(desc->fields, nullptr);
}

TEST_F(type_map, new_metadata_leaves_nothing_of_the_old)
{
    cass_desc *desc = stmt->ird;
    for (const std::int32_t count : {2, 2, 5, 0, 1}) {
        ASSERT_EQ(cass_desc_describe(desc, count), 0);
        EXPECT_EQ(desc->field_count, count);
        EXPECT_EQ(desc->found_count, count);
        EXPECT_EQ(desc->found_valid, 1);
        for (std::int32_t i = 0; i < count; ++i) {
            EXPECT_EQ(desc->fields[i].column_name, nullptr);
            EXPECT_EQ(desc->fields[i].scale, 0);
            desc->fields[i].column_name = cass_string_from_cstr("old");
            desc->fields[i].scale = 9;
        }
    }
    ASSERT_EQ(cass_desc_resize(desc, 4), 0);
    EXPECT_EQ(cass_stmt_column_count(desc), 1);
}

}  // namespace
