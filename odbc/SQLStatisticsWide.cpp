// The secondary indexes of a table: a row for the table, then one for each option of each index.
#include "odbc/SQLStatisticsWide.h"

#include <algorithm>
#include <cstring>
#include <iterator>

#include "core/cell/cass_data.h"
#include "core/catalog/cass_schema_rows.h"
#include "core/statement/cass_stmt.h"

static constexpr char log_source[] = "SQLStatisticsWide.c";

constexpr int OPTIONS_SIZE = 1024;

// clang-format off
// CARDINATILY is spelt so on purpose.
static constexpr cass_internal_column index_columns[] = {
    {"TABLE_CAT",        SQL_VARCHAR,   64, SQL_NULLABLE},
    {"TABLE_SCHEM",      SQL_VARCHAR,   64, SQL_NULLABLE},
    {"TABLE_NAME",       SQL_VARCHAR,   64, SQL_NO_NULLS},
    {"NON_UNIQUE",       SQL_SMALLINT,   0, SQL_NULLABLE},
    {"INDEX_QUALIFIER",  SQL_VARCHAR,   64, SQL_NO_NULLS},
    {"INDEX_NAME",       SQL_VARCHAR,   64, SQL_NO_NULLS},
    {"TYPE",             SQL_SMALLINT,   0, SQL_NULLABLE},
    {"ORDINAL_POSITION", SQL_SMALLINT,   0, SQL_NO_NULLS},
    {"COLUMN_NAME",      SQL_VARCHAR,   64, SQL_NO_NULLS},
    {"ASC_OR_DESC",      SQL_VARCHAR,    5, SQL_NO_NULLS},
    {"CARDINATILY",      SQL_INTEGER,    0, SQL_NO_NULLS},
    {"PAGES",            SQL_INTEGER,    0, SQL_NO_NULLS},
    {"FILTER_CONDITION", SQL_VARCHAR,   64, SQL_NO_NULLS},
};
// clang-format on
static constexpr cass_internal_columns index_result = {std::size(index_columns), index_columns};
static constexpr std::int32_t index_sort_keys[] = {4, 7, 5, 6, 8, 0};

// One row; the columns behind COLUMN_NAME are null in all rows.
static int add_row(cass_stmt *stmt, const char *keyspace, const char *table, const char *non_unique,
                   const char *index, const char *type, const char *position, const char *column)
{
    const char *const values[] = {catalog_name(stmt_conn(stmt)),
                                  keyspace,
                                  table,
                                  non_unique,
                                  nullptr,
                                  index,
                                  type,
                                  position,
                                  column,
                                  nullptr,
                                  nullptr,
                                  nullptr,
                                  nullptr};
    static_assert(std::size(values) == std::size(index_columns));
    return cass_insert_internal_row(stmt, values);
}

// ---- Options -----------------------------------------------------------------------------------
// A map<text, text> of the native protocol (version 4, section 6.14): a count, then keys and values
// behind their lengths, all 32 bits.

struct option_walk {
    const unsigned char *at;
    std::int32_t left;
};

static bool take_int(option_walk *walk, std::int32_t *value)
{
    if (walk->left < 4)
        return false;
    *value = static_cast<std::int32_t>(static_cast<std::uint32_t>(walk->at[0]) << 24 |
                                       static_cast<std::uint32_t>(walk->at[1]) << 16 |
                                       static_cast<std::uint32_t>(walk->at[2]) << 8 | walk->at[3]);
    walk->at += 4;
    walk->left -= 4;
    return true;
}

// The text with a terminator; `text` has room for all options.
static bool take_text(option_walk *walk, char *text)
{
    std::int32_t length = 0;
    if (!take_int(walk, &length) || length < 0 || length > walk->left)
        return false;
    std::memcpy(text, walk->at, static_cast<std::size_t>(length));
    text[length] = '\0';
    walk->at += length;
    walk->left -= length;
    return true;
}

struct index_entry {
    const char *keyspace;
    const char *table;
    const char *index;
};

// A row for each option, whose value stands as the column: that is where the index's target is. A
// count or length that does not fit ends the walk.
static int add_options(cass_stmt *stmt, const index_entry &entry, option_walk walk)
{
    std::int32_t count = 0;
    take_int(&walk, &count);
    char key[OPTIONS_SIZE];
    char value[OPTIONS_SIZE];
    for (std::int32_t position = 1;
         position <= count && take_text(&walk, key) && take_text(&walk, value); ++position)
        if (add_row(stmt, entry.keyspace, entry.table, "1", entry.index, "3",
                    catalog_number_text(position).text, value) != 0)
            return -1;
    return 0;
}

