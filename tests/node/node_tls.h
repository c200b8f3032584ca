// The TLS side of the scripted server's connections.
#ifndef TESTS_NODE_NODE_TLS_H
#define TESTS_NODE_NODE_TLS_H

#include <openssl/ssl.h>

#include "tests/node/node.h"

using tls_session = std::unique_ptr<SSL, decltype(&SSL_free)>;

// A session by these settings that waits for its client.
tls_session tls_accept(const node_tls &settings);

#endif
