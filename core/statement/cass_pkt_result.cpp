// From the body of a RESULT frame to descriptor records, paging state and prepared id. A short body
// is not an error by itself: readers give zeros and empty texts, and loops end with the bytes. Only
// counts and type trees that no server sends are refused.
#include "core/statement/cass_pkt_result.h"

#include <algorithm>

#include "core/describe/cass_field.h"
#include "core/diag/cass_err.h"
#include "core/log/cass_log.h"
#include "core/net/cass_conn_shared.h"
#include "core/statement/cass_fetch.h"

static constexpr char log_source[] = "cass_pkt.c";

enum : std::int32_t {
    METADATA_GLOBAL_SPEC = 0x01,
    METADATA_MORE_PAGES = 0x02,
    METADATA_NONE = 0x04,
};

constexpr std::int32_t COLUMN_LIMIT = 65535;
constexpr int TYPE_LEVELS = 64;
constexpr int TYPE_NODES = 1024;              // types of one tree that are kept
constexpr std::int32_t WARNING_UNITS = 2048;  // more than a message or a log record can show
// Columns of unknown types that have a record each: lists of records are searched from the start.
constexpr std::int32_t UNKNOWN_TYPE_RECORDS = 8;

struct numbered_name {
    std::int32_t number;
    const char *name;
};

constexpr numbered_name CQL_TYPE_NAMES[] = {
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
};

constexpr numbered_name RESULT_KIND_NAMES[] = {
    {KIND_VOID, "KIND_VOID"},
    {KIND_ROWS, "KIND_ROWS"},
    {KIND_SET_KEYSPACE, "KIND_SET_KEYSPACE"},
    {KIND_PREPARED, "KIND_PREPARED"},
    {KIND_SCHEMA_CHANGE, "KIND_SCHEMA_CHANGE"},
};

const char *cql_type_name(std::int32_t option_id)
{
    for (const numbered_name &row : CQL_TYPE_NAMES) {
        if (row.number == option_id)
            return row.name;
    }
    return "UNKNOWN";
}

const char *result_kind_name(std::int32_t kind)
{
    for (const numbered_name &row : RESULT_KIND_NAMES) {
        if (row.number == kind)
            return row.name;
    }
    return "Unknown kind type";
}

// ---- Small readers -----------------------------------------------------------------------------

// A count of 16 bits; one below zero is 0.
static std::int32_t get_count(cass_packet *packet)
{
    return std::max<std::int32_t>(pkt_get_short(packet), 0);
}

// Another counted member is due: everything that is counted begins with two bytes at least.
static bool has_more(cass_packet *packet)
{
    if (pkt_remaining(packet) >= 2)
        return true;
    pkt_ran_short(packet);
    return false;
}

// Reads `count` texts and logs each as "string %d: %S".
static void skip_strings(cass_stmt *stmt, cass_packet *packet, std::int32_t count)
{
    for (std::int32_t i = 0; i < count && has_more(packet); i++) {
        const held_string text(pkt_get_string(packet));
        CASS_LOG(&stmt->head, LOG_DETAIL, "string %d: %S", i, text.get());
    }
}

cass_string *decode_warnings(cass_stmt *stmt, cass_packet *packet)
{
    const std::int32_t count = get_count(packet);
    CASS_LOG(&stmt->head, LOG_DETAIL, "string count: %d", count);
    held_string all(cass_string_from_bytes("", 0));
    bool good = all != nullptr;
    for (std::int32_t i = 0; good && i < count && has_more(packet); i++) {
        const held_string text(pkt_get_string(packet));
        CASS_LOG(&stmt->head, LOG_DETAIL, "string %d: %S", i, text.get());
        good = text != nullptr && (cass_string_length(all.get()) >= WARNING_UNITS ||
                                   cass_string_append(all.get(), text.get()) != nullptr);
    }
    if (good)
        return all.release();
    cass_post_no_memory(stmt, "decode_warnings");
    return nullptr;
}

// ---- Type trees --------------------------------------------------------------------------------

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

