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

// ---- Primitives -------------------------------------------------------------------

bytes wire_bytes(const node_cell &value);  // [bytes], nothing: length -1

// ---- Types and metadata -------------------------------------------------------------------

bytes type_of(int option_id);
bytes type_list(const bytes &element);
bytes type_map(const bytes &key, const bytes &value);

struct node_column {
    bytes name;
    bytes type;
    bytes keyspace = "ks";
    bytes table = "t";
};
using node_columns = std::vector<node_column>;

struct node_metadata {
    bool no_metadata = false;              // the count only
    bytes paging_state = {};               // not empty: more pages
    std::optional<int> column_count = {};  // announced in place of the true one
    std::optional<int> row_count = {};
};

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

node_frame supported_frame(const std::vector<std::pair<bytes, std::vector<bytes>>> &options);
node_frame ready_frame();
node_frame
authenticate_frame(std::string_view class_name = "org.apache.cassandra.auth.PasswordAuthenticator");
node_frame auth_success_frame();
node_frame error_frame(std::uint32_t code, std::string_view message, const bytes &extra = {});
node_frame void_frame();
node_frame rows_frame(const node_columns &columns, const std::vector<node_row> &rows,
                      const node_metadata &options = {});
// Of text columns, two where there are no rows.
node_frame text_rows(const std::vector<node_row> &rows, const node_metadata &options = {});
node_frame set_keyspace_frame(std::string_view keyspace);
// `parameters` are the bound columns, `columns` those of the result.
node_frame prepared_frame(std::string_view id, const node_columns &parameters,
                          const node_columns &columns);

// The same frame with warnings in front of its body, or broken off.
node_frame with_warnings(node_frame frame, const std::vector<bytes> &warnings);
node_frame cut_off(node_frame frame, std::size_t length, node_ending ending = CLOSE);
// Ends the connection without a byte of answer.
node_frame no_answer(node_ending ending = CLOSE);

// The bytes that go out. lz4: negotiated on this connection; stream: the request's.
bytes frame_on_wire(const node_frame &frame, bool lz4, int stream);

// The body from its [int] uncompressed length and an LZ4 block; nothing when the bytes are no such
// thing.
std::optional<bytes> lz4_restore(std::string_view compressed);

// ---- Bodies of requests -------------------------------------------------------------------

constexpr int CONSISTENCY_ONE = 1;

bytes startup_body(bool lz4);
// What stands behind a statement: flags 4, the page size and, with flags 12, the paging state.
bytes page_tail(std::string_view paging_state = {}, int consistency = CONSISTENCY_ONE);
bytes query_body(std::string_view sql, int consistency = CONSISTENCY_ONE);

#endif
