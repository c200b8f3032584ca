// The catalog's queries: composed from the application's arguments, run on an inner statement that
// the application never sees, and read cell by cell as bounded texts.
#include "core/catalog/cass_clist.h"

#include <cstring>

#include "core/cell/cass_data.h"
#include "core/diag/cass_err.h"
#include "core/handle/cass_handle.h"
#include "core/net/cass_conn_shared.h"
#include "core/statement/cass_fetch.h"
#include "core/statement/cass_stmt.h"
#include "support/numtext.h"

// Every inner query carries the function number of SQLTables, whichever function runs it.
constexpr std::int32_t OP_CATALOG = 54;

static bool the_catalog_has_its_own_rules(const cass_conn *conn)
{
    return conn->conduct->the_catalog_has_its_own_rules;
}

bool catalog_follows_odbc(const cass_conn *conn)
{
    return !the_catalog_has_its_own_rules(conn);
}

static bool there_is_a_catalog(const cass_conn *conn)
{
    return conn->conduct->there_is_a_catalog;
}

const char *catalog_name(const cass_conn *conn)
{
    return there_is_a_catalog(conn) ? "CASSANDRA" : nullptr;
}

// ---- Arguments ---------------------------------------------------------------------------------

bool catalog_text_is(const cass_string *text, const char *word)
{
    return text != nullptr && cass_string_compare_cstr(text, word) == 0;
}

bool catalog_is_filter(const cass_string *text)
{
    return cass_string_length(text) > 0 && !catalog_text_is(text, "%");
}

bool catalog_current_keyspace(const cass_stmt *stmt, held_string *keyspace)
{
    cass_conn *conn = stmt_conn(stmt);
    cass_string *copy;
    const bool whole = cass_copy_conn_text(conn, &conn->current_keyspace, &copy);
    keyspace->reset(copy);
    return whole;
}

// ---- Queries -----------------------------------------------------------------------------------

static void append_text(catalog_query *query, cass_string *tail)
{
    const held_string held(tail);
    if (query->text != nullptr &&
        (tail == nullptr || cass_string_append(query->text.get(), tail) == nullptr))
        query->text.reset();
}

catalog_query catalog_select(const char *text)
{
    return {.text = held_string(cass_string_from_cstr(text)), .joining = "WHERE"};
}

void catalog_where(catalog_query *query, const char *comparison, const cass_string *value)
{
    append_text(query, cass_string_format(" %s %s'%S'", query->joining, comparison, value));
    query->joining = "AND";
}

void catalog_allow_filtering(catalog_query *query)
{
    if (std::strcmp(query->joining, "AND") == 0)
        append_text(query, cass_string_from_cstr(" ALLOW FILTERING"));
}

void catalog_free_inner(cass_stmt *inner)
{
    cass_close_stmt(inner, 1);
    cass_free_throwaway_stmt(inner);
}

held_inner catalog_start(cass_stmt *stmt, catalog_query query, SQLRETURN *code)
{
    held_inner inner(cass_alloc_throwaway_stmt(stmt_conn(stmt)));
    *code = SQL_ERROR;
    if (inner != nullptr) {
        inner->served = stmt;
        // Whatever the application's statements begin with: all rows are read, one after another.
        inner->attrs.cursor_type = SQL_CURSOR_FORWARD_ONLY;
        inner->attrs.max_rows = 0;
        inner->attrs.max_length = 0;
    }
    if (inner != nullptr && query.text != nullptr)
        *code = cass_exec_direct(inner.get(), query.text.release(), OP_CATALOG);
    return inner;
}

held_inner catalog_run(cass_stmt *stmt, catalog_query query, SQLRETURN *code)
{
    SQLRETURN outcome;
    held_inner inner = catalog_start(stmt, std::move(query), &outcome);
    if (code != nullptr)
        *code = outcome;
    if (inner != nullptr && outcome != SQL_SUCCESS) {
        cass_diag_copy_all(&stmt->head, &inner->head);
        inner.reset();
    }
    return inner;
}

int catalog_next_row(cass_stmt *stmt, cass_stmt *inner)
{
    cass_diag_clear(&inner->head);  // of the row before: cells are cut in silence
    const SQLRETURN code = cass_fetch(inner, SQL_FETCH_NEXT, 0);
    // A page that did not come leaves an emptied row that counts as fetched; that row is none of
    // the catalog's. The records do not tell: they may have found no memory.
    if (code == SQL_ERROR || inner->page.page_failed) {
        cass_diag_copy_all(&stmt->head, &inner->head);
        return -1;
    }
    return code == SQL_SUCCESS ? 1 : 0;
}

const char *catalog_cell(cass_stmt *inner, SQLUSMALLINT column, char *buffer, SQLLEN size)
{
    SQLLEN length = 0;
    buffer[0] = '\0';
    cass_get_data(inner, column, SQL_C_CHAR, buffer, size, &length, nullptr, inner->ird->fields,
                  nullptr);
    return length == SQL_NULL_DATA ? nullptr : buffer;
}

catalog_number catalog_number_text(std::int32_t value)
{
    catalog_number number = {};
    text_from_int64(number.text, value);
    return number;
}

SQLRETURN catalog_finish(cass_stmt *stmt, SQLRETURN code, bool occupies)
{
    if (code == SQL_SUCCESS && occupies)
        cass_set_busy(stmt_conn(stmt), {.busy = 1, .stmt = nullptr});
    if (!SQL_SUCCEEDED(code) && stmt->internal_rs != nullptr)
        stmt->internal_rs->exhausted = 1;
    return cass_check_cursor_change(stmt, code);
}
