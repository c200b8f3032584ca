// SQLSpecialColumns in both forms.
#ifndef ODBC_SQLSPECIALCOLUMNSWIDE_H
#define ODBC_SQLSPECIALCOLUMNSWIDE_H

#include "core/catalog/cass_clist.h"
#include "odbc/entry_frame.h"

struct special_columns_call {
    SQLUSMALLINT identifier_type;
    text_argument catalog;
    text_argument schema;
    text_argument table;
    SQLUSMALLINT scope;
    SQLUSMALLINT nullable;
};

// Makes the result current on the statement: rows for SQL_BEST_ROWID, none for other types.
// Diagnostics go to the statement.
SQLRETURN special_columns_entry(SQLHSTMT handle, const entry_point &entry,
                                const special_columns_call &call);

#endif