// ---- Indexes -----------------------------------------------------------------------------------

static SQLRETURN short_read(cass_stmt *stmt)
{
    CASS_LOG(&stmt->head, LOG_EXIT, "SQLStatistics: short read on options");
    cass_post_error(&stmt->head, STATE_HY000, 0, "short read on options");
    return SQL_ERROR;
}

// The rows of one index. The kind is in the result and not looked at.
static SQLRETURN add_index(cass_stmt *stmt, cass_stmt *inner)
{
    char keyspace[CATALOG_NAME_SIZE];
    char table[CATALOG_NAME_SIZE];
    char index[CATALOG_NAME_SIZE];
    const index_entry entry = {
        .keyspace = catalog_cell(inner, 1, keyspace, sizeof keyspace),
        .table = catalog_cell(inner, 2, table, sizeof table),
        .index = catalog_cell(inner, 3, index, sizeof index),
    };
    unsigned char options[OPTIONS_SIZE];
    SQLLEN length = 0;
    const SQLRETURN code = cass_get_data(inner, 5, SQL_C_BINARY, options, sizeof options, &length,
                                         nullptr, inner->ird->fields, nullptr);
    if (code == SQL_SUCCESS_WITH_INFO)
        return short_read(stmt);
    if (length <= 4)  // null and empty ones too
        return SQL_SUCCESS;
    const auto size = static_cast<std::int32_t>(std::min<SQLLEN>(length, sizeof options));
    return add_options(stmt, entry, {options, size}) == 0 ? SQL_SUCCESS : SQL_ERROR;
}

static SQLRETURN list_indexes(cass_stmt *stmt, const cass_string *schema, const cass_string *table)
{
    catalog_query query = catalog_select(
        "select keyspace_name, table_name, index_name, kind, options from system_schema.indexes");
    catalog_where(&query, "table_name=", table);
    held_string current;
    if (schema == nullptr && !catalog_current_keyspace(stmt, &current))
        return SQL_ERROR;
    const cass_string *keyspace = schema != nullptr ? schema : current.get();
    if (keyspace != nullptr)
        catalog_where(&query, "keyspace_name=", keyspace);
    catalog_allow_filtering(&query);
    const held_inner inner = catalog_run(stmt, std::move(query));
    if (inner == nullptr)
        return SQL_ERROR;

    const held_text keyspace_text(cass_string_to_utf8(keyspace));
    const held_text table_text(cass_string_to_utf8(table));
    if ((keyspace != nullptr && keyspace_text == nullptr) || table_text == nullptr)
        return SQL_ERROR;
    if (add_row(stmt, keyspace_text.get(), table_text.get(), nullptr, nullptr, "0", nullptr,
                nullptr) != 0)
        return SQL_ERROR;
    int row;
    while ((row = catalog_next_row(stmt, inner.get())) == 1)
        if (add_index(stmt, inner.get()) != SQL_SUCCESS)
            return SQL_ERROR;
    if (row != 0)
        return SQL_ERROR;
    return SQL_SUCCESS;
}

static SQLRETURN statistics(cass_stmt *stmt, const statistics_call &call)
{
    cass_close_for_catalog(stmt);
    if (catalog_follows_odbc(stmt_conn(stmt)))
        return odbc_statistics(stmt, {call.catalog, call.schema, call.table, {}}, call.unique);
    held_string schema;
    held_string table;
    if (!cass_string_take_argument(call.schema, &schema) ||
        !cass_string_take_argument(call.table, &table) ||
        cass_create_internal_rs(stmt, &index_result, index_sort_keys) != 0)
        return SQL_ERROR;
    if (!catalog_is_filter(table.get())) {
        CASS_LOG(&stmt->head, LOG_ERROR, "SQLStatistics: table name not supplied");
        cass_post_error(&stmt->head, STATE_HY010, 0, "table name not supplied");
        return SQL_ERROR;
    }
    return catalog_finish(stmt, list_indexes(stmt, schema.get(), table.get()), true);
}

SQLRETURN statistics_entry(SQLHSTMT handle, const entry_point &entry, const statistics_call &call)
{
    return enter_stmt(
        handle, entry,
        [&](cass_stmt *stmt) {
            ENTRY_LOG(&stmt->head, entry, LOG_ENTRY,
                      "%s: statement_handle=%p, catalog_name=%A, schema_name=%A, "
                      "table_name=%A, unique=%d, reserved=%d",
                      entry.name, static_cast<void *>(stmt), &call.catalog, &call.schema,
                      &call.table, call.unique, call.reserved);
        },
        [&](cass_stmt *stmt) { return statistics(stmt, call); });
}
