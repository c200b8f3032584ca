// Connection settings on all their roads: sections of a real odbc.ini in a folder of the test's
// own, connection strings by default and by ODBC's grammar, and the output string. How values are
// quoted is compared by a fuzz target.
#include "core/session/cass_checked_settings.h"
#include "core/session/cass_secrets.h"
#include "core/session/cass_settings.h"
#include "core/session/cass_settings_table.h"
#include "tests/node/certificates.h"
#include "tests/unit/handles.h"

static owned_string text(const char *bytes)
{
    return own(bytes == nullptr ? nullptr : cass_string_from_cstr(bytes));
}

// UTF-8, whatever the form.
static std::string meaning(const cass_string *string)
{
    std::int32_t count = 0;
    const held_text bytes(cass_string_to_bytes(string, &count));
    return bytes == nullptr ? "-" : std::string(bytes.get(), std::size_t(count));
}

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
    // What was posted; empty when all was read.
    std::string told(int code) const
    {
        EXPECT_EQ(code, conn->head.diag_records == nullptr ? 0 : -1);
        return records(conn);
    }
    std::string parse(const std::string &string)
    {
        renew();
        return told(cass_parse_connect_string(conn, text(string.c_str()).get()));
    }
    std::string read_dsn_too(const char *dsn, const char *user, const char *password)
    {
        return told(
            cass_read_dsn_settings(conn, text(dsn).get(), text(user).get(), text(password).get()));
    }
    std::string read_dsn(const char *dsn, const char *user = nullptr,
                         const char *password = nullptr)
    {
        renew();
        return read_dsn_too(dsn, user, password);
    }
    std::string out_string() { return meaning(own(cass_build_out_string(conn)).get()); }
    // What no empty connection string gives, under the keys of one.
    std::string all() const
    {
        const session fresh(false);
        cass_parse_connect_string(fresh.conn, nullptr);
        std::string line;
        for (const setting &row : settings_table) {
            std::string value = "-", usual = "-";
            if (row.text != nullptr) {
                value = meaning(conn->settings.*row.text);
            } else if (row.number != nullptr) {
                value = std::to_string(conn->settings.*row.number);
                usual = std::to_string(fresh.conn->settings.*row.number);
            }
            if (value != usual)
                line += std::string(row.string_key) + "=" + value + " ";
        }
        return line + std::to_string(conn->head.log_mask) + conn->settings.log_file;
    }
};

static constexpr char every_setting[] =
    "SERVER=s BUNDLE=b PORT=11 ASTRA_PORT=12 IPV6=1 KEYSPACE=k UID=u PWD=p LogonTimeout=13 "
    "ConnectionTimeout=14 Encrypt=1 Entropy=e TrustServerCertificate=1 PrivateKeyFile=pk "
    "CertificateFile=cf PublicKeyFile=pf RCVBUFFER=15 SOKEEPALIVE=16 Astra=1 Consistency=7 "
    "StringLen=17 BinaryLen=18 4/dev/null";

TEST_F(settings, every_key_reaches_its_field_on_all_roads)
{
    write_ini("[all]\nuser=u\nPASSWORD=p\nServer=s\nSecureConnectionBundlePath=b\nKeyspace=k\n"
              "Entropy=e\nPrivateKeyFile=pk\nCertificateFile=cf\nPublicKeyFile=pf\n"
              "LogFile=/dev/null\nLogging=4\nPort=11\nAstraPort=12\nipv6=yes\nLogonTimeout=13\n"
              "ConnectionTimeout=14\nEncrypt=true\nTrustServerCertificate=1\nRCVBUFFER=15\n"
              "SOKEEPALIVE=16\nAstra=Yes\nConsistency=each_quorum\nStringLen=17\nBinaryLen=18\n");
    parse("DSN=all");
    EXPECT_EQ(all(), std::string("DSN=all ") + every_setting);
    read_dsn("all");
    EXPECT_EQ(all(), std::string("DSN=all ") + every_setting);
    parse("uid=u;PWD=p;SERVER=s;Bundle=b;keySpace=k;ENTROPY=e;PrivateKeyFile=pk;"
          "CertificateFile=cf;PublicKeyFile=pf;LOGFILE=/dev/null;Logging=0x4;Port=11;astra_port=12;"
          "IPv6=yes;logontimeout=13;connectiontimeout=14;ENCRYPT=True;trustservercertificate=yes;"
          "rcvbuffer=15;sokeepalive=16;ASTRA=YES;CONSISTENCY=7;STRINGLEN=17;BINARYLEN=18");
    EXPECT_EQ(all(), every_setting);
    parse(";;;=x;nokey;UNKNOWN=1;AstraPort=4;SecureConnectionBundlePath=b");
    EXPECT_EQ(all(), "0");
    EXPECT_TRUE(conn->settings.consistency == 1 && conn->settings.string_len == 256 &&
                conn->settings.binary_len == 1024 && conn->settings.port == 0);
}

