// Local results: rows that the driver composes itself and delivers through the same column records
// as a server's. The whole result is held in memory until the statement closes.
#ifndef CORE_LOCAL_CASS_INTERNALRS_H
#define CORE_LOCAL_CASS_INTERNALRS_H

#include "core/record/cass_handles.h"

struct cass_internal_column {
    const char *name;
    std::int32_t type;    // SQL_VARCHAR, SQL_INTEGER or SQL_SMALLINT
    std::int32_t length;  // size of a SQL_VARCHAR column, bytes
    std::int32_t nullable;
};

// The shape of a result: a constant table.
struct cass_internal_columns {
    std::int32_t count;
    const cass_internal_column *columns;
};

// One heap block with its values and their texts behind it.
struct cass_internal_row {
    cass_internal_row *prev;  // kept on the unsorted path only
    cass_internal_row *next;
    const char **values;  // one for each column, null for SQL NULL
};

struct cass_internal_rs {
    cass_internal_row *head;
    cass_internal_row *tail;
    cass_internal_row *current;   // row delivered last
    cass_internal_row *inserted;  // row inserted last, where the search for the next one begins
    const cass_internal_columns *columns;  // not owned
    std::int32_t sort_key_count;
    std::int32_t *sort_keys;  // column indexes from 0, most significant first
    std::int32_t exhausted;
    std::int32_t at_start;
    std::int32_t row_lost;      // 1: the row of the last fetch found no memory
    cass_internal_row **index;  // owned: the rows by their numbers; null until they are sought so
};

// Makes an empty result current on the statement and describes its columns in the automatic IRD.
// The statement is closed before; `columns` must outlive the result. sort_keys: column numbers from
// 1, ended by an entry below 1; null for no sorting. 0, or -1 with HY001 posted and no result.
int cass_create_internal_rs(cass_stmt *stmt, const cass_internal_columns *columns,
                            const std::int32_t *sort_keys);
// Adds a row at its sorted place, behind rows of equal keys. One NUL-terminated text for each
// column, copied; null for SQL NULL. 0, or -1 with HY001 or HY000 (no result) posted.
int cass_insert_internal_row(cass_stmt *stmt, const char *const *values);
// Describes each text column whose texts are longer than its size as wide as the longest of them:
// applications make their buffers by it.
void cass_widen_internal_columns(cass_stmt *stmt);
// The next row into the IRD. SQL_SUCCESS, or SQL_NO_DATA at the end. SQL_ERROR with HY001 and
// `row_lost` set when memory ran out: the row is the next one still, and the cells behind the
// failure are those of the row before. Only SQL_FETCH_NEXT is served.
SQLRETURN cass_fetch_internal_row(cass_stmt *stmt, SQLSMALLINT mode, SQLLEN offset);
// Drops the rows behind the first `most`.
void cass_limit_internal_rs(cass_internal_rs *rs, SQLULEN most);
// Numbers the rows of a result that is complete. How many there are, or -1 when memory ran out.
std::int64_t cass_index_internal_rs(cass_internal_rs *rs);
// Makes a row, from 1 to their number, the next one that is fetched.
void cass_seek_internal_row(cass_internal_rs *rs, std::int64_t row);
// Frees the result and unlinks it from the statement. Null is accepted.
void cass_free_internal_rs(cass_stmt *stmt, cass_internal_rs *rs);

#endif
