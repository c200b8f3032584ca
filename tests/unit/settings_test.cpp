// Connection settings on all their roads: sections of a real odbc.ini in a folder of the test's
// own, connection strings, the setup library's block, and the output string with its buffer rules.
#include <map>

#include "core/session/cass_settings.h"
#include "dll/driver_test.h"
#include "odbc/SQLDriverConnectWide.h"
#include "tests/node/certificates.h"
#include "tests/unit/handles.h"

struct settings : stmt_fixture {
    const file_folder folder;

    settings()
    {
        setenv("ODBCSYSINI", folder.path.c_str(), 1);
        setenv("ODBCINI", (folder.path + "/user.ini").c_str(), 1);
    }
    // The installer library remembers values by section and key for some time, whatever file they
    // came from: no two cases use one section name.
    void write_ini(const std::string &content) { folder.add("user.ini", content); }
    // Another connection for each reading, so that nothing of an earlier one is left.
    void renew()
    {
        cass_free_conn(conn, 0);
        conn = cass_alloc_conn(env, 3);
    }
    void read_dsn(const char *dsn, const char *user = nullptr, const char *password = nullptr)
    {
        renew();
        read_dsn_too(dsn, user, password);
    }
    void read_dsn_too(const char *dsn, const char *user, const char *password)
    {
        const auto text = [](const char *bytes) {
            return own(bytes == nullptr ? nullptr : cass_string_from_cstr(bytes));
        };
        cass_read_dsn_settings(conn, text(dsn).get(), text(user).get(), text(password).get());
    }
    void parse(const std::string &text)
    {
        renew();
        cass_parse_connect_string(conn, own(cass_string_from_cstr(text.c_str())).get());
    }
    std::string out_string() { return text_of(own(cass_build_out_string(conn)).get()); }
    // Every setting as one line, so that a wrong field shows whatever key it came from.
    std::string all() const
    {
        std::string line;
        for (const cass_string *text :
             {conn->settings.user, conn->settings.password, conn->settings.server,
              conn->settings.bundle_path, conn->settings.keyspace, conn->settings.entropy_file,
              conn->settings.private_key_file, conn->settings.certificate_file,
              conn->settings.public_key_file})
            line += (text == nullptr ? "-" : text_of(text)) + " ";
        line += conn->settings.log_file;
        for (const std::int32_t number :
             {conn->head.log_mask, conn->settings.port, conn->settings.metadata_port,
              conn->settings.ipv6, conn->settings.logon_timeout, conn->settings.connection_timeout,
              conn->settings.encrypt, conn->settings.trust_server_certificate,
              conn->settings.rcvbuffer, conn->settings.keepalive, conn->settings.astra,
              conn->settings.consistency, conn->settings.string_len, conn->settings.binary_len})
            line += " " + std::to_string(number);
        return line;
    }
};

static constexpr char every_setting[] =
    "u p s b k e pk cf pf /dev/null 4 11 12 1 13 14 1 1 15 16 1 7 17 18";
static constexpr char no_setting[] = "- - - - - - - - -  0 0 0 0 0 0 0 0 0 0 0 1 256 1024";

TEST_F(settings, every_key_reaches_its_field_on_all_roads)
{
    write_ini("[all]\nuser=u\nPASSWORD=p\nServer=s\nSecureConnectionBundlePath=b\nKeyspace=k\n"
              "Entropy=e\nPrivateKeyFile=pk\nCertificateFile=cf\nPublicKeyFile=pf\n"
              "LogFile=/dev/null\nLogging=4\nPort=11\nAstraPort=12\nipv6=yes\nLogonTimeout=13\n"
              "ConnectionTimeout=14\nEncrypt=true\nTrustServerCertificate=1\nRCVBUFFER=15\n"
              "SOKEEPALIVE=16\nAstra=Yes\nConsistency=each_quorum\nStringLen=17\nBinaryLen=18\n");
    parse("DSN=all");
    EXPECT_EQ(all(), every_setting);
    read_dsn("all");
    EXPECT_EQ(all(), every_setting);
    EXPECT_EQ(text_of(conn->settings.dsn), "all");
    parse("Driver={x};uid=u;PWD=p;SERVER=s;Bundle=b;keySpace=k;ENTROPY=e;PrivateKeyFile=pk;"
          "CertificateFile=cf;PublicKeyFile=pf;LOGFILE=/dev/null;Logging=0x4;Port=11;astra_port=12;"
          "IPv6=yes;logontimeout=13;connectiontimeout=14;ENCRYPT=True;trustservercertificate=yes;"
          "rcvbuffer=15;sokeepalive=16;ASTRA=YES;CONSISTENCY=7;STRINGLEN=17;BINARYLEN=18");
    EXPECT_EQ(all(), every_setting);
    parse(";;;=x;nokey;UNKNOWN=1;AstraPort=4;SecureConnectionBundlePath=b");
    cass_parse_connect_string(conn, nullptr);
    EXPECT_EQ(all(), no_setting);
}

