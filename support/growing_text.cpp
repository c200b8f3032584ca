#include "support/growing_text.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

static bool make_room(growing_text *out, std::size_t count)
{
    if (count <= out->room - out->length)
        return true;
    if (count > out->most - out->length) {
        out->state = TEXT_TOO_LONG;
        return false;
    }
    const std::size_t needed = out->length + count;
    const std::size_t room =
        std::min(std::max({needed, out->room * 2, std::size_t{64}}), out->most);
    void *grown = std::realloc(out->text, room);
    if (grown == nullptr) {
        out->state = TEXT_NO_MEMORY;
        return false;
    }
    out->text = static_cast<char *>(grown);
    out->room = room;
    return true;
}

void text_add(growing_text *out, std::string_view piece)
{
    if (out->state != TEXT_GOOD || piece.empty() || !make_room(out, piece.size()))
        return;
    std::memcpy(out->text + out->length, piece.data(), piece.size());
    out->length += piece.size();
}
