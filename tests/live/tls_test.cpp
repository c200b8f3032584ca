// TLS to a real node that demands a certificate, through the Driver Manager. What settings accept
// and refuse is shown against the scripted server.
#include "tests/app_value.h"
#include "tests/live/live_support.h"

// A session by the node's own anchor, a value of 5 MiB there and back, and no session without.
TEST(live_tls, session_carries_a_large_value)
{
    NEED_NODE("VHCASS_TLS_SERVER");
    const char *const files = std::getenv("VHCASS_TLS_FILES");
    if (files == nullptr)
        GTEST_SKIP() << "not run: no folder with the certificates of the TLS node";
    const std::string folder = files, settings = node_settings("VHCASS_TLS_SERVER") +
                                                 "Encrypt=yes;PublicKeyFile=" + folder +
                                                 "/client.pem;PrivateKeyFile=" + folder +
                                                 "/client.key;";
    const live_ptr unknown = live_open(), live = live_open();
    EXPECT_CONN(SQL_ERROR, unknown->conn, driver_connect(unknown->conn, settings));
    expect_records(SQL_HANDLE_DBC, unknown->conn,
                   {"08001 SSL Provider: unable to get local issuer certificate"});
    ASSERT_EQ(driver_connect(live->conn, settings + "CertificateFile=" + folder + "/ca.pem"),
              SQL_SUCCESS);
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
