// What the catalog functions share: the driver's own queries over the schema and their rows; and,
// by the rules of their own that they have by default, their arguments and the list of tables with
// their columns.
//
// By these rules the ODBC catalog is one constant word; the ODBC schema is the keyspace. Nothing is
// matched as a pattern: a value is compared for equality, "%" or an empty value is no filter.
#ifndef CORE_CATALOG_CASS_CLIST_H
#define CORE_CATALOG_CASS_CLIST_H

#include "core/local/cass_internalrs.h"
#include "core/wire/cass_pkt.h"

// Whether the connection's catalog functions follow ODBC (core/catalog/cass_schema_rows.h), and not
// the rules here.
bool catalog_follows_odbc(const cass_conn *conn);
// The catalog that every table is in; null where the conduct knows none.
const char *catalog_name(const cass_conn *conn);
// Room for a name with its terminator: longer names are cut.
constexpr int CATALOG_NAME_SIZE = 65;

// ---- Arguments ---------------------------------------------------------------------------------

// Whether the text is `word`, without regard to case.
bool catalog_text_is(const cass_string *text, const char *word);
// Given, not empty and not "%".
bool catalog_is_filter(const cass_string *text);
// A copy of the keyspace in use, null without one. False when memory ran out; nothing is posted.
bool catalog_current_keyspace(const cass_stmt *stmt, held_string *keyspace);

// ---- Queries -----------------------------------------------------------------------------------

// A query while it is composed.
struct catalog_query {
    held_string text;     // null once memory ran out
    const char *joining;  // the word before the next condition
};

catalog_query catalog_select(const char *text);
// Adds " WHERE name='value'" or " AND ...": `comparison` is the name with its equal sign. The value
// is not escaped: what the application passes stands in the query as it is.
void catalog_where(catalog_query *query, const char *comparison, const cass_string *value);
// Ends a query that got a condition with " ALLOW FILTERING".
void catalog_allow_filtering(catalog_query *query);

// The driver's inner statement: closed and freed.
void catalog_free_inner(cass_stmt *inner);
using held_inner = held<cass_stmt, &catalog_free_inner>;

// Runs a query, which it consumes, on an inner statement of the same connection; *code tells the
// outcome, and the inner statement has its records. Null when memory ran out.
held_inner catalog_start(cass_stmt *stmt, catalog_query query, SQLRETURN *code);
// The same by the driver's own rules, to which a warning is a failure. Null with the inner
// statement's records copied to `stmt` for any outcome but SQL_SUCCESS, and with none when memory
// ran out; *code, where given, tells the outcome.
held_inner catalog_run(cass_stmt *stmt, catalog_query query, SQLRETURN *code = nullptr);
// Steps to the next row: 1, 0 at the end, or -1 with the records of a failed page copied to `stmt`.
int catalog_next_row(cass_stmt *stmt, cass_stmt *inner);
// A column of the row (from 1) as text in `buffer` of `size` bytes, cut to its room. The buffer, or
// null for SQL NULL.
const char *catalog_cell(cass_stmt *inner, SQLUSMALLINT column, char *buffer, SQLLEN size);

// Ends a catalog function with its code, or SQL_SUCCESS_WITH_INFO for a cursor of another type. A
// success that `occupies` keeps the connection from others until its rows were read; a failure
// leaves an empty result.
SQLRETURN catalog_finish(cass_stmt *stmt, SQLRETURN code, bool occupies);

// ---- Tables and their columns ------------------------------------------------------------------

struct cass_column_entry {
    char *name;
    char *type_name;       // as the server spells it
    std::int32_t ordinal;  // position in the final list, from 0
    std::int32_t is_key;
    std::int32_t key_seq;  // place in a table-level key list, from 0
    std::int32_t sql_type;
    std::int32_t size;    // digits of a numeric, fraction digits of a time; else 0
    std::int32_t digits;  // scale
    cass_column_entry *next;
};

struct cass_table_entry {
    char *keyspace;
    char *table;
    char *create_sql;
    cass_column_entry *columns;
    cass_table_entry *next;
};

void cass_free_tables(cass_table_entry *tables);
using held_tables = held<cass_table_entry, &cass_free_tables>;

// The tables that the two arguments select (the schema, or else the connection's current keyspace),
// each with its columns. 0, or -1 with the server's records on the statement, without any when
// memory ran out.
int cass_list_tables(cass_stmt *stmt, const cass_string *schema, const cass_string *table,
                     held_tables *tables);
// Reads the entry's create_sql back into its columns. What it does not recognise it skips. 0, or -1
// when memory ran out; may throw std::bad_alloc.
int cass_parse_create_sql(const cass_conn *conn, cass_table_entry *entry);

// COLUMN_SIZE and BUFFER_LENGTH (bytes) of a column.
std::int32_t cass_catalog_column_size(const cass_conn *conn, const cass_column_entry *column);
std::int32_t cass_catalog_buffer_length(const cass_conn *conn, const cass_column_entry *column);

// ---- Rows --------------------------------------------------------------------------------------

// A number as the text of a local result's cell.
struct catalog_number {
    char text[16];
};
catalog_number catalog_number_text(std::int32_t value);

#endif
