// SQLPrimaryKeys and SQLPrimaryKeysW behind the form of their arguments.
#ifndef ODBC_SQLPRIMARYKEYSWIDE_H
#define ODBC_SQLPRIMARYKEYSWIDE_H

#include "core/catalog/cass_clist.h"
#include "odbc/entry_frame.h"

// Makes the result current on the statement. Diagnostics go to the statement.
SQLRETURN cass_primary_keys(cass_stmt *stmt, const catalog_argument &catalog_name,
                            const catalog_argument &schema_name,
                            const catalog_argument &table_name);

#endif
