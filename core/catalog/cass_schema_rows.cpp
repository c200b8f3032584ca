#include "core/catalog/cass_schema_rows.h"

#include <algorithm>
#include <iterator>

#include "core/catalog/cass_catalog_shapes.h"
#include "core/catalog/cass_clist.h"
#include "core/catalog/cass_schema.h"
#include "core/describe/cass_field.h"
#include "core/diag/cass_err.h"
#include "support/ascii.h"

static constexpr char log_source[] = "cass_schema_rows.cpp";

// ---- Results -------------------------------------------------------------------------------------

// Makes the result once all that it tells is known. `add_rows` gives false with a failure posted.
template <typename Rows>
static SQLRETURN make_result(cass_stmt *stmt, const cass_internal_columns &shape, Rows add_rows)
{
    if (cass_create_internal_rs(stmt, &shape, nullptr) != 0)
        return SQL_ERROR;
    if (!add_rows())
        return catalog_finish(stmt, SQL_ERROR, false);
    cass_widen_internal_columns(stmt);
    const bool warned = cass_diag_count(&stmt->head) > 0;  // by the server
    return catalog_finish(stmt, warned ? SQL_SUCCESS_WITH_INFO : SQL_SUCCESS, false);
}

template <std::size_t count>
static bool add_row(cass_stmt *stmt, const char *const (&values)[count])
{
    return cass_insert_internal_row(stmt, values) == 0;
}

SQLRETURN odbc_empty(cass_stmt *stmt, const cass_internal_columns &shape)
{
    return make_result(stmt, shape, [] { return true; });
}

// ---- Tables --------------------------------------------------------------------------------------

static constexpr const char *type_names[SCHEMA_TABLE_KINDS] = {"SYSTEM TABLE", "TABLE", "VIEW"};

// The bits of the kinds in a list of types between commas, in quotes or without, in any case.
static unsigned kinds_of(std::string_view types)
{
    if (types.empty() || types == "%")
        return ALL_SCHEMA_TABLE_KINDS;
    unsigned kinds = 0;
    while (!types.empty()) {
        const std::size_t end = std::min(types.find(','), types.size());
        std::string_view item = ascii_trimmed(types.substr(0, end));
        types.remove_prefix(std::min(end + 1, types.size()));
        if (item.size() > 1 && item.starts_with('\'') && item.ends_with('\''))
            item = item.substr(1, item.size() - 2);
        for (unsigned kind = 0; kind < SCHEMA_TABLE_KINDS; kind++)
            if (ascii_casecmp(std::string(item).c_str(), type_names[kind]) == 0)
                kinds |= 1u << kind;
    }
    return kinds;
}

static SQLRETURN list_types(cass_stmt *stmt)
{
    return make_result(stmt, tables_shape, [&] {
        return std::ranges::all_of(type_names, [&](const char *type) {
            return add_row(stmt, {nullptr, nullptr, nullptr, type, nullptr});
        });
    });
}

static SQLRETURN list_schemas(cass_stmt *stmt)
{
    std::vector<std::string> keyspaces;
    if (!schema_keyspaces(stmt, &keyspaces))
        return SQL_ERROR;
    return make_result(stmt, tables_shape, [&] {
        return std::ranges::all_of(keyspaces, [&](const std::string &keyspace) {
            return add_row(stmt, {nullptr, keyspace.c_str(), nullptr, nullptr, nullptr});
        });
    });
}

static SQLRETURN list_tables(cass_stmt *stmt, const catalog_arguments &arguments, unsigned kinds)
{
    catalog_selection selection;
    if (!catalog_read_arguments(stmt, CATALOG_TABLES, arguments, &selection))
        return SQL_ERROR;
    std::vector<schema_table> tables;
    if (!selection.nothing &&
        !schema_tables(stmt, selection.keyspace, selection.table, kinds, &tables))
        return SQL_ERROR;
    std::ranges::stable_sort(tables, {}, &schema_table::kind);
    return make_result(stmt, tables_shape, [&] {
        return std::ranges::all_of(tables, [&](const schema_table &table) {
            return add_row(stmt, {nullptr, table.keyspace.c_str(), table.name.c_str(),
                                  type_names[table.kind], table.comment.c_str()});
        });
    });
}

