// The single pass over an application's text before it goes to the server.
#ifndef CORE_STATEMENT_CASS_SQL_H
#define CORE_STATEMENT_CASS_SQL_H

#include "core/statement/cass_sql_text.h"
#include "core/record/cass_handles.h"

// Verb codes left on the statement for the log.
enum : std::int32_t {
    VERB_UNKNOWN = 0,
    VERB_SELECT = 1,
    VERB_SHOW = 2,
    VERB_D = 3,
    VERB_UP = 4,
    VERB_I = 5,
    VERB_BRACE = 6,
    VERB_EXEC = 7,
};

// Trims the text, drops byte-order marks, blanks out simple escape sequences or translates them,
// and counts parameter markers into found_param_count; notes verb and keyword offsets. A new text
// that the caller owns; the input is not consumed. Null with HY001 "failed processing SQL" posted
// when memory ran out.
cass_string *cass_process_sql(cass_stmt *stmt, const cass_string *text);

// The text as it would be sent where it is read as CQL, and what is in it. A new text that the
// caller owns, or null when memory ran out.
cass_string *cass_text_for_server(const cass_conn *conn, const cass_string *text,
                                  cass_sql_facts *facts);

#endif
