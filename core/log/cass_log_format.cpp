// The formatter of log records and diagnostic messages: printf's plain conversions, return codes by
// name, quoted arguments with their length, and cass_string texts. It never writes past its room:
// what is too long ends in "...".
#include <algorithm>
#include <cstdio>
#include <cstring>

#include "core/log/cass_log.h"

// An item is begun only while this much room is left. Every number fits into it with a terminator,
// and so does "..." behind a text that stopped at it.
constexpr int ITEM_ROOM = 21;
// Behind a %S text, "..." is added when no more than this is left, even if the text did fit.
constexpr int TEXT_ROOM = 40;

// What a %s text shows of a byte beyond ASCII: "\xFFFFFFE9".
constexpr int ESCAPE_LENGTH = 10;

constexpr char DOTS[] = "...";

struct format_target {
    char *bytes;
    int room;  // bytes that are left, the terminator's included
    int used;
    bool ended;  // the room ran out between two items: nothing more is written
};

static bool has_item_room(const format_target *target)
{
    return target->room >= ITEM_ROOM;
}

// Appends as many bytes as the room allows, always leaving the terminator's.
static void put_bytes(format_target *target, const char *bytes, int count)
{
    const int fitting = std::min(count, target->room - 1);
    if (fitting <= 0)
        return;
    std::memcpy(target->bytes + target->used, bytes, static_cast<std::size_t>(fitting));
    target->used += fitting;
    target->room -= fitting;
}

static void put_text(format_target *target, const char *text)
{
    put_bytes(target, text, static_cast<int>(std::strlen(text)));
}

// Appends what snprintf makes of a number, at most 31 characters.
__attribute__((format(printf, 2, 3))) static void put_number(format_target *target,
                                                             const char *format, ...)
{
    char text[32];
    va_list arguments;
    va_start(arguments, format);
    const int length = std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    put_bytes(target, text, std::min(length, static_cast<int>(sizeof text) - 1));
}

// A text that the room cut ends in the three dots, in place of its last bytes if need be.
static void put_dots(format_target *target)
{
    constexpr int count = sizeof DOTS - 1;
    const int missing = std::min(count + 1 - target->room, target->used);
    if (missing > 0) {
        target->used -= missing;
        target->room += missing;
    }
    put_bytes(target, DOTS, count);
}

// Return codes that have a name here; any other, SQL_NEED_DATA among them, is a number.
static const char *return_code_name(int code)
{
    switch (code) {
    case SQL_ERROR:
        return "SQL_ERROR";
    case SQL_SUCCESS:
        return "SQL_SUCCESS";
    case SQL_SUCCESS_WITH_INFO:
        return "SQL_SUCCESS_WITH_INFO";
    case SQL_NO_DATA:
        return "SQL_NO_DATA";
    case 101:
        return "SQL_PARAM_DATA_AVAILABLE";
    default:
        return nullptr;
    }
}

static void put_return_code(format_target *target, int code)
{
    const char *name = return_code_name(code);
    if (name == nullptr)
        put_number(target, "%d", code);
    else
        put_text(target, name);
}

// %s. A text longer than the room is cut by a budget that counts 1 for a plain byte and 4 for an
// escaped one, although the escape of a sign-extended byte is ten characters long.
static void put_c_text(format_target *target, const char *text)
{
    if (text == nullptr) {
        put_text(target, "(nul)");
        return;
    }
    const std::size_t length = std::strlen(text);
    const auto spare = static_cast<std::size_t>(target->room - (ITEM_ROOM - 1));
    bool cut = length > spare;
    std::size_t budget = cut ? spare : 4 * length;
    for (; *text != '\0'; text++) {
        const bool plain = static_cast<unsigned char>(*text) < 0x80;
        const std::size_t cost = plain ? 1 : 4;
        if (budget < cost)
            break;
        if (target->room <= (plain ? 1 : ESCAPE_LENGTH)) {
            cut = true;
            break;
        }
        budget -= cost;
        if (plain)
            put_bytes(target, text, 1);
        else
            put_number(target, "\\x%02X",
                       static_cast<unsigned>(static_cast<int>(static_cast<signed char>(*text))));
    }
    if (cut)
        put_dots(target);
}

static void put_wide_unit(format_target *target, SQLWCHAR unit)
{
    const char byte = static_cast<char>(unit);
    if (unit < 0x80)
        put_bytes(target, &byte, 1);
    else
        put_number(target, "\\x%04X", static_cast<unsigned>(unit));
}

// %S.
static void put_string(format_target *target, const cass_string *string)
{
    if (string == nullptr) {
        put_text(target, "(nul)");
        return;
    }
    for (std::int32_t i = 0; i < string->length && string->text[i] != 0; i++) {
        if (!has_item_room(target))
            break;
        put_wide_unit(target, string->text[i]);
    }
    if (target->room <= TEXT_ROOM)
        put_dots(target);
}

