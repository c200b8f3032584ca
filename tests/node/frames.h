// Frames of the CQL native protocol v4 as a server builds them and as a client's requests should
// look. Everything is a string of bytes, put together from smaller ones; a frame can be told to
// lie about its compression or its header, or to break off.
#ifndef TESTS_NODE_FRAMES_H
#define TESTS_NODE_FRAMES_H

#include <optional>
#include <utility>
#include <vector>

#include "tests/bytes.h"

using bytes = std::string;               // any bytes, zeros among them
using node_cell = std::optional<bytes>;  // value of a cell, or null
using node_row = std::vector<node_cell>;

// clang-format off
enum : int {
    NODE_ERROR = 0, NODE_STARTUP = 1, NODE_READY = 2, NODE_AUTHENTICATE = 3, NODE_OPTIONS = 5,
    NODE_SUPPORTED = 6, NODE_QUERY = 7, NODE_RESULT = 8, NODE_PREPARE = 9, NODE_EXECUTE = 10,
    NODE_EVENT = 12, NODE_AUTH_CHALLENGE = 14, NODE_AUTH_RESPONSE = 15, NODE_AUTH_SUCCESS = 16,
};

// Option ids of CQL types (native protocol v4, section 4.2.5.2; 21 is of v5).
enum : int {
    NODE_CUSTOM = 0, NODE_ASCII = 1, NODE_BIGINT = 2, NODE_BLOB = 3, NODE_BOOLEAN = 4,
    NODE_COUNTER = 5, NODE_DECIMAL = 6, NODE_DOUBLE = 7, NODE_FLOAT = 8, NODE_INT = 9,
    NODE_TIMESTAMP = 11, NODE_UUID = 12, NODE_VARCHAR = 13, NODE_VARINT = 14, NODE_TIMEUUID = 15,
    NODE_INET = 16, NODE_DATE = 17, NODE_TIME = 18, NODE_SMALLINT = 19, NODE_TINYINT = 20,
    NODE_DURATION = 21, NODE_LIST = 32, NODE_MAP = 33, NODE_SET = 34, NODE_UDT = 48,
    NODE_TUPLE = 49,
};
// clang-format on

inline bytes wire_bytes(const node_cell &value)  // [bytes], nothing: length -1
{
    return value ? be32(value->size()) + *value : be32(0xFFFFFFFF);
}

// ---- Types and metadata -------------------------------------------------------------------

// clang-format off
inline bytes type_of(int option_id) { return be16(option_id); }
inline bytes type_list(const bytes &element) { return type_of(NODE_LIST) + element; }
// clang-format on
inline bytes type_map(const bytes &key, const bytes &value)
{
    return type_of(NODE_MAP) + key + value;
}

// What the server knows by a class of its own alone, with its parameters.
inline bytes type_by_class(const bytes &name)
{
    return type_of(NODE_CUSTOM) + wire_string("org.apache.cassandra.db.marshal." + name);
}

struct node_column {
    bytes name;
    bytes type;
    bytes keyspace = "ks";
    bytes table = "t";
};
using node_columns = std::vector<node_column>;

struct node_metadata {
    bool no_metadata = false;           // the count only
    bytes paging_state = {};            // not empty: more pages
    std::optional<int> row_count = {};  // announced in place of the true one
};

// Column specifications, with keyspace and table once in front.
inline bytes column_specs(const node_columns &columns)
{
    const node_column &first = columns.empty() ? node_column{} : columns.front();
    bytes out = wire_string(first.keyspace) + wire_string(first.table);
    for (const node_column &column : columns)
        out += wire_string(column.name) + column.type;
    return out;
}

inline bytes rows_metadata(const node_columns &columns, const node_metadata &options)
{
    constexpr int global_spec = 1, more_pages = 2, none = 4;
    const bool more = !options.paging_state.empty();
    const int flags = (options.no_metadata ? none : global_spec) | (more ? more_pages : 0);
    return be32(flags) + be32(columns.size()) + (more ? wire_bytes(options.paging_state) : "") +
           (options.no_metadata ? "" : column_specs(columns));
}

// ---- Frames of a server -------------------------------------------------------------------

enum node_compression { COMPRESS_AS_NEGOTIATED, COMPRESS_NEVER, COMPRESS_ALWAYS };
enum node_ending { KEEP_OPEN, CLOSE, RESET };

struct node_change {
    std::size_t at;  // from the first byte of the header
    int mask;        // of the bits that are turned
};

struct node_frame {
    int opcode = NODE_READY;
    bytes body = {};
    int version = 0x84;
    int flags = 0;                   // the compression flag is added where it is due
    std::optional<int> stream = {};  // nothing: the request's
    node_compression compression = COMPRESS_AS_NEGOTIATED;
    std::optional<node_change> changed = {};
    std::optional<std::size_t> cut = {};  // only so many bytes are sent
    std::size_t skip = 0;                 // so many at its head have been sent before
    node_ending ending = KEEP_OPEN;       // what happens to the connection afterwards
    bool slowly = false;                  // one byte at a time
};

