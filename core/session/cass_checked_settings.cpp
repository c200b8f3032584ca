#include "core/session/cass_checked_settings.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <span>
#include <string_view>

#include "core/diag/cass_err.h"
#include "core/log/cass_log.h"
#include "core/net/cass_conn_shared.h"
#include "core/session/cass_connection_string.h"
#include "core/session/cass_server_list.h"
#include "core/session/cass_settings_table.h"
#include "support/ascii.h"

static constexpr char log_source[] = "SQLConnectWide.c";

constexpr char SECRET = '*';  // in place of one

// ---- Values ------------------------------------------------------------------------------------

struct value_word {
    const char *word;
    std::int32_t value;
};

static constexpr value_word switch_words[] = {
    {"yes", 1}, {"true", 1}, {"on", 1}, {"1", 1}, {"no", 0}, {"false", 0}, {"off", 0}, {"0", 0},
};

// Other drivers' words for encryption, each of which asks for it: there is no session that is
// encrypted if the server likes.
static constexpr value_word tls_words[] = {
    {"required", 1},
    {"mandatory", 1},
    {"strict", 1},
    {"optional", 1},
};

static constexpr value_word log_words[] = {
    {"yes", 31}, {"true", 31},    {"on", 31}, {"onerror", 95}, {"error", 95},
    {"no", 0},   {"process", 63}, {"off", 0}, {"false", 0},
};

// What a whole number may be.
struct number_range {
    setting_kind kind;
    std::int32_t least;
    std::int32_t most;
    bool nearest;  // takes the nearest of a number outside
};

static constexpr number_range ranges[] = {
    {SETTING_NUMBER, 0, INT32_MAX, false}, {SETTING_PORT, 1, UINT16_MAX, false},
    {SETTING_SIZE, 1, INT32_MAX, false},   {SETTING_PAGE, 1, MOST_PAGE_ROWS, true},
    {SETTING_TIME, 0, INT32_MAX, true},    {SETTING_CONSISTENCY, 0, 10, false},
    {SETTING_LOG_WORD, 0, 127, false},
};

static bool find_word(std::span<const value_word> words, const char *text, std::int32_t *value)
{
    for (const value_word &row : words) {
        if (ascii_casecmp(text, row.word) == 0) {
            *value = row.value;
            return true;
        }
    }
    return false;
}

bool cass_switch_word(const char *text, std::int32_t *value)
{
    return find_word(switch_words, text, value);
}

// All of the text, decimal or behind 0x.
static bool whole_number(std::string_view text, std::int64_t *value)
{
    int base = 10;
    if (text.starts_with("0x") || text.starts_with("0X")) {
        base = 16;
        text.remove_prefix(2);
    }
    const char *end = text.data() + text.size();
    const auto [at, error] = std::from_chars(text.data(), end, *value, base);
    return error == std::errc() && at == end;
}

static bool number_in_range(setting_kind kind, const char *text, std::int32_t *value)
{
    const auto *range = std::find_if(std::begin(ranges), std::end(ranges),
                                     [kind](const number_range &row) { return row.kind == kind; });
    std::int64_t number = 0;
    if (range == std::end(ranges) || !whole_number(text, &number))
        return false;
    const std::int64_t nearest = std::clamp<std::int64_t>(number, range->least, range->most);
    *value = static_cast<std::int32_t>(nearest);
    return nearest == number || range->nearest;
}

static bool consistency_of(const char *text, std::int32_t *value)
{
    for (std::size_t code = 0; code < consistency_names.size(); code++) {
        if (ascii_casecmp(text, consistency_names[code]) == 0) {
            *value = static_cast<std::int32_t>(code);
            return true;
        }
    }
    return number_in_range(SETTING_CONSISTENCY, text, value);
}

// False for a text that a setting of this kind does not take.
static bool number_of(setting_kind kind, const char *text, std::int32_t *value)
{
    switch (kind) {
    case SETTING_SWITCH:
    case SETTING_KEEPALIVE:
        return cass_switch_word(text, value);
    case SETTING_TLS:
        return cass_switch_word(text, value) || find_word(tls_words, text, value);
    case SETTING_VERIFY:
        if (!cass_switch_word(text, value))
            return false;
        *value = *value != 0 ? VERIFY_HOST_YES : VERIFY_HOST_NO;
        return true;
    case SETTING_CONSISTENCY:
        return consistency_of(text, value);
    case SETTING_LOG_WORD:
        return find_word(log_words, text, value) || number_in_range(kind, text, value);
    default:
        return number_in_range(kind, text, value);
    }
}

