// Type trees out of column specifications. A tree is read with bounded depth and memory, whatever a
// server sends.
#include "core/wire/cql_type.h"

#include <cstdlib>

#include "core/wire/cql_class.h"

constexpr int TYPE_LEVELS = 64;
constexpr int TYPE_NODES = 1024;  // types of one tree that are kept

struct type_name {
    std::int32_t option_id;
    const char *name;
};

constexpr type_name CQL_TYPE_NAMES[] = {
    {CQL_CUSTOM, "CUSTOM"},
    {CQL_ASCII, "ASCII"},
    {CQL_BIGINT, "BIGINT"},
    {CQL_BLOB, "BLOB"},
    {CQL_BOOLEAN, "BOOLEAN"},
    {CQL_COUNTER, "COUNTER"},
    {CQL_DECIMAL, "DECIMAL"},
    {CQL_DOUBLE, "DOUBLE"},
    {CQL_FLOAT, "FLOAT"},
    {CQL_INT, "INT"},
    {CQL_TIMESTAMP, "TIMESTAMP"},
    {CQL_UUID, "UUID"},
    {CQL_VARCHAR, "VARCHAR"},
    {CQL_VARINT, "VARINT"},
    {CQL_TIMEUUID, "TIMEUUID"},
    {CQL_INET, "INET"},
    {CQL_DATE, "DATE"},
    {CQL_TIME, "TIME"},
    {CQL_SMALLINT, "SMALLINT"},
    {CQL_TINYINT, "TINYINT"},
    {CQL_LIST, "LIST"},
    {CQL_MAP, "MAP"},
    {CQL_SET, "SET"},
    {CQL_UDT, "UDT"},
    {CQL_TUPLE, "TUPLE"},
    {CQL_DURATION, "DURATION"},
    {CQL_VECTOR, "VECTOR"},
};

const char *cql_type_name(std::int32_t option_id)
{
    for (const type_name &row : CQL_TYPE_NAMES) {
        if (row.option_id == option_id)
            return row.name;
    }
    return "UNKNOWN";
}

bool cql_type_is_nested(std::int32_t option_id)
{
    return option_id >= CQL_LIST && option_id <= CQL_TUPLE;
}

std::int64_t cql_element_size(const cass_type_option *type)
{
    type = cql_type_meant(type);
    if (type == nullptr)
        return 0;
    switch (type->option_id) {
    case CQL_BOOLEAN:
        return 1;
    case CQL_INT:
    case CQL_FLOAT:
        return 4;
    case CQL_BIGINT:
    case CQL_DOUBLE:
    case CQL_TIMESTAMP:
        return 8;
    case CQL_UUID:
    case CQL_TIMEUUID:
        return 16;
    case CQL_VECTOR: {
        const std::int64_t size = cql_element_size(type->element);
        return size <= INT32_MAX ? size * type->vector_size : size;  // larger than any value
    }
    default:
        return 0;
    }
}

enum tree_state {
    TREE_WHOLE,
    TREE_TOO_DEEP,
    TREE_NO_MEMORY,
};

// A tree that is being read.
struct type_reader {
    cass_packet *packet;
    int room;  // types that may still be kept
    tree_state state;
};

static cass_type_option *decode_option(type_reader *tree, int level);
static void pass_option(type_reader *tree, int level);

void free_type_option(cass_type_option *option)
{
    if (option == nullptr)
        return;
    cass_string_free(option->custom_name);
    free_type_option(option->element);
    free_type_option(option->value);
    cass_string_free(option->udt_keyspace);
    cass_string_free(option->udt_name);
    for (std::int32_t i = 0; i < option->field_count; i++) {
        cass_string_free(option->fields[i].name);
        free_type_option(option->fields[i].type);
    }
    std::free(option->fields);
    for (std::int32_t i = 0; i < option->tuple_count; i++)
        free_type_option(option->tuple_types[i]);
    std::free(option->tuple_types);
    std::free(option);
}

// The array with room for one member more; it doubles whenever its count reaches a power of two, so
// that an announced count costs nothing before its members are there. Null when memory ran out.
static void *grow_members(void *members, std::int32_t count, std::size_t size)
{
    if ((count & (count - 1)) != 0)
        return members;
    const std::size_t room = count == 0 ? 1 : static_cast<std::size_t>(count) * 2;
    return std::realloc(members, room * size);
}

cass_type_field *type_option_add_field(cass_type_option *option)
{
    void *grown = grow_members(option->fields, option->field_count, sizeof(cass_type_field));
    if (grown == nullptr)
        return nullptr;
    option->fields = static_cast<cass_type_field *>(grown);
    cass_type_field *field = &option->fields[option->field_count++];
    *field = {};
    return field;
}

cass_type_option **type_option_add_member(cass_type_option *option)
{
    void *grown =
        grow_members(option->tuple_types, option->tuple_count, sizeof(cass_type_option *));
    if (grown == nullptr)
        return nullptr;
    option->tuple_types = static_cast<cass_type_option **>(grown);
    cass_type_option **member = &option->tuple_types[option->tuple_count++];
    *member = nullptr;
    return member;
}

