// Frames of the CQL native protocol v4, byte by byte.
#include "tests/node/frames.h"

#include <lz4.h>

static constexpr int FLAG_COMPRESSED = 0x01;
static constexpr int FLAG_WARNING = 0x08;
static constexpr int METADATA_GLOBAL_SPEC = 0x01;
static constexpr int METADATA_MORE_PAGES = 0x02;
static constexpr int METADATA_NONE = 0x04;

// ---- Primitives -------------------------------------------------------------------

bytes wire_bytes(const node_cell &value)
{
    return value ? be32(value->size()) + *value : be32(0xFFFFFFFF);
}

static bytes wire_string_list(const std::vector<bytes> &texts)
{
    bytes out = be16(texts.size());
    for (const bytes &text : texts)
        out += wire_string(text);
    return out;
}

// ---- Types and metadata -------------------------------------------------------------------

// clang-format off
bytes type_of(int option_id) { return be16(option_id); }
bytes type_list(const bytes &element) { return type_of(NODE_LIST) + element; }
bytes type_map(const bytes &key, const bytes &value) { return type_of(NODE_MAP) + key + value; }
// clang-format on

// Column specifications, with keyspace and table once in front.
static bytes column_specs(const node_columns &columns)
{
    const node_column &first = columns.empty() ? node_column{} : columns.front();
    bytes out = wire_string(first.keyspace) + wire_string(first.table);
    for (const node_column &column : columns)
        out += wire_string(column.name) + column.type;
    return out;
}

static bytes rows_metadata(const node_columns &columns, const node_metadata &options)
{
    const bool more = !options.paging_state.empty();
    const int flags = (options.no_metadata ? METADATA_NONE : METADATA_GLOBAL_SPEC) |
                      (more ? METADATA_MORE_PAGES : 0);
    return be32(flags) + be32(options.column_count.value_or(static_cast<int>(columns.size()))) +
           (more ? wire_bytes(options.paging_state) : bytes()) +
           (options.no_metadata ? bytes() : column_specs(columns));
}

// ---- Frames of a server -------------------------------------------------------------------

node_frame supported_frame(const std::vector<std::pair<bytes, std::vector<bytes>>> &options)
{
    bytes body = be16(options.size());
    for (const auto &[key, values] : options)
        body += wire_string(key) + wire_string_list(values);
    return {.opcode = NODE_SUPPORTED, .body = body};
}

node_frame authenticate_frame(std::string_view class_name)
{
    return {.opcode = NODE_AUTHENTICATE, .body = wire_string(class_name)};
}

node_frame auth_success_frame()
{
    return {.opcode = NODE_AUTH_SUCCESS, .body = wire_bytes(std::nullopt)};
}

node_frame error_frame(std::uint32_t code, std::string_view message, const bytes &extra)
{
    return {.opcode = NODE_ERROR, .body = be32(code) + wire_string(message) + extra};
}

static node_frame result_frame(int kind, const bytes &rest)
{
    return {.opcode = NODE_RESULT, .body = be32(kind) + rest};
}

// clang-format off
node_frame ready_frame() { return {.opcode = NODE_READY, .body = {}}; }
node_frame void_frame() { return result_frame(1, {}); }
node_frame set_keyspace_frame(std::string_view ks) { return result_frame(3, wire_string(ks)); }
// clang-format on

node_frame rows_frame(const node_columns &columns, const std::vector<node_row> &rows,
                      const node_metadata &options)
{
    const int count = options.row_count.value_or(static_cast<int>(rows.size()));
    bytes body = rows_metadata(columns, options) + be32(count);
    for (const node_row &row : rows)
        for (const node_cell &cell : row)
            body += wire_bytes(cell);
    return result_frame(2, body);
}

node_frame text_rows(const std::vector<node_row> &rows, const node_metadata &options)
{
    const std::size_t count = rows.empty() ? 2 : rows.front().size();
    return rows_frame(node_columns(count, {"c", type_of(NODE_VARCHAR)}), rows, options);
}

node_frame prepared_frame(std::string_view id, const node_columns &parameters,
                          const node_columns &columns)
{
    const bool bound = !parameters.empty();
    const bytes head = be32(bound ? METADATA_GLOBAL_SPEC : 0) + be32(parameters.size()) + be32(0);
    // A statement without rows announces no columns and no metadata.
    return result_frame(4, wire_short_bytes(id) + head + (bound ? column_specs(parameters) : "") +
                               rows_metadata(columns, {.no_metadata = columns.empty()}));
}

node_frame with_warnings(node_frame frame, const std::vector<bytes> &warnings)
{
    frame.flags |= FLAG_WARNING;
    frame.body = wire_string_list(warnings) + frame.body;
    return frame;
}

node_frame cut_off(node_frame frame, std::size_t length, node_ending ending)
{
    frame.cut = length;
    frame.ending = ending;
    return frame;
}

node_frame no_answer(node_ending ending)
{
    return cut_off(ready_frame(), 0, ending);
}

// [int] uncompressed length and an LZ4 block.
static bytes lz4_body(std::string_view body)
{
    const int size = static_cast<int>(body.size());
    bytes block(static_cast<std::size_t>(LZ4_compressBound(size)), '\0');
    const int written =
        LZ4_compress_default(body.data(), block.data(), size, static_cast<int>(block.size()));
    return be32(body.size()) + block.substr(0, static_cast<std::size_t>(written));
}

bytes frame_on_wire(const node_frame &frame, bool lz4, int stream)
{
    const bool compress = frame.compression == COMPRESS_AS_NEGOTIATED
                              ? lz4 && !frame.body.empty()
                              : frame.compression == COMPRESS_ALWAYS;
    const bytes body = compress ? lz4_body(frame.body) : frame.body;
    bytes wire = be8(frame.version) + be8(frame.flags | (compress ? FLAG_COMPRESSED : 0)) +
                 be16(frame.stream.value_or(stream)) + be8(frame.opcode) + be32(body.size()) + body;
    if (frame.changed)
        wire[frame.changed->at] = static_cast<char>(wire[frame.changed->at] ^ frame.changed->mask);
    return wire.substr(0, frame.cut.value_or(wire.size())).substr(frame.skip);
}

std::optional<bytes> lz4_restore(std::string_view compressed)
{
    constexpr std::size_t largest = 256u << 20;
    std::size_t size = 0;
    for (const char c : compressed.substr(0, 4))
        size = size << 8 | static_cast<unsigned char>(c);
    if (compressed.size() < 4 || size > largest)
        return std::nullopt;
    bytes out(size, '\0');
    const int read =
        LZ4_decompress_safe(compressed.data() + 4, out.data(),
                            static_cast<int>(compressed.size() - 4), static_cast<int>(size));
    return read == static_cast<int>(size) ? std::optional(out) : std::nullopt;
}

// ---- Bodies of requests -------------------------------------------------------------------

bytes startup_body(bool lz4)
{
    return be16(lz4 ? 2 : 1) + wire_string("CQL_VERSION") + wire_string("3.0.0") +
           (lz4 ? wire_string("COMPRESSION") + wire_string("lz4") : bytes());
}

bytes page_tail(std::string_view paging_state, int consistency)
{
    const bool first = paging_state.empty();
    return be16(consistency) + be8(first ? 4 : 12) + be32(100) +
           (first ? "" : wire_long_string(paging_state));
}

bytes query_body(std::string_view sql, int consistency)
{
    return wire_long_string(sql) + page_tail({}, consistency);
}
