// The next page of a result, and a statement that runs again, bring the same column spec
// as before: the records that it was decoded into are then kept.
//
// The invariant: while `meta_bytes` is not null, it holds a column_shape and behind it the bytes of
// a column spec, and every record of implicit_ird with `from_spec` set holds what these bytes
// give under this shape. Whoever changes such a record otherwise clears, adds or makes it afresh,
// which takes the mark away. All that a record depends on beside the bytes is named in the shape.
#ifndef CORE_STATEMENT_CASS_COLUMN_REUSE_H
#define CORE_STATEMENT_CASS_COLUMN_REUSE_H

#include <type_traits>

#include "core/wire/cass_pkt.h"

struct column_shape {
    const cass_conduct *conduct;
    std::int64_t count;
    std::int32_t global;  // keyspace and table stand once, in front of the columns
    std::int32_t odbc_version;
    std::int32_t string_len;
    std::int32_t binary_len;
    std::int32_t long_text;
    std::int32_t plain_types;
    std::int64_t limited;  // by SQL_ATTR_MAX_LENGTH
};
static_assert(std::has_unique_object_representations_v<column_shape>, "compared as bytes");

// The shape of a result of `count` columns as it would be described now.
column_shape column_shape_of(const cass_stmt *stmt, bool global, std::int32_t count);
// Takes the column spec at the read position as read, if the records hold it. Their cells become
// those of fresh records, but keep their buffers. False: it is to be decoded, as it is while the
// statement logs.
bool reuse_description(const cass_stmt *stmt, cass_packet *packet, const column_shape &shape);
// Passes over the column spec at the read position, whatever the records hold by now. False when it
// is not the one that is kept.
bool pass_description(const cass_stmt *stmt, cass_packet *packet, const column_shape &shape);
// Keeps the column spec from `start` to the read position. Without memory there is no copy, and
// the next page is decoded. One that the body cut short is not kept either: it would pass for the
// beginning of a whole one.
void keep_description(cass_stmt *stmt, const cass_packet *packet, std::int32_t start,
                      const column_shape &shape);
// A number for the column spec that is kept, which differs from that of another one as good as
// certainly; 0 where none is kept.
std::uint64_t description_digest(const cass_stmt *stmt);

#endif
