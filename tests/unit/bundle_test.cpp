// Secure connect bundles of which no good can come. Files of any bytes are a fuzz target's.
#include "tests/bundle_file.h"

#include "core/session/cass_bundle.h"
#include "tests/node/certificates.h"
#include "tests/unit/handles.h"

struct bundle : ::testing::Test {
    const file_folder folder;
    const std::string path = folder.path + "/bundle.zip";
    session s;

    // The settings that a fresh connection then has, and the records.
    std::string told(const std::string &from)
    {
        cass_conn *conn = s.conn;
        cass_reset_conn(conn);
        cass_diag_clear(&conn->head);
        conn->settings.bundle_path = cass_string_from_cstr(from.c_str());
        conn->settings.server = cass_string_from_cstr("old");
        conn->settings.port = 0;  // outlives its session
        conn->settings.trust_server_certificate = 1;
        const int code = cass_read_bundle(conn);
        EXPECT_EQ(code, conn->head.diag_records == nullptr ? 0 : -5);
        std::string all = text_of(conn->settings.server) + " " + text_of(conn->settings.keyspace);
        for (const int number :
             {conn->settings.astra, conn->settings.metadata_port, conn->settings.port,
              conn->settings.encrypt, conn->settings.trust_server_certificate})
            all += " " + std::to_string(number);
        return all + "\n" + records(conn);
    }
};

static const std::string required =
    R"({"host": "db", "port": 1, "cql_port": 2, "keyspace": "Ks", )";

TEST_F(bundle, that_is_broken_is_told_and_keeps_what_was_taken)
{
    const std::string zeros((16 << 20) + 1, '\0');
    const std::string none = "old (null) 0 0 0 0 1\n", all = "db Ks 1 1 2 0 1\n";
    const std::string error = "HY000 General error: ", missing = error + "Failed to extract ";
    const std::string broken = error + "Failed to parse config.json ";
    EXPECT_EQ(told("/no/such"), none + error + "Failed to open bundle '/no/such'\n");
    const std::pair<std::string, std::string> cases[] = {
        {zeros, none + error + "extract_from_file( \"config.json\" ) read fails\n"},
        {"{\n\"host\": \n}", none + broken + "3\n"},
        {R"({"host": "db", "port": 1})", "db (null) 1 1 0 0 1\n" + missing + "cql_port\n"},
        {R"({"host": 5, "port": 1, "cql_port": 2})",
         " (null) 1 1 2 0 1\n" + missing + "keyspace\n"},
        {required + R"("certLocation": "./no"})",
         all + error + "zip_fopen( \"no\" ) fails: 'No such file'\n"},
        {required + R"("keyLocation": "zeros"})",
         all + error + "zip_fopen( \"zeros\" ) read fails\n"},
        {R"({"host": 5, "port": "1", "cql_port": 4294967298, "keyspace": null, "keyLocation": 5})",
         "  1 0 2 1 0\n"},
    };
    for (const auto &[config, wanted] : cases) {
        const bool big = config.find("zeros") != std::string::npos;
        write_bundle(path, {{"config.json", config}, {"zeros", big ? zeros : ""}});
        EXPECT_EQ(told(path), wanted);
    }
    write_bundle(path, {{"config", "{}"}});
    EXPECT_EQ(told(path), none + error + "zip_fopen( \"config.json\" ) fails: 'No such file'\n");
    folder.add("bundle.zip", "no zip");
    EXPECT_EQ(told(path), none + error + "Failed to open bundle '" + path +
                              "' zerror=19 'The file specified by fd is not a zip archive.'\n");
}
