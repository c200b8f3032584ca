// Making and releasing the handle records. Lists hold the newest record first; a list's lock is
// held only across the list operation.
#include "core/handle/cass_handle.h"

#include <sys/socket.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <initializer_list>

#include "core/describe/cass_field.h"
#include "core/diag/cass_err.h"
#include "core/handle/cass_cursor_kind.h"
#include "core/local/cass_cursor.h"
#include "core/log/cass_log.h"
#include "core/net/cass_conn.h"
#include "core/net/cass_conn_shared.h"
#include "core/net/cass_ssl.h"
#include "core/wire/cass_pkt.h"
#include "core/wire/cass_prepared.h"

constexpr char UNKNOWN_CQL_VERSION[] = "0.0.0";

template <typename Record>
static Record *new_record()
{
    return static_cast<Record *>(std::calloc(1, sizeof(Record)));
}

// Initialises all locks or none; false when the system has none left.
static bool init_locks(std::initializer_list<cass_lock *> locks)
{
    for (const auto *it = locks.begin(); it != locks.end(); ++it) {
        if (cass_lock_init(*it) == 0)
            continue;
        while (it != locks.begin())
            cass_lock_destroy(*--it);
        return false;
    }
    return true;
}

static void unlink_child(cass_conn *conn, cass_handle *child, int list_locked)
{
    if (!list_locked)
        cass_lock_enter(&conn->child_list_lock);
    for (cass_handle **link = &conn->children; *link != nullptr; link = &(*link)->next_sibling) {
        if (*link == child) {
            *link = child->next_sibling;
            break;
        }
    }
    if (!list_locked)
        cass_lock_leave(&conn->child_list_lock);
}

static void link_child(cass_conn *conn, cass_handle *child)
{
    cass_lock_enter(&conn->child_list_lock);
    child->next_sibling = conn->children;
    conn->children = child;
    cass_lock_leave(&conn->child_list_lock);
}

// Calls `visit` for every statement (or explicit descriptor) of the connection.
template <typename Record, typename Visit>
static void for_each_child(cass_conn *conn, std::int32_t tag, int list_locked, Visit visit)
{
    if (!list_locked)
        cass_lock_enter(&conn->child_list_lock);
    for (cass_handle *child = conn->children; child != nullptr; child = child->next_sibling) {
        if (child->handle_tag == tag)
            visit(reinterpret_cast<Record *>(child));
    }
    if (!list_locked)
        cass_lock_leave(&conn->child_list_lock);
}

// ---- Environment -------------------------------------------------------------------------------

cass_env *cass_alloc_env()
{
    auto *env = new_record<cass_env>();
    if (env == nullptr)
        return nullptr;
    env->head.handle_tag = CASS_ENVIRONMENT_HANDLE;
    env->odbc_version = SQL_OV_ODBC2;
    if (!init_locks({&env->connection_list_lock, &env->attribute_lock, &env->log_lock})) {
        std::free(env);
        return nullptr;
    }
    return env;
}

void cass_free_env(cass_env *env)
{
    cass_lock_enter(&env->connection_list_lock);
    while (env->connections != nullptr &&
           env->connections->head.handle_tag == CASS_CONNECTION_HANDLE)
        cass_free_conn(env->connections, 1);
    cass_lock_leave(&env->connection_list_lock);

    cass_lock_destroy(&env->connection_list_lock);
    cass_lock_destroy(&env->attribute_lock);
    cass_lock_destroy(&env->log_lock);
    cass_diag_clear(&env->head);
    cass_ssl_term(env);
    env->head.handle_tag = 0;
    std::free(env);
}

// ---- Connection --------------------------------------------------------------------------------

// The attribute fields at their allocation defaults.
static void cass_default_conn_attrs(cass_conn *conn)
{
    conn->autocommit = SQL_AUTOCOMMIT_ON;
    conn->login_timeout = 0;
    conn->access_mode = SQL_MODE_READ_WRITE;
    conn->txn_isolation = SQL_TXN_READ_COMMITTED;
    // Requests of other threads read it.
    shared_put<std::uint32_t>(&conn->attr_connection_timeout, 0);
    conn->auto_ipd = 0;
    conn->metadata_id = 0;
    conn->quiet_mode = 0;
    conn->ansi_app = 0;
    conn->stmt_defaults = {};
    conn->stmt_defaults.cursor_type = SQL_CURSOR_FORWARD_ONLY;
    conn->stmt_defaults.concurrency = SQL_CONCUR_READ_ONLY;
    conn->stmt_defaults.retrieve_data = SQL_RD_ON;
    conn->stmt_defaults.rowset_size = 1;
    conn->stmt_defaults.bind_type = SQL_BIND_BY_COLUMN;
}

