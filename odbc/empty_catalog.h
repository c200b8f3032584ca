// Catalog functions that have nothing to report: a result with its columns and no rows.
#ifndef ODBC_EMPTY_CATALOG_H
#define ODBC_EMPTY_CATALOG_H

#include "core/catalog/cass_clist.h"
#include "odbc/entry_frame.h"

// The text arguments of a call, in its order; what a function does not have stays away.
struct empty_call {
    text_argument texts[6];
};

struct empty_set {
    const char *entry_format;  // of the name, the statement and the texts
    cass_internal_columns result;
    const cass_internal_columns *odbc_result;  // where the catalog follows ODBC
    const std::int32_t *sort_keys;
    bool occupies_connection;  // until its end was fetched, as any catalog result
};

extern const empty_set foreign_keys_set;
extern const empty_set procedures_set;
extern const empty_set procedure_columns_set;
extern const empty_set table_privileges_set;
extern const empty_set column_privileges_set;

// Makes the result current on the statement. The arguments are only recorded.
SQLRETURN empty_catalog_entry(SQLHSTMT handle, const entry_point &entry, const empty_set &set,
                              const empty_call &call);

#endif
