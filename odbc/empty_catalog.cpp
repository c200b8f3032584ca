// The shapes of the catalog results that never have rows. IS_NULABLE is spelt so on purpose.
#include "odbc/empty_catalog.h"

#include <iterator>

#include "core/catalog/cass_catalog_shapes.h"
#include "core/catalog/cass_schema_rows.h"
#include "core/statement/cass_stmt.h"

// clang-format off
static constexpr cass_internal_column foreign_keys_columns[] = {
    {"PKTABLE_CAT",   SQL_VARCHAR,   64, SQL_NO_NULLS},
    {"PKTABLE_SCHEM", SQL_VARCHAR,   64, SQL_NO_NULLS},
    {"PKTABLE_NAME",  SQL_VARCHAR,   64, SQL_NULLABLE},
    {"PKCOLUMN_NAME", SQL_VARCHAR,   64, SQL_NULLABLE},
    {"FKTABLE_CAT",   SQL_VARCHAR,   64, SQL_NO_NULLS},
    {"FKTABLE_SCHEM", SQL_VARCHAR,   64, SQL_NO_NULLS},
    {"FKTABLE_NAME",  SQL_VARCHAR,   64, SQL_NULLABLE},
    {"FKCOLUMN_NAME", SQL_VARCHAR,   64, SQL_NULLABLE},
    {"KEY_SEQ",       SQL_SMALLINT,   0, SQL_NO_NULLS},
    {"UPDATE_RULE",   SQL_SMALLINT,   0, SQL_NO_NULLS},
    {"DELETE_RULE",   SQL_SMALLINT,   0, SQL_NO_NULLS},
    {"FK_NAME",       SQL_VARCHAR,   64, SQL_NO_NULLS},
    {"PK_NAME",       SQL_VARCHAR,   64, SQL_NO_NULLS},
    {"DEFERRABILITY", SQL_SMALLINT,   0, SQL_NO_NULLS},
};

static constexpr cass_internal_column procedures_columns[] = {
    {"PROCEDURE_CAT",         SQL_VARCHAR,   64, SQL_NULLABLE},
    {"PROCEDURE_SCHEM",       SQL_VARCHAR,   64, SQL_NULLABLE},
    {"PROCEDURE_NAME",        SQL_VARCHAR,   64, SQL_NO_NULLS},
    {"NUM_INPUT_PARAMETERS",  SQL_INTEGER,    0, SQL_NULLABLE},
    {"NUM_OUTPUT_PARAMETERS", SQL_INTEGER,    0, SQL_NULLABLE},
    {"NUM_RESULT_SETS",       SQL_INTEGER,    0, SQL_NULLABLE},
    {"REMARKS",               SQL_VARCHAR,  256, SQL_NULLABLE},
    {"PROCEDURE_TYPE",        SQL_SMALLINT,   0, SQL_NULLABLE},
};

static constexpr cass_internal_column procedure_columns_columns[] = {
    {"PROCEDURE_CAT",     SQL_VARCHAR,   64, SQL_NULLABLE},
    {"PROCEDURE_SCHEM",   SQL_VARCHAR,   64, SQL_NULLABLE},
    {"PROCEDURE_NAME",    SQL_VARCHAR,   64, SQL_NO_NULLS},
    {"COLUMN_NAME",       SQL_VARCHAR,   64, SQL_NO_NULLS},
    {"COLUMN_TYPE",       SQL_SMALLINT,   0, SQL_NO_NULLS},
    {"DATA_TYPE",         SQL_SMALLINT,   0, SQL_NO_NULLS},
    {"TYPE_NAME",         SQL_VARCHAR,   64, SQL_NO_NULLS},
    {"COLUMN_SIZE",       SQL_INTEGER,    0, SQL_NULLABLE},
    {"BUFFER_LENGTH",     SQL_INTEGER,    0, SQL_NULLABLE},
    {"DECIMAL_DIGITS",    SQL_SMALLINT,   0, SQL_NULLABLE},
    {"NUM_PREC_RADIX",    SQL_SMALLINT,   0, SQL_NULLABLE},
    {"NULLABLE",          SQL_SMALLINT,   0, SQL_NO_NULLS},
    {"REMARKS",           SQL_VARCHAR,  256, SQL_NULLABLE},
    {"COLUMN_DEF",        SQL_VARCHAR,  256, SQL_NULLABLE},
    {"SQL_DATA_TYPE",     SQL_SMALLINT,   0, SQL_NO_NULLS},
    {"SQL_DATETIME_SUB",  SQL_SMALLINT,   0, SQL_NULLABLE},
    {"CHAR_OCTET_LENGTH", SQL_INTEGER,    0, SQL_NULLABLE},
    {"ORDINAL_POSITION",  SQL_INTEGER,    0, SQL_NO_NULLS},
    {"IS_NULABLE",        SQL_VARCHAR,   32, SQL_NO_NULLS},
};

