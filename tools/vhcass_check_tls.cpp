// Certificates: what a server shows, whether the driver accepts it, and those of the settings.
#include <fcntl.h>
#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/x509v3.h>
#include <poll.h>

#include <algorithm>
#include <ctime>

#include "core/net/cass_conn.h"
#include "core/net/cass_ssl_internal.h"
#include "core/session/cass_bundle.h"
#include "support/paths.h"
#include "tools/vhcass_check.h"

using held_context = held<SSL_CTX, &SSL_CTX_free>;
using held_session = held<SSL, &SSL_free>;
using held_certificate = held<X509, &X509_free>;
using held_key = held<EVP_PKEY, &EVP_PKEY_free>;
using held_archive = held<zip_t, &zip_discard>;

constexpr int FEW_DAYS = 14;

// ---- A certificate ------------------------------------------------------------------------------

static std::string name_text(const X509_NAME *name)
{
    const held_bio bio(BIO_new(BIO_s_mem()));
    if (bio == nullptr || X509_NAME_print_ex(bio.get(), name, 0, XN_FLAG_RFC2253) < 0)
        return "?";
    char *text = nullptr;
    const long length = BIO_get_mem_data(bio.get(), &text);
    return length > 0 ? std::string(text, static_cast<std::size_t>(length)) : "(no name)";
}

static std::string date_text(const ASN1_TIME *time)
{
    std::tm parts = {};
    char text[32] = "?";
    if (ASN1_TIME_to_tm(time, &parts) == 1)
        std::strftime(text, sizeof text, "%Y-%m-%d", &parts);
    return text;
}

static int days_to(const ASN1_TIME *time)
{
    int days = 0;
    int seconds = 0;
    ASN1_TIME_diff(&days, &seconds, nullptr, time);
    return days;
}

// A line for it in the details. One that is out of date, or soon will be, is a warning.
static void add_certificate(check_step *step, const std::string &title, const X509 *certificate)
{
    const ASN1_TIME *begins = X509_get0_notBefore(certificate);
    const ASN1_TIME *ends = X509_get0_notAfter(certificate);
    const int days = days_to(ends);
    step->details.push_back(title + ": " + name_text(X509_get_subject_name(certificate)) +
                            ", issued by " + name_text(X509_get_issuer_name(certificate)) +
                            ", good from " + date_text(begins) + " to " + date_text(ends) + ", " +
                            std::to_string(days) + " days left");
    const bool is_current =
        X509_cmp_current_time(begins) < 0 && X509_cmp_current_time(ends) > 0 && days >= FEW_DAYS;
    if (!is_current && step->outcome == CHECK_OK)
        check_fail(step, CHECK_WARNING, ADVICE_DATES);
}

// ---- The handshake ------------------------------------------------------------------------------

static held_context new_context(const vhcass_check *check)
{
    held_context context(SSL_CTX_new(TLS_client_method()));
    if (context == nullptr)
        return nullptr;
    SSL_CTX_set_min_proto_version(context.get(), TLS1_2_VERSION);
    SSL_CTX_set_max_proto_version(context.get(),
                                  check->is_standard ? TLS1_3_VERSION : TLS1_2_VERSION);
    SSL_CTX_set_default_passwd_cb(context.get(), cass_ssl_no_passphrase);
    X509_STORE *store = SSL_CTX_get_cert_store(context.get());
    if (!cass_ssl_has_anchors(check->conn) && check->is_standard)
        X509_STORE_set_default_paths(store);
    else if (cass_ssl_load_anchors(check->conn, store) != 0)
        return nullptr;
    return context;
}

// 1, or what SSL_connect gave last; 0 when the time is up.
static int shake_hands(const vhcass_check *check, SSL *ssl)
{
    const int socket = check->conn->socket;
    const std::int64_t ends = check_ends(check);
    fcntl(socket, F_SETFL, fcntl(socket, F_GETFL) | O_NONBLOCK);
    for (;;) {
        ERR_clear_error();
        const int result = SSL_connect(ssl);
        if (result == 1)
            return 1;
        const int wanted = SSL_get_error(ssl, result);
        if (wanted != SSL_ERROR_WANT_READ && wanted != SSL_ERROR_WANT_WRITE)
            return result;
        const short events = wanted == SSL_ERROR_WANT_READ ? POLLIN : POLLOUT;
        if (cass_wait_socket(socket, events,
                             std::max<std::int64_t>(ends - cass_monotonic_ms(), 0)) != 1)
            return 0;
    }
}

