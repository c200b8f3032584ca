// vhcass-check tries a connection and says step by step what happened. Exit code 0: all is well,
// 1: it is not, 2: the arguments are no good.
//
//   vhcass-check cassandra
//   vhcass-check 'Server=127.0.0.1;Standard=Yes'
//   vhcass-check --json Server=127.0.0.1 User=cassandra Password=cassandra
#include "tools/vhcass_check.h"

#include <signal.h>
#include <sql.h>
#include <sqlext.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

#include "core/session/cass_connection_string.h"
#include "core/session/cass_settings.h"
#include "core/session/cass_settings_table.h"
#include "support/ascii.h"

static constexpr char usage[] =
    "usage: vhcass-check [--json] [--timeout SECONDS] DSN | 'CONNECTION STRING' | Key=Value ...\n"
    "\n"
    "Tries a connection and says what happened, step by step, and what to do about a failure.\n"
    "\n"
    "  --json             one JSON object in place of lines\n"
    "  --timeout SECONDS  how long a step may take, 1 to 3600; 10 without it\n"
    "  --version          the version of the driver\n"
    "\n"
    "Exit code 0: all is well, or there are warnings; 1: a step failed; 2: wrong usage.\n";

struct check_arguments {
    bool as_json;
    int timeout;
    std::string dsn;     // or
    std::string string;  // a connection string
};

// ---- Settings -----------------------------------------------------------------------------------

// A string has keys of its own; what is no part of one may be written as in a data source.
static std::string as_pair(const std::string &argument)
{
    const std::string key = argument.substr(0, argument.find('='));
    for (const setting &row : settings_table) {
        if (row.dsn_key != nullptr && argument.find(';') == std::string::npos &&
            ascii_casecmp(row.dsn_key, key.c_str()) == 0)
            return row.string_key + argument.substr(key.size());
    }
    return argument;
}

static bool is_known(const vhcass_check *check, const cass_string *string,
                     const connection_pair &pair)
{
    for (const setting &row : settings_table) {
        if (cass_pair_has_key(string, pair, row.string_key))
            return true;
        for (const char *key : {row.dsn_key, row.further_key}) {
            if (check->is_standard && key != nullptr && cass_pair_has_key(string, pair, key))
                return true;
        }
    }
    return false;
}

static bool is_password(const cass_string *string, const connection_pair &pair)
{
    return cass_pair_has_key(string, pair, "PWD") || cass_pair_has_key(string, pair, "Password");
}

// Keys that the driver passes over are often misspelt ones. One behind a password may be a piece of
// it, and is not shown.
static void add_unknown_keys(const vhcass_check *check, const std::string &string, check_step *step)
{
    const held_string text(cass_string_from_cstr(string.c_str()));
    if (text == nullptr)
        throw std::bad_alloc();
    connection_pair pair;
    bool behind_password = false;
    for (std::int32_t position = 0; cass_next_pair(text.get(), &position, &pair);) {
        const bool known = is_known(check, text.get(), pair);
        const bool password = is_password(text.get(), pair);
        if (!known) {
            const held_string key(cass_string_sub(text.get(), pair.key, pair.key_length));
            step->details.push_back("unknown, and passed over: " +
                                    (behind_password && !password
                                         ? "what stands behind the password's semicolon"
                                         : check_text(key.get())));
            check_fail(step, CHECK_WARNING, ADVICE_SETTINGS);
        }
        if (known || password)
            behind_password = password;
    }
}

static std::string number_text(const setting &row, std::int32_t value)
{
    const auto code = static_cast<std::size_t>(value);
    switch (row.kind) {
    case SETTING_SWITCH:
    case SETTING_TLS:
    case SETTING_KEEPALIVE:
        return value != 0 ? "Yes" : "No";
    case SETTING_VERIFY:
        return value == VERIFY_HOST_NO ? "No" : "Yes";
    case SETTING_CONSISTENCY:
        return code < consistency_names.size() ? consistency_names[code] : std::to_string(value);
    default:
        return std::to_string(value);
    }
}

// What differs from a connection of which nothing was said. Secrets are stars.
static void add_settings(const cass_settings &settings, check_step *step)
{
    for (const setting &row : settings_table) {
        const std::string name = row.dsn_key != nullptr ? row.dsn_key : row.string_key;
        if (row.text == &cass_settings::password && settings.password != nullptr)
            step->details.push_back(name + "=***");
        else if (row.text != nullptr && settings.*row.text != nullptr)
            step->details.push_back(name + "=" + check_text(settings.*row.text));
        else if (row.number != nullptr && row.kind != SETTING_SIZE &&
                 settings.*row.number != row.fallback)
            step->details.push_back(name + "=" + number_text(row, settings.*row.number));
    }
}