inline bytes wire_string_list(const std::vector<bytes> &texts)
{
    bytes out = be16(texts.size());
    for (const bytes &text : texts)
        out += wire_string(text);
    return out;
}

inline node_frame supported_frame(const std::vector<std::pair<bytes, std::vector<bytes>>> &options)
{
    bytes body = be16(options.size());
    for (const auto &[key, values] : options)
        body += wire_string(key) + wire_string_list(values);
    return {.opcode = NODE_SUPPORTED, .body = body};
}

inline node_frame
authenticate_frame(std::string_view class_name = "org.apache.cassandra.auth.PasswordAuthenticator")
{
    return {.opcode = NODE_AUTHENTICATE, .body = wire_string(class_name)};
}

inline node_frame error_frame(std::uint32_t code, std::string_view message, const bytes &extra = {})
{
    return {.opcode = NODE_ERROR, .body = be32(code) + wire_string(message) + extra};
}

inline node_frame result_frame(int kind, const bytes &rest)
{
    return {.opcode = NODE_RESULT, .body = be32(kind) + rest};
}

// clang-format off
inline node_frame ready_frame() { return {.opcode = NODE_READY, .body = {}}; }
inline node_frame auth_success_frame() { return {.opcode = NODE_AUTH_SUCCESS, .body = be32(-1)}; }
inline node_frame void_frame() { return result_frame(1, ""); }
// clang-format on
inline node_frame set_keyspace_frame(std::string_view keyspace)
{
    return result_frame(3, wire_string(keyspace));
}

inline node_frame rows_frame(const node_columns &columns, const std::vector<node_row> &rows,
                             const node_metadata &options = {})
{
    const int count = options.row_count.value_or(static_cast<int>(rows.size()));
    bytes body = rows_metadata(columns, options) + be32(count);
    for (const node_row &row : rows)
        for (const node_cell &cell : row)
            body += wire_bytes(cell);
    return result_frame(2, body);
}

// Of text columns, two where there are no rows.
inline node_frame text_rows(const std::vector<node_row> &rows, const node_metadata &options = {})
{
    const std::size_t count = rows.empty() ? 2 : rows.front().size();
    return rows_frame(node_columns(count, {"c", type_of(NODE_VARCHAR)}), rows, options);
}

// `parameters` are the bound columns, `columns` those of the result. A statement without rows
// announces no columns and no metadata.
inline node_frame prepared_frame(std::string_view id, const node_columns &parameters,
                                 const node_columns &columns)
{
    const bool bound = !parameters.empty();
    const bytes head = be32(bound) + be32(parameters.size()) + be32(0);
    return result_frame(4, wire_short_bytes(id) + head + (bound ? column_specs(parameters) : "") +
                               rows_metadata(columns, {.no_metadata = columns.empty()}));
}

// The same frame with warnings in front of its body, or broken off.
inline node_frame with_warnings(node_frame frame, const std::vector<bytes> &warnings)
{
    frame.flags |= 0x08;
    frame.body = wire_string_list(warnings) + frame.body;
    return frame;
}
inline node_frame cut_off(node_frame frame, std::size_t length, node_ending ending = CLOSE)
{
    frame.cut = length;
    frame.ending = ending;
    return frame;
}
// Ends the connection without a byte of answer.
inline node_frame no_answer(node_ending ending = CLOSE)
{
    return cut_off(ready_frame(), 0, ending);
}

// The bytes that go out. lz4: negotiated on this connection; stream: the request's.
bytes frame_on_wire(const node_frame &frame, bool lz4, int stream);

// The body from its [int] uncompressed length and an LZ4 block; nothing when the bytes are no such
// thing.
std::optional<bytes> lz4_restore(std::string_view compressed);

// ---- Bodies of requests -------------------------------------------------------------------

constexpr int CONSISTENCY_ONE = 1;

inline bytes startup_body(bool lz4)
{
    return be16(lz4 ? 2 : 1) + wire_string("CQL_VERSION") + wire_string("3.0.0") +
           (lz4 ? wire_string("COMPRESSION") + wire_string("lz4") : bytes());
}

// What stands behind a statement: flags 4, the page size and, with flags 12, the paging state.
inline bytes page_tail(std::string_view paging_state = {}, int consistency = CONSISTENCY_ONE)
{
    const bool first = paging_state.empty();
    return be16(consistency) + be8(first ? 4 : 12) + be32(100) +
           (first ? "" : wire_long_string(paging_state));
}

inline bytes query_body(std::string_view sql, int consistency = CONSISTENCY_ONE)
{
    return wire_long_string(sql) + page_tail({}, consistency);
}

#endif
