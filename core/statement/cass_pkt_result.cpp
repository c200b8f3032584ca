// From the body of a RESULT frame to descriptor records, paging state and prepared id. A short body
// is not an error by itself: readers give zeros and empty texts, and loops end with the bytes. Only
// counts and type trees that no server sends are refused.
#include "core/statement/cass_pkt_result.h"

#include <algorithm>

#include "core/cell/cass_data_limit.h"
#include "core/describe/cass_field.h"
#include "core/diag/cass_err.h"
#include "core/log/cass_log.h"
#include "core/net/cass_conn_shared.h"
#include "core/statement/cass_column_reuse.h"
#include "core/wire/cass_prepared.h"

static constexpr char log_source[] = "cass_pkt.c";

enum : std::int32_t {
    METADATA_GLOBAL_SPEC = 0x01,
    METADATA_MORE_PAGES = 0x02,
    METADATA_NONE = 0x04,
};

constexpr std::int32_t COLUMN_LIMIT = 65535;
// Columns that are described on a body's word: others have their bytes in it, a name and a type.
constexpr std::int32_t COLUMNS_ON_TRUST = 1024;
constexpr std::int32_t LEAST_COLUMN_BYTES = 4;
constexpr std::int32_t WARNING_UNITS = 2048;  // more than a message or a log record can show
// Types of nested columns that one description keeps: some 100 bytes each.
constexpr std::int32_t KEPT_TYPES = 65536;
// Columns of unknown types that have a record each: lists of records are searched from the start.
constexpr std::int32_t UNKNOWN_TYPE_RECORDS = 8;

struct kind_name {
    std::int32_t kind;
    const char *name;
};

constexpr kind_name RESULT_KIND_NAMES[] = {
    {KIND_VOID, "KIND_VOID"},
    {KIND_ROWS, "KIND_ROWS"},
    {KIND_SET_KEYSPACE, "KIND_SET_KEYSPACE"},
    {KIND_PREPARED, "KIND_PREPARED"},
    {KIND_SCHEMA_CHANGE, "KIND_SCHEMA_CHANGE"},
};

const char *result_kind_name(std::int32_t kind)
{
    for (const kind_name &row : RESULT_KIND_NAMES) {
        if (row.kind == kind)
            return row.name;
    }
    return "Unknown kind type";
}

// ---- Small readers -----------------------------------------------------------------------------

// Reads `count` texts and logs each as "string %d: %S".
static void skip_strings(cass_stmt *stmt, cass_packet *packet, std::int32_t count)
{
    for (std::int32_t i = 0; i < count && pkt_has_more(packet); i++) {
        const held_string text(pkt_get_string(packet));
        CASS_LOG(&stmt->head, LOG_DETAIL, "string %d: %S", i, text.get());
    }
}

cass_string *decode_warnings(cass_stmt *stmt, cass_packet *packet)
{
    const std::int32_t count = pkt_get_count(packet);
    CASS_LOG(&stmt->head, LOG_DETAIL, "string count: %d", count);
    held_string all(cass_string_from_bytes("", 0));
    bool good = all != nullptr;
    for (std::int32_t i = 0; good && i < count && pkt_has_more(packet); i++) {
        const held_string text(pkt_get_string(packet));
        CASS_LOG(&stmt->head, LOG_DETAIL, "string %d: %S", i, text.get());
        good = text != nullptr && (cass_string_length(all.get()) >= WARNING_UNITS ||
                                   cass_string_append(all.get(), text.get()) != nullptr);
    }
    if (good)
        return all.release();
    cass_post_no_memory(&stmt->head, log_source, "decode_warnings");
    return nullptr;
}

// ---- Column specifications ---------------------------------------------------------------------

// Posts the failure and leaves the descriptor without records.
static int give_up(cass_stmt *stmt, cass_desc *desc, bool memory)
{
    if (memory) {
        cass_post_no_memory(&stmt->head, log_source, "decode_result_packet");
    } else {
        CASS_LOG(&stmt->head, LOG_ERROR, "decode_result_packet: unexpected end of packet");
        cass_post_error(&stmt->head, cass_malformed_state(stmt), 0, "unexpected end of packet");
    }
    // The rows that a cursor keeps need their columns.
    if (stmt->cursor != nullptr && desc == stmt->implicit_ird)
        return -1;
    cass_desc_clear_fields(desc);
    desc->found_count = 0;
    return -1;
}

