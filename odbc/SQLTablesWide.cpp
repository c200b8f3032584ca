// The tables and views of the cluster, and the three special listings: of table types, of catalogs
// and of keyspaces.
#include "odbc/SQLTablesWide.h"

#include <initializer_list>
#include <iterator>

#include "core/catalog/cass_schema_rows.h"
#include "core/statement/cass_stmt.h"

// clang-format off
static constexpr cass_internal_column table_columns[] = {
    {"TABLE_CAT",   SQL_VARCHAR,  64, SQL_NULLABLE},
    {"TABLE_SCHEM", SQL_VARCHAR,  64, SQL_NULLABLE},
    {"TABLE_NAME",  SQL_VARCHAR,  64, SQL_NO_NULLS},
    {"TABLE_TYPE",  SQL_VARCHAR,  64, SQL_NO_NULLS},
    {"REMARKS",     SQL_VARCHAR, 256, SQL_NULLABLE},
};
// clang-format on
static constexpr cass_internal_columns table_result = {std::size(table_columns), table_columns};
static constexpr std::int32_t table_sort_keys[] = {4, 1, 2, 3, 0};

struct table_arguments {
    held_string catalog;
    held_string schema;
    held_string table;
    held_string type;
};

// ---- The special listings ----------------------------------------------------------------------

// A null pointer with a length of 0 is none.
static bool is_empty(const text_argument &argument, const cass_string *text)
{
    if (text == nullptr)
        return argument.length == SQL_NTS;
    return argument.length == 0 || (argument.length == SQL_NTS && cass_string_length(text) == 0);
}

static bool is_percent(const text_argument &argument, const cass_string *text)
{
    return (argument.length == 1 || argument.length == SQL_NTS) && catalog_text_is(text, "%");
}

static int add_row(cass_stmt *stmt, const char *catalog, const char *schema, const char *table,
                   const char *type)
{
    const char *const values[] = {catalog, schema, table, type, nullptr};
    return cass_insert_internal_row(stmt, values);
}

static SQLRETURN list_types(cass_stmt *stmt)
{
    for (const char *type : {"TABLE", "VIEW"})
        if (add_row(stmt, nullptr, nullptr, nullptr, type) != 0)
            return SQL_ERROR;
    return SQL_SUCCESS;
}

static SQLRETURN list_catalogs(cass_stmt *stmt)
{
    const char *name = catalog_name(stmt_conn(stmt));
    return name == nullptr || add_row(stmt, name, nullptr, nullptr, nullptr) == 0 ? SQL_SUCCESS
                                                                                  : SQL_ERROR;
}

static SQLRETURN list_keyspaces(cass_stmt *stmt)
{
    const held_inner inner =
        catalog_run(stmt, catalog_select("select keyspace_name from system_schema.keyspaces"));
    if (inner == nullptr)
        return SQL_ERROR;
    int row;
    while ((row = catalog_next_row(stmt, inner.get())) == 1) {
        char keyspace[CATALOG_NAME_SIZE];
        const char *name = catalog_cell(inner.get(), 1, keyspace, sizeof keyspace);
        if (add_row(stmt, catalog_name(stmt_conn(stmt)), name, nullptr, nullptr) != 0)
            return SQL_ERROR;
    }
    return row == 0 ? SQL_SUCCESS : SQL_ERROR;
}

// ---- The general listing -----------------------------------------------------------------------

struct listing {
    const char *word;  // in the list of wanted types
    const char *quoted_word;
    const char *select;
    const char *name_condition;
    const char *told_word;  // that its rows have
};

static constexpr listing listings[] = {
    {"TABLE", "'TABLE'", "select keyspace_name, table_name from system_schema.tables",
     "table_name=", "TABLE"},
    {"VIEW", "'VIEW'", "select keyspace_name, view_name from system_schema.views",
     "view_name=", "VIEWS"},
};

// Whether a comma-separated list of types has the listing's word. An unknown one is passed over.
static bool is_wanted(const listing &wanted, const cass_string *types)
{
    if (!catalog_is_filter(types))
        return true;
    const std::int32_t length = cass_string_length(types);
    for (std::int32_t start = 0; start < length;) {
        std::int32_t end = length;
        cass_string_find_char(start, types, ',', &end);
        const cass_string item = {
            .text = types->text + start, .length = end - start, .borrowed = 1, .form = types->form};
        if (catalog_text_is(&item, wanted.word) || catalog_text_is(&item, wanted.quoted_word))
            return true;
        start = end + 1;
    }
    return false;
}

