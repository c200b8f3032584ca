// The four handle records: environment, connection, statement, descriptor. An application holds
// pointers to them as opaque handles; the whole driver reads and writes their fields directly.
//
// Records are zero-filled heap blocks, made and released by the functions of
// core/handle/cass_handle.h. They stay trivial types: no member functions, no constructors.
#ifndef CORE_RECORD_CASS_HANDLES_H
#define CORE_RECORD_CASS_HANDLES_H

#include <sql.h>
#include <sqlext.h>
#include <sqlucode.h>

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "core/record/cass_conduct.h"
#include "core/record/cass_page.h"
#include "support/locks.h"
#include "support/strfunc.h"

static_assert(sizeof(SQLLEN) == 8 && sizeof(SQLULEN) == 8, "64-bit SQLLEN at the ABI");
static_assert(sizeof(SQLWCHAR) == 2, "SQLWCHAR is a UTF-16 code unit");
static_assert(sizeof(SQL_NUMERIC_STRUCT) == 19 && sizeof(SQL_TIMESTAMP_STRUCT) == 16);
static_assert(sizeof(SQL_DATE_STRUCT) == 6 && sizeof(SQL_TIME_STRUCT) == 6 &&
              sizeof(SQLGUID) == 16);

struct cass_env;
struct cass_conn;
struct cass_stmt;
struct cass_desc;
struct cass_diag_record;
struct cass_packet;
struct cass_type_option;
struct cass_internal_rs;
struct cass_cursor;
struct ssl_info;

enum : std::int32_t {
    CASS_ENVIRONMENT_HANDLE = 23120,
    CASS_CONNECTION_HANDLE = 23121,
    CASS_STATEMENT_HANDLE = 23122,
    CASS_DESCRIPTOR_HANDLE = 23123,
};

// Common head of the four records, so that diagnostics and the log can take any handle.
struct cass_handle {
    std::int32_t handle_tag;         // one of the four tags above
    cass_diag_record *diag_records;  // head of the diagnostic list, highest SQLSTATE first
    std::int32_t diag_cursor;        // cleared with the list
    std::int32_t timed_out;          // kept by name, nothing uses it
    std::int32_t log_mask;           // 0: this handle does not log
    cass_handle *next_sibling;       // next record in the parent's list
    cass_handle *parent;             // environment of a connection, connection of the others
};

struct cass_env {
    cass_handle head;
    std::int32_t odbc_version;  // SQL_ATTR_ODBC_VERSION as set; 380 behaves as 3
    cass_conn *connections;     // newest first, linked by head.next_sibling
    cass_lock connection_list_lock;
    cass_lock attribute_lock;
    cass_lock log_lock;  // leaf lock of the log writer
    void *ssl_shared;    // shared TLS state, or null
};

// Statement attributes. A connection keeps the defaults that a new statement copies.
struct cass_stmt_attrs {
    SQLULEN cursor_type;
    SQLULEN concurrency;
    SQLULEN cursor_scrollable;
    SQLULEN cursor_sensitivity;
    SQLULEN query_timeout;
    SQLULEN max_rows;
    SQLULEN noscan;
    SQLULEN max_length;
    SQLULEN async_enable;
    SQLULEN keyset_size;
    SQLULEN simulate_cursor;
    SQLULEN retrieve_data;
    SQLULEN use_bookmarks;
    SQLULEN enable_auto_ipd;
    SQLULEN metadata_id;
    SQLULEN rowset_size;  // SQL_ROWSET_SIZE of ODBC 2
    SQLULEN bind_type;    // default of SQL_DESC_BIND_TYPE; a statement keeps its own in descriptors
};