TEST_F(settings, words_mean_what_their_road_says)
{
    // clang-format off
    const std::map<std::string, std::int32_t cass_settings::*> fields = {
        {"Encrypt", &cass_settings::encrypt}, {"ipv6", &cass_settings::ipv6},
        {"Port", &cass_settings::port}, {"Consistency", &cass_settings::consistency},
        {"StringLen", &cass_settings::string_len}};
    // Read by SQLConnect, from a connection string, from the section that a string names.
    static const struct { std::string pair; int by_connect, by_string, by_section; } cases[] = {
        {"Logging=OnError", 95, 95, 0}, {"Logging=error", 95, 0, 95}, {"Logging=010", 8, 8, 8},
        {"Logging=process", 63, 63, 63}, {"Logging=0X1fg", 31, 31, 31}, {"Encrypt=TRUE", 1, 1, 1},
        {"Encrypt=optional", 2, 0, 0}, {"Encrypt=2", 2, 0, 2}, {"ipv6=1", 1, 0, 1},
        {"Consistency=ANY", 0, 0, 0}, {"Consistency=most", 0, 0, 0}, {"Consistency=0x4", 0, 4, 4},
        {"Consistency=Local_Quorum", 6, 6, 6}, {"Consistency=-1", 1, 1, 1},
        {"Consistency=-2", -2, 1, 1}, {"Port=9x", 9, 9, 9}, {"Port=0x20", 0, 0, 0},
        {"Port=-5", -5, 0, 0}, {"Port=99999999999999999999", -1, 0, 0},
        {"StringLen=-9", 256, 256, 256},
    };
    // clang-format on
    for (const auto &row : cases) {
        const std::string dsn = "word" + std::to_string(&row - cases);
        write_ini("[" + dsn + "]\nServer=s\nLogFile=" + folder.path + "/log\n" + row.pair + "\n");
        const auto value = [&] {
            const auto field = fields.find(row.pair.substr(0, row.pair.find('=')));
            return field == fields.end() ? conn->head.log_mask : conn->settings.*field->second;
        };
        read_dsn(dsn.c_str());
        EXPECT_EQ(value(), row.by_connect) << row.pair;
        parse(row.pair);
        EXPECT_EQ(value(), row.by_string) << row.pair;
        parse("DSN=" + dsn);
        EXPECT_EQ(value(), row.by_section) << row.pair;
    }
}

TEST_F(settings, a_connection_string_is_cut_by_its_separators_outside_braces_only)
{
    static constexpr const char *cases[][2] = {
        {"PWD={a{;}b;}c;UID=u", "u {a{;}b;}c 0"},
        {"UID={open;PWD=x;PORT=5", "{open;PWD=x;PORT=5 (null) 0"},
        {"UID=a};PWD=x;PORT=5", "a};PWD=x;PORT=5 (null) 0"},
        {"PORT=1;UID=first;port=2;uid=second;PWD=;PWD=late", "first  2"},
        {" UID=a;UID =b; PORT=5;PWD= p ", "(null)  p  0"},
    };
    for (const auto &[text, read] : cases) {
        parse(text);
        EXPECT_EQ(text_of(conn->settings.user) + " " + text_of(conn->settings.password) + " " +
                      std::to_string(conn->settings.port),
                  read);
    }
}