SQLRETURN odbc_tables(cass_stmt *stmt, const catalog_arguments &arguments,
                      const text_argument &types)
{
    catalog_text catalog, schema, table, type;
    if (!catalog_take_text(arguments.catalog, &catalog) ||
        !catalog_take_text(arguments.schema, &schema) ||
        !catalog_take_text(arguments.table, &table) || !catalog_take_text(types, &type))
        return static_cast<SQLRETURN>(cass_post_no_memory(&stmt->head, log_source, "odbc_tables"));
    // A null pointer is as good as an empty text here: the Driver Manager hands it on with a length
    // of 0, whatever its length was.
    const bool no_catalog = catalog.text.empty(), no_schema = schema.text.empty();
    if (table.text.empty() && no_catalog && no_schema && type.text == "%")
        return list_types(stmt);
    if (table.text.empty() && no_schema && catalog.text == "%")
        return odbc_empty(stmt, tables_shape);
    if (table.text.empty() && no_catalog && schema.text == "%")
        return list_schemas(stmt);
    return list_tables(stmt, arguments, kinds_of(type.text));
}

// ---- Columns -------------------------------------------------------------------------------------

// The texts of a column's description, and null where it has none.
struct column_cells {
    catalog_number sql_type, size, bytes, digits, radix, verbose_type, subcode;
    bool has_digits, has_radix, is_datetime, is_sized;
};

static bool is_text_or_binary(std::int32_t sql_type)
{
    static constexpr std::int32_t types[] = {SQL_CHAR,   SQL_VARCHAR,   SQL_LONGVARCHAR,
                                             SQL_WCHAR,  SQL_WVARCHAR,  SQL_WLONGVARCHAR,
                                             SQL_BINARY, SQL_VARBINARY, SQL_LONGVARBINARY};
    return std::ranges::find(types, sql_type) != std::end(types);
}

// As a result's column of the type is described. False with HY001 posted when memory ran out.
static bool describe(cass_stmt *stmt, const schema_column &column, column_cells *cells)
{
    cass_field told;
    if (!cass_field_of_type_name(stmt_conn(stmt), column.type.c_str(), &told))
        return cass_post_no_memory(&stmt->head, log_source, "describe") == 0;
    const bool is_datetime = told.type == SQL_DATETIME;
    // Of the numbers those that count decimal digits; of the others those with a fraction.
    const bool has_digits =
        told.num_prec_radix == 10 || (is_datetime && told.datetime_interval_code != SQL_CODE_DATE);
    *cells = {
        .sql_type = catalog_number_text(told.consise_type),
        .size = catalog_number_text(static_cast<std::int32_t>(cass_field_size(&told))),
        .bytes = catalog_number_text(static_cast<std::int32_t>(told.octet_length)),
        .digits = catalog_number_text(told.scale),
        .radix = catalog_number_text(told.num_prec_radix),
        .verbose_type = catalog_number_text(told.type),
        .subcode = catalog_number_text(told.datetime_interval_code),
        .has_digits = has_digits,
        .has_radix = told.num_prec_radix != 0,
        .is_datetime = is_datetime,
        .is_sized = is_text_or_binary(told.consise_type),
    };
    return true;
}

static bool is_key(const schema_column &column)
{
    return column.kind == SCHEMA_PARTITION_KEY || column.kind == SCHEMA_CLUSTERING;
}

static const char *text_if(bool told, const catalog_number &number)
{
    return told ? number.text : nullptr;
}

static bool add_column(cass_stmt *stmt, const schema_column &column, std::int32_t ordinal)
{
    column_cells cells;
    return describe(stmt, column, &cells) &&
           add_row(stmt, {
                             nullptr,
                             column.table->keyspace.c_str(),
                             column.table->name.c_str(),
                             column.name.c_str(),
                             cells.sql_type.text,
                             column.type.c_str(),
                             cells.size.text,
                             cells.bytes.text,
                             text_if(cells.has_digits, cells.digits),
                             text_if(cells.has_radix, cells.radix),
                             is_key(column) ? "0" : "1",
                             nullptr,
                             nullptr,
                             cells.verbose_type.text,
                             text_if(cells.is_datetime, cells.subcode),
                             text_if(cells.is_sized, cells.bytes),
                             catalog_number_text(ordinal).text,
                             is_key(column) ? "NO" : "YES",
                         });
}

