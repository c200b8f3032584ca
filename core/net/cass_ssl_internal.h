// What the handshake and the loading of certificates and keys share.
#ifndef CORE_NET_CASS_SSL_INTERNAL_H
#define CORE_NET_CASS_SSL_INTERNAL_H

#include <openssl/ssl.h>
#include <pthread.h>

#include <cstdlib>

#include "core/record/cass_handles.h"
#include "support/held.h"

constexpr int SSL_FAILED = -6;

// `ssl_shared` of an environment.
struct cass_ssl_context {
    const SSL_METHOD *method;
    SSL_CTX *ctx;
    BIO_METHOD *socket_method;  // of a session that stands
    // Over the trust anchors: OpenSSL's store does not bear a new source of anchors beside a
    // verification in another thread.
    pthread_rwlock_t anchors_lock;
};

// TLS state of a connection. The memory BIOs are null once the handshake is over.
struct ssl_info {
    BIO *read_bio;   // what the peer sent
    BIO *write_bio;  // what is to be sent
    SSL *ssl;
    bool waits_outside;  // a call must not wait in the socket
};

using held_bio = held<BIO, &BIO_free>;

// Logs and posts 08001 with the text. SSL_FAILED.
int cass_ssl_refuse(cass_conn *conn, const char *text);
// Posts and logs all that OpenSSL has to say of this thread's last calls: 08001 for each error, its
// code as native error. SSL_FAILED.
int cass_ssl_drain(cass_conn *conn);

// For PEM texts: an encrypted one counts as unreadable, nobody is asked for a passphrase.
int cass_ssl_no_passphrase(char *buffer, int size, int writing, void *data);

// 0, or SSL_FAILED with the fault of the peer's certificate posted: its own, or that it is not made
// out to the server's name, where that counts.
int cass_ssl_judge(cass_conn *conn, const SSL *ssl);
// Its two parts.
int cass_ssl_judge_chain(cass_conn *conn, const SSL *ssl);
int cass_ssl_judge_name(cass_conn *conn, const SSL *ssl);
bool cass_ssl_is_made_out_to(X509 *own, const char *host);
// The names on a certificate with commas between them, into NAMES_ROOM bytes, cut where they end.
constexpr std::size_t NAMES_ROOM = 512;
void cass_ssl_list_names(const X509 *own, char *names);
// The host that the socket goes to, or the one in the server setting, which then names one server.
// The caller frees it. Null without a server, and when memory ran out.
char *cass_ssl_host(const cass_conn *conn);
bool cass_ssl_is_address(const char *host);

// OpenSSL's own socket BIO but for SIGPIPE and time-outs; its app data is the ssl_info. Null when
// memory runs out.
BIO_METHOD *cass_ssl_socket_method();

// Whether a setting or a bundle names trust anchors.
bool cass_ssl_has_anchors(const cass_conn *conn);
// Adds them to those of the store. 0, or SSL_FAILED with records posted.
int cass_ssl_load_anchors(cass_conn *conn, X509_STORE *store);
// Entropy, then the client's key and certificate, then the server's name, all where they are set.
// 0, or SSL_FAILED with records posted.
int cass_ssl_load_session(cass_conn *conn, SSL *ssl);

#endif