TEST_F(settings, what_is_given_wins_over_the_section_key_by_key)
{
    write_ini("[one]\nServer=s1\nUser=u1\nPassword=p1\nPort=1\nipv6=yes\nConsistency=TWO\n"
              "LogFile=/dev/null\nLogging=4\n\n[two]\nServer=s2\nKeyspace=k2\n"
              "[bare]\nKeyspace=k\nPort=5\nStringLen=9\n[M\xC3\xBCller]\nServer=s\n"
              "[c]\nServer=t\n");
    parse("DSN=one;DSN=two;SERVER=mine;UID=;PORT=0;ipv6=no;LOGFILE=/dev/full");
    EXPECT_EQ(all(), " p1 mine - - - - - - /dev/full 4 0 0 0 0 0 0 0 0 0 0 2 256 1024");
    // A negative number other than -1 has been given, and is then absent.
    parse("DSN=one;PORT=-1;CONSISTENCY=-4");
    EXPECT_EQ(all(), "u1 p1 s1 - - - - - - /dev/null 4 1 0 1 0 0 0 0 0 0 0 1 256 1024");
    // Arguments of the call.
    read_dsn_too("one", "", "mine");
    EXPECT_EQ(text_of(conn->settings.user) + text_of(conn->settings.password), "mine");
    // Without an address nothing is kept; without a section there is nothing.
    for (const char *name : {"bare", "", "missing", static_cast<const char *>(nullptr)}) {
        read_dsn(name, "me", "secret");
        EXPECT_EQ(all(), no_setting) << (name == nullptr ? "(null)" : name);
    }
    // An ANSI application's UTF-8, and the character itself, as the wide form brings it.
    for (const char *name : {"M\xC3\xBCller", "M\xFCller"}) {
        read_dsn(name);
        EXPECT_EQ(text_of(conn->settings.server), "s");
    }
    // What a second connect finds from the first: a section leaves more behind than a string.
    parse("SERVER=s;UID=u;PORT=5;CONSISTENCY=5;SOKEEPALIVE=7;PrivateKeyFile=pk;ENTROPY=e");
    read_dsn_too("c", nullptr, nullptr);
    EXPECT_EQ(all(), "- - t - - - pk - -  0 0 0 0 0 0 0 0 0 7 0 1 256 1024");
}

TEST_F(settings, over_long_values_are_cut)
{
    const std::string value(600, 'x'), cut(511, 'x');
    std::string keys;
    for (int i = 0; i < 1000; i++)
        keys += "Filler_" + std::to_string(i) + "=1\n";
    write_ini("[long]\nServer=" + value + "\nLogFile=" + value + "\n" + keys + "Port=5\n");
    read_dsn("long");
    EXPECT_TRUE(text_of(conn->settings.server) == cut && conn->settings.log_file == cut);
    EXPECT_EQ(conn->settings.port, 0);  // the list of keys ends before it
    parse("LOGFILE=" + value + ";PWD=" + value);
    EXPECT_TRUE(text_of(conn->settings.password) == value && conn->settings.log_file == cut);
}

TEST_F(settings, the_output_string_names_what_is_unusual)
{
    const std::string text =
        "SERVER=h,i;UID=u;PWD=p;KEYSPACE=k;PORT=9043;ipv6=yes;RCVBUFFER=1;SOKEEPALIVE=3;"
        "PrivateKeyFile=pk;CertificateFile=cf;PublicKeyFile=pf;ENTROPY=e;ASTRA_PORT=8;ASTRA=yes;"
        "TrustServerCertificate=yes;CONSISTENCY=ANY;STRINGLEN=9;BINARYLEN=10";
    parse(text);
    conn->settings.ssl_active = 1;
    EXPECT_EQ(out_string(),
              "DRIVER={Varnholt MySQL ODBC Driver};UID=u;PWD=p;SERVER=h,i;KEYSPACE=k;PORT=9043;"
              "IPV6=Yes;RCVBUFFER=1;SOKEEPALIVE=yes;PrivateKeyFile=pk;CertificateFile=cf;"
              "PublicKeyFile=pf;Entropy=e;TrustServerCertificate=Yes;Encrypt=Yes;Astra=Yes;"
              "AstraPort=8;Consistency=0;StringLen=9;BinaryLen=10;");
    parse("DSN=d;BUNDLE=b;" + text);
    EXPECT_EQ(out_string(), "DSN=d;UID=u;PWD=p;SecureConnectionBundlePath=b;IPV6=Yes;RCVBUFFER=1;"
                            "SOKEEPALIVE=yes;Entropy=e;Consistency=0;StringLen=9;BinaryLen=10;");
}

