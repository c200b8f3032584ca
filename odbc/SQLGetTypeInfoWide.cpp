// The types of Cassandra, under their CQL names, from a constant table that needs no server. By
// default it is a list of its own: sizes and type numbers differ from what result columns and
// SQLColumns report.
#include "odbc/SQLGetTypeInfoWide.h"

#include <algorithm>
#include <iterator>

#include "core/describe/cass_field.h"
#include "core/statement/cass_stmt.h"

// clang-format off
static constexpr cass_internal_column type_columns[] = {
    {"TYPE_NAME",          SQL_VARCHAR,   31, SQL_NO_NULLS},
    {"DATA_TYPE",          SQL_SMALLINT,   0, SQL_NO_NULLS},
    {"COLUMN_SIZE",        SQL_INTEGER,    0, SQL_NULLABLE},
    {"LITERAL_PREFIX",     SQL_VARCHAR,   31, SQL_NULLABLE},
    {"LITERAL_SUFFIX",     SQL_VARCHAR,   31, SQL_NULLABLE},
    {"CREATE_PARAMS",      SQL_VARCHAR,   31, SQL_NULLABLE},
    {"NULLABLE",           SQL_SMALLINT,   0, SQL_NO_NULLS},
    {"CASE_SENSITIVE",     SQL_SMALLINT,   0, SQL_NO_NULLS},
    {"SEARCHABLE",         SQL_SMALLINT,   0, SQL_NO_NULLS},
    {"UNSIGNED_ATTRIBUTE", SQL_SMALLINT,   0, SQL_NULLABLE},
    {"FIXED_PREC_SCALE",   SQL_SMALLINT,   0, SQL_NO_NULLS},
    {"AUTO_UNIQUE_VALUE",  SQL_SMALLINT,   0, SQL_NO_NULLS},
    {"LOCAL_TYPE_NAME",    SQL_VARCHAR,   31, SQL_NULLABLE},
    {"MINIMUM_SCALE",      SQL_SMALLINT,   0, SQL_NULLABLE},
    {"MAXIMUM_SCALE",      SQL_SMALLINT,   0, SQL_NULLABLE},
    {"SQL_DATA_TYPE",      SQL_SMALLINT,   0, SQL_NO_NULLS},
    {"SQL_DATETIME_SUB",   SQL_SMALLINT,   0, SQL_NULLABLE},
    {"NUM_PREC_RADIX",     SQL_INTEGER,    0, SQL_NULLABLE},
    {"INTERVAL_PRECISION", SQL_SMALLINT,   0, SQL_NULLABLE},
};
// clang-format on
static constexpr cass_internal_columns type_result = {std::size(type_columns), type_columns};
static constexpr std::int32_t type_sort_keys[] = {2, 0};

// ---- Rows --------------------------------------------------------------------------------------

struct type_row {
    const char *cells[std::size(type_columns)];
};

// Indexes of the rows. A date or time has two: the first for an ODBC 2 connection, the one behind
// it for ODBC 3.
enum type_index {
    TYPE_BOOLEAN,
    TYPE_BIGINT,
    TYPE_COUNTER,
    TYPE_BLOB,
    TYPE_DECIMAL,
    TYPE_VARINT,
    TYPE_INT,
    TYPE_SMALLINT,
    TYPE_TINYINT,
    TYPE_FLOAT,
    TYPE_DOUBLE,
    TYPE_TIME,
    TYPE_TIME_ODBC3,
    TYPE_TIMESTAMP,
    TYPE_TIMESTAMP_ODBC3,
    TYPE_DATE,
    TYPE_DATE_ODBC3,
    TYPE_TEXT,
    TYPE_VARCHAR,
    TYPE_ASCII,
    TYPE_INET,
    TYPE_UUID,
    TYPE_TIMEUUID,
    TYPE_ROWS,
};

