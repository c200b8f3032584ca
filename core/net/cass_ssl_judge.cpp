// The judgement of a peer's certificate, by what OpenSSL found of it during the handshake.
#include "core/net/cass_ssl_internal.h"

#include <algorithm>
#include <iterator>

#include "core/diag/cass_err.h"
#include "core/log/cass_log.h"

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

int cass_ssl_judge(cass_conn *conn, const SSL *ssl)
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
