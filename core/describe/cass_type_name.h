// Types by their CQL names.
#ifndef CORE_DESCRIBE_CASS_TYPE_NAME_H
#define CORE_DESCRIBE_CASS_TYPE_NAME_H

#include "core/wire/cql_type.h"

// The name of a type that has no types below it, a constant; null for others.
const char *cass_plain_type_name(std::int32_t option_id);
// The name of any type with those below it, as the schema tables spell it: `map<text,
// frozen<list<int>>>`. User types and tuples are always frozen: the protocol does not tell. The
// caller owns the string; null when memory ran out.
cass_string *cass_full_type_name(const cass_type_option *type);

#endif
