// The list of tables and their columns. The server's rows of a table are written down as a "create
// table" text, and that text is read back by a small tokeniser: what it makes of types, keys and
// order is what the catalog functions report.
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <new>
#include <string>

#include "core/catalog/cass_clist.h"
#include "core/describe/cass_field.h"
#include "core/diag/cass_err.h"
#include "core/log/cass_log.h"
#include "support/ascii.h"

static constexpr char log_source[] = "cass_clist.c";

// Room for a column's name or type, and for its kind. A longer type is cut, and what it leaves open
// swallows the columns behind it.
constexpr int COLUMN_TEXT_SIZE = 129;
constexpr int KIND_SIZE = 64;

static void free_column(cass_column_entry *column)
{
    std::free(column->name);
    std::free(column->type_name);
    std::free(column);
}

void cass_free_tables(cass_table_entry *tables)
{
    while (tables != nullptr) {
        while (tables->columns != nullptr) {
            cass_column_entry *column = tables->columns;
            tables->columns = column->next;
            free_column(column);
        }
        cass_table_entry *next = tables->next;
        std::free(tables->keyspace);
        std::free(tables->table);
        std::free(tables->create_sql);
        std::free(tables);
        tables = next;
    }
}

// ---- Types -------------------------------------------------------------------------------------

struct type_size_row {
    std::int32_t sql_type;
    std::int32_t column_size;    // or one of the marks below
    std::int32_t buffer_length;  // bytes
};

constexpr std::int32_t STRING_LEN = -1;
constexpr std::int32_t BINARY_LEN = -2;
constexpr std::int32_t FRACTION = -3;  // digits of the fraction behind "yyyy-mm-dd hh:mm:ss."

// Sizes of the catalog alone: other calls describe the same types with other sizes, on purpose.
static constexpr type_size_row type_size_rows[] = {
    {SQL_VARCHAR, STRING_LEN, STRING_LEN},
    {SQL_BIGINT, 20, 8},
    {SQL_VARBINARY, BINARY_LEN, BINARY_LEN},
    {SQL_BIT, 1, 1},
    {SQL_TYPE_DATE, 10, 6},
    {SQL_DATE, 10, 6},
    {SQL_NUMERIC, 38, 19},
    {SQL_DOUBLE, 24, 8},
    {SQL_REAL, 14, 4},
    {SQL_INTEGER, 8, 4},
    {SQL_SMALLINT, 6, 2},
    {SQL_TYPE_TIMESTAMP, FRACTION, 16},
    {SQL_TIMESTAMP, FRACTION, 16},
    {SQL_GUID, 36, 16},
    {SQL_TINYINT, 4, 1},
};

static std::int32_t sized(const cass_conn *conn, const cass_column_entry *column,
                          std::int32_t type_size_row::*member)
{
    for (const type_size_row &row : type_size_rows) {
        if (row.sql_type != column->sql_type)
            continue;
        switch (row.*member) {
        case STRING_LEN:
            return shared_get(&conn->settings.string_len);
        case BINARY_LEN:
            return shared_get(&conn->settings.binary_len);
        case FRACTION:
            return column->size + 20;
        default:
            return row.*member;
        }
    }
    return 0;
}

std::int32_t cass_catalog_column_size(const cass_conn *conn, const cass_column_entry *column)
{
    return sized(conn, column, &type_size_row::column_size);
}

std::int32_t cass_catalog_buffer_length(const cass_conn *conn, const cass_column_entry *column)
{
    return sized(conn, column, &type_size_row::buffer_length);
}

// Sets sql_type, size and digits from type_name. False when memory ran out.
static bool cass_catalog_type(const cass_conn *conn, cass_column_entry *column)
{
    const held_string name(cass_string_from_cstr(column->type_name));
    if (name == nullptr)
        return false;
    column->sql_type = cass_sql_type_from_name(conn, name.get(), &column->size, &column->digits);
    return true;
}

// ---- Tokens ------------------------------------------------------------------------------------

