// The counted 16-bit text of the driver: construction, reading, and the conversions to and from the
// encodings at its edges. Foreign text may lie at odd addresses and is read by memcpy.
#include "support/strfunc.h"

#include <cstdlib>
#include <cstring>
#include <limits>

#include "support/ascii.h"

static constexpr std::int64_t MOST_UNITS = std::numeric_limits<std::int32_t>::max();

// Units of a counted argument: SQL_NTS measures, any other negative count is 0.
static std::int64_t resolve_bytes(const char *text, std::int64_t count)
{
    if (count == SQL_NTS)
        return static_cast<std::int64_t>(std::strlen(text));
    return count < 0 ? 0 : count;
}

static std::int64_t resolve_units(const SQLWCHAR *text, std::int64_t count)
{
    if (count == SQL_NTS)
        return cass_wide_length(text);
    return count < 0 ? 0 : count;
}

static cass_string *new_record()
{
    return static_cast<cass_string *>(std::calloc(1, sizeof(cass_string)));
}

// ---- Construction ------------------------------------------------------------------------------

cass_string *cass_string_alloc(std::int64_t units)
{
    if (units > MOST_UNITS)
        return nullptr;
    cass_string *string = new_record();
    if (string == nullptr || units <= 0)
        return string;

    string->text =
        static_cast<SQLWCHAR *>(std::malloc(static_cast<std::size_t>(units) * sizeof(SQLWCHAR)));
    if (string->text == nullptr) {
        std::free(string);
        return nullptr;
    }
    string->length = static_cast<std::int32_t>(units);
    return string;
}

cass_string *cass_string_adopt(SQLWCHAR *buffer, std::int32_t units)
{
    cass_string *string = new_record();
    if (string == nullptr || units <= 0)
        return string;
    string->text = buffer;
    string->length = units;
    return string;
}

cass_string *cass_string_wrap(SQLWCHAR *text, std::int64_t units)
{
    if (text == nullptr)
        return nullptr;
    units = resolve_units(text, units);
    cass_string *string = units > MOST_UNITS ? nullptr : new_record();
    if (string == nullptr)
        return nullptr;
    string->text = text;
    string->length = static_cast<std::int32_t>(units);
    string->borrowed = 1;
    return string;
}

cass_string *cass_string_from_bytes(const void *bytes, std::int64_t count)
{
    const auto *source = static_cast<const unsigned char *>(bytes);
    count = bytes == nullptr ? 0 : resolve_bytes(static_cast<const char *>(bytes), count);
    cass_string *string = cass_string_alloc(count);
    if (string == nullptr)
        return nullptr;
    for (std::int64_t i = 0; i < count; i++)
        string->text[i] = source[i];
    return string;
}

cass_string *cass_string_from_cstr(const char *text)
{
    return cass_string_from_bytes(text, SQL_NTS);
}

cass_string *cass_string_from_ansi(const SQLCHAR *text, std::int64_t count)
{
    return text == nullptr ? nullptr : cass_string_from_bytes(text, count);
}

cass_string *cass_string_from_wide(const SQLWCHAR *text, std::int64_t units)
{
    if (text == nullptr)
        return nullptr;
    units = resolve_units(text, units);
    cass_string *string = cass_string_alloc(units);
    if (string != nullptr)
        string->form = TEXT_UTF16;
    if (string != nullptr && units > 0)
        cass_wide_copy(string->text, text, units);
    return string;
}

cass_string *cass_string_from_argument(const text_argument &argument)
{
    return argument.wide ? cass_string_from_wide(static_cast<const SQLWCHAR *>(argument.text),
                                                 argument.length)
                         : cass_string_from_ansi(static_cast<const SQLCHAR *>(argument.text),
                                                 argument.length);
}

bool cass_string_take_argument(const text_argument &argument, held_string *string)
{
    if (argument.text == nullptr)
        return true;
    string->reset(cass_string_from_argument(argument));
    return *string != nullptr;
}

cass_string *cass_string_from_utf8(const void *text, std::int64_t count, int decode)
{
    if (text == nullptr)
        return nullptr;
    if (decode == 0)
        return cass_string_from_wide(static_cast<const SQLWCHAR *>(text), count);

    const auto *bytes = static_cast<const unsigned char *>(text);
    count = resolve_bytes(static_cast<const char *>(text), count);
    std::int64_t units = 0;
    SQLWCHAR unit;
    for (std::int64_t at = 0; at < count; units++)
        at += cass_utf8_get(bytes + at, count - at, &unit);

    cass_string *string = cass_string_alloc(units);
    if (string == nullptr)
        return nullptr;
    string->form = TEXT_UTF16;
    std::int64_t at = 0;
    for (std::int64_t i = 0; i < units; i++)
        at += cass_utf8_get(bytes + at, count - at, string->text + i);
    return string;
}

