// Connection settings on their way in: what a value means on each road, a DSN's section of
// odbc.ini, and the connection string.
//
// A setting is read on three roads: SQLConnect's DSN, the connection string, and the DSN that a
// connection string names. They do not treat every key alike; where they differ is a column of the
// table or of a word list below, and each difference is deliberate.
#include "core/session/cass_settings.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <span>

#include "core/diag/cass_err.h"
#include "core/log/cass_log.h"
#include "core/net/cass_conn_shared.h"
#include "core/session/cass_checked_settings.h"
#include "core/session/cass_dsn_section.h"
#include "core/session/cass_settings_table.h"
#include "support/ascii.h"

static constexpr char log_source[] = "SQLConnectWide.c";

// ---- Values ------------------------------------------------------------------------------------

// Words of the log switch. Each of the two words for logging in memory is unknown on one road. "no"
// and "off" need no row: what is no word is a number, and a text without digits is 0.
struct log_word {
    const char *word;
    std::int32_t mask;
    unsigned roads;
};

static constexpr log_word log_words[] = {
    {"yes", 31, ROAD_ALL},
    {"true", 31, ROAD_ALL},
    {"on", 31, ROAD_ALL},
    {"onerror", 95, ROAD_CONNECT | ROAD_STRING},
    {"error", 95, ROAD_CONNECT | ROAD_SECTION},
    {"process", 63, ROAD_ALL},
};

static std::int32_t log_mask_from_text(const char *text, settings_road road)
{
    for (const log_word &row : log_words) {
        if ((row.roads & road) != 0 && ascii_casecmp(text, row.word) == 0)
            return row.mask;
    }
    return ascii_to_int_any_base(text);
}

static std::int32_t consistency_from_text(const char *text, settings_road road)
{
    for (std::size_t code = 0; code < consistency_names.size(); code++) {
        if (ascii_casecmp(text, consistency_names[code]) == 0)
            return static_cast<std::int32_t>(code);
    }
    return road == ROAD_CONNECT ? ascii_to_int(text) : ascii_to_int_any_base(text);
}

// `digits_count`: what is no word may be a number, as in every DSN.
static std::int32_t switch_from_text(const char *text, bool digits_count)
{
    if (ascii_casecmp(text, "yes") == 0 || ascii_casecmp(text, "true") == 0)
        return 1;
    return digits_count ? ascii_to_int(text) : 0;
}

// Whatever is no "no" asks for it.
static std::int32_t verify_from_text(const char *text)
{
    std::int32_t value = 0;
    if (*text == '\0')
        return 0;
    return cass_switch_word(text, &value) && value == 0 ? VERIFY_HOST_NO : VERIFY_HOST_YES;
}

// Unknown words and bad numbers are 0 and never reported.
static std::int32_t number_from_text(setting_kind kind, const char *text, settings_road road)
{
    switch (kind) {
    case SETTING_SWITCH:
        return switch_from_text(text, road != ROAD_STRING);
    case SETTING_TLS:
        if (road == ROAD_CONNECT && ascii_casecmp(text, "optional") == 0)
            return 2;
        return switch_from_text(text, road != ROAD_STRING);
    case SETTING_KEEPALIVE:
        return switch_from_text(text, true);
    case SETTING_VERIFY:
        return verify_from_text(text);
    case SETTING_CONSISTENCY:
        return consistency_from_text(text, road);
    case SETTING_PAGE:
        return std::clamp(ascii_to_int(text), 1, MOST_PAGE_ROWS);
    case SETTING_TIME:
        return std::max(ascii_to_int(text), 0);
    default:
        return ascii_to_int(text);
    }
}

static bool is_text(const setting &row)
{
    return row.text != nullptr;
}