// Unit `i` of an argument as the application gave it, wide text at any address.
static SQLWCHAR argument_unit(const void *text, int i, bool wide)
{
    if (!wide)
        return static_cast<const unsigned char *>(text)[i];
    SQLWCHAR unit;
    std::memcpy(&unit, static_cast<const unsigned char *>(text) + 2 * static_cast<std::size_t>(i),
                sizeof unit);
    return unit;
}

static void put_length(format_target *target, int length)
{
    if (length == SQL_NTS)
        put_text(target, "[SQL_NTS]");
    else
        put_number(target, "[%d]", length);
}

// %q, %Q, %T, %A: 'text'[length].
static void put_quoted(format_target *target, const void *text, int length, bool wide)
{
    if (text == nullptr) {
        put_text(target, "(nul)");
        put_length(target, length);
        return;
    }
    put_text(target, "'");
    bool complete = true;
    for (int i = 0; length == SQL_NTS || i < length; i++) {
        const SQLWCHAR unit = argument_unit(text, i, wide);
        if (unit == 0)
            break;
        complete = has_item_room(target);
        if (!complete)
            break;
        if (!wide && unit >= 0x80)
            put_number(target, "\\x%02X", static_cast<unsigned>(unit));
        else
            put_wide_unit(target, unit);
    }
    if (!complete || !has_item_room(target))
        put_text(target, DOTS);
    put_text(target, "'");
    put_length(target, length);
}

// Room for the next item? The first time that there is none the dots are written. They may stand
// behind the dots of a cut argument: each of the two marks its own cut.
static bool begin_item(format_target *target)
{
    if (target->ended)
        return false;
    if (has_item_room(target))
        return true;
    put_dots(target);
    target->ended = true;
    return false;
}

// The argument or arguments of one conversion.
struct format_argument {
    int number;
    long long wide_number;
    const void *pointer;
    int length;
    bool wide;
};

// Takes what the conversion needs. False for a character that is no conversion.
static bool take_argument(char conversion, va_list *arguments, format_argument *argument)
{
    switch (conversion) {
    case 'd':
    case 'u':
    case 'x':
    case 'X':
    case 'c':
    case 'r':
        argument->number = va_arg(*arguments, int);
        return true;
    case 'l':
        argument->wide_number = va_arg(*arguments, long long);
        return true;
    case 'p':
    case 's':
    case 'S':
        argument->pointer = va_arg(*arguments, const void *);
        return true;
    case 'q':
    case 'Q':
    case 'T':
        argument->pointer = va_arg(*arguments, const void *);
        argument->length = va_arg(*arguments, int);
        argument->wide = conversion != 'q';
        return true;
    case 'A': {
        const auto *given = va_arg(*arguments, const text_argument *);
        argument->pointer = given->text;
        argument->length = given->length;
        argument->wide = given->wide;
        return true;
    }
    default:
        return false;
    }
}

static void put_argument(format_target *target, char conversion, const format_argument *argument)
{
    const char byte = static_cast<char>(argument->number);
    switch (conversion) {
    case 'd':
    case 'u':  // signed as well
        return put_number(target, "%d", argument->number);
    case 'x':
        return put_number(target, "%x", static_cast<unsigned>(argument->number));
    case 'X':
        return put_number(target, "%X", static_cast<unsigned>(argument->number));
    case 'c':
        return put_bytes(target, &byte, 1);
    case 'r':
        return put_return_code(target, argument->number);
    case 'l':
        return put_number(target, "%lld", argument->wide_number);
    case 'p':
        return put_number(target, "%p", argument->pointer);
    case 's':
        return put_c_text(target, static_cast<const char *>(argument->pointer));
    case 'S':
        return put_string(target, static_cast<const cass_string *>(argument->pointer));
    default:
        return put_quoted(target, argument->pointer, argument->length, argument->wide);
    }
}

int cass_log_format(char *target_bytes, int room, const char *format, va_list given)
{
    if (room < 1)
        return 0;
    format_target target = {.bytes = target_bytes, .room = room, .used = 0, .ended = false};
    va_list arguments;
    va_copy(arguments, given);
    for (; *format != '\0'; format++) {
        const bool open = begin_item(&target);
        if (*format != '%') {
            if (open)
                put_bytes(&target, format, 1);
            continue;
        }
        if (*++format == '\0')
            break;
        // Arguments are taken even when nothing more is written.
        format_argument argument = {};
        if (!take_argument(*format, &arguments, &argument))
            std::printf("char '%c'\n", *format);  // none of the driver's own texts comes here
        else if (open)
            put_argument(&target, *format, &argument);
    }
    va_end(arguments);
    target.bytes[target.used] = '\0';
    return target.used;
}
