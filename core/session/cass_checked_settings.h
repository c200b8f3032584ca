// Settings whose values are judged: a connection string by ODBC's grammar and a section of
// odbc.ini, with one list of spellings for both. An empty value says nothing, and one that its key
// does not take fails the call with HY000.
#ifndef CORE_SESSION_CASS_CHECKED_SETTINGS_H
#define CORE_SESSION_CASS_CHECKED_SETTINGS_H

#include "core/record/cass_handles.h"
#include "core/session/cass_dsn_section.h"

// The number of a yes or no in *value. False for any other text.
bool cass_switch_word(const char *text, std::int32_t *value);
// The value of Standard in the string, or in the section of the data source that it names. False
// when memory ran out.
bool cass_string_asks_for_standard(const cass_string *connect_string, bool *asks);
// The same of a section.
bool cass_section_asks_for_standard(const dsn_section &section);

// The string's pairs into the settings. Of equal keys the first counts; unknown ones are passed
// over. False with HY000 or HY001 posted.
bool cass_take_pairs(cass_conn *conn, const cass_string *connect_string);
// What the section has for settings that are not given yet. False with HY000 or HY001 posted.
bool cass_take_section(cass_conn *conn, const dsn_section &section);
// The server list in the form that connecting reads: `host,9042` becomes `host:9042`. Called when
// all settings are read. False with HY000 or HY001 posted.
bool cass_settle_servers(cass_conn *conn);

// A copy of the string with `*` in place of passwords. Null when memory ran out.
cass_string *cass_without_secrets(const cass_string *connect_string);

#endif
