// The fields of a connection that its threads share, each under session_lock.
#include "core/net/cass_conn_shared.h"

void cass_set_conn_text(cass_conn *conn, cass_string **field, cass_string *text)
{
    const cass_lock_guard hold(&conn->session_lock);
    cass_string_free(*field);
    *field = text;
}

void cass_set_keyspace(cass_conn *conn, cass_string *text, std::int32_t change)
{
    const cass_lock_guard hold(&conn->session_lock);
    if (change < conn->keyspace_known_at) {
        cass_string_free(text);
        return;
    }
    cass_set_conn_text(conn, &conn->current_keyspace, text);
    if (text != nullptr)
        conn->keyspace_known_at = change;
}

bool cass_copy_conn_text(cass_conn *conn, cass_string *const *field, cass_string **copy)
{
    const cass_lock_guard hold(&conn->session_lock);
    *copy = cass_string_copy(*field);
    return *field == nullptr || *copy != nullptr;
}

void cass_set_busy(cass_conn *conn, cass_busy_mark mark)
{
    const cass_lock_guard hold(&conn->session_lock);
    conn->results_busy = mark.busy;
    conn->results_busy_stmt = mark.stmt;
}

cass_busy_mark cass_copy_busy(cass_conn *conn)
{
    const cass_lock_guard hold(&conn->session_lock);
    return {conn->results_busy, conn->results_busy_stmt};
}

cass_stmt_attrs cass_copy_stmt_defaults(cass_conn *conn)
{
    const cass_lock_guard hold(&conn->session_lock);
    return conn->stmt_defaults;
}