constexpr std::int32_t DEFAULT_PORT = 9042;
constexpr std::int32_t DEFAULT_METADATA_PORT = 29080;
constexpr std::int32_t DEFAULT_CONSISTENCY = 1;  // ONE
constexpr std::int32_t MOST_PAGE_ROWS = 100'000;
constexpr std::int32_t DEFAULT_CURSOR_MEMORY = 256;  // MiB
constexpr std::int32_t DEFAULT_STRING_LEN = 256;
constexpr std::int32_t DEFAULT_BINARY_LEN = 1024;
constexpr std::int32_t UNSIZED_COLUMN_LEN = 4000;  // of both, where columns are not short
// Significant digits of floats and doubles as text; 0: the shortest that read back the same.
constexpr std::int32_t NUMBER_TEXT_DIGITS = 7;
constexpr std::int32_t SHORTEST_DIGITS = 0;
// Both user and password, where a server demands them and neither is set.
constexpr char FALLBACK_CREDENTIAL[] = "guestuser";

// What a DSN, a connection string and a settings block set.
struct cass_settings {
    cass_string *dsn;
    cass_string *user;
    cass_string *password;
    cass_string *server;  // replaced by the server that answered
    cass_string *driver;  // as a connection string names it
    cass_string *bundle_path;
    cass_string *keyspace;
    cass_string *entropy_file;
    cass_string *certificate_file;
    cass_string *private_key_file;
    cass_string *public_key_file;
    std::int32_t port;  // 0: from the server text, else 9042
    std::int32_t metadata_port;
    std::int32_t ipv6;
    std::int32_t astra;
    std::int32_t encrypt;
    std::int32_t ssl_active;  // encrypt, as this session keeps it
    std::int32_t trust_server_certificate;
    std::int32_t verify_host;         // 0: not said; see below
    std::int32_t logon_timeout;       // milliseconds
    std::int32_t connection_timeout;  // milliseconds; stored only
    std::int32_t rcvbuffer;
    std::int32_t keepalive;
    std::int32_t consistency;      // native protocol consistency code
    std::int32_t standard;         // 1: the connection follows standard_conduct
    std::int32_t page_size;        // rows; 0: what the conduct says
    std::int32_t read_timeout;     // of a request and its reply, milliseconds; 0: without limit
    std::int32_t cursor_memory;    // MiB that the rows of a scrolling cursor may take; 0: the usual
    std::int32_t string_len;       // column size of text columns
    std::int32_t binary_len;       // column size of binary columns
    std::int32_t long_text;        // 1: text and blob are long types, where descriptions are exact
    std::int32_t plain_types;      // 1: uuid, time and blob are text
    std::int32_t allow_filtering;  // 1: a SELECT with a WHERE allows filtering
    std::int32_t reconnect;        // 1: a lost connection is made whole
    std::int32_t load_balance;     // 1: the list of servers is walked from a random one on
    std::uint64_t given;           // what the connection string gave, by row of the settings' table
    char log_file[512];            // empty: standard error
};

// Whether the name on the server's certificate counts.
enum : std::int32_t { VERIFY_HOST_YES = 1, VERIFY_HOST_NO = 2 };

// The texts, which the record owns, and the numbers that disconnecting sets to 0. The others stay.
inline constexpr cass_string *cass_settings::*cass_setting_texts[] = {
    &cass_settings::dsn,
    &cass_settings::user,
    &cass_settings::password,
    &cass_settings::server,
    &cass_settings::driver,
    &cass_settings::bundle_path,
    &cass_settings::keyspace,
    &cass_settings::entropy_file,
    &cass_settings::certificate_file,
    &cass_settings::private_key_file,
    &cass_settings::public_key_file,
};
inline constexpr std::int32_t cass_settings::*cass_setting_numbers_reset[] = {
    &cass_settings::metadata_port,
    &cass_settings::astra,
    &cass_settings::encrypt,
    &cass_settings::ssl_active,
    &cass_settings::trust_server_certificate,
    &cass_settings::verify_host,
    &cass_settings::logon_timeout,
    &cass_settings::rcvbuffer,
    &cass_settings::keepalive,
    &cass_settings::standard,
    &cass_settings::page_size,
    &cass_settings::read_timeout,
    &cass_settings::cursor_memory,
    &cass_settings::long_text,
    &cass_settings::plain_types,
    &cass_settings::allow_filtering,
    &cass_settings::reconnect,
    &cass_settings::load_balance,
};

// Requests that were given up before their replies came: the frames that are dropped when they do.
constexpr std::int32_t MOST_LATE_REPLIES = 1024;
constexpr std::int32_t FRAME_HEADER_SIZE = 9;  // native protocol v4, section 2

