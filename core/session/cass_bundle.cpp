// Reading a secure connect bundle: the zip file is opened once, config.json and the PEM members it
// names are unpacked into memory, and what they hold replaces the connection's settings. Nothing of
// it is ever written to disk.
#include "core/session/cass_bundle.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "core/diag/cass_err.h"
#include "core/log/cass_log.h"
#include "support/held.h"
#include "support/paths.h"

static constexpr char log_source[] = "cass_logon.c";

constexpr int BUNDLE_FAILED = -5;
constexpr std::int32_t NO_MEMORY = -1;  // in place of a length
constexpr std::size_t READ_STEP = 1024;
// A small member may inflate to gigabytes; no certificate and no config.json comes near this.
constexpr std::size_t MEMBER_LIMIT = std::size_t{16} << 20;

using held_archive = held<zip_t, &zip_discard>;
using held_member = held<zip_file_t, &zip_fclose>;
using held_json = held<json_t, &json_decref>;

// Where a member of config.json goes that every bundle must have.
struct config_row {
    const char *name;
    cass_string *cass_settings::*text;
    std::int32_t cass_settings::*number;
};

static constexpr config_row config_rows[] = {
    {"host", &cass_settings::server, nullptr},
    {"port", nullptr, &cass_settings::metadata_port},
    {"cql_port", nullptr, &cass_settings::port},
    {"keyspace", &cass_settings::keyspace, nullptr},
};

// Where the contents of a PEM member go, by the member of config.json that names it.
struct pem_row {
    const char *name;
    unsigned char *cass_conn::*bytes;
    std::int32_t cass_conn::*length;
};

static constexpr pem_row pem_rows[] = {
    {"caCertLocation", &cass_conn::ca_bytes, &cass_conn::ca_length},
    {"certLocation", &cass_conn::certificate_bytes, &cass_conn::certificate_length},
    {"keyLocation", &cass_conn::private_key_bytes, &cass_conn::private_key_length},
};

// Logs and posts one text with its %s arguments, as many as it has.
static int fail(cass_conn *conn, const char *format, const char *first = nullptr,
                const char *second = nullptr)
{
    CASS_LOG(&conn->head, LOG_ERROR, format, first, second);
    cass_post_error(&conn->head, STATE_HY000, 0, format, first, second);
    return BUNDLE_FAILED;
}

// ---- The zip file ------------------------------------------------------------------------------

// libzip's words for an error of zip_fdopen.
static const char *zip_error_text(int code)
{
    switch (code) {
    case ZIP_ER_SEEK:
        return "The file specified by fd does not allow seeks.";
    case ZIP_ER_READ:
        return "A read error occurred; see errno for details.";
    case ZIP_ER_OPEN:
        return "The file specified by fd could not be prepared for use by libzip(3).";
    case ZIP_ER_MEMORY:
        return "Required memory could not be allocated.";
    case ZIP_ER_INVAL:
        return "The flags argument is invalid. Not all zip_open(3) flags are allowed for "
               "zip_fdopen, see DESCRIPTION.";
    case ZIP_ER_NOZIP:
        return "The file specified by fd is not a zip archive.";
    case ZIP_ER_INCONS:
        return "Inconsistencies were found in the file specified by path. This error is often "
               "caused by specifying ZIP_CHECKCONS but can also happen without it.";
    default:
        return "unknown error code";
    }
}