static std::string reason_of_failure(int result)
{
    const unsigned long code = ERR_get_error();
    const char *reason = ERR_reason_error_string(code);
    if (reason != nullptr)
        return reason;
    return result == 0 ? "nothing came in time" : "the server closed the connection";
}

// A session with the driver's settings on the open socket, whatever its certificate is.
static held_session open_session(vhcass_check *check)
{
    check_step step = {.name = "TLS"};
    const held_context context = new_context(check);
    held_session ssl(context == nullptr ? nullptr : SSL_new(context.get()));
    if (ssl == nullptr || cass_ssl_load_session(check->conn, ssl.get()) != 0) {
        step.text = "the settings cannot be used";
        check_take_records(check->conn, &step);
        check_fail(&step, CHECK_FAILED, ADVICE_FILES);
        ssl.reset();
    } else {
        SSL_set_fd(ssl.get(), check->conn->socket);
        if (const int result = shake_hands(check, ssl.get()); result == 1) {
            step.text =
                std::string(SSL_get_version(ssl.get())) + ", " + SSL_get_cipher_name(ssl.get());
        } else {
            step.text = "no handshake: " + reason_of_failure(result);
            check_fail_here(check, &step, ADVICE_TLS);
            ssl.reset();
        }
    }
    ERR_clear_error();
    check_add(&check->report, step);
    return ssl;
}

// ---- What the server shows ----------------------------------------------------------------------

static bool check_chain(vhcass_check *check, const SSL *ssl)
{
    check_step step = {.name = "certificate"};
    STACK_OF(X509) *chain = SSL_get_peer_cert_chain(ssl);
    for (int i = 0; i < sk_X509_num(chain); i++)
        add_certificate(&step, std::to_string(i + 1), sk_X509_value(chain, i));
    const long verdict = SSL_get_verify_result(ssl);
    const std::string words = X509_verify_cert_error_string(verdict);
    const bool good = cass_ssl_judge_chain(check->conn, ssl) == 0;
    const check_advice advice =
        verdict == X509_V_ERR_CERT_HAS_EXPIRED || verdict == X509_V_ERR_CERT_NOT_YET_VALID
            ? ADVICE_DATES
            : ADVICE_CHAIN;
    if (!good) {
        step.text = "it is not trusted: " + words;
        check_take_records(check->conn, &step);
        check_fail_here(check, &step, advice);
    } else if (verdict != X509_V_OK) {
        step.text = "it is accepted only because of TrustServerCertificate: " + words;
        check_fail(&step, CHECK_WARNING, advice);
    } else {
        step.text = "it is trusted";
    }
    check_add(&check->report, step);
    return good;
}

static bool check_host(vhcass_check *check, const SSL *ssl, const std::string &host)
{
    check_step step = {.name = "host name"};
    X509 *own = SSL_get0_peer_certificate(ssl);
    char names[NAMES_ROOM] = "";
    if (own != nullptr)
        cass_ssl_list_names(own, names);
    const bool fits = own != nullptr && cass_ssl_is_made_out_to(own, host.c_str());
    const bool good = cass_ssl_judge_name(check->conn, ssl) == 0;
    step.text = "the certificate is made out to '" + std::string(names) + "'";
    if (!fits) {
        step.text += ", not to '" + host + "'" + (good ? " (VerifyHost does not ask for it)" : "");
        check_take_records(check->conn, &step);
        check_fail_here(check, &step, ADVICE_HOST);
        if (good)
            step.outcome = CHECK_WARNING;
    }
    check_add(&check->report, step);
    return good;
}

bool check_tls(vhcass_check *check, const std::string &host)
{
    const held_session ssl = open_session(check);
    if (ssl == nullptr)
        return false;
    const bool is_trusted = check_chain(check, ssl.get());
    return check_host(check, ssl.get(), host) && is_trusted;
}

// ---- Those of the settings ----------------------------------------------------------------------------------

// From a bundle's block, or from the file of a setting. Null without either.
static held_bio open_pem(const unsigned char *bytes, std::int32_t length, const cass_string *file)
{
    if (bytes != nullptr)
        return held_bio(BIO_new_mem_buf(bytes, length));
    const held_text path(cass_setting_path(file));
    return held_bio(path == nullptr ? nullptr : BIO_new_file(path.get(), "r"));
}

