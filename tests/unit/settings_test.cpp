// Connection settings on all their roads: sections of a real odbc.ini in a folder of the test's
// own, connection strings, the setup library's block, and the output string with its buffer rules.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "core/cass_err.h"
#include "core/cass_handle.h"
#include "core/cass_settings.h"
#include "dll/driver_test.h"
#include "odbc/SQLDriverConnectWide.h"

namespace
{

using text_ptr = std::unique_ptr<cass_string, decltype(&cass_string_free)>;

text_ptr text_of(const char *bytes)
{
    return {bytes == nullptr ? nullptr : cass_string_from_cstr(bytes), cass_string_free};
}

std::string shown(const cass_string *text)
{
    if (text == nullptr)
        return "(null)";
    const std::unique_ptr<char, decltype(&std::free)> bytes(cass_string_to_ascii(text), std::free);
    return bytes.get();
}

std::string first_message(cass_conn *conn)
{
    const cass_diag_record *record = cass_diag_get(&conn->head, 1);
    return record == nullptr ? "" : shown(record->state) + " " + shown(record->text);
}

// A connection whose odbc.ini lies in a folder of its own.
struct workplace {
    std::filesystem::path folder;
    cass_env *env;
    cass_conn *conn;
};

void close_workplace(workplace *at)
{
    cass_free_env(at->env);
    std::filesystem::remove_all(at->folder);
    delete at;
}

using workplace_ptr = std::unique_ptr<workplace, decltype(&close_workplace)>;

workplace_ptr open_workplace()
{
    const std::filesystem::path folder =
        std::filesystem::path(testing::TempDir()) / ("settings_test." + std::to_string(getpid()));
    std::filesystem::create_directory(folder);
    setenv("ODBCSYSINI", folder.c_str(), 1);
    setenv("ODBCINI", (folder / "user.ini").c_str(), 1);
    cass_env *env = cass_alloc_env();
    return {new workplace{folder, env, cass_alloc_conn(env, 3)}, close_workplace};
}

// The installer library remembers values by section and key for some time, whatever file they came
// from: no two cases use one section name.
void write_ini(const workplace_ptr &at, const std::string &content)
{
    std::ofstream(at->folder / "user.ini") << content;
}

// Another connection, so that nothing of an earlier case is left.
void renew(const workplace_ptr &at)
{
    cass_free_conn(at->conn, 0);
    at->conn = cass_alloc_conn(at->env, 3);
}

void read_dsn(const workplace_ptr &at, const char *dsn, const char *user = nullptr,
              const char *password = nullptr)
{
    cass_read_dsn_settings(at->conn, text_of(dsn).get(), text_of(user).get(),
                           text_of(password).get());
}

void parse(const workplace_ptr &at, const char *connect_string)
{
    cass_parse_connect_string(at->conn, text_of(connect_string).get());
}

std::string out_string(const workplace_ptr &at)
{
    return shown(text_ptr(cass_build_out_string(at->conn), cass_string_free).get());
}

// Every setting as one line, so that a wrong field shows whatever key it came from.
std::string all_of(const cass_conn *conn)
{
    std::ostringstream out;
    for (const cass_string *text : {conn->user, conn->password, conn->server, conn->bundle_path,
                                    conn->keyspace, conn->entropy_file, conn->private_key_file,
                                    conn->certificate_file, conn->public_key_file})
        out << shown(text) << ' ';
    out << conn->log_file << ' ' << conn->head.log_mask;
    for (const std::int32_t number :
         {conn->port, conn->metadata_port, conn->ipv6, conn->logon_timeout,
          conn->connection_timeout, conn->encrypt, conn->trust_server_certificate, conn->rcvbuffer,
          conn->keepalive, conn->astra, conn->consistency, conn->string_len, conn->binary_len})
        out << ' ' << number;
    return out.str();
}

constexpr char every_setting[] =
    "u p s b k e pk cf pf /dev/null 4 11 12 1 13 14 1 1 15 16 1 7 17 18";
constexpr char no_setting[] =
    "(null) (null) (null) (null) (null) (null) (null) (null) (null)  0 0 0 0 0 0 0 0 0 0 0 1 256 "
    "1024";

TEST(settings, every_key_of_a_section_reaches_its_field_on_both_roads)
{
    const workplace_ptr at = open_workplace();
    write_ini(
        at,
        "[all]\nuser=u\nPASSWORD=p\nServer=s\nSecureConnectionBundlePath=b\nKeyspace=k\n"
        "Entropy=e\nPrivateKeyFile=pk\nCertificateFile=cf\nPublicKeyFile=pf\nLogFile=/dev/null\n"
        "Logging=4\nPort=11\nAstraPort=12\nipv6=yes\nLogonTimeout=13\nConnectionTimeout=14\n"
        "Encrypt=true\nTrustServerCertificate=1\nRCVBUFFER=15\nSOKEEPALIVE=16\nAstra=Yes\n"
        "Consistency=each_quorum\nStringLen=17\nBinaryLen=18\n");
    at->conn->head.log_mask = 0;
    parse(at, "DSN=all");
    EXPECT_EQ(all_of(at->conn), every_setting);
    EXPECT_EQ(shown(at->conn->dsn), "all");

    renew(at);
    read_dsn(at, "all");
    EXPECT_EQ(all_of(at->conn), every_setting);
    EXPECT_EQ(shown(at->conn->dsn), "all");
}

TEST(settings, every_key_of_a_connection_string_reaches_its_field_in_any_case)
{
    const workplace_ptr at = open_workplace();
    parse(at,
          "Driver={x};uid=u;PWD=p;SERVER=s;Bundle=b;keySpace=k;ENTROPY=e;PrivateKeyFile=pk;"
          "CertificateFile=cf;PublicKeyFile=pf;LOGFILE=/dev/null;Logging=0x4;Port=11;astra_port=12;"
          "IPv6=yes;logontimeout=13;connectiontimeout=14;ENCRYPT=True;"
          "trustservercertificate=yes;rcvbuffer=15;sokeepalive=16;ASTRA=YES;CONSISTENCY=7;"
          "STRINGLEN=17;BINARYLEN=18");
    EXPECT_EQ(all_of(at->conn), every_setting);
    EXPECT_EQ(at->conn->dsn, nullptr);

    for (const char *nothing :
         {"", ";;;", "=x;nokey;UNKNOWN=1", "AstraPort=4", "SecureConnectionBundlePath=b"}) {
        renew(at);
        parse(at, nothing);
        EXPECT_EQ(all_of(at->conn), no_setting) << nothing;
    }
    renew(at);
    cass_parse_connect_string(at->conn, nullptr);
    EXPECT_EQ(all_of(at->conn), no_setting);
}

struct word_case {
    const char *key;
    const char *value;
    std::int32_t cass_conn::*field;  // null: the log mask
    std::int32_t by_connect;
    std::int32_t by_string;
    std::int32_t by_section;
};

TEST(settings, words_mean_what_their_road_says)
{
    const workplace_ptr at = open_workplace();
    const word_case cases[] = {
        {"Logging", "YES", nullptr, 31, 31, 31},
        {"Logging", "true", nullptr, 31, 31, 31},
        {"Logging", "on", nullptr, 31, 31, 31},
        {"Logging", "OnError", nullptr, 95, 95, 0},
        {"Logging", "error", nullptr, 95, 0, 95},
        {"Logging", "process", nullptr, 63, 63, 63},
        {"Logging", "off", nullptr, 0, 0, 0},
        {"Logging", "0x14", nullptr, 20, 20, 20},
        {"Logging", "010", nullptr, 8, 8, 8},
        {"Encrypt", "optional", &cass_conn::encrypt, 2, 0, 0},
        {"Encrypt", "2", &cass_conn::encrypt, 2, 0, 2},
        {"Encrypt", "TRUE", &cass_conn::encrypt, 1, 1, 1},
        {"ipv6", "1", &cass_conn::ipv6, 1, 0, 1},
        {"ipv6", "on", &cass_conn::ipv6, 0, 0, 0},
        {"ipv6", "no", &cass_conn::ipv6, 0, 0, 0},
        {"SOKEEPALIVE", "yes", &cass_conn::keepalive, 1, 1, 1},
        {"SOKEEPALIVE", "30", &cass_conn::keepalive, 30, 30, 30},
        {"Consistency", "ANY", &cass_conn::consistency, 0, 0, 0},
        {"Consistency", "Local_Quorum", &cass_conn::consistency, 6, 6, 6},
        {"Consistency", "LOCAL_ONE", &cass_conn::consistency, 10, 10, 10},
        {"Consistency", "most", &cass_conn::consistency, 0, 0, 0},
        {"Consistency", "0x4", &cass_conn::consistency, 0, 4, 4},
        {"Consistency", "-1", &cass_conn::consistency, 1, 1, 1},
        {"Consistency", "-2", &cass_conn::consistency, -2, 1, 1},
        {"Port", "9x", &cass_conn::port, 9, 9, 9},
        {"Port", "0x20", &cass_conn::port, 0, 0, 0},
        {"Port", "none", &cass_conn::port, 0, 0, 0},
        {"Port", "-5", &cass_conn::port, -5, 0, 0},
        {"Port", "99999999999999999999999", &cass_conn::port, -1, 0, 0},
        {"StringLen", "0", &cass_conn::string_len, 256, 256, 256},
        {"StringLen", "-9", &cass_conn::string_len, 256, 256, 256},
        {"StringLen", "1", &cass_conn::string_len, 1, 1, 1},
        {"BinaryLen", "0", &cass_conn::binary_len, 1024, 1024, 1024},
        {"BinaryLen", "big", &cass_conn::binary_len, 1024, 1024, 1024},
    };
    int number = 0;
    for (const word_case &row : cases) {
        const std::string pair = std::string(row.key) + "=" + row.value;
        SCOPED_TRACE(pair);
        const std::string dsn = "word" + std::to_string(number++);
        const std::string log = (at->folder / "log").string();
        write_ini(at, "[" + dsn + "]\nServer=s\n" + pair + "\nLogFile=" + log + "\n");
        const auto field = [&] {
            return row.field == nullptr ? at->conn->head.log_mask : at->conn->*row.field;
        };
        renew(at);
        read_dsn(at, dsn.c_str());
        EXPECT_EQ(field(), row.by_connect);
        renew(at);
        parse(at, pair.c_str());
        EXPECT_EQ(field(), row.by_string);
        renew(at);
        parse(at, ("DSN=" + dsn).c_str());
        EXPECT_EQ(field(), row.by_section);
    }
}

struct string_case {
    const char *connect_string;
    const char *user;
    const char *password;
    std::int32_t port;
};

TEST(settings, a_connection_string_is_cut_by_its_separators_outside_braces_only)
{
    const workplace_ptr at = open_workplace();
    const string_case cases[] = {
        {"UID=a;PWD={b;c};PORT=5", "a", "{b;c}", 5},
        {"UID={a=b};PWD=c=d;PORT=5", "{a=b}", "c=d", 5},
        {"PWD={a{;}b;}c;UID=u", "u", "{a{;}b;}c", 0},
        {"UID={open;PWD=x;PORT=5", "{open;PWD=x;PORT=5", "(null)", 0},
        {"UID=a};PWD=x;PORT=5", "a};PWD=x;PORT=5", "(null)", 0},
        {"PORT=1;UID=first;port=2;uid=second;PWD=;PWD=late", "first", "", 2},
        {"UID;PORT;PWD=x", "", "x", 0},
        {" UID=a;UID =b; PORT=5;PWD= p ", "(null)", " p ", 0},
        {";;UID=a;;PORT= 7;", "a", "(null)", 7},
    };
    for (const string_case &row : cases) {
        SCOPED_TRACE(row.connect_string);
        renew(at);
        parse(at, row.connect_string);
        EXPECT_EQ(shown(at->conn->user), row.user);
        EXPECT_EQ(shown(at->conn->password), row.password);
        EXPECT_EQ(at->conn->port, row.port);
    }
}

TEST(settings, the_string_wins_over_its_section_key_by_key)
{
    const workplace_ptr at = open_workplace();
    write_ini(at, "[one]\nServer=s1\nUser=u1\nPassword=p1\nPort=1\nipv6=yes\nConsistency=TWO\n"
                  "LogFile=l1\nLogging=4\n\n[two]\nServer=s2\nKeyspace=k2\n");
    parse(at, "DSN=one;DSN=two;SERVER=mine;UID=;PORT=0;ipv6=no;LOGFILE=mine.log");
    EXPECT_EQ(shown(at->conn->dsn), "one");
    EXPECT_EQ(shown(at->conn->server), "mine");
    EXPECT_EQ(shown(at->conn->user), "");
    EXPECT_EQ(shown(at->conn->password), "p1");
    EXPECT_EQ(shown(at->conn->keyspace), "(null)");
    EXPECT_EQ(at->conn->port, 0);
    EXPECT_EQ(at->conn->ipv6, 0);
    EXPECT_EQ(at->conn->consistency, 2);
    EXPECT_STREQ(at->conn->log_file, "mine.log");
    EXPECT_EQ(at->conn->head.log_mask, 4);

    // A negative number other than -1 has been given, and is then absent.
    renew(at);
    parse(at, "DSN=one;PORT=-1;CONSISTENCY=-4");
    EXPECT_EQ(at->conn->port, 1);
    EXPECT_EQ(at->conn->consistency, 1);
}

TEST(settings, arguments_of_the_call_win_over_the_section)
{
    const workplace_ptr at = open_workplace();
    write_ini(at, "[args]\nServer=s\nUser=u\nPassword=p\n");
    read_dsn(at, "args", "me", nullptr);
    EXPECT_EQ(shown(at->conn->user), "me");
    EXPECT_EQ(shown(at->conn->password), "p");
    read_dsn(at, "args", "", "mine");
    EXPECT_EQ(shown(at->conn->user), "");
    EXPECT_EQ(shown(at->conn->password), "mine");
}

TEST(settings, a_section_without_an_address_is_not_read_further)
{
    const workplace_ptr at = open_workplace();
    write_ini(at, "[bare]\nKeyspace=k\nPort=5\nStringLen=9\n"
                  "[bundled]\nSecureConnectionBundlePath=b\nPort=5\n");
    read_dsn(at, "bare", "me", "secret");
    EXPECT_EQ(all_of(at->conn), no_setting);
    read_dsn(at, "bundled");
    EXPECT_EQ(shown(at->conn->bundle_path), "b");
    EXPECT_EQ(at->conn->port, 5);
}

TEST(settings, a_name_that_names_no_section_gives_no_values)
{
    const workplace_ptr at = open_workplace();
    write_ini(at, "[named]\nServer=s\n");
    for (const char *name : {static_cast<const char *>(nullptr), "", "missing"}) {
        renew(at);
        read_dsn(at, name);
        EXPECT_EQ(at->conn->server, nullptr);
    }
    parse(at, "DSN=;PORT=4");
    EXPECT_EQ(at->conn->server, nullptr);
    EXPECT_EQ(at->conn->port, 4);
}

TEST(settings, a_section_name_beyond_ascii_is_found_from_both_forms)
{
    const workplace_ptr at = open_workplace();
    write_ini(at, "[M\xC3\xBCller]\nServer=s\n");
    read_dsn(at, "M\xC3\xBCller");  // an ANSI application's UTF-8
    EXPECT_EQ(shown(at->conn->server), "s");
    read_dsn(at, "M\xFCller");  // the character itself, as the wide form brings it
    EXPECT_EQ(shown(at->conn->server), "s");
}

TEST(settings, what_a_second_connect_finds_from_the_first)
{
    const workplace_ptr at = open_workplace();
    write_ini(at, "[a]\nServer=s\nUser=u\nPort=5\nConsistency=ALL\nSOKEEPALIVE=7\n"
                  "PrivateKeyFile=pk\nLogFile=a.log\nEntropy=e\nKeyspace=k\n"
                  "[b]\nServer=t\n[c]\nServer=t\nPrivateKeyFile=q\n");
    read_dsn(at, "a");
    read_dsn(at, "b");
    EXPECT_EQ(all_of(at->conn), "(null) (null) t (null) (null) (null) pk (null) (null)  "
                                "0 0 0 0 0 0 0 0 0 7 0 1 256 1024");
    read_dsn(at, "c");
    EXPECT_EQ(shown(at->conn->private_key_file), "q");
    parse(at, "SERVER=z");
    EXPECT_EQ(all_of(at->conn), std::string(no_setting).replace(14, 6, "z"));
}

TEST(settings, over_long_values_are_cut)
{
    const workplace_ptr at = open_workplace();
    std::string many;
    for (int i = 0; i < 1000; i++)
        many += "Filler_" + std::to_string(i) + "=1\n";
    write_ini(at, "[long]\nServer=" + std::string(600, 's') + "\nLogFile=" + std::string(600, 'l') +
                      "\n[many]\nServer=early\n" + many + "Port=5\n");
    read_dsn(at, "long");
    EXPECT_EQ(shown(at->conn->server), std::string(511, 's'));
    EXPECT_EQ(std::string(at->conn->log_file), std::string(511, 'l'));

    // The list of keys ends before Port does.
    read_dsn(at, "many");
    EXPECT_EQ(shown(at->conn->server), "early");
    EXPECT_EQ(at->conn->port, 0);

    parse(at, ("LOGFILE=" + std::string(600, 'x') + ";PWD=" + std::string(5000, 'p')).c_str());
    EXPECT_EQ(std::string(at->conn->log_file), std::string(511, 'x'));
    EXPECT_EQ(at->conn->password->length, 5000);
}

TEST(settings, the_log_tells_that_there_is_a_password_and_not_which)
{
    const workplace_ptr at = open_workplace();
    const std::string log = (at->folder / "log").string();
    write_ini(at, "[logged]\nServer=s\nLogging=yes\nLogFile=" + log +
                      "\nUser=someone\nPassword=secret\n");
    read_dsn(at, "logged");
    std::stringstream content;
    content << std::ifstream(log).rdbuf();
    EXPECT_NE(content.str().find("SQLConnect: Password found in ini file"), std::string::npos);
    EXPECT_NE(content.str().find("SQLConnect: using default port setting"), std::string::npos);
    EXPECT_NE(content.str().find("someone"), std::string::npos);
    EXPECT_EQ(content.str().find("secret"), std::string::npos);
}

TEST(settings, the_output_string_names_what_is_unusual)
{
    const workplace_ptr at = open_workplace();
    const char *server_string =
        "SERVER=h,i;UID=u;PWD=p;KEYSPACE=k;PORT=9043;ipv6=yes;RCVBUFFER=1;SOKEEPALIVE=3;"
        "PrivateKeyFile=pk;CertificateFile=cf;PublicKeyFile=pf;ENTROPY=e;"
        "TrustServerCertificate=yes;ASTRA=yes;ASTRA_PORT=8;CONSISTENCY=ANY;STRINGLEN=9;"
        "BINARYLEN=10";
    parse(at, server_string);
    at->conn->rcvbuffer = -4;
    at->conn->ssl_active = 1;
    EXPECT_EQ(out_string(at),
              "DRIVER={Varnholt MySQL ODBC Driver};UID=u;PWD=p;SERVER=h,i;KEYSPACE=k;PORT=9043;"
              "IPV6=Yes;RCVBUFFER=-4;SOKEEPALIVE=yes;PrivateKeyFile=pk;CertificateFile=cf;"
              "PublicKeyFile=pf;Entropy=e;TrustServerCertificate=Yes;Encrypt=Yes;Astra=Yes;"
              "AstraPort=8;Consistency=0;StringLen=9;BinaryLen=10;");

    parse(at, (std::string("DSN=d;BUNDLE=b;") + server_string).c_str());
    at->conn->rcvbuffer = 4;
    EXPECT_EQ(out_string(at), "DSN=d;UID=u;PWD=p;SecureConnectionBundlePath=b;IPV6=Yes;RCVBUFFER=4;"
                              "SOKEEPALIVE=yes;Entropy=e;Consistency=0;StringLen=9;BinaryLen=10;");

    renew(at);
    for (const char *usual : {"SERVER=h", "SERVER=h;PORT=9042", "SERVER=h;PORT=0"}) {
        parse(at, usual);
        EXPECT_EQ(out_string(at), "DRIVER={Varnholt MySQL ODBC Driver};SERVER=h;") << usual;
    }
    at->conn->port = -7;
    EXPECT_EQ(out_string(at), "DRIVER={Varnholt MySQL ODBC Driver};SERVER=h;");
}

// Writes into the middle of a poisoned block and gives what became of it, a character a unit: "."
// for a NUL, "#" for untouched poison.
std::string written(cass_conn *conn, const cass_string *text, bool wide, SQLSMALLINT size,
                    bool *cut)
{
    constexpr std::size_t lead = 4;
    const std::size_t width = wide ? sizeof(SQLWCHAR) : 1;
    std::vector<unsigned char> block(40 * width, 0xEE);
    SQLSMALLINT length = -1;
    *cut = driver_connect_write(conn, text, {block.data() + lead * width, size, &length, wide});
    EXPECT_EQ(length, text->length);

    std::string out;
    for (std::size_t i = 0; i < block.size(); i += width) {
        const unsigned unit = block[i] | (wide ? block[i + 1] << 8 : 0);
        out += unit == (wide ? 0xEEEE : 0xEE) ? '#' : unit == 0 ? '.' : static_cast<char>(unit);
    }
    const std::size_t end = out.find_last_not_of('#') + 1;
    EXPECT_EQ(out.substr(0, lead), "####");
    EXPECT_LE(end, size > 0 ? lead + static_cast<std::size_t>(size) : 0);
    return end < lead ? "" : out.substr(lead, end - lead);
}

TEST(settings, the_output_buffer_is_never_overrun_and_one_just_full_is_big_enough)
{
    const workplace_ptr at = open_workplace();
    struct out_case {
        const char *text;
        SQLSMALLINT size;
        const char *ansi;
        const char *wide;
        bool ansi_cut;
        bool wide_cut;
    };
    const out_case cases[] = {
        {"DSN=d;", 0, "", "", true, true},
        {"DSN=d;", -3, "", "", true, true},
        {"DSN=d;", 1, ".", ".", true, true},
        {"DSN=d;", 5, "DSN=.", "DSN=.", true, true},
        {"DSN=d;", 6, "DSN=d.", "DSN=d.", false, false},
        {"DSN=d;", 7, "DSN=d;.", "DSN=d;.", false, false},
        {"DSN=\xE9;", 6, "DSN=\xC3.", "DSN=\xE9.", true, false},
        {"DSN=\xE9;", 7, "DSN=\xC3\xA9.", "DSN=\xE9;.", true, false},
        {"DSN=\xE9;", 8, "DSN=\xC3\xA9;.", "DSN=\xE9;.", false, false},
    };
    for (const out_case &row : cases) {
        SCOPED_TRACE(std::string(row.text) + " in " + std::to_string(row.size));
        const text_ptr text = text_of(row.text);
        bool cut;
        std::string block = written(at->conn, text.get(), false, row.size, &cut);
        EXPECT_EQ(block, row.ansi);
        EXPECT_EQ(cut, row.ansi_cut);
        EXPECT_EQ(cass_diag_count(&at->conn->head), row.ansi_cut);
        if (row.ansi_cut) {
            EXPECT_EQ(cass_diag_get(&at->conn->head, 1)->native, 176);
        }
        cass_diag_clear(&at->conn->head);

        block = written(at->conn, text.get(), true, row.size, &cut);
        EXPECT_EQ(block, row.wide);
        EXPECT_EQ(cut, row.wide_cut);
        if (row.wide_cut) {
            EXPECT_EQ(shown(cass_diag_get(&at->conn->head, 1)->state), "01004");
            EXPECT_EQ(cass_diag_get(&at->conn->head, 1)->native, 167);
        }
        cass_diag_clear(&at->conn->head);
    }
    const driver_connect_target nowhere = {nullptr, 2, nullptr, false};
    EXPECT_FALSE(driver_connect_write(at->conn, text_of("DSN=d;").get(), nowhere));
    EXPECT_EQ(cass_diag_count(&at->conn->head), 0);
}

TEST(settings, a_block_replaces_its_settings_and_no_others)
{
    const workplace_ptr at = open_workplace();
    parse(at,
          "DSN=d;UID=u;PWD=p;SERVER=s;BUNDLE=b;KEYSPACE=k;PrivateKeyFile=x;CertificateFile=y;"
          "PublicKeyFile=z;ENTROPY=e;RCVBUFFER=5;STRINGLEN=6;LOGFILE=/dev/null;PORT=7;ipv6=yes");
    const auto block = std::make_unique<cass_settings_block>();
    std::memset(block.get(), 'x', sizeof *block);
    block->logging = 1;
    block->port = 21;
    block->ipv6 = 0;
    block->encrypt = 1;
    block->trust_server_certificate = 1;
    block->metadata_port = 22;
    block->astra = 1;
    block->consistency = 4;
    cass_apply_settings_block(at->conn, block.get());
    const cass_conn *conn = at->conn;
    for (const cass_string *text :
         {conn->dsn, conn->user, conn->password, conn->server, conn->keyspace,
          conn->private_key_file, conn->certificate_file, conn->public_key_file, conn->bundle_path})
        EXPECT_EQ(shown(text), std::string(1024, 'x'));
    EXPECT_EQ(std::string(at->conn->log_file), std::string(511, 'x'));
    EXPECT_EQ(at->conn->head.log_mask, 31);
    EXPECT_EQ(at->conn->port, 21);
    EXPECT_EQ(at->conn->ssl_active, 1);
    EXPECT_EQ(at->conn->consistency, 4);

    *block = {};
    std::strcpy(block->server, "only\xE9");
    cass_apply_settings_block(at->conn, block.get());
    EXPECT_EQ(all_of(conn), "(null) (null) only\xE9 (null) (null) e (null) (null) (null)  "
                            "0 0 0 0 0 0 0 0 5 0 0 0 6 1024");
    EXPECT_EQ(at->conn->dsn, nullptr);
}

TEST(settings, connecting_without_an_address_is_refused_or_asks_the_user)
{
    const workplace_ptr at = open_workplace();
    SQLCHAR name[] = "missing";
    EXPECT_EQ(SQLConnect(at->conn, name, SQL_NTS, nullptr, 0, nullptr, 0), SQL_ERROR);
    const char *refusal = "HY000 [Varnholt][Apache Cassandra]";
    EXPECT_EQ(first_message(at->conn).substr(0, std::strlen(refusal)), refusal);
    EXPECT_NE(first_message(at->conn).find("server name and connect bundle not specified"),
              std::string::npos);
    EXPECT_EQ(SQLConnect(at->env, name, SQL_NTS, nullptr, 0, nullptr, 0), SQL_INVALID_HANDLE);

    SQLWCHAR wide[] = {'P', 'O', 'R', 'T', '=', '5', 0};
    EXPECT_EQ(SQLDriverConnectW(at->conn, at->conn, wide, SQL_NTS, nullptr, 0, nullptr,
                                SQL_DRIVER_NOPROMPT),
              SQL_ERROR);
    EXPECT_NE(first_message(at->conn).find("server name and connect bundle not specified"),
              std::string::npos);
    EXPECT_EQ(at->conn->port, 5);

    // There is no setup library: what would be a dialog is a cancel.
    SQLCHAR port[] = "PORT=5";
    SQLCHAR server[] = "SERVER=127.0.0.1;PORT=1";
    struct prompt_case {
        SQLCHAR *connect_string;
        SQLHWND window;
        SQLUSMALLINT completion;
    };
    for (const prompt_case &row : {prompt_case{port, nullptr, SQL_DRIVER_COMPLETE},
                                   prompt_case{port, at->conn, SQL_DRIVER_COMPLETE_REQUIRED},
                                   prompt_case{server, nullptr, SQL_DRIVER_PROMPT},
                                   prompt_case{server, at->conn, SQL_DRIVER_COMPLETE}}) {
        testing::internal::CaptureStderr();
        EXPECT_EQ(SQLDriverConnect(at->conn, row.window, row.connect_string, SQL_NTS, nullptr, 0,
                                   nullptr, row.completion),
                  SQL_NO_DATA);
        EXPECT_EQ(testing::internal::GetCapturedStderr().substr(0, 60),
                  "Varnholt ODBC: Unable to load setup library (libvhcassS.so)\n");
        EXPECT_EQ(first_message(at->conn), "");
    }
}

TEST(settings, driver_test_gives_the_first_diagnostic)
{
    const workplace_ptr at = open_workplace();
    const auto block = std::make_unique<cass_settings_block>();
    std::vector<char> message(DRIVER_TEST_MESSAGE_SIZE + 1, '#');
    EXPECT_EQ(driver_test(block.get(), message.data()), 1);
    EXPECT_EQ(message.back(), '#');
    EXPECT_NE(std::string(message.data()).find("Failed to connect: '[Varnholt][Apache Cassandra]"),
              std::string::npos);
    EXPECT_NE(std::string(message.data()).find("server not specified'"), std::string::npos);
    EXPECT_EQ(driver_test(block.get(), nullptr), 1);
}

}  // namespace
