// Making and releasing the four handle records.
//
// Ownership: an environment owns its connections, a connection its statements and descriptors, a
// statement its implicit descriptors. A free function unlinks the record from its parent's list.
#ifndef CORE_HANDLE_CASS_HANDLE_H
#define CORE_HANDLE_CASS_HANDLE_H

#include "core/record/cass_handles.h"

// Null when memory or locks run out; nothing is posted.
cass_env *cass_alloc_env();
cass_conn *cass_alloc_conn(cass_env *env, int level);
// The statement copies the connection's log mask and attribute defaults and takes its next number.
cass_stmt *cass_alloc_stmt(cass_conn *conn);
// A statement that only carries a request of the driver's own: on no list and with no number, so
// that nothing of it reaches the application. Null when memory runs out.
cass_stmt *cass_alloc_throwaway_stmt(cass_conn *conn);
// An explicit descriptor, an ARD or APD to be. The implicit ones come and go with their statement
// and stand on no list.
cass_desc *cass_alloc_desc(cass_conn *conn);

// Destroys all connections, then the environment.
void cass_free_env(cass_env *env);
// Ends a live session, destroys the children and the record. list_locked: the caller holds
// connection_list_lock.
void cass_free_conn(cass_conn *conn, int list_locked);
// list_locked: the caller holds child_list_lock.
void cass_free_stmt(cass_stmt *stmt, int list_locked);
// Null is accepted.
void cass_free_throwaway_stmt(cass_stmt *stmt);
using held_stmt = held<cass_stmt, &cass_free_throwaway_stmt>;
// Statements of the connection that use it as ARD or APD fall back to their implicit ones.
void cass_free_desc(cass_desc *desc, int list_locked);

// Back to the disconnected state: a live session is ended, texts are freed, most settings go back to
// their defaults; log_mask, log_file, port, ipv6, consistency, attributes, children and the locks
// stay.
void cass_forget_settings(cass_conn *conn);
// The same, and all attributes go back to their defaults.
void cass_reset_conn(cass_conn *conn);
// Forgets the reply of the metadata service: contact points, region and its port.
void cass_free_contact_points(cass_conn *conn);
// The same, and the certificates and keys that a bundle has left.
void cass_forget_bundle(cass_conn *conn);
// Ends the session: TLS, the socket, the connected and connecting marks.
void cass_logout(cass_conn *conn);

#endif
