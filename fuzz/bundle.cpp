// Secure connect bundles: any file, and a good file with any config.json.
#include "core/session/cass_bundle.h"

#include <fstream>

#include "fuzz/fuzz.h"
#include "tests/bundle_file.h"
#include "tests/node/certificates.h"
#include "tests/unit/handles.h"

void fuzz_one(fuzz_input in)
{
    static const file_folder folder;
    static const std::string path = folder.path + "/bundle.zip";
    const bool config_alone = fuzz_number(&in) == 'c';
    const std::string content = fuzz_rest(&in);
    if (config_alone)
        write_bundle(path, {{"config.json", content}, {"ca", "A"}, {"cert", "C"}, {"key", "K"}});
    else
        std::ofstream(path, std::ios::binary | std::ios::trunc) << content;

    session s(false);
    s.conn->settings.bundle_path = cass_string_from_cstr(path.c_str());
    const int code = cass_read_bundle(s.conn);
    if (code != 0) {
        EXPECT_EQ(code, -5);
        EXPECT_EQ(states_of(s.conn), "HY000");
        return;
    }
    EXPECT_NE(s.conn->settings.server, nullptr);
    EXPECT_EQ(s.conn->settings.encrypt, 1);
    EXPECT_EQ(s.conn->settings.trust_server_certificate, 0);
    if (config_alone) {
        EXPECT_LE(s.conn->ca_length + s.conn->certificate_length + s.conn->private_key_length, 3);
    }
}
