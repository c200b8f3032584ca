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
