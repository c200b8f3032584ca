// cass_string_format: how the driver's CQL and other composed texts are built.
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <limits>

#include "support/numtext.h"
#include "support/strfunc.h"

static constexpr std::int64_t GROWTH_UNITS = 1024;

// Text in the making. Once `failed` is set it takes nothing more, while the format is still walked
// to its end, so that strings handed over by %F are released.
struct text_builder {
    SQLWCHAR *text;
    std::int64_t length;
    std::int64_t capacity;
    bool failed;
};

// Makes room for `units` more; null when that fails, else where they go.
static SQLWCHAR *extend(text_builder *builder, std::int64_t units)
{
    if (builder->failed)
        return nullptr;
    const std::int64_t needed = builder->length + units;
    if (needed > std::numeric_limits<std::int32_t>::max()) {
        builder->failed = true;
        return nullptr;
    }
    if (needed > builder->capacity) {
        const std::int64_t capacity = (needed + GROWTH_UNITS - 1) / GROWTH_UNITS * GROWTH_UNITS;
        void *grown =
            std::realloc(builder->text, static_cast<std::size_t>(capacity) * sizeof(SQLWCHAR));
        if (grown == nullptr) {
            builder->failed = true;
            return nullptr;
        }
        builder->text = static_cast<SQLWCHAR *>(grown);
        builder->capacity = capacity;
    }
    SQLWCHAR *place = builder->text + builder->length;
    builder->length = needed;
    return place;
}

static void put_unit(text_builder *builder, SQLWCHAR unit)
{
    if (SQLWCHAR *place = extend(builder, 1))
        *place = unit;
}

// Bytes are widened with their sign, unlike everywhere else: 0x80 becomes 0xFF80.
static void put_byte(text_builder *builder, char byte)
{
    put_unit(builder, static_cast<SQLWCHAR>(static_cast<signed char>(byte)));
}

static void put_bytes(text_builder *builder, const char *text)
{
    for (; text != nullptr && *text != 0; text++)
        put_byte(builder, *text);
}

static void put_number(text_builder *builder, int value)
{
    char digits[24];
    digits[text_from_int64(digits, value)] = 0;
    put_bytes(builder, digits);
}

static void put_string(text_builder *builder, const cass_string *string)
{
    if (string == nullptr) {
        put_bytes(builder, "(nul)");
        return;
    }
    const std::int32_t units = cass_string_length(string);
    if (units == 0)
        return;
    if (SQLWCHAR *place = extend(builder, units))
        cass_wide_copy(place, string->text, units);
}

// A CQL string literal: quotes inside are doubled.
static void put_literal(text_builder *builder, const SQLWCHAR *text, int length)
{
    if (text == nullptr) {
        put_bytes(builder, "null");
        return;
    }
    const std::int64_t units = length == SQL_NTS ? cass_wide_length(text) : length;
    put_unit(builder, '\'');
    for (std::int64_t i = 0; i < units; i++) {
        const SQLWCHAR unit = cass_wide_unit(text, i);
        if (unit == '\'')
            put_unit(builder, unit);
        put_unit(builder, unit);
    }
    put_unit(builder, '\'');
}

// One pass over the format; `arguments` is consumed.
static void format_into(text_builder *builder, const char *format, va_list arguments)
{
    for (; *format != 0; format++) {
        if (*format != '%') {
            put_byte(builder, *format);
            continue;
        }
        switch (*++format) {
        case 'S':
            put_string(builder, va_arg(arguments, const cass_string *));
            break;
        case 'F': {
            auto *handed_over = va_arg(arguments, cass_string *);
            put_string(builder, handed_over);
            cass_string_free(handed_over);
            break;
        }
        case 'Z': {
            const auto *text = va_arg(arguments, const SQLWCHAR *);
            put_literal(builder, text, va_arg(arguments, int));
            break;
        }
        case 's':
            put_bytes(builder, va_arg(arguments, const char *));
            break;
        case 'd':
        case 'l':
            put_number(builder, va_arg(arguments, int));
            break;
        default:
            std::fprintf(stderr, "vhmy: internal error, unhandled format '%c'\n", *format);
            if (*format == 0)
                return;
            break;
        }
    }
}

cass_string *cass_string_format(const char *format, ...)
{
    text_builder builder = {};
    va_list arguments;
    va_start(arguments, format);
    format_into(&builder, format, arguments);
    va_end(arguments);

    cass_string *string =
        builder.failed ? nullptr
                       : cass_string_adopt(builder.text, static_cast<std::int32_t>(builder.length));
    if (string == nullptr || builder.length == 0)
        std::free(builder.text);
    return string;
}
