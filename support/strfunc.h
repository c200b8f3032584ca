// The driver's text: counted buffers of 16-bit code units, and the conversions between them and
// the encodings at the driver's edges. Nothing here posts a diagnostic or logs; a null result of a
// constructor means that memory ran out, unless the function says that null means "not set".
#ifndef SUPPORT_STRFUNC_H
#define SUPPORT_STRFUNC_H

#include <sql.h>
#include <sqlext.h>
#include <sqlucode.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "support/held.h"

// What the units of a text are.
enum cass_text_form : std::int32_t {
    TEXT_BYTES =
        0,  // a byte each, of an encoding that nobody has looked at: ANSI calls, the server
    TEXT_UTF16 = 1,    // UTF-16: wide calls
    TEXT_DECODED = 2,  // UTF-16 of what came as UTF-8: ANSI calls get those bytes, and their count
};

// A null cass_string pointer means "not set"; a record of length 0 is an empty text.
struct cass_string {
    SQLWCHAR *text;         // not terminated; may be null when length is 0
    std::int32_t length;    // code units; a surrogate pair counts as two
    std::int32_t borrowed;  // 1: text belongs to somebody else
    cass_text_form form;  // parts keep it; a joined text has its first part's unless that is empty
};

// A text argument as an application gave it, in one of its two forms.
struct text_argument {
    const void *text;   // SQLCHAR or SQLWCHAR; null: not given
    SQLINTEGER length;  // bytes or code units, or SQL_NTS
    bool wide;
};

inline text_argument ansi_argument(const SQLCHAR *text, SQLINTEGER length)
{
    return {.text = text, .length = length, .wide = false};
}

inline text_argument wide_argument(const SQLWCHAR *text, SQLINTEGER length)
{
    return {.text = text, .length = length, .wide = true};
}

// ---- Construction. The caller owns the result and releases it with cass_string_free. -----------
// Counts are in units of the source (bytes, or code units for wide text); SQL_NTS measures to the
// terminator, any other negative count is 0. More than 2^31-1 units give null.

// Buffer of `units` uninitialised code units, which are its length too.
cass_string *cass_string_alloc(std::int64_t units);
// Takes over a malloc'ed buffer. With 0 units the buffer stays the caller's.
cass_string *cass_string_adopt(SQLWCHAR *buffer, std::int32_t units);
// Borrows the caller's buffer. A null buffer gives null.
cass_string *cass_string_wrap(SQLWCHAR *text, std::int64_t units);
// TEXT_BYTES: one unit for each byte, zero-extended. A null pointer gives an empty record.
cass_string *cass_string_from_cstr(const char *text);
cass_string *cass_string_from_bytes(const void *bytes, std::int64_t count);
// An ODBC argument, ANSI (TEXT_BYTES) or wide (TEXT_UTF16). A null pointer gives null: not set.
cass_string *cass_string_from_ansi(const SQLCHAR *text, std::int64_t count);
cass_string *cass_string_from_wide(const SQLWCHAR *text, std::int64_t units);
// The same of an argument in either form.
cass_string *cass_string_from_argument(const text_argument &argument);
// decode not 0: UTF-8, count in bytes, one unit for each sequence (cass_utf8_get); 0: wide text,
// count in units. A null pointer gives null.
cass_string *cass_string_from_utf8(const void *text, std::int64_t count, int decode);
// The characters of TEXT_BYTES in UTF-8, as TEXT_DECODED; a copy where the bytes are ASCII or no
// UTF-8. Null gives null.
cass_string *cass_string_decoded(const cass_string *string);
// Deep copy. Null gives null.
cass_string *cass_string_copy(const cass_string *string);
// Units from `start` (clamped to the length) on; a count of -1 or past the end takes the rest.
cass_string *cass_string_sub(const cass_string *string, std::int32_t start, std::int32_t count);
// Grows the first string by the second and gives it back. On failure null, and the first string is
// as it was.
cass_string *cass_string_append(cass_string *string, const cass_string *tail);
// What stands before and behind the first separator outside braces; without one left is the whole
// and right is empty. 1, or 0 when the string could not be searched or memory ran out.
int cass_string_split(const cass_string *string, SQLWCHAR separator, cass_string **left,
                      cass_string **right);
// Text from a byte format: %S cass_string ("(nul)" for null), %F the same and frees the argument,
// %Z wide text and its length as a quoted CQL literal, %s bytes, %d int, %l int. The format and %s
// bytes are widened with sign extension.
cass_string *cass_string_format(const char *format, ...);