cass_string *cass_string_copy(const cass_string *string)
{
    return string == nullptr ? nullptr : cass_string_sub(string, 0, -1);
}

cass_string *cass_string_sub(const cass_string *string, std::int32_t start, std::int32_t count)
{
    const std::int32_t length = cass_string_length(string);
    start = start < 0 ? 0 : start > length ? length : start;
    if (count == -1 || count > length - start)
        count = length - start;
    cass_string *part = cass_string_alloc(count);
    if (part != nullptr && string != nullptr)
        part->form = string->form;
    if (part != nullptr && count > 0)
        cass_wide_copy(part->text, string->text + start, count);
    return part;
}

cass_string *cass_string_append(cass_string *string, const cass_string *tail)
{
    if (string == nullptr)
        return nullptr;
    const std::int64_t head_units = cass_string_length(string);
    const std::int64_t tail_units = cass_string_length(tail);
    const std::int64_t units = head_units + tail_units;
    if (tail_units == 0)
        return string;
    if (head_units == 0)
        string->form = tail->form;

    SQLWCHAR *joined = nullptr;
    if (units <= MOST_UNITS)
        joined = static_cast<SQLWCHAR *>(
            std::malloc(static_cast<std::size_t>(units) * sizeof(SQLWCHAR)));
    if (joined == nullptr)
        return nullptr;
    if (head_units > 0)
        cass_wide_copy(joined, string->text, head_units);
    cass_wide_copy(joined + head_units, tail->text, tail_units);
    if (string->borrowed == 0)
        std::free(string->text);
    string->text = joined;
    string->length = static_cast<std::int32_t>(units);
    string->borrowed = 0;
    return string;
}

int cass_string_split(const cass_string *string, SQLWCHAR separator, cass_string **left,
                      cass_string **right)
{
    *left = nullptr;
    *right = nullptr;
    std::int32_t position;
    if (cass_string_find_char(0, string, separator, &position) == 0)
        return 0;

    *left = cass_string_sub(string, 0, position);
    *right = cass_string_sub(string, position < string->length ? position + 1 : position, -1);
    if (*left != nullptr && *right != nullptr)
        return 1;
    cass_string_free(*left);
    cass_string_free(*right);
    *left = nullptr;
    *right = nullptr;
    return 0;
}

// ---- Reading -----------------------------------------------------------------------------------

void cass_string_free(cass_string *string)
{
    if (string == nullptr)
        return;
    if (string->borrowed == 0)
        std::free(string->text);
    std::free(string);
}

std::int32_t cass_string_length(const cass_string *string)
{
    return string == nullptr || string->text == nullptr ? 0 : string->length;
}

std::int64_t cass_string_octets(const cass_string *string)
{
    return static_cast<std::int64_t>(sizeof(SQLWCHAR)) * cass_string_length(string);
}

SQLWCHAR *cass_string_text(const cass_string *string)
{
    return string->text;
}

int cass_string_find_char(std::int32_t start, const cass_string *string, int separator,
                          std::int32_t *position)
{
    const std::int32_t length = cass_string_length(string);
    if (string == nullptr || start < 0 || start > length)
        return 0;

    // Unsigned on purpose: a `}` without its `{` wraps the depth, and no later separator counts. An
    // unbalanced connection string is thus taken as one piece.
    std::uint32_t depth = 0;
    const SQLWCHAR wanted = static_cast<unsigned char>(separator);
    std::int32_t at = start;
    for (; at < length; at++) {
        const SQLWCHAR unit = string->text[at];
        if (unit == wanted && depth == 0)
            break;
        if (unit == '{')
            depth++;
        else if (unit == '}')
            depth--;
    }
    *position = at;
    return 1;
}

// A unit's low byte in upper case, compared as a signed number.
static int fold_unit(SQLWCHAR unit)
{
    return static_cast<signed char>(ascii_to_upper(static_cast<unsigned char>(unit)));
}

// One side has run out, or both: the shorter is the smaller.
static int compare_ends(bool left_ended, bool right_ended)
{
    return static_cast<int>(right_ended) - static_cast<int>(left_ended);
}

int cass_string_compare_cstr(const cass_string *string, const char *text)
{
    const std::int32_t length = cass_string_length(string);
    std::int32_t i = 0;
    for (; i < length && text[i] != 0; i++) {
        const int left = fold_unit(string->text[i]);
        const int right = fold_unit(static_cast<unsigned char>(text[i]));
        if (left != right)
            return left < right ? -1 : 1;
    }
    return compare_ends(i == length, text[i] == 0);
}

