// The columns that identify a row: those of the partition key.
#include "odbc/SQLSpecialColumnsWide.h"

#include <iterator>

#include "core/catalog/cass_schema_rows.h"
#include "core/statement/cass_stmt.h"

// clang-format off
static constexpr cass_internal_column row_columns[] = {
    {"SCOPE",          SQL_SMALLINT,   0, SQL_NULLABLE},
    {"COLUMN_NAME",    SQL_VARCHAR,   64, SQL_NO_NULLS},
    {"DATA_TYPE",      SQL_SMALLINT,   0, SQL_NO_NULLS},
    {"TYPE_NAME",      SQL_VARCHAR,   64, SQL_NO_NULLS},
    {"COLUMN_SIZE",    SQL_INTEGER,    0, SQL_NULLABLE},
    {"BUFFER_LENGTH",  SQL_INTEGER,    0, SQL_NULLABLE},
    {"DECIMAL_DIGITS", SQL_SMALLINT,   0, SQL_NULLABLE},
    {"PSEUDO_COLUMN",  SQL_SMALLINT,   0, SQL_NULLABLE},
};
// clang-format on
static constexpr cass_internal_columns special_result = {std::size(row_columns), row_columns};
static constexpr std::int32_t special_sort_keys[] = {1, 2, 0};

static int add_row(cass_stmt *stmt, const cass_column_entry *column)
{
    const cass_conn *conn = stmt_conn(stmt);
    const catalog_number data_type = catalog_number_text(column->sql_type);
    const catalog_number size = catalog_number_text(cass_catalog_column_size(conn, column));
    const catalog_number bytes = catalog_number_text(cass_catalog_buffer_length(conn, column));
    const catalog_number digits = catalog_number_text(column->digits);
    const char *const values[] = {
        data_type.text,  // in place of a scope
        column->name,   data_type.text, column->type_name,
        size.text,      bytes.text,     column->sql_type == SQL_NUMERIC ? digits.text : nullptr,
        nullptr,
    };
    static_assert(std::size(values) == std::size(row_columns));
    return cass_insert_internal_row(stmt, values);
}

static SQLRETURN list_row_identifiers(cass_stmt *stmt, const cass_string *schema,
                                      const cass_string *table)
{
    held_tables tables;
    if (cass_list_tables(stmt, schema, table, &tables) != 0)
        return SQL_ERROR;
    for (const cass_table_entry *entry = tables.get(); entry != nullptr; entry = entry->next)
        for (const cass_column_entry *column = entry->columns; column != nullptr;
             column = column->next)
            if (column->is_key && add_row(stmt, column) != 0)
                return SQL_ERROR;
    return SQL_SUCCESS;
}

static SQLRETURN special_columns(cass_stmt *stmt, const special_columns_call &call)
{
    cass_close_for_catalog(stmt);
    if (catalog_follows_odbc(stmt_conn(stmt)))
        return odbc_special_columns(stmt, {call.catalog, call.schema, call.table, {}},
                                    call.identifier_type);
    held_string schema;
    held_string table;
    if (!cass_string_take_argument(call.schema, &schema) ||
        !cass_string_take_argument(call.table, &table) ||
        cass_create_internal_rs(stmt, &special_result, special_sort_keys) != 0)
        return SQL_ERROR;
    SQLRETURN code = SQL_SUCCESS;
    if (call.identifier_type == SQL_BEST_ROWID)
        code = list_row_identifiers(stmt, schema.get(), table.get());
    return catalog_finish(stmt, code, true);
}

SQLRETURN special_columns_entry(SQLHSTMT handle, const entry_point &entry,
                                const special_columns_call &call)
{
    return enter_stmt(
        handle, entry,
        [&](cass_stmt *stmt) {
            ENTRY_LOG(&stmt->head, entry, LOG_ENTRY,
                      "%s: statement_handle=%p, identifier_type=%d, catalog_name=%A, "
                      "schema_name=%A, table_name=%A, scope=%d, nullable=%d",
                      entry.name, static_cast<void *>(stmt), call.identifier_type, &call.catalog,
                      &call.schema, &call.table, call.scope, call.nullable);
        },
        [&](cass_stmt *stmt) { return special_columns(stmt, call); });
}
