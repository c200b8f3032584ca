// Connection settings in their two other forms: the block that the setup library and driver_test
// fill, and the output connection string.
#include "core/session/cass_settings.h"

#include <cstring>
#include <limits>

#include "core/diag/cass_err.h"
#include "core/log/cass_log.h"
#include "core/net/cass_conn_shared.h"

static constexpr char log_source[] = "SQLConnectWide.c";

// ---- The block ---------------------------------------------------------------------------------

// The field may be full and without a terminator. False when memory ran out.
static bool take_block_text(cass_conn *conn, cass_string **setting, const char *field)
{
    const std::size_t length = strnlen(field, sizeof cass_settings_block::dsn);
    cass_string *text = nullptr;
    if (length > 0)
        text = cass_string_from_bytes(field, static_cast<std::int64_t>(length));
    cass_set_conn_text(conn, setting, text);
    return length == 0 || text != nullptr;
}

int cass_apply_settings_block(cass_conn *conn, const cass_settings_block *block)
{
    const bool whole =
        take_block_text(conn, &conn->settings.dsn, block->dsn) &&
        take_block_text(conn, &conn->settings.user, block->user) &&
        take_block_text(conn, &conn->settings.password, block->password) &&
        take_block_text(conn, &conn->settings.server, block->server) &&
        take_block_text(conn, &conn->settings.keyspace, block->keyspace) &&
        take_block_text(conn, &conn->settings.private_key_file, block->private_key_file) &&
        take_block_text(conn, &conn->settings.certificate_file, block->certificate_file) &&
        take_block_text(conn, &conn->settings.public_key_file, block->public_key_file) &&
        take_block_text(conn, &conn->settings.bundle_path, block->bundle_path);

    cass_log_set_file(conn, block->log_file, strnlen(block->log_file, sizeof block->log_file));
    shared_put(&conn->head.log_mask, block->logging > 0 ? 31 : 0);
    conn->settings.port = block->port;
    conn->settings.ipv6 = block->ipv6;
    conn->settings.encrypt = block->encrypt;
    conn->settings.ssl_active = block->encrypt;
    conn->settings.trust_server_certificate = block->trust_server_certificate;
    conn->settings.metadata_port = block->metadata_port;
    conn->settings.astra = block->astra;
    shared_put(&conn->settings.consistency, block->consistency);
    if (whole)
        return 0;
    CASS_LOG(&conn->head, LOG_ERROR, "cass_apply_settings_block: failed to allocate memory");
    cass_post_error(&conn->head, STATE_HY001, 0, nullptr);
    return -1;
}

// ---- The output string -------------------------------------------------------------------------

// One piece, in the order of the string. A text is written when it is set; a number unless it is
// `usual` or below `least`. With a bundle most pieces are left out: it brings them itself.
//
// The string does not read back in full: a bundle's path and the port of the metadata service go
// out, on purpose, under names that the parser does not take.
struct out_piece {
    const char *format;
    cass_string *cass_settings::*text;
    std::int32_t cass_settings::*number;
    bool beside_bundle;
    std::int32_t usual;
    std::int32_t least;
};

static constexpr std::int32_t ANY_NUMBER = std::numeric_limits<std::int32_t>::min();
static constexpr out_piece out_pieces[] = {
    {"UID=%S;", &cass_settings::user, nullptr, true, 0, 0},
    {"PWD=%S;", &cass_settings::password, nullptr, true, 0, 0},
    {"SERVER=%S;", &cass_settings::server, nullptr, false, 0, 0},
    {"SecureConnectionBundlePath=%S;", &cass_settings::bundle_path, nullptr, true, 0, 0},
    {"KEYSPACE=%S;", &cass_settings::keyspace, nullptr, false, 0, 0},
    {"PORT=%d;", nullptr, &cass_settings::port, false, 9042, 1},
    {"IPV6=Yes;", nullptr, &cass_settings::ipv6, true, 0, ANY_NUMBER},
    {"RCVBUFFER=%d;", nullptr, &cass_settings::rcvbuffer, true, 0, ANY_NUMBER},
    {"SOKEEPALIVE=yes;", nullptr, &cass_settings::keepalive, true, 0, ANY_NUMBER},
    {"PrivateKeyFile=%S;", &cass_settings::private_key_file, nullptr, false, 0, 0},
    {"CertificateFile=%S;", &cass_settings::certificate_file, nullptr, false, 0, 0},
    {"PublicKeyFile=%S;", &cass_settings::public_key_file, nullptr, false, 0, 0},
    {"Entropy=%S;", &cass_settings::entropy_file, nullptr, true, 0, 0},
    {"TrustServerCertificate=Yes;", nullptr, &cass_settings::trust_server_certificate, false, 0,
     ANY_NUMBER},
    {"Encrypt=Yes;", nullptr, &cass_settings::ssl_active, false, 0, ANY_NUMBER},
    {"Astra=Yes;", nullptr, &cass_settings::astra, false, 0, ANY_NUMBER},
    {"AstraPort=%d;", nullptr, &cass_settings::metadata_port, false, 0, ANY_NUMBER},
    {"Consistency=%d;", nullptr, &cass_settings::consistency, true, 1, ANY_NUMBER},
    {"StringLen=%d;", nullptr, &cass_settings::string_len, true, 256, ANY_NUMBER},
    {"BinaryLen=%d;", nullptr, &cass_settings::binary_len, true, 1024, ANY_NUMBER},
};

static bool is_written(const cass_conn *conn, const out_piece &piece)
{
    if (conn->settings.bundle_path != nullptr && !piece.beside_bundle)
        return false;
    if (piece.text != nullptr)
        return conn->settings.*piece.text != nullptr;
    const std::int32_t value = conn->settings.*piece.number;
    return value != piece.usual && value >= piece.least;
}

// `out` with the piece behind it; null when memory ran out, with `out` released.
static cass_string *append_piece(cass_string *out, const cass_conn *conn, const out_piece &piece)
{
    cass_string *text = piece.text != nullptr
                            ? cass_string_format(piece.format, conn->settings.*piece.text)
                            : cass_string_format(piece.format, conn->settings.*piece.number);
    cass_string *longer = text == nullptr ? nullptr : cass_string_append(out, text);
    cass_string_free(text);
    if (longer == nullptr)
        cass_string_free(out);
    return longer;
}

cass_string *cass_build_out_string(const cass_conn *conn)
{
    // The driver's name in a string without a data source is that of another product's section. It
    // is registered beside the driver's own (packaging/odbcinst.ini), so that the string connects.
    cass_string *out = conn->settings.dsn != nullptr
                           ? cass_string_format("DSN=%S;", conn->settings.dsn)
                           : cass_string_from_cstr("DRIVER={Varnholt MySQL ODBC Driver};");
    for (const out_piece &piece : out_pieces) {
        if (out == nullptr)
            return nullptr;
        if (is_written(conn, piece))
            out = append_piece(out, conn, piece);
    }
    return out;
}