static cass_string *decode_name(type_reader *tree)
{
    cass_string *name = pkt_get_string(tree->packet);
    if (name == nullptr)
        tree->state = TREE_NO_MEMORY;
    return name;
}

static bool is_member_due(const type_reader *tree, std::int32_t done, std::int32_t count)
{
    return tree->state == TREE_WHOLE && done < count && pkt_has_more(tree->packet);
}

static void pass_name(type_reader *tree)
{
    cass_packet *packet = tree->packet;
    const std::int32_t length = static_cast<std::uint16_t>(pkt_get_short(packet));
    if (length <= pkt_remaining(packet))
        packet->read_pos += length;
    else
        pkt_ran_short(packet);
}

static void pass_members(type_reader *tree, int level, bool named, std::int32_t count)
{
    for (std::int32_t i = 0; is_member_due(tree, i, count); i++) {
        if (named)
            pass_name(tree);
        pass_option(tree, level + 1);
    }
}

static void decode_udt(type_reader *tree, cass_type_option *option, int level)
{
    option->udt_keyspace = decode_name(tree);
    option->udt_name = decode_name(tree);
    const std::int32_t count = pkt_get_count(tree->packet);
    while (tree->room > 0 && is_member_due(tree, option->field_count, count)) {
        cass_type_field *field = type_option_add_field(option);
        if (field == nullptr) {
            tree->state = TREE_NO_MEMORY;
            return;
        }
        field->name = decode_name(tree);
        field->type = decode_option(tree, level + 1);
    }
    pass_members(tree, level, true, count - option->field_count);
}

static void decode_tuple(type_reader *tree, cass_type_option *option, int level)
{
    const std::int32_t count = pkt_get_count(tree->packet);
    while (tree->room > 0 && is_member_due(tree, option->tuple_count, count)) {
        cass_type_option **member = type_option_add_member(option);
        if (member == nullptr) {
            tree->state = TREE_NO_MEMORY;
            return;
        }
        *member = decode_option(tree, level + 1);
    }
    pass_members(tree, level, false, count - option->tuple_count);
}

static bool is_within_levels(type_reader *tree, int level)
{
    if (level > TYPE_LEVELS)
        tree->state = TREE_TOO_DEEP;
    return tree->state == TREE_WHOLE;
}

// Reads a type that the tree has no room for.
static void pass_option(type_reader *tree, int level)
{
    if (!is_within_levels(tree, level))
        return;
    switch (pkt_get_short(tree->packet)) {
    case CQL_CUSTOM:
        pass_name(tree);
        break;
    case CQL_MAP:
        pass_option(tree, level + 1);
        pass_option(tree, level + 1);
        break;
    case CQL_LIST:
    case CQL_SET:
        pass_option(tree, level + 1);
        break;
    case CQL_UDT:
        pass_name(tree);
        pass_name(tree);
        pass_members(tree, level, true, pkt_get_count(tree->packet));
        break;
    case CQL_TUPLE:
        pass_members(tree, level, false, pkt_get_count(tree->packet));
        break;
    default:
        break;
    }
}

static void decode_custom(type_reader *tree, cass_type_option *option, int level)
{
    option->custom_name = decode_name(tree);
    if (tree->state == TREE_WHOLE &&
        !type_option_from_class(option->custom_name, TYPE_LEVELS - level, &tree->room,
                                &option->element))
        tree->state = TREE_NO_MEMORY;
}

// One node and what is below it. Null with tree->state telling why, or without room for it.
static cass_type_option *decode_option(type_reader *tree, int level)
{
    if (!is_within_levels(tree, level))
        return nullptr;
    if (tree->room == 0) {
        pass_option(tree, level);
        return nullptr;
    }
    tree->room--;
    held_option option(static_cast<cass_type_option *>(std::calloc(1, sizeof(cass_type_option))));
    if (option == nullptr) {
        tree->state = TREE_NO_MEMORY;
        return nullptr;
    }
    option->option_id = pkt_get_short(tree->packet);
    switch (option->option_id) {
    case CQL_CUSTOM:
        decode_custom(tree, option.get(), level);
        break;
    case CQL_MAP:
        option->element = decode_option(tree, level + 1);
        option->value = decode_option(tree, level + 1);
        break;
    case CQL_LIST:
    case CQL_SET:
        option->element = decode_option(tree, level + 1);
        break;
    case CQL_UDT:
        decode_udt(tree, option.get(), level);
        break;
    case CQL_TUPLE:
        decode_tuple(tree, option.get(), level);
        break;
    default:
        break;
    }
    return tree->state == TREE_WHOLE ? option.release() : nullptr;
}

cass_type_option *decode_type_option(cass_packet *packet, std::int32_t *types)
{
    type_reader tree = {.packet = packet, .room = TYPE_NODES, .state = TREE_WHOLE};
    cass_type_option *option = decode_option(&tree, 1);
    *types = tree.state == TREE_NO_MEMORY ? -1 : TYPE_NODES - tree.room;
    return option;
}
