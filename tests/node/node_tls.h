// The TLS side of the scripted server's connections: a session over two memory BIOs, so that the
// bytes on the socket stay in the server's hands.
#ifndef TESTS_NODE_NODE_TLS_H
#define TESTS_NODE_NODE_TLS_H

#include <openssl/ssl.h>

#include "tests/node/node.h"

using tls_session = std::unique_ptr<SSL, decltype(&SSL_free)>;

// A session by these settings that waits for its client.
tls_session tls_accept(const node_tls &settings);
// Takes what is to go out.
bytes tls_take(SSL *ssl);
// What goes out for this data.
bytes tls_encrypt(SSL *ssl, std::string_view data);

#endif