// ---- Into the settings -------------------------------------------------------------------------

static bool no_memory(cass_conn *conn)
{
    cass_post_no_memory(&conn->head, log_source, "cass_settings");
    return false;
}

static bool refuse(cass_conn *conn, const setting &row, const cass_string *value)
{
    const char *key = row.dsn_key != nullptr ? row.dsn_key : row.string_key;
    CASS_LOG(&conn->head, LOG_ERROR, "%s does not take the value '%S'", key, value);
    cass_post_error(&conn->head, STATE_HY000, 0, "%s does not take the value '%S'", key, value);
    return false;
}

static const setting &setting_named(const char *string_key)
{
    return *std::find_if(settings_table.begin(), settings_table.end(), [&](const setting &row) {
        return ascii_casecmp(row.string_key, string_key) == 0;
    });
}

static bool is_secret(const setting &row)
{
    return row.text == &cass_settings::password;
}

static std::uint64_t bit_of(const setting &row)
{
    return std::uint64_t{1} << (&row - settings_table.data());
}

// A value that is not empty. False with the failure posted.
static bool store(cass_conn *conn, const setting &row, held_string value)
{
    if (is_secret(row))
        CASS_LOG(&conn->head, LOG_DETAIL, "%s = '%c'", row.string_key, SECRET);
    else
        CASS_LOG(&conn->head, LOG_DETAIL, "%s = '%S'", row.string_key, value.get());
    if (row.text != nullptr) {
        cass_set_conn_text(conn, &(conn->settings.*row.text), value.release());
        return true;
    }
    std::int32_t length = 0;
    const held_text text(cass_string_to_bytes(value.get(), &length));
    if (text == nullptr)
        return no_memory(conn);
    if (row.kind == SETTING_LOG_FILE) {
        if (length >= static_cast<std::int32_t>(sizeof conn->settings.log_file))
            return refuse(conn, row, value.get());
        cass_log_set_file(conn, text.get(), static_cast<std::size_t>(length));
        return true;
    }
    std::int32_t number = 0;
    if (!number_of(row.kind, text.get(), &number))
        return refuse(conn, row, value.get());
    shared_put(row.kind == SETTING_LOG_WORD ? &conn->head.log_mask : &(conn->settings.*row.number),
               number);
    return true;
}

// ---- The string --------------------------------------------------------------------------------

// A key of the DSN, of the string, or the further one; null for none of them.
static const setting *find_setting(const cass_string *string, const connection_pair &pair)
{
    for (const setting &row : settings_table) {
        for (const char *key : {row.dsn_key, row.string_key, row.further_key}) {
            if (key != nullptr && cass_pair_has_key(string, pair, key))
                return &row;
        }
    }
    return nullptr;
}

static bool refuse_pair(cass_conn *conn, const setting *row, connection_fault fault)
{
    const char *key = row != nullptr ? row->string_key : "an unknown key";
    const char *text = fault == PAIR_HAS_NO_VALUE ? "%s has no value"
                       : fault == PAIR_HAS_NO_END ? "the value of %s has no closing brace"
                                                  : "the value of %s goes on behind its brace";
    CASS_LOG(&conn->head, LOG_ERROR, text, key);
    cass_post_error(&conn->head, STATE_HY000, 0, text, key);
    return false;
}

bool cass_take_pairs(cass_conn *conn, const cass_string *connect_string)
{
    std::uint64_t seen = 0;
    std::int32_t position = 0;
    connection_pair pair;
    while (cass_next_pair(connect_string, &position, &pair)) {
        const setting *row = find_setting(connect_string, pair);
        // Whatever stands in a value without an end may have been meant.
        if (pair.fault == PAIR_HAS_NO_END)
            return refuse_pair(conn, row, pair.fault);
        if (row == nullptr || (seen & bit_of(*row)) != 0)
            continue;
        seen |= bit_of(*row);
        if (pair.fault != PAIR_IS_GOOD)
            return refuse_pair(conn, row, pair.fault);
        held_string value(cass_pair_value(connect_string, pair));
        if (value == nullptr)
            return no_memory(conn);
        if (cass_string_length(value.get()) == 0)
            continue;
        if (!store(conn, *row, std::move(value)))
            return false;
        conn->settings.given |= bit_of(*row);
    }
    return true;
}

