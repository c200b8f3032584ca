// Types by their numbers and names: the defaults that follow from a record's concise type, which
// type numbers are accepted where, and the type of a name. Every decision is a row of a table here;
// odd rows are deliberate.
#include <cstring>
#include <span>

#include "core/describe/cass_field.h"
#include "core/diag/cass_err.h"
#include "core/log/cass_log.h"

static constexpr char log_source[] = "cass_type_map.c";

constexpr const char *NO = nullptr;

// ---- Defaults of a record by its concise type --------------------------------------------------

constexpr std::int32_t LEFT = INT32_MIN;        // the field keeps its value
constexpr std::int32_t OCTETS = INT32_MIN + 1;  // worked out from octet_length

struct default_row {
    std::int32_t concise_type;
    std::int32_t octet_length;
    std::int32_t display_size;
    std::int32_t precision;
    std::int32_t interval_precision;
    std::int32_t length;
    std::int32_t num_prec_radix;
    const char *literal_prefix;
    const char *literal_suffix;
    const char *name;  // local_type_name and type_name
};

// The time rows carry the prefix of a date. Text types other than CHAR and WCHAR, and binary types
// other than BINARY, have no defaults and are refused: C types are what these rows serve.
// clang-format off
static constexpr default_row default_rows[] = {
    // type octets display prec intv  length rdx prefix   suffix names
    {-28,     1,      1,  0,     0,      1,  0, NO,      NO,   "bit"},
    {-26,     1,      1,  0,     0,      1,  0, NO,      NO,   "bit"},
    { -7,     1,      1,  0,     0,      1,  0, NO,      NO,   "bit"},
    { -6,     1,      1,  0,     0,      1,  0, NO,      NO,   "bit"},
    {-27,     8,     20,  0,  LEFT,     20,  0, NO,      NO,   "bigint"},
    {-25,     8,     20,  0,  LEFT,     20,  0, NO,      NO,   "bigint"},
    {-18,     4,     11,  0,     0,     10,  0, NO,      NO,   "int"},
    {-16,     4,     11,  0,     0,     10,  0, NO,      NO,   "int"},
    {  4,     4,     11,  0,     0,     10,  0, NO,      NO,   "int"},
    {-17,     2,      5,  0,     0,      5,  0, NO,      NO,   "smallint"},
    {-15,     2,      5,  0,     0,      5,  0, NO,      NO,   "smallint"},
    {  5,     2,      5,  0,     0,      5,  0, NO,      NO,   "smallint"},
    {-11,    16,     36, 36,  LEFT,     36,  0, NO,      NO,   "uniqueidentifier"},
    { -8,  LEFT, OCTETS,  0,     0,      1,  0, "N'",    "'",  "nchar"},
    { -2,  LEFT, OCTETS,  0,     0, OCTETS,  0, "0x",    "",   "binary"},
    {  1,  LEFT,      0,  0,     0,      1,  0, "'",     "'",  "char"},
    {  2,    19,      0, 38,     0,     38, 10, NO,      NO,   "numeric"},
    {  7,     4,     15, 24,     0,     15,  2, NO,      NO,   "float"},
    {  8,     8,     15, 53,     0,     15,  2, NO,      NO,   "double"},
    {  9,     6,     10,  0,     0,     10,  0, "{d '",  "'}", "date"},
    { 91,     6,     10,  0,     0,     10,  0, "{d '",  "'}", "date"},
    { 10,     6,      8,  0,     0,      8,  0, "{d '",  "'}", "time"},
    { 92,     6,      8,  0,     0,      8,  0, "{d '",  "'}", "time"},
    { 11,    16,     23,  3,     3,     23,  0, "{ts '", "'}", "timestamp"},
    { 93,    16,     23,  3,     3,     23,  0, "{ts '", "'}", "timestamp"},
};
// clang-format on

// Interval code (1 date, 2 time, 3 timestamp) of a concise datetime type of either ODBC version; 0
// for another type.
static std::int32_t interval_code_of(std::int32_t concise_type)
{
    if (concise_type >= SQL_DATE && concise_type <= SQL_TIMESTAMP)
        return concise_type - SQL_DATE + SQL_CODE_DATE;
    if (concise_type >= SQL_TYPE_DATE && concise_type <= SQL_TYPE_TIMESTAMP)
        return concise_type - SQL_TYPE_DATE + SQL_CODE_DATE;
    return 0;
}

static bool is_interval_code(std::int32_t code)
{
    return code >= SQL_CODE_DATE && code <= SQL_CODE_TIMESTAMP;
}

