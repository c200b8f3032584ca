#include "core/catalog/cass_schema.h"

#include <algorithm>
#include <iterator>
#include <tuple>
#include <utility>

#include "core/catalog/cass_clist.h"
#include "core/wire/cql_errors.h"
#include "support/ascii.h"
#include "support/bigendian.h"

static constexpr char log_source[] = "cass_schema.cpp";

// ---- Queries -------------------------------------------------------------------------------------

// A name that can stand in a literal as it is, which is so for all keyspaces and tables that there
// can be.
static bool is_word(std::string_view name)
{
    return std::ranges::all_of(name, [](char sign) {
        const auto unit = static_cast<unsigned char>(sign);
        const unsigned char lower = ascii_to_lower(unit);
        return ascii_is_digit(unit) || unit == '_' || (lower >= 'a' && lower <= 'z');
    });
}

static bool selects_none(const catalog_match &match)
{
    return match.kind == MATCH_NAME && (match.text.empty() || !is_word(match.text));
}

// What a query is restricted to, as far as these are given: `table` beside a keyspace only.
struct schema_place {
    const std::string *keyspace;
    const std::string *table;
};

static catalog_query schema_query(const char *select, const char *table_column,
                                  const schema_place &place)
{
    std::string text = select;
    if (place.keyspace != nullptr && is_word(*place.keyspace)) {
        text += " WHERE keyspace_name='" + *place.keyspace + "'";
        if (place.table != nullptr && is_word(*place.table))
            text += std::string(" AND ") + table_column + "='" + *place.table + "'";
    }
    return {.text = held_string(cass_string_from_bytes(text.data(), std::ssize(text))),
            .joining = ""};
}

// A server before version 4 has no virtual keyspaces, and one may keep them from this user.
static bool has_no_virtual_schema(cass_stmt *inner)
{
    const cass_lock_guard hold(&cass_diag_lock);
    const cass_diag_record *record = cass_diag_get(&inner->head, 1);
    return record != nullptr &&
           (record->native == CQL_INVALID || record->native == CQL_UNAUTHORIZED);
}

// Hands each row, as it stands in the inner statement, to `read_row(inner)`.
template <typename Reader>
static bool read_rows(cass_stmt *stmt, catalog_query query, bool of_virtual, Reader read_row)
{
    if (query.text == nullptr)
        return cass_post_no_memory(&stmt->head, log_source, "read_rows") == 0;
    SQLRETURN code;
    const held_inner inner = catalog_start(stmt, std::move(query), &code);
    if (inner == nullptr)
        return cass_post_no_memory(&stmt->head, log_source, "read_rows") == 0;
    if (code == SQL_ERROR && of_virtual && has_no_virtual_schema(inner.get()))
        return true;
    if (code != SQL_SUCCESS)
        cass_diag_copy_all(&stmt->head, &inner->head);
    if (!SQL_SUCCEEDED(code))
        return false;
    int row;
    while ((row = catalog_next_row(stmt, inner.get())) == 1)
        read_row(inner.get());
    return row == 0;
}

// The cell of the row by its column (from 1); null where it is null or of another type.
static const cass_data_storage *cell_of(const cass_stmt *inner, std::int32_t column,
                                        std::int32_t data_type)
{
    if (cass_stmt_column_count(inner->ird) < column)
        return nullptr;
    const cass_data_storage &cell = inner->ird->fields[column - 1].data_storage;
    return cell.data_type == data_type && !cell.isnull ? &cell : nullptr;
}

static std::string_view cell_bytes(const cass_data_storage *cell)
{
    if (cell == nullptr || cell->alloc_length == 0)
        return {};
    return {reinterpret_cast<const char *>(cell->buffer),
            static_cast<std::size_t>(cell->alloc_length)};
}

static std::string_view text_cell(const cass_stmt *inner, std::int32_t column)
{
    return cell_bytes(cell_of(inner, column, SQL_CHAR));
}

// ---- Tables --------------------------------------------------------------------------------------

static bool is_system_keyspace(std::string_view keyspace)
{
    static constexpr std::string_view names[] = {
        "system",
        "system_auth",
        "system_cluster_metadata",
        "system_distributed",
        "system_schema",
        "system_traces",
        "system_views",
        "system_virtual_schema",
    };
    return std::ranges::find(names, keyspace) != std::end(names);
}

constexpr std::int32_t FLAGS_COLUMN = 4;
static constexpr std::string_view structured_flags[] = {"compound", "dense", "super"};

