// TLS of the scripted server by OpenSSL.
#include "tests/node/node_tls.h"

#include <openssl/err.h>
#include <openssl/pem.h>

#include <cstdio>
#include <cstdlib>

static BIO *memory_with(const bytes &data)
{
    return BIO_new_mem_buf(data.data(), static_cast<int>(data.size()));
}

// The certificates of a PEM text, in their order.
template <typename Take>
static void each_certificate(const bytes &pem, Take take)
{
    BIO *bio = memory_with(pem);
    while (X509 *one = PEM_read_bio_X509(bio, nullptr, nullptr, nullptr)) {
        take(one);
        X509_free(one);
    }
    BIO_free(bio);
    ERR_clear_error();
}

tls_session tls_accept(const node_tls &settings)
{
    SSL_CTX *ctx = SSL_CTX_new(TLS_server_method());
    // Level 0 lets the server show what the driver must refuse: small keys, old versions.
    SSL_CTX_set_security_level(ctx, 0);
    SSL_CTX_set_min_proto_version(ctx, settings.version);
    SSL_CTX_set_max_proto_version(ctx, settings.version);
    // The first certificate is the server's, the others go with it.
    each_certificate(settings.chain, [ctx](X509 *one) {
        if (SSL_CTX_get0_certificate(ctx) == nullptr)
            SSL_CTX_use_certificate(ctx, one);
        else
            SSL_CTX_add1_chain_cert(ctx, one);
    });
    BIO *bio = memory_with(settings.key);
    EVP_PKEY *key = PEM_read_bio_PrivateKey(bio, nullptr, nullptr, nullptr);
    if (SSL_CTX_use_PrivateKey(ctx, key) != 1) {
        std::fputs("scripted server: no certificate and key for TLS\n", stderr);
        std::abort();
    }
    EVP_PKEY_free(key);
    BIO_free(bio);
    each_certificate(settings.client_issuers, [ctx](X509 *one) {
        X509_STORE_add_cert(SSL_CTX_get_cert_store(ctx), one);
        SSL_CTX_add_client_CA(ctx, one);
        SSL_CTX_set_verify(ctx, SSL_VERIFY_PEER | SSL_VERIFY_FAIL_IF_NO_PEER_CERT, nullptr);
    });
    tls_session session(SSL_new(ctx), SSL_free);
    SSL_CTX_free(ctx);
    return session;
}
