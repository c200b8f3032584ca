// Connection settings in their two other forms: the block that the setup library and driver_test
// fill, and the output connection string.
#include "core/session/cass_settings.h"

#include <cstdio>
#include <cstring>
#include <string_view>

#include "core/diag/cass_err.h"
#include "core/diag/cass_text_out.h"
#include "core/log/cass_log.h"
#include "core/net/cass_conn_shared.h"
#include "core/session/cass_connection_string.h"
#include "core/session/cass_settings_table.h"
#include "support/growing_text.h"

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

static cass_string *partial_out_string(const cass_settings &settings)
{
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

// ---- The complete one --------------------------------------------------------------------------

constexpr char OWN_DRIVER[] = "Varnholt ODBC-Cassandra Driver";
constexpr std::size_t MOST_OUTPUT = std::size_t{1} << 24;

// Bytes are UTF-8.
static void add_pair(growing_text *out, const char *key, std::string_view value)
{
    text_add(out, key);
    text_add_char(out, '=');
    text_add(out, value);
    text_add_char(out, ';');
}

static void add_text(growing_text *out, const char *key, const cass_string *value,
                     bool in_braces = false)
{
    std::int32_t count = 0;
    const held_string quoted(cass_quote_value(value, in_braces));
    const held_text bytes(cass_string_to_bytes(quoted.get(), &count));
    if (bytes == nullptr)
        out->state = TEXT_NO_MEMORY;
    else
        add_pair(out, key, {bytes.get(), static_cast<std::size_t>(count)});
}

// The driver as the application named it, in front of the data source, by which a Driver Manager
// would find another one.
static void add_source(growing_text *out, const cass_settings &settings)
{
    cass_constant_text own;
    if (settings.driver != nullptr)
        add_text(out, "DRIVER", settings.driver, true);
    else if (settings.dsn == nullptr)
        add_text(out, "DRIVER", cass_constant_string(OWN_DRIVER, &own), true);
    if (settings.dsn != nullptr)
        add_text(out, "DSN", settings.dsn);
}

static bool was_given(const cass_settings &settings, const setting &row)
{
    return (settings.given >> (&row - settings_table.data()) & 1) != 0;
}

static bool is_brought_by_bundle(const cass_settings &settings, const setting &row)
{
    return settings.bundle_path != nullptr && row.output.place != 0 && !row.output.beside_bundle;
}

static void add_log(growing_text *out, const cass_conn *conn, const setting &row)
{
    const std::int32_t mask = shared_get(&conn->head.log_mask);
    if (row.kind == SETTING_LOG_FILE && conn->settings.log_file[0] != '\0') {
        const held_string name(cass_string_from_cstr(conn->settings.log_file));
        add_text(out, row.string_key, name.get());
    } else if (row.kind == SETTING_LOG_WORD && (mask != 0 || was_given(conn->settings, row))) {
        char room[16];
        std::snprintf(room, sizeof room, "%d", mask);
        add_pair(out, row.string_key, room);
    }
}

static void add_number(growing_text *out, const setting &row, std::int32_t value)
{
    char room[16];
    const auto code = static_cast<std::size_t>(value);
    switch (row.kind) {
    case SETTING_SWITCH:
    case SETTING_KEEPALIVE:
    case SETTING_TLS:
        return add_pair(out, row.string_key, value != 0 ? "Yes" : "No");
    case SETTING_VERIFY:
        return add_pair(out, row.string_key, value == VERIFY_HOST_YES ? "Yes" : "No");
    case SETTING_PORT:
        // A bundle may bring any number.
        if (value < 1 || value > UINT16_MAX)
            return;
        break;
    case SETTING_CONSISTENCY:
        if (value >= 0 && code < consistency_names.size())
            return add_pair(out, row.string_key, consistency_names[code]);
        break;
    default:
        break;
    }
    std::snprintf(room, sizeof room, "%d", value);
    add_pair(out, row.string_key, room);
}

// The value that is not written unless the string gave it.
static std::int32_t usual_value(const setting &row)
{
    return row.kind == SETTING_SIZE ? UNSIZED_COLUMN_LEN : row.fallback;
}

static void add_row(growing_text *out, const cass_conn *conn, const setting &row)
{
    const cass_settings &settings = conn->settings;
    if (row.text == &cass_settings::dsn || row.text == &cass_settings::driver ||
        (is_brought_by_bundle(settings, row) && !was_given(settings, row)))
        return;
    if (row.text != nullptr) {
        if (settings.*row.text != nullptr)
            add_text(out, row.string_key, settings.*row.text);
        return;
    }
    if (row.number == nullptr)
        return add_log(out, conn, row);
    const std::int32_t value = settings.*row.number;
    if (value != usual_value(row) || was_given(settings, row))
        add_number(out, row, value);
}

// What the application gave, and what differs from the defaults wherever it came from.
static cass_string *complete_out_string(const cass_conn *conn)
{
    growing_text out = {
        .text = nullptr, .length = 0, .room = 0, .most = MOST_OUTPUT, .state = TEXT_GOOD};
    add_source(&out, conn->settings);
    for (const setting &row : settings_table)
        add_row(&out, conn, row);
    const held_text text(out.text);
    if (out.state != TEXT_GOOD)
        return nullptr;
    const held_string bytes(
        cass_string_from_bytes(text.get(), static_cast<std::int64_t>(out.length)));
    return bytes == nullptr ? nullptr : cass_string_decoded(bytes.get());
}

static bool output_strings_are_partial(const cass_conn *conn)
{
    return conn->conduct->output_strings_are_partial;
}

cass_string *cass_build_out_string(const cass_conn *conn)
{
    return output_strings_are_partial(conn) ? partial_out_string(conn->settings)
                                            : complete_out_string(conn);
}
