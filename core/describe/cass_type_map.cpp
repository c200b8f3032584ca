// How a Cassandra type looks to an ODBC application: the description of a column by its CQL type,
// the defaults that follow from a record's concise type, and which type numbers are accepted where.
// Every decision is a row of a table here; odd rows are deliberate.
#include <cstring>
#include <span>

#include "core/cell/cass_data.h"
#include "core/describe/cass_field.h"
#include "core/diag/cass_err.h"
#include "core/log/cass_log.h"

static constexpr char log_source[] = "cass_type_map.c";

// ---- Columns by CQL type -----------------------------------------------------------------------

// Sizes that a connection's settings give.
enum : std::int32_t {
    STRING_LEN = -1,
    BINARY_LEN = -2,
};

struct column_row {
    std::int32_t option_id;
    std::int32_t sql_type;  // concise type of an ODBC 3 application
    std::int32_t type;      // verbose type
    std::int32_t display_size;
    std::int32_t precision;
    std::int32_t scale;
    std::int32_t length;
    std::int32_t octet_length;
    const char *literal_prefix;
    const char *literal_suffix;
    const char *local_type_name;  // null: the class name of a custom type
    const char *type_name;
    std::int32_t searchable;
    std::int32_t num_prec_radix;
    std::int32_t interval_code;  // 0: no datetime type, and the interval fields stay as they are
};

constexpr std::int32_t S = STRING_LEN;
constexpr std::int32_t B = BINARY_LEN;
constexpr const char *NO = nullptr;

// Meant as it stands: int reports a precision of 7 and upper-case names, decimal is named "varint"
// and has a scale of 15, boolean has a length of 3, time is a timestamp, timeuuid is named "uuid",
// text is never one of the wide types, and collections, user types and tuples are binary.
// clang-format off
static constexpr column_row column_rows[] = {
    // option id   type verb disp prec sc len oct prefix  suffix local name   type name srch rdx iv
    {CQL_CUSTOM,     -3,  -3,  B,  B,  0,  B,  B, "0x",    NO,   NO,          "BINARY",    2, 0, 0},
    {CQL_ASCII,      12,  12,  S,  S,  0,  S,  S, "'",     "'",  "ascii",     "ascii",     3, 0, 0},
    {CQL_BIGINT,     -5,  -5, 20, 19,  0, 20,  8, NO,      NO,   "bigint",    "bigint",    2, 0, 0},
    {CQL_BLOB,       -3,  -3,  B,  B,  0,  B,  B, "0x",    NO,   "blob",      "BINARY",    2, 0, 0},
    {CQL_BOOLEAN,    -7,  -7,  1,  1,  0,  3,  1, NO,      NO,   "boolean",   "bit",       2, 0, 0},
    {CQL_COUNTER,    -5,  -5, 20, 19,  0, 20,  8, NO,      NO,   "counter",   "counter",   2, 0, 0},
    {CQL_DECIMAL,     2,   2, 38, 38, 15, 38,  S, NO,      NO,   "varint",    "varint",    3, 0, 0},
    {CQL_DOUBLE,      8,   8, 24, 53,  0, 53,  8, NO,      NO,   "double",    "double",    2, 2, 0},
    {CQL_FLOAT,       7,   7, 14, 24,  0, 24,  4, NO,      NO,   "float",     "float",     2, 2, 0},
    {CQL_INT,         4,   4,  8,  7,  0,  7,  4, NO,      NO,   "INT",       "INT",       2, 0, 0},
    {CQL_TIMESTAMP,  93,   9, 23,  3,  3, 23, 16, "{ts '", "'}", "TIMESTAMP", "TIMESTAMP", 3, 0, 3},
    {CQL_UUID,      -11, -11, 36, 36,  0, 36, 16, NO,      NO,   "uuid",      "uuid",      3, 0, 0},
    {CQL_VARCHAR,    12,  12,  S,  S,  0,  S,  S, "'",     "'",  "varchar",   "varchar",   3, 0, 0},
    {CQL_VARINT,      2,   2, 38, 38,  0, 38,  S, NO,      NO,   "varint",    "varint",    3, 0, 0},
    {CQL_TIMEUUID,  -11, -11, 36, 36,  0, 36, 16, NO,      NO,   "uuid",      "uuid",      3, 0, 0},
    {CQL_INET,       12,  12, 39, 39,  0, 39,  S, "'",     "'",  "inet",      "inet",      3, 0, 0},
    {CQL_DATE,       91,   9, 10,  0,  0,  6,  6, "{d '",  "'}", "date",      "date",      3, 0, 1},
    {CQL_TIME,       93,   9, 29,  9,  9, 29, 16, "{ts '", "'}", "TIME",      "TIME",      3, 0, 3},
    {CQL_SMALLINT,    5,   5,  6,  5,  0,  5,  2, NO,      NO,   "smallint",  "smallint",  2, 0, 0},
    {CQL_TINYINT,    -6,  -6,  4,  3,  0,  3,  1, NO,      NO,   "tinyint",   "tinyint",   2, 0, 0},
    {CQL_LIST,       -3,  -3,  B,  B,  0,  B,  B, "0x",    NO,   "list",      "BINARY",    2, 0, 0},
    {CQL_MAP,        -3,  -3,  B,  B,  0,  B,  B, "0x",    NO,   "map",       "BINARY",    2, 0, 0},
    {CQL_SET,        -3,  -3,  B,  B,  0,  B,  B, "0x",    NO,   "set",       "BINARY",    2, 0, 0},
    {CQL_UDT,        -3,  -3,  B,  B,  0,  B,  B, "0x",    NO,   "udt",       "BINARY",    2, 0, 0},
    {CQL_TUPLE,      -3,  -3,  B,  B,  0,  B,  B, "0x",    NO,   "tuple",     "BINARY",    2, 0, 0},
};
// clang-format on