enum token_kind {
    TOKEN_END,
    TOKEN_COMMA,
    TOKEN_OPEN,
    TOKEN_CLOSE,
    TOKEN_WORD,
    TOKEN_QUOTED,
};

struct sql_token {
    token_kind kind;
    std::string text;
};

// A word in quotes, which are left out. Two quotes in a row stay in it as two.
static std::string quoted_word(const char **at)
{
    const char *start = ++*at;
    const char *end = start;
    while (*end != '\0' && (*end != '"' || end[1] == '"'))
        end += *end == '"' ? 2 : 1;
    *at = *end == '"' ? end + 1 : end;
    return {start, end};
}

// A word; inside angle brackets blanks, commas and parentheses belong to it.
static std::string plain_word(const char **at)
{
    const char *start = *at;
    int depth = 0;
    for (; **at != '\0'; ++*at) {
        const char c = **at;
        if (depth == 0 && (c == ',' || c == ')' || ascii_is_space(static_cast<unsigned char>(c))))
            break;
        if (c == '<')
            ++depth;
        else if (c == '>' && depth > 0)
            --depth;
    }
    return {start, *at};
}

static sql_token next_token(const char **at)
{
    while (ascii_is_space(static_cast<unsigned char>(**at)))
        ++*at;
    switch (**at) {
    case '\0':
        return {TOKEN_END, {}};
    case ',':
        return {TOKEN_COMMA, std::string(1, *(*at)++)};
    case '(':
        return {TOKEN_OPEN, std::string(1, *(*at)++)};
    case ')':
        return {TOKEN_CLOSE, std::string(1, *(*at)++)};
    case '"':
        return {TOKEN_QUOTED, quoted_word(at)};
    default:
        return {TOKEN_WORD, plain_word(at)};
    }
}

// ---- Reading a table's text --------------------------------------------------------------------

enum parse_state {
    BEFORE_LIST,
    COLUMN_OR_CLAUSE,
    AFTER_PRIMARY,
    COLUMN_TYPE,
    AFTER_TYPE,
    FINISHED,
    KEY_LIST,
    AFTER_KEY_LIST,
};

struct table_parse {
    const cass_conn *conn;
    cass_table_entry *entry;
    parse_state state;
    std::string word;  // column name, or the last word of a key list
    std::string type_name;
    bool is_key;
    std::int32_t key_seq;
    bool no_memory;  // for a column: the list is not whole
};

// A key column goes to the front of the list, any other to its end. So the columns of a composite
// key come out in reverse.
static void link_column(cass_table_entry *entry, cass_column_entry *column)
{
    cass_column_entry **place = &entry->columns;
    while (!column->is_key && *place != nullptr)
        place = &(*place)->next;
    column->next = *place;
    *place = column;
}

static void add_column(table_parse *parse)
{
    auto *column = static_cast<cass_column_entry *>(std::calloc(1, sizeof(cass_column_entry)));
    parse->no_memory = column == nullptr;
    if (column == nullptr)
        return;
    column->name = strdup(parse->word.c_str());
    column->type_name = strdup(parse->type_name.c_str());
    column->is_key = parse->is_key;
    parse->no_memory = column->name == nullptr || column->type_name == nullptr ||
                       !cass_catalog_type(parse->conn, column);
    if (parse->no_memory)
        free_column(column);
    else
        link_column(parse->entry, column);
}

static void mark_key(table_parse *parse)
{
    for (cass_column_entry *column = parse->entry->columns; column != nullptr;
         column = column->next) {
        if (parse->word != column->name)
            continue;
        column->is_key = 1;
        column->key_seq = parse->key_seq;
    }
}

static bool is_primary(const sql_token &token)
{
    // In quotes it is the name of a column.
    return token.kind == TOKEN_WORD && token.text == "PRIMARY";
}

static bool is_word(const sql_token &token)
{
    return token.kind == TOKEN_WORD || token.kind == TOKEN_QUOTED;
}