int cass_string_compare(const cass_string *left, const cass_string *right)
{
    const std::int32_t left_length = cass_string_length(left);
    const std::int32_t right_length = cass_string_length(right);
    std::int32_t i = 0;
    for (; i < left_length && i < right_length; i++) {
        const int a = fold_unit(left->text[i]);
        const int b = fold_unit(right->text[i]);
        if (a != b)
            return a < b ? -1 : 1;
    }
    return compare_ends(i == left_length, i == right_length);
}

// Length of a sequence by its first byte; 0 for a continuation byte.
static int sequence_length(unsigned first)
{
    return first < 0x80 ? 1 : first < 0xC0 ? 0 : first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
}

// The character that begins at a unit of bytes, and the units that it takes; 0 where there is none
// in UTF-8.
static std::int32_t character_at(const cass_string *bytes, std::int32_t at, std::uint32_t *point)
{
    static constexpr std::uint32_t least[] = {0, 0, 0x80, 0x800, 0x10000};
    const std::uint32_t first = bytes->text[at];
    const std::int32_t size = sequence_length(first);
    if (size == 0 || first > 0xF4 || size > bytes->length - at)
        return 0;
    *point = size == 1 ? first : first & (0x7Fu >> size);
    for (std::int32_t i = 1; i < size; i++) {
        if ((bytes->text[at + i] & 0xC0) != 0x80)
            return 0;
        *point = *point << 6 | (bytes->text[at + i] & 0x3Fu);
    }
    const bool surrogate = *point >= 0xD800 && *point < 0xE000;
    return *point < least[size] || *point > 0x10FFFF || surrogate ? 0 : size;
}

cass_string *cass_string_decoded(const cass_string *string)
{
    held_string decoded(cass_string_copy(string));
    if (decoded == nullptr)
        return nullptr;
    std::int32_t units = 0;
    std::uint32_t point;
    for (std::int32_t at = 0, size; at < string->length; at += size) {
        size = character_at(string, at, &point);
        if (size == 0)
            return cass_string_copy(string);
        if (size == 4)
            decoded->text[units++] = static_cast<SQLWCHAR>(0xD7C0 + (point >> 10));
        decoded->text[units++] =
            static_cast<SQLWCHAR>(size == 4 ? 0xDC00 | (point & 0x3FF) : point);
    }
    if (units < string->length)
        decoded->form = TEXT_DECODED;
    decoded->length = units;
    return decoded.release();
}

// ---- Leaving the form --------------------------------------------------------------------------

char *cass_string_to_ascii(const cass_string *string)
{
    if (string == nullptr)
        return nullptr;
    const std::int32_t length = cass_string_length(string);
    auto *bytes = static_cast<char *>(std::malloc(static_cast<std::size_t>(length) + 1));
    if (bytes == nullptr)
        return nullptr;
    for (std::int32_t i = 0; i < length; i++)
        bytes[i] = static_cast<char>(string->text[i]);
    bytes[length] = 0;
    return bytes;
}

char *cass_string_to_utf8(const cass_string *string)
{
    if (string == nullptr)
        return nullptr;
    const std::int32_t length = cass_string_length(string);
    const std::size_t room = 3 * static_cast<std::size_t>(length) + 1;
    auto *bytes = static_cast<unsigned char *>(std::malloc(room));
    if (bytes == nullptr)
        return nullptr;
    unsigned char *end = bytes;
    for (std::int32_t i = 0; i < length; i++)
        end += cass_utf8_put(string->text[i], end);
    *end = 0;
    return reinterpret_cast<char *>(bytes);
}

int cass_utf8_put_pair(SQLWCHAR high, SQLWCHAR low, unsigned char *out)
{
    const std::uint32_t point = 0x10000 + ((high & 0x3FFu) << 10 | (low & 0x3FFu));
    out[0] = static_cast<unsigned char>(0xF0 | point >> 18);
    out[1] = static_cast<unsigned char>(0x80 | (point >> 12 & 0x3F));
    out[2] = static_cast<unsigned char>(0x80 | (point >> 6 & 0x3F));
    out[3] = static_cast<unsigned char>(0x80 | (point & 0x3F));
    return 4;
}

int cass_utf8_put_character(const cass_string *string, std::int32_t *index, unsigned char *out)
{
    const SQLWCHAR unit = string->text[*index];
    const SQLWCHAR next = *index + 1 < string->length ? string->text[*index + 1] : 0;
    if (!cass_is_high_surrogate(unit) || !cass_is_low_surrogate(next))
        return cass_utf8_put(unit, out);
    ++*index;
    return cass_utf8_put_pair(unit, next, out);
}

int cass_utf8_size(const unsigned char *bytes, std::int64_t available)
{
    const int size = bytes[0] < 0xC0 ? 1 : bytes[0] < 0xE0 ? 2 : bytes[0] < 0xF0 ? 3 : 4;
    return available < size ? static_cast<int>(available) : size;
}

