// What a TLS session needs before its handshake: trust anchors, the client's key and certificate,
// from files or from the blocks of a bundle, and the name of the server.
#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/rand.h>
#include <sys/stat.h>

#include "core/diag/cass_err.h"
#include "core/log/cass_log.h"
#include "core/net/cass_ssl_internal.h"
#include "support/held.h"
#include "support/paths.h"

static constexpr char log_source[] = "cass_ssl.c";

using held_x509 = held<X509, &X509_free>;
using held_key = held<EVP_PKEY, &EVP_PKEY_free>;

int cass_ssl_no_passphrase(char *, int, int, void *)
{
    return 0;
}

// `what` as in "Private Key". What OpenSSL has to say follows.
static int refuse_file(cass_conn *conn, const char *what, const cass_string *path)
{
    CASS_LOG(&conn->head, LOG_ERROR, "Loading %s file '%S' failed", what, path);
    cass_post_error(&conn->head, STATE_08001, 0, "Loading %s file '%S' failed", what, path);
    return cass_ssl_drain(conn);
}

static bool is_stored(const unsigned char *bytes, std::int32_t length)
{
    return bytes != nullptr && length > 0;
}

static held_x509 read_certificate(const unsigned char *bytes, std::int32_t length)
{
    ERR_clear_error();
    const held_bio bio(BIO_new_mem_buf(bytes, length));
    return held_x509(bio == nullptr
                         ? nullptr
                         : PEM_read_bio_X509(bio.get(), nullptr, cass_ssl_no_passphrase, nullptr));
}

// ---- Trust anchors -----------------------------------------------------------------------------

static int load_stored_anchor(cass_conn *conn, X509_STORE *store)
{
    CASS_LOG(&conn->head, LOG_DETAIL, "Loading CA from storage");
    const held_x509 anchor(read_certificate(conn->ca_bytes, conn->ca_length));
    if (anchor != nullptr && X509_STORE_add_cert(store, anchor.get()) == 1)
        return 0;
    cass_ssl_refuse(conn, "Loading Certificate data failed");
    return cass_ssl_drain(conn);
}

static bool is_directory(cass_conn *conn, const char *path)
{
    struct stat found = {};
    if (stat(path, &found) != 0) {
        CASS_LOG(&conn->head, LOG_DETAIL, "file not found, treating as file");
        return false;
    }
    const bool directory = S_ISDIR(found.st_mode);
    CASS_LOG(&conn->head, LOG_DETAIL, "file found, treating as %s",
             directory ? "directory" : "file");
    return directory;
}

static int load_anchor_file(cass_conn *conn, X509_STORE *store)
{
    CASS_LOG(&conn->head, LOG_DETAIL, "Loading Certificate file '%S'",
             conn->settings.certificate_file);
    const held_text path(cass_setting_path(conn->settings.certificate_file));
    if (path == nullptr)
        return cass_post_no_memory(&conn->head, log_source, "cass_ssl_start", SSL_FAILED);
    const bool directory = is_directory(conn, path.get());
    ERR_clear_error();
    const int loaded = directory ? X509_STORE_load_path(store, path.get())
                                 : X509_STORE_load_file(store, path.get());
    if (loaded == 1)
        return 0;
    return refuse_file(conn, "Certificate", conn->settings.certificate_file);
}

bool cass_ssl_has_anchors(const cass_conn *conn)
{
    return is_stored(conn->ca_bytes, conn->ca_length) || conn->settings.certificate_file != nullptr;
}

int cass_ssl_load_anchors(cass_conn *conn, X509_STORE *store)
{
    if (is_stored(conn->ca_bytes, conn->ca_length))
        return load_stored_anchor(conn, store);
    return conn->settings.certificate_file != nullptr ? load_anchor_file(conn, store) : 0;
}

// ---- Entropy -----------------------------------------------------------------------------------

// A daemon that gathers entropy; OpenSSL is commonly built without, and then the setting always
// fails.
static int seed_from([[maybe_unused]] const char *path)
{
#ifndef OPENSSL_NO_EGD
    return RAND_egd(path);
#else
    return -1;
#endif
}

static int load_entropy(cass_conn *conn)
{
    if (conn->settings.entropy_file == nullptr)
        return 0;
    CASS_LOG(&conn->head, LOG_DETAIL, "Loading entropy from '%S'", conn->settings.entropy_file);
    const held_text path(cass_setting_path(conn->settings.entropy_file));
    if (path == nullptr)
        return cass_post_no_memory(&conn->head, log_source, "cass_ssl_start", SSL_FAILED);
    const int seeded = seed_from(path.get());
    if (seeded < 0) {
        CASS_LOG(&conn->head, LOG_ERROR, "Loading entropy from '%S' failed",
                 conn->settings.entropy_file);
        cass_post_error(&conn->head, STATE_08001, 0, "Loading entropy from '%S' failed",
                        conn->settings.entropy_file);
        return SSL_FAILED;
    }
    CASS_LOG(&conn->head, LOG_DETAIL, "Entropy seeded with %d bytes", seeded);
    return 0;
}