struct cass_late_replies {
    std::int16_t stream;                      // of the next request
    std::int16_t streams[MOST_LATE_REPLIES];  // of replies that are still to come
    std::int32_t count;
    std::int32_t header_read;                 // bytes of a frame that was left in its header
    unsigned char header[FRAME_HEADER_SIZE];  // those
    std::int32_t body_left;                   // bytes to come of a frame left in its body
};

// A prepared statement that the connection has had: see core/wire/cass_prepared.h.
constexpr std::int32_t MOST_PREPARED = 256;

struct cass_prepared {
    cass_string *keyspace;  // that was in use; null: none
    cass_string *text;
    unsigned char *reply;
    std::int32_t reply_length;
    std::uint32_t used;  // the higher the later
};

struct cass_conn {
    cass_handle head;             // parent: cass_env
    const cass_conduct *conduct;  // never null

    // Transport.
    std::int32_t socket;      // -1: none
    std::int32_t wake_fd;     // an eventfd that wakes the thread which waits for a reply; -1: none
    std::int32_t odbc_level;  // 2 or 3
    std::int32_t connecting;
    std::int32_t connected;
    std::int32_t ms_timeout;  // connect time-out in force, milliseconds

    // While a session starts, by the monotonic clock in milliseconds; 0: without limit.
    std::int64_t logon_ends;    // of the whole call
    std::int64_t attempt_ends;  // of the address in work: no read waits longer
    cass_string *host;          // of the server in use, without its port; null: the setting's

    // Of the request in work, by the same clock; a lost connection is made whole within it.
    std::int64_t request_ends;
    std::int32_t request_limit;  // what has failed then: a cass_exchange_failure

    // Makes another session in place of one that is lost: core/session/cass_reconnect.h. Null: the
    // connection stays as it is. Both are under exchange_lock.
    bool (*make_whole)(cass_conn *conn, cass_stmt *stmt);
    cass_stmt *mended_for;  // whose request waits while that session starts; null: nobody's
    std::int32_t leaving;   // another thread ends the session: it is not to be made whole
    std::uint32_t session;  // counts sessions; written under exchange_lock and session_lock

    cass_settings settings;

    // TLS.
    ssl_info *ssl;
    unsigned char *ca_bytes;
    std::int32_t ca_length;
    unsigned char *certificate_bytes;
    std::int32_t certificate_length;
    unsigned char *private_key_bytes;
    std::int32_t private_key_length;

    // Reply of the metadata service.
    cass_string **contact_points;
    std::int32_t *contact_sockets;
    std::int32_t contact_count;
    std::int32_t contact_used;  // index of the one that the session goes to
    cass_string *region;
    std::int32_t round_robin_port;

    // Session.
    cass_string *current_keyspace;   // last keyspace that the server reported
    std::int32_t keyspace_changes;   // replies that changed it, counted as they come
    std::int32_t keyspace_known_at;  // which of them current_keyspace is from
    char cql_version[64];            // last CQL_VERSION of SUPPORTED, "0.0.0" before
    std::int32_t snappy_offered;
    std::int32_t lz4_offered;
    std::int32_t compression;       // 0 none, 1 snappy (never), 2 lz4
    std::int32_t results_busy;      // an unread catalog result occupies the connection
    cass_stmt *results_busy_stmt;   // only ever cleared
    std::int32_t float_precision;   // significant digits of a float as text
    std::int32_t double_precision;  // significant digits of a double as text
    cass_packet *spare_packet;      // a finished reply's block, kept for the page after next
    unsigned char *compressed;      // block for compressed bodies, kept between frames
    std::size_t compressed_capacity;
    std::size_t recent_need;  // largest frame of late, in bytes; decays frame by frame
    cass_late_replies late;
    cass_prepared *prepared;  // MOST_PREPARED of them, or null
    std::int32_t prepared_count;
    std::uint32_t prepared_uses;
    std::int32_t socket_dead;  // the connection broke: nothing goes over it any more

