// TLS: the environment's context, the handshake and the session. The handshake is driven by hand
// over two memory BIOs, so that the transport moves its bytes; once it is over, the peer's
// certificate is judged and a socket BIO takes their place (cass_ssl_bytes.cpp).
#include "core/net/cass_ssl.h"

#include <openssl/err.h>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <utility>

#include "core/diag/cass_err.h"
#include "core/log/cass_log.h"
#include "core/net/cass_conn.h"
#include "core/net/cass_ssl_internal.h"
#include "support/ascii.h"

static constexpr char log_source[] = "cass_ssl.c";

constexpr int TRANSFER_SIZE = 16384;

// ---- Failures ----------------------------------------------------------------------------------

int cass_ssl_refuse(cass_conn *conn, const char *text)
{
    CASS_LOG(&conn->head, LOG_ERROR, "%s", text);
    cass_post_error(&conn->head, STATE_08001, 0, "%s", text);
    return SSL_FAILED;
}

int cass_ssl_drain(cass_conn *conn)
{
    char text[256];
    for (unsigned long code = ERR_get_error(); code != 0; code = ERR_get_error()) {
        ERR_error_string_n(code, text, sizeof text);
        cass_post_error(&conn->head, STATE_08001, static_cast<std::int32_t>(code), "SSL error '%s'",
                        text);
        CASS_LOG(&conn->head, LOG_ERROR, "SSL error '%s'", text);
    }
    return SSL_FAILED;
}

// ---- The context -------------------------------------------------------------------------------

// TLS 1.2 and nothing else, whatever the system's configuration says; a session may be allowed
// more. Nothing is verified during the handshake: the result is recorded, and judged by
// cass_ssl_start.
static SSL_CTX *new_context(const SSL_METHOD *method)
{
    SSL_CTX *ctx = SSL_CTX_new(method);
    if (ctx == nullptr)
        return nullptr;
    SSL_CTX_set_min_proto_version(ctx, TLS1_2_VERSION);
    SSL_CTX_set_max_proto_version(ctx, TLS1_2_VERSION);
    SSL_CTX_set_quiet_shutdown(ctx, 1);
    SSL_CTX_set_default_passwd_cb(ctx, cass_ssl_no_passphrase);
    // A second handshake would read the anchors without their lock and bring a certificate that
    // nobody judges.
    SSL_CTX_set_options(ctx, SSL_OP_NO_RENEGOTIATION);
    return ctx;
}

static void free_context(cass_ssl_context *shared)
{
    SSL_CTX_free(shared->ctx);
    BIO_meth_free(shared->socket_method);
    std::free(shared);
}

// Makes `env->ssl_shared`: the context that all connections of the environment share, trust anchors
// included. 1, or 0 when OpenSSL refuses or memory runs out; nothing is posted. The first
// cass_ssl_start calls it: an environment without TLS does not pay for it.
static int cass_ssl_init(cass_env *env)
{
    OPENSSL_init_ssl(OPENSSL_INIT_LOAD_SSL_STRINGS | OPENSSL_INIT_LOAD_CRYPTO_STRINGS, nullptr);
    ERR_clear_error();
    auto *shared = static_cast<cass_ssl_context *>(std::calloc(1, sizeof(cass_ssl_context)));
    if (shared == nullptr)
        return 0;
    shared->method = TLS_client_method();
    shared->ctx = new_context(shared->method);
    shared->socket_method = cass_ssl_socket_method();
    if (shared->ctx == nullptr || shared->socket_method == nullptr ||
        pthread_rwlock_init(&shared->anchors_lock, nullptr) != 0) {
        free_context(shared);
        ERR_clear_error();
        return 0;
    }
    env->ssl_shared = shared;
    return 1;
}

void cass_ssl_term(cass_env *env)
{
    auto *shared = static_cast<cass_ssl_context *>(env->ssl_shared);
    if (shared == nullptr)
        return;
    pthread_rwlock_destroy(&shared->anchors_lock);
    free_context(shared);
    env->ssl_shared = nullptr;
}

// The environment's context, made when the first connection needs it; null when it cannot be made.
static cass_ssl_context *context_of(cass_env *env)
{
    static pthread_mutex_t first_use = PTHREAD_MUTEX_INITIALIZER;
    pthread_mutex_lock(&first_use);
    if (env->ssl_shared == nullptr)
        cass_ssl_init(env);
    auto *shared = static_cast<cass_ssl_context *>(env->ssl_shared);
    pthread_mutex_unlock(&first_use);
    return shared;
}

// ---- Making the session ------------------------------------------------------------------------

static void free_info(ssl_info *info)
{
    SSL_free(info->ssl);
    BIO_free(info->read_bio);
    BIO_free(info->write_bio);
    std::free(info);
}
using held_info = held<ssl_info, &free_info>;

