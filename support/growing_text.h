// A text that is put together piece by piece, in one block that doubles.
#ifndef SUPPORT_GROWING_TEXT_H
#define SUPPORT_GROWING_TEXT_H

#include <cstddef>
#include <string_view>

enum growing_state {
    TEXT_GOOD,
    TEXT_NO_MEMORY,
    TEXT_TOO_LONG,
};

// Begins as {.most = ...}. The block is the owner's to free with free().
struct growing_text {
    char *text;  // not terminated; null until the first piece
    std::size_t length;
    std::size_t room;
    std::size_t most;     // bytes that the text may have
    growing_state state;  // once it is not good, pieces are passed over
};

void text_add(growing_text *out, std::string_view piece);

inline void text_add_char(growing_text *out, char character)
{
    if (out->length < out->room && out->state == TEXT_GOOD) [[likely]]
        out->text[out->length++] = character;
    else
        text_add(out, {&character, 1});
}

#endif
