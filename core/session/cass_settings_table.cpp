#include "core/session/cass_settings_table.h"

#include <iterator>
#include <limits>

static constexpr unsigned BOTH = ROAD_CONNECT | ROAD_STRING;
static constexpr std::int32_t ANY = std::numeric_limits<std::int32_t>::min();
static constexpr setting_output NO_OUTPUT = {};

// Whether a bundle, when there is one, brings the setting.
enum output_bundle { BY_BUNDLE, BESIDE_BUNDLE };

static constexpr setting_output out_text(std::int32_t place, const char *format,
                                         output_bundle bundle)
{
    return {place, format, bundle == BESIDE_BUNDLE, 0, 0, nullptr};
}

static constexpr setting_output out_number(std::int32_t place, const char *format,
                                           output_bundle bundle, std::int32_t usual = 0,
                                           std::int32_t least = ANY,
                                           std::int32_t cass_settings::*number = nullptr)
{
    return {place, format, bundle == BESIDE_BUNDLE, usual, least, number};
}

static constexpr setting text_row(setting_kind kind, const char *dsn_key, const char *string_key,
                                  cass_string *cass_settings::*field, setting_output output,
                                  unsigned cleared = BOTH, const char *further_key = nullptr)
{
    return {kind, dsn_key, string_key, further_key, field, nullptr, cleared, 0, 0, output};
}

static constexpr setting number_row(setting_kind kind, const char *dsn_key, const char *string_key,
                                    std::int32_t cass_settings::*field, setting_output output,
                                    unsigned cleared = BOTH, std::int32_t fallback = 0,
                                    std::int32_t unset = 0)
{
    return {kind, dsn_key, string_key, nullptr, nullptr, field, cleared, fallback, unset, output};
}

static constexpr setting log_row(setting_kind kind, const char *dsn_key, const char *string_key)
{
    return {kind, dsn_key, string_key, nullptr, nullptr, nullptr, ROAD_NONE, 0, 0, NO_OUTPUT};
}