// Stores a value that is not a text setting. An empty log word leaves the mask as it is.
static void store_value(cass_conn *conn, const setting &row, const char *value, settings_road road)
{
    if (row.kind == SETTING_LOG_WORD) {
        if (*value != '\0')
            shared_put(&conn->head.log_mask, log_mask_from_text(value, road));
    } else if (row.kind == SETTING_LOG_FILE) {
        cass_log_set_file(conn, value, strnlen(value, sizeof conn->settings.log_file));
    } else {
        shared_put(&(conn->settings.*row.number), number_from_text(row.kind, value, road));
    }
}

// Before an entry: what it clears. `entry` is ROAD_CONNECT or ROAD_STRING, or both for settings
// that are judged, of which all go.
static void clear_settings(cass_conn *conn, unsigned entry)
{
    for (const setting &row : settings_table) {
        if ((row.cleared & entry) == 0)
            continue;
        if (is_text(row))
            cass_set_conn_text(conn, &(conn->settings.*row.text), nullptr);
        else
            shared_put(&(conn->settings.*row.number),
                       entry == ROAD_CONNECT ? row.unset : NOT_GIVEN);
    }
}

static bool floating_text_is_rounded(const cass_conn *conn)
{
    return conn->conduct->floating_text_is_rounded;
}

// Written only when it changes: statements of other threads may be waiting for the session.
void cass_choose_conduct(cass_conn *conn)
{
    const cass_conduct *chosen = conn->settings.standard > 0 ? &standard_conduct : &default_conduct;
    if (conn->conduct == chosen)
        return;
    conn->conduct = chosen;
    conn->float_precision = floating_text_is_rounded(conn) ? NUMBER_TEXT_DIGITS : SHORTEST_DIGITS;
    conn->double_precision = conn->float_precision;
}

static bool unsized_columns_are_short(const cass_conn *conn)
{
    return conn->conduct->unsized_columns_are_short;
}

// After it: what is still absent takes its default. A negative number counts as a value behind
// SQLConnect, and as absent elsewhere.
static void default_absent(cass_conn *conn, unsigned entry)
{
    cass_choose_conduct(conn);
    for (const setting &row : settings_table) {
        if (row.number == nullptr)
            continue;
        std::int32_t &value = conn->settings.*row.number;
        const bool absent = entry == ROAD_CONNECT ? value == row.unset : value < 0;
        if (absent || (row.kind == SETTING_SIZE && value <= 0))
            shared_put(&value, row.kind == SETTING_SIZE && !unsized_columns_are_short(conn)
                                   ? UNSIZED_COLUMN_LEN
                                   : row.fallback);
    }
}

// Settings that are read loosely have not asked for another conduct, however often they name it.
static void default_loosely(cass_conn *conn, settings_road entry)
{
    shared_put(&conn->settings.standard, 0);
    default_absent(conn, entry);
}

// ---- A section of odbc.ini ---------------------------------------------------------------------

// Does the section add anything to this setting? SQLConnect takes all but what its arguments gave;
// a connection string only leaves what it did not give itself.
static bool section_may_set(const cass_conn *conn, const setting &row, settings_road road)
{
    if (road == ROAD_CONNECT)
        return row.kind != SETTING_ARGUMENT || conn->settings.*row.text == nullptr;
    if (row.kind == SETTING_LOG_WORD)
        return conn->head.log_mask == 0;
    if (row.kind == SETTING_LOG_FILE)
        return conn->settings.log_file[0] == '\0';
    return is_text(row) ? conn->settings.*row.text == nullptr
                        : conn->settings.*row.number == NOT_GIVEN;
}

static void note_found(cass_conn *conn, const setting &row, const char *value)
{
    if (row.text == &cass_settings::password)
        CASS_LOG(&conn->head, LOG_CONTINUATION, "SQLConnect: Password found in ini file");
    else
        CASS_LOG(&conn->head, LOG_CONTINUATION, "SQLConnect: %s found in ini file: %s", row.dsn_key,
                 value);
}

