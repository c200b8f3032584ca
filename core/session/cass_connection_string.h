// A connection string by ODBC's grammar (SQLDriverConnect, "Connection String Keywords"): keys and
// values between semicolons. A value whose first sign is a brace ends at the next brace that
// closes, a doubled one stands for one of it, and the braces are no part of it; anywhere else a
// brace is a character like others. Blanks round keys and values do not count.
#ifndef CORE_SESSION_CASS_CONNECTION_STRING_H
#define CORE_SESSION_CASS_CONNECTION_STRING_H

#include "support/strfunc.h"

enum connection_fault {
    PAIR_IS_GOOD,
    PAIR_HAS_NO_VALUE,       // there is no equals sign
    PAIR_HAS_NO_END,         // a brace is not closed: the value is the rest of the string
    PAIR_GOES_ON_BEHIND_IT,  // there is more behind the closing brace: the value takes it in
};

// Places in the string, in code units.
struct connection_pair {
    std::int32_t key;
    std::int32_t key_length;
    std::int32_t value;  // as it stands, braces included
    std::int32_t value_length;
    connection_fault fault;
};

// The pair at *position, from 0 on, which moves behind it; blank pieces are passed over. False at
// the end.
bool cass_next_pair(const cass_string *string, std::int32_t *position, connection_pair *pair);
// Whether it has this key, without regard to case.
bool cass_pair_has_key(const cass_string *string, const connection_pair &pair, const char *key);
// What the value of a pair without fault means; the caller owns it. Null when memory ran out.
cass_string *cass_pair_value(const cass_string *string, const connection_pair &pair);
// A value as a string has to hold it: in braces where it needs them, or in any case. The caller
// owns it. Null when memory ran out.
cass_string *cass_quote_value(const cass_string *value, bool in_any_case = false);

#endif