static constexpr cass_internal_column table_privileges_columns[] = {
    {"TABLE_CAT",    SQL_VARCHAR,   64, SQL_NULLABLE},
    {"TABLE_SCHEM",  SQL_VARCHAR,   64, SQL_NULLABLE},
    {"TABLE_NAME",   SQL_VARCHAR,   64, SQL_NO_NULLS},
    {"GRANTOR",      SQL_VARCHAR,   64, SQL_NULLABLE},
    {"GRANTEE",      SQL_VARCHAR,   64, SQL_NO_NULLS},
    {"PRIVILEGE",    SQL_VARCHAR,   64, SQL_NO_NULLS},
    {"IS_GRANTABLE", SQL_VARCHAR,   64, SQL_NULLABLE},
};

static constexpr cass_internal_column column_privileges_columns[] = {
    {"TABLE_CAT",    SQL_VARCHAR,   64, SQL_NULLABLE},
    {"TABLE_SCHEM",  SQL_VARCHAR,   64, SQL_NULLABLE},
    {"TABLE_NAME",   SQL_VARCHAR,   64, SQL_NO_NULLS},
    {"COLUMN_NAME",  SQL_VARCHAR,   64, SQL_NO_NULLS},
    {"GRANTOR",      SQL_VARCHAR,   64, SQL_NULLABLE},
    {"GRANTEE",      SQL_VARCHAR,   64, SQL_NO_NULLS},
    {"PRIVILEGE",    SQL_VARCHAR,   64, SQL_NO_NULLS},
    {"IS_GRANTABLE", SQL_VARCHAR,   64, SQL_NULLABLE},
};
// clang-format on

static constexpr std::int32_t foreign_keys_sort_keys[] = {1, 2, 3, 9, 0};
static constexpr std::int32_t procedures_sort_keys[] = {1, 2, 3, 0};
static constexpr std::int32_t procedure_columns_sort_keys[] = {1, 2, 3, 5, 0};
static constexpr std::int32_t table_privileges_sort_keys[] = {1, 2, 3, 6, 0};
static constexpr std::int32_t column_privileges_sort_keys[] = {1, 2, 3, 4, 7, 0};

const empty_set foreign_keys_set = {
    .entry_format = "%s: statement_handle=%p, pk_catalog_name=%A, pk_schema_name=%A, "
                    "pk_table_name=%A, fk_catalog_name=%A, fk_schema_name=%A, fk_table_name=%A",
    .result = {std::size(foreign_keys_columns), foreign_keys_columns},
    .odbc_result = &foreign_keys_shape,
    .sort_keys = foreign_keys_sort_keys,
    .occupies_connection = false,
};
const empty_set procedures_set = {
    .entry_format = "%s: statement_handle=%p, catalog_name=%A, schema_name=%A, proc_name=%A",
    .result = {std::size(procedures_columns), procedures_columns},
    .odbc_result = &procedures_shape,
    .sort_keys = procedures_sort_keys,
    .occupies_connection = true,
};
const empty_set procedure_columns_set = {
    .entry_format = "%s: statement_handle=%p, catalog_name=%A, schema_name=%A, proc_name=%A, "
                    "column_name=%A",
    .result = {std::size(procedure_columns_columns), procedure_columns_columns},
    .odbc_result = &procedure_columns_shape,
    .sort_keys = procedure_columns_sort_keys,
    .occupies_connection = true,
};
const empty_set table_privileges_set = {
    .entry_format = "%s: statement_handle=%p, catalog_name=%A, schema_name=%A, table_name=%A",
    .result = {std::size(table_privileges_columns), table_privileges_columns},
    .odbc_result = &table_privileges_shape,
    .sort_keys = table_privileges_sort_keys,
    .occupies_connection = true,
};
const empty_set column_privileges_set = {
    .entry_format = "%s: statement_handle=%p, catalog_name=%A, schema_name=%A, table_name=%A, "
                    "column_name=%A",
    .result = {std::size(column_privileges_columns), column_privileges_columns},
    .odbc_result = &column_privileges_shape,
    .sort_keys = column_privileges_sort_keys,
    .occupies_connection = true,
};

static SQLRETURN empty_catalog(cass_stmt *stmt, const empty_set &set)
{
    cass_close_for_catalog(stmt);
    if (catalog_follows_odbc(stmt_conn(stmt)))
        return odbc_empty(stmt, *set.odbc_result);
    if (cass_create_internal_rs(stmt, &set.result, set.sort_keys) != 0)
        return SQL_ERROR;
    return catalog_finish(stmt, SQL_SUCCESS, set.occupies_connection);
}

SQLRETURN empty_catalog_entry(SQLHSTMT handle, const entry_point &entry, const empty_set &set,
                              const empty_call &call)
{
    return enter_stmt(
        handle, entry,
        [&](cass_stmt *stmt) {
            // The format takes as many texts as the function has.
            ENTRY_LOG(&stmt->head, entry, LOG_ENTRY, set.entry_format, entry.name,
                      static_cast<void *>(stmt), &call.texts[0], &call.texts[1], &call.texts[2],
                      &call.texts[3], &call.texts[4], &call.texts[5]);
        },
        [&](cass_stmt *stmt) { return empty_catalog(stmt, set); });
}
