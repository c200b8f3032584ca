// Descriptors and descriptions through their entry points: widths at the ABI, roles, and what a
// column or a parameter is told to be.
#include <sstream>

#include "core/cell/cass_data.h"
#include "tests/unit/handles.h"

// A statement with a described result of three columns, as after an execution.
struct descriptor : stmt_fixture {
    cass_desc *const ird = stmt->ird, *const ipd = stmt->ipd, *const ard = stmt->ard,
                     *const apd = stmt->apd;

    descriptor()
    {
        cass_desc_describe(ird, 3);
        stmt->executed = 1;
        for (int i = 0; i < 3; ++i)
            fill(&ird->fields[i]);
    }
    static void fill(cass_field *field)
    {
        field->consise_type = field->type = SQL_DECIMAL;
        field->precision = 38;
        field->scale = 15;
        field->unsigned_attr = -1;
    }
    std::string set(cass_desc *desc, SQLSMALLINT rec, SQLSMALLINT id, const void *value)
    {
        return outcome(SQLSetDescField(desc, rec, id, const_cast<void *>(value), 0), desc);
    }
    std::string set(cass_desc *desc, SQLSMALLINT rec, SQLSMALLINT id, SQLLEN value)
    {
        return set(desc, rec, id, odbc_number(SQLULEN(value)));
    }
};

TEST_F(descriptor, a_column_is_told_otherwise_than_its_record)
{
    // Numbers of a column are eight bytes wide.
    SQLLEN number = 0;
    SQLColAttributesW(stmt, 2, SQL_DESC_UNSIGNED, nullptr, 0, nullptr, &number);
    EXPECT_EQ(number, -1);
    // A connection of ODBC 2 tells dates and times apart.
    ird->fields[1].type = SQL_DATETIME;
    ird->fields[1].datetime_interval_code = SQL_CODE_TIMESTAMP;
    for (const auto &[level, wanted] : {std::pair(2, SQL_TIMESTAMP), {3, SQL_DATETIME}}) {
        conn->odbc_level = level;
        SQLColAttributes(stmt, 2, SQL_COLUMN_TYPE, nullptr, 0, nullptr, &number);
        EXPECT_EQ(number, wanted);
    }
}