// The session of a connection that has none, and the settings that have a default.
static void default_session(cass_conn *conn)
{
    conn->socket = -1;
    shared_put(&conn->settings.string_len, DEFAULT_STRING_LEN);
    shared_put(&conn->settings.binary_len, DEFAULT_BINARY_LEN);
    std::strcpy(conn->cql_version, UNKNOWN_CQL_VERSION);
}

cass_conn *cass_alloc_conn(cass_env *env, int level)
{
    auto *conn = new_record<cass_conn>();
    if (conn == nullptr)
        return nullptr;
    conn->head.handle_tag = CASS_CONNECTION_HANDLE;
    conn->head.parent = &env->head;
    conn->head.log_mask = env->head.log_mask;
    conn->conduct = &default_conduct;
    conn->wake_fd = -1;
    conn->odbc_level = env->odbc_version == SQL_OV_ODBC2 ? 2 : level;
    conn->settings.metadata_port = DEFAULT_METADATA_PORT;
    conn->settings.consistency = DEFAULT_CONSISTENCY;
    conn->float_precision = NUMBER_TEXT_DIGITS;
    conn->double_precision = NUMBER_TEXT_DIGITS;
    default_session(conn);
    cass_default_conn_attrs(conn);
    if (!init_locks(
            {&conn->exchange_lock, &conn->session_lock, &conn->child_list_lock, &conn->api_lock})) {
        std::free(conn);
        return nullptr;
    }
    cass_lock_enter(&env->connection_list_lock);
    conn->head.next_sibling = reinterpret_cast<cass_handle *>(env->connections);
    env->connections = conn;
    cass_lock_leave(&env->connection_list_lock);
    return conn;
}

void cass_free_contact_points(cass_conn *conn)
{
    for (std::int32_t i = 0; i < conn->contact_count; ++i) {
        if (conn->contact_points != nullptr)
            cass_string_free(conn->contact_points[i]);
        if (conn->contact_sockets != nullptr && conn->contact_sockets[i] != -1)
            close(conn->contact_sockets[i]);
    }
    std::free(conn->contact_points);
    std::free(conn->contact_sockets);
    conn->contact_points = nullptr;
    conn->contact_sockets = nullptr;
    conn->contact_count = 0;
    conn->contact_used = 0;
    conn->round_robin_port = 0;
    free_string(&conn->region);
}

void cass_forget_bundle(cass_conn *conn)
{
    free_bytes(&conn->ca_bytes, &conn->ca_length);
    free_bytes(&conn->certificate_bytes, &conn->certificate_length);
    free_bytes(&conn->private_key_bytes, &conn->private_key_length);
    cass_free_contact_points(conn);
}

static void free_settings(cass_conn *conn)
{
    for (cass_string *cass_settings::*text : cass_setting_texts)
        free_string(&(conn->settings.*text));
    free_string(&conn->current_keyspace);
    free_string(&conn->host);
    cass_prepared_forget_all(conn);
    cass_forget_bundle(conn);
}

static void shut_socket(cass_conn *conn)
{
    const cass_lock_guard hold(&conn->session_lock);
    if (conn->socket >= 0)
        shutdown(conn->socket, SHUT_RDWR);
}

// The TLS session must not go while another thread is within a request: that one is woken by the
// end of its socket. Nobody else's is shut down, as a child process may share it with its parent.
void cass_logout(cass_conn *conn)
{
    if (!cass_lock_try_enter(&conn->exchange_lock)) {
        shared_put(&conn->leaving, 1);
        shut_socket(conn);
        conn_wake(conn);
        cass_lock_enter(&conn->exchange_lock);
        shared_put(&conn->leaving, 0);
    }
    conn->make_whole = nullptr;
    cass_ssl_stop(conn);
    cass_close_socket(conn);
    cass_lock_leave(&conn->exchange_lock);
    conn->connected = 0;
    conn->connecting = 0;
}