// ---- The client's key and certificate ----------------------------------------------------------

constexpr int UNREADABLE = -1;

static int use_stored_key(SSL *ssl, const unsigned char *bytes, std::int32_t length)
{
    const held_bio bio(BIO_new_mem_buf(bytes, length));
    if (bio == nullptr)
        return UNREADABLE;
    const held_key key(
        PEM_read_bio_PrivateKey(bio.get(), nullptr, cass_ssl_no_passphrase, nullptr));
    return key == nullptr ? UNREADABLE : SSL_use_PrivateKey(ssl, key.get());
}

static int use_stored_certificate(SSL *ssl, const unsigned char *bytes, std::int32_t length)
{
    const held_x509 own(read_certificate(bytes, length));
    return own == nullptr ? UNREADABLE : SSL_use_certificate(ssl, own.get());
}

// The block of a bundle comes before the file.
struct own_part {
    const char *name;
    unsigned char *cass_conn::*bytes;
    std::int32_t cass_conn::*length;
    cass_string *cass_settings::*file;
    int (*use_stored)(SSL *ssl, const unsigned char *bytes, std::int32_t length);  // 1: accepted
    int (*use_file)(SSL *ssl, const char *path, int type);                         // 1: accepted
};

// The key first. A certificate that is not the key's makes OpenSSL forget the key: the server then
// gets no certificate, and refuses the handshake if it wants one.
static constexpr own_part own_parts[] = {
    {"Private Key", &cass_conn::private_key_bytes, &cass_conn::private_key_length,
     &cass_settings::private_key_file, use_stored_key, SSL_use_PrivateKey_file},
    {"Public Key", &cass_conn::certificate_bytes, &cass_conn::certificate_length,
     &cass_settings::public_key_file, use_stored_certificate, SSL_use_certificate_file},
};

static int load_part(cass_conn *conn, SSL *ssl, const own_part &part)
{
    const cass_string *file = conn->settings.*part.file;
    int accepted;
    ERR_clear_error();
    if (is_stored(conn->*part.bytes, conn->*part.length)) {
        CASS_LOG(&conn->head, LOG_DETAIL, "Loading %s from storage", part.name);
        accepted = part.use_stored(ssl, conn->*part.bytes, conn->*part.length);
        if (accepted == UNREADABLE)
            return cass_ssl_refuse(conn, "Loading Certificate data failed");
    } else if (file != nullptr) {
        CASS_LOG(&conn->head, LOG_DETAIL, "Loading %s file '%S'", part.name, file);
        const held_text path(cass_setting_path(file));
        if (path == nullptr)
            return cass_post_no_memory(&conn->head, log_source, "cass_ssl_start", SSL_FAILED);
        accepted = part.use_file(ssl, path.get(), SSL_FILETYPE_PEM);
    } else {
        return 0;
    }
    return accepted == 1 ? 0 : refuse_file(conn, part.name, file);
}

// ---- The server's name -------------------------------------------------------------------------

// The contact point of the metadata service, else the host unless it is an address, which is no
// name of TLS (RFC 6066, section 3), else the server text as it stands, with its port suffix and
// whatever else is in it.
static int set_server_name(cass_conn *conn, SSL *ssl)
{
    const bool by_contact = conn->contact_points != nullptr && conn->contact_count > 0;
    const bool by_host = !by_contact && conn->host != nullptr;
    const cass_string *host = by_host ? conn->host : conn->settings.server;
    const cass_string *name = by_contact ? conn->contact_points[conn->contact_used] : host;
    if (name == nullptr)
        return 0;
    const held_text text(cass_string_to_ascii(name));
    if (text == nullptr)
        return cass_post_no_memory(&conn->head, log_source, "cass_ssl_start", SSL_FAILED);
    if (by_host && cass_ssl_is_address(text.get()))
        return 0;
    if (by_contact)
        CASS_LOG(&conn->head, LOG_DETAIL, "Setting server name '%s'", text.get());
    else
        CASS_LOG(&conn->head, LOG_DETAIL, "Setting server name '%S'", name);
    ERR_clear_error();
    if (SSL_set_tlsext_host_name(ssl, text.get()) == 1)
        return 0;
    cass_ssl_refuse(conn, "Setting server name failed");
    return cass_ssl_drain(conn);
}

int cass_ssl_load_session(cass_conn *conn, SSL *ssl)
{
    if (load_entropy(conn) != 0)
        return SSL_FAILED;
    for (const own_part &part : own_parts)
        if (load_part(conn, ssl, part) != 0)
            return SSL_FAILED;
    return set_server_name(conn, ssl);
}
