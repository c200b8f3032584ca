// The schema as the server's own tables tell it: tables and views with their comments, their
// columns and indexes, of real keyspaces (system_schema) and of virtual ones
// (system_virtual_schema). Names have any length and any character.
//
// A function that gives bool posts its failure on the statement: the server's records, or HY001.
// Each may throw std::bad_alloc.
#ifndef CORE_CATALOG_CASS_SCHEMA_H
#define CORE_CATALOG_CASS_SCHEMA_H

#include <vector>

#include "core/catalog/cass_catalog_match.h"

// In the order of their names as table types.
enum schema_table_kind {
    SCHEMA_SYSTEM_TABLE,
    SCHEMA_TABLE,
    SCHEMA_VIEW,
    SCHEMA_TABLE_KINDS,
};
constexpr unsigned ALL_SCHEMA_TABLE_KINDS = (1u << SCHEMA_TABLE_KINDS) - 1;

struct schema_table {
    std::string keyspace;
    std::string name;
    std::string comment;
    schema_table_kind kind;
    bool is_virtual;
    bool hides_columns;  // a compact table of old: its clustering and regular columns are not told
};

// In the order in which SELECT * has them.
enum schema_column_kind {
    SCHEMA_PARTITION_KEY,
    SCHEMA_CLUSTERING,
    SCHEMA_STATIC,
    SCHEMA_REGULAR,
};

struct schema_column {
    const schema_table *table;
    std::string name;
    std::string type;  // in CQL: "map<text, int>"
    schema_column_kind kind;
    std::int32_t position;  // in the partition key, or among the clustering columns, from 0
};

struct schema_index {
    const schema_table *table;
    std::string name;
    std::string target;  // in CQL: "\"Column\"", "values(m)"; empty where the server tells none
};

// The names of all keyspaces, in order.
bool schema_keyspaces(cass_stmt *stmt, std::vector<std::string> *keyspaces);
// The tables and views that both arguments select, of the kinds whose bits are set, in the order of
// keyspace and name.
bool schema_tables(cass_stmt *stmt, const catalog_match &keyspace, const catalog_match &table,
                   unsigned kinds, std::vector<schema_table> *tables);
// The columns of these tables, which must stay where they are: table by table, as SELECT * has
// them.
bool schema_columns(cass_stmt *stmt, const std::vector<schema_table> &tables,
                    std::vector<schema_column> *columns);
// The indexes of these tables, in the order of their names.
bool schema_indexes(cass_stmt *stmt, const std::vector<schema_table> &tables,
                    std::vector<schema_index> *indexes);

#endif