TEST_F(settings, what_is_given_wins_over_the_section_key_by_key)
{
    write_ini("[one]\nServer=s1\nUser=u1\nPassword=p1\nPort=1\nipv6=yes\nConsistency=TWO\n"
              "LogFile=/dev/null\nLogging=4\n\n[two]\nServer=s2\nKeyspace=k2\n"
              "[bare]\nKeyspace=k\nPort=5\nStringLen=9\n");
    const std::string long_one(600, 'x');
    const std::pair<std::string, std::string> cases[] = {
        {"DSN=one;DSN=two;SERVER=mine;UID=;PORT=0;ipv6=no;LOGFILE=/dev/full",
         "DSN=one SERVER=mine UID= PWD=p1 Consistency=2 4/dev/full"},
        // A negative number other than -1 has been given, and is then absent.
        {"DSN=one;PORT=-1;CONSISTENCY=-4",
         "DSN=one SERVER=s1 PORT=1 IPV6=1 UID=u1 PWD=p1 4/dev/null"},
        // A string is cut by its separators outside braces only.
        {"PWD={a{;}b;}c;UID=u", "UID=u PWD={a{;}b;}c 0"},
        {"UID={open;PWD=x;PORT=5", "UID={open;PWD=x;PORT=5 0"},
        {"UID=a};PWD=x;PORT=5", "UID=a};PWD=x;PORT=5 0"},
        {"PORT=1;UID=first;port=2;uid=second;PWD=;PWD=late", "PORT=2 UID=first PWD= 0"},
        {" UID=a;UID =b; PORT=5;PWD= p ", "PWD= p  0"},
        // Words and numbers are read as far as they go.
        {"Logging=OnError", "95"},
        {"Logging=010", "8"},
        {"Logging=0X1fg", "31"},
        {"Encrypt=optional", "0"},
        {"Consistency=Local_Quorum", "Consistency=6 0"},
        {"Consistency=0x4", "Consistency=4 0"},
        {"Consistency=most", "Consistency=0 0"},
        {"Port=9x", "PORT=9 0"},
        {"Port=99999999999999999999", "0"},
        // Only a log file's name has a limit.
        {"LOGFILE=" + long_one + ";PWD=" + long_one,
         "PWD=" + long_one + " 0" + long_one.substr(89)},
    };
    for (const auto &[string, wanted] : cases) {
        EXPECT_EQ(parse(string), "");
        EXPECT_EQ(all(), wanted);
    }
    // Arguments of the call.
    parse("DSN=one");
    read_dsn_too("one", "", "mine");
    EXPECT_EQ(meaning(conn->settings.user) + meaning(conn->settings.password), "mine");
    // Without an address nothing is kept; without a section there is nothing.
    for (const char *name : {"bare", "", "missing", static_cast<const char *>(nullptr)}) {
        read_dsn(name, "me", "secret");
        EXPECT_EQ(all(), name == nullptr ? "0" : "DSN=" + std::string(name) + " 0");
    }
    write_ini("[M\xC3\xBCller]\nServer=s\n[c]\nServer=t\n");
    // An ANSI application's UTF-8, and the character itself, as the wide form brings it.
    for (const char *name : {"M\xC3\xBCller", "M\xFCller"}) {
        read_dsn(name);
        EXPECT_EQ(meaning(conn->settings.server), "s");
    }
    // What a second connect finds from the first: a section leaves more behind than a string.
    parse("SERVER=s;UID=u;PORT=5;CONSISTENCY=5;SOKEEPALIVE=7;PrivateKeyFile=pk;ENTROPY=e");
    read_dsn_too("c", nullptr, nullptr);
    EXPECT_EQ(all(), "DSN=c SERVER=t PrivateKeyFile=pk SOKEEPALIVE=7 0");
}

