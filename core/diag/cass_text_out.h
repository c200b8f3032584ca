// Text results on their way into an application's buffer. One helper for each form, so that the
// rules of truncation stand once; callers store lengths and post 01004 by their own rules.
#ifndef CORE_DIAG_CASS_TEXT_OUT_H
#define CORE_DIAG_CASS_TEXT_OUT_H

#include <cstdint>

#include "core/record/cass_handles.h"

// ANSI result: UTF-8 with a terminator. The text is whole when its units are below `size` (bytes of
// the buffer) and its encoded bytes fit; otherwise size - 1 bytes and a terminator are written. A
// size below 1 writes nothing. True when cut; an empty or null text is never cut. A null buffer is
// not written and not cut.
bool cass_ansi_text_out(const cass_string *text, void *buffer, std::int64_t size);
// Its length as the call tells it: in code units, of a decoded text in bytes.
std::int64_t cass_ansi_text_length(const cass_string *text);
// Wide result: the same in code units, `size` in units.
bool cass_wide_text_out(const cass_string *text, SQLWCHAR *buffer, std::int64_t size);

// A constant of the driver's, ASCII and below 40 characters, as a string without memory of its own.
struct cass_constant_text {
    cass_string string;
    SQLWCHAR units[40];
};

// The string, which lives as long as *made; null for null.
const cass_string *cass_constant_string(const char *text, cass_constant_text *made);

// The length of a text where the call tells it in 16 bits: a longer one is told as the largest, and
// never wraps.
inline SQLSMALLINT cass_small_length(std::int64_t length)
{
    return static_cast<SQLSMALLINT>(length < INT16_MAX ? length : INT16_MAX);
}

// Stores through an application's pointer, which may be null or unaligned.
template <typename Value>
inline void cass_store(void *target, Value value)
{
    if (target != nullptr)
        __builtin_memcpy(target, &value, sizeof value);
}

#endif
