// AllowFiltering: the words that let a SELECT look at rows beyond its keys (CQL 3.4, "ALLOW
// FILTERING").
#ifndef CORE_STATEMENT_CASS_SQL_FILTER_H
#define CORE_STATEMENT_CASS_SQL_FILTER_H

#include "core/record/cass_handles.h"

// Puts ALLOW FILTERING behind the last word of a SELECT that has a WHERE and none yet, where the
// connection is set so, and leaves any other text as it is. Words in literals, quoted names and
// comments do not count. False when memory ran out.
bool cass_allow_filtering(const cass_conn *conn, held_string *text);

#endif
