#include "core/statement/cass_sql_probe.h"

#include <string_view>

#include "support/ascii.h"

constexpr std::size_t MOST_BYTES = 256;  // of a text that is looked at

static char lower(char letter)
{
    return static_cast<char>(ascii_to_lower(static_cast<unsigned char>(letter)));
}

static bool is_blank(char unit)
{
    return ascii_is_space(static_cast<unsigned char>(unit));
}

static bool is_digit(char unit)
{
    return ascii_is_digit(static_cast<unsigned char>(unit));
}

static bool in_word(char unit)
{
    return is_digit(unit) || unit == '_' || (lower(unit) >= 'a' && lower(unit) <= 'z');
}

static void pass_blanks(std::string_view *rest)
{
    while (!rest->empty() && is_blank(rest->front()))
        rest->remove_prefix(1);
}

static std::string_view take_first(std::string_view *rest, std::size_t count)
{
    const std::string_view taken = rest->substr(0, count);
    rest->remove_prefix(taken.size());
    return taken;
}

static std::string_view take_word(std::string_view *rest)
{
    std::size_t count = 0;
    while (count < rest->size() && in_word((*rest)[count]))
        count++;
    return take_first(rest, count);
}

// What two quotes enclose, doubled ones among it, with them; empty without the second.
static std::string_view take_quoted(std::string_view *rest, char quote)
{
    for (std::size_t at = 1; at < rest->size(); at++) {
        if ((*rest)[at] != quote)
            continue;
        if (at + 1 < rest->size() && (*rest)[at + 1] == quote)
            at++;
        else
            return take_first(rest, at + 1);
    }
    return {};
}

static bool is_word(std::string_view text, std::string_view word)
{
    if (text.size() != word.size())
        return false;
    for (std::size_t i = 0; i < word.size(); i++) {
        if (lower(text[i]) != word[i])
            return false;
    }
    return true;
}

// A literal at the start, and the type of CQL that it has; null for anything else.
static const char *take_literal(std::string_view *rest, std::string_view *literal)
{
    if (rest->starts_with('\'')) {
        *literal = take_quoted(rest, '\'');
        return literal->empty() ? nullptr : "text";
    }
    std::size_t count = rest->starts_with('-') ? 1 : 0;
    std::size_t digits = 0, points = 0;
    for (; count < rest->size() && (is_digit((*rest)[count]) || (*rest)[count] == '.'); count++) {
        points += (*rest)[count] == '.' ? 1 : 0;
        digits += is_digit((*rest)[count]) ? 1 : 0;
    }
    if (count == 0) {
        *literal = take_word(rest);
        return is_word(*literal, "true") || is_word(*literal, "false") ? "boolean" : nullptr;
    }
    *literal = take_first(rest, count);
    if (digits == 0 || points > 1 || literal->back() == '.' || literal->find("-.") == 0 ||
        literal->front() == '.')
        return nullptr;
    if (points == 1)
        return "double";
    return digits < 10 ? "int" : digits < 19 ? "bigint" : "varint";
}

// "[[AS] name]" up to the end. False for anything else; *name is empty without one.
static bool take_alias(std::string_view rest, std::string_view *name)
{
    const bool apart = !rest.empty() && is_blank(rest.front());
    pass_blanks(&rest);
    *name = rest.starts_with('"') ? take_quoted(&rest, '"') : take_word(&rest);
    if (is_word(*name, "as")) {
        pass_blanks(&rest);
        *name = rest.starts_with('"') ? take_quoted(&rest, '"') : take_word(&rest);
        if (name->empty())
            return false;
    }
    return rest.empty() && (name->empty() || (apart && !is_digit(name->front())));
}

static void put(cass_string *out, std::string_view text)
{
    for (const char unit : text)
        out->text[out->length++] = static_cast<unsigned char>(unit);
}

// The name of a column that has none of its own: its literal.
static void put_quoted(cass_string *out, std::string_view text)
{
    put(out, "\"");
    for (const char unit : text)
        put(out, unit == '"' ? std::string_view("\"\"") : std::string_view(&unit, 1));
    put(out, "\"");
}

bool cass_translate_probe(const cass_string *text, cass_string **translated)
{
    *translated = nullptr;
    char bytes[MOST_BYTES];
    const auto length = static_cast<std::size_t>(cass_string_length(text));
    if (length > sizeof bytes)
        return true;
    for (std::size_t i = 0; i < length; i++) {
        if (text->text[i] >= 0x80)  // a text of other letters asks for something
            return true;
        bytes[i] = static_cast<char>(text->text[i]);
    }
    std::string_view rest(bytes, length), literal, name;
    if (!is_word(take_word(&rest), "select") || rest.empty() || !is_blank(rest.front()))
        return true;
    pass_blanks(&rest);
    const char *type = take_literal(&rest, &literal);
    if (type == nullptr || !take_alias(rest, &name))
        return true;

    cass_string *out = cass_string_alloc(std::int64_t{3} * MOST_BYTES);
    if (out == nullptr)
        return false;
    out->length = 0;
    out->form = text->form;
    put(out, "SELECT (");
    put(out, type);
    put(out, ")");
    put(out, literal);
    put(out, " AS ");
    if (name.empty())
        put_quoted(out, literal);
    else
        put(out, name);
    put(out, " FROM system.local");
    *translated = out;
    return true;
}
