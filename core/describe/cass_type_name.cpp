#include "core/describe/cass_type_name.h"

#include "core/cell/cass_literal.h"
#include "support/numtext.h"

constexpr std::size_t MOST_NAME = 1 << 20;  // a server's names may be long

static void put_type(growing_text *out, const cass_type_option *type, bool inside);

static void put_parameter(growing_text *out, const cass_type_option *type, bool first)
{
    if (!first)
        text_add(out, ", ");
    put_type(out, type, true);
}

// The name and the types in its brackets; the brackets are open still.
static void put_open(growing_text *out, const cass_type_option *type)
{
    switch (type->option_id) {
    case CQL_LIST:
    case CQL_SET:
        text_add(out, type->option_id == CQL_LIST ? "list<" : "set<");
        return put_parameter(out, type->element, true);
    case CQL_MAP:
        text_add(out, "map<");
        put_parameter(out, type->element, true);
        return put_parameter(out, type->value, false);
    case CQL_TUPLE:
        text_add(out, "tuple<");
        for (std::int32_t i = 0; i < type->tuple_count && out->state == TEXT_GOOD; i++)
            put_parameter(out, type->tuple_types[i], i == 0);
        return;
    default: {  // a vector
        text_add(out, "vector<");
        put_parameter(out, type->element, true);
        text_add(out, ", ");
        char digits[20];
        const int count = text_from_int64(digits, type->vector_size);
        return text_add(out, {digits, static_cast<std::size_t>(count)});
    }
    }
}

static void put_type(growing_text *out, const cass_type_option *type, bool inside)
{
    type = cql_type_meant(type);
    if (type == nullptr)
        return text_add(out, "?");
    if (type->option_id == CQL_CUSTOM && type->custom_name != nullptr) {
        text_add_char(out, '\'');
        for (std::int32_t i = 0; i < type->custom_name->length; i++)
            text_add_char(out, static_cast<char>(type->custom_name->text[i]));
        return text_add_char(out, '\'');
    }
    if (const char *name = cass_plain_type_name(type->option_id))
        return text_add(out, name);
    const bool collection =
        type->option_id == CQL_LIST || type->option_id == CQL_SET || type->option_id == CQL_MAP;
    const bool frozen = type->option_id != CQL_VECTOR && (inside || !collection);
    if (frozen)
        text_add(out, "frozen<");
    if (type->option_id == CQL_UDT) {
        cass_put_name(out, type->udt_name);
    } else {
        put_open(out, type);
        text_add_char(out, '>');
    }
    if (frozen)
        text_add_char(out, '>');
}

cass_string *cass_full_type_name(const cass_type_option *type)
{
    growing_text name = {};
    name.most = MOST_NAME;
    put_type(&name, type, false);
    const held_text text(name.text);
    if (name.state == TEXT_NO_MEMORY)
        return nullptr;
    return cass_string_from_bytes(name.text, static_cast<std::int64_t>(name.length));
}