static void note_absent(cass_conn *conn, const setting &row)
{
    if (row.number == &cass_settings::port)
        CASS_LOG(&conn->head, LOG_DETAIL, "SQLConnect: using default port setting");
    if (row.kind == SETTING_LOG_FILE)
        cass_log_set_file(conn, "", 0);
}

// False when memory ran out.
static bool read_rows(cass_conn *conn, const dsn_section &section, std::span<const setting> rows,
                      settings_road road)
{
    for (const setting &row : rows) {
        if (row.dsn_key == nullptr || !section_may_set(conn, row, road))
            continue;
        char value[512];
        if (!cass_dsn_value(section, row.dsn_key, value, sizeof value)) {
            if (road == ROAD_CONNECT)
                note_absent(conn, row);
            continue;
        }
        if (is_text(row))
            cass_set_conn_text(conn, &(conn->settings.*row.text), cass_string_from_cstr(value));
        else
            store_value(conn, row, value, road);
        if (is_text(row) && conn->settings.*row.text == nullptr)
            return false;
        if (road == ROAD_CONNECT)
            note_found(conn, row, value);
    }
    return true;
}

// ---- The two entries ---------------------------------------------------------------------------

static bool is_lost(const cass_string *given, const cass_string *copy)
{
    return given != nullptr && copy == nullptr;
}

// The keys of SQLConnect's section. Without a server or bundle nothing else is looked at, the user
// and password of the arguments included: the call is about to fail. False when memory ran out.
static bool read_connect_section(cass_conn *conn, const dsn_section &section,
                                 const cass_string *user, const cass_string *password)
{
    if (section.name != nullptr &&
        !read_rows(conn, section, settings_table.first(ADDRESS_ROWS), ROAD_CONNECT))
        return false;
    if (conn->settings.server == nullptr && conn->settings.bundle_path == nullptr) {
        CASS_LOG(&conn->head, LOG_ERROR,
                 "SQLConnect: Server or SecureConnectionBundlePath  not specified");
        return true;
    }
    conn->settings.user = cass_string_copy(user);
    conn->settings.password = cass_string_copy(password);
    if (is_lost(user, conn->settings.user) || is_lost(password, conn->settings.password))
        return false;
    return read_rows(conn, section, settings_table.subspan(ADDRESS_ROWS), ROAD_CONNECT);
}

static bool settings_are_read_loosely(const cass_conn *conn)
{
    return conn->conduct->settings_are_read_loosely;
}

static void choose_conduct(cass_conn *conn, bool standard)
{
    shared_put(&conn->settings.standard, standard ? 1 : 0);
    cass_choose_conduct(conn);
}

// False when memory ran out.
static bool take_argument(cass_string **setting, const cass_string *argument)
{
    if (cass_string_length(argument) == 0)
        return true;
    *setting = cass_string_copy(argument);
    return *setting != nullptr;
}

// What is judged is so by the conduct that was chosen, whatever a value fails at.
static void clear_checked(cass_conn *conn)
{
    clear_settings(conn, ROAD_CHECKED);
    shared_put(&conn->settings.standard, 1);
    conn->settings.given = 0;
}

// Behind what the call or its string has given, and `taken` says how that went.
static int complete_checked(cass_conn *conn, bool taken, const dsn_section &section)
{
    if (taken && section.name != nullptr)
        taken = cass_take_section(conn, section);
    taken = taken && cass_settle_servers(conn);
    default_absent(conn, ROAD_CHECKED);
    return taken ? 0 : -1;
}

// An argument that is empty yields to the section.
static int read_checked_dsn(cass_conn *conn, const dsn_section &section, const cass_string *user,
                            const cass_string *password)
{
    const bool taken = take_argument(&conn->settings.user, user) &&
                       take_argument(&conn->settings.password, password);
    if (!taken)
        cass_post_no_memory(&conn->head, log_source, "SQLConnect");
    return complete_checked(conn, taken, section);
}

