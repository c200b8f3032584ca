// Descriptors and descriptions through their entry points: widths at the ABI, text at the seams of
// its buffer, roles, and explicit descriptors that outlive or leave their statements.
#include <iterator>
#include <vector>

#include "tests/unit/stmt_fixture.h"

namespace
{

constexpr char column_name[] = "caf\xE9";  // the last letter is two bytes in UTF-8

// A statement with a described result of three columns, as after an execution.
class descriptor : public stmt_fixture
{
protected:
    void SetUp() override
    {
        stmt_fixture::SetUp();
        ASSERT_EQ(cass_desc_describe(stmt->ird, 3), 0);
        stmt->executed = 1;
        for (int i = 0; i < 3; ++i)
            fill(&stmt->ird->fields[i]);
    }

    // Every number has different bytes, none of them the guard's.
    static void fill(cass_field *field)
    {
        field->consise_type = SQL_DECIMAL;
        field->precision = 38;
        field->scale = 15;
        field->type = SQL_DECIMAL;
        field->datetime_interval_code = 0x0102;
        field->datetime_interval_precision = 0x01020304;
        field->octet_length = 0x0102030405060708;
        field->length = 0x1112131415161718;
        field->display_size = 0x2122232425262728;
        field->auto_unique = 0x11121314;
        field->case_sensitive = 0x21222324;
        field->fixed_prec_scale = 0x1112;
        field->nullable = 2;
        field->num_prec_radix = 0x31323334;
        field->searchable = 3;
        field->unsigned_attr = -1;
        field->updatable = 0x2122;
        field->keyspace_name = cass_string_from_cstr("shop");
        field->table_name = cass_string_from_cstr("drinks");
        field->column_name = cass_string_from_cstr(column_name);
        field->type_name = cass_string_from_cstr("varint");
    }

