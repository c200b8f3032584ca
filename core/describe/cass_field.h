// Field records of descriptors, the map from CQL types to ODBC descriptions, and the rules of a
// record's type fields.
#ifndef CORE_DESCRIBE_CASS_FIELD_H
#define CORE_DESCRIBE_CASS_FIELD_H

#include "core/wire/cql_type.h"

// ---- Records -----------------------------------------------------------------------------------

// A fresh record: parameter_type SQL_PARAM_INPUT, unnamed 1, the decoder of its option id 0, all
// else zero.
void cass_field_init(cass_field *field);
// Frees the texts, the cell's buffer and the put-data chunks, and zeroes the three pointers.
void cass_field_clear(cass_field *field);
void cass_field_free_put_data(cass_field *field);

// Sets the number of records: new ones are fresh, cut ones are cleared, others keep their contents
// (but may move). 0, or -1 when memory ran out, with the descriptor unchanged.
int cass_desc_resize(cass_desc *desc, std::int32_t count);
// Clears every record and frees the array; count 0. found_count and found_valid stay.
void cass_desc_clear_fields(cass_desc *desc);
// The same, and no metadata was decoded.
void cass_desc_undescribe(cass_desc *desc);
// Clears every record and makes `count` fresh ones, for new metadata; sets found_count and
// found_valid. 0, or -1 with no records left.
int cass_desc_describe(cass_desc *desc, std::int32_t count);

// ---- Types -------------------------------------------------------------------------------------

// Fills the fresh record `index` (from 0) of a descriptor from a column specification, copying the
// names (null stays null; the descriptor's shared names are borrowed), and chooses its cell
// decoder. 0, -1 when memory ran out, or -6 for an unknown option id. Posts nothing.
int cass_field_from_option(cass_stmt *stmt, cass_desc *desc, std::int32_t index,
                           const cass_string *keyspace, const cass_string *table,
                           const cass_string *name, const cass_type_option *option);

// The description of a column by its CQL type as system_schema spells it, "map<text, int>", where
// descriptions are exact. A record that owns nothing. False, with nothing written, where they are
// not, and when memory ran out, which can only be for a class in quotes.
bool cass_field_of_type_name(const cass_conn *conn, const char *name, cass_field *field);
// The size that an application lays its buffers out by, in characters, digits, or bytes of binary:
// a decision of its own, not the stored size.
SQLULEN cass_field_size(const cass_field *field);
// Tells of a described parameter that it is for a column of the partition key.
void cass_field_is_key(const cass_conn *conn, cass_field *field);

enum : int {
    DESC_FROM_CONCISE_TYPE = 0,
    DESC_FROM_INTERVAL_CODE = 1,
    DESC_FROM_TYPE = 2,
};
// Brings consise_type, type and datetime_interval_code in step from the one that `mode` names and
// refills the defaults that follow. 0, or -1 with HY021 or HY003 posted on `handle`.
int cass_update_desc_type(cass_handle *handle, cass_field *field, int mode);
// Consistency of a record about to be used: of its types, and of them and its sizes. 0, or -1 with
// HY021 posted.
int cass_field_check_types(cass_handle *handle, const cass_field *field);
int cass_field_check(cass_handle *handle, const cass_field *field);

// C type in which a SQL type is bound by default.
std::int32_t cass_default_c_type(std::int32_t sql_type, int numeric_as_char, int odbc2);
int cass_valid_c_type(std::int32_t type);
int cass_valid_sql_type(std::int32_t type);
// Concise SQL type of a CQL type name as system_schema spells it; column size and scale out.
std::int32_t cass_sql_type_from_name(const cass_conn *conn, const cass_string *name,
                                     std::int32_t *size, std::int32_t *scale);

#endif