// In SQLConnect's order, which its log shows: with no server and no bundle it reads no further, and
// nothing in front of Logging is recorded unless the connection logs already.
//
// SQLConnect clears neither the three key files nor the keepalive switch, and a connection string
// does not clear the keyspace; cass_reset_conn has done so in the usual course of calls.
//
// What the output pieces make does not read back in full: a bundle's path and the port of the
// metadata service go out under names that no string takes, and the usual port not at all.
static constexpr setting rows[] = {
    text_row(SETTING_TEXT, nullptr, "DSN", &cass_settings::dsn, NO_OUTPUT),
    text_row(SETTING_TEXT, "Server", "SERVER", &cass_settings::server,
             out_text(3, "SERVER=%S;", BY_BUNDLE), BOTH, "Host"),
    text_row(SETTING_TEXT, "SecureConnectionBundlePath", "BUNDLE", &cass_settings::bundle_path,
             out_text(4, "SecureConnectionBundlePath=%S;", BESIDE_BUNDLE)),
    text_row(SETTING_TEXT, nullptr, "DRIVER", &cass_settings::driver, NO_OUTPUT),
    log_row(SETTING_LOG_WORD, "Logging", "LOGGING"),
    log_row(SETTING_LOG_FILE, "LogFile", "LOGFILE"),
    number_row(SETTING_PORT, "Port", "PORT", &cass_settings::port,
               out_number(6, "PORT=%d;", BY_BUNDLE, DEFAULT_PORT, 1)),
    number_row(SETTING_PORT, "AstraPort", "ASTRA_PORT", &cass_settings::metadata_port,
               out_number(17, "AstraPort=%d;", BY_BUNDLE)),
    number_row(SETTING_SWITCH, "ipv6", "IPV6", &cass_settings::ipv6,
               out_number(7, "IPV6=Yes;", BESIDE_BUNDLE)),
    text_row(SETTING_TEXT, "Keyspace", "KEYSPACE", &cass_settings::keyspace,
             out_text(5, "KEYSPACE=%S;", BY_BUNDLE), ROAD_CONNECT, "Database"),
    text_row(SETTING_ARGUMENT, "User", "UID", &cass_settings::user,
             out_text(1, "UID=%S;", BESIDE_BUNDLE)),
    text_row(SETTING_ARGUMENT, "Password", "PWD", &cass_settings::password,
             out_text(2, "PWD=%S;", BESIDE_BUNDLE)),
    number_row(SETTING_NUMBER, "LogonTimeout", "LogonTimeout", &cass_settings::logon_timeout,
               NO_OUTPUT),
    number_row(SETTING_NUMBER, "ConnectionTimeout", "ConnectionTimeout",
               &cass_settings::connection_timeout, NO_OUTPUT),
    // What the session did tells, not what was asked for.
    number_row(SETTING_TLS, "Encrypt", "Encrypt", &cass_settings::encrypt,
               out_number(15, "Encrypt=Yes;", BY_BUNDLE, 0, ANY, &cass_settings::ssl_active)),
    text_row(SETTING_TEXT, "Entropy", "Entropy", &cass_settings::entropy_file,
             out_text(13, "Entropy=%S;", BESIDE_BUNDLE)),
    number_row(SETTING_SWITCH, "TrustServerCertificate", "TrustServerCertificate",
               &cass_settings::trust_server_certificate,
               out_number(14, "TrustServerCertificate=Yes;", BY_BUNDLE)),
    number_row(SETTING_VERIFY, "VerifyHost", "VerifyHost", &cass_settings::verify_host, NO_OUTPUT),
    text_row(SETTING_TEXT, "PrivateKeyFile", "PrivateKeyFile", &cass_settings::private_key_file,
             out_text(10, "PrivateKeyFile=%S;", BY_BUNDLE), ROAD_STRING),
    text_row(SETTING_TEXT, "CertificateFile", "CertificateFile", &cass_settings::certificate_file,
             out_text(11, "CertificateFile=%S;", BY_BUNDLE), ROAD_STRING),
    text_row(SETTING_TEXT, "PublicKeyFile", "PublicKeyFile", &cass_settings::public_key_file,
             out_text(12, "PublicKeyFile=%S;", BY_BUNDLE), ROAD_STRING),
    number_row(SETTING_NUMBER, "RCVBUFFER", "RCVBUFFER", &cass_settings::rcvbuffer,
               out_number(8, "RCVBUFFER=%d;", BESIDE_BUNDLE)),
    number_row(SETTING_KEEPALIVE, "SOKEEPALIVE", "SOKEEPALIVE", &cass_settings::keepalive,
               out_number(9, "SOKEEPALIVE=yes;", BESIDE_BUNDLE), ROAD_STRING),
    number_row(SETTING_SWITCH, "Astra", "Astra", &cass_settings::astra,
               out_number(16, "Astra=Yes;", BY_BUNDLE)),
    number_row(SETTING_CONSISTENCY, "Consistency", "Consistency", &cass_settings::consistency,
               out_number(18, "Consistency=%d;", BESIDE_BUNDLE, DEFAULT_CONSISTENCY), BOTH,
               DEFAULT_CONSISTENCY, NOT_GIVEN),
    number_row(SETTING_SIZE, "StringLen", "StringLen", &cass_settings::string_len,
               out_number(19, "StringLen=%d;", BESIDE_BUNDLE, DEFAULT_STRING_LEN), BOTH,
               DEFAULT_STRING_LEN),
    number_row(SETTING_SIZE, "BinaryLen", "BinaryLen", &cass_settings::binary_len,
               out_number(20, "BinaryLen=%d;", BESIDE_BUNDLE, DEFAULT_BINARY_LEN), BOTH,
               DEFAULT_BINARY_LEN),
    number_row(SETTING_SWITCH, "Standard", "Standard", &cass_settings::standard,
               out_number(21, "Standard=Yes;", BESIDE_BUNDLE)),
    number_row(SETTING_PAGE, "PageSize", "PageSize", &cass_settings::page_size,
               out_number(22, "PageSize=%d;", BESIDE_BUNDLE)),
    number_row(SETTING_TIME, "ReadTimeout", "ReadTimeout", &cass_settings::read_timeout,
               out_number(23, "ReadTimeout=%d;", BESIDE_BUNDLE)),
    number_row(SETTING_SWITCH, "LongText", "LongText", &cass_settings::long_text,
               out_number(24, "LongText=Yes;", BESIDE_BUNDLE)),
    number_row(SETTING_SWITCH, "PlainTypes", "PlainTypes", &cass_settings::plain_types,
               out_number(25, "PlainTypes=Yes;", BESIDE_BUNDLE)),
    number_row(SETTING_SWITCH, "AllowFiltering", "AllowFiltering", &cass_settings::allow_filtering,
               out_number(26, "AllowFiltering=Yes;", BESIDE_BUNDLE)),
    number_row(SETTING_SWITCH, "LoadBalance", "LoadBalance", &cass_settings::load_balance,
               out_number(27, "LoadBalance=Yes;", BESIDE_BUNDLE)),
    number_row(SETTING_NUMBER, "CursorMemory", "CursorMemory", &cass_settings::cursor_memory,
               out_number(28, "CursorMemory=%d;", BESIDE_BUNDLE, 0, 1)),
    number_row(SETTING_SWITCH, "Reconnect", "Reconnect", &cass_settings::reconnect,
               out_number(29, "Reconnect=No;", BESIDE_BUNDLE, 1), BOTH, 1, NOT_GIVEN),
};

const std::span<const setting> settings_table(rows);
static_assert(std::size(rows) <= MOST_SETTINGS);

static constexpr const char *consistencies[] = {
    "ANY",          "ONE",         "TWO",    "THREE",        "QUORUM",    "ALL",
    "LOCAL_QUORUM", "EACH_QUORUM", "SERIAL", "LOCAL_SERIAL", "LOCAL_ONE",
};

const std::span<const char *const> consistency_names(consistencies);
