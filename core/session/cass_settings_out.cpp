// Connection settings in their two other forms: the block that the setup library and driver_test
// fill, and the output connection string.
#include "core/session/cass_settings.h"

#include <cstring>

#include "core/diag/cass_err.h"
#include "core/log/cass_log.h"
#include "core/net/cass_conn_shared.h"
#include "core/session/cass_settings_table.h"

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
    return cass_post_no_memory(&conn->head, log_source, "cass_apply_settings_block");
}

// ---- The output string -------------------------------------------------------------------------

static std::int32_t output_value(const cass_settings &settings, const setting &row)
{
    return settings.*(row.output.number != nullptr ? row.output.number : row.number);
}

static bool is_written(const cass_settings &settings, const setting &row)
{
    if (settings.bundle_path != nullptr && !row.output.beside_bundle)
        return false;
    if (row.text != nullptr)
        return settings.*row.text != nullptr;
    const std::int32_t value = output_value(settings, row);
    if (row.kind == SETTING_SIZE && settings.standard && value == UNSIZED_COLUMN_LEN)
        return false;
    return value != row.output.usual && value >= row.output.least;
}

// Adds the row's piece to `out`, which is reset when memory runs out.
static void append_piece(held_string *out, const cass_settings &settings, const setting &row)
{
    const held_string piece(
        row.text != nullptr ? cass_string_format(row.output.format, settings.*row.text)
                            : cass_string_format(row.output.format, output_value(settings, row)));
    if (piece == nullptr || cass_string_append(out->get(), piece.get()) == nullptr)
        out->reset();
}

cass_string *cass_build_out_string(const cass_conn *conn)
{
    const cass_settings &settings = conn->settings;
    // The driver's name in a string without a data source is that of another product's section. It
    // is registered beside the driver's own (packaging/odbcinst.ini), so that the string connects.
    held_string out(settings.dsn != nullptr
                        ? cass_string_format("DSN=%S;", settings.dsn)
                        : cass_string_from_cstr("DRIVER={Varnholt MySQL ODBC Driver};"));
    const auto count = static_cast<std::int32_t>(settings_table.size());
    for (std::int32_t place = 1; place <= count; ++place) {
        for (const setting &row : settings_table) {
            if (out != nullptr && row.output.place == place && is_written(settings, row))
                append_piece(&out, settings, row);
        }
    }
    return out.release();
}
