// The table of settings: one row for each key of a DSN and of a connection string, with the field
// that it sets and the piece of the output connection string that tells of it.
#ifndef CORE_SESSION_CASS_SETTINGS_TABLE_H
#define CORE_SESSION_CASS_SETTINGS_TABLE_H

#include <span>

#include "core/record/cass_handles.h"

// The roads that settings come by, as bits, so that a column can name several.
enum settings_road : unsigned {
    ROAD_NONE = 0,
    ROAD_CONNECT = 1,  // SQLConnect's DSN
    ROAD_STRING = 2,   // the connection string of SQLDriverConnect
    ROAD_SECTION = 4,  // the DSN that this string names
    ROAD_ALL = 7,
    ROAD_CHECKED = ROAD_CONNECT | ROAD_STRING,  // settings that are judged, of either call
};

enum setting_kind {
    SETTING_TEXT,
    SETTING_ARGUMENT,     // text that SQLConnect's argument beats
    SETTING_NUMBER,       // decimal
    SETTING_PORT,         // decimal
    SETTING_SIZE,         // decimal; 0 and below count as absent
    SETTING_PAGE,         // rows of a page: the nearest from 1 to MOST_PAGE_ROWS
    SETTING_TIME,         // milliseconds; below 0 is 0
    SETTING_SWITCH,       // yes or no
    SETTING_TLS,          // a switch that SQLConnect also lets be "optional"
    SETTING_VERIFY,       // a switch of which "no" is another thing than nothing
    SETTING_KEEPALIVE,    // a switch that may be a number in a string too
    SETTING_CONSISTENCY,  // name or number
    SETTING_LOG_WORD,
    SETTING_LOG_FILE,
};

// A number that the connection string has not given.
constexpr std::int32_t NOT_GIVEN = -1;

// The piece of the output string. A text is written when it is set, a number unless it is `usual`
// or below `least`. A bundle brings most settings itself: beside it few are written.
struct setting_output {
    std::int32_t place;  // its turn in the string, from 1; 0: none
    const char *format;  // takes the value, or nothing
    bool beside_bundle;
    std::int32_t usual;
    std::int32_t least;
    std::int32_t cass_settings::*number;  // in place of the row's, or null
};

struct setting {
    setting_kind kind;
    const char *dsn_key;  // null: no key of a section
    const char *string_key;
    const char *further_key;              // a third spelling where spellings are one list, or null
    cass_string *cass_settings::*text;    // of the texts
    std::int32_t cass_settings::*number;  // of the others, but for the two of the log
    unsigned cleared;       // entries that clear an earlier value: ROAD_CONNECT, ROAD_STRING
    std::int32_t fallback;  // value when absent
    std::int32_t unset;     // what SQLConnect clears to; a string clears to NOT_GIVEN
    setting_output output;
};

extern const std::span<const setting> settings_table;
// Its rows are bits of cass_settings::given.
constexpr std::size_t MOST_SETTINGS = 64;

// By code of the native protocol ([consistency], section 3 of version 4).
extern const std::span<const char *const> consistency_names;

// The rows without which SQLConnect reads no others: the first of the table.
constexpr std::size_t ADDRESS_ROWS = 3;

#endif
