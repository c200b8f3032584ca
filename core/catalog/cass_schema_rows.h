// The catalog functions by the rules of ODBC 3.8: names are read from the schema and compared here,
// rows stand in the order of the standard. There are no catalogs; the ODBC schema is the keyspace.
//
// Each makes its result current on the statement, which was closed before, and gives the return
// code. On SQL_ERROR there may be no result; the records are those of the server, HY009 for an
// argument that must be given, or HY001. Each may throw std::bad_alloc.
#ifndef CORE_CATALOG_CASS_SCHEMA_ROWS_H
#define CORE_CATALOG_CASS_SCHEMA_ROWS_H

#include "core/catalog/cass_catalog_match.h"
#include "core/local/cass_internalrs.h"

// Tables, views and system tables, or one of the special listings: of types, catalogs, schemas.
SQLRETURN odbc_tables(cass_stmt *stmt, const catalog_arguments &arguments,
                      const text_argument &types);
SQLRETURN odbc_columns(cass_stmt *stmt, const catalog_arguments &arguments);
// Partition key and clustering columns.
SQLRETURN odbc_primary_keys(cass_stmt *stmt, const catalog_arguments &arguments);
// The same where the identifier is SQL_BEST_ROWID, of one table: without a schema of that in the
// keyspace in use, else in the first keyspace that has it. No rows for other identifiers.
SQLRETURN odbc_special_columns(cass_stmt *stmt, const catalog_arguments &arguments,
                               SQLUSMALLINT identifier);
// A row for each table, and unless `unique` is SQL_INDEX_UNIQUE one for each column of an index.
SQLRETURN odbc_statistics(cass_stmt *stmt, const catalog_arguments &arguments, SQLUSMALLINT unique);
// A result of the shape without rows.
SQLRETURN odbc_empty(cass_stmt *stmt, const cass_internal_columns &shape);

#endif