// Concise type of an interval code, always the ODBC 3 number.
static std::int32_t concise_type_of(std::int32_t interval_code)
{
    return interval_code - SQL_CODE_DATE + SQL_TYPE_DATE;
}

// Brings the three type fields in step. False when the leading one holds no usable value.
static bool align_types(cass_field *field, int mode)
{
    switch (mode) {
    case DESC_FROM_CONCISE_TYPE:
        field->datetime_interval_code = interval_code_of(field->consise_type);
        field->type = field->datetime_interval_code != 0 ? SQL_DATETIME : field->consise_type;
        return true;
    case DESC_FROM_INTERVAL_CODE:
        if (field->datetime_interval_code == 0)
            return true;
        if (!is_interval_code(field->datetime_interval_code))
            return false;
        field->type = SQL_DATETIME;
        field->consise_type = concise_type_of(field->datetime_interval_code);
        return true;
    default:
        if (field->type != SQL_DATETIME) {
            field->consise_type = field->type;
            field->datetime_interval_code = 0;
            return true;
        }
        if (!is_interval_code(field->datetime_interval_code))
            return false;
        field->consise_type = concise_type_of(field->datetime_interval_code);
        return true;
    }
}

// Digits of a hexadecimal rendering with its prefix, or characters of wide text. An application may
// have set any length, so the product wraps.
static SQLLEN display_size_of(std::int32_t concise_type, SQLLEN octet_length)
{
    if (concise_type == SQL_WCHAR)
        return octet_length / 2;
    return static_cast<SQLLEN>(static_cast<SQLULEN>(octet_length) * 2 + 2);
}

static void name_type(cass_field *field, const char *name, const char *literal_prefix,
                      const char *literal_suffix)
{
    free_string(&field->custom_type_name);
    free_string(&field->full_type_name);
    field->literal_prefix = literal_prefix;
    field->literal_suffix = literal_suffix;
    field->local_type_name = name;
    field->type_name = name;
}

static void fill_defaults(cass_field *field, const default_row &row)
{
    if (row.octet_length != LEFT)
        field->octet_length = row.octet_length;
    field->display_size = row.display_size != OCTETS
                              ? row.display_size
                              : display_size_of(row.concise_type, field->octet_length);
    field->precision = row.precision;
    if (row.interval_precision != LEFT)
        field->datetime_interval_precision = row.interval_precision;
    field->length = row.length != OCTETS ? row.length : field->octet_length;
    field->num_prec_radix = row.num_prec_radix;
    field->scale = 0;
    field->fixed_prec_scale = 0;
    name_type(field, row.name, row.literal_prefix, row.literal_suffix);
}

int cass_update_desc_type(cass_handle *handle, cass_field *field, int mode)
{
    if (!align_types(field, mode)) {
        CASS_LOG(handle, LOG_ERROR, "cass_update_desc_type: invalid type %d, interval code %d",
                 field->type, field->datetime_interval_code);
        cass_post_error(handle, STATE_HY021, 0, nullptr);
        return -1;
    }
    for (const default_row &row : default_rows) {
        if (row.concise_type != field->consise_type)
            continue;
        fill_defaults(field, row);
        return 0;
    }
    // The names of the type before go even when the new one has none.
    name_type(field, nullptr, nullptr, nullptr);
    CASS_LOG(handle, LOG_ERROR, "cass_update_desc_type: invalid type %d", field->consise_type);
    cass_post_error(handle, STATE_HY003, 0, nullptr);
    return -1;
}

// ---- Type numbers ------------------------------------------------------------------------------

struct type_range {
    std::int32_t first;
    std::int32_t last;
};

// Types of a record that are no datetime types.
static constexpr type_range plain_types[] = {{-28, -25}, {-18, -15}, {-11, -1}, {1, 8}, {12, 12}};

static constexpr type_range c_types[] = {{-28, -25}, {-18, -15}, {-11, -11}, {-8, -6},
                                         {-2, -2},   {1, 2},     {4, 5},     {7, 11},
                                         {91, 93},   {99, 99},   {101, 113}};

static constexpr type_range sql_types[] = {{-28, -25}, {-18, -15}, {-11, -1}, {1, 12}, {91, 93}};

static bool in_ranges(std::span<const type_range> ranges, std::int32_t type)
{
    for (const type_range &range : ranges)
        if (type >= range.first && type <= range.last)
            return true;
    return false;
}

