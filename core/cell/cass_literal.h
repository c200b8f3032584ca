// Values of the wire as text: any value as the literal of CQL that it would be written by, and
// plain values as ODBC has them.
#ifndef CORE_CELL_CASS_LITERAL_H
#define CORE_CELL_CASS_LITERAL_H

#include "core/wire/cql_type.h"
#include "support/growing_text.h"

// Digits of a decimal up to which it is written without an exponent.
constexpr std::int64_t PLAIN_DECIMAL_DIGITS = 10'000;

// Adds the value as a literal that the server takes for a value of the type: `{name: 'x', n: 3}`.
// Bytes that are none of their type, and those whose type is not known, are written as 0x and
// hexadecimal digits; in a nested value only what they are the bytes of. out->state tells of
// failures: TEXT_TOO_LONG for a number beyond BIGINT_MOST_BYTES too.
void cass_put_literal(growing_text *out, const cass_type_option *type, const unsigned char *bytes,
                      std::int32_t length);

// Adds a value of a type that has no types below it: `inside` as a part of a literal, otherwise as
// its own text, without quotes, and a timestamp as ODBC has it. A date beyond the years 1 to 9999
// is a number inside, that of its day or millisecond, as the server reads no other form of all of
// them. False when the bytes are no value of the type, with a part of a text perhaps added.
bool cass_put_plain_value(growing_text *out, std::int32_t option_id, const unsigned char *bytes,
                          std::int32_t length, bool inside);

// Adds the name of a keyspace, a type or a field, in quotes where it is no plain lower-case word.
void cass_put_name(growing_text *out, const cass_string *name);

// Adds 0x and the digits.
void cass_put_hexadecimal(growing_text *out, const unsigned char *bytes, std::int32_t length);

// An address of 4 bytes in decimal, one of 16 in eight hexadecimal groups, with no run of zeros
// left out. Characters, 39 at most; 0 for another length.
int cass_format_inet(char *out, const unsigned char *bytes, std::int32_t length);

// Reads an unsigned variable-length integer (native protocol v5, section 3) at *bytes, which moves
// behind it, as *left does. False when it is not whole.
bool cass_take_vint(const unsigned char **bytes, std::int32_t *left, std::uint64_t *value);

#endif
