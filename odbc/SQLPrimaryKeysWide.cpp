// The key columns of tables.
#include "odbc/SQLPrimaryKeysWide.h"

#include <algorithm>
#include <cstring>
#include <iterator>

#include "core/catalog/cass_schema_rows.h"
#include "core/statement/cass_stmt.h"

// clang-format off
static constexpr cass_internal_column key_columns[] = {
    {"TABLE_CAT",   SQL_VARCHAR,   64, SQL_NULLABLE},
    {"TABLE_SCHEM", SQL_VARCHAR,   64, SQL_NULLABLE},
    {"TABLE_NAME",  SQL_VARCHAR,   64, SQL_NO_NULLS},
    {"COLUMN_NAME", SQL_VARCHAR,   64, SQL_NO_NULLS},
    {"KEY_SEQ",     SQL_SMALLINT,   0, SQL_NO_NULLS},
    {"PK_NAME",     SQL_VARCHAR,   64, SQL_NULLABLE},
};
// clang-format on
static constexpr cass_internal_columns key_result = {std::size(key_columns), key_columns};
static constexpr std::int32_t key_sort_keys[] = {1, 2, 3, 5, 0};

// The schema measured with the length of the catalog: a null catalog of length 0 gives the current
// keyspace. Never past the schema's own length or terminator, where it has them.
static text_argument measured_schema(const text_argument &catalog, text_argument schema)
{
    const bool terminated = schema.length == SQL_NTS;
    const std::int64_t room = terminated ? INT16_MAX : std::max<std::int64_t>(schema.length, 0);
    const std::int64_t wanted =
        catalog.length == SQL_NTS ? room : std::clamp<std::int64_t>(catalog.length, 0, room);
    std::int64_t units = wanted;
    if (terminated || catalog.length == SQL_NTS) {
        if (schema.wide)
            units = cass_wide_length_limited(static_cast<const SQLWCHAR *>(schema.text), wanted,
                                             wanted * 2);
        else if (schema.text != nullptr)
            units = static_cast<std::int64_t>(
                strnlen(static_cast<const char *>(schema.text), static_cast<std::size_t>(wanted)));
    }
    schema.length = static_cast<SQLINTEGER>(units);
    return schema;
}

static SQLRETURN list_keys(cass_stmt *stmt, const cass_string *schema, const cass_string *table)
{
    held_tables tables;
    if (cass_list_tables(stmt, schema, table, &tables) != 0)
        return SQL_ERROR;
    for (const cass_table_entry *entry = tables.get(); entry != nullptr; entry = entry->next) {
        for (const cass_column_entry *column = entry->columns; column != nullptr;
             column = column->next) {
            if (!column->is_key)
                continue;
            const catalog_number sequence = catalog_number_text(column->key_seq + 1);
            const char *const values[] = {catalog_name(stmt_conn(stmt)),
                                          entry->keyspace,
                                          entry->table,
                                          column->name,
                                          sequence.text,
                                          nullptr};
            if (cass_insert_internal_row(stmt, values) != 0)
                return SQL_ERROR;
        }
    }
    return SQL_SUCCESS;
}

static SQLRETURN primary_keys(cass_stmt *stmt, const primary_keys_call &call)
{
    cass_close_for_catalog(stmt);
    if (catalog_follows_odbc(stmt_conn(stmt)))
        return odbc_primary_keys(stmt, {call.catalog, call.schema, call.table, {}});
    held_string schema;
    held_string table;
    if (!cass_string_take_argument(measured_schema(call.catalog, call.schema), &schema) ||
        !cass_string_take_argument(call.table, &table) ||
        cass_create_internal_rs(stmt, &key_result, key_sort_keys) != 0)
        return SQL_ERROR;
    return catalog_finish(stmt, list_keys(stmt, schema.get(), table.get()), true);
}

SQLRETURN primary_keys_entry(SQLHSTMT handle, const entry_point &entry,
                             const primary_keys_call &call)
{
    return enter_stmt(
        handle, entry,
        [&](cass_stmt *stmt) {
            ENTRY_LOG(&stmt->head, entry, LOG_ENTRY,
                      "%s: statement_handle=%p, catalog_name=%A, schema_name=%A, "
                      "table_name=%A",
                      entry.name, static_cast<void *>(stmt), &call.catalog, &call.schema,
                      &call.table);
        },
        [&](cass_stmt *stmt) { return primary_keys(stmt, call); });
}
