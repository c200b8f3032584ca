// Secure connect bundles for the tests of every level: zip files with members of any content.
#ifndef TESTS_BUNDLE_FILE_H
#define TESTS_BUNDLE_FILE_H

#include <gtest/gtest.h>
#include <zip.h>

#include <string>
#include <utility>
#include <vector>

// Name and content of each member.
using zip_members = std::vector<std::pair<std::string, std::string>>;

// The bundle of a database whose metadata service and whose node are at one port.
inline zip_members hosted_bundle(int number, const std::string &ca, const std::string &certificate,
                                 const std::string &key)
{
    const std::string port = std::to_string(number);
    return {{"config.json", R"({"host": "127.0.0.1", "port": )" + port + R"(, "cql_port": )" +
                                port + R"(, "keyspace": "ks", "caCertLocation": "./ca", )" +
                                R"("certLocation": "cert", "keyLocation": "./key"})"},
            {"ca", ca},
            {"cert", certificate},
            {"key", key}};
}

inline void write_bundle(const std::string &path, const zip_members &members,
                         int method = ZIP_CM_DEFLATE)
{
    zip_t *zip = zip_open(path.c_str(), ZIP_CREATE | ZIP_TRUNCATE, nullptr);
    for (const auto &[name, content] : members) {
        zip_source_t *source = zip_source_buffer(zip, content.data(), content.size(), 0);
        const zip_int64_t member = zip_file_add(zip, name.c_str(), source, 0);
        zip_set_file_compression(zip, static_cast<zip_uint64_t>(member), method, 0);
    }
    ASSERT_EQ(zip_close(zip), 0) << path;
}

#endif
