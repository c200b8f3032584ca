#include "core/catalog/cass_catalog_shapes.h"

#include <iterator>

// clang-format off
static constexpr cass_internal_column tables_columns[] = {
    {"TABLE_CAT",   SQL_VARCHAR,  128, SQL_NULLABLE},
    {"TABLE_SCHEM", SQL_VARCHAR,  128, SQL_NULLABLE},
    {"TABLE_NAME",  SQL_VARCHAR,  128, SQL_NULLABLE},
    {"TABLE_TYPE",  SQL_VARCHAR,  128, SQL_NULLABLE},
    {"REMARKS",     SQL_VARCHAR,  254, SQL_NULLABLE},
};

static constexpr cass_internal_column columns_columns[] = {
    {"TABLE_CAT",         SQL_VARCHAR,  128, SQL_NULLABLE},
    {"TABLE_SCHEM",       SQL_VARCHAR,  128, SQL_NULLABLE},
    {"TABLE_NAME",        SQL_VARCHAR,  128, SQL_NO_NULLS},
    {"COLUMN_NAME",       SQL_VARCHAR,  128, SQL_NO_NULLS},
    {"DATA_TYPE",         SQL_SMALLINT,   0, SQL_NO_NULLS},
    {"TYPE_NAME",         SQL_VARCHAR,  128, SQL_NO_NULLS},
    {"COLUMN_SIZE",       SQL_INTEGER,    0, SQL_NULLABLE},
    {"BUFFER_LENGTH",     SQL_INTEGER,    0, SQL_NULLABLE},
    {"DECIMAL_DIGITS",    SQL_SMALLINT,   0, SQL_NULLABLE},
    {"NUM_PREC_RADIX",    SQL_SMALLINT,   0, SQL_NULLABLE},
    {"NULLABLE",          SQL_SMALLINT,   0, SQL_NO_NULLS},
    {"REMARKS",           SQL_VARCHAR,  254, SQL_NULLABLE},
    {"COLUMN_DEF",        SQL_VARCHAR,  254, SQL_NULLABLE},
    {"SQL_DATA_TYPE",     SQL_SMALLINT,   0, SQL_NO_NULLS},
    {"SQL_DATETIME_SUB",  SQL_SMALLINT,   0, SQL_NULLABLE},
    {"CHAR_OCTET_LENGTH", SQL_INTEGER,    0, SQL_NULLABLE},
    {"ORDINAL_POSITION",  SQL_INTEGER,    0, SQL_NO_NULLS},
    {"IS_NULLABLE",       SQL_VARCHAR,  254, SQL_NULLABLE},
};

static constexpr cass_internal_column primary_keys_columns[] = {
    {"TABLE_CAT",   SQL_VARCHAR,  128, SQL_NULLABLE},
    {"TABLE_SCHEM", SQL_VARCHAR,  128, SQL_NULLABLE},
    {"TABLE_NAME",  SQL_VARCHAR,  128, SQL_NO_NULLS},
    {"COLUMN_NAME", SQL_VARCHAR,  128, SQL_NO_NULLS},
    {"KEY_SEQ",     SQL_SMALLINT,   0, SQL_NO_NULLS},
    {"PK_NAME",     SQL_VARCHAR,  128, SQL_NULLABLE},
};

static constexpr cass_internal_column special_columns_columns[] = {
    {"SCOPE",          SQL_SMALLINT,   0, SQL_NULLABLE},
    {"COLUMN_NAME",    SQL_VARCHAR,  128, SQL_NO_NULLS},
    {"DATA_TYPE",      SQL_SMALLINT,   0, SQL_NO_NULLS},
    {"TYPE_NAME",      SQL_VARCHAR,  128, SQL_NO_NULLS},
    {"COLUMN_SIZE",    SQL_INTEGER,    0, SQL_NULLABLE},
    {"BUFFER_LENGTH",  SQL_INTEGER,    0, SQL_NULLABLE},
    {"DECIMAL_DIGITS", SQL_SMALLINT,   0, SQL_NULLABLE},
    {"PSEUDO_COLUMN",  SQL_SMALLINT,   0, SQL_NULLABLE},
};