char *cass_string_to_bytes(const cass_string *string, std::int32_t *count)
{
    *count = 0;
    if (string == nullptr)
        return nullptr;
    if (string->form == TEXT_BYTES) {
        *count = cass_string_length(string);
        return cass_string_to_ascii(string);
    }
    const std::int32_t length = cass_string_length(string);
    const std::size_t room = 3 * static_cast<std::size_t>(length) + 1;
    auto *bytes = room > INT32_MAX ? nullptr : static_cast<unsigned char *>(std::malloc(room));
    if (bytes == nullptr)
        return nullptr;
    unsigned char *end = bytes;
    for (std::int32_t i = 0; i < length; i++)
        end += cass_utf8_put_character(string, &i, end);
    *end = 0;
    *count = static_cast<std::int32_t>(end - bytes);
    return reinterpret_cast<char *>(bytes);
}

int cass_utf8_put(SQLWCHAR unit, unsigned char *out)
{
    if (unit < 0x80) {
        out[0] = static_cast<unsigned char>(unit);
        return 1;
    }
    const auto last = static_cast<unsigned char>(0x80 | (unit & 0x3F));
    if (unit < 0x800) {
        out[0] = static_cast<unsigned char>(0xC0 | unit >> 6);
        out[1] = last;
        return 2;
    }
    out[0] = static_cast<unsigned char>(0xE0 | unit >> 12);
    out[1] = static_cast<unsigned char>(0x80 | (unit >> 6 & 0x3F));
    out[2] = last;
    return 3;
}

int cass_utf8_get(const unsigned char *bytes, std::int64_t available, SQLWCHAR *unit)
{
    const unsigned first = bytes[0];
    const int length = sequence_length(first);
    const unsigned b1 = length > 1 && available > 1 ? bytes[1] : 0;
    const unsigned b2 = length > 2 && available > 2 ? bytes[2] : 0;
    const unsigned b3 = length > 3 && available > 3 ? bytes[3] : 0;

    // Wider masks than the encoding has: they decide what malformed text turns into.
    unsigned value = 0;
    if (length == 1)
        value = first;
    else if (length == 2)
        value = (first & 0x3F) << 6 | (b1 & 0x7F);
    else if (length == 3)
        value = ((first & 0x1F) << 6 | (b1 & 0x7F)) << 6 | (b2 & 0x3F);
    else if (length == 4)
        value = ((b1 & 0x1F) << 6 | (b2 & 0x7F)) << 6 | (b3 & 0x3F);

    *unit = static_cast<SQLWCHAR>(value);
    const int consumed = length == 0 ? 1 : length;
    return consumed < available ? consumed : static_cast<int>(available);
}

void cass_wide_copy(SQLWCHAR *target, const SQLWCHAR *source, std::int64_t units)
{
    std::memcpy(target, source, static_cast<std::size_t>(units) * sizeof(SQLWCHAR));
}

int cass_copy_out(char *buffer, std::int64_t size, std::int32_t *length, const char *text)
{
    if (text == nullptr)
        text = "";
    const std::size_t full = std::strlen(text);
    if (length != nullptr) {
        const auto stored = static_cast<std::int32_t>(full);
        std::memcpy(length, &stored, sizeof stored);
    }
    if (buffer == nullptr || size == 0)
        return 0;
    if (size < 0)
        return 1;
    const bool whole = full < static_cast<std::size_t>(size);
    const std::size_t taken = whole ? full : static_cast<std::size_t>(size) - 1;
    std::memcpy(buffer, text, taken);
    buffer[taken] = 0;
    return whole ? 0 : 1;
}

// ---- Measuring foreign text --------------------------------------------------------------------

std::int64_t cass_wide_length(const SQLWCHAR *text)
{
    return cass_wide_length_limited(text, std::numeric_limits<std::int64_t>::max(),
                                    std::numeric_limits<std::int64_t>::max());
}

std::int64_t cass_wide_length_limited(const SQLWCHAR *text, std::int64_t limit_units,
                                      std::int64_t limit_bytes)
{
    if (text == nullptr)
        return 0;
    const std::int64_t by_bytes = limit_bytes / static_cast<std::int64_t>(sizeof(SQLWCHAR));
    const std::int64_t limit = by_bytes < limit_units ? by_bytes : limit_units;
    std::int64_t units = 0;
    while (units < limit && cass_wide_unit(text, units) != 0)
        units++;
    return units;
}

std::int64_t cass_ansi_length_limited(const char *text, std::int64_t limit_a, std::int64_t limit_b)
{
    if (text == nullptr)
        return 0;
    const std::int64_t larger = limit_a > limit_b ? limit_a : limit_b;
    const std::int64_t limit = limit_a == 0 ? limit_b : limit_b == 0 ? limit_a : larger;
    std::int64_t bytes = 0;
    while (bytes < limit && text[bytes] != 0)
        bytes++;
    return bytes;
}