TEST_F(settings, the_output_string_names_what_is_unusual)
{
    parse("SERVER=h,i;UID=u;PWD=p;KEYSPACE=k;PORT=9043;ipv6=yes;RCVBUFFER=1;SOKEEPALIVE=3;"
          "PrivateKeyFile=pk;CertificateFile=cf;PublicKeyFile=pf;ENTROPY=e;ASTRA_PORT=8;ASTRA=yes;"
          "TrustServerCertificate=yes;CONSISTENCY=ANY;STRINGLEN=9;BINARYLEN=10");
    conn->settings.ssl_active = 1;
    EXPECT_EQ(out_string(),
              "DRIVER={Varnholt MySQL ODBC Driver};UID=u;PWD=p;SERVER=h,i;KEYSPACE=k;PORT=9043;"
              "IPV6=Yes;RCVBUFFER=1;SOKEEPALIVE=yes;PrivateKeyFile=pk;CertificateFile=cf;"
              "PublicKeyFile=pf;Entropy=e;TrustServerCertificate=Yes;Encrypt=Yes;Astra=Yes;"
              "AstraPort=8;Consistency=0;StringLen=9;BinaryLen=10;");
    parse("DSN=d;BUNDLE=b;UID=u;PORT=1;KEYSPACE=k");
    EXPECT_EQ(out_string(), "DSN=d;UID=u;SecureConnectionBundlePath=b;");
}

// There is no setup library: what would be a dialog is a cancel.
TEST_F(settings, connecting_without_an_address_is_refused_or_asks_the_user)
{
    SQLCHAR port[] = "PORT=5", server[] = "SERVER=127.0.0.1;PORT=1";
    const std::tuple<SQLHWND, SQLCHAR *, SQLUSMALLINT, std::string> cases[] = {
        {conn, port, SQL_DRIVER_NOPROMPT, "HY000"},
        {nullptr, port, SQL_DRIVER_COMPLETE, "100 "},
        {conn, server, SQL_DRIVER_COMPLETE, "100 "},
    };
    testing::internal::CaptureStderr();
    for (const auto &[window, string, completion, result] : cases) {
        const SQLRETURN code =
            SQLDriverConnect(conn, window, string, SQL_NTS, nullptr, 0, nullptr, completion);
        EXPECT_EQ(outcome(code, conn), result);
    }
    EXPECT_TRUE(testing::internal::GetCapturedStderr().starts_with(
        "Varnholt ODBC: Unable to load setup library (libvhcassS.so)\n"));
}

// ---- By ODBC's grammar --------------------------------------------------------------------------

TEST_F(settings, values_that_their_keys_do_not_take)
{
    for (const std::string pair :
         {"Port=abc", "Port=0", "Port=70000", "Port=9042x", "Consistency=FOO", "Consistency=11",
          "Encrypt=maybe", "VerifyHost=2", "ReadTimeout=1s", "StringLen=-1", "Logging=200",
          "Server=9042", "Server=h:1,2", "Server=,"}) {
        const std::size_t sign = pair.find('=');
        const std::string told =
            pair.substr(0, sign) + " does not take the value '" + pair.substr(sign + 1) + "'";
        const std::string name = "judged" + pair;
        write_ini("[" + name + "]\nStandard=yes\n" + pair + "\n");
        for (const std::string &record :
             {parse("Standard=on;" + pair), parse("DSN={" + name + "}"), read_dsn(name.c_str())})
            EXPECT_NE(record.find(told), record.npos) << record << ", not " << told;
    }
    const std::pair<std::string, std::string> strings[] = {
        {"LogFile=" + std::string(512, 'x'), "LogFile does not take"},
        {"PWD={a", "the value of PWD has no closing brace"},
        {"x={a;Encrypt=yes", "the value of an unknown key has no closing brace"},
        {"PWD={a}b", "the value of PWD goes on behind its brace"},
        {"Encrypt", "Encrypt has no value"}};
    for (const auto &[string, told] : strings)
        EXPECT_NE(parse("Standard=on;" + string).find(told), told.npos) << told;
    EXPECT_EQ(parse("Standard=on;Unknown=x;Port= ;UID={};Server="), "");
    EXPECT_EQ(conn->conduct, &standard_conduct);
}