// Meant as it stands: "varint" is locally named decimal, the ODBC 3 date "datetime" without a
// verbose type, timestamps have 6 and time has 1 there, and a float is not searchable.
constexpr const char *NIL = nullptr;
// clang-format off
static constexpr type_row type_rows[] = {
    {{"boolean",   "-7",  "1",    NIL, NIL, NIL,                    "1", "0", "3", NIL, "0", NIL, "boolean",   NIL, NIL,  "-7",  NIL,  NIL,  NIL}},
    {{"bigint",    "-5",  "19",   NIL, NIL, NIL,                    "1", "0", "3", "0", "0", "0", "bigint",    NIL, NIL,  "-5",  NIL,  "10", NIL}},
    {{"counter",   "-5",  "19",   NIL, NIL, NIL,                    "1", "0", "3", "0", "0", "0", "counter",   NIL, NIL,  "-5",  NIL,  "10", NIL}},
    {{"blob",      "-3",  "1024", "'", "'", NIL,                    "1", "0", "3", NIL, "0", NIL, "blob",      NIL, NIL,  "-3",  NIL,  NIL,  NIL}},
    {{"decimal",   "3",   "38",   NIL, NIL, NIL,                    "1", "0", "3", "0", "0", "0", "decimal",   "0", "19", "3",   NIL,  "10", NIL}},
    {{"varint",    "3",   "38",   NIL, NIL, NIL,                    "1", "0", "3", "0", "0", "0", "decimal",   "0", "0",  "3",   NIL,  "10", NIL}},
    {{"int",       "4",   "10",   NIL, NIL, NIL,                    "1", "0", "3", "0", "0", "0", "int",       NIL, NIL,  "4",   NIL,  "10", NIL}},
    {{"smallint",  "5",   "5",    NIL, NIL, NIL,                    "1", "0", "3", "0", "0", "0", "smallint",  NIL, NIL,  "5",   NIL,  "10", NIL}},
    {{"tinyint",   "-6",  "3",    NIL, NIL, NIL,                    "1", "0", "3", "0", "0", "0", "tinyint",   NIL, NIL,  "-6",  NIL,  "10", NIL}},
    {{"float",     "7",   "7",    NIL, NIL, NIL,                    "1", "0", "0", "0", "0", "0", "float",     "0", "2",  "7",   NIL,  "10", NIL}},
    {{"double",    "8",   "15",   NIL, NIL, NIL,                    "1", "0", "3", "0", "0", "0", "double",    "0", "4",  "8",   NIL,  "10", NIL}},
    {{"time",      "11",  "10",   "'", "'", NIL,                    "1", "0", "3", "0", "0", NIL, "time",      "9", "9",  "11",  NIL,  NIL,  NIL}},
    {{"time",      "93",  "10",   "'", "'", NIL,                    "1", "0", "3", "0", "0", NIL, "time",      "9", "9",  "1",   NIL,  NIL,  NIL}},
    {{"timestamp", "11",  "26",   "'", "'", NIL,                    "1", "0", "3", NIL, "0", NIL, "timestamp", "0", "6",  "6",   "11", NIL,  NIL}},
    {{"timestamp", "93",  "26",   "'", "'", "fractional precision", "1", "0", "3", NIL, "0", NIL, "timestamp", "0", "6",  "6",   "93", NIL,  NIL}},
    {{"date",      "9",   "10",   "'", "'", NIL,                    "1", "0", "3", NIL, "0", NIL, "date",      NIL, NIL,  "9",   "9",  NIL,  NIL}},
    {{"date",      "91",  "10",   "'", "'", NIL,                    "1", "0", "3", NIL, "0", NIL, "datetime",  "0", NIL,  NIL,   "91", NIL,  NIL}},
    {{"text",      "12",  "256",  "'", "'", NIL,                    "1", "0", "3", NIL, "0", NIL, "text",      NIL, NIL,  "12",  NIL,  NIL,  NIL}},
    {{"varchar",   "12",  "255",  "'", "'", NIL,                    "1", "0", "3", NIL, "0", NIL, "varchar",   NIL, NIL,  "12",  NIL,  NIL,  NIL}},
    {{"ascii",     "12",  "255",  "'", "'", NIL,                    "1", "0", "3", NIL, "0", NIL, "ascii",     NIL, NIL,  "12",  NIL,  NIL,  NIL}},
    {{"inet",      "12",  "255",  "'", "'", NIL,                    "1", "0", "3", NIL, "0", NIL, "inet",      NIL, NIL,  "12",  NIL,  NIL,  NIL}},
    {{"uuid",      "-11", "36",   "'", "'", NIL,                    "1", "0", "3", NIL, "0", NIL, "uuid",      NIL, NIL,  "-11", NIL,  NIL,  NIL}},
    {{"timeuuid",  "-11", "36",   "'", "'", NIL,                    "1", "0", "3", NIL, "0", NIL, "timeuuid",  NIL, NIL,  "-11", NIL,  NIL,  NIL}},
};
// clang-format on
static_assert(std::size(type_rows) == TYPE_ROWS);

// ---- Which rows --------------------------------------------------------------------------------

constexpr int MOST_ROWS = 20;

struct type_answer {
    SQLSMALLINT data_type;
    int count;
    type_index rows[MOST_ROWS];
};

