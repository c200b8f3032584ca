// Decoding of RESULT frames (native protocol v4, section 4.2.5): the five kinds, column
// specifications into descriptor records, paging state and prepared id onto the statement. Row
// bytes stay in the frame.
#ifndef CORE_STATEMENT_CASS_PKT_RESULT_H
#define CORE_STATEMENT_CASS_PKT_RESULT_H

#include "core/wire/cass_pkt.h"
#include "core/wire/cql_type.h"

enum : std::int32_t {
    KIND_VOID = 1,
    KIND_ROWS = 2,
    KIND_SET_KEYSPACE = 3,
    KIND_PREPARED = 4,
    KIND_SCHEMA_CHANGE = 5,
};

// Name for logs and messages; "Unknown kind type" for others.
const char *result_kind_name(std::int32_t kind);

// What decode_result_packet gives beside a kind.
enum : std::int32_t {
    RESULT_UNKNOWN_KIND = -1,  // nothing posted, nothing changed
    RESULT_MALFORMED = -2,     // 08S01 "unexpected end of packet" or HY001 posted, no columns
};

// Decodes a RESULT frame onto the statement: its kind, or one of the above. Of KIND_ROWS *rows is
// how many follow at the read position; whoever wants them makes the frame the statement's page.
std::int32_t decode_result_packet(cass_stmt *stmt, cass_packet *packet, std::int32_t *rows);
// The warnings at the head of a body, one behind the other without a separator, as many of them as
// a record can show. Null only on exhaustion, with HY001 posted.
cass_string *decode_warnings(cass_stmt *stmt, cass_packet *packet);

// The kind of a RESULT, its read position as it was; 0 for other frames. `warnings`: it is at the
// warnings, if there are any.
std::int32_t result_kind(cass_packet *packet, bool warnings);

#endif
