// SQL_ATTR_MAX_LENGTH: how much of a text or binary value a statement reads (ODBC 3.8,
// SQLSetStmtAttr). What is beyond is left out without a word, as if the column had not held it.
#ifndef CORE_CELL_CASS_DATA_LIMIT_H
#define CORE_CELL_CASS_DATA_LIMIT_H

#include "core/record/cass_handles.h"

// Whether the columns of a result that is described now have a limit.
bool cass_values_are_limited(const cass_stmt *stmt);
// Gives a text or binary column a decoder that cuts what its own decodes. The limit is that of the
// statement when a row is read.
void cass_limit_values(cass_field *field);
// Bytes of a value within the limit, in bytes; a text is cut between characters.
std::int32_t cass_length_within(const cass_stmt *stmt, const unsigned char *bytes,
                                std::int32_t length, bool text);

#endif
