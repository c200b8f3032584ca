// Certificates and keys for tests, made by OpenSSL when they are asked for. RSA keys are made once
// in a process.
#ifndef TESTS_NODE_CERTIFICATES_H
#define TESTS_NODE_CERTIFICATES_H

#include <memory>
#include <string>
#include <vector>

// KEY_SMALL has 1024 bits, the others 2048.
enum test_key { KEY_ONE, KEY_TWO, KEY_SMALL };
// PEM, unencrypted or under a passphrase.
std::string key_pem(test_key key, const char *passphrase = nullptr);

struct certificate_options {
    const char *subject = "localhost";
    test_key key = KEY_ONE;
    int first_day = -1, last_day = 30;  // from today
    bool is_ca = false;
    const char *names = nullptr;  // "DNS:a,IP:::1": subject alternative names
};

struct certificate {
    std::string pem;
    std::string subject;
    test_key key;
    std::string hashed_name;  // its file's name in a folder of hashed certificates
};
// Signed by the issuer's key, or by its own.
certificate make_certificate(const certificate_options &options,
                             const certificate *issuer = nullptr);
certificate make_ca(const char *subject = "test CA", test_key key = KEY_ONE);

// A folder of files that goes at the end.
struct file_folder {
    std::string path;

    file_folder();
    ~file_folder();
    file_folder &operator=(file_folder &&) = delete;  // and with it all copies
    // The path of a new file with this content.
    std::string add(const std::string &name, const std::string &content) const;
};
// Empty when there is no such file.
std::string file_content(const std::string &path);

#endif