// With its memory BIOs and no session yet. Null after posting.
static held_info new_info(cass_conn *conn)
{
    held_info info(static_cast<ssl_info *>(std::calloc(1, sizeof(ssl_info))));
    if (info == nullptr) {
        CASS_LOG(&conn->head, LOG_ERROR, "failed to allocate ssl_info");
        cass_post_error(&conn->head, STATE_HY001, 0, nullptr);
        return nullptr;
    }
    info->read_bio = BIO_new(BIO_s_mem());
    info->write_bio = BIO_new(BIO_s_mem());
    if (info->read_bio == nullptr || info->write_bio == nullptr) {
        cass_ssl_refuse(conn, "Required SSL (failed to allocate BIO)");
        return nullptr;
    }
    return info;
}

static bool tls_is_1_2_alone(const cass_conn *conn)
{
    return conn->conduct->tls_is_1_2_alone;
}

static int load_shared_anchors(cass_conn *conn, cass_ssl_context *shared)
{
    pthread_rwlock_wrlock(&shared->anchors_lock);
    const int result = cass_ssl_load_anchors(conn, SSL_CTX_get_cert_store(shared->ctx));
    pthread_rwlock_unlock(&shared->anchors_lock);
    return result;
}

// The session's own, and without a setting those of the system.
static int load_own_anchors(cass_conn *conn, SSL *ssl)
{
    X509_STORE *store = X509_STORE_new();
    if (store == nullptr || SSL_set0_verify_cert_store(ssl, store) != 1) {
        X509_STORE_free(store);
        return cass_ssl_refuse(conn, "Required SSL (failed to allocate a store)");
    }
    if (cass_ssl_has_anchors(conn))
        return cass_ssl_load_anchors(conn, store);
    // A system without a store of its own trusts nobody, which the handshake tells.
    X509_STORE_set_default_paths(store);
    return 0;
}

static bool anchors_are_shared(const cass_conn *conn)
{
    return conn->conduct->anchors_are_shared;
}

// A session with all settings in it, ready for its handshake. Null after posting.
static held_info new_session(cass_conn *conn, cass_ssl_context *shared)
{
    held_info info = new_info(conn);
    const bool own_anchors = !anchors_are_shared(conn);
    if (info == nullptr || (!own_anchors && load_shared_anchors(conn, shared) != 0))
        return nullptr;
    info->ssl = SSL_new(shared->ctx);
    if (info->ssl == nullptr) {
        cass_ssl_refuse(conn, "Required SSL (failed to allocate SSL)");
        return nullptr;
    }
    if (!tls_is_1_2_alone(conn))
        SSL_set_max_proto_version(info->ssl, TLS1_3_VERSION);
    if ((own_anchors && load_own_anchors(conn, info->ssl) != 0) ||
        cass_ssl_load_session(conn, info->ssl) != 0)
        return nullptr;
    // The session takes a reference of each; the other two stay here.
    BIO_up_ref(info->read_bio);
    BIO_up_ref(info->write_bio);
    SSL_set_bio(info->ssl, info->read_bio, info->write_bio);
    return info;
}

// ---- The handshake -----------------------------------------------------------------------------

// One step. A step never waits: it works on the memory BIOs alone, so that holding the anchors does
// no harm. errno is what the step left.
static int step(cass_ssl_context *shared, SSL *ssl)
{
    pthread_rwlock_rdlock(&shared->anchors_lock);
    ERR_clear_error();
    errno = 0;
    const int result = SSL_connect(ssl);
    const int error = errno;
    pthread_rwlock_unlock(&shared->anchors_lock);
    errno = error;
    return result;
}

// Any other status than that the session waits for the peer.
static int refuse_status(cass_conn *conn, int status, int error)
{
    if (status != SSL_ERROR_SYSCALL) {
        cass_post_error(&conn->head, STATE_08001, 0, "SSL connection failed");
        CASS_LOG(&conn->head, LOG_ERROR, "Required SSL (unexpected status)");
        return cass_ssl_drain(conn);
    }
    cass_post_error(&conn->head, STATE_08001, 0,
                    error == ENOENT
                        ? "SSL connection failed in syscall (errno=%d, there may be no source of "
                          "entropy on this system, consult OpenSSL documentation)"
                        : "SSL connection failed in syscall (errno=%d)",
                    error);
    CASS_LOG(&conn->head, LOG_ERROR, "Required SSL (unexpected status, syscall %d)", error);
    return cass_ssl_drain(conn);
}

static int send_block(cass_conn *conn, const char *buffer, int count)
{
    return conn_write(conn, buffer, count) < 0
               ? cass_ssl_refuse(conn, "SSL Error, conn_write failed")
               : 0;
}

// Sends a block of what the session has written, or without one receives one for it. 0, or
// SSL_FAILED with the failure posted.
static int move_block(cass_conn *conn, const ssl_info *info, char *buffer)
{
    const int written = BIO_read(info->write_bio, buffer, TRANSFER_SIZE);
    if (written > 0)
        return send_block(conn, buffer, written);
    std::int32_t got = 0;
    const std::int32_t result = conn_read(conn, buffer, TRANSFER_SIZE, &got, 0);
    if (result == CONN_WOKEN && !conn_is_called_off(conn))
        return 0;
    if (result < 0)
        return cass_ssl_refuse(conn, "SSL Error, conn_read failed");
    if (got > 0 && BIO_write(info->read_bio, buffer, got) < 1)
        return cass_ssl_refuse(conn, "SSL Error, BIO write failed");
    return 0;
}

