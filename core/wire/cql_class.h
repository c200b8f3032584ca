// Types as the server's own classes name them, which is how it tells those that the protocol has no
// option id for: "org.apache.cassandra.db.marshal.VectorType(...FloatType , 3)".
#ifndef CORE_WIRE_CQL_CLASS_H
#define CORE_WIRE_CQL_CLASS_H

#include "core/wire/cql_type.h"

// The tree that a class name and its parameters stand for, at most `levels` deep; *room is the
// number of types that may be made, and counts down. *type is null for a text that is no type, one
// of an unknown class, or one that is too deep or too large. The caller owns the tree. False when
// memory ran out.
bool type_option_from_class(const cass_string *name, int levels, int *room,
                            cass_type_option **type);

#endif