// clang-format off
static constexpr type_answer type_answers[] = {
    {SQL_ALL_TYPES,      20, {TYPE_BOOLEAN, TYPE_BIGINT, TYPE_COUNTER, TYPE_BLOB, TYPE_DECIMAL,
                              TYPE_VARINT, TYPE_INT, TYPE_SMALLINT, TYPE_TINYINT, TYPE_FLOAT,
                              TYPE_DOUBLE, TYPE_TEXT, TYPE_VARCHAR, TYPE_ASCII, TYPE_INET,
                              TYPE_UUID, TYPE_TIMEUUID, TYPE_DATE, TYPE_TIME, TYPE_TIMESTAMP}},
    {SQL_GUID,            2, {TYPE_UUID, TYPE_TIMEUUID}},
    {SQL_BIT,             1, {TYPE_BOOLEAN}},
    {SQL_TINYINT,         1, {TYPE_SMALLINT}},  // "tinyint" stands in the list of all types only
    {SQL_SMALLINT,        1, {TYPE_SMALLINT}},
    {SQL_BIGINT,          2, {TYPE_BIGINT, TYPE_COUNTER}},
    {SQL_LONGVARBINARY,   1, {TYPE_BLOB}},
    {SQL_VARBINARY,       1, {TYPE_BLOB}},
    {SQL_LONGVARCHAR,     2, {TYPE_TEXT, TYPE_VARCHAR}},
    {SQL_CHAR,            4, {TYPE_VARCHAR, TYPE_TEXT, TYPE_ASCII, TYPE_INET}},
    {SQL_VARCHAR,         4, {TYPE_VARCHAR, TYPE_TEXT, TYPE_ASCII, TYPE_INET}},
    {SQL_NUMERIC,         2, {TYPE_DECIMAL, TYPE_VARINT}},
    {SQL_DECIMAL,         2, {TYPE_DECIMAL, TYPE_VARINT}},
    {SQL_INTEGER,         1, {TYPE_INT}},
    {SQL_FLOAT,           1, {TYPE_DOUBLE}},
    {SQL_DOUBLE,          1, {TYPE_DOUBLE}},
    {SQL_REAL,            1, {TYPE_FLOAT}},
    {SQL_DATE,            1, {TYPE_DATE}},
    {SQL_TYPE_DATE,       1, {TYPE_DATE}},
    {SQL_TIMESTAMP,       1, {TYPE_TIMESTAMP}},
    {SQL_TYPE_TIMESTAMP,  1, {TYPE_TIMESTAMP}},
};
// clang-format on

static bool has_two_levels(type_index row)
{
    return row == TYPE_DATE || row == TYPE_TIME || row == TYPE_TIMESTAMP;
}

// ---- By the descriptions of columns --------------------------------------------------------------

// In place of the rows above where columns are described exactly: a type by its CQL name, and other
// type numbers by which it can be asked for. Of equal numbers the first row is the one to take.
struct told_type {
    const char *name;
    SQLSMALLINT data_type;  // 0: that of a column
};

static constexpr told_type told_types[] = {
    {"text", SQL_WLONGVARCHAR},
    {"text", SQL_WVARCHAR},
    {"varchar", SQL_WVARCHAR},
    {"uuid", 0},
    {"timeuuid", 0},
    {"boolean", 0},
    {"tinyint", 0},
    {"bigint", 0},
    {"counter", 0},
    {"blob", SQL_LONGVARBINARY},
    {"blob", SQL_VARBINARY},
    {"text", SQL_LONGVARCHAR},
    {"ascii", SQL_LONGVARCHAR},
    {"decimal", 0},
    {"varint", 0},
    {"decimal", SQL_DECIMAL},
    {"int", 0},
    {"smallint", 0},
    {"double", SQL_FLOAT},
    {"float", 0},
    {"double", 0},
    {"text", SQL_VARCHAR},
    {"ascii", SQL_VARCHAR},
    {"inet", SQL_VARCHAR},
    {"date", 0},
    {"time", 0},
    {"timestamp", 0},
};

static bool is_text(std::int32_t sql_type)
{
    static constexpr SQLSMALLINT texts[] = {SQL_WLONGVARCHAR, SQL_WVARCHAR, SQL_LONGVARCHAR,
                                            SQL_VARCHAR};
    return std::ranges::find(texts, sql_type) != std::end(texts);
}

// The size of bytes, where a setting describes columns of them as digits.
static std::int32_t told_size(const cass_conn *conn, const cass_field &told, std::int32_t sql_type)
{
    const bool binary = sql_type == SQL_VARBINARY || sql_type == SQL_LONGVARBINARY;
    return binary ? shared_get(&conn->settings.binary_len)
                  : static_cast<std::int32_t>(cass_field_size(&told));
}

