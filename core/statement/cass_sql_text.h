// The text of a statement as CQL: its words, literals, quoted names and comments, which of its
// question marks are parameter markers, and what its ODBC escapes mean (ODBC 3.8, appendix C).
#ifndef CORE_STATEMENT_CASS_SQL_TEXT_H
#define CORE_STATEMENT_CASS_SQL_TEXT_H

#include <span>

#include "support/strfunc.h"

using sql_units = std::span<const SQLWCHAR>;

// The units of a text, none of a null or an empty one.
inline sql_units cass_sql_units(const cass_string *text)
{
    const std::int32_t length = cass_string_length(text);
    return length > 0 ? sql_units(text->text, static_cast<std::size_t>(length)) : sql_units();
}

enum sql_token_kind : std::uint8_t {
    SQL_TOKEN_WORD,     // letters, digits and underscores, and any unit beyond ASCII
    SQL_TOKEN_QUOTED,   // a literal or a quoted name, with its quotes
    SQL_TOKEN_COMMENT,  // with the end of its line
    SQL_TOKEN_SIGN,     // one unit of anything else
};

struct sql_token {
    sql_token_kind kind;
    std::int32_t end;  // behind its last unit
};

// The token that begins at an index within the text. One that nothing closes reaches to the end.
sql_token cass_sql_token_at(sql_units in, std::int32_t at);

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