TEST_F(descriptor, what_may_be_read_and_set_depends_on_the_role)
{
    cass_desc *const loose = cass_alloc_desc(conn);
    const std::tuple<cass_desc *, SQLSMALLINT, const char *> reads[] = {
        {ird, 4, "07009"}, {ird, -1, "07009"}, {ird, 0, ""},
        {ard, 0, ""},      {ipd, 0, "07009"},  {apd, 0, "07009"}};
    for (const bool standard : {true, false}) {
        conn->conduct = standard ? &standard_conduct : &default_conduct;
        for (const auto &[desc, rec, state] : reads)
            EXPECT_EQ(outcome(SQLGetDescField(desc, rec, SQL_DESC_TYPE, nullptr, 0, nullptr), desc),
                      standard && rec == 4 ? "100 " : state);
    }
    // clang-format off
    const struct { cass_desc *of; SQLSMALLINT rec, id; SQLLEN value; std::string state; } sets[] = {
        {ird, 1, SQL_DESC_ALLOC_TYPE, 1, "HY091"}, {ird, 0, SQL_DESC_COUNT, 1, "HY016"},
        {apd, 0, SQL_DESC_COUNT, -1, "07009"}, {ard, 0, SQL_DESC_ARRAY_SIZE, 0x123456789A, ""},
        {ipd, 0, SQL_DESC_ARRAY_SIZE, 5, "HY016"}, {loose, 0, SQL_DESC_BIND_TYPE, 5, "HY016"},
        {ird, 0, SQL_DESC_ROWS_PROCESSED_PTR, 16, "!"}, {ird, 1, SQL_DESC_SCALE, 1, "HY016"},
        {ard, -1, SQL_DESC_SCALE, 1, "07009"}, {ipd, 0, SQL_DESC_SCALE, 1, "07009"},
        {apd, 0, SQL_DESC_SCALE, 1, ""}, {ipd, 1, SQL_DESC_UNSIGNED, 1, "HY091"},
        {ipd, 1, SQL_DESC_PARAMETER_TYPE, 3, "HY105"}, {apd, 1, SQL_DESC_PARAMETER_TYPE, 3, ""},
        {ipd, 1, SQL_DESC_PARAMETER_TYPE, SQL_PARAM_OUTPUT, ""}, {ard, 1, 4711, 0, "HY091"},
        {ipd, 1, SQL_DESC_UNNAMED, SQL_NAMED, "HY092"},
        {ard, 1, SQL_DESC_CONCISE_TYPE, SQL_C_DEFAULT, "HY003"}, {loose, 1, SQL_DESC_LENGTH, 4, ""},
        {ard, 1, SQL_DESC_TYPE, SQL_DATETIME, "HY021"}, {ard, 1, SQL_DESC_NUM_PREC_RADIX, 10, "!"},
        {ard, 1, SQL_DESC_DATETIME_INTERVAL_CODE, 7, "HY021"},
        {ard, 1, SQL_DESC_PRECISION, 0x12345FFFF, ""}, {ard, 1, SQL_DESC_LENGTH, 0x123456789A, ""},
    };
    // clang-format on
    for (const auto &[desc, rec, state] :
         {std::tuple(ird, 1, "HY016"), {ard, -1, "07009"}, {ard, 1, "HY003"}})
        EXPECT_EQ(outcome(SQLSetDescRec(desc, SQLSMALLINT(rec), 12, 0, 1, 0, 0, nullptr, nullptr,
                                        nullptr),
                          desc),
                  state);
    for (const auto &f : sets)
        EXPECT_EQ(set(f.of, f.rec, f.id, f.value), f.state) << f.id << " = " << f.value;
    // Some errors are none, some successes do nothing, and a number is cut to its field's width.
    EXPECT_TRUE(ird->rows_processed_ptr == odbc_number(16) && ird->fields[0].scale == 15);
    EXPECT_TRUE(ard->fields[0].num_prec_radix == 10 && ard->fields[0].precision == -1 &&
                ard->fields[0].length == 0x123456789A && ard->array_size == 0x123456789A);
    EXPECT_TRUE(ipd->fields[0].parameter_type == SQL_PARAM_OUTPUT &&
                apd->fields[0].parameter_type == SQL_PARAM_INPUT);
}

TEST_F(descriptor, only_the_pointers_leave_a_record_bound)
{
    SQLLEN target = 0;
    constexpr SQLSMALLINT pointers[] = {SQL_DESC_DATA_PTR, SQL_DESC_INDICATOR_PTR,
                                        SQL_DESC_OCTET_LENGTH_PTR};
    const auto bound = [&](const cass_field &field) {
        return int{field.data_ptr == &target} + (field.indicator_ptr == &target) +
               (field.octet_length_ptr == &target);
    };
    for (const SQLSMALLINT id : {SQL_DESC_CONCISE_TYPE, SQL_DESC_LENGTH, SQL_DESC_LABEL, 4711}) {
        set(ard, 2, SQL_DESC_CONCISE_TYPE, SQL_C_SLONG);
        for (const SQLSMALLINT pointer : pointers)
            EXPECT_EQ(set(ard, 2, pointer, &target) + set(ipd, 1, pointer, &target), "");
        EXPECT_EQ(bound(ard->fields[1]), 3);
        set(ard, 2, id, SQL_C_SLONG);
        EXPECT_EQ(bound(ard->fields[1]), 0) << id;
    }
    // A record without a type takes the pointer and says that it cannot be used; a parameter's
    // implementation side takes none, but names, which a null pointer takes away.
    EXPECT_EQ(set(ard, 7, SQL_DESC_DATA_PTR, &target), "HY021");
    EXPECT_TRUE(ard->fields[6].data_ptr == &target && bound(ipd->fields[0]) == 0);
    for (const char16_t *name : {u"x\x2020", static_cast<const char16_t *>(nullptr)}) {
        SQLSetDescFieldW(ipd, 1, SQL_DESC_NAME, const_cast<char16_t *>(name), 4);
        EXPECT_EQ(units_of(ipd->fields[0].column_name), name == nullptr ? u"(null)" : name);
    }
}