void cass_forget_settings(cass_conn *conn)
{
    cass_logout(conn);
    // Statements of other threads may be within a request, or read what goes here.
    const cass_lock_guard exchange(&conn->exchange_lock);
    const cass_lock_guard session(&conn->session_lock);
    free_settings(conn);
    for (std::int32_t cass_settings::*number : cass_setting_numbers_reset)
        shared_put(&(conn->settings.*number), 0);
    for (std::int32_t *field : {&conn->results_busy, &conn->next_stmt_number, &conn->ms_timeout,
                                &conn->snappy_offered, &conn->lz4_offered, &conn->compression})
        shared_put(field, 0);
    conn->results_busy_stmt = nullptr;
    default_session(conn);
}

void cass_reset_conn(cass_conn *conn)
{
    cass_forget_settings(conn);
    const cass_lock_guard session(&conn->session_lock);
    cass_default_conn_attrs(conn);
}

static void free_children(cass_conn *conn)
{
    cass_lock_enter(&conn->child_list_lock);
    while (conn->children != nullptr) {
        if (conn->children->handle_tag == CASS_STATEMENT_HANDLE)
            cass_free_stmt(reinterpret_cast<cass_stmt *>(conn->children), 1);
        else if (conn->children->handle_tag == CASS_DESCRIPTOR_HANDLE)
            cass_free_desc(reinterpret_cast<cass_desc *>(conn->children), 1);
        else
            break;
    }
    cass_lock_leave(&conn->child_list_lock);
}

void cass_free_conn(cass_conn *conn, int list_locked)
{
    const cass_cancel_guard whole;
    cass_env *env = conn_env(conn);
    free_children(conn);
    cass_diag_clear(&conn->head);
    cass_logout(conn);
    cass_packet_drop_spare(conn);
    if (conn->wake_fd >= 0)
        close(conn->wake_fd);
    cass_log_forget_conn(conn);
    free_settings(conn);
    for (cass_lock *lock :
         {&conn->exchange_lock, &conn->session_lock, &conn->child_list_lock, &conn->api_lock})
        cass_lock_destroy(lock);

    if (!list_locked)
        cass_lock_enter(&env->connection_list_lock);
    for (cass_conn **link = &env->connections; *link != nullptr;
         link = reinterpret_cast<cass_conn **>(&(*link)->head.next_sibling)) {
        if (*link == conn) {
            *link = reinterpret_cast<cass_conn *>(conn->head.next_sibling);
            break;
        }
    }
    if (!list_locked)
        cass_lock_leave(&env->connection_list_lock);
    conn->head.handle_tag = 0;
    std::free(conn);
}

// ---- Descriptors -------------------------------------------------------------------------------

// A descriptor that is on no list.
static cass_desc *new_desc(cass_conn *conn, int implicit, int app_desc, cass_stmt *owner)
{
    auto *desc = new_record<cass_desc>();
    if (desc == nullptr)
        return nullptr;
    desc->head.handle_tag = CASS_DESCRIPTOR_HANDLE;
    desc->head.parent = &conn->head;
    desc->head.log_mask = shared_get(&conn->head.log_mask);
    desc->implicit = implicit;
    desc->app_desc = app_desc;
    desc->array_size = 1;
    desc->stmt = owner;
    cass_field_init(&desc->bookmark_field);
    if (cass_lock_init(&desc->api_lock) != 0) {
        std::free(desc);
        return nullptr;
    }
    return desc;
}

// Releases the record alone; whoever calls has unlinked it.
static void destroy_desc(cass_desc *desc)
{
    if (desc == nullptr)
        return;
    cass_desc_clear_fields(desc);
    cass_field_clear(&desc->bookmark_field);
    cass_diag_clear(&desc->head);
    cass_lock_destroy(&desc->api_lock);
    desc->head.handle_tag = 0;
    std::free(desc);
}

cass_desc *cass_alloc_desc(cass_conn *conn)
{
    cass_desc *desc = new_desc(conn, 0, 1, nullptr);
    if (desc != nullptr)
        link_child(conn, &desc->head);
    return desc;
}