// The first value of a key, which the caller owns. Null without one, and, with *lost set, when
// memory ran out.
static cass_string *first_value(const cass_string *string, const char *key, bool *lost)
{
    std::int32_t position = 0;
    connection_pair pair;
    while (cass_next_pair(string, &position, &pair)) {
        if (!cass_pair_has_key(string, pair, key))
            continue;
        if (pair.fault != PAIR_IS_GOOD)
            return nullptr;
        cass_string *value = cass_pair_value(string, pair);
        *lost = *lost || value == nullptr;
        return value;
    }
    return nullptr;
}

bool cass_string_asks_for_standard(const cass_string *connect_string, bool *asks)
{
    bool lost = false;
    const held_string said(first_value(connect_string, "Standard", &lost));
    const held_string dsn(first_value(connect_string, "DSN", &lost));
    dsn_section section;
    if (lost || !cass_open_section(dsn.get(), &section))
        return false;
    if (cass_string_length(said.get()) == 0) {
        *asks = cass_section_asks_for_standard(section);
        return true;
    }
    const held_text text(cass_string_to_ascii(said.get()));
    std::int32_t number = 0;
    *asks = text != nullptr && cass_switch_word(text.get(), &number) && number != 0;
    return text != nullptr;
}

bool cass_section_asks_for_standard(const dsn_section &section)
{
    char value[512];
    std::int32_t number = 0;
    if (!cass_dsn_value(section, "Standard", value, sizeof value))
        return false;
    return cass_switch_word(value, &number) ? number != 0 : ascii_to_int(value) != 0;
}

cass_string *cass_without_secrets(const cass_string *connect_string)
{
    cass_string *shown = cass_string_copy(connect_string);
    if (shown == nullptr || shown->length == 0)
        return shown;
    std::int32_t used = 0;
    std::int32_t copied = 0;
    const auto copy_up_to = [&](std::int32_t end) {
        cass_wide_copy(shown->text + used, connect_string->text + copied, end - copied);
        used += end - copied;
    };
    std::int32_t position = 0;
    connection_pair pair;
    while (cass_next_pair(connect_string, &position, &pair)) {
        const setting *row = find_setting(connect_string, pair);
        if (row == nullptr || !is_secret(*row) || pair.value_length == 0)
            continue;
        copy_up_to(pair.value);
        shown->text[used++] = SECRET;
        copied = pair.value + pair.value_length;
    }
    copy_up_to(connect_string->length);
    shown->length = used;
    return shown;
}

// ---- The section -------------------------------------------------------------------------------

static bool is_given(const cass_conn *conn, const setting &row)
{
    if (row.text != nullptr)
        return conn->settings.*row.text != nullptr;
    if (row.number == nullptr)
        return (conn->settings.given & bit_of(row)) != 0;
    return conn->settings.*row.number != NOT_GIVEN;
}

// Under whichever of its spellings.
static bool section_value(const dsn_section &section, const setting &row, char *value, int size)
{
    for (const char *key : {row.dsn_key, row.string_key, row.further_key}) {
        if (key != nullptr && cass_dsn_value(section, key, value, size))
            return true;
    }
    return false;
}

bool cass_take_section(cass_conn *conn, const dsn_section &section)
{
    for (const setting &row : settings_table) {
        char value[512];
        if (row.dsn_key == nullptr || is_given(conn, row) ||
            !section_value(section, row, value, sizeof value))
            continue;
        held_string text(cass_string_from_cstr(value));
        if (text == nullptr)
            return no_memory(conn);
        if (!store(conn, row, std::move(text)))
            return false;
    }
    return true;
}

// ---- The server list ---------------------------------------------------------------------------

bool cass_settle_servers(cass_conn *conn)
{
    cass_settings &settings = conn->settings;
    if (settings.server == nullptr)
        return true;
    const held_text text(cass_string_to_utf8(settings.server));
    const held_text list(text == nullptr ? nullptr : strdup(text.get()));
    if (list == nullptr)
        return no_memory(conn);
    const setting &row = setting_named("SERVER");
    bool has_ports = false;
    if (!cass_join_ports(list.get(), &has_ports))
        return refuse(conn, row, settings.server);
    // The port of a data source is none of a server that the string gives with its own.
    if (has_ports && (settings.given & bit_of(row)) != 0 &&
        (settings.given & bit_of(setting_named("PORT"))) == 0)
        shared_put(&settings.port, NOT_GIVEN);
    if (std::strcmp(list.get(), text.get()) == 0)
        return true;
    held_string server(cass_string_from_utf8(list.get(), SQL_NTS, 1));
    if (server == nullptr)
        return no_memory(conn);
    cass_set_conn_text(conn, &settings.server, server.release());
    return true;
}