static bool announced_columns_are_described(const cass_conn *conn)
{
    return conn->conduct->announced_columns_are_described;
}

static bool may_have_columns(const cass_conn *conn, const cass_packet *packet, std::int32_t count)
{
    return count >= 0 && count <= COLUMN_LIMIT &&
           (count <= COLUMNS_ON_TRUST || count <= pkt_remaining(packet) / LEAST_COLUMN_BYTES ||
            announced_columns_are_described(conn));
}

// Fresh records for the columns. 0, or -1 after giving up.
static int describe_columns(cass_stmt *stmt, const cass_packet *packet, cass_desc *desc,
                            std::int32_t count)
{
    if (!may_have_columns(stmt_conn(stmt), packet, count))
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
    cass_post_error(&stmt->head, cass_malformed_state(stmt), 0, "type not supported %d", option_id);
}

// One record for all the columns that pass_unknown_type was silent about.
static void post_unknown_types(cass_stmt *stmt, const cass_packet *packet)
{
    const std::int32_t more = packet->unknown_types - UNKNOWN_TYPE_RECORDS;
    if (more < 1)
        return;
    CASS_LOG(&stmt->head, LOG_ERROR, "decode_metadata: types of %d more columns not supported",
             more);
    cass_post_error(&stmt->head, cass_malformed_state(stmt), 0,
                    "types of %d more columns not supported", more);
}

// Reads one column specification into its record. 0, or -1 after giving up.
static int decode_column(cass_stmt *stmt, cass_packet *packet, cass_desc *desc, std::int32_t index,
                         const cass_string *keyspace, const cass_string *table, bool short_set)
{
    const held_string name(pkt_get_string(packet));
    if (name == nullptr)
        return give_up(stmt, desc, true);
    std::int32_t types;
    held_option option(decode_type_option(packet, &types));
    if (option == nullptr)
        return give_up(stmt, desc, types < 0);
    if (cass_log_is_on(&stmt->head))
        log_column(stmt, index, name.get(), option.get(), short_set);
    const int code =
        cass_field_from_option(stmt, desc, index, keyspace, table, name.get(), option.get());
    if (code == -1)
        return give_up(stmt, desc, true);
    if (code != 0)
        pass_unknown_type(stmt, packet, option->option_id);
    desc->fields[index].from_spec = code == 0;
    const bool composed =
        cql_type_is_nested(option->option_id) || cql_type_meant(option.get()) != option.get();
    if (composed && packet->kept_types <= KEPT_TYPES - types) {
        packet->kept_types += types;
        desc->fields[index].type_tree = option.release();
    }
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
    if (describe_columns(stmt, packet, desc, count) != 0)
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
    cass_page_end(&stmt->page);
    stmt->page.paging_state = state;
    stmt->page.paging_state_len = state == nullptr ? 0 : length;
    return state != nullptr || length < 1;
}

// The rows that a cursor keeps are read by the columns that they came with.
static int refuse_other_columns(cass_stmt *stmt)
{
    if (stmt->meta_bytes == nullptr)
        return cass_post_no_memory(&stmt->head, log_source, "decode_metadata");
    CASS_LOG(&stmt->head, LOG_ERROR, "decode_metadata: the columns have changed");
    cass_post_error(&stmt->head, STATE_HY000, 0,
                    "the columns of the result have changed since its first rows came");
    return -1;
}

// Metadata of rows into the IRD and the paging state. 0, or -1 after giving up.
static int decode_metadata(cass_stmt *stmt, cass_packet *packet)
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

    const column_shape shape = column_shape_of(stmt, (flags & METADATA_GLOBAL_SPEC) != 0, count);
    if (stmt->cursor != nullptr)
        return pass_description(stmt, packet, shape) ? 0 : refuse_other_columns(stmt);
    if (reuse_description(stmt, packet, shape))
        return 0;
    const std::int32_t start = packet->read_pos;
    stmt->ird = stmt->implicit_ird;
    if (decode_columns(stmt, packet, stmt->ird, flags, count, true) != 0)
        return -1;
    for (std::int32_t i = 0; shape.limited != 0 && i < stmt->ird->field_count; i++)
        cass_limit_values(&stmt->ird->fields[i]);
    keep_description(stmt, packet, start, shape);
    return 0;
}

