// TLS to real nodes through the Driver Manager: what the settings accept and refuse, a client's own
// certificate, and a large value.
#include "tests/app_value.h"
#include "tests/live/live_support.h"
#include "tests/node/certificates.h"

static const record_list refused = {"08001 SSL connection failed", "08001 SSL error 'error:"};

struct live_tls : ::testing::Test {
    // Tests end unless a node and the folder of its certificates are named.
    static bool is_missing(const char *node, const char *files)
    {
        return filled("{host}", node).empty() || std::getenv(files) == nullptr;
    }
    // {files} stands for the folder of the node's certificates.
    static std::string settings(const std::string &more, const char *node = "VHCASS_TLS_SERVER",
                                const char *files = "VHCASS_TLS_FILES")
    {
        return node_settings(node) + "Encrypt=yes;" + replaced(more, "{files}", std::getenv(files));
    }
    void SetUp() override
    {
        NEED_NODE("VHCASS_SERVER");
        if (is_missing("VHCASS_TLS_SERVER", "VHCASS_TLS_FILES"))
            GTEST_SKIP() << "not run: no TLS node with a folder of certificates";
    }
};

// One attempt in an environment of its own, as anchors stay with it. No records: it must answer.
static void attempt(const std::string &settings, const record_list &records)
{
    SCOPED_TRACE(settings);
    const live_ptr live = live_open();
    EXPECT_CONN(records.empty() ? SQL_SUCCESS : SQL_ERROR, live->conn,
                driver_connect(live->conn, settings));
    expect_records(SQL_HANDLE_DBC, live->conn, records);
    if (records.empty())
        expect_alive(live->conn);
}

TEST_F(live_tls, settings_decide_which_server_is_accepted)
{
    const file_folder folder;
    const std::string other = folder.add("other.pem", make_ca("other CA").pem);
    const record_list unknown = {"08001 SSL Provider: unable to get local issuer certificate"};
    attempt(settings(""), unknown);
    attempt(settings("CertificateFile=" + other), unknown);
    attempt(settings("TrustServerCertificate=yes"), {});
    attempt(settings("CertificateFile={files}/ca.pem"), {});
    attempt("DSN=" + add_data_source(filled("Server={host}\nPort={port}\nEncrypt=Yes\n"
                                            "CertificateFile=",
                                            "VHCASS_TLS_SERVER") +
                                     std::getenv("VHCASS_TLS_FILES") + "/ca.pem\n"),
            {});
    attempt(settings("CertificateFile=/no/such/file"),
            {"08001 Loading Certificate file '/no/such/file' failed",
             "08001 SSL error 'error:", "08001 SSL error 'error:", "08001 SSL error 'error:"});
    // Clear text to a TLS server, and TLS to one that speaks clear text.
    attempt(node_settings("VHCASS_TLS_SERVER"),
            {"HY000 failed to return a packet", "08S01 read failed"});
    attempt(node_settings() + "Encrypt=yes;TrustServerCertificate=yes", refused);
}

TEST_F(live_tls, client_certificate_is_shown_where_it_is_demanded)
{
    const char *node = "VHCASS_CLIENT_AUTH_SERVER", *files = "VHCASS_CLIENT_AUTH_FILES";
    if (is_missing(node, files))
        GTEST_SKIP() << "not run: no node that demands certificates";
    const std::string anchor = "CertificateFile={files}/ca.pem";
    const std::string shown = ";PublicKeyFile={files}/client.pem;PrivateKeyFile={files}/client.key";
    attempt(settings(anchor + shown, node, files), {});
    attempt(settings(anchor, node, files), refused);
}

// A value of 5 MiB there and back.
TEST_F(live_tls, carries_a_large_value)
{
    const live_ptr live = live_open();
    ASSERT_EQ(driver_connect(live->conn, settings("CertificateFile={files}/ca.pem")), SQL_SUCCESS);
    const SQLHSTMT stmt = new_stmt(live.get());
    make_keyspace(stmt, "live_tls");
    run(stmt, "CREATE TABLE live_tls.big (k int PRIMARY KEY, b blob)");

    std::string blob(5 << 20, '\0');
    for (std::size_t i = 0; i < blob.size(); i++)
        blob[i] = static_cast<char>(i * 2654435761U >> 13);
    SQLLEN length = static_cast<SQLLEN>(blob.size());
    bind(stmt, 1, SQL_C_BINARY, SQL_LONGVARBINARY, blob.data(), &length, length, blob.size());
    ASSERT_STMT(SQL_SUCCESS, stmt, exec(stmt, "INSERT INTO live_tls.big (k, b) VALUES (1, ?)"));
    SQLFreeStmt(stmt, SQL_RESET_PARAMS);
    ASSERT_STMT(SQL_SUCCESS, stmt, exec(stmt, "SELECT b FROM live_tls.big WHERE k = 1"));
    ASSERT_STMT(SQL_SUCCESS, stmt, SQLFetch(stmt));
    std::string got(blob.size() + 1, '\0');  // a buffer that fits exactly counts as cut
    ASSERT_STMT(SQL_SUCCESS, stmt,
                SQLGetData(stmt, 1, SQL_C_BINARY, got.data(), length + 1, &length));
    got.pop_back();
    EXPECT_TRUE(got == blob);
}
