// Literals of nested values. A value is read once, from its first byte to its last; what it is made
// of lies within it, so that a length that lies is found where it stands.
#include "core/cell/cass_literal.h"

#include <algorithm>
#include <iterator>

// Bytes of a value that are left to read.
struct value_bytes {
    const unsigned char *at;
    std::int32_t left;
};

static bool take_count(value_bytes *value, std::int32_t *count)
{
    if (value->left < 4)
        return false;
    *count = static_cast<std::int32_t>(load_be32(value->at));
    value->at += 4;
    value->left -= 4;
    return true;
}

// The next member; of a null one bytes are null.
static bool take_member(value_bytes *value, const unsigned char **bytes, std::int32_t *length)
{
    if (!take_count(value, length) || *length > value->left)
        return false;
    *bytes = *length < 0 ? nullptr : value->at;
    value->at += std::max(*length, 0);
    value->left -= std::max(*length, 0);
    return true;
}

// Adds the next member. False when the bytes do not have it.
static bool put_member(growing_text *out, const cass_type_option *type, value_bytes *value)
{
    const unsigned char *bytes;
    std::int32_t length;
    if (!take_member(value, &bytes, &length))
        return false;
    if (bytes == nullptr)
        text_add(out, "null");
    else
        cass_put_literal(out, type, bytes, length);
    return true;
}

static bool is_in_work(const growing_text *out, std::int32_t done, std::int32_t count)
{
    return done < count && out->state == TEXT_GOOD;
}

// ---- Lists, sets and maps ----------------------------------------------------------------------

static bool put_elements(growing_text *out, const cass_type_option *type, value_bytes value)
{
    std::int32_t count;
    if (!take_count(&value, &count) || count < 0)
        return false;
    const bool map = type->option_id == CQL_MAP;
    for (std::int32_t i = 0; is_in_work(out, i, count); i++) {
        if (i > 0)
            text_add(out, ", ");
        if (!put_member(out, type->element, &value))
            return false;
        if (!map)
            continue;
        text_add(out, ": ");
        if (!put_member(out, type->value, &value))
            return false;
    }
    return value.left == 0 || out->state != TEXT_GOOD;
}

// ---- Tuples and user types ---------------------------------------------------------------------

// The words that are no names without quotes (CQL 3.4, appendix A).
static constexpr std::string_view reserved_words[] = {
    "add",    "allow",       "alter",  "and",          "apply",    "asc",      "authorize",
    "batch",  "begin",       "by",     "columnfamily", "create",   "default",  "delete",
    "desc",   "describe",    "drop",   "entries",      "execute",  "from",     "full",
    "grant",  "if",          "in",     "index",        "infinity", "insert",   "into",
    "is",     "keyspace",    "limit",  "materialized", "mbean",    "mbeans",   "modify",
    "nan",    "norecursive", "not",    "null",         "of",       "on",       "or",
    "order",  "primary",     "rename", "replace",      "revoke",   "schema",   "select",
    "set",    "table",       "to",     "token",        "truncate", "unlogged", "unset",
    "update", "use",         "using",  "view",         "where",    "with",
};

static_assert(std::ranges::is_sorted(reserved_words));

static bool is_plain_name(std::string_view name)
{
    if (name.empty() || name[0] < 'a' || name[0] > 'z')
        return false;
    const bool word = std::ranges::all_of(
        name, [](char c) { return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_'; });
    return word && !std::ranges::binary_search(reserved_words, name);
}

void cass_put_name(growing_text *out, const cass_string *name)
{
    const std::size_t start = out->length;
    for (std::int32_t i = 0; i < cass_string_length(name); i++)
        text_add_char(out, static_cast<char>(name->text[i]));
    if (out->state != TEXT_GOOD || is_plain_name({out->text + start, out->length - start}))
        return;
    out->length = start;
    text_add_char(out, '"');
    for (std::int32_t i = 0; i < cass_string_length(name); i++) {
        if (name->text[i] == '"')
            text_add_char(out, '"');
        text_add_char(out, static_cast<char>(name->text[i]));
    }
    text_add_char(out, '"');
}

// The members that the bytes have: a value that was stored before the type got its last fields has
// none of them.
static bool put_members(growing_text *out, const cass_type_option *type, value_bytes value)
{
    const bool named = type->option_id == CQL_UDT;
    const std::int32_t count = named ? type->field_count : type->tuple_count;
    for (std::int32_t i = 0; is_in_work(out, i, count) && value.left > 0; i++) {
        if (i > 0)
            text_add(out, ", ");
        if (named) {
            cass_put_name(out, type->fields[i].name);
            text_add(out, ": ");
        }
        if (!put_member(out, named ? type->fields[i].type : type->tuple_types[i], &value))
            return false;
    }
    return value.left == 0 || out->state != TEXT_GOOD;
}

// ---- Vectors -----------------------------------------------------------------------------------

static bool put_vector(growing_text *out, const cass_type_option *type, value_bytes value)
{
    const std::int64_t fixed = cql_element_size(type->element);
    for (std::int32_t i = 0; is_in_work(out, i, type->vector_size); i++) {
        auto size = static_cast<std::uint64_t>(fixed);
        if (fixed == 0 && !cass_take_vint(&value.at, &value.left, &size))
            return false;
        if (size > static_cast<std::uint64_t>(value.left))
            return false;
        if (i > 0)
            text_add(out, ", ");
        cass_put_literal(out, type->element, value.at, static_cast<std::int32_t>(size));
        value.at += size;
        value.left -= static_cast<std::int32_t>(size);
    }
    return value.left == 0 || out->state != TEXT_GOOD;
}

// ---- Any value ---------------------------------------------------------------------------------

struct nested_form {
    std::int32_t option_id;
    char open, close;
    bool (*put)(growing_text *out, const cass_type_option *type, value_bytes value);
};

static constexpr nested_form nested_forms[] = {
    {CQL_LIST, '[', ']', put_elements}, {CQL_SET, '{', '}', put_elements},
    {CQL_MAP, '{', '}', put_elements},  {CQL_UDT, '{', '}', put_members},
    {CQL_TUPLE, '(', ')', put_members}, {CQL_VECTOR, '[', ']', put_vector},
};

// False when the bytes are no value of the type.
static bool put_value(growing_text *out, const cass_type_option *type, const unsigned char *bytes,
                      std::int32_t length)
{
    if (type == nullptr)
        return false;
    const auto *form = std::ranges::find(nested_forms, type->option_id, &nested_form::option_id);
    if (form == std::end(nested_forms))
        return cass_put_plain_value(out, type->option_id, bytes, length, true);
    text_add_char(out, form->open);
    const bool whole = form->put(out, type, {bytes, length});
    text_add_char(out, form->close);
    return whole;
}

// Types whose values may be empty.
static bool has_empty_value(const cass_type_option *type)
{
    return type == nullptr || type->option_id == CQL_VARCHAR || type->option_id == CQL_ASCII ||
           type->option_id == CQL_BLOB || type->option_id == CQL_CUSTOM;
}

void cass_put_literal(growing_text *out, const cass_type_option *type, const unsigned char *bytes,
                      std::int32_t length)
{
    type = cql_type_meant(type);
    if (length == 0 && !has_empty_value(type))
        return text_add(out, "null");
    const std::size_t start = out->length;
    if (put_value(out, type, bytes, length) || out->state != TEXT_GOOD)
        return;
    out->length = start;
    cass_put_hexadecimal(out, bytes, length);
}
