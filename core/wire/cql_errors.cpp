#include "core/wire/cql_errors.h"

#include <cstring>

// The first row that fits counts.
struct server_state {
    std::int32_t code;
    const char *words;  // null: any text
    cass_state_row state;
    bool missing;  // only of a text that says that something does not exist
};

static constexpr server_state server_states[] = {
    {0x0100, nullptr, STATE_28000, false},               // bad credentials
    {0x1100, nullptr, STATE_HYT00, false},               // write time-out
    {0x1200, nullptr, STATE_HYT00, false},               // read time-out
    {0x2000, nullptr, STATE_42000, false},               // syntax
    {0x2100, nullptr, STATE_42000, false},               // unauthorised
    {0x2200, "unconfigured table", STATE_42S02, false},  // invalid, as the rows that follow
    {0x2200, "Undefined column name", STATE_42S22, false},
    {0x2200, "Unknown identifier", STATE_42S22, false},
    {0x2200, "No keyspace has been specified", STATE_3F000, false},
    {0x2200, "eyspace", STATE_3F000, true},
    {0x2200, "able", STATE_42S02, true},
    {0x2200, "nvalid ", STATE_22000, false},
    {0x2200, nullptr, STATE_42000, false},
    {0x2300, nullptr, STATE_42000, false},  // configuration
    {0x2400, nullptr, STATE_42S01, false},  // already exists
};

static bool says_missing(const char *text)
{
    return std::strstr(text, "does not exist") != nullptr ||
           std::strstr(text, "doesn't exist") != nullptr;
}

cass_state_row cass_server_state(std::int32_t code, const char *text)
{
    for (const server_state &row : server_states) {
        if (row.code == code && (row.words == nullptr || std::strstr(text, row.words) != nullptr) &&
            (!row.missing || says_missing(text)))
            return row.state;
    }
    return STATE_HY000;
}
