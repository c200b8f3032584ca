// The judgement of a peer's certificate, by what OpenSSL found of it during the handshake.
#include "core/net/cass_ssl_internal.h"

#include <arpa/inet.h>
#include <openssl/x509v3.h>

#include <algorithm>
#include <cstring>
#include <iterator>

#include "core/diag/cass_err.h"
#include "core/log/cass_log.h"
#include "support/ascii.h"

static constexpr char log_source[] = "cass_ssl.c";

// Faults of a certificate that TrustServerCertificate forgives, in the driver's own words; every
// other fault is fatal.
static constexpr struct {
    long code;
    const char *text;
} verify_faults[] = {
    {X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT, "unable to get issuer certificate"},
    {X509_V_ERR_UNABLE_TO_DECRYPT_CERT_SIGNATURE, "unable to decrypt certificate's signature"},
    {X509_V_ERR_UNABLE_TO_DECODE_ISSUER_PUBLIC_KEY, "unable to decode issuer public key"},
    {X509_V_ERR_CERT_SIGNATURE_FAILURE, "certificate signature failure"},
    {X509_V_ERR_CERT_NOT_YET_VALID, "certificate is not yet valid"},
    {X509_V_ERR_CERT_HAS_EXPIRED, "certificate has expired"},
    {X509_V_ERR_ERROR_IN_CERT_NOT_BEFORE_FIELD, "format error in certificate's notBefore field"},
    {X509_V_ERR_ERROR_IN_CERT_NOT_AFTER_FIELD, "format error in certificate's notAfter field"},
    {X509_V_ERR_DEPTH_ZERO_SELF_SIGNED_CERT, "self signed certificate"},
    // The same words as for the next one: to the user it is the same fault.
    {X509_V_ERR_SELF_SIGNED_CERT_IN_CHAIN, "unable to get local issuer certificate"},
    {X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT_LOCALLY, "unable to get local issuer certificate"},
    {X509_V_ERR_UNABLE_TO_VERIFY_LEAF_SIGNATURE, "unable to verify the first certificate"},
    {X509_V_ERR_INVALID_CA, "invalid CA certificate"},
    {X509_V_ERR_PATH_LENGTH_EXCEEDED, "path length constraint exceeded"},
    {X509_V_ERR_INVALID_PURPOSE, "unsupported certificate purpose"},
    {X509_V_ERR_CERT_UNTRUSTED, "certificate not trusted"},
    {X509_V_ERR_CERT_REJECTED, "certificate rejected"},
    {X509_V_ERR_KEYUSAGE_NO_CERTSIGN, "key usage does not include certificate signing"},
};

int cass_ssl_judge_chain(cass_conn *conn, const SSL *ssl)
{
    const long code = SSL_get_verify_result(ssl);
    if (code == X509_V_OK)
        return 0;
    const auto *fault = std::find_if(std::begin(verify_faults), std::end(verify_faults),
                                     [code](const auto &row) { return row.code == code; });
    if (fault == std::end(verify_faults)) {
        const int number = static_cast<int>(code);
        CASS_LOG(&conn->head, LOG_ERROR, "SSL connection failed, verify cert returned %d", number);
        cass_post_error(&conn->head, STATE_08001, 0,
                        "SSL connection failed, verify cert returned %d", number);
        return SSL_FAILED;
    }
    if (conn->settings.trust_server_certificate) {
        CASS_LOG(&conn->head, LOG_DETAIL, "Connection was encrypted but %s", fault->text);
        return 0;
    }
    CASS_LOG(&conn->head, LOG_ERROR, "SSL Provider: %s", fault->text);
    cass_post_error(&conn->head, STATE_08001, 0, "SSL Provider: %s", fault->text);
    return SSL_FAILED;
}

// ---- The server's name -------------------------------------------------------------------------

char *cass_ssl_host(const cass_conn *conn)
{
    if (conn->host != nullptr)
        return cass_string_to_ascii(conn->host);
    char *host = cass_string_to_ascii(conn->settings.server);
    if (host == nullptr)
        return nullptr;
    char *separator = std::strchr(host, '*');
    char *colon = std::strchr(host, ':');
    // Of several colons none stands in front of a port: they are an address's.
    if (separator == nullptr && colon != nullptr && std::strchr(colon + 1, ':') == nullptr)
        separator = colon;
    if (separator != nullptr)
        *separator = '\0';
    return host;
}