    // Attributes.
    std::int32_t autocommit;
    std::uint32_t login_timeout;  // seconds
    std::uint32_t access_mode;
    std::uint32_t txn_isolation;
    std::uint32_t attr_connection_timeout;
    std::uint32_t auto_ipd;
    std::uint32_t metadata_id;
    SQLULEN quiet_mode;  // a window handle
    std::int32_t ansi_app;
    cass_stmt_attrs stmt_defaults;
    std::int32_t next_stmt_number;

    cass_handle *children;    // statements and descriptors, newest first
    cass_lock exchange_lock;  // held from a frame's send to the end of its reply's read
    cass_lock session_lock;   // leaf lock of what threads share; see core/net/cass_conn_shared.h
    cass_lock child_list_lock;
    cass_lock api_lock;

    // Kept by name, nothing uses them.
    std::int32_t random_start;
    // Kept by name, nothing sets them: what asks for them finds 0.
    std::int32_t async_count;
    std::int32_t in_transaction;
};

// One chunk of data at execution. A negative length (SQL NULL) owns no bytes.
struct cass_put_chunk {
    std::int32_t length;
    unsigned char *bytes;
    cass_put_chunk *next;
};

// In `finished`: the cell is of the last row of a rowset, which is none that SQLGetData may mean.
constexpr std::int32_t CELL_OF_ROWSET = 2;

// The current row's cell of a column, by its ODBC SQL type number in data_type: SQL_CHAR and
// SQL_BINARY use value.bytes, SQL_INTEGER integer, SQL_BIGINT bigint, SQL_FLOAT real, SQL_DOUBLE
// dbl, SQL_DATE date, SQL_TIMESTAMP timestamp, SQL_GUID guid, SQL_NUMERIC numeric. CELL_WIRE uses
// wire: the server's bytes as they came, and their text behind them in the buffer.
constexpr std::int32_t CELL_WIRE = 1000;
constexpr std::int32_t NO_TEXT_YET = -1;

struct cass_data_storage {
    std::int32_t data_type;     // 0 until the first row
    std::int32_t isnull;        // the cell is SQL NULL
    std::int32_t alloc_length;  // bytes of a text or binary value, or of the wire's
    std::int32_t offset;        // bytes of it already delivered
    std::int32_t finished;      // not 0: a further read gives SQL_NO_DATA, or HYC00
    std::int32_t wide_left;     // units of wide text from byte counted_at on; 0: not counted
    std::uint32_t capacity;     // bytes that buffer has room for
    std::int32_t counted_at;
    union {
        unsigned char *bytes;  // null when alloc_length is 0, else buffer; not terminated
        std::int32_t integer;
        std::int64_t bigint;
        float real;
        double dbl;
        SQL_DATE_STRUCT date;
        SQL_TIMESTAMP_STRUCT timestamp;
        SQLGUID guid;
        SQL_NUMERIC_STRUCT numeric;  // precision 255: a value that 128 bits cannot hold
        struct {
            unsigned char *bytes;
            std::int32_t text_length;  // or NO_TEXT_YET
            std::int32_t as_text;      // what offset counts: the text's bytes, or the wire's
        } wire;
    } value;
    unsigned char *buffer;  // owned; grows from row to row, given back between pages
};
static_assert(sizeof(cass_data_storage::value) == 24);

struct cass_field;

// Decodes the cell at the packet's read position into the field's storage; see
// core/cell/cass_data.h.
using cass_cell_decoder = SQLRETURN (*)(cass_stmt *stmt, cass_packet *packet, cass_field *field);

// One column or parameter of any descriptor. The first cache line is all that fetching touches.
struct cass_field {
    cass_data_storage data_storage;
    cass_cell_decoder decode;     // chosen with the column's type; null: it has none
    std::int32_t cql_type;        // option id of the native protocol
    cass_type_option *type_tree;  // owned: of a nested or custom type; null where it was not kept