static held_certificate read_certificate(BIO *bio)
{
    return held_certificate(bio == nullptr
                                ? nullptr
                                : PEM_read_bio_X509(bio, nullptr, cass_ssl_no_passphrase, nullptr));
}

// The first one of several anchors stands for all; a folder has none to show.
static void add_anchors(const cass_conn *conn, check_step *step)
{
    const held_bio bio = open_pem(conn->ca_bytes, conn->ca_length, conn->settings.certificate_file);
    const held_certificate first = read_certificate(bio.get());
    int more = 0;
    while (first != nullptr && read_certificate(bio.get()) != nullptr)
        more++;
    if (first != nullptr)
        add_certificate(step, "trusted", first.get());
    if (more > 0)
        step->details.push_back("trusted: " + std::to_string(more) + " more");
}

static void add_own(const cass_conn *conn, check_step *step)
{
    const cass_settings &settings = conn->settings;
    const held_certificate own = read_certificate(
        open_pem(conn->certificate_bytes, conn->certificate_length, settings.public_key_file)
            .get());
    const held_bio bio =
        open_pem(conn->private_key_bytes, conn->private_key_length, settings.private_key_file);
    const held_key key(bio == nullptr ? nullptr
                                      : PEM_read_bio_PrivateKey(bio.get(), nullptr,
                                                                cass_ssl_no_passphrase, nullptr));
    if (own != nullptr)
        add_certificate(step, "client", own.get());
    if (own == nullptr || key == nullptr) {
        step->details.push_back(own == nullptr ? "the client's certificate cannot be read"
                                               : "its key cannot be read");
        check_fail(step, CHECK_FAILED, ADVICE_FILES);
    } else if (X509_check_private_key(own.get(), key.get()) != 1) {
        step->details.push_back("the key does not belong to the client's certificate");
        check_fail(step, CHECK_WARNING, ADVICE_KEY_PAIR);
    } else {
        step->details.push_back("the key belongs to the client's certificate");
    }
}

void check_certificates(vhcass_check *check)
{
    const cass_conn *conn = check->conn;
    const cass_settings &settings = conn->settings;
    const bool has_own = conn->certificate_bytes != nullptr ||
                         settings.public_key_file != nullptr ||
                         conn->private_key_bytes != nullptr || settings.private_key_file != nullptr;
    if (settings.encrypt == 0 && settings.astra == 0)
        return;
    check_step step = {.name = "certificates"};
    step.text = "the trust anchors are ";
    step.text += cass_ssl_has_anchors(conn) ? "those of the settings"
                 : check->is_standard       ? "those of the system"
                                            : "none: nothing names them";
    add_anchors(conn, &step);
    if (has_own)
        add_own(conn, &step);
    ERR_clear_error();
    check_add(&check->report, step);
}

// ---- A bundle -----------------------------------------------------------------------------------

static void list_members(const cass_string *bundle, check_step *step)
{
    const held_text path(cass_setting_path(bundle));
    const held_archive archive(path == nullptr ? nullptr
                                               : zip_open(path.get(), ZIP_RDONLY, nullptr));
    if (archive == nullptr)
        return;
    std::string names;
    const zip_int64_t count = std::min<zip_int64_t>(zip_get_num_entries(archive.get(), 0), 32);
    for (zip_int64_t i = 0; i < count; i++) {
        const char *name = zip_get_name(archive.get(), static_cast<zip_uint64_t>(i), 0);
        names += std::string(i > 0 ? ", " : "") + (name == nullptr ? "?" : name);
    }
    step->details.push_back("files: " + names);
}

bool check_bundle(vhcass_check *check)
{
    check_step step = {.name = "bundle"};
    const cass_settings &settings = check->conn->settings;
    list_members(settings.bundle_path, &step);
    const bool good = cass_read_bundle(check->conn) == 0;
    if (good) {
        step.text = "host " + check_text(settings.server) + ", metadata service at port " +
                    std::to_string(settings.metadata_port) + ", sessions at port " +
                    std::to_string(settings.port) + ", keyspace " + check_text(settings.keyspace);
    } else {
        step.text = "it cannot be read";
        check_take_records(check->conn, &step);
        check_fail(&step, CHECK_FAILED, ADVICE_BUNDLE);
    }
    check_add(&check->report, step);
    return good;
}