static std::int32_t configured_size(const cass_conn *conn, std::int32_t size)
{
    if (size == STRING_LEN)
        return shared_get(&conn->settings.string_len);
    if (size == BINARY_LEN)
        return shared_get(&conn->settings.binary_len);
    return size;
}

// Copies into the unset text of a fresh record, null for null. False when memory ran out.
static bool copy_text(cass_string **text, const cass_string *value)
{
    *text = cass_string_copy(value);
    return value == nullptr || *text != nullptr;
}

// The same, borrowing the text if the descriptor holds it for all its columns.
static bool share_text(cass_string **text, const cass_string *value, const cass_string *shared)
{
    if (value == nullptr || value != shared || value->length == 0)
        return copy_text(text, value);
    *text = cass_string_wrap(value->text, value->length);
    return *text != nullptr;
}

static bool is_odbc2(const cass_conn *conn)
{
    return conn_env(conn)->odbc_version == SQL_OV_ODBC2;
}

// False when memory ran out.
static bool fill_column(const cass_conn *conn, cass_field *field, const column_row &row,
                        const cass_type_option *option)
{
    field->consise_type = row.interval_code != 0 && is_odbc2(conn)
                              ? SQL_DATE + row.interval_code - SQL_CODE_DATE
                              : row.sql_type;
    field->type = row.type;
    field->display_size = configured_size(conn, row.display_size);
    field->precision = configured_size(conn, row.precision);
    field->scale = row.scale;
    field->length = configured_size(conn, row.length);
    field->octet_length = configured_size(conn, row.octet_length);
    field->searchable = row.searchable;
    field->num_prec_radix = row.num_prec_radix;
    if (row.interval_code != 0) {
        field->datetime_interval_code = row.interval_code;
        field->datetime_interval_precision = row.scale;  // digits of the second, both
    }
    field->literal_prefix = row.literal_prefix;
    field->literal_suffix = row.literal_suffix;
    field->type_name = row.type_name;
    field->local_type_name = row.local_type_name;
    return row.local_type_name != nullptr ||
           copy_text(&field->custom_type_name, option->custom_name);
}

static bool time_is_a_timestamp(const cass_conn *conn)
{
    return conn->conduct->time_is_a_timestamp;
}