static int insert_told(cass_stmt *stmt, const char *name, const cass_field &told,
                       std::int32_t sql_type)
{
    const bool number = told.num_prec_radix != 0;
    const bool decimal = sql_type == SQL_NUMERIC || sql_type == SQL_DECIMAL;
    const bool datetime = told.type == SQL_DATETIME;
    const catalog_number type = catalog_number_text(sql_type);
    const catalog_number size = catalog_number_text(told_size(stmt_conn(stmt), told, sql_type));
    const catalog_number searchable =
        catalog_number_text(is_text(sql_type) ? SQL_SEARCHABLE : SQL_PRED_BASIC);
    const catalog_number scale = catalog_number_text(told.scale);
    const catalog_number verbose = catalog_number_text(datetime ? SQL_DATETIME : sql_type);
    const catalog_number subcode = catalog_number_text(told.datetime_interval_code);
    const catalog_number radix = catalog_number_text(told.num_prec_radix);
    const bool digits = decimal || (datetime && told.scale != 0);
    const char *const cells[] = {
        name,
        type.text,
        size.text,
        told.literal_prefix,
        told.literal_suffix,
        nullptr,
        "1",
        told.case_sensitive != 0 ? "1" : "0",
        searchable.text,
        number ? "0" : nullptr,
        "0",
        number ? "0" : nullptr,
        name,
        digits ? (datetime ? scale.text : "0") : nullptr,
        digits ? scale.text : nullptr,
        verbose.text,
        datetime ? subcode.text : nullptr,
        number ? radix.text : nullptr,
        nullptr,
    };
    static_assert(std::size(cells) == std::size(type_columns));
    return cass_insert_internal_row(stmt, cells);
}

// A date or time by its number in ODBC 3; either number is asked for on either level.
static std::int32_t odbc3_type(std::int32_t sql_type)
{
    const bool old = sql_type >= SQL_DATE && sql_type <= SQL_TIMESTAMP;
    return old ? sql_type - SQL_DATE + SQL_TYPE_DATE : sql_type;
}

// 1: rows, 0: columns are not described exactly, -1: no memory.
static int insert_told_types(cass_stmt *stmt, SQLSMALLINT data_type)
{
    for (const told_type &row : told_types) {
        cass_field told;
        if (!cass_field_of_type_name(stmt_conn(stmt), row.name, &told))
            return 0;
        const std::int32_t sql_type = row.data_type != 0 ? row.data_type : told.consise_type;
        if ((data_type == SQL_ALL_TYPES || odbc3_type(data_type) == odbc3_type(sql_type)) &&
            insert_told(stmt, row.name, told, sql_type) != 0)
            return -1;
    }
    return 1;
}

static SQLRETURN get_type_info(cass_stmt *stmt, SQLSMALLINT data_type)
{
    cass_close_for_catalog(stmt);
    if (cass_create_internal_rs(stmt, &type_result, type_sort_keys) != 0)
        return SQL_ERROR;
    const int told = insert_told_types(stmt, data_type);
    if (told != 0)
        return catalog_finish(stmt, told < 0 ? SQL_ERROR : SQL_SUCCESS, false);
    const int odbc3 = stmt_conn(stmt)->odbc_level == 3;
    for (const type_answer &answer : type_answers) {
        if (answer.data_type != data_type)
            continue;
        for (int i = 0; i < answer.count; ++i) {
            const type_index row = answer.rows[i];
            const type_row &cells = type_rows[row + (has_two_levels(row) ? odbc3 : 0)];
            if (cass_insert_internal_row(stmt, cells.cells) != 0)
                return catalog_finish(stmt, SQL_ERROR, false);
        }
    }
    return catalog_finish(stmt, SQL_SUCCESS, false);
}

SQLRETURN get_type_info_entry(SQLHSTMT handle, const entry_point &entry, SQLSMALLINT data_type)
{
    auto *stmt = static_cast<cass_stmt *>(handle);
    if (stmt == nullptr)
        return SQL_INVALID_HANDLE;
    return enter_handle(
        &stmt->head, &stmt_conn(stmt)->api_lock, entry, 0,
        [&] {
            ENTRY_LOG(&stmt->head, entry, LOG_ENTRY, "%s: statement_handle=%p, data_type=%d",
                      entry.name, handle, static_cast<int>(data_type));
        },
        [&] { return get_type_info(stmt, data_type); });
}
