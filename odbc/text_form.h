// The forms of a call that takes or gives text, and the one road of such a text in and out.
#ifndef ODBC_TEXT_FORM_H
#define ODBC_TEXT_FORM_H

#include "core/diag/cass_text_out.h"

enum text_form {
    TEXT_ANSI,        // UTF-8 out; the room counts bytes, the length code units (cass_text_out.h)
    TEXT_WIDE_UNITS,  // room and length count code units
    TEXT_WIDE_BYTES,  // room and length count bytes
};

inline bool is_wide(text_form form)
{
    return form != TEXT_ANSI;
}

// The full length of a text as its form counts it; null is empty.
inline std::int64_t text_form_length(const cass_string *text, text_form form)
{
    if (form == TEXT_ANSI)
        return cass_ansi_text_length(text);
    return form == TEXT_WIDE_BYTES ? cass_string_octets(text) : cass_string_length(text);
}

// The room of a buffer in the units that are written: bytes (ANSI) or code units.
inline std::int64_t text_form_room(std::int64_t room, text_form form)
{
    return form == TEXT_WIDE_BYTES ? room / static_cast<std::int64_t>(sizeof(SQLWCHAR)) : room;
}

// Writes a text result by the rules of cass_text_out.h; null is empty. True when cut.
inline bool text_form_out(const cass_string *text, text_form form, void *buffer, std::int64_t room)
{
    room = text_form_room(room, form);
    return is_wide(form) ? cass_wide_text_out(text, static_cast<SQLWCHAR *>(buffer), room)
                         : cass_ansi_text_out(text, buffer, room);
}

#endif