TEST_F(settings, what_strings_come_to)
{
    write_ini("[plain]\nServer=s\nUser=u\nPassword=p\nPort=7\n"
              "[asks]\nStandard=1\nHost=s,8\nUID=u\nPWD=a;b\nDatabase=d\nEncrypt=on\n"
              "[refuses]\nStandard=no\nServer=s\n");
    static constexpr char by_grammar[] = "StringLen=4000 BinaryLen=4000 Standard=1 ";
    // Of some the conduct stays the one by default.
    static constexpr const char *cases[][2] = {
        {"Server=h,9042;Database=ks;User=u;Password=p;Standard=true",
         "SERVER=h:9042 KEYSPACE=ks UID=u PWD=p"},
        {"Standard=Yes; Host = a , b:1,c,2 ;\tUID={u };PWD=first;PWD=late",
         "SERVER=a,b:1,c:2 UID=u  PWD=first"},
        {"Standard=Yes;Server=[::1]:5,::2,6,[::3],d;Port=7", "SERVER=[::1]:5,::2*6,[::3],d PORT=7"},
        {"Standard=Yes;Server=[::1],6;ipv6=1", "SERVER=[::1]:6 IPV6=1"},
        {"Standard=Yes;Encrypt=mandatory;PWD={a}}b;{c}", "PWD=a}b;{c Encrypt=1"},
        {"Standard=Yes;Encrypt=optional;UID=x{y;PWD=x}y", "UID=x{y PWD=x}y Encrypt=1"},
        {"Standard=Yes;Encrypt=off;UID=;PWD={};DSN=plain", "DSN=plain SERVER=s PORT=7 UID=u PWD=p"},
        {"Standard=Yes;DSN=plain;Server=t", "DSN=plain SERVER=t PORT=7 UID=u PWD=p"},
        {"Standard=Yes;DSN=plain;Server=t,9", "DSN=plain SERVER=t:9 UID=u PWD=p"},
        {"DSN=asks;UID={me}", "DSN=asks SERVER=s:8 KEYSPACE=d UID=me PWD=a;b Encrypt=1"},
        {"DSN=asks;Standard=No;UID={me}", "default DSN=asks UID={me}"},
        {"DSN=refuses;UID={me};Encrypt=required", "default DSN=refuses SERVER=s UID={me}"},
        {"Standard=No;Standard=Yes;UID={me};Encrypt=1", "default UID={me}"},
        {"UID={a;b};Encrypt=1", "default UID={a;b}"},
        {"PWD={a;Standard=Yes", "default PWD={a;Standard=Yes"},
    };
    for (const auto &[string, wanted] : cases) {
        EXPECT_EQ(parse(string), "");
        const char *conduct = conn->conduct == &default_conduct ? "default " : "";
        EXPECT_EQ(conduct + replaced(all(), by_grammar, ""), wanted + std::string(" 0"));
    }
    read_dsn("asks", "", "mine");
    EXPECT_EQ(replaced(all(), by_grammar, ""),
              "DSN=asks SERVER=s:8 KEYSPACE=d UID=u PWD=mine Encrypt=1 0");
}

TEST_F(settings, passwords_are_hidden_where_the_call_says_so)
{
    parse("");
    held_string hidden;
    const owned_string string = text("Standard=yes;password = {s;e}}cret} ;UID=u;PWD=");
    EXPECT_EQ(text_of(cass_shown_string(conn, string.get(), &hidden)),
              "Standard=yes;password = * ;UID=u;PWD=");
}