static SQLRETURN list_one(cass_stmt *stmt, const listing &wanted, const table_arguments &arguments)
{
    catalog_query query = catalog_select(wanted.select);
    if (catalog_is_filter(arguments.table.get()))
        catalog_where(&query, wanted.name_condition, arguments.table.get());
    held_string current;
    if (!catalog_current_keyspace(stmt, &current))
        return SQL_ERROR;
    // Of the catalog argument "%" is a keyspace too, and none has that name.
    if (cass_string_length(arguments.catalog.get()) > 0)
        catalog_where(&query, "keyspace_name=", arguments.catalog.get());
    else if (current != nullptr)
        catalog_where(&query, "keyspace_name = ", current.get());
    catalog_allow_filtering(&query);

    const held_inner inner = catalog_run(stmt, std::move(query));
    if (inner == nullptr)
        return SQL_ERROR;
    int row;
    while ((row = catalog_next_row(stmt, inner.get())) == 1) {
        char keyspace[CATALOG_NAME_SIZE];
        char table[CATALOG_NAME_SIZE];
        const char *keyspace_name = catalog_cell(inner.get(), 1, keyspace, sizeof keyspace);
        const char *table_name = catalog_cell(inner.get(), 2, table, sizeof table);
        if (add_row(stmt, catalog_name(stmt_conn(stmt)), keyspace_name, table_name,
                    wanted.told_word) != 0)
            return SQL_ERROR;
    }
    return row == 0 ? SQL_SUCCESS : SQL_ERROR;
}

static SQLRETURN list_tables(cass_stmt *stmt, const table_arguments &arguments)
{
    for (const listing &wanted : listings)
        if (is_wanted(wanted, arguments.type.get()) &&
            list_one(stmt, wanted, arguments) != SQL_SUCCESS)
            return SQL_ERROR;
    return SQL_SUCCESS;
}

static SQLRETURN tables(cass_stmt *stmt, const tables_call &call)
{
    cass_close_for_catalog(stmt);
    if (catalog_follows_odbc(stmt_conn(stmt)))
        return odbc_tables(stmt, {call.catalog, call.schema, call.table, {}}, call.type);
    table_arguments texts;
    if (!cass_string_take_argument(call.catalog, &texts.catalog) ||
        !cass_string_take_argument(call.schema, &texts.schema) ||
        !cass_string_take_argument(call.table, &texts.table) ||
        !cass_string_take_argument(call.type, &texts.type) ||
        cass_create_internal_rs(stmt, &table_result, table_sort_keys) != 0)
        return SQL_ERROR;

    const bool no_catalog = is_empty(call.catalog, texts.catalog.get());
    const bool no_schema = is_empty(call.schema, texts.schema.get());
    const bool no_table = is_empty(call.table, texts.table.get());
    SQLRETURN code;
    bool occupies = true;
    if (no_catalog && no_schema && no_table && is_percent(call.type, texts.type.get())) {
        occupies = false;
        code = list_types(stmt);
    } else if (is_percent(call.catalog, texts.catalog.get()) && no_schema && no_table) {
        occupies = false;
        code = list_catalogs(stmt);
    } else if (no_catalog && is_percent(call.schema, texts.schema.get()) && no_table) {
        code = list_keyspaces(stmt);
    } else {
        code = list_tables(stmt, texts);
    }
    return catalog_finish(stmt, code, occupies);
}

SQLRETURN tables_entry(SQLHSTMT handle, const entry_point &entry, const tables_call &call)
{
    return enter_stmt(
        handle, entry,
        [&](cass_stmt *stmt) {
            ENTRY_LOG(&stmt->head, entry, LOG_ENTRY,
                      "%s: statement_handle=%p, catalog_name=%A, schema_name=%A, "
                      "table_name=%A, table_type=%A",
                      entry.name, static_cast<void *>(stmt), &call.catalog, &call.schema,
                      &call.table, &call.type);
        },
        [&](cass_stmt *stmt) { return tables(stmt, call); });
}