TEST_F(settings, the_output_buffer_is_never_overrun_and_one_just_full_is_big_enough)
{
    // With the codes of the record: 176 for the ANSI form, 167 for the wide one; 0: not cut.
    // clang-format off
    const struct { int size; std::string ansi; std::u16string wide; int code[2]; } cases[] = {
        {0, "", u"", {176, 167}}, {-3, "", u"", {176, 167}}, {1, {"", 1}, {u"", 1}, {176, 167}},
        {6, {"DSN=\xC3", 6}, {u"DSN=\xE9", 6}, {176, 0}},
        {7, {"DSN=\xC3\xA9", 7}, {u"DSN=\xE9;", 7}, {176, 0}},
        {8, {"DSN=\xC3\xA9;", 8}, {u"DSN=\xE9;", 7}, {0, 0}},
    };
    // clang-format on
    const owned_string text = string_of(u"DSN=\xE9;");
    for (const auto &c : cases) {
        for (const bool wide : {false, true}) {
            SCOPED_TRACE(testing::Message() << c.size << (wide ? " wide" : ""));
            guarded at;
            SQLSMALLINT length = -1;
            const bool cut = driver_connect_write(
                conn, text.get(),
                {at.data(), SQLSMALLINT(c.size), &length, wide ? TEXT_WIDE_UNITS : TEXT_ANSI});
            EXPECT_EQ(at.written(), wide ? bytes_of(c.wide.data(), 2 * c.wide.size()) : c.ansi);
            EXPECT_EQ(length, 6);
            EXPECT_EQ(states_of(conn), cut ? "01004" : "");
            EXPECT_EQ(cut ? cass_diag_get(&conn->head, 1)->native : 0, c.code[wide]);
            cass_diag_clear(&conn->head);
        }
    }
    guarded at;  // ASCII that just fits
    EXPECT_FALSE(
        driver_connect_write(conn, string_of(u"D=;").get(), {at.data(), 3, nullptr, TEXT_ANSI}));
    EXPECT_EQ(at.written(), bytes_of("D=", 3));
}

TEST_F(settings, a_block_replaces_its_settings_and_no_others)
{
    parse("DSN=d;UID=u;PWD=p;SERVER=s;BUNDLE=b;KEYSPACE=k;PrivateKeyFile=x;CertificateFile=y;"
          "PublicKeyFile=z;ENTROPY=e;RCVBUFFER=5;STRINGLEN=6;LOGFILE=/dev/null;PORT=7;ipv6=yes");
    const auto block = std::make_unique<cass_settings_block>();
    std::memset(block.get(), 'x', sizeof *block);  // no text has an end
    cass_apply_settings_block(conn, block.get());
    const std::string x = std::string(1024, 'x') + " ";
    EXPECT_TRUE(
        all().starts_with(x + x + x + x + x + "e " + x + x + x + std::string(511, 'x') + " "));
    EXPECT_EQ(text_of(conn->settings.dsn) + " ", x);
    *block = {};
    block->logging = block->encrypt = block->trust_server_certificate = block->astra = 1;
    block->port = 21;
    block->metadata_port = 22;
    block->consistency = 4;
    std::strcpy(block->server, "only\xE9");
    cass_apply_settings_block(conn, block.get());
    EXPECT_EQ(all(), "- - only\xE9 - - e - - -  31 21 22 0 0 0 1 1 5 0 1 4 6 1024");
    EXPECT_EQ(conn->settings.ssl_active, 1);
    EXPECT_EQ(conn->settings.dsn, nullptr);
}

// There is no setup library: what would be a dialog is a cancel.
TEST_F(settings, connecting_without_an_address_is_refused_or_asks_the_user)
{
    SQLCHAR port[] = "PORT=5", server[] = "SERVER=127.0.0.1;PORT=1";
    // clang-format off
    const std::tuple<SQLHWND, SQLCHAR *, SQLUSMALLINT, std::string> cases[] = {
        {conn, port, SQL_DRIVER_NOPROMPT, "HY000"}, {nullptr, port, SQL_DRIVER_COMPLETE, "100 "},
        {conn, server, SQL_DRIVER_COMPLETE, "100 "},
    };
    // clang-format on
    testing::internal::CaptureStderr();
    for (const auto &[window, text, completion, result] : cases) {
        const SQLRETURN code =
            SQLDriverConnect(conn, window, text, SQL_NTS, nullptr, 0, nullptr, completion);
        EXPECT_EQ(outcome(code, conn), result);
    }
    EXPECT_TRUE(testing::internal::GetCapturedStderr().starts_with(
        "Varnholt ODBC: Unable to load setup library (libvhcassS.so)\n"));
    const auto block = std::make_unique<cass_settings_block>();
    std::string message(DRIVER_TEST_MESSAGE_SIZE + 1, '#');
    EXPECT_EQ(driver_test(block.get(), message.data()), 1);
    EXPECT_TRUE(message.starts_with("Failed to connect: '[Varnholt][Apache Cassandra]"));
    EXPECT_EQ(message.back(), '#');
}