int cass_valid_c_type(std::int32_t type)
{
    return in_ranges(c_types, type) ? 1 : 0;
}

int cass_valid_sql_type(std::int32_t type)
{
    return in_ranges(sql_types, type) ? 1 : 0;
}

static bool types_consistent(const cass_field *field)
{
    const bool is_datetime =
        field->type == SQL_DATETIME && is_interval_code(field->datetime_interval_code);
    if (interval_code_of(field->consise_type) != 0)
        return is_datetime;
    return in_ranges(plain_types, field->consise_type) &&
           (is_datetime || in_ranges(plain_types, field->type));
}

// What is wrong with the sizes of a record whose types are good; null when nothing is.
static const char *size_complaint(const cass_field *field)
{
    switch (field->consise_type) {
    case SQL_WVARCHAR:
    case SQL_WCHAR:
    case SQL_CHAR:
    case SQL_VARCHAR:
        if (field->precision < -1)
            return "Negative precision value";
        break;
    case SQL_NUMERIC:
    case SQL_DECIMAL:
        if (field->scale < 0)
            return "Negative scale value";
        if (field->precision < 0)
            return "Negative precision value";
        if (field->precision == 0)
            return "Invalid precision value";
        break;
    default:
        break;
    }
    return field->octet_length < 0 ? "Negative octet length value" : nullptr;
}

int cass_field_check_types(cass_handle *handle, const cass_field *field)
{
    if (types_consistent(field))
        return 0;
    CASS_LOG(handle, LOG_ERROR, "cass_field_check: inconsistent types %d and %d",
             field->consise_type, field->type);
    cass_post_error(handle, STATE_HY021, 0, nullptr);
    return -1;
}

int cass_field_check(cass_handle *handle, const cass_field *field)
{
    if (cass_field_check_types(handle, field) != 0)
        return -1;
    if (const char *complaint = size_complaint(field)) {
        CASS_LOG(handle, LOG_ERROR, "cass_field_check: %s", complaint);
        cass_post_error(handle, STATE_HY021, 0, complaint);
        return -1;
    }
    return 0;
}

// ---- C types for SQL types ---------------------------------------------------------------------

struct c_type_row {
    std::int32_t sql_type;
    std::int32_t c_type;
    std::int32_t odbc2_type;
};

// Dates and times have the numbers from before ODBC 3.0 whatever the application's version.
// TINYINT goes to the unsigned type here and to the signed one when a cell is read by default.
static constexpr c_type_row c_type_rows[] = {
    {SQL_C_UTINYINT, SQL_C_UTINYINT, SQL_C_UTINYINT},
    {SQL_TINYINT, SQL_C_UTINYINT, SQL_C_UTINYINT},
    {SQL_C_UBIGINT, SQL_C_UBIGINT, SQL_C_CHAR},
    {SQL_C_STINYINT, SQL_C_STINYINT, SQL_C_STINYINT},
    {SQL_C_SBIGINT, SQL_C_SBIGINT, SQL_C_CHAR},
    {SQL_BIGINT, SQL_C_SBIGINT, SQL_C_CHAR},
    {SQL_C_ULONG, SQL_C_ULONG, SQL_C_ULONG},
    {SQL_C_USHORT, SQL_C_USHORT, SQL_C_USHORT},
    {SQL_GUID, SQL_C_GUID, SQL_C_GUID},
    {SQL_C_SLONG, SQL_C_SLONG, SQL_C_SLONG},
    {SQL_INTEGER, SQL_C_SLONG, SQL_C_SLONG},
    {SQL_C_SSHORT, SQL_C_SSHORT, SQL_C_SSHORT},
    {SQL_SMALLINT, SQL_C_SSHORT, SQL_C_SSHORT},
    {SQL_WLONGVARCHAR, SQL_C_WCHAR, SQL_C_WCHAR},
    {SQL_WVARCHAR, SQL_C_WCHAR, SQL_C_WCHAR},
    {SQL_WCHAR, SQL_C_WCHAR, SQL_C_WCHAR},
    {SQL_BIT, SQL_C_BIT, SQL_C_BIT},
    {SQL_LONGVARBINARY, SQL_C_BINARY, SQL_C_BINARY},
    {SQL_VARBINARY, SQL_C_BINARY, SQL_C_BINARY},
    {SQL_BINARY, SQL_C_BINARY, SQL_C_BINARY},
    {SQL_NUMERIC, SQL_C_NUMERIC, SQL_C_NUMERIC},
    {SQL_DECIMAL, SQL_C_NUMERIC, SQL_C_NUMERIC},
    {SQL_FLOAT, SQL_C_DOUBLE, SQL_C_DOUBLE},
    {SQL_DOUBLE, SQL_C_DOUBLE, SQL_C_DOUBLE},
    {SQL_REAL, SQL_C_FLOAT, SQL_C_FLOAT},
    {SQL_DATE, SQL_C_DATE, SQL_C_DATE},
    {SQL_TYPE_DATE, SQL_C_DATE, SQL_C_DATE},
    {SQL_TIME, SQL_C_TIME, SQL_C_TIME},
    {SQL_TYPE_TIME, SQL_C_TIME, SQL_C_TIME},
    {SQL_TIMESTAMP, SQL_C_TIMESTAMP, SQL_C_TIMESTAMP},
    {SQL_TYPE_TIMESTAMP, SQL_C_TIMESTAMP, SQL_C_TIMESTAMP},
};

