// The text of a statement as CQL: where its literals, quoted names and comments are, which of its
// question marks are parameter markers, and what its ODBC escapes mean (ODBC 3.8, appendix C).
#ifndef CORE_STATEMENT_CASS_SQL_TEXT_H
#define CORE_STATEMENT_CASS_SQL_TEXT_H

#include "support/strfunc.h"

constexpr int SQL_VERB_ROOM = 64;  // bytes, with the terminator

struct cass_sql_facts {
    std::int32_t markers;      // question marks outside literals, quoted names and comments
    char verb[SQL_VERB_ROOM];  // the first word
};

// The text without blanks, byte-order marks and semicolons round it, and without escapes: {d
// '...'}, {t '...'}, {ts '...'} and {guid '...'} are literals, the others lose their braces and
// their word. A line comment at the end has the line end that the server wants. A new text that the
// caller owns, or null when memory ran out.
cass_string *cass_translate_sql(const cass_string *text, cass_sql_facts *facts);

#endif