    std::int32_t consise_type;  // SQL_DESC_CONCISE_TYPE; the C type in ARD and APD
    std::int32_t target_type;   // APD: the SQL type given to SQLBindParameter; ARD: the C type
    std::int32_t parameter_type;
    std::int32_t precision;
    std::int32_t scale;
    std::int32_t type;  // SQL_DESC_TYPE
    std::int32_t datetime_interval_code;
    std::int32_t datetime_interval_precision;
    SQLLEN octet_length;
    SQLLEN length;
    SQLLEN display_size;
    void *data_ptr;          // application memory, as are the next two: only touched by memcpy
    void *indicator_ptr;     // SQLLEN
    void *octet_length_ptr;  // SQLLEN

    std::int32_t auto_unique;
    std::int32_t case_sensitive;
    std::int32_t fixed_prec_scale;
    std::int32_t nullable;
    std::int32_t num_prec_radix;
    std::int32_t searchable;
    std::int32_t unsigned_attr;
    std::int32_t updatable;
    std::int32_t rowver;
    std::int32_t unnamed;
    std::int32_t from_spec;          // 1: filled by the column specification kept on the statement
    cass_cell_decoder whole_decode;  // where `decode` cuts what this one gives; else null

    cass_string *catalog_name;
    cass_string *keyspace_name;
    cass_string *table_name;
    cass_string *column_name;
    cass_string *custom_type_name;  // local type name of a custom type: its class
    cass_string *full_type_name;    // of a nested type where it is told, in place of the next two
    const char *literal_prefix;     // constants, as are the next three; null: none
    const char *literal_suffix;
    const char *local_type_name;  // null beside a custom_type_name
    const char *type_name;

    cass_put_chunk *put_data;
    cass_put_chunk *put_data_tail;  // last chunk of put_data, where the next one goes
};

struct cass_desc {
    cass_handle head;          // parent: cass_conn
    std::int32_t field_count;  // SQL_DESC_COUNT; size of fields
    std::int32_t found_count;  // columns that the metadata declared; IRD and IPD
    std::int32_t found_valid;  // 1 once found_count was set
    std::int32_t implicit;     // 1: made with its statement
    std::int32_t app_desc;     // 1 for ARD and APD, 0 for IRD and IPD
    std::int32_t bind_type;    // 0: column-wise, else the row stride in bytes
    void *bind_offset_ptr;     // SQLLEN in application memory
    SQLUSMALLINT *array_status_ptr;
    void *rows_processed_ptr;  // SQLULEN in application memory
    SQLULEN array_size;
    cass_stmt *stmt;               // owning statement, or the statement that it is installed on
    cass_string *shared_keyspace;  // owned: one name for all columns, whose records borrow its text
    cass_string *shared_table;
    cass_field bookmark_field;  // record 0
    cass_field *fields;         // records 1 to field_count
    cass_lock api_lock;
};

// Whether a call of a statement is under way that SQLCancel of another thread can end.
enum cass_call_state : std::int32_t { CALL_NONE = 0, CALL_RUNNING, CALL_CANCELLED };

struct cass_stmt {
    cass_handle head;   // parent: cass_conn
    cass_stmt *served;  // of an inner statement: the one whose call it serves; else null
    cass_call_state call_state;

    // Current descriptors; ARD and APD may be the application's.
    cass_desc *ird;
    cass_desc *ipd;
    cass_desc *ard;
    cass_desc *apd;
    cass_desc *implicit_ird;
    cass_desc *implicit_ipd;
    cass_desc *implicit_ard;
    cass_desc *implicit_apd;

    // Text and what the rewriter found in it.
    cass_string *sql_text;    // the processed text while prepared or waiting for data
    cass_string *query_text;  // copy of a direct execution's text for its next pages
    std::int32_t found_param_count;
    std::int32_t where_offset, from_offset, group_offset, order_offset;
    std::int32_t values_offset, into_offset, set_offset;
    std::int32_t verb_code;
    std::int32_t select_has_params;
    cass_string *exec_name;
    cass_string *cursor_name;
    std::int32_t stmt_number;

    // Execution.
    std::int32_t prepared;
    std::int32_t executed;
    std::int32_t params_rebound;
    cass_string *prepare_warning;  // that came with its PREPARE, for the first execution
    unsigned char *prepared_id;
    std::int32_t prepared_id_len;
    std::uint32_t prepared_session;  // of the connection, to which the id belongs
    unsigned char *param_buffer;     // encoded values of the last request, repeated for next pages
    std::int32_t param_buffer_len;
    std::int32_t param_row;  // parameter set in work, from 0
    std::int32_t more_results;
    std::int64_t row_count;
    std::int32_t total_row_count;
    std::int32_t error_count, ok_count, info_count;
    std::int32_t current_dae_param, current_dae_op, current_dae_first;

