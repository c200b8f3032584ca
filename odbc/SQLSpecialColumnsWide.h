// SQLSpecialColumns and SQLSpecialColumnsW behind the form of their arguments.
#ifndef ODBC_SQLSPECIALCOLUMNSWIDE_H
#define ODBC_SQLSPECIALCOLUMNSWIDE_H

#include "core/catalog/cass_clist.h"
#include "odbc/entry_frame.h"

// Makes the result current on the statement: rows for SQL_BEST_ROWID, none for other types.
// Diagnostics go to the statement.
SQLRETURN cass_special_columns(cass_stmt *stmt, SQLUSMALLINT identifier_type,
                               const catalog_argument &schema_name,
                               const catalog_argument &table_name);

#endif