// Tables that were not made by CQL have columns of their own beside those that were declared, which
// are static then. Of all flags that a table may have these have none but "counter".
static bool is_static_compact(const cass_stmt *inner)
{
    if (cass_stmt_column_count(inner->ird) < FLAGS_COLUMN)
        return false;
    const std::string_view flags = cell_bytes(cell_of(inner, FLAGS_COLUMN, CELL_WIRE));
    return std::ranges::none_of(structured_flags, [&](std::string_view flag) {
        return flags.find(flag) != std::string_view::npos;
    });
}

using table_key = std::pair<std::string_view, std::string_view>;

static table_key key_of(const schema_table &table)
{
    return {table.keyspace, table.name};
}

struct table_source {
    const char *select;
    const char *table_column;
    unsigned kinds;  // that its rows can be of
    bool is_virtual;
};

constexpr unsigned SYSTEM_BIT = 1u << SCHEMA_SYSTEM_TABLE;
constexpr unsigned TABLE_BIT = 1u << SCHEMA_TABLE;
constexpr unsigned VIEW_BIT = 1u << SCHEMA_VIEW;

static constexpr table_source table_sources[] = {
    {"SELECT keyspace_name, table_name, comment, flags FROM system_schema.tables", "table_name",
     SYSTEM_BIT | TABLE_BIT, false},
    {"SELECT keyspace_name, view_name, comment FROM system_schema.views", "view_name", VIEW_BIT,
     false},
    {"SELECT keyspace_name, table_name, comment FROM system_virtual_schema.tables", "table_name",
     SYSTEM_BIT, true},
};

static schema_table_kind kind_of(const table_source &source, std::string_view keyspace)
{
    if ((source.kinds & VIEW_BIT) != 0)
        return SCHEMA_VIEW;
    return source.is_virtual || is_system_keyspace(keyspace) ? SCHEMA_SYSTEM_TABLE : SCHEMA_TABLE;
}

bool schema_tables(cass_stmt *stmt, const catalog_match &keyspace, const catalog_match &table,
                   unsigned kinds, std::vector<schema_table> *tables)
{
    if (selects_none(keyspace) || selects_none(table))
        return true;
    const schema_place place = {
        .keyspace = keyspace.kind == MATCH_NAME ? &keyspace.text : nullptr,
        .table = table.kind == MATCH_NAME ? &table.text : nullptr,
    };
    for (const table_source &source : table_sources) {
        // A keyspace is virtual or it is not, and has one table or view of a name.
        const bool told = !tables->empty() && place.keyspace != nullptr &&
                          (source.is_virtual || place.table != nullptr);
        if ((source.kinds & kinds) == 0 || told)
            continue;
        const auto take = [&](const cass_stmt *inner) {
            const std::string_view of = text_cell(inner, 1), name = text_cell(inner, 2);
            const schema_table_kind kind = kind_of(source, of);
            if ((1u << kind & kinds) != 0 && catalog_matches(keyspace, of) &&
                catalog_matches(table, name))
                tables->push_back({std::string(of), std::string(name),
                                   std::string(text_cell(inner, 3)), kind, source.is_virtual,
                                   is_static_compact(inner)});
        };
        if (!read_rows(stmt, schema_query(source.select, source.table_column, place),
                       source.is_virtual, take))
            return false;
    }
    std::ranges::sort(*tables, {}, key_of);
    return true;
}

bool schema_keyspaces(cass_stmt *stmt, std::vector<std::string> *keyspaces)
{
    const auto take = [&](const cass_stmt *inner) { keyspaces->emplace_back(text_cell(inner, 1)); };
    const auto read_all = [&](const char *select, bool is_virtual) {
        return read_rows(stmt, schema_query(select, nullptr, {}), is_virtual, take);
    };
    if (!read_all("SELECT keyspace_name FROM system_schema.keyspaces", false) ||
        !read_all("SELECT keyspace_name FROM system_virtual_schema.keyspaces", true))
        return false;
    std::ranges::sort(*keyspaces);
    return true;
}

// ---- Parts of tables -----------------------------------------------------------------------------

// Of so few tables the parts are asked for one by one, of more by keyspace or all at once.
constexpr std::size_t FEW_TABLES = 8;

// The table that a row is of, by its first two cells; null for another.
static const schema_table *table_of_row(const std::vector<schema_table> &tables,
                                        const cass_stmt *inner)
{
    const table_key key = {text_cell(inner, 1), text_cell(inner, 2)};
    const auto at = std::ranges::lower_bound(tables, key, {}, key_of);
    return at != tables.end() && key_of(*at) == key ? &*at : nullptr;
}

// The smallest place that has all tables of the one sort; false where there are none.
static bool common_place(const std::vector<schema_table> &tables, bool is_virtual,
                         schema_place *place)
{
    const schema_table *first = nullptr;
    bool one_keyspace = true;
    for (const schema_table &table : tables) {
        if (table.is_virtual != is_virtual)
            continue;
        if (first == nullptr)
            first = &table;
        one_keyspace = one_keyspace && table.keyspace == first->keyspace;
    }
    *place = {.keyspace = first != nullptr && one_keyspace ? &first->keyspace : nullptr,
              .table = nullptr};
    return first != nullptr;
}