void cass_free_desc(cass_desc *desc, int list_locked)
{
    cass_conn *conn = desc_conn(desc);
    // Not by the descriptor's own link to a statement: an application may have installed it on
    // several statements, and the link names only one of them.
    for_each_child<cass_stmt>(conn, CASS_STATEMENT_HANDLE, list_locked, [desc](cass_stmt *stmt) {
        if (stmt->ard == desc)
            stmt->ard = stmt->implicit_ard;
        if (stmt->apd == desc)
            stmt->apd = stmt->implicit_apd;
    });
    unlink_child(conn, &desc->head, list_locked);
    destroy_desc(desc);
}

// ---- Statements --------------------------------------------------------------------------------

static void destroy_stmt(cass_stmt *stmt)
{
    cass_free_cursor(stmt);
    cass_packet_unref(stmt->page.current_packet);
    cass_free_internal_rs(stmt, stmt->internal_rs);
    for (cass_desc *desc :
         {stmt->implicit_ird, stmt->implicit_ipd, stmt->implicit_ard, stmt->implicit_apd})
        destroy_desc(desc);
    for (cass_string *text : {stmt->sql_text, stmt->query_text, stmt->exec_name, stmt->cursor_name,
                              stmt->prepare_warning})
        cass_string_free(text);
    std::free(stmt->prepared_id);
    cass_page_end(&stmt->page);
    std::free(stmt->param_buffer);
    std::free(stmt->meta_bytes);
    cass_diag_free_list(&stmt->kept_records);
    cass_diag_clear(&stmt->head);
    cass_lock_destroy(&stmt->api_lock);
    stmt->head.handle_tag = 0;
    std::free(stmt);
}

cass_stmt *cass_alloc_throwaway_stmt(cass_conn *conn)
{
    auto *stmt = new_record<cass_stmt>();
    if (stmt == nullptr)
        return nullptr;
    if (cass_lock_init(&stmt->api_lock) != 0) {
        std::free(stmt);
        return nullptr;
    }
    stmt->head.handle_tag = CASS_STATEMENT_HANDLE;
    stmt->head.parent = &conn->head;
    stmt->head.log_mask = shared_get(&conn->head.log_mask);
    stmt->attrs = cass_copy_stmt_defaults(conn);
    // Limits and a cursor that scrolls are for the application's own results.
    stmt->attrs.cursor_type = SQL_CURSOR_FORWARD_ONLY;
    stmt->attrs.max_rows = 0;
    stmt->attrs.max_length = 0;
    stmt->implicit_ird = stmt->ird = new_desc(conn, 1, 0, stmt);
    stmt->implicit_ipd = stmt->ipd = new_desc(conn, 1, 0, stmt);
    stmt->implicit_ard = stmt->ard = new_desc(conn, 1, 1, stmt);
    stmt->implicit_apd = stmt->apd = new_desc(conn, 1, 1, stmt);
    if (stmt->ird == nullptr || stmt->ipd == nullptr || stmt->ard == nullptr ||
        stmt->apd == nullptr) {
        destroy_stmt(stmt);
        return nullptr;
    }
    stmt->ard->bind_type = static_cast<std::int32_t>(stmt->attrs.bind_type);
    return stmt;
}

cass_stmt *cass_alloc_stmt(cass_conn *conn)
{
    cass_stmt *stmt = cass_alloc_throwaway_stmt(conn);
    if (stmt == nullptr)
        return nullptr;
    stmt->attrs = cass_copy_stmt_defaults(conn);
    cass_settle_cursor(conn, &stmt->attrs);
    stmt->stmt_number = conn->next_stmt_number++;
    link_child(conn, &stmt->head);
    return stmt;
}

void cass_free_stmt(cass_stmt *stmt, int list_locked)
{
    cass_conn *conn = stmt_conn(stmt);
    for_each_child<cass_desc>(conn, CASS_DESCRIPTOR_HANDLE, list_locked, [stmt](cass_desc *desc) {
        if (desc->stmt == stmt)
            desc->stmt = nullptr;
    });
    unlink_child(conn, &stmt->head, list_locked);
    destroy_stmt(stmt);
}

void cass_free_throwaway_stmt(cass_stmt *stmt)
{
    if (stmt != nullptr)
        destroy_stmt(stmt);
}

// ---- Walking up --------------------------------------------------------------------------------