// The state after a column's type: its mark, the next column, or the end of the list.
static parse_state after_type(table_parse *parse, const sql_token &token)
{
    if (is_primary(token))
        parse->is_key = true;
    if (is_word(token) || token.kind == TOKEN_OPEN)
        return AFTER_TYPE;
    add_column(parse);
    return token.kind == TOKEN_COMMA ? COLUMN_OR_CLAUSE : FINISHED;
}

static parse_state in_key_list(table_parse *parse, const sql_token &token)
{
    if (is_word(token))
        parse->word = token.text;
    if (token.kind == TOKEN_COMMA || token.kind == TOKEN_CLOSE)
        mark_key(parse);
    if (token.kind == TOKEN_COMMA)
        ++parse->key_seq;
    return token.kind == TOKEN_CLOSE ? AFTER_KEY_LIST : KEY_LIST;
}

static parse_state next_state(table_parse *parse, const sql_token &token)
{
    const bool ends = token.kind == TOKEN_END || token.kind == TOKEN_CLOSE;
    switch (parse->state) {
    case BEFORE_LIST:
        return token.kind == TOKEN_OPEN ? COLUMN_OR_CLAUSE : BEFORE_LIST;
    case COLUMN_OR_CLAUSE:
        if (ends)
            return FINISHED;
        if (is_primary(token))
            return AFTER_PRIMARY;
        if (!is_word(token))
            return COLUMN_OR_CLAUSE;
        parse->word = token.text;
        parse->is_key = false;
        return COLUMN_TYPE;
    case AFTER_PRIMARY:
        return token.kind == TOKEN_OPEN ? KEY_LIST : AFTER_PRIMARY;
    case COLUMN_TYPE:
        if (!is_word(token))
            return COLUMN_TYPE;
        parse->type_name = token.text;
        return AFTER_TYPE;
    case AFTER_TYPE:
        return after_type(parse, token);
    case KEY_LIST:
        return in_key_list(parse, token);
    case AFTER_KEY_LIST:
        if (ends)
            return FINISHED;
        return token.kind == TOKEN_COMMA ? COLUMN_OR_CLAUSE : AFTER_KEY_LIST;
    default:
        return FINISHED;
    }
}

int cass_parse_create_sql(const cass_conn *conn, cass_table_entry *entry)
{
    table_parse parse = {};
    parse.conn = conn;
    parse.entry = entry;
    const char *at = entry->create_sql;
    while (parse.state != FINISHED) {
        const sql_token token = next_token(&at);
        parse.state = next_state(&parse, token);
        if (parse.no_memory)
            return -1;
        if (token.kind == TOKEN_END)
            break;
    }
    std::int32_t ordinal = 0;
    for (cass_column_entry *column = entry->columns; column != nullptr; column = column->next)
        column->ordinal = ordinal++;
    return 0;
}

// ---- Writing it --------------------------------------------------------------------------------

static catalog_query columns_query(const cass_table_entry *entry)
{
    constexpr char columns[] = "SELECT column_name, kind, type, table_name, position, "
                               "keyspace_name FROM system_schema.columns WHERE ";
    catalog_query query = {};
    if (entry->keyspace != nullptr)
        query.text.reset(cass_string_format("%skeyspace_name='%s' and table_name='%s'", columns,
                                            entry->keyspace, entry->table));
    else
        query.text.reset(cass_string_format("%stable_name='%s'", columns, entry->table));
    return query;
}

// The rows of an inner statement as text. False when a page failed.
static bool write_create_sql(cass_stmt *stmt, cass_stmt *inner, const cass_table_entry *entry,
                             std::string *sql)
{
    *sql = "create table ";
    if (entry->keyspace != nullptr)
        *sql += std::string(entry->keyspace) + ".";
    *sql += std::string(entry->table) + " (\n";
    int row;
    for (bool first = true; (row = catalog_next_row(stmt, inner)) == 1; first = false) {
        char name[COLUMN_TEXT_SIZE];
        char kind[KIND_SIZE];
        char type[COLUMN_TEXT_SIZE];
        catalog_cell(inner, 1, name, sizeof name);
        catalog_cell(inner, 2, kind, sizeof kind);
        catalog_cell(inner, 3, type, sizeof type);
        if (!first)
            *sql += ",\n";
        *sql += std::string("\"") + name + "\" " + type;
        // Clustering columns get no mark: only the partition key counts as the key.
        if (std::strcmp(kind, "partition_key") == 0)
            *sql += " PRIMARY KEY";
    }
    *sql += " )";
    return row == 0;
}

