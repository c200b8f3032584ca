// The columns of tables, as the list of tables has them: key columns first, the others by name.
#include "odbc/SQLColumnsWide.h"

#include <iterator>

#include "core/catalog/cass_schema_rows.h"
#include "core/statement/cass_stmt.h"

// The flags of nullability are the table's own and do not match what the columns get.
// clang-format off
static constexpr cass_internal_column column_columns[] = {
    {"TABLE_CAT",         SQL_VARCHAR,   64, SQL_NULLABLE},
    {"TABLE_SCHEM",       SQL_VARCHAR,   64, SQL_NULLABLE},
    {"TABLE_NAME",        SQL_VARCHAR,   64, SQL_NO_NULLS},
    {"COLUMN_NAME",       SQL_VARCHAR,   64, SQL_NO_NULLS},
    {"DATA_TYPE",         SQL_SMALLINT,   0, SQL_NO_NULLS},
    {"TYPE_NAME",         SQL_VARCHAR,   64, SQL_NO_NULLS},
    {"COLUMN_SIZE",       SQL_INTEGER,    0, SQL_NULLABLE},
    {"BUFFER_LENGTH",     SQL_INTEGER,    0, SQL_NULLABLE},
    {"DECIMAL_DIGITS",    SQL_SMALLINT,   0, SQL_NULLABLE},
    {"NUM_PREC_RADIX",    SQL_SMALLINT,   0, SQL_NULLABLE},
    {"NULLABLE",          SQL_SMALLINT,   0, SQL_NO_NULLS},
    {"REMARKS",           SQL_VARCHAR,  256, SQL_NO_NULLS},
    {"COLUMN_DEF",        SQL_VARCHAR,   64, SQL_NO_NULLS},
    {"SQL_DATA_TYPE",     SQL_SMALLINT,   0, SQL_NULLABLE},
    {"SQL_DATETIME_SUB",  SQL_SMALLINT,   0, SQL_NO_NULLS},
    {"CHAR_OCTET_LENGTH", SQL_INTEGER,    0, SQL_NO_NULLS},
    {"ORDINAL_POSITION",  SQL_INTEGER,    0, SQL_NULLABLE},
    {"IS_NULLABLE",       SQL_VARCHAR,   64, SQL_NO_NULLS},
};
// clang-format on
static constexpr cass_internal_columns column_result = {std::size(column_columns), column_columns};
static constexpr std::int32_t column_sort_keys[] = {1, 2, 3, 17, 0};

static bool is_datetime(std::int32_t sql_type)
{
    return sql_type == SQL_DATE || sql_type == SQL_TIMESTAMP || sql_type == SQL_TYPE_DATE ||
           sql_type == SQL_TYPE_TIMESTAMP;
}

static const char *radix(std::int32_t sql_type)
{
    if (sql_type == SQL_NUMERIC)
        return "10";
    return sql_type == SQL_REAL || sql_type == SQL_DOUBLE ? "2" : nullptr;
}

static int add_row(cass_stmt *stmt, const cass_table_entry *table, const cass_column_entry *column)
{
    const cass_conn *conn = stmt_conn(stmt);
    const std::int32_t type = column->sql_type;
    const catalog_number data_type = catalog_number_text(type);
    const catalog_number size = catalog_number_text(cass_catalog_column_size(conn, column));
    const catalog_number bytes = catalog_number_text(cass_catalog_buffer_length(conn, column));
    const catalog_number digits = catalog_number_text(column->digits);
    const catalog_number verbose = catalog_number_text(is_datetime(type) ? SQL_DATETIME : type);
    const catalog_number ordinal = catalog_number_text(column->ordinal);
    const char *const values[] = {
        catalog_name(conn),
        table->keyspace,
        table->table,
        column->name,
        data_type.text,
        column->type_name,
        size.text,
        bytes.text,
        type == SQL_NUMERIC ? digits.text : nullptr,
        radix(type),
        column->is_key ? "0" : "1",
        nullptr,
        nullptr,
        verbose.text,
        is_datetime(type) ? data_type.text : nullptr,  // the type again, in place of a subcode
        bytes.text,
        ordinal.text,
        column->is_key ? "NO" : "YES",
    };
    static_assert(std::size(values) == std::size(column_columns));
    return cass_insert_internal_row(stmt, values);
}

static bool is_taken(const cass_column_entry *column, const cass_string *filter)
{
    return !catalog_is_filter(filter) || cass_string_compare_cstr(filter, column->name) == 0;
}

static SQLRETURN list_columns(cass_stmt *stmt, const cass_string *schema, const cass_string *table,
                              const cass_string *filter)
{
    held_tables tables;
    if (cass_list_tables(stmt, schema, table, &tables) != 0)
        return SQL_ERROR;
    for (const cass_table_entry *entry = tables.get(); entry != nullptr; entry = entry->next)
        for (const cass_column_entry *column = entry->columns; column != nullptr;
             column = column->next)
            if (is_taken(column, filter) && add_row(stmt, entry, column) != 0)
                return SQL_ERROR;
    return SQL_SUCCESS;
}

static SQLRETURN columns(cass_stmt *stmt, const columns_call &call)
{
    cass_close_for_catalog(stmt);
    if (catalog_follows_odbc(stmt_conn(stmt)))
        return odbc_columns(stmt, {call.catalog, call.schema, call.table, call.column});
    held_string schema;
    held_string table;
    held_string column;
    if (!cass_string_take_argument(call.schema, &schema) ||
        !cass_string_take_argument(call.table, &table) ||
        !cass_string_take_argument(call.column, &column) ||
        cass_create_internal_rs(stmt, &column_result, column_sort_keys) != 0)
        return SQL_ERROR;
    return catalog_finish(stmt, list_columns(stmt, schema.get(), table.get(), column.get()), true);
}

SQLRETURN columns_entry(SQLHSTMT handle, const entry_point &entry, const columns_call &call)
{
    return enter_stmt(
        handle, entry,
        [&](cass_stmt *stmt) {
            ENTRY_LOG(&stmt->head, entry, LOG_ENTRY,
                      "%s: statement_handle=%p, catalog_name=%A, schema_name=%A, "
                      "table_name=%A, column_name=%A",
                      entry.name, static_cast<void *>(stmt), &call.catalog, &call.schema,
                      &call.table, &call.column);
        },
        [&](cass_stmt *stmt) { return columns(stmt, call); });
}