// Until the session stands and its last word is sent. 0, or SSL_FAILED with the failure posted.
static int shake_hands(cass_conn *conn, cass_ssl_context *shared, const ssl_info *info,
                       char *buffer)
{
    for (;;) {
        const int result = step(shared, info->ssl);
        const int error = errno;
        if (result == 1) {
            CASS_LOG(&conn->head, LOG_DETAIL, "Connected!!!");
            const int last = BIO_read(info->write_bio, buffer, TRANSFER_SIZE);
            CASS_LOG(&conn->head, LOG_DETAIL, "Last block read %d", last);
            if (last < 1)
                return 0;
            if (send_block(conn, buffer, last) != 0)
                return SSL_FAILED;
            continue;
        }
        const int status = SSL_get_error(info->ssl, result);
        if (result == 0) {
            CASS_LOG(&conn->head, LOG_ERROR, "SSL Shutdown, reason %d", status);
            cass_post_error(&conn->head, STATE_08001, 0, "SSL Shutdown, reason %d", status);
            return SSL_FAILED;
        }
        CASS_LOG(&conn->head, LOG_DETAIL, "SSL connect status %d", status);
        if (status != SSL_ERROR_WANT_READ)
            return refuse_status(conn, status, error);
        if (move_block(conn, info, buffer) != 0)
            return SSL_FAILED;
    }
}

// What a server has sent behind its handshake, session tickets of TLS 1.3 for one, is taken in
// before the bytes come from the socket: the last of it may be half a record, which OpenSSL keeps.
static int take_in_rest(cass_conn *conn, const ssl_info *info)
{
    char byte;
    while (BIO_ctrl_pending(info->read_bio) > 0) {
        ERR_clear_error();
        const int result = SSL_peek(info->ssl, &byte, 1);
        if (result > 0 || SSL_get_error(info->ssl, result) != SSL_ERROR_WANT_READ) {
            cass_ssl_refuse(conn, "SSL connection failed");
            return cass_ssl_drain(conn);
        }
    }
    return 0;
}

// ---- Start and end -----------------------------------------------------------------------------

static void log_cipher(cass_conn *conn, const SSL *ssl)
{
    const SSL_CIPHER *cipher = SSL_get_current_cipher(ssl);
    char text[512] = "";
    if (conn->head.log_mask == 0 || cipher == nullptr)
        return;
    SSL_CIPHER_description(cipher, text, sizeof text);
    // The description ends in a line break.
    char *end = std::remove_if(text, text + std::strlen(text), [](char one) {
        return !ascii_is_print(static_cast<unsigned char>(one));
    });
    *end = '\0';
    CASS_LOG(&conn->head, LOG_DETAIL, "SSL using cypher '%s'", text);
}

// A session that stands on the connection's socket, its peer accepted. Null after posting.
static held_info open_session(cass_conn *conn)
{
    cass_ssl_context *shared = context_of(conn_env(conn));
    if (shared == nullptr) {
        cass_ssl_refuse(conn, "Required SSL (no ssl_info)");
        return nullptr;
    }
    held_info info = new_session(conn, shared);
    if (info == nullptr)
        return nullptr;
    const held_text buffer(static_cast<char *>(std::malloc(TRANSFER_SIZE)));
    if (buffer == nullptr) {
        CASS_LOG(&conn->head, LOG_ERROR, "Required SSL (failed to allocate memory)");
        cass_post_error(&conn->head, STATE_HY001, 0, "Required SSL (failed to allocate memory)");
        return nullptr;
    }
    if (shake_hands(conn, shared, info.get(), buffer.get()) != 0 ||
        cass_ssl_judge(conn, info->ssl) != 0 || take_in_rest(conn, info.get()) != 0)
        return nullptr;
    BIO *socket = BIO_new(shared->socket_method);
    if (socket == nullptr) {
        cass_ssl_refuse(conn, "Required SSL (failed to allocate BIO)");
        return nullptr;
    }
    BIO_set_fd(socket, conn->socket, BIO_NOCLOSE);
    BIO_set_app_data(socket, info.get());
    SSL_set_bio(info->ssl, socket, socket);
    BIO_free(std::exchange(info->read_bio, nullptr));
    BIO_free(std::exchange(info->write_bio, nullptr));
    return info;
}

int cass_ssl_start(cass_conn *conn)
{
    CASS_LOG(&conn->head, LOG_DETAIL, "Starting SSL handshake");
    cass_ssl_stop(conn);
    held_info info = open_session(conn);
    ERR_clear_error();  // nothing is left for the application's own use of the library
    if (info == nullptr)
        return SSL_FAILED;
    log_cipher(conn, info->ssl);
    conn->ssl = info.release();
    conn->settings.ssl_active = 1;
    return 0;
}

void cass_ssl_stop(cass_conn *conn)
{
    if (conn->ssl == nullptr)
        return;
    SSL_shutdown(conn->ssl->ssl);  // quiet: nothing is sent
    free_info(conn->ssl);
    conn->ssl = nullptr;
}