bool cass_ssl_is_address(const char *host)
{
    in6_addr address;
    return inet_pton(AF_INET, host, &address) == 1 || inet_pton(AF_INET6, host, &address) == 1;
}

static bool any_server_name_will_do(const cass_conn *conn)
{
    return conn->conduct->any_server_name_will_do;
}

static bool name_counts(const cass_conn *conn)
{
    if (conn->settings.verify_host != 0)
        return conn->settings.verify_host == VERIFY_HOST_YES;
    return !any_server_name_will_do(conn) && !conn->settings.trust_server_certificate;
}

// By OpenSSL's reading of RFC 6125: the common name counts where there is no other name, and an
// address must stand among the addresses.
bool cass_ssl_is_made_out_to(X509 *own, const char *host)
{
    return cass_ssl_is_address(host)
               ? X509_check_ip_asc(own, host, 0) == 1
               : X509_check_host(own, host, 0, X509_CHECK_FLAG_NO_PARTIAL_WILDCARDS, nullptr) == 1;
}

// A name as far as the room goes, its signs that are none as "?".
static void add_name(char *names, const char *name, int length)
{
    std::size_t used = std::strlen(names);
    const auto put = [&](char sign) {
        if (used + 1 < NAMES_ROOM)
            names[used++] = ascii_is_print(static_cast<unsigned char>(sign)) ? sign : '?';
    };
    if (used > 0) {
        put(',');
        put(' ');
    }
    std::for_each(name, name + length, put);
    names[used] = '\0';
}

static void add_address(char *names, const ASN1_OCTET_STRING *address)
{
    char text[INET6_ADDRSTRLEN];
    const int length = ASN1_STRING_length(address);
    if ((length == 4 || length == 16) &&
        inet_ntop(length == 4 ? AF_INET : AF_INET6, ASN1_STRING_get0_data(address), text,
                  sizeof text) != nullptr)
        add_name(names, text, static_cast<int>(std::strlen(text)));
}

// The common name, of a certificate without other names.
static void add_common_name(char *names, const X509 *own)
{
    char text[256];
    const int length =
        X509_NAME_get_text_by_NID(X509_get_subject_name(own), NID_commonName, text, sizeof text);
    if (length > 0)
        add_name(names, text, length);
}

void cass_ssl_list_names(const X509 *own, char *names)
{
    names[0] = '\0';
    auto *others =
        static_cast<GENERAL_NAMES *>(X509_get_ext_d2i(own, NID_subject_alt_name, nullptr, nullptr));
    for (int i = 0; i < sk_GENERAL_NAME_num(others); i++) {
        const GENERAL_NAME *name = sk_GENERAL_NAME_value(others, i);
        if (name->type == GEN_DNS)
            add_name(names, reinterpret_cast<const char *>(ASN1_STRING_get0_data(name->d.dNSName)),
                     ASN1_STRING_length(name->d.dNSName));
        else if (name->type == GEN_IPADD)
            add_address(names, name->d.iPAddress);
    }
    GENERAL_NAMES_free(others);
    if (names[0] == '\0')
        add_common_name(names, own);
}

int cass_ssl_judge_name(cass_conn *conn, const SSL *ssl)
{
    if (!name_counts(conn))
        return 0;
    const held_text host(cass_ssl_host(conn));
    if (host == nullptr)
        return cass_post_no_memory(&conn->head, log_source, "cass_ssl_start", SSL_FAILED);
    X509 *own = SSL_get0_peer_certificate(ssl);
    if (own == nullptr)
        return cass_ssl_refuse(conn, "the server has shown no certificate");
    if (cass_ssl_is_made_out_to(own, host.get()))
        return 0;
    char names[NAMES_ROOM];
    cass_ssl_list_names(own, names);
    CASS_LOG(&conn->head, LOG_ERROR, "certificate not made out to '%s', but to '%s'", host.get(),
             names);
    cass_post_error(&conn->head, STATE_08001, 0,
                    "the server's certificate is not made out to '%s', but to '%s'", host.get(),
                    names);
    return SSL_FAILED;
}

int cass_ssl_judge(cass_conn *conn, const SSL *ssl)
{
    return cass_ssl_judge_chain(conn, ssl) != 0 ? SSL_FAILED : cass_ssl_judge_name(conn, ssl);
}
