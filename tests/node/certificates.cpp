// Certificates for tests: an X.509 record is filled, signed and written out as PEM.
#include "tests/node/certificates.h"

#include <openssl/pem.h>
#include <openssl/rsa.h>
#include <openssl/x509v3.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>

using bio_ptr = std::unique_ptr<BIO, decltype(&BIO_free)>;

static void must(bool holds, const char *what)
{
    if (holds)
        return;
    std::fprintf(stderr, "test certificates: %s failed\n", what);
    std::abort();
}

static EVP_PKEY *key_of(test_key key)
{
    static EVP_PKEY *const keys[] = {EVP_RSA_gen(2048U), EVP_RSA_gen(2048U), EVP_RSA_gen(1024U)};
    must(keys[key] != nullptr, "making a key");
    return keys[key];
}

// What `write` puts into a memory BIO.
template <typename Write>
static std::string pem_of(Write write)
{
    const bio_ptr bio(BIO_new(BIO_s_mem()), BIO_free);
    must(write(bio.get()) == 1, "writing PEM");
    char *text = nullptr;
    const long length = BIO_get_mem_data(bio.get(), &text);
    return {text, static_cast<std::size_t>(length)};
}

std::string key_pem(test_key key, const char *passphrase)
{
    const EVP_CIPHER *cipher = passphrase == nullptr ? nullptr : EVP_aes_128_cbc();
    return pem_of([&](BIO *bio) {
        return PEM_write_bio_PKCS8PrivateKey(bio, key_of(key), cipher, nullptr, 0, nullptr,
                                             const_cast<char *>(passphrase));
    });
}

static void set_name(X509_NAME *name, const std::string &common)
{
    const auto *const text = reinterpret_cast<const unsigned char *>(common.c_str());
    must(X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_ASC, text, -1, -1, 0) == 1, "a name");
}

static void add_extension(X509 *x509, const char *name, const char *value)
{
    X509_EXTENSION *extension = X509V3_EXT_conf(nullptr, nullptr, name, value);
    must(X509_add_ext(x509, extension, -1) == 1, "adding an extension");
    X509_EXTENSION_free(extension);
}

certificate make_certificate(const certificate_options &options, const certificate *issuer)
{
    static std::atomic<int> serial = 0;
    constexpr long day = 24L * 60 * 60;
    const std::unique_ptr<X509, decltype(&X509_free)> x509(X509_new(), X509_free);
    X509_set_version(x509.get(), X509_VERSION_3);
    ASN1_INTEGER_set(X509_get_serialNumber(x509.get()), ++serial);
    X509_gmtime_adj(X509_getm_notBefore(x509.get()), options.first_day * day);
    X509_gmtime_adj(X509_getm_notAfter(x509.get()), options.last_day * day);
    set_name(X509_get_subject_name(x509.get()), options.subject);
    set_name(X509_get_issuer_name(x509.get()),
             issuer != nullptr ? issuer->subject : options.subject);
    X509_set_pubkey(x509.get(), key_of(options.key));
    if (options.is_ca)
        add_extension(x509.get(), "basicConstraints", "critical,CA:TRUE");
    if (options.names != nullptr)
        add_extension(x509.get(), "subjectAltName", options.names);
    must(X509_sign(x509.get(), key_of(issuer != nullptr ? issuer->key : options.key),
                   EVP_sha256()) > 0,
         "signing");
    char hashed[16];
    std::snprintf(hashed, sizeof hashed, "%08lx.0", X509_subject_name_hash(x509.get()));
    return {.pem = pem_of([&](BIO *bio) { return PEM_write_bio_X509(bio, x509.get()); }),
            .subject = options.subject,
            .key = options.key,
            .hashed_name = hashed};
}

certificate make_ca(const char *subject, test_key key)
{
    return make_certificate({.subject = subject, .key = key, .is_ca = true});
}

file_folder::file_folder()
{
    path = std::filesystem::temp_directory_path() / "vhcass-test-XXXXXX";
    must(mkdtemp(path.data()) != nullptr, "making a folder");
}

file_folder::~file_folder()
{
    std::error_code ignored;
    std::filesystem::remove_all(path, ignored);
}

std::string file_folder::add(const std::string &name, const std::string &content) const
{
    std::ofstream(path + "/" + name) << content;
    return path + "/" + name;
}

std::string file_content(const std::string &path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}