// ---- Reading -----------------------------------------------------------------------------------
// Releases the record and, unless borrowed, its buffer. Null is accepted.
void cass_string_free(cass_string *string);
using held_string = held<cass_string, &cass_string_free>;
// Releases a text whose owner stays, and forgets it.
inline void free_string(cass_string **slot)
{
    cass_string_free(*slot);
    *slot = nullptr;
}
// The string of an argument, left as it is if that was not given. False when memory ran out.
bool cass_string_take_argument(const text_argument &argument, held_string *string);
// Length in code units and in bytes; 0 for null.
std::int32_t cass_string_length(const cass_string *string);
std::int64_t cass_string_octets(const cass_string *string);
// Position of the first separator at brace depth 0 from `start` on, or of the end. 0 only when
// `start` lies beyond the end. A `}` without its `{` hides every later separator.
int cass_string_find_char(std::int32_t start, const cass_string *string, int separator,
                          std::int32_t *position);
// Three-way compare (-1, 0, 1) without regard to ASCII case, by the low bytes as signed chars.
int cass_string_compare_cstr(const cass_string *string, const char *text);

// ---- Leaving the form. The caller frees the result with free(). --------------------------------
// Low byte of each unit, terminated. Null gives null.
char *cass_string_to_ascii(const cass_string *string);
// UTF-8, at most 3 bytes a unit (a surrogate becomes its own three bytes), terminated. Null gives
// null.
char *cass_string_to_utf8(const cass_string *string);
// The bytes that the text means, *count of them: those of TEXT_BYTES as they stand, TEXT_UTF16 as
// UTF-8 with surrogate pairs joined (a lone one becomes its own three bytes). Null gives null, as
// does exhaustion.
char *cass_string_to_bytes(const cass_string *string, std::int32_t *count);

// A unit is the first (second) half of a surrogate pair.
inline bool cass_is_high_surrogate(SQLWCHAR unit)
{
    return (unit & 0xFC00) == 0xD800;
}
inline bool cass_is_low_surrogate(SQLWCHAR unit)
{
    return (unit & 0xFC00) == 0xDC00;
}
// The four bytes of UTF-8 for a surrogate pair. 4.
int cass_utf8_put_pair(SQLWCHAR high, SQLWCHAR low, unsigned char *out);
// Bytes written for the character at the index, 1 to 4, which is then that of its last unit.
int cass_utf8_put_character(const cass_string *string, std::int32_t *index, unsigned char *out);
// Bytes of the UTF-8 character at the start of `available` (at least 1) bytes, by its first byte:
// 1 to 4, never more than available.
int cass_utf8_size(const unsigned char *bytes, std::int64_t available);
// Bytes written for one unit, 1 to 3.
int cass_utf8_put(SQLWCHAR unit, unsigned char *out);
// One unit from at most `available` (at least 1) bytes; missing bytes count as 0. Bytes consumed,
// never more than available. Four-byte sequences lose their high bits, a stray continuation
// byte gives 0: malformed text decodes by these masks on purpose.
int cass_utf8_get(const unsigned char *bytes, std::int64_t available, SQLWCHAR *unit);

// The unit at an index of a text that need not be aligned.
inline SQLWCHAR cass_wide_unit(const void *text, std::int64_t index)
{
    SQLWCHAR unit;
    std::memcpy(&unit, static_cast<const unsigned char *>(text) + index * std::int64_t{sizeof unit},
                sizeof unit);
    return unit;
}
// Copies `units` code units, no terminator.
void cass_wide_copy(SQLWCHAR *target, const SQLWCHAR *source, std::int64_t units);
// Copy to a buffer of `size` bytes with truncation. `length`, if given, receives the full length in
// bytes. 1 when cut (size - 1 bytes and a NUL are written), else 0; a null buffer or a size of 0
// writes nothing and gives 0. A null text is empty.
int cass_copy_out(char *buffer, std::int64_t size, std::int32_t *length, const char *text);

// ---- Measuring foreign text --------------------------------------------------------------------
// Units before the terminator, 0 for null.
std::int64_t cass_wide_length(const SQLWCHAR *text);
// Units before the terminator, at most the smaller of limit_units and limit_bytes / 2.
std::int64_t cass_wide_length_limited(const SQLWCHAR *text, std::int64_t limit_units,
                                      std::int64_t limit_bytes);

// ---- Kept by name, nothing uses it ---------------------------------------------------------------

SQLWCHAR *cass_string_text(const cass_string *string);
// As cass_string_compare_cstr.
int cass_string_compare(const cass_string *left, const cass_string *right);
// Bytes before the terminator, at most the larger of the two limits; a limit of 0 is not given, and
// with both 0 the result is 0. Deliberately not the rule of the wide form.
std::int64_t cass_ansi_length_limited(const char *text, std::int64_t limit_a, std::int64_t limit_b);

#endif