int cass_read_dsn_settings(cass_conn *conn, const cass_string *dsn, const cass_string *user,
                           const cass_string *password)
{
    dsn_section section;
    bool whole = cass_open_section(dsn, &section);
    choose_conduct(conn, whole && cass_section_asks_for_standard(section));
    const bool loosely = settings_are_read_loosely(conn);
    if (loosely)
        clear_settings(conn, ROAD_CONNECT);
    else
        clear_checked(conn);
    cass_set_conn_text(conn, &conn->settings.dsn, cass_string_copy(dsn));
    whole = whole && !is_lost(dsn, conn->settings.dsn);
    if (whole && !loosely)
        return read_checked_dsn(conn, section, user, password);
    whole = whole && read_connect_section(conn, section, user, password);
    default_loosely(conn, ROAD_CONNECT);
    return whole ? 0 : cass_post_no_memory(&conn->head, log_source, "SQLConnect");
}

// One key and value of a connection string. A text keeps the first value given, anything else takes
// the last; an unknown key (DRIVER is one) is passed over. False when memory ran out.
static bool store_pair(cass_conn *conn, const cass_string *key, held_string value)
{
    for (const setting &row : settings_table) {
        if (cass_string_compare_cstr(key, row.string_key) != 0)
            continue;
        if (is_text(row)) {
            if (conn->settings.*row.text == nullptr)
                cass_set_conn_text(conn, &(conn->settings.*row.text), value.release());
            return true;
        }
        const held_text text(cass_string_to_utf8(value.get()));
        if (text == nullptr)
            return false;
        store_value(conn, row, text.get(), ROAD_STRING);
        return true;
    }
    return true;
}

// Pieces between semicolons, each cut at its first equals sign. Braces protect both separators,
// nest, and stay part of the value; there is no other quoting and no trimming. False when memory
// ran out.
static bool read_pairs(cass_conn *conn, const cass_string *connect_string)
{
    const std::int32_t length = cass_string_length(connect_string);
    std::int32_t end = 0;
    for (std::int32_t start = 0; start < length; start = end + 1) {
        cass_string_find_char(start, connect_string, ';', &end);
        const held_string piece(cass_string_sub(connect_string, start, end - start));
        cass_string *key = nullptr;
        cass_string *value = nullptr;
        const int split = piece != nullptr && cass_string_split(piece.get(), '=', &key, &value);
        const held_string owned_key(key);
        held_string owned_value(value);
        if (!split || !store_pair(conn, key, std::move(owned_value)))
            return false;
    }
    return true;
}

static int read_checked_string(cass_conn *conn, const cass_string *connect_string)
{
    clear_checked(conn);
    dsn_section section;
    bool taken = cass_take_pairs(conn, connect_string);
    if (!cass_open_section(conn->settings.dsn, &section)) {
        cass_post_no_memory(&conn->head, log_source, "SQLDriverConnect");
        taken = false;
    }
    return complete_checked(conn, taken, section);
}

bool cass_choose_conduct_by_string(cass_conn *conn, const cass_string *connect_string)
{
    bool standard = false;
    const bool whole = cass_string_asks_for_standard(connect_string, &standard);
    choose_conduct(conn, standard);
    return whole;
}

int cass_parse_connect_string(cass_conn *conn, const cass_string *connect_string)
{
    if (!cass_choose_conduct_by_string(conn, connect_string))
        return cass_post_no_memory(&conn->head, log_source, "SQLDriverConnect");
    if (!settings_are_read_loosely(conn))
        return read_checked_string(conn, connect_string);
    clear_settings(conn, ROAD_STRING);
    dsn_section section;
    bool whole =
        read_pairs(conn, connect_string) && cass_open_section(conn->settings.dsn, &section);
    if (whole && section.name != nullptr)
        whole = read_rows(conn, section, settings_table, ROAD_SECTION);
    default_loosely(conn, ROAD_STRING);
    return whole ? 0 : cass_post_no_memory(&conn->head, log_source, "SQLDriverConnect");
}
