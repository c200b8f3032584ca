// The prepared statements of a connection: the bodies of PREPARED replies by keyspace and text, so
// that a text which is prepared again costs no round trip. The least recently used one goes first.
// Threads share them, under session_lock.
#ifndef CORE_WIRE_CASS_PREPARED_H
#define CORE_WIRE_CASS_PREPARED_H

#include "core/wire/cass_pkt.h"

// The reply to the PREPARE of this text in the keyspace in use, as the server gave it, owned by
// `stmt`. Null when it is not kept, or when memory ran out; nothing is posted then.
cass_packet *cass_prepared_find(cass_stmt *stmt, const cass_string *text);
// Keeps a reply, whose read position is at its kind. Without memory, or when it is too large, it is
// not kept.
void cass_prepared_keep(cass_conn *conn, const cass_string *text, const cass_packet *reply);
// Forgets the reply to one text, or all of them.
void cass_prepared_forget(cass_conn *conn, const cass_string *text);
void cass_prepared_forget_all(cass_conn *conn);

#endif