// The archive, or null with the failure posted.
static zip_t *open_archive(cass_conn *conn)
{
    const cass_string *path = conn->settings.bundle_path;
    const held_text path_text(cass_setting_path(path));
    if (path_text == nullptr) {
        cass_post_no_memory(&conn->head, log_source, "cass_read_bundle");
        return nullptr;
    }
    const int descriptor = open(path_text.get(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) {
        CASS_LOG(&conn->head, LOG_ERROR, "Open '%S' fails, errno=%d", path, errno);
        cass_post_error(&conn->head, STATE_HY000, 0, "Failed to open bundle '%S'", path);
        return nullptr;
    }
    int code = 0;
    zip_t *archive = zip_fdopen(descriptor, 0, &code);
    if (archive != nullptr)
        return archive;  // it closes the descriptor
    CASS_LOG(&conn->head, LOG_ERROR, "Zip Open '%S' fails, zerrno=%d '%s'", path, code,
             zip_error_text(code));
    cass_post_error(&conn->head, STATE_HY000, 0, "Failed to open bundle '%S' zerror=%d '%s'", path,
                    code, zip_error_text(code));
    close(descriptor);
    return nullptr;
}

// Doubles a block that has no room for one more step. False when memory ran out.
static bool make_room(held_bytes *bytes, std::size_t used, std::size_t *capacity)
{
    if (*capacity - used >= READ_STEP)
        return true;
    const std::size_t wanted = *capacity == 0 ? READ_STEP : 2 * *capacity;
    auto *grown = static_cast<unsigned char *>(std::realloc(bytes->get(), wanted));
    if (grown == nullptr)
        return false;
    static_cast<void>(bytes->release());
    bytes->reset(grown);
    *capacity = wanted;
    return true;
}

unsigned char *extract_from_file(zip_file_t *file, std::int32_t *length)
{
    held_bytes bytes;
    std::size_t capacity = 0;
    std::size_t used = 0;
    *length = 0;
    while (used <= MEMBER_LIMIT) {
        if (!make_room(&bytes, used, &capacity)) {
            *length = NO_MEMORY;
            return nullptr;
        }
        const zip_int64_t got = zip_fread(file, bytes.get() + used, READ_STEP);
        if (got < 0)
            return nullptr;
        used += static_cast<std::size_t>(got);
        if (got < static_cast<zip_int64_t>(READ_STEP) && used <= MEMBER_LIMIT) {
            *length = static_cast<std::int32_t>(used);
            return bytes.release();
        }
    }
    return nullptr;
}

// Contents of a member, or null with the failure posted; `reader` is the call that a read failure
// names.
static unsigned char *read_member(cass_conn *conn, zip_t *archive, const char *name,
                                  const char *reader, std::int32_t *length)
{
    const held_member member(zip_fopen(archive, name, 0));
    if (member == nullptr) {
        fail(conn, "zip_fopen( \"%s\" ) fails: '%s'", name,
             zip_error_strerror(zip_get_error(archive)));
        return nullptr;
    }
    unsigned char *bytes = extract_from_file(member.get(), length);
    if (bytes == nullptr && *length == NO_MEMORY)
        cass_post_no_memory(&conn->head, log_source, "cass_read_bundle");
    else if (bytes == nullptr)
        fail(conn, "%s( \"%s\" ) read fails", reader, name);
    else
        CASS_LOG_PACKET(&conn->head, bytes, cass_log_shows_secrets(conn) ? *length : 0, "%s", name);
    return bytes;
}

// ---- JSON --------------------------------------------------------------------------------------

// The library tells some failed allocations as a fault of the text. Such a text is read again: by
// then there is memory, or the first allocation fails, which leaves the error as it was.
json_t *cass_load_json(const void *text, std::size_t size, json_error_t *error)
{
    json_t *root = nullptr;
    for (int round = 0; root == nullptr && round < 2; round++) {
        *error = {};
        root = json_loadb(static_cast<const char *>(text), size, 0, error);
    }
    if (root == nullptr && json_error_code(error) == json_error_unknown)
        *error = {};
    return root;
}

// ---- What it holds -----------------------------------------------------------------------------

// The root of config.json, or null with the failure posted.
static json_t *read_config(cass_conn *conn, zip_t *archive)
{
    std::int32_t length = 0;
    const held_bytes bytes(read_member(conn, archive, "config.json", "extract_from_file", &length));
    if (bytes == nullptr)
        return nullptr;
    json_error_t error = {};
    json_t *root = cass_load_json(bytes.get(), static_cast<std::size_t>(length), &error);
    if (root == nullptr && error.line == 0) {
        cass_post_no_memory(&conn->head, log_source, "cass_read_bundle");
    } else if (root == nullptr) {
        CASS_LOG(&conn->head, LOG_ERROR, "Failed to parse config.json %d", error.line);
        cass_post_error(&conn->head, STATE_HY000, 0, "Failed to parse config.json %d", error.line);
    }
    return root;
}

// Any JSON value of the right name is taken: one of another type is an empty text or 0.
static int take_config(cass_conn *conn, const json_t *root)
{
    for (const config_row &row : config_rows) {
        const json_t *value = json_object_get(root, row.name);
        if (value == nullptr)
            return fail(conn, "Failed to extract %s", row.name);
        if (row.number != nullptr) {
            conn->settings.*row.number = static_cast<std::int32_t>(json_integer_value(value));
            CASS_LOG(&conn->head, LOG_DETAIL, "%s: %d", row.name, conn->settings.*row.number);
        } else {
            CASS_LOG(&conn->head, LOG_DETAIL, "%s: %s", row.name, json_string_value(value));
            cass_string *text = cass_string_from_cstr(json_string_value(value));
            if (text == nullptr)
                return cass_post_no_memory(&conn->head, log_source, "cass_read_bundle",
                                           BUNDLE_FAILED);
            cass_string_free(conn->settings.*row.text);
            conn->settings.*row.text = text;
        }
        // Its port tells that there is a metadata service.
        if (row.number == &cass_settings::metadata_port)
            conn->settings.astra = 1;
    }
    return 0;
}

static int take_pem_members(cass_conn *conn, zip_t *archive, const json_t *root)
{
    for (const pem_row &row : pem_rows) {
        const char *location = json_string_value(json_object_get(root, row.name));
        if (location == nullptr)
            continue;
        CASS_LOG(&conn->head, LOG_DETAIL, "%s: %s", row.name, location);
        if (std::strncmp(location, "./", 2) == 0)
            location += 2;
        std::int32_t length = 0;
        unsigned char *bytes = read_member(conn, archive, location, "zip_fopen", &length);
        if (bytes == nullptr)
            return BUNDLE_FAILED;
        std::free(conn->*row.bytes);
        conn->*row.bytes = bytes;
        conn->*row.length = length;
    }
    return 0;
}

int cass_read_bundle(cass_conn *conn)
{
    CASS_LOG(&conn->head, LOG_DETAIL, "Extract from '%S'", conn->settings.bundle_path);
    const held_archive archive(open_archive(conn));
    if (archive == nullptr)
        return BUNDLE_FAILED;
    const held_json root(read_config(conn, archive.get()));
    if (root == nullptr || take_config(conn, root.get()) != 0 ||
        take_pem_members(conn, archive.get(), root.get()) != 0)
        return BUNDLE_FAILED;
    // A bundle always means TLS with verification, whatever the settings say.
    conn->settings.encrypt = 1;
    conn->settings.trust_server_certificate = 0;
    return 0;
}