// Metadata of parameters into the IPD. 0, or -1 after giving up.
static int decode_prepared_metadata(cass_stmt *stmt, cass_packet *packet)
{
    CASS_LOG(&stmt->head, LOG_DETAIL, "decode_prepared_metadata");
    const std::int32_t flags = pkt_get_int(packet);
    const std::int32_t count = pkt_get_int(packet);
    const std::int32_t pk_count = pkt_get_int(packet);
    CASS_LOG(&stmt->head, LOG_DETAIL, "flags: %x", flags);
    CASS_LOG(&stmt->head, LOG_DETAIL, "column_count: %d", count);
    CASS_LOG(&stmt->head, LOG_DETAIL, "pk_count: %d", pk_count);
    const std::int32_t keys = packet->read_pos;
    for (std::int32_t i = 0; i < pk_count && pkt_has_more(packet); i++) {
        const std::int16_t index = pkt_get_short(packet);
        CASS_LOG(&stmt->head, LOG_DETAIL, "pk_index[ %d ]: %d", i, index);
    }
    // Even where the application has installed a parameter descriptor of its own.
    stmt->ipd = stmt->implicit_ipd;
    const std::int32_t keys_end = packet->read_pos;
    if (decode_columns(stmt, packet, stmt->ipd, flags, count, false) != 0)
        return -1;
    for (std::int32_t at = keys; at + 2 <= keys_end; at += 2) {
        const std::int32_t index = load_be16(packet->body + at);
        if (index < stmt->ipd->field_count)
            cass_field_is_key(stmt_conn(stmt), &stmt->ipd->fields[index]);
    }
    return 0;
}

// ---- The five kinds ----------------------------------------------------------------------------

static bool decode_rows(cass_stmt *stmt, cass_packet *packet, std::int32_t *rows)
{
    CASS_LOG(&stmt->head, LOG_DETAIL, "Rows Result");
    if (decode_metadata(stmt, packet) != 0)
        return false;
    const std::int32_t count = pkt_get_int(packet);
    CASS_LOG(&stmt->head, LOG_DETAIL, "rows count: %d", count);
    // Rows without columns take no bytes: their count could announce an endless result.
    const bool columns = cass_stmt_column_count(stmt->ird) > 0;
    *rows = columns ? count : 0;
    return true;
}

static void decode_set_keyspace(cass_stmt *stmt, cass_packet *packet)
{
    cass_conn *conn = stmt_conn(stmt);
    CASS_LOG(&stmt->head, LOG_DETAIL, "Set Keyspace Result");
    cass_string *keyspace = pkt_get_string(packet);
    CASS_LOG(&stmt->head, LOG_DETAIL, "change keyspace to: %S", keyspace);
    cass_set_keyspace(conn, keyspace, packet->keyspace_changes);
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
    stmt->prepared_session = packet->session;
    if (id == nullptr && length > 0)
        return give_up(stmt, stmt->implicit_ipd, true) == 0;
    return decode_prepared_metadata(stmt, packet) == 0 && decode_metadata(stmt, packet) == 0;
}

// A change of the schema is told. The layout is decided by the target alone:
// functions and aggregates are read as a table is, their argument types not at all.
static void decode_schema_change(cass_stmt *stmt, cass_packet *packet)
{
    CASS_LOG(&stmt->head, LOG_DETAIL, "Schema Change Result");
    // What was prepared may mean something else now.
    cass_prepared_forget_all(stmt_conn(stmt));
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
        const std::int32_t count = pkt_get_count(packet);
        CASS_LOG(&stmt->head, LOG_DETAIL, "string count: %d", count);
        skip_strings(stmt, packet, count);
    }
}

std::int32_t result_kind(cass_packet *packet, bool warnings)
{
    if (pkt_opcode(packet) != OPCODE_RESULT)
        return 0;
    const std::int32_t start = packet->read_pos;
    for (std::int32_t left = warnings && pkt_has_warning(packet) ? pkt_get_count(packet) : 0;
         left > 0 && pkt_has_more(packet); left--)
        packet->read_pos += std::min(
            std::int32_t{static_cast<std::uint16_t>(pkt_get_short(packet))}, pkt_remaining(packet));
    const std::int32_t kind = pkt_get_int(packet);
    packet->read_pos = start;
    packet->ran_short = 0;
    return kind;
}

std::int32_t decode_result_packet(cass_stmt *stmt, cass_packet *packet, std::int32_t *rows)
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
        whole = decode_rows(stmt, packet, rows);
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