// The tables of a call and their columns, for a function that tells of these.
struct listed_columns {
    std::vector<schema_table> tables;
    std::vector<schema_column> columns;
};

// False with the failure posted.
static bool read_columns(cass_stmt *stmt, catalog_function function,
                         const catalog_arguments &arguments, catalog_selection *selection,
                         listed_columns *listed)
{
    if (!catalog_read_arguments(stmt, function, arguments, selection))
        return false;
    return selection->nothing || (schema_tables(stmt, selection->keyspace, selection->table,
                                                ALL_SCHEMA_TABLE_KINDS, &listed->tables) &&
                                  schema_columns(stmt, listed->tables, &listed->columns));
}

// Hands the columns in their order to `add(column, place in its table from 1)`.
template <typename Add>
static bool each_column(const listed_columns &listed, Add add)
{
    std::int32_t ordinal = 0;
    const schema_table *table = nullptr;
    return std::ranges::all_of(listed.columns, [&](const schema_column &column) {
        ordinal = column.table == table ? ordinal + 1 : 1;
        table = column.table;
        return add(column, ordinal);
    });
}

SQLRETURN odbc_columns(cass_stmt *stmt, const catalog_arguments &arguments)
{
    catalog_selection selection;
    listed_columns listed;
    if (!read_columns(stmt, CATALOG_COLUMNS, arguments, &selection, &listed))
        return SQL_ERROR;
    return make_result(stmt, columns_shape, [&] {
        return each_column(listed, [&](const schema_column &column, std::int32_t ordinal) {
            return !catalog_matches(selection.column, column.name) ||
                   add_column(stmt, column, ordinal);
        });
    });
}

// ---- Keys ----------------------------------------------------------------------------------------

SQLRETURN odbc_primary_keys(cass_stmt *stmt, const catalog_arguments &arguments)
{
    catalog_selection selection;
    listed_columns listed;
    if (!read_columns(stmt, CATALOG_PRIMARY_KEYS, arguments, &selection, &listed))
        return SQL_ERROR;
    return make_result(stmt, primary_keys_shape, [&] {
        return each_column(listed, [&](const schema_column &column, std::int32_t ordinal) {
            return !is_key(column) ||
                   add_row(stmt,
                           {nullptr, column.table->keyspace.c_str(), column.table->name.c_str(),
                            column.name.c_str(), catalog_number_text(ordinal).text, nullptr});
        });
    });
}

// Leaves of tables of one name that of the keyspace in use, or else the first.
static bool keep_one_table(cass_stmt *stmt, std::vector<schema_table> *tables)
{
    if (tables->size() < 2)
        return true;
    held_string in_use;
    std::int32_t length = 0;
    bool whole = catalog_current_keyspace(stmt, &in_use);
    const held_text text(cass_string_to_bytes(in_use.get(), &length));
    if (!whole || (in_use != nullptr && text == nullptr)) {
        cass_post_no_memory(&stmt->head, log_source, "keep_one_table");
        return false;
    }
    const std::string_view keyspace(text.get(), static_cast<std::size_t>(length));
    const auto found = std::ranges::find(*tables, keyspace, &schema_table::keyspace);
    *tables = {found != tables->end() ? *found : tables->front()};
    return true;
}

static bool add_row_identifier(cass_stmt *stmt, const schema_column &column)
{
    column_cells cells;
    return describe(stmt, column, &cells) &&
           add_row(stmt, {
                             catalog_number_text(SQL_SCOPE_SESSION).text,
                             column.name.c_str(),
                             cells.sql_type.text,
                             column.type.c_str(),
                             cells.size.text,
                             cells.bytes.text,
                             text_if(cells.has_digits, cells.digits),
                             catalog_number_text(SQL_PC_NOT_PSEUDO).text,
                         });
}

