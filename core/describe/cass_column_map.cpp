// How a Cassandra type looks to an ODBC application: the description of a column by its CQL type.
// Every decision is a row of a table here; odd rows are deliberate.
#include <iterator>
#include <span>
#include <string_view>

#include "core/cell/cass_data.h"
#include "core/describe/cass_field.h"
#include "core/describe/cass_type_name.h"
#include "core/net/cass_conn_shared.h"
#include "core/wire/cql_class.h"

// Sizes that a connection's settings give.
enum : std::int32_t {
    STRING_LEN = -1,
    BINARY_LEN = -2,
    WIDE_LEN = -3,              // bytes of wide text of STRING_LEN characters
    HEXADECIMAL_LEN = -4,       // digits of BINARY_LEN bytes
    WIDE_HEXADECIMAL_LEN = -5,  // bytes of these as wide text
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
constexpr std::int32_t W = WIDE_LEN;
constexpr std::int32_t X = HEXADECIMAL_LEN;
constexpr std::int32_t WX = WIDE_HEXADECIMAL_LEN;
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

static std::int32_t doubled(std::int32_t size)
{
    return size < INT32_MAX / 2 ? 2 * size : INT32_MAX;
}

static std::int32_t configured_size(const cass_conn *conn, std::int32_t size)
{
    if (size == STRING_LEN)
        return shared_get(&conn->settings.string_len);
    if (size == BINARY_LEN)
        return shared_get(&conn->settings.binary_len);
    if (size == WIDE_LEN)
        return doubled(shared_get(&conn->settings.string_len));
    if (size == HEXADECIMAL_LEN)
        return doubled(shared_get(&conn->settings.binary_len));
    if (size == WIDE_HEXADECIMAL_LEN)
        return doubled(doubled(shared_get(&conn->settings.binary_len)));
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

static bool descriptions_are_approximate(const cass_conn *conn)
{
    return conn->conduct->descriptions_are_approximate;
}

// In place of the rows above. The whole name of a nested type stands in the record.
// clang-format off
static constexpr column_row exact_rows[] = {
    // option id   type verb disp prec sc len oct prefix suffix local name   type name  srch rdx iv
    {CQL_CUSTOM,     -3,  -3,  X,  B,  0,  B,  B, "0x",   NO,   NO,          "blob",      2,  0, 0},
    {CQL_ASCII,      12,  12,  S,  S,  0,  S,  S, "'",    "'",  "ascii",     "ascii",     3,  0, 0},
    {CQL_BIGINT,     -5,  -5, 20, 19,  0, 19,  8, NO,     NO,   "bigint",    "bigint",    2, 10, 0},
    {CQL_BLOB,       -3,  -3,  X,  B,  0,  B,  B, "0x",   NO,   "blob",      "blob",      2,  0, 0},
    {CQL_BOOLEAN,    -7,  -7,  1,  1,  0,  1,  1, NO,     NO,   "boolean",   "boolean",   2,  0, 0},
    {CQL_COUNTER,    -5,  -5, 20, 19,  0, 19,  8, NO,     NO,   "counter",   "counter",   2, 10, 0},
    {CQL_DECIMAL,     2,   2, 40, 38, 15, 38, 40, NO,     NO,   "decimal",   "decimal",   2, 10, 0},
    {CQL_DOUBLE,      8,   8, 24, 53,  0, 53,  8, NO,     NO,   "double",    "double",    2,  2, 0},
    {CQL_FLOAT,       7,   7, 14, 24,  0, 24,  4, NO,     NO,   "float",     "float",     2,  2, 0},
    {CQL_INT,         4,   4, 11, 10,  0, 10,  4, NO,     NO,   "int",       "int",       2, 10, 0},
    {CQL_TIMESTAMP,  93,   9, 23,  3,  3, 23, 16, "'",    "'",  "timestamp", "timestamp", 2,  0, 3},
    {CQL_UUID,      -11, -11, 36, 36,  0, 36, 16, NO,     NO,   "uuid",      "uuid",      2,  0, 0},
    {CQL_VARCHAR,    -9,  -9,  S,  S,  0,  S,  W, "'",    "'",  "text",      "text",      3,  0, 0},
    {CQL_VARINT,      2,   2, 40, 38,  0, 38, 40, NO,     NO,   "varint",    "varint",    2, 10, 0},
    {CQL_TIMEUUID,  -11, -11, 36, 36,  0, 36, 16, NO,     NO,   "timeuuid",  "timeuuid",  2,  0, 0},
    {CQL_INET,       12,  12, 39, 39,  0, 39, 39, "'",    "'",  "inet",      "inet",      3,  0, 0},
    {CQL_DATE,       91,   9, 10,  0,  0, 10,  6, "'",    "'",  "date",      "date",      2,  0, 1},
    {CQL_TIME,       92,   9, 18,  9,  9, 18,  6, "'",    "'",  "time",      "time",      2,  0, 2},
    {CQL_SMALLINT,    5,   5,  6,  5,  0,  5,  2, NO,     NO,   "smallint",  "smallint",  2, 10, 0},
    {CQL_TINYINT,    -6,  -6,  4,  3,  0,  3,  1, NO,     NO,   "tinyint",   "tinyint",   2, 10, 0},
    {CQL_LIST,       -9,  -9,  S,  S,  0,  S,  W, NO,     NO,   "list",      "list",      2,  0, 0},
    {CQL_MAP,        -9,  -9,  S,  S,  0,  S,  W, NO,     NO,   "map",       "map",       2,  0, 0},
    {CQL_SET,        -9,  -9,  S,  S,  0,  S,  W, NO,     NO,   "set",       "set",       2,  0, 0},
    {CQL_UDT,        -9,  -9,  S,  S,  0,  S,  W, NO,     NO,   "udt",       "udt",       2,  0, 0},
    {CQL_TUPLE,      -9,  -9,  S,  S,  0,  S,  W, NO,     NO,   "tuple",     "tuple",     2,  0, 0},
    {CQL_DURATION,   -9,  -9,  S,  S,  0,  S,  W, NO,     NO,   "duration",  "duration",  2,  0, 0},
    {CQL_VECTOR,     -9,  -9,  S,  S,  0,  S,  W, NO,     NO,   "vector",    "vector",    2,  0, 0},
};
// clang-format on

static bool has_types_below(std::int32_t option_id)
{
    return cql_type_is_nested(option_id) || option_id == CQL_VECTOR;
}

const char *cass_plain_type_name(std::int32_t option_id)
{
    for (const column_row &row : exact_rows) {
        if (row.option_id == option_id && !has_types_below(option_id))
            return row.local_type_name;
    }
    return nullptr;
}

// What settings describe some types as, in place of their rows; `exact_only` where descriptions are
// exact.
struct changed_row {
    std::int32_t cass_settings::*setting;
    bool exact_only;
    std::int32_t option_id;
    std::int32_t sql_type;
    std::int32_t size;  // characters, where it is another
    std::int32_t octet_length;
};

static constexpr changed_row changed_rows[] = {
    {&cass_settings::plain_types, false, CQL_UUID, SQL_WVARCHAR, 36, 72},
    {&cass_settings::plain_types, false, CQL_TIMEUUID, SQL_WVARCHAR, 36, 72},
    {&cass_settings::plain_types, false, CQL_TIME, SQL_WVARCHAR, 18, 36},
    {&cass_settings::plain_types, false, CQL_BLOB, SQL_WVARCHAR, X, WX},
    {&cass_settings::long_text, true, CQL_VARCHAR, SQL_WLONGVARCHAR, S, W},
    {&cass_settings::long_text, true, CQL_ASCII, SQL_LONGVARCHAR, S, S},
    {&cass_settings::long_text, true, CQL_BLOB, SQL_LONGVARBINARY, B, B},
};

static void apply_settings(const cass_conn *conn, bool exact, column_row *row)
{
    for (const changed_row &change : changed_rows) {
        if (change.option_id != row->option_id ||
            shared_get(&(conn->settings.*change.setting)) <= 0 || (change.exact_only && !exact))
            continue;
        row->sql_type = change.sql_type;
        row->type = change.sql_type;
        row->interval_code = 0;
        row->scale = 0;
        row->precision = change.size;
        row->length = change.size;
        if (change.sql_type == SQL_WVARCHAR)
            row->display_size = change.size;
        row->octet_length = change.octet_length;
        return;
    }
}

// The row of the type. False for an unknown one.
static bool find_column_row(const cass_conn *conn, std::int32_t option_id, column_row *found)
{
    const bool exact = !descriptions_are_approximate(conn);
    const std::span<const column_row> rows =
        exact ? std::span<const column_row>(exact_rows) : std::span<const column_row>(column_rows);
    for (const column_row &row : rows) {
        if (row.option_id != option_id)
            continue;
        *found = row;
        apply_settings(conn, exact, found);
        return true;
    }
    return false;
}

static bool is_case_sensitive(std::int32_t option_id)
{
    return option_id == CQL_ASCII || option_id == CQL_VARCHAR || has_types_below(option_id);
}

// A column's name; exactly in the characters that it has. False when memory ran out.
static bool copy_name(const cass_conn *conn, cass_field *field, const cass_string *name)
{
    if (descriptions_are_approximate(conn))
        return copy_text(&field->column_name, name);
    field->column_name = cass_string_decoded(name);
    return name == nullptr || field->column_name != nullptr;
}

// What the exact descriptions say beside their rows. False when memory ran out.
static bool fill_exactly(cass_field *field, const cass_type_option *told)
{
    field->nullable = SQL_NULLABLE;
    field->case_sensitive = is_case_sensitive(told->option_id);
    if (!has_types_below(told->option_id))
        return true;
    const held_string name(cass_full_type_name(told));
    field->full_type_name = cass_string_decoded(name.get());
    return field->full_type_name != nullptr;
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
    field->catalog_name = nullptr;
    const cass_conn *conn = stmt_conn(stmt);
    const bool literals = cass_cells_are_literals(conn);
    const cass_type_option *told = literals ? cql_type_meant(option) : option;
    field->cql_type = told->option_id;
    field->decode = cass_cell_decoder_for(conn, told->option_id);
    if (!share_text(&field->keyspace_name, keyspace, desc->shared_keyspace) ||
        !share_text(&field->table_name, table, desc->shared_table) || !copy_name(conn, field, name))
        return -1;

    column_row row;
    if (!find_column_row(conn, told->option_id, &row))
        return -6;
    if (!fill_column(conn, field, row, option))
        return -1;
    return descriptions_are_approximate(conn) || fill_exactly(field, told) ? 0 : -1;
}

constexpr int CLASS_LEVELS = 64;
constexpr int CLASS_TYPES = 1024;

// The id of the type that a class stands for. False when memory ran out.
static bool option_of_class(std::string_view name, std::int32_t *option_id)
{
    *option_id = CQL_CUSTOM;
    const held_string text(cass_string_from_bytes(name.data(), std::ssize(name)));
    int room = CLASS_TYPES;
    cass_type_option *type = nullptr;
    if (text == nullptr || !type_option_from_class(text.get(), CLASS_LEVELS, &room, &type))
        return false;
    const held_option held(type);
    if (type != nullptr)
        *option_id = type->option_id;
    return true;
}

// The protocol's id of a type by its name; of all nested types and user types that of one. False
// when memory ran out, which only a class in quotes takes.
static bool option_of_name(std::string_view name, std::int32_t *option_id)
{
    if (name.size() > 1 && name.starts_with('\'') && name.ends_with('\''))
        return option_of_class(name.substr(1, name.size() - 2), option_id);
    *option_id = name == "varchar" ? CQL_VARCHAR : CQL_UDT;
    for (const column_row &row : exact_rows) {
        if (row.local_type_name != nullptr && row.local_type_name == name)
            *option_id = row.option_id;
    }
    return true;
}

bool cass_field_of_type_name(const cass_conn *conn, const char *name, cass_field *field)
{
    std::int32_t option_id;
    column_row row;
    if (descriptions_are_approximate(conn) || !option_of_name(name, &option_id) ||
        !find_column_row(conn, option_id, &row))
        return false;
    const cass_type_option plain = {};
    *field = {};
    field->cql_type = option_id;
    field->case_sensitive = is_case_sensitive(option_id);
    return fill_column(conn, field, row, &plain);
}

SQLULEN cass_field_size(const cass_field *field)
{
    switch (field->consise_type) {
    case SQL_BIT:
        return 1;
    case SQL_TINYINT:
        return 3;
    case SQL_BIGINT:
        return 19;
    case SQL_INTEGER:
        return 10;
    case SQL_SMALLINT:
        return 5;
    case SQL_FLOAT:
    case SQL_DOUBLE:
        return 15;
    case SQL_REAL:
        return 7;
    case SQL_BINARY:
    case SQL_VARBINARY:
    case SQL_LONGVARBINARY:
    case SQL_NUMERIC:
    case SQL_DECIMAL:
        return static_cast<SQLULEN>(field->precision);
    default:
        return static_cast<SQLULEN>(field->display_size);
    }
}

void cass_field_is_key(const cass_conn *conn, cass_field *field)
{
    if (!descriptions_are_approximate(conn))
        field->nullable = SQL_NO_NULLS;
}
