// Connection strings by ODBC's grammar, values that are judged, and the output string on its way
// back into the settings.
#include "core/session/cass_connection_string.h"
#include "core/session/cass_checked_settings.h"
#include "core/session/cass_secrets.h"
#include "core/session/cass_settings.h"
#include "core/session/cass_settings_table.h"
#include "tests/node/certificates.h"
#include "tests/unit/handles.h"

static owned_string text(const std::string &bytes)
{
    return own(cass_string_from_cstr(bytes.c_str()));
}

// UTF-8, whatever the form.
static std::string meaning(const cass_string *string)
{
    std::int32_t count = 0;
    const held_text bytes(cass_string_to_bytes(string, &count));
    return bytes == nullptr ? "(null)" : std::string(bytes.get(), std::size_t(count));
}

struct connection_string : stmt_fixture {
    const file_folder folder;

    // The installer library remembers sections by their names: no two cases use one.
    void write_ini(const std::string &content)
    {
        setenv("ODBCSYSINI", folder.path.c_str(), 1);
        setenv("ODBCINI", (folder.path + "/user.ini").c_str(), 1);
        folder.add("user.ini", content);
    }
    // What was posted, without the driver's name; empty when it was read.
    std::string parse(const std::string &string)
    {
        cass_free_conn(conn, 0);
        conn = cass_alloc_conn(env, 3);
        return told(cass_parse_connect_string(conn, text(string).get()));
    }
    std::string told(int code)
    {
        const cass_diag_record *record = cass_diag_get(&conn->head, 1);
        EXPECT_EQ(code, record == nullptr ? 0 : -1);
        return record == nullptr ? "" : states_of(conn) + " " + text_of(record->text);
    }
    // Every setting but what came of where from.
    std::string all() const
    {
        std::string line = std::to_string(conn->head.log_mask) + " " + conn->settings.log_file;
        for (const setting &row : settings_table) {
            if (row.text != nullptr)
                line += " " + std::string(row.string_key) + "=" + meaning(conn->settings.*row.text);
            else if (row.number != nullptr)
                line += " " + std::to_string(conn->settings.*row.number);
        }
        return line;
    }
    std::string out_string() { return meaning(own(cass_build_out_string(conn)).get()); }
};

TEST(connection_grammar, pairs_and_values)
{
    static constexpr const char *cases[][2] = {
        {"a=1;b=2", "a=1|b=2|"},
        {" a = 1 ; ;;\tb=\n2;", "a=1|b=2|"},
        {"a={x;y};b={p}}q}", "a=x;y|b=p}q|"},
        {"a={};b=;c={{};d={}}}", "a=|b=|c={|d=}|"},
        {"a=x{y;b=x}y;c==;d=e=f", "a=x{y|b=x}y|c==|d=e=f|"},
        {"a= { x } ;b={a}}}}", "a= x |b!2|"},
        {"a={x;b=2", "a!2|"},
        {"a={x}y;b=2", "a!3|b=2|"},
        {"a={x} {y};b", "a!3|b!1|"},
        {"a={x}};b=2;c={y}", "a=x};b=2;c={y|"},
        {"=x;;", "=x|"},
        {"", ""},
    };
    for (const auto &[string, wanted] : cases) {
        const owned_string whole = text(string);
        std::string read;
        std::int32_t position = 0;
        connection_pair pair;
        while (cass_next_pair(whole.get(), &position, &pair)) {
            read += text_of(own(cass_string_sub(whole.get(), pair.key, pair.key_length)).get());
            read += pair.fault != PAIR_IS_GOOD
                        ? "!" + std::to_string(pair.fault)
                        : "=" + text_of(own(cass_pair_value(whole.get(), pair)).get());
            read += "|";
        }
        EXPECT_EQ(read, wanted) << string;
    }
}

