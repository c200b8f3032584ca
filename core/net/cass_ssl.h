// TLS 1.2 or 1.3 over the connection's own socket, by OpenSSL. The context belongs to the
// environment, the session to the connection.
#ifndef CORE_NET_CASS_SSL_H
#define CORE_NET_CASS_SSL_H

#include "core/record/cass_handles.h"

// Frees the context and clears the field. Null is accepted.
void cass_ssl_term(cass_env *env);

// Handshake over the open socket, then the judgement of the peer's certificate by the connection's
// settings. 0 with `ssl` and `ssl_active` set: from then on conn_read and conn_write go through it.
// -6 with 08001 or HY001 records posted on the connection and `ssl` null; the socket stays open.
// The caller holds exchange_lock.
int cass_ssl_start(cass_conn *conn);
// Frees the session without a word to or from the peer. `ssl_active` stays. The caller holds
// exchange_lock.
void cass_ssl_stop(cass_conn *conn);

// SSL_read and SSL_write: bytes done, or what OpenSSL gives below 1; 0 of a read is the end of the
// stream. Both wait for the socket where it does not block. After a failure errno is the system's
// error, or 0 when TLS itself failed. A peer that is gone raises no SIGPIPE in the application.
// Behind timeout_ms (below 0: waits without limit) they give CONN_TIMED_OUT, whatever part of a TLS
// record has come or gone, and a read that was woken CONN_WOKEN.
int cass_ssl_read(cass_conn *conn, void *buffer, int count, std::int64_t timeout_ms);
int cass_ssl_write(cass_conn *conn, const void *buffer, int count, std::int64_t timeout_ms);
// Whether the peer has not said that it ends the session, by what has come. Nothing is waited for.
bool cass_ssl_peer_is_there(cass_conn *conn);

#endif