static constexpr cass_internal_column statistics_columns[] = {
    {"TABLE_CAT",        SQL_VARCHAR,  128, SQL_NULLABLE},
    {"TABLE_SCHEM",      SQL_VARCHAR,  128, SQL_NULLABLE},
    {"TABLE_NAME",       SQL_VARCHAR,  128, SQL_NO_NULLS},
    {"NON_UNIQUE",       SQL_SMALLINT,   0, SQL_NULLABLE},
    {"INDEX_QUALIFIER",  SQL_VARCHAR,  128, SQL_NULLABLE},
    {"INDEX_NAME",       SQL_VARCHAR,  128, SQL_NULLABLE},
    {"TYPE",             SQL_SMALLINT,   0, SQL_NO_NULLS},
    {"ORDINAL_POSITION", SQL_SMALLINT,   0, SQL_NULLABLE},
    {"COLUMN_NAME",      SQL_VARCHAR,  128, SQL_NULLABLE},
    {"ASC_OR_DESC",      SQL_VARCHAR,    1, SQL_NULLABLE},
    {"CARDINALITY",      SQL_INTEGER,    0, SQL_NULLABLE},
    {"PAGES",            SQL_INTEGER,    0, SQL_NULLABLE},
    {"FILTER_CONDITION", SQL_VARCHAR,  128, SQL_NULLABLE},
};

static constexpr cass_internal_column foreign_keys_columns[] = {
    {"PKTABLE_CAT",   SQL_VARCHAR,  128, SQL_NULLABLE},
    {"PKTABLE_SCHEM", SQL_VARCHAR,  128, SQL_NULLABLE},
    {"PKTABLE_NAME",  SQL_VARCHAR,  128, SQL_NO_NULLS},
    {"PKCOLUMN_NAME", SQL_VARCHAR,  128, SQL_NO_NULLS},
    {"FKTABLE_CAT",   SQL_VARCHAR,  128, SQL_NULLABLE},
    {"FKTABLE_SCHEM", SQL_VARCHAR,  128, SQL_NULLABLE},
    {"FKTABLE_NAME",  SQL_VARCHAR,  128, SQL_NO_NULLS},
    {"FKCOLUMN_NAME", SQL_VARCHAR,  128, SQL_NO_NULLS},
    {"KEY_SEQ",       SQL_SMALLINT,   0, SQL_NO_NULLS},
    {"UPDATE_RULE",   SQL_SMALLINT,   0, SQL_NULLABLE},
    {"DELETE_RULE",   SQL_SMALLINT,   0, SQL_NULLABLE},
    {"FK_NAME",       SQL_VARCHAR,  128, SQL_NULLABLE},
    {"PK_NAME",       SQL_VARCHAR,  128, SQL_NULLABLE},
    {"DEFERRABILITY", SQL_SMALLINT,   0, SQL_NULLABLE},
};

static constexpr cass_internal_column procedures_columns[] = {
    {"PROCEDURE_CAT",     SQL_VARCHAR,  128, SQL_NULLABLE},
    {"PROCEDURE_SCHEM",   SQL_VARCHAR,  128, SQL_NULLABLE},
    {"PROCEDURE_NAME",    SQL_VARCHAR,  128, SQL_NO_NULLS},
    {"NUM_INPUT_PARAMS",  SQL_INTEGER,    0, SQL_NULLABLE},
    {"NUM_OUTPUT_PARAMS", SQL_INTEGER,    0, SQL_NULLABLE},
    {"NUM_RESULT_SETS",   SQL_INTEGER,    0, SQL_NULLABLE},
    {"REMARKS",           SQL_VARCHAR,  254, SQL_NULLABLE},
    {"PROCEDURE_TYPE",    SQL_SMALLINT,   0, SQL_NULLABLE},
};

