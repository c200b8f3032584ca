// CQL types as column specifications carry them (native protocol v4, section 4.2.5.2): option ids
// and the trees of nested types.
#ifndef CORE_WIRE_CQL_TYPE_H
#define CORE_WIRE_CQL_TYPE_H

#include <cstdint>

#include "core/wire/cass_pkt.h"

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
    // Beyond what the two bytes of an option id hold: types that the server tells as CUSTOM.
    CQL_DURATION = 0x10000,
    CQL_VECTOR = 0x10001,
};

// The day number that a `date` has on 1 January 1970.
constexpr std::int64_t CQL_DATE_EPOCH = std::int64_t{1} << 31;

// The days since 1 January 1970 of a `date`, and of a `timestamp` with the milliseconds of its day.
inline std::int64_t cql_date_days(const unsigned char *bytes)
{
    return static_cast<std::int64_t>(load_be32(bytes)) - CQL_DATE_EPOCH;
}

inline std::int64_t cql_timestamp_days(const unsigned char *bytes, std::uint32_t *of_day)
{
    constexpr std::int64_t day = 86'400'000;
    const auto milliseconds = static_cast<std::int64_t>(load_be64(bytes));
    const std::int64_t rest = milliseconds % day;  // with the sign of the whole
    *of_day = static_cast<std::uint32_t>(rest < 0 ? rest + day : rest);
    return milliseconds / day - (rest < 0 ? 1 : 0);
}

struct cass_type_option;

// A field of a user-defined type.
struct cass_type_field {
    cass_string *name;
    cass_type_option *type;
};

// Tree of a column's CQL type. Owned by whoever decoded it; branches may be null.
struct cass_type_option {
    std::int32_t option_id;
    cass_string *custom_name;
    // LIST, SET, VECTOR; key of MAP; of CUSTOM what its class stands for, null where nobody knows.
    cass_type_option *element;
    cass_type_option *value;  // value of MAP
    cass_string *udt_keyspace;
    cass_string *udt_name;
    std::int32_t field_count;
    cass_type_field *fields;
    std::int32_t tuple_count;
    cass_type_option **tuple_types;
    std::int32_t vector_size;  // elements of a VECTOR, at least 1
};

// Name for logs and messages; "UNKNOWN" for others.
const char *cql_type_name(std::int32_t option_id);

// Whether types of this id have types below them.
bool cql_type_is_nested(std::int32_t option_id);
// The type itself, or what the class of a CUSTOM stands for. Null gives null.
inline const cass_type_option *cql_type_meant(const cass_type_option *option)
{
    const bool custom = option != nullptr && option->option_id == CQL_CUSTOM;
    return custom && option->element != nullptr ? option->element : option;
}

// Bytes of each element of this type in a vector; 0: they differ, or the server says so, and each
// has its length in front.
std::int64_t cql_element_size(const cass_type_option *type);

// A type tree of at most 64 levels, *types of them, or null: deeper, or with -1 in *types, out of
// memory. The tree holds the first 1024 types; the others are passed over, and their branches are
// null. Members that a short body does not have are left out, and the counts are those of the
// members in the tree.
cass_type_option *decode_type_option(cass_packet *packet, std::int32_t *types);
// Null is accepted.
void free_type_option(cass_type_option *option);
// One member more of a UDT and of a TUPLE, empty. Null when memory ran out.
cass_type_field *type_option_add_field(cass_type_option *option);
cass_type_option **type_option_add_member(cass_type_option *option);

using held_option = held<cass_type_option, &free_type_option>;

#endif