// Hands each row of the schema's table, real or virtual, to `read_part(table, inner)`.
template <typename Reader>
static bool read_parts(cass_stmt *stmt, const std::vector<schema_table> &tables,
                       const char *const select[2], Reader read_part)
{
    const auto read_row = [&](const cass_stmt *inner) {
        const schema_table *table = table_of_row(tables, inner);
        if (table != nullptr)
            read_part(table, inner);
    };
    const auto read = [&](bool is_virtual, const schema_place &place) {
        return select[is_virtual] == nullptr ||
               read_rows(stmt, schema_query(select[is_virtual], "table_name", place), is_virtual,
                         read_row);
    };
    if (tables.size() <= FEW_TABLES)
        return std::ranges::all_of(tables, [&](const schema_table &table) {
            return read(table.is_virtual, {&table.keyspace, &table.name});
        });
    for (const bool is_virtual : {false, true}) {
        schema_place place;
        if (common_place(tables, is_virtual, &place) && !read(is_virtual, place))
            return false;
    }
    return true;
}

static schema_column_kind column_kind(std::string_view kind)
{
    if (kind == "partition_key")
        return SCHEMA_PARTITION_KEY;
    if (kind == "clustering")
        return SCHEMA_CLUSTERING;
    return kind == "static" ? SCHEMA_STATIC : SCHEMA_REGULAR;
}

// What SELECT * leaves out.
static bool is_hidden(const schema_table &table, std::string_view type, schema_column_kind kind)
{
    return type == "empty" ||
           (table.hides_columns && (kind == SCHEMA_CLUSTERING || kind == SCHEMA_REGULAR));
}

bool schema_columns(cass_stmt *stmt, const std::vector<schema_table> &tables,
                    std::vector<schema_column> *columns)
{
    static constexpr const char *select[] = {
        "SELECT keyspace_name, table_name, column_name, type, kind, position "
        "FROM system_schema.columns",
        "SELECT keyspace_name, table_name, column_name, type, kind, position "
        "FROM system_virtual_schema.columns",
    };
    const auto take = [&](const schema_table *table, const cass_stmt *inner) {
        const std::string_view type = text_cell(inner, 4);
        const schema_column_kind kind = column_kind(text_cell(inner, 5));
        if (is_hidden(*table, type, kind))
            return;
        const cass_data_storage *position = cell_of(inner, 6, SQL_INTEGER);
        columns->push_back({table, std::string(text_cell(inner, 3)), std::string(type), kind,
                            position != nullptr ? position->value.integer : -1});
    };
    if (!read_parts(stmt, tables, select, take))
        return false;
    std::ranges::sort(*columns, {}, [](const schema_column &column) {
        return std::tie(column.table, column.kind, column.position, column.name);
    });
    return true;
}

// ---- Indexes -------------------------------------------------------------------------------------

// Takes a [bytes] from the head of a collection's element; false where it is not whole.
static bool take_element(std::string_view *rest, std::string_view *element)
{
    if (rest->size() < 4)
        return false;
    const std::uint32_t size = load_be32(rest->data());
    rest->remove_prefix(4);
    if (size > rest->size())
        return false;
    *element = rest->substr(0, size);
    rest->remove_prefix(size);
    return true;
}

// The option of the name in a map<text, text> (native protocol v4, section 6); empty without one.
static std::string_view option_of(std::string_view options, std::string_view name)
{
    if (options.size() < 4)
        return {};
    std::string_view key, value;
    options.remove_prefix(4);  // the count: the elements end where the bytes do
    while (take_element(&options, &key) && take_element(&options, &value))
        if (key == name)
            return value;
    return {};
}

bool schema_indexes(cass_stmt *stmt, const std::vector<schema_table> &tables,
                    std::vector<schema_index> *indexes)
{
    static constexpr const char *select[] = {
        "SELECT keyspace_name, table_name, index_name, options FROM system_schema.indexes",
        nullptr,  // virtual tables have none
    };
    const auto take = [&](const schema_table *table, const cass_stmt *inner) {
        const std::string_view options = cell_bytes(cell_of(inner, 4, CELL_WIRE));
        indexes->push_back(
            {table, std::string(text_cell(inner, 3)), std::string(option_of(options, "target"))});
    };
    if (!read_parts(stmt, tables, select, take))
        return false;
    std::ranges::sort(*indexes, {},
                      [](const schema_index &index) { return std::tie(index.name, index.table); });
    return true;
}