static constexpr cass_internal_column procedure_columns_columns[] = {
    {"PROCEDURE_CAT",     SQL_VARCHAR,  128, SQL_NULLABLE},
    {"PROCEDURE_SCHEM",   SQL_VARCHAR,  128, SQL_NULLABLE},
    {"PROCEDURE_NAME",    SQL_VARCHAR,  128, SQL_NO_NULLS},
    {"COLUMN_NAME",       SQL_VARCHAR,  128, SQL_NO_NULLS},
    {"COLUMN_TYPE",       SQL_SMALLINT,   0, SQL_NO_NULLS},
    {"DATA_TYPE",         SQL_SMALLINT,   0, SQL_NO_NULLS},
    {"TYPE_NAME",         SQL_VARCHAR,  128, SQL_NO_NULLS},
    {"COLUMN_SIZE",       SQL_INTEGER,    0, SQL_NULLABLE},
    {"BUFFER_LENGTH",     SQL_INTEGER,    0, SQL_NULLABLE},
    {"DECIMAL_DIGITS",    SQL_SMALLINT,   0, SQL_NULLABLE},
    {"NUM_PREC_RADIX",    SQL_SMALLINT,   0, SQL_NULLABLE},
    {"NULLABLE",          SQL_SMALLINT,   0, SQL_NO_NULLS},
    {"REMARKS",           SQL_VARCHAR,  254, SQL_NULLABLE},
    {"COLUMN_DEF",        SQL_VARCHAR,  254, SQL_NULLABLE},
    {"SQL_DATA_TYPE",     SQL_SMALLINT,   0, SQL_NO_NULLS},
    {"SQL_DATETIME_SUB",  SQL_SMALLINT,   0, SQL_NULLABLE},
    {"CHAR_OCTET_LENGTH", SQL_INTEGER,    0, SQL_NULLABLE},
    {"ORDINAL_POSITION",  SQL_INTEGER,    0, SQL_NO_NULLS},
    {"IS_NULLABLE",       SQL_VARCHAR,  254, SQL_NULLABLE},
};

static constexpr cass_internal_column table_privileges_columns[] = {
    {"TABLE_CAT",    SQL_VARCHAR,  128, SQL_NULLABLE},
    {"TABLE_SCHEM",  SQL_VARCHAR,  128, SQL_NULLABLE},
    {"TABLE_NAME",   SQL_VARCHAR,  128, SQL_NO_NULLS},
    {"GRANTOR",      SQL_VARCHAR,  128, SQL_NULLABLE},
    {"GRANTEE",      SQL_VARCHAR,  128, SQL_NO_NULLS},
    {"PRIVILEGE",    SQL_VARCHAR,  128, SQL_NO_NULLS},
    {"IS_GRANTABLE", SQL_VARCHAR,  254, SQL_NULLABLE},
};

static constexpr cass_internal_column column_privileges_columns[] = {
    {"TABLE_CAT",    SQL_VARCHAR,  128, SQL_NULLABLE},
    {"TABLE_SCHEM",  SQL_VARCHAR,  128, SQL_NULLABLE},
    {"TABLE_NAME",   SQL_VARCHAR,  128, SQL_NO_NULLS},
    {"COLUMN_NAME",  SQL_VARCHAR,  128, SQL_NO_NULLS},
    {"GRANTOR",      SQL_VARCHAR,  128, SQL_NULLABLE},
    {"GRANTEE",      SQL_VARCHAR,  128, SQL_NO_NULLS},
    {"PRIVILEGE",    SQL_VARCHAR,  128, SQL_NO_NULLS},
    {"IS_GRANTABLE", SQL_VARCHAR,  254, SQL_NULLABLE},
};
// clang-format on

const cass_internal_columns tables_shape = {std::size(tables_columns), tables_columns};
const cass_internal_columns columns_shape = {std::size(columns_columns), columns_columns};
const cass_internal_columns primary_keys_shape = {std::size(primary_keys_columns),
                                                  primary_keys_columns};
const cass_internal_columns special_columns_shape = {std::size(special_columns_columns),
                                                     special_columns_columns};
const cass_internal_columns statistics_shape = {std::size(statistics_columns), statistics_columns};
const cass_internal_columns foreign_keys_shape = {std::size(foreign_keys_columns),
                                                  foreign_keys_columns};
const cass_internal_columns procedures_shape = {std::size(procedures_columns), procedures_columns};
const cass_internal_columns procedure_columns_shape = {std::size(procedure_columns_columns),
                                                       procedure_columns_columns};
const cass_internal_columns table_privileges_shape = {std::size(table_privileges_columns),
                                                      table_privileges_columns};
const cass_internal_columns column_privileges_shape = {std::size(column_privileges_columns),
                                                       column_privileges_columns};
