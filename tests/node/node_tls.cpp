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
static std::vector<X509 *> certificates_in(const bytes &pem)
{
    std::vector<X509 *> all;
    BIO *bio = memory_with(pem);
    while (X509 *one = PEM_read_bio_X509(bio, nullptr, nullptr, nullptr))
        all.push_back(one);
    BIO_free(bio);
    ERR_clear_error();
    return all;
}

// The first certificate is the server's, the others go with it.
static void set_identity(SSL_CTX *ctx, const node_tls &settings)
{
    const std::vector<X509 *> chain = certificates_in(settings.chain);
    for (std::size_t i = 0; i < chain.size(); i++) {
        if (i == 0)
            SSL_CTX_use_certificate(ctx, chain[i]);
        else
            SSL_CTX_add1_chain_cert(ctx, chain[i]);
        X509_free(chain[i]);
    }
    BIO *bio = memory_with(settings.key);
    EVP_PKEY *key = PEM_read_bio_PrivateKey(bio, nullptr, nullptr, nullptr);
    if (SSL_CTX_use_PrivateKey(ctx, key) != 1) {
        std::fputs("scripted server: no certificate and key for TLS\n", stderr);
        std::abort();
    }
    EVP_PKEY_free(key);
    BIO_free(bio);
}

static void demand_certificate(SSL_CTX *ctx, const bytes &issuers)
{
    for (X509 *one : certificates_in(issuers)) {
        X509_STORE_add_cert(SSL_CTX_get_cert_store(ctx), one);
        SSL_CTX_add_client_CA(ctx, one);
        X509_free(one);
    }
    SSL_CTX_set_verify(ctx, SSL_VERIFY_PEER | SSL_VERIFY_FAIL_IF_NO_PEER_CERT, nullptr);
}

tls_session tls_accept(const node_tls &settings)
{
    SSL_CTX *ctx = SSL_CTX_new(TLS_server_method());
    // Level 0 lets the server show what the driver must refuse: small keys, old versions.
    SSL_CTX_set_security_level(ctx, 0);
    SSL_CTX_set_min_proto_version(ctx, settings.version);
    SSL_CTX_set_max_proto_version(ctx, settings.version);
    set_identity(ctx, settings);
    if (!settings.client_issuers.empty())
        demand_certificate(ctx, settings.client_issuers);
    tls_session session(SSL_new(ctx), SSL_free);
    SSL_CTX_free(ctx);
    return session;
}

bytes tls_take(SSL *ssl)
{
    bytes data(BIO_ctrl_pending(SSL_get_wbio(ssl)), '\0');
    BIO_read(SSL_get_wbio(ssl), data.data(), static_cast<int>(data.size()));
    return data;
}

bytes tls_encrypt(SSL *ssl, std::string_view data)
{
    if (!data.empty())
        SSL_write(ssl, data.data(), static_cast<int>(data.size()));
    return tls_take(ssl);
}