    cass_desc *fresh_explicit() { return cass_alloc_desc(conn); }
    SQLRETURN set(cass_desc *desc, SQLSMALLINT rec, SQLSMALLINT id, SQLLEN value)
    {
        return SQLSetDescField(desc, rec, id, reinterpret_cast<void *>(value), 0);
    }
    SQLRETURN install(cass_stmt *on, SQLINTEGER attribute, cass_desc *desc)
    {
        return SQLSetStmtAttr(on, attribute, desc, 0);
    }
};

// ---- Reading a field -----------------------------------------------------------------------------

struct width_case {
    SQLSMALLINT id;
    SQLINTEGER width;
};

constexpr width_case width_cases[] = {
    {SQL_DESC_ALLOC_TYPE, 2},
    {SQL_DESC_COUNT, 2},
    {SQL_DESC_ARRAY_SIZE, 8},
    {SQL_DESC_ARRAY_STATUS_PTR, 8},
    {SQL_DESC_BIND_OFFSET_PTR, 8},
    {SQL_DESC_BIND_TYPE, 4},
    {SQL_DESC_ROWS_PROCESSED_PTR, 8},
    {SQL_DESC_CONCISE_TYPE, 2},
    {SQL_DESC_DISPLAY_SIZE, 8},
    {SQL_DESC_UNSIGNED, 2},
    {SQL_DESC_FIXED_PREC_SCALE, 2},
    {SQL_DESC_UPDATABLE, 2},
    {SQL_DESC_AUTO_UNIQUE_VALUE, 4},
    {SQL_DESC_CASE_SENSITIVE, 4},
    {SQL_DESC_SEARCHABLE, 2},
    {SQL_DESC_DATETIME_INTERVAL_PRECISION, 4},
    {SQL_DESC_NUM_PREC_RADIX, 4},
    {SQL_DESC_PARAMETER_TYPE, 2},
    {SQL_DESC_ROWVER, 2},
    {SQL_DESC_TYPE, 2},
    {SQL_DESC_LENGTH, 8},
    {SQL_DESC_OCTET_LENGTH_PTR, 8},
    {SQL_DESC_PRECISION, 2},
    {SQL_DESC_SCALE, 2},
    {SQL_DESC_DATETIME_INTERVAL_CODE, 2},
    {SQL_DESC_NULLABLE, 2},
    {SQL_DESC_INDICATOR_PTR, 8},
    {SQL_DESC_DATA_PTR, 8},
    {SQL_DESC_UNNAMED, 2},
    {SQL_DESC_OCTET_LENGTH, 8},
};

TEST_F(descriptor, each_number_is_written_in_its_width_and_no_wider)
{
    for (const width_case &one : width_cases) {
        SCOPED_TRACE(one.id);
        for (const auto call : {SQLGetDescField, SQLGetDescFieldW}) {
            guarded at;
            SQLINTEGER width = -1;
            EXPECT_EQ(call(stmt->ird, 2, one.id, at.bytes + 1, 0, &width), SQL_SUCCESS);
            EXPECT_EQ(width, one.width);
            EXPECT_EQ(at.bytes[0], guarded::fill);
            EXPECT_EQ(at.written(), 1u + static_cast<std::size_t>(one.width));
            EXPECT_EQ(call(stmt->ird, 2, one.id, nullptr, 0, nullptr), SQL_SUCCESS);
        }
    }
    SQLLEN octets = 0;
    SQLGetDescField(stmt->ird, 3, SQL_DESC_OCTET_LENGTH, &octets, 0, nullptr);
    EXPECT_EQ(octets, 0x0102030405060708);
    SQLSMALLINT alloc = 0;
    SQLGetDescField(stmt->ird, -5, SQL_DESC_ALLOC_TYPE, &alloc, 0, nullptr);
    EXPECT_EQ(alloc, SQL_DESC_ALLOC_AUTO);
    SQLGetDescField(fresh_explicit(), 0, SQL_DESC_ALLOC_TYPE, &alloc, 0, nullptr);
    EXPECT_EQ(alloc, SQL_DESC_ALLOC_USER);
}

TEST_F(descriptor, names_of_a_column_by_identifier)
{
    struct {
        SQLUSMALLINT id;
        const char *field, *attribute;
    } const cases[] = {
        {SQL_DESC_TYPE_NAME, "varint", "varint"},
        {SQL_DESC_TABLE_NAME, "caf\xC3\xA9", "drinks"},
        {SQL_DESC_SCHEMA_NAME, "shop", ""},
        {SQL_DESC_CATALOG_NAME, "", ""},
        {SQL_DESC_LABEL, "caf\xC3\xA9", "caf\xC3\xA9"},
        {SQL_DESC_BASE_COLUMN_NAME, "caf\xC3\xA9", "caf\xC3\xA9"},
        {SQL_DESC_BASE_TABLE_NAME, "drinks", "drinks"},
        {SQL_DESC_NAME, "caf\xC3\xA9", "caf\xC3\xA9"},
        {SQL_DESC_LITERAL_PREFIX, "", ""},
        {SQL_DESC_LOCAL_TYPE_NAME, "", ""},
    };
    for (const auto &one : cases) {
        SCOPED_TRACE(one.id);
        char text[32] = "untouched";
        EXPECT_EQ(SQLGetDescField(stmt->ird, 1, static_cast<SQLSMALLINT>(one.id), text, sizeof text,
                                  nullptr),
                  SQL_SUCCESS);
        EXPECT_STREQ(text, one.field);
        EXPECT_EQ(SQLColAttribute(stmt, 1, one.id, text, sizeof text, nullptr, nullptr),
                  SQL_SUCCESS);
        EXPECT_STREQ(text, one.attribute);
    }
}

// "café" is 4 units and 5 bytes.
struct room_case {
    std::int64_t room;  // in what the call counts
    bool cut;
    std::size_t written;  // bytes
};

TEST_F(descriptor, a_name_is_cut_at_the_buffer_and_its_length_told_in_full)
{
    constexpr room_case ansi[] = {{-1, true, 0}, {0, true, 0},  {1, true, 1}, {4, true, 4},
                                  {5, true, 5},  {6, false, 6}, {7, false, 6}};
    constexpr room_case bytes[] = {{0, true, 0}, {1, true, 0},    {2, true, 2},   {8, true, 8},
                                   {9, true, 8}, {10, false, 10}, {11, false, 10}};
    constexpr room_case units[] = {
        {0, true, 0}, {1, true, 2}, {4, true, 8}, {5, false, 10}, {6, false, 10}};
    struct {
        const char *name;
        const room_case *cases;
        std::size_t count;
        int length;
        SQLRETURN cut_code;
        SQLRETURN (*call)(cass_stmt *, void *, std::int64_t, SQLSMALLINT *);
    } const calls[] = {
        {"SQLGetDescField", ansi, std::size(ansi), 4, SQL_SUCCESS,
         [](cass_stmt *on, void *to, std::int64_t room, SQLSMALLINT *length) {
             SQLINTEGER full = -1;
             const SQLRETURN code = SQLGetDescField(on->ird, 1, SQL_DESC_NAME, to,
                                                    static_cast<SQLINTEGER>(room), &full);
             *length = static_cast<SQLSMALLINT>(full);
             return code;
         }},
        {"SQLGetDescFieldW", bytes, std::size(bytes), 8, SQL_SUCCESS,
         [](cass_stmt *on, void *to, std::int64_t room, SQLSMALLINT *length) {
             SQLINTEGER full = -1;
             const SQLRETURN code = SQLGetDescFieldW(on->ird, 1, SQL_DESC_NAME, to,
                                                     static_cast<SQLINTEGER>(room), &full);
             *length = static_cast<SQLSMALLINT>(full);
             return code;
         }},
        {"SQLGetDescRec", ansi, std::size(ansi), 4, SQL_SUCCESS,
         [](cass_stmt *on, void *to, std::int64_t room, SQLSMALLINT *length) {
             return SQLGetDescRec(on->ird, 1, static_cast<SQLCHAR *>(to),
                                  static_cast<SQLSMALLINT>(room), length, nullptr, nullptr, nullptr,
                                  nullptr, nullptr, nullptr);
         }},
        {"SQLGetDescRecW", units, std::size(units), 4, SQL_SUCCESS,
         [](cass_stmt *on, void *to, std::int64_t room, SQLSMALLINT *length) {
             return SQLGetDescRecW(on->ird, 1, static_cast<SQLWCHAR *>(to),
                                   static_cast<SQLSMALLINT>(room), length, nullptr, nullptr,
                                   nullptr, nullptr, nullptr, nullptr);
         }},
        {"SQLDescribeCol", ansi, std::size(ansi), 4, SQL_SUCCESS_WITH_INFO,
         [](cass_stmt *on, void *to, std::int64_t room, SQLSMALLINT *length) {
             return SQLDescribeCol(on, 1, static_cast<SQLCHAR *>(to),
                                   static_cast<SQLSMALLINT>(room), length, nullptr, nullptr,
                                   nullptr, nullptr);
         }},
        {"SQLDescribeColW", units, std::size(units), 4, SQL_SUCCESS_WITH_INFO,
         [](cass_stmt *on, void *to, std::int64_t room, SQLSMALLINT *length) {
             return SQLDescribeColW(on, 1, static_cast<SQLWCHAR *>(to),
                                    static_cast<SQLSMALLINT>(room), length, nullptr, nullptr,
                                    nullptr, nullptr);
         }},
        {"SQLColAttribute", ansi, std::size(ansi), 4, SQL_SUCCESS_WITH_INFO,
         [](cass_stmt *on, void *to, std::int64_t room, SQLSMALLINT *length) {
             return SQLColAttribute(on, 1, SQL_DESC_NAME, to, static_cast<SQLSMALLINT>(room),
                                    length, nullptr);
         }},
        {"SQLColAttributesW", bytes, std::size(bytes), 8, SQL_SUCCESS_WITH_INFO,
         [](cass_stmt *on, void *to, std::int64_t room, SQLSMALLINT *length) {
             return SQLColAttributesW(on, 1, SQL_COLUMN_NAME, to, static_cast<SQLSMALLINT>(room),
                                      length, nullptr);
         }},
    };
    for (const auto &one : calls) {
        for (std::size_t i = 0; i < one.count; ++i) {
            const room_case &at_room = one.cases[i];
            SCOPED_TRACE(testing::Message() << one.name << " room " << at_room.room);
            guarded at;
            SQLSMALLINT length = -1;
            cass_diag_clear(&stmt->ird->head);
            EXPECT_EQ(one.call(stmt, at.bytes, at_room.room, &length),
                      at_room.cut ? one.cut_code : SQL_SUCCESS);
            EXPECT_EQ(length, one.length);
            EXPECT_EQ(states_of(stmt) + states_of(stmt->ird), at_room.cut ? "01004" : "");
            EXPECT_EQ(at.written(), at_room.written);
            if (at_room.written > 0) {
                EXPECT_EQ(at.bytes[at_room.written - 1], 0);
            }
        }
        SQLSMALLINT length = -1;
        EXPECT_EQ(one.call(stmt, nullptr, 0, &length), SQL_SUCCESS) << one.name;
        EXPECT_EQ(length, one.length) << one.name;
    }
}

TEST_F(descriptor, a_record_out_of_range_is_refused)
{
    struct {
        cass_desc *desc;
        SQLSMALLINT rec;
        const char *state;
    } const cases[] = {{stmt->ird, 4, "07009"}, {stmt->ird, -1, "07009"},   {stmt->ird, 0, ""},
                       {stmt->ard, 1, "07009"}, {stmt->ard, 0, ""},         {stmt->ipd, 0, "07009"},
                       {stmt->apd, 0, "07009"}, {stmt->ird, 32767, "07009"}};
    for (const auto &one : cases) {
        SCOPED_TRACE(testing::Message() << one.desc << ' ' << one.rec);
        guarded at;
        SQLSMALLINT type = 77;
        const SQLRETURN code = *one.state ? SQL_ERROR : SQL_SUCCESS;
        EXPECT_EQ(SQLGetDescField(one.desc, one.rec, SQL_DESC_TYPE, at.bytes, 0, nullptr), code);
        EXPECT_EQ(states_of(one.desc), one.state);
        EXPECT_EQ(at.intact(0), code == SQL_ERROR);
        EXPECT_EQ(SQLGetDescRec(one.desc, one.rec, nullptr, 0, nullptr, &type, nullptr, nullptr,
                                nullptr, nullptr, nullptr),
                  code);
        EXPECT_EQ(type == 77, code == SQL_ERROR);
    }
    EXPECT_EQ(SQLGetDescField(stmt->ird, 1, 4711, nullptr, 0, nullptr), SQL_ERROR);
    EXPECT_EQ(states_of(stmt->ird), "HY091");
    EXPECT_EQ(SQLGetDescField(nullptr, 1, SQL_DESC_TYPE, nullptr, 0, nullptr), SQL_INVALID_HANDLE);
}

TEST_F(descriptor, binding_beyond_the_result_shows_in_the_count_of_the_descriptor_only)
{
    ASSERT_EQ(cass_desc_resize(stmt->ird, 9), 0);
    SQLSMALLINT count = 0;
    EXPECT_EQ(SQLGetDescField(stmt->ird, 0, SQL_DESC_COUNT, &count, 0, nullptr), SQL_SUCCESS);
    EXPECT_EQ(count, 9);
    SQLLEN columns = 0;
    EXPECT_EQ(SQLColAttribute(stmt, 0, SQL_COLUMN_COUNT, nullptr, 0, nullptr, &columns),
              SQL_SUCCESS);
    EXPECT_EQ(columns, 3);
    EXPECT_EQ(SQLDescribeCol(stmt, 4, nullptr, 0, nullptr, nullptr, nullptr, nullptr, nullptr),
              SQL_ERROR);
    EXPECT_EQ(states_of(stmt), "07009");
}

// ---- Setting a field -----------------------------------------------------------------------------

TEST_F(descriptor, what_may_be_set_depends_on_the_role)
{
    cass_desc *const loose = fresh_explicit();
    cass_desc *const ird = stmt->ird, *const ipd = stmt->ipd, *const ard = stmt->ard;
    cass_desc *const apd = stmt->apd;
    struct {
        cass_desc *desc;
        SQLSMALLINT rec, id;
        SQLLEN value;
        SQLRETURN code;
        const char *state;
    } const cases[] = {
        {ird, 1, SQL_DESC_ALLOC_TYPE, 1, SQL_ERROR, "HY091"},
        {ird, 0, SQL_DESC_COUNT, 1, SQL_ERROR, "HY016"},
        {loose, 0, SQL_DESC_COUNT, 1, SQL_ERROR, "HY016"},
        {ipd, 0, SQL_DESC_COUNT, 2, SQL_SUCCESS, ""},
        {apd, 0, SQL_DESC_COUNT, -1, SQL_ERROR, "07009"},
        {ard, 0, SQL_DESC_ARRAY_SIZE, 5, SQL_SUCCESS, ""},
        {ipd, 0, SQL_DESC_ARRAY_SIZE, 5, SQL_ERROR, "HY016"},
        {loose, 0, SQL_DESC_BIND_TYPE, 5, SQL_ERROR, "HY016"},
        {ird, 0, SQL_DESC_ARRAY_STATUS_PTR, 16, SQL_SUCCESS, ""},
        {ird, 0, SQL_DESC_ROWS_PROCESSED_PTR, 16, SQL_ERROR, ""},
        {ird, 1, SQL_DESC_SCALE, 1, SQL_ERROR, "HY016"},
        {ard, -1, SQL_DESC_SCALE, 1, SQL_ERROR, "07009"},
        {ipd, 0, SQL_DESC_SCALE, 1, SQL_ERROR, "07009"},
        {apd, 0, SQL_DESC_SCALE, 1, SQL_SUCCESS, ""},
        {ard, 1, SQL_DESC_DISPLAY_SIZE, 1, SQL_SUCCESS, ""},
        {ipd, 1, SQL_DESC_UNSIGNED, 1, SQL_ERROR, "HY091"},
        {ard, 1, SQL_DESC_UNSIGNED, 1, SQL_SUCCESS, ""},
        {ipd, 1, SQL_DESC_LOCAL_TYPE_NAME, 0, SQL_ERROR, "HY091"},
        {ipd, 1, SQL_DESC_NULLABLE, 0, SQL_ERROR, "HY091"},
        {ipd, 1, SQL_DESC_PARAMETER_TYPE, 3, SQL_ERROR, "HY105"},
        {ipd, 1, SQL_DESC_PARAMETER_TYPE, SQL_PARAM_OUTPUT, SQL_SUCCESS, ""},
        {apd, 1, SQL_DESC_PARAMETER_TYPE, 3, SQL_SUCCESS, ""},
        {ipd, 1, SQL_DESC_UNNAMED, SQL_NAMED, SQL_ERROR, "HY092"},
        {ipd, 1, SQL_DESC_UNNAMED, SQL_UNNAMED, SQL_SUCCESS, ""},
        {ard, 1, SQL_DESC_UNNAMED, SQL_NAMED, SQL_SUCCESS, ""},
        {ard, 1, SQL_DESC_CONCISE_TYPE, SQL_C_DEFAULT, SQL_ERROR, "HY003"},
        {ard, 1, SQL_DESC_CONCISE_TYPE, SQL_C_SLONG, SQL_SUCCESS, ""},
        {ard, 1, SQL_DESC_TYPE, SQL_DATETIME, SQL_ERROR, "HY021"},
        {ard, 1, SQL_DESC_DATETIME_INTERVAL_CODE, 7, SQL_ERROR, "HY021"},
        {ard, 1, 4711, 0, SQL_ERROR, "HY091"},
        {ard, 1, SQL_DESC_NUM_PREC_RADIX, 10, SQL_ERROR, ""},
        {loose, 1, SQL_DESC_LENGTH, 4, SQL_SUCCESS, ""},
    };
    for (const auto &one : cases) {
        SCOPED_TRACE(testing::Message() << "identifier " << one.id << " value " << one.value);
        EXPECT_EQ(set(one.desc, one.rec, one.id, one.value), one.code);
        EXPECT_EQ(states_of(one.desc), one.state);
    }
    EXPECT_EQ(ird->rows_processed_ptr, reinterpret_cast<void *>(16));
    EXPECT_EQ(ard->fields[0].num_prec_radix, 10);
    EXPECT_EQ(ard->array_size, 5u);
    EXPECT_EQ(ipd->fields[0].parameter_type, SQL_PARAM_OUTPUT);
    EXPECT_EQ(apd->fields[0].parameter_type, SQL_PARAM_INPUT);
    EXPECT_EQ(ird->fields[0].scale, 15);
}

TEST_F(descriptor, a_value_is_cut_to_the_width_of_its_field)
{
    EXPECT_EQ(set(stmt->ard, 1, SQL_DESC_PRECISION, 0x12345FFFF), SQL_SUCCESS);
    EXPECT_EQ(stmt->ard->fields[0].precision, -1);
    EXPECT_EQ(set(stmt->ard, 1, SQL_DESC_DATETIME_INTERVAL_PRECISION, 0x1FFFFFFFE), SQL_SUCCESS);
    EXPECT_EQ(stmt->ard->fields[0].datetime_interval_precision, -2);
    EXPECT_EQ(set(stmt->ard, 1, SQL_DESC_OCTET_LENGTH, 0x123456789A), SQL_SUCCESS);
    EXPECT_EQ(stmt->ard->fields[0].octet_length, 0x123456789A);
    EXPECT_EQ(set(stmt->ard, 0, SQL_DESC_ARRAY_SIZE, 0x123456789A), SQL_SUCCESS);
    EXPECT_EQ(stmt->ard->array_size, 0x123456789Au);
    EXPECT_EQ(set(stmt->ard, 0, SQL_DESC_BIND_TYPE, 40), SQL_SUCCESS);
    EXPECT_EQ(stmt->ard->bind_type, 40);
}

TEST_F(descriptor, only_the_pointers_leave_a_record_bound)
{
    int target = 0;
    SQLLEN indicator = 0;
    const auto bind = [&] {
        EXPECT_EQ(set(stmt->ard, 2, SQL_DESC_CONCISE_TYPE, SQL_C_SLONG), SQL_SUCCESS);
        EXPECT_EQ(SQLSetDescField(stmt->ard, 2, SQL_DESC_DATA_PTR, &target, 0), SQL_SUCCESS);
        EXPECT_EQ(SQLSetDescField(stmt->ard, 2, SQL_DESC_INDICATOR_PTR, &indicator, 0),
                  SQL_SUCCESS);
        EXPECT_EQ(SQLSetDescField(stmt->ard, 2, SQL_DESC_OCTET_LENGTH_PTR, &indicator, 0),
                  SQL_SUCCESS);
        const cass_field *field = &stmt->ard->fields[1];
        EXPECT_EQ(field->data_ptr, &target);
        EXPECT_EQ(field->indicator_ptr, &indicator);
        EXPECT_EQ(field->octet_length_ptr, &indicator);
    };
    for (const SQLSMALLINT id : {SQL_DESC_CONCISE_TYPE, SQL_DESC_LENGTH, SQL_DESC_LABEL, 4711}) {
        bind();
        set(stmt->ard, 2, id, SQL_C_SLONG);
        const cass_field *field = &stmt->ard->fields[1];
        EXPECT_EQ(field->data_ptr, nullptr) << id;
        EXPECT_EQ(field->indicator_ptr, nullptr) << id;
        EXPECT_EQ(field->octet_length_ptr, nullptr) << id;
    }
    // A record without a type takes the pointer and says that it cannot be used.
    EXPECT_EQ(SQLSetDescField(stmt->ard, 7, SQL_DESC_DATA_PTR, &target, 0), SQL_ERROR);
    EXPECT_EQ(states_of(stmt->ard), "HY021");
    EXPECT_EQ(stmt->ard->fields[6].data_ptr, &target);
    // A parameter's implementation side takes no pointers at all.
    for (const SQLSMALLINT id :
         {SQL_DESC_DATA_PTR, SQL_DESC_INDICATOR_PTR, SQL_DESC_OCTET_LENGTH_PTR})
        EXPECT_EQ(SQLSetDescField(stmt->ipd, 1, id, &target, 0), SQL_SUCCESS);
    EXPECT_EQ(stmt->ipd->fields[0].data_ptr, nullptr);
    EXPECT_EQ(stmt->ipd->fields[0].indicator_ptr, nullptr);
}

TEST_F(descriptor, a_parameter_is_named_in_both_forms)
{
    SQLWCHAR wide[] = {'x', 0x20AC, 'y', 0};
    char ansi[] = "price";
    struct {
        bool is_wide;
        void *value;
        SQLINTEGER length;
        int units;  // -1: no name
    } const cases[] = {{false, ansi, SQL_NTS, 5}, {false, ansi, 2, 2},          {false, ansi, 0, 0},
                       {true, wide, SQL_NTS, 3},  {true, wide, 4, 2},           {true, wide, 5, 2},
                       {true, wide, -7, 0},       {false, nullptr, SQL_NTS, -1}};
    for (const auto &one : cases) {
        SCOPED_TRACE(testing::Message() << one.is_wide << ' ' << one.length);
        EXPECT_EQ((one.is_wide ? SQLSetDescFieldW : SQLSetDescField)(stmt->ipd, 2, SQL_DESC_NAME,
                                                                     one.value, one.length),
                  SQL_SUCCESS);
        const cass_field *field = &stmt->ipd->fields[1];
        EXPECT_EQ(field->column_name == nullptr ? -1 : cass_string_length(field->column_name),
                  one.units);
        SQLSMALLINT unnamed = -1;
        SQLGetDescField(stmt->ipd, 2, SQL_DESC_UNNAMED, &unnamed, 0, nullptr);
        EXPECT_EQ(unnamed, one.units < 0 ? SQL_UNNAMED : SQL_NAMED);
        EXPECT_EQ(field->unnamed, one.units < 0 ? 1 : 0);
    }
    EXPECT_EQ(SQLSetDescField(stmt->ard, 1, SQL_DESC_NAME, ansi, SQL_NTS), SQL_SUCCESS);
    EXPECT_EQ(stmt->ard->fields[0].column_name, nullptr);
}

TEST_F(descriptor, a_whole_record_is_set_and_read_back)
{
    int target = 0;
    SQLLEN length_at = 0, indicator = 0;
    EXPECT_EQ(SQLSetDescRec(stmt->ard, 3, SQL_DATETIME, SQL_CODE_TIMESTAMP, 16, 3, 2, &target,
                            &length_at, &indicator),
              SQL_SUCCESS);
    const cass_field *field = &stmt->ard->fields[2];
    EXPECT_EQ(field->consise_type, SQL_TYPE_TIMESTAMP);
    EXPECT_EQ(field->data_ptr, &target);
    EXPECT_EQ(field->octet_length_ptr, &length_at);
    EXPECT_EQ(field->indicator_ptr, &indicator);

    SQLSMALLINT type = 0, sub_type = 0, precision = 0, scale = 0, nullable = 9;
    guarded length;
    EXPECT_EQ(SQLGetDescRec(stmt->ard, 3, nullptr, 0, nullptr, &type, &sub_type,
                            reinterpret_cast<SQLLEN *>(length.bytes), &precision, &scale,
                            &nullable),
              SQL_SUCCESS);
    EXPECT_EQ(type, SQL_DATETIME);
    EXPECT_EQ(sub_type, SQL_CODE_TIMESTAMP);
    EXPECT_EQ(length.written(), 8u);
    EXPECT_EQ(precision, 3);
    EXPECT_EQ(scale, 2);
    EXPECT_EQ(nullable, 0);
    EXPECT_EQ(SQLGetDescRec(stmt->ard, 4, nullptr, 0, nullptr, nullptr, nullptr, nullptr, nullptr,
                            nullptr, nullptr),
              SQL_ERROR);
    EXPECT_EQ(states_of(stmt->ard), "07009");

    // The parameter's implementation side keeps nothing of the arguments.
    ASSERT_EQ(set(stmt->ipd, 1, SQL_DESC_TYPE, SQL_INTEGER), SQL_SUCCESS);
    stmt->ipd->fields[0].precision = 99;
    EXPECT_EQ(SQLSetDescRec(stmt->ipd, 1, SQL_CHAR, 0, 77, 5, 5, &target, nullptr, nullptr),
              SQL_SUCCESS);
    EXPECT_EQ(stmt->ipd->fields[0].type, SQL_INTEGER);
    EXPECT_EQ(stmt->ipd->fields[0].octet_length, 4);
    EXPECT_EQ(stmt->ipd->fields[0].precision, 0);
    EXPECT_EQ(stmt->ipd->fields[0].data_ptr, nullptr);

    struct {
        cass_desc *desc;
        SQLSMALLINT rec, type, code;
        SQLLEN octets;
        const char *state;
    } const refused[] = {{stmt->ird, 1, 1, 0, 1, "HY016"},  {stmt->ipd, 0, 1, 0, 1, "07009"},
                         {stmt->ard, -1, 1, 0, 1, "07009"}, {stmt->ard, 1, 9, 9, 1, "HY021"},
                         {stmt->ard, 1, 12, 0, 1, "HY003"}, {stmt->ard, 1, 1, 0, -1, "HY021"}};
    for (const auto &one : refused) {
        EXPECT_EQ(SQLSetDescRec(one.desc, one.rec, one.type, one.code, one.octets, 0, 0, nullptr,
                                nullptr, nullptr),
                  SQL_ERROR);
        EXPECT_EQ(states_of(one.desc), one.state);
    }
    EXPECT_EQ(SQLSetDescRec(stmt->ard, 0, SQL_C_BINARY, 0, 8, 0, 0, &target, nullptr, nullptr),
              SQL_SUCCESS);
    EXPECT_EQ(stmt->ard->bookmark_field.data_ptr, &target);
}

// ---- Descriptions --------------------------------------------------------------------------------

TEST_F(descriptor, the_size_of_a_column_is_decided_by_its_type)
{
    struct {
        std::int32_t type;
        SQLULEN size;
    } const cases[] = {{SQL_BIGINT, 19},    {SQL_INTEGER, 10},
                       {SQL_TINYINT, 3},    {SQL_BIT, 1},
                       {SQL_SMALLINT, 5},   {SQL_DOUBLE, 15},
                       {SQL_REAL, 7},       {SQL_DECIMAL, 38},
                       {SQL_VARBINARY, 38}, {SQL_VARCHAR, 0x2122232425262728}};
    for (const auto &one : cases) {
        SCOPED_TRACE(one.type);
        stmt->ird->fields[1].consise_type = one.type;
        SQLSMALLINT type = 0, digits = 0, nullable = 0;
        SQLULEN size = 0;
        EXPECT_EQ(SQLDescribeCol(stmt, 2, nullptr, 0, nullptr, &type, &size, &digits, &nullable),
                  SQL_SUCCESS);
        EXPECT_EQ(type, one.type);
        EXPECT_EQ(size, one.size);
        EXPECT_EQ(digits, 15);
        EXPECT_EQ(nullable, SQL_NULLABLE_UNKNOWN);
    }
}

TEST_F(descriptor, a_description_needs_a_result_and_one_of_its_columns)
{
    const auto describe = [&](SQLUSMALLINT column) {
        return SQLDescribeColW(stmt, column, nullptr, 0, nullptr, nullptr, nullptr, nullptr,
                               nullptr);
    };
    const auto attribute = [&](SQLUSMALLINT column, SQLUSMALLINT id) {
        return SQLColAttributeW(stmt, column, id, nullptr, 0, nullptr, nullptr);
    };
    for (const SQLUSMALLINT column : {0, 4, 65535}) {
        EXPECT_EQ(describe(column), SQL_ERROR) << column;
        EXPECT_EQ(states_of(stmt), "07009");
        EXPECT_EQ(attribute(column, SQL_DESC_NAME), SQL_ERROR) << column;
        EXPECT_EQ(states_of(stmt), "07009");
        EXPECT_EQ(attribute(column, SQL_DESC_COUNT), SQL_SUCCESS) << column;
    }
    EXPECT_EQ(attribute(1, 19), SQL_ERROR);
    EXPECT_EQ(states_of(stmt), "HY091");
    stmt->executed = 0;
    EXPECT_EQ(describe(1), SQL_ERROR);
    EXPECT_EQ(states_of(stmt), "HY000");
    EXPECT_EQ(attribute(1, SQL_DESC_COUNT), SQL_ERROR);
    EXPECT_EQ(states_of(stmt), "HY000");
    stmt->prepared = 1;
    EXPECT_EQ(describe(1), SQL_SUCCESS);
    stmt->async_op = 11;
    EXPECT_EQ(describe(1), SQL_ERROR);
    EXPECT_EQ(states_of(stmt), "HY010");
    stmt->async_op = 0;
}

TEST_F(descriptor, column_zero_is_the_bookmark_when_one_is_in_use)
{
    struct {
        SQLULEN use;
        SQLSMALLINT type;
        SQLULEN size;
        SQLLEN display, length, is_unsigned;
    } const cases[] = {{SQL_UB_FIXED, SQL_INTEGER, 10, 10, 11, 1},
                       {SQL_UB_VARIABLE, SQL_VARBINARY, 0, 8, 8, 0}};
    for (const auto &one : cases) {
        stmt->attrs.use_bookmarks = one.use;
        char name[8] = "x";
        SQLSMALLINT length = -1, type = 0;
        SQLULEN size = 99;
        EXPECT_EQ(SQLDescribeCol(stmt, 0, reinterpret_cast<SQLCHAR *>(name), 8, &length, &type,
                                 &size, nullptr, nullptr),
                  SQL_SUCCESS);
        EXPECT_STREQ(name, "");
        EXPECT_EQ(length, 0);
        EXPECT_EQ(type, one.type);
        EXPECT_EQ(size, one.size);
        const std::pair<SQLUSMALLINT, SQLLEN> answers[] = {{SQL_DESC_DISPLAY_SIZE, one.display},
                                                           {SQL_DESC_LENGTH, one.length},
                                                           {SQL_DESC_UNSIGNED, one.is_unsigned},
                                                           {SQL_DESC_OCTET_LENGTH, 4},
                                                           {SQL_DESC_UNNAMED, SQL_UNNAMED}};
        for (const auto &[id, value] : answers) {
            SQLLEN number = -9;
            EXPECT_EQ(SQLColAttribute(stmt, 0, id, nullptr, 0, nullptr, &number), SQL_SUCCESS);
            EXPECT_EQ(number, value) << id;
        }
    }
}

TEST_F(descriptor, numbers_of_a_column_are_signed_and_eight_bytes_wide)
{
    struct {
        SQLUSMALLINT id;
        SQLLEN value;
    } const cases[] = {{SQL_DESC_COUNT, 3},
                       {SQL_DESC_CONCISE_TYPE, SQL_DECIMAL},
                       {SQL_COLUMN_LENGTH, 0x1112131415161718},
                       {SQL_DESC_LENGTH, 0x1112131415161718},
                       {SQL_COLUMN_PRECISION, 38},
                       {SQL_DESC_PRECISION, 38},
                       {SQL_COLUMN_SCALE, 15},
                       {SQL_DESC_SCALE, 15},
                       {SQL_DESC_DISPLAY_SIZE, 0x2122232425262728},
                       {SQL_COLUMN_NULLABLE, 2},
                       {SQL_DESC_NULLABLE, 2},
                       {SQL_DESC_UNSIGNED, -1},
                       {SQL_DESC_FIXED_PREC_SCALE, 0x1112},
                       {SQL_DESC_UPDATABLE, 0x2122},
                       {SQL_DESC_AUTO_UNIQUE_VALUE, 0x11121314},
                       {SQL_DESC_CASE_SENSITIVE, 0x21222324},
                       {SQL_DESC_SEARCHABLE, 3},
                       {SQL_DESC_NUM_PREC_RADIX, 0x31323334},
                       {SQL_DESC_TYPE, SQL_DECIMAL},
                       {SQL_DESC_UNNAMED, SQL_NAMED},
                       {SQL_DESC_OCTET_LENGTH, 0x0102030405060708}};
    for (const auto &one : cases) {
        SCOPED_TRACE(one.id);
        for (const auto call :
             {SQLColAttribute, SQLColAttributeW, SQLColAttributes, SQLColAttributesW}) {
            guarded number;
            SQLSMALLINT length = -1;
            EXPECT_EQ(call(stmt, 2, one.id, nullptr, 0, &length,
                           reinterpret_cast<SQLLEN *>(number.bytes)),
                      SQL_SUCCESS);
            EXPECT_EQ(length, 8);
            EXPECT_EQ(number.written(), 8u);
            SQLLEN value;
            std::memcpy(&value, number.bytes, sizeof value);
            EXPECT_EQ(value, one.value);
            EXPECT_EQ(call(stmt, 2, one.id, nullptr, 0, nullptr, nullptr), SQL_SUCCESS);
        }
    }
}

TEST_F(descriptor, the_old_column_type_follows_the_level_of_the_connection)
{
    cass_field *field = &stmt->ird->fields[0];
    struct {
        std::int32_t level, type, concise, code;
        SQLLEN old, current;
    } const cases[] = {{2, 9, 93, 3, 11, 93}, {2, 9, 91, 1, 9, 91}, {2, 9, 92, 2, 10, 92},
                       {2, 9, 93, 0, 9, 93},  {3, 9, 93, 3, 9, 93}, {2, 12, 12, 3, 12, 12}};
    for (const auto &one : cases) {
        conn->odbc_level = one.level;
        field->type = one.type;
        field->consise_type = one.concise;
        field->datetime_interval_code = one.code;
        SQLLEN old = 0, current = 0;
        SQLColAttributes(stmt, 1, SQL_COLUMN_TYPE, nullptr, 0, nullptr, &old);
        SQLColAttribute(stmt, 1, SQL_DESC_CONCISE_TYPE, nullptr, 0, nullptr, &current);
        EXPECT_EQ(old, one.old);
        EXPECT_EQ(current, one.current);
    }
}

TEST_F(descriptor, a_parameter_is_described_by_metadata_or_by_its_binding)
{
    ASSERT_EQ(cass_desc_describe(stmt->ipd, 1), 0);
    fill(&stmt->ipd->fields[0]);
    ASSERT_EQ(cass_desc_resize(stmt->apd, 3), 0);
    int value = 0;
    stmt->apd->fields[1].consise_type = SQL_C_SLONG;
    stmt->apd->fields[1].display_size = 11;
    stmt->apd->fields[1].data_ptr = &value;
    stmt->found_param_count = 3;
    struct {
        SQLUSMALLINT number;
        std::int32_t markers;
        SQLRETURN code;
        const char *states;
        SQLSMALLINT type;
        SQLULEN size;
    } const cases[] = {
        {1, 3, SQL_SUCCESS, "", SQL_DECIMAL, 38}, {2, 3, SQL_SUCCESS, "", SQL_C_SLONG, 11},
        {3, 3, SQL_ERROR, "07009", 77, 77},       {0, 3, SQL_ERROR, "07009", 77, 77},
        {9, 3, SQL_ERROR, "07009 07009", 77, 77}, {1, 0, SQL_ERROR, "07009", SQL_DECIMAL, 38}};
    for (const auto &one : cases) {
        SCOPED_TRACE(testing::Message() << one.number << " of " << one.markers);
        stmt->found_param_count = one.markers;
        SQLSMALLINT type = 77;
        SQLULEN size = 77;
        EXPECT_EQ(SQLDescribeParam(stmt, one.number, &type, &size, nullptr, nullptr), one.code);
        EXPECT_EQ(states_of(stmt), one.states);
        EXPECT_EQ(type, one.type);
        EXPECT_EQ(size, one.size);
    }
}

// ---- Explicit descriptors ------------------------------------------------------------------------

TEST_F(descriptor, one_descriptor_serves_several_statements_until_it_is_freed)
{
    cass_stmt *const other = cass_alloc_stmt(conn);
    cass_desc *const shared = fresh_explicit();
    ASSERT_EQ(install(stmt, SQL_ATTR_APP_ROW_DESC, shared), SQL_SUCCESS);
    ASSERT_EQ(install(other, SQL_ATTR_APP_ROW_DESC, shared), SQL_SUCCESS);
    ASSERT_EQ(install(other, SQL_ATTR_APP_PARAM_DESC, shared), SQL_SUCCESS);
    EXPECT_EQ(set(shared, 0, SQL_DESC_COUNT, 4), SQL_SUCCESS);
    EXPECT_EQ(SQLSetStmtAttr(stmt, SQL_ATTR_ROW_ARRAY_SIZE, reinterpret_cast<void *>(7), 0),
              SQL_SUCCESS);
    EXPECT_EQ(shared->array_size, 7u);

    cass_free_desc(shared, 0);
    EXPECT_EQ(stmt->ard, stmt->implicit_ard);
    EXPECT_EQ(other->ard, other->implicit_ard);
    EXPECT_EQ(other->apd, other->implicit_apd);
    SQLULEN size = 0;
    EXPECT_EQ(SQLGetStmtAttr(stmt, SQL_ATTR_ROW_ARRAY_SIZE, &size, 0, nullptr), SQL_SUCCESS);
    EXPECT_EQ(size, 1u);
}

TEST_F(descriptor, a_descriptor_outlives_the_statements_that_used_it)
{
    cass_stmt *const other = cass_alloc_stmt(conn);
    cass_desc *const shared = fresh_explicit();
    ASSERT_EQ(install(stmt, SQL_ATTR_APP_PARAM_DESC, shared), SQL_SUCCESS);
    ASSERT_EQ(install(other, SQL_ATTR_APP_PARAM_DESC, shared), SQL_SUCCESS);
    EXPECT_EQ(SQLGetDescField(shared, 0, SQL_DESC_TYPE, nullptr, 0, nullptr), SQL_ERROR);
    cass_free_stmt(other, 0);
    // Without its statement it has no role: records can be set, the header cannot.
    EXPECT_EQ(set(shared, 2, SQL_DESC_CONCISE_TYPE, SQL_C_CHAR), SQL_SUCCESS);
    EXPECT_EQ(set(shared, 0, SQL_DESC_ARRAY_SIZE, 2), SQL_ERROR);
    EXPECT_EQ(states_of(shared), "HY016");
    EXPECT_EQ(SQLGetDescField(shared, 0, SQL_DESC_TYPE, nullptr, 0, nullptr), SQL_SUCCESS);
}

}  // namespace