// In place of the table's: nanoseconds since midnight, in text with nine digits.
static constexpr column_row time_row = {
    .option_id = CQL_TIME,
    .sql_type = SQL_TYPE_TIME,
    .type = SQL_DATETIME,
    .display_size = 18,
    .precision = 9,
    .scale = 9,
    .length = 18,
    .octet_length = sizeof(SQL_TIME_STRUCT),
    .literal_prefix = "'",
    .literal_suffix = "'",
    .local_type_name = "time",
    .type_name = "time",
    .searchable = SQL_PRED_SEARCHABLE,
    .num_prec_radix = 0,
    .interval_code = SQL_CODE_TIME,
};

// Nested values that are read as text.
static constexpr column_row literal_rows[] = {
    // clang-format off
    // option id   type verb disp prec sc len oct prefix  suffix local name   type name   srch rdx iv
    {CQL_LIST,       -9,  -9,  S,  S,  0,  S,  S, NO,      NO,   "list",      "list",      2, 0, 0},
    {CQL_MAP,        -9,  -9,  S,  S,  0,  S,  S, NO,      NO,   "map",       "map",       2, 0, 0},
    {CQL_SET,        -9,  -9,  S,  S,  0,  S,  S, NO,      NO,   "set",       "set",       2, 0, 0},
    {CQL_UDT,        -9,  -9,  S,  S,  0,  S,  S, NO,      NO,   "udt",       "udt",       2, 0, 0},
    {CQL_TUPLE,      -9,  -9,  S,  S,  0,  S,  S, NO,      NO,   "tuple",     "tuple",     2, 0, 0},
    {CQL_DURATION,   -9,  -9,  S,  S,  0,  S,  S, NO,      NO,   "duration",  "duration",  2, 0, 0},
    {CQL_VECTOR,     -9,  -9,  S,  S,  0,  S,  S, NO,      NO,   "vector",    "vector",    2, 0, 0},
    // clang-format on
};

// The row of the type; null for an unknown one.
static const column_row *find_column_row(const cass_conn *conn, std::int32_t option_id,
                                         bool literals)
{
    if (option_id == CQL_TIME && !time_is_a_timestamp(conn))
        return &time_row;
    for (const column_row &row : literal_rows) {
        if (row.option_id == option_id && literals)
            return &row;
    }
    for (const column_row &row : column_rows) {
        if (row.option_id == option_id)
            return &row;
    }
    return nullptr;
}

int cass_field_from_option(cass_stmt *stmt, cass_desc *desc, std::int32_t index,
                           const cass_string *keyspace, const cass_string *table,
                           const cass_string *name, const cass_type_option *option)
{
    cass_field *field = &desc->fields[index];
    field->searchable = SQL_PRED_SEARCHABLE;
    field->unsigned_attr = 0;
    field->auto_unique = 0;
    field->case_sensitive = 0;
    field->nullable = SQL_NULLABLE_UNKNOWN;  // the protocol does not tell
    field->updatable = SQL_ATTR_READWRITE_UNKNOWN;
    field->cql_type = option->option_id;
    field->catalog_name = nullptr;
    const cass_conn *conn = stmt_conn(stmt);
    const bool literals = cass_cells_are_literals(conn);
    const cass_type_option *told = literals ? cql_type_meant(option) : option;
    field->decode = cass_cell_decoder_for(conn, told->option_id);
    if (!share_text(&field->keyspace_name, keyspace, desc->shared_keyspace) ||
        !share_text(&field->table_name, table, desc->shared_table) ||
        !copy_text(&field->column_name, name))
        return -1;

    const column_row *row = find_column_row(conn, told->option_id, literals);
    if (row == nullptr)
        return -6;
    return fill_column(conn, field, *row, option) ? 0 : -1;
}

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
    cass_string_free(field->custom_type_name);
    field->custom_type_name = nullptr;
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
        return is_odbc2(conn) ? row.odbc2_type : row.sql_type;
    }
    return SQL_VARBINARY;  // collections, user types, and whatever the server invents
}