// Of each setting a value that is not its default, in front of it those of a data source.
TEST_F(connection_string, every_setting_comes_back_from_the_output_string)
{
    static constexpr const char *texts[] = {"x",
                                            "a;b",
                                            "{",
                                            "}",
                                            "{a}",
                                            "a}b}}",
                                            " a ",
                                            "a=b;",
                                            "\"'",
                                            "{a;}",
                                            "\xC3\xA9\xF0\x9F\x98\x80"};
    const std::map<setting_kind, std::vector<std::string>> values = {
        {SETTING_NUMBER, {"7"}},         {SETTING_PORT, {"9042", "65535"}},
        {SETTING_SIZE, {"4000", "1"}},   {SETTING_PAGE, {"100000"}},
        {SETTING_TIME, {"5"}},           {SETTING_SWITCH, {"on", "no"}},
        {SETTING_TLS, {"strict"}},       {SETTING_KEEPALIVE, {"1"}},
        {SETTING_VERIFY, {"no", "yes"}}, {SETTING_CONSISTENCY, {"local_quorum", "1"}},
        {SETTING_LOG_WORD, {"4"}},       {SETTING_LOG_FILE, {"/dev/null"}},
    };
    write_ini("[back]\nPort=9043\nipv6=yes\nConsistency=TWO\nLogFile=/dev/null\nLogging=16\n");
    testing::internal::CaptureStderr();  // in front of LogFile
    for (const setting &row : settings_table) {
        std::vector<std::string> of_row(std::begin(texts), std::end(texts));
        if (row.number == &cass_settings::standard)
            of_row = {"on"};
        else if (row.text == nullptr)
            of_row = values.at(row.kind);
        else if (row.text == &cass_settings::server)
            of_row = {"h", "h,9043", "a, b:1,[::1]:2 ,c*3", "[fe80::1]"};
        for (const std::string &value : of_row) {
            for (const char *more : {"", ";DSN=back", ";BUNDLE=b", ";SERVER=a*1,b;IPv6=1"}) {
                const std::string string = std::string(row.string_key) + "=" +
                                           text_of(own(cass_quote_value(text(value).get())).get()) +
                                           ";Standard=Yes;Driver=x;LogFile=/dev/null" + more;
                EXPECT_EQ(parse(string), "") << string;
                const std::string before = all(), out = out_string();
                EXPECT_NE(out.find("Standard=Yes;"), std::string::npos);
                EXPECT_TRUE(out.starts_with("DRIVER={")) << out;
                EXPECT_EQ(parse(out), "") << out;
                EXPECT_EQ(all(), before) << string << "\n" << out;
                EXPECT_EQ(out_string(), out);
            }
        }
    }
    testing::internal::GetCapturedStderr();
}

TEST_F(connection_string, values_that_their_keys_do_not_take)
{
    const struct {
        std::string pair, told;
        bool in_section = true;
    } cases[] = {
        {"Port=abc", "Port does not take the value 'abc'"},
        {"PORT=0", "Port does not take the value '0'"},
        {"Port=70000", "Port does not take the value '70000'"},
        {"Port=9042x", "Port does not take the value '9042x'"},
        {"Consistency=FOO", "Consistency does not take the value 'FOO'"},
        {"Consistency=11", "Consistency does not take the value '11'"},
        {"Encrypt=maybe", "Encrypt does not take the value 'maybe'"},
        {"VerifyHost=2", "VerifyHost does not take the value '2'"},
        {"ReadTimeout=1s", "ReadTimeout does not take the value '1s'"},
        {"StringLen=-1", "StringLen does not take the value '-1'"},
        {"Logging=200", "Logging does not take the value '200'"},
        {"Host=9042", "Server does not take the value '9042'"},
        {"Server=h:1,2", "Server does not take"},
        {"Server=,", "Server does not take"},
        {"LogFile=" + std::string(512, 'x'), "LogFile does not take", false},
        {"PWD={a", "the value of PWD has no closing brace", false},
        {"x={a;Encrypt=yes", "the value of an unknown key has no closing brace", false},
        {"PWD={a}b", "the value of PWD goes on behind its brace", false},
        {"Encrypt", "Encrypt has no value", false},
        {"Unknown=x;Port= ;UID={};Server=", "", false},
    };
    const auto expect_told = [&](const std::string &record, const std::string &wanted) {
        EXPECT_TRUE(wanted.empty()
                        ? record.empty()
                        : record.starts_with("HY000") && record.find(wanted) < record.size())
            << record << ", not " << wanted;
        EXPECT_EQ(conn->conduct, &standard_conduct);
    };
    for (const auto &row : cases) {
        expect_told(parse("Standard=on;" + row.pair), row.told);
        if (!row.in_section)
            continue;
        const std::string name = "judged" + std::to_string(&row - cases);
        write_ini("[" + name + "]\nStandard=yes\n" + row.pair + "\n");
        expect_told(parse("DSN=" + name), row.told);
        parse("");
        expect_told(told(cass_read_dsn_settings(conn, text(name).get(), nullptr, nullptr)),
                    row.told);
    }
}

