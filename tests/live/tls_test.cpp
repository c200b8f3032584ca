// TLS to a real node that demands a certificate, through the Driver Manager. What settings accept
// and refuse is shown against the scripted server.
#include "tests/live/live_support.h"

// A session by the node's own anchor, and none without.
TEST(live_tls, session_needs_the_anchor_of_the_node)
{
    NEED_NODE("VHCASS_TLS_SERVER");
    const char *const files = std::getenv("VHCASS_TLS_FILES");
    if (files == nullptr)
        GTEST_SKIP() << "not run: no folder with the certificates of the TLS node";
    const std::string folder = files, settings = node_settings("VHCASS_TLS_SERVER") +
                                                 "Encrypt=yes;PublicKeyFile=" + folder +
                                                 "/client.pem;PrivateKeyFile=" + folder +
                                                 "/client.key;";
    const live_session live;
    EXPECT_CONN(SQL_ERROR, live.conn, driver_connect(live.conn, settings));
    expect_records(SQL_HANDLE_DBC, live.conn,
                   {"08001 SSL Provider: unable to get local issuer certificate"});
    EXPECT_CONN(SQL_SUCCESS, live.conn,
                driver_connect(live.conn, settings + "CertificateFile=" + folder + "/ca.pem"));
    expect_alive(live.conn);
}
