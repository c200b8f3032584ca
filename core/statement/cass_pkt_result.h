// Decoding of RESULT frames (native protocol v4, section 4.2.5): the five kinds, column
// specifications into descriptor records, paging state and prepared id onto the statement. Row
// bytes stay in the frame.
#ifndef CORE_STATEMENT_CASS_PKT_RESULT_H
#define CORE_STATEMENT_CASS_PKT_RESULT_H

#include "core/wire/cass_pkt.h"

enum : std::int32_t {
    KIND_VOID = 1,
    KIND_ROWS = 2,
    KIND_SET_KEYSPACE = 3,
    KIND_PREPARED = 4,
    KIND_SCHEMA_CHANGE = 5,
};

// CQL option ids.
enum : std::int32_t {
    CQL_CUSTOM = 0,
    CQL_ASCII = 1,
    CQL_BIGINT = 2,
    CQL_BLOB = 3,
    CQL_BOOLEAN = 4,
    CQL_COUNTER = 5,
    CQL_DECIMAL = 6,
    CQL_DOUBLE = 7,
    CQL_FLOAT = 8,
    CQL_INT = 9,
    CQL_TIMESTAMP = 11,
    CQL_UUID = 12,
    CQL_VARCHAR = 13,
    CQL_VARINT = 14,
    CQL_TIMEUUID = 15,
    CQL_INET = 16,
    CQL_DATE = 17,
    CQL_TIME = 18,
    CQL_SMALLINT = 19,
    CQL_TINYINT = 20,
    CQL_LIST = 32,
    CQL_MAP = 33,
    CQL_SET = 34,
    CQL_UDT = 48,
    CQL_TUPLE = 49,
};

struct cass_type_option;

struct cass_type_field {
    cass_string *name;
    cass_type_option *type;
};

// Tree of a column's CQL type. Owned by whoever decoded it; branches may be null.
struct cass_type_option {
    std::int32_t option_id;
    cass_string *custom_name;
    cass_type_option *element;  // LIST, SET; key of MAP
    cass_type_option *value;    // value of MAP
    cass_string *udt_keyspace;
    cass_string *udt_name;
    std::int32_t field_count;
    cass_type_field *fields;
    std::int32_t tuple_count;
    cass_type_option **tuple_types;
};

// Names for logs and messages; "UNKNOWN" and "Unknown kind type" for others.
const char *cql_type_name(std::int32_t option_id);
const char *result_kind_name(std::int32_t kind);

// What decode_result_packet gives beside a kind.
enum : std::int32_t {
    RESULT_UNKNOWN_KIND = -1,  // nothing posted, nothing changed
    RESULT_MALFORMED = -2,     // 08S01 "unexpected end of packet" or HY001 posted, no columns
};

// Decodes a RESULT frame onto the statement: its kind, or one of the above.
std::int32_t decode_result_packet(cass_stmt *stmt, cass_packet *packet);
// Metadata of rows into the IRD and the paging state; of parameters into the IPD. 0, or -1 when
// malformed, as above.
int decode_metadata(cass_stmt *stmt, cass_packet *packet);
int decode_prepared_metadata(cass_stmt *stmt, cass_packet *packet);
// A type tree of at most 64 levels, or null: deeper, or out of memory. The tree holds the first
// 1024 types; the others are passed over, and their branches are null. Members that a short body
// does not have are left out, and the counts are those of the members in the tree.
cass_type_option *decode_type_option(cass_packet *packet);
void free_type_option(cass_type_option *option);
// The warnings at the head of a body, one behind the other without a separator, as many of them as
// a record can show. Null only on exhaustion, with HY001 posted.
cass_string *decode_warnings(cass_stmt *stmt, cass_packet *packet);

#endif