std::int32_t cass_default_c_type(std::int32_t sql_type, int numeric_as_char, int odbc2)
{
    for (const c_type_row &row : c_type_rows) {
        if (row.sql_type != sql_type)
            continue;
        if (row.c_type == SQL_C_NUMERIC && numeric_as_char)
            return SQL_C_CHAR;
        return odbc2 ? row.odbc2_type : row.c_type;
    }
    return SQL_C_CHAR;
}

// ---- SQL types by the name of a CQL type -------------------------------------------------------

struct type_name_row {
    const char *name;
    std::int32_t sql_type;
    std::int32_t odbc2_type;
    std::int32_t size;
    std::int32_t scale;
};

static constexpr type_name_row type_name_rows[] = {
    {"ascii", SQL_VARCHAR, SQL_VARCHAR, 0, 0},
    {"inet", SQL_VARCHAR, SQL_VARCHAR, 0, 0},
    {"text", SQL_VARCHAR, SQL_VARCHAR, 0, 0},
    {"varchar", SQL_VARCHAR, SQL_VARCHAR, 0, 0},
    {"bigint", SQL_BIGINT, SQL_BIGINT, 0, 0},
    {"counter", SQL_BIGINT, SQL_BIGINT, 0, 0},
    {"blob", SQL_VARBINARY, SQL_VARBINARY, 0, 0},
    {"duration", SQL_VARBINARY, SQL_VARBINARY, 0, 0},
    {"boolean", SQL_BIT, SQL_BIT, 0, 0},
    {"date", SQL_TYPE_DATE, SQL_DATE, 0, 0},
    {"decimal", SQL_NUMERIC, SQL_NUMERIC, 38, 15},
    {"double", SQL_DOUBLE, SQL_DOUBLE, 0, 0},
    {"float", SQL_REAL, SQL_REAL, 0, 0},
    {"int", SQL_INTEGER, SQL_INTEGER, 0, 0},
    {"smallint", SQL_SMALLINT, SQL_SMALLINT, 0, 0},
    {"time", SQL_TYPE_TIMESTAMP, SQL_TIMESTAMP, 9, 9},
    {"timestamp", SQL_TYPE_TIMESTAMP, SQL_TIMESTAMP, 3, 3},
    {"timeuuid", SQL_GUID, SQL_GUID, 0, 0},
    {"uuid", SQL_GUID, SQL_GUID, 0, 0},
    {"tinyint", SQL_TINYINT, SQL_TINYINT, 0, 0},
    {"varint", SQL_NUMERIC, SQL_NUMERIC, 38, 0},
};

// Unit for unit: the schema tables spell type names in one way only.
static bool text_equals(const cass_string *text, const char *name)
{
    const auto length = static_cast<std::int32_t>(std::strlen(name));
    if (cass_string_length(text) != length)
        return false;
    for (std::int32_t index = 0; index < length; ++index)
        if (text->text[index] != static_cast<unsigned char>(name[index]))
            return false;
    return true;
}

std::int32_t cass_sql_type_from_name(const cass_conn *conn, const cass_string *name,
                                     std::int32_t *size, std::int32_t *scale)
{
    *size = 0;
    *scale = 0;
    for (const type_name_row &row : type_name_rows) {
        if (!text_equals(name, row.name))
            continue;
        *size = row.size;
        *scale = row.scale;
        return conn_env(conn)->odbc_version == SQL_OV_ODBC2 ? row.odbc2_type : row.sql_type;
    }
    return SQL_VARBINARY;  // collections, user types, and whatever the server invents
}