TEST_F(descriptor, a_description_needs_a_result_and_one_of_its_columns)
{
    SQLSMALLINT type = 0;
    SQLULEN size = 0;
    SQLLEN number = 0;
    const auto describe = [&](SQLUSMALLINT column) {
        return outcome(
            SQLDescribeColW(stmt, column, nullptr, 0, nullptr, &type, &size, nullptr, nullptr),
            stmt);
    };
    const auto attribute = [&](SQLUSMALLINT column, SQLUSMALLINT id) {
        return outcome(SQLColAttributes(stmt, column, id, nullptr, 0, nullptr, &number), stmt);
    };
    for (const SQLUSMALLINT column : {0, 4, 65535})
        EXPECT_EQ(describe(column) + attribute(column, SQL_DESC_NAME), "0700907009");
    EXPECT_EQ(attribute(65535, SQL_DESC_COUNT) + attribute(1, 19), "HY091");
    stmt->attrs.use_bookmarks = SQL_UB_FIXED;  // column 0 is the bookmark when one is in use
    EXPECT_EQ(describe(0) + attribute(0, SQL_DESC_LENGTH), "");
    EXPECT_TRUE(type == SQL_INTEGER && size == 10 && number == 11);
    stmt->executed = 0;
    EXPECT_EQ(describe(1) + attribute(1, SQL_DESC_COUNT), "HY000HY000");
    stmt->prepared = 1;
    EXPECT_EQ(describe(1), "");

    // A parameter is described by the metadata or by its binding.
    cass_desc_describe(ipd, 1);
    fill(&ipd->fields[0]);
    cass_desc_resize(apd, 3);
    apd->fields[1].consise_type = SQL_C_SLONG;
    apd->fields[1].data_ptr = stmt;
    conn->conduct = &standard_conduct;
    EXPECT_EQ(outcome(SQLDescribeParam(stmt, 9, &type, &size, nullptr, nullptr), stmt), "07009");
    conn->conduct = &default_conduct;
    static constexpr std::tuple<SQLUSMALLINT, int, const char *, int> parameters[] = {
        {1, 3, "", SQL_DECIMAL}, {2, 3, "", SQL_C_SLONG},   {3, 3, "07009", 77},
        {0, 3, "07009", 77},     {9, 3, "07009 07009", 77}, {1, 0, "07009", SQL_DECIMAL}};
    for (const auto &[marker, markers, states, wanted] : parameters) {
        stmt->found_param_count = markers;
        type = 77;
        EXPECT_EQ(outcome(SQLDescribeParam(stmt, marker, &type, &size, nullptr, nullptr), stmt),
                  states);
        EXPECT_EQ(type, wanted) << marker << " of " << markers;
    }
}

TEST_F(descriptor, every_type_is_described_with_its_own_decoder)
{
    conn->settings.string_len = 100;
    conn->settings.binary_len = 77;
    const auto describe = [&](int id) {
        cass_type_option option = {};
        option.option_id = id;
        cass_desc_describe(stmt->ird, 1);
        cass_field_from_option(stmt, stmt->ird, 0, nullptr, nullptr, nullptr, &option);
        return &stmt->ird->fields[0];
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
        const cass_field *field = describe(id);
        std::ostringstream line;
        line << field->display_size << ' ' << field->precision << ' ' << field->length << ' '
             << field->octet_length << ' ' << field->num_prec_radix << ' ' << field->searchable
             << ' ' << text_of(field->literal_prefix) << ' ' << text_of(field->literal_suffix);
        EXPECT_EQ(line.str(), wanted);
    }
    env->odbc_version = SQL_OV_ODBC2;
    EXPECT_EQ(describe(CQL_TIME)->consise_type, SQL_TIMESTAMP);
}