static bool check_settings(vhcass_check *check, const check_arguments &arguments)
{
    cass_conn *conn = check->conn;
    check_step step = {.name = "settings"};
    const bool by_name = !arguments.dsn.empty();
    const held_string text(
        cass_string_from_cstr(by_name ? arguments.dsn.c_str() : arguments.string.c_str()));
    if (text == nullptr)
        throw std::bad_alloc();
    const int code = by_name ? cass_read_dsn_settings(conn, text.get(), nullptr, nullptr)
                             : cass_parse_connect_string(conn, text.get());
    const cass_settings &settings = conn->settings;
    check->is_standard = settings.standard > 0;
    const bool has_source = settings.dsn != nullptr;
    step.text =
        has_source ? "data source '" + check_text(settings.dsn) + "'" : "from the arguments";
    add_settings(settings, &step);
    add_unknown_keys(check, arguments.string, &step);
    if (code != 0) {
        step.text += ": they cannot be used";
        check_take_records(conn, &step);
        check_fail(&step, CHECK_FAILED, ADVICE_SETTINGS);
    } else if (settings.server == nullptr && settings.bundle_path == nullptr) {
        step.text += has_source ? " is not found, or has no server" : ": there is no server";
        check_fail(&step, CHECK_FAILED, has_source ? ADVICE_DATA_SOURCE : ADVICE_SERVER);
    }
    check_add(&check->report, step);
    return step.outcome != CHECK_FAILED;
}

// ---- The run ------------------------------------------------------------------------------------

static void check_all(vhcass_check *check, const check_arguments &arguments)
{
    if (!check_settings(check, arguments))
        return;
    if (check->conn->settings.bundle_path != nullptr && !check_bundle(check))
        return;
    check_certificates(check);
    check_servers(check);
    check_session(check);
}

static int run(const check_arguments &arguments)
{
    SQLHENV env = nullptr;
    SQLHDBC conn = nullptr;
    if (!SQL_SUCCEEDED(SQLAllocHandle(SQL_HANDLE_ENV, nullptr, &env)) ||
        !SQL_SUCCEEDED(SQLSetEnvAttr(env, SQL_ATTR_ODBC_VERSION,
                                     reinterpret_cast<SQLPOINTER>(SQLULEN{SQL_OV_ODBC3}), 0)) ||
        !SQL_SUCCEEDED(SQLAllocHandle(SQL_HANDLE_DBC, env, &conn)))
        throw std::bad_alloc();
    json_t *steps = arguments.as_json ? json_array() : nullptr;
    vhcass_check check = {.report = {.failed = false, .steps = steps},
                          .conn = static_cast<cass_conn *>(conn),
                          .is_standard = false,
                          .one_place = true,
                          .timeout = arguments.timeout,
                          .authenticator = {}};
    check_all(&check, arguments);
    SQLDisconnect(conn);
    SQLFreeHandle(SQL_HANDLE_DBC, conn);
    SQLFreeHandle(SQL_HANDLE_ENV, env);
    if (steps != nullptr) {
        json_t *all = json_pack("{s:s, s:b, s:o}", "version", VHCASS_VERSION, "ok",
                                !check.report.failed, "steps", steps);
        json_dumpf(all, stdout, JSON_INDENT(2) | JSON_REAL_PRECISION(6));
        std::putchar('\n');
        json_decref(all);
    }
    return check.report.failed ? 1 : 0;
}

// ---- Arguments ----------------------------------------------------------------------------------

static bool read_timeout(const char *text, int *timeout)
{
    char *end = nullptr;
    const long value = text == nullptr ? 0 : std::strtol(text, &end, 10);
    *timeout = static_cast<int>(value);
    return value >= 1 && value <= 3600 && *end == '\0';
}

// A name, or pairs that are joined. False when it is neither.
static bool take(check_arguments *arguments, const std::string &argument)
{
    if (argument.find('=') != std::string::npos) {
        arguments->string += (arguments->string.empty() ? "" : ";") + as_pair(argument);
        return arguments->dsn.empty();
    }
    const bool is_first = arguments->dsn.empty() && arguments->string.empty();
    arguments->dsn = argument;
    return is_first && !argument.empty() && argument[0] != '-';
}

static int wrong_usage(const char *argument)
{
    if (argument != nullptr)
        std::fprintf(stderr, "vhcass-check: cannot use '%s'\n", argument);
    std::fputs(usage, stderr);
    return 2;
}

static int check_main(int count, char **values)
{
    check_arguments arguments = {.as_json = false, .timeout = 10, .dsn = {}, .string = {}};
    for (int i = 1; i < count; i++) {
        if (std::strcmp(values[i], "--help") == 0)
            return std::fputs(usage, stdout) < 0 ? 1 : 0;
        if (std::strcmp(values[i], "--version") == 0)
            return std::puts("vhcass-check " VHCASS_VERSION) < 0 ? 1 : 0;
        if (std::strcmp(values[i], "--json") == 0) {
            arguments.as_json = true;
        } else if (std::strcmp(values[i], "--timeout") == 0) {
            i++;
            if (!read_timeout(values[i], &arguments.timeout))
                return wrong_usage(values[i]);
        } else if (!take(&arguments, values[i])) {
            // A password may stand in a string, so that none is shown.
            return wrong_usage(std::strchr(values[i], '=') == nullptr ? values[i] : nullptr);
        }
    }
    if (arguments.dsn.empty() && arguments.string.empty())
        return wrong_usage(nullptr);
    return run(arguments);
}

int main(int count, char **values)
{
    signal(SIGPIPE, SIG_IGN);  // the end of a connection, and of a pipe, is told by the call
    try {
        return check_main(count, values);
    } catch (const std::bad_alloc &) {
        std::fputs("vhcass-check: out of memory\n", stderr);
        return 1;
    }
}