    // Rows.
    cass_page page;
    unsigned char *meta_bytes;  // owned: the column specification that the IRD was filled from
    std::int32_t meta_length;
    std::int32_t no_memory;       // 1: a request found no memory; cleared with each page's
    std::int32_t failed_for_now;  // 1: it failed as another attempt may not; the same
    cass_internal_rs *internal_rs;
    cass_cursor *cursor;  // owned: of a result that scrolls, whose page or local rows it holds
    SQLULEN row_limit;    // rows of the result that are wanted; 0: all
    SQLULEN rows_taken;   // of those that were asked for
    std::int32_t data_waiting;
    SQLULEN rowset_position;         // row of the rowset in work, from 0
    cass_diag_record *kept_records;  // of a page that did not come, for the next fetch

    cass_stmt_attrs attrs;
    void *fetch_bookmark_ptr;
    cass_lock api_lock;

    // Kept by name, nothing uses them.
    cass_string *rpc_params;
    cass_string *rpc_null_params;
    // Kept by name, nothing sets them: what asks for them finds 0.
    std::int32_t async_op;
    std::int32_t row_count_valid;
};

static_assert(std::is_trivial_v<cass_env> && std::is_trivial_v<cass_conn> &&
              std::is_trivial_v<cass_stmt> && std::is_trivial_v<cass_desc> &&
              std::is_trivial_v<cass_field>);
static_assert(offsetof(cass_env, head) == 0 && offsetof(cass_conn, head) == 0 &&
              offsetof(cass_stmt, head) == 0 && offsetof(cass_desc, head) == 0);

// The connection of a statement or descriptor, and the environment of a connection. Never null for
// a live handle.
inline cass_env *conn_env(const cass_conn *conn)
{
    return reinterpret_cast<cass_env *>(conn->head.parent);
}

inline cass_conn *stmt_conn(const cass_stmt *stmt)
{
    return reinterpret_cast<cass_conn *>(stmt->head.parent);
}

inline cass_conn *desc_conn(const cass_desc *desc)
{
    return reinterpret_cast<cass_conn *>(desc->head.parent);
}

// The statement that the application knows: it is cancelled, and its time-out counts.
inline cass_stmt *stmt_called(cass_stmt *stmt)
{
    return stmt->served != nullptr ? stmt->served : stmt;
}

// SQLCancel has ended the call that the statement is in.
inline bool stmt_is_cancelled(cass_stmt *stmt)
{
    return shared_get(&stmt_called(stmt)->call_state) == CALL_CANCELLED;
}

// From any handle to its connection or environment, by the tag; null for a null handle, an unknown
// tag, or (connection) an environment.
inline cass_conn *cass_handle_conn(cass_handle *handle)
{
    if (handle == nullptr)
        return nullptr;
    switch (handle->handle_tag) {
    case CASS_CONNECTION_HANDLE:
        return reinterpret_cast<cass_conn *>(handle);
    case CASS_STATEMENT_HANDLE:
    case CASS_DESCRIPTOR_HANDLE:
        return reinterpret_cast<cass_conn *>(handle->parent);
    default:
        return nullptr;
    }
}

inline cass_env *cass_handle_env(cass_handle *handle)
{
    if (handle != nullptr && handle->handle_tag == CASS_ENVIRONMENT_HANDLE)
        return reinterpret_cast<cass_env *>(handle);
    const cass_conn *conn = cass_handle_conn(handle);
    return conn == nullptr ? nullptr : conn_env(conn);
}

// Columns of a result: the record count, limited by found_count once metadata was decoded.
inline std::int32_t cass_stmt_column_count(const cass_desc *ird)
{
    return ird->found_valid && ird->found_count < ird->field_count ? ird->found_count
                                                                   : ird->field_count;
}

#endif
