// What threads of one connection share beyond the socket. The keyspace in use, the data source's
// name, the mark of an unread catalog result and the attribute defaults are read and replaced by
// connection calls and by every statement's thread: all under session_lock, a leaf lock that is
// held for a copy or an exchange of pointers and never while anything is posted or logged.
//
// Numbers among the settings are read and written by shared_get and shared_put (support/locks.h).
#ifndef CORE_NET_CASS_CONN_SHARED_H
#define CORE_NET_CASS_CONN_SHARED_H

#include "core/record/cass_handles.h"

// Replaces a text of the connection; the old one is freed. Takes `text`, which may be null.
void cass_set_conn_text(cass_conn *conn, cass_string **field, cass_string *text);
// The keyspace in use, by the change of that number, unless a later one is known. Takes `text`;
// null when memory ran out: the keyspace is not known then.
void cass_set_keyspace(cass_conn *conn, cass_string *text, std::int32_t change);
// A copy in *copy, which the caller frees; null where the field is. False, with nothing posted,
// when memory ran out.
bool cass_copy_conn_text(cass_conn *conn, cass_string *const *field, cass_string **copy);

struct cass_busy_mark {
    std::int32_t busy;  // an unread catalog result occupies the connection
    cass_stmt *stmt;    // whose, as far as it is known
};
void cass_set_busy(cass_conn *conn, cass_busy_mark mark);
cass_busy_mark cass_copy_busy(cass_conn *conn);

// The attribute defaults for a new statement.
cass_stmt_attrs cass_copy_stmt_defaults(cass_conn *conn);

#endif
