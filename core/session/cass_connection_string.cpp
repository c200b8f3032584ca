#include "core/session/cass_connection_string.h"

#include <algorithm>

#include "support/ascii.h"

// Units from `start` to `end`.
struct extent {
    std::int32_t start;
    std::int32_t end;
};

static extent trimmed(const cass_string *string, extent part)
{
    while (part.start < part.end && ascii_is_space(string->text[part.start]))
        part.start++;
    while (part.end > part.start && ascii_is_space(string->text[part.end - 1]))
        part.end--;
    return part;
}

// The index of the sign from `start` on, or the end that is looked up to.
static std::int32_t find(const cass_string *string, std::int32_t start, SQLWCHAR sign,
                         std::int32_t end)
{
    return static_cast<std::int32_t>(std::find(string->text + start, string->text + end, sign) -
                                     string->text);
}

static std::int32_t find(const cass_string *string, std::int32_t start, SQLWCHAR sign)
{
    return find(string, start, sign, string->length);
}

static bool is_at(const cass_string *string, std::int32_t at, char sign)
{
    return at < string->length && string->text[at] == sign;
}

// Behind the brace that closes the one at `start`; -1 when none does.
static std::int32_t behind_braces(const cass_string *string, std::int32_t start)
{
    std::int32_t at = find(string, start + 1, '}');
    while (is_at(string, at + 1, '}'))
        at = find(string, at + 2, '}');
    return at < string->length ? at + 1 : -1;
}

// The value behind an equals sign at `start`, and in *end where its semicolon is.
static extent read_value(const cass_string *string, std::int32_t start, std::int32_t *end,
                         connection_fault *fault)
{
    std::int32_t first = start;
    while (first < string->length && ascii_is_space(string->text[first]))
        first++;
    if (!is_at(string, first, '{')) {
        *end = find(string, start, ';');
        return trimmed(string, {start, *end});
    }
    const std::int32_t behind = behind_braces(string, first);
    *end = behind < 0 ? string->length : find(string, behind, ';');
    const extent value = trimmed(string, {first, *end});
    if (behind < 0)
        *fault = PAIR_HAS_NO_END;
    else if (value.end != behind)
        *fault = PAIR_GOES_ON_BEHIND_IT;
    return value;
}

bool cass_next_pair(const cass_string *string, std::int32_t *position, connection_pair *pair)
{
    const std::int32_t length = cass_string_length(string);
    while (*position < length) {
        const std::int32_t start = *position;
        std::int32_t end = find(string, start, ';');
        const std::int32_t equals = find(string, start, '=', end);
        connection_fault fault = PAIR_IS_GOOD;
        extent key = trimmed(string, {start, equals});
        extent value = {key.end, key.end};
        if (equals < end)
            value = read_value(string, equals + 1, &end, &fault);
        else
            fault = PAIR_HAS_NO_VALUE;
        *position = end < length ? end + 1 : length;
        if (fault == PAIR_HAS_NO_VALUE && key.start == key.end)
            continue;
        *pair = {.key = key.start,
                 .key_length = key.end - key.start,
                 .value = value.start,
                 .value_length = value.end - value.start,
                 .fault = fault};
        return true;
    }
    return false;
}

bool cass_pair_has_key(const cass_string *string, const connection_pair &pair, const char *key)
{
    const cass_string name = {.text = string->text + pair.key,
                              .length = pair.key_length,
                              .borrowed = 1,
                              .form = string->form};
    return cass_string_compare_cstr(&name, key) == 0;
}

cass_string *cass_pair_value(const cass_string *string, const connection_pair &pair)
{
    const bool braced = pair.value_length > 0 && is_at(string, pair.value, '{');
    if (!braced)
        return cass_string_sub(string, pair.value, pair.value_length);
    cass_string *value = cass_string_sub(string, pair.value + 1, pair.value_length - 2);
    if (value == nullptr)
        return nullptr;
    std::int32_t used = 0;
    for (std::int32_t i = 0; i < value->length; i++) {
        value->text[used++] = value->text[i];
        if (value->text[i] == '}')
            i++;
    }
    value->length = used;
    return value;
}

static bool needs_braces(const cass_string *value)
{
    const SQLWCHAR *text = value->text;
    const std::int32_t length = cass_string_length(value);
    return length > 0 && (ascii_is_space(text[0]) || ascii_is_space(text[length - 1]) ||
                          std::any_of(text, text + length, [](SQLWCHAR unit) {
                              return unit == ';' || unit == '{' || unit == '}';
                          }));
}

cass_string *cass_quote_value(const cass_string *value, bool in_any_case)
{
    if (!in_any_case && !needs_braces(value))
        return cass_string_copy(value);
    const std::int32_t length = cass_string_length(value);
    const SQLWCHAR *text = value->text;
    const std::int64_t doubled = std::count(text, text + length, '}');
    cass_string *quoted = cass_string_alloc(length + doubled + 2);
    if (quoted == nullptr)
        return nullptr;
    quoted->form = value->form;
    SQLWCHAR *out = quoted->text;
    *out++ = '{';
    for (std::int32_t i = 0; i < length; i++) {
        *out++ = text[i];
        if (text[i] == '}')
            *out++ = '}';
    }
    *out = '}';
    return quoted;
}
