#include "core/catalog/cass_catalog_match.h"

#include <iterator>

#include "core/diag/cass_err.h"
#include "support/ascii.h"

static constexpr char log_source[] = "cass_catalog_match.cpp";

constexpr char ESCAPE = '\\';

// ---- Readings ------------------------------------------------------------------------------------

static bool is_wildcard(char sign)
{
    return sign == '%' || sign == '_';
}

// An escape in front of any other sign stands for itself.
static bool is_escape(std::string_view pattern)
{
    return pattern.size() > 1 && pattern[0] == ESCAPE &&
           (is_wildcard(pattern[1]) || pattern[1] == ESCAPE);
}

// A pattern without wildcards is a name.
static catalog_match pattern_match(std::string_view text)
{
    std::string name;
    for (std::string_view rest = text; !rest.empty(); rest.remove_prefix(1)) {
        if (is_escape(rest))
            rest.remove_prefix(1);
        else if (is_wildcard(rest.front()))
            return {MATCH_PATTERN, std::string(text)};
        name += rest.front();
    }
    return {MATCH_NAME, name};
}

static std::string_view without_blanks(std::string_view text, bool at_start)
{
    while (at_start && text.starts_with(' '))
        text.remove_prefix(1);
    while (text.ends_with(' '))
        text.remove_suffix(1);
    return text;
}

static catalog_match identifier_match(std::string_view text)
{
    const std::string_view trimmed = without_blanks(text, true);
    std::string name;
    if (trimmed.size() < 2 || !trimmed.starts_with('"') || !trimmed.ends_with('"')) {
        for (const char sign : without_blanks(text, false))
            name += static_cast<char>(ascii_to_lower(static_cast<unsigned char>(sign)));
        return {MATCH_NAME, name};
    }
    const std::string_view quoted = trimmed.substr(1, trimmed.size() - 2);
    for (std::size_t i = 0; i < quoted.size(); i++) {
        name += quoted[i];
        if (quoted.substr(i).starts_with("\"\""))
            i++;
    }
    return {MATCH_NAME, name};
}

catalog_match catalog_match_of(std::string_view text, catalog_reading reading)
{
    switch (reading) {
    case READ_AS_PATTERN:
        return pattern_match(text);
    case READ_AS_IDENTIFIER:
        return identifier_match(text);
    default:
        return {MATCH_NAME, std::string(text)};
    }
}

// ---- Comparing -----------------------------------------------------------------------------------

static std::size_t character_size(std::string_view text)
{
    return static_cast<std::size_t>(
        cass_utf8_size(reinterpret_cast<const unsigned char *>(text.data()),
                       static_cast<std::int64_t>(text.size())));
}

// Takes one sign of the pattern, which is no %, and what it stands for from the name.
static bool take_sign(std::string_view *pattern, std::string_view *name)
{
    if (pattern->empty() || name->empty())
        return false;
    if (pattern->front() == '_') {
        name->remove_prefix(character_size(*name));
        pattern->remove_prefix(1);
        return true;
    }
    if (is_escape(*pattern))
        pattern->remove_prefix(1);
    if (pattern->front() != name->front())
        return false;
    pattern->remove_prefix(1);
    name->remove_prefix(1);
    return true;
}

// On a difference the last % takes one character more, and the comparison goes on behind it: an
// earlier one never needs to.
static bool is_like(std::string_view pattern, std::string_view name)
{
    std::string_view behind_percent;
    std::string_view percent_end;
    bool percent = false;
    while (!name.empty() || !pattern.empty()) {
        if (pattern.starts_with('%')) {
            pattern.remove_prefix(1);
            behind_percent = pattern;
            percent_end = name;
            percent = true;
        } else if (!take_sign(&pattern, &name)) {
            if (!percent || percent_end.empty())
                return false;
            percent_end.remove_prefix(character_size(percent_end));
            pattern = behind_percent;
            name = percent_end;
        }
    }
    return true;
}

bool catalog_matches(const catalog_match &match, std::string_view name)
{
    switch (match.kind) {
    case MATCH_NAME:
        return match.text == name;
    case MATCH_PATTERN:
        return is_like(match.text, name);
    default:
        return true;
    }
}

// ---- Calls ---------------------------------------------------------------------------------------

// What ODBC calls the arguments of each function, in the order of catalog_function.
struct argument_row {
    catalog_reading schema;
    catalog_reading table;
    bool table_required;
    bool has_column;
};

static constexpr argument_row argument_rows[] = {
    {READ_AS_PATTERN, READ_AS_PATTERN, false, false},  // CATALOG_TABLES
    {READ_AS_PATTERN, READ_AS_PATTERN, false, true},   // CATALOG_COLUMNS
    {READ_AS_NAME, READ_AS_NAME, true, false},         // CATALOG_PRIMARY_KEYS
    {READ_AS_NAME, READ_AS_NAME, true, false},         // CATALOG_SPECIAL_COLUMNS
    {READ_AS_NAME, READ_AS_NAME, true, false},         // CATALOG_STATISTICS
};
static_assert(std::size(argument_rows) == CATALOG_STATISTICS + 1);

bool catalog_take_text(const text_argument &argument, catalog_text *text)
{
    held_string string;
    *text = {};
    if (!cass_string_take_argument(argument, &string))
        return false;
    if (string == nullptr)
        return true;
    std::int32_t count = 0;
    const held_text bytes(cass_string_to_bytes(string.get(), &count));
    if (bytes == nullptr)
        return false;
    text->text.assign(bytes.get(), static_cast<std::size_t>(count));
    text->given = true;
    return true;
}

// False with a record when memory ran out, or for a null pointer where `required`.
static bool take_match(cass_stmt *stmt, const text_argument &argument, catalog_reading reading,
                       bool required, catalog_match *match)
{
    catalog_text text;
    if (!catalog_take_text(argument, &text)) {
        cass_post_no_memory(&stmt->head, log_source, "catalog_read_arguments");
        return false;
    }
    if (!text.given && required) {
        cass_post_error(&stmt->head, STATE_HY009, 0, nullptr);
        return false;
    }
    *match = text.given ? catalog_match_of(text.text, reading) : catalog_match{};
    return true;
}

bool catalog_read_arguments(cass_stmt *stmt, catalog_function function,
                            const catalog_arguments &arguments, catalog_selection *selection)
{
    const argument_row &row = argument_rows[function];
    const bool identifiers = stmt->attrs.metadata_id != 0;
    const auto reading = [&](catalog_reading usual) {
        return identifiers ? READ_AS_IDENTIFIER : usual;
    };
    catalog_match catalog;
    if (!take_match(stmt, arguments.catalog, READ_AS_NAME, false, &catalog) ||
        !take_match(stmt, arguments.schema, reading(row.schema), identifiers,
                    &selection->keyspace) ||
        !take_match(stmt, arguments.table, reading(row.table), identifiers || row.table_required,
                    &selection->table) ||
        !take_match(stmt, arguments.column, reading(READ_AS_PATTERN), identifiers && row.has_column,
                    &selection->column))
        return false;
    selection->nothing = !catalog.text.empty() && catalog.text != "%";
    if (selection->keyspace.kind == MATCH_NAME && selection->keyspace.text.empty())
        selection->keyspace = {};
    return true;
}
