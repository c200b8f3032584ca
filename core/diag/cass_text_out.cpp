// The roads of a text result into an application's buffer. The application's memory is only
// written, byte by byte or by memcpy, and never behind `size`.
#include "core/diag/cass_text_out.h"

#include <cstring>

// Encodes while the bytes still fit in front of the terminator. Text that is not plain ASCII is
// longer in bytes than in units; what does not fit in bytes is cut too, in mid-sequence if need be,
// but for a decoded text, which is cut between its characters.
static std::int64_t encode_bounded(const cass_string *text, unsigned char *out, std::int64_t room,
                                   bool *whole)
{
    std::int64_t used = 0;
    const std::int32_t units = cass_string_length(text);
    for (std::int32_t i = 0; i < units; i++) {
        unsigned char sequence[4];
        const bool decoded = text->form == TEXT_DECODED;
        const std::int64_t bytes = decoded ? cass_utf8_put_character(text, &i, sequence)
                                           : cass_utf8_put(text->text[i], sequence);
        const std::int64_t left = decoded ? 0 : room - used;
        const std::int64_t taken = bytes <= room - used ? bytes : left;
        std::memcpy(out + used, sequence, static_cast<std::size_t>(taken));
        used += taken;
        if (taken < bytes) {
            *whole = false;
            return used;
        }
    }
    *whole = true;
    return used;
}

std::int64_t cass_ansi_text_length(const cass_string *text)
{
    const std::int32_t units = cass_string_length(text);
    if (units == 0 || text->form != TEXT_DECODED)
        return units;
    std::int64_t bytes = 0;
    unsigned char sequence[4];
    for (std::int32_t i = 0; i < units; i++)
        bytes += cass_utf8_put_character(text, &i, sequence);
    return bytes;
}

bool cass_ansi_text_out(const cass_string *text, void *buffer, std::int64_t size)
{
    if (buffer == nullptr)
        return false;
    if (size < 1)
        return cass_string_length(text) > 0;

    auto *out = static_cast<unsigned char *>(buffer);
    bool whole;
    const std::int64_t used = encode_bounded(text, out, size - 1, &whole);
    out[used] = 0;
    return !whole;
}

bool cass_wide_text_out(const cass_string *text, SQLWCHAR *buffer, std::int64_t size)
{
    if (buffer == nullptr)
        return false;
    const std::int64_t units = cass_string_length(text);
    if (size < 1)
        return units > 0;

    const std::int64_t taken = units < size ? units : size - 1;
    if (taken > 0)
        cass_wide_copy(buffer, text->text, taken);
    // The buffer may lie at an odd address.
    std::memset(reinterpret_cast<char *>(buffer) + 2 * taken, 0, sizeof(SQLWCHAR));
    return taken < units;
}

const cass_string *cass_constant_string(const char *text, cass_constant_text *made)
{
    if (text == nullptr)
        return nullptr;
    std::int32_t length = 0;
    for (; text[length] != '\0'; length++)
        made->units[length] = static_cast<unsigned char>(text[length]);
    made->string = {.text = made->units, .length = length, .borrowed = 1, .form = TEXT_BYTES};
    return &made->string;
}