// Server, port, user, password, keyspace and Encrypt.
static std::string excerpt(const cass_conn *conn)
{
    std::string line;
    const cass_settings &set = conn->settings;
    for (const cass_string *part : {set.server, set.user, set.password, set.keyspace})
        line += (part == nullptr ? "-" : text_of(part)) + "|";
    return line + std::to_string(set.port) + "|" + std::to_string(set.encrypt);
}

TEST_F(connection_string, what_settings_come_to)
{
    write_ini("[plain]\nServer=s\nUser=u\nPassword=p\nPort=7\n"
              "[asks]\nStandard=1\nHost=s,8\nUID=u\nPWD=a;b\nDatabase=d\nEncrypt=on\n"
              "[refuses]\nStandard=no\nServer=s\n");
    static constexpr const char *cases[][2] = {
        {"Server=h,9042;Database=ks;User=u;Password=p;Standard=true", "h:9042|u|p|ks|0|0"},
        {"Standard=Yes; Host = a , b:1,c,2 ;UID={u };PWD=first;PWD=late",
         "a,b:1,c:2|u |first|-|0|0"},
        {"Standard=Yes;Server=[::1]:5,::2,6,[::3],d;Port=7", "[::1]:5,::2*6,[::3],d|-|-|-|7|0"},
        {"Standard=Yes;Server=[::1],6;ipv6=1", "[::1]:6|-|-|-|0|0"},
        {"Standard=Yes;Encrypt=mandatory;PWD={a}}b;{c}", "-|-|a}b;{c|-|0|1"},
        {"Standard=Yes;Encrypt=optional", "-|-|-|-|0|1"},
        {"Standard=Yes;Encrypt=off;UID=;PWD={};DSN=plain", "s|u|p|-|7|0"},
        {"Standard=Yes;DSN=plain;Server=t", "t|u|p|-|7|0"},
        {"Standard=Yes;DSN=plain;Server=t,9", "t:9|u|p|-|0|0"},
        {"DSN=asks;UID={me}", "s:8|me|a;b|d|0|1"},
        {"DSN=asks;Standard=No;UID={me}", "-|{me}|-|-|0|0"},
        {"DSN=refuses;UID={me};Encrypt=required", "s|{me}|-|-|0|0"},
        {"Standard=No;Standard=Yes;UID={me};Encrypt=1", "-|{me}|-|-|0|0"},
        {"UID={a;b};Encrypt=1", "-|{a;b}|-|-|0|0"},
        {"PWD={a;Standard=Yes", "-|-|{a;Standard=Yes|-|0|0"},
    };
    for (const auto &[string, wanted] : cases) {
        EXPECT_EQ(parse(string), "");
        EXPECT_EQ(excerpt(conn), wanted) << string;
        const bool loosely = std::string(wanted).find("|{") < 9;
        EXPECT_EQ(conn->conduct, loosely ? &default_conduct : &standard_conduct) << string;
    }
    parse("");
    cass_read_dsn_settings(conn, text("asks").get(), text("").get(), text("mine").get());
    EXPECT_EQ(excerpt(conn), "s:8|u|mine|d|0|1");
}

TEST_F(connection_string, passwords_are_hidden_where_the_conduct_or_the_call_says_so)
{
    static constexpr const char *cases[][2] = {
        {"PWD=secret;UID=u", "PWD=secret;UID=u"},
        {"PWD=secret;UID=u;Standard=yes", "PWD=*;UID=u;Standard=yes"},
        {"Standard=yes;password = {s;e}}cret} ;UID=u;PWD=",
         "Standard=yes;password = * ;UID=u;PWD="},
        {"Standard=yes;PWD={s;Server=x", "Standard=yes;PWD=*"},
    };
    for (const auto &[string, wanted] : cases) {
        held_string hidden;
        const owned_string given = text(string);
        EXPECT_EQ(text_of(cass_shown_string(conn, given.get(), &hidden)), wanted);
    }
    conn->conduct = &standard_conduct;
    held_string hidden;
    EXPECT_EQ(text_of(cass_shown_string(conn, text("PWD=x").get(), &hidden)), "PWD=*");
}