SQLRETURN odbc_special_columns(cass_stmt *stmt, const catalog_arguments &arguments,
                               SQLUSMALLINT identifier)
{
    catalog_selection selection;
    listed_columns listed;
    if (!catalog_read_arguments(stmt, CATALOG_SPECIAL_COLUMNS, arguments, &selection))
        return SQL_ERROR;
    if (!selection.nothing && identifier == SQL_BEST_ROWID &&
        (!schema_tables(stmt, selection.keyspace, selection.table, ALL_SCHEMA_TABLE_KINDS,
                        &listed.tables) ||
         !keep_one_table(stmt, &listed.tables) ||
         !schema_columns(stmt, listed.tables, &listed.columns)))
        return SQL_ERROR;
    return make_result(stmt, special_columns_shape, [&] {
        return std::ranges::all_of(listed.columns, [&](const schema_column &column) {
            return !is_key(column) || add_row_identifier(stmt, column);
        });
    });
}

// ---- Indexes -------------------------------------------------------------------------------------

static bool add_table_statistics(cass_stmt *stmt, const schema_table &table)
{
    return add_row(stmt, {nullptr, table.keyspace.c_str(), table.name.c_str(), nullptr, nullptr,
                          nullptr, catalog_number_text(SQL_TABLE_STAT).text, nullptr, nullptr,
                          nullptr, nullptr, nullptr, nullptr});
}

static bool add_index_column(cass_stmt *stmt, const schema_index &index, const std::string &column,
                             std::int32_t ordinal)
{
    return add_row(stmt, {nullptr, index.table->keyspace.c_str(), index.table->name.c_str(), "1",
                          nullptr, index.name.c_str(), catalog_number_text(SQL_INDEX_OTHER).text,
                          catalog_number_text(ordinal).text, column.c_str(), nullptr, nullptr,
                          nullptr, nullptr});
}

// Takes the next column from the head of an index's target, and the comma behind it: a name in CQL,
// or the keys, values, entries or whole of a collection, "keys(m)".
static std::string take_target(std::string_view *target)
{
    std::string name;
    bool quoted = false;
    while (!target->empty()) {
        const char sign = target->front();
        target->remove_prefix(1);
        if (sign == '"') {
            // Two in a row stand for one.
            if (quoted && target->starts_with('"')) {
                name += sign;
                target->remove_prefix(1);
            } else {
                quoted = !quoted;
            }
        } else if (quoted) {
            name += sign;
        } else if (sign == '(') {
            name.clear();
        } else if (sign == ',') {
            break;
        } else if (sign != ')' && sign != ' ') {
            name += sign;
        }
    }
    return name;
}

static bool add_index(cass_stmt *stmt, const schema_index &index)
{
    std::string_view rest = index.target;
    std::int32_t ordinal = 0;
    do {
        if (!add_index_column(stmt, index, take_target(&rest), ++ordinal))
            return false;
    } while (!rest.empty());
    return true;
}

SQLRETURN odbc_statistics(cass_stmt *stmt, const catalog_arguments &arguments, SQLUSMALLINT unique)
{
    catalog_selection selection;
    if (!catalog_read_arguments(stmt, CATALOG_STATISTICS, arguments, &selection))
        return SQL_ERROR;
    std::vector<schema_table> tables;
    std::vector<schema_index> indexes;
    if (!selection.nothing &&
        !schema_tables(stmt, selection.keyspace, selection.table, ALL_SCHEMA_TABLE_KINDS, &tables))
        return SQL_ERROR;
    if (unique != SQL_INDEX_UNIQUE && !schema_indexes(stmt, tables, &indexes))
        return SQL_ERROR;
    return make_result(stmt, statistics_shape, [&] {
        return std::ranges::all_of(
                   tables,
                   [&](const schema_table &table) { return add_table_statistics(stmt, table); }) &&
               std::ranges::all_of(
                   indexes, [&](const schema_index &index) { return add_index(stmt, index); });
    });
}