using held_option =
    std::unique_ptr<cass_type_option,
                    std::integral_constant<decltype(&free_type_option), &free_type_option>>;

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

static cass_string *decode_name(type_reader *tree)
{
    cass_string *name = pkt_get_string(tree->packet);
    if (name == nullptr)
        tree->state = TREE_NO_MEMORY;
    return name;
}

static bool is_member_due(const type_reader *tree, std::int32_t done, std::int32_t count)
{
    return tree->state == TREE_WHOLE && done < count && has_more(tree->packet);
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
    const std::int32_t count = get_count(tree->packet);
    while (tree->room > 0 && is_member_due(tree, option->field_count, count)) {
        void *grown = grow_members(option->fields, option->field_count, sizeof(cass_type_field));
        if (grown == nullptr) {
            tree->state = TREE_NO_MEMORY;
            return;
        }
        option->fields = static_cast<cass_type_field *>(grown);
        cass_type_field *field = &option->fields[option->field_count++];
        field->name = decode_name(tree);
        field->type = decode_option(tree, level + 1);
    }
    pass_members(tree, level, true, count - option->field_count);
}

static void decode_tuple(type_reader *tree, cass_type_option *option, int level)
{
    const std::int32_t count = get_count(tree->packet);
    while (tree->room > 0 && is_member_due(tree, option->tuple_count, count)) {
        void *grown =
            grow_members(option->tuple_types, option->tuple_count, sizeof(cass_type_option *));
        if (grown == nullptr) {
            tree->state = TREE_NO_MEMORY;
            return;
        }
        option->tuple_types = static_cast<cass_type_option **>(grown);
        option->tuple_types[option->tuple_count++] = decode_option(tree, level + 1);
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
        pass_members(tree, level, true, get_count(tree->packet));
        break;
    case CQL_TUPLE:
        pass_members(tree, level, false, get_count(tree->packet));
        break;
    default:
        break;
    }
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
        option->custom_name = decode_name(tree);
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

static type_reader new_tree(cass_packet *packet)
{
    return {.packet = packet, .room = TYPE_NODES, .state = TREE_WHOLE};
}

cass_type_option *decode_type_option(cass_packet *packet)
{
    type_reader tree = new_tree(packet);
    return decode_option(&tree, 1);
}

// ---- Column specifications ---------------------------------------------------------------------

// Posts the failure and leaves the descriptor without records.
static int give_up(cass_stmt *stmt, cass_desc *desc, bool memory)
{
    if (memory) {
        cass_post_no_memory(stmt, "decode_result_packet");
    } else {
        CASS_LOG(&stmt->head, LOG_ERROR, "decode_result_packet: unexpected end of packet");
        cass_post_error(&stmt->head, STATE_08S01, 0, "unexpected end of packet");
    }
    cass_desc_clear_fields(desc);
    desc->found_count = 0;
    return -1;
}

// Fresh records for the columns. 0, or -1 after giving up.
static int describe_columns(cass_stmt *stmt, cass_desc *desc, std::int32_t count)
{
    if (count < 0 || count > COLUMN_LIMIT)
        return give_up(stmt, desc, false);
    if (cass_desc_describe(desc, count) != 0)
        return give_up(stmt, desc, true);
    desc->found_count = count;
    desc->found_valid = 1;
    return 0;
}

static const char *branch_name(const cass_type_option *branch)
{
    return branch == nullptr ? "" : cql_type_name(branch->option_id);
}

// short_set: the form of a SET's record that names its one branch only.
static void log_column(cass_stmt *stmt, std::int32_t index, const cass_string *name,
                       const cass_type_option *option, bool short_set)
{
    const char *element = branch_name(option->element);
    const char *value = branch_name(option->value);
    CASS_LOG(&stmt->head, LOG_DETAIL, "name[ %d ]: %S", index, name);
    CASS_LOG(&stmt->head, LOG_DETAIL, "option id[ %d ]: %d (%s)", index, option->option_id,
             cql_type_name(option->option_id));
    switch (option->option_id) {
    case CQL_CUSTOM:
        CASS_LOG(&stmt->head, LOG_DETAIL, "CUSTOM[ %d ]: %S", index, option->custom_name);
        break;
    case CQL_LIST:
        CASS_LOG(&stmt->head, LOG_DETAIL, "LIST[ %d ]<%s>", index, element);
        break;
    case CQL_MAP:
        CASS_LOG(&stmt->head, LOG_DETAIL, "MAP[ %d ]<%s,%s>", index, element, value);
        break;
    case CQL_SET:
        if (short_set)
            CASS_LOG(&stmt->head, LOG_DETAIL, "SET[ %d ]<%s>", index, element);
        else
            CASS_LOG(&stmt->head, LOG_DETAIL, "SET[ %d ]<%s,%s>", index, element, value);
        break;
    default:
        break;
    }
}

// Leaves the column with its defaults: the others are still good.
static void pass_unknown_type(cass_stmt *stmt, cass_packet *packet, std::int32_t option_id)
{
    if (packet->unknown_types++ >= UNKNOWN_TYPE_RECORDS)
        return;
    CASS_LOG(&stmt->head, LOG_ERROR, "decode_metadata: type not supported %d", option_id);
    cass_post_error(&stmt->head, STATE_08S01, 0, "type not supported %d", option_id);
}

// One record for all the columns that pass_unknown_type was silent about.
static void post_unknown_types(cass_stmt *stmt, const cass_packet *packet)
{
    const std::int32_t more = packet->unknown_types - UNKNOWN_TYPE_RECORDS;
    if (more < 1)
        return;
    CASS_LOG(&stmt->head, LOG_ERROR, "decode_metadata: types of %d more columns not supported",
             more);
    cass_post_error(&stmt->head, STATE_08S01, 0, "types of %d more columns not supported", more);
}

// Reads one column specification into its record. 0, or -1 after giving up.
static int decode_column(cass_stmt *stmt, cass_packet *packet, cass_desc *desc, std::int32_t index,
                         const cass_string *keyspace, const cass_string *table, bool short_set)
{
    const held_string name(pkt_get_string(packet));
    if (name == nullptr)
        return give_up(stmt, desc, true);
    type_reader tree = new_tree(packet);
    const held_option option(decode_option(&tree, 1));
    if (option == nullptr)
        return give_up(stmt, desc, tree.state == TREE_NO_MEMORY);
    if (cass_log_is_on(&stmt->head))
        log_column(stmt, index, name.get(), option.get(), short_set);
    const int code =
        cass_field_from_option(stmt, desc, index, keyspace, table, name.get(), option.get());
    if (code == -1)
        return give_up(stmt, desc, true);
    if (code != 0)
        pass_unknown_type(stmt, packet, option->option_id);
    desc->fields[index].from_spec = code == 0;
    return 0;
}

// Columns of one keyspace and table, whose names stand in front of them and are kept once.
static int decode_shared_columns(cass_stmt *stmt, cass_packet *packet, cass_desc *desc,
                                 bool of_result)
{
    desc->shared_keyspace = pkt_get_string(packet);
    desc->shared_table = pkt_get_string(packet);
    CASS_LOG(&stmt->head, LOG_DETAIL, "global ksname: %S", desc->shared_keyspace);
    CASS_LOG(&stmt->head, LOG_DETAIL, "global tablename: %S", desc->shared_table);
    if (desc->shared_keyspace == nullptr || desc->shared_table == nullptr)
        return give_up(stmt, desc, true);
    for (std::int32_t i = 0; i < desc->field_count; i++) {
        if (decode_column(stmt, packet, desc, i, desc->shared_keyspace, desc->shared_table,
                          of_result) != 0)
            return -1;
    }
    return 0;
}

// Reads the specifications of `count` columns into fresh records. 0, or -1 after giving up.
static int decode_columns(cass_stmt *stmt, cass_packet *packet, cass_desc *desc, std::int32_t flags,
                          std::int32_t count, bool of_result)
{
    const bool global = (flags & METADATA_GLOBAL_SPEC) != 0;
    if (describe_columns(stmt, desc, count) != 0)
        return -1;
    if (global)
        return decode_shared_columns(stmt, packet, desc, of_result);
    for (std::int32_t i = 0; i < count; i++) {
        const held_string keyspace(pkt_get_string(packet));
        const held_string table(pkt_get_string(packet));
        CASS_LOG(&stmt->head, LOG_DETAIL, "ksname: %S", keyspace.get());
        CASS_LOG(&stmt->head, LOG_DETAIL, "tablename: %S", table.get());
        if (keyspace == nullptr || table == nullptr)
            return give_up(stmt, desc, true);
        if (decode_column(stmt, packet, desc, i, keyspace.get(), table.get(), false) != 0)
            return -1;
    }
    return 0;
}

// ---- Metadata ----------------------------------------------------------------------------------

// All that the records of an IRD depend on beside the bytes of the specification. It stands in
// front of those bytes in the statement's copy.
struct column_shape {
    std::int32_t global;
    std::int32_t count;
    std::int32_t odbc_version;
    std::int32_t string_len;
    std::int32_t binary_len;
};

static column_shape shape_of(const cass_stmt *stmt, std::int32_t flags, std::int32_t count)
{
    const cass_conn *conn = stmt_conn(stmt);
    return {.global = flags & METADATA_GLOBAL_SPEC,
            .count = count,
            .odbc_version = conn_env(conn)->odbc_version,
            .string_len = shared_get(&conn->string_len),
            .binary_len = shared_get(&conn->binary_len)};
}

// Whether the records hold what the next bytes of the body would make of them. Any record that was
// cleared, added or made afresh since has lost its mark.
static bool is_described(const cass_stmt *stmt, const cass_packet *packet,
                         const column_shape &shape)
{
    const cass_desc *ird = stmt->implicit_ird;
    const std::int32_t spec = stmt->meta_length - static_cast<std::int32_t>(sizeof shape);
    if (stmt->meta_bytes == nullptr || cass_log_is_on(&stmt->head) || stmt->ird != ird ||
        !ird->found_valid || ird->found_count != shape.count || ird->field_count != shape.count ||
        spec > pkt_remaining(packet))
        return false;
    if (std::memcmp(stmt->meta_bytes, &shape, sizeof shape) != 0 ||
        std::memcmp(stmt->meta_bytes + sizeof shape, packet->body + packet->read_pos,
                    static_cast<std::size_t>(spec)) != 0)
        return false;
    for (std::int32_t i = 0; i < shape.count; i++) {
        if (!ird->fields[i].from_spec)
            return false;
    }
    return true;
}

// Takes the specification as read. The cells become those of fresh records, but keep their buffers.
static void reuse_description(const cass_stmt *stmt, cass_packet *packet)
{
    const cass_desc *ird = stmt->implicit_ird;
    for (std::int32_t i = 0; i < ird->field_count; i++) {
        cass_data_storage *cell = &ird->fields[i].data_storage;
        cass_data_storage fresh = {};
        fresh.capacity = cell->capacity;
        fresh.buffer = cell->buffer;
        *cell = fresh;
    }
    packet->read_pos += stmt->meta_length - static_cast<std::int32_t>(sizeof(column_shape));
}

// Keeps the specification from `start` to the read position. Without memory there is no copy, and
// the next page is decoded. One that the body cut short is not kept either: it would pass for the
// beginning of a whole one.
static void keep_description(cass_stmt *stmt, const cass_packet *packet, std::int32_t start,
                             const column_shape &shape)
{
    const auto spec = static_cast<std::size_t>(packet->read_pos - start);
    const std::size_t needed = sizeof shape + spec;
    const bool usable = !packet->ran_short && needed <= INT32_MAX;
    void *grown = !usable ? nullptr : std::realloc(stmt->meta_bytes, needed);
    if (grown == nullptr) {
        std::free(stmt->meta_bytes);
        stmt->meta_bytes = nullptr;
        stmt->meta_length = 0;
        return;
    }
    stmt->meta_bytes = static_cast<unsigned char *>(grown);
    stmt->meta_length = static_cast<std::int32_t>(needed);
    std::memcpy(stmt->meta_bytes, &shape, sizeof shape);
    std::memcpy(stmt->meta_bytes + sizeof shape, packet->body + start, spec);
}

// The paging state of this page; its absence is how fetching learns that this was the last one.
// False when there is no memory for it.
static bool take_paging_state(cass_stmt *stmt, cass_packet *packet, std::int32_t flags)
{
    std::int32_t length = 0;
    unsigned char *state = nullptr;
    if ((flags & METADATA_MORE_PAGES) != 0) {
        state = pkt_get_long_bytes(packet, &length);
        CASS_LOG_PACKET(&stmt->head, state, state == nullptr ? 0 : length, "paging data");
    }
    std::free(stmt->paging_state);
    stmt->paging_state = state;
    stmt->paging_state_len = state == nullptr ? 0 : length;
    return state != nullptr || length < 1;
}

int decode_metadata(cass_stmt *stmt, cass_packet *packet)
{
    CASS_LOG(&stmt->head, LOG_DETAIL, "decode_metadata");
    const std::int32_t flags = pkt_get_int(packet);
    const std::int32_t count = pkt_get_int(packet);
    CASS_LOG(&stmt->head, LOG_DETAIL, "flags: %x", flags);
    CASS_LOG(&stmt->head, LOG_DETAIL, "column_count: %d", count);
    if (!take_paging_state(stmt, packet, flags))
        return give_up(stmt, stmt->implicit_ird, true);
    // Without column specifications the records stay as they are: those of the first page, or of
    // whatever the statement described before.
    if ((flags & METADATA_NONE) != 0)
        return 0;

    const column_shape shape = shape_of(stmt, flags, count);
    if (is_described(stmt, packet, shape)) {
        reuse_description(stmt, packet);
        return 0;
    }
    const std::int32_t start = packet->read_pos;
    stmt->ird = stmt->implicit_ird;
    if (decode_columns(stmt, packet, stmt->ird, flags, count, true) != 0)
        return -1;
    keep_description(stmt, packet, start, shape);
    return 0;
}

int decode_prepared_metadata(cass_stmt *stmt, cass_packet *packet)
{
    CASS_LOG(&stmt->head, LOG_DETAIL, "decode_prepared_metadata");
    const std::int32_t flags = pkt_get_int(packet);
    const std::int32_t count = pkt_get_int(packet);
    const std::int32_t pk_count = pkt_get_int(packet);
    CASS_LOG(&stmt->head, LOG_DETAIL, "flags: %x", flags);
    CASS_LOG(&stmt->head, LOG_DETAIL, "column_count: %d", count);
    CASS_LOG(&stmt->head, LOG_DETAIL, "pk_count: %d", pk_count);
    for (std::int32_t i = 0; i < pk_count && has_more(packet); i++) {
        const std::int16_t index = pkt_get_short(packet);
        CASS_LOG(&stmt->head, LOG_DETAIL, "pk_index[ %d ]: %d", i, index);
    }
    // Even where the application has installed a parameter descriptor of its own.
    stmt->ipd = stmt->implicit_ipd;
    return decode_columns(stmt, packet, stmt->ipd, flags, count, false);
}

// ---- The five kinds ----------------------------------------------------------------------------

static bool decode_rows(cass_stmt *stmt, cass_packet *packet)
{
    CASS_LOG(&stmt->head, LOG_DETAIL, "Rows Result");
    if (decode_metadata(stmt, packet) != 0)
        return false;
    const std::int32_t count = pkt_get_int(packet);
    CASS_LOG(&stmt->head, LOG_DETAIL, "rows count: %d", count);
    // Rows without columns take no bytes: their count could announce an endless result.
    const bool columns = cass_stmt_column_count(stmt->ird) > 0;
    cass_set_current_packet(stmt, packet, columns ? count : 0);
    return true;
}

static void decode_set_keyspace(cass_stmt *stmt, cass_packet *packet)
{
    cass_conn *conn = stmt_conn(stmt);
    CASS_LOG(&stmt->head, LOG_DETAIL, "Set Keyspace Result");
    cass_string *keyspace = pkt_get_string(packet);
    CASS_LOG(&stmt->head, LOG_DETAIL, "change keyspace to: %S", keyspace);
    cass_set_conn_text(conn, &conn->current_keyspace, keyspace);
}

static bool decode_prepared(cass_stmt *stmt, cass_packet *packet)
{
    CASS_LOG(&stmt->head, LOG_DETAIL, "Prepared Result");
    std::int32_t length = 0;
    unsigned char *id = pkt_get_short_bytes(packet, &length);
    CASS_LOG_PACKET(&stmt->head, id, id == nullptr ? 0 : length, "Prepared Id");
    std::free(stmt->prepared_id);
    stmt->prepared_id = id;
    stmt->prepared_id_len = id == nullptr ? 0 : length;
    if (id == nullptr && length > 0)
        return give_up(stmt, stmt->implicit_ipd, true) == 0;
    return decode_prepared_metadata(stmt, packet) == 0 && decode_metadata(stmt, packet) == 0;
}

// A change of the schema is told and has no effect on the driver's state. The layout is decided by
// the target alone: functions and aggregates are read as a table is, their argument types not at
// all.
static void decode_schema_change(cass_stmt *stmt, cass_packet *packet)
{
    CASS_LOG(&stmt->head, LOG_DETAIL, "Schema Change Result");
    const held_string change(pkt_get_string(packet));
    const held_string target(pkt_get_string(packet));
    CASS_LOG(&stmt->head, LOG_DETAIL, "change_type: %S", change.get());
    CASS_LOG(&stmt->head, LOG_DETAIL, "target: %S", target.get());
    const held_string keyspace(pkt_get_string(packet));
    if (cass_string_compare_cstr(target.get(), "KEYSPACE") == 0) {
        CASS_LOG(&stmt->head, LOG_DETAIL, "keyspace changed: %S", keyspace.get());
        return;
    }
    const held_string name(pkt_get_string(packet));
    CASS_LOG(&stmt->head, LOG_DETAIL, "keyspace: %S", keyspace.get());
    CASS_LOG(&stmt->head, LOG_DETAIL, "name: %S", name.get());
    if (cass_string_compare_cstr(target.get(), "TYPE") == 0) {
        const std::int32_t count = get_count(packet);
        CASS_LOG(&stmt->head, LOG_DETAIL, "string count: %d", count);
        skip_strings(stmt, packet, count);
    }
}

std::int32_t decode_result_packet(cass_stmt *stmt, cass_packet *packet)
{
    CASS_LOG(&stmt->head, LOG_DETAIL, "decode_result_packet");
    const std::int32_t kind = pkt_get_int(packet);
    CASS_LOG(&stmt->head, LOG_DETAIL, "kind: %d", kind);
    bool whole = true;
    switch (kind) {
    case KIND_VOID:
        CASS_LOG(&stmt->head, LOG_DETAIL, "Void Result");
        break;
    case KIND_ROWS:
        whole = decode_rows(stmt, packet);
        break;
    case KIND_SET_KEYSPACE:
        decode_set_keyspace(stmt, packet);
        break;
    case KIND_PREPARED:
        whole = decode_prepared(stmt, packet);
        break;
    case KIND_SCHEMA_CHANGE:
        decode_schema_change(stmt, packet);
        break;
    default:
        CASS_LOG(&stmt->head, LOG_DETAIL, "Unknown kind %d", kind);
        return RESULT_UNKNOWN_KIND;
    }
    post_unknown_types(stmt, packet);
    return whole ? kind : RESULT_MALFORMED;
}