static int extract_table(cass_stmt *stmt, cass_table_entry *entry)
{
    if (entry->table == nullptr || entry->table[0] == '\0') {
        CASS_LOG(&stmt->head, LOG_DETAIL, "extract_create_sql: skip empty table name");
        return -1;
    }
    if (entry->keyspace != nullptr)
        CASS_LOG(&stmt->head, LOG_DETAIL, "extract_create_sql: extract '%s'.'%s'", entry->keyspace,
                 entry->table);
    else
        CASS_LOG(&stmt->head, LOG_DETAIL, "extract_create_sql: extract '%s'", entry->table);
    SQLRETURN code;
    const held_inner inner = catalog_run(stmt, columns_query(entry), &code);
    if (inner == nullptr)
        return code == SQL_ERROR ? -1 : 0;  // a table that comes with a warning has no columns
    std::string sql;
    if (!write_create_sql(stmt, inner.get(), entry, &sql))
        return -1;
    entry->create_sql = strdup(sql.c_str());
    if (entry->create_sql == nullptr)
        return -1;
    return cass_parse_create_sql(stmt_conn(stmt), entry);
}

// Reads each table's columns, key columns first, with their kinds and positions. 0, or -1 with
// records on the statement; -1 without for a table without a name and when memory ran out. May
// throw std::bad_alloc.
static int extract_create_sql(cass_stmt *stmt, cass_table_entry *tables)
{
    for (cass_table_entry *entry = tables; entry != nullptr; entry = entry->next)
        if (extract_table(stmt, entry) != 0)
            return -1;
    return 0;
}

// ---- The list ----------------------------------------------------------------------------------

// Copies a cell; null for SQL NULL. False when memory ran out.
static bool copy_cell(cass_stmt *inner, SQLUSMALLINT column, char **copy)
{
    char buffer[CATALOG_NAME_SIZE];
    const char *text = catalog_cell(inner, column, buffer, sizeof buffer);
    *copy = text != nullptr ? strdup(text) : nullptr;
    return text == nullptr || *copy != nullptr;
}

// The tables of an inner statement's rows. 0 or -1.
static int read_tables(cass_stmt *stmt, cass_stmt *inner, held_tables *tables)
{
    cass_table_entry *tail = nullptr;
    int row;
    while ((row = catalog_next_row(stmt, inner)) == 1) {
        auto *entry = static_cast<cass_table_entry *>(std::calloc(1, sizeof(cass_table_entry)));
        if (entry == nullptr)
            return -1;
        if (tail != nullptr)
            tail->next = entry;
        else
            tables->reset(entry);
        tail = entry;
        if (!copy_cell(inner, 1, &entry->keyspace) || !copy_cell(inner, 2, &entry->table))
            return -1;
    }
    return row;
}

int cass_list_tables(cass_stmt *stmt, const cass_string *schema, const cass_string *table,
                     held_tables *tables)
{
    catalog_query query =
        catalog_select("select keyspace_name, table_name from system_schema.tables");
    if (catalog_is_filter(table))
        catalog_where(&query, "table_name=", table);
    held_string current;
    if (!catalog_is_filter(schema)) {
        if (!catalog_current_keyspace(stmt, &current))
            return -1;
        schema = current.get();
    }
    if (schema != nullptr)
        catalog_where(&query, "keyspace_name=", schema);
    catalog_allow_filtering(&query);

    held_inner inner = catalog_run(stmt, std::move(query));
    if (inner == nullptr || read_tables(stmt, inner.get(), tables) != 0)
        return -1;
    inner.reset();
    try {
        return extract_create_sql(stmt, tables->get());
    } catch (const std::bad_alloc &) {
        return -1;
    }
}
