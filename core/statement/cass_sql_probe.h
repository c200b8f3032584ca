// "SELECT 1", by which pools ask whether a connection is alive: CQL has no SELECT without a table.
#ifndef CORE_STATEMENT_CASS_SQL_PROBE_H
#define CORE_STATEMENT_CASS_SQL_PROBE_H

#include "support/strfunc.h"

// What asks the server for the same row: of a text "SELECT literal [[AS] name]", where the literal
// is a number, a text, true or false. In *translated, which the caller owns; null for any other
// text. False when memory ran out.
bool cass_translate_probe(const cass_string *text, cass_string **translated);

#endif
