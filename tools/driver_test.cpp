// driver_test Key=Value ...: tries connection settings out without a Driver Manager or a data
// source and prints what came of it. Exit code 0: connected, 1: not, 2: the arguments are no good.
//
//   driver_test Server=127.0.0.1 User=cassandra Password=cassandra
#include "dll/driver_test.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <strings.h>

struct text_key {
    const char *name;
    char (cass_settings_block::*field)[1024];
};

static constexpr text_key text_keys[] = {
    {"DSN", &cass_settings_block::dsn},
    {"User", &cass_settings_block::user},
    {"Password", &cass_settings_block::password},
    {"Server", &cass_settings_block::server},
    {"Keyspace", &cass_settings_block::keyspace},
    {"PrivateKeyFile", &cass_settings_block::private_key_file},
    {"CertificateFile", &cass_settings_block::certificate_file},
    {"PublicKeyFile", &cass_settings_block::public_key_file},
    {"LogFile", &cass_settings_block::log_file},
    {"SecureConnectionBundlePath", &cass_settings_block::bundle_path},
};

struct number_key {
    const char *name;
    std::int32_t cass_settings_block::*field;
};

static constexpr number_key number_keys[] = {
    {"Logging", &cass_settings_block::logging},
    {"Port", &cass_settings_block::port},
    {"ipv6", &cass_settings_block::ipv6},
    {"Encrypt", &cass_settings_block::encrypt},
    {"TrustServerCertificate", &cass_settings_block::trust_server_certificate},
    {"AstraPort", &cass_settings_block::metadata_port},
    {"Astra", &cass_settings_block::astra},
    {"Consistency", &cass_settings_block::consistency},
};

static bool number_from(const char *text, std::int32_t *number)
{
    if (strcasecmp(text, "yes") == 0 || strcasecmp(text, "true") == 0) {
        *number = 1;
        return true;
    }
    if (strcasecmp(text, "no") == 0 || strcasecmp(text, "false") == 0) {
        *number = 0;
        return true;
    }
    char *end;
    errno = 0;
    const long value = std::strtol(text, &end, 10);
    *number = static_cast<std::int32_t>(value);
    return end != text && *end == '\0' && errno == 0 && value >= INT_MIN && value <= INT_MAX;
}

static bool is_key(const char *argument, std::size_t length, const char *name)
{
    return std::strlen(name) == length && strncasecmp(argument, name, length) == 0;
}

// One "Key=Value" into the block; false when it is no good.
static bool take(cass_settings_block *block, const char *argument)
{
    const char *equals = std::strchr(argument, '=');
    if (equals == nullptr)
        return false;
    const auto length = static_cast<std::size_t>(equals - argument);
    const char *value = equals + 1;
    for (const text_key &key : text_keys) {
        if (!is_key(argument, length, key.name))
            continue;
        if (std::strlen(value) >= sizeof(block->*key.field))
            return false;
        std::strcpy(block->*key.field, value);
        return true;
    }
    for (const number_key &key : number_keys) {
        if (is_key(argument, length, key.name))
            return number_from(value, &(block->*key.field));
    }
    return false;
}

static void print_usage(const char *program)
{
    std::fprintf(stderr, "usage: %s Key=Value ...\nkeys with a text:", program);
    for (const text_key &key : text_keys)
        std::fprintf(stderr, " %s", key.name);
    std::fprintf(stderr, "\nkeys with a number, yes or no:");
    for (const number_key &key : number_keys)
        std::fprintf(stderr, " %s", key.name);
    std::fprintf(stderr, "\n");
}

int main(int count, char **arguments)
{
    cass_settings_block block = {};
    block.consistency = 1;
    for (int i = 1; i < count; i++) {
        if (!take(&block, arguments[i])) {
            std::fprintf(stderr, "%s: cannot use '%s'\n", arguments[0], arguments[i]);
            print_usage(arguments[0]);
            return 2;
        }
    }
    if (count < 2) {
        print_usage(arguments[0]);
        return 2;
    }

    char message[DRIVER_TEST_MESSAGE_SIZE] = "";
    const int result = driver_test(&block, message);
    std::puts(message);
    return result;
}
