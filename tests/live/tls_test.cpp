// TLS to real nodes through the Driver Manager: what the settings accept and refuse, a client's own
// certificate, and large values and results.
#include <filesystem>
#include <fstream>

#include "tests/live/live_support.h"
#include "tests/node/certificates.h"

// Settings of a TLS node; {files} stands for the folder of its certificates.
static std::string tls_settings(const std::string &more, const char *node, const char *files)
{
    const char *folder = std::getenv(files);
    return node_settings(node) + "Encrypt=yes;" +
           replaced(more, "{files}", folder != nullptr ? folder : "");
}

struct live_tls : ::testing::Test {
    void SetUp() override
    {
        NEED_NODE("VHCASS_SERVER");
        NEED_NODE("VHCASS_TLS_SERVER");
        if (std::getenv("VHCASS_TLS_FILES") == nullptr)
            GTEST_SKIP() << "not run: VHCASS_TLS_FILES names no folder of certificates";
    }

    static std::string settings(const std::string &more)
    {
        return tls_settings(more, "VHCASS_TLS_SERVER", "VHCASS_TLS_FILES");
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

static std::string output_of(const std::string &command)
{
    FILE *pipe = popen(command.c_str(), "r");
    char text[256] = "";
    const std::size_t length = fread(text, 1, sizeof text, pipe);
    pclose(pipe);
    return {text, length};
}

TEST_F(live_tls, settings_decide_which_server_is_accepted)
{
    const std::string ca = replaced("{files}/ca.pem", "{files}", std::getenv("VHCASS_TLS_FILES"));
    const file_folder hashed;
    const std::string hash = output_of("openssl x509 -noout -subject_hash -in " + ca).substr(0, 8);
    std::filesystem::copy_file(ca, hashed.path + "/" + hash + ".0");
    const file_folder strange;
    const std::string other = strange.add("other.pem", make_ca("other CA").pem);
    const record_list unknown = {"08001 SSL Provider: unable to get local issuer certificate"};
    const record_list refused = {"08001 SSL connection failed", "08001 SSL error 'error:"};
    attempt(settings(""), unknown);
    attempt(settings("CertificateFile=" + other), unknown);
    attempt(settings("TrustServerCertificate=yes"), {});
    attempt(settings("CertificateFile=" + ca), {});
    attempt(settings("CertificateFile=" + hashed.path), {});
    attempt("DSN=" + add_data_source(filled("Server={host}\nPort={port}\nEncrypt=Yes\n"
                                            "CertificateFile=",
                                            "VHCASS_TLS_SERVER") +
                                     ca + "\n"),
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
    NEED_NODE("VHCASS_CLIENT_AUTH_SERVER");
    const auto with = [](const std::string &more) {
        return tls_settings("CertificateFile={files}/ca.pem;" + more, "VHCASS_CLIENT_AUTH_SERVER",
                            "VHCASS_CLIENT_AUTH_FILES");
    };
    const record_list refused = {"08001 SSL connection failed", "08001 SSL error 'error:"};
    const std::string shown = "PublicKeyFile={files}/client.pem;PrivateKeyFile={files}/";
    attempt(with(shown + "client.key"), {});
    attempt(with(""), refused);
    attempt(with(shown + "server.key"), refused);
}

// A value of 5 MiB there and back, and a result of many pages.
TEST_F(live_tls, carries_large_values_and_results)
{
    const live_ptr live = live_open();
    ASSERT_EQ(driver_connect(live->conn, settings("CertificateFile={files}/ca.pem")), SQL_SUCCESS);
    const SQLHSTMT stmt = new_stmt(live.get());
    make_keyspace(stmt, "live_tls");
    run(stmt, "USE live_tls");
    run(stmt, "CREATE TABLE big (k int PRIMARY KEY, b blob)");
    run(stmt, "CREATE TABLE many (p int, n int, t text, PRIMARY KEY (p, n))");

    std::string blob(5 << 20, '\0');
    for (std::size_t i = 0; i < blob.size(); i++)
        blob[i] = static_cast<char>(i * 2654435761U >> 13);
    SQLLEN length = static_cast<SQLLEN>(blob.size());
    ASSERT_STMT(SQL_SUCCESS, stmt,
                SQLBindParameter(stmt, 1, SQL_PARAM_INPUT, SQL_C_BINARY, SQL_LONGVARBINARY,
                                 blob.size(), 0, blob.data(), length, &length));
    ASSERT_STMT(SQL_SUCCESS, stmt, exec(stmt, "INSERT INTO big (k, b) VALUES (1, ?)"));
    SQLFreeStmt(stmt, SQL_RESET_PARAMS);
    ASSERT_STMT(SQL_SUCCESS, stmt, exec(stmt, "SELECT b FROM big WHERE k = 1"));
    ASSERT_STMT(SQL_SUCCESS, stmt, SQLFetch(stmt));
    std::string got(blob.size() + 1, '\0');  // a buffer that fits exactly counts as cut
    ASSERT_STMT(
        SQL_SUCCESS, stmt,
        SQLGetData(stmt, 1, SQL_C_BINARY, got.data(), static_cast<SQLLEN>(got.size()), &length));
    got.pop_back();
    EXPECT_TRUE(got == blob);
    SQLFreeStmt(stmt, SQL_CLOSE);

    constexpr int rows = 5000;
    for (int n = 0; n < rows; n += 250)
        change_rows(stmt, "INSERT INTO many (p, n, t) VALUES (1, {n}, 'row {n}')", n, n + 250);
    const row_list all = query(live->conn, "SELECT n, t FROM many WHERE p = 1");
    ASSERT_EQ(all.size(), static_cast<std::size_t>(rows));
    EXPECT_EQ(all.back(), "4999|row 4999");
}
